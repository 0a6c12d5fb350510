#include "zkglyphcache.h"

#include "glyph/zkglyphcachedata.h"

#include <algorithm>
#include <new>

namespace
{

ZkGlyphCache *sharedCache = nullptr;
pthread_mutex_t sharedLock = PTHREAD_MUTEX_INITIALIZER; // for making it
alignas(ZkGlyphCache) unsigned char sharedPlace[sizeof(ZkGlyphCache)];

std::size_t budgetFor(std::size_t bytes)
{
    return bytes == 0 ? 0 : std::max<std::size_t>(bytes, ZkGlyphCache::LeastBudget);
}

} // namespace

ZkGlyphCache::ZkGlyphCache(std::size_t budget) : d(ZkGlyphCacheData::create(budgetFor(budget)))
{
}

ZkGlyphCache::~ZkGlyphCache()
{
    d->release();
}

ZkGlyphCache &ZkGlyphCache::shared()
{
    ZkGlyphCache *cache = __atomic_load_n(&sharedCache, __ATOMIC_ACQUIRE);
    if (cache == nullptr) {
        const ZkGlyphMutexLock lock(&sharedLock);
        cache = sharedCache;
        if (cache == nullptr) {
            cache = new (sharedPlace) ZkGlyphCache();
            cache->d->isShared = 1;
            __atomic_store_n(&sharedCache, cache, __ATOMIC_RELEASE);
        }
    }
    return *cache;
}

std::uint64_t ZkGlyphCache::key(const ZkTypeface &face, std::uint32_t index, const ZkFont &font)
{
    const std::uint32_t low =
        std::min(index, 0xFFFFFFu) | static_cast<std::uint32_t>(font.fontSize()) << 24;
    return static_cast<std::uint64_t>(face.id() << 3 | (font.attr().flags & 7u)) << 32 | low;
}

std::size_t ZkGlyphCache::budget() const
{
    const ZkGlyphMutexLock lock(&d->mutex);
    return d->budget;
}

void ZkGlyphCache::setBudget(std::size_t bytes)
{
    const ZkGlyphMutexLock lock(&d->mutex);
    d->budget = budgetFor(bytes);
    d->makeRoom(0);
    d->notePeak();
}

ZkGlyphCache::Stats ZkGlyphCache::stats() const
{
    const ZkGlyphMutexLock lock(&d->mutex);
    const ZkGlyphStopLock stop(d);
    Stats stats = {};
    stats.budget = d->budget;
    stats.bytes = d->bytes();
    stats.tableBytes = stats.bytes - d->slabs.bytes();
    d->markHeld(true);
    d->slabs.each([&stats](ZkGlyph *glyph) {
        stats.pixelBytes += ZkGlyphSlabs::pixelsOf(*glyph);
        stats.recordBytes += sizeof(ZkGlyph);
        ++stats.glyphs;
        if (ZkGlyphSlabs::isHeld(*glyph)) {
            stats.heldBytes += ZkGlyphSlabs::lengthOf(*glyph);
            ++stats.heldGlyphs;
        }
    });
    d->markHeld(false);
    stats.unusedBytes = d->slabs.bytes() - stats.pixelBytes - stats.recordBytes;
    stats.overBytes = d->budget != 0 && stats.bytes > d->budget ? stats.bytes - d->budget : 0;
    stats.peakBytes = d->peak;
    stats.hits = d->hits(&stats.holders) - d->hitsBefore;
    stats.misses = d->misses;
    stats.evictions = d->evictions;
    stats.refills = d->refills;
    stats.failures = d->failures;
    stats.trims = d->trims;
    stats.longestLockMicroseconds = d->longestLock;
    stats.clock = d->now();
    return stats;
}

void ZkGlyphCache::resetStats()
{
    const ZkGlyphMutexLock lock(&d->mutex);
    {
        const ZkGlyphStopLock stop(d);
        int holders = 0;
        d->hitsBefore = d->hits(&holders);
    }
    d->misses = d->evictions = d->refills = d->failures = d->trims = 0;
    d->longestLock = 0;
    d->peak = 0;
    d->notePeak();
}

void ZkGlyphCache::walk(Visit visit, void *context) const
{
    const ZkGlyphMutexLock lock(&d->mutex);
    d->visit(visit, context);
}

void ZkGlyphCache::clear()
{
    const ZkGlyphMutexLock lock(&d->mutex);
    d->dropAll();
}

int ZkGlyphCache::prewarm(const ZkFontChain &chain, const ZkFont &font, const ZkString &text,
                          int from, int most)
{
    const ZkFontList faces = chain.faces();
    ZkGlyphHolder holder(*this);
    const int size = text.size();
    int next = 0;
    for (int at = std::max(from, 0); at < size; at = next) {
        char32_t c = text.at(at);
        next = at + 1;
        if (c >= 0xD800 && c < 0xDC00 && next < size && (text.at(next) & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c - 0xD800) << 10) + (text.at(next++) & 0x3FFu);
        }
        if (c < 0x20 || faces.isEmpty()) {
            continue; // ends lines, or shows nothing
        }
        const ZkTypeface &face = faces.at(std::max(0, faces.find(c)));
        const std::uint32_t index = face.glyphIndex(c);
        if (!face.isValid() || d->has(key(face, index, font))) {
            continue;
        }
        if (most <= 0) {
            return at;
        }
        holder.glyph(face, index, font);
        --most;
        if (holder.size() >= 12) {
            holder.clear(); // so that a text larger than the budget does not exceed it
        }
    }
    return size;
}
