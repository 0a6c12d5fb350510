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
extern const std::uint8_t kZkCharacterAreas[];
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

/// The number of the record of `c`, at most U+10FFFF.
inline std::uint16_t zkRecordNumber(char32_t c)
{
    // The first four areas stand in their order.
    const unsigned place = c < 0x4000 ? c >> 8 : kZkCharacterAreas[c >> 12] * 16U + (c >> 8 & 15);
    const unsigned page = kZkCharacterPages[place];
    const unsigned block = kZkCharacterBlocks[page * 8 + (c >> 5 & 7)];
    const unsigned pattern = kZkCharacterShapes[2 * block];
    const unsigned palette = kZkCharacterShapes[2 * block + 1];
    const unsigned bits = 1U << (pattern >> 13) >> 1; // of a place in the palette
    const unsigned at = (c & 31) * bits;
    const unsigned packed = kZkCharacterPatterns[(pattern & 0x1FFF) + (at >> 3)];
    return kZkCharacterPalettes[palette + (packed >> (at & 7) & ((1U << bits) - 1))];
}

/// A record as two numbers; the lowest bits are those of the first field.
struct ZkRecordBits {
    std::uint32_t low;
    std::uint32_t high;
};

inline ZkRecordBits zkRecordBits(std::uint16_t number)
{
    static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "fields grow from the lowest bit");
    ZkRecordBits bits;
    std::memcpy(&bits, &kZkCharacterRecords[number], sizeof bits);
    return bits;
}

/// What of a record breaks ask: line, its variant, grapheme, pictograph and word, behind them
/// Indic.
constexpr std::uint32_t zkBreakKeyOf(ZkRecordBits record)
{
    return (record.low & 0x00FFFF80) | (record.high << 5 & 0x07000000);
}

constexpr bool zkIsLeadSurrogate(char32_t c)
{
    return (c & 0xFFFFFC00) == 0xD800;
}
constexpr bool zkIsTrailSurrogate(char32_t c)
{
    return (c & 0xFFFFFC00) == 0xDC00;
}
constexpr bool zkIsSurrogate(char32_t c)
{
    return (c & 0xFFFFF800) == 0xD800;
}
constexpr char32_t zkPairOf(char32_t lead, char32_t trail)
{
    return (lead << 10) + trail - 0x35FDC00;
}

#endif
