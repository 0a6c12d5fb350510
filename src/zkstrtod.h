#ifndef ZKSTRTOD_H
#define ZKSTRTOD_H

#include "zkinteger.h"

/// Reads a decimal number as `strtod` does in the C locale: white space, a sign,
/// digits with or without a point, an exponent. The double is the nearest one, a
/// tie going to the even mantissa, in any rounding mode. Not `ok` without digits
/// and above the largest double; too small a number is a denormal or a zero.
/// Hexadecimal numbers, "inf" and "nan" are not read.
ZkReading<double> zkReadDouble(const char *text);

#endif
