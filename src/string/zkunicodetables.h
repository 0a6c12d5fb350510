#ifndef ZKUNICODETABLES_H
#define ZKUNICODETABLES_H

#include "zkunicode.h"

/// The generated tables and the look-ups that the text code writes inline.

extern const std::uint16_t kZkUnicodeIndex[];
extern const ZkUnicodeTables::Properties kZkUnicodeRecords[];

/// A character that folds to `folded`, which names it neither as its upper nor
/// as its title case (the long s beside 's').
struct ZkIrregularFold {
    ZkUcs2 folded;
    ZkUcs2 character;
};
extern const int kZkIrregularFoldCount;
extern const ZkIrregularFold kZkIrregularFolds[]; ///< in ascending order of `folded`

static_assert(sizeof(ZkUnicodeTables::Properties) == 12, "a record is 12 bytes on every platform");

inline const ZkUnicodeTables::Properties &zkUnicodeRecord(ZkUcs2 c)
{
    const unsigned row = kZkUnicodeIndex[kZkUnicodeIndex[c >> 7] + (c >> 3 & 15)];
    return kZkUnicodeRecords[kZkUnicodeIndex[row + (c & 7)]];
}

/// The record of unit `c` that stands behind unit `before` (0: none). A low
/// surrogate behind a high one is looked up by the code point of the pair; the
/// table ends with the Basic Multilingual Plane, so that finds the character of the
/// plane with the same lower 16 bits.
inline const ZkUnicodeTables::Properties &zkUnicodeRecordBehind(ZkUcs2 before, ZkUcs2 c)
{
    const bool isPair = (c & 0xFC00) == 0xDC00 && (before & 0xFC00) == 0xD800;
    const unsigned codePoint =
        isPair ? (static_cast<unsigned>(before) << 10) + c - 0x35FDC00U : static_cast<unsigned>(c);
    return zkUnicodeRecord(static_cast<ZkUcs2>(codePoint));
}

/// `c` in the form in which letters compare without regard to case.
inline ZkUcs2 zkFolded(ZkUcs2 c)
{
    return static_cast<ZkUcs2>(c + zkUnicodeRecord(c).caseFoldDifference);
}

/// The same for a unit that stands behind `before`.
inline ZkUcs2 zkFoldedBehind(ZkUcs2 before, ZkUcs2 c)
{
    return static_cast<ZkUcs2>(c + zkUnicodeRecordBehind(before, c).caseFoldDifference);
}

/// No low surrogate, alone or behind any unit, folds to a unit for which this is
/// false. A pair can only be told from its row in the table, so where this is true
/// a low surrogate may be anything.
constexpr bool zkMayBeFoldedSurrogate(ZkUcs2 folded)
{
    return (folded & 0xFF00) == 0x0800 || folded >= 0xB000;
}

/// The characters that one folded form stands for, that form among them.
struct ZkFoldClass {
    int count;
    ZkUcs2 units[4];
};

/// All units `c`, standing alone, with zkFolded(c) == folded.
ZkFoldClass zkUnitsFoldingTo(ZkUcs2 folded);

#endif
