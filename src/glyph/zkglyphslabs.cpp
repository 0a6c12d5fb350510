#include "glyph/zkglyphslabs.h"

#include <cstdlib>
#include <cstring>

static_assert(sizeof(ZkGlyphSlabs::Slab) % 8 == 0, "glyphs begin at multiples of eight");
static_assert(alignof(ZkGlyph) <= 8, "glyphs begin at multiples of eight");

/// Where the next glyph is moved to. Held glyphs stand in the way: `held` is the first of
/// them at or behind `offset`, and the others follow by their `next`.
struct ZkGlyphSlabs::Target {
    Slab *slab = nullptr;
    std::uint32_t offset = 0;
    ZkGlyph *held = nullptr;
    ZkGlyph *last = nullptr; ///< glyph that ends at `offset`, if any

    std::uint32_t offsetOf(const ZkGlyph *glyph) const
    {
        return static_cast<std::uint32_t>(reinterpret_cast<const char *>(glyph) - slab->bytes());
    }

    std::uint32_t limit() const { return held != nullptr ? offsetOf(held) : slab->size; }

    // Closes the gap before the held glyph, by a hole, or by lengthening the glyph before
    // it when the gap is too small for a hole's record; then goes on behind the held one.
    void passHeld()
    {
        const std::uint32_t gap = offsetOf(held) - offset;
        // no test can tell: a gap of just a record is as well part of the glyph before it
        if (gap >= sizeof(ZkGlyph)) {
            ZkGlyph *const hole = slab->at(offset);
            std::memset(static_cast<void *>(hole), 0, sizeof(ZkGlyph));
            hole->bytes = gap;
        } else if (gap > 0) {
            last->bytes += gap;
        }
        offset += gap + lengthOf(*held);
        last = held;
        held = held->next;
    }

    void finish()
    {
        while (held != nullptr) {
            passHeld();
        }
        slab->used = offset;
    }

    // Null behind the last.
    void nextSlab()
    {
        finish();
        Slab *next = slab->next;
        while (next != nullptr && next->isSingle != 0) {
            next = next->next;
        }
        slab = nullptr;
        if (next != nullptr) {
            begin(next);
        }
    }

    void begin(Slab *at)
    {
        slab = at;
        offset = 0;
        held = at->firstHeld;
        last = nullptr;
    }
};

ZkGlyphSlabs::Slab *ZkGlyphSlabs::make(std::uint32_t size, bool isSingle)
{
    auto *const slab = static_cast<Slab *>(std::malloc(costOf(size)));
    if (slab != nullptr) {
        *slab = {nullptr, size, 0, isSingle, nullptr};
        (m_last == nullptr ? m_first : m_last->next) = slab;
        m_last = slab;
        m_bytes += costOf(size);
    }
    return slab;
}

bool ZkGlyphSlabs::addSlab(std::uint32_t size)
{
    Slab *const slab = make(size, false);
    m_current = slab != nullptr ? slab : m_current;
    return slab != nullptr;
}

ZkGlyph *ZkGlyphSlabs::takeSingle(std::uint32_t length)
{
    Slab *const slab = make(length, true);
    if (slab == nullptr) {
        return nullptr;
    }
    slab->used = length;
    return slab->at(0);
}

ZkGlyphSlabs::Slab *ZkGlyphSlabs::tailOf(std::uint32_t length) const
{
    Slab *slab = m_current;
    if (slab == nullptr || slab->size - slab->used < length) {
        slab = m_first;
        while (slab != nullptr && (slab->isSingle != 0 || slab->size - slab->used < length)) {
            slab = slab->next;
        }
    }
    return slab;
}

ZkGlyph *ZkGlyphSlabs::take(std::uint32_t length)
{
    Slab *const slab = tailOf(length);
    if (slab == nullptr) {
        return nullptr;
    }
    m_current = slab;
    ZkGlyph *const glyph = slab->at(slab->used);
    slab->used += length;
    return glyph;
}

std::size_t ZkGlyphSlabs::room() const
{
    std::size_t room = 0;
    for (Slab *slab = m_first; slab != nullptr; slab = slab->next) {
        if (slab->isSingle != 0) {
            continue;
        }
        room += slab->size;
        for (std::uint32_t at = 0; at < slab->used; at += lengthOf(*slab->at(at))) {
            room -= isHole(*slab->at(at)) ? 0 : lengthOf(*slab->at(at));
        }
    }
    return room;
}

namespace
{

// The held glyphs of a slab, linked by `next` in memory order.
ZkGlyph *linkHeld(ZkGlyphSlabs::Slab *slab)
{
    ZkGlyph *first = nullptr;
    ZkGlyph *last = nullptr;
    for (std::uint32_t at = 0; at < slab->used; at += ZkGlyphSlabs::lengthOf(*slab->at(at))) {
        ZkGlyph *const glyph = slab->at(at);
        if (!ZkGlyphSlabs::isHole(*glyph) && ZkGlyphSlabs::isHeld(*glyph)) {
            glyph->next = nullptr;
            (last == nullptr ? first : last->next) = glyph;
            last = glyph;
        }
    }
    return first;
}

} // namespace

// Source and target walk through the slabs in the same order. The target never passes the
// source: where a glyph stands it would fit.
void ZkGlyphSlabs::compact()
{
    Target target;
    for (Slab *slab = m_first; slab != nullptr; slab = slab->next) {
        if (slab->isSingle != 0) {
            slab->used = isHole(*slab->at(0)) ? 0 : slab->used;
            continue;
        }
        slab->firstHeld = linkHeld(slab); // now: moved glyphs are not met again
        if (target.slab == nullptr) {
            target.begin(slab);
        }
        std::uint32_t length = 0;
        for (std::uint32_t at = 0, end = slab->used; at < end; at += length) {
            ZkGlyph *const glyph = slab->at(at);
            length = lengthOf(*glyph);
            if (isHole(*glyph) || isHeld(*glyph)) {
                continue;
            }
            const std::uint32_t needed = lengthFor(pixelsOf(*glyph));
            while (target.limit() - target.offset < needed) {
                if (target.held != nullptr) {
                    target.passHeld();
                    continue;
                }
                target.nextSlab();
            }
            ZkGlyph *const to = target.slab->at(target.offset);
            if (to != glyph) {
                std::memmove(static_cast<void *>(to), glyph, needed);
                to->bitmap.pixels = reinterpret_cast<std::uint8_t *>(to + 1);
            }
            to->bytes = needed;
            target.offset += needed;
            target.last = to;
        }
    }
    while (target.slab != nullptr) { // held glyphs alone, from here on
        target.nextSlab();
    }
    m_current = m_first != nullptr && m_first->isSingle == 0 ? m_first : nullptr;
}

std::size_t ZkGlyphSlabs::freeEmpty(std::size_t least)
{
    std::size_t freed = 0;
    Slab **link = &m_first;
    m_last = nullptr;
    while (Slab *const slab = *link) {
        if (slab->used == 0 && (freed < least || slab->isSingle != 0)) {
            freed += costOf(slab->size);
            *link = slab->next;
            m_current = m_current == slab ? nullptr : m_current;
            std::free(slab);
        } else {
            m_last = slab;
            link = &slab->next;
        }
    }
    m_bytes -= freed;
    return freed;
}

void ZkGlyphSlabs::release()
{
    while (Slab *const slab = m_first) {
        m_first = slab->next;
        std::free(slab);
    }
    m_last = m_current = nullptr;
    m_bytes = 0;
}
