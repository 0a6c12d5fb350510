#ifndef ZK_BENCH_TEXTSTACK_H
#define ZK_BENCH_TEXTSTACK_H

#include <benchmark/benchmark.h>
#include <fribidi.h>
#include <hb-ft.h>
#include <hb.h>

#include <string>
#include <vector>

/// What a program without a text engine builds one from: HarfBuzz shapes the runs that
/// FriBidi finds.

/// The levels that FriBidi finds.
struct BidiRuns {
    explicit BidiRuns(const std::vector<FriBidiChar> &text)
        : types(text.size()), brackets(text.size()), levels(text.size())
    {
        const auto count = static_cast<FriBidiStrIndex>(text.size());
        fribidi_get_bidi_types(text.data(), count, types.data());
        fribidi_get_bracket_types(text.data(), count, types.data(), brackets.data());
        FriBidiParType direction = FRIBIDI_PAR_ON;
        benchmark::DoNotOptimize(fribidi_get_par_embedding_levels_ex(
            types.data(), brackets.data(), count, &direction, levels.data()));
    }

    std::size_t end(std::size_t start) const
    {
        std::size_t i = start;
        while (i < levels.size() && levels[i] == levels[start]) {
            ++i;
        }
        return i;
    }

    std::vector<FriBidiCharType> types;
    std::vector<FriBidiBracketType> brackets;
    std::vector<FriBidiLevel> levels;
};

inline std::vector<FriBidiChar> codePoints(const std::string &utf8)
{
    std::vector<FriBidiChar> text(utf8.size());
    text.resize(static_cast<std::size_t>(
        fribidi_charset_to_unicode(FRIBIDI_CHAR_SET_UTF8, utf8.data(),
                                   static_cast<FriBidiStrIndex>(utf8.size()), text.data())));
    return text;
}

/// Advances of one run go to their characters.
inline void shapeRun(hb_font_t *font, hb_buffer_t *buffer, const std::vector<FriBidiChar> &text,
                     std::size_t start, std::size_t end, bool rightToLeft,
                     std::vector<int> &advances)
{
    hb_buffer_clear_contents(buffer);
    hb_buffer_add_utf32(buffer, text.data(), static_cast<int>(text.size()),
                        static_cast<unsigned>(start), static_cast<int>(end - start));
    hb_buffer_guess_segment_properties(buffer);
    hb_buffer_set_direction(buffer, rightToLeft ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
    hb_shape(font, buffer, nullptr, 0);
    unsigned count = 0;
    const hb_glyph_info_t *infos = hb_buffer_get_glyph_infos(buffer, &count);
    const hb_glyph_position_t *positions = hb_buffer_get_glyph_positions(buffer, &count);
    for (unsigned i = 0; i < count; ++i) {
        advances[infos[i].cluster] += positions[i].x_advance;
    }
}

/// A font, and HarfBuzz with all that it needs.
class StackShaper
{
public:
    StackShaper(const char *font, int pixels)
    {
        FT_Init_FreeType(&m_library);
        FT_New_Face(m_library, font, 0, &m_face);
        FT_Set_Pixel_Sizes(m_face, 0, static_cast<FT_UInt>(pixels));
        m_font = hb_ft_font_create(m_face, nullptr);
        m_buffer = hb_buffer_create();
    }
    ~StackShaper()
    {
        hb_buffer_destroy(m_buffer);
        hb_font_destroy(m_font);
        FT_Done_Face(m_face);
        FT_Done_FreeType(m_library);
    }
    StackShaper(const StackShaper &) = delete;
    StackShaper &operator=(const StackShaper &) = delete;

    void shape(const std::vector<FriBidiChar> &text, std::vector<int> &advances)
    {
        advances.assign(text.size(), 0);
        const BidiRuns runs(text);
        for (std::size_t start = 0; start < text.size();) {
            const std::size_t end = runs.end(start);
            shapeRun(m_font, m_buffer, text, start, end, runs.levels[start] & 1, advances);
            start = end;
        }
    }

private:
    FT_Library m_library = nullptr;
    FT_Face m_face = nullptr;
    hb_font_t *m_font = nullptr;
    hb_buffer_t *m_buffer = nullptr;
};

#endif
