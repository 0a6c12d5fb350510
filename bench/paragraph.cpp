// Whole paragraphs by the Unicode path: analysed, shaped, divided into lines. Glyphs are
// warm, 16 px, 400 px wide; times are per character.
//
//   whole    a paragraph of 10,000 characters, constructed, laid out and destroyed
//   placed   the same and the place of every glyph
//   width    another width for a paragraph that is there
//   label    12 characters from nothing, shortened with an ellipsis
//
//   scrolled_million_bytes  the most memory beside text and fonts while a million characters
//            in eight languages go by, 480 rows at a time, the glyphs in 64 KiB

#include "heap.h"
#include "layoutpeers.h"

#include <zkparagraph.h>

#include <linebreak.h>
#include <unicode/brkiter.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

constexpr int kOtherWidth = 300, kLabelWidth = 60;

// Ours

ZkFontChain chainOf(const BenchText &text)
{
    return ZkFontChain(ZkTypeface::fromFile(text.font));
}

void wholeZk(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    const ZkFontChain chain = chainOf(text);
    ZkParagraph warm; // holds the glyphs
    warm.setChain(chain);
    warm.setUtf8(utf8.c_str());
    benchmark::DoNotOptimize(warm.height());
    for (auto _ : state) {
        ZkParagraph paragraph;
        paragraph.setChain(chain);
        paragraph.setText(warm.text());
        paragraph.setWidth(kWrapWidth);
        benchmark::DoNotOptimize(paragraph.height());
    }
    countCharacters(state, static_cast<std::size_t>(warm.text().size()));
}

void placedZk(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    ZkParagraph paragraph;
    paragraph.setChain(chainOf(text));
    paragraph.setUtf8(utf8.c_str());
    const ZkString units = paragraph.text();
    paragraph.setWidth(kWrapWidth);
    for (auto _ : state) {
        paragraph.setText(ZkString());
        paragraph.setText(units);
        const ZkPlacedGlyph *glyphs = nullptr;
        for (int line = 0; line < paragraph.lineCount(); ++line) {
            benchmark::DoNotOptimize(paragraph.glyphs(line, &glyphs));
        }
    }
    countCharacters(state, static_cast<std::size_t>(units.size()));
}

void widthZk(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    ZkParagraph paragraph;
    paragraph.setChain(chainOf(text));
    paragraph.setUtf8(utf8.c_str());
    int width = kWrapWidth;
    for (auto _ : state) {
        width = kWrapWidth + kOtherWidth - width;
        paragraph.setWidth(width);
        benchmark::DoNotOptimize(paragraph.height());
    }
    countCharacters(state, static_cast<std::size_t>(paragraph.text().size()));
}

void labelZk(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    const ZkFontChain chain = chainOf(text);
    const ZkString units(utf8.c_str());
    for (auto _ : state) {
        ZkParagraph label;
        label.setChain(chain);
        label.setText(units);
        label.setWidth(kLabelWidth);
        label.setMaximumLines(1);
        label.setEllipsis(ZkParagraph::EllipsisEnd);
        const ZkPlacedGlyph *glyphs = nullptr;
        benchmark::DoNotOptimize(label.glyphs(0, &glyphs));
    }
    countCharacters(state, static_cast<std::size_t>(units.size()));
}

/// A window of 480 rows on paragraphs under each other: those outside are let go.
class Scroll
{
public:
    explicit Scroll(const ZkFontChain &chain) : m_cache(64 * 1024), m_chain(chain) {}

    void add(const ZkString &text)
    {
        m_seen.push_back(std::make_unique<ZkParagraph>(m_cache));
        ZkParagraph &paragraph = *m_seen.back();
        paragraph.setChain(m_chain);
        paragraph.setText(text);
        paragraph.setWidth(kWrapWidth);
        m_height += paragraph.height();
        const ZkPlacedGlyph *glyphs = nullptr;
        for (int line = 0; line < paragraph.lineCount(); ++line) {
            benchmark::DoNotOptimize(paragraph.glyphs(line, &glyphs));
        }
        while (m_height - m_seen.front()->height() >= 480) {
            m_height -= m_seen.front()->height();
            m_seen.pop_front();
        }
    }

private:
    ZkGlyphCache m_cache;
    ZkFontChain m_chain;
    std::deque<std::unique_ptr<ZkParagraph>> m_seen;
    int m_height = 0;
};

void scrolledZk(benchmark::State &state)
{
    std::vector<ZkString> texts;
    ZkFontChain chain;
    for (const char *const font : {ZK_FONT_DEJAVU, ZK_FONT_FREESERIF, ZK_FONT_MICROHEI}) {
        chain.append(ZkTypeface::fromFile(font));
    }
    for (const BenchText &text : kBenchTexts) {
        texts.emplace_back(text.utf8);
    }
    const auto mostBytes = [&](std::size_t before) {
        Scroll scroll(chain);
        std::size_t most = 0;
        int characters = 0;
        for (std::size_t i = 0; characters < 1000000; ++i) {
            const ZkString &text = texts[i % texts.size()];
            scroll.add(text);
            characters += text.size();
            most = std::max(most, heap() - before);
        }
        return most;
    };
    mostBytes(heap()); // what the fonts keep once they were used
    memoryOf(state, mostBytes);
}

// Pango

void widthPango(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    const PangoText pango(text);
    PangoLayout *layout = pango.layout(utf8, kWrapWidth);
    int width = kWrapWidth;
    for (auto _ : state) {
        width = kWrapWidth + kOtherWidth - width;
        pango_layout_set_width(layout, width * PANGO_SCALE);
        benchmark::DoNotOptimize(PangoText::height(layout));
    }
    g_object_unref(layout);
    countCharacters(state, unitCount(utf8));
}

void labelPango(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    const PangoText pango(text);
    for (auto _ : state) {
        PangoLayout *layout = pango.layout(utf8, kLabelWidth);
        pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
        benchmark::DoNotOptimize(PangoText::height(layout));
        g_object_unref(layout);
    }
    countCharacters(state, unitCount(utf8));
}

// HarfBuzz, FriBidi and libunibreak with a loop.

class Stack
{
public:
    explicit Stack(const char *font) : m_shaper(font, kPixels) { init_linebreak(); }

    void shape(const std::vector<FriBidiChar> &text)
    {
        breaks.resize(text.size());
        m_shaper.shape(text, advances);
        set_linebreaks_utf32(text.data(), text.size(), "", breaks.data());
    }

    int lines(int width) const
    {
        int count = 1, used = 0, word = 0;
        for (std::size_t i = 0; i < advances.size(); ++i) {
            word += advances[i];
            if (breaks[i] <= LINEBREAK_ALLOWBREAK) {
                if (used + word > width * 64) {
                    ++count;
                    used = 0;
                }
                used += word;
                word = 0;
            }
        }
        return count;
    }

    std::vector<int> advances;
    std::vector<char> breaks; // behind each character

private:
    StackShaper m_shaper;
};

void wholeStack(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    Stack stack(text.font);
    const std::vector<FriBidiChar> units = codePoints(utf8);
    for (auto _ : state) {
        stack.shape(units);
        benchmark::DoNotOptimize(stack.lines(kWrapWidth));
    }
    countCharacters(state, units.size());
}

void widthStack(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    Stack stack(text.font);
    const std::vector<FriBidiChar> units = codePoints(utf8);
    stack.shape(units);
    int width = kWrapWidth;
    for (auto _ : state) {
        width = kWrapWidth + kOtherWidth - width;
        benchmark::DoNotOptimize(stack.lines(width));
    }
    countCharacters(state, units.size());
}

// ICU's line breaks over known advances with a loop.
void widthIcu(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    Stack stack(text.font);
    stack.shape(codePoints(utf8));
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createLineInstance(icu::Locale::getRoot(), error));
    if (U_FAILURE(error)) {
        throw std::runtime_error(u_errorName(error));
    }
    breaks->setText(icu::UnicodeString::fromUTF8(utf8));
    int width = kWrapWidth;
    for (auto _ : state) {
        width = kWrapWidth + kOtherWidth - width;
        int lines = 1, used = 0, at = breaks->first();
        for (int next = breaks->next(); next != icu::BreakIterator::DONE; next = breaks->next()) {
            int word = 0;
            for (; at < next; ++at) {
                word += stack.advances[static_cast<std::size_t>(at)];
            }
            if (used + word > width * 64) {
                ++lines;
                used = 0;
            }
            used += word;
        }
        benchmark::DoNotOptimize(lines);
    }
    countCharacters(state, stack.advances.size());
}

const struct {
    const char *kind, *who;
    BenchRun run;
} kRows[] = {
    {"whole", "zk", wholeZk},
    {"whole", "classic", wholeClassic},
    {"whole", "pango", wholePango},
    {"whole", "stack", wholeStack},
    {"whole", "sdl_ttf", measureSdlTtf},
    {"placed", "zk", placedZk},
    {"width", "zk", widthZk},
    {"width", "pango", widthPango},
    {"width", "stack", widthStack},
    {"width", "icu", widthIcu},
    {"label", "zk", labelZk},
    {"label", "classic", wholeClassic},
    {"label", "pango", labelPango},
    {"label", "sdl_ttf", measureSdlTtf},
};

void registerAll()
{
    for (const BenchText &text : kBenchTexts) {
        const std::string whole = repeated(text, kParagraph);
        for (const auto &row : kRows) {
            const bool isLabel = std::string(row.kind) == "label";
            if (isLabel && &text != &kBenchTexts[0]) {
                continue;
            }
            benchmark::RegisterBenchmark(
                (std::string(row.kind) + '/' + text.name + '/' + row.who).c_str(), row.run, text,
                isLabel ? std::string(kLabel) : whole);
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    registerAll();
    benchmark::RegisterBenchmark("scrolled_million_bytes/zk", scrolledZk)
        ->UseManualTime()
        ->Iterations(2);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
