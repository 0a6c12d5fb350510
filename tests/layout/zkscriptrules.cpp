#include <zkscriptrules.h>

#include "runordermodel.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

namespace
{

using Units = std::u16string;

Units converted(const Units &text, void (*convert)(ZkUcs2 *, int))
{
    std::vector<ZkUcs2> units(text.begin(), text.end());
    convert(units.data(), static_cast<int>(units.size()));
    return Units(units.begin(), units.end());
}

Units arabic(const Units &text)
{
    return converted(text, arabicRulesConvert);
}

Units hebrew(const Units &text)
{
    return converted(text, reversalHebrew);
}

std::string hex(const Units &text)
{
    std::string line;
    char unit[8];
    for (const char16_t c : text) {
        std::snprintf(unit, sizeof unit, "%04X ", unsigned(c));
        line += unit;
    }
    return line;
}

std::string hex(int code)
{
    return hex(Units(1, char16_t(code)));
}

// The neighbours that bring out a form: BEH joins on both sides, a Latin letter on none.
constexpr char16_t kJoiner = 0x0628, kStranger = 'x';

// Final, initial, medial, isolated.
const struct {
    char16_t letter;
    char16_t forms[4];
} kForms[] = {
    {0x0621, {0xFE80, 0xFE80, 0xFE80, 0xFE80}}, {0x0622, {0xFE82, 0xFE81, 0xFE82, 0xFE81}},
    {0x0623, {0xFE84, 0xFE83, 0xFE84, 0xFE83}}, {0x0624, {0xFE86, 0xFE85, 0xFE86, 0xFE85}},
    {0x0625, {0xFE88, 0xFE87, 0xFE88, 0xFE87}}, {0x0626, {0xFE8A, 0xFE8B, 0xFE8C, 0xFE89}},
    {0x0627, {0xFE8E, 0xFE8D, 0xFE8E, 0xFE8D}}, {0x0628, {0xFE90, 0xFE91, 0xFE92, 0xFE8F}},
    {0x0629, {0xFE94, 0xFE93, 0xFE93, 0xFE93}}, {0x062A, {0xFE96, 0xFE97, 0xFE98, 0xFE95}},
    {0x062B, {0xFE9A, 0xFE9B, 0xFE9C, 0xFE99}}, {0x062C, {0xFE9E, 0xFE9F, 0xFEA0, 0xFE9D}},
    {0x062D, {0xFEA2, 0xFEA3, 0xFEA4, 0xFEA1}}, {0x062E, {0xFEA6, 0xFEA7, 0xFEA8, 0xFEA5}},
    {0x062F, {0xFEAA, 0xFEA9, 0xFEAA, 0xFEA9}}, {0x0630, {0xFEAC, 0xFEAB, 0xFEAC, 0xFEAB}},
    {0x0631, {0xFEAE, 0xFEAD, 0xFEAE, 0xFEAD}}, {0x0632, {0xFEB0, 0xFEAF, 0xFEB0, 0xFEAF}},
    {0x0633, {0xFEB2, 0xFEB3, 0xFEB4, 0xFEB1}}, {0x0634, {0xFEB6, 0xFEB7, 0xFEB8, 0xFEB5}},
    {0x0635, {0xFEBA, 0xFEBB, 0xFEBC, 0xFEB9}}, {0x0636, {0xFEBE, 0xFEBF, 0xFEC0, 0xFEBD}},
    {0x0637, {0xFEC2, 0xFEC3, 0xFEC4, 0xFEC1}}, {0x0638, {0xFEC6, 0xFEC7, 0xFEC8, 0xFEC5}},
    {0x0639, {0xFECA, 0xFECB, 0xFECC, 0xFEC9}}, {0x063A, {0xFECE, 0xFECF, 0xFED0, 0xFECD}},
    {0x0641, {0xFED2, 0xFED3, 0xFED4, 0xFED1}}, {0x0642, {0xFED6, 0xFED7, 0xFED8, 0xFED5}},
    {0x0643, {0xFEDA, 0xFEDB, 0xFEDC, 0xFED9}}, {0x0644, {0xFEDE, 0xFEDF, 0xFEE0, 0xFEDD}},
    {0x0645, {0xFEE2, 0xFEE3, 0xFEE4, 0xFEE1}}, {0x0646, {0xFEE6, 0xFEE7, 0xFEE8, 0xFEE5}},
    {0x0647, {0xFEEA, 0xFEEB, 0xFEEC, 0xFEE9}}, {0x0648, {0xFEEE, 0xFEED, 0xFEEE, 0xFEED}},
    {0x0649, {0xFEF0, 0xFEEF, 0xFEF0, 0xFEEF}}, {0x064A, {0xFEF2, 0xFEF3, 0xFEF4, 0xFEF1}},
    {0x067E, {0xFB57, 0xFB58, 0xFB59, 0xFB56}}, {0x0686, {0xFB7B, 0xFB7C, 0xFB7D, 0xFB7A}},
    {0x0698, {0xFB8B, 0xFB8A, 0xFB8B, 0xFB8A}}, {0x06A9, {0xFB8F, 0xFB90, 0xFB91, 0xFB8E}},
    {0x06AF, {0xFB93, 0xFB94, 0xFB95, 0xFB92}}, {0x06CC, {0xFBFD, 0xFBFE, 0xFBFF, 0xFBFC}},
};

} // namespace

TEST(ArabicShaping, EveryLetterTakesItsFourForms)
{
    for (const auto &row : kForms) {
        SCOPED_TRACE(hex(row.letter));
        // A run comes out reversed: the last letter first. A stranger stays in its place.
        EXPECT_EQ(arabic({kJoiner, row.letter})[0], row.forms[0]);
        EXPECT_EQ(arabic({row.letter, kJoiner})[1], row.forms[1]);
        EXPECT_EQ(arabic({kJoiner, row.letter, kJoiner})[1], row.forms[2]);
        EXPECT_EQ(arabic({row.letter})[0], row.forms[3]);
        EXPECT_EQ(arabic({kJoiner, row.letter, kStranger})[0], row.forms[0]);
        EXPECT_EQ(arabic({kStranger, row.letter, kJoiner})[2], row.forms[1]);
        EXPECT_EQ(arabic({kStranger, row.letter, kStranger})[1], row.forms[3]);
    }
}

// Unicode lays the forms of a letter side by side: isolated, final, initial, medial.
TEST(ArabicShaping, FormsFollowTheOrderOfTheirUnicodeBlock)
{
    int isolated = 0xFE80;
    for (const auto &row : kForms) {
        if (row.letter > 0x064A) {
            continue; // the Persian letters stand in another block
        }
        SCOPED_TRACE(hex(row.letter));
        const bool one = row.letter == 0x0621;
        const bool four = row.forms[1] == isolated + 2;
        EXPECT_EQ(row.forms[3], isolated);
        EXPECT_EQ(row.forms[0], isolated + (one ? 0 : 1));
        EXPECT_EQ(row.forms[1], isolated + (four ? 2 : 0));
        // TEH MARBUTA only ends words; asked for between two joining letters it stays isolated.
        EXPECT_EQ(row.forms[2], isolated + (four ? 3 : one || row.letter == 0x0629 ? 0 : 1));
        isolated += one ? 1 : four ? 4 : 2;
    }
    EXPECT_EQ(isolated, 0xFEF5);
}

TEST(ArabicShaping, EverythingElseStays)
{
    for (int c = 0; c <= 0xFFFF; ++c) {
        bool listed = false;
        for (const auto &row : kForms) {
            listed = listed || row.letter == c;
        }
        if (!listed) {
            ASSERT_EQ(hex(arabic({char16_t(c)})), hex(c));
            ASSERT_EQ(arabic({kJoiner, char16_t(c), kStranger}).find(char16_t(c)) != Units::npos,
                      true)
                << hex(c);
        }
    }
}

// How each code point joins, seen from outside: the form of FARSI YEH beside it.
TEST(ArabicShaping, JoiningLettersAreExactlyTheListed)
{
    const Units forward = u"\u0626\u0628\u062A\u062B\u062C\u062D\u062E\u0633\u0634\u0635"
                          u"\u0636\u0637\u0638\u0639\u063A\u0641\u0642\u0643\u0644\u0645"
                          u"\u0646\u0647\u064A\u067E\u0686\u0698\u06A9\u06AF\u06CC";
    const Units backward = u"\u0622\u0623\u0624\u0625\u0626\u0627\u0628\u0629\u062A\u062B\u062C"
                           u"\u062D\u062E\u062F\u0630\u0631\u0632\u0633\u0634\u0635\u0636\u0637"
                           u"\u0638\u0639\u063A\u0641\u0642\u0643\u0644\u0645\u0646\u0647\u0648"
                           u"\u0649\u064A\u067E\u0686\u0698\u06A9\u06AF\u06CC";
    ASSERT_EQ(forward.size(), 29U);
    ASSERT_EQ(backward.size(), 41U);
    constexpr ZkUcs2 kFarsiYeh = 0x06CC;
    for (int c = 0; c <= 0xFFFF; ++c) {
        const bool joinsForward = forward.find(char16_t(c)) != Units::npos;
        const bool joinsBackward = backward.find(char16_t(c)) != Units::npos;
        const auto unit = ZkUcs2(c);
        ASSERT_EQ(convertRule3(unit, kFarsiYeh, 0), joinsForward ? 0xFBFD : 0xFBFC) << hex(c);
        ASSERT_EQ(convertRule3(0, kFarsiYeh, unit), joinsBackward ? 0xFBFE : 0xFBFC) << hex(c);
        ASSERT_EQ(convertRule3(kJoiner, kFarsiYeh, unit), joinsBackward ? 0xFBFF : 0xFBFD)
            << hex(c);
    }
}

TEST(ArabicShaping, RuleOfThePersianLettersAnswersOnlyForThem)
{
    const Units persian = u"\u067E\u0686\u0698\u06A9\u06AF\u06CC";
    for (int c = 0; c <= 0xFFFF; ++c) {
        const bool known = persian.find(char16_t(c)) != Units::npos;
        ASSERT_EQ(convertRule3(0, ZkUcs2(c), 0) != -1, known) << hex(c);
    }
    for (const auto &row : kForms) {
        if (row.letter > 0x064A) {
            SCOPED_TRACE(hex(row.letter));
            EXPECT_EQ(convertRule3(kJoiner, row.letter, 0), row.forms[0]);
            EXPECT_EQ(convertRule3(0, row.letter, kJoiner), row.forms[1]);
            EXPECT_EQ(convertRule3(kJoiner, row.letter, kJoiner), row.forms[2]);
            EXPECT_EQ(convertRule3(0, row.letter, 0), row.forms[3]);
        }
    }
}

TEST(ArabicShaping, JehJoinsForwardAndHamzaJoinsNothing)
{
    EXPECT_EQ(convertRule3(0x0698, 0x06CC, 0), 0xFBFD);
    EXPECT_EQ(convertRule3(0x0621, 0x06CC, 0), 0xFBFC);
    EXPECT_EQ(convertRule3(0, 0x06CC, 0x0621), 0xFBFC);
}

TEST(ArabicShaping, LamAlefReplacesOnlyTheLam)
{
    const struct {
        char16_t alef, isolated, final, alefForm;
    } kRows[] = {
        {0x0622, 0xFEF5, 0xFEF6, 0xFE82},
        {0x0623, 0xFEF7, 0xFEF8, 0xFE84},
        {0x0625, 0xFEF9, 0xFEFA, 0xFE88},
        {0x0627, 0xFEFB, 0xFEFC, 0xFE8E},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(hex(row.alef));
        EXPECT_EQ(hex(arabic({0x0644, row.alef})), hex({row.alefForm, row.isolated}));
        EXPECT_EQ(hex(arabic({kJoiner, 0x0644, row.alef})), hex({row.alefForm, row.final, 0xFE91}));
        EXPECT_EQ(hex(arabic({0x0627, 0x0644, row.alef})),
                  hex({row.alefForm, row.isolated, 0xFE8D}));
    }
    // A tatweel between the two keeps them apart.
    EXPECT_EQ(hex(arabic({0x0644, 0x0640, 0x0627})), hex({0xFE8D, 0x0640, 0xFEDD}));
}

TEST(ArabicShaping, NeighboursAreReadUnshaped)
{
    // Each letter joins the one before it although that was rewritten first.
    EXPECT_EQ(hex(arabic(u"\u0633\u0644\u0627\u0645")), hex(u"\uFEE1\uFE8E\uFEFC\uFEB3"));
    EXPECT_EQ(hex(arabic(u"\u0628\u06CC")), hex(u"\uFBFD\uFE91"));
    EXPECT_EQ(hex(arabic(u"\u0628")), hex(u"\uFE8F"));
    EXPECT_EQ(hex(arabic(u"\u0628\u0627")), hex(u"\uFE8E\uFE91"));
}

// In these rows A, B and C stand for letters without forms, so that only the order
// shows; every other character is itself.
TEST(RunOrder, RunsAreReversedWhereTheyStand)
{
    const struct {
        const char *what;
        Units text, visual;
    } kRows[] = {
        {"a word", u"ABC", u"CBA"},
        {"one letter", u"A", u"A"},
        {"two words share a run", u"AB CA", u"AC BA"},
        {"two spaces inside", u"A  B", u"B  A"},
        {"Latin on both sides", u"x AB y", u"x BA y"},
        {"Latin splits the run", u"ABxBC", u"BAxCB"},
        {"digits keep their order", u"AB 123", u"123 BA"},
        {"digits inside", u"A 12 B", u"B 12 A"},
        {"punctuation is one stretch", u"A(!)B", u"B(!)A"},
        {"digits and punctuation together", u"AB, 3.5%", u"3.5% ,BA"},
        {"a leading space stays", u" AB", u" BA"},
        {"two leading spaces stay", u"  AB", u"  BA"},
        {"a trailing space stays last", u"AB ", u"BA "},
        {"all trailing spaces stay last", u"AB  ", u"BA  "},
        {"spaces before Latin stay there", u"AB  x", u"BA  x"},
        {"a run of neutrals alone turns by words", u"a 12 34 b", u"a 34 12 b"},
        {"and at the end of the text", u"a 12 34", u"a 34 12"},
        {"and before a letter in another run", u"12 34 xA", u"34 12 xA"},
        {"newline ends a run", u"AB\nBC", u"BA\nCB"},
        {"tab ends a run", u"AB\tBC", u"BA\tCB"},
        {"the at sign is neutral, the grave accent not", u"A@B`C", u"B@A`C"},
        {"only spaces", u"   ", u"   "},
        {"only Latin", u"Hello world", u"Hello world"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        for (const bool inHebrew : {false, true}) {
            const auto lettered = [inHebrew](Units text) {
                for (char16_t &c : text) {
                    if (c >= 'A' && c <= 'C') {
                        c = char16_t(c - 'A' + (inHebrew ? 0x05D0 : 0x0750));
                    }
                }
                return text;
            };
            EXPECT_EQ(hex((inHebrew ? hebrew : arabic)(lettered(row.text))),
                      hex(lettered(row.visual)));
        }
    }
}

// What the documentation shows: only ASCII digits keep the order of a number, nothing is
// mirrored, and punctuation beside a run moves with it.
TEST(RunOrder, OtherDigitsAndBracketsTurnRoundLikeLetters)
{
    const struct {
        const char *what;
        Units text, visual;
    } kRows[] = {
        {"a price in ASCII digits", u"\u0750\u0750 21.5", u"21.5 \u0750\u0750"},
        {"Persian digits", u"\u06F2\u06F1\u066B\u06F5", u"\u06F5\u066B\u06F1\u06F2"},
        {"a time in Arabic-Indic digits", u"\u0661\u0662:\u0663\u0660",
         u"\u0660\u0663:\u0662\u0661"},
        {"Persian digits between letters", u"\u0750 \u06F2\u06F1 \u0751",
         u"\u0751 \u06F1\u06F2 \u0750"},
        {"parentheses", u"(\u0750\u0751)", u")\u0751\u0750("},
        {"angles", u"<\u0750>", u">\u0750<"},
        {"square brackets stand outside", u"[\u0750\u0751]", u"[\u0751\u0750]"},
        {"braces stand outside", u"{\u0750\u0751}", u"{\u0751\u0750}"},
        {"a colon behind a Latin name", u"name: \u0750\u0751", u"name\u0751\u0750 :"},
        {"a colon behind a name", u"\u0750\u0751: Name", u":\u0751\u0750 Name"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(hex(arabic(row.text)), hex(row.visual));
    }
    EXPECT_EQ(hex(hebrew(u"(\u05D0\u05D1)")), hex(u")\u05D1\u05D0("));
}

TEST(RunOrder, TheOtherClassIsForeign)
{
    EXPECT_EQ(hex(hebrew(u"\u05D0\u05D1\u0628\u0627")), hex(u"\u05D1\u05D0\u0628\u0627"));
    EXPECT_EQ(hex(arabic(u"\u05D0\u05D1\u0628\u0627")), hex(u"\u05D0\u05D1\uFE8E\uFE91"));
}

TEST(RunOrder, AgreesWithAPlainModelOnRandomTexts)
{
    std::mt19937 random(20240607);
    const Units neutrals = u"1.@!0";
    for (const bool inHebrew : {false, true}) {
        const Units letters = inHebrew ? u"\u05D0\u05E9\u0590\u05FF" : u"\u0750\u0600\uFB50\uFEFF";
        const Units alphabet = letters + neutrals + u"   xy\n";
        for (int round = 0; round < 20000; ++round) {
            Units text(random() % 24, u' ');
            for (char16_t &c : text) {
                c = alphabet[random() % alphabet.size()];
            }
            ASSERT_EQ(hex((inHebrew ? hebrew : arabic)(text)),
                      hex(runOrderModel(text, letters, neutrals)))
                << hex(text);
        }
    }
}

TEST(ScriptClasses, HaveExactlyTheirRanges)
{
    for (int c = 0; c <= 0xFFFF; ++c) {
        const auto unit = ZkUcs2(c);
        const bool inHebrew = c >= 0x0590 && c <= 0x05FF;
        const bool inArabic = (c >= 0x0600 && c <= 0x06FF) || (c >= 0x0750 && c <= 0x077F) ||
                              (c >= 0xFB50 && c <= 0xFDFF) || (c >= 0xFE70 && c <= 0xFEFF);
        ASSERT_EQ(isIncludeHebrew(&unit, 1), inHebrew ? 1 : 0) << hex(c);
        ASSERT_EQ(isIncludeArbic(&unit, 1), inArabic ? 1 : 0) << hex(c);
    }
}

TEST(ScriptClasses, AreLookedForInTheFirstNUnitsOnly)
{
    const ZkUcs2 text[] = {'a', 'b', 0x05D0, 0x0628};
    const struct {
        int n, hebrew, arabic;
    } kRows[] = {{INT_MIN, 0, 0}, {-1, 0, 0}, {0, 0, 0}, {2, 0, 0}, {3, 1, 0}, {4, 1, 1}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.n);
        EXPECT_EQ(isIncludeHebrew(text, row.n), row.hebrew);
        EXPECT_EQ(isIncludeArbic(text, row.n), row.arabic);
    }
}

// Long enough for a vectorised scan, with the one letter at every place in turn.
TEST(ScriptClasses, AreFoundAtEveryPlace)
{
    std::vector<ZkUcs2> text(67, 'x');
    const int n = int(text.size());
    for (int i = 0; i < n; ++i) {
        SCOPED_TRACE(i);
        text[std::size_t(i)] = 0x05D0;
        EXPECT_EQ(isIncludeHebrew(text.data(), n), 1);
        EXPECT_EQ(isIncludeHebrew(text.data(), i), 0);
        EXPECT_EQ(isIncludeArbic(text.data(), n), 0);
        text[std::size_t(i)] = 0xFEFF;
        EXPECT_EQ(isIncludeArbic(text.data(), n), 1);
        EXPECT_EQ(isIncludeArbic(text.data(), i), 0);
        text[std::size_t(i)] = 'x';
    }
}

TEST(ScriptRules, NullAndEmptyDoNothing)
{
    EXPECT_EQ(isIncludeHebrew(nullptr, 3), 0);
    EXPECT_EQ(isIncludeArbic(nullptr, 3), 0);
    arabicRulesConvert(nullptr, 3);
    reversalHebrew(nullptr, 3);
    ZkUcs2 text[] = {0x0628, 0x0627};
    for (const int n : {0, -1, INT_MIN}) {
        arabicRulesConvert(text, n);
        reversalHebrew(text, n);
        EXPECT_EQ(text[0], 0x0628);
        EXPECT_EQ(text[1], 0x0627);
    }
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// A sanitizer ends the process on an absurd allocation unless told otherwise.
#    define ZK_SANITIZED 1
extern "C" const char *__asan_default_options();
extern "C" const char *__tsan_default_options();
extern "C" const char *__asan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=1024";
}
extern "C" const char *__tsan_default_options()
{
    return "allocator_may_return_null=1:max_allocation_size_mb=1024";
}
#else
#    define ZK_SANITIZED 0
#endif

TEST(ScriptRules, WithoutMemoryTheTextStaysAndAMessageTellsWhy)
{
    const auto convert = [](void (*routine)(ZkUcs2 *, int)) {
        if (!ZK_SANITIZED) {
            const struct rlimit limit = {1U << 30, 1U << 30};
            setrlimit(RLIMIT_AS, &limit);
        }
        ZkUcs2 text[] = {0x05D0, 0x05D1};
        std::fflush(stdout);
        dup2(STDERR_FILENO, STDOUT_FILENO); // what a child prints is matched on stderr
        routine(text, INT_MAX);             // refused before a single unit is read
        std::fflush(stdout);
        _exit(text[0] == 0x05D0 && text[1] == 0x05D1 ? 0 : 1);
    };
    for (const auto routine : {arabicRulesConvert, reversalHebrew}) {
        EXPECT_EXIT(convert(routine), testing::ExitedWithCode(0),
                    "(^|\n)Malloc unicode failed\\.\n$");
    }
}
