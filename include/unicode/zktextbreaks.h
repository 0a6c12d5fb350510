#ifndef ZKTEXTBREAKS_H
#define ZKTEXTBREAKS_H

#include "zkcharacter.h"

/// Finds words where writing does not part them by spaces (Thai, Lao, Khmer, Myanmar and
/// their kin). A host that knows such a language derives from it.
class ZK_EXPORT ZkWordBreaker
{
public:
    virtual ~ZkWordBreaker();

    /// `run` is the longest stretch of characters of such scripts, `units` at least 1. Sets
    /// `starts[i]` to 1 where a word begins at unit `i` of it; all are 0 before. Unit 0
    /// is not looked at. A mark inside a grapheme cluster is ignored.
    virtual void findWords(const ZkUcs2 *run, int units, std::uint8_t *starts) = 0;
};

/// Where a text may be divided: one byte of flags for each boundary, of which there is
/// one before every unit and one behind the last. Lines follow the Unicode line breaking
/// algorithm with the usual tailoring of numbers, grapheme clusters and words the text
/// segmentation of Unicode 15.0.
///
///     ZkTextBreaks breaks;
///     breaks.setText(text, units);
///     breaks.flags()[i] & ZkTextBreaks::LineAllowed  // a line may end before unit i
///
/// At 0 begin the first cluster and the first word. At the end of the text a line must
/// end. An empty text has one boundary with no flag. Between the units of a surrogate
/// pair there is never a flag.
///
/// Memory grows with the longest text and is kept for the next one; a label of up to 19
/// units takes none, and `find` none beyond the caller's. An object belongs to one thread.
class ZK_EXPORT ZkTextBreaks
{
public:
    enum Flag {
        LineAllowed = 1,   ///< a line may end here
        LineMandatory = 2, ///< a line must end here; `LineAllowed` is set too
        Grapheme = 4,      ///< a grapheme cluster ends here and another one begins
        Word = 8,          ///< a word, or what stands between words, ends here

        Lines = LineAllowed | LineMandatory,
        AllKinds = Lines | Grapheme | Word
    };

    /// Lines inside scripts written without spaces, where no `ZkWordBreaker` decides.
    enum Unspaced {
        /// Between clusters; a vowel that stands before its consonant, one that follows
        /// it as a letter and a stacked consonant stay with theirs.
        BetweenClusters,
        /// Nowhere: such letters count as any others. The rule of the plain algorithm.
        AsLetters,
    };

    ZkTextBreaks();
    ~ZkTextBreaks();
    ZkTextBreaks(const ZkTextBreaks &) = delete;
    ZkTextBreaks &operator=(const ZkTextBreaks &) = delete;

    /// What decides in texts set from now on. The breaker is not owned; null for none.
    void setWordBreaker(ZkWordBreaker *breaker) { m_breaker = breaker; }
    void setUnspaced(Unspaced unspaced) { m_unspaced = unspaced; }

    /// Finds the boundaries of a text. It is not kept. O(n).
    void setText(const ZkUcs2 *text, int units);
    void setText(const char32_t *text, int count);
    /// The same for characters that are looked up already.
    void setText(const ZkTextCharacters &text);

    /// `text` is the text of before, in which `removed` units at `first` have been replaced
    /// by `inserted` others. Finds anew only from the start of the paragraph (what stands
    /// between two mandatory breaks) before them to the end of the one behind them.
    void edit(const ZkTextCharacters &text, int first, int removed, int inserted);

    int size() const { return m_size; }
    /// `size() + 1` bytes, valid until the next text.
    const std::uint8_t *flags() const { return m_flags; }

    /// The same as `setText` into `units + 1` bytes of the caller's. Allocates nothing,
    /// except for a breaker's answers. Only flags of `kinds` are set; all
    /// of them take as long as one.
    static void find(const ZkUcs2 *text, int units, std::uint8_t *flags,
                     Unspaced unspaced = BetweenClusters, ZkWordBreaker *breaker = nullptr,
                     unsigned kinds = AllKinds);
    static void find(const char32_t *text, int count, std::uint8_t *flags,
                     Unspaced unspaced = BetweenClusters, ZkWordBreaker *breaker = nullptr,
                     unsigned kinds = AllKinds);
    static void find(const ZkTextCharacters &text, std::uint8_t *flags,
                     Unspaced unspaced = BetweenClusters, ZkWordBreaker *breaker = nullptr);

private:
    static void findRange(const ZkTextCharacters &text, int first, int last, std::uint8_t *flags,
                          Unspaced unspaced, ZkWordBreaker *breaker);
    void reserve(int units);

    std::uint8_t *m_flags;
    int m_size;
    int m_capacity;
    ZkWordBreaker *m_breaker;
    Unspaced m_unspaced;
    std::uint8_t m_label[20]; // the flags of a short text
};

#endif
