// Glyphs: rendering them, finding them in the cache, and taking the glyphs of a
// whole text. Beside them FreeType alone, the parts of a look-up written out by
// hand, and one `glyph` call after another.

#include "hits.h"

#include "private/zkglyphlease.h"
#include "zkfontcache.h"

#include <benchmark/benchmark.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace
{

/// FreeType alone: index, load, render, and a copy of the pixels.
class BareFont
{
public:
    BareFont()
    {
        FT_Init_FreeType(&m_library);
        FT_New_Face(m_library, ZK_FONT_DEJAVU, 0, &m_face);
    }
    ~BareFont() { FT_Done_FreeType(m_library); }
    BareFont(const BareFont &) = delete;
    BareFont &operator=(const BareFont &) = delete;

    void setSize(int size) { FT_Set_Pixel_Sizes(m_face, 0, static_cast<unsigned>(size)); }

    /// The pixels, from `malloc`, and how many they are.
    std::uint8_t *render(unsigned code, std::size_t *bytes)
    {
        FT_Load_Glyph(m_face, FT_Get_Char_Index(m_face, code), FT_LOAD_FORCE_AUTOHINT);
        FT_Render_Glyph(m_face->glyph, FT_RENDER_MODE_NORMAL);
        const FT_Bitmap &bitmap = m_face->glyph->bitmap;
        *bytes = static_cast<std::size_t>(bitmap.pitch) * bitmap.rows;
        void *copy = std::malloc(*bytes + 1);
        if (*bytes > 0) {
            std::memcpy(copy, bitmap.buffer, *bytes);
        }
        return static_cast<std::uint8_t *>(copy);
    }

private:
    FT_Library m_library = nullptr;
    FT_Face m_face = nullptr;
};

// Rendering: every ASCII character once.

void coldZk(benchmark::State &state, int size)
{
    const ZkFont font = sized(size);
    cache()->setLimit(-1);
    for (auto _ : state) {
        state.PauseTiming();
        cache()->clean();
        state.ResumeTiming();
        for (unsigned code = kFirst; code <= kLast; ++code) {
            benchmark::DoNotOptimize(ZkFontCache::glyph(static_cast<ZkUcs2>(code), font));
        }
    }
    state.SetItemsProcessed(state.iterations() * kCharacters);
}

void coldFreeType(benchmark::State &state, int size)
{
    BareFont bare;
    bare.setSize(size);
    const ZkFont font = sized(size);
    std::vector<std::uint8_t *> copies;
    copies.reserve(kCharacters);
    cache()->clean();
    for (unsigned code = kFirst; code <= kLast; ++code) {
        std::size_t bytes = 0;
        copies.push_back(bare.render(code, &bytes));
        const GlyphBitmap *glyph = ZkFontCache::glyph(static_cast<ZkUcs2>(code), font);
        if (bytes != std::size_t(glyph->width) * glyph->height ||
            std::memcmp(copies.back(), glyph->pixels, bytes) != 0) {
            state.SkipWithError("pixels differ");
        }
    }
    for (auto _ : state) {
        state.PauseTiming();
        for (std::uint8_t *copy : copies) {
            std::free(copy);
        }
        copies.clear();
        state.ResumeTiming();
        for (unsigned code = kFirst; code <= kLast; ++code) {
            std::size_t bytes = 0;
            copies.push_back(bare.render(code, &bytes));
        }
    }
    for (std::uint8_t *copy : copies) {
        std::free(copy);
    }
    state.SetItemsProcessed(state.iterations() * kCharacters);
}

// The same after a trim: the records are there, their pixels are not.
void refillZk(benchmark::State &state, int size)
{
    const ZkFont font = sized(size);
    cache()->clean();
    for (auto _ : state) {
        state.PauseTiming();
        cache()->cleanCache(true);
        state.ResumeTiming();
        for (unsigned code = kFirst; code <= kLast; ++code) {
            const GlyphBitmap *glyph = ZkFontCache::glyph(static_cast<ZkUcs2>(code), font);
            glyph->release();
        }
    }
    state.SetItemsProcessed(state.iterations() * kCharacters);
}

// Whole texts that are in the cache: `length` characters, about `distinct` different
// ones from `first` on, fetched and given back.

struct Text {
    const char *name;
    unsigned first, distinct;
    int length;
};
const Text kTexts[] = {
    {"label_12", 'a', 9, 12},           {"line_60", 'a', 26, 60},
    {"latin_10000", 0x20, 95, 10000},   {"arabic_10000", 0x621, 42, 10000},
    {"cjk_10000", 0x4E00, 2000, 10000},
};

std::vector<ZkUcs2> unitsOf(const Text &text)
{
    std::mt19937 random(1);
    std::vector<ZkUcs2> units;
    for (int i = 0; i < text.length; ++i) {
        const auto step = static_cast<unsigned>(i) < text.distinct
                              ? static_cast<unsigned>(i)
                              : static_cast<unsigned>(random() % text.distinct);
        units.push_back(static_cast<ZkUcs2>(text.first + step));
    }
    return units;
}

/// A text whose glyphs are in the cache, and none beside them.
struct WarmText {
    explicit WarmText(const Text &text) : units(unitsOf(text)), out(units.size())
    {
        cache()->clean();
        keep.fetch(units.data(), text.length, font, out.data());
    }

    ZkFont font = sized(8);
    std::vector<ZkUcs2> units;
    std::vector<const GlyphBitmap *> out;
    ZkGlyphLease keep;
};

void textLease(benchmark::State &state, const Text &text)
{
    WarmText warm(text);
    for (auto _ : state) {
        ZkGlyphLease lease;
        lease.fetch(warm.units.data(), text.length, warm.font, warm.out.data());
        benchmark::DoNotOptimize(warm.out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * text.length);
}

void textSingly(benchmark::State &state, const Text &text)
{
    WarmText warm(text);
    for (auto _ : state) {
        for (std::size_t i = 0; i < warm.units.size(); ++i) {
            warm.out[i] = ZkFontCache::glyph(warm.units[i], warm.font);
        }
        for (const GlyphBitmap *glyph : warm.out) {
            glyph->release();
        }
        benchmark::DoNotOptimize(warm.out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * text.length);
}

} // namespace

int main(int argc, char **argv)
{
    using benchmark::RegisterBenchmark;
    for (const int size : {16, 48}) {
        const std::string pixels = "_" + std::to_string(size) + "_px/";
        RegisterBenchmark(("cold" + pixels + "zk").c_str(), coldZk, size);
        RegisterBenchmark(("cold" + pixels + "freetype").c_str(), coldFreeType, size);
        RegisterBenchmark(("refill" + pixels + "zk").c_str(), refillZk, size);
        RegisterBenchmark(("refill" + pixels + "freetype").c_str(), coldFreeType, size);
    }
    registerHits("hit");
    for (const Text &text : kTexts) {
        const std::string name = std::string("text/") + text.name;
        RegisterBenchmark((name + "/zk").c_str(), textLease, text);
        RegisterBenchmark((name + "/one_by_one").c_str(), textSingly, text);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
