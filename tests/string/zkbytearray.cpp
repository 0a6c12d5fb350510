#include <zkbytearray.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iomanip>
#include <random>
#include <sstream>
#include <string>
#include <unordered_set>
#include <utility>

struct ZkInspector {
    static const ZkByteArray::Data &block(const ZkByteArray &bytes) { return *bytes.d; }
};

namespace
{

const ZkByteArray::Data &block(const ZkByteArray &bytes)
{
    return ZkInspector::block(bytes);
}

std::string text(const ZkByteArray &bytes)
{
    return std::string(bytes.toStdStringView());
}

/// `n` bytes from malloc for an array to take over.
char *fromMalloc(const char *bytes, std::size_t n)
{
    char *copy = static_cast<char *>(std::malloc(n == 0 ? 1 : n));
    std::memcpy(copy, bytes, n);
    return copy;
}

ZkByteArray raw(const std::string &bytes)
{
    ZkByteArray array;
    array.fromRawBytes(fromMalloc(bytes.data(), bytes.size()), int(bytes.size()), false);
    return array;
}

} // namespace

TEST(ZkByteArray, ConstructorsSizeTheBufferExactly)
{
    const std::string zeros(5, '\0');
    const struct {
        const char *what;
        ZkByteArray bytes;
        std::string text;
        int capacity;
    } kRows[] = {
        {"nothing", ZkByteArray(), "", 0},
        {"five", ZkByteArray(5), zeros, 6},
        {"none", ZkByteArray(0), "", 0},
        {"fewer than none", ZkByteArray(INT_MIN), "", 0},
        {"five of a byte", ZkByteArray(5, 'x'), "xxxxx", 6},
        {"five of a high byte", ZkByteArray(2, '\xFF'), "\xFF\xFF", 3},
        {"none of a byte", ZkByteArray(0, 'x'), "", 0},
        {"fewer than none of a byte", ZkByteArray(-1, 'x'), "", 0},
        {"a text", ZkByteArray("abc"), "abc", 4},
        {"part of a text", ZkByteArray("abc", 2), "ab", 3},
        {"no more than the text", ZkByteArray("abc", 10), "abc", 4},
        {"no part", ZkByteArray("abc", 0), "", 1},
        {"an empty text", ZkByteArray(""), "", 1},
        {"null", ZkByteArray(static_cast<const char *>(nullptr)), "", 0},
        {"null with a length", ZkByteArray(static_cast<const char *>(nullptr), 3), "", 0},
        {"a view", ZkByteArray(std::string_view("a\0b", 3)), std::string("a\0b", 3), 4},
        {"an empty view", ZkByteArray(std::string_view()), "", 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(text(row.bytes), row.text);
        EXPECT_EQ(row.bytes.size(), int(row.text.size()));
        EXPECT_EQ(row.bytes.isEmpty(), row.text.empty());
        EXPECT_EQ(row.bytes.capacity(), row.capacity);
        EXPECT_EQ(row.bytes.constData()[row.bytes.size()], '\0');
        EXPECT_EQ(block(row.bytes).ref, 1);
        EXPECT_EQ(block(row.bytes).data == nullptr, row.capacity == 0);
    }
}

TEST(ZkByteArray, ALengthBoundsWhatIsRead)
{
    // No 0 byte in the buffer: under the sanitizer a byte too far is an error.
    char *bytes = fromMalloc("abc", 3);
    EXPECT_EQ(text(ZkByteArray(bytes, 3)), "abc");
    std::free(bytes);
}

TEST(ZkByteArray, CopiesShareTheBlock)
{
    ZkByteArray a("abc");
    ZkByteArray b = a;
    EXPECT_TRUE(a.isSharedWith(b));
    EXPECT_EQ(block(a).ref, 2);
    ZkByteArray c("xyz");
    const ZkByteArray d = c;
    c = a;
    EXPECT_EQ(block(a).ref, 3);
    EXPECT_EQ(block(d).ref, 1);
    b = ZkByteArray();
    EXPECT_EQ(block(a).ref, 2);
    const ZkByteArray &self = c;
    c = self;
    EXPECT_EQ(block(a).ref, 2);
    EXPECT_EQ(text(c), "abc");
}

TEST(ZkByteArray, AMovedFromArrayIsEmptyAndUsable)
{
    ZkByteArray a("abc");
    ZkByteArray b = std::move(a);
    EXPECT_EQ(text(b), "abc");
    EXPECT_EQ(block(b).ref, 1);
    EXPECT_TRUE(a.isEmpty()); // NOLINT: what is left is told
    a = std::move(b);
    EXPECT_EQ(text(a), "abc");
    EXPECT_TRUE(b.isEmpty()); // NOLINT
    ZkByteArray &self = a;
    a = std::move(self);
    EXPECT_EQ(text(a), "abc");
    b = a;
    EXPECT_TRUE(a.isSharedWith(b));
}

TEST(ZkByteArray, FromRawBytesTakesOverTheBufferOrCopiesIt)
{
    ZkByteArray bytes("old");
    const ZkByteArray old = bytes;
    char *buffer = fromMalloc("abc", 3);
    bytes.fromRawBytes(buffer, 3, false);
    EXPECT_EQ(bytes.constData(), buffer);
    EXPECT_EQ(bytes.size(), 3);
    EXPECT_EQ(bytes.capacity(), 3);
    EXPECT_EQ(block(old).ref, 1);

    char source[] = "abcdef";
    bytes.fromRawBytes(source, 3, true);
    EXPECT_NE(bytes.constData(), source);
    EXPECT_STREQ(bytes.constData(), "abc");
    EXPECT_EQ(bytes.capacity(), 4);

    bytes.fromRawBytes(source, -1, true);
    EXPECT_STREQ(bytes.constData(), "abcdef");
    bytes.fromRawBytes(source, 0, true);
    EXPECT_STREQ(bytes.constData(), "");
    EXPECT_EQ(bytes.capacity(), 1);

    bytes.fromRawBytes(fromMalloc("xy", 3), INT_MIN, false);
    EXPECT_EQ(text(bytes), "xy");
    EXPECT_EQ(bytes.capacity(), 2);
}

TEST(ZkByteArray, FromRawBytesOfNullChangesNothing)
{
    ZkByteArray bytes("abc");
    const ZkByteArray copy = bytes;
    bytes.fromRawBytes(nullptr, 3, true);
    bytes.fromRawBytes(nullptr, 3, false);
    EXPECT_TRUE(bytes.isSharedWith(copy));
}

TEST(ZkByteArray, FromRawBytesCopiesItsOwnBytes)
{
    ZkByteArray bytes("abcdef");
    bytes.fromRawBytes(const_cast<char *>(bytes.constData()) + 2, 3, true);
    EXPECT_EQ(text(bytes), "cde");
}

TEST(ZkByteArray, TheBufferNeverShrinks)
{
    ZkByteArray::Data data = {{1}, 0, 0, nullptr};
    const struct {
        int n;
        bool grow;
        int alloc;
    } kSteps[] = {{5, false, 5}, {5, true, 5},   {6, true, 12},   {1, false, 12},
                  {0, true, 12}, {13, true, 26}, {30, false, 30}, {7, false, 30}};
    for (const auto &step : kSteps) {
        ZkByteArray::Data::allocMemory(&data, step.n, step.grow);
        EXPECT_EQ(data.alloc, step.alloc) << step.n;
    }
    std::free(data.data);
}

TEST(ZkByteArray, ABufferOfMoreThanIntMaxBytesEndsTheProcess)
{
    EXPECT_DEATH(ZkByteArray(INT_MAX, 'x'), "libzk: no memory for 2147483648 bytes");
    ZkByteArray::Data data = {{1}, 0, 0, nullptr};
    EXPECT_DEATH(ZkByteArray::Data::allocMemory(&data, INT_MAX, true),
                 "libzk: no memory for 4294967294 bytes");
}

TEST(ZkByteArray, EqualityStopsAtAZeroByte)
{
    const std::string zero(1, '\0');
    const struct {
        std::string a, b;
        bool equal;
    } kRows[] = {
        {"abc", "abc", true},
        {"abc", "abd", false},
        {"abc", "ab", false},
        {"a" + zero + "b", "a", true},
        {"a" + zero + "b", "a" + zero + "c", true},
        {zero + "a", "", true},
        {"", "", true},
        {"", "a", false},
        {"\xFF", "\x7F", false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.a + " and " + row.b);
        const ZkByteArray a{std::string_view(row.a)};
        const ZkByteArray b{std::string_view(row.b)};
        EXPECT_EQ(a == b, row.equal);
        EXPECT_EQ(b == a, row.equal);
        EXPECT_EQ(a != b, !row.equal);
        // Buffers without a terminator end where the array does.
        EXPECT_EQ(raw(row.a) == raw(row.b), row.equal);
        EXPECT_EQ(raw(row.a) == b, row.equal);
        if (row.equal) {
            EXPECT_EQ(std::hash<ZkByteArray>()(a), std::hash<ZkByteArray>()(b));
        }
    }
    EXPECT_TRUE(ZkByteArray() == ZkByteArray());
    EXPECT_TRUE(ZkByteArray() == ZkByteArray(""));
    EXPECT_TRUE(ZkByteArray() == raw(zero + "x"));
    EXPECT_FALSE(ZkByteArray("x") == ZkByteArray());
}

// As the operator says: with 0 bytes inside it is no order.
TEST(ZkByteArray, BytesWithZerosInsideGoRoundInACircle)
{
    const ZkByteArray ab("ab");
    const ZkByteArray zeroZ(std::string_view("a\0zzzz", 6));
    const ZkByteArray zeroX(std::string_view("aa\0xxxxx", 8));
    EXPECT_LT(ab, zeroZ);
    EXPECT_LT(zeroZ, zeroX);
    EXPECT_LT(zeroX, ab);
}

TEST(ZkByteArray, OrderIsThatOfUnsignedBytesThenOfSizes)
{
    const std::string zero(1, '\0');
    const struct {
        std::string a, b;
        bool less, greater;
    } kRows[] = {
        {"abc", "abd", true, false},
        {"abc", "abc", false, false},
        {"ab", "abc", true, false},
        {"", "a", true, false},
        {"", "", false, false},
        {"a", "\xE9", true, false},
        {"\x7F", "\x80", true, false},
        // From a 0 byte in either on only the sizes count.
        {"a" + zero + "z", "a" + zero + "b", false, false},
        {"a" + zero, "abc", true, false},
        {"a" + zero + "xyz", "abc", false, true},
        {zero, "", false, true},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.a + " and " + row.b);
        const ZkByteArray a{std::string_view(row.a)};
        const ZkByteArray b{std::string_view(row.b)};
        EXPECT_EQ(a < b, row.less);
        EXPECT_EQ(b < a, row.greater);
        EXPECT_EQ(a > b, row.greater);
        EXPECT_EQ(a <= b, !row.greater);
        EXPECT_EQ(a >= b, !row.less);
    }
}

TEST(ZkByteArray, BytesAreReadByIndexAndInRange)
{
    const ZkByteArray bytes("abc");
    EXPECT_EQ(bytes[0], 'a');
    EXPECT_EQ(bytes.at(2), 'c');
    for (const int outside : {-1, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(bytes.at(outside), '\0');
        EXPECT_EQ(bytes[outside], '\0');
    }
    std::string all;
    for (const char byte : bytes) {
        all += byte;
    }
    EXPECT_EQ(all, "abc");
    EXPECT_STREQ(ZkByteArray().constData(), "");
    EXPECT_EQ(ZkByteArray().begin(), ZkByteArray().end());
    EXPECT_EQ(bytes.data(), bytes.constData());
}

TEST(ZkByteArray, AStreamGetsAllBytes)
{
    std::ostringstream stream;
    stream << ZkByteArray(std::string_view("a\0\xFF", 3)) << '|' << std::setw(3) << ZkByteArray("b")
           << ZkByteArray();
    EXPECT_EQ(stream.str(), std::string("a\0\xFF|  b", 7));
}

TEST(ZkByteArray, EqualTextsAreOneInAHashedSet)
{
    std::unordered_set<ZkByteArray> set;
    set.insert("abc");
    set.insert(ZkByteArray(std::string_view("abc\0d", 5)));
    set.insert(ZkByteArray());
    set.insert("");
    set.insert("abd");
    EXPECT_EQ(set.size(), 3U);
    EXPECT_EQ(set.count("abc"), 1U);
}

TEST(ZkByteArray, TheEmptyBlockIsNeverFreed)
{
    EXPECT_GE(ZkByteArray::Data::shared_null.ref, 1);
    EXPECT_EQ(ZkByteArray::Data::shared_null.alloc, 0);
    EXPECT_EQ(ZkByteArray::Data::shared_null.size, 0);
    EXPECT_EQ(ZkByteArray::Data::shared_null.data, nullptr);
}

static_assert(sizeof(ZkByteArray) == sizeof(void *), "an array is one pointer");
