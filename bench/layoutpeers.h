#ifndef ZK_BENCH_LAYOUTPEERS_H
#define ZK_BENCH_LAYOUTPEERS_H

#include "texts.h"
#include "textstack.h"

#include <zkfontmetrics.h>

#include <SDL_ttf.h>
#include <benchmark/benchmark.h>
#include <pango/pangoft2.h>

#include <string>

/// What lays whole texts out and stands beside both engines: the classic one itself, Pango
/// and SDL_ttf.

inline constexpr int kPixels = 16, kWrapWidth = 400;
inline constexpr std::size_t kParagraph = 10000;
inline const char *const kLabel = "Settings 24%"; // 12 characters

using BenchRun = void (*)(benchmark::State &, const BenchText &, const std::string &);

inline void countCharacters(benchmark::State &state, std::size_t characters)
{
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * characters));
}

// The classic engine: no direction, no marks, no fonts that stand in.

inline void layOutClassic(const ZkString &text)
{
    ZkFontMetrics layout(text, ZkFont());
    layout.setWorpWrap(true);
    layout.setTextMinRect(0, 0, kWrapWidth, 1000);
    benchmark::DoNotOptimize(layout.paintInfoList().size());
}

inline void wholeClassic(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    ZkFontMetrics::setFontFile(text.font);
    const ZkString units(utf8.c_str());
    layOutClassic(units);
    for (auto _ : state) {
        layOutClassic(units);
    }
    countCharacters(state, static_cast<std::size_t>(units.size()));
}

// Pango

class PangoText
{
public:
    explicit PangoText(const BenchText &text)
        : m_map(pango_ft2_font_map_new()),
          m_context(pango_font_map_create_context(m_map)),
          m_font(pango_font_description_new())
    {
        pango_font_description_set_family(m_font, text.family);
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

    PangoLayout *layout(const std::string &utf8, int width) const
    {
        PangoLayout *made = pango_layout_new(m_context);
        pango_layout_set_font_description(made, m_font);
        pango_layout_set_width(made, width * PANGO_SCALE);
        pango_layout_set_text(made, utf8.data(), static_cast<int>(utf8.size()));
        return made;
    }

    static int height(PangoLayout *layout)
    {
        PangoRectangle extents;
        pango_layout_get_pixel_extents(layout, nullptr, &extents);
        return extents.height;
    }

private:
    PangoFontMap *m_map;
    PangoContext *m_context;
    PangoFontDescription *m_font;
};

inline void wholePango(benchmark::State &state, const BenchText &text, const std::string &utf8)
{
    const PangoText pango(text);
    for (auto _ : state) {
        PangoLayout *layout = pango.layout(utf8, kWrapWidth);
        benchmark::DoNotOptimize(PangoText::height(layout));
        g_object_unref(layout);
    }
    countCharacters(state, unitCount(utf8));
}

// SDL_ttf: the size of the text as one line, which is the least it can be asked.
inline void measureSdlTtf(benchmark::State &state, const BenchText &text, const std::string &utf8)
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

#endif
