#ifndef ZKBREAKTABLES_H
#define ZKBREAKTABLES_H

#include "zkglobal.h"

/// The generated tables that divide a text. A state machine's entry, found by
/// `next[state * width + column]`, has the state that follows in its lower six bits and
/// in the upper two what happens before the character that leads to it. The first
/// state is 0.
enum ZkBreakVerdict {
    ZkBreakNo,
    ZkBreakYes,
    ZkBreakRevoke, ///< no, here and at the last boundary that was allowed
    ZkBreakMust    ///< of lines
};

/// What the machines take from a class of characters, and what lines ask of it in
/// scripts without spaces.
struct ZkBreakColumns {
    std::uint8_t line;
    std::uint8_t grapheme;
    std::uint8_t word;
    std::uint8_t unspaced;
};

enum ZkUnspacedBits { ZkUnspacedLetter = 1, ZkUnspacedMayBegin = 2, ZkUnspacedMayEnd = 4 };

/// Of what stands between two classes: the flags of the boundary between them, and these.
enum ZkBreakPairFlag {
    ZkBreakUnspaced = 0x10,   ///< between clusters of a script without spaces
    ZkBreakRevokeWord = 0x40, ///< no word ends one unit before
    ZkBreakUndecided = 0x80   ///< ask the machines
};

/// Units `first` to `last` are of the classes that `unit` tells.
struct ZkPlainRange {
    ZkUcs2 first;
    ZkUcs2 last;
    std::uint16_t unit;
};

// tools/unicode/breaks.py stops where these are not what it finds.
constexpr unsigned kZkLineWidth = 38;
constexpr unsigned kZkGraphemeWidth = 26;
constexpr unsigned kZkWordWidth = 33;
constexpr unsigned kZkCommonClasses = 42;   ///< the first ones, which pairs are known of
constexpr unsigned kZkContextClasses = 9;   ///< the first of these, behind which others have rows
constexpr unsigned kZkFirstContextRow = 33; ///< rows of states that are not the usual ones
constexpr unsigned kZkStartRow = 31;        ///< that of the start of a text
constexpr unsigned kZkNoBreakPair = 51;     ///< a place in the pairs that has no flag
constexpr int kZkFirstStretch = 3; ///< of the ranges, which with the one behind it is tried first
constexpr std::uint32_t kZkClassFactor = 2142062991U;

#pragma GCC visibility push(hidden)

extern const std::uint8_t kZkLineNext[];
extern const std::uint8_t kZkGraphemeNext[];
extern const std::uint8_t kZkWordNext[];
extern const ZkBreakColumns kZkBreakColumns[];  ///< by class
extern const std::uint8_t kZkBreakClasses[512]; ///< found by `kZkClassFactor`
extern const std::uint8_t kZkBreakRows[];       ///< of pairs, by the class before and the class
extern const std::uint8_t kZkBreakPairs[];      ///< by row and the next class
extern const std::uint32_t kZkUsualStates[];    ///< lines, clusters, words: a byte for each
extern const std::uint16_t kZkLowUnits[256];
extern const std::uint16_t kZkSyllableUnits[2]; ///< of Hangul, without and with a final
extern const ZkPlainRange kZkPlainRanges[];     ///< ascending; the last one ends at U+FFFF

#pragma GCC visibility pop

#endif
