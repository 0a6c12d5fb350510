#include "localesymbols.h"
#include "rounds.h"

#include <zkstring.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cfloat>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

TEST(ZkStringNumber, WritesIntegers)
{
    EXPECT_EQ(ZkString::number(0), ZkString("0"));
    EXPECT_EQ(ZkString::number(INT_MIN), ZkString("-2147483648"));
    EXPECT_EQ(ZkString::number(UINT_MAX), ZkString("4294967295"));
    EXPECT_EQ(ZkString::number(-5L), ZkString("-5"));
    EXPECT_EQ(ZkString::number(5UL), ZkString("5"));
    EXPECT_EQ(ZkString::number(LLONG_MIN), ZkString("-9223372036854775808"));
    EXPECT_EQ(ZkString::number(ULLONG_MAX), ZkString("18446744073709551615"));
    EXPECT_EQ(ZkString::number(short(-7)), ZkString("-7"));
    EXPECT_EQ(ZkString::number(static_cast<unsigned short>(65535)), ZkString("65535"));
    EXPECT_EQ(ZkString::number(255, 16), ZkString("ff"));
    EXPECT_EQ(ZkString::number(-1, 16), ZkString("ffffffffffffffff"));
    EXPECT_EQ(ZkString::number(-1LL, 2), ZkString(std::string(64, '1').c_str()));
    for (const int base : {1, 0, -16, 37, INT_MAX, INT_MIN}) {
        EXPECT_EQ(ZkString::number(-255, base), ZkString("-255")) << base;
    }
    EXPECT_EQ(ZkString::number(12345).capacity(), 6);
}

TEST(ZkStringNumber, WritesIntegersAsToCharsDoes)
{
    std::mt19937_64 random(50);
    for (int i = scaledRounds(500000); i > 0; --i) {
        const unsigned long long value = random() >> (random() % 64);
        const int base = i % 2 == 0 ? 10 : static_cast<int>(random() % 35) + 2;
        char buffer[70];
        char *end = std::to_chars(buffer, std::end(buffer), value, base).ptr;
        ASSERT_EQ(ZkString::number(value, base).toStdString(), std::string(buffer, end));
        const long long negative = static_cast<long long>(0 - value);
        end = std::to_chars(buffer, std::end(buffer), negative).ptr;
        ASSERT_EQ(ZkString::number(negative).toStdString(), std::string(buffer, end));
    }
    for (unsigned long long power = 1; power <= ULLONG_MAX / 10; power *= 10) {
        for (const unsigned long long value : {power - 1, power, power + 1, 10 * power - 1}) {
            ASSERT_EQ(ZkString::number(value).toStdString(), std::to_string(value));
        }
    }
}

TEST(ZkStringNumber, WritesDoubles)
{
    EXPECT_EQ(ZkString::number(1.5), ZkString("1.5"));
    EXPECT_EQ(ZkString::number(1.5F), ZkString("1.5"));
    EXPECT_EQ(ZkString::number(0.1), ZkString("0.1"));
    EXPECT_EQ(ZkString::number(1234567.0), ZkString("1.23457e+06"));
    EXPECT_EQ(ZkString::number(1234567.0, 'f', 1), ZkString("1234567.0"));
    EXPECT_EQ(ZkString::number(1234567.0, 'e', 1), ZkString("1.2e+06"));
    EXPECT_EQ(ZkString::number(1234567.0, 'E', 1), ZkString("1.2E+06"));
    EXPECT_EQ(ZkString::number(1234567.0, 'G', 2), ZkString("1.2E+06"));
    EXPECT_EQ(ZkString::number(1234567.0, 'F', 2), ZkString("1234567.00"));
    EXPECT_EQ(ZkString::number(1234567.0, 'x', 2), ZkString("1.2e+06"));
    EXPECT_EQ(ZkString::number(1234567.0, 'X', 2), ZkString("1.2e+06"));
    EXPECT_EQ(ZkString::number(-0.0), ZkString("-0"));
    EXPECT_EQ(ZkString::number(std::numeric_limits<double>::infinity(), 'F'), ZkString("INF"));
    EXPECT_EQ(ZkString::number(std::numeric_limits<double>::quiet_NaN()), ZkString("nan"));
    EXPECT_EQ(ZkString::number(1e300, 'f', 0).size(), 301);
}

TEST(ZkStringNumber, IsPlainWhateverTheLocaleHolds)
{
    const LocaleSymbols restored;
    LocaleSymbols::setArabic();
    ZkLocale::mNegativeSign = 0x2212;
    EXPECT_EQ(ZkString::number(-1234567), ZkString("-1234567"));
    EXPECT_EQ(ZkString::number(-1234.5), ZkString("-1234.5"));
}

TEST(ZkStringNumber, SetNumBecomesTheNumber)
{
    ZkString text("old"), copy = text;
    EXPECT_EQ(&text.setNum(255, 16), &text);
    EXPECT_EQ(text, ZkString("ff"));
    EXPECT_EQ(copy, ZkString("old"));
    EXPECT_EQ(text.setNum(short(-3)), ZkString("-3"));
    EXPECT_EQ(text.setNum(static_cast<unsigned short>(3)), ZkString("3"));
    EXPECT_EQ(text.setNum(ULLONG_MAX), ZkString("18446744073709551615"));
    EXPECT_EQ(text.setNum(-5L), ZkString("-5"));
    EXPECT_EQ(text.setNum(1.25), ZkString("1.25"));
    EXPECT_EQ(text.setNum(1.25F, 'f', 1), ZkString("1.2"));
}

namespace
{

// What a reader gives for a text, with and without a place for its success.
template <typename Number, typename... Base>
void expectRead(Number (ZkString::*read)(bool *, Base...) const, const char *text, bool good,
                Number value, Base... base)
{
    SCOPED_TRACE(text);
    bool ok = !good;
    EXPECT_EQ((ZkString(text).*read)(&ok, base...), value);
    EXPECT_EQ(ok, good);
    EXPECT_EQ((ZkString(text).*read)(nullptr, base...), value);
}

} // namespace

TEST(ZkStringNumber, ReadsWithinTheRangeOfEachType)
{
    expectRead(&ZkString::toLongLong, "-9223372036854775808", true, LLONG_MIN, 10);
    expectRead(&ZkString::toLongLong, "9223372036854775808", false, 0LL, 10);
    expectRead(&ZkString::toULongLong, "18446744073709551615", true, ULLONG_MAX, 10);
    expectRead(&ZkString::toULongLong, "-1", true, ULLONG_MAX, 10);
    expectRead(&ZkString::toULongLong, "18446744073709551616", false, 0ULL, 10);
    expectRead(&ZkString::toInt, "2147483647", true, INT_MAX, 10);
    expectRead(&ZkString::toInt, "-2147483648", true, INT_MIN, 10);
    expectRead(&ZkString::toInt, "2147483648", false, 0, 10);
    expectRead(&ZkString::toInt, "-2147483649", false, 0, 10);
    expectRead(&ZkString::toUInt, "4294967295", true, UINT_MAX, 10);
    expectRead(&ZkString::toUInt, "4294967296", false, 0U, 10);
    expectRead(&ZkString::toUInt, "-1", false, 0U, 10);
    expectRead(&ZkString::toInt, "ff", true, 255, 16);
    expectRead(&ZkString::toInt, "0x1f", true, 31, 0);
    expectRead(&ZkString::toInt, "42", false, 0, 1);
    expectRead(&ZkString::toInt, "", false, 0, 10);
    expectRead(&ZkString::toInt, " 42 ", true, 42, 10);
    EXPECT_EQ(ZkString("42").toInt(), 42);
    EXPECT_EQ(ZkString("x").toInt(), 0);
}

TEST(ZkStringNumber, DigitsAroundTheEndOf64BitsAreReadAsByTheCLibrary)
{
    std::mt19937_64 random(52);
    for (int i = scaledRounds(300000); i > 0; --i) {
        std::string text(random() % 4 == 0 ? 1 : 0, '-');
        text += std::to_string(random() % 3);
        text += std::to_string(10000000000000000000U | random()).substr(1 - random() % 2);
        char *end = nullptr;
        errno = 0;
        const unsigned long long natural = std::strtoull(text.c_str(), &end, 10);
        expectRead(&ZkString::toULongLong, text.c_str(), errno == 0, errno == 0 ? natural : 0, 10);
        errno = 0;
        const long long integer = std::strtoll(text.c_str(), &end, 10);
        expectRead(&ZkString::toLongLong, text.c_str(), errno == 0, errno == 0 ? integer : 0, 10);
        ASSERT_FALSE(HasFailure());
    }
}

TEST(ZkStringNumber, ShortTextsReadAsIntLikeAsLongLong)
{
    static const ZkUcs2 kUnits[] = {'0', '1', '5', '9',     '/',    ':',    '-',    '+',
                                    ' ', 'a', 0,   '9' + 1, 0x0660, 0x0139, 0xFF15, 0xFFFF};
    std::mt19937 random(53);
    for (int i = scaledRounds(400000); i > 0; --i) {
        ZkUcs2 units[11];
        const int n = 1 + int(random() % (random() % 4 == 0 ? 11 : 4));
        const std::size_t kinds = random() % 2 == 0 ? 4 : std::size(kUnits);
        for (ZkUcs2 &unit : units) {
            unit = kUnits[random() % kinds];
        }
        const ZkString text(units, n);
        bool isInt = false, isLong = false;
        const int read = text.toInt(&isInt);
        const long long expected = text.toLongLong(&isLong);
        const bool fits = isLong && expected >= INT_MIN && expected <= INT_MAX;
        ASSERT_EQ(isInt, fits) << text.toStdString();
        ASSERT_EQ(read, fits ? expected : 0) << text.toStdString();
    }
}

TEST(ZkStringNumber, LongHas32BitsOnEveryMachine)
{
    expectRead(&ZkString::toLong, "2147483647", true, 2147483647L, 10);
    expectRead(&ZkString::toLong, "2147483648", false, 0L, 10);
    expectRead(&ZkString::toLong, "-2147483649", false, 0L, 10);
    expectRead(&ZkString::toULong, "4294967295", true, 4294967295UL, 10);
    expectRead(&ZkString::toULong, "4294967296", false, 0UL, 10);
}

TEST(ZkStringNumber, ShortLooksAtTheLow32BitsOnly)
{
    expectRead<short>(&ZkString::toShort, "32767", true, 32767, 10);
    expectRead<short>(&ZkString::toShort, "-32768", true, -32768, 10);
    expectRead<short>(&ZkString::toShort, "32768", false, 0, 10);
    expectRead<short>(&ZkString::toShort, "-32769", false, 0, 10);
    expectRead<short>(&ZkString::toShort, "4294967301", true, 5, 10);
    expectRead<short>(&ZkString::toShort, "4294967295", true, -1, 10);
    expectRead<short>(&ZkString::toShort, "-4294967296", true, 0, 10);
    expectRead<unsigned short>(&ZkString::toUShort, "65535", true, 65535, 10);
    expectRead<unsigned short>(&ZkString::toUShort, "65536", false, 0, 10);
    expectRead<unsigned short>(&ZkString::toUShort, "4294967301", true, 5, 10);
    expectRead<unsigned short>(&ZkString::toUShort, "-1", false, 0, 10);
    expectRead<short>(&ZkString::toShort, "x", false, 0, 10);
    expectRead<unsigned short>(&ZkString::toUShort, "x", false, 0, 10);
}

TEST(ZkStringNumber, GroupSeparatorsAreRefusedTheSecondTimeToo)
{
    expectRead(&ZkString::toLongLong, "1,234", false, 0LL, 10);
    expectRead(&ZkString::toULongLong, "1,234", false, 0ULL, 10);
    expectRead(&ZkString::toInt, "1,234", false, 0, 10);
    expectRead(&ZkString::toDouble, "1,234.5", false, 0.0);
}

TEST(ZkStringNumber, ReadsDoubles)
{
    expectRead(&ZkString::toDouble, "1.5", true, 1.5);
    expectRead(&ZkString::toDouble, " -1e3 ", true, -1000.0);
    expectRead(&ZkString::toDouble, "-inf", true, -std::numeric_limits<double>::infinity());
    expectRead(&ZkString::toDouble, "1e309", false, 0.0);
    expectRead(&ZkString::toDouble, "1.5x", false, 0.0);
    expectRead(&ZkString::toDouble, "", false, 0.0);
    bool ok = false;
    EXPECT_TRUE(std::isnan(ZkString("nan").toDouble(&ok)));
    EXPECT_TRUE(ok);
}

TEST(ZkStringNumber, ReadsFloats)
{
    expectRead(&ZkString::toFloat, "1.5", true, 1.5F);
    expectRead(&ZkString::toFloat, "inf", true, std::numeric_limits<float>::infinity());
    expectRead(&ZkString::toFloat, "3.4028234663852886e38", true, FLT_MAX);
    expectRead(&ZkString::toFloat, "3.4028235677973362e38", true, FLT_MAX); // below the middle
    // The double nearest to this is the middle itself, which is beyond.
    expectRead(&ZkString::toFloat, "3.4028235677973366e38", true, FLT_MAX);
    expectRead(&ZkString::toFloat, "3.40282356779733661637539395458142568447e38", true, FLT_MAX);
    expectRead(&ZkString::toFloat, "3.40282356779733661637539395458142568448e38", false, 0.0F);
    expectRead(&ZkString::toFloat, "3.4028235677973367e38", false, 0.0F);
    expectRead(&ZkString::toFloat, "-3.5e38", false, 0.0F);
    expectRead(&ZkString::toFloat, "1e39", false, 0.0F);
    expectRead(&ZkString::toFloat, "1e309", false, 0.0F);
    expectRead(&ZkString::toFloat, "1e-50", true, 0.0F);
    expectRead(&ZkString::toFloat, "1e-45", true, std::numeric_limits<float>::denorm_min());
    expectRead(&ZkString::toFloat, "x", false, 0.0F);
    bool ok = false;
    EXPECT_TRUE(std::isnan(ZkString("nan").toFloat(&ok)));
    EXPECT_TRUE(ok);
    EXPECT_TRUE(std::signbit(ZkString("-1e-60").toFloat()));
}

// Rounded to a double first, each of these lies in the middle of two floats.
TEST(ZkStringNumber, FloatsAreNearestToTheTextNotToItsDouble)
{
    const struct {
        const char *text;
        float value;
    } kRows[] = {
        {"7.0064923216240854e-46", 1e-45F}, // just above half the smallest
        {"7.0064923216240853e-46", 0.0F},
        {"-7.0064923216240854e-46", -1e-45F},
        {"1.00000005960464477539062499999", 1.0F},
        {"1.000000059604644775390625", 1.0F}, // the middle: to the even one
        {"1.00000005960464477539062500001", 1.0000001F},
        {"1.00000017881393432617187499999", 1.0000001F},
        {"1.000000178813934326171875", 1.0000002F},
        {"16777217", 16777216.0F},
        {"16777217.0000000000000000000000001", 16777218.0F},
        {"0.000000000000000000000000000000000000000000000700649232162408535461864791645", 1e-45F},
        {" +16777217.000000000000000000000e0", 16777216.0F},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.text);
        ASSERT_EQ(std::strtof(row.text, nullptr), row.value) << "the table is wrong";
        expectRead(&ZkString::toFloat, row.text, true, row.value);
    }
    std::mt19937_64 random(53);
    for (int i = scaledRounds(100000); i > 0; --i) {
        // A middle of two floats, its digits cut off or with something behind them.
        const std::uint32_t bits = static_cast<std::uint32_t>(random() % 0x7F7FFFFF);
        float lower;
        std::memcpy(&lower, &bits, sizeof lower);
        const double middle = (static_cast<double>(lower) + std::nextafterf(lower, INFINITY)) / 2;
        char text[200];
        std::snprintf(text, sizeof text, "%.*e", static_cast<int>(14 + random() % 80), middle);
        if (random() % 3 == 0) {
            std::snprintf(text, sizeof text, "%.110f", middle);
            std::strncat(text, "0001", sizeof text - std::strlen(text) - 1);
        }
        bool ok = false;
        ASSERT_EQ(ZkString(text).toFloat(&ok), std::strtof(text, nullptr)) << text;
        ASSERT_TRUE(ok);
    }
}

TEST(ZkStringNumber, FloatsAreRoundedToNearestInAnyRoundingMode)
{
    std::mt19937_64 random(51);
    for (int i = scaledRounds(300000); i > 0; --i) {
        // Exponents about the range of floats, and ties of their mantissas.
        const std::uint64_t exponent = 1023 - 152 + random() % 282;
        const std::uint64_t tie = random() % 2 == 0 ? std::uint64_t(1) << 28 : random();
        const std::uint64_t mantissa = (random() << 29 | (tie & 0x1FFFFFFF)) & 0xFFFFFFFFFFFFF;
        const std::uint64_t bits = (random() & 1) << 63 | exponent << 52 | mantissa;
        double value;
        std::memcpy(&value, &bits, sizeof value);
        const ZkString text = ZkString::number(value, 'e', 16);
        const float expected = std::strtof(text.toUtf8().constData(), nullptr);
        for (const int mode : {FE_TONEAREST, FE_UPWARD}) {
            std::fesetround(mode);
            bool ok = false;
            const float read = text.toFloat(&ok);
            std::fesetround(FE_TONEAREST);
            ASSERT_EQ(ok, std::isfinite(expected)) << text;
            ASSERT_EQ(read, ok ? expected : 0) << text;
        }
    }
}
