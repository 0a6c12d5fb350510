#ifndef ZKBREAKTABLES_H
#define ZKBREAKTABLES_H

#include <cstdint>

/// The generated state machines that divide a text. An entry of a table, found by
/// `next[state * width + column]`, has the state that follows in its lower six bits and
/// in the upper two what happens before the character that leads to it. The first
/// state is 0.
enum ZkBreakVerdict {
    ZkBreakNo,
    ZkBreakYes,   ///< for lines behind a hard end: must
    ZkBreakDoubt, ///< yes, unless a later verdict is `ZkBreakRevoke`
    ZkBreakRevoke ///< no, here and at the last doubt
};

extern const std::uint8_t kZkLineColumns[128]; ///< by line class and its variant
extern const std::uint8_t kZkLineNext[];
extern const int kZkLineWidth;
extern const int kZkLineFirstHard; ///< states from here on stand behind a hard end

extern const std::uint8_t kZkGraphemeColumns[32]; ///< by grapheme class and being a pictograph
extern const std::uint8_t kZkGraphemeNext[];
extern const int kZkGraphemeWidth;

extern const std::uint8_t kZkWordColumns[64]; ///< by being a pictograph and word class
extern const std::uint8_t kZkWordNext[];
extern const int kZkWordWidth;

#endif
