// Vector, list, hash and map beside those of the standard library: an input is a row of
// records of three bytes, the operation and what it works on. Copies are kept and must
// not change.

#include <zkhash.h>
#include <zklist.h>
#include <zkmap.h>
#include <zkvector.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

namespace
{

constexpr int kMostElements = 40;

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

struct Record {
    std::uint8_t operation, a, b;
};

// Long enough for the heap, so that a move by bytes or a lost copy is seen.
std::string elementOf(unsigned number)
{
    return "an element with the number " + std::to_string(number);
}

/// A sequence of ours and its model; `Sequence` is a vector or a list of strings.
template <typename Sequence>
class SequencePlayer
{
public:
    void play(const Record &r)
    {
        const int n = m_ours.size();
        const int at = n == 0 ? 0 : r.a % (n + 1);
        const int count = n == 0 ? 0 : r.b % (n - at + 1);
        const std::string value = elementOf(r.b);
        switch (r.operation % 8) {
        case 0:
        case 1:
        case 2:
            if (n < kMostElements) {
                m_ours.append(value);
                m_model.push_back(value);
            }
            break;
        case 3:
            if (n < kMostElements) {
                m_ours.insert(at, n != 0 ? m_ours.at(r.b % n) : value); // its own element
                m_model.insert(m_model.begin() + at,
                               n != 0 ? std::string(m_model[std::size_t(r.b % n)]) : value);
            }
            break;
        case 4:
            m_ours.remove(at, count);
            m_model.erase(m_model.begin() + at, m_model.begin() + at + count);
            break;
        case 5:
            m_ours.reserve(r.b);
            m_ours.setSharable(r.a % 4 != 0);
            break;
        case 6:
            if (n != 0) {
                m_ours[r.a % n] = value;
                m_model[std::size_t(r.a % n)] = value;
            }
            break;
        default:
            m_copy = m_ours;
            m_modelOfCopy = m_model;
            break;
        }
        check(m_ours, m_model);
        check(m_copy, m_modelOfCopy);
    }

private:
    static void check(const Sequence &ours, const std::vector<std::string> &model)
    {
        require(ours.size() == static_cast<int>(model.size()), "sizes differ");
        require(ours.capacity() >= ours.size(), "capacity");
        require(std::equal(ours.cbegin(), ours.cend(), model.begin(), model.end()),
                "elements differ");
    }

    Sequence m_ours, m_copy;
    std::vector<std::string> m_model, m_modelOfCopy;
};

/// A table of ours and its model; `Table` is a hash or a map from int to string.
template <typename Table>
class TablePlayer
{
public:
    void play(const Record &r)
    {
        const int key = r.a % 64 - 32;
        switch (r.operation % 6) {
        case 0:
        case 1:
        case 2:
            m_ours.insert(key, elementOf(r.b));
            m_model[key] = elementOf(r.b);
            break;
        case 3: require(m_ours.remove(key) == (m_model.erase(key) == 1), "remove"); break;
        case 4: m_ours[key] = m_model[key] = elementOf(r.b); break;
        default:
            m_copy = m_ours;
            m_modelOfCopy = m_model;
            m_ours.setSharable(r.b % 4 != 0);
            break;
        }
        check(m_ours, m_model);
        check(m_copy, m_modelOfCopy);
    }

private:
    static void check(const Table &ours, const std::map<int, std::string> &model)
    {
        require(ours.size() == static_cast<int>(model.size()), "sizes differ");
        int walked = 0;
        for (auto it = ours.cbegin(); it != ours.cend(); ++it, ++walked) {
            const auto known = model.find(it.key());
            require(known != model.end() && known->second == it.value(), "a pair differs");
        }
        require(walked == ours.size(), "pairs are missing");
    }

    Table m_ours, m_copy;
    std::map<int, std::string> m_model, m_modelOfCopy;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    SequencePlayer<ZkVector<std::string>> vector;
    SequencePlayer<ZkList<std::string>> list;
    TablePlayer<ZkHash<int, std::string>> hash;
    TablePlayer<ZkMap<int, std::string>> map;
    for (; size >= 3; data += 3, size -= 3) {
        const Record record = {data[0], data[1], data[2]};
        vector.play(record);
        list.play(record);
        hash.play(record);
        map.play(record);
    }
    return 0;
}
