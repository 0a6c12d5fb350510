// Laying out text: a long paragraph wrapped at 400 pixels and a short label, both
// constructed, divided, placed and destroyed each time; all glyphs are warm. Times
// are per character.

#include "layoutpeers.h"

#include <zkscriptrules.h>

#include <imgui.h>
#include <unicode/ubidi.h>
#include <unicode/ushape.h>

#include <cfloat>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

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
    StackShaper shaper(text.font, kPixels);
    const std::vector<FriBidiChar> units = codePoints(utf8);
    for (auto _ : state) {
        std::vector<int> advances;
        shaper.shape(units, advances);
        benchmark::DoNotOptimize(cutLines(units, advances));
    }
    countCharacters(state, units.size());
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

void registerLayout(const BenchText &text, const std::string &kind, const std::string &utf8)
{
    const struct {
        const char *who;
        BenchRun run;
    } kPeers[] = {{"zk", wholeClassic},
                  {"pango", wholePango},
                  {"harfbuzz", layoutHarfBuzz},
                  {"sdl_ttf", measureSdlTtf},
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
