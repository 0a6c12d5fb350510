#ifndef ZKPARAGRAPHDATA_H
#define ZKPARAGRAPHDATA_H

#include "zkbidi.h"
#include "zkparagraph.h"

#include "paragraph/zkplainarray.h"

#include <new>

/// Lengths inside the layout are in 1/64 pixel and 64 bits wide, so that a million of the
/// widest letters in one line are still told apart.
typedef std::int64_t ZkPen;

inline int zkPixels(ZkPen length)
{
    const ZkPen rounded = (length + 32) >> 6;
    return rounded > 0x7FFFFFFF    ? 0x7FFFFFFF // no test can tell: >= does
           : rounded < -0x7FFFFFFF ? -0x7FFFFFFF
                                   : static_cast<int>(rounded);
}

/// Spaces that hang behind a soft line end instead of being pushed to the next line.
constexpr bool zkHangs(ZkUcs2 c)
{
    return c == 0x20 || c == 0x3000 || (c >= 0x2000 && c <= 0x200A && c != 0x2007) || c == 0x205F ||
           c == 0x1680;
}

constexpr bool zkEndsLine(ZkUcs2 c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

/// Spaces that hang, and line ends.
constexpr bool zkIsBlank(ZkUcs2 c)
{
    return (c <= 0x20 || c == 0x85 || (c >= 0x1680 && c <= 0x3000)) &&
           (zkHangs(c) || zkEndsLine(c));
}

constexpr ZkUcs2 kZkTab = 0x09, kZkSoftHyphen = 0xAD;

/// A glyph for a character that the text does not have.
struct ZkSign {
    std::uint32_t index; ///< 0 when the typeface lacks it
    ZkPen advance;       ///< 0 or more
};

/// What the host set for units `[first, last)`. Spans are sorted and do not overlap.
struct ZkSpan {
    int first, last;
    ZkFont font;
    int tag;
};

/// Text of one typeface, font, level and (if the shaper asks for it) script, inside one
/// hard line. Its glyphs end where those of the next run begin.
struct ZkRun {
    int first, last;
    int glyphFirst;
    std::int16_t face; ///< in the chain's list; -1 in an empty one
    std::int16_t script;
    std::uint8_t level;
    ZkFont font;
    int tag;
};

/// What stands between two mandatory line ends.
struct ZkHardLine {
    int first, last;
    int glyphFirst;
    bool hasTabs;
    std::uint8_t level; ///< base level
};

/// Text that was shaped again because a line ends inside a piece whose letters depend on
/// each other: the glyphs of units `[first, last)` in one line.
struct ZkPatch {
    int first, last;
    int line;
    int glyphFirst, glyphLast; ///< in `ZkParagraphData::patchGlyphs`, advances as shaped
};

/// A cluster at its place: what editing asks for. In order from left to right.
struct ZkTextCell {
    int first, last;
    int left, right; ///< columns `[left, right)`
    bool isRightToLeft;
};

/// A part of a line that is reordered as a whole: glyphs of one run, a tab, or what is
/// shown that is not in the text.
struct ZkLineItem {
    enum Kind : std::uint8_t { Text, Again, Tab, Dots, Hyphen };

    int first, last;           ///< units
    int glyphFirst, glyphLast; ///< in `glyphs`, or of `Again` in `patchGlyphs`
    int run;
    int spaces; ///< stretched spaces of the line before it, in the order of the text
    Kind kind;
    std::uint8_t level;
    ZkPen length;
};

/// The spaces in units `[first, last)` of a justified line, which are stretched.
struct ZkStretchedSpaces {
    int first, last;
    int count;
};

/// What is shown in place of text that is left out.
struct ZkDots {
    int hiddenFirst = 0, hiddenLast = 0; ///< units
    int count = 0;                       ///< of glyphs; 0 is no ellipsis
    std::uint32_t index = 0;
    std::int16_t face = -1;
    ZkFont font;
    ZkPen advance = 0; ///< of one of the glyphs
};

/// All that a paragraph knows, stage by stage. A stage is valid when `done` has reached it.
struct ZkParagraphData {
    /// Stages in the order of computation.
    enum Stage { TextSet, Analysed, Shaped, Divided };

    explicit ZkParagraphData(ZkGlyphCache &cache)
        : chain(nullptr), characters(labelClasses, kLabelUnits), holder(cache)
    {
    }
    ~ZkParagraphData()
    {
        std::free(shown);
        if (hasText) {
            text.~ZkString();
        }
    }
    ZkParagraphData(const ZkParagraphData &) = delete;
    ZkParagraphData &operator=(const ZkParagraphData &) = delete;

    void invalidate(Stage stage)
    {
        placedLine = -1;
        if (done > stage) {
            done = stage;
        }
    }

    /// The chain to hand out: one that can be changed.
    const ZkFontChain &ownChain()
    {
        if (chain.d == nullptr) {
            chain = ZkFontChain();
        }
        return chain;
    }

    /// The text to hand out.
    const ZkString &ownText()
    {
        if (!hasText) {
            setText(ZkString());
        }
        return text;
    }
    void setText(const ZkString &other)
    {
        if (hasText) {
            text = other;
        } else {
            new (&text) ZkString(other);
            hasText = true;
        }
    }

    /// Computes what is missing up to `stage`.
    void need(Stage stage);
    void analyse();                       // zkparagraph.cpp
    void shape();                         // zkparagraphruns.cpp
    void divide();                        // zkparagraphlines.cpp
    void stack();                         // zkparagraphlines.cpp: lines under each other
    void shorten();                       // zkparagraphdots.cpp
    void place(int line, bool withCells); // zkparagraphplaces.cpp

    // Shaped text. Positions count from the start of the text.

    /// Pen behind glyph `i` and before it.
    ZkPen endOf(int i) const
    {
        return penBases[i >> kPenShift] + static_cast<std::uint32_t>(glyphs[i].advance);
    }
    ZkPen startOf(int i) const { return i == 0 ? 0 : endOf(i - 1); }
    ZkPen advanceOf(int i) const { return endOf(i) - startOf(i); }
    /// First glyph of the cluster at or before unit `u`; the number of glyphs for the end.
    int glyphAt(int u) const
    {
        // As many glyphs before it as before the unit that was looked for last, as a rule.
        const int guess = u - glyphLag;
        return guess > 0 && guess < glyphs.size() && glyphs[guess].cluster == u &&
                       glyphs[guess - 1].cluster != u
                   ? guess
                   : findGlyph(u);
    }
    int findGlyph(int u) const;
    /// Places in `runs`, `hardLines` of a unit.
    int runAt(int u) const;
    int hardLineAt(int u) const;
    /// Start of the grapheme cluster that holds `u`, at most the end of the text.
    int clusterAt(int u) const;

    /// True where a line may end before unit `u`: between clusters, which the rules of lines
    /// alone do not promise (a mark behind a space).
    bool mayEndBefore(int u) const
    {
        constexpr unsigned kBoth = ZkTextBreaks::LineAllowed | ZkTextBreaks::Grapheme;
        return (breaks.flags()[u] & kBoth) == kBoth;
    }
    bool isCluster(int u) const { return (breaks.flags()[u] & ZkTextBreaks::Grapheme) != 0; }
    const ZkSpan *spanAt(int u) const;
    const ZkTypefaceMetrics &metricsOf(ZkFont font) const; ///< good until the next call
    ZkShaper &shaperInUse() { return shaper != nullptr ? *shaper : simpleShaper; }

    /// Turns the advances of glyphs `[first, glyphs.size())` into pens.
    void finishRun(int first);
    void settleAdvances(ZkShapedGlyphs *shaped, int first) const;
    /// Appends the glyphs of units `[first, last)` of `run`.
    void shapeRange(const ZkRun &run, int first, int last, int contextFirst, int contextLast,
                    ZkShapedGlyphs *shaped);
    /// Shapes units `[first, last)` again as they stand in a line that looks at
    /// `[contextFirst, contextLast)` alone; their length. Adds patches of `line`.
    ZkPen shapeAgain(int first, int last, int contextFirst, int contextLast, int line);

    // Lines.

    /// What a line may take and still be told as no wider than the box.
    ZkPen limit() const { return boxWidth > 0 ? ZkPen{boxWidth} * 64 + 31 : INT64_MAX / 4; }
    bool isUnsafe(int unit) const;
    ZkPen pieceLength(int first, int last, const ZkHardLine &hard);
    bool fitsHyphened(int first, int last, const ZkHardLine &hard, ZkPen room);
    ZkPen leastLength(int first, int last, const ZkHardLine &hard, ZkPen less, ZkPen whole);
    ZkSign signOf(int face, ZkFont font, char32_t c) const;
    /// What a soft hyphen shows where a line ends behind it.
    ZkSign hyphenOf(const ZkRun &run) const;
    int tabPixels() const;
    /// Length of units `[first, last)` of one line that starts at `first`.
    ZkPen extent(int first, int last, const ZkHardLine &hard) const;
    /// The first cluster from `first` on that does not fit into `room`, `hard.last` when
    /// all do. O(log n) without tabs.
    int overflow(int first, const ZkHardLine &hard, ZkPen room) const;
    bool isTab(int glyph) const { return text.constData()[glyphs[glyph].cluster] == kZkTab; }
    /// The last unit of `[first, last)` that is neither a space nor a line end, plus one.
    int contentEnd(int first, int last) const;
    ZkPen hyphenAt(int end) const;
    bool isStretched(int unit) const;
    ZkStretchedSpaces stretchedSpaces(const ZkTextLine &line) const;
    void stretchLines();

    // What the host set.
    union {
        ZkString text; ///< made before it is read first: see `hasText`
    };
    ZkFontChain chain; ///< none before it is set or asked for
    ZkFont font;
    ZkPlainArray<ZkSpan> spans;
    ZkShaper *shaper = nullptr; ///< null: the built-in one
    ZkSimpleShaper simpleShaper;
    ZkParagraph::Direction direction = ZkParagraph::DirectionAuto;
    ZkParagraph::Alignment alignment = ZkParagraph::AlignStart;
    ZkParagraph::Ellipsis ellipsis = ZkParagraph::EllipsisNone;
    int boxWidth = 0;
    int lineSpacing = 0;
    int letterSpacing = 0;
    int tabWidth = 0;
    int maximumLines = 0;
    bool isKerned = true;
    bool cutsWords = true;
    bool hasText = false;

    int done = TextSet;

    // Analysed.
    static constexpr int kLabelUnits = 16; ///< whose classes take no block
    std::uint16_t labelClasses[kLabelUnits];
    ZkTextCharacters characters;
    ZkBidi bidi;
    ZkTextBreaks breaks;
    ZkParagraph::Direction analysedDirection = ZkParagraph::DirectionAuto;
    bool areBreaksFound = false; ///< so that a direction analyses levels alone

    // Shaped.
    static constexpr int kPenShift = 10;
    ZkFontList faces;
    std::uint32_t chainSerial = 0;
    std::uint32_t shaperSerial = 0;
    mutable int glyphLag = 0;                ///< units less glyphs where `glyphAt` looked last
    mutable int lineGlyphs = 0;              ///< of the line that `overflow` ended last
    mutable std::uint32_t metricsSerial = 0; ///< that of the chain
    mutable int metricsSize = -1;            ///< pixel size that `metrics` are of, -1 is none
    mutable ZkTypefaceMetrics metrics;
    ZkPlainArray<ZkRun, 1> runs;
    ZkPlainArray<ZkHardLine, 1> hardLines;
    ZkShapedGlyphs glyphs;           ///< `advance` is the pen behind a glyph less its base
    ZkPlainArray<ZkPen, 1> penBases; ///< of 1,024 glyphs each
    mutable ZkGlyphHolder holder;    ///< whatever is shown; a question may add to it

    // Divided.
    ZkPlainArray<ZkTextLine, 1> lines;
    ZkPlainArray<int> unstretched; ///< widths of the lines of justified text before
    ZkPlainArray<ZkPatch> patches; ///< by line, and as they stand in it
    ZkShapedGlyphs patchGlyphs;
    ZkDots dots; ///< of the last line
    int widest = 0;
    // no test can tell: any number below 0 is not yet asked for
    int minimum = -1, maximum = -1;

    // One line placed.
    int placedLine = -1;
    bool hasCells = false; ///< of that line
    ZkPlainArray<ZkPlacedGlyph> placed;
    ZkPlainArray<ZkTextStretch, 1> stretches;
    ZkPlainArray<ZkTextCell> cells;
    ZkPlainArray<std::uint8_t> levels;
    ZkPlainArray<ZkLineItem, 2> items;

    /// Records of the glyphs last placed, of one typeface and font, by the low bits of their
    /// index: most letters of a line were shown a moment ago.
    static constexpr std::uint32_t kShown = 128; // no test can tell: what is not there is found
    static constexpr int kNotShown = -2;         ///< -1 is the face of an empty chain
    const ZkGlyph **shown = nullptr; ///< `kShown` of them; a block of its own keeps both small
    int shownFace = kNotShown;       ///< or that, and what `shown` says is nothing
    ZkFont shownFont;
};

#endif
