#include <zkstring.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iomanip>
#include <sstream>
#include <string>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

struct ZkInspector {
    static const ZkString::Data &block(const ZkString &string) { return *string.d; }
};

namespace
{

const ZkString::Data &block(const ZkString &string)
{
    return ZkInspector::block(string);
}

bool isSharedNull(const ZkString &string)
{
    return &block(string) == &ZkString::Data::shared_null;
}

std::u16string text(const ZkString &string)
{
    return string.toStdU16String();
}

const ZkString &readOnly(const ZkString &string)
{
    return string;
}

} // namespace

TEST(ZkString, ConstructorsSizeTheBufferExactly)
{
    const ZkUcs2 kUnits[] = {'a', 0, 0x628};
    const char *const kNull = nullptr;
    const struct {
        const char *what;
        ZkString string;
        std::u16string text;
        int capacity;
    } kRows[] = {
        {"nothing", ZkString(), u"", 0},
        {"a char", ZkString('a'), u"a", 2},
        {"a high char", ZkString('\xE9'), u"\u00E9", 2},
        {"the highest char", ZkString('\xFF'), u"\u00FF", 2},
        {"a zero char", ZkString('\0'), std::u16string(1, u'\0'), 2},
        {"a unit", ZkString(ZkUcs2(0x628)), u"\u0628", 2},
        {"a unit as a number", ZkString(0x20AC), u"\u20AC", 2},
        {"UTF-8", ZkString("a\xC3\xA9"), u"a\u00E9", 4},
        {"part of a text", ZkString("abc", 2), u"ab", 3},
        {"no more than the text", ZkString("abc", 10), u"abc", 4},
        {"any negative length", ZkString("abc", INT_MIN), u"abc", 4},
        {"no part", ZkString("abc", 0), u"", 1},
        {"part of a character", ZkString("a\xC3\xA9", 2), u"a", 3},
        {"an empty text", ZkString(""), u"", 1},
        {"null", ZkString(kNull), u"", 0},
        {"null with a length", ZkString(kNull, 3), u"", 0},
        {"units", ZkString(kUnits, 3), std::u16string(u"a\0\u0628", 3), 4},
        {"no units", ZkString(kUnits, 0), u"", 0},
        {"fewer than no units", ZkString(kUnits, -1), u"", 0},
        {"null units", ZkString(static_cast<const ZkUcs2 *>(nullptr), 3), u"", 0},
        {"three of a char", ZkString(3, 'x'), u"xxx", 4},
        {"three of a high char", ZkString(3, '\x80'), u"\u0080\u0080\u0080", 4},
        {"three of a unit", ZkString(3, ZkUcs2(0x628)), u"\u0628\u0628\u0628", 4},
        {"none of a char", ZkString(0, 'x'), u"", 0},
        {"fewer than none of a unit", ZkString(INT_MIN, ZkUcs2(1)), u"", 0},
        {"a view", ZkString(std::string_view("a\0b", 3)), std::u16string(u"a\0b", 3), 4},
        {"a null view", ZkString(std::string_view()), u"", 0},
        {"an empty view", ZkString(std::string_view("")), u"", 1},
        {"a view of units", ZkString(std::u16string_view(u"a\0b", 3)), std::u16string(u"a\0b", 3),
         4},
        {"an empty view of units", ZkString(std::u16string_view(u"")), u"", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(text(row.string), row.text);
        EXPECT_EQ(row.string.size(), int(row.text.size()));
        EXPECT_EQ(row.string.isEmpty(), row.text.empty());
        EXPECT_EQ(row.string.capacity(), row.capacity);
        EXPECT_EQ(row.string.constData()[row.string.size()], 0);
        EXPECT_EQ(block(row.string).ref, 1);
        EXPECT_EQ(block(row.string).data == nullptr, row.capacity == 0);
    }
}

TEST(ZkString, ALengthBoundsWhatIsRead)
{
    // No 0 byte in the buffer: under the sanitizer a byte too far is an error.
    char *bytes = static_cast<char *>(std::malloc(3));
    std::memcpy(bytes, "abc", 3);
    EXPECT_EQ(ZkString(bytes, 3), "abc");
    EXPECT_EQ(ZkString("x").append(bytes, 3), "xabc");
    EXPECT_EQ(ZkString("x").prepend(bytes, 3), "abcx");
    EXPECT_EQ(ZkString("xy").insert(1, bytes, 3), "xabcy");
    std::free(bytes);
}

TEST(ZkString, EvenEmptyStringsHaveBlocksOfTheirOwn)
{
    EXPECT_FALSE(ZkString().isSharedWith(ZkString()));
    EXPECT_FALSE(isSharedNull(ZkString()));
    EXPECT_FALSE(isSharedNull(ZkString("")));
}

TEST(ZkString, TheEmptyBlockIsNeverFreed)
{
    const int before = ZkString::Data::shared_null.ref;
    EXPECT_GE(before, 1);
    {
        const ZkString empty = ZkString("abc").mid(3);
        const ZkString copy = empty;
        EXPECT_TRUE(isSharedNull(empty) && isSharedNull(copy));
        EXPECT_EQ(ZkString::Data::shared_null.ref, before + 2);
    }
    EXPECT_EQ(ZkString::Data::shared_null.ref, before);
    EXPECT_EQ(ZkString::Data::shared_null.alloc, 0);
    EXPECT_EQ(ZkString::Data::shared_null.size, 0);
    EXPECT_EQ(ZkString::Data::shared_null.data, nullptr);
}

TEST(ZkString, CopiesShareUntilOneChanges)
{
    ZkString a("abc");
    ZkString b = a;
    ZkString c("xyz");
    const ZkString d = c;
    c = a;
    EXPECT_TRUE(a.isSharedWith(b) && a.isSharedWith(c));
    EXPECT_EQ(block(a).ref, 3);
    EXPECT_EQ(block(d).ref, 1);
    b.append("d");
    EXPECT_EQ(block(a).ref, 2);
    EXPECT_EQ(a, "abc");
    EXPECT_EQ(b, "abcd");
    const ZkString &self = c;
    c = self;
    EXPECT_EQ(block(a).ref, 2);
    EXPECT_EQ(c, "abc");
}

TEST(ZkString, AssigningItselfKeepsTheOnlyCopy)
{
    ZkString a("abc");
    ZkString &self = a;
    a = self;
    EXPECT_EQ(a, "abc");
    a = std::move(self);
    EXPECT_EQ(a, "abc");
    EXPECT_EQ(block(a).ref, 1);
}

TEST(ZkString, AMovedFromStringIsEmptyAndUsable)
{
    ZkString a("abc");
    ZkString b = std::move(a);
    EXPECT_EQ(b, "abc");
    EXPECT_EQ(block(b).ref, 1);
    EXPECT_TRUE(isSharedNull(a)); // NOLINT: what is left is told
    a.append("x");
    EXPECT_EQ(a, "x");
    a = std::move(b);
    EXPECT_EQ(a, "abc");
    b = a; // NOLINT
    EXPECT_TRUE(a.isSharedWith(b));
}

TEST(ZkString, AssignsOneUnit)
{
    ZkString a("abc");
    const ZkString copy = a;
    a = 'x';
    EXPECT_EQ(a, "x");
    a = '\xE9';
    EXPECT_EQ(a, "\xC3\xA9");
    a = ZkUcs2(0x628);
    EXPECT_EQ(a, "\xD8\xA8");
    a = 0x20AC;
    EXPECT_EQ(a, "\xE2\x82\xAC");
    EXPECT_EQ(a.capacity(), 2);
    a = "text";
    EXPECT_EQ(a, "text");
    EXPECT_EQ(copy, "abc");
}

TEST(ZkString, AtReportsAnIndexBehindTheEndOnly)
{
    const ZkString text("abc");
    EXPECT_EQ(text.at(0), 'a');
    EXPECT_EQ(text.at(2), 'c');
    EXPECT_EQ(text.at(-1), 0);
    EXPECT_EQ(text.at(INT_MIN), 0);
    EXPECT_EQ(ZkString().at(-1), 0);
    const char *const kReport = "\\.\\./include/pub/zkstring:302: ZkUcs2 ZkString::at\\(int\\) "
                                "const: Assertion `i < size\\(\\)' failed\\.";
    EXPECT_DEATH(text.at(3), kReport);
    EXPECT_DEATH(text.at(INT_MAX), kReport);
    EXPECT_DEATH(ZkString().at(0), kReport);
}

TEST(ZkString, AnIndexReadsZeroOutsideTheText)
{
    const ZkString text("abc");
    EXPECT_EQ(text[0], 'a');
    EXPECT_EQ(text[2], 'c');
    for (const int outside : {-1, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(text[outside], 0);
        EXPECT_EQ(readOnly(ZkString())[outside], 0);
    }
}

TEST(ZkString, AnIndexForWritingDetachesAndIsChecked)
{
    ZkString text("abc");
    const ZkString copy = text;
    text[1] = 'X';
    EXPECT_EQ(text, "aXc");
    EXPECT_EQ(copy, "abc");
    EXPECT_DEATH(text[3] = 'x', "operator\\[\\]\\(int\\): Assertion");
    EXPECT_DEATH(text[-1] = 'x', "operator\\[\\]\\(int\\): Assertion");
}

TEST(ZkString, OnlyDataForWritingDetaches)
{
    ZkString a("abc");
    const ZkString b = a;
    EXPECT_EQ(a.constData(), b.constData());
    EXPECT_EQ(readOnly(a).data(), b.data());
    EXPECT_EQ(readOnly(a).begin(), b.begin());
    EXPECT_TRUE(a.isSharedWith(b));
    for (ZkUcs2 &unit : a) {
        unit = 'x';
    }
    EXPECT_EQ(a, "xxx");
    EXPECT_EQ(b, "abc");
    a.data()[0] = 'y';
    EXPECT_EQ(a, "yxx");

    ZkString none;
    EXPECT_EQ(none.data()[0], 0);
    EXPECT_EQ(none.begin(), none.end());
    EXPECT_EQ(none.capacity(), 0);
    ZkString null = b.mid(3);
    EXPECT_EQ(null.data()[0], 0);
    EXPECT_FALSE(isSharedNull(null));
}

TEST(ZkString, LeftAndRightShareTheWholeText)
{
    const ZkString text("abcdef");
    const struct {
        int n;
        const char *left, *right;
        bool shared;
    } kRows[] = {
        {0, "", "", false},
        {1, "a", "f", false},
        {5, "abcde", "bcdef", false},
        {6, "abcdef", "abcdef", true},
        {7, "abcdef", "abcdef", true},
        {INT_MAX, "abcdef", "abcdef", true},
        {-1, "abcdef", "abcdef", true},
        {INT_MIN, "abcdef", "abcdef", true},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.n);
        EXPECT_EQ(text.left(row.n), row.left);
        EXPECT_EQ(text.right(row.n), row.right);
        EXPECT_EQ(text.left(row.n).isSharedWith(text), row.shared);
        EXPECT_EQ(text.right(row.n).isSharedWith(text), row.shared);
    }
    EXPECT_EQ(block(text).ref, 1);
    const ZkString whole = text.left(-1);
    EXPECT_EQ(block(text).ref, 2);
    // No units of a text are a fresh block; all of an empty one are that block.
    EXPECT_FALSE(isSharedNull(text.left(0)));
    EXPECT_EQ(text.left(0).capacity(), 0);
    const ZkString empty("");
    EXPECT_TRUE(empty.left(0).isSharedWith(empty));
}

TEST(ZkString, MidLeavesOffWhatLiesOutside)
{
    const ZkString text("abcdef");
    enum { kOwn, kWhole, kNull };
    const struct {
        int pos, n;
        const char *text;
        int block;
    } kRows[] = {
        {0, 3, "abc", kOwn},       {2, 3, "cde", kOwn},        {4, 10, "ef", kOwn},
        {4, INT_MAX, "ef", kOwn},  {2, -1, "cdef", kOwn},      {2, INT_MIN, "cdef", kOwn},
        {2, 0, "", kOwn},          {-2, 3, "a", kOwn},         {-2, 2, "", kOwn},
        {-2, 0, "", kOwn},         {-3, 2, "", kOwn},          {INT_MIN, INT_MAX, "", kOwn},
        {0, 6, "abcdef", kWhole},  {0, -1, "abcdef", kWhole},  {0, INT_MAX, "abcdef", kWhole},
        {-2, 8, "abcdef", kWhole}, {-2, -1, "abcdef", kWhole}, {INT_MIN, -1, "abcdef", kWhole},
        {6, 1, "", kNull},         {6, -1, "", kNull},         {INT_MAX, INT_MAX, "", kNull},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::to_string(row.pos) + ", " + std::to_string(row.n));
        const ZkString part = text.mid(row.pos, row.n);
        EXPECT_EQ(part, row.text);
        EXPECT_EQ(part.isSharedWith(text), row.block == kWhole);
        EXPECT_EQ(isSharedNull(part), row.block == kNull);
    }
    EXPECT_EQ(text.mid(4), "ef");
    EXPECT_TRUE(isSharedNull(ZkString("").mid(0)));
    EXPECT_TRUE(isSharedNull(ZkString().mid(-1, 5)));
}

TEST(ZkString, TrimmedTakesWhiteSpaceOffBothEnds)
{
    const struct {
        const char *text, *trimmed;
    } kRows[] = {
        {" a b ", "a b"},
        {"\t\n\v\f\r a", "a"},
        {"a\xC2\xA0\xE2\x80\xA8\xE2\x80\xA9\xE3\x80\x80", "a"}, // U+00A0, 2028, 2029, 3000
        {"  \xC2\x85  ", "\xC2\x85"},                           // U+0085 is none
        {" x", "x"},
        {"x ", "x"},
    };
    for (const auto &row : kRows) {
        EXPECT_EQ(ZkString(row.text).trimmed(), row.trimmed) << row.text;
    }
    const ZkString text("a b");
    EXPECT_TRUE(text.trimmed().isSharedWith(text));
    const ZkString empty("");
    EXPECT_TRUE(empty.trimmed().isSharedWith(empty));
    EXPECT_TRUE(isSharedNull(ZkString("  ").trimmed()));
    EXPECT_TRUE(isSharedNull(ZkString(" ").trimmed()));
}

TEST(ZkString, AppendAndPrependDoubleTheBufferWhenItIsFull)
{
    ZkString text("abc");
    text.append("def");
    EXPECT_EQ(text, "abcdef");
    EXPECT_EQ(text.capacity(), 14);
    text.prepend(ZkString("xyz"));
    EXPECT_EQ(text, "xyzabcdef");
    EXPECT_EQ(text.capacity(), 14);
    text.append('g').prepend('w').append(ZkUcs2(0x628)).prepend(0x627);
    EXPECT_EQ(text, "\xD8\xA7wxyzabcdefg\xD8\xA8");
    EXPECT_EQ(text.capacity(), 14);
    text.prepend(ZkUcs2('.'));
    EXPECT_EQ(text.capacity(), 30);

    // Room is asked for by the byte, whatever the bytes make.
    ZkString wide("a");
    wide.append("\xE2\x82\xAC");
    EXPECT_EQ(wide, "a\xE2\x82\xAC");
    EXPECT_EQ(wide.capacity(), 10);
    wide.prepend("\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC");
    EXPECT_EQ(wide, "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC"
                    "a\xE2\x82\xAC");
    EXPECT_EQ(wide.capacity(), 24);
}

TEST(ZkString, AppendingNothingDependsOnWhatNothingIs)
{
    ZkString text("abc");
    const ZkString copy = text;
    text.append(ZkString()).prepend(ZkString("")).append(nullptr).prepend(nullptr);
    text.insert(1, ZkString()).insert(1, static_cast<const char *>(nullptr));
    EXPECT_TRUE(text.isSharedWith(copy));
    // An empty text of bytes is a text: there is a buffer behind it.
    text.append("");
    EXPECT_FALSE(text.isSharedWith(copy));
    ZkString none;
    none.append("");
    EXPECT_EQ(none.capacity(), 2);
}

TEST(ZkString, InsertPutsTextInFrontOfAUnit)
{
    EXPECT_EQ(ZkString("abc").insert(1, 'x'), "axbc");
    EXPECT_EQ(ZkString("abc").insert(3, 'x'), "abcx");
    EXPECT_EQ(ZkString("abc").insert(0, ZkUcs2(0x628)), "\xD8\xA8"
                                                        "abc");
    EXPECT_EQ(ZkString("abc").insert(-1, 'x'), "xabc");
    EXPECT_EQ(ZkString("abc").insert(INT_MAX, '\xE9'), "abc\xC3\xA9");
    EXPECT_EQ(ZkString().insert(0, 'x'), "x");
    EXPECT_EQ(ZkString().insert(5, 'x').capacity(), 4);

    EXPECT_EQ(ZkString("abc").insert(1, ZkString("xy")), "axybc");
    EXPECT_EQ(ZkString("abc").insert(-1, ZkString("xy")), "xyabc");
    EXPECT_EQ(ZkString("abc").insert(3, ZkString("xy")), "abcxy");
    EXPECT_EQ(ZkString("abc").insert(INT_MIN, ZkString("xy")), "xyabc");
    EXPECT_EQ(ZkString("abc").insert(INT_MAX, ZkString("xy")), "abcxy");

    EXPECT_EQ(ZkString("abc").insert(1, "\xD8\xA8\xC3"), "a\xD8\xA8"
                                                         "bc");
    EXPECT_EQ(ZkString("abc").insert(1, "xyz", 2), "axybc");
    EXPECT_EQ(ZkString("abc").insert(1, "xyz", 0), "abc");
}

TEST(ZkString, InsertOfBytesOutsideTheTextForgetsTheLength)
{
    EXPECT_EQ(ZkString("abc").insert(-5, "xy", 1), "xyabc");
    EXPECT_EQ(ZkString("abc").insert(3, "xy", 1), "abcxy");
    EXPECT_EQ(ZkString("abc").insert(INT_MAX, "xy", 0), "abcxy");
    EXPECT_EQ(ZkString().insert(0, "xy", 1), "xy");
}

TEST(ZkString, InsertOfBytesShowsInEveryCopy)
{
    ZkString text("abc");
    const ZkString copy = text;
    text.insert(1, "xy");
    EXPECT_TRUE(text.isSharedWith(copy));
    EXPECT_EQ(copy, "axybc");
    // At the ends it is prepend and append, which detach.
    text.insert(5, "z");
    EXPECT_FALSE(text.isSharedWith(copy));
    EXPECT_EQ(copy, "axybc");
}

TEST(ZkString, RemoveTakesOutARange)
{
    const struct {
        int pos, n;
        const char *text;
    } kRows[] = {{1, 2, "adef"},    {0, 1, "bcdef"},        {5, 1, "abcde"},
                 {2, 4, "ab"},      {2, INT_MAX, "ab"},     {0, 6, ""},
                 {6, 1, "abcdef"},  {INT_MAX, 1, "abcdef"}, {1, 0, "abcdef"},
                 {1, -1, "abcdef"}, {-1, 1, "abcde"},       {-6, 2, "cdef"},
                 {-7, 2, "abcdef"}, {INT_MIN, 1, "abcdef"}, {1, INT_MIN, "abcdef"}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::to_string(row.pos) + ", " + std::to_string(row.n));
        ZkString text("abcdef");
        const ZkString copy = text;
        text.remove(row.pos, row.n);
        EXPECT_EQ(text, row.text);
        EXPECT_EQ(copy, "abcdef");
        EXPECT_EQ(text.isSharedWith(copy), text.size() == 6);
    }
    // Up to the end it is a resize, which may shrink the buffer.
    EXPECT_EQ(ZkString(100, 'x').remove(10, 90).capacity(), 11);
    EXPECT_EQ(ZkString(100, 'x').remove(10, 89).capacity(), 101);
}

TEST(ZkString, ResizeShrinksABufferMoreThanThreeTimesTooLarge)
{
    ZkString text;
    text.resize(1000);
    EXPECT_EQ(text.capacity(), 1001);
    text.resize(10);
    EXPECT_EQ(text.capacity(), 11);
    text.resize(33);
    EXPECT_EQ(text.capacity(), 34);
    text.resize(11); // 3 * 12 is 36
    EXPECT_EQ(text.capacity(), 34);
    text.resize(10); // 3 * 11 is 33
    EXPECT_EQ(text.capacity(), 11);
    // Growing may shrink as well.
    text.resize(1000);
    text.clear();
    EXPECT_EQ(text.capacity(), 1001);
    text.append("ab");
    EXPECT_EQ(text.capacity(), 6);
}

TEST(ZkString, ResizeFillsWithZerosAndTakesANegativeSizeAsNone)
{
    ZkString text("abc");
    text.resize(5);
    EXPECT_EQ(std::u16string(u"abc\0\0", 5), ::text(text));
    text.resize(3);
    EXPECT_EQ(text, "abc");
    const ZkString copy = text;
    text.resize(3);
    EXPECT_TRUE(text.isSharedWith(copy));
    text.resize(-1);
    EXPECT_EQ(text, "");
    EXPECT_EQ(copy, "abc");
    text.resize(INT_MIN);
    EXPECT_EQ(text.size(), 0);
}

TEST(ZkString, TruncateChopAndClear)
{
    ZkString text("abcdef");
    const ZkString copy = text;
    text.truncate(6);
    text.truncate(INT_MAX);
    text.chop(0);
    text.chop(INT_MIN);
    EXPECT_TRUE(text.isSharedWith(copy));
    text.truncate(4);
    EXPECT_EQ(text, "abcd");
    text.chop(1);
    EXPECT_EQ(text, "abc");
    text.chop(INT_MAX);
    EXPECT_EQ(text, "");
    text = copy;
    text.truncate(-1);
    EXPECT_EQ(text, "");
    text = copy;
    text.clear();
    EXPECT_EQ(text, "");
    EXPECT_EQ(text.capacity(), 7);
    EXPECT_EQ(copy, "abcdef");
    text = ZkString();
    const ZkString empty = text;
    text.clear();
    EXPECT_TRUE(text.isSharedWith(empty));
}

TEST(ZkString, FillOverwritesEveryUnit)
{
    ZkString text("abc");
    const ZkString copy = text;
    EXPECT_EQ(text.fill('x'), "xxx");
    EXPECT_EQ(copy, "abc");
    EXPECT_EQ(text.fill(ZkUcs2(0x628), 2), "\xD8\xA8\xD8\xA8");
    EXPECT_EQ(text.fill('\xE9', 1), "\xC3\xA9");
    EXPECT_EQ(text.fill('x', 0), "");
    EXPECT_EQ(text.fill('x', INT_MIN), "");
    EXPECT_EQ(ZkString().fill('x'), "");
}

TEST(ZkString, ReplaceByAUnitOverwritesARange)
{
    const struct {
        int pos, n;
        const char *text;
    } kRows[] = {{1, 2, "axxd"},       {0, 4, "xxxx"},      {3, 5, "abcx"}, {4, 1, "abcd"},
                 {5, 1, "abcd"},       {-1, 2, "abcd"},     {1, 0, "abcd"}, {1, -3, "abcd"},
                 {0, INT_MAX, "xxxx"}, {INT_MIN, 1, "abcd"}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(std::to_string(row.pos) + ", " + std::to_string(row.n));
        ZkString text("abcd");
        const ZkString copy = text;
        EXPECT_EQ(text.replace(row.pos, row.n, 'x'), row.text);
        EXPECT_EQ(copy, "abcd");
        EXPECT_EQ(text.isSharedWith(copy), std::strcmp(row.text, "abcd") == 0);
    }
    EXPECT_EQ(ZkString("abcd").replace(1, 2, ZkUcs2(0x628)), "a\xD8\xA8\xD8\xA8"
                                                             "d");
}

TEST(ZkString, ReplacePutsTextInPlaceOfARange)
{
    const ZkUcs2 kUnits[] = {'x', 'y', 'z'};
    EXPECT_EQ(ZkString("abcd").replace(1, 2, kUnits, 3), "axyzd");
    EXPECT_EQ(ZkString("abcd").replace(1, 2, kUnits, 1), "axd");
    EXPECT_EQ(ZkString("abcd").replace(1, 2, kUnits, 0), "ad");
    EXPECT_EQ(ZkString("abcd").replace(1, 2, kUnits, -1), "ad");
    EXPECT_EQ(ZkString("abcd").replace(1, 2, nullptr, 3), "ad");
    EXPECT_EQ(ZkString("abcd").replace(1, 0, kUnits, 2), "axybcd");
    EXPECT_EQ(ZkString("abcd").replace(1, INT_MIN, kUnits, 2), "axybcd");
    EXPECT_EQ(ZkString("abcd").replace(4, 1, kUnits, 2), "abcdxy");
    EXPECT_EQ(ZkString("abcd").replace(2, INT_MAX, kUnits, 2), "abxy");
    EXPECT_EQ(ZkString("abcd").replace(5, 1, kUnits, 2), "abcd");
    EXPECT_EQ(ZkString("abcd").replace(-1, 1, kUnits, 2), "abcd");
    EXPECT_EQ(ZkString().replace(0, 1, kUnits, 3), "xyz");
    EXPECT_EQ(ZkString("abcd").replace(1, 2, "xyz"), "axyzd");
    EXPECT_EQ(ZkString("abcd").replace(1, 2, kUnits, 3).capacity(), 6);
    EXPECT_EQ(ZkString(100, 'x').replace(0, 90, kUnits, 1).capacity(), 12);
}

TEST(ZkString, EveryChangeWorksWithTheStringItself)
{
    const auto once = [](auto change) {
        ZkString text("abc");
        change(text);
        return text;
    };
    EXPECT_EQ(once([](ZkString &s) { s.append(s); }), "abcabc");
    EXPECT_EQ(once([](ZkString &s) { s.prepend(s); }), "abcabc");
    EXPECT_EQ(once([](ZkString &s) { s.insert(1, s); }), "aabcbc");
    EXPECT_EQ(once([](ZkString &s) { s.insert(0, s); }), "abcabc");
    EXPECT_EQ(once([](ZkString &s) { s.insert(3, s); }), "abcabc");
    EXPECT_EQ(once([](ZkString &s) { s.replace(1, 1, s); }), "aabcc");
    EXPECT_EQ(once([](ZkString &s) { s.replace(0, 3, s); }), "abc");
    EXPECT_EQ(once([](ZkString &s) { s.replace(1, 2, readOnly(s).constData(), 2); }), "aab");
    EXPECT_EQ(once([](ZkString &s) { s.replace(0, 2, readOnly(s).constData() + 1, 2); }), "bcc");
    EXPECT_EQ(once([](ZkString &s) { s.replace(0, 0, readOnly(s).constData() + 1, 2); }), "bcabc");
}

TEST(ZkString, EveryChangeWorksWithACopyOfTheString)
{
    const auto once = [](auto change) {
        ZkString text("abc");
        const ZkString copy = text;
        change(text, copy);
        EXPECT_EQ(copy, "abc");
        return text;
    };
    using S = ZkString;
    EXPECT_EQ(once([](S &s, const S &copy) { s.append(copy); }), "abcabc");
    EXPECT_EQ(once([](S &s, const S &copy) { s.prepend(copy); }), "abcabc");
    EXPECT_EQ(once([](S &s, const S &copy) { s.insert(1, copy); }), "aabcbc");
    EXPECT_EQ(once([](S &s, const S &copy) { s.replace(1, 1, copy); }), "aabcc");
    EXPECT_EQ(once([](S &s, const S &copy) { s.replace(copy, "x"); }), "x");
    EXPECT_EQ(once([](S &s, const S &copy) { s.replace("b", copy); }), "aabcc");
    EXPECT_EQ(once([](S &s, const S &copy) { s.remove(copy); }), "");
}

TEST(ZkString, ABufferOfMoreThanIntMaxBytesEndsTheProcess)
{
    EXPECT_DEATH(ZkString(INT_MAX, 'x'), "libzk: no memory for 4294967296 bytes");
    EXPECT_DEATH(ZkString().resize(INT_MAX), "libzk: no memory for 4294967296 bytes");
    EXPECT_DEATH(ZkString("abc").fill('x', INT_MAX), "libzk: no memory");
    ZkString::Data data = {{1}, 0, 0, nullptr};
    EXPECT_DEATH(ZkString::Data::allocMemory(&data, 0x3FFFFFFF, true),
                 "libzk: no memory for 4294967292 bytes");
}

TEST(ZkString, TheBufferGrowsAndShrinksByItsRule)
{
    ZkString::Data data = {{1}, 0, 0, nullptr};
    const struct {
        int n;
        bool grow;
        int alloc;
    } kSteps[] = {{5, false, 5}, {5, true, 5},  {6, true, 12}, {4, false, 12},
                  {3, false, 3}, {9, true, 18}, {5, true, 10}, {30, false, 30}};
    for (const auto &step : kSteps) {
        ZkString::Data::allocMemory(&data, step.n, step.grow);
        EXPECT_EQ(data.alloc, step.alloc) << step.n;
    }
    std::free(data.data);
}

TEST(ZkString, TextsOfTheStandardLibraryComeInAndGoOut)
{
    const std::string utf8 = std::string("a\0\xD8\xA8", 4);
    const std::u16string units = std::u16string(u"a\0\u0628", 3);
    EXPECT_EQ(ZkString{std::string_view(utf8)}.toStdString(), utf8);
    EXPECT_EQ(ZkString{std::string_view(utf8)}.toStdU16String(), units);
    EXPECT_EQ(ZkString{std::u16string_view(units)}.toStdString(), utf8);
    EXPECT_EQ(ZkString{utf8}.toStdU16String(), units);
    EXPECT_EQ(ZkString{units}.toStdU16String(), units);
    EXPECT_EQ(ZkString().toStdString(), "");
    EXPECT_EQ(ZkString().toStdU16String(), u"");
}

TEST(ZkString, ARangeOfUnitsIsReadWithoutDetaching)
{
    const ZkString original("a\xD8\xA8");
    const ZkString copy = original;
    std::u16string units;
    for (const ZkUcs2 unit : copy) {
        units += static_cast<char16_t>(unit);
    }
    EXPECT_EQ(units, u"a\u0628");
    EXPECT_TRUE(copy.isSharedWith(original));
    const ZkString none;
    for (const ZkUcs2 unit : none) {
        ADD_FAILURE() << unit;
    }
}

TEST(ZkString, AStreamGetsUtf8)
{
    std::ostringstream stream;
    stream << ZkString("a\xD8\xA8") << '|' << std::setw(5) << std::setfill('.') << ZkString("b");
    EXPECT_EQ(stream.str(), "a\xD8\xA8|....b");
}

TEST(ZkString, EqualTextsAreOneInAHashedSet)
{
    std::unordered_set<ZkString> set;
    set.insert("abc");
    set.insert(ZkString("xabc").mid(1));
    set.insert(ZkString());
    set.insert(ZkString(""));
    set.insert("abd");
    EXPECT_EQ(set.size(), 3U);
    EXPECT_EQ(set.count("abc"), 1U);
}

TEST(ZkString, CopiesMayBeUsedAndDestroyedOnDifferentThreads)
{
    const ZkString original("text that every thread has a copy of");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([original] {
            for (int round = 0; round < 2000; ++round) {
                ZkString copy = original;
                const ZkString second = copy;
                copy.append('x').mid(copy.size());
                ASSERT_EQ(copy.size(), second.size() + 1);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(block(original).ref, 1);
}

static_assert(sizeof(ZkString) == sizeof(void *), "a string is one pointer");
