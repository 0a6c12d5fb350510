// Laying out text: a long paragraph wrapped at 400 pixels and a short label, both
// constructed, divided, placed and destroyed each time; all glyphs are warm. Times
// are per character.

#include "texts.h"
#include "textstack.h"

#include <zkfontmetrics.h>
#include <zkscriptrules.h>

#include <SDL_ttf.h>
#include <benchmark/benchmark.h>
#include <fribidi.h>
#include <hb-ft.h>
#include <hb.h>
#include <imgui.h>
#include <pango/pangoft2.h>
#include <unicode/ubidi.h>
#include <unicode/ushape.h>

#include <cfloat>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

constexpr int kPixels = 16, kWrapWidth = 400;
constexpr std::size_t kParagraph = 10000;
const char *const kLabel = "Settings 24%"; // 12 characters

void countCharacters(benchmark::State &state, std::size_t characters)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * characters));
}

// Ours

void layOut(const ZkString &text)
{
    ZkFontMetrics layout(text, ZkFont());
    layout.setWorpWrap(true);
    layout.setTextMinRect(0, 0, kWrapWidth, 1000);
    benchmark::DoNotOptimize(layout.paintInfoList().size());
}

void layoutZk(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    ZkFontMetrics::setFontFile(text.font);
    const ZkString units(utf8.c_str());
    layOut(units);
    for (auto _ : state) {
        layOut(units);
    }
    countCharacters(state, static_cast<std::size_t>(units.size()));
}

// Pango: a layout object per text, asked for its extents.
void layoutPango(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    PangoFontMap *map = pango_ft2_font_map_new();
    PangoContext *context = pango_font_map_create_context(map);
    PangoFontDescription *font = pango_font_description_new();
    pango_font_description_set_family(font, text.family);
    pango_font_description_set_absolute_size(font, kPixels * PANGO_SCALE);
    for (auto _ : state) {
        PangoLayout *layout = pango_layout_new(context);
        pango_layout_set_font_description(layout, font);
        pango_layout_set_width(layout, kWrapWidth * PANGO_SCALE);
        pango_layout_set_text(layout, utf8.data(), static_cast<int>(utf8.size()));
        PangoRectangle extents;
        pango_layout_get_pixel_extents(layout, nullptr, &extents);
        benchmark::DoNotOptimize(extents.height);
        g_object_unref(layout);
    }
    countCharacters(state, unitCount(utf8));
    pango_font_description_free(font);
    g_object_unref(context);
    g_object_unref(map);
}

// HarfBuzz shapes the runs that FriBidi finds; lines are then cut greedily at spaces.

int cutLines(const std::vector<FriBidiChar> &text, const std::vector<int> &advances)
{
    int lines = 1, width = 0, word = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        word += advances[i];
        if (text[i] == ' ' || text[i] >= 0x4E00) {
            if (width + word > kWrapWidth * 64) {
                ++lines;
                width = 0;
            }
            width += word;
            word = 0;
        }
    }
    return lines;
}

void layoutHarfBuzz(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    FT_Library library = nullptr;
    FT_Face face = nullptr;
    FT_Init_FreeType(&library);
    FT_New_Face(library, text.font, 0, &face);
    FT_Set_Pixel_Sizes(face, 0, kPixels);
    hb_font_t *font = hb_ft_font_create(face, nullptr);
    hb_buffer_t *buffer = hb_buffer_create();
    const std::vector<FriBidiChar> units = codePoints(utf8);
    for (auto _ : state) {
        std::vector<int> advances(units.size());
        const BidiRuns runs(units);
        for (std::size_t start = 0; start < units.size();) {
            const std::size_t end = runs.end(start);
            shapeRun(font, buffer, units, start, end, runs.levels[start] & 1, advances);
            start = end;
        }
        benchmark::DoNotOptimize(cutLines(units, advances));
    }
    countCharacters(state, units.size());
    hb_buffer_destroy(buffer);
    hb_font_destroy(font);
    FT_Done_Face(face);
    FT_Done_FreeType(library);
}

// SDL_ttf: the size of the whole text as one line, which is the least it can be asked.
void layoutSdlTtf(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    TTF_Init();
    TTF_Font *font = TTF_OpenFont(text.font, kPixels);
    for (auto _ : state) {
        int width = 0, height = 0;
        TTF_SizeUTF8(font, utf8.c_str(), &width, &height);
        benchmark::DoNotOptimize(width);
    }
    countCharacters(state, unitCount(utf8));
    TTF_CloseFont(font);
    TTF_Quit();
}

// Dear ImGui: measuring with wrapping, over an atlas that has the whole plane.
void layoutImGui(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    static const ImWchar kPlane[] = {0x0020, 0x0EFF, 0x2000, 0x206F, 0x3000, 0x30FF,
                                     0x4E00, 0x9FFF, 0xFB50, 0xFEFF, 0};
    static ImGuiContext *const context = ImGui::CreateContext(); // its memory hooks count
    benchmark::DoNotOptimize(context);
    ImFontAtlas atlas;
    ImFont *font = atlas.AddFontFromFileTTF(text.font, kPixels, nullptr, kPlane);
    atlas.Build();
    for (auto _ : state) {
        const ImVec2 size = font->CalcTextSizeA(kPixels, FLT_MAX, kWrapWidth, utf8.data(),
                                                utf8.data() + utf8.size());
        benchmark::DoNotOptimize(size.y);
    }
    countCharacters(state, unitCount(utf8));
}

// Right-to-left text made ready for a painter: shaped and put into visual order.

void prepareZk(benchmark::State &state, const std::u16string &text)
{
    std::vector<ZkUcs2> work(text.size());
    for (auto _ : state) {
        std::memcpy(work.data(), text.data(), text.size() * sizeof(ZkUcs2));
        const int n = static_cast<int>(work.size());
        if (isIncludeHebrew(work.data(), n) != 0) {
            reversalHebrew(work.data(), n);
        } else if (isIncludeArbic(work.data(), n) != 0) {
            arabicRulesConvert(work.data(), n);
        }
        benchmark::DoNotOptimize(work.data());
    }
    countCharacters(state, text.size());
}

void prepareFriBidi(benchmark::State &state, const std::string &utf8)
{
    const std::vector<FriBidiChar> text = codePoints(utf8);
    const auto count = static_cast<FriBidiStrIndex>(text.size());
    std::vector<FriBidiChar> work(text.size());
    std::vector<FriBidiJoiningType> joining(text.size());
    for (auto _ : state) {
        work = text;
        BidiRuns runs(work);
        fribidi_get_joining_types(work.data(), count, joining.data());
        fribidi_join_arabic(runs.types.data(), count, runs.levels.data(), joining.data());
        fribidi_shape(FRIBIDI_FLAGS_DEFAULT | FRIBIDI_FLAGS_ARABIC, runs.levels.data(), count,
                      joining.data(), work.data());
        benchmark::DoNotOptimize(fribidi_reorder_line(FRIBIDI_FLAGS_DEFAULT, runs.types.data(),
                                                      count, 0, FRIBIDI_PAR_RTL, runs.levels.data(),
                                                      work.data(), nullptr));
    }
    countCharacters(state, text.size());
}

void prepareIcu(benchmark::State &state, const std::u16string &text)
{
    const auto count = static_cast<std::int32_t>(text.size());
    std::vector<UChar> shaped(text.size()), visual(text.size());
    UErrorCode error = U_ZERO_ERROR;
    for (auto _ : state) {
        u_shapeArabic(text.data(), count, shaped.data(), count,
                      U_SHAPE_LETTERS_SHAPE | U_SHAPE_LENGTH_FIXED_SPACES_NEAR, &error);
        UBiDi *bidi = ubidi_open();
        ubidi_setPara(bidi, shaped.data(), count, UBIDI_DEFAULT_LTR, nullptr, &error);
        ubidi_writeReordered(bidi, visual.data(), count, UBIDI_DO_MIRRORING, &error);
        ubidi_close(bidi);
        benchmark::DoNotOptimize(visual.data());
    }
    if (U_FAILURE(error)) {
        throw std::runtime_error(u_errorName(error));
    }
    countCharacters(state, text.size());
}

using Run = void (*)(benchmark::State &, const BenchText &, const std::string &);

void registerLayout(const BenchText &text, const std::string &kind, const std::string &utf8)
{
    const struct {
        const char *who;
        Run run;
    } kPeers[] = {{"zk", layoutZk},
                  {"pango", layoutPango},
                  {"harfbuzz", layoutHarfBuzz},
                  {"sdl_ttf", layoutSdlTtf},
                  {"imgui", layoutImGui}};
    for (const auto &peer : kPeers) {
        benchmark::RegisterBenchmark((kind + "/" + text.name + "/" + peer.who).c_str(), peer.run,
                                     text, utf8);
    }
}

void registerPreparation(const BenchText &text)
{
    const std::string utf8 = repeated(text, kParagraph);
    const std::u16string units = ZkString(utf8.c_str()).toStdU16String();
    const std::string name = std::string("prepare/") + text.name + "/";
    benchmark::RegisterBenchmark((name + "zk").c_str(), prepareZk, units);
    benchmark::RegisterBenchmark((name + "fribidi").c_str(), prepareFriBidi, utf8);
    benchmark::RegisterBenchmark((name + "icu").c_str(), prepareIcu, units);
}

void registerAll()
{
    for (const BenchText &text : kBenchTexts) {
        registerLayout(text, "paragraph", repeated(text, kParagraph));
        const std::string name = text.name;
        if (name == "arabic" || name == "persian" || name == "hebrew") {
            registerPreparation(text);
        }
    }
    registerLayout(kBenchTexts[0], "label", kLabel);
}

} // namespace

int main(int argc, char **argv)
{
    registerAll();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
