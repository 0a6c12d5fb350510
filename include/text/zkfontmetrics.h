#ifndef ZKFONTMETRICS_H
#define ZKFONTMETRICS_H

#include "private/zkinlinearray.h"
#include "zkfont.h"
#include "zkfontengine.h"
#include "zkglobal.h"
#include "zklist.h"
#include "zkpoint.h"
#include "zkrect.h"
#include "zksize.h"
#include "zkstring.h"
#include "zkvector.h"

/// One line to paint: where it stands and its glyphs from left to right. Columns
/// `left` to `right` are aligned in the box; rows are told by `bottom`, the line's
/// last pixel row, while `top` keeps its place in the unaligned text.
struct PaintInfo {
    int left;
    int top;
    int right;
    int bottom;
    ZkVector<const GlyphBitmap *> glyphs;
};
#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(PaintInfo) == 20, "the paint record is 20 bytes on the device");
#endif

/// Lays out one text in one font: measures it, divides it into lines within a
/// width, and places the lines in a box.
///
///     ZkFontMetrics::setFontFile("font.ttf");
///     ZkFontMetrics layout("Hello world", ZkFont());
///     layout.setTextMinRect(0, 0, 60, 100); // box, and the width to wrap at
///     layout.setWorpWrap(true);
///     for (const PaintInfo &line : layout.paintInfoList()) { ... }
///
/// The text is resolved once, at construction, into one glyph a unit (see
/// `ZkFontEngine`); everything else is reckoned when asked for and kept until a
/// setter changes it. Right-to-left text is divided in its drawing order, from
/// left to right: a host that wraps such a paragraph breaks it in reading order
/// first and separates the lines by newlines. In right-to-left text only ASCII digits
/// keep the order of a number, and brackets are not mirrored: see `zkscriptrules.h`.
///
/// All lengths are pixels. A line ends at U+000A and, with word wrap, before the
/// word that would pass the wrap width: after a space, or before or after an
/// ideograph, a Katakana letter or a Hangul syllable. A word is never cut; nor is
/// a Thai consonant from its marks.
///
/// Any thread may lay out text, one object per thread; a font must be open. Glyph
/// pointers hold until the font is changed, their pixels while this object lives.
class ZK_EXPORT ZkFontMetrics
{
public:
    /// `lineSpacing`: half of it is added to the height of every line.
    /// `charSpacing` is added after every character. Both may be negative.
    ZkFontMetrics(const ZkString &text, const ZkFont &font, int lineSpacing = 0,
                  int charSpacing = 0);
    virtual ~ZkFontMetrics();
    ZkFontMetrics(const ZkFontMetrics &) = delete;
    ZkFontMetrics &operator=(const ZkFontMetrics &) = delete;

    /// Opens the font file for the whole process; the glyphs of the one before
    /// are gone. `limit` is the number of pixel bytes from which on unused glyphs
    /// are trimmed, -1 for none. An empty `path` means the file named by ZK_FONTLIB.
    /// True, or the process ends with status 1 and says why (in words that
    /// `ZkFontCache::setFontFile` explains). Takes no lock: call it while no other
    /// thread draws text.
    static bool setFontFile(const ZkString &path, int limit = -1);
    /// Drops every glyph and closes the font; same rule of threads.
    static void closeFontFile();
    /// Drops the pixels of all glyphs that no layout holds. True.
    static bool clearFontCache();

    /// Whether lines break between words; off after construction, when only
    /// newlines end a line.
    void setWorpWrap(bool on);

    /// Left 1, right 2, centred 4, combined with top 16, bottom 32, centred 64.
    /// No horizontal part means left, no vertical part top. In right-to-left text
    /// left and right change places. After construction both parts are centred.
    void setAlignment(int flags);

    /// The box to align in, and `w` as the width to wrap at. With `w` < 1 lines
    /// never wrap and the box stays as it was.
    void setTextMinRect(int x, int y, int w, int h);

    /// True when the text held Hebrew or Arabic.
    bool isRightToLeft() const;

    /// The height of a line without spacing; see `ZkFontEngine::textPixelSize`.
    int textPixelSize();
    static int textPixelSize(ZkString text, ZkFont font);

    /// The glyphs of the whole text, one a unit, in drawing order. The pointers
    /// outlive this object, the pixels may not.
    ZkVector<const GlyphBitmap *> glyphBitmap() const;

    /// `ZkFontEngine::displayThaiFont` for callers that may hold null pointers,
    /// with which it does nothing. `a` is the tone, `b` the upper, `c` the lower mark.
    static void thaiFontCheck(const ZkUcs2 *text, int *a, int *b, int *c);

    /// Bytes of `c` in UTF-8, except that Arabic presentation forms count 2.
    static int unicodeByteSize(ZkUcs2 c);

    /// The width of the word that starts at `chars[0]`, or with `backward` of the
    /// one that ends at `chars[n - 1]`. `glyphs` points to `n` glyph pointers. A
    /// newline, an ideograph, a Katakana letter or a Hangul syllable is a word of
    /// its own; at a space the width is 0. Backward, only a space ends a word.
    /// Null pointers and `n` < 1 give 0.
    int nextWordSize(const ZkUcs2 *chars, int n, const void *glyphs, bool backward);

    /// Measures the text as one line and adds that to the length so far, -1 at
    /// first: the first call gives the width less 1. Each call adds cells anew.
    int calcTextLength();
    /// The length, measured if that was not done yet; -1 for no text.
    int lengthForPixel();
    /// Units in each display cell: 1, or more for a Thai consonant with marks.
    ZkVector<int> charCombinationNum();
    /// Pixels of each display cell, without character spacing.
    ZkVector<int> characterWidth();

    /// Divides the text into lines now. 0, or -1 for an empty text, which leaves
    /// the lines as they were. The getters below call it when a setter was used.
    int divideText();

    /// The text of each line, without the newline that ended it.
    ZkList<ZkString> subText();
    /// Each line from (0, y) on, before alignment.
    ZkList<ZkRect> lineRects();
    /// The glyphs of each line. Divides only if that was never done: after a
    /// setter it still gives the lines of before.
    ZkVector<ZkVector<const GlyphBitmap *>> subGlyphBitmap();

    /// The lines, placed in the box. Each call moves `bottom` down once more, so
    /// ask once for every division. The list is the object's own.
    ZkVector<PaintInfo> &paintInfoList();

    /// The widest line and the height of all lines; (0, 0) without any.
    ZkSize sizeHint();

private:
    friend struct ZkInspector;

    // A line as a range of the resolved text, [start, end), and its pixel width.
    struct Line {
        int start;
        int end;
        int width;
    };
    class LineDivider;

    int lineHeight() const;
    ZkRect lineRect(int index) const;
    void divideIfDirty();
    ZkVector<const GlyphBitmap *> cutGlyphs(int index) const;
    int verticalOffset() const;
    int alignedLeft(int lineWidth) const;

    ZkList<ZkString> m_subTexts; // filled when first asked for, like `m_rects`
    ZkVector<ZkVector<const GlyphBitmap *>> m_lineGlyphs;
    ZkVector<int> m_combinationNums;
    ZkVector<int> m_characterWidths;
    ZkList<ZkRect> m_rects;
    ZkString m_text;
    int m_pixelLength = -1;
    int m_lineSpacing;
    int m_charSpacing;
    int m_wrapWidth = 0;
    unsigned char m_fontSize;
    bool m_wordWrap = false;
    bool m_boldFace;
    int m_alignment;
    ZkPoint m_origin;
    ZkRect m_box;
    ZkList<ZkRect> m_paintRects; // for the host framework, like `m_layoutWidths`
    ZkVector<int> m_layoutWidths;
    ZkVector<PaintInfo> m_paintInfos;
    bool m_dirty = true;
    ZkInlineArray<Line, 2> m_lines; // what the last division found
    ZkFontEngine m_engine;          // lies here so that a label takes one block less
};

#endif
