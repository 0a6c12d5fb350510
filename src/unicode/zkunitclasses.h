#ifndef ZKUNITCLASSES_H
#define ZKUNITCLASSES_H

#include "unicode/zkbreaktables.h"
#include "unicode/zkcharactertables.h"

/// What analysis asks of a unit, in 16 bits from the lowest on: the bidirectional class, the
/// kind of bracket, and nine bits that tell the class for breaks. Both units of a surrogate
/// pair have one: the first that of the character, the second `kZkPairTrail`.
namespace zkunit
{

constexpr unsigned kBidiBits = 7;
constexpr unsigned kCommonShift = 11; // the upper five bits are a common class, or none
constexpr unsigned kCommonCodes = kZkCommonClasses << (kCommonShift - kBidiBits);

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

} // namespace zkunit

/// Finds the classes of a text's units, and remembers those of the last characters that are
/// neither ASCII nor of a long stretch of letters.
class ZkUnitReader
{
public:
    ZkUnitReader();

    /// The units `[first, last)` of a text of `end` units or code points.
    void read(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units);
    void read(const char32_t *text, int first, int last, int end, std::uint16_t *units);

private:
    class Letters;

    std::uint16_t find(char32_t c);
    std::uint16_t classesOf(char32_t c);
    std::uint16_t surrogateAt(const ZkUcs2 *text, int i, int end);
    std::uint16_t unitAt(const ZkUcs2 *text, int i, int end);
    void readGroup(const ZkUcs2 *text, int first, int end, Letters &letters, std::uint16_t *units);
    void readEach(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units);

    static constexpr unsigned kKnown = 64;
    static constexpr unsigned slotOf(char32_t c) { return (c ^ c / kKnown) % kKnown; }

    /// In the upper half all but the lowest bits of a character, in the lower one its classes.
    std::uint32_t m_known[kKnown];
};

/// Calls `use(units, first, count)` for one piece of a text after the other.
template <typename Unit, typename Use>
void zkForEachPiece(const Unit *text, int count, Use use)
{
    constexpr int kPiece = 256;
    std::uint16_t units[kPiece];
    ZkUnitReader reader;
    for (int first = 0; first < count;) {
        const int last = first < count - kPiece ? first + kPiece : count;
        reader.read(text, first, last, count, units);
        use(units, first, last - first);
        first = last;
    }
}

#endif
