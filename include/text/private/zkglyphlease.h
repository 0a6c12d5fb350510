#ifndef ZKGLYPHLEASE_H
#define ZKGLYPHLEASE_H

#include "private/zkinlinearray.h"
#include "zkfont.h"

/// The glyphs of one text, each with the number of its characters, taken from the
/// cache and given back together.
///
/// `fetch` is for many characters what `ZkFontCache::glyph` is for one: use counts,
/// stored records and pixels come out as if it had been called for each character in
/// turn. But the lock is taken once for the characters that are there, and in a text
/// of more than `InlineUses` characters each distinct one is looked up once and its
/// use count raised once. Up to `InlineUses` glyphs need no memory; more of them live
/// in one heap block.
///
///     ZkGlyphLease lease;
///     const GlyphBitmap *line[5];
///     lease.fetch(units, 5, font, line); // of "hello": the use count of 'l' is raised by 2
///
/// An object belongs to one thread; objects of different threads may hold the same
/// glyphs. Records and pixels of the glyphs are good until the lease ends.
class ZK_EXPORT ZkGlyphLease
{
public:
    /// A glyph and how many fetched characters it stands for.
    struct Use {
        const GlyphBitmap *glyph;
        std::uint32_t count;
    };

    enum { InlineUses = 24 };

    ZkGlyphLease() : m_generation(0) {}
    ~ZkGlyphLease() { giveBack(); }
    ZkGlyphLease(const ZkGlyphLease &) = delete;
    ZkGlyphLease &operator=(const ZkGlyphLease &) = delete;

    /// Adds the glyphs of `n` characters and writes one pointer per character to
    /// `out`, which has room for `n`. What the cache lacks is rendered in the order
    /// of its first appearance. Nothing happens for `n` below 1. When the font file
    /// was set or closed since the last call, the glyphs of that time are forgotten.
    void fetch(const ZkUcs2 *codes, int n, const ZkFont &font, const GlyphBitmap **out);

    /// Gives all glyphs back and empties the lease. When the font file was set or
    /// closed meanwhile the records are gone and nothing is counted.
    void giveBack();

    /// The glyphs with their counts, in the order of their first appearance. A glyph
    /// may stand here more than once; the counts of all add up to the characters.
    int size() const { return m_uses.size(); }
    const Use *begin() const { return m_uses.begin(); }
    const Use *end() const { return m_uses.end(); }

private:
    void fetchShort(const ZkUcs2 *codes, int n, const ZkFont &font, const GlyphBitmap **out);
    void fetchPiece(const ZkUcs2 *codes, int n, const ZkFont &font, const GlyphBitmap **out);

    ZkInlineArray<Use, InlineUses> m_uses;
    unsigned m_generation; ///< of the store that the glyphs belong to
};

#endif
