#include "localesymbols.h"
#include "rounds.h"

#include <zkstring.h>

#include <gtest/gtest.h>

#include <cfenv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace
{

std::string printed(const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    const std::string text = ZkString("old").vsprintf(format, arguments).toStdString();
    va_end(arguments);
    return text;
}

// What the C library prints.
std::string expectedOf(const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    char buffer[6000];
    const int n = std::vsnprintf(buffer, sizeof buffer, format, arguments);
    va_end(arguments);
    return std::string(buffer, static_cast<std::size_t>(n));
}

// A directive of random flags, width and precision in front of `conversion`.
std::string randomDirective(std::mt19937_64 &random, const char *flags,
                            const std::string &conversion)
{
    std::string directive = "%";
    for (const char *flag = flags; *flag != '\0'; ++flag) {
        directive.append(random() % 3 == 0 ? 1 : 0, *flag);
    }
    if (random() % 2 == 0) {
        directive += std::to_string(random() % 30);
    }
    if (random() % 2 == 0) {
        directive += '.';
        if (random() % 4 != 0) {
            directive += std::to_string(random() % 25);
        }
    }
    return directive + conversion;
}

} // namespace

TEST(ZkStringPrintf, CopiesTextByteByByte)
{
    EXPECT_EQ(printed("plain"), "plain");
    EXPECT_EQ(printed(""), "");
    EXPECT_EQ(printed("100%%"), "100%");
    EXPECT_EQ(printed("%%%%"), "%%");
    ZkString text;
    text.sprintf("a\xE9\xFF");
    const ZkUcs2 units[] = {'a', 0xE9, 0xFF};
    EXPECT_EQ(text, ZkString(units, 3)) << "bytes above 0x7F are not decoded";
    EXPECT_EQ(printed(nullptr), "");
}

TEST(ZkStringPrintf, ReplacesTheTextAndReturnsTheString)
{
    ZkString text("old"), copy = text;
    EXPECT_EQ(&text.sprintf("%d", 5), &text);
    EXPECT_EQ(text, ZkString("5"));
    EXPECT_EQ(copy, ZkString("old"));
    text.sprintf("%s", "");
    EXPECT_TRUE(text.isEmpty());
}

TEST(ZkStringPrintf, FormatAndArgumentsMayLieInTheString)
{
    ZkString text("abc");
    // Compilers know "ls" as C's wide text.
    text.sprintf("<%ls|%ls>", reinterpret_cast<const wchar_t *>(text.constData()),
                 reinterpret_cast<const wchar_t *>(text.constData() + 1));
    EXPECT_EQ(text, ZkString("<abc|bc>"));
}

TEST(ZkStringPrintf, PrintsIntegersAsTheCLibrary)
{
    std::mt19937_64 random(60);
    for (int i = scaledRounds(200000); i > 0; --i) {
        const std::uint64_t bits = random() >> (random() % 64);
        const std::uint64_t value = random() % 3 == 0 ? 0 - bits : bits;
        const char conversion = "diouxX"[random() % 6];
        // What is told to differ: at least one digit, and "0x" before 0 too.
        const bool oddZero = value == 0;
        const auto check = [&](const char *modifier, auto argument) {
            std::string directive =
                randomDirective(random, " #+-0", modifier + std::string(1, conversion));
            if (oddZero || argument == 0) {
                directive = "%" + std::to_string(random() % 20) + modifier + conversion;
            }
            ASSERT_EQ(printed(directive.c_str(), argument), expectedOf(directive.c_str(), argument))
                << directive << " of " << value;
        };
        check("", static_cast<int>(value));
        check("l", static_cast<long>(value));
        check("ll", static_cast<long long>(value));
        check("j", static_cast<std::intmax_t>(value));
        check("z", static_cast<std::size_t>(value));
        check("t", static_cast<std::ptrdiff_t>(value));
        const int small = static_cast<int>(value);
        if (static_cast<char>(small) != 0 && static_cast<short>(small) != 0) {
            check("h", small);
            check("hh", small);
        }
    }
}

TEST(ZkStringPrintf, LengthModifiersCutTheArgument)
{
    EXPECT_EQ(printed("%hhd", 0x1FF), "-1");
    EXPECT_EQ(printed("%hhu", 0x1FF), "255");
    EXPECT_EQ(printed("%hd", 0x1FFFF), "-1");
    EXPECT_EQ(printed("%hx", 0x1FFFF), "ffff");
    EXPECT_EQ(printed("%x", -1), "ffffffff");
    EXPECT_EQ(printed("%u", -1), "4294967295");
    EXPECT_EQ(printed("%llx", -1LL), "ffffffffffffffff");
    EXPECT_EQ(printed("%Ld", LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(printed("%Zu", std::size_t(7)), "7");
    EXPECT_EQ(printed("%lu", ULONG_MAX), std::to_string(ULONG_MAX));
    EXPECT_EQ(printed("%zd", ~std::size_t(0)), "-1");
}

TEST(ZkStringPrintf, PrintsDoublesAsTheCLibrary)
{
    std::mt19937_64 random(61);
    for (int i = scaledRounds(300000); i > 0; --i) {
        double value;
        const std::uint64_t bits = random();
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value) || random() % 2 == 0) {
            value = static_cast<double>(random() % 20000000) / 1000 - 10000;
        }
        const std::string directive =
            randomDirective(random, " #+-0", std::string(1, "eEfFgGaA"[random() % 8]));
        ASSERT_EQ(printed(directive.c_str(), value), expectedOf(directive.c_str(), value))
            << directive << std::hexfloat << " of " << value;
    }
}

TEST(ZkStringPrintf, PrintsInfinityWithSignsAndBlanks)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const char *directive : {"%f", "%F", "%e", "%G", "%a", "%A", "%+f", "% g", "%8f", "%-8e|",
                                  "%08f", "%+08a", "%.3f"}) {
        EXPECT_EQ(printed(directive, kInfinity), expectedOf(directive, kInfinity)) << directive;
        EXPECT_EQ(printed(directive, -kInfinity), expectedOf(directive, -kInfinity)) << directive;
    }
    EXPECT_EQ(printed("%f|%+6E|%-5g|", std::nan(""), std::nan(""), std::nan("")),
              "nan|   NAN|nan  |");
}

TEST(ZkStringPrintf, PrintsHexadecimalDoubles)
{
    const double values[] = {0.0,     -0.0,   1,      1.5,    -2,      0.1,     DBL_MAX,
                             DBL_MIN, 5e-324, 1e-310, 1.9999, 0x1.fp0, 0x1.8p0, 0x1.08p0};
    for (const double value : values) {
        for (const char *directive : {"%a", "%A", "%.0a", "%.1a", "%.2a", "%.12a", "%.13a", "%.20a",
                                      "%#.0a", "%#a", "%20a", "%020a", "%-20a|", "%+a", "% a"}) {
            EXPECT_EQ(printed(directive, value), expectedOf(directive, value)) << directive;
        }
    }
}

TEST(ZkStringPrintf, ReadsLongDoubles)
{
    EXPECT_EQ(printed("%Lf|%.1Le|%Lg", 1.5L, 12345.0L, -0.25L), "1.500000|1.2e+04|-0.25");
    EXPECT_EQ(printed("%La", 1.5L), "0x1.8p+0");
}

TEST(ZkStringPrintf, LongDoublesAreReadToTheNearestInEveryRoundingMode)
{
    for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::fesetround(mode);
        const std::string text = printed("%.17Lg %.17Lg %.17Lg", 0.1L, 0.3L, -0.3L);
        const int after = std::fegetround();
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(text, expectedOf("%.17g %.17g %.17g", 0.1, 0.3, -0.3)) << mode;
        EXPECT_EQ(after, mode) << "the host's mode stays";
    }
}

TEST(ZkStringPrintf, ShowsAtLeastOneDigitAndThePrefixOfZero)
{
    EXPECT_EQ(printed("%.0d", 0), "0");
    EXPECT_EQ(printed("%.d", 0), "0");
    EXPECT_EQ(printed("%.0u", 0), "0");
    EXPECT_EQ(printed("%#x", 0), "0x0");
    EXPECT_EQ(printed("%#X", 0), "0X0");
    EXPECT_EQ(printed("%#o", 0), "0");
    EXPECT_EQ(printed("%#x %#X %#o", 255, 255, 8), "0xff 0XFF 010");
}

TEST(ZkStringPrintf, UnsignedNumbersHaveNoSign)
{
    EXPECT_EQ(printed("%+u|% u|%+x|% o", 5, 5, 5, 5), "5|5|5|5");
}

TEST(ZkStringPrintf, GroupsByTheSeparatorOfTheLocale)
{
    const LocaleSymbols restored;
    EXPECT_EQ(printed("%'d", 1234567), "1,234,567");
    EXPECT_EQ(printed("%'d", -1234), "-1,234");
    EXPECT_EQ(printed("%'u", 4294967295U), "4,294,967,295");
    EXPECT_EQ(printed("%'x", 0x123456), "123456");
    EXPECT_EQ(printed("%'.2f", 1234567.125), "1,234,567.12");
    EXPECT_EQ(printed("%'.2e", 1234567.0), "1.23e+06");
    EXPECT_EQ(printed("%'10d|%-'10d|%0'10d", 1234, 1234, 1234), "     1,234|1,234     |000001,234");
    ZkLocale::mGroupSeparator = '_';
    ZkLocale::mDecimal = 'd';
    ZkLocale::mZeroDigit = 0x660;
    EXPECT_EQ(printed("%'.1f %.1f %d", 1234.5, 1234.5, 1234), "1_234.5 1234.5 1234")
        << "the other symbols stay those of ASCII";
}

TEST(ZkStringPrintf, PrintsCharacters)
{
    EXPECT_EQ(printed("%c|%3c|%-3c|", 'a', 'b', 'c'), "a|  b|c  |");
    ZkString text;
    text.sprintf("%c%lc%c", 0x1E9, 0x628, -23);
    const ZkUcs2 units[] = {0xE9, 0x628, 0xE9};
    EXPECT_EQ(text, ZkString(units, 3)) << "one byte each, one unit with 'l'";
    text.sprintf("a%cb", 0);
    EXPECT_EQ(text.size(), 3);
}

TEST(ZkStringPrintf, PrintsTexts)
{
    EXPECT_EQ(printed("%s|%5s|%-5s|", "ab", "ab", "ab"), "ab|   ab|ab   |");
    EXPECT_EQ(printed("%.1s|%.0s|%.s|%.9s", "ab", "ab", "ab", "ab"), "a|||ab");
    EXPECT_EQ(printed("%4.1s|", "ab"), "   a|");
    // UTF-8: the precision counts bytes, the width counts units.
    EXPECT_EQ(printed("%s|%3s|", "\xC3\xA9", "\xC3\xA9"), "\xC3\xA9|  \xC3\xA9|");
    EXPECT_EQ(printed("%.3s|", "a\xC3\xA9z"), "a\xC3\xA9|");
    EXPECT_EQ(printed("%.2s|", "a\xC3\xA9z"), "a|") << "a cut sequence is left out";
    const char unterminated[] = {'a', 'b', 'c'};
    EXPECT_EQ(printed("%.3s", unterminated), "abc") << "no byte behind the precision is read";
    const ZkUcs2 units[] = {0x628, 'x', 0};
    EXPECT_EQ(printed("%ls|%4ls|%.1ls|", units, units, units), "\xD8\xA8x|  \xD8\xA8x|\xD8\xA8|");
    const ZkUcs2 open[] = {'x', 'y'};
    EXPECT_EQ(printed("%.2ls", open), "xy");
    const char *none = nullptr;
    EXPECT_EQ(printed("%s|%8s|%ls", none, none, none), "(null)|  (null)|(null)");
}

TEST(ZkStringPrintf, PrintsPointers)
{
    EXPECT_EQ(printed("%p", reinterpret_cast<void *>(0x1aBcU)), "0x1abc");
    EXPECT_EQ(printed("%p|%8p|%-8p|", nullptr, nullptr, nullptr), "0x0|     0x0|0x0     |");
}

TEST(ZkStringPrintf, StoresHowManyUnitsThereAre)
{
    signed char c = 0;
    short s = 0;
    int i = 0;
    long l = 0;
    long long ll = 0;
    std::intmax_t j = 0;
    std::size_t z = 0;
    std::ptrdiff_t t = 0;
    EXPECT_EQ(printed("%na%hhnb%hnc%lnd%llne%jnf%zng%tn", &i, &c, &s, &l, &ll, &j, &z, &t),
              "abcdefg");
    EXPECT_EQ(i, 0);
    EXPECT_EQ(c, 1);
    EXPECT_EQ(s, 2);
    EXPECT_EQ(l, 3);
    EXPECT_EQ(ll, 4);
    EXPECT_EQ(j, 5);
    EXPECT_EQ(z, 6U);
    EXPECT_EQ(t, 7);
    int *none = nullptr;
    EXPECT_EQ(printed("ab%nc", none), "abc");
    EXPECT_EQ(printed("%s%10n|", "\xC3\xA9", &i), "\xC3\xA9|");
    EXPECT_EQ(i, 1) << "units, not bytes";
}

TEST(ZkStringPrintf, TakesWidthAndPrecisionFromTheArguments)
{
    EXPECT_EQ(printed("%*d|%*d|", 5, 42, -5, 42), "   42|42   |");
    EXPECT_EQ(printed("%.*f|%.*f", 2, 1.5, -1, 1.5), "1.50|1.500000");
    EXPECT_EQ(printed("%*.*s|", 6, 2, "abc"), "    ab|");
    EXPECT_EQ(printed("%.*s|", INT_MIN, "abc"), "abc|") << "a negative precision is none";
}

TEST(ZkStringPrintf, WidthAndPrecisionEnd)
{
    volatile int most = INT_MAX, least = INT_MIN; // which no compiler looks into
    constexpr int kMost = 1048576;
    ZkString text;
    EXPECT_EQ(text.sprintf("%*d", most, 5).size(), kMost);
    EXPECT_EQ(text.sprintf("%*d", least, 5).size(), kMost);
    EXPECT_EQ(text.at(0), '5');
    EXPECT_EQ(text.sprintf(ZkByteArray("%99999999999999999999d").constData(), 5).size(), kMost);
    EXPECT_EQ(text.sprintf(ZkByteArray("%.2147483647d").constData(), 5).size(), kMost);
    EXPECT_EQ(text.sprintf("%.*f", most, 0.5).size(), kMost + 2);
    EXPECT_EQ(text.sprintf("%.*a", most, 0.5).size(), kMost + 7); // 0x1. and p-1
}

TEST(ZkStringPrintf, WhatIsNoDirectiveIsText)
{
    const struct {
        const char *what, *format, *text;
    } kRows[] = {
        {"cut off at once", "a%", "a%"},
        {"cut off in the flags", "a%-+", "a%-+"},
        {"cut off in the width", "a%12", "a%12"},
        {"cut off at the precision", "a%5.", "a%5."},
        {"cut off in the modifier", "a%ll", "a%ll"},
        {"an unknown letter", "a%qb", "a%qb"},
        {"an unknown letter behind all the rest", "%-5.3lq|", "%-5.3lq|"},
        {"three times l", "%llld", "%llld"},
        {"a flag behind the width", "%5-d", "%5-d"},
        {"what ends it may begin a directive", "%5%%", "%5%"},
        {"the next directive works", "%y%d", "%y7"},
        {"a high byte is none", "%\xE9", "%\xC3\xA9"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(printed(row.format, 7), row.text);
    }
}

TEST(ZkStringPrintf, FlagsMayBeRepeatedInAnyOrder)
{
    EXPECT_EQ(printed("%0-+ #5d|", 7), expectedOf("%0-+ #5d|", 7));
    EXPECT_EQ(printed("%++00+5d|", 7), "+0007|");
}

TEST(ZkStringPrintf, LongTextLeavesTheBuffer)
{
    const std::string long1(1000, 'x');
    EXPECT_EQ(printed("%s%d%s", long1.c_str(), 5, long1.c_str()), long1 + "5" + long1);
    EXPECT_EQ(printed("%500d|%-500d|", 1, 2), expectedOf("%500d|%-500d|", 1, 2));
    EXPECT_EQ(printed("%.400f", 1.0 / 3), expectedOf("%.400f", 1.0 / 3));
    EXPECT_EQ(printed("%0400.3f", -1.0 / 3), expectedOf("%0400.3f", -1.0 / 3));
    EXPECT_EQ(printed("%f", DBL_MAX), expectedOf("%f", DBL_MAX));
}
