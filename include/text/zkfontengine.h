#ifndef ZKFONTENGINE_H
#define ZKFONTENGINE_H

#include "private/zkglyphlease.h"
#include "zkfont.h"
#include "zkglobal.h"
#include "zkstring.h"
#include "zkvector.h"

class ZkFontCache;

/// One text in one font, resolved: the units in the order in which they are drawn
/// and the glyph record of each. Hebrew runs are put into visual order; a text
/// without Hebrew but with Arabic is shaped and then put into visual order.
///
/// The engine holds one use of a record for every unit, so the pixels stay while
/// the engine lives, and gives them back when it is destroyed. Starting an engine
/// trims the cache when the pixels held have reached the limit.
///
///     ZkFontEngine engine;
///     engine.resloveText("abc", ZkFont());
///     engine.glyphs()[2]->advance; // of 'c'
///
/// An engine belongs to one thread and takes one text: a second `resloveText`
/// appends to the first, text and glyphs alike.
class ZK_EXPORT ZkFontEngine
{
public:
    ZkFontEngine();
    ZkFontEngine(const ZkFontEngine &) = delete;
    ZkFontEngine &operator=(const ZkFontEngine &) = delete;

    /// Appends `text` to the engine's own text, which never shares the caller's
    /// block, and applies the rules of its script to the whole.
    void lanuguageRules(const ZkString &text);

    /// Fetches the glyph of every unit and reckons the line height. A font must be open.
    void fillGlypBitMapInfo(const ZkFont &font);

    /// Both of the above. The returned vector shares the engine's block; the
    /// records in it lose their pixels at a trim once the engine is gone.
    ZkVector<const GlyphBitmap *> resloveText(const ZkString &text, const ZkFont &font);

    /// How Thai marks stack on the consonant `s[0]`. `s[1]` is always read, `s[2]`
    /// only after a vowel mark, so a 0 unit must follow the text. Only what is found
    /// is written; the caller clears the three numbers first:
    /// `upper` or `lower` 1: a mark above or below, at `s[1]`;
    /// `tone` 1: a tone mark on the consonant, at `s[1]`;
    /// `tone` 2: a mark on top of the vowel mark, at `s[2]`.
    static void displayThaiFont(const ZkUcs2 *s, int *tone, int *upper, int *lower);

    /// True when the text held Hebrew or Arabic and was put into visual order.
    bool isRightToLeft() const { return m_rightToLeft != 0; }

    /// Pixels from one line to the next: 136 % of the tallest ascent plus the
    /// deepest descent of all glyphs, each taken by itself. 0 for no text.
    int textPixelSize() const { return m_lineHeight; }

    /// The units in drawing order, left to right.
    const ZkString &text() const { return m_text; }

    /// The record of each unit of `text()`.
    const ZkVector<const GlyphBitmap *> &glyphs() const { return m_glyphs; }

private:
    friend class ZkFontMetrics;

    /// An engine that took the text already: what `lanuguageRules` does with the first one.
    ZK_HIDDEN explicit ZkFontEngine(const ZkString &text);

    ZK_HIDDEN void applyRules();

    int m_rightToLeft = 0;
    int m_length = 0; // units of the text that came last
    int m_lineHeight = 0;
    ZkString m_text;
    ZkFontCache *m_cache;
    ZkVector<const GlyphBitmap *> m_glyphs;
    ZkGlyphLease m_uses; // gives the glyphs back when the engine ends
};

#endif
