#ifndef ZKRUNSHAPER_H
#define ZKRUNSHAPER_H

#include "zkshapestyles.h"
#include "zkwordtable.h"

#include <mutex>
#include <vector>

#include <hb.h>

/// Words and fonts that shapers share.
struct ZkShapedWordsData {
    mutable std::mutex lock; // of the words and the two counts
    ZkWordTable words;
    std::uint64_t hits = 0;
    std::uint64_t misses = 0;
    ZkShapeStyles styles;

    ZkShapedWordsData(std::size_t budget, int mostIdleStyles)
        : words(budget), styles(mostIdleStyles)
    {
    }
};

/// Shapes runs word by word, through the words that are known. An object belongs to one
/// thread; it keeps its memory for the next run.
class ZkRunShaper
{
public:
    /// `shared` may be null: nothing is kept then.
    explicit ZkRunShaper(ZkShapedWordsData *shared);
    ~ZkRunShaper() { hb_buffer_destroy(m_buffer); }
    ZkRunShaper(const ZkRunShaper &) = delete;
    ZkRunShaper &operator=(const ZkRunShaper &) = delete;

    /// Appends the glyphs of a run. `ranged` are features of units of the text, besides
    /// the style's own. False, and nothing appended, when HarfBuzz has no memory or gives
    /// up on a font; throws `std::bad_alloc`.
    bool shape(ZkShapeStyle &style, const ZkShapeRun &run, const std::vector<hb_feature_t> &ranged,
               ZkShapedGlyphs *glyphs);

private:
    struct Piece {
        int first;
        int last;
        bool isKept; // its shape may be kept
    };
    enum Outcome {
        Shaped,
        Joined, // the font joins words
        Broken, // marks have no letter
        Failed,
    };

    /// The words that were appended last and are joined with each other.
    struct Group {
        int first;
        int glyph; // its first one; -1 when there is no group
    };

    static Piece nextPiece(const ZkShapeRun &run, int first, bool byWords);
    Outcome shapeByWords(const ZkShapeStyle &style, const ZkShapeRun &run, bool byWords);
    bool isKnown(const ZkShapeStyle &style, const ZkShapeRun &run, const Piece &piece);
    bool appendKnown(const ZkShapeStyle &style, const ZkShapeRun &run, const Piece &piece);
    Outcome flush(const ZkShapeStyle &style, const ZkShapeRun &run);
    bool hasCircle(const ZkShapeStyle &style, const ZkShapeRun &run, int glyph) const;
    bool findStarts(const ZkShapeStyle &style, const ZkShapeRun &run, int glyph);
    bool areJoined(const ZkShapeStyle &style, const ZkShapeRun &run, int first, int glyph) const;
    void takeGroupBack();
    void keep(const ZkShapeStyle &style, const ZkShapeRun &run, const Piece &piece, int first,
              int last);
    bool shapeDirectly(const ZkShapeStyle &style, const ZkShapeRun &run, int first, int last,
                       const std::vector<hb_feature_t> &ranged);
    bool appendShaped(const ZkShapeStyle &style, const ZkShapeRun &run, int first, int last);
    ZkWordTable &lockedWords();
    void unlock();

    ZkShapedWordsData *m_shared;
    std::unique_lock<std::mutex> m_lock; // of *m_shared; held through words that are known
    int m_inOneLock = 0;                 // words looked up since it was taken
    hb_buffer_t *m_buffer;
    ZkShapedGlyphs *m_glyphs = nullptr; // of the caller
    int m_runGlyph = 0;                 // the first one of the run
    Group m_group = {0, -1};
    std::vector<Piece> m_pending; // words that are not known and follow each other
    std::vector<int> m_starts;    // their first glyphs
    std::vector<ZkShapedGlyph> m_word;
    std::vector<hb_feature_t> m_features;
};

#endif
