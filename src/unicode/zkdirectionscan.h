#ifndef ZKDIRECTIONSCAN_H
#define ZKDIRECTIONSCAN_H

#include "zkglobal.h"

/// What one glance at a text tells.
struct ZkDirectionScan {
    /// Sure to run from left to right whatever is around it: no letter or number of a
    /// right-to-left script, also of none assigned yet in the blocks kept for them, and
    /// no control of direction.
    bool isLeftToRight;
    /// May have a separator of paragraphs.
    bool isSeparated;
};

/// The classes that decide this stand in few ranges, so no character is looked up. Reads
/// eight units at once where the processor can.
ZkDirectionScan zkScanDirection(const ZkUcs2 *text, int units);
ZkDirectionScan zkScanDirection(const char32_t *text, int count);

/// True when a text has a letter that runs from right to left and nothing but such letters,
/// their marks, spaces and punctuation: no number, letter of another script, control or
/// separator. In a paragraph from right to left all of it is of level 1.
bool zkIsRightToLeft(const ZkUcs2 *text, int units);

/// The first separator of paragraphs in `[first, last)`, `last` for none.
int zkFindSeparator(const ZkUcs2 *text, int first, int last);
int zkFindSeparator(const char32_t *text, int first, int last);

/// A character of bidirectional class B.
constexpr bool zkIsParagraphSeparator(char32_t c)
{
    return c == 0x0A || c == 0x0D || (c >= 0x1C && c <= 0x1E) || c == 0x85 || c == 0x2029;
}

#endif
