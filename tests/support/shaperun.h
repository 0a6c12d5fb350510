#ifndef ZK_TESTS_SHAPERUN_H
#define ZK_TESTS_SHAPERUN_H

#include <zkcharacter.h>
#include <zkglyphcache.h>
#include <zkshaper.h>
#include <zktextbreaks.h>

#include <cstdio>
#include <string>
#include <vector>

/// A text that is one run, with all that a layout hands to a shaper.
class ShapeRun
{
public:
    ShapeRun(std::u16string text, const ZkTypeface &face, int pixelSize, bool rightToLeft = false)
        : m_text(std::move(text)), m_face(face)
    {
        const int units = static_cast<int>(m_text.size());
        const ZkUcs2 *const first = reinterpret_cast<const ZkUcs2 *>(m_text.data());
        m_characters.setText(first, units);
        m_breaks.setText(first, units);
        run = {};
        run.text = first;
        run.last = run.contextLast = units;
        run.face = &m_face;
        run.font = ZkFont(static_cast<unsigned char>(pixelSize), false, false, false, false);
        run.script = ZkCharacter::ScriptCommon;
        for (int i = units; i-- > 0;) {
            const int script = static_cast<int>(m_characters.properties(i).script);
            if (script > ZkCharacter::ScriptInherited) {
                run.script = script;
            }
        }
        run.isRightToLeft = rightToLeft;
        run.isKerned = true;
        run.characters = &m_characters;
        run.breaks = m_breaks.flags();
        run.holder = &m_holder;
    }
    ShapeRun(const ShapeRun &) = delete;
    ShapeRun &operator=(const ShapeRun &) = delete;

    std::vector<ZkShapedGlyph> shapedBy(ZkShaper &shaper) const { return shapedBy(shaper, run); }

    std::vector<ZkShapedGlyph> shapedBy(ZkShaper &shaper, const ZkShapeRun &other) const
    {
        ZkShapedGlyphs glyphs;
        shaper.shape(other, &glyphs);
        std::vector<ZkShapedGlyph> all;
        for (int i = 0; i < glyphs.size(); ++i) {
            all.push_back(glyphs[i]);
        }
        return all;
    }

    const std::u16string &text() const { return m_text; }

    /// Clusters that begin inside a grapheme cluster, as a non-joiner's does in HarfBuzz,
    /// are the one that they stand in.
    std::vector<ZkShapedGlyph> byGraphemes(std::vector<ZkShapedGlyph> glyphs) const
    {
        for (ZkShapedGlyph &glyph : glyphs) {
            while (glyph.cluster > 0 &&
                   (m_breaks.flags()[glyph.cluster] & ZkTextBreaks::Grapheme) == 0) {
                --glyph.cluster;
            }
        }
        return glyphs;
    }

    ZkShapeRun run; ///< may be changed: all of the text at first

private:
    std::u16string m_text;
    ZkTypeface m_face;
    ZkTextCharacters m_characters;
    ZkTextBreaks m_breaks;
    ZkGlyphHolder m_holder;
};

inline bool operator==(const ZkShapedGlyph &a, const ZkShapedGlyph &b)
{
    return a.index == b.index && a.flags == b.flags && a.advance == b.advance && a.x == b.x &&
           a.y == b.y && a.cluster == b.cluster;
}

inline std::string print(const std::vector<ZkShapedGlyph> &glyphs, bool withFlags = true)
{
    std::string text;
    for (const ZkShapedGlyph &glyph : glyphs) {
        char one[96];
        std::snprintf(one, sizeof one, "%u=%d@%d,%d+%d", unsigned(glyph.index), glyph.cluster,
                      glyph.x, glyph.y, glyph.advance);
        text += text.empty() ? "" : "|";
        text += one;
        if (withFlags && glyph.flags != 0) {
            text += "#" + std::to_string(unsigned(glyph.flags));
        }
    }
    return text;
}

#endif
