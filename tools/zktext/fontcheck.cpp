#include "fontcheck.h"

#include "face.h"
#include "options.h"

#include FT_OUTLINE_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace zktext
{

namespace
{

constexpr FT_Pos kLongestSide = 4096; // pixels
constexpr std::size_t kMostNamed = 20;

/// The characters once each, in order of their numbers.
std::vector<ZkUcs2> distinct(const ZkString &units)
{
    std::vector<ZkUcs2> codes(units.begin(), units.end());
    std::sort(codes.begin(), codes.end());
    codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    return codes;
}

/// "U+0041, U+0042 and 7 more"
std::string listed(const std::vector<ZkUcs2> &codes)
{
    std::string names;
    for (std::size_t i = 0; i < std::min(codes.size(), kMostNamed); ++i) {
        names += (i == 0 ? "" : ", ") + codeName(codes[i]);
    }
    if (codes.size() > kMostNamed) {
        names += " and " + std::to_string(codes.size() - kMostNamed) + " more";
    }
    return names;
}

/// Throws for a loaded glyph whose picture is too large.
void refuseHuge(ZkUcs2 code, FT_GlyphSlot slot, int size)
{
    FT_Pos width = static_cast<FT_Pos>(slot->bitmap.width);
    FT_Pos height = static_cast<FT_Pos>(slot->bitmap.rows);
    if (slot->format == FT_GLYPH_FORMAT_OUTLINE) {
        FT_BBox box;
        FT_Outline_Get_CBox(&slot->outline, &box);
        width = (box.xMax + 63) / 64 - box.xMin / 64;
        height = (box.yMax + 63) / 64 - box.yMin / 64;
    }
    if (width > kLongestSide || height > kLongestSide) {
        throw Failure("the font is damaged or hostile: at size " + std::to_string(size) + " " +
                      codeName(code) + " would have " + std::to_string(width) + " x " +
                      std::to_string(height) + " pixels");
    }
}

} // namespace

void checkFont(const std::string &path, const ZkString &units, const ZkFont &font)
{
    const host::FaceFile file(path);
    FT_Set_Pixel_Sizes(file.face(), 0, font.fontSize());
    std::vector<ZkUcs2> missing, damaged;
    for (const ZkUcs2 code : distinct(units)) {
        if (code < 0x20) {
            continue; // ends a line
        }
        const FT_UInt glyph = FT_Get_Char_Index(file.face(), code);
        if (glyph == 0) {
            missing.push_back(code); // its box is drawn, and checked as any glyph
        }
        if (FT_Load_Glyph(file.face(), glyph, FT_LOAD_FORCE_AUTOHINT) != 0) {
            damaged.push_back(code);
        } else {
            refuseHuge(code, file.face()->glyph, font.fontSize());
        }
    }
    if (!missing.empty()) {
        std::fprintf(stderr, "zktext: the font has no %s\n", listed(missing).c_str());
    }
    if (!damaged.empty()) {
        std::fprintf(stderr, "zktext: the font %s is damaged: it gives nothing for %s\n",
                     path.c_str(), listed(damaged).c_str());
    }
}

} // namespace zktext
