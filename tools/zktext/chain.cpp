#include "chain.h"

#include "analysis.h"
#include "paragraph.h"

#include <zkunicode.h>

#include <cstdio>
#include <cstdlib>

namespace zktext
{

namespace
{

// "FILE#2" names a face of a collection, unless a file has that very name.
ZkTypeface openFace(const std::string &name, const std::string &hinting)
{
    ZkTypeface::Options options;
    options.hinting = hinting == "light"  ? ZkTypeface::HintLight
                      : hinting == "none" ? ZkTypeface::HintNone
                                          : ZkTypeface::HintAuto;
    ZkTypeface face = ZkTypeface::fromFile(name.c_str(), options);
    const std::size_t hash = name.rfind('#');
    if (!face.isValid() && hash != std::string::npos && hash + 1 < name.size()) {
        options.face = std::atoi(name.c_str() + hash + 1);
        face = ZkTypeface::fromFile(name.substr(0, hash).c_str(), options);
    }
    if (!face.isValid()) {
        throw Failure(face.errorText());
    }
    return face;
}

bool isMark(char32_t c)
{
    return c < 0x10000 && ZkUnicodeTables::properties(static_cast<ZkUcs2>(c))->category <=
                              ZkUnicodeTables::MarkEnclosing;
}

std::u32string charactersOf(const std::string &utf8)
{
    ZkString text;
    int leftOut = 0;
    std::string problem;
    if (!host::textFromUtf8(utf8, &text, &leftOut, &problem)) {
        throw Failure(problem);
    }
    const std::vector<ZkUcs2> units = host::utf16FromUtf8(utf8);
    ZkTextCharacters read;
    read.setText(units.data(), static_cast<int>(units.size()));
    std::u32string characters;
    for (int i = 0; i < static_cast<int>(units.size()); ++i) {
        characters.push_back(read.character(i));
        i += characters.back() >= 0x10000 ? 1 : 0;
    }
    return characters;
}

} // namespace

void ChainOptions::add(CLI::App &command, bool isFontAlone)
{
    command
        .add_option("-f,--font", files,
                    "font file, FILE#N for face N of a collection; several are asked in turn")
        ->type_name("FILE")
        ->allow_extra_args(false);
    command.add_option("--hinting", hinting, "auto, light or none")
        ->check(CLI::IsMember({"auto", "light", "none"}))
        ->capture_default_str();
    if (isFontAlone) {
        return;
    }
    command.add_option("-s,--size", size, "pixels")
        ->check(CLI::Range(1, 255))
        ->capture_default_str();
    command.add_flag("--slant", slant, "slanted");
    command.add_flag("--embolden", embolden, "thickened by a pixel");
    command.add_flag("--outline", outline, "with a halo");
}

ZkFont ChainOptions::font() const
{
    return ZkFont(static_cast<unsigned char>(size), slant, embolden, outline, false);
}

ZkFontChain ChainOptions::open() const
{
    std::vector<std::string> names = files;
    const char *const fallback = std::getenv("ZK_FONTLIB");
    if (names.empty() && fallback != nullptr && *fallback != 0) {
        names.emplace_back(fallback);
    }
    if (names.empty()) {
        throw Failure("no font: name one with --font or in ZK_FONTLIB");
    }
    ZkFontChain chain;
    for (const std::string &name : names) {
        if (!chain.append(openFace(name, hinting))) {
            throw Failure("too many fonts");
        }
    }
    return chain;
}

std::vector<ChainGlyph> glyphsOf(const ZkFontList &faces, const std::string &utf8)
{
    const std::u32string text = charactersOf(utf8);
    std::vector<ChainGlyph> glyphs;
    int typeface = -1;
    for (std::size_t i = 0, end = 0; i < text.size(); i = end) {
        for (end = i + 1; end < text.size() && isMark(text[end]);) {
            ++end;
        }
        typeface = faces.findCluster(&text[i], static_cast<int>(end - i), typeface);
        for (std::size_t k = i; k < end; ++k) {
            const bool isShown = text[k] >= 0x20 && (text[k] < 0x7F || text[k] > 0xA0);
            if (isShown && (faces.at(typeface).hasGlyph(text[k]) || k == i)) {
                glyphs.push_back({text[k], typeface, faces.at(typeface).glyphIndex(text[k])});
            }
        }
    }
    return glyphs;
}

std::string byteCount(std::size_t bytes)
{
    char text[32];
    const auto number = static_cast<double>(bytes);
    if (bytes < 10000) {
        std::snprintf(text, sizeof text, "%zu", bytes);
    } else if (bytes < 10000000) {
        std::snprintf(text, sizeof text, "%.1f K", number / 1024);
    } else {
        std::snprintf(text, sizeof text, "%.1f M", number / 1024 / 1024);
    }
    return text;
}

} // namespace zktext
