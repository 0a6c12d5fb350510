#ifndef STRINGMODEL_H
#define STRINGMODEL_H

#include <zkunicode.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

/// What the string tests and fuzz targets compare the library with: the same
/// rules written in the plainest way, one unit or one byte at a time.
namespace model
{

using Units = std::vector<ZkUcs2>;

/// The number of leading one bits.
inline int leadingOnes(unsigned byte)
{
    int ones = 0;
    while (ones < 8 && (byte >> (7 - ones) & 1) != 0) {
        ++ones;
    }
    return ones;
}

inline Units decode(const std::string &text)
{
    std::string in = text;
    // Drop what the end cuts off: from the last byte to an ASCII byte, to a lead
    // byte whose sequence is whole, or through the first byte.
    for (std::size_t i = in.size(); i-- > 0;) {
        const int ones = leadingOnes(static_cast<unsigned char>(in[i]));
        if (ones == 0 || (ones >= 2 && in.size() - i == std::size_t(ones))) {
            break;
        }
        if (ones >= 2) {
            in.resize(i);
        }
    }
    Units units;
    const auto bits = [&](std::size_t i, unsigned mask) {
        return i < in.size() ? static_cast<unsigned char>(in[i]) & mask : 0U;
    };
    for (std::size_t i = 0; i < in.size();) {
        switch (leadingOnes(static_cast<unsigned char>(in[i]))) {
        case 0:
            units.push_back(static_cast<ZkUcs2>(bits(i, 0x7F)));
            i += 1;
            break;
        case 2:
            units.push_back(static_cast<ZkUcs2>(bits(i, 0x1F) * 0x40 + bits(i + 1, 0x3F)));
            i += 2;
            break;
        case 3:
            units.push_back(static_cast<ZkUcs2>(bits(i, 0x0F) * 0x1000 + bits(i + 1, 0x3F) * 0x40 +
                                                bits(i + 2, 0x3F)));
            i += 3;
            break;
        default: i += 1; break;
        }
    }
    return units;
}

inline std::string encode(const Units &units)
{
    std::string out;
    for (const unsigned u : units) {
        if (u < 0x80) {
            out += static_cast<char>(u);
        } else if (u < 0x800) {
            out += static_cast<char>(0xC0 + u / 0x40);
            out += static_cast<char>(0x80 + u % 0x40);
        } else {
            out += static_cast<char>(0xE0 + u / 0x1000);
            out += static_cast<char>(0x80 + u / 0x40 % 0x40);
            out += static_cast<char>(0x80 + u % 0x40);
        }
    }
    return out;
}

/// `c` alone as it compares without regard to case.
inline ZkUcs2 folded(ZkUcs2 c)
{
    return static_cast<ZkUcs2>(c + ZkUnicodeTables::properties(c)->caseFoldDifference);
}

/// Unit `i` of a text as it compares without regard to case. A pair of surrogates
/// is looked up by its code point modulo 65536, the record's own low five bits
/// being those of the low surrogate.
inline ZkUcs2 foldedAt(const Units &text, std::size_t i)
{
    const ZkUcs2 c = text[i];
    if (i == 0 || c < 0xDC00 || c > 0xDFFF || text[i - 1] < 0xD800 || text[i - 1] > 0xDBFF) {
        return folded(c);
    }
    const unsigned pair = 0x10000U + (text[i - 1] - 0xD800U) * 0x400U + (c - 0xDC00U);
    const auto row = static_cast<ZkUcs2>((pair & 0xFFE0) + (c & 31));
    return static_cast<ZkUcs2>(c + ZkUnicodeTables::properties(row)->caseFoldDifference);
}

inline Units foldedText(const Units &text)
{
    Units result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        result.push_back(foldedAt(text, i));
    }
    return result;
}

/// The first index from `from` (0 or more) on where `n` stands in `h`, or -1.
inline int find(const Units &h, int from, const Units &n)
{
    for (int at = from; at + int(n.size()) <= int(h.size()); ++at) {
        if (std::equal(n.begin(), n.end(), h.begin() + at)) {
            return at;
        }
    }
    return -1;
}

inline int find(const Units &h, int from, const Units &n, bool sensitive)
{
    if (sensitive) {
        return find(h, from, n);
    }
    if (n.size() == 1) { // one unit is looked for alone, neighbours do not count
        for (int at = from; at < int(h.size()); ++at) {
            if (folded(h[std::size_t(at)]) == folded(n[0])) {
                return at;
            }
        }
        return -1;
    }
    return find(foldedText(h), from, foldedText(n));
}

/// A string: text, capacity and who shares a block with whom.
class String
{
public:
    struct Block {
        Units units;
        int alloc = 0;
        bool hasBuffer = false;
    };

    String() : block(std::make_shared<Block>()) {}
    String(const Units &units, int alloc) : String()
    {
        block->units = units;
        block->alloc = alloc;
        block->hasBuffer = alloc > 0;
    }

    /// A string of `units` as most results are: one unit more than it needs, or
    /// no buffer when there is nothing to hold.
    static String ofUnits(const Units &units)
    {
        return String(units, units.empty() ? 0 : int(units.size()) + 1);
    }
    static String ofUtf8(const std::string &text)
    {
        return String(decode(text), int(text.size()) + 1);
    }
    static String null()
    {
        static const std::shared_ptr<Block> sharedNull = std::make_shared<Block>();
        String result;
        result.block = sharedNull;
        return result;
    }

    int size() const { return int(block->units.size()); }

    String left(int n) const { return n >= 0 && n < size() ? part(0, n) : *this; }
    String right(int n) const { return n >= 0 && n < size() ? part(size() - n, n) : *this; }
    String mid(int pos, int n) const
    {
        if (size() == 0 || pos >= size()) {
            return null();
        }
        const int asked = pos;
        long long len = n < 0 ? (long long)size() - pos : n;
        if (pos < 0) {
            len += pos;
            pos = 0;
        }
        if (pos + len > size()) {
            len = size() - pos;
        }
        if (len == size() && asked <= 0) {
            return *this;
        }
        return part(pos, len < 1 ? 0 : int(len));
    }

    void append(const Units &s)
    {
        if (!s.empty()) {
            const Units added = s;
            detachIfShared();
            alloc(size() + int(added.size()) + 1, true);
            block->units.insert(block->units.end(), added.begin(), added.end());
        }
    }
    void appendUtf8(const std::string &text)
    {
        detachIfShared();
        insertUtf8InPlace(size(), text);
    }
    void prepend(const Units &s)
    {
        if (!s.empty()) {
            const Units added = s;
            detachIfShared();
            alloc(size() + int(added.size()) + 1, true);
            block->units.insert(block->units.begin(), added.begin(), added.end());
        }
    }
    void prependUtf8(const std::string &text)
    {
        detachIfShared();
        insertUtf8InPlace(0, text);
    }
    void insert(int pos, ZkUcs2 c)
    {
        detachIfShared();
        alloc(size() + 2, true);
        block->units.insert(block->units.begin() + std::clamp(pos, 0, size()), c);
    }
    void insert(int pos, const Units &s)
    {
        if (s.empty()) {
            return;
        }
        if (pos < 0) {
            prepend(s);
        } else if (pos >= size()) {
            append(s);
        } else {
            const Units added = s;
            detachIfShared();
            alloc(size() + int(added.size()) + 1, true);
            block->units.insert(block->units.begin() + pos, added.begin(), added.end());
        }
    }
    void insertUtf8(int pos, const std::string &text, int len)
    {
        if (pos < 0) {
            prependUtf8(text);
        } else if (pos >= size()) {
            appendUtf8(text);
        } else {
            insertUtf8InPlace(pos, clipped(text, len));
        }
    }
    void remove(int pos, int n)
    {
        if (pos < 0) {
            pos += size();
        }
        if (pos < 0 || pos >= size()) {
            return;
        }
        if (size() - pos <= n) {
            resize(pos);
        } else if (n > 0) {
            detachIfShared();
            block->units.erase(block->units.begin() + pos, block->units.begin() + pos + n);
        }
    }
    void resize(int n)
    {
        n = std::max(n, 0);
        if (n != size()) {
            detachIfShared();
            alloc(n + 1, false);
            block->units.resize(std::size_t(n), 0);
        }
    }
    void truncate(int n)
    {
        if (size() > n) {
            resize(n);
        }
    }
    void chop(int n)
    {
        if (n >= 1) {
            resize(size() - n);
        }
    }
    void clear()
    {
        if (size() != 0) {
            detachIfShared();
            alloc(size() + 1, false);
            block->units.clear();
        }
    }
    void fill(ZkUcs2 c, int n)
    {
        resize(n < 0 ? size() : n);
        detachIfShared();
        std::fill(block->units.begin(), block->units.end(), c);
    }
    void overwrite(int pos, int n, ZkUcs2 c)
    {
        if (pos < 0 || pos > size()) {
            return;
        }
        n = std::min(n, size() - pos);
        if (n > 0) {
            detachIfShared();
            std::fill_n(block->units.begin() + pos, n, c);
        }
    }
    void replace(int pos, int n, const Units &u)
    {
        if (pos < 0 || pos > size()) {
            return;
        }
        const Units added = u;
        n = std::clamp(n, 0, size() - pos);
        detachIfShared();
        alloc(size() - n + int(added.size()) + 1, false);
        block->units.erase(block->units.begin() + pos, block->units.begin() + pos + n);
        block->units.insert(block->units.begin() + pos, added.begin(), added.end());
    }
    void replace(const Units &beforeText, const Units &afterText, bool sensitive)
    {
        const Units before = beforeText;
        const Units after = afterText;
        for (int at = 0; !before.empty() && (at = find(block->units, at, before, sensitive)) != -1;
             at += int(after.size())) {
            replace(at, int(before.size()), after);
        }
    }
    void replace(ZkUcs2 before, ZkUcs2 after, bool sensitive)
    {
        for (int at = 0; (at = find(block->units, at, Units{before}, sensitive)) != -1; ++at) {
            overwrite(at, 1, after);
        }
    }
    void remove(const Units &text, bool sensitive)
    {
        const Units wanted = text;
        for (int at = 0;
             !wanted.empty() && (at = find(block->units, at, wanted, sensitive)) != -1;) {
            remove(at, int(wanted.size()));
        }
    }

    /// The text up to its first 0 byte, at most `len` bytes of it.
    static std::string clipped(const std::string &text, int len)
    {
        const std::string whole = text.substr(0, text.find('\0'));
        return len < 0 ? whole : whole.substr(0, std::size_t(len));
    }

    std::shared_ptr<Block> block;

private:
    String part(int pos, int n) const
    {
        return ofUnits(Units(block->units.begin() + pos, block->units.begin() + pos + n));
    }
    void alloc(int n, bool grow)
    {
        if (!(block->hasBuffer && n <= block->alloc && block->alloc <= 3 * n)) {
            block->alloc = grow ? 2 * n : n;
            block->hasBuffer = true;
        }
    }
    void detachIfShared()
    {
        if (block.use_count() != 1) {
            auto own = std::make_shared<Block>();
            own->units = block->units;
            block = own;
            if (size() > 0) {
                alloc(size() + 1, false);
            }
        }
    }
    void insertUtf8InPlace(int pos, const std::string &text)
    {
        const Units added = decode(text);
        alloc(size() + int(text.size()) + 1, true);
        block->units.insert(block->units.begin() + pos, added.begin(), added.end());
    }
};

} // namespace model

#endif
