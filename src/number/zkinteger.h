#ifndef ZKINTEGER_H
#define ZKINTEGER_H

#include "zkglobal.h"

/// 64-bit integers to and from digits, without locale or `errno`. Private to the
/// number conversions.

/// How many decimal digits `value` has; 0 has one.
int zkCountDecimals(std::uint64_t value);

/// Writes `value` in decimal so that the last digit stands before `end`; returns
/// where the first stands. `end` needs 20 units of room before it.
ZkUcs2 *zkWriteDecimal(ZkUcs2 *end, std::uint64_t value);

/// The same in a base from 2 to 36, with lower-case letters; up to kZkMostDigits
/// units.
ZkUcs2 *zkWriteInteger(ZkUcs2 *end, std::uint64_t value, int base);

constexpr int kZkMostDigits = 64;

/// What a reader found at the beginning of a text.
template <typename Number>
struct ZkReading {
    Number value;    ///< 0 unless `ok`
    const char *end; ///< behind the number; the text itself when there is none
    bool ok;         ///< false when there is no number, or one out of range
};

/// Reads an integer as `strtoll` and `strtoull` do in the C locale: white space, a
/// sign, then digits of `base`, where 0 stands for 10, for 16 behind "0x" and for 8
/// behind another "0"; base 16 skips a "0x". The unsigned reader takes a '-' too
/// and negates modulo 2^64. Any other base but 2 to 36 reads no number. At
/// `textEnd` stands a 0 byte.
ZkReading<long long> zkReadLongLong(const char *text, const char *textEnd, int base);
ZkReading<unsigned long long> zkReadUnsLongLong(const char *text, const char *textEnd, int base);

#endif
