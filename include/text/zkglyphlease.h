#ifndef ZKGLYPHLEASE_H
#define ZKGLYPHLEASE_H

#include "zkfont.h"

/// The glyphs of one text, each with the number of its characters, taken from the
/// cache and given back together.
///
/// `fetch` is for many characters what `ZkFontCache::glyph` is for one: use counts,
/// stored records and pixels come out as if it had been called for each character in
/// turn. But the lock is taken once for the characters that are there, each distinct
/// one is looked up once and its use count raised once. Distinct glyphs up to
/// `InlineUses` need no memory; more of them live in one heap block.
///
///     ZkGlyphLease lease;
///     const GlyphBitmap *line[5];
///     lease.fetch(u"hello", 5, font, line);  // 'h' 'e' 'l' 'o': four uses, 'l' counted twice
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

    enum { InlineUses = 16 };

    ZkGlyphLease() : m_uses(m_inline), m_size(0), m_capacity(InlineUses), m_generation(0) {}
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

    /// The distinct glyphs of each `fetch`, in the order of their first appearance.
    /// A glyph of several calls, or of a text beyond 65,535 characters, may stand
    /// here more than once.
    int size() const { return m_size; }
    const Use *begin() const { return m_uses; }
    const Use *end() const { return m_uses + m_size; }

private:
    template <typename Table>
    void fetchPiece(const ZkUcs2 *codes, int n, const ZkFont &font, const GlyphBitmap **out);
    void append(const GlyphBitmap *glyph);
    void forget();

    Use *m_uses; ///< `m_inline` or from `malloc`
    int m_size, m_capacity;
    unsigned m_generation; ///< of the store that the glyphs belong to
    Use m_inline[InlineUses];
};

#endif
