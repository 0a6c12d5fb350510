// The demo's articles in eight languages beside Pango, with the same fonts, unhinted
// advances, no kerning and the same Thai words: the same line breaks and the same order
// of characters in every line.

#include "paragraphlaws.h"

#include <zkparagraph.h>

#include <gtest/gtest.h>

#include <fontconfig/fontconfig.h>
#include <pango/pangofc-fontmap.h>
#include <pango/pangoft2.h>
#include <thai/thbrk.h>
#include <thai/thwbrk.h>

#include <algorithm>
#include <fstream>
#include <iterator>

// Fontconfig and Pango keep what they know of fonts until the process ends.
extern "C" const char *__lsan_default_suppressions();
extern "C" const char *__lsan_default_suppressions()
{
    return "leak:libfontconfig\nleak:libpango\nleak:libglib\nleak:libharfbuzz\n";
}

namespace
{

constexpr int kPixels = 16, kWidths = 20, kNarrowest = 90, kStep = 25;

const struct {
    const char *language, *file, *family;
    /// Lines of all widths together that end elsewhere.
    int differences;
} kArticles[] = {
    {"english", ZK_FONT_DEJAVU, "DejaVu Sans", 0},
    {"arabic", ZK_FONT_DEJAVU, "DejaVu Sans", 0},
    {"persian", ZK_FONT_DEJAVU, "DejaVu Sans", 0},
    {"hebrew", ZK_FONT_DEJAVU, "DejaVu Sans", 0},
    // DO DEK is 8.496 pixels wide: half of one when told in 1/64, which rounds up.
    {"thai", ZK_FONT_FREESERIF, "FreeSerif", 6},
    {"chinese", ZK_FONT_MICROHEI, "WenQuanYi Micro Hei", 0},
    {"japanese", ZK_FONT_MICROHEI, "WenQuanYi Micro Hei", 0},
    {"korean", ZK_FONT_MICROHEI, "WenQuanYi Micro Hei", 0},
};

/// Thai words as Pango asks for them.
class ThaiWords : public ZkWordBreaker
{
public:
    void findWords(const ZkUcs2 *run, int units, std::uint8_t *starts) override
    {
        std::vector<thwchar_t> text(run, run + units);
        text.push_back(0);
        std::vector<int> found(static_cast<std::size_t>(units) + 1);
        const int count = th_brk_wc_find_breaks(m_breaks, text.data(), found.data(), found.size());
        for (int i = 0; i < count; ++i) {
            if (found[static_cast<std::size_t>(i)] < units) {
                starts[found[static_cast<std::size_t>(i)]] = 1;
            }
        }
    }
    ThaiWords() : m_breaks(th_brk_new(nullptr)) {}
    ~ThaiWords() override { th_brk_delete(m_breaks); }
    ThaiWords(const ThaiWords &) = delete;
    ThaiWords &operator=(const ThaiWords &) = delete;

private:
    ThBrk *m_breaks;
};

std::string article(const std::string &language)
{
    std::ifstream file(std::string(ZK_TEXTS "/") + language + ".txt");
    EXPECT_TRUE(file.is_open()) << language;
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

/// What a reader sees of one line: where it starts, and its characters from left to right.
struct Line {
    int first;
    std::vector<int> order;
};

class Pango
{
public:
    Pango(const std::string &utf8, const char *family)
        : m_map(pango_ft2_font_map_new()), m_context(pango_font_map_create_context(m_map))
    {
        pango_fc_font_map_set_default_substitute(
            PANGO_FC_FONT_MAP(m_map),
            [](FcPattern *pattern, gpointer) { FcPatternAddBool(pattern, FC_HINTING, FcFalse); },
            nullptr, nullptr);
        PangoFontDescription *font = pango_font_description_new();
        pango_font_description_set_family(font, family);
        pango_font_description_set_absolute_size(font, kPixels * PANGO_SCALE);
        m_layout = pango_layout_new(m_context);
        pango_layout_set_font_description(m_layout, font);
        pango_font_description_free(font);
        PangoAttrList *attributes = pango_attr_list_new();
        pango_attr_list_insert(attributes, pango_attr_font_features_new("kern=0, liga=0, clig=0"));
        // Pango shows a hyphen where it cuts a word that is wider than the line; we do not.
        pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
        pango_layout_set_attributes(m_layout, attributes);
        pango_attr_list_unref(attributes);
        pango_layout_set_wrap(m_layout, PANGO_WRAP_WORD_CHAR);
        pango_layout_set_text(m_layout, utf8.data(), static_cast<int>(utf8.size()));
        int unit = 0;
        for (const char c : utf8) {
            const auto byte = static_cast<unsigned char>(c);
            unit += (byte & 0xC0) != 0x80 ? 1 : 0;
            m_units.push_back(unit - 1); // the articles have no character above U+FFFF
        }
        m_units.push_back(unit);
    }
    ~Pango()
    {
        g_object_unref(m_layout);
        g_object_unref(m_context);
        g_object_unref(m_map);
    }
    Pango(const Pango &) = delete;
    Pango &operator=(const Pango &) = delete;

    std::vector<Line> lines(int width) const
    {
        pango_layout_set_width(m_layout, width * PANGO_SCALE);
        std::vector<Line> lines;
        for (GSList *item = pango_layout_get_lines_readonly(m_layout); item != nullptr;
             item = item->next) {
            auto *line = static_cast<PangoLayoutLine *>(item->data);
            Line seen = {m_units[static_cast<std::size_t>(line->start_index)], {}};
            for (GSList *run = line->runs; run != nullptr; run = run->next) {
                const auto *item_run = static_cast<PangoLayoutRun *>(run->data);
                append(*item_run, &seen.order);
            }
            lines.push_back(seen);
        }
        return lines;
    }

private:
    // The clusters of a run from left to right.
    void append(const PangoLayoutRun &run, std::vector<int> *order) const
    {
        int last = -1;
        for (int i = 0; i < run.glyphs->num_glyphs; ++i) {
            const int cluster = run.glyphs->log_clusters[i] + run.item->offset;
            if (cluster != last) {
                order->push_back(m_units[static_cast<std::size_t>(cluster)]);
            }
            last = cluster;
        }
    }

    PangoFontMap *m_map;
    PangoContext *m_context;
    PangoLayout *m_layout = nullptr;
    std::vector<int> m_units; // of each byte
};

std::vector<int> visualOrder(const ZkParagraph &paragraph, int line)
{
    std::vector<std::pair<int, int>> seen;
    for (const int start : paragraphlaws::clusterStarts(paragraph, paragraph.line(line))) {
        const auto rects = paragraph.selection(start, paragraph.nextCluster(start));
        if (!rects.isEmpty()) {
            seen.emplace_back(rects.at(0).left(), start);
        }
    }
    std::stable_sort(seen.begin(), seen.end(),
                     [](const auto &a, const auto &b) { return a.first < b.first; });
    std::vector<int> order;
    for (const auto &each : seen) {
        order.push_back(each.second);
    }
    return order;
}

/// Those of `order` that `other` has too: Pango counts a lam-alef as one cluster, and we
/// give no room to what shows nothing.
std::vector<int> common(const std::vector<int> &order, const std::vector<int> &other)
{
    std::vector<int> both;
    for (const int unit : order) {
        if (std::find(other.begin(), other.end(), unit) != other.end()) {
            both.push_back(unit);
        }
    }
    return both;
}

TEST(BesidePango, ArticlesBreakAndReadTheSame)
{
    for (const auto &row : kArticles) {
        SCOPED_TRACE(row.language);
        const std::string utf8 = article(row.language);
        const Pango pango(utf8, row.family);
        ZkTypeface::Options options;
        options.hinting = ZkTypeface::HintNone;
        ThaiWords words;
        ZkParagraph paragraph;
        paragraph.setWordBreaker(&words);
        paragraph.setChain(ZkFontChain(ZkTypeface::fromFile(row.file, options)));
        paragraph.setFont(ZkFont(kPixels, false, false, false, false));
        paragraph.setKerning(false);
        paragraph.setUtf8(utf8.data(), static_cast<int>(utf8.size()));
        int differences = 0, orders = 0, compared = 0;
        for (int k = 0; k < kWidths; ++k) {
            const int width = kNarrowest + k * kStep;
            paragraph.setWidth(width);
            const std::vector<Line> theirs = pango.lines(width);
            std::vector<int> starts;
            for (const Line &line : theirs) {
                starts.push_back(line.first);
            }
            for (int i = 0; i < paragraph.lineCount(); ++i) {
                const int first = paragraph.line(i).first;
                const auto same = std::find_if(theirs.begin(), theirs.end(), [&](const Line &line) {
                    return line.first == first;
                });
                ++compared;
                if (same == theirs.end()) {
                    ++differences;
                    if (std::getenv("ZK_SHOW_DIFFERENCES") != nullptr) {
                        std::printf("%s, %d px: our line %d starts at %d: %s\n", row.language,
                                    width, i, first,
                                    paragraph.text().mid(first, 20).toStdString().c_str());
                    }
                    continue;
                }
                const int end = paragraph.line(i).last;
                const bool sameEnd = i + 1 == paragraph.lineCount() ||
                                     std::find(starts.begin(), starts.end(), end) != starts.end();
                if (sameEnd) {
                    const std::vector<int> mine = visualOrder(paragraph, i);
                    std::vector<int> hers = same->order;
                    orders += common(mine, hers) != common(hers, mine) ? 1 : 0;
                }
            }
        }
        EXPECT_GT(compared, kWidths);
        EXPECT_EQ(orders, 0);
        EXPECT_EQ(differences, row.differences) << "of " << compared << " lines";
    }
}

} // namespace
