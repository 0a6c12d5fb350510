#ifndef ZKLOCALE_H
#define ZKLOCALE_H

#include "zkglobal.h"
#include "zkstring.h"
#include "zkvector.h"

/// Numbers into text and text into numbers. All members are static; the host's C
/// locale and rounding mode change nothing. Doubles are correctly rounded both
/// ways: to the nearest, a tie to the even digit or mantissa.
///
/// The symbols are one set for the process, plain data without a lock: a host
/// sets them before other threads convert. The readers accept them beside the
/// ASCII digits; the writers take theirs as arguments.
///
///     ZkLocale::longLongToString('0', ',', '+', '-', -1234567, -1, 10, 0,
///                                ZkLocale::GroupThousands);               // "-1,234,567"
///     ZkLocale::stringToDouble("1,234.5", &ok, ZkLocale::AcceptGroupSeparators); // 1234.5
class ZK_EXPORT ZkLocale
{
public:
    static ZkUcs2 mZeroDigit;      ///< '0'; the other digits follow it
    static ZkUcs2 mExponential;    ///< 'e'; its upper case is read too
    static ZkUcs2 mPercentSign;    ///< '%'
    static ZkUcs2 mNegativeSign;   ///< '-'
    static ZkUcs2 mPositiveSign;   ///< '+'
    static ZkUcs2 mGroupSeparator; ///< ','
    static ZkUcs2 mDecimal;        ///< '.'
    static ZkUcs2 mListSign;       ///< ';'

    /// Bits of `mNumberOptions`, which is 0 at first.
    enum NumberOption {
        OmitGroupSeparators = 0x01 ///< `%L` escapes of ZkString::arg() group no digits
    };
    static std::uint16_t mNumberOptions;

    /// How a number is written; an or of these is the `flags` of the writers.
    enum Flag : unsigned {
        AltForm = 0x01,          ///< integers: as ShowBasePrefix; doubles: always a point
        PadWithZeros = 0x02,     ///< zero digits up to the width, unless AlignLeft
        AlignLeft = 0x04,        ///< no PadWithZeros
        BlankForPositive = 0x08, ///< a blank before what is not negative; base 10 only
        ShowPlusSign = 0x10,     ///< a plus there, which wins over the blank; base 10 only
        GroupThousands = 0x20,   ///< a separator every three digits; base 10 only
        UpperCaseText = 0x40,    ///< upper-case digits, exponent, "INF" and "NAN"
        ShowBasePrefix = 0x80,   ///< "0x" for base 16, "0b" for 2, a leading 0 for 8
        UpperCasePrefix = 0x100  ///< "0X", "0B"
    };

    /// What a double looks like. Any other value is SignificantForm.
    enum DoubleForm : int {
        ExponentForm = 0,   ///< 1.2345e+02
        DecimalForm = 1,    ///< 123.45
        SignificantForm = 2 ///< the exponent form for exponents below -4 or from the precision on
    };

    /// What a double's precision counts. Any other value adds no zeros either.
    enum PrecisionMode : int {
        DigitsBehindPoint = 0,       ///< digits behind the point; zeros are added
        SignificantDigits = 1,       ///< digits from the first that is not 0; zeros are added
        TrimmedSignificantDigits = 2 ///< the same, but no zeros are added
    };

    /// What the readers do with group separators. Any value but 1 refuses them.
    enum GroupSeparatorMode : int { RefuseGroupSeparators = 0, AcceptGroupSeparators = 1 };

    // Numbers into text.

    /// `value` in `base` (10 unless 2 to 36) with digits counted from `zero` in base
    /// 10 and '0' to '9', 'a' to 'z' in any other, which show the 64-bit two's
    /// complement of a negative value. `precision` is the least number of digits,
    /// group separators included; -1 sets none. `width` matters to PadWithZeros
    /// only, and only without a precision; the zeros are not grouped.
    static ZkString longLongToString(ZkUcs2 zero, ZkUcs2 group, ZkUcs2 plus, ZkUcs2 minus,
                                     long long value, int precision, int base, int width,
                                     unsigned flags);
    static ZkString unsLongLongToString(ZkUcs2 zero, ZkUcs2 group, ZkUcs2 plus,
                                        unsigned long long value, int precision, int base,
                                        int width, unsigned flags);

    /// `value` with `precision` digits behind the point, in the significant form
    /// with so many digits altogether and no trailing zeros (AltForm keeps them);
    /// a negative precision is 6. -0.0 keeps its minus. Infinity is "inf" with a
    /// sign as the flags ask, NaN is "nan"; neither is padded with zeros.
    static ZkString doubleToString(ZkUcs2 zero, ZkUcs2 plus, ZkUcs2 minus, ZkUcs2 exponential,
                                   ZkUcs2 group, ZkUcs2 decimal, double value, int precision,
                                   DoubleForm form, int width, unsigned flags);

    /// The number 0.`digits` * 10^`decpt` without an exponent; the digits are
    /// counted from `zero`. Zeros are put before and behind as needed and as the
    /// mode says, a point before a fraction or always, separators into the integer
    /// part. `digits` is the text worked on: it ends up as the result.
    static ZkString decimalForm(ZkUcs2 zero, ZkUcs2 decimal, ZkUcs2 group, ZkString &digits,
                                int decpt, unsigned precision, PrecisionMode mode,
                                bool alwaysShowDecpt, bool thousandsGroup);

    /// The same number as d.ddd, the exponential, a sign and at least two digits.
    static ZkString exponentForm(ZkUcs2 zero, ZkUcs2 decimal, ZkUcs2 exponential, ZkUcs2 group,
                                 ZkUcs2 plus, ZkUcs2 minus, ZkString &digits, int decpt,
                                 unsigned precision, PrecisionMode mode, bool alwaysShowDecpt);

    // Text into numbers. White space around the number is skipped, everything else
    // must belong to it. A failure gives 0 and `*ok` false; `ok` may be null.

    /// "nan", "inf", "+inf", "-inf" in any case, or a decimal number. One too large
    /// fails, one too small is a denormal or 0.
    static double stringToDouble(const ZkString &text, bool *ok, GroupSeparatorMode mode);

    /// A number of `base` 2 to 36, or 0: base 16 behind "0x", 8 behind another "0",
    /// else 10. Base 16 takes a "0x" too. The unsigned reader negates behind a '-'
    /// modulo 2^64. What does not fit 64 bits fails.
    static long long stringToLongLong(const ZkString &text, int base, bool *ok,
                                      GroupSeparatorMode mode);
    static unsigned long long stringToUnsLongLong(const ZkString &text, int base, bool *ok,
                                                  GroupSeparatorMode mode);

    // The steps of these, which work on 8-bit text with ASCII symbols.

    /// The ASCII character that a unit stands for: a digit, '+', '-', '.', ',' or
    /// 'e'; 0 for any other unit.
    static char digitToCLocale(const ZkUcs2 &c);

    /// Rewrites the number in `text` as ASCII with a 0 byte behind it: symbols as in
    /// `digitToCLocale`, ';', '%' and lower-case letters. False, and nothing in
    /// `*out`, when there is nothing but white space, when more than that follows
    /// the number, or when separators are accepted and stand in wrong places.
    static bool numberToCLocale(const ZkString &text, GroupSeparatorMode mode, ZkVector<char> *out);

    /// Takes the ',' out of an ASCII number, with or without a 0 byte at its end.
    /// False, and nothing changes, unless they part all digits before the point in
    /// groups of three. A '-' at the front may stand where a separator would, a '+'
    /// may not: "-123,456" passes, "+123,456" does not.
    static bool removeGroupSeparators(ZkVector<char> *buffer);

    /// As `stringToDouble`, but of 8-bit text in lower case; white space may lead
    /// but not follow. When the number itself cannot be had (too large, or none),
    /// `*overflow` tells whether characters stand behind it: "1e999" gives false,
    /// "1e999x" true. Else it is false.
    static double bytearrayToDouble(const char *text, bool *ok, bool *overflow);
    static long long bytearrayToLongLong(const char *text, int base, bool *ok, bool *overflow);
    static unsigned long long bytearrayToUnsLongLong(const char *text, int base, bool *ok);
};

#endif
