#include "zkfont.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <thread>
#include <type_traits>
#include <vector>

namespace
{

ZkFontAttr attrOf(unsigned size, unsigned flags)
{
    return ZkFontAttr{static_cast<std::uint8_t>(size), static_cast<std::uint8_t>(flags)};
}

} // namespace

TEST(ZkFont, AFreshFontIsSixteenPixelsWithoutStyle)
{
    const ZkFont font;
    EXPECT_EQ(font.fontSize(), 16);
    EXPECT_EQ(font.attr().flags, 0);
}

TEST(ZkFont, IsTwoBytesOfPlainData)
{
    EXPECT_EQ(sizeof(ZkFontAttr), 2u);
    EXPECT_EQ(sizeof(ZkFont), 2u);
    EXPECT_TRUE(std::is_trivially_copyable<ZkFont>::value);
    EXPECT_TRUE(std::is_trivial<ZkFontAttr>::value);
    EXPECT_TRUE(std::is_standard_layout<ZkFontAttr>::value);
}

TEST(ZkFont, ConstructorFlagsFillTheLowFourBitsInOrder)
{
    for (unsigned bits = 0; bits < 16; ++bits) {
        SCOPED_TRACE(bits);
        const ZkFont font(200, (bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0);
        EXPECT_EQ(font.fontSize(), 200);
        EXPECT_EQ(font.attr().flags, bits);
        EXPECT_EQ(font.isBoldFace(), (bits & 1) != 0);
        EXPECT_EQ(font.isEmbolden(), (bits & 2) != 0);
        EXPECT_EQ(font.isOutline(), (bits & 4) != 0);
        EXPECT_EQ(font.isUnderLine(), (bits & 8) != 0);
    }
}

TEST(ZkFont, CopiesAndSetFontTakeBothBytesWithTheUnusedBits)
{
    for (unsigned flags = 0; flags < 256; ++flags) {
        SCOPED_TRACE(flags);
        const ZkFont font(attrOf(255 - flags, flags));
        const ZkFont copy(font);
        ZkFont set;
        set.setFont(copy.attr());
        EXPECT_EQ(set.attr().size, 255 - flags);
        EXPECT_EQ(set.attr().flags, flags);
    }
}

TEST(ZkFont, ASetterReplacesItsOwnBitAndLeavesTheOthers)
{
    const struct {
        const char *what;
        void (ZkFont::*set)(bool);
        unsigned bit;
    } kRows[] = {
        {"bold face is bit 0", &ZkFont::setBoldFace, 1},
        {"outline is bit 2", &ZkFont::setOutline, 4},
        {"underline is bit 3", &ZkFont::setUnderLine, 8},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        for (unsigned flags = 0; flags < 256; ++flags) {
            for (const bool on : {false, true}) {
                ZkFont font(attrOf(31, flags));
                (font.*row.set)(on);
                EXPECT_EQ(font.attr().flags, on ? (flags | row.bit) : (flags & ~row.bit));
                EXPECT_EQ(font.attr().size, 31);
            }
        }
    }
}

TEST(ZkFont, SetFontSizeReplacesTheSizeAlone)
{
    ZkFont font(attrOf(16, 0xFF));
    font.setFontSize(255);
    EXPECT_EQ(font.attr().size, 255);
    EXPECT_EQ(font.attr().flags, 0xFF);
    font.setFontSize(0);
    EXPECT_EQ(font.attr().size, 0);
}

TEST(ZkFont, EqualityLooksAtTheSizeAndFourBits)
{
    for (unsigned a = 0; a < 256; ++a) {
        for (unsigned b = 0; b < 256; ++b) {
            const ZkFont x(attrOf(16, a));
            const ZkFont y(attrOf(16, b));
            ASSERT_EQ(x == y, a % 16 == b % 16) << a << " and " << b;
            ASSERT_EQ(x != y, a % 16 != b % 16) << a << " and " << b;
        }
    }
    EXPECT_FALSE(ZkFont(attrOf(16, 1)) == ZkFont(attrOf(17, 1)));
}

TEST(ZkFont, FontsThatDifferInUnderlineAreUnequal)
{
    EXPECT_FALSE(ZkFont(12, true, false, false, false) == ZkFont(12, true, false, false, true));
}

TEST(GlyphBitmap, FieldsStandInTheirOrderWithoutGaps)
{
    EXPECT_EQ(offsetof(GlyphBitmap, width), 0u);
    EXPECT_EQ(offsetof(GlyphBitmap, height), 2u);
    EXPECT_EQ(offsetof(GlyphBitmap, pitch), 4u);
    EXPECT_EQ(offsetof(GlyphBitmap, left), 6u);
    EXPECT_EQ(offsetof(GlyphBitmap, top), 8u);
    EXPECT_EQ(offsetof(GlyphBitmap, descent), 10u);
    EXPECT_EQ(offsetof(GlyphBitmap, advance), 12u);
    EXPECT_EQ(offsetof(GlyphBitmap, font), 14u);
    EXPECT_EQ(offsetof(GlyphBitmap, pixels), 16u);
    EXPECT_EQ(offsetof(GlyphBitmap, unicode), 16 + sizeof(void *));
    EXPECT_EQ(offsetof(GlyphBitmap, useCount), 20 + sizeof(void *));
    EXPECT_EQ(sizeof(GlyphBitmap), sizeof(void *) == 4 ? 28u : 32u);
}

TEST(GlyphBitmap, IsPlainDataAndItsCopySharesThePixels)
{
    EXPECT_TRUE(std::is_trivial<GlyphBitmap>::value);
    EXPECT_TRUE(std::is_standard_layout<GlyphBitmap>::value);
    std::uint8_t pixel = 7;
    GlyphBitmap glyph = {};
    glyph.pixels = &pixel;
    const GlyphBitmap copy = glyph;
    EXPECT_EQ(copy.pixels, &pixel);
}

TEST(GlyphBitmap, CountsItsUsesThroughConstPointers)
{
    const GlyphBitmap glyph = {};
    EXPECT_FALSE(glyph.isUsed());
    glyph.retain();
    glyph.retain(3);
    EXPECT_EQ(glyph.useCount, 4u);
    glyph.release(3);
    EXPECT_TRUE(glyph.isUsed());
    glyph.release();
    EXPECT_FALSE(glyph.isUsed());
}

TEST(GlyphBitmap, LosesNoUseBetweenThreads)
{
    const GlyphBitmap glyph = {};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&glyph] {
            for (int round = 0; round < 10000; ++round) {
                glyph.retain(2);
                glyph.release();
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(glyph.useCount, 40000u);
}
