#ifndef ZKFONTEUNITCACHE_H
#define ZKFONTEUNITCACHE_H

#include "zkfont.h"
#include "zkhash.h"
#include "zkvector.h"

/// The glyph store: a record for every glyph that was ever rendered, under one
/// key for character, size and style. Records lie in blocks that never move, so
/// a pointer to one is good until the store is emptied; nothing is removed singly.
///
///     table:  'a' 16 px ──┐    'b' 16 px ──┐      'a' 24 px ──┐
///     blocks: [ record    ,      record ]   [       record     , -, -, - ]   ...
///
/// The store counts the bytes of the pixels that it holds, and can drop those of
/// records that nobody uses while it keeps the records. It takes no lock: its one
/// user, the glyph cache, looks up under a read lock and changes under a write lock.
class ZK_EXPORT ZkFonteUnitCache // sic: the exported name
{
public:
    /// One block of records.
    struct ZK_EXPORT BlockUnit {
        int capacity;         ///< records that the block has room for
        int count;            ///< records in use, the first ones
        GlyphBitmap *records; ///< from `malloc`

        /// Gives `unit` room for `n` records and leaves its count to the caller.
        static void allocMemory(BlockUnit *unit, int n);

        /// Frees the pixels of the records in use, then the records. What is left
        /// is a block without room.
        void release();
    };

    /// The blocks, each twice as large as the one before: 2, 4, 8, ... records.
    struct ZK_EXPORT BlockMM {
        ZkVector<BlockUnit> blocks;

        /// Adds a block when the last one is full.
        void greathMemory(); // sic: the exported name

        /// Copies `record` behind the last one. The address is good until `release`.
        GlyphBitmap *append(GlyphBitmap record);

        /// Frees every record with its pixels.
        void release();
    };

    ZkFonteUnitCache();
    ~ZkFonteUnitCache();
    ZkFonteUnitCache(const ZkFonteUnitCache &) = delete;
    ZkFonteUnitCache &operator=(const ZkFonteUnitCache &) = delete;

    /// The style as a number from 0 to 7: 4 for outline, 2 for slant (bold face), 1
    /// for embolden. Underline has no part in it.
    static constexpr int fontFlag(ZkFontAttr attr);

    /// What the records are found by: the character in bits 0 to 15, the size in
    /// 16 to 23, the style in 24 to 26.
    static constexpr int key(unsigned short unicode, ZkFontAttr attr);

    /// Starts an empty block memory with room for 2 records; what was there is
    /// released.
    void createDat(); // sic: the exported name

    /// Forgets every key and frees all blocks and pixels.
    void releaseDat(); // sic: the exported name

    /// Empties the store for new glyphs. Pointers to records become invalid, which
    /// `generation()` tells.
    void clean();

    /// The record of a glyph, null when there is none. Never changes the store.
    GlyphBitmap *fontTable(unsigned short unicode, ZkFont font) const;

    /// The record under a `key`, null when there is none. Any number of threads may
    /// look up at once.
    GlyphBitmap *find(int recordKey) const;

    /// Does the same for one key after the other, while no record is added.
    typedef ZkHash<int, GlyphBitmap *>::Finder Finder;
    Finder finder() const { return Finder(m_table); }

    /// Stores a copy of `record` with its pixels and returns it. A record that is
    /// already there under the same key is no longer found, but stays valid.
    GlyphBitmap *addFontInfo(const GlyphBitmap &record);

    /// Gives the stored record of the same key the pixels of `record`, with its size,
    /// bearings and advance if those differ, and returns the stored one. Null pixels bring
    /// no size. Pixels that it has are not freed: it should have none. Stops the process
    /// when there is no such record.
    GlyphBitmap *addfontMetrics(const GlyphBitmap &record); // sic: the exported name

    /// Frees the pixels of every record that can be found and whose use count is 0.
    /// Records, keys and metrics stay.
    void cleanAllFontMetrics();

    /// The most bytes of pixels that the store should hold; -1, and only -1, sets no
    /// limit. May be called without the cache's lock.
    int limit() const { return __atomic_load_n(&m_limit, __ATOMIC_RELAXED); }
    void setLimit(int bytes) { __atomic_store_n(&m_limit, bytes, __ATOMIC_RELAXED); }

    /// The sum of width x height over the records that hold pixels. May be called
    /// without the cache's lock.
    int pixelBytes() const { return __atomic_load_n(&m_pixelBytes, __ATOMIC_RELAXED); }

    /// True when there is a limit and the pixels have reached it.
    bool isOverLimit() const;

    /// True when `record` is there with its pixels, so that nothing must be rendered.
    static bool hasPixels(const GlyphBitmap *record)
    {
        return record != nullptr && record->pixels != nullptr;
    }

    /// Grows whenever a store of the process drops its records: a record fetched
    /// under another generation is gone.
    static unsigned generation();

protected:
    static void nextGeneration();

private:
    friend struct ZkInspector;

    void addPixelBytes(const GlyphBitmap &record, int sign);

    ZkHash<int, GlyphBitmap *> m_table;
    BlockMM *m_memory;
    int m_limit;
    int m_pixelBytes;
};
#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkFonteUnitCache::BlockUnit) == 12, "a block is 12 bytes on the device");
static_assert(sizeof(ZkFonteUnitCache) == 16, "the store is 16 bytes on the device");
#endif

inline GlyphBitmap *ZkFonteUnitCache::find(int recordKey) const
{
    return m_table.value(recordKey);
}

constexpr int ZkFonteUnitCache::fontFlag(ZkFontAttr attr)
{
    const unsigned flags = attr.flags;
    return static_cast<int>((flags & ZkFontAttr::Outline) | (flags & ZkFontAttr::Slant) << 1 |
                            (flags & ZkFontAttr::Embolden) >> 1);
}

constexpr int ZkFonteUnitCache::key(unsigned short unicode, ZkFontAttr attr)
{
    return unicode | attr.size << 16 | fontFlag(attr) << 24;
}

inline bool ZkFonteUnitCache::isOverLimit() const
{
    // Any negative limit but -1 is below every number of bytes: always reached.
    const int most = limit();
    return most != -1 && most <= pixelBytes();
}

#endif
