#ifndef ZKSTRTOD_H
#define ZKSTRTOD_H

#include "number/zkinteger.h"

/// Reads a decimal number as `strtod` does in the C locale: white space, a sign,
/// digits with or without a point, an exponent. The double is the nearest one, a
/// tie going to the even mantissa, in any rounding mode. Not `ok` without digits
/// and above the largest double; too small a number is a denormal or a zero.
/// Hexadecimal numbers, "inf" and "nan" are not read. At `textEnd` stands a 0 byte.
ZkReading<double> zkReadDouble(const char *text, const char *textEnd);

/// The same for units that are nothing but a number of up to 19 digits whose
/// double is found at once: nearly every number. False, and nothing told, for
/// others. At `textEnd` stands a 0 unit.
bool zkReadShortDouble(const ZkUcs2 *text, const ZkUcs2 *textEnd, double *value);

#endif
