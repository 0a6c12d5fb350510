#ifndef ZKNUMBERTEXT_H
#define ZKNUMBERTEXT_H

#include "string/zktextbuffer.h"
#include "zklocale.h"

/// Numbers laid out as text at the end of a text under construction: what
/// `ZkLocale` returns as strings and `ZkString` puts between other text.

/// The units that numbers are written with.
struct ZkNumberSymbols {
    ZkUcs2 zero;
    ZkUcs2 group;
    ZkUcs2 plus;
    ZkUcs2 minus;
    ZkUcs2 exponential;
    ZkUcs2 decimal;
};

/// Those of plain text, whatever `ZkLocale` holds.
constexpr ZkNumberSymbols kZkPlainSymbols = {'0', ',', '+', '-', 'e', '.'};

/// Those that `ZkLocale` holds now.
ZkNumberSymbols zkLocaleSymbols();

/// Where a number's text may be padded and how it looks: the arguments of
/// `ZkLocale::longLongToString` and `doubleToString`.
struct ZkNumberStyle {
    int precision;
    int width;
    unsigned flags;
};

/// `base` if it is 2 to 36, else 10.
constexpr int zkNumberBase(int base)
{
    return base < 2 || base > 36 ? 10 : base;
}

/// What the letter of a double's format asks for: 'e', 'f' or 'g' and the same in
/// capitals; any other letter is 'g'.
struct ZkDoubleFormat {
    ZkLocale::DoubleForm form;
    unsigned flags;
};
ZkDoubleFormat zkDoubleFormat(char letter);

/// A magnitude in a base from 2 to 36, behind a sign if it is negative.
void zkAppendInteger(ZkTextBuffer *out, const ZkNumberSymbols &symbols, std::uint64_t magnitude,
                     bool negative, int base, const ZkNumberStyle &style);

/// A signed number; only base 10 shows the sign, others the 64-bit pattern.
void zkAppendLongLong(ZkTextBuffer *out, const ZkNumberSymbols &symbols, long long value, int base,
                      const ZkNumberStyle &style);
void zkAppendUnsLongLong(ZkTextBuffer *out, const ZkNumberSymbols &symbols,
                         unsigned long long value, int base, const ZkNumberStyle &style);
void zkAppendDouble(ZkTextBuffer *out, const ZkNumberSymbols &symbols, double value,
                    ZkLocale::DoubleForm form, const ZkNumberStyle &style);

/// The digits of a number and where its decimal point stands among them, as in
/// `ZkLocale::decimalForm`.
struct ZkDigitText {
    const ZkUcs2 *digits;
    int count; // at least 1
    int point;
};

/// How the digits of a double are filled up and marked.
struct ZkDoubleLayout {
    unsigned precision;
    ZkLocale::PrecisionMode mode;
    bool alwaysPoint;
    bool groups; // of the decimal form only
};

void zkAppendDecimalForm(ZkTextBuffer *out, const ZkNumberSymbols &symbols,
                         const ZkDigitText &number, const ZkDoubleLayout &layout);
void zkAppendExponentForm(ZkTextBuffer *out, const ZkNumberSymbols &symbols,
                          const ZkDigitText &number, const ZkDoubleLayout &layout);

/// The sign of a number as the flags ask for it, or nothing.
void zkAppendSign(ZkTextBuffer *out, bool negative, const ZkNumberSymbols &symbols, unsigned flags);

/// Whether the flags ask for zeros up to the width.
constexpr bool zkPadsWithZeros(unsigned flags)
{
    return (flags & (ZkLocale::PadWithZeros | ZkLocale::AlignLeft)) == ZkLocale::PadWithZeros;
}

/// Turns the units from `begin` to the end into upper case.
void zkUpperCaseFrom(ZkTextBuffer *out, int begin);

#endif
