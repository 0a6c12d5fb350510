// Paragraphs of arbitrary texts and settings: what is true of every layout is true of each.
// The first bytes are settings, the rest is text: UTF-8, or units as they stand.

#include "paragraphlaws.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

/// Fonts that every Debian with the test fonts has; without one the boxes are laid out.
ZkFontChain chain()
{
    static const ZkFontChain *const made = [] {
        auto *fonts = new ZkFontChain;
        fonts->append(ZkTypeface::fromFile("/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf"));
        fonts->append(ZkTypeface::fromFile("/usr/share/fonts/truetype/freefont/FreeSerif.ttf"));
        fonts->append(ZkTypeface::fromFile("/usr/share/fonts/opentype/unifont/unifont.otf"));
        return fonts;
    }();
    return *made;
}

void stopAt(const std::string &problem)
{
    if (!problem.empty()) {
        std::fprintf(stderr, "broken law: %s\n", problem.c_str());
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 4 || size > 600) {
        return 0;
    }
    unsigned seed = 0;
    std::memcpy(&seed, data, sizeof seed);
    paragraphlaws::Dice dice(seed);
    const char *bytes = reinterpret_cast<const char *>(data) + 4;
    const int count = static_cast<int>(size) - 4;

    ZkParagraph paragraph;
    paragraph.setChain(chain());
    if ((seed & 1) != 0) {
        paragraph.setUtf8(bytes, count);
    } else {
        std::vector<ZkUcs2> units(static_cast<std::size_t>(count) / 2 + 1);
        std::memcpy(units.data(), bytes, static_cast<std::size_t>(count) / 2 * 2);
        paragraph.setText(ZkString(units.data(), count / 2));
    }
    paragraphlaws::setRandomly(paragraph, dice);
    stopAt(paragraphlaws::check(paragraph));
    const int units = paragraph.text().size();
    stopAt(paragraphlaws::widthsLeaveNoTrace(paragraph, dice.roll(200)));
    stopAt(paragraphlaws::extremesAreTrue(paragraph));
    paragraph.setMaximumLines(0);
    stopAt(paragraphlaws::selectionsAddUp(paragraph, 0, units));
    ZkTextPosition at = paragraph.hit(dice.roll(500) - 50, dice.roll(500) - 50);
    for (int i = 0; i < 20; ++i) {
        at = (i & 4) != 0 ? paragraph.left(at) : paragraph.right(at);
        if (at.index < 0 || at.index > units) {
            stopAt("a step leaves the text");
        }
    }
    return 0;
}
