#include "stringmodel.h"

#include <zkstring.h>

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>
#include <vector>

namespace
{

using model::Units;

/// Decodes from and into buffers of exactly the room that is promised: under the
/// sanitizer a byte or unit too far is an error.
Units decoded(const std::string &text)
{
    const std::vector<char> in(text.begin(), text.end());
    std::vector<ZkUcs2> out(in.size());
    const int n = ZkString::utf8ToUcs2(out.data(), in.data(), int(in.size()));
    out.resize(std::size_t(n));
    return out;
}

std::string encoded(const Units &units)
{
    const Units in(units.begin(), units.end());
    std::vector<char> out(in.size() * 3);
    const int n = ZkString::ucs2ToUtf8(out.data(), in.data(), int(in.size()));
    return std::string(out.data(), std::size_t(n));
}

/// A piece of text of a kind: one kind fills blocks, a change of kind ends them.
std::string piece(std::mt19937 &random, int kind)
{
    static const char *const kMalformed[] = {"\x80", "\xBF",     "\xC0",         "\xC0\x80",
                                             "\xE0", "\xE4\x41", "\xED\xA0\x80", "\xF0\x9F\x98\x80",
                                             "\xF8", "\xFE",     "\xFF",         "\xDF"};
    std::string text;
    const int length = int(random() % 40);
    for (int i = 0; i < length; ++i) {
        switch (kind) {
        case 0: text += char('a' + random() % 26); break;
        case 1: text += random() % 6 == 0 ? " " : "\xD8\xA8"; break;
        case 2: text += random() % 9 == 0 ? " " : "\xE0\xB8\x81"; break;
        case 3: text += model::encode(Units{static_cast<ZkUcs2>(random())}); break;
        case 4: text += kMalformed[random() % 12]; break;
        default: text += char(random()); break;
        }
    }
    return text;
}

} // namespace

TEST(ZkUtf8, DecodesWhatItCanAndDropsTheRest)
{
    const struct {
        const char *what;
        std::string text;
        Units units;
    } kRows[] = {
        {"nothing", "", {}},
        {"ASCII", "abc", {'a', 'b', 'c'}},
        {"a 0 byte", std::string("a\0b", 3), {'a', 0, 'b'}},
        {"two bytes", "\xC3\xA9", {0xE9}},
        {"the last of two bytes", "\xDF\xBF", {0x7FF}},
        {"three bytes", "\xE2\x82\xAC", {0x20AC}},
        {"the last of three bytes", "\xEF\xBF\xBF", {0xFFFF}},
        {"a lead byte alone", "\xC3", {}},
        {"a byte too many behind the last lead byte", "\xC3\xA9\x80", {}},
        {"the same, and the end is looked at again", "a\xC3\xA9\x80", {'a'}},
        {"ASCII behind a lead byte of three", "\xEF\x6F", {0xFBC0}},
        {"a lead byte and one of two more", "\xE2\x82", {}},
        {"a cut character behind a whole one", "\xC3\xA9\xE2\x82", {0xE9}},
        {"cut characters one behind the other", "a\xE2\x82\xC3", {'a'}},
        {"four bytes", "\xF0\x9F\x98\x80", {}},
        {"four bytes in a text", "a\xF0\x9F\x98\x80z", {'a', 'z'}},
        {"a cut character of four", "a\xF0\x9F\x98", {'a'}},
        {"five and six", "\xF8\x88\x80\x80\x80.\xFC\x84\x80\x80\x80\x80.", {'.', '.'}},
        {"bytes that never occur", "a\xFE\xFF.", {'a', '.'}},
        {"a stray continuation byte",
         "a\x80"
         "b",
         {'a', 'b'}},
        {"stray continuation bytes at the end", "ab\x80\x80", {'a', 'b'}},
        {"only continuation bytes", "\x80\xBF\x80", {}},
        {"too many continuation bytes at the end", "\xC3\xA9\xA9", {}},
        {"the same behind a whole character", "\xC3\xA9\xC3\xA9\xA9", {0xE9}},
        {"the same in front of ASCII", "\xC3\xA9\xA9.", {0xE9, '.'}},
        {"an overlong zero", "\xC0\x80", {0}},
        {"an overlong slash", "\xE0\x80\xAF", {'/'}},
        {"an encoded surrogate", "\xED\xA0\xBD", {0xD83D}},
        {"what follows two is taken as it is",
         "\xC3"
         "A.",
         {0xC1, '.'}},
        {"what follows three is taken as it is",
         "\xE4"
         "AB.",
         {0x4042, '.'}},
        {"three bytes that run past the end",
         "\xE4"
         "A",
         {0x4040}},
        {"the same in front of a cut character",
         "\xE4"
         "A\xC3",
         {0x4040}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(decoded(row.text), row.units);
        EXPECT_EQ(model::decode(row.text), row.units);
        const ZkString string{std::string_view(row.text)};
        EXPECT_EQ(Units(string.begin(), string.end()), row.units);
        EXPECT_EQ(string.capacity(), int(row.text.size()) + 1);
    }
}

TEST(ZkUtf8, EncodesEveryUnitByItself)
{
    for (int c = 0; c < 0x10000; ++c) {
        const Units unit = {static_cast<ZkUcs2>(c)};
        ASSERT_EQ(encoded(unit), model::encode(unit)) << c;
        ASSERT_EQ(decoded(encoded(unit)), unit) << c;
    }
    EXPECT_EQ(encoded({0x20AC}).size(), 3U);
    EXPECT_EQ(encoded({0xD83D, 0xDE00}), "\xED\xA0\xBD\xED\xB8\x80");
}

TEST(ZkUtf8, EveryPairAndTripleOfInterestingBytesDecodesLikeTheModel)
{
    static const unsigned char kBytes[] = {0x00, 0x41, 0x7F, 0x80, 0xBF, 0xC0, 0xDF,
                                           0xE0, 0xEF, 0xF0, 0xF7, 0xF8, 0xFF};
    for (const unsigned char a : kBytes) {
        for (const unsigned char b : kBytes) {
            for (const unsigned char c : kBytes) {
                for (const unsigned char d : kBytes) {
                    // Short, and where blocks of every size begin and end.
                    for (const int before : {0, 13, 14, 15, 61, 62, 63}) {
                        for (const int behind : {0, 18, 100}) {
                            if ((before > 15) != (behind > 18)) {
                                continue;
                            }
                            std::string text(std::size_t(before), 'x');
                            text += {char(a), char(b), char(c), char(d)};
                            text.append(std::size_t(behind), 'y');
                            ASSERT_EQ(decoded(text), model::decode(text))
                                << int(a) << ' ' << int(b) << ' ' << int(c) << ' ' << int(d)
                                << " behind " << before << " before " << behind;
                        }
                    }
                }
            }
        }
    }
}

TEST(ZkUtf8, RandomTextsDecodeAndEncodeLikeTheModel)
{
    std::mt19937 random(20240615);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (int pieces = int(random() % (round % 4 == 0 ? 20 : 6)); pieces >= 0; --pieces) {
            text += piece(random, int(random() % 6));
        }
        const Units units = decoded(text);
        ASSERT_EQ(units, model::decode(text)) << "round " << round;
        ASSERT_EQ(encoded(units), model::encode(units)) << "round " << round;
    }
}

TEST(ZkUtf8, EveryTextOfUnitsComesBackWhole)
{
    std::mt19937 random(20240616);
    const unsigned kLimits[] = {0x80, 0x800, 0x10000, 0x100};
    for (int round = 0; round < 20000; ++round) {
        Units units;
        while (units.size() < std::size_t(round % (round % 4 == 0 ? 400 : 70))) {
            const unsigned limit = kLimits[random() % 4];
            for (int run = int(random() % 20); run >= 0; --run) {
                units.push_back(static_cast<ZkUcs2>(random() % limit));
            }
        }
        const std::string text = encoded(units);
        ASSERT_EQ(text, model::encode(units)) << "round " << round;
        ASSERT_EQ(decoded(text), units) << "round " << round;
    }
}

TEST(ZkUtf8, NothingIsNoText)
{
    ZkUcs2 unit = 7;
    char byte = 7;
    EXPECT_EQ(ZkString::utf8ToUcs2(&unit, "a", 0), 0);
    EXPECT_EQ(ZkString::utf8ToUcs2(&unit, "a", -1), 0);
    EXPECT_EQ(ZkString::utf8ToUcs2(&unit, "a", INT_MIN), 0);
    EXPECT_EQ(ZkString::utf8ToUcs2(&unit, nullptr, 3), 0);
    EXPECT_EQ(ZkString::utf8ToUcs2(nullptr, "a", 1), 0);
    EXPECT_EQ(ZkString::ucs2ToUtf8(&byte, &unit, 0), 0);
    EXPECT_EQ(ZkString::ucs2ToUtf8(&byte, &unit, -1), 0);
    EXPECT_EQ(ZkString::ucs2ToUtf8(&byte, nullptr, 1), 0);
    EXPECT_EQ(ZkString::ucs2ToUtf8(nullptr, &unit, 1), 0);
    EXPECT_EQ(unit, 7);
    EXPECT_EQ(byte, 7);
}

TEST(ZkUtf8, ToUtf8OwnsABufferForTheLongestForm)
{
    const ZkByteArray none = ZkString().toUtf8();
    EXPECT_EQ(none.size(), 0);
    EXPECT_EQ(none.capacity(), 1);
    EXPECT_STREQ(none.constData(), "");

    const ZkByteArray bytes = ZkString("a\xC3\xA9\xE2\x82\xAC").toUtf8();
    EXPECT_EQ(bytes.size(), 6);
    EXPECT_EQ(bytes.capacity(), 10);
    EXPECT_STREQ(bytes.constData(), "a\xC3\xA9\xE2\x82\xAC");
}
