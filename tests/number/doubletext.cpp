// Doubles into text and back, bit for bit as the C library converts them.

#include "rounds.h"

#include <zklocale.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{

using L = ZkLocale;

std::uint64_t bitsOf(double value)
{
    std::uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

double doubleOf(std::uint64_t bits)
{
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

// What printf makes of a value in the form of each letter.
std::string printed(double value, int precision, char letter)
{
    const char format[] = {'%', '.', '*', letter, '\0'};
    char buffer[2500];
    const int n = std::snprintf(buffer, sizeof buffer, format, precision, value);
    return std::string(buffer, static_cast<std::size_t>(n));
}

const char kLetters[] = {'e', 'f', 'g'}; // of the three forms

bool sameText(const ZkString &ours, const char *text, int size)
{
    return ours.size() == size && std::equal(ours.begin(), ours.end(), text);
}

testing::AssertionResult writtenAsPrinted(double value, int precision, int form)
{
    const ZkString text = L::doubleToString('0', '+', '-', 'e', ',', '.', value, precision,
                                            static_cast<L::DoubleForm>(form), 0, 0);
    const char format[] = {'%', '.', '*', kLetters[form], '\0'};
    char expected[2500];
    const int n = std::snprintf(expected, sizeof expected, format, precision, value);
    if (sameText(text, expected, n)) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << text << " for " << expected << ", " << std::hexfloat
                                       << value << " with precision " << precision;
}

testing::AssertionResult readAsByStrtod(const std::string &text)
{
    const double expected = std::strtod(text.c_str(), nullptr);
    const bool fits = std::isfinite(expected);
    bool ok = false, okAgain = false;
    const double value = L::bytearrayToDouble(text.c_str(), &ok, nullptr);
    // The reader of strings has a way of its own for short numbers.
    const double again = L::stringToDouble(text.c_str(), &okAgain, L::RefuseGroupSeparators);
    const std::uint64_t bits = fits ? bitsOf(expected) : 0;
    if (ok == fits && okAgain == fits && bitsOf(value) == bits && bitsOf(again) == bits) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << std::hexfloat << value << " and " << again << " for " << expected << ", " << text;
}

// An exact decimal number: digits, the last of them worth 10^exponent.
struct Decimal {
    std::vector<int> digits;
    int exponent;

    void twice()
    {
        int carry = 0;
        for (std::size_t i = digits.size(); i-- > 0;) {
            const int sum = 2 * digits[i] + carry;
            digits[i] = sum % 10;
            carry = sum / 10;
        }
        if (carry != 0) {
            digits.insert(digits.begin(), carry);
        }
    }

    void half()
    {
        if (digits.back() % 2 != 0) {
            digits.push_back(0);
            --exponent;
        }
        int rest = 0;
        for (int &digit : digits) {
            const int value = rest * 10 + digit;
            digit = value / 2;
            rest = value % 2;
        }
    }

    std::string text() const
    {
        std::string out;
        for (const int digit : digits) {
            out += static_cast<char>('0' + digit);
        }
        out.erase(0, std::min(out.find_first_not_of('0'), out.size() - 1));
        return out + "e" + std::to_string(exponent);
    }
};

// The middle between a positive finite double and the next one above.
Decimal middleAbove(double value)
{
    const std::uint64_t bits = bitsOf(value);
    const std::uint64_t fraction = bits & 0xFFFFFFFFFFFFFU;
    const int biased = static_cast<int>(bits >> 52);
    const std::uint64_t mantissa = biased == 0 ? fraction : fraction | std::uint64_t(1) << 52;
    int exponent = std::max(biased, 1) - 1075 - 1;
    Decimal middle{{}, 0};
    for (const char c : std::to_string(2 * mantissa + 1)) {
        middle.digits.push_back(c - '0');
    }
    for (; exponent > 0; --exponent) {
        middle.twice();
    }
    for (; exponent < 0; ++exponent) {
        middle.half();
    }
    return middle;
}

// Numbers at which conversions go wrong.
std::vector<double> hardDoubles()
{
    std::vector<double> values = {0.0,
                                  DBL_MIN,
                                  DBL_MAX,
                                  DBL_EPSILON,
                                  std::numeric_limits<double>::denorm_min(),
                                  doubleOf(0x000FFFFFFFFFFFFF),
                                  doubleOf(0x7FE0000000000000),
                                  9007199254740991.0,
                                  9007199254740992.0,
                                  9007199254740993.0,
                                  5e-324,
                                  1.2345e-310,
                                  9.5,
                                  9.95,
                                  99.5,
                                  0.5,
                                  1.5,
                                  2.5,
                                  3.5,
                                  0.125,
                                  0.375,
                                  25,
                                  35,
                                  1234565,
                                  999999.5,
                                  9999999.5,
                                  0.1,
                                  0.2,
                                  0.3,
                                  123456789012345678.0,
                                  2.2250738585072011e-308,
                                  6.9294956446009195e15,
                                  8.41e21,
                                  9.109e-31,
                                  4.708356024711512e18,
                                  9.409340012568248e18};
    for (int e = -1074; e <= 1023; ++e) {
        const double power = std::ldexp(1.0, e);
        values.push_back(power);
        values.push_back(std::nextafter(power, 0.0));
        values.push_back(std::nextafter(power, DBL_MAX));
    }
    for (int e = -324; e <= 308; ++e) {
        const double power = std::strtod(("1e" + std::to_string(e)).c_str(), nullptr);
        values.push_back(power);
        values.push_back(std::nextafter(power, 0.0));
        values.push_back(std::nextafter(power, DBL_MAX));
    }
    return values;
}

double randomDouble(std::mt19937_64 &random)
{
    for (;;) {
        const double value = doubleOf(random());
        if (std::isfinite(value)) {
            return value;
        }
    }
}

} // namespace

TEST(DoubleText, HardNumbersAreWrittenAsPrinted)
{
    const std::vector<double> values = hardDoubles();
    std::mt19937 random(30);
    for (const double value : values) {
        for (int form = 0; form < 3; ++form) {
            for (const int precision : {0, 1, 2, 6, 15, 16, 17, 18, 20}) {
                if (!kSlowTests || random() % 10 == 0) {
                    ASSERT_TRUE(writtenAsPrinted(value, precision, form));
                    ASSERT_TRUE(writtenAsPrinted(-value, precision, form));
                }
            }
        }
    }
}

// Doubles so near to a short number that their digits go on with nines or zeros for longer
// than a division step yields.
TEST(DoubleText, NumbersBesideShortOnesAreWrittenAsPrinted)
{
    const char *const numbers[] = {"1e153",
                                   "1e80",
                                   "1e303",
                                   "7e-304",
                                   "7e-303",
                                   "9e306",
                                   "9e43",
                                   "5e302",
                                   "755e174",
                                   "302e175",
                                   "1617e-63",
                                   "1879e-273",
                                   "1373e-176",
                                   "1327e-148",
                                   "1803e62",
                                   "1.11476588e-240",
                                   "1.39345735e-241",
                                   "9.71212611e-118",
                                   "2.82926897e-219",
                                   "2.29058583e60"};
    for (const char *number : numbers) {
        const double value = std::strtod(number, nullptr);
        for (const double beside :
             {value, -value, std::nextafter(value, 0.0), std::nextafter(value, DBL_MAX)}) {
            for (int precision = 0; precision < 60; ++precision) {
                ASSERT_TRUE(writtenAsPrinted(beside, precision, 0)) << number;
                ASSERT_TRUE(writtenAsPrinted(beside, precision, 2)) << number;
            }
        }
    }
    // Halves of the last digit asked for, which only the first digits that follow settle.
    for (int e = 1; e <= 323; ++e) {
        const double half = std::strtod(("5e-" + std::to_string(e)).c_str(), nullptr);
        for (const int precision : {e - 1, e, e + 1}) {
            ASSERT_TRUE(writtenAsPrinted(half, precision, 1)) << e;
            ASSERT_TRUE(writtenAsPrinted(3 * half, precision, 1)) << e;
        }
    }
}

TEST(DoubleText, AllDigitsOfADoubleAreWritten)
{
    const double values[] = {std::numeric_limits<double>::denorm_min(),
                             doubleOf(0x000FFFFFFFFFFFFF), // 767 significant digits
                             doubleOf(0x001FFFFFFFFFFFFF),
                             DBL_MIN,
                             DBL_MAX,
                             0.1,
                             1e23,
                             1e-5};
    for (const double value : values) {
        for (const int precision : {750, 766, 767, 768, 800, 1074, 1075, 1100, 2000}) {
            for (int form = 0; form < 3; ++form) {
                ASSERT_TRUE(writtenAsPrinted(value, precision, form));
            }
        }
    }
}

TEST(DoubleText, TiesGoToTheEvenDigit)
{
    // Each number with k binary places is a tie at k - 1 decimal ones, if odd.
    std::mt19937_64 random(31);
    for (int places = 1; places <= 30; ++places) {
        for (int i = 0; i < 40; ++i) {
            const double whole = static_cast<double>(random() % (std::uint64_t(1) << 22) * 2 + 1);
            const double tie = std::ldexp(whole, -places);
            for (const int precision : {places - 1, places, places + 1}) {
                ASSERT_TRUE(writtenAsPrinted(tie, precision, 1));
            }
            // An integer that ends in 5 is a tie one digit before its last.
            const double five = static_cast<double>(random() % 100000000 * 10 + 5);
            const int digits = static_cast<int>(std::to_string(std::int64_t(five)).size());
            ASSERT_TRUE(writtenAsPrinted(five, digits - 2, 0));
            ASSERT_TRUE(writtenAsPrinted(five * 1e10, digits - 2, 0));
        }
    }
}

TEST(DoubleText, RandomNumbersAreWrittenAsPrinted)
{
    std::mt19937_64 random(32);
    for (int i = scaledRounds(1000000); i > 0; --i) {
        const double value = randomDouble(random);
        const unsigned form = static_cast<unsigned>(random() % 16);
        // The decimal form of a random exponent is mostly zeros: ask for it less.
        if (form == 0) {
            ASSERT_TRUE(writtenAsPrinted(value, static_cast<int>(random() % 30), 1));
        } else {
            ASSERT_TRUE(
                writtenAsPrinted(value, static_cast<int>(random() % 19), form % 2 == 0 ? 0 : 2));
        }
    }
}

TEST(DoubleText, EverydayNumbersAreWrittenAsPrinted)
{
    std::mt19937_64 random(33);
    for (int i = scaledRounds(200000); i > 0; --i) {
        const double scale = std::pow(10.0, static_cast<double>(random() % 12));
        const double value = static_cast<double>(random() >> (random() % 60)) / scale;
        ASSERT_TRUE(writtenAsPrinted(value, static_cast<int>(random() % 12), 1));
        ASSERT_TRUE(writtenAsPrinted(value, static_cast<int>(random() % 12), 2));
    }
}

TEST(DoubleText, RandomNumbersWithManyDigitsAreWrittenAsPrinted)
{
    std::mt19937_64 random(34);
    for (int i = scaledRounds(5000); i > 0; --i) {
        ASSERT_TRUE(writtenAsPrinted(randomDouble(random), static_cast<int>(random() % 800),
                                     static_cast<int>(random() % 3)));
    }
}

TEST(DoubleReading, HardNumbersComeBack)
{
    for (const double value : hardDoubles()) {
        for (const int digits : {1, 5, 15, 16, 17, 20, 25, 60}) {
            ASSERT_TRUE(readAsByStrtod(printed(value, digits - 1, 'e')));
        }
    }
}

TEST(DoubleReading, RandomNumbersComeBack)
{
    std::mt19937_64 random(35);
    for (int i = scaledRounds(1000000); i > 0; --i) {
        const double value = randomDouble(random);
        const ZkString text =
            L::doubleToString('0', '+', '-', 'e', ',', '.', value, 17, L::SignificantForm, 0, 0);
        bool ok = false;
        const double read = L::stringToDouble(text, &ok, L::RefuseGroupSeparators);
        ASSERT_TRUE(ok && bitsOf(read) == bitsOf(value)) << text;
    }
}

TEST(DoubleReading, RandomTextsAreReadAsByStrtod)
{
    std::mt19937_64 random(36);
    for (int i = scaledRounds(1000000); i > 0; --i) {
        char buffer[120];
        const auto number = [&] {
            return static_cast<unsigned long long>(random() >> (random() % 64));
        };
        switch (random() % 4) {
        case 0:
            std::snprintf(buffer, sizeof buffer, "%llue%d", number(),
                          static_cast<int>(random() % 700) - 370);
            break;
        case 1:
            std::snprintf(buffer, sizeof buffer, "%llu%llu.%llu%llue%d", number(), number(),
                          number(), number(), static_cast<int>(random() % 700) - 370);
            break;
        case 2:
            std::snprintf(buffer, sizeof buffer, "%llu.%02d", number() % 100000000,
                          static_cast<int>(random() % 100));
            break;
        default:
            std::snprintf(buffer, sizeof buffer, "%.*e", static_cast<int>(random() % 22),
                          randomDouble(random));
        }
        ASSERT_TRUE(readAsByStrtod(buffer));
    }
}

TEST(DoubleReading, TheMiddleGoesToTheEvenMantissaAndItsNeighboursApart)
{
    std::mt19937_64 random(37);
    std::vector<double> values = {std::numeric_limits<double>::denorm_min(),
                                  0.0,
                                  DBL_MIN,
                                  std::nextafter(DBL_MIN, 0.0),
                                  DBL_MAX,
                                  std::nextafter(DBL_MAX, 0.0),
                                  1,
                                  std::nextafter(1.0, 0.0),
                                  4503599627370497.0,
                                  9007199254740992.0};
    for (int i = scaledRounds(400); i > 0; --i) {
        values.push_back(std::fabs(randomDouble(random)));
    }
    for (const double value : values) {
        Decimal middle = middleAbove(value);
        const std::string exact = middle.text();
        ASSERT_TRUE(readAsByStrtod(exact));
        // A digit far behind the last one settles the side, a zero does not.
        const std::size_t e = exact.find('e');
        const std::string digits = exact.substr(0, e);
        const std::string zeros(static_cast<std::size_t>(random() % 1000), '0');
        const int exponent = middle.exponent - static_cast<int>(zeros.size());
        for (const char *last : {"0", "1"}) {
            ASSERT_TRUE(readAsByStrtod(digits + zeros + last + "e" + std::to_string(exponent - 1)));
        }
        // One less in the last digit lies below; cut off anywhere, it does too.
        std::string below = exact;
        std::size_t at = e;
        while (at > 0 && below[at - 1] == '0') {
            below[--at] = '9';
        }
        if (at > 0) {
            --below[at - 1];
        }
        ASSERT_TRUE(readAsByStrtod(below));
        const std::size_t kept = 1 + static_cast<std::size_t>(random() % digits.size());
        ASSERT_TRUE(readAsByStrtod(
            digits.substr(0, kept) + "e" +
            std::to_string(middle.exponent + static_cast<int>(digits.size() - kept))));
    }
}

// One unit decides, and no digit is left out.
TEST(DoubleReading, WholeNumbersBesideTheMiddleGoApart)
{
    for (int bits = 54; bits <= 64; ++bits) {
        const std::uint64_t top = std::uint64_t(1) << (bits - 1);
        const std::uint64_t step = std::uint64_t(1) << (bits - 53);
        for (const std::uint64_t even : {top, top + step, top + 2 * step, top + (top - step)}) {
            for (const int beside : {-2, -1, 0, 1, 2}) {
                const std::uint64_t middle = even + step / 2;
                ASSERT_TRUE(readAsByStrtod(std::to_string(middle + std::uint64_t(beside))));
            }
        }
    }
    // 64 bits M beside the middle of two, as they stand in M * 2^p = M / 5^p * 10^p.
    std::uint64_t five = 5;
    for (int p = 1; p <= 5; ++p, five *= 5) {
        for (std::uint64_t even = std::uint64_t(p % 2 + 14) << 60, found = 0; found < 40;
             even += 0x1000) {
            for (const int beside : {-1, 1}) {
                const std::uint64_t number = even + 0x400 + std::uint64_t(beside);
                if (number % five == 0) {
                    ++found;
                    ASSERT_TRUE(
                        readAsByStrtod(std::to_string(number / five) + "e" + std::to_string(p)));
                }
            }
        }
    }
}

TEST(DoubleReading, OverflowAndUnderflowBeginWhereTheyShould)
{
    // The middle between the largest double and what would come next, exactly.
    const Decimal middle = middleAbove(DBL_MAX);
    ASSERT_EQ(middle.exponent, 0);
    std::string digits = middle.text();
    digits.resize(digits.find('e'));
    bool ok = true;
    EXPECT_EQ(L::bytearrayToDouble(digits.c_str(), &ok, nullptr), 0);
    EXPECT_FALSE(ok) << "the middle goes to the even side, which is infinity";
    EXPECT_EQ(
        L::bytearrayToDouble((digits + "." + std::string(2000, '0') + "1").c_str(), &ok, nullptr),
        0);
    EXPECT_FALSE(ok);
    --digits.back(); // a 2 is there
    EXPECT_EQ(L::bytearrayToDouble(digits.c_str(), &ok, nullptr), DBL_MAX);
    EXPECT_TRUE(ok);
    EXPECT_EQ(L::bytearrayToDouble("1e308", &ok, nullptr), 1e308);
    EXPECT_TRUE(ok);
    for (const char *huge : {"1e309", "1e400", "1e99999999999999999999", "123456789012345e300"}) {
        EXPECT_EQ(L::bytearrayToDouble(huge, &ok, nullptr), 0) << huge;
        EXPECT_FALSE(ok) << huge;
    }
    // Half the smallest double is a tie with 0, which is even.
    const Decimal half = middleAbove(0.0);
    const std::string tie = half.text();
    EXPECT_EQ(bitsOf(L::bytearrayToDouble(tie.c_str(), &ok, nullptr)), 0U);
    EXPECT_TRUE(ok);
    EXPECT_EQ(bitsOf(L::bytearrayToDouble(("1" + tie).c_str(), &ok, nullptr)) > 0, true);
    std::string above = tie.substr(0, tie.find('e')) + "1e" + std::to_string(half.exponent - 1);
    EXPECT_EQ(bitsOf(L::bytearrayToDouble(above.c_str(), &ok, nullptr)), 1U);
    EXPECT_TRUE(ok);
    for (const char *tiny : {"1e-324", "1e-400", "1e-99999999999999999999", "2.47e-324"}) {
        EXPECT_EQ(bitsOf(L::bytearrayToDouble(tiny, &ok, nullptr)), 0U) << tiny;
        EXPECT_TRUE(ok) << tiny;
    }
    EXPECT_EQ(bitsOf(L::bytearrayToDouble("-2.48e-324", &ok, nullptr)), 0x8000000000000001U);
}

TEST(DoubleReading, ExponentAndDigitsOfAnyLengthAddUp)
{
    for (int zeros = 0; zeros < 1200; zeros += 7) {
        const std::string run(static_cast<std::size_t>(zeros), '0');
        ASSERT_TRUE(readAsByStrtod("1" + run + "e-" + std::to_string(zeros)));
        ASSERT_TRUE(readAsByStrtod("0." + run + "1e" + std::to_string(zeros)));
        ASSERT_TRUE(readAsByStrtod(run + "123" + run + ".0" + run + "e-" + std::to_string(zeros)));
        ASSERT_TRUE(readAsByStrtod("1." + run + "1"));
    }
}

TEST(DoubleText, TheRoundingModeOfTheProcessChangesNothing)
{
    std::mt19937_64 random(38);
    for (int i = scaledRounds(5000); i > 0; --i) {
        const double value = randomDouble(random);
        const int precision = static_cast<int>(random() % 18);
        const std::string text = printed(value, precision, 'e');
        const std::string money =
            std::to_string(random() % 10000000) + "." + std::to_string(random() % 100);
        const double read = std::strtod(text.c_str(), nullptr);
        const double readMoney = std::strtod(money.c_str(), nullptr);
        for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
            ASSERT_EQ(std::fesetround(mode), 0);
            const ZkString ours = L::doubleToString('0', '+', '-', 'e', ',', '.', value, precision,
                                                    L::ExponentForm, 0, 0);
            bool ok = false;
            const double again = L::stringToDouble(text.c_str(), &ok, L::RefuseGroupSeparators);
            const double amount = L::stringToDouble(money.c_str(), &ok, L::RefuseGroupSeparators);
            std::fesetround(FE_TONEAREST);
            ASSERT_EQ(ours.toStdString(), text);
            ASSERT_EQ(bitsOf(again), std::isfinite(read) ? bitsOf(read) : 0);
            ASSERT_EQ(bitsOf(amount), bitsOf(readMoney));
        }
    }
}
