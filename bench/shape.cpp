// Paragraphs of every script through libzkshape beside Pango, which shapes with the same
// HarfBuzz. 16 px, 400 px wide, glyphs warm; times are per character.
//
//   first    10,000 characters, no word of which was seen before
//   known    10,000 characters of an article over and over, its words known
//   width    another width for a paragraph that is there
//   label    12 characters from nothing, shortened with an ellipsis, words known
//   bytes    what a paragraph of 10,000 characters keeps, a character; its words are known
//   threads  two threads that shape the same known words; the time of one

#include "heapcount.h"
#include "scripttexts.h"

#include <zkharfbuzzshaper.h>
#include <zkparagraph.h>
#include <zkthaiwords.h>

#include <benchmark/benchmark.h>
#include <pango/pangoft2.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace
{

constexpr int kPixels = 16, kWrapWidth = 400, kOtherWidth = 300, kLabelWidth = 60;
constexpr std::size_t kCharacters = 10000;

void countCharacters(benchmark::State &state, std::size_t characters)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * characters));
}

ZkString units(const std::u16string &text)
{
    return ZkString(reinterpret_cast<const ZkUcs2 *>(text.data()), static_cast<int>(text.size()));
}

/// The text over and over.
std::u16string repeated(const ScriptText &text)
{
    std::u16string whole;
    while (whole.size() < kCharacters) {
        whole += text.text;
        whole += u' ';
    }
    return whole;
}

/// Clusters of the text in its order, in words that are cut anew all the time: hardly any
/// comes twice.
std::u16string ofNewWords(const ScriptText &text)
{
    const std::u16string article = text.text;
    std::vector<std::uint8_t> flags(article.size() + 1);
    ZkTextBreaks::find(reinterpret_cast<const ZkUcs2 *>(article.data()),
                       static_cast<int>(article.size()), flags.data());
    std::vector<std::u16string> clusters;
    for (std::size_t i = 0; i < article.size(); ++i) {
        if ((flags[i] & ZkTextBreaks::Grapheme) != 0 || i == 0) {
            clusters.emplace_back();
        }
        clusters.back() += article[i];
    }
    std::u16string whole;
    unsigned seed = 5;
    while (whole.size() < kCharacters) {
        seed = seed * 1664525u + 1013904223u;
        const std::size_t length = 3 + (seed >> 16) % 6;
        for (std::size_t i = 0; i < length; ++i) {
            seed = seed * 1664525u + 1013904223u;
            const std::u16string &cluster = clusters[(seed >> 16) % clusters.size()];
            whole += cluster[0] == u' ' ? std::u16string() : cluster;
        }
        whole += u' ';
    }
    return whole;
}

/// The first 12 units of the text, or 11 where that would cut a pair.
std::u16string labelOf(const ScriptText &text)
{
    const std::u16string all = text.text;
    return all.substr(0, all[11] >= 0xD800 && all[11] < 0xDC00 ? 11 : 12);
}

/// What a paragraph of a script is laid out with.
struct Zk {
    explicit Zk(const ScriptText &text)
        : chain(ZkTypeface::fromFile(text.path().c_str())), shaper(words)
    {
        if (std::string(text.script) == "Thai") {
            breaker.reset(new ZkThaiWords);
        }
    }

    void layOut(ZkParagraph &paragraph, const ZkString &text, int width)
    {
        paragraph.setChain(chain);
        paragraph.setShaper(&shaper);
        paragraph.setWordBreaker(breaker.get());
        paragraph.setText(text);
        paragraph.setWidth(width);
        benchmark::DoNotOptimize(paragraph.height());
    }

    ZkFontChain chain;
    ZkShapedWords words;
    ZkHarfBuzzShaper shaper;
    std::unique_ptr<ZkThaiWords> breaker;
};

void firstZk(benchmark::State &state, const ScriptText &text)
{
    Zk zk(text);
    const ZkString string = units(ofNewWords(text));
    ZkParagraph warm;
    zk.layOut(warm, string, kWrapWidth);
    for (auto _ : state) {
        zk.words.clear();
        ZkParagraph paragraph;
        zk.layOut(paragraph, string, kWrapWidth);
    }
    countCharacters(state, static_cast<std::size_t>(string.size()));
}

void knownZk(benchmark::State &state, const ScriptText &text)
{
    Zk zk(text);
    const ZkString string = units(repeated(text));
    ZkParagraph warm;
    zk.layOut(warm, string, kWrapWidth);
    for (auto _ : state) {
        ZkParagraph paragraph;
        zk.layOut(paragraph, string, kWrapWidth);
    }
    countCharacters(state, static_cast<std::size_t>(string.size()));
}

void widthZk(benchmark::State &state, const ScriptText &text)
{
    Zk zk(text);
    ZkParagraph paragraph;
    zk.layOut(paragraph, units(repeated(text)), kWrapWidth);
    int width = kWrapWidth;
    for (auto _ : state) {
        width = kWrapWidth + kOtherWidth - width;
        paragraph.setWidth(width);
        benchmark::DoNotOptimize(paragraph.height());
    }
    countCharacters(state, static_cast<std::size_t>(paragraph.text().size()));
}

void labelZk(benchmark::State &state, const ScriptText &text)
{
    Zk zk(text);
    const ZkString string = units(labelOf(text));
    ZkParagraph warm;
    zk.layOut(warm, string, 0);
    for (auto _ : state) {
        ZkParagraph label;
        label.setMaximumLines(1);
        label.setEllipsis(ZkParagraph::EllipsisEnd);
        zk.layOut(label, string, kLabelWidth);
        const ZkPlacedGlyph *glyphs = nullptr;
        benchmark::DoNotOptimize(label.glyphs(0, &glyphs));
    }
    countCharacters(state, static_cast<std::size_t>(string.size()));
}

/// A layout of Pango with the same font.
class PangoText
{
public:
    explicit PangoText(const ScriptText &text)
        : m_map(pango_ft2_font_map_new()), m_font(pango_font_description_new())
    {
        pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(m_map), 72, 72);
        m_context = pango_font_map_create_context(m_map);
        const ZkTypeface face = ZkTypeface::fromFile(text.path().c_str());
        pango_font_description_set_family(m_font, face.familyName());
        pango_font_description_set_absolute_size(m_font, kPixels * PANGO_SCALE);
    }
    ~PangoText()
    {
        pango_font_description_free(m_font);
        g_object_unref(m_context);
        g_object_unref(m_map);
    }
    PangoText(const PangoText &) = delete;
    PangoText &operator=(const PangoText &) = delete;

    PangoLayout *layOut(const std::string &utf8, int width) const
    {
        PangoLayout *const layout = pango_layout_new(m_context);
        pango_layout_set_font_description(layout, m_font);
        pango_layout_set_text(layout, utf8.data(), static_cast<int>(utf8.size()));
        pango_layout_set_width(layout, width * PANGO_SCALE);
        pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
        return layout;
    }

private:
    PangoFontMap *m_map;
    PangoContext *m_context;
    PangoFontDescription *m_font;
};

void measure(PangoLayout *layout)
{
    int width = 0, height = 0;
    pango_layout_get_pixel_size(layout, &width, &height);
    benchmark::DoNotOptimize(height);
}

std::string utf8(const std::u16string &text)
{
    const auto *const first = reinterpret_cast<const gunichar2 *>(text.data());
    gchar *const bytes =
        g_utf16_to_utf8(first, static_cast<glong>(text.size()), nullptr, nullptr, nullptr);
    const std::string copy = bytes == nullptr ? "" : bytes;
    g_free(bytes);
    return copy;
}

void wholePango(benchmark::State &state, const ScriptText &text, const std::u16string &whole)
{
    const PangoText pango(text);
    const std::string bytes = utf8(whole);
    for (auto _ : state) {
        PangoLayout *const layout = pango.layOut(bytes, kWrapWidth);
        measure(layout);
        g_object_unref(layout);
    }
    countCharacters(state, whole.size());
}

void widthPango(benchmark::State &state, const ScriptText &text)
{
    const PangoText pango(text);
    const std::u16string whole = repeated(text);
    PangoLayout *const layout = pango.layOut(utf8(whole), kWrapWidth);
    int width = kWrapWidth;
    for (auto _ : state) {
        width = kWrapWidth + kOtherWidth - width;
        pango_layout_set_width(layout, width * PANGO_SCALE);
        measure(layout);
    }
    g_object_unref(layout);
    countCharacters(state, whole.size());
}

void labelPango(benchmark::State &state, const ScriptText &text)
{
    const PangoText pango(text);
    const std::u16string label = labelOf(text);
    const std::string bytes = utf8(label);
    for (auto _ : state) {
        PangoLayout *const layout = pango.layOut(bytes, kLabelWidth);
        pango_layout_set_height(layout, -1);
        pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
        measure(layout);
        g_object_unref(layout);
    }
    countCharacters(state, label.size());
}

/// Bytes that `layOut` leaves on the heap, told as nanoseconds by the characters. What it returns
/// is kept.
template <typename LayOut>
void heapGrowth(benchmark::State &state, std::size_t characters, LayOut layOut)
{
    layOut(); // whatever is kept for all texts
    for (auto _ : state) {
        const std::size_t before = heapcount::bytes;
        const auto kept = layOut();
        state.SetIterationTime(static_cast<double>(heapcount::bytes - before) * 1e-9);
    }
    countCharacters(state, characters);
}

void bytesZk(benchmark::State &state, const ScriptText &text)
{
    Zk zk(text);
    const ZkString string = units(repeated(text));
    heapGrowth(state, static_cast<std::size_t>(string.size()), [&] {
        auto paragraph = std::make_unique<ZkParagraph>();
        zk.layOut(*paragraph, string, kWrapWidth);
        return paragraph;
    });
}

void bytesPango(benchmark::State &state, const ScriptText &text)
{
    const PangoText pango(text);
    const std::u16string whole = repeated(text);
    const std::string bytes = utf8(whole);
    heapGrowth(state, whole.size(), [&] {
        PangoLayout *const layout = pango.layOut(bytes, kWrapWidth);
        measure(layout);
        return std::unique_ptr<PangoLayout, void (*)(PangoLayout *)>(
            layout, [](PangoLayout *old) { g_object_unref(old); });
    });
}

/// One shaper a thread over the words of all.
void threadsZk(benchmark::State &state)
{
    static ZkShapedWords words;
    static const ZkFontChain chain(ZkTypeface::fromFile(kScriptTexts[0].path().c_str()));
    const ZkString string = units(repeated(kScriptTexts[0]));
    ZkHarfBuzzShaper shaper(words);
    for (auto _ : state) {
        ZkParagraph paragraph;
        paragraph.setChain(chain);
        paragraph.setShaper(&shaper);
        paragraph.setText(string);
        paragraph.setWidth(kWrapWidth);
        benchmark::DoNotOptimize(paragraph.height());
    }
    countCharacters(state, static_cast<std::size_t>(string.size()));
}

void add(const ScriptText &text)
{
    std::string name = text.what;
    for (char &letter : name) {
        letter = letter == ' ' || letter == ',' || letter == '\'' ? '-' : letter;
    }
    const auto row = [&name](const char *what, const char *who) {
        return std::string(what) + "/" + name + "/" + who;
    };
    using benchmark::RegisterBenchmark;
    const ScriptText *const of = &text;
    RegisterBenchmark(row("first", "zk").c_str(), [of](benchmark::State &s) { firstZk(s, *of); });
    RegisterBenchmark(row("first", "pango").c_str(),
                      [of](benchmark::State &s) { wholePango(s, *of, ofNewWords(*of)); });
    RegisterBenchmark(row("known", "zk").c_str(), [of](benchmark::State &s) { knownZk(s, *of); });
    RegisterBenchmark(row("known", "pango").c_str(),
                      [of](benchmark::State &s) { wholePango(s, *of, repeated(*of)); });
    RegisterBenchmark(row("width", "zk").c_str(), [of](benchmark::State &s) { widthZk(s, *of); });
    RegisterBenchmark(row("width", "pango").c_str(),
                      [of](benchmark::State &s) { widthPango(s, *of); });
    RegisterBenchmark(row("bytes", "zk").c_str(), [of](benchmark::State &s) { bytesZk(s, *of); })
        ->UseManualTime()
        ->Iterations(1);
    RegisterBenchmark(row("bytes", "pango").c_str(),
                      [of](benchmark::State &s) { bytesPango(s, *of); })
        ->UseManualTime()
        ->Iterations(1);
    RegisterBenchmark(row("label", "zk").c_str(), [of](benchmark::State &s) { labelZk(s, *of); });
    RegisterBenchmark(row("label", "pango").c_str(),
                      [of](benchmark::State &s) { labelPango(s, *of); });
}

} // namespace

int main(int argc, char **argv)
{
    setenv("G_SLICE", "always-malloc", 1); // so that Pango's memory is counted
    benchmark::Initialize(&argc, argv);
    // One text of each script; the second ones differ in what they prove, not in speed.
    std::string script;
    for (const ScriptText &text : kScriptTexts) {
        if (script != text.script || std::string(text.what) == "Urdu, Nastaliq") {
            add(text);
        }
        script = text.script;
    }
    benchmark::RegisterBenchmark("threads/one/zk", threadsZk)->UseRealTime();
    benchmark::RegisterBenchmark("threads/one/two", threadsZk)->Threads(2)->UseRealTime();
    benchmark::RunSpecifiedBenchmarks();
}
