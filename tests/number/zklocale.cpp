#include "localesymbols.h"
#include "rounds.h"

#include <zklocale.h>
#include <zkunicode.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

namespace
{

using L = ZkLocale;

std::string integer(long long value, int precision, int base, int width, unsigned flags)
{
    return L::longLongToString('0', ',', '+', '-', value, precision, base, width, flags)
        .toStdString();
}

std::string natural(unsigned long long value, int precision, int base, int width, unsigned flags)
{
    return L::unsLongLongToString('0', ',', '+', value, precision, base, width, flags)
        .toStdString();
}

std::string real(double value, int precision, L::DoubleForm form, int width = 0, unsigned flags = 0)
{
    return L::doubleToString('0', '+', '-', 'e', ',', '.', value, precision, form, width, flags)
        .toStdString();
}

// The symbols of one number in a model, and the model itself: each step puts
// something in front of or into the text so far.
struct Symbols {
    ZkUcs2 zero, group, plus, minus;
};

std::u16string digitsInBase(std::uint64_t value, int base, ZkUcs2 zero)
{
    std::u16string digits;
    do {
        const unsigned digit = static_cast<unsigned>(value % static_cast<unsigned>(base));
        const ZkUcs2 unit = base == 10   ? static_cast<ZkUcs2>(zero + digit)
                            : digit < 10 ? static_cast<ZkUcs2>('0' + digit)
                                         : static_cast<ZkUcs2>('a' + digit - 10);
        digits.insert(digits.begin(), static_cast<char16_t>(unit));
        value /= static_cast<unsigned>(base);
    } while (value != 0);
    return digits;
}

std::u16string integerModel(const Symbols &symbols, std::uint64_t bits, bool isSigned,
                            int precision, int base, int width, unsigned flags)
{
    const bool negative = isSigned && base == 10 && static_cast<std::int64_t>(bits) < 0;
    if (base != 10) {
        flags &= ~(L::BlankForPositive | L::ShowPlusSign);
    }
    const bool given = precision != -1;
    std::u16string text = digitsInBase(negative ? 0 - bits : bits, base, symbols.zero);
    const char16_t zero = base == 10 ? symbols.zero : u'0';
    if (base == 10 && (flags & L::GroupThousands) != 0) {
        for (int at = static_cast<int>(text.size()) - 3; at > 0; at -= 3) {
            text.insert(text.begin() + at, static_cast<char16_t>(symbols.group));
        }
    }
    while (static_cast<int>(text.size()) < precision) {
        text.insert(text.begin(), zero);
    }
    const bool prefix = (flags & (L::AltForm | L::ShowBasePrefix)) != 0;
    if (base == 8 && prefix && text[0] != u'0') {
        text.insert(text.begin(), u'0');
    }
    if ((flags & L::PadWithZeros) != 0 && (flags & L::AlignLeft) == 0 && !given) {
        int room = width - static_cast<int>(text.size());
        room -= negative || (flags & (L::BlankForPositive | L::ShowPlusSign)) != 0;
        room -= prefix && (base == 16 || base == 2) ? 2 : 0;
        for (; room > 0; --room) {
            text.insert(text.begin(), zero);
        }
    }
    if ((flags & L::UpperCaseText) != 0) {
        for (char16_t &unit : text) {
            unit = static_cast<char16_t>(ZkUnicode::toUpper(static_cast<ZkUcs2>(unit)));
        }
    }
    const bool upper = (flags & L::UpperCasePrefix) != 0;
    if (prefix && base == 16) {
        text.insert(0, upper ? u"0X" : u"0x");
    } else if (prefix && base == 2) {
        text.insert(0, upper ? u"0B" : u"0b");
    }
    if (negative) {
        text.insert(text.begin(), static_cast<char16_t>(symbols.minus));
    } else if ((flags & L::ShowPlusSign) != 0) {
        text.insert(text.begin(), static_cast<char16_t>(symbols.plus));
    } else if ((flags & L::BlankForPositive) != 0) {
        text.insert(text.begin(), u' ');
    }
    return text;
}

} // namespace

TEST(ZkLocale, StartsWithTheSymbolsOfAscii)
{
    EXPECT_EQ(L::mZeroDigit, '0');
    EXPECT_EQ(L::mExponential, 'e');
    EXPECT_EQ(L::mPercentSign, '%');
    EXPECT_EQ(L::mNegativeSign, '-');
    EXPECT_EQ(L::mPositiveSign, '+');
    EXPECT_EQ(L::mGroupSeparator, ',');
    EXPECT_EQ(L::mDecimal, '.');
    EXPECT_EQ(L::mListSign, ';');
    EXPECT_EQ(L::mNumberOptions, 0);
    EXPECT_EQ(sizeof L::mNumberOptions, 2U);
}

TEST(ZkLocale, FlagsHaveTheirBits)
{
    const unsigned flags[] = {L::AltForm,          L::PadWithZeros,   L::AlignLeft,
                              L::BlankForPositive, L::ShowPlusSign,   L::GroupThousands,
                              L::UpperCaseText,    L::ShowBasePrefix, L::UpperCasePrefix};
    unsigned bit = 1;
    for (const unsigned flag : flags) {
        EXPECT_EQ(flag, bit);
        bit <<= 1;
    }
    EXPECT_EQ(L::ExponentForm, 0);
    EXPECT_EQ(L::DecimalForm, 1);
    EXPECT_EQ(L::SignificantForm, 2);
    EXPECT_EQ(L::DigitsBehindPoint, 0);
    EXPECT_EQ(L::SignificantDigits, 1);
    EXPECT_EQ(L::TrimmedSignificantDigits, 2);
    EXPECT_EQ(L::RefuseGroupSeparators, 0);
    EXPECT_EQ(L::AcceptGroupSeparators, 1);
}

TEST(ZkLocale, WritesSignedIntegers)
{
    const struct {
        const char *what;
        long long value;
        int precision, base, width;
        unsigned flags;
        const char *text;
    } kRows[] = {
        {"plain", 42, -1, 10, 0, 0, "42"},
        {"zero", 0, -1, 10, 0, 0, "0"},
        {"zero shows a digit even when none is asked for", 0, 0, 10, 0, 0, "0"},
        {"largest", LLONG_MAX, -1, 10, 0, 0, "9223372036854775807"},
        {"smallest", LLONG_MIN, -1, 10, 0, 0, "-9223372036854775808"},
        {"groups", -1234567, -1, 10, 0, L::GroupThousands, "-1,234,567"},
        {"three digits have no separator", 999, -1, 10, 0, L::GroupThousands, "999"},
        {"four digits have one", 1000, -1, 10, 0, L::GroupThousands, "1,000"},
        {"the smallest, grouped", LLONG_MIN, -1, 10, 0, L::GroupThousands,
         "-9,223,372,036,854,775,808"},
        {"separators count in the precision", 1234, 6, 10, 0, L::GroupThousands, "01,234"},
        {"precision", 7, 3, 10, 0, 0, "007"},
        {"precision leaves the sign aside", -7, 3, 10, 0, 0, "-007"},
        {"precision below the digits", 12345, 3, 10, 0, 0, "12345"},
        {"a negative precision other than -1", 7, -5, 10, 0, 0, "7"},
        {"prefix 0x", 255, -1, 16, 0, L::ShowBasePrefix, "0xff"},
        {"prefix by the alternate form", 255, -1, 16, 0, L::AltForm, "0xff"},
        {"prefix 0X and capitals", 255, -1, 16, 0,
         L::ShowBasePrefix | L::UpperCaseText | L::UpperCasePrefix, "0XFF"},
        {"capitals leave the prefix", 255, -1, 16, 0, L::ShowBasePrefix | L::UpperCaseText, "0xFF"},
        {"prefix 0X leaves the digits", 255, -1, 16, 0, L::ShowBasePrefix | L::UpperCasePrefix,
         "0Xff"},
        {"prefix before a zero", 0, -1, 16, 0, L::ShowBasePrefix, "0x0"},
        {"binary", 5, -1, 2, 0, 0, "101"},
        {"prefix 0b", 5, -1, 2, 0, L::ShowBasePrefix, "0b101"},
        {"prefix 0B", 5, -1, 2, 0, L::ShowBasePrefix | L::UpperCasePrefix, "0B101"},
        {"octal prefix", 8, -1, 8, 0, L::AltForm, "010"},
        {"an octal zero needs none", 0, -1, 8, 0, L::AltForm, "0"},
        {"an octal number with a zero in front needs none", 8, 4, 8, 0, L::AltForm, "0010"},
        {"no prefix in other bases", 35, -1, 36, 0, L::ShowBasePrefix, "z"},
        {"negative in base 16 is the 64-bit pattern", -1, -1, 16, 0, 0, "ffffffffffffffff"},
        {"negative in base 2 too", LLONG_MIN, -1, 2, 0, 0,
         "1000000000000000000000000000000000000000000000000000000000000000"},
        {"zeros up to the width", 5, -1, 10, 4, L::PadWithZeros, "0005"},
        {"less one for the sign", 5, -1, 10, 4, L::PadWithZeros | L::ShowPlusSign, "+005"},
        {"less one for the minus", -5, -1, 10, 4, L::PadWithZeros, "-005"},
        {"less one for the blank", 5, -1, 10, 4, L::PadWithZeros | L::BlankForPositive, " 005"},
        {"less two for the prefix", 255, -1, 16, 8, L::PadWithZeros | L::ShowBasePrefix,
         "0x0000ff"},
        {"none when aligned to the left", 5, -1, 10, 4, L::PadWithZeros | L::AlignLeft, "5"},
        {"none with a precision", 5, 2, 10, 4, L::PadWithZeros, "05"},
        {"the zeros are not grouped", 1234, -1, 10, 10, L::PadWithZeros | L::GroupThousands,
         "000001,234"},
        {"the width alone pads nothing", 5, -1, 10, 4, 0, "5"},
        {"plus", 5, -1, 10, 0, L::ShowPlusSign, "+5"},
        {"plus before zero", 0, -1, 10, 0, L::ShowPlusSign, "+0"},
        {"blank", 5, -1, 10, 0, L::BlankForPositive, " 5"},
        {"plus wins over blank", 5, -1, 10, 0, L::ShowPlusSign | L::BlankForPositive, "+5"},
        {"no plus in other bases", 5, -1, 16, 0, L::ShowPlusSign | L::BlankForPositive, "5"},
        {"no room for it there", 5, -1, 16, 3, L::ShowPlusSign | L::PadWithZeros, "005"},
        {"no groups in other bases", 0x123456, -1, 16, 0, L::GroupThousands, "123456"},
        {"base 1 is 10", 1234, -1, 1, 0, 0, "1234"},
        {"base 0 is 10", -1234, -1, 0, 0, L::GroupThousands, "-1,234"},
        {"base 37 is 10", 1234, -1, 37, 0, 0, "1234"},
        {"a negative base is 10", 1234, -1, INT_MIN, 0, 0, "1234"},
        {"base 36", 123456789012, -1, 36, 0, 0, "1kpqzg2c"},
        {"a negative width", 5, -1, 10, INT_MIN, L::PadWithZeros, "5"},
        {"unknown flags", 5, -1, 10, 0, 0xFFFFFE00U, "5"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(integer(row.value, row.precision, row.base, row.width, row.flags), row.text);
    }
}

TEST(ZkLocale, WritesUnsignedIntegers)
{
    EXPECT_EQ(natural(ULLONG_MAX, -1, 10, 0, 0), "18446744073709551615");
    EXPECT_EQ(natural(ULLONG_MAX, -1, 10, 0, L::GroupThousands), "18,446,744,073,709,551,615");
    EXPECT_EQ(natural(ULLONG_MAX, -1, 10, 23, L::PadWithZeros | L::ShowPlusSign),
              "+0018446744073709551615");
    EXPECT_EQ(natural(ULLONG_MAX, -1, 8, 0, L::ShowBasePrefix), "01777777777777777777777");
    EXPECT_EQ(natural(0, 5, 10, 0, L::BlankForPositive), " 00000");
}

TEST(ZkLocale, WritesIntegersAsTheStepsSay)
{
    std::mt19937_64 random(20);
    const int bases[] = {10, 10, 10, 2, 8, 16, 3, 36};
    const Symbols sets[] = {
        {'0', ',', '+', '-'}, {0x660, 0x66C, 0x2B, 0x2212}, {'a', 'z', 'p', 'm'}};
    for (int i = scaledRounds(100000); i > 0; --i) {
        const std::uint64_t bits = random() >> (random() % 64);
        const std::uint64_t value = random() % 4 == 0 ? 0 - bits : bits;
        const int precision = static_cast<int>(random() % 30) - 2;
        const int base = bases[random() % std::size(bases)];
        const int width = static_cast<int>(random() % 35) - 2;
        const unsigned flags = static_cast<unsigned>(random() & 0x1FF);
        const Symbols &s = sets[random() % std::size(sets)];
        SCOPED_TRACE(testing::Message() << value << " precision " << precision << " base " << base
                                        << " width " << width << " flags " << flags);
        const ZkString asSigned =
            L::longLongToString(s.zero, s.group, s.plus, s.minus, static_cast<long long>(value),
                                precision, base, width, flags);
        ASSERT_EQ(asSigned.toStdU16String(),
                  integerModel(s, value, true, precision, base, width, flags));
        const ZkString asUnsigned =
            L::unsLongLongToString(s.zero, s.group, s.plus, value, precision, base, width, flags);
        ASSERT_EQ(asUnsigned.toStdU16String(),
                  integerModel(s, value, false, precision, base, width, flags));
    }
}

TEST(ZkLocale, MoreTextThanABlockHoldsStopsTheProcess)
{
    EXPECT_DEATH(integer(5, INT_MAX, 10, 0, 0), "no memory for");
    EXPECT_DEATH(real(5, INT_MAX, L::DecimalForm), "no memory for");
}

TEST(ZkLocale, WritesDoubles)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char *what;
        double value;
        int precision;
        L::DoubleForm form;
        int width;
        unsigned flags;
        const char *text;
    } kRows[] = {
        {"exponent form", 123.456, 2, L::ExponentForm, 0, 0, "1.23e+02"},
        {"a negative exponent", 0.00123, 1, L::ExponentForm, 0, 0, "1.2e-03"},
        {"three digits of exponent", 1e-300, 0, L::ExponentForm, 0, 0, "1e-300"},
        {"exponent form of zero", 0, 3, L::ExponentForm, 0, 0, "0.000e+00"},
        {"no digits behind the point", 15, 0, L::ExponentForm, 0, 0, "2e+01"},
        {"but the point, if asked for", 15, 0, L::ExponentForm, 0, L::AltForm, "2.e+01"},
        {"decimal form", 123.456, 2, L::DecimalForm, 0, 0, "123.46"},
        {"zeros behind the digits", 1200, 2, L::DecimalForm, 0, 0, "1200.00"},
        {"zeros before the digits", 0.00123, 4, L::DecimalForm, 0, 0, "0.0012"},
        {"nothing left of the value", 0.001, 2, L::DecimalForm, 0, 0, "0.00"},
        {"a tie goes to the even digit", 0.5, 0, L::DecimalForm, 0, 0, "0"},
        {"a tie goes to the even digit, upward", 1.5, 0, L::DecimalForm, 0, 0, "2"},
        {"a tie at the second digit", 0.125, 2, L::DecimalForm, 0, 0, "0.12"},
        {"rounding up to a new digit", 9.996, 2, L::DecimalForm, 0, 0, "10.00"},
        {"point without a fraction", 5, 0, L::DecimalForm, 0, L::AltForm, "5."},
        {"precision -1 is 6", 1.5, -1, L::DecimalForm, 0, 0, "1.500000"},
        {"any negative precision is 6", 1.5, INT_MIN, L::DecimalForm, 0, 0, "1.500000"},
        {"groups in the integer part only", 1234567.1234567, 7, L::DecimalForm, 0,
         L::GroupThousands, "1,234,567.1234567"},
        {"no separator in front", 123456, 0, L::DecimalForm, 0, L::GroupThousands, "123,456"},
        {"zeros are grouped as digits are", 1e9, 0, L::DecimalForm, 0, L::GroupThousands,
         "1,000,000,000"},
        {"no groups in the exponent form", 1234567, 6, L::ExponentForm, 0, L::GroupThousands,
         "1.234567e+06"},
        {"significant form", 123.456, 4, L::SignificantForm, 0, 0, "123.5"},
        {"trailing zeros go", 100, 6, L::SignificantForm, 0, 0, "100"},
        {"and stay in the alternate form", 100, 6, L::SignificantForm, 0, L::AltForm, "100.000"},
        {"zero", 0, 6, L::SignificantForm, 0, 0, "0"},
        {"zero in the alternate form", 0, 6, L::SignificantForm, 0, L::AltForm, "0.00000"},
        {"the last decimal exponent", 123456, 6, L::SignificantForm, 0, 0, "123456"},
        {"the first one beyond", 1234567, 6, L::SignificantForm, 0, 0, "1.23457e+06"},
        {"rounding decides the form", 999999.5, 6, L::SignificantForm, 0, 0, "1e+06"},
        {"the smallest decimal exponent", 0.0001, 6, L::SignificantForm, 0, 0, "0.0001"},
        {"the first one below", 0.00001, 6, L::SignificantForm, 0, 0, "1e-05"},
        {"leading zeros are no significant digits", 0.00012, 4, L::SignificantForm, 0, L::AltForm,
         "0.0001200"},
        {"precision 0 is 1", 25, 0, L::SignificantForm, 0, 0, "2e+01"},
        {"groups in the significant form", 123456, 6, L::SignificantForm, 0, L::GroupThousands,
         "123,456"},
        {"minus", -1.5, 1, L::DecimalForm, 0, 0, "-1.5"},
        {"minus zero keeps its minus", -0.0, 1, L::DecimalForm, 0, 0, "-0.0"},
        {"what rounds to zero too", -0.01, 1, L::DecimalForm, 0, 0, "-0.0"},
        {"plus", 1.5, 1, L::DecimalForm, 0, L::ShowPlusSign | L::BlankForPositive, "+1.5"},
        {"blank", 1.5, 1, L::DecimalForm, 0, L::BlankForPositive, " 1.5"},
        {"zeros up to the width", 1.5, 1, L::DecimalForm, 6, L::PadWithZeros, "0001.5"},
        {"zeros behind the sign", -1.5, 1, L::DecimalForm, 6, L::PadWithZeros, "-001.5"},
        {"no zeros when aligned to the left", 1.5, 1, L::DecimalForm, 6,
         L::PadWithZeros | L::AlignLeft, "1.5"},
        {"upper case", 1e10, 0, L::ExponentForm, 0, L::UpperCaseText, "1E+10"},
        {"infinity", kInfinity, 6, L::DecimalForm, 0, 0, "inf"},
        {"minus infinity", -kInfinity, 6, L::ExponentForm, 0, 0, "-inf"},
        {"plus infinity", kInfinity, 6, L::SignificantForm, 0, L::ShowPlusSign, "+inf"},
        {"blank infinity", kInfinity, 6, L::SignificantForm, 0, L::BlankForPositive, " inf"},
        {"infinity in upper case", -kInfinity, 6, L::DecimalForm, 0, L::UpperCaseText, "-INF"},
        {"infinity is not padded with zeros", kInfinity, 6, L::DecimalForm, 9, L::PadWithZeros,
         "inf"},
        {"nan", kNan, 6, L::DecimalForm, 9, L::PadWithZeros, "nan"},
        {"nan has no sign", std::copysign(kNan, -1.0), 6, L::DecimalForm, 0, L::ShowPlusSign,
         "nan"},
        {"nan in upper case", kNan, 6, L::DecimalForm, 0, L::UpperCaseText, "NAN"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(real(row.value, row.precision, row.form, row.width, row.flags), row.text);
    }
}

TEST(ZkLocale, WritesDoublesWithTheSymbolsGiven)
{
    const auto text = [](double value, L::DoubleForm form) {
        return L::doubleToString(0x660, 'p', 'm', 'x', 'g', 'd', value, 3, form, 12,
                                 L::PadWithZeros | L::GroupThousands | L::ShowPlusSign)
            .toStdU16String();
    };
    EXPECT_EQ(text(-1234.5, L::DecimalForm),
              u"m\u0660\u0660\u0661g\u0662\u0663\u0664d\u0665\u0660\u0660");
    EXPECT_EQ(text(0.0012, L::ExponentForm),
              u"p\u0660\u0660\u0661d\u0662\u0660\u0660xm\u0660\u0663");
    EXPECT_EQ(text(0, L::DecimalForm),
              u"p\u0660\u0660\u0660\u0660\u0660\u0660\u0660d\u0660\u0660\u0660");
}

TEST(ZkLocale, LaysOutDigitsInDecimalForm)
{
    const struct {
        const char *digits;
        int point;
        unsigned precision;
        L::PrecisionMode mode;
        bool alwaysPoint, groups;
        const char *text;
    } kRows[] = {
        {"123", 1, 0, L::TrimmedSignificantDigits, false, false, "1.23"},
        {"123", 3, 0, L::TrimmedSignificantDigits, false, false, "123"},
        {"123", 3, 0, L::TrimmedSignificantDigits, true, false, "123."},
        {"123", 5, 0, L::TrimmedSignificantDigits, false, false, "12300"},
        {"123", 0, 0, L::TrimmedSignificantDigits, false, false, "0.123"},
        {"123", -2, 0, L::TrimmedSignificantDigits, false, false, "0.00123"},
        {"123", 1, 4, L::DigitsBehindPoint, false, false, "1.2300"},
        {"123", 1, 1, L::DigitsBehindPoint, false, false, "1.23"},
        {"123", -1, 6, L::DigitsBehindPoint, false, false, "0.012300"},
        {"123", 4, 2, L::DigitsBehindPoint, false, true, "1,230.00"},
        {"123", 1, 5, L::SignificantDigits, false, false, "1.2300"},
        {"123", -1, 5, L::SignificantDigits, false, false, "0.012300"},
        {"123", 5, 5, L::SignificantDigits, false, false, "12300"},
        {"123", 5, 7, L::SignificantDigits, false, true, "12,300.00"},
        {"123456789", 9, 0, L::TrimmedSignificantDigits, false, true, "123,456,789"},
        {"", 1, 2, L::DigitsBehindPoint, false, false, "0.00"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        ZkString digits(row.digits);
        const ZkString text = L::decimalForm('0', '.', ',', digits, row.point, row.precision,
                                             row.mode, row.alwaysPoint, row.groups);
        EXPECT_EQ(text, ZkString(row.text));
        EXPECT_TRUE(digits.isSharedWith(text)) << "the digits end up as the result";
    }
}

TEST(ZkLocale, LaysOutDigitsInExponentForm)
{
    const struct {
        const char *digits;
        int point;
        unsigned precision;
        L::PrecisionMode mode;
        bool alwaysPoint;
        const char *text;
    } kRows[] = {
        {"123", 1, 0, L::TrimmedSignificantDigits, false, "1.23e+00"},
        {"1", 1, 0, L::TrimmedSignificantDigits, false, "1e+00"},
        {"1", 1, 0, L::TrimmedSignificantDigits, true, "1.e+00"},
        {"123", 11, 4, L::DigitsBehindPoint, false, "1.2300e+10"},
        {"123", 101, 4, L::SignificantDigits, false, "1.230e+100"},
        {"123", 0, 1, L::DigitsBehindPoint, false, "1.23e-01"},
        {"123", -99, 0, L::TrimmedSignificantDigits, false, "1.23e-100"},
        {"1", INT_MIN, 0, L::TrimmedSignificantDigits, false, "1e-2147483649"},
        {"1", INT_MAX, 0, L::TrimmedSignificantDigits, false, "1e+2147483646"},
        {"", 1, 1, L::DigitsBehindPoint, false, "0.0e+00"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        ZkString digits(row.digits);
        const ZkString text = L::exponentForm('0', '.', 'e', ',', '+', '-', digits, row.point,
                                              row.precision, row.mode, row.alwaysPoint);
        EXPECT_EQ(text, ZkString(row.text));
        EXPECT_TRUE(digits.isSharedWith(text)) << "the digits end up as the result";
    }
}

TEST(ZkLocale, ReadsDoubles)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const struct {
        const char *text;
        double value;
    } kRows[] = {
        {"0", 0},
        {"-0", -0.0},
        {"1234.5", 1234.5},
        {"+1.5", 1.5},
        {"-1.5", -1.5},
        {".5", 0.5},
        {"5.", 5},
        {"-.5e1", -5},
        {"1e5", 1e5},
        {"1E5", 1e5},
        {"1e+5", 1e5},
        {"1e-5", 1e-5},
        {"00001", 1},
        {"  42  ", 42},
        {"\t\n\v\f\r 42 \r\f\v\n\t", 42},
        {"\xC2\xA0"
         "42\xE2\x80\x83",
         42}, // no-break space, em space
        {"inf", kInfinity},
        {"Inf", kInfinity},
        {"INF", kInfinity},
        {"+inf", kInfinity},
        {"-inf", -kInfinity},
        {" -INF ", -kInfinity},
        {"1e-400", 0},
        {"-1e-400", -0.0},
        {"4.9e-324", 4.9406564584124654e-324},
        {"1.7976931348623157e308", 1.7976931348623157e308},
        {"1e00000000000000000000000000000000000001", 10},
        {"0e999999999999999999999999999", 0},
        {"0.0000000000000000000000000000000000000000e-99999999999999999999999", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        for (const int mode : {0, 1, 2}) {
            bool ok = false;
            const double value =
                L::stringToDouble(row.text, &ok, static_cast<L::GroupSeparatorMode>(mode));
            EXPECT_TRUE(ok);
            EXPECT_EQ(value, row.value);
            EXPECT_EQ(std::signbit(value), std::signbit(row.value));
        }
    }
    for (const char *nan : {"nan", "NaN", " NAN "}) {
        bool ok = false;
        EXPECT_TRUE(std::isnan(L::stringToDouble(nan, &ok, L::RefuseGroupSeparators)));
        EXPECT_TRUE(ok);
    }
}

TEST(ZkLocale, RefusesWhatIsNoDouble)
{
    const char *const texts[] = {
        "",
        " ",
        "42x",
        "x42",
        "4 2",
        "1..2",
        "1.2.3",
        ".",
        "+",
        "-",
        "--1",
        "+-1",
        "1e",
        "1e+",
        "1e-",
        "e5",
        ".e5",
        "1e5e5",
        "1e5.5",
        "0x10",
        "0x1p3",
        "infinity",
        "-nan",
        "+nan",
        "nan(1)",
        "1e999",
        "-1e999",
        "1,5",
        "1%",
        "1;",
        "1_000",
        "- 1",
        "1e 5",
        ("\xC2\x85"
         "1"),
        "\xEF\xBC\x91",
        "1\xCC\x81",
    };
    for (const char *text : texts) {
        SCOPED_TRACE(text);
        bool ok = true;
        const double value = L::stringToDouble(text, &ok, L::RefuseGroupSeparators);
        EXPECT_FALSE(ok);
        EXPECT_EQ(value, 0);
        EXPECT_FALSE(std::signbit(value));
        L::stringToDouble(text, nullptr, L::RefuseGroupSeparators);
    }
    const ZkUcs2 withZero[] = {'1', 0, '2'};
    bool ok = true;
    EXPECT_EQ(L::stringToDouble(ZkString(withZero, 3), &ok, L::RefuseGroupSeparators), 0);
    EXPECT_FALSE(ok) << "a 0 unit does not end the text";
    ok = true;
    EXPECT_EQ(L::stringToLongLong(ZkString(withZero, 3), 10, &ok, L::RefuseGroupSeparators), 0);
    EXPECT_FALSE(ok);
}

TEST(ZkLocale, ReadsIntegersOfEveryBase)
{
    std::mt19937_64 random(21);
    for (int base = 2; base <= 36; ++base) {
        for (int i = 0; i < 200; ++i) {
            const std::uint64_t value = random() >> (random() % 64);
            const ZkString text = L::unsLongLongToString(
                '0', ',', '+', value, -1, base, 0, i % 2 == 0 ? 0U : unsigned(L::UpperCaseText));
            bool ok = false;
            EXPECT_EQ(L::stringToUnsLongLong(text, base, &ok, L::RefuseGroupSeparators), value);
            EXPECT_TRUE(ok) << text << " in base " << base;
        }
    }
}

TEST(ZkLocale, ReadsIntegers)
{
    const struct {
        const char *text;
        int base;
        bool isSigned, isUnsigned; // which reader takes it
        std::uint64_t bits;
    } kRows[] = {
        {"0", 10, true, true, 0},
        {"42", 10, true, true, 42},
        {"  42  ", 10, true, true, 42},
        {"+42", 10, true, true, 42},
        {"-42", 10, true, true, static_cast<std::uint64_t>(-42)},
        {"-0", 10, true, true, 0},
        {"9223372036854775807", 10, true, true, LLONG_MAX},
        {"9223372036854775808", 10, false, true, std::uint64_t(1) << 63},
        {"-9223372036854775808", 10, true, true, std::uint64_t(1) << 63},
        {"-9223372036854775809", 10, false, true, LLONG_MAX},
        {"18446744073709551615", 10, false, true, ULLONG_MAX},
        {"18446744073709551616", 10, false, false, 0},
        {"10000000000000000000", 10, false, true, 10000000000000000000U},
        {"-10000000000000000000", 10, false, true, 0 - 10000000000000000000U},
        {"19999999999999999999", 10, false, false, 0},
        {"20000000000000000000", 10, false, false, 0},
        {"28446744073709551616", 10, false, false, 0}, // 10^19 modulo 2^64
        {"01234567890123456789", 10, true, true, 1234567890123456789},
        {"-1", 10, true, true, ULLONG_MAX},
        {"-18446744073709551615", 10, false, true, 1},
        {"-18446744073709551616", 10, false, false, 0},
        {"99999999999999999999999999", 10, false, false, 0},
        {"00000000000000000000000000000042", 10, true, true, 42},
        {"ff", 16, true, true, 255},
        {"FF", 16, true, true, 255},
        {"0xFF", 16, true, true, 255},
        {"0XfF", 0, true, true, 255},
        {"-0xff", 0, true, true, static_cast<std::uint64_t>(-255)},
        {"0xFFFFFFFFFFFFFFFF", 0, false, true, ULLONG_MAX},
        {"0x10000000000000000", 0, false, false, 0},
        {"010", 0, true, true, 8},
        {"010", 10, true, true, 10},
        {"08", 0, false, false, 0},
        {"0x", 16, false, false, 0},
        {"0xg", 16, false, false, 0},
        {"0x0x1", 16, false, false, 0},
        {"0x1", 10, false, false, 0},
        {"0b1", 2, false, false, 0},
        {"0b1", 0, false, false, 0},
        {"12", 2, false, false, 0},
        {"z", 36, true, true, 35},
        {"3w5e11264sgsf", 36, false, true, ULLONG_MAX},
        {"1y2p0ij32e8e7", 36, true, true, LLONG_MAX},
        {"1y2p0ij32e8e8", 36, false, true, std::uint64_t(1) << 63},
        {"5", 1, false, false, 0},
        {"5", 37, false, false, 0},
        {"5", -10, false, false, 0},
        {"5", INT_MIN, false, false, 0},
        {"", 10, false, false, 0},
        {" ", 10, false, false, 0},
        {"-", 10, false, false, 0},
        {"+-5", 10, false, false, 0},
        {"42x", 10, false, false, 0},
        {"4 2", 10, false, false, 0},
        {"- 42", 10, false, false, 0},
        {"1.0", 10, false, false, 0},
        {"1e3", 10, false, false, 0},
        {"1,234", 10, false, false, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << '"' << row.text << "\" in base " << row.base);
        bool ok = !row.isSigned;
        const long long asSigned =
            L::stringToLongLong(row.text, row.base, &ok, L::RefuseGroupSeparators);
        EXPECT_EQ(ok, row.isSigned);
        EXPECT_EQ(asSigned, row.isSigned ? static_cast<long long>(row.bits) : 0);
        ok = !row.isUnsigned;
        const unsigned long long asUnsigned =
            L::stringToUnsLongLong(row.text, row.base, &ok, L::RefuseGroupSeparators);
        EXPECT_EQ(ok, row.isUnsigned);
        EXPECT_EQ(asUnsigned, row.isUnsigned ? row.bits : 0);
        L::stringToLongLong(row.text, row.base, nullptr, L::RefuseGroupSeparators);
        L::stringToUnsLongLong(row.text, row.base, nullptr, L::RefuseGroupSeparators);
    }
}

TEST(ZkLocale, BytesReadAsTheCLibraryReadsThem)
{
    std::mt19937 random(22);
    const char alphabet[] = "0000123456789999acfzxX+- \t.";
    const int bases[] = {10, 10, 0, 16, 8, 2, 36, 7};
    for (int i = scaledRounds(300000); i > 0; --i) {
        std::string text;
        for (auto n = random() % 24; n > 0; --n) {
            text += alphabet[random() % (sizeof alphabet - 1)];
        }
        const int base = bases[random() % std::size(bases)];
        SCOPED_TRACE(testing::Message() << '"' << text << "\" in base " << base);
        char *end = nullptr;
        errno = 0;
        const long long expected = std::strtoll(text.c_str(), &end, base);
        const bool whole = end != text.c_str() && *end == '\0';
        bool fits = errno == 0;
        bool ok = false, overflow = false;
        const long long value = L::bytearrayToLongLong(text.c_str(), base, &ok, &overflow);
        ASSERT_EQ(ok, whole && fits);
        ASSERT_EQ(value, ok ? expected : 0);
        ASSERT_EQ(overflow, (end == text.c_str() || !fits) && *end != '\0');

        errno = 0;
        const unsigned long long natural = std::strtoull(text.c_str(), &end, base);
        fits = errno == 0;
        const unsigned long long read = L::bytearrayToUnsLongLong(text.c_str(), base, &ok);
        ASSERT_EQ(ok, whole && fits);
        ASSERT_EQ(read, ok ? natural : 0);
    }
}

TEST(ZkLocale, OverflowTellsThatCharactersRemain)
{
    const struct {
        const char *text;
        bool ok, overflow;
    } kDoubles[] = {
        {"1e999", false, false}, {"1e999x", false, true}, {"-1e999 ", false, true},
        {"1", true, false},      {"1x", false, false},    {"x", false, true},
        {"", false, false},      {"nan", true, false},    {"+inf", true, false},
        {"NAN", false, true},    {"infx", false, true},   {" 1", true, false},
    };
    for (const auto &row : kDoubles) {
        SCOPED_TRACE(row.text);
        bool ok = !row.ok, overflow = !row.overflow;
        L::bytearrayToDouble(row.text, &ok, &overflow);
        EXPECT_EQ(ok, row.ok);
        EXPECT_EQ(overflow, row.overflow);
        L::bytearrayToDouble(row.text, nullptr, nullptr);
    }
    bool ok = true, overflow = true;
    EXPECT_EQ(L::bytearrayToLongLong("99999999999999999999", 10, &ok, &overflow), 0);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(overflow);
    EXPECT_EQ(L::bytearrayToLongLong("99999999999999999999x", 10, &ok, &overflow), 0);
    EXPECT_TRUE(overflow);
    EXPECT_EQ(L::bytearrayToLongLong("5", 10, nullptr, nullptr), 5);
    EXPECT_EQ(L::bytearrayToUnsLongLong("5", 10, nullptr), 5U);
}

TEST(ZkLocale, NullTextIsEmpty)
{
    bool ok = true, overflow = true;
    EXPECT_EQ(L::bytearrayToDouble(nullptr, &ok, &overflow), 0);
    EXPECT_FALSE(ok);
    EXPECT_FALSE(overflow);
    EXPECT_EQ(L::bytearrayToLongLong(nullptr, 10, &ok, &overflow), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(L::bytearrayToUnsLongLong(nullptr, 10, &ok), 0U);
    EXPECT_FALSE(ok);
}

TEST(ZkLocale, UnitsStandForAsciiCharacters)
{
    const LocaleSymbols restored;
    for (int unit = 0; unit <= 0xFFFF; ++unit) {
        const ZkUcs2 c = static_cast<ZkUcs2>(unit);
        const bool known =
            c != 0 && c < 0x80 &&
            std::string("0123456789+-.,e").find(static_cast<char>(c)) != std::string::npos;
        const char expected = known ? static_cast<char>(c) : c == 'E' ? 'e' : '\0';
        ASSERT_EQ(L::digitToCLocale(c), expected) << unit;
    }
    LocaleSymbols::setArabic();
    ZkLocale::mExponential = 0xE9;
    EXPECT_EQ(L::digitToCLocale(0x660), '0');
    EXPECT_EQ(L::digitToCLocale(0x669), '9');
    EXPECT_EQ(L::digitToCLocale(0x66A), '\0');
    EXPECT_EQ(L::digitToCLocale(0x66B), '.');
    EXPECT_EQ(L::digitToCLocale(0x66C), ',');
    EXPECT_EQ(L::digitToCLocale('7'), '7') << "ASCII digits stay digits";
    EXPECT_EQ(L::digitToCLocale('.'), '\0');
    EXPECT_EQ(L::digitToCLocale(0xE9), 'e');
    EXPECT_EQ(L::digitToCLocale(0xC9), 'e') << "the upper case of the exponential";
    EXPECT_EQ(L::digitToCLocale('e'), '\0');
    // The order of the questions decides where symbols coincide.
    ZkLocale::mPositiveSign = '3';
    EXPECT_EQ(L::digitToCLocale('3'), '3');
    ZkLocale::mZeroDigit = '3';
    EXPECT_EQ(L::digitToCLocale('3'), '0');
    EXPECT_EQ(L::digitToCLocale('2'), '2');
    ZkLocale::mZeroDigit = 0xFFFC; // digits do not go on behind U+FFFF
    EXPECT_EQ(L::digitToCLocale(0xFFFF), '3');
    EXPECT_EQ(L::digitToCLocale(0), '\0');
}

TEST(ZkLocale, RewritesNumbersAsAscii)
{
    const struct {
        const char *text;
        bool accept;
        const char *ascii; // null: refused
    } kRows[] = {
        {"1234.5", false, "1234.5"}, {"  -1E+5  ", false, "-1e+5"}, {"1,234", false, "1,234"},
        {"1,234", true, "1234"},     {"12,34", true, nullptr},      {"50%;x", false, "50%;x"},
        {"ABCxyz", false, "abcxyz"}, {"", false, nullptr},          {" \t", false, nullptr},
        {"1 2", false, nullptr},     {"1_", false, nullptr},        {"_1", false, nullptr},
        {"_", false, nullptr},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        ZkVector<char> out(3, 'x');
        const auto mode = row.accept ? L::AcceptGroupSeparators : L::RefuseGroupSeparators;
        EXPECT_EQ(L::numberToCLocale(row.text, mode, &out), row.ascii != nullptr);
        EXPECT_EQ(L::numberToCLocale(row.text, mode, nullptr), row.ascii != nullptr);
        if (row.ascii != nullptr) {
            ASSERT_EQ(out.size(), static_cast<int>(std::string(row.ascii).size()) + 1);
            EXPECT_STREQ(out.constData(), row.ascii);
        } else {
            EXPECT_TRUE(out.isEmpty());
        }
    }
}

TEST(ZkLocale, RewritesNumbersOfAnyLength)
{
    for (std::size_t size = 1; size < 600; ++size) {
        const std::string digits(size, '7');
        ZkVector<char> out;
        ASSERT_TRUE(L::numberToCLocale(digits.c_str(), L::RefuseGroupSeparators, &out));
        ASSERT_EQ(out.size(), static_cast<int>(size) + 1);
        ASSERT_STREQ(out.constData(), digits.c_str());
    }
}

TEST(ZkLocale, ReadsLongTexts)
{
    const std::string zeros(100000, '0');
    bool ok = false;
    EXPECT_EQ(L::stringToDouble((zeros + "1." + zeros).c_str(), &ok, L::AcceptGroupSeparators), 1);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToDouble(("0." + zeros + "1e100001").c_str(), &ok, L::RefuseGroupSeparators),
              1);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToDouble(("1" + zeros + "e-100000").c_str(), &ok, L::RefuseGroupSeparators),
              1);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToLongLong((zeros + "7").c_str(), 10, &ok, L::RefuseGroupSeparators), 7);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToLongLong((zeros + "7x").c_str(), 10, &ok, L::RefuseGroupSeparators), 0);
    EXPECT_FALSE(ok);
}

TEST(ZkLocale, ReadsTheSymbolsOfTheLocale)
{
    const LocaleSymbols restored;
    LocaleSymbols::setArabic();
    bool ok = false;
    const ZkString number(u"\u0661\u066C\u0662\u0663\u0664\u066B\u0665");
    EXPECT_EQ(L::stringToDouble(number, &ok, L::AcceptGroupSeparators), 1234.5);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToDouble(number, &ok, L::RefuseGroupSeparators), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(L::stringToLongLong(ZkString(u"-\u0661\u06622"), 10, &ok, L::RefuseGroupSeparators),
              -122);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToUnsLongLong(ZkString(u"\u0669"), 10, &ok, L::RefuseGroupSeparators), 9U);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToDouble("1.5", &ok, L::RefuseGroupSeparators), 0);
    EXPECT_FALSE(ok) << "the point is no symbol now";
}

TEST(ZkLocale, EachSymbolIsAskedForOnItsOwn)
{
    const struct {
        const char *what;
        ZkUcs2 *symbol;
        ZkUcs2 value;
        const char *text;
        int number; // 0: refused
    } kRows[] = {
        {"another zero moves the digits", &L::mZeroDigit, 'a', "bc", 12},
        {"a zero inside the digits wins over them", &L::mZeroDigit, '5', "56", 1},
        {"digits below it are ASCII digits still", &L::mZeroDigit, '5', "4", 4},
        {"another minus", &L::mNegativeSign, '~', "~7", -7},
        {"the old minus is none", &L::mNegativeSign, '~', "-7", 0},
        {"another plus", &L::mPositiveSign, '~', "~7", 7},
        {"a plus that looks like a minus", &L::mPositiveSign, '-', "-7", 7},
        {"a separator that is white space", &L::mGroupSeparator, 0xA0,
         "1\xC2\xA0"
         "234",
         1234},
        {"a separator is no blank at the end", &L::mGroupSeparator, ' ', "1 ", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const LocaleSymbols restored;
        *row.symbol = row.value;
        bool ok = false;
        EXPECT_EQ(L::stringToLongLong(row.text, 10, &ok, L::AcceptGroupSeparators), row.number);
        EXPECT_EQ(ok, row.number != 0);
        EXPECT_EQ(L::stringToDouble(row.text, &ok, L::AcceptGroupSeparators), row.number);
        EXPECT_EQ(ok, row.number != 0);
    }
}

TEST(ZkLocale, GroupsMustBeOfThreeDigits)
{
    const struct {
        const char *text;
        double value;
        bool ok;
    } kRows[] = {
        {"1,234.5", 1234.5, true}, {"1,234,567", 1234567, true}, {"12,345", 12345, true},
        {"123,456", 123456, true}, {"-1,234", -1234, true},      {"+1,234", 1234, true},
        {"1,234e2", 123400, true}, {"1,234.5e2", 123450, true},  {"1234", 1234, true},
        {"12,34", 0, false},       {"1,23", 0, false},           {"1,2345", 0, false},
        {"1234,567", 0, false},    {"1,234567", 0, false},       {",123", 0, false},
        {"123,", 0, false},        {"1,,234", 0, false},         {"1,.5", 0, false},
        {"-,123", 0, false},       {"1.234,567", 0, false},      {"1e1,000", 0, false},
        {"1.2.3", 0, false},       {"0,123", 123, true},         {",", 0, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        bool ok = !row.ok;
        EXPECT_EQ(L::stringToDouble(row.text, &ok, L::AcceptGroupSeparators), row.value);
        EXPECT_EQ(ok, row.ok);
    }
}

TEST(ZkLocale, AMinusMayStandInASeparatorsPlaceAPlusMayNot)
{
    bool ok = false;
    EXPECT_EQ(L::stringToLongLong("-123,456", 10, &ok, L::AcceptGroupSeparators), -123456);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::stringToLongLong("+123,456", 10, &ok, L::AcceptGroupSeparators), 0);
    EXPECT_FALSE(ok);
}

TEST(ZkLocale, OnlyModeOneAcceptsSeparators)
{
    for (const int mode : {-1, 0, 2}) {
        bool ok = true;
        EXPECT_EQ(L::stringToLongLong("1,234", 10, &ok, static_cast<L::GroupSeparatorMode>(mode)),
                  0);
        EXPECT_FALSE(ok) << mode;
    }
}

namespace
{

// The rule of `removeGroupSeparators` asked for every place by itself.
bool groupedRightly(const std::string &text)
{
    const std::size_t point = text.find('.');
    if (point != std::string::npos && text.find('.', point + 1) != std::string::npos) {
        return false;
    }
    if (text.find(',') == std::string::npos) {
        return true;
    }
    const std::size_t end = std::min(text.find_first_of(".eE"), text.size());
    if (text.find(',', end) != std::string::npos) {
        return false;
    }
    const std::string whole = text.substr(0, end);
    for (std::size_t back = 1; back <= whole.size(); ++back) {
        const std::size_t i = whole.size() - back;
        const bool separator = whole[i] == ',';
        if (back % 4 == 0) {
            if (!separator && !(i == 0 && whole[i] == '-')) {
                return false;
            }
        } else if (separator) {
            return false;
        }
        if (separator &&
            (i == 0 || i + 1 == text.size() || !isdigit(text[i - 1]) || !isdigit(text[i + 1]))) {
            return false;
        }
    }
    return true;
}

} // namespace

TEST(ZkLocale, RemovesSeparatorsFromEveryShortText)
{
    const std::string alphabet = "17,-+.e";
    const int longest = kSlowTests ? 5 : 6;
    for (int length = 0; length <= longest; ++length) {
        std::vector<std::size_t> odometer(static_cast<std::size_t>(length), 0);
        for (bool more = true; more;) {
            std::string text;
            for (const std::size_t i : odometer) {
                text += alphabet[i];
            }
            for (const bool terminated : {false, true}) {
                ZkVector<char> buffer(text.c_str(), length + terminated);
                const ZkVector<char> copy = buffer;
                const bool removed = L::removeGroupSeparators(&buffer);
                ASSERT_EQ(removed, groupedRightly(text)) << text;
                std::string expected = text;
                if (removed) {
                    expected.erase(std::remove(expected.begin(), expected.end(), ','),
                                   expected.end());
                }
                if (terminated) {
                    expected += '\0';
                }
                ASSERT_EQ(std::string(buffer.constData(), static_cast<std::size_t>(buffer.size())),
                          expected);
                ASSERT_EQ(copy.size(), length + terminated) << "a copy keeps its characters";
                ASSERT_EQ(std::string(copy.constData(), static_cast<std::size_t>(length)), text);
            }
            more = false;
            for (std::size_t &i : odometer) {
                i = (i + 1) % alphabet.size();
                if (i != 0) {
                    more = true;
                    break;
                }
            }
        }
    }
    EXPECT_TRUE(L::removeGroupSeparators(nullptr));
}
