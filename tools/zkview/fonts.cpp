#include "fonts.h"

#include "face.h"

#include <zkscriptrules.h>

#include <cstdlib>
#include <stdexcept>

namespace zkview
{

namespace
{

const char *const kUsualFonts[] = {
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
    "/usr/share/fonts/truetype/freefont/FreeSerif.ttf",
    "/usr/share/fonts/truetype/wqy/wqy-microhei.ttc",
    "/usr/share/fonts/opentype/unifont/unifont.otf",
};

/// "DejaVuSans" of "/usr/share/fonts/DejaVuSans.ttf".
std::string stemOf(const std::string &path)
{
    const std::size_t slash = path.rfind('/');
    const std::string file = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = file.rfind('.');
    return dot == std::string::npos || dot == 0 ? file : file.substr(0, dot);
}

} // namespace

FontChoice fontChoice(const std::string &path)
{
    const host::FaceFile readable(path);
    return {stemOf(path), path};
}

std::vector<FontChoice> installedFonts()
{
    std::vector<std::string> paths;
    if (const char *own = std::getenv("ZK_FONTLIB")) {
        paths.push_back(own);
    }
    paths.insert(paths.end(), std::begin(kUsualFonts), std::end(kUsualFonts));
    std::vector<FontChoice> fonts;
    for (const std::string &path : paths) {
        if (!fonts.empty() && path == fonts.front().path) {
            continue; // ZK_FONTLIB names one of the usual
        }
        try {
            fonts.push_back(fontChoice(path));
        } catch (const std::runtime_error &) {
            continue; // not installed
        }
    }
    return fonts;
}

bool hasGlyphsFor(const FontChoice &font, const ZkString &text)
{
    std::u16string units = text.toStdU16String();
    std::vector<ZkUcs2> drawn(units.begin(), units.end());
    const int size = static_cast<int>(drawn.size());
    if (isIncludeHebrew(drawn.data(), size) == 0) {
        arabicRulesConvert(drawn.data(), size);
    }
    const host::FaceFile face(font.path);
    for (const ZkUcs2 unit : drawn) {
        if (unit != 0x000A && !face.has(unit)) {
            return false;
        }
    }
    return true;
}

} // namespace zkview
