#ifndef ZKBIDI_H
#define ZKBIDI_H

#include "zkcharacter.h"

struct ZkTextSource;

/// Which way each character of a text runs, and in what order a line shows them: the
/// Unicode bidirectional algorithm of Unicode 15.0 with embeddings, overrides, isolates
/// and bracket pairs. A text may have several paragraphs; each is resolved by itself.
///
/// Every character gets a level: even ones run from left to right, odd ones from right
/// to left. A line is a range of one paragraph's units, chosen by the caller after the
/// levels are known.
///
///     ZkBidi bidi;
///     bidi.setText(text, units);
///     ZkBidi::Run runs[16];
///     const int count = bidi.visualRuns(first, last, runs, 16);
///     // runs[0] stands leftmost; one with an odd level is drawn from its end
///
/// A text without right-to-left characters and controls of direction costs one scan
/// and no memory, as does one of right-to-left letters and punctuation alone. Else memory grows
/// with the longest text and is kept for the next. An object belongs to one thread.
class ZK_EXPORT ZkBidi
{
public:
    enum Direction {
        Auto, ///< as the first strong character of each paragraph; else left to right
        LeftToRight,
        RightToLeft,
        AutoRightToLeft, ///< as `Auto`, a paragraph with no strong character right to left
    };

    /// Units `[first, last)` of one level.
    struct Run {
        int first;
        int last;
        int level;

        bool isRightToLeft() const { return (level & 1) != 0; }
    };

    /// Units `[first, last)`, the separator at its end among them, and its base level:
    /// 0 left to right, 1 right to left.
    struct Paragraph {
        int first;
        int last;
        int level;
    };

    /// Bytes of a caller's buffer that suffice for any text of `units` units.
    static std::int64_t bufferSize(int units)
    {
        return static_cast<std::int64_t>(units) * 16 + 128;
    }

    ZkBidi();
    /// Uses `bytes` at `buffer`, which must outlive this object and be aligned as an
    /// `int`. A text for which they do not suffice gets memory of its own.
    ZkBidi(void *buffer, std::int64_t bytes);
    ~ZkBidi();
    ZkBidi(const ZkBidi &) = delete;
    ZkBidi &operator=(const ZkBidi &) = delete;

    /// Resolves a text. It is not kept: the caller may free it. O(n) for every text.
    void setText(const ZkUcs2 *text, int units, Direction direction = Auto);
    void setText(const char32_t *text, int count, Direction direction = Auto);
    /// The same for characters that are looked up already.
    void setText(const ZkTextCharacters &text, Direction direction = Auto);
    /// The same with `bytes` at `scratch`, aligned as an `int`, to work in: where
    /// `bufferSize(units)` are given, only the levels stay in memory of this object.
    void setText(const ZkTextCharacters &text, Direction direction, void *scratch,
                 std::int64_t bytes);

    /// `text` is the text of before, in which `removed` units at `first` have been replaced
    /// by `inserted` others. Resolves only the paragraphs that they touch, unless the whole
    /// text runs from left to right now or did before.
    void edit(const ZkTextCharacters &text, int first, int removed, int inserted);

    int size() const { return m_size; }

    /// True when every level is 0.
    bool isLeftToRight() const { return m_uniformLevel == 0; }

    /// The level of unit `i`, 0 to 126, as a line would show it that ends behind the
    /// paragraph. `i` is not checked.
    int level(int i) const { return m_uniformLevel >= 0 ? m_uniformLevel : m_levels[i] & 0x7F; }

    /// Paragraphs in the order of the text; an empty text has none.
    int paragraphCount() const { return m_paragraphCount; }
    Paragraph paragraph(int i) const { return m_paragraphs[i]; }
    /// The paragraph that unit `i` belongs to. O(log paragraphs).
    Paragraph paragraphOf(int i) const;
    /// The base level of the first paragraph; of an empty text that of the direction.
    int baseLevel() const { return m_baseLevel; }

    /// The levels of a line, one byte for each unit of `[first, last)`: white space at its
    /// end, and before a tab, has the paragraph's. The range lies in one paragraph.
    void lineLevels(int first, int last, std::uint8_t *levels) const;

    /// The runs of a line from left to right. Writes no more than `room` of them to `runs`
    /// and returns how many there are: when that is more, they are the first ones of
    /// the text, in its order, and the call must be made again with room for all.
    int visualRuns(int first, int last, Run *runs, int room) const;

    /// For each place of a line from left to right the unit that stands there, `last -
    /// first` of them. In a run from right to left the second unit of a surrogate
    /// pair comes first. Allocates where a line has more than 64 runs.
    void visualOrder(int first, int last, int *units) const;

private:
    template <typename Unit>
    void analyse(const Unit *text, int units, Direction direction);
    void setLeftToRight(const ZkTextSource &text, bool separated);
    void setUniform(int level);
    void *listParagraphs(const ZkTextSource &text, std::int64_t kept, std::int64_t perUnit,
                         void *scratch, std::int64_t bytes);
    void resolve(const ZkTextSource &text, std::uint32_t classes, void *scratch,
                 std::int64_t bytes);
    void resolveParagraphs(const ZkTextSource &text, int first, int last, std::uint32_t classes,
                           void *scratch);
    void replaceParagraphs(const ZkTextCharacters &text, int begin, int end, int change);
    int paragraphNumber(int i) const;
    int contentEnd(int first, int last) const;
    void allocate(std::int64_t bytes, std::int64_t kept);

    std::uint8_t *m_levels;  // of each unit, and a bit where the end of a line resets it
    Paragraph *m_paragraphs; // `&m_only` where there is one at most
    Paragraph m_only;
    int m_size;
    int m_paragraphCount;
    int m_baseLevel;
    Direction m_direction;
    int m_uniformLevel; // that of all units, and `m_levels` is not filled; -1 for no such
    void *m_buffer;     // where both arrays lie, the levels first
    std::int64_t m_bytes;
    bool m_ownsBuffer;
};

#endif
