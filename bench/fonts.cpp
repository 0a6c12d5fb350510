// Typefaces and the cache of their glyphs: found, rendered, loaded from a pack, opened,
// and the memory they take. Beside them a map under a mutex, the classic path, FreeType
// alone, FreeType's own cache (FTC) and SDL_ttf. The cases `memory` tell bytes where the
// others tell nanoseconds.

#include "glyphmap.h"
#include "heap.h"

#include <SDL_ttf.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_CACHE_H

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

constexpr std::uint32_t kFirst = 36; // behind the controls
constexpr int kCold = 95, kPacked = 500;

ZkTypeface dejavu()
{
    return ZkTypeface::fromFile(ZK_FONT_DEJAVU);
}

// Rendering glyphs that are not there.

void coldZk(benchmark::State &state, int size)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache(0);
    for (auto _ : state) {
        ZkGlyphHolder holder(cache);
        for (std::uint32_t i = 0; i < kCold; ++i) {
            benchmark::DoNotOptimize(holder.glyph(face, kFirst + i, plain(size)));
        }
        state.PauseTiming();
        holder.clear();
        cache.clear();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kCold);
}

void coldFreeType(benchmark::State &state, int size)
{
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    FT_Init_FreeType(&library);
    FT_New_Face(library, ZK_FONT_DEJAVU, 0, &face);
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size));
    std::vector<void *> copies;
    for (auto _ : state) {
        for (std::uint32_t i = 0; i < kCold; ++i) {
            FT_Load_Glyph(face, kFirst + i, FT_LOAD_FORCE_AUTOHINT);
            FT_Render_Glyph(face->glyph, FT_RENDER_MODE_NORMAL);
            const FT_Bitmap &bitmap = face->glyph->bitmap;
            const std::size_t bytes = static_cast<std::size_t>(bitmap.pitch) * bitmap.rows;
            copies.push_back(std::malloc(bytes + 1));
            if (bytes > 0) {
                std::memcpy(copies.back(), bitmap.buffer, bytes);
            }
        }
        state.PauseTiming();
        for (void *copy : copies) {
            std::free(copy);
        }
        copies.clear();
        state.ResumeTiming();
    }
    FT_Done_FreeType(library);
    state.SetItemsProcessed(state.iterations() * kCold);
}

// A first screen: 500 glyphs from a pack beside rendering them, the font being open.

void render500(const ZkTypeface &face, ZkGlyphCache *cache)
{
    for (std::uint32_t i = 0; i < kPacked; ++i) {
        ZkGlyphHolder(*cache).glyph(face, kFirst + i, plain(16));
    }
}

void firstScreenPack(benchmark::State &state)
{
    ZkFontChain chain(dejavu());
    ZkGlyphCache cache(0);
    char path[] = "/tmp/zkbenchXXXXXX";
    close(mkstemp(path));
    render500(chain.at(0), &cache);
    cache.save(path, chain);
    for (auto _ : state) {
        state.PauseTiming();
        cache.clear();
        chain.replace(0, dejavu()); // nothing of it is remembered
        state.ResumeTiming();
        if (cache.load(path, chain) != kPacked) {
            state.SkipWithError("the pack was refused");
        }
    }
    unlink(path);
}

void firstScreenRendered(benchmark::State &state)
{
    const ZkTypeface face = dejavu();
    ZkGlyphCache cache(0);
    for (auto _ : state) {
        state.PauseTiming();
        cache.clear();
        state.ResumeTiming();
        render500(face, &cache);
    }
}

// Opening, while another face keeps the library there.

void openZk(benchmark::State &state, const char *path)
{
    const ZkTypeface other = dejavu();
    for (auto _ : state) {
        benchmark::DoNotOptimize(ZkTypeface::fromFile(path).isValid());
    }
}

void openFreeType(benchmark::State &state, const char *path)
{
    FT_Library library = nullptr;
    FT_Init_FreeType(&library);
    for (auto _ : state) {
        FT_Face face = nullptr;
        FT_New_Face(library, path, 0, &face);
        FT_Done_Face(face);
    }
    FT_Done_FreeType(library);
}

// Memory from `malloc` that glyphs take, the open font with it: bytes as nanoseconds.

void memoryZk(benchmark::State &state, std::uint32_t glyphs)
{
    memoryOf(state, [glyphs](std::size_t before) {
        const ZkTypeface face = dejavu();
        ZkGlyphCache cache(0);
        for (std::uint32_t i = 0; i < glyphs; ++i) {
            ZkGlyphHolder(cache).glyph(face, kFirst + i, plain(16));
        }
        return heap() - before;
    });
}

FT_Error requestFace(FTC_FaceID, FT_Library library, FT_Pointer, FT_Face *face)
{
    return FT_New_Face(library, ZK_FONT_DEJAVU, 0, face);
}

void memoryFtc(benchmark::State &state, std::uint32_t glyphs)
{
    memoryOf(state, [glyphs](std::size_t before) {
        FT_Library library = nullptr;
        FTC_Manager manager = nullptr;
        FTC_SBitCache sbits = nullptr;
        FT_Init_FreeType(&library);
        FTC_Manager_New(library, 1, 1, 1u << 30, requestFace, nullptr, &manager);
        FTC_SBitCache_New(manager, &sbits);
        FTC_ImageTypeRec type = {&type, 16, 16, FT_LOAD_FORCE_AUTOHINT | FT_LOAD_RENDER};
        for (std::uint32_t i = 0; i < glyphs; ++i) {
            FTC_SBit sbit = nullptr;
            FTC_SBitCache_Lookup(sbits, &type, kFirst + i, &sbit, nullptr);
        }
        const std::size_t bytes = heap() - before;
        FTC_Manager_Done(manager);
        FT_Done_FreeType(library);
        return bytes;
    });
}

// A surface a glyph, as hosts of SDL_ttf keep them.
void memorySdl(benchmark::State &state, std::uint32_t glyphs)
{
    const ZkTypeface face = dejavu();
    std::vector<Uint32> characters;
    for (Uint32 c = 0x21; characters.size() < glyphs && c < 0x20000; ++c) {
        if (face.hasGlyph(c)) {
            characters.push_back(c);
        }
    }
    memoryOf(state, [&characters](std::size_t before) {
        TTF_Init();
        TTF_Font *const font = TTF_OpenFont(ZK_FONT_DEJAVU, 16);
        std::vector<SDL_Surface *> surfaces;
        for (const Uint32 c : characters) {
            surfaces.push_back(TTF_RenderGlyph32_Shaded(font, c, {255, 255, 255, 255}, {}));
        }
        const std::size_t bytes = heap() - before;
        for (SDL_Surface *surface : surfaces) {
            SDL_FreeSurface(surface);
        }
        TTF_CloseFont(font);
        TTF_Quit();
        return bytes;
    });
}

} // namespace

int main(int argc, char **argv)
{
    using benchmark::RegisterBenchmark;
    registerFound("found");
    for (const int size : {16, 48}) {
        const std::string name = "cold_" + std::to_string(size) + "_px";
        RegisterBenchmark((name + "/zk").c_str(), coldZk, size);
        RegisterBenchmark((name + "/freetype").c_str(), coldFreeType, size);
    }
    RegisterBenchmark("first_screen_500/zk", firstScreenPack);
    RegisterBenchmark("first_screen_500/rendered", firstScreenRendered);
    const struct {
        const char *name, *path;
    } kFonts[] = {{"open_dejavu", ZK_FONT_DEJAVU}, {"open_microhei", ZK_FONT_MICROHEI}};
    for (const auto &font : kFonts) {
        RegisterBenchmark((std::string(font.name) + "/zk").c_str(), openZk, font.path);
        RegisterBenchmark((std::string(font.name) + "/freetype").c_str(), openFreeType, font.path);
    }
    for (const std::uint32_t glyphs : {500u, 5000u}) {
        const std::string name = "memory_" + std::to_string(glyphs) + "_glyphs_bytes";
        const auto add = [&name, glyphs](const char *who,
                                         void (*run)(benchmark::State &, std::uint32_t)) {
            RegisterBenchmark((name + who).c_str(), run, glyphs)->UseManualTime()->Iterations(1);
        };
        add("/zk", memoryZk);
        add("/ftc", memoryFtc);
        add("/sdl_ttf", memorySdl);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
