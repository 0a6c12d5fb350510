// Fonts of every kind, whole and damaged: opened, measured, and 200 glyphs of each drawn
// in every style. The first byte says how the font is opened.

#include "zkfontchain.h"
#include "zkglyphcache.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

void check(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

unsigned sumOf(const GlyphBitmap &record)
{
    check(record.pixels != nullptr && record.pitch == record.width);
    unsigned sum = 0;
    for (int i = 0; i < record.width * record.height; ++i) {
        sum += record.pixels[i];
    }
    return sum;
}

void drawAll(const ZkTypeface &face, bool isLarge)
{
    constexpr std::uint8_t kSizes[] = {12, 40};
    static ZkGlyphCache cache(128 * 1024);
    ZkGlyphHolder holder(cache);
    for (std::uint32_t glyph = 0; glyph < 200; ++glyph) {
        for (std::uint8_t style = 0; style < 8; ++style) {
            const std::uint8_t size =
                isLarge && glyph % 16 == 0 ? static_cast<std::uint8_t>(255) : kSizes[glyph % 2];
            sumOf(holder.glyph(face, glyph, ZkFont(ZkFontAttr{size, style}))->bitmap);
        }
        holder.clear();
        if (glyph >= static_cast<std::uint32_t>(face.glyphCount())) {
            break;
        }
    }
    const ZkGlyphCache::Stats stats = cache.stats();
    check(stats.bytes <= stats.budget);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::uint8_t how = size > 0 ? data[0] : 0;
    static const ZkTypeface::AxisValue kWeight = {0x77676874, 650};
    ZkTypeface::Options options;
    options.hinting = static_cast<ZkTypeface::Hinting>(how % 3);
    options.face = how >> 2 & 1;
    options.instance = how >> 3 & 1;
    if ((how & 16) != 0) {
        options.axes = &kWeight;
        options.axisCount = 1;
    }
    const ZkTypeface face =
        ZkTypeface::fromMemory(data + (size > 0 ? 1 : 0), size > 0 ? size - 1 : 0, options);
    check(face.isValid() == (face.errorText()[0] == 0));
    if (!face.isValid()) {
        return 0;
    }
    for (char32_t c = 0; c < 0x700; c += 13) {
        face.glyphIndex(c);
    }
    for (const int pixels : {0, 1, 16, 255, 100000}) {
        const ZkTypefaceMetrics metrics = face.metrics(pixels);
        check(metrics.underlineThickness >= 1 && metrics.strikeThickness >= 1);
    }
    face.kerning(face.glyphIndex('A'), face.glyphIndex('V'), 40);
    face.digest();
    char name[32];
    for (int i = 0; i <= face.instanceCount() && i < 20; ++i) {
        face.instanceName(i, name, sizeof name);
    }
    unsigned char table[64];
    face.table(0x68656164, table, sizeof table);
    drawAll(face, (how & 32) != 0);
    check(face.memoryBytes() < 2 * ZkTypeface::kMostMemory);
    return 0;
}
