#ifndef BAREGLYPH_H
#define BAREGLYPH_H

#include "zkfont.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_GLYPH_H
#include FT_OUTLINE_H

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

/// What a glyph must look like, rendered by FreeType alone through a face of its
/// own: a second opinion for the tests. For scalable fonts.
class BareFont
{
public:
    explicit BareFont(const char *path)
    {
        EXPECT_EQ(FT_Init_FreeType(&m_library), 0);
        EXPECT_EQ(FT_New_Face(m_library, path, 0, &m_face), 0) << path;
    }
    ~BareFont() { FT_Done_FreeType(m_library); }
    BareFont(const BareFont &) = delete;
    BareFont &operator=(const BareFont &) = delete;

    struct Glyph {
        int width, height, left, top, descent, advance;
        std::vector<unsigned char> pixels;
    };

    bool has(unsigned code) const { return FT_Get_Char_Index(m_face, code) != 0; }
    Glyph render(unsigned code, const ZkFont &font) const
    {
        return renderGlyph(FT_Get_Char_Index(m_face, code), font);
    }
    Glyph renderGlyph(unsigned index, const ZkFont &font) const;

private:
    FT_Library m_library = nullptr;
    FT_Face m_face = nullptr;
};

inline BareFont::Glyph BareFont::renderGlyph(unsigned index, const ZkFont &font) const
{
    FT_Set_Pixel_Sizes(m_face, 0, font.fontSize());
    FT_Matrix shear = {0x10000, 0x4000, 0, 0x10000};
    FT_Set_Transform(m_face, font.isBoldFace() ? &shear : nullptr, nullptr);
    EXPECT_EQ(FT_Load_Glyph(m_face, index, 0x20), 0);
    const FT_GlyphSlot slot = m_face->glyph;
    if (font.isEmbolden()) {
        FT_Outline_Embolden(&slot->outline, 64);
    }
    FT_Glyph glyph = nullptr;
    EXPECT_EQ(FT_Get_Glyph(slot, &glyph), 0);
    EXPECT_EQ(FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL), 0);
    EXPECT_EQ(FT_Glyph_To_Bitmap(&glyph, FT_RENDER_MODE_NORMAL, nullptr, 1), 0);
    const FT_Bitmap &bitmap = reinterpret_cast<FT_BitmapGlyph>(glyph)->bitmap;

    const int rows = static_cast<int>(bitmap.rows);
    const int o = font.isOutline() ? 2 : 0;
    Glyph out;
    out.width = bitmap.pitch + o;
    out.height = rows + o;
    out.left = slot->bitmap_left - o / 2;
    out.top = slot->bitmap_top - o / 2;
    out.descent = out.height - out.top;
    out.advance = static_cast<int>((slot->advance.x + 32) >> 6);
    out.pixels.resize(static_cast<std::size_t>(out.width) * static_cast<std::size_t>(out.height));
    const auto at = [&out](int x, int y) -> unsigned char & {
        return out.pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(out.width) +
                          static_cast<std::size_t>(x)];
    };
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < bitmap.pitch; ++x) {
            at(x + o / 2, y + o / 2) = bitmap.buffer[y * bitmap.pitch + x];
        }
    }
    // Row by row, left to right, and in place.
    for (int y = 0; o != 0 && y < out.height; ++y) {
        for (int x = 0; x < out.width; ++x) {
            const bool beside = (y > 0 && at(x, y - 1) > 1) || (x > 0 && at(x - 1, y) > 1) ||
                                (y + 1 < out.height && at(x, y + 1) > 1) ||
                                (x + 1 < out.width && at(x + 1, y) > 1);
            if (at(x, y) == 0 && beside) {
                at(x, y) = 1;
            }
        }
    }
    FT_Done_Glyph(glyph);
    return out;
}

/// The record's pixels, `height` rows of `pitch` bytes.
inline std::vector<unsigned char> pixelsOf(const GlyphBitmap &record)
{
    return std::vector<unsigned char>(record.pixels, record.pixels + record.pitch * record.height);
}

/// Compares every field but the use count, and the pixels.
inline void expectRecord(const GlyphBitmap &record, const BareFont::Glyph &bare, unsigned code,
                         const ZkFont &font)
{
    EXPECT_EQ(record.width, bare.width);
    EXPECT_EQ(record.height, bare.height);
    EXPECT_EQ(record.pitch, bare.width);
    EXPECT_EQ(record.left, bare.left);
    EXPECT_EQ(record.top, bare.top);
    EXPECT_EQ(record.descent, bare.descent);
    EXPECT_EQ(record.advance, bare.advance);
    EXPECT_EQ(record.unicode, code);
    EXPECT_EQ(record.font.size, font.attr().size);
    EXPECT_EQ(record.font.flags, font.attr().flags);
    ASSERT_NE(record.pixels, nullptr);
    EXPECT_TRUE(pixelsOf(record) == bare.pixels) << "pixels differ";
}

#endif
