#ifndef ZKGLYPHCACHEDATA_H
#define ZKGLYPHCACHEDATA_H

#include "glyph/zkglyphslabs.h"
#include "glyph/zktypefacedata.h"
#include "zkglyphcache.h"

#include <pthread.h>

/// What the look-ups of some threads share. Processors fetch cache lines in pairs: 128 bytes.
struct alignas(128) ZkGlyphCacheStripe {
    pthread_rwlock_t lock;
    ZkGlyphHolder *holders; ///< changed under the lock for writing
    std::uint64_t hits;
};

/// What a cache and its holders share. Three kinds of access:
///
/// - Looking up: under the read lock of the thread's stripe. It reads the table and glyphs
///   and writes to the holder, its stripe, and a glyph's stamp when the clock went on.
/// - Adding a glyph: under `mutex`. Look-ups go on; the table's slot is written last.
/// - Moving and dropping glyphs, growing the table: under `mutex` and all stripes. Then no
///   holder changes either, and what they hold can be asked.
///
/// A typeface's lock is taken before `mutex`, `mutex` before stripes. What every look-up
/// reads keeps away from what is written.
// NOLINTNEXTLINE(clang-analyzer-optin.performance.Padding)
struct ZkGlyphCacheData {
    static constexpr unsigned kStripes = 8; // threads that look up at once undisturbed
    static constexpr unsigned kGhosts = 512;
    static constexpr unsigned kTickBits = 14; // hits of a stripe from tick to tick

    typedef ZkGlyphCacheStripe Stripe;

    // Read by every look-up.
    alignas(128) ZkGlyph **table; ///< open addressing, null is free; at most half full
    std::uint32_t mask;           ///< slots less one
    std::uint32_t clock;          ///< never 0, the stamp of glyphs whose typeface is closed
    std::uint32_t isOver;         ///< glyphs in use exceed the budget
    std::uint32_t isShared;       ///< the one of the process: never destroyed, not counted

    Stripe stripes[kStripes];

    pthread_mutex_t mutex; ///< guards what follows
    ZkRefCount ref;
    void *block;                 ///< that this stands in, from `malloc`
    ZkGlyphCacheData *nextCache; ///< under the lock of all caches
    std::size_t budget;
    std::size_t peak;
    int count;
    ZkGlyphSlabs slabs;
    std::uint64_t misses, evictions, refills, failures, trims;
    std::uint64_t hitsBefore; ///< of all stripes when the counts were reset
    std::uint32_t longestLock;
    std::uint16_t ghosts[kGhosts]; ///< of glyphs evicted last, part of their hash

    static ZkGlyphCacheData *create(std::size_t budget);
    void retain() { isShared != 0 ? void() : ref.ref(); }
    void release();

    static std::uint32_t hashOf(std::uint32_t low, std::uint32_t high)
    {
        const std::uint64_t key = static_cast<std::uint64_t>(high) << 32 | low;
        return static_cast<std::uint32_t>((key * 0x9E3779B97F4A7C15u) >> 32);
    }

    ZkGlyph *find(std::uint32_t low, std::uint32_t high, std::uint32_t hash) const;

    bool has(std::uint64_t key);

    /// After glyphs were let go: what exceeds the budget goes.
    void keepBudget();
    char *pack(const ZkFontList &faces, std::size_t *size, int *glyphs);

    std::uint32_t now() const { return __atomic_load_n(&clock, __ATOMIC_RELAXED); }
    /// Notes that a glyph was looked up.
    static void touch(const ZkGlyph *glyph, std::uint32_t now);
    void countHits(Stripe *stripe, unsigned hits);
    void tick();

    /// The glyph of a key that `find` did not find, held: rendered unless another thread
    /// did. Null without memory.
    const ZkGlyph *render(ZkGlyphHolder *holder, const ZkOpenTypeface &face, std::uint32_t low,
                          std::uint32_t high);
    void noteFailure();

    // Under the mutex.
    std::size_t bytes() const;
    bool fits(std::size_t more) const { return budget == 0 || bytes() + more <= budget; }
    std::uint32_t slabSize() const;
    std::uint32_t nextSlabSize(std::uint32_t length) const;

    /// A record with the measures of `glyph` and room for its pixels, which is not found
    /// before `publish`. Null without memory.
    ZkGlyph *add(std::uint32_t low, std::uint32_t high, const GlyphBitmap &bitmap);
    void publish(ZkGlyph *glyph);
    bool takePacked(std::uint32_t low, std::uint32_t high, const GlyphBitmap &bitmap,
                    const char *pixels, int *taken);
    void visit(ZkGlyphCache::Visit visit, void *context);

    /// True when `add` of such a length makes no other glyph go.
    bool hasRoom(std::uint32_t length) const;
    ZkGlyph *room(std::uint32_t length);
    bool hasSlot();

    /// Evicts and gathers until `more` bytes can be taken from the system within the budget.
    void makeRoom(std::size_t more);
    /// Evicts and gathers until shared slabs have so many free bytes, or nothing can go.
    void gather(std::size_t wanted);

    void forget(std::uint32_t typefaceId);
    void notePeak();
    void dropAll(); ///< that nobody holds, and their slabs

    // Under the mutex and with look-ups stopped.
    /// Of all stripes and holders, whose number is added to `*holderCount`.
    std::uint64_t hits(int *holderCount) const;
    void markHeld(bool isHeld);
    void evict(ZkGlyph *glyph);
    ZkGlyph *oldestFirst();
    bool rebuildTable(std::uint32_t slots);

    Stripe *ownStripe();
};

/// Keeps glyphs from moving while one is looked up; with `isAlone`, keeps everybody else
/// from the stripe too, to change its list of holders. A process of one thread locks
/// nothing: nobody starts one in here.
class ZkGlyphStripeLock
{
public:
    explicit ZkGlyphStripeLock(ZkGlyphCacheData::Stripe *stripe, bool isAlone = false)
        : m_lock(ZK_SINGLE_THREADED() ? nullptr : &stripe->lock)
    {
        if (m_lock != nullptr) {
            isAlone ? pthread_rwlock_wrlock(m_lock) : pthread_rwlock_rdlock(m_lock);
        }
    }
    ~ZkGlyphStripeLock()
    {
        if (m_lock != nullptr) {
            pthread_rwlock_unlock(m_lock);
        }
    }
    ZkGlyphStripeLock(const ZkGlyphStripeLock &) = delete;
    ZkGlyphStripeLock &operator=(const ZkGlyphStripeLock &) = delete;

private:
    pthread_rwlock_t *m_lock;
};

class ZkGlyphMutexLock
{
public:
    explicit ZkGlyphMutexLock(pthread_mutex_t *mutex) : m_mutex(mutex)
    {
        pthread_mutex_lock(mutex);
    }
    ~ZkGlyphMutexLock() { pthread_mutex_unlock(m_mutex); }
    ZkGlyphMutexLock(const ZkGlyphMutexLock &) = delete;
    ZkGlyphMutexLock &operator=(const ZkGlyphMutexLock &) = delete;

private:
    pthread_mutex_t *m_mutex;
};

/// Stops all look-ups, and notes for how long.
class ZkGlyphStopLock
{
public:
    explicit ZkGlyphStopLock(ZkGlyphCacheData *cache);
    ~ZkGlyphStopLock();
    ZkGlyphStopLock(const ZkGlyphStopLock &) = delete;
    ZkGlyphStopLock &operator=(const ZkGlyphStopLock &) = delete;

private:
    ZkGlyphCacheData *m_cache;
    bool m_isLocked;
    std::int64_t m_since;
};

inline ZkGlyph *ZkGlyphCacheData::find(std::uint32_t low, std::uint32_t high,
                                       std::uint32_t hash) const
{
    for (std::uint32_t i = hash & mask;; i = (i + 1) & mask) {
        ZkGlyph *const glyph = __atomic_load_n(&table[i], __ATOMIC_ACQUIRE);
        if (glyph == nullptr || (glyph->low == low && glyph->high == high)) {
            return glyph;
        }
    }
}

inline void ZkGlyphCacheData::touch(const ZkGlyph *glyph, std::uint32_t now)
{
    if (__atomic_load_n(&glyph->stamp, __ATOMIC_RELAXED) != now) {
        __atomic_store_n(&glyph->stamp, now, __ATOMIC_RELAXED);
    }
}

#endif
