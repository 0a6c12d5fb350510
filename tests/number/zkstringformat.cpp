#include "localesymbols.h"
#include "rounds.h"

#include <zkstring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{

const char kMissing[] = "ZkString::arg(): %x argument missing\n";

// What a call prints on standard output.
template <typename Call>
std::string printedBy(Call call)
{
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

ZkString u(const char16_t *text)
{
    return ZkString(std::u16string_view(text));
}

} // namespace

TEST(ZkStringArg, ReplacesAllEscapesOfTheLowestNumber)
{
    const struct {
        const char *what, *text, *result;
    } kRows[] = {
        {"one", "%1", "x"},
        {"twice", "%1 %2 %1", "x %2 x"},
        {"the lowest need not come first", "%3 %2 %3", "%3 x %3"},
        {"zero is the lowest of all", "%1%0%00", "%1xx"},
        {"two digits", "%10", "x"},
        {"a third digit is text", "%100", "x0"},
        {"ninety-nine", "%99", "x"},
        {"a leading zero is a digit", "%01 %1", "x x"},
        {"ten does not stand in for one", "%10 %1", "%10 x"},
        {"the locale marker", "%L1", "x"},
        {"marked and plain", "%L1 %1", "x x"},
        {"marked escapes have two digits too", "%L12", "x"},
        {"a small l is no marker", "%l1 %1", "%l1 x"},
        {"two markers are none", "%LL1 %1", "%LL1 x"},
        {"a percent sign at the end", "%1%", "x%"},
        {"a marker at the end", "%1%L", "x%L"},
        {"a percent sign behind another begins nothing", "%%1 %2", "%%1 x"},
        {"a third one does", "%%%1", "%%x"},
        {"nor does one behind a marker", "%L%1 %2", "%L%1 x"},
        {"letters follow at once", "a%1b", "axb"},
        {"escapes follow at once", "%1%1%1", "xxx"},
        {"four of them", "%1 %2 %1 %1 %1 %3", "x %2 x x x %3"},
        {"five", "%1 %2 %1 %1 %1 %3 %1 %4", "x %2 x x x %3 x %4"},
        {"ten, marked and plain", "%1%L1%1%L1%1%L1%1%L1%1%L1%2%L2", "xxxxxxxxxx%2%L2"},
        {"of a lower number behind five", "%2%2%2%2%2%1%2%1", "%2%2%2%2%2x%2x"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(ZkString(row.text).arg("x"), ZkString(row.result));
    }
}

TEST(ZkStringArg, AnyDecimalDigitMakesAnEscape)
{
    EXPECT_EQ(u(u"%\u0661").arg("x"), ZkString("x"));       // Arabic-Indic one
    EXPECT_EQ(u(u"%\u06612 %13").arg("x"), u(u"x %13"));    // 12 in two scripts
    EXPECT_EQ(u(u"%\u00B2 %3").arg("x"), ZkString("x %3")); // superscript two
    EXPECT_EQ(u(u"%\u2160 %3").arg("x"), u(u"%\u2160 x"));  // a Roman number is none
}

TEST(ZkStringArg, PadsToTheFieldWidth)
{
    const ZkString text("<%1>");
    EXPECT_EQ(text.arg("ab", 4, '.'), ZkString("<..ab>"));
    EXPECT_EQ(text.arg("ab", -4, '.'), ZkString("<ab..>"));
    EXPECT_EQ(text.arg("ab", 4), ZkString("<  ab>"));
    EXPECT_EQ(text.arg("ab", 2, '.'), ZkString("<ab>"));
    EXPECT_EQ(text.arg("abc", -2, '.'), ZkString("<abc>"));
    EXPECT_EQ(text.arg("", 3, '.'), ZkString("<...>"));
    EXPECT_EQ(text.arg("", 0, '.'), ZkString("<>"));
    EXPECT_EQ(text.arg("a", 3, ZkUcs2(0x2026)), u(u"<\u2026\u2026a>"));
    EXPECT_EQ(text.arg("a", 2, '\xE9'), u(u"<\u00E9a>")) << "a char is zero-extended";
    EXPECT_EQ(ZkString("%1%1").arg("a", 3, '.'), ZkString("..a..a"));
    EXPECT_TRUE(ZkString("%1").arg("").isEmpty());
}

TEST(ZkStringArg, ResultHasItsFinalLengthAtOnce)
{
    const ZkString result = ZkString("%1 of %1").arg("three");
    EXPECT_EQ(result.size(), 14);
    EXPECT_EQ(result.capacity(), 15);
}

TEST(ZkStringArg, TextWithoutAnEscapeComesBackSharedWithAMessage)
{
    const ZkString text("abc");
    ZkString result;
    const auto expectMissing = [&](auto call) {
        EXPECT_EQ(printedBy([&] { result = call(); }), kMissing);
        EXPECT_TRUE(result.isSharedWith(text));
    };
    expectMissing([&] { return text.arg("x"); });
    expectMissing([&] { return text.arg('x'); });
    expectMissing([&] { return text.arg(ZkUcs2('x')); });
    expectMissing([&] { return text.arg(1); });
    expectMissing([&] { return text.arg(1U); });
    expectMissing([&] { return text.arg(1L); });
    expectMissing([&] { return text.arg(1UL); });
    expectMissing([&] { return text.arg(1LL); });
    expectMissing([&] { return text.arg(1ULL); });
    expectMissing([&] { return text.arg(1.5); });
    for (const char *none : {"", "%", "%L", "%%", "%x1", "%%1", "100%"}) {
        EXPECT_EQ(printedBy([&] { result = ZkString(none).arg("x"); }), kMissing) << none;
        EXPECT_EQ(result, ZkString(none));
    }
    EXPECT_EQ(printedBy([] { ZkString("%1").arg("x"); }), "");
}

TEST(ZkStringArg, MayBePutIntoItself)
{
    ZkString text("<%1>");
    text = text.arg(text);
    EXPECT_EQ(text, ZkString("<<%1>>"));
}

TEST(ZkStringArg, WritesIntegersOfEveryType)
{
    const ZkString text("%1");
    EXPECT_EQ(text.arg(-5), ZkString("-5"));
    EXPECT_EQ(text.arg(short(-5)), ZkString("-5"));
    EXPECT_EQ(text.arg(UINT_MAX), ZkString("4294967295"));
    EXPECT_EQ(text.arg(0), ZkString("0"));
    EXPECT_EQ(text.arg(-5L), ZkString("-5"));
    EXPECT_EQ(text.arg(5UL), ZkString("5"));
    EXPECT_EQ(text.arg(LLONG_MIN), ZkString("-9223372036854775808"));
    EXPECT_EQ(text.arg(ULLONG_MAX), ZkString("18446744073709551615"));
    EXPECT_EQ(text.arg(true), ZkString("1"));
    EXPECT_EQ(text.arg('5'), ZkString("5"));
    EXPECT_EQ(text.arg('a'), ZkString("a")) << "a char is a character";
    EXPECT_EQ(text.arg('\xE9'), u(u"\u00E9"));
    EXPECT_EQ(text.arg(ZkUcs2(0x628)), u(u"\u0628"));
    EXPECT_EQ(text.arg('a', 3, '.'), ZkString("..a"));
    EXPECT_EQ(text.arg(ZkUcs2('a'), -3, '.'), ZkString("a.."));
}

TEST(ZkStringArg, WritesIntegersInABase)
{
    const ZkString text("%1");
    EXPECT_EQ(text.arg(255, 0, 16), ZkString("ff"));
    EXPECT_EQ(text.arg(255, 6, 16, '.'), ZkString("....ff"));
    EXPECT_EQ(text.arg(255, -6, 16, '.'), ZkString("ff...."));
    EXPECT_EQ(text.arg(5U, 0, 2), ZkString("101"));
    EXPECT_EQ(text.arg(-1, 0, 16), ZkString("ffffffffffffffff"));
    EXPECT_EQ(text.arg(-1, 0, 1), ZkString("-1")) << "base 1 is 10";
    EXPECT_EQ(text.arg(35LL, 0, 36), ZkString("z"));
    EXPECT_EQ(text.arg(35LL, 0, 37), ZkString("35"));
}

TEST(ZkStringArg, FillZeroPadsBehindTheSign)
{
    const ZkString text("%1");
    EXPECT_EQ(text.arg(-5, 4, 10, '0'), ZkString("-005"));
    EXPECT_EQ(text.arg(5, 4, 10, '0'), ZkString("0005"));
    EXPECT_EQ(text.arg(5ULL, 4, 10, '0'), ZkString("0005"));
    EXPECT_EQ(text.arg(-5, -4, 10, '0'), ZkString("-500")) << "behind the text it is plain padding";
    EXPECT_EQ(text.arg(-5, 4, 10, '*'), ZkString("**-5"));
    EXPECT_EQ(text.arg(255, 4, 16, '0'), ZkString("00ff"));
    EXPECT_EQ(text.arg(-1.5, 6, 'f', 1, '0'), ZkString("-001.5"));
    EXPECT_EQ(text.arg(-1.5, 6, 'f', 1, '*'), ZkString("**-1.5"));
    EXPECT_EQ(text.arg(-5, 4, 10, ZkUcs2('0')), ZkString("-005"));
}

TEST(ZkStringArg, WritesDoubles)
{
    const ZkString text("%1");
    EXPECT_EQ(text.arg(1.5), ZkString("1.5"));
    EXPECT_EQ(text.arg(1.5F), ZkString("1.5"));
    EXPECT_EQ(text.arg(1234567.0), ZkString("1.23457e+06"));
    EXPECT_EQ(text.arg(1234567.0, 0, 'f', 2), ZkString("1234567.00"));
    EXPECT_EQ(text.arg(1234567.0, 0, 'E', 1), ZkString("1.2E+06"));
    EXPECT_EQ(text.arg(1.5, 8, 'e', 1), ZkString(" 1.5e+00"));
    EXPECT_EQ(text.arg(1.5, 0, '?'), ZkString("1.5")) << "an unknown letter is 'g'";
    EXPECT_EQ(text.arg(std::numeric_limits<double>::infinity(), 5, 'f', 1), ZkString("  inf"));
}

TEST(ZkStringArg, MarkedEscapesGetTheFormOfTheLocale)
{
    const LocaleSymbols restored;
    EXPECT_EQ(ZkString("%L1 %1").arg(1234567), ZkString("1,234,567 1234567"));
    EXPECT_EQ(ZkString("%L1").arg(1234567ULL), ZkString("1,234,567"));
    EXPECT_EQ(ZkString("%L1 %1").arg(1234.5, 0, 'f', 1), ZkString("1,234.5 1234.5"));
    EXPECT_EQ(ZkString("%L1|%1").arg(1234, 7), ZkString("  1,234|   1234"));
    EXPECT_EQ(ZkString("%L1|%1").arg(1234, 7, 10, '0'), ZkString("001,234|0001234"));
    EXPECT_EQ(ZkString("%L1").arg(0x123456, 0, 16), ZkString("123456"));
    ZkLocale::mNumberOptions = ZkLocale::OmitGroupSeparators;
    EXPECT_EQ(ZkString("%L1").arg(1234567), ZkString("1234567"));
    ZkLocale::mNumberOptions = 0;
    LocaleSymbols::setArabic();
    ZkLocale::mNegativeSign = 0x2212;
    EXPECT_EQ(ZkString("%L1 %1").arg(-1234.5, 0, 'f', 1),
              u(u"\u2212\u0661\u066C\u0662\u0663\u0664\u066B\u0665 -1234.5"));
    EXPECT_EQ(ZkString("%L1").arg(5, 3, 10, '0'), u(u"\u0660\u0660\u0665"));
    EXPECT_EQ(ZkString("%L1").arg("5"), ZkString("5")) << "a text has one form";
}

TEST(ZkStringArg, AWidthBeyondMemoryStopsTheProcess)
{
    EXPECT_DEATH(ZkString("%1").arg("x", INT_MIN), "no memory for");
    EXPECT_DEATH(ZkString("%1").arg(5, INT_MAX), "no memory for");
}

TEST(ZkStringArg, ReplacesAsAModelDoes)
{
    std::mt19937 random(40);
    const std::string alphabet = "%%%%L0123ab";
    for (int i = scaledRounds(100000); i > 0; --i) {
        std::string text;
        for (auto n = random() % 14; n > 0; --n) {
            text += alphabet[random() % alphabet.size()];
        }
        const int width = static_cast<int>(random() % 9) - 4;
        // Read all escapes into pieces, then replace those of the lowest number.
        struct Piece {
            std::string text;
            int number;
        };
        std::vector<Piece> pieces;
        int lowest = 100;
        for (std::size_t at = 0; at < text.size();) {
            std::size_t behind = at + 1;
            int number = -1;
            if (text[at] == '%') {
                behind += behind < text.size() && text[behind] == 'L';
                if (behind < text.size()) {
                    const char first = text[behind++];
                    if (std::isdigit(first) != 0) {
                        number = first - '0';
                        if (behind < text.size() && std::isdigit(text[behind]) != 0) {
                            number = number * 10 + (text[behind++] - '0');
                        }
                        lowest = std::min(lowest, number);
                    }
                }
            }
            pieces.push_back({text.substr(at, behind - at), number});
            at = behind;
        }
        std::string padded = "xy";
        const std::size_t padding = static_cast<std::size_t>(std::max(std::abs(width) - 2, 0));
        padded.insert(width > 0 ? 0 : padded.size(), padding, '.');
        std::string expected;
        for (const Piece &piece : pieces) {
            expected += piece.number == lowest ? padded : piece.text;
        }
        ZkString result;
        const std::string printed =
            printedBy([&] { result = ZkString(text.c_str()).arg("xy", width, '.'); });
        ASSERT_EQ(result.toStdString(), expected) << text;
        ASSERT_EQ(printed, lowest == 100 ? kMissing : "") << text;
    }
}

// More occurrences than are noted on the way, and results longer than are built in place.
TEST(ZkStringArg, ReplacesAnyNumberOfEscapesOfAnyLength)
{
    for (int escapes = 1; escapes < 12; ++escapes) {
        for (const int length : {0, 1, 9, 31, 32, 33, 127, 128, 129, 1000}) {
            SCOPED_TRACE(testing::Message() << escapes << " of " << length);
            const std::string value(static_cast<std::size_t>(length), 'v');
            std::string text = "[", expected = "[";
            for (int i = 0; i < escapes; ++i) {
                text += i % 3 == 1 ? "%L1-%2" : "%1-%3";
                expected += value + (i % 3 == 1 ? "-%2" : "-%3");
            }
            EXPECT_EQ(ZkString(text.c_str()).arg(ZkString(value.c_str())).toStdString(), expected);
        }
    }
    const std::string wide = ZkString("<%1|%1>").arg("x", -100, '.').toStdString();
    EXPECT_EQ(wide, "<x" + std::string(99, '.') + "|x" + std::string(99, '.') + ">");
    EXPECT_EQ(ZkString("%1").arg("x", 300, '.').toStdString(), std::string(299, '.') + "x");
}

namespace
{

// `multiArg` with texts from a list; "" stands for a null pointer.
ZkString multi(const ZkString &text, const std::vector<std::string> &arguments)
{
    std::vector<ZkString> strings;
    std::vector<const ZkString *> pointers;
    for (const std::string &argument : arguments) {
        strings.emplace_back(argument.c_str());
    }
    for (std::size_t i = 0; i < strings.size(); ++i) {
        pointers.push_back(arguments[i].empty() ? nullptr : &strings[i]);
    }
    return text.multiArg(static_cast<int>(pointers.size()), pointers.data());
}

} // namespace

TEST(ZkStringMultiArg, SubstitutesInOnePass)
{
    const struct {
        const char *what, *text;
        std::vector<std::string> arguments;
        const char *result;
        bool message;
    } kRows[] = {
        {"in order", "%1 %2", {"a", "b"}, "a b", false},
        {"by number, not by place", "%2 %1", {"a", "b"}, "b a", false},
        {"any numbers", "%7 %30 %8", {"a", "b", "c"}, "a c b", false},
        {"again and again", "%1%1%2", {"a", "b"}, "aab", false},
        {"arguments are not looked into", "%1 %2", {"%2", "b"}, "%2 b", false},
        {"a null text is empty", "<%1>", {""}, "<>", false},
        {"three digits", "%999", {"a"}, "a", false},
        {"four digits are no escape", "%1000 %1", {"a"}, "%1000 a", false},
        {"a number no int holds is none",
         "%99999999999999999999 %1",
         {"a"},
         "%99999999999999999999 a",
         false},
        {"leading zeros do not count", "%00001", {"a"}, "a", false},
        {"the marker is taken along", "%L1 %1", {"a"}, "a a", false},
        {"a percent sign before an escape is text", "%%1", {"a"}, "%a", false},
        {"a marker without digits is text", "%L%1", {"a"}, "%La", false},
        {"a percent sign at the end", "%1%", {"a"}, "a%", false},
        {"a marker at the end", "%1%L", {"a"}, "a%L", false},
        {"fewer arguments: the higher numbers stay", "%1 %2 %3", {"a"}, "a %2 %3", false},
        {"fewer numbers than arguments", "%1", {"a", "b"}, "a", true},
        {"no escape at all", "abc", {"a"}, "abc", true},
        {"an empty text", "", {"a"}, "", true},
        {"no arguments", "%1", {}, "%1", false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkString result;
        const std::string printed =
            printedBy([&] { result = multi(ZkString(row.text), row.arguments); });
        EXPECT_EQ(result.toStdString(), row.result);
        EXPECT_EQ(printed, row.message ? kMissing : "");
    }
}

TEST(ZkStringMultiArg, OnlyAsciiDigitsMakeAnEscape)
{
    EXPECT_EQ(multi(u(u"%\u0661 %1\u0662"), {"a"}), u(u"%\u0661 a\u0662"));
}

TEST(ZkStringMultiArg, TakesOddCountsAndNoArray)
{
    const ZkString text("%1 %2");
    ZkString result;
    EXPECT_EQ(printedBy([&] { result = text.multiArg(-1, nullptr); }), "");
    EXPECT_EQ(result, text);
    EXPECT_EQ(printedBy([&] { result = text.multiArg(2, nullptr); }), "");
    EXPECT_EQ(result, ZkString(" "));
    EXPECT_EQ(printedBy([&] { result = text.multiArg(INT_MAX, nullptr); }), kMissing);
    EXPECT_EQ(result, ZkString(" "));
}

TEST(ZkStringMultiArg, NumbersManyArguments)
{
    ZkString text;
    std::vector<std::string> arguments;
    std::string expected;
    for (int i = 999; i >= 0; --i) {
        text.append('%').append(ZkString::number(i)).append(',');
        arguments.push_back("v" + std::to_string(999 - i));
        expected += "v" + std::to_string(i) + ",";
    }
    EXPECT_EQ(multi(text, arguments).toStdString(), expected);
}

TEST(ZkString, JustifiesToTheLeftAndToTheRight)
{
    const ZkString text("abc");
    EXPECT_EQ(text.leftJustified(6, '.'), ZkString("abc..."));
    EXPECT_EQ(text.rightJustified(6, '.'), ZkString("...abc"));
    EXPECT_EQ(text.leftJustified(4), ZkString("abc "));
    EXPECT_EQ(text.rightJustified(4), ZkString(" abc"));
    EXPECT_EQ(text.leftJustified(4, '\xE9'), u(u"abc\u00E9"));
    EXPECT_EQ(text.rightJustified(4, ZkUcs2(0x628)), u(u"\u0628abc"));
    EXPECT_EQ(text.leftJustified(2, '.', true), ZkString("ab"));
    EXPECT_EQ(text.rightJustified(2, '.', true), ZkString("ab"));
    EXPECT_EQ(text.leftJustified(0, '.', true), ZkString());
    EXPECT_EQ(ZkString().leftJustified(2, '.'), ZkString(".."));
    EXPECT_EQ(ZkString().rightJustified(2, '.'), ZkString(".."));
    EXPECT_EQ(text.leftJustified(6).capacity(), 7);
}

TEST(ZkString, JustifyingWhatIsWideEnoughShares)
{
    const ZkString text("abc");
    for (const int width : {3, 2, 0, -1, INT_MIN}) {
        EXPECT_TRUE(text.leftJustified(width).isSharedWith(text)) << width;
        EXPECT_TRUE(text.rightJustified(width).isSharedWith(text)) << width;
    }
    EXPECT_TRUE(text.leftJustified(3, '.', true).isSharedWith(text));
    EXPECT_TRUE(text.leftJustified(-1, '.', true).isSharedWith(text)) << "as left(-1)";
    EXPECT_DEATH(text.leftJustified(INT_MAX), "no memory for");
}
