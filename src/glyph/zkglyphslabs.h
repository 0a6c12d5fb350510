#ifndef ZKGLYPHSLABS_H
#define ZKGLYPHSLABS_H

#include "zkglyphcache.h"

#include <cstdint>

/// Slabs of memory in which glyphs stand one behind the other, each with its pixels:
///
///     slab:  [record pixels][record pixels][ hole ][record pixels]      free tail
///
/// Glyphs are put into the tails. One that goes leaves a hole; `compact` closes holes by
/// moving all glyphs but held ones down, across slabs, so that the room is in tails again.
/// A glyph that would fill a good part of a slab has a slab of its own.
///
/// No lock: the cache calls under its mutex, and moves glyphs with look-ups stopped.
class ZkGlyphSlabs
{
public:
    struct alignas(8) Slab {
        Slab *next;
        std::uint32_t size;     ///< bytes for glyphs, behind this header
        std::uint32_t used;     ///< of them, up to the tail
        std::uint32_t isSingle; ///< made for one glyph
        ZkGlyph *firstHeld;     ///< while compacting: held glyphs, linked by `next`

        char *bytes() { return reinterpret_cast<char *>(this + 1); }
        ZkGlyph *at(std::uint32_t offset) { return reinterpret_cast<ZkGlyph *>(bytes() + offset); }
    };

    /// Flags in the low bits of `ZkGlyph::bytes`, which counts in eights.
    enum Flag : std::uint32_t { Held = 1, Flags = 7 };

    static constexpr std::uint32_t kLeastSlab = 4096, kMostSlab = 64 * 1024;

    static std::uint32_t lengthOf(const ZkGlyph &glyph) { return glyph.bytes & ~Flags; }
    static bool isHole(const ZkGlyph &glyph) { return glyph.high == 0 && glyph.low == 0; }
    static bool isHeld(const ZkGlyph &glyph) { return (glyph.bytes & Held) != 0; }
    static std::size_t pixelsOf(const ZkGlyph &glyph)
    {
        return static_cast<std::size_t>(glyph.bitmap.width) * glyph.bitmap.height;
    }

    /// Bytes that a glyph of `pixels` bytes of coverage takes: a multiple of eight.
    static std::uint32_t lengthFor(std::size_t pixels)
    {
        const std::size_t bytes = sizeof(ZkGlyph) + (pixels < 1 ? 1 : pixels);
        return static_cast<std::uint32_t>((bytes + Flags) & ~static_cast<std::size_t>(Flags));
    }

    /// Bytes from `malloc` for a slab of so many.
    static std::size_t costOf(std::uint32_t size) { return sizeof(Slab) + size; }

    /// All that was taken from `malloc`.
    std::size_t bytes() const { return m_bytes; }

    /// Room of `length` bytes in a tail, null when no tail has it.
    ZkGlyph *take(std::uint32_t length);

    /// True when `take` of as much would find it.
    bool hasTail(std::uint32_t length) const { return tailOf(length) != nullptr; }

    /// A new slab, false without memory.
    bool addSlab(std::uint32_t size);

    /// Room in a slab of its own, null without memory.
    ZkGlyph *takeSingle(std::uint32_t length);

    /// Makes a hole of a glyph.
    static void drop(ZkGlyph *glyph) { glyph->low = glyph->high = 0; }

    /// Moves glyphs that are not held down over the holes.
    void compact();

    /// After compacting: frees slabs without glyphs until `least` bytes are free or none is
    /// left, and in any case those of single glyphs that are gone. Bytes freed.
    std::size_t freeEmpty(std::size_t least);

    /// Bytes of shared slabs in which no glyph stands: what compacting gathers in tails.
    std::size_t room() const;

    /// Calls `visit(glyph)` for each, in memory order. It may change but not move it.
    template <typename Visit>
    void each(Visit visit) const
    {
        for (Slab *slab = m_first; slab != nullptr; slab = slab->next) {
            for (std::uint32_t at = 0; at < slab->used; at += lengthOf(*slab->at(at))) {
                if (!isHole(*slab->at(at))) {
                    visit(slab->at(at));
                }
            }
        }
    }

    void release();

private:
    struct Target;

    Slab *tailOf(std::uint32_t length) const;
    Slab *make(std::uint32_t size, bool isSingle);

    Slab *m_first = nullptr; ///< in the order in which `compact` fills them
    Slab *m_last = nullptr;
    Slab *m_current = nullptr; ///< that had room last
    std::size_t m_bytes = 0;
};

#endif
