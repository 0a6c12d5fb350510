#include "glyph/zkglyphcachedata.h"

#include <cstdlib>
#include <cstring>

namespace
{

std::uint8_t noPixels = 0;

// What stands for a glyph that there is no typeface or no memory for.
const ZkGlyph kEmptyGlyph = {
    {0, 0, 0, 0, 0, 0, 0, {0, 0}, &noPixels, 0xFFFF, 0}, 0, 0, nullptr, 0, 0};

std::uint32_t lowOf(std::uint32_t index)
{
    return index > 0xFFFFFF ? 0xFFFFFF : index;
}

std::uint32_t sizeOf(const ZkFont &font)
{
    return static_cast<std::uint32_t>(font.fontSize()) << 24;
}

std::uint32_t highOf(const ZkOpenTypeface &face, const ZkFont &font)
{
    return face.id << 3 | (font.attr().flags & 7u);
}

} // namespace

ZkGlyphHolder::ZkGlyphHolder() : ZkGlyphHolder(ZkGlyphCache::shared())
{
}

ZkGlyphHolder::ZkGlyphHolder(ZkGlyphCache &cache)
    : m_cache(cache.d), m_slots(m_inline), m_mask(InlineSlots - 1)
{
    m_cache->retain();
}

ZkGlyphHolder::~ZkGlyphHolder()
{
    if (m_link != nullptr) {
        {
            ZkGlyphCacheStripe *const stripe = &m_cache->stripes[m_stripe];
            const ZkGlyphStripeLock lock(stripe, true);
            touchAll();
            m_cache->countHits(stripe, m_hits);
            *m_link = m_next;
            if (m_next != nullptr) {
                m_next->m_link = m_link;
            }
        }
        m_cache->keepBudget();
    }
    if (m_slots != m_inline) {
        std::free(m_slots);
    }
    m_cache->release();
}

// Enters the holder among those that are asked before a glyph goes. Alone in the stripe.
void ZkGlyphHolder::enroll(ZkGlyphCacheStripe *stripe)
{
    m_stripe = static_cast<std::uint16_t>(stripe - m_cache->stripes);
    m_next = stripe->holders;
    if (m_next != nullptr) {
        m_next->m_link = &m_next;
    }
    m_link = &stripe->holders;
    stripe->holders = this;
}

inline const ZkGlyph *ZkGlyphHolder::find(std::uint32_t low, std::uint32_t high,
                                          std::uint32_t hash) const
{
    for (std::uint32_t i = hash & m_mask;; i = (i + 1) & m_mask) {
        const ZkGlyph *const glyph = m_slots[i];
        if (glyph == nullptr || (glyph->low == low && glyph->high == high)) {
            return glyph;
        }
    }
}

// Room for one more, a quarter of the slots staying free. Under the stripe's lock, as is
// `add`. False without memory.
bool ZkGlyphHolder::makeRoom()
{
    const std::uint32_t slots = m_mask + 1;
    if (static_cast<std::uint32_t>(m_count) + 1 <= slots / 4 * 3) {
        return true;
    }
    auto *const grown = static_cast<const ZkGlyph **>(
        std::calloc(static_cast<std::size_t>(slots) * 4, sizeof(ZkGlyph *)));
    if (grown == nullptr) {
        return false;
    }
    const ZkGlyph **const before = m_slots;
    m_slots = grown;
    m_mask = slots * 4 - 1;
    m_count = 0;
    for (std::uint32_t i = 0; i < slots; ++i) {
        if (before[i] != nullptr) {
            add(before[i], ZkGlyphCacheData::hashOf(before[i]->low, before[i]->high));
        }
    }
    if (before != m_inline) {
        std::free(before);
    }
    return true;
}

void ZkGlyphHolder::add(const ZkGlyph *glyph, std::uint32_t hash)
{
    std::uint32_t i = hash & m_mask;
    while (m_slots[i] != nullptr) {
        i = (i + 1) & m_mask;
    }
    m_slots[i] = glyph;
    ++m_count;
}

const ZkGlyph *ZkGlyphHolder::glyph(const ZkTypeface &face, std::uint32_t index, const ZkFont &font)
{
    const ZkGlyph *glyph = nullptr;
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(face);
    if (open != nullptr && m_count != 0) { // one that is held, as a rule
        const std::uint32_t low = lowOf(index) | sizeOf(font), high = highOf(*open, font);
        glyph = find(low, high, ZkGlyphCacheData::hashOf(low, high));
    }
    if (glyph == nullptr) {
        fetch(face, font, &index, 1, &glyph);
    }
    return glyph;
}

void ZkGlyphHolder::fetch(const ZkTypeface &face, const ZkFont &font, const std::uint32_t *indices,
                          int n, const ZkGlyph **out)
{
    const ZkOpenTypeface *const open = ZkOpenTypeface::of(face);
    if (open == nullptr) {
        for (int i = 0; i < n; ++i) {
            out[i] = &kEmptyGlyph;
        }
        return;
    }
    const std::uint32_t size = sizeOf(font), high = highOf(*open, font);
    int next = 0;
    for (; next < n && m_count != 0; ++next) { // what is held needs no lock
        const std::uint32_t low = lowOf(indices[next]) | size;
        out[next] = find(low, high, ZkGlyphCacheData::hashOf(low, high));
        if (out[next] == nullptr) {
            break;
        }
    }
    if (next == n || lookUp(size, high, indices + next, n - next, out + next)) {
        return;
    }
    for (int i = next; i < n; ++i) {
        if (out[i] == nullptr) {
            const std::uint32_t low = lowOf(indices[i]) | size;
            out[i] = find(low, high, ZkGlyphCacheData::hashOf(low, high));
            out[i] = out[i] != nullptr ? out[i] : m_cache->render(this, *open, low, high);
        }
        if (out[i] == nullptr) {
            m_cache->noteFailure();
            out[i] = &kEmptyGlyph;
        }
    }
}

// Looks up `n` glyphs in the holder and the cache. False when one of them is null.
bool ZkGlyphHolder::lookUp(std::uint32_t size, std::uint32_t high, const std::uint32_t *indices,
                           int n, const ZkGlyph **out)
{
    bool allThere = true;
    ZkGlyphCacheStripe *const stripe = m_cache->ownStripe();
    const ZkGlyphStripeLock lock(stripe, m_link == nullptr);
    if (m_link == nullptr) {
        enroll(stripe);
    }
    const std::uint32_t now = m_cache->now();
    m_clock = m_count == 0 ? now : m_clock;
    if (m_isStale) {
        emptySlots();
    }
    for (int i = 0; i < n; ++i) {
        const std::uint32_t low = lowOf(indices[i]) | size;
        const std::uint32_t hash = ZkGlyphCacheData::hashOf(low, high);
        std::uint32_t slot = hash & m_mask;
        const ZkGlyph *glyph = m_slots[slot];
        while (glyph != nullptr && (glyph->low != low || glyph->high != high)) {
            slot = (slot + 1) & m_mask;
            glyph = m_slots[slot];
        }
        if (glyph == nullptr) {
            glyph = m_cache->find(low, high, hash);
            const bool hasRoom = static_cast<std::uint32_t>(m_count) < m_mask - m_mask / 4;
            if (glyph == nullptr || !(hasRoom || makeRoom())) {
                glyph = nullptr;
                allThere = false;
            } else {
                ZkGlyphCacheData::touch(glyph, now);
                ++m_hits;
                if (hasRoom) {
                    m_slots[slot] = glyph;
                    ++m_count;
                } else {
                    add(glyph, hash);
                }
            }
        }
        out[i] = glyph;
    }
    if (m_hits >> ZkGlyphCacheData::kTickBits != 0) {
        m_cache->countHits(stripe, m_hits);
        m_hits = 0;
    }
    return allThere;
}

// What is let go was used until now. Under a stripe's lock. While the clock stood still
// since the first of them was added, their stamps say so already.
void ZkGlyphHolder::touchAll() const
{
    const std::uint32_t now = m_cache->now();
    if (m_count == 0 || now == m_clock) {
        return;
    }
    for (std::uint32_t i = 0; i <= m_mask; ++i) {
        const ZkGlyph *const glyph = m_slots[i];
        if (glyph != nullptr && __atomic_load_n(&glyph->stamp, __ATOMIC_RELAXED) != 0) {
            ZkGlyphCacheData::touch(glyph, now);
        }
    }
}

// Without a lock, as a rule: what the slots name stays there until somebody looks at them
// under one, and counts no longer.
void ZkGlyphHolder::clear()
{
    if (m_count == 0) {
        return;
    }
    if (m_clock != m_cache->now()) {
        const ZkGlyphStripeLock lock(m_cache->ownStripe());
        touchAll();
    }
    m_isStale = true;
    __atomic_store_n(&m_count, 0, __ATOMIC_RELEASE);
    m_cache->keepBudget();
}

void ZkGlyphHolder::emptySlots()
{
    std::memset(static_cast<void *>(m_slots), 0,
                (static_cast<std::size_t>(m_mask) + 1) * sizeof *m_slots);
    m_isStale = false;
}
