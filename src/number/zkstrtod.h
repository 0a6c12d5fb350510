#ifndef ZKSTRTOD_H
#define ZKSTRTOD_H

#include "number/zkinteger.h"
#include "zkstring.h"

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

/// The sign of the number in a text, read as by `zkReadDouble`, less the double that
/// reading gave, which is finite and not 0; both without their signs. The double is a
/// rounded number: this tells which side was rounded off.
int zkCompareDecimal(const char *text, const char *textEnd, double value);

/// The same of a text in the locale's symbols without groups; it is a number.
int zkCompareDecimal(const ZkString &text, double value);

#endif
