#ifndef ZKSHAPEDWORDS_H
#define ZKSHAPEDWORDS_H

#include "zkglobal.h"

#include <cstddef>
#include <cstdint>

struct ZkShapedWordsData;

/// Words that have been shaped, kept because texts of a user interface repeat them, and
/// the fonts as HarfBuzz knows them. Shapers of all threads share one.
///
///     ZkShapedWords::shared().setBudget(128 << 10);
///     ...
///     const ZkShapedWords::Stats stats = ZkShapedWords::shared().stats();
///
/// A word is known again in the same typeface, size, script, direction, language and
/// features. The words and their table take at most the budget at every moment; the one
/// that has not been used for the longest time goes first. What HarfBuzz itself holds of
/// a font is not counted: fonts are kept while a shaper uses them, and a few others.
///
/// Any number of threads may call it.
class ZK_EXPORT ZkShapedWords
{
public:
    struct Stats {
        std::size_t budget;    ///< bytes
        std::size_t bytes;     ///< of words and their table
        std::size_t peakBytes; ///< the most that `bytes` has been
        std::size_t words;     ///< that are known
        std::uint64_t hits;    ///< words that were known when a text needed them
        std::uint64_t misses;  ///< words that had to be shaped
        std::uint64_t evicted; ///< words that had to make room
        int styles;            ///< typefaces in a size, script, direction and features
        int faces;             ///< typefaces that are open in HarfBuzz
    };

    static constexpr std::size_t kUsualBudget = 512u << 10;
    /// Longer words are shaped each time.
    static constexpr int kMostUnits = 256;
    /// Styles that no shaper uses are kept until there are more.
    static constexpr int kMostIdleStyles = 32;

    /// With a budget of 0 nothing is kept.
    explicit ZkShapedWords(std::size_t budget = kUsualBudget);
    /// No shaper may use it any more.
    ~ZkShapedWords();
    ZkShapedWords(const ZkShapedWords &) = delete;
    ZkShapedWords &operator=(const ZkShapedWords &) = delete;

    /// The one of the process, made when it is first asked for and never destroyed.
    static ZkShapedWords &shared();

    /// Forgets words at once when the budget is smaller than what is held.
    void setBudget(std::size_t bytes);
    Stats stats() const;

    /// Forgets all words and all fonts that no shaper uses. The counts of hits, misses
    /// and evictions start again.
    void clear();

private:
    friend class ZkHarfBuzzShaper;

    ZkShapedWordsData *d; // null without memory: nothing is kept then
};

#endif
