#ifndef ZKPARAGRAPH_H
#define ZKPARAGRAPH_H

#include "zkfont.h"
#include "zkfontchain.h"
#include "zkglyphcache.h"
#include "zkplacedglyph.h"
#include "zkrect.h"
#include "zkshaper.h"
#include "zkstring.h"
#include "zktextbreaks.h"
#include "zkvector.h"

struct ZkParagraphData;

/// One line of a `ZkParagraph`. Pixels of the box, whose upper left corner is (0, 0).
struct ZkTextLine {
    int first, last;    ///< units `[first, last)`: all of it, spaces and line end included
    int x;              ///< left edge of what counts as its width
    int baseline;       ///< the first row below it
    int ascent;         ///< rows from its top to the baseline
    int descent;        ///< rows from the baseline to its bottom, `gap` included
    int width;          ///< as drawn, stretched spaces counted, those that hang at a soft end not
    bool isRightToLeft; ///< base direction
    bool endsHard;      ///< by a line end or the end of the text, not for want of room
    bool isShortened;   ///< an ellipsis stands for a part of it

    int top() const { return baseline - ascent; }
    int height() const { return ascent + descent; }
};

/// A stretch of a line in one font and tag, from left to right: what an underline or a
/// background needs. Rows are those of the box.
struct ZkTextStretch {
    int x, width;
    int baseline;
    ZkFont font;
    int tag;
    int underlineTop, underlineThickness; ///< by the typeface's metrics
    int strikeTop, strikeThickness;
};

/// Which side of a boundary is meant where the text is not seen as one piece: at a soft
/// line end and where directions meet.
enum class ZkAffinity {
    Downstream, ///< before the character behind the boundary
    Upstream,   ///< behind the character before it
};

/// A boundary between clusters, as `hit` and the arrow keys find it.
struct ZkTextPosition {
    int index; ///< unit of the text
    ZkAffinity affinity;

    bool operator==(const ZkTextPosition &other) const
    {
        return index == other.index && affinity == other.affinity;
    }
    bool operator!=(const ZkTextPosition &other) const { return !(*this == other); }
};

/// Where a caret stands.
struct ZkCaret {
    int line;
    int x; ///< column of the caret. In right-to-left text it is the last column of the
           ///< character that is about to be read, else the first one
    int top;
    int height;
    bool isRightToLeft; ///< of the character that it belongs to
};

/// A text of any scripts laid out as its readers expect: in reading order, wrapped, with
/// fonts that stand in for each other, several sizes and tags, and with what an editor
/// asks for.
///
///     ZkParagraph label;
///     label.setChain(chain);
///     label.setFont(ZkFont(16, false, false, false, false));
///     label.setUtf8("درجة الحرارة 21°C", -1);
///     label.setWidth(120);
///     for (int i = 0; i < label.lineCount(); ++i) {
///         const ZkPlacedGlyph *glyphs;
///         const int count = label.glyphs(i, &glyphs);
///         painter.paint(glyphs, count, x, y);
///     }
///
/// Positions are units of the text's UTF-16. Pixels are whole; x grows right, y down, from
/// the box's upper left corner.
///
/// Setters cost nothing by themselves. The first question afterwards does the work that the
/// change made necessary, no more: another text is analysed, shaped, divided into lines
/// and placed; another chain, font, spacing or kerning is shaped anew; another width
/// divided; another alignment placed, one line when it is asked for. Laying out again in
/// the same object allocates nothing that it did not need before. A text in one direction,
/// one font and without marks takes a shorter way all along.
///
/// Any text and any number is allowed: sizes wrap nothing, spacings are cut to 8,191
/// pixels either way, positions outside the text are taken as its nearest end. An object
/// belongs to one thread; chains, caches and shapers may be shared.
class ZK_EXPORT ZkParagraph
{
public:
    enum Direction {
        DirectionAuto, ///< of each paragraph by its first strong letter, else left to right
        LeftToRight,
        RightToLeft,
    };
    enum Alignment {
        AlignStart, ///< left, in right-to-left lines right
        AlignEnd,
        AlignLeft,
        AlignCenter,
        AlignRight,
        AlignJustify, ///< as `AlignStart`, spaces of soft lines stretched to the width
    };
    enum Ellipsis { EllipsisNone, EllipsisEnd, EllipsisMiddle, EllipsisStart };

    /// An empty text in 16 pixels of an empty chain. Glyphs come from the shared cache.
    ZkParagraph();
    explicit ZkParagraph(ZkGlyphCache &cache);
    ~ZkParagraph();
    ZkParagraph(const ZkParagraph &) = delete;
    ZkParagraph &operator=(const ZkParagraph &) = delete;

    // What is laid out. Getters tell what was set.

    /// Takes the text as it stands: two surrogates that belong together are one character,
    /// one alone is shown as U+FFFD. Spans are kept where they lie.
    void setText(const ZkString &text);
    /// Reads `n` bytes of UTF-8, up to the first 0 byte when `n` is below 0: all of
    /// Unicode, U+FFFD for each maximal part that is ill-formed. Null is an empty text.
    void setUtf8(const char *bytes, int n = -1);
    const ZkString &text() const;

    /// A change of the chain itself is seen by the next question.
    void setChain(const ZkFontChain &chain);
    const ZkFontChain &chain() const;
    /// The font of all text that stands in no span, and of empty lines.
    void setFont(const ZkFont &font);
    const ZkFont &font() const;

    /// Gives units `[first, last)` a font and a tag of the host's (a colour, a link),
    /// instead of what was there. Nothing for an empty range. O(spans).
    void setSpan(int first, int last, const ZkFont &font, int tag);
    void clearSpans();
    int spanCount() const;

    void setDirection(Direction direction);
    Direction direction() const;
    /// Pixels at which lines wrap; 0 or less is no wrapping.
    void setWidth(int width);
    int boxWidth() const;
    void setAlignment(Alignment alignment);
    Alignment alignment() const;
    /// Rows added to each line but the last, below it; below 0 lines move together.
    void setLineSpacing(int rows);
    int lineSpacing() const;
    /// Pixels added behind each cluster; no cluster gets narrower than 0.
    void setLetterSpacing(int pixels);
    int letterSpacing() const;
    /// Distance of tab stops from the start edge; 0 or less is eight spaces of the font.
    void setTabWidth(int pixels);
    int tabWidth() const;
    void setKerning(bool on); ///< on at first
    bool kerning() const;
    /// Lines beyond `count` are left out; 0 or less is no limit.
    void setMaximumLines(int count);
    int maximumLines() const;
    /// What stands for text that lines were left out of: the last line is shortened at its
    /// end, in the middle or at its start, where the rest of the text is as one line.
    void setEllipsis(Ellipsis ellipsis);
    Ellipsis ellipsis() const;
    /// Whether a word that is wider than the line is cut between clusters. On at first.
    void setWordCutting(bool on);
    bool wordCutting() const;

    /// Not owned; null is the built-in shaper. A change of `ZkShaper::serial()` is seen
    /// by the next question.
    void setShaper(ZkShaper *shaper);
    /// Not owned; null is none. Decides in texts set, and words asked for, from now on.
    void setWordBreaker(ZkWordBreaker *breaker);

    // What came out.

    /// 1 or more: an empty text has one line of the font's height, and behind a line end
    /// at the end of the text stands an empty line.
    int lineCount() const;
    /// `index` must be a line's.
    const ZkTextLine &line(int index) const;
    /// The line of a position.
    int lineOf(int index, ZkAffinity affinity = ZkAffinity::Downstream) const;

    /// Glyphs of a line at their places, in drawing order from left to right, those without
    /// pixels left out. Their number; `*glyphs` is good until the next call of `glyphs`,
    /// `stretches` or an editing call for another line, the records until a setter.
    int glyphs(int line, const ZkPlacedGlyph **glyphs) const;
    /// Its stretches of one font and tag, alike.
    int stretches(int line, const ZkTextStretch **stretches) const;

    int width() const;  ///< of the widest line
    int height() const; ///< of all lines
    /// The least width at which nothing sticks out when words are not cut: that of the
    /// widest piece that no line may end in. A soft hyphen whose hyphen would need more
    /// room than the word without it is not one to end at.
    int minWidth() const;
    /// The widest line without wrapping: the least width at which nothing wraps.
    int maxWidth() const;

    // Editing. Indices count units; one inside a cluster is taken as the cluster's start.

    ZkCaret caret(int index, ZkAffinity affinity = ZkAffinity::Downstream) const;
    ZkCaret caret(const ZkTextPosition &position) const
    {
        return caret(position.index, position.affinity);
    }
    /// The boundary nearest to a point, of the nearest line. For each cluster that takes
    /// room `hit(caret(i).x, caret(i).top).index == i`.
    ZkTextPosition hit(int x, int y) const;
    /// The rectangles of units `[first, last)`, one a line and visual run, from the
    /// first line to the last and left to right.
    ZkVector<ZkRect> selection(int first, int last) const;

    /// Boundaries of clusters and words: the nearest one behind or before `index`, the
    /// text's end when there is none. A word's boundary is where a word begins.
    int nextCluster(int index) const;
    int previousCluster(int index) const;
    int nextWord(int index) const;
    int previousWord(int index) const;
    /// One cluster to the left or right of what is seen, on to the neighbouring line at
    /// a line's edge; the same position at the text's edge.
    ZkTextPosition left(const ZkTextPosition &position) const;
    ZkTextPosition right(const ZkTextPosition &position) const;

    /// Bytes that this object has from `malloc`, the text and the glyph cache not counted.
    std::size_t memoryBytes() const;

private:
    friend struct ZkInspector;

    ZK_HIDDEN ZkTextPosition step(const ZkTextPosition &position, bool toRight) const;

    ZkParagraphData *d;
};

#endif
