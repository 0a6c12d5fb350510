#ifndef ZKWORDTABLE_H
#define ZKWORDTABLE_H

#include "zkshaper.h"

#include <cstddef>
#include <cstdint>

/// A word of the table: this head, its glyphs, its text. Clusters are units of the word.
struct ZkKnownWord {
    ZkKnownWord *next;  // in its bucket
    ZkKnownWord *newer; // used after this one
    ZkKnownWord *older; // used before this one
    std::uint64_t hash;
    std::uint32_t style;
    std::uint16_t units;
    std::uint16_t glyphCount;

    const ZkShapedGlyph *glyphs() const
    {
        return reinterpret_cast<const ZkShapedGlyph *>(this + 1);
    }
    const ZkUcs2 *text() const { return reinterpret_cast<const ZkUcs2 *>(glyphs() + glyphCount); }
    std::size_t bytes() const { return bytesOf(units, glyphCount); }

    /// With what `malloc` adds to each block.
    static std::size_t bytesOf(std::size_t units, std::size_t glyphCount);
};

/// What a word is looked up by.
struct ZkWordKey {
    const ZkUcs2 *text;
    int units;
    std::uint32_t style;
    std::uint64_t hash;

    ZkWordKey(const ZkUcs2 *word, int length, std::uint32_t inStyle);
};

/// Shaped words in a hash table under a budget of bytes, the table's own included. Not
/// locked: the owner is.
class ZkWordTable
{
public:
    explicit ZkWordTable(std::size_t budget) : m_budget(budget) {}
    ~ZkWordTable() { clear(); }
    ZkWordTable(const ZkWordTable &) = delete;
    ZkWordTable &operator=(const ZkWordTable &) = delete;

    /// Null when the word is not known. The word becomes the newest; it lives until the
    /// next call that adds or removes some.
    const ZkKnownWord *find(const ZkWordKey &key);

    /// Adds a word that is not in the table, unless there is no memory or it alone takes
    /// more than an eighth of the budget. The oldest ones make room.
    void add(const ZkWordKey &key, const ZkShapedGlyph *glyphs, int count);

    void setBudget(std::size_t budget);
    void clear();

    std::size_t budget() const { return m_budget; }
    std::size_t bytes() const { return m_bytes; }
    std::size_t peakBytes() const { return m_peakBytes; }
    std::size_t size() const { return m_size; }
    std::uint64_t evicted() const { return m_evicted; }

private:
    void makeNewest(ZkKnownWord *word);
    void unlink(ZkKnownWord *word);
    void evictOldest();
    bool grow();

    ZkKnownWord **m_buckets = nullptr;
    std::size_t m_bucketCount = 0; // a power of two, or 0
    ZkKnownWord *m_newest = nullptr;
    ZkKnownWord *m_oldest = nullptr;
    std::size_t m_budget;
    std::size_t m_bytes = 0; // of the words and m_buckets
    std::size_t m_peakBytes = 0;
    std::size_t m_size = 0;
    std::uint64_t m_evicted = 0;
};

#endif
