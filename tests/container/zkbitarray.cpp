#include "zkbitarray.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;
using Bytes = std::vector<unsigned char>;

// The bits of a text such as "1101", bit 0 first.
ZkBitArray bitsOf(const std::string &text)
{
    ZkBitArray bits(static_cast<int>(text.size()), false);
    for (int i = 0; i < bits.size(); ++i) {
        if (text[static_cast<std::size_t>(i)] == '1') {
            bits.setBit(i);
        }
    }
    return bits;
}

std::string textOf(const ZkBitArray &bits)
{
    std::string text;
    for (int i = 0; i < bits.size(); ++i) {
        text += bits.isSet(i) ? '1' : '0';
    }
    return text;
}

int bytesOf(const ZkBitArray &bits)
{
    return (bits.size() + 7) / 8;
}

Bytes rawOf(const ZkBitArray &bits)
{
    return Bytes(bits.constData(), bits.constData() + bytesOf(bits));
}

TEST(ZkBitArray, FillsThePaddingToo)
{
    const struct {
        const char *what;
        int size;
        bool value;
        Bytes raw;
    } rows[] = {
        {"nothing", 0, true, {}},
        {"three set", 3, true, {0xFF}},
        {"three clear", 3, false, {0}},
        {"eight", 8, true, {0xFF}},
        {"nine", 9, true, {0xFF, 0xFF}},
        {"sixteen clear", 16, false, {0, 0}},
        {"a negative size counts as 0", -1, true, {}},
        {"the most negative size", INT_MIN, true, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        const ZkBitArray made(row.size, row.value);
        ZkBitArray filled(77, !row.value);
        filled.fill(row.size, row.value);
        for (const ZkBitArray &bits : {made, filled}) {
            EXPECT_EQ(bits.size(), std::max(row.size, 0));
            EXPECT_EQ(bits.isEmpty(), row.size <= 0);
            EXPECT_THAT(rawOf(bits), ElementsAreArray(row.raw));
            EXPECT_EQ(bits.capacity(), static_cast<int>(row.raw.size()));
            EXPECT_TRUE(row.value ? bits.allSet() : bits.allCleared());
        }
    }
}

TEST(ZkBitArray, TheLargestSizeTakesAnEighthInBytes)
{
    const ZkBitArray bits(INT_MAX, false);
    EXPECT_EQ(bits.capacity(), INT_MAX / 8 + 1);
    EXPECT_FALSE(bits.isSet(INT_MAX - 1));
    EXPECT_FALSE(bits.isSet(INT_MAX));
}

TEST(ZkBitArray, BitsOutsideAreClearAndNotWritten)
{
    ZkBitArray bits(10, true);
    const ZkBitArray copy = bits;
    for (int i : {-1, 10, 15, 16, INT_MAX, INT_MIN}) {
        EXPECT_FALSE(bits.isSet(i)) << i;
        bits.setBit(i);
        bits.clearBit(i);
        EXPECT_TRUE(bits.isSharedWith(copy)) << "detached for nothing: " << i;
    }
    EXPECT_TRUE(bits.allSet());
    EXPECT_THAT(rawOf(bits), ElementsAre(0xFF, 0xFF));
}

TEST(ZkBitArray, LowestBitComesFirst)
{
    ZkBitArray bits(11, false);
    bits.setBit(0);
    bits.setBit(7);
    bits.setBit(9);
    EXPECT_THAT(rawOf(bits), ElementsAre(0x81, 0x02));
    EXPECT_EQ(textOf(bits), "10000001010");
    bits.clearBit(0);
    bits.clearBit(1);
    EXPECT_THAT(rawOf(bits), ElementsAre(0x80, 0x02));
}

TEST(ZkBitArray, CopiesShareUntilTheFirstWrite)
{
    const ZkBitArray a = bitsOf("1010101010");
    void (*const writers[])(ZkBitArray &) = {
        [](ZkBitArray &bits) { bits.setBit(1); },
        [](ZkBitArray &bits) { bits.clearBit(0); },
        [](ZkBitArray &bits) { bits.fill(3, true); },
        [](ZkBitArray &bits) { bits |= ZkBitArray(4, true); },
        [](ZkBitArray &bits) { bits &= ZkBitArray(4, false); },
        [](ZkBitArray &bits) { bits ^= ZkBitArray(4, true); },
        [](ZkBitArray &bits) { bits ^= *&bits; },
        [](ZkBitArray &bits) {
            const unsigned char raw[] = {1, 2};
            bits.fromRawBytes(raw, 16);
        },
    };
    int row = 0;
    for (const auto write : writers) {
        SCOPED_TRACE(row++);
        ZkBitArray b = a;
        EXPECT_TRUE(b.isSharedWith(a));
        EXPECT_TRUE(b == a && !b.allSet() && !b.allCleared() && b.isSet(0));
        EXPECT_TRUE(b.isSharedWith(a)) << "reading detached";
        write(b);
        EXPECT_FALSE(b.isSharedWith(a));
        EXPECT_EQ(textOf(a), "1010101010");
    }
}

TEST(ZkBitArray, MovedFromArraysAreUsable)
{
    ZkBitArray a = bitsOf("101");
    const ZkBitArray b = std::move(a);
    EXPECT_EQ(textOf(b), "101");
    EXPECT_EQ(a.size(), 0);
    EXPECT_FALSE(a.isSet(0));
    a.fill(2, true);
    EXPECT_EQ(textOf(a), "11");
    ZkBitArray c = bitsOf("0110");
    swap(a, c);
    EXPECT_EQ(textOf(a) + " " + textOf(c), "0110 11");
    c = std::move(a);
    EXPECT_EQ(textOf(c), "0110");
    a |= c;
    EXPECT_TRUE(ZkBitArray().isSharedWith(ZkBitArray()));
}

TEST(ZkBitArray, PaddingDoesNotCountInTests)
{
    const ZkBitArray filled(3, true);
    const ZkBitArray built = bitsOf("111");
    EXPECT_NE(rawOf(filled), rawOf(built));
    EXPECT_EQ(filled, built);
    EXPECT_TRUE(built.allSet());
    ZkBitArray cleared = filled;
    for (int i = 0; i < 3; ++i) {
        cleared.clearBit(i);
    }
    EXPECT_THAT(rawOf(cleared), ElementsAre(0xF8));
    EXPECT_TRUE(cleared.allCleared());
    EXPECT_EQ(cleared, ZkBitArray(3, false));
}

TEST(ZkBitArray, ComparesSizesAndEveryBit)
{
    const std::string text = "110100101110001011";
    const ZkBitArray a = bitsOf(text);
    EXPECT_EQ(a, bitsOf(text));
    for (int i = 0; i < a.size(); ++i) {
        ZkBitArray b = a;
        if (b.isSet(i)) {
            b.clearBit(i);
        } else {
            b.setBit(i);
        }
        EXPECT_NE(a, b) << i;
    }
    EXPECT_NE(ZkBitArray(8, false), ZkBitArray(9, false));
    EXPECT_EQ(ZkBitArray(), ZkBitArray(0, true));
}

TEST(ZkBitArray, AllSetAndAllClearedLookAtEveryBit)
{
    for (int size = 1; size < 40; ++size) {
        for (int i = 0; i < size; ++i) {
            ZkBitArray one(size, false), hole(size, true);
            one.setBit(i);
            hole.clearBit(i);
            ASSERT_FALSE(one.allCleared()) << i << " of " << size;
            ASSERT_FALSE(hole.allSet()) << i << " of " << size;
            ASSERT_EQ(one.allSet(), size == 1);
            ASSERT_EQ(hole.allCleared(), size == 1);
        }
    }
    EXPECT_TRUE(ZkBitArray().allSet());
    EXPECT_TRUE(ZkBitArray().allCleared());
}

TEST(ZkBitArray, OperatorsLoseTheLongerTail)
{
    ZkBitArray a(16, true);
    const ZkBitArray b(8, false);
    EXPECT_EQ(textOf(a | b), "1111111100000000");
    EXPECT_EQ(textOf(b | a), "1111111100000000");
    EXPECT_EQ(textOf(a & b), "0000000000000000");
    EXPECT_EQ(textOf(a ^ b), "1111111100000000");
    a |= b;
    EXPECT_EQ(textOf(a), "1111111111111111") << "the compound operator keeps it";
}

TEST(ZkBitArray, OperatorsMixPaddingBits)
{
    const ZkBitArray a(16, false), filled(3, true);
    const ZkBitArray both = a | filled;
    EXPECT_EQ(both.size(), 16);
    EXPECT_TRUE(both.isSet(7)) << "bit 7 of three set bits is padding, and set";
    EXPECT_EQ(textOf(both), "1111111100000000");
    EXPECT_EQ(textOf(a ^ filled), "1111111100000000");
    EXPECT_EQ(textOf(ZkBitArray(16, true) & bitsOf("111")), "1110000000000000");
    ZkBitArray compound = a;
    compound |= filled;
    EXPECT_EQ(textOf(compound), "1110000000000000") << "the compound operator does not";
}

// What each operator does, bit by bit and padding included.
TEST(ZkBitArray, OperatorsAgreeWithAModel)
{
    std::mt19937 random(59);
    const auto any = [&random](int size) {
        ZkBitArray bits(size, random() % 2 == 0);
        for (int i = 0; i < size; ++i) {
            if (random() % 2 == 0) {
                bits.setBit(i);
            } else {
                bits.clearBit(i);
            }
        }
        return bits;
    };
    int (*const operations[])(int, int) = {[](int x, int y) { return x | y; },
                                           [](int x, int y) { return x & y; },
                                           [](int x, int y) { return x ^ y; }};
    for (int round = 0; round < 3000; ++round) {
        const ZkBitArray a = any(static_cast<int>(random() % 40));
        const ZkBitArray b = any(static_cast<int>(random() % 40));
        const ZkBitArray plain[] = {a | b, a & b, a ^ b};
        ZkBitArray compound[] = {a, a, a};
        compound[0] |= b;
        compound[1] &= b;
        compound[2] ^= b;
        for (int o = 0; o < 3; ++o) {
            SCOPED_TRACE(textOf(a) + " and " + textOf(b) + ", operation " + std::to_string(o));
            const Bytes rawA = rawOf(a), rawB = rawOf(b);
            Bytes raw(std::max(rawA.size(), rawB.size()), 0);
            for (std::size_t i = 0; i < std::min(rawA.size(), rawB.size()); ++i) {
                raw[i] = static_cast<unsigned char>(operations[o](rawA[i], rawB[i]));
            }
            ASSERT_EQ(plain[o].size(), std::max(a.size(), b.size()));
            ASSERT_EQ(rawOf(plain[o]), raw);

            ASSERT_EQ(compound[o].size(), a.size());
            const Bytes rawCompound = rawOf(compound[o]);
            for (int i = 0; i < 8 * bytesOf(a); ++i) {
                const auto bit = [i](const Bytes &bytes) {
                    return bytes[static_cast<std::size_t>(i / 8)] >> (i % 8) & 1;
                };
                const bool common = i < std::min(a.size(), b.size());
                ASSERT_EQ(bit(rawCompound),
                          common ? operations[o](bit(rawA), bit(rawB)) : bit(rawA))
                    << "bit " << i;
            }
        }
    }
}

TEST(ZkBitArray, OperatorsTakeTheArrayItself)
{
    ZkBitArray a = bitsOf("1100101011");
    a |= *&a;
    a &= *&a;
    EXPECT_EQ(textOf(a), "1100101011");
    EXPECT_EQ(a | a, a);
    const ZkBitArray copy = a;
    a ^= copy;
    EXPECT_TRUE(a.allCleared());
    EXPECT_EQ(textOf(copy), "1100101011");
}

TEST(ZkBitArray, TakesRawBytesWithoutPadding)
{
    const unsigned char data[] = {0xA5, 0xFF, 0x12};
    ZkBitArray bits;
    bits.fromRawBytes(data, 10);
    EXPECT_EQ(bits.size(), 10);
    EXPECT_THAT(rawOf(bits), ElementsAre(0xA5, 0x03));
    EXPECT_EQ(bits.capacity(), 8) << "the block of one or two bytes";
    bits.fromRawBytes(data, 24);
    EXPECT_THAT(rawOf(bits), ElementsAre(0xA5, 0xFF, 0x12));
    bits.fromRawBytes(nullptr, 3);
    EXPECT_EQ(bits.size(), 24) << "no data, no change";
    bits.fromRawBytes(bits.constData() + 1, 12);
    EXPECT_THAT(rawOf(bits), ElementsAre(0xFF, 0x02)) << "its own bytes";
    bits.fromRawBytes(data, -1);
    EXPECT_TRUE(bits.isEmpty());
    bits.fromRawBytes(data, 0);
    EXPECT_TRUE(bits.isEmpty());

    ZkBitArray large(10000, true);
    large.fromRawBytes(large.constData() + 100, 9);
    EXPECT_EQ(textOf(large), "111111111");
}

TEST(ZkBitArray, GivesRawBytesAndKeepsTheRestOfTheLast)
{
    const ZkBitArray bits = bitsOf("1010010111");
    const struct {
        const char *what;
        int n;
        Bytes out;
    } rows[] = {
        {"all", 10, {0xA5, 0xF3}},
        {"a negative number is all", -1, {0xA5, 0xF3}},
        {"too many is all", INT_MAX, {0xA5, 0xF3}},
        {"a whole byte", 8, {0xA5, 0xF0}},
        {"nine", 9, {0xA5, 0xF1}},
        {"three", 3, {0xF5, 0xF0}},
        {"none", 0, {0xF0, 0xF0}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        Bytes out(static_cast<std::size_t>(bits.size() + 7) / 8, 0xF0);
        bits.toRawBytes(out.data(), row.n);
        EXPECT_EQ(out, row.out);
    }
    unsigned char low = 0xF0;
    ZkBitArray(3, true).toRawBytes(&low, 3);
    EXPECT_EQ(low, 0xF7) << "only the low 3 bits";
    bits.toRawBytes(nullptr, 10);
    ZkBitArray().toRawBytes(&low, 5);
    EXPECT_EQ(low, 0xF7);
}

} // namespace
