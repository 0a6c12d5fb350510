#include "glyph/zkglyphcachedata.h"
#include "glyph/zkglyphrenderer.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>

namespace
{

constexpr std::uint32_t kFirstSlots = 128;
constexpr std::size_t kAll = SIZE_MAX / 2; // more than there can be

// All caches, so that the glyphs of a typeface that closes can be dropped.
pthread_mutex_t cachesLock = PTHREAD_MUTEX_INITIALIZER; // guards the one below
ZkGlyphCacheData *caches = nullptr;

std::uint32_t threads = 0; // that looked up glyphs so far

std::int64_t nanoseconds()
{
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

std::uint16_t ghostOf(std::uint32_t hash)
{
    return static_cast<std::uint16_t>(hash >> 16 | 1);
}

// True when `a` was looked up before `b`. Glyphs of closed typefaces come first; the
// clock may wrap.
bool isOlder(const ZkGlyph *a, const ZkGlyph *b)
{
    if (a->stamp == 0 || b->stamp == 0) {
        return a->stamp == 0 && b->stamp != 0;
    }
    return static_cast<std::int32_t>(a->stamp - b->stamp) < 0;
}

ZkGlyph *merged(ZkGlyph *a, ZkGlyph *b)
{
    ZkGlyph *first = nullptr;
    ZkGlyph **link = &first;
    while (a != nullptr && b != nullptr) {
        ZkGlyph *&less = isOlder(b, a) ? b : a;
        *link = less;
        link = &less->next;
        less = less->next;
    }
    *link = a != nullptr ? a : b;
    return first;
}

// Merge sort of a list, oldest first; glyphs of one stamp keep their order. Bin i holds a
// sorted list of 2^i glyphs or none.
ZkGlyph *sorted(ZkGlyph *list)
{
    ZkGlyph *bins[32] = {};
    while (list != nullptr) {
        ZkGlyph *carry = list;
        list = list->next;
        carry->next = nullptr;
        int i = 0;
        // no test can tell: longer bins are merged as well, and slower
        for (; i < 31 && bins[i] != nullptr; ++i) {
            carry = merged(bins[i], carry);
            bins[i] = nullptr;
        }
        bins[i] = bins[i] == nullptr ? carry : merged(bins[i], carry);
    }
    ZkGlyph *all = nullptr;
    for (ZkGlyph *bin : bins) {
        all = merged(bin, all);
    }
    return all;
}

} // namespace

void zkForgetGlyphs(std::uint32_t typefaceId)
{
    const ZkGlyphMutexLock all(&cachesLock);
    for (ZkGlyphCacheData *cache = caches; cache != nullptr; cache = cache->nextCache) {
        const ZkGlyphMutexLock lock(&cache->mutex);
        cache->forget(typefaceId);
    }
}

ZkGlyphCacheData *ZkGlyphCacheData::create(std::size_t budget)
{
    // The C library's aligned blocks may fail, and `malloc` aligns less.
    constexpr std::size_t kAlign = alignof(ZkGlyphCacheData);
    void *const memory = zkAllocate(sizeof(ZkGlyphCacheData) + kAlign);
    const std::size_t past = reinterpret_cast<std::uintptr_t>(memory) % kAlign;
    auto *const cache = new (static_cast<char *>(memory) + (kAlign - past)) ZkGlyphCacheData();
    cache->block = memory;
    cache->ref = 1;
    cache->clock = 1;
    cache->budget = budget;
    cache->table = static_cast<ZkGlyph **>(zkAllocate(kFirstSlots * sizeof(ZkGlyph *)));
    std::memset(static_cast<void *>(cache->table), 0, kFirstSlots * sizeof(ZkGlyph *));
    cache->mask = kFirstSlots - 1;
    pthread_mutex_init(&cache->mutex, nullptr);
    for (Stripe &stripe : cache->stripes) {
        pthread_rwlock_init(&stripe.lock, nullptr);
    }
    cache->notePeak();
    const ZkGlyphMutexLock all(&cachesLock);
    cache->nextCache = caches;
    caches = cache;
    return cache;
}

void ZkGlyphCacheData::release()
{
    if (isShared != 0 || ref.deref()) {
        return;
    }
    pthread_mutex_lock(&cachesLock);
    ZkGlyphCacheData **link = &caches;
    while (*link != this) {
        link = &(*link)->nextCache;
    }
    *link = nextCache;
    pthread_mutex_unlock(&cachesLock);
    slabs.release();
    std::free(table);
    for (Stripe &stripe : stripes) {
        pthread_rwlock_destroy(&stripe.lock);
    }
    pthread_mutex_destroy(&mutex);
    std::free(block);
}

// Threads take the stripes in turn.
ZkGlyphCacheData::Stripe *ZkGlyphCacheData::ownStripe()
{
    // In the thread's static block, so that it is read without a call.
    static thread_local std::uint32_t mine __attribute__((tls_model("initial-exec"))) = 0;
    if (mine == 0) {
        mine = __atomic_fetch_add(&threads, 1, __ATOMIC_RELAXED) % kStripes + 1;
    }
    return &stripes[mine - 1];
}

void ZkGlyphCacheData::countHits(Stripe *stripe, unsigned hits)
{
    std::uint64_t before = 0;
    if (ZK_SINGLE_THREADED()) {
        before = stripe->hits;
        stripe->hits += hits;
    } else {
        before = __atomic_fetch_add(&stripe->hits, hits, __ATOMIC_RELAXED);
    }
    // So that what is never missed ages too. Rare enough for stamps to stay unwritten.
    if ((before ^ (before + hits)) >> kTickBits != 0) {
        tick();
    }
}

void ZkGlyphCacheData::tick()
{
    if (__atomic_add_fetch(&clock, 1, __ATOMIC_RELAXED) == 0) { // one way: after 4 billion
        __atomic_add_fetch(&clock, 1, __ATOMIC_RELAXED);        // unreachable: after 4 billion
    }
}

std::size_t ZkGlyphCacheData::bytes() const
{
    // no test can tell: what aligning leaves unused at most
    return sizeof(*this) + alignof(ZkGlyphCacheData) +
           (static_cast<std::size_t>(mask) + 1) * sizeof(ZkGlyph *) + slabs.bytes();
}

void ZkGlyphCacheData::notePeak()
{
    const std::size_t now = bytes();
    peak = std::max(peak, now);
    __atomic_store_n(&isOver, budget != 0 && now > budget ? 1u : 0u, __ATOMIC_RELAXED);
}

// An eighth of the budget, so that a small one is not all one slab.
std::uint32_t ZkGlyphCacheData::slabSize() const
{
    const std::size_t eighth = budget == 0 ? ZkGlyphSlabs::kMostSlab : budget / 8;
    const std::size_t pages = std::min<std::size_t>(
        std::max<std::size_t>(eighth & ~static_cast<std::size_t>(4095), ZkGlyphSlabs::kLeastSlab),
        ZkGlyphSlabs::kMostSlab);
    return static_cast<std::uint32_t>(pages - sizeof(ZkGlyphSlabs::Slab) - 16);
}

// The first slabs are small, so that few glyphs take little.
std::uint32_t ZkGlyphCacheData::nextSlabSize(std::uint32_t length) const
{
    const std::uint32_t most = slabSize();
    const auto quarter = static_cast<std::uint32_t>(
        std::min<std::size_t>(slabs.bytes() / 4 & ~static_cast<std::size_t>(4095), most));
    return std::min(most, std::max({quarter, ZkGlyphSlabs::kLeastSlab, length * 4}));
}

ZkGlyphStopLock::ZkGlyphStopLock(ZkGlyphCacheData *cache)
    : m_cache(cache), m_isLocked(!ZK_SINGLE_THREADED()), m_since(nanoseconds())
{
    for (ZkGlyphCacheData::Stripe &stripe : cache->stripes) {
        if (m_isLocked) {
            pthread_rwlock_wrlock(&stripe.lock);
        }
    }
}

ZkGlyphStopLock::~ZkGlyphStopLock()
{
    for (ZkGlyphCacheData::Stripe &stripe : m_cache->stripes) {
        if (m_isLocked) {
            pthread_rwlock_unlock(&stripe.lock);
        }
    }
    const std::int64_t micro = (nanoseconds() - m_since) / 1000;
    m_cache->longestLock = std::max(
        m_cache->longestLock, static_cast<std::uint32_t>(std::min<std::int64_t>(micro, INT_MAX)));
}

std::uint64_t ZkGlyphCacheData::hits(int *holderCount) const
{
    std::uint64_t sum = 0;
    for (const Stripe &stripe : stripes) {
        sum += stripe.hits;
        for (const ZkGlyphHolder *holder = stripe.holders; holder != nullptr;
             holder = holder->m_next) {
            ++*holderCount;
            sum += holder->m_hits;
        }
    }
    return sum;
}

void ZkGlyphCacheData::markHeld(bool isHeld)
{
    for (Stripe &stripe : stripes) {
        for (ZkGlyphHolder *holder = stripe.holders; holder != nullptr; holder = holder->m_next) {
            // One that is cleared from now on is known by its slots when the marks go.
            if (isHeld && __atomic_load_n(&holder->m_count, __ATOMIC_ACQUIRE) == 0 &&
                holder->m_isStale) {
                holder->emptySlots();
            }
            for (std::uint32_t i = 0; i <= holder->m_mask; ++i) {
                auto *const glyph = const_cast<ZkGlyph *>(holder->m_slots[i]);
                if (glyph != nullptr) {
                    glyph->bytes =
                        (glyph->bytes & ~static_cast<std::uint32_t>(ZkGlyphSlabs::Held)) |
                        (isHeld ? static_cast<std::uint32_t>(ZkGlyphSlabs::Held) : 0);
                }
            }
        }
    }
}

void ZkGlyphCacheData::evict(ZkGlyph *glyph)
{
    const std::uint32_t hash = hashOf(glyph->low, glyph->high);
    ghosts[hash % kGhosts] = ghostOf(hash);
    ZkGlyphSlabs::drop(glyph);
    --count;
    ++evictions;
}

// The glyphs that nobody holds, linked by `next`.
ZkGlyph *ZkGlyphCacheData::oldestFirst()
{
    ZkGlyph *list = nullptr;
    ZkGlyph **link = &list;
    slabs.each([&link](ZkGlyph *glyph) {
        if (!ZkGlyphSlabs::isHeld(*glyph)) {
            glyph->next = nullptr;
            *link = glyph;
            link = &glyph->next;
        }
    });
    return sorted(list);
}

// Fills a table of `slots` anew. A smaller one stands where the larger one stood. False,
// and nothing changed, without memory for a larger one.
bool ZkGlyphCacheData::rebuildTable(std::uint32_t slots)
{
    const std::size_t size = slots * sizeof(ZkGlyph *);
    const bool isSmaller = slots < mask + 1; // no test can tell: both are powers of two
    if (slots > mask + 1) {
        auto *const larger = static_cast<ZkGlyph **>(std::malloc(size));
        if (larger == nullptr) {
            return false;
        }
        peak = std::max(peak, bytes() + size);
        std::free(table);
        table = larger;
    }
    mask = slots - 1;
    std::memset(static_cast<void *>(table), 0, size);
    slabs.each([this](ZkGlyph *glyph) { publish(glyph); });
    if (isSmaller) {
        void *const less = std::realloc(static_cast<void *>(table), size);
        table = less != nullptr ? static_cast<ZkGlyph **>(less) : table;
    }
    return true;
}

void ZkGlyphCacheData::publish(ZkGlyph *glyph)
{
    std::uint32_t i = hashOf(glyph->low, glyph->high) & mask;
    while (table[i] != nullptr) {
        i = (i + 1) & mask;
    }
    __atomic_store_n(&table[i], glyph, __ATOMIC_RELEASE);
}

void ZkGlyphCacheData::gather(std::size_t wanted)
{
    const ZkGlyphStopLock stop(this);
    ++trims;
    markHeld(true);
    std::size_t free = slabs.room();
    for (ZkGlyph *glyph = oldestFirst(); glyph != nullptr && free < wanted;) {
        ZkGlyph *const next = glyph->next;
        // A glyph that has a slab of its own gives all of it back.
        free += ZkGlyphSlabs::lengthOf(*glyph);
        evict(glyph);
        glyph = next;
    }
    slabs.compact();
    slabs.freeEmpty(0);
    markHeld(false);
    // A table that is far too large gives its memory back.
    std::uint32_t slots = mask + 1;
    while (slots > kFirstSlots && static_cast<std::uint32_t>(count) * 8 < slots) {
        slots /= 2;
    }
    rebuildTable(slots);
    notePeak();
}

// Whole slabs are given back, so what has to go is rounded up to one, and a sixteenth of
// the budget more: making room costs a walk over everything.
void ZkGlyphCacheData::makeRoom(std::size_t more)
{
    const std::size_t slab = ZkGlyphSlabs::costOf(slabSize());
    for (std::size_t spare : {slab + budget / 16, kAll}) {
        if (fits(more)) {
            return;
        }
        // no test can tell: how much more than that goes
        const std::size_t over = bytes() + more - budget;
        gather(spare == kAll ? kAll : over + spare);
        if (!fits(more)) {
            // no test can tell: how much more than that goes
            slabs.freeEmpty(bytes() + more - budget);
        }
        notePeak();
    }
}

// Room for a glyph: in a tail, in a new slab, or by making other glyphs go. Only when all
// that is left is held the budget is exceeded, by a slab as small as can be.
ZkGlyph *ZkGlyphCacheData::room(std::uint32_t length)
{
    const std::uint32_t size = slabSize();
    if (length > size / 4) {
        makeRoom(ZkGlyphSlabs::costOf(length));
        ZkGlyph *glyph = slabs.takeSingle(length);
        if (glyph == nullptr && count > 0) { // what the system does not give the cache may
            gather(kAll);
            slabs.freeEmpty(kAll);
            glyph = slabs.takeSingle(length);
        }
        return glyph;
    }
    ZkGlyph *glyph = slabs.take(length);
    const std::uint32_t next = nextSlabSize(length);
    if (glyph == nullptr && fits(ZkGlyphSlabs::costOf(next)) && slabs.addSlab(next)) {
        glyph = slabs.take(length);
    }
    for (std::size_t wanted : {length + budget / 16, length + budget / 4, kAll}) {
        if (glyph == nullptr && count > 0) {
            gather(wanted);
            glyph = slabs.take(length);
        }
    }
    const std::uint32_t least = ZkGlyphSlabs::kLeastSlab;
    if (glyph == nullptr && slabs.addSlab(std::max(length, std::min(size, least)))) {
        glyph = slabs.take(length);
    }
    return glyph;
}

bool ZkGlyphCacheData::hasRoom(std::uint32_t length) const
{
    const std::uint32_t size = slabSize();
    const std::uint32_t slots = mask + 1;
    const bool tableGrows = (static_cast<std::uint32_t>(count) + 1) * 2 > slots;
    const std::size_t growth = tableGrows ? 2 * slots * sizeof(ZkGlyph *) : 0;
    if (length > size / 4) {
        return fits(growth + ZkGlyphSlabs::costOf(length));
    }
    const std::size_t cost = ZkGlyphSlabs::costOf(nextSlabSize(length));
    return fits(growth + (slabs.hasTail(length) ? 0 : cost));
}

// A slot for one glyph more. Without memory for a larger table the one that is there may
// fill up to seven eighths.
bool ZkGlyphCacheData::hasSlot()
{
    const std::uint32_t slots = mask + 1, needed = static_cast<std::uint32_t>(count) + 1;
    if (needed * 2 <= slots) {
        return true;
    }
    makeRoom(2 * slots * sizeof(ZkGlyph *));
    if ((static_cast<std::uint32_t>(count) + 1) * 2 <= mask + 1) {
        return true;
    }
    const ZkGlyphStopLock stop(this);
    return rebuildTable(2 * (mask + 1)) || needed <= (mask + 1) / 8 * 7;
}

ZkGlyph *ZkGlyphCacheData::add(std::uint32_t low, std::uint32_t high, const GlyphBitmap &bitmap)
{
    const std::uint32_t hash = hashOf(low, high);
    if (!hasSlot()) {
        return nullptr;
    }
    const std::uint32_t length =
        ZkGlyphSlabs::lengthFor(static_cast<std::size_t>(bitmap.width) * bitmap.height);
    ZkGlyph *const glyph = room(length);
    if (glyph == nullptr) {
        return nullptr;
    }
    glyph->bitmap = bitmap;
    glyph->bitmap.pixels = reinterpret_cast<std::uint8_t *>(glyph + 1);
    glyph->bytes = length;
    glyph->next = nullptr;
    glyph->low = low;
    glyph->high = high;
    tick();
    glyph->stamp = now();
    if (ghosts[hash % kGhosts] == ghostOf(hash)) {
        ghosts[hash % kGhosts] = 0;
        ++refills;
    }
    ++count;
    notePeak();
    return glyph;
}

void ZkGlyphCacheData::visit(ZkGlyphCache::Visit visitor, void *context)
{
    {
        const ZkGlyphStopLock stop(this);
        markHeld(true);
    }
    // Look-ups go on: the marks are the mutex's, and no glyph moves without it.
    const std::uint32_t at = now();
    slabs.each([visitor, context, at](ZkGlyph *glyph) {
        const bool isHeld = ZkGlyphSlabs::isHeld(*glyph);
        glyph->bytes &= ~static_cast<std::uint32_t>(ZkGlyphSlabs::Held);
        visitor(*glyph, isHeld, at - __atomic_load_n(&glyph->stamp, __ATOMIC_RELAXED), context);
    });
}

void ZkGlyphCacheData::forget(std::uint32_t typefaceId)
{
    bool isThere = false;
    slabs.each([typefaceId, &isThere](const ZkGlyph *glyph) {
        isThere = isThere || glyph->typefaceId() == typefaceId;
    });
    if (!isThere) {
        return;
    }
    const ZkGlyphStopLock stop(this);
    markHeld(true);
    slabs.each([this, typefaceId](ZkGlyph *glyph) {
        if (glyph->typefaceId() != typefaceId) {
            return;
        }
        if (ZkGlyphSlabs::isHeld(*glyph)) {
            glyph->stamp = 0;
        } else {
            evict(glyph);
        }
    });
    slabs.compact();
    slabs.freeEmpty(0);
    markHeld(false);
    rebuildTable(mask + 1);
    notePeak(); // no test can tell: it tells that there is room, which else is looked for
}

void ZkGlyphCacheData::dropAll()
{
    gather(kAll);
    slabs.freeEmpty(kAll);
    notePeak(); // no test can tell: as above
}

void ZkGlyphCacheData::keepBudget()
{
    if (__atomic_load_n(&isOver, __ATOMIC_RELAXED) != 0) {
        const ZkGlyphMutexLock lock(&mutex);
        makeRoom(0);
    }
}

bool ZkGlyphCacheData::has(std::uint64_t key)
{
    const auto low = static_cast<std::uint32_t>(key);
    const auto high = static_cast<std::uint32_t>(key >> 32);
    const ZkGlyphStripeLock lock(ownStripe());
    return find(low, high, hashOf(low, high)) != nullptr;
}

void ZkGlyphCacheData::noteFailure()
{
    const ZkGlyphMutexLock lock(&mutex);
    ++misses;
    ++failures;
}

namespace
{

// Measures of what can be rendered; a strike that is too large is dropped.
bool measure(ZkRenderedGlyph *rendered, bool isFailed, GlyphBitmap *bitmap)
{
    rendered->measure(bitmap);
    if (static_cast<std::int64_t>(bitmap->width) * bitmap->height > ZkRenderedGlyph::kMostPixels) {
        rendered->dropPixels();
        rendered->measure(bitmap);
        isFailed = true;
    }
    bitmap->unicode = isFailed ? 0xFFFF : 0;
    return isFailed;
}

} // namespace

// The typeface's lock is what makes a glyph be rendered once: whoever waited for it finds
// the glyph in the cache. Look-ups go on meanwhile.
const ZkGlyph *ZkGlyphCacheData::render(ZkGlyphHolder *holder, const ZkOpenTypeface &face,
                                        std::uint32_t low, std::uint32_t high)
{
    const std::uint32_t hash = hashOf(low, high);
    const ZkTypefaceLock faceLock(face, true);
    {
        const ZkGlyphStripeLock lock(ownStripe());
        if (!holder->makeRoom()) {
            return nullptr;
        }
        if (const ZkGlyph *const glyph = find(low, high, hash)) {
            touch(glyph, now());
            holder->add(glyph, hash);
            return glyph;
        }
    }
    const ZkFontAttr attr = {static_cast<std::uint8_t>(low >> 24),
                             static_cast<std::uint8_t>(high & 7)};
    ZkRenderedGlyph rendered(face.freetype, attr.flags, ZkRenderedGlyph::Bounded);
    bool isFailed = !face.scale(attr.size);
    isFailed = isFailed || rendered.render(face.face, low & 0xFFFFFF, face.loadFlags) != 0;
    if (face.memory.isStarved) {
        return nullptr; // another time it may work
    }
    GlyphBitmap bitmap = {};
    bitmap.font = attr;
    isFailed = measure(&rendered, isFailed, &bitmap);

    const ZkGlyphMutexLock lock(&mutex);
    ZkGlyph *const glyph = add(low, high, bitmap);
    if (glyph == nullptr) {
        return nullptr;
    }
    ++misses;
    failures += isFailed ? 1 : 0;
    rendered.copyPixels(glyph->bitmap.pixels);
    publish(glyph);
    holder->add(glyph, hash);
    return glyph;
}
