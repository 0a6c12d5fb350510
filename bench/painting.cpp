// Painting: a page of text whose glyphs are rendered, a label, and the same in the
// outlined style, into pixels of four formats. Beside it pixman's compositing of glyphs
// from its own cache, and SDL's blit of the lines that SDL_ttf made. Times are per
// covered pixel, of which all of them have as many.

#include <zkfontmetrics.h>
#include <zklineplacement.h>
#include <zktextpainter.h>

#include <SDL_ttf.h>
#include <benchmark/benchmark.h>
#include <pixman.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

constexpr int kWidth = 640, kHeight = 480;
constexpr std::uint32_t kInk = 0xFF204060;

struct Format {
    const char *name;
    ZkTextSurface::Format zk;
    pixman_format_code_t pixman;
    Uint32 sdl; ///< 0 where SDL has none such
};
const Format kFormats[] = {
    {"coverage8", ZkTextSurface::Coverage8, PIXMAN_a8, 0},
    {"rgb565", ZkTextSurface::Rgb565, PIXMAN_r5g6b5, SDL_PIXELFORMAT_RGB565},
    {"xrgb8888", ZkTextSurface::Xrgb8888, PIXMAN_x8r8g8b8, SDL_PIXELFORMAT_RGB888},
    {"argb8888", ZkTextSurface::Argb8888, PIXMAN_a8r8g8b8, SDL_PIXELFORMAT_ARGB8888},
};

/// White pixels of one format, rows 16 bytes longer than they must be.
struct Pixels {
    explicit Pixels(const Format &format)
        : pitch(kWidth * PIXMAN_FORMAT_BPP(format.pixman) / 8 + 16),
          words(std::size_t(pitch * kHeight) / 4, 0xFFFFFFFF)
    {
        if (format.zk == ZkTextSurface::Coverage8) {
            std::fill(words.begin(), words.end(), 0);
        }
    }
    int pitch;
    std::vector<std::uint32_t> words;
};

/// A text at its places, with the layout that holds its pixels.
struct Page {
    Page(const std::string &utf8, int size, unsigned flags)
        : font(ZkFontAttr{static_cast<std::uint8_t>(size), static_cast<std::uint8_t>(flags)}),
          layout(ZkString(utf8.c_str()), font)
    {
        layout.setWorpWrap(true);
        layout.setAlignment(1 | 16);
        layout.setTextMinRect(0, 0, kWidth, kHeight);
        ZkLineStyle style;
        style.metrics = ZkTextMetrics::of(layout.glyphBitmap(), layout.textPixelSize());
        for (const PaintInfo &record : layout.paintInfoList()) {
            const ZkLinePlacement line(record, style);
            const bool fits = record.bottom < kHeight;
            glyphs.insert(glyphs.end(), line.glyphs(),
                          line.glyphs() + (fits ? line.glyphCount() : 0));
        }
        for (const ZkPlacedGlyph &placed : glyphs) {
            const GlyphBitmap &glyph = *placed.glyph;
            for (int i = 0; i < glyph.pitch * glyph.height; ++i) {
                covered += glyph.pixels[i] != 0;
            }
        }
    }

    ZkFont font;
    ZkFontMetrics layout;
    std::vector<ZkPlacedGlyph> glyphs;
    std::int64_t covered = 0;
};

struct Case {
    const char *name;
    int size;
    unsigned flags;
    std::size_t characters;
};
const Case kCases[] = {
    {"page_12px", 12, 0, 4000},
    {"page_16px", 16, 0, 2200},
    {"page_32px", 32, 0, 500},
    {"label_16px", 16, 0, 12},
    {"outlined_16px", 16, ZkFontAttr::Outline, 2200},
};

std::string textOf(const Case &of)
{
    std::string text;
    while (text.size() < of.characters) {
        text += "The engine of the second car warms up slowly; wait until 90 degrees. ";
    }
    return text.substr(0, of.characters);
}

__attribute__((noinline)) void paintZk(const ZkTextSurface &surface, const Page &page)
{
    ZkTextPainter painter(surface);
    painter.setColors(kInk);
    painter.paint(page.glyphs.data(), static_cast<int>(page.glyphs.size()), 0, 0);
}

void painting(benchmark::State &state, const Format &format, const Case &of)
{
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const Page page(textOf(of), of.size, of.flags);
    Pixels pixels(format);
    const ZkTextSurface surface = {pixels.words.data(), kWidth, kHeight, pixels.pitch, format.zk};
    for (auto _ : state) {
        paintZk(surface, page);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * page.covered);
}

// pixman: coverage images in its cache of glyphs, composited over the surface.

class PixmanPage
{
public:
    explicit PixmanPage(const Page &page) : m_cache(pixman_glyph_cache_create())
    {
        const pixman_color_t ink = {0x2020, 0x4040, 0x6060, 0xFFFF};
        m_ink = pixman_image_create_solid_fill(&ink);
        pixman_glyph_cache_freeze(m_cache);
        for (const ZkPlacedGlyph &placed : page.glyphs) {
            const GlyphBitmap *glyph = placed.glyph;
            if (glyph->width != 0 && glyph->height != 0) {
                m_glyphs.push_back({placed.x, placed.y, insert(glyph)});
            }
        }
        pixman_glyph_cache_thaw(m_cache);
    }
    ~PixmanPage()
    {
        pixman_glyph_cache_destroy(m_cache);
        pixman_image_unref(m_ink);
    }
    PixmanPage(const PixmanPage &) = delete;
    PixmanPage &operator=(const PixmanPage &) = delete;

    __attribute__((noinline)) void paint(pixman_image_t *onto)
    {
        pixman_composite_glyphs_no_mask(PIXMAN_OP_OVER, m_ink, onto, 0, 0, 0, 0, m_cache,
                                        static_cast<int>(m_glyphs.size()), m_glyphs.data());
    }

private:
    const void *insert(const GlyphBitmap *glyph)
    {
        void *key = const_cast<GlyphBitmap *>(glyph);
        if (const void *known = pixman_glyph_cache_lookup(m_cache, key, key)) {
            return known;
        }
        pixman_image_t *image =
            pixman_image_create_bits(PIXMAN_a8, glyph->width, glyph->height, nullptr, 0);
        auto *to = reinterpret_cast<std::uint8_t *>(pixman_image_get_data(image));
        for (int y = 0; y < glyph->height; ++y) {
            std::memcpy(to + y * pixman_image_get_stride(image), glyph->pixels + y * glyph->pitch,
                        glyph->width);
        }
        const void *cached = pixman_glyph_cache_insert(m_cache, key, key, 0, 0, image);
        pixman_image_unref(image);
        return cached;
    }

    pixman_glyph_cache_t *m_cache;
    pixman_image_t *m_ink;
    std::vector<pixman_glyph_t> m_glyphs;
};

void paintingPixman(benchmark::State &state, const Format &format, const Case &of)
{
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const Page page(textOf(of), of.size, of.flags);
    PixmanPage glyphs(page);
    Pixels pixels(format);
    pixman_image_t *image =
        pixman_image_create_bits(format.pixman, kWidth, kHeight, pixels.words.data(), pixels.pitch);
    for (auto _ : state) {
        glyphs.paint(image);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * page.covered);
    pixman_image_unref(image);
}

// SDL: SDL_ttf draws each line into a surface of its own, which is blitted.

class SdlPage
{
public:
    SdlPage(const std::string &text, int size)
    {
        if (TTF_Init() != 0) {
            throw std::runtime_error(TTF_GetError());
        }
        m_font = TTF_OpenFont(ZK_FONT_DEJAVU, size);
        m_lineHeight = TTF_FontLineSkip(m_font);
        for (std::size_t at = 0; at < text.size();) {
            const std::string rest = text.substr(at);
            int width = 0, count = 0;
            TTF_MeasureUTF8(m_font, rest.c_str(), kWidth, &width, &count);
            const std::string line = rest.substr(0, std::size_t(count));
            m_lines.push_back(
                TTF_RenderUTF8_Blended(m_font, line.c_str(), {0x20, 0x40, 0x60, 255}));
            at += line.size();
        }
    }
    ~SdlPage()
    {
        for (SDL_Surface *line : m_lines) {
            SDL_FreeSurface(line);
        }
        TTF_CloseFont(m_font);
        TTF_Quit();
    }
    SdlPage(const SdlPage &) = delete;
    SdlPage &operator=(const SdlPage &) = delete;

    __attribute__((noinline)) void paint(SDL_Surface *onto)
    {
        SDL_Rect at = {0, 0, 0, 0};
        for (SDL_Surface *line : m_lines) {
            SDL_Rect place = at;
            SDL_BlitSurface(line, nullptr, onto, &place);
            at.y += m_lineHeight;
        }
    }

private:
    TTF_Font *m_font;
    int m_lineHeight;
    std::vector<SDL_Surface *> m_lines;
};

void paintingSdl(benchmark::State &state, const Format &format, const Case &of)
{
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const std::string text = textOf(of);
    const Page page(text, of.size, of.flags);
    SdlPage lines(text, of.size);
    Pixels pixels(format);
    SDL_Surface *onto = SDL_CreateRGBSurfaceWithFormatFrom(
        pixels.words.data(), kWidth, kHeight, static_cast<int>(SDL_BITSPERPIXEL(format.sdl)),
        pixels.pitch, format.sdl);
    for (auto _ : state) {
        lines.paint(onto);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * page.covered);
    SDL_FreeSurface(onto);
}

/// The two painters of coverage agree to one step of a part before anything is timed.
void check(const Format &format)
{
    ZkFontMetrics::setFontFile(ZK_FONT_DEJAVU);
    const Page page(textOf(kCases[1]), kCases[1].size, 0);
    Pixels ours(format), theirs(format);
    paintZk({ours.words.data(), kWidth, kHeight, ours.pitch, format.zk}, page);
    pixman_image_t *image =
        pixman_image_create_bits(format.pixman, kWidth, kHeight, theirs.words.data(), theirs.pitch);
    PixmanPage(page).paint(image);
    pixman_image_unref(image);
    const int bits = format.zk == ZkTextSurface::Rgb565 ? 5 : 8;
    for (std::size_t i = 0; i < ours.words.size(); ++i) {
        for (int shift = 0; shift + bits <= (bits == 5 ? 16 : 32); shift += bits == 5 ? 11 : 8) {
            const auto part = [&](std::uint32_t word) {
                return static_cast<int>(word >> shift & ((1U << bits) - 1));
            };
            if (std::abs(part(ours.words[i]) - part(theirs.words[i])) > 1) {
                throw std::runtime_error(std::string("pixels differ: ") + format.name);
            }
        }
    }
}

} // namespace

int main(int argc, char **argv)
{
    for (const Format &format : kFormats) {
        check(format);
        for (const Case &of : kCases) {
            const std::string name = std::string(of.name) + "_" + format.name;
            benchmark::RegisterBenchmark((name + "/zk").c_str(), [&](benchmark::State &state) {
                painting(state, format, of);
            });
            if (of.flags == 0) {
                benchmark::RegisterBenchmark(
                    (name + "/pixman").c_str(),
                    [&](benchmark::State &state) { paintingPixman(state, format, of); });
            }
            if (of.flags == 0 && format.sdl != 0) {
                benchmark::RegisterBenchmark((name + "/SDL").c_str(), [&](benchmark::State &state) {
                    paintingSdl(state, format, of);
                });
            }
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
