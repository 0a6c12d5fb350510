#ifndef TINYFONT_H
#define TINYFONT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

/// A file that is gone when its object is.
class TemporaryFile
{
public:
    explicit TemporaryFile(const std::string &bytes)
    {
        char name[] = "/tmp/zkfontXXXXXX";
        const int file = mkstemp(name);
        m_path = name;
        if (file >= 0) {
            close(file);
        }
        std::ofstream(m_path, std::ios::binary) << bytes;
    }
    ~TemporaryFile() { unlink(m_path.c_str()); }
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const char *path() const { return m_path.c_str(); }

private:
    std::string m_path;
};

/// Builds TrueType fonts of a few glyphs, whole or broken on purpose.
///
/// The em is 16 units, so at 16 pixels a unit is a pixel. Glyph 0, the
/// missing-glyph shape, is a box of 4 x 4 units.
class TinyFont
{
public:
    TinyFont() { addBox(0, 0, 0, 4, 4, 6); }

    /// A box with the corners (x0, y0) and (x1, y1) for the character `code`.
    TinyFont &addBox(int code, int x0, int y0, int x1, int y1, int advance);

    /// A glyph that claims five contours and ends there: it cannot be loaded.
    TinyFont &addBroken(int code, int advance);

    /// A glyph that consists of `count` times the glyph number `part`, one over the other.
    TinyFont &addParts(int code, int part, int count, int advance);

    /// A glyph without outline.
    TinyFont &addEmpty(int code, int advance) { return add(code, std::string(), advance); }

    TinyFont &withoutCharacterMap()
    {
        m_hasMap = false;
        return *this;
    }

    /// Leaves all outlines out: what can be drawn is the strike.
    TinyFont &withoutOutlines()
    {
        m_hasOutlines = false;
        return *this;
    }

    /// Adds a strike of `ppem` pixels in which the last glyph is an image of
    /// `height` rows of `width` pixels, packed at `depth` bits a pixel and padded to
    /// bytes; its top left pixel is at (`left`, `top`).
    TinyFont &withStrike(int ppem, int depth, int width, int height, int left, int top, int advance,
                         const std::string &packedRows);

    std::string bytes() const;

private:
    struct Glyph {
        int code, advance, lsb;
        std::string data;
    };

    TinyFont &add(int code, const std::string &data, int advance, int lsb = 0);
    static void put(std::string &to, std::int64_t value, int bytes);
    std::string characterMap() const;

    std::vector<Glyph> m_glyphs;
    bool m_hasMap = true;
    bool m_hasOutlines = true;
    std::string m_strikeImages, m_strikeIndex;
};

inline void TinyFont::put(std::string &to, std::int64_t value, int bytes)
{
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
        to.push_back(static_cast<char>(static_cast<std::uint64_t>(value) >> shift));
    }
}

inline TinyFont &TinyFont::add(int code, const std::string &data, int advance, int lsb)
{
    m_glyphs.push_back(Glyph{code, advance, lsb, data});
    return *this;
}

inline TinyFont &TinyFont::addBox(int code, int x0, int y0, int x1, int y1, int advance)
{
    std::string data;
    for (const int value : {1, x0, y0, x1, y1, 3, 0}) { // contours, box, last point, no code
        put(data, value, 2);
    }
    data.append(4, '\1'); // four points on the curve, 16-bit deltas
    for (const int dx : {x0, 0, x1 - x0, 0}) {
        put(data, dx, 2);
    }
    for (const int dy : {y0, y1 - y0, 0, y0 - y1}) {
        put(data, dy, 2);
    }
    return add(code, data, advance, x0);
}

inline TinyFont &TinyFont::addBroken(int code, int advance)
{
    std::string data;
    for (const int value : {5, 0, 0, 8, 8}) {
        put(data, value, 2);
    }
    return add(code, data, advance);
}

inline TinyFont &TinyFont::addParts(int code, int part, int count, int advance)
{
    std::string data;
    for (const int value : {-1, 0, 0, 8, 8}) {
        put(data, value, 2);
    }
    for (int i = 0; i < count; ++i) {
        put(data, i + 1 < count ? 0x22 : 0x02, 2); // offsets in bytes; more components
        put(data, part, 2);
        put(data, 0, 2);
    }
    return add(code, data, advance);
}

inline TinyFont &TinyFont::withStrike(int ppem, int depth, int width, int height, int left, int top,
                                      int advance, const std::string &packedRows)
{
    const int glyph = static_cast<int>(m_glyphs.size()) - 1;
    m_strikeImages.clear();
    put(m_strikeImages, 0x00020000, 4);
    for (const int value : {height, width, left, top, advance}) {
        put(m_strikeImages, value, 1);
    }
    m_strikeImages += packedRows;

    std::string line; // ascender, descender, widest advance, the rest 0
    for (const int value : {ppem, 0, advance, 0, 0, 0, 0, 0, 0, 0, 0, 0}) {
        put(line, value, 1);
    }
    const int subtables = 8 + 48; // behind the header and one size record
    m_strikeIndex.clear();
    put(m_strikeIndex, 0x00020000, 4);
    for (const int value : {1, subtables, 8 + 16, 1, 0}) {
        put(m_strikeIndex, value, 4);
    }
    m_strikeIndex += line + line;
    put(m_strikeIndex, glyph, 2);
    put(m_strikeIndex, glyph, 2);
    for (const int value : {ppem, ppem, depth, 1}) {
        put(m_strikeIndex, value, 1);
    }
    put(m_strikeIndex, glyph, 2); // one run of glyphs, its subtable right behind
    put(m_strikeIndex, glyph, 2);
    put(m_strikeIndex, 8, 4);
    put(m_strikeIndex, 1, 2); // 32-bit offsets; small metrics and byte-aligned rows
    put(m_strikeIndex, 1, 2);
    put(m_strikeIndex, 4, 4);
    put(m_strikeIndex, 0, 4);
    put(m_strikeIndex, static_cast<int>(m_strikeImages.size()) - 4, 4);
    return *this;
}

// Format 6, the trimmed array: from the lowest code of the glyphs to the highest.
inline std::string TinyFont::characterMap() const
{
    int first = 0xFFFF, last = 0;
    for (std::size_t i = 1; i < m_glyphs.size(); ++i) {
        first = std::min(first, m_glyphs[i].code);
        last = std::max(last, m_glyphs[i].code);
    }
    std::string map;
    put(map, 0, 2);
    put(map, 1, 2);
    put(map, 0, 2); // platform and encoding: Unicode
    put(map, 3, 2);
    put(map, 12, 4);
    const int count = last < first ? 0 : last - first + 1;
    for (const int value : {6, 10 + 2 * count, 0, first, count}) {
        put(map, value, 2);
    }
    for (int code = first; code <= last; ++code) {
        int index = 0;
        for (std::size_t i = 1; i < m_glyphs.size(); ++i) {
            index = m_glyphs[i].code == code ? static_cast<int>(i) : index;
        }
        put(map, index, 2);
    }
    return map;
}

inline std::string TinyFont::bytes() const
{
    const int count = static_cast<int>(m_glyphs.size());
    std::string glyf, loca, hmtx;
    for (const Glyph &glyph : m_glyphs) {
        put(loca, static_cast<std::int64_t>(glyf.size()), 4);
        glyf += glyph.data;
        glyf.resize((glyf.size() + 3) / 4 * 4);
        put(hmtx, glyph.advance, 2);
        put(hmtx, glyph.lsb, 2);
    }
    put(loca, static_cast<std::int64_t>(glyf.size()), 4);

    std::string head;
    put(head, 0x00010000, 4);
    put(head, 0, 8);
    put(head, 0x5F0F3CF5, 4);
    put(head, 0, 2);
    put(head, 16, 2); // units per em
    put(head, 0, 8);
    put(head, 0, 8);
    for (const int value : {0, 0, 16, 16, 0, 8, 2, 1, 0}) { // box, style, ppem, offsets of 4 bytes
        put(head, value, 2);
    }
    std::string maxp;
    put(maxp, 0x00010000, 4);
    for (const int value : {count, 64, 8, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0}) {
        put(maxp, value, 2);
    }
    std::string hhea;
    put(hhea, 0x00010000, 4);
    for (const int value : {12, -4, 0, 16, 0, 0, 16, 1, 0, 0, 0, 0, 0, 0, 0, count}) {
        put(hhea, value, 2);
    }

    std::vector<std::pair<std::string, std::string>> tables;
    if (!m_strikeImages.empty()) {
        tables.emplace_back("EBDT", m_strikeImages);
        tables.emplace_back("EBLC", m_strikeIndex);
    }
    if (m_hasMap) {
        tables.emplace_back("cmap", characterMap());
    }
    for (const auto &table : {std::make_pair("glyf", glyf), std::make_pair("head", head),
                              std::make_pair("hhea", hhea), std::make_pair("hmtx", hmtx),
                              std::make_pair("loca", loca), std::make_pair("maxp", maxp)}) {
        if (m_hasOutlines || (table.second != glyf && table.second != loca)) {
            tables.emplace_back(table.first, table.second);
        }
    }

    std::string directory, data;
    put(directory, 0x00010000, 4);
    for (const int value : {static_cast<int>(tables.size()), 0, 0, 0}) {
        put(directory, value, 2);
    }
    for (const auto &table : tables) {
        directory += table.first;
        put(directory, 0, 4);
        put(directory, static_cast<std::int64_t>(12 + 16 * tables.size() + data.size()), 4);
        put(directory, static_cast<std::int64_t>(table.second.size()), 4);
        data += table.second;
        data.resize((data.size() + 3) / 4 * 4);
    }
    return directory + data;
}

#endif
