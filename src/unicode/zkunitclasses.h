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
constexpr unsigned bidiOf(std::uint16_t unit)
{
    return unit & ((1U << kBidiBits) - 1);
}

/// The number of a common class, any larger number for others.
constexpr unsigned commonClassOf(std::uint16_t unit)
{
    return unit >> kCommonShift;
}

/// The class for breaks, an index into `kZkBreakColumns`.
constexpr unsigned breakClassOf(std::uint16_t unit)
{
    const unsigned code = unit >> kBidiBits;
    return code < kCommonCodes ? commonClassOf(unit) : code - kCommonCodes + kZkCommonClasses;
}

/// What units of the record `number` have.
std::uint16_t ofRecord(std::uint16_t number);

} // namespace zkunit

/// Finds the classes of a text's units. Of a long text the blocks of 32 characters that it
/// used last are kept, so that each is unpacked once.
class ZkUnitReader
{
public:
    /// `count` is about how many units are read.
    explicit ZkUnitReader(int count);

    /// The units `[first, last)` of a text of `end` units or code points.
    void read(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units);
    void read(const char32_t *text, int first, int last, int end, std::uint16_t *units);

private:
    static constexpr unsigned kBlock = 32;
    static constexpr unsigned kSlots = 32;
    static constexpr int kManyCharacters = 64;

    std::uint16_t classesOf(char32_t c);
    std::uint16_t surrogateAt(const ZkUcs2 *text, int i, int end);
    std::uint16_t unitAt(const ZkUcs2 *text, int i, int end);
    void readGroup(const ZkUcs2 *text, int first, int end, std::uint16_t *units);
    void unpack(unsigned block, unsigned slot);

    bool m_keepsBlocks;
    unsigned m_blocks[kSlots];
    std::uint16_t m_units[kSlots][kBlock];
};

/// Calls `use(units, first, count)` for one piece of a text after the other.
template <typename Unit, typename Use>
void zkForEachPiece(const Unit *text, int count, Use use)
{
    constexpr int kPiece = 256;
    std::uint16_t units[kPiece];
    ZkUnitReader reader(count);
    for (int first = 0; first < count;) {
        const int last = first < count - kPiece ? first + kPiece : count;
        reader.read(text, first, last, count, units);
        use(units, first, last - first);
        first = last;
    }
}

#endif
