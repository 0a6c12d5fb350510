#include "unicode/zkunitclasses.h"

#include "base/zklanes.h"

#include <algorithm>

namespace
{

constexpr char32_t kFirstSyllable = 0xAC00, kSyllables = 11172, kSyllablesOfVowel = 28;

/// Ideographs and their kin: most characters of a text stand in a block of their own.
constexpr bool isSparse(char32_t c)
{
    return (c >= 0x3400 && c < 0xD800) || c >= 0x20000;
}

} // namespace

std::uint16_t zkunit::ofRecord(std::uint16_t number)
{
    const ZkRecordBits record = zkRecordBits(number);
    const std::uint32_t place = zkBreakKeyOf(record) * kZkClassFactor >> 23;
    const unsigned cls = kZkBreakClasses[place];
    const unsigned code = cls < kZkCommonClasses ? cls << (kCommonShift - kBidiBits)
                                                 : cls - kZkCommonClasses + kCommonCodes;
    return static_cast<std::uint16_t>(code << kBidiBits | (record.low & ((1U << kBidiBits) - 1)));
}

ZkUnitReader::ZkUnitReader(int count) : m_keepsBlocks(count >= kManyCharacters)
{
    std::fill_n(m_blocks, kSlots, ~0U);
}

void ZkUnitReader::unpack(unsigned block, unsigned slot)
{
    m_blocks[slot] = block;
    const ZkCharacterBlock packed(block);
    std::uint16_t known[kBlock]; // of the palette, whose entries stand as they first appear
    unsigned count = 0;
    for (unsigned i = 0; i < kBlock; ++i) {
        const unsigned place = packed.place(i);
        if (place == count) {
            known[count++] = zkunit::ofRecord(packed.record(place));
        }
        m_units[slot][i] = known[place];
    }
}

/// The classes of a character that is no surrogate of a pair.
std::uint16_t ZkUnitReader::classesOf(char32_t c)
{
    if (c < 0x80) {
        return kZkAsciiUnits[c];
    }
    if (c - kFirstSyllable < kSyllables) {
        return kZkSyllableUnits[(c - kFirstSyllable) % kSyllablesOfVowel != 0 ? 1 : 0];
    }
    if (!m_keepsBlocks || isSparse(c)) {
        return zkunit::ofRecord(c <= 0x10FFFF ? zkRecordNumber(c) : std::uint16_t(0));
    }
    const unsigned block = c / kBlock;
    // The blocks of one script, of spaces and of punctuation meet in no slot.
    const unsigned slot = (block ^ block >> 3 ^ block >> 6) % kSlots;
    if (m_blocks[slot] != block) {
        unpack(block, slot);
    }
    return m_units[slot][c % kBlock];
}

std::uint16_t ZkUnitReader::surrogateAt(const ZkUcs2 *text, int i, int end)
{
    const char32_t unit = text[i];
    if (zkIsTrailSurrogate(unit)) {
        return i > 0 && zkIsLeadSurrogate(text[i - 1]) ? kZkPairTrail : classesOf(unit);
    }
    return classesOf(i + 1 < end && zkIsTrailSurrogate(text[i + 1]) ? zkPairOf(unit, text[i + 1])
                                                                    : unit);
}

inline std::uint16_t ZkUnitReader::unitAt(const ZkUcs2 *text, int i, int end)
{
    return (text[i] & 0xF800) == 0xD800 ? surrogateAt(text, i, end) : classesOf(text[i]);
}

#if ZK_HAS_LANES

/// As many units as there are lanes.
void ZkUnitReader::readGroup(const ZkUcs2 *text, int first, int end, std::uint16_t *units)
{
    const ZkLanes lanes = ZkLanes::load(text + first);
    if (!ZkLanes::within(lanes, 0x80, 0xFFFF).any()) {
        for (int i = 0; i < ZkLanes::kCount; ++i) {
            units[i] = kZkAsciiUnits[text[first + i]];
        }
        return;
    }
    ZkLanes found = ZkLanes::all(0);
    for (int i = 0; i < kZkPlainRangeCount; ++i) {
        const ZkPlainRange &range = kZkPlainRanges[i];
        found =
            found | (ZkLanes::within(lanes, range.first, range.last) & ZkLanes::all(range.unit));
    }
    found.store(units);
    for (ZkLanes::Mask others = (found == ZkLanes::all(0)).mask(); others != 0;
         others = ZkLanes::withoutLowest(others)) {
        const int i = ZkLanes::lowest(others);
        units[i] = unitAt(text, first + i, end);
    }
}

#endif

void ZkUnitReader::read(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units)
{
    int i = first;
#if ZK_HAS_LANES
    for (; i + ZkLanes::kCount <= last; i += ZkLanes::kCount) {
        readGroup(text, i, end, units + (i - first));
    }
#endif
    for (; i < last; ++i) {
        units[i - first] = unitAt(text, i, end);
    }
}

void ZkUnitReader::read(const char32_t *text, int first, int last, int, std::uint16_t *units)
{
    std::transform(text + first, text + last, units, [this](char32_t c) { return classesOf(c); });
}
