#ifndef ZKGLYPHCACHE_H
#define ZKGLYPHCACHE_H

#include "zkfont.h"
#include "zkfontchain.h"
#include "zkstring.h"
#include "zktypeface.h"

struct ZkGlyphCacheData;
struct ZkGlyphCacheStripe;

/// A rendered glyph of a typeface, as the cache keeps it: the record that painters know,
/// the same pixels as the classic rasteriser makes, and what it is found by. `pixels` is
/// never null; `useCount` is 0 and means nothing here. In `font` slant, embolden and
/// outline count; an underline is not the glyph's.
struct ZkGlyph {
    GlyphBitmap bitmap;  ///< first, so that a pointer to it serves the classic painters
    std::uint32_t bytes; ///< the cache's own, as are the next two
    mutable std::uint32_t stamp;
    ZkGlyph *next;
    std::uint32_t low, high; ///< of the key

    std::uint64_t key() const { return static_cast<std::uint64_t>(high) << 32 | low; }
    std::uint32_t index() const { return low & 0xFFFFFFu; }
    unsigned pixelSize() const { return low >> 24; }
    std::uint32_t typefaceId() const { return high >> 3; }

    /// True for a glyph that FreeType could not load or render, or that is larger than
    /// any sane one: it is empty.
    bool isFailed() const { return bitmap.unicode == 0xFFFF; }
};
#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(ZkGlyph) == 48, "a glyph without its pixels is 48 bytes on the device");
#endif
static_assert(offsetof(ZkGlyph, bitmap) == 0, "a glyph is a glyph record and more");

class ZkGlyphHolder;

/// The glyph cache of typefaces: records and pixels under a budget of bytes. A cache is
/// asked through a `ZkGlyphHolder`, which keeps what it got from being dropped.
///
///     ZkGlyphCache::shared().setBudget(512 * 1024);
///     ZkGlyphHolder holder;                              // of the shared cache
///     const ZkGlyph *g = holder.glyph(face, face.glyphIndex('g'), ZkFont());
///     paint(g->bitmap);
///
/// The budget counts all that the cache has from `malloc`: slabs of records with their
/// pixels, and the table that finds them. It holds at every moment; only glyphs that
/// holders hold may exceed it, with the slabs they stand in. To make room the least
/// recently used glyph goes first, some sixteenth of the budget at a time, and the rest
/// is pushed together: a full cache takes no memory from the system for another glyph.
/// (A glyph of more than a quarter slab, from about 100 pixels on, has a block of its own.)
///
/// Any number of threads may use a cache. One that finds its glyphs writes nothing that
/// others read and waits only while another makes room. A glyph that is missing is
/// rendered once, even when several threads miss it, outside every lock but its
/// typeface's.
///
/// When the last handle of a typeface goes, its glyphs leave every cache; those that are
/// held stay good and are the first to go once they are let go. Destroying a cache leaves
/// its holders what they hold.
class ZK_EXPORT ZkGlyphCache
{
public:
    enum { DefaultBudget = 2 << 20, LeastBudget = 8 << 10 };

    /// Bytes and counts at one moment. The bytes add up to `bytes`.
    struct Stats {
        std::size_t budget;      ///< 0 is none
        std::size_t bytes;       ///< all that the cache has taken
        std::size_t pixelBytes;  ///< coverage
        std::size_t recordBytes; ///< glyph records
        std::size_t tableBytes;  ///< what finds glyphs, and the cache itself
        std::size_t unusedBytes; ///< room in slabs: free or lost between glyphs
        std::size_t heldBytes;   ///< records and pixels that holders hold
        std::size_t overBytes;   ///< by how much glyphs in use exceed the budget
        std::size_t peakBytes;   ///< the most that `bytes` ever was
        int glyphs;              ///< in the cache
        int heldGlyphs;
        int holders;
        std::uint64_t hits;   ///< look-ups that found; asking a holder again is none
        std::uint64_t misses; ///< glyphs rendered or tried
        std::uint64_t evictions;
        std::uint64_t refills;  ///< misses of glyphs that were evicted not long ago
        std::uint64_t failures; ///< glyphs that came out empty because something failed
        std::uint64_t trims;    ///< times that room was made
        std::uint32_t longestLockMicroseconds; ///< that look-ups had to wait
        std::uint32_t clock; ///< ticks with every miss, and now and then while there is none
    };

    /// Takes `budget` bytes at most; 0 is no bound, less than `LeastBudget` counts as that.
    explicit ZkGlyphCache(std::size_t budget = DefaultBudget);
    ~ZkGlyphCache();
    ZkGlyphCache(const ZkGlyphCache &) = delete;
    ZkGlyphCache &operator=(const ZkGlyphCache &) = delete;

    /// The one of the process, made on the first call and never destroyed.
    static ZkGlyphCache &shared();

    /// What a glyph is found by: glyph index in bits 0 to 23, size in 24 to 31, slant,
    /// embolden and outline in 32 to 34, typeface above.
    static std::uint64_t key(const ZkTypeface &face, std::uint32_t index, const ZkFont &font);

    std::size_t budget() const;
    /// Glyphs that a smaller budget has no room for go at once.
    void setBudget(std::size_t bytes);

    Stats stats() const;
    /// Starts the counts and the peak anew.
    void resetStats();

    /// What `walk` calls: whether a holder holds the glyph, and how many ticks of the
    /// clock ago it was last looked up. It must not use the cache.
    typedef void (*Visit)(const ZkGlyph &glyph, bool isHeld, std::uint32_t age, void *context);

    /// Calls `visit` for every glyph, in no order.
    void walk(Visit visit, void *context) const;

    /// Drops all glyphs that nobody holds and gives their memory back.
    void clear();

    /// Renders ahead what `text` needs, from its unit `from` on and at most `most` missing
    /// glyphs, each as the glyph of its character: for scripts that join, lay the text out
    /// instead. The unit to go on from, `text.size()` when all is done.
    int prewarm(const ZkFontChain &chain, const ZkFont &font, const ZkString &text, int from = 0,
                int most = 0x7FFFFFFF);

    /// Writes all glyphs of the chain's typefaces to a file, by way of a temporary one
    /// beside it. Their number; -1 with a reason when that fails.
    int save(const char *path, const ZkFontChain &chain, ZkString *reason = nullptr) const;

    /// Takes the glyphs of a file that `save` wrote, until the budget is full: what is in
    /// the cache stays. The number of glyphs taken; -1 and nothing taken, with a reason,
    /// when the pack is damaged or from another version, byte order or FreeType, or when a
    /// typeface of it is not in the chain, opened alike. Every byte is checked first.
    int load(const char *path, const ZkFontChain &chain, ZkString *reason = nullptr);
    /// The same from memory.
    int load(const void *pack, std::size_t size, const ZkFontChain &chain,
             ZkString *reason = nullptr);

private:
    friend class ZkGlyphHolder;
    friend struct ZkGlyphCacheData;
    friend struct ZkInspector;

    ZkGlyphCacheData *d;
};

/// Glyphs of one text (or of anything that is let go as a whole). Whatever it was given
/// stays where it is, with its pixels, until `clear`; nothing is counted per glyph, a
/// cache that makes room asks its holders.
///
/// An object belongs to one thread at a time, several may hold the same glyphs. Asking
/// for a glyph that is held already costs a look into the holder alone. Up to twelve
/// distinct glyphs need no memory of its own.
class ZK_EXPORT ZkGlyphHolder
{
public:
    /// Of the shared cache.
    ZkGlyphHolder();
    explicit ZkGlyphHolder(ZkGlyphCache &cache);
    ~ZkGlyphHolder();
    ZkGlyphHolder(const ZkGlyphHolder &) = delete;
    ZkGlyphHolder &operator=(const ZkGlyphHolder &) = delete;

    /// The glyph, rendered if it must be; never null. What cannot be rendered is an empty
    /// record, remembered unless memory was short; a face that is not valid gives one too.
    const ZkGlyph *glyph(const ZkTypeface &face, std::uint32_t index, const ZkFont &font);

    /// The same for `n` glyphs at once, which looks up what is new under one lock.
    void fetch(const ZkTypeface &face, const ZkFont &font, const std::uint32_t *indices, int n,
               const ZkGlyph **out);

    /// Lets all go. A budget that they exceeded is kept again when this returns.
    void clear();

    /// Distinct glyphs held.
    int size() const { return m_count; }

private:
    friend struct ZkGlyphCacheData;
    friend struct ZkInspector;

    enum { InlineSlots = 16 };

    const ZkGlyph *find(std::uint32_t low, std::uint32_t high, std::uint32_t hash) const;
    bool lookUp(std::uint32_t size, std::uint32_t high, const std::uint32_t *indices, int n,
                const ZkGlyph **out);
    bool makeRoom();
    void add(const ZkGlyph *glyph, std::uint32_t hash);
    void enroll(ZkGlyphCacheStripe *stripe);
    void touchAll() const;
    void emptySlots();

    ZkGlyphCacheData *m_cache;
    const ZkGlyph **m_slots; ///< open addressing, null is free
    std::uint32_t m_mask;    ///< slots less one
    int m_count = 0;         ///< 0: what `m_slots` name counts no longer
    ZkGlyphHolder *m_next = nullptr, **m_link = nullptr; ///< among those of `m_stripe`
    std::uint16_t m_stripe = 0;
    bool m_isStale = false;    ///< cleared, and `m_slots` are not empty
    std::uint32_t m_hits = 0;  ///< that its stripe was not told yet
    std::uint32_t m_clock = 0; ///< of the cache when the first of them was added
    const ZkGlyph *m_inline[InlineSlots] = {};
};

#endif
