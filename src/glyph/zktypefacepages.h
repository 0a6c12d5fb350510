#ifndef ZKTYPEFACEPAGES_H
#define ZKTYPEFACEPAGES_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>

/// Remembers a small number for characters, in pages of 256 that are filled at once and
/// found through a table a plane. Reading takes no lock; whoever enters a page holds the
/// owner's. A page once entered stays until `release`. Constant-initialised.
template <typename Cell>
struct ZkCharacterPages {
    static constexpr unsigned kCells = 256, kPlanes = 17;

    struct Plane {
        Cell *pages[256];
    };
    Plane *planes[kPlanes];

    /// The page of a character at most U+10FFFF, null when it was not entered.
    const Cell *page(char32_t character) const
    {
        const Plane *const plane = __atomic_load_n(&planes[character >> 16], __ATOMIC_ACQUIRE);
        return plane == nullptr
                   ? nullptr
                   : __atomic_load_n(&plane->pages[character >> 8 & 0xFF], __ATOMIC_ACQUIRE);
    }

    /// Makes `cells`, from `malloc` or the shared `nothing`, the page of the character.
    /// False when there was no memory for the plane: the cells stay the caller's.
    bool enter(char32_t character, Cell *cells);

    /// Bytes from `malloc`; pages that are `nothing` do not count.
    std::size_t bytes(const Cell *nothing) const;

    void release(const Cell *nothing);
};

typedef ZkCharacterPages<std::uint16_t> ZkGlyphPages;

template <typename Cell>
bool ZkCharacterPages<Cell>::enter(char32_t character, Cell *cells)
{
    Plane *&slot = planes[character >> 16];
    Plane *plane = slot;
    if (plane == nullptr) {
        plane = static_cast<Plane *>(std::calloc(1, sizeof(Plane)));
        if (plane == nullptr) {
            return false;
        }
        __atomic_store_n(&slot, plane, __ATOMIC_RELEASE);
    }
    __atomic_store_n(&plane->pages[character >> 8 & 0xFF], cells, __ATOMIC_RELEASE);
    return true;
}

template <typename Cell>
std::size_t ZkCharacterPages<Cell>::bytes(const Cell *nothing) const
{
    std::size_t sum = 0;
    for (const Plane *plane : planes) {
        sum += plane == nullptr ? 0 : sizeof(Plane);
        for (unsigned i = 0; plane != nullptr && i < kCells; ++i) {
            sum += plane->pages[i] == nullptr || plane->pages[i] == nothing ? 0
                                                                            : kCells * sizeof(Cell);
        }
    }
    return sum;
}

template <typename Cell>
void ZkCharacterPages<Cell>::release(const Cell *nothing)
{
    for (Plane *&plane : planes) {
        for (unsigned i = 0; plane != nullptr && i < kCells; ++i) {
            if (plane->pages[i] != nothing) {
                std::free(plane->pages[i]);
            }
        }
        std::free(plane);
        plane = nullptr;
    }
}

#endif
