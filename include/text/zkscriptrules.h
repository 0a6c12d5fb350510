#ifndef ZKSCRIPTRULES_H
#define ZKSCRIPTRULES_H

#include "zkglobal.h"

/// Prepares right-to-left text for a painter that draws one glyph per unit from
/// left to right: Arabic and Persian letters become the presentation forms that
/// join, and right-to-left runs are turned into visual order. All routines work
/// on a plain array of units, in place, and may be used from any thread.
///
/// Hebrew is U+0590..U+05FF. Arabic is U+0600..U+06FF, U+0750..U+077F,
/// U+FB50..U+FDFF and U+FE70..U+FEFF. A run holds letters of one of the two
/// classes, ASCII punctuation and digits (U+0021..U+0040), and the spaces inside
/// it. Units of other scripts never move.
///
/// A run is turned as a whole; a stretch of ASCII digits and punctuation inside it, such
/// as a number or a time, keeps its own order. Other digits turn round like letters, and
/// nothing is mirrored:
///
/// | typed                         | drawn, from left to right      |
/// | ----------------------------- | ------------------------------ |
/// | BET, 1, 2, '.', 5             | 1, 2, '.', 5, BET              |
/// | U+06F2 U+06F1 U+066B U+06F5   | U+06F5 U+066B U+06F1 U+06F2    |
/// | '(', ALEF, BET, ')'           | ')', BET, ALEF, '('            |
/// | 'a', ':', ALEF                | 'a', ALEF, ':'                 |
///
/// A host that shows Persian or Arabic-Indic numbers hands their digits over in reverse,
/// or in ASCII; one that shows brackets exchanges them.
///
///     ZkUcs2 text[] = {0x0628, 0x0627}; // BEH, ALEF
///     arabicRulesConvert(text, 2);      // FE8E FE91: final alef, initial beh

/// 1 when any of the first `n` units is Hebrew, else 0; 0 for null or `n` < 1.
ZK_EXPORT int isIncludeHebrew(const ZkUcs2 *text, int n);

/// 1 when any of the first `n` units is Arabic, else 0; 0 for null or `n` < 1.
ZK_EXPORT int isIncludeArbic(const ZkUcs2 *text, int n);

/// The presentation form of the Persian letter `cur` between its neighbours
/// (0 where there is none): U+067E, U+0686, U+0698, U+06A9, U+06AF, U+06CC.
/// -1 for every other `cur`.
ZK_EXPORT int convertRule3(ZkUcs2 prev, ZkUcs2 cur, ZkUcs2 next);

/// Shapes the Arabic letters of `n` units and puts their runs into visual order.
/// A lam before an alef becomes the ligature of both while the alef stays, so the
/// number of units never changes. Without memory for a copy of the text it prints
/// "Malloc unicode failed." and leaves the text alone. Null or `n` < 1: nothing.
ZK_EXPORT void arabicRulesConvert(ZkUcs2 *text, int n);

/// Puts the Hebrew runs of `n` units into visual order, without shaping; fails
/// like `arabicRulesConvert`.
ZK_EXPORT void reversalHebrew(ZkUcs2 *text, int n);

#endif
