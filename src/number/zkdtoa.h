#ifndef ZKDTOA_H
#define ZKDTOA_H

#include "zkglobal.h"

/// Doubles into decimal digits, exact and correctly rounded: to the nearest, a
/// tie to the even digit, whatever rounding mode the process is in.

/// The digits d1 d2 d3 ... of the number 0.d1d2d3... * 10^point. There is at
/// least one, '0' to '9', and the last is no '0' unless the number is 0, which is
/// "0" with point 1.
struct ZkDigits {
    /// A double has at most 767 digits; the rest is room for whole groups.
    static constexpr int kRoom = 784;

    ZkUcs2 text[kRoom];
    int count;
    int point;
};

/// What `zkDigitsOf` counts.
enum class ZkDigitCount {
    Significant, ///< digits from the first that is not 0; less than 1 is 1
    BehindPoint, ///< digits behind the decimal point; negative is 0
};

/// The digits of `value`, which is finite; its sign is passed over.
void zkDigitsOf(double value, ZkDigitCount what, int digits, ZkDigits *out);

#endif
