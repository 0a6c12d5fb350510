#ifndef ZKCHARACTERTABLES_H
#define ZKCHARACTERTABLES_H

#include "zkcharacter.h"

#include <cstring>

/// The generated properties of Unicode 15.0 and the look-up that analysis writes inline.
/// tools/unicode/properties.py tells how the arrays belong together.

// Hidden, so that code beside them reads them without a table of addresses.
#pragma GCC visibility push(hidden)

extern const int kZkCharacterRecordCount;
extern const ZkCharacter kZkCharacterRecords[]; ///< that of an unassigned character first
extern const std::uint8_t kZkCharacterPages[];
extern const std::uint16_t kZkCharacterBlocks[];
extern const std::uint16_t kZkCharacterShapes[];
extern const std::uint8_t kZkCharacterPatterns[];
extern const std::uint16_t kZkCharacterPalettes[];

extern const int kZkMirrorCount;
extern const std::uint16_t kZkMirrorSources[]; ///< ascending
extern const std::uint8_t kZkMirrorDistanceNumbers[];
extern const std::int16_t kZkMirrorDistances[];

extern const int kZkCompositionMarkCount;
extern const std::uint16_t kZkCompositionMarks[];  ///< ascending
extern const std::uint16_t kZkCompositionStarts[]; ///< where each mark's bases begin, and the end
extern const std::uint16_t kZkCompositionBases[];  ///< ascending for each mark
extern const std::uint16_t kZkCompositions[];
extern const int kZkHighCompositionCount;
extern const std::uint32_t kZkHighCompositions[]; ///< base, mark, composed

#pragma GCC visibility pop

/// Stands for the second unit of a surrogate pair where records are listed by unit.
constexpr std::uint16_t kZkPairTrail = 0xFFFF;

/// The number of the record of `c`, at most U+10FFFF.
inline std::uint16_t zkRecordNumber(char32_t c)
{
    const unsigned block = kZkCharacterBlocks[kZkCharacterPages[c >> 9] * 16U + (c >> 5 & 15)];
    const unsigned pattern = kZkCharacterShapes[2 * block];
    const unsigned palette = kZkCharacterShapes[2 * block + 1];
    const unsigned bits = 1U << (pattern >> 13) >> 1; // of a place in the palette
    const unsigned at = (c & 31) * bits;
    const unsigned packed = kZkCharacterPatterns[(pattern & 0x1FFF) + (at >> 3)];
    return kZkCharacterPalettes[palette + (packed >> (at & 7) & ((1U << bits) - 1))];
}

/// The first 32 bits of a record, which hold every class that the algorithms ask for. The
/// lowest bits are those of the first field.
inline std::uint32_t zkClasses(std::uint16_t record)
{
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "fields grow from the lowest bit");
    std::uint32_t classes;
    std::memcpy(&classes, &kZkCharacterRecords[record], sizeof classes);
    return classes;
}

constexpr unsigned zkBidiOf(std::uint32_t classes)
{
    return classes & 31;
}
constexpr unsigned zkBracketOf(std::uint32_t classes)
{
    return classes >> 5 & 3;
}
constexpr unsigned zkLineOf(std::uint32_t classes)
{
    return classes >> 7 & 63;
}
/// Indices into the column tables of the state machines: a class and what refines it.
constexpr unsigned zkLineIndexOf(std::uint32_t classes)
{
    return classes >> 7 & 127;
}
constexpr unsigned zkGraphemeIndexOf(std::uint32_t classes)
{
    return classes >> 14 & 31;
}
constexpr unsigned zkWordIndexOf(std::uint32_t classes)
{
    return classes >> 18 & 63;
}

constexpr bool zkIsLeadSurrogate(char32_t c)
{
    return (c & 0xFFFFFC00) == 0xD800;
}
constexpr bool zkIsTrailSurrogate(char32_t c)
{
    return (c & 0xFFFFFC00) == 0xDC00;
}
constexpr char32_t zkPairOf(char32_t lead, char32_t trail)
{
    return (lead << 10) + trail - 0x35FDC00;
}

/// The records of the blocks that a text has used last, so that each is unpacked once. Worth
/// its while for more characters than a block has.
class ZkRecordBlocks
{
public:
    ZkRecordBlocks()
    {
        for (unsigned &block : m_blocks) {
            block = ~0U;
        }
    }

    std::uint16_t record(char32_t c)
    {
        if (c >= kFirstIdeograph) { // most stand in a block of their own
            return zkRecordNumber(c);
        }
        const unsigned block = c >> 5;
        // The blocks of one script, of spaces and of punctuation meet in no slot.
        const unsigned slot = (block ^ block >> 3 ^ block >> 6) % kSlots;
        if (m_blocks[slot] != block) {
            unpack(block, slot);
        }
        return m_records[slot][c & 31];
    }

private:
    static constexpr unsigned kSlots = 32;
    static constexpr char32_t kFirstIdeograph = 0x2E80;

    void unpack(unsigned block, unsigned slot);

    unsigned m_blocks[kSlots];
    std::uint16_t m_records[kSlots][32];
};

/// One look-up for each character, with nothing kept.
struct ZkSingleRecords {
    std::uint16_t record(char32_t c) const { return zkRecordNumber(c); }
};

/// Texts from this length on are looked up by blocks.
constexpr int kZkManyCharacters = 64;

/// Looks up the units `[first, last)` of a text of `end` units, one number each. A pair
/// that begins before `last` may end behind it: then one more number is written.
template <typename Records>
int zkLookUp(Records &from, const ZkUcs2 *text, int first, int last, int end,
             std::uint16_t *records)
{
    int i = first;
    while (i < last) {
        const char32_t unit = text[i];
        if (zkIsLeadSurrogate(unit) && i + 1 < end && zkIsTrailSurrogate(text[i + 1])) {
            *records++ = from.record(zkPairOf(unit, text[i + 1]));
            *records++ = kZkPairTrail;
            i += 2;
        } else {
            *records++ = from.record(unit);
            ++i;
        }
    }
    return i;
}

template <typename Records>
int zkLookUp(Records &from, const char32_t *text, int first, int last, int, std::uint16_t *records)
{
    for (int i = first; i < last; ++i) {
        *records++ = text[i] <= 0x10FFFF ? from.record(text[i]) : std::uint16_t(0);
    }
    return last;
}

/// Calls `use(records, first, count)` for one piece of a text after the other.
template <typename Unit, typename Use>
void zkForEachPiece(const Unit *text, int units, Use use)
{
    constexpr int kPiece = 256;
    std::uint16_t records[kPiece + 1];
    const auto read = [&](auto &from) {
        for (int first = 0; first < units;) {
            const int end = first < units - kPiece ? first + kPiece : units;
            const int last = zkLookUp(from, text, first, end, units, records);
            use(records, first, last - first);
            first = last;
        }
    };
    if (units < kZkManyCharacters) {
        ZkSingleRecords single;
        read(single);
    } else {
        ZkRecordBlocks blocks;
        read(blocks);
    }
}

#endif
