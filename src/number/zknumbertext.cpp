#include "number/zknumbertext.h"

#include "number/zkdouble.h"
#include "number/zkdtoa.h"
#include "number/zkinteger.h"
#include "zkunicode.h"

#include <climits>

namespace
{

constexpr int kGroup = 3; // digits between separators

/// Moves '0'-based digits to those that follow `zero`.
void shiftDigits(ZkUcs2 *digits, int count, ZkUcs2 zero)
{
    if (zero != '0') {
        for (int i = 0; i < count; ++i) {
            digits[i] = static_cast<ZkUcs2>(digits[i] - '0' + zero);
        }
    }
}

/// How many separators part `digits` digits.
std::int64_t separatorCount(std::int64_t digits)
{
    return (digits - 1) / kGroup;
}

/// Appends `zeros` zero digits as the last ones of an integer part behind `count`
/// digits, with separators between groups of three.
void appendGrouped(ZkTextBuffer *out, const ZkUcs2 *digits, int count, std::int64_t zeros,
                   const ZkNumberSymbols &symbols)
{
    const std::int64_t length = count + zeros;
    ZkUcs2 *to = out->extend(length + separatorCount(length));
    for (std::int64_t i = 0; i < length; ++i) {
        if (i != 0 && (length - i) % kGroup == 0) {
            *to++ = symbols.group;
        }
        *to++ = i < count ? digits[i] : symbols.zero;
    }
}

constexpr unsigned kSigns = ZkLocale::BlankForPositive | ZkLocale::ShowPlusSign;

bool hasSign(bool negative, unsigned flags)
{
    return negative || (flags & kSigns) != 0;
}

/// Appends the digits of a finite number in the form asked for.
void appendFinite(ZkTextBuffer *out, const ZkNumberSymbols &symbols, double value, int precision,
                  ZkLocale::DoubleForm form, unsigned flags)
{
    ZkDigits digits;
    ZkDoubleLayout layout = {static_cast<unsigned>(precision), ZkLocale::DigitsBehindPoint,
                             (flags & ZkLocale::AltForm) != 0,
                             (flags & ZkLocale::GroupThousands) != 0};
    bool exponent = form == ZkLocale::ExponentForm;
    if (form == ZkLocale::DecimalForm) {
        zkDigitsOf(value, ZkDigitCount::BehindPoint, precision, &digits);
    } else if (exponent) {
        zkDigitsOf(value, ZkDigitCount::Significant, std::min(precision, INT_MAX - 1) + 1, &digits);
    } else {
        const int significant = std::max(precision, 1);
        zkDigitsOf(value, ZkDigitCount::Significant, significant, &digits);
        layout.precision = static_cast<unsigned>(significant);
        layout.mode =
            layout.alwaysPoint ? ZkLocale::SignificantDigits : ZkLocale::TrimmedSignificantDigits;
        exponent = digits.point < -3 || digits.point > significant;
    }
    shiftDigits(digits.text, digits.count, symbols.zero);
    const ZkDigitText number = {digits.text, digits.count, digits.point};
    if (exponent) {
        zkAppendExponentForm(out, symbols, number, layout);
    } else {
        zkAppendDecimalForm(out, symbols, number, layout);
    }
}

} // namespace

ZkNumberSymbols zkLocaleSymbols()
{
    return {ZkLocale::mZeroDigit,    ZkLocale::mGroupSeparator, ZkLocale::mPositiveSign,
            ZkLocale::mNegativeSign, ZkLocale::mExponential,    ZkLocale::mDecimal};
}

ZkDoubleFormat zkDoubleFormat(char letter)
{
    const char lower = static_cast<char>(letter | 0x20);
    const bool known = lower >= 'e' && lower <= 'g';
    const ZkLocale::DoubleForm form = lower == 'e'   ? ZkLocale::ExponentForm
                                      : lower == 'f' ? ZkLocale::DecimalForm
                                                     : ZkLocale::SignificantForm;
    return {form, known && letter != lower ? static_cast<unsigned>(ZkLocale::UpperCaseText) : 0U};
}

/// Appends the sign, the prefix and the zeros of an integer, then its digits. The
/// zeros count the separators but have none themselves.
void zkAppendInteger(ZkTextBuffer *out, const ZkNumberSymbols &symbols, std::uint64_t magnitude,
                     bool negative, int base, const ZkNumberStyle &style)
{
    const bool decimal = base == 10;
    const unsigned flags = decimal ? style.flags : style.flags & ~kSigns;

    ZkUcs2 room[kZkMostDigits];
    ZkUcs2 *const end = room + kZkMostDigits;
    ZkUcs2 *const digits = zkWriteInteger(end, magnitude, base);
    const int count = static_cast<int>(end - digits);
    if (flags == 0 && style.precision <= 1 && symbols.zero == '0') { // digits are all there is
        zkAppendSign(out, negative, symbols, flags);
        out->append(digits, count);
        return;
    }
    const ZkUcs2 zero = decimal ? symbols.zero : ZkUcs2('0');
    shiftDigits(digits, count, zero);

    const bool grouped = decimal && (flags & ZkLocale::GroupThousands) != 0;
    const std::int64_t length = count + (grouped ? separatorCount(count) : 0);
    std::int64_t zeros = std::max<std::int64_t>(style.precision - length, 0);

    const bool prefixed = (flags & (ZkLocale::AltForm | ZkLocale::ShowBasePrefix)) != 0;
    zeros += prefixed && base == 8 && zeros == 0 && magnitude != 0;
    const char letter = !prefixed ? '\0' : base == 16 ? 'x' : base == 2 ? 'b' : '\0';

    if (zkPadsWithZeros(flags) && style.precision == -1) {
        const std::int64_t taken =
            length + zeros + hasSign(negative, flags) + (letter != '\0' ? 2 : 0);
        zeros += std::max<std::int64_t>(style.width - taken, 0);
    }

    zkAppendSign(out, negative, symbols, flags);
    if (letter != '\0') {
        const bool upper = (flags & ZkLocale::UpperCasePrefix) != 0;
        out->append('0');
        out->append(static_cast<ZkUcs2>(upper ? letter - 'a' + 'A' : letter));
    }
    const int begin = out->size();
    out->fill(zeros, zero);
    if (grouped) {
        appendGrouped(out, digits, count, 0, symbols);
    } else {
        out->append(digits, count);
    }
    if ((flags & ZkLocale::UpperCaseText) != 0) {
        zkUpperCaseFrom(out, begin);
    }
}

void zkAppendLongLong(ZkTextBuffer *out, const ZkNumberSymbols &symbols, long long value, int base,
                      const ZkNumberStyle &style)
{
    const int legal = zkNumberBase(base);
    const bool negative = legal == 10 && value < 0;
    const std::uint64_t bits = static_cast<std::uint64_t>(value);
    zkAppendInteger(out, symbols, negative ? 0 - bits : bits, negative, legal, style);
}

void zkAppendUnsLongLong(ZkTextBuffer *out, const ZkNumberSymbols &symbols,
                         unsigned long long value, int base, const ZkNumberStyle &style)
{
    zkAppendInteger(out, symbols, value, false, zkNumberBase(base), style);
}

void zkAppendDouble(ZkTextBuffer *out, const ZkNumberSymbols &symbols, double value,
                    ZkLocale::DoubleForm form, const ZkNumberStyle &style)
{
    const int begin = out->size();
    const std::uint64_t magnitude = zkBitsOf(value) << 1 >> 1;
    if (magnitude > kZkInfinityBits) {
        out->appendAscii("nan"); // has no sign, whatever the flags ask
    } else {
        zkAppendSign(out, zkSignOf(value), symbols, style.flags);
        if (magnitude == kZkInfinityBits) {
            out->appendAscii("inf");
        } else {
            const int digits = out->size();
            const int precision = style.precision < 0 ? 6 : style.precision;
            appendFinite(out, symbols, value, precision, form, style.flags);
            if (zkPadsWithZeros(style.flags)) {
                const std::int64_t length = out->size() - begin;
                out->insert(digits, style.width - length, symbols.zero);
            }
        }
    }
    if ((style.flags & ZkLocale::UpperCaseText) != 0) {
        zkUpperCaseFrom(out, begin);
    }
}

void zkAppendDecimalForm(ZkTextBuffer *out, const ZkNumberSymbols &symbols,
                         const ZkDigitText &number, const ZkDoubleLayout &layout)
{
    // The digits before the point, which are zeros where digits do not reach it.
    const int whole = std::clamp(number.point, 0, number.count);
    const std::int64_t wholeZeros = std::max(number.point, 1) - static_cast<std::int64_t>(whole);
    if (layout.groups) {
        appendGrouped(out, number.digits, whole, wholeZeros, symbols);
    } else {
        out->append(number.digits, whole);
        out->fill(wholeZeros, symbols.zero);
    }

    const int rest = number.count - whole;
    const std::int64_t before = std::max<std::int64_t>(-static_cast<std::int64_t>(number.point), 0);
    std::int64_t behind = 0;
    if (layout.mode == ZkLocale::DigitsBehindPoint) {
        behind = layout.precision - (before + rest);
    } else if (layout.mode == ZkLocale::SignificantDigits) {
        behind = layout.precision - std::max<std::int64_t>(number.count, number.point);
    }
    behind = std::max<std::int64_t>(behind, 0);
    const bool fraction = rest > 0 || behind > 0;
    if (fraction || layout.alwaysPoint) {
        out->append(symbols.decimal);
    }
    if (fraction) {
        out->fill(before, symbols.zero);
        out->append(number.digits + whole, rest);
        out->fill(behind, symbols.zero);
    }
}

void zkAppendExponentForm(ZkTextBuffer *out, const ZkNumberSymbols &symbols,
                          const ZkDigitText &number, const ZkDoubleLayout &layout)
{
    out->append(number.digits[0]);
    std::int64_t behind = 0;
    if (layout.mode == ZkLocale::DigitsBehindPoint) {
        behind = static_cast<std::int64_t>(layout.precision) - (number.count - 1);
    } else if (layout.mode == ZkLocale::SignificantDigits) {
        behind = static_cast<std::int64_t>(layout.precision) - number.count;
    }
    behind = std::max<std::int64_t>(behind, 0);
    if (number.count > 1 || behind > 0 || layout.alwaysPoint) {
        out->append(symbols.decimal);
    }
    out->append(number.digits + 1, number.count - 1);
    out->fill(behind, symbols.zero);
    out->append(symbols.exponential);
    zkAppendLongLong(out, symbols, static_cast<std::int64_t>(number.point) - 1, 10,
                     {2, 0, ZkLocale::ShowPlusSign});
}

void zkAppendSign(ZkTextBuffer *out, bool negative, const ZkNumberSymbols &symbols, unsigned flags)
{
    if (hasSign(negative, flags)) {
        const bool plus = (flags & ZkLocale::ShowPlusSign) != 0;
        out->append(negative ? symbols.minus : plus ? symbols.plus : ZkUcs2(' '));
    }
}

void zkUpperCaseFrom(ZkTextBuffer *out, int begin)
{
    for (int i = begin; i < out->size(); ++i) {
        *out->at(i) = ZkUnicode::toUpper(*out->at(i));
    }
}
