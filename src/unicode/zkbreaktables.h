#ifndef ZKBREAKTABLES_H
#define ZKBREAKTABLES_H

#include <cstdint>

/// The generated state machines that divide a text. An entry of a table, found by
/// `next[state * width + column]`, has the state that follows in its lower six bits and
/// in the upper two what happens before the character that leads to it. The first
/// state is 0.
enum ZkBreakVerdict {
    ZkBreakNo,
    ZkBreakYes,
    /// Yes, unless a later verdict revokes it. Behind a hard end of line: no.
    ZkBreakDoubt,
    /// No, here and at the last doubt. Behind a hard end of line: must.
    ZkBreakRevoke
};

// tools/unicode/breaks.py stops where these are not what it finds.
constexpr unsigned kZkLineWidth = 39;
constexpr unsigned kZkLineUnspaced = 32;  ///< the column of class SA, but for marks
constexpr unsigned kZkLineFirstHard = 60; ///< states from here on stand behind a hard end
constexpr unsigned kZkGraphemeWidth = 26;
constexpr unsigned kZkWordWidth = 33;

#pragma GCC visibility push(hidden)

extern const std::uint8_t kZkLineColumns[128]; ///< by line class and its variant
extern const std::uint8_t kZkLineNext[];
extern const std::uint8_t kZkGraphemeColumns[32]; ///< by grapheme class and being a pictograph
extern const std::uint8_t kZkGraphemeNext[];
extern const std::uint8_t kZkWordColumns[64]; ///< by being a pictograph and word class
extern const std::uint8_t kZkWordNext[];

#pragma GCC visibility pop

#endif
