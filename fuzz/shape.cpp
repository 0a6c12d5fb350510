// Runs of arbitrary text in fonts whose rules are damaged: words that are kept change
// nothing, clusters lie in the run and never descend, and what is true of every paragraph
// stays true. The first bytes choose the font, the layout and where the font is damaged, the
// rest is UTF-16.

#include "fontedit.h"
#include "paragraphlaws.h"
#include "shaperun.h"

#include <zkharfbuzzshaper.h>

#include <cstdlib>
#include <cstring>

namespace
{

constexpr std::size_t kHead = 3, kEdit = 4;

const FontEdit &fontOf(unsigned number)
{
    static const FontEdit *const fonts[] = {
        new FontEdit("/usr/share/fonts/truetype/noto/NotoSansDevanagari-Regular.ttf"),
        new FontEdit("/usr/share/fonts/truetype/noto/NotoNaskhArabic-Regular.ttf"),
        new FontEdit("/usr/share/fonts/truetype/noto/NotoSansMyanmar-Regular.ttf"),
        new FontEdit("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"),
        new FontEdit("/usr/share/fonts/truetype/noto/NotoSansKhmer-Regular.ttf"),
        new FontEdit("/usr/share/fonts/truetype/noto/NotoNastaliqUrdu-Regular.ttf"),
    };
    return *fonts[number % std::size(fonts)];
}

void require(bool holds, const char *what)
{
    if (!holds) {
        std::fprintf(stderr, "broken: %s\n", what);
        std::abort();
    }
}

void requireLaw(const std::string &problem)
{
    require(problem.empty(), problem.c_str());
}

/// The text as a paragraph with random settings. Fonts that are damaged may tell any width
/// for any part of a text, so that what fits is another thing each time it is shaped.
void layOut(const ZkTypeface &face, const std::u16string &text, unsigned seed, bool isWhole)
{
    ZkShapedWords words(8000);
    ZkHarfBuzzShaper shaper(words);
    ZkParagraph paragraph;
    paragraph.setChain(ZkFontChain(face));
    paragraph.setShaper(&shaper);
    paragraph.setText(
        ZkString(reinterpret_cast<const ZkUcs2 *>(text.data()), static_cast<int>(text.size())));
    paragraphlaws::Dice dice(seed);
    paragraphlaws::setRandomly(paragraph, dice);
    requireLaw(paragraphlaws::linesFollowEachOther(paragraph));
    requireLaw(paragraphlaws::glyphsBelong(paragraph));
    requireLaw(paragraphlaws::stepsAreUndone(paragraph));
    if (isWhole) {
        requireLaw(paragraphlaws::check(paragraph));
        requireLaw(paragraphlaws::widthsLeaveNoTrace(paragraph, dice.roll(200)));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < kHead || size > 700) {
        return 0;
    }
    const unsigned choice = data[0], pixels = data[1], edits = data[2] % 16;
    data += kHead;
    size -= kHead;
    FontEdit font = fontOf(choice);
    const char *const kTables[] = {"GSUB", "GPOS", "GDEF", "kern"};
    for (unsigned i = 0; i < edits && size >= kEdit; ++i, data += kEdit, size -= kEdit) {
        const auto table = font.table(kTables[data[0] % 4]);
        const std::size_t at = (static_cast<std::size_t>(data[1]) << 8u) | data[2];
        if (at < table.second) {
            font.bytes[table.first + at] = data[3];
        }
    }
    std::u16string text(size / 2, u'\0');
    std::memcpy(&text[0], data, text.size() * 2);
    if (text.empty()) {
        return 0;
    }
    const ZkTypeface face =
        ZkTypeface::fromBorrowed(font.bytes.data(), font.bytes.size(), nullptr, nullptr);
    const ShapeRun run(text, face, static_cast<int>(pixels), (choice & 0x80) != 0);
    ZkShapedWords kept(2000 + choice * 20), none(0);
    ZkHarfBuzzShaper warm(kept), cold(none);
    const std::vector<ZkShapedGlyph> first = run.shapedBy(warm);
    require(!first.empty() && first.front().cluster == 0, "the first glyph is the first unit's");
    for (std::size_t i = 1; i < first.size(); ++i) {
        require(first[i].cluster >= first[i - 1].cluster && first[i].cluster < run.run.last,
                "clusters ascend inside the run");
        require(first[i].advance >= 0, "no advance is negative");
    }
    require(kept.stats().peakBytes <= kept.stats().budget, "the budget holds");
    if (edits == 0) { // whole fonts are as they say
        require(print(run.shapedBy(warm)) == print(first), "known words change nothing");
        require(print(run.shapedBy(cold)) == print(first), "kept words change nothing");
    }
    layOut(face, text, choice << 8 | pixels, edits == 0);
    return 0;
}
