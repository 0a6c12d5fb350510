#ifndef ZKUNITCLASSES_H
#define ZKUNITCLASSES_H

#include "base/zklanes.h"
#include "unicode/zkbreaktables.h"
#include "unicode/zkcharactertables.h"

/// What analysis asks of a unit, in 16 bits from the lowest on: the bidirectional class, the
/// kind of bracket, and nine bits that tell the class for breaks. Both units of a surrogate
/// pair have one: the first that of the character, the second the same with `kPairTrail`.
namespace zkunit
{

constexpr unsigned kBidiBits = 7;
constexpr unsigned kCommonShift = 10; // the upper six bits are a common class, or none
constexpr unsigned kCommonCodes = kZkCommonClasses << (kCommonShift - kBidiBits);
constexpr unsigned kTrailBits = (1U << kBidiBits) - 1; // no character has all of them
#if ZK_HAS_LANES
constexpr unsigned kPairTrail = kTrailBits; // the class for breaks is that of the first unit
#else
constexpr unsigned kPairTrail = 0xFFFF; // there is no such class
#endif

/// Of the second unit of a surrogate pair.
constexpr bool isTrail(unsigned unit)
{
    return (unit & kTrailBits) == kTrailBits;
}

/// Bidirectional class and bracket, as a record has them in its lowest bits.
constexpr unsigned bidiOf(unsigned unit)
{
    return unit & ((1U << kBidiBits) - 1);
}

/// The number of a common class, any larger number for others.
constexpr unsigned commonClassOf(unsigned unit)
{
    return unit >> kCommonShift;
}

/// The class for breaks, an index into `kZkBreakColumns`.
constexpr unsigned breakClassOf(unsigned unit)
{
    const unsigned code = unit >> kBidiBits;
    return code < kCommonCodes ? commonClassOf(unit) : code - kCommonCodes + kZkCommonClasses;
}

/// What units of the record `number` have.
std::uint16_t ofRecord(std::uint16_t number);

/// Finds what the units `[first, last)` of a text of `end` units or code points have. The
/// last characters that are neither Latin nor of a long stretch of letters are remembered,
/// for all threads.
void read(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units);
void read(const char32_t *text, int first, int last, int end, std::uint16_t *units);

} // namespace zkunit

/// Calls `use(units, first, count)` for one piece of a text after the other.
template <typename Unit, typename Use>
void zkForEachPiece(const Unit *text, int count, Use use)
{
    constexpr int kPiece = 256;
    std::uint16_t units[kPiece];
    for (int first = 0; first < count;) {
        const int last = first < count - kPiece ? first + kPiece : count;
        zkunit::read(text, first, last, count, units);
        use(units, first, last - first);
        first = last;
    }
}

#endif
