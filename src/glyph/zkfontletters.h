#ifndef ZKFONTLETTERS_H
#define ZKFONTLETTERS_H

#include "zkfont.h"
#include "zktypeface.h"

/// What shaping remembers of a typeface in one font, so that text, which repeats its
/// letters, asks typeface and glyph cache once for most of them: for characters that are a
/// glyph of their own its index and advance, for pairs of glyphs their kerning. Each in a
/// word of 32 bits in a slot that others may take: threads read and write without a lock,
/// and whoever finds a word finds a true one.
struct ZkFontLetters {
    static constexpr unsigned kLetters = 512, kPairs = 512;
    static constexpr unsigned kMostIndex = 0xFFFF;
    static constexpr int kNoDistance = INT32_MIN;
    static constexpr char32_t kAloneEnd = 0x8000;

    ZkFontLetters *next; ///< of the same typeface
    ZkFont font;
    ZkTypefaceMetrics metrics;
    std::uint32_t letters[kLetters]; ///< 0 is none
    std::uint32_t pairs[kPairs];

    /// The word of a character, which is told apart from others of its slot by its high
    /// byte; `has` says whether it is the character's.
    std::uint32_t letter(char32_t c) const
    {
        return __atomic_load_n(&letters[slotOf(c)], __ATOMIC_RELAXED);
    }
    static bool has(std::uint32_t word, char32_t c) { return word >> 23 == (c >> 8 | 0x100); }
    /// The same for what is not plain: a mark, or an Arabic letter that joins no other. Whoever
    /// finds it by `has` would not look at what is beside it. Both are asked of characters that
    /// can be entered only, or others would answer for them: `has` below 0x10000, this below
    /// `kAloneEnd`.
    static bool hasAlone(std::uint32_t word, char32_t c) { return word >> 23 == (c >> 8 | 0x80); }
    static std::uint32_t indexOf(std::uint32_t word) { return word & 0xFFFF; }
    static int advanceOf(std::uint32_t word) { return static_cast<int>(word >> 16 & 0x7F); }

    /// Enters a character of the basic plane. False for what has no room in a word.
    // no test can tell: what is not plain is found later
    bool enter(char32_t c, std::uint32_t index, int advance, bool isAlone = false)
    {
        if (index > kMostIndex || advance > 0x7F) {
            return false;
        }
        const std::uint32_t word = (c >> 8 | (isAlone ? 0x80 : 0x100)) << 23 |
                                   static_cast<std::uint32_t>(advance) << 16 | index;
        __atomic_store_n(&letters[slotOf(c)], word, __ATOMIC_RELAXED);
        return true;
    }

    /// The word of two glyphs, neither above `kMostIndex`; glyph 0 is kerned with none.
    /// `distanceIn` tells their pixels from it, or `kNoDistance` for the word of another pair.
    std::uint32_t pair(std::uint32_t left, std::uint32_t right) const
    {
        return __atomic_load_n(&pairs[(left * 21 + right) % kPairs], __ATOMIC_RELAXED);
    }
    static int distanceIn(std::uint32_t word, std::uint32_t left, std::uint32_t right)
    {
        const std::uint32_t pixels = word ^ tagOf(left, right);
        return pixels > kMostPixels ? kNoDistance : static_cast<std::int32_t>(pixels << 23) >> 23;
    }
    void enterPair(std::uint32_t left, std::uint32_t right, int pixels)
    {
        if (pixels >= -256 && pixels < 256) {
            const std::uint32_t low = static_cast<std::uint32_t>(pixels) & kMostPixels;
            __atomic_store_n(&pairs[(left * 21 + right) % kPairs], tagOf(left, right) | low,
                             __ATOMIC_RELAXED);
        }
    }

private:
    static constexpr std::uint32_t kMostPixels = 511; // in the low bits
    static_assert(kPairs == kMostPixels + 1, "the slot of a pair tells what its tag leaves out");

    // Keeps the letters of a script apart from each other and from ASCII.
    static unsigned slotOf(char32_t c) { return (c + (c >> 8) * 106) % kLetters; }
    static std::uint32_t tagOf(std::uint32_t left, std::uint32_t right)
    {
        return (left << 16 | right) & ~kMostPixels;
    }
};

#endif
