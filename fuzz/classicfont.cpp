// Any bytes as a font file through the process-wide rasteriser and the cache: what FreeType
// opens is drawn, trimmed and drawn again. Size and pixels of every record fit together.
// The first byte chooses size and style; glyphs of more than a few megapixels, which nothing
// here bounds, are not asked for.

#include <zkfontcache.h>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace
{

constexpr FT_Pos kLongestSide = 2048 * 64; // in 26.6 pixels

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "%s\n", what);
        std::abort();
    }
}

// Whether the library would open the font, and every glyph asked for is of a sane size.
bool isHarmless(const std::uint8_t *data, std::size_t size, int pixels)
{
    FT_Library library = nullptr;
    require(FT_Init_FreeType(&library) == 0, "FreeType does not start");
    FT_Face face = nullptr;
    bool harmless = FT_New_Memory_Face(library, data, static_cast<FT_Long>(size), 0, &face) == 0;
    if (harmless) {
        FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixels));
        for (FT_ULong code = 0x20; code < 0x80 && harmless; ++code) {
            if (FT_Load_Glyph(face, FT_Get_Char_Index(face, code), FT_LOAD_FORCE_AUTOHINT) == 0 &&
                face->glyph->format == FT_GLYPH_FORMAT_OUTLINE) {
                FT_BBox box;
                FT_Outline_Get_CBox(&face->glyph->outline, &box);
                harmless = box.xMax - box.xMin < kLongestSide && box.yMax - box.yMin < kLongestSide;
            }
        }
    }
    FT_Done_FreeType(library);
    return harmless;
}

unsigned sumOf(const GlyphBitmap &glyph)
{
    unsigned sum = 0;
    for (int i = 0; glyph.pixels != nullptr && i < glyph.width * glyph.height; ++i) {
        sum = sum * 31 + glyph.pixels[i];
    }
    return sum;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 2) {
        return 0;
    }
    const unsigned choice = data[0];
    const int pixels = 8 + static_cast<int>(choice >> 3);
    ++data;
    --size;
    if (!isHarmless(data, size, pixels)) {
        return 0;
    }
    char path[] = "/tmp/zkfuzzXXXXXX";
    const int file = mkstemp(path);
    require(file >= 0 && write(file, data, size) == static_cast<ssize_t>(size), "no room in /tmp");
    close(file);
    const ZkFont font(static_cast<unsigned char>(pixels), (choice & 1) != 0, (choice & 2) != 0,
                      (choice & 4) != 0, false);
    ZkFontCache *cache = ZkFontCache::instance();
    cache->setFontFile(path);
    for (unsigned short code = 0x20; code < 0x80; ++code) {
        const GlyphBitmap *glyph = ZkFontCache::glyph(code, font);
        const unsigned sum = sumOf(*glyph);
        require(glyph->pitch == glyph->width, "pitch");
        require(glyph->descent == static_cast<std::int16_t>(glyph->height - glyph->top), "descent");
        glyph->release();
        cache->cleanCache(true);
        require(cache->pixelBytes() == 0, "bytes are left");
        const GlyphBitmap *again = ZkFontCache::glyph(code, font);
        require(again == glyph && sumOf(*again) == sum, "the glyph comes out another time");
        require(cache->pixelBytes() == glyph->width * glyph->height, "bytes are miscounted");
        again->release();
        cache->cleanCache(true);
    }
    cache->closeFontFile();
    unlink(path);
    return 0;
}
