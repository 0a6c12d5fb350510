#include <zkunicode.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cwctype>
#include <string>

#ifdef ZK_TEST_ICU
#    include <unicode/uchar.h>
#    include <unicode/ustring.h>
#endif

namespace
{

const ZkUnicodeTables::Properties &record(int c)
{
    return *ZkUnicodeTables::properties(static_cast<ZkUcs2>(c));
}

std::string codePoint(int c)
{
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(c));
    return text;
}

bool isAssigned(int c)
{
    return record(c).category != ZkUnicodeTables::OtherUnassigned;
}

} // namespace

TEST(ZkUnicode, SpaceIsTabToReturnAndTheSeparators)
{
    for (int c : {0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x20, 0xA0, 0x1680, 0x180E, 0x2000, 0x2028, 0x2029,
                  0x202F, 0x205F, 0x3000}) {
        EXPECT_TRUE(ZkUnicode::isSpace(static_cast<ZkUcs2>(c))) << codePoint(c);
    }
    for (int c : {0x00, 0x08, 0x0E, 0x1C, 0x1F, 0x21, 0x41, 0x7F, 0x85, 0x9F, 0x200B, 0x2060,
                  0xFEFF, 0xFFFF}) {
        EXPECT_FALSE(ZkUnicode::isSpace(static_cast<ZkUcs2>(c))) << codePoint(c);
    }
    for (int c = 0; c < 0x10000; ++c) {
        const int category = record(c).category;
        EXPECT_EQ(ZkUnicode::isSpace(static_cast<ZkUcs2>(c)),
                  (c >= 9 && c <= 13) || (category >= 7 && category <= 9))
            << codePoint(c);
    }
}

TEST(ZkUnicode, CaseMapsOneUnitToOneUnit)
{
    const struct {
        int c, upper, lower;
    } kRows[] = {
        {'A', 'A', 'a'},          {'a', 'A', 'a'},          {'1', '1', '1'},
        {0xE9, 0xC9, 0xE9},       {0xFF, 0x178, 0xFF},      {0x131, 0x49, 0x131},
        {0x17F, 0x53, 0x17F},     {0x1C4, 0x1C4, 0x1C6},    {0x1C5, 0x1C4, 0x1C6},
        {0x3C2, 0x3A3, 0x3C2},    {0x430, 0x410, 0x430},    {0x10A0, 0x10A0, 0x2D00},
        {0x212A, 0x212A, 0x6B},   {0x2D00, 0x10A0, 0x2D00}, {0x24D0, 0x24B6, 0x24D0},
        {0xFF21, 0xFF21, 0xFF41}, {0x4E00, 0x4E00, 0x4E00}, {0x26B, 0x2C62, 0x26B},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(ZkUnicode::toUpper(static_cast<ZkUcs2>(row.c)), row.upper) << codePoint(row.c);
        EXPECT_EQ(ZkUnicode::toLower(static_cast<ZkUcs2>(row.c)), row.lower) << codePoint(row.c);
    }
}

TEST(ZkUnicode, ACharacterWhoseCaseTakesSeveralUnitsStays)
{
    // Sharp s, the ligatures, n with apostrophe, and Greek with iota below: the
    // last have a one-unit upper case in the database too, which is not used.
    for (int c : {0xDF, 0x149, 0x1F0, 0x390, 0x587, 0x1E96, 0x1F80, 0x1F88, 0x1FB3, 0xFB00, 0xFB06,
                  0xFB17}) {
        EXPECT_TRUE(record(c).upperCaseSpecial) << codePoint(c);
        EXPECT_EQ(ZkUnicode::toUpper(static_cast<ZkUcs2>(c)), c) << codePoint(c);
    }
    EXPECT_TRUE(record(0x130).lowerCaseSpecial);
    EXPECT_EQ(ZkUnicode::toLower(0x130), 0x130);
    // A mapping that holds only in a language or at the end of a word does not count.
    for (int c : {0x49, 0x69, 0x12E, 0x3A3}) {
        EXPECT_FALSE(record(c).upperCaseSpecial || record(c).lowerCaseSpecial) << codePoint(c);
    }
}

TEST(ZkUnicodeTables, FoldingGoesToTheFormThatLettersOfBothCasesShare)
{
    const struct {
        int c, folded;
    } kRows[] = {{0x41, 0x61},     {0x61, 0x61},     {0x130, 0x130},   {0x131, 0x131},
                 {0x17F, 0x73},    {0x1C5, 0x1C6},   {0x345, 0x3B9},   {0x3C2, 0x3C3},
                 {0x1F88, 0x1F80}, {0x1E9B, 0x1E61}, {0x2126, 0x3C9},  {0x212A, 0x6B},
                 {0x1FBE, 0x3B9},  {0xDF, 0xDF},     {0x10A0, 0x2D00}, {0x4C0, 0x4CF},
                 {0x628, 0x628},   {0xFF21, 0xFF41}};
    for (const auto &row : kRows) {
        EXPECT_EQ(static_cast<ZkUcs2>(row.c + record(row.c).caseFoldDifference), row.folded)
            << codePoint(row.c);
    }
    EXPECT_EQ(record(0x41).caseFoldDifference, 32);
    EXPECT_EQ(record(0x61).caseFoldDifference, 0);
}

TEST(ZkUnicodeTables, DigitsOfEveryScriptHaveTheirValue)
{
    const struct {
        int zero, count;
    } kRows[] = {{0x30, 10},  {0x660, 10},  {0x6F0, 10},  {0x966, 10},  {0xE50, 10},
                 {0xF20, 10}, {0x17E0, 10}, {0x2080, 10}, {0x19D0, 10}, {0xFF10, 10}};
    for (const auto &row : kRows) {
        for (int digit = 0; digit < row.count; ++digit) {
            EXPECT_EQ(record(row.zero + digit).digitValue, digit) << codePoint(row.zero + digit);
        }
    }
    EXPECT_EQ(record(0xB2).digitValue, 2);
    EXPECT_EQ(record(0x2460).digitValue, 1); // circled one
    for (int c : {0x2F, 0x3A, 0x41, 0xBC, 0x2160, 0x4E00, 0xFFFF}) {
        EXPECT_EQ(record(c).digitValue, -1) << codePoint(c);
    }
}

TEST(ZkUnicodeTables, ACharacterOfALaterVersionIsUnassigned)
{
    for (int c : {0x370, 0x1E9E, 0x2C6D, 0x20B6, 0x20B9, 0x9FFF, 0xFDD0, 0xFFFE, 0xFFFF}) {
        const ZkUnicodeTables::Properties &properties = record(c);
        EXPECT_EQ(properties.category, 14) << codePoint(c);
        EXPECT_EQ(properties.age, 0) << codePoint(c);
        EXPECT_EQ(properties.digitValue, -1) << codePoint(c);
        EXPECT_EQ(properties.caseFoldDifference, 0) << codePoint(c);
        EXPECT_EQ(&properties, &record(0xFFFF)) << codePoint(c);
    }
    EXPECT_EQ(record(0x20AC).category, 28);
    EXPECT_EQ(record(0x20AC).age, 3);
}

TEST(ZkUnicodeTables, CategoriesAreNumbered)
{
    const struct {
        int c, category;
    } kRows[] = {{0x300, 1},   {0x903, 2},   {0x488, 3},   {0x31, 4},    {0x2160, 5},  {0xBC, 6},
                 {0x20, 7},    {0x2028, 8},  {0x2029, 9},  {0x0A, 10},   {0x200D, 11}, {0xD800, 12},
                 {0xDFFF, 12}, {0xE000, 13}, {0xF8FF, 13}, {0xFFFF, 14}, {0x41, 15},   {0x61, 16},
                 {0x1C5, 17},  {0x2B0, 18},  {0x628, 19},  {0x4E00, 19}, {0x9FBB, 19}, {0x9FBC, 14},
                 {0xAC00, 19}, {0xD7A3, 19}, {0xD7A4, 14}, {0x5F, 20},   {0x2D, 21},   {0x28, 22},
                 {0x29, 23},   {0xAB, 24},   {0xBB, 25},   {0x21, 26},   {0x2B, 27},   {0x24, 28},
                 {0x5E, 29},   {0xA9, 30}};
    for (const auto &row : kRows) {
        EXPECT_EQ(record(row.c).category, row.category) << codePoint(row.c);
    }
}

TEST(ZkUnicodeTables, EveryRecordIsPlausible)
{
    for (int c = 0; c < 0x10000; ++c) {
        const ZkUnicodeTables::Properties &properties = record(c);
        SCOPED_TRACE(codePoint(c));
        EXPECT_TRUE(properties.category >= 1 && properties.category <= 30);
        EXPECT_LE(properties.age, 9);
        EXPECT_TRUE(properties.digitValue >= -1 && properties.digitValue <= 9);
        EXPECT_EQ(properties.age == 0, !isAssigned(c));
        // A folded form folds to itself.
        const int folded = (c + properties.caseFoldDifference) & 0xFFFF;
        EXPECT_EQ(record(folded).caseFoldDifference, 0);
    }
}

TEST(ZkUnicode, EveryCaseAgreesWithTheCLibrary)
{
    const std::string saved = std::setlocale(LC_CTYPE, nullptr);
    if (std::setlocale(LC_CTYPE, "C.UTF-8") == nullptr) {
        GTEST_SKIP() << "no C.UTF-8 locale";
    }
    int pairs = 0;
    for (int c = 0; c < 0x10000; ++c) {
        if (!isAssigned(c)) {
            continue; // the C library knows later versions
        }
        const auto unit = static_cast<ZkUcs2>(c);
        const auto expected = [c](std::wint_t mapped) {
            // A partner assigned in a later version is not known here.
            return mapped < 0x10000 && isAssigned(static_cast<int>(mapped))
                       ? static_cast<int>(mapped)
                       : c;
        };
        if (!record(c).upperCaseSpecial) {
            EXPECT_EQ(ZkUnicode::toUpper(unit), expected(std::towupper(std::wint_t(c))))
                << codePoint(c);
        }
        if (!record(c).lowerCaseSpecial) {
            EXPECT_EQ(ZkUnicode::toLower(unit), expected(std::towlower(std::wint_t(c))))
                << codePoint(c);
        }
        pairs += ZkUnicode::toUpper(unit) != unit;
    }
    EXPECT_GT(pairs, 700);
    std::setlocale(LC_CTYPE, saved.c_str());
}

#ifdef ZK_TEST_ICU

namespace
{

/// A code point's category in version 5.0 where later versions changed it.
struct Recategorised {
    int first, last, category;
};
const Recategorised kRecategorised[] = {
    {0xA7, 0xA7, 30},     {0xAA, 0xAA, 16},     {0xB6, 0xB6, 30},     {0xBA, 0xBA, 16},
    {0x2EC, 0x2EC, 29},   {0x374, 0x374, 29},   {0x5BE, 0x5BE, 26},   {0x6DE, 0x6DE, 3},
    {0xCF1, 0xCF2, 30},   {0xF14, 0xF14, 30},   {0x10D0, 0x10FA, 19}, {0x1360, 0x1360, 30},
    {0x13A0, 0x13F4, 19}, {0x166D, 0x166D, 26}, {0x1734, 0x1734, 1},  {0x17B4, 0x17B5, 11},
    {0x180E, 0x180E, 7},  {0x1885, 0x1886, 19}, {0x19B0, 0x19C0, 2},  {0x19C8, 0x19C9, 2},
    {0x19DE, 0x19DF, 26}, {0x1A1B, 0x1A1B, 2},  {0x1D62, 0x1D6A, 16}, {0x2071, 0x2071, 16},
    {0x207F, 0x207F, 16}, {0x2118, 0x2118, 30}, {0x2308, 0x230B, 27}, {0x302E, 0x302F, 1},
    {0xA802, 0xA802, 2},  {0xFD3E, 0xFD3E, 22}, {0xFD3F, 0xFD3F, 23},
};

/// ICU's age as the table numbers it; 0 for an age above 5.0.
int icuAge(int c)
{
    UVersionInfo version;
    u_charAge(c, version);
    const std::array<std::array<int, 2>, 9> kAges = {
        {{1, 1}, {2, 0}, {2, 1}, {3, 0}, {3, 1}, {3, 2}, {4, 0}, {4, 1}, {5, 0}}};
    const auto *const found =
        std::find(kAges.begin(), kAges.end(), std::array<int, 2>{int(version[0]), int(version[1])});
    return u_charType(c) == U_UNASSIGNED || found == kAges.end()
               ? 0
               : static_cast<int>(found - kAges.begin()) + 1;
}

int icuCategory(int c)
{
    for (const Recategorised &changed : kRecategorised) {
        if (c >= changed.first && c <= changed.last) {
            return changed.category;
        }
    }
    // In the order of ICU's UCharCategory.
    static const int kCodes[] = {14, 15, 16, 17, 18, 19, 1,  3,  2,  4,  5,  6,  7,  8,  9,
                                 10, 11, 13, 12, 21, 22, 23, 20, 26, 27, 28, 29, 30, 24, 25};
    return kCodes[u_charType(c)];
}

/// `c` plus what the table adds, or `c` where the partner is of a later version.
int known(int c, int mapped)
{
    return mapped < 0x10000 && icuAge(mapped) != 0 ? mapped : c;
}

using CaseFunction = decltype(&u_strToUpper);

bool takesSeveralUnits(CaseFunction change, int c)
{
    const auto unit = static_cast<UChar>(c);
    UChar out[8];
    UErrorCode error = U_ZERO_ERROR;
    return change(out, 8, &unit, 1, "", &error) != 1;
}

} // namespace

TEST(ZkUnicodeTables, EveryRecordAgreesWithIcu)
{
    for (int c = 0; c < 0x10000; ++c) {
        const ZkUnicodeTables::Properties &properties = record(c);
        SCOPED_TRACE(codePoint(c));
        ASSERT_EQ(properties.age, icuAge(c));
        if (icuAge(c) == 0) {
            ASSERT_EQ(&properties, &record(0xFFFF));
            continue;
        }
        ASSERT_EQ(properties.category, icuCategory(c));
        const int numeric = u_getIntPropertyValue(c, UCHAR_NUMERIC_TYPE);
        const bool isDigit = numeric == U_NT_DECIMAL || numeric == U_NT_DIGIT;
        ASSERT_EQ(properties.digitValue, isDigit ? int(u_getNumericValue(c)) : -1);
        ASSERT_EQ(c + properties.lowerCaseDifference, known(c, u_tolower(c)));
        ASSERT_EQ(c + properties.upperCaseDifference, known(c, u_toupper(c)));
        ASSERT_EQ(c + properties.titleCaseDifference, known(c, u_totitle(c)));
        ASSERT_EQ(c + properties.caseFoldDifference, known(c, u_foldCase(c, U_FOLD_CASE_DEFAULT)));
        if ((c & 0xF800) != 0xD800) {
            ASSERT_EQ(bool(properties.lowerCaseSpecial), takesSeveralUnits(u_strToLower, c));
            ASSERT_EQ(bool(properties.upperCaseSpecial), takesSeveralUnits(u_strToUpper, c));
        }
    }
}

#endif
