#ifndef ZK_TESTS_HBSHAPE_H
#define ZK_TESTS_HBSHAPE_H

#include <zkshaper.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

/// What the program hb-shape says of a text, in the order and units of `ZkShapedGlyph`.
class HbShape
{
public:
    std::string font;
    int face = 0;
    int pixelSize = 16;
    std::string script;
    std::string language = "und";
    std::string features;
    std::string variations;
    bool isRightToLeft = false;

    std::vector<ZkShapedGlyph> shape(const std::u16string &text) const
    {
        std::string command = ZK_HB_SHAPE " --font-funcs=ot --shaper=ot --no-glyph-names "
                                          "--show-flags --bot --eot";
        command += " --font-size=" + std::to_string(64 * pixelSize);
        command += " --face-index=" + std::to_string(face);
        command += " --script=" + script + " --language=" + language;
        command += isRightToLeft ? " --direction=rtl" : " --direction=ltr";
        command += features.empty() ? "" : " --features=" + quoted(features);
        command += variations.empty() ? "" : " --variations=" + quoted(variations);
        command += " " + quoted(font) + " " + quoted(utf8(text));
        std::vector<ZkShapedGlyph> glyphs = parsed(output(command), unitsOfCharacters(text));
        if (isRightToLeft) {
            std::reverse(glyphs.begin(), glyphs.end());
        }
        return glyphs;
    }

    static std::string utf8(const std::u16string &text)
    {
        std::string bytes;
        for (std::size_t i = 0; i < text.size(); ++i) {
            unsigned c = text[i];
            if (c >= 0xD800 && c < 0xDC00) {
                c = 0x10000u + ((c & 0x3FFu) << 10) + (text[++i] & 0x3FFu);
            }
            const int more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
            static constexpr unsigned kFirst[] = {0, 0xC0, 0xE0, 0xF0};
            bytes += static_cast<char>(kFirst[more] | (c >> (6 * more)));
            for (int k = more; k-- > 0;) {
                bytes += static_cast<char>(0x80u | ((c >> (6 * k)) & 0x3Fu));
            }
        }
        return bytes;
    }

private:
    static std::string quoted(const std::string &text)
    {
        std::string out = "'";
        for (const char letter : text) {
            out += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
        }
        return out + "'";
    }

    static std::string output(const std::string &command)
    {
        std::string all;
        if (std::FILE *const pipe = popen(command.c_str(), "r")) {
            char part[4096];
            while (const std::size_t size = std::fread(part, 1, sizeof part, pipe)) {
                all.append(part, size);
            }
            if (pclose(pipe) != 0) {
                all.clear();
            }
        }
        return all;
    }

    /// hb-shape counts characters.
    static std::vector<int> unitsOfCharacters(const std::u16string &text)
    {
        std::vector<int> units;
        for (std::size_t i = 0; i < text.size(); ++i) {
            units.push_back(static_cast<int>(i));
            i += text[i] >= 0xD800 && text[i] < 0xDC00 ? 1 : 0;
        }
        return units;
    }

    /// Reads "[12=0+640|7=1@3,-5+0#1]"; nothing when it is not of that form.
    static std::vector<ZkShapedGlyph> parsed(const std::string &line, const std::vector<int> &units)
    {
        std::vector<ZkShapedGlyph> glyphs;
        const char *at = line.c_str();
        if (*at != '[') {
            return glyphs;
        }
        do {
            ++at;
            char *end = nullptr;
            ZkShapedGlyph glyph = {};
            glyph.index = static_cast<unsigned>(std::strtoul(at, &end, 10)) & 0xFFFFFFu;
            const std::size_t character = std::strtoul(end + 1, &end, 10);
            glyph.cluster = character < units.size() ? units[character] : -1;
            if (*end == '@') {
                glyph.x = static_cast<std::int16_t>(std::strtol(end + 1, &end, 10));
                glyph.y = static_cast<std::int16_t>(-std::strtol(end + 1, &end, 10));
            }
            glyph.advance = static_cast<int>(std::strtol(end, &end, 10));
            if (*end == '#') {
                const bool unsafe = (std::strtoul(end + 1, &end, 16) & 1) != 0;
                glyph.flags = unsafe ? ZkShapedGlyph::UnsafeToBreak : 0u;
            }
            glyphs.push_back(glyph);
            at = end;
        } while (*at == '|');
        return glyphs;
    }
};

#endif
