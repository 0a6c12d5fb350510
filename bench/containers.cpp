// The containers beside the standard library's and Boost's: the same keys in the
// same order for all, time per element.

#include <zkhash.h>
#include <zklist.h>
#include <zkmap.h>
#include <zkstring.h>
#include <zkvector.h>

#include <benchmark/benchmark.h>
#include <boost/unordered_map.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace
{

typedef benchmark::State State;

// Makes as many keys as it is told.
typedef std::vector<int> (*Keys)(int);

// What the values point at; only the addresses matter.
int target;

// `count` keys below 2^31, each once, in random order. Glyph keys look like these:
// a character, a size and a style, in different bits.
std::vector<int> glyphKeys(int count)
{
    std::vector<int> keys;
    for (int i = 0; i < count; ++i) {
        keys.push_back((i / 48 + 0x600) | (i % 16 + 8) << 16 | (i / 16 % 3) << 24);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
    return keys;
}

// `count` even numbers, each once, in random order.
std::vector<int> evenKeys(int count)
{
    std::vector<int> keys(static_cast<std::size_t>(count));
    for (std::size_t i = 0; i < keys.size(); ++i) {
        keys[i] = 2 * static_cast<int>(i);
    }
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    return keys;
}

void expectSame(long long ours, long long theirs, const char *what)
{
    if (ours != theirs) {
        std::fprintf(stderr, "%s: the sums differ\n", what);
        std::abort();
    }
}

// --- What each container calls the same thing ------------------------------------

template <typename T>
void add(ZkVector<T> &v, const T &value)
{
    v.append(value);
}
template <typename T>
void add(std::vector<T> &v, const T &value)
{
    v.push_back(value);
}
template <typename T>
void add(ZkList<T> &l, const T &value)
{
    l.append(value);
}
template <typename T>
void add(std::deque<T> &l, const T &value)
{
    l.push_back(value);
}

template <typename K, typename T>
void put(ZkHash<K, T> &h, const K &key, const T &value)
{
    h.insert(key, value);
}
template <typename K, typename T>
void put(ZkMap<K, T> &m, const K &key, const T &value)
{
    m.insert(key, value);
}
template <typename Map>
void put(Map &m, const typename Map::key_type &key, const typename Map::mapped_type &value)
{
    m.emplace(key, value);
}

template <typename K, typename T>
T get(const ZkHash<K, T> &h, const K &key)
{
    return h.value(key);
}
template <typename K, typename T>
T get(const ZkMap<K, T> &m, const K &key)
{
    return m.value(key);
}
template <typename Map>
typename Map::mapped_type get(const Map &m, const typename Map::key_type &key)
{
    const auto found = m.find(key);
    return found == m.end() ? typename Map::mapped_type() : found->second;
}

template <typename K, typename T>
bool drop(ZkHash<K, T> &h, const K &key)
{
    return h.remove(key);
}
template <typename K, typename T>
bool drop(ZkMap<K, T> &m, const K &key)
{
    return m.remove(key);
}
template <typename Map>
bool drop(Map &m, const typename Map::key_type &key)
{
    return m.erase(key) == 1;
}

template <typename T>
T valueAt(T value)
{
    return value;
}
template <typename K, typename T>
T valueAt(const std::pair<const K, T> &pair)
{
    return pair.second;
}

// --- Vectors and lists -----------------------------------------------------------

template <typename Vector>
inline void fill(Vector &v, int count)
{
    for (int i = 0; i < count; ++i) {
        add(v, typename Vector::value_type(i));
    }
}

// A vector that only the loop knows: the compiler may keep all of it in registers.
template <typename Vector>
void append(State &state, int count)
{
    for (auto _ : state) {
        Vector v;
        fill(v, count);
        benchmark::DoNotOptimize(&*v.begin());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename Vector>
__attribute__((noinline)) void fillOther(Vector &v, int count)
{
    fill(v, count);
}

// A vector of somebody else's, as a member or an argument is.
template <typename Vector>
void appendToOther(State &state, int count)
{
    for (auto _ : state) {
        Vector v;
        fillOther(v, count);
        benchmark::DoNotOptimize(&*v.begin());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename Vector>
void walk(State &state, int count)
{
    Vector v;
    for (int i = 0; i < count; ++i) {
        add(v, i);
    }
    const Vector &constant = v;
    long long sum = 0;
    for (auto _ : state) {
        sum = 0;
        for (const int value : constant) {
            sum += value;
        }
        benchmark::DoNotOptimize(sum);
    }
    expectSame(sum, static_cast<long long>(count) * (count - 1) / 2, "walk");
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename Vector>
void at(State &state, int count)
{
    std::vector<int> order = evenKeys(count);
    Vector v;
    for (int i = 0; i < count; ++i) {
        add(v, i);
    }
    const Vector &constant = v;
    for (auto _ : state) {
        long long sum = 0;
        for (const int index : order) {
            sum += constant.at(static_cast<typename Vector::size_type>(index / 2));
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename Vector>
void copy(State &state, int count)
{
    Vector v;
    for (int i = 0; i < count; ++i) {
        add(v, i);
    }
    for (auto _ : state) {
        const Vector other = v;
        benchmark::DoNotOptimize(&*other.begin());
    }
    state.SetItemsProcessed(state.iterations());
}

// A row of texts grows at both ends.
void prependZk(State &state, int count)
{
    for (auto _ : state) {
        ZkList<int *> l;
        for (int i = 0; i < count; ++i) {
            l.prepend(&target);
        }
        benchmark::DoNotOptimize(*l.cbegin());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

void prependDeque(State &state, int count)
{
    for (auto _ : state) {
        std::deque<int *> l;
        for (int i = 0; i < count; ++i) {
            l.push_front(&target);
        }
        benchmark::DoNotOptimize(l.front());
    }
    state.SetItemsProcessed(state.iterations() * count);
}

// --- Tables ----------------------------------------------------------------------

template <typename Map>
struct Mapped {
    typedef typename Map::mapped_type type;
    static type value(int key);
};
template <typename Map>
typename Mapped<Map>::type Mapped<Map>::value(int key)
{
    if constexpr (std::is_pointer<type>::value) {
        return &target;
    } else {
        return key;
    }
}

template <typename Map>
Map filled(const std::vector<int> &keys)
{
    Map map;
    for (const int key : keys) {
        put(map, key, Mapped<Map>::value(key));
    }
    return map;
}

template <typename Map>
void insert(State &state, int count, Keys make)
{
    const std::vector<int> keys = make(count);
    for (auto _ : state) {
        Map map = filled<Map>(keys);
        benchmark::DoNotOptimize(&map);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * count);
}

// Every key once, in another order than that of the insertions.
template <typename Map>
void find(State &state, int count, Keys make)
{
    std::vector<int> keys = make(count);
    const Map map = filled<Map>(keys);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
    long long found = 0;
    for (auto _ : state) {
        found = 0;
        for (const int key : keys) {
            found += get(map, key) == Mapped<Map>::value(key);
        }
        benchmark::DoNotOptimize(found);
    }
    expectSame(found, count, "find");
    state.SetItemsProcessed(state.iterations() * count);
}

// Keys that lie beside those that are there.
template <typename Map>
void miss(State &state, int count, Keys make)
{
    std::vector<int> keys = make(count);
    const Map map = filled<Map>(keys);
    std::shuffle(keys.begin(), keys.end(), std::mt19937(3));
    for (auto _ : state) {
        long long found = 0;
        for (const int key : keys) {
            found += get(map, key ^ 0x40000001) != typename Map::mapped_type();
        }
        benchmark::DoNotOptimize(found);
        expectSame(found, 0, "miss");
    }
    state.SetItemsProcessed(state.iterations() * count);
}

template <typename Map>
void walkValues(State &state, int count, Keys make)
{
    const std::vector<int> keys = make(count);
    const Map map = filled<Map>(keys);
    long long sum = 0;
    for (auto _ : state) {
        sum = 0;
        for (const auto &item : map) {
            sum += static_cast<int>(valueAt(item));
        }
        benchmark::DoNotOptimize(sum);
    }
    expectSame(sum, std::accumulate(keys.begin(), keys.end(), 0LL), "walk values");
    state.SetItemsProcessed(state.iterations() * count);
}

// One key out, one in, as a cache does.
template <typename Map>
void replace(State &state, int count, Keys make)
{
    const std::vector<int> keys = make(2 * count);
    const auto half = keys.begin() + count;
    Map map = filled<Map>(std::vector<int>(keys.begin(), half));
    std::size_t out = 0, in = static_cast<std::size_t>(count);
    for (auto _ : state) {
        benchmark::DoNotOptimize(drop(map, keys[out]));
        put(map, keys[in], Mapped<Map>::value(keys[in]));
        out = out + 1 == keys.size() ? 0 : out + 1;
        in = in + 1 == keys.size() ? 0 : in + 1;
    }
    state.SetItemsProcessed(state.iterations());
}

void findText(State &state, int count, bool ours)
{
    std::vector<std::string> words;
    ZkHash<ZkString, int> hash;
    std::unordered_map<std::string, int> map;
    std::vector<ZkString> zkWords;
    for (int i = 0; i < count; ++i) {
        words.push_back("entry." + std::to_string(i * 7919));
        zkWords.emplace_back(words.back().c_str());
        hash.insert(zkWords.back(), i);
        map.emplace(words.back(), i);
    }
    long long sum = 0;
    for (auto _ : state) {
        sum = 0;
        if (ours) {
            for (const ZkString &word : zkWords) {
                sum += hash.value(word);
            }
        } else {
            for (const std::string &word : words) {
                sum += map.find(word)->second;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    expectSame(sum, count * (count - 1LL) / 2, "find text");
    state.SetItemsProcessed(state.iterations() * count);
}

void add(const std::string &name, std::initializer_list<int> sizes, const char *who,
         const std::function<void(State &, int)> &run)
{
    for (const int size : sizes) {
        const std::string full = name + "/" + std::to_string(size) + "/" + who;
        benchmark::RegisterBenchmark(full.c_str(), [run, size](State &state) { run(state, size); });
    }
}

typedef ZkHash<int, int *> Hash;
typedef std::unordered_map<int, int *> StdHash;
typedef boost::unordered_map<int, int *> BoostHash;
typedef ZkMap<int, int> Map;
typedef std::map<int, int> StdMap;

// One case for every container that can do it.
template <typename Zk, typename Peer>
void vectors(const std::string &type, const char *peer, std::initializer_list<int> sizes)
{
    add(type + "-append", sizes, "zk", append<Zk>);
    add(type + "-append", sizes, peer, append<Peer>);
    add(type + "-append-to-other", sizes, "zk", appendToOther<Zk>);
    add(type + "-append-to-other", sizes, peer, appendToOther<Peer>);
    add(type + "-walk", sizes, "zk", walk<Zk>);
    add(type + "-walk", sizes, peer, walk<Peer>);
    add(type + "-at", sizes, "zk", at<Zk>);
    add(type + "-at", sizes, peer, at<Peer>);
    add(type + "-copy", sizes, "zk", copy<Zk>);
    add(type + "-copy", sizes, peer, copy<Peer>);
}

template <typename Table>
void tables(const std::string &type, const char *who, Keys make, std::initializer_list<int> sizes)
{
    add(type + "-insert", sizes, who,
        [make](State &state, int count) { insert<Table>(state, count, make); });
    add(type + "-find", sizes, who,
        [make](State &state, int count) { find<Table>(state, count, make); });
    add(type + "-miss", sizes, who,
        [make](State &state, int count) { miss<Table>(state, count, make); });
    add(type + "-replace", sizes, who,
        [make](State &state, int count) { replace<Table>(state, count, make); });
    if constexpr (!std::is_pointer<typename Table::mapped_type>::value) {
        add(type + "-walk", sizes, who,
            [make](State &state, int count) { walkValues<Table>(state, count, make); });
    }
}

} // namespace

int main(int argc, char **argv)
{
    const auto sizes = {16, 10000, 1000000};
    vectors<ZkVector<int>, std::vector<int>>("vector", "std", sizes);
    vectors<ZkList<int>, std::deque<int>>("list", "deque", {16, 10000});
    add("list-prepend", {16, 10000}, "zk", prependZk);
    add("list-prepend", {16, 10000}, "deque", prependDeque);

    tables<Hash>("hash-glyphs", "zk", glyphKeys, sizes);
    tables<StdHash>("hash-glyphs", "std", glyphKeys, sizes);
    tables<BoostHash>("hash-glyphs", "boost", glyphKeys, sizes);
    tables<Hash>("hash-even", "zk", evenKeys, sizes);
    tables<StdHash>("hash-even", "std", evenKeys, sizes);
    tables<BoostHash>("hash-even", "boost", evenKeys, sizes);
    add("hash-text-find", {16, 10000}, "zk",
        [](State &state, int count) { findText(state, count, true); });
    add("hash-text-find", {16, 10000}, "std",
        [](State &state, int count) { findText(state, count, false); });

    tables<Map>("map", "zk", evenKeys, sizes);
    tables<StdMap>("map", "std", evenKeys, sizes);

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
