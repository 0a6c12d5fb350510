#include "private/zkglyphlease.h"

#include "glyph/zkfontlock.h"
#include "zkfontcache.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int kLongestPiece = 65535; // so that numbers and counts fit 16 bits

/// Maps the characters of one piece of text to numbers from 1 on; 0 means not entered
/// yet. The high byte of a character names a page, the low byte its cell. Page 0
/// stands for all pages that no character needed yet and stays zero. The pages of
/// most texts, up to `kInlinePages`, are part of the object.
class PagedTable
{
public:
    PagedTable() { addPage(); }

    unsigned find(ZkUcs2 code) const { return m_cells[cell(m_pageOf[code >> 8], code)]; }

    void enter(ZkUcs2 code, unsigned number)
    {
        std::uint16_t &page = m_pageOf[code >> 8];
        if (page == 0) {
            page = addPage();
        }
        m_cells[cell(page, code)] = static_cast<std::uint16_t>(number);
    }

private:
    static constexpr int kPageCells = 256;
    static constexpr int kInlinePages = 6; // no test can tell: more are allocated

    static int cell(int page, ZkUcs2 code) { return page * kPageCells + (code & 0xFF); }

    std::uint16_t addPage()
    {
        const int page = m_cells.size() / kPageCells;
        std::memset(m_cells.extend(kPageCells), 0, kPageCells * sizeof(std::uint16_t));
        return static_cast<std::uint16_t>(page);
    }

    std::uint16_t m_pageOf[256] = {};
    ZkInlineArray<std::uint16_t, kInlinePages * kPageCells> m_cells;
};

} // namespace

void ZkGlyphLease::fetch(const ZkUcs2 *codes, int n, const ZkFont &font, const GlyphBitmap **out)
{
    if (m_generation != ZkFontCache::generation()) {
        m_uses.clear();
        m_generation = ZkFontCache::generation();
    }
    while (n > 0) {
        const int piece = std::min(n, kLongestPiece);
        if (size() + piece <= InlineUses) {
            fetchShort(codes, piece, font, out);
        } else {
            fetchPiece(codes, piece, font, out);
        }
        codes += piece;
        out += piece;
        n -= piece;
    }
}

void ZkGlyphLease::giveBack()
{
    if (m_generation == ZkFontCache::generation()) {
        const bool isAlone = ZK_SINGLE_THREADED(); // asked once
        for (const Use *use = begin(), *last = end(); use != last; ++use) {
            isAlone ? void(use->glyph->useCount -= use->count) : use->glyph->release(use->count);
        }
    }
    m_uses.clear();
}

// A short text has few characters twice: telling them apart would cost more than
// looking each one up.
void ZkGlyphLease::fetchShort(const ZkUcs2 *codes, int n, const ZkFont &font,
                              const GlyphBitmap **out)
{
    ZkFontCache *cache = ZkFontCache::instance();
    const int styleKey = ZkFontCache::key(0, font.attr());
    Use *uses = m_uses.extend(n);
    bool allThere = true; // no test can tell: else each is looked at again
    {
        const bool isAlone = ZK_SINGLE_THREADED(); // asked once
        const ZkFontReadLock lock;
        const ZkFontCache::Finder finder = cache->finder();
        Use *use = uses;
        for (int i = 0; i < n; ++i, ++use) {
            const GlyphBitmap *glyph = finder.value(styleKey | codes[i]);
            if (ZkFontCache::hasPixels(glyph)) {
                isAlone ? void(++glyph->useCount) : glyph->retain();
            } else {
                glyph = nullptr;
                allThere = false;
            }
            out[i] = glyph;
            *use = Use{glyph, 1};
        }
    }
    for (int i = 0; !allThere && i < n; ++i) {
        if (out[i] == nullptr) {
            out[i] = uses[i].glyph = cache->render(codes[i], font, true, 1);
        }
    }
}

void ZkGlyphLease::fetchPiece(const ZkUcs2 *codes, int n, const ZkFont &font,
                              const GlyphBitmap **out)
{
    ZkFontCache *cache = ZkFontCache::instance();
    const int styleKey = ZkFontCache::key(0, font.attr());
    const int first = size();
    PagedTable numbers;
    bool allThere = true;
    {
        const ZkFontReadLock lock;
        Use *uses = m_uses.begin() + first;
        for (int i = 0; i < n; ++i) {
            const ZkUcs2 code = codes[i];
            unsigned number = numbers.find(code);
            if (number == 0) {
                const GlyphBitmap *glyph = cache->find(styleKey | code);
                const bool isThere = ZkFontCache::hasPixels(glyph);
                allThere = allThere && isThere;
                m_uses.append(Use{isThere ? glyph : nullptr, 0});
                number = static_cast<unsigned>(size() - first);
                numbers.enter(code, number);
                uses = m_uses.begin() + first;
            }
            Use &use = uses[number - 1]; // numbers start at 1
            ++use.count;
            out[i] = use.glyph;
        }
        // No pixels can be trimmed before the lock is let go.
        for (const Use *use = begin() + first; use != end(); ++use) {
            if (use->glyph != nullptr) {
                use->glyph->retain(use->count);
            }
        }
    }
    for (int i = 0; !allThere && i < n; ++i) {
        if (out[i] == nullptr) {
            Use &use = m_uses[first + static_cast<int>(numbers.find(codes[i])) - 1];
            if (use.glyph == nullptr) {
                use.glyph = cache->render(codes[i], font, true, use.count);
            }
            out[i] = use.glyph;
        }
    }
}
