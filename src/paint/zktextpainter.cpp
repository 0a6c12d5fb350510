#include "zktextpainter.h"

#include "paint/zkblend.h"
#include "paint/zkshares.h"
#include "zkregion.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace
{

/// Columns and rows of a surface that are painted at most: with a glyph's 65535
/// more, no coordinate on it overflows.
constexpr int kMostPixels = 1 << 30;

constexpr int kFillColumns = 256;

ZkRect overlap(const ZkRect &a, const ZkRect &b)
{
    return ZkRect(std::max(a.left(), b.left()), std::max(a.top(), b.top()),
                  std::min(a.right(), b.right()), std::min(a.bottom(), b.bottom()));
}

ZkRect boundsOf(const ZkTextSurface &surface)
{
    const std::int64_t rowBytes =
        static_cast<std::int64_t>(surface.width) * zkPixelBytes(surface.format);
    const std::int64_t pitch = surface.pitch;
    if (!surface.pixels || surface.width < 1 || surface.height < 1 ||
        (surface.height > 1 && std::max(pitch, -pitch) < rowBytes)) {
        return ZkRect();
    }
    return ZkRect(0, 0, std::min(surface.width, kMostPixels) - 1,
                  std::min(surface.height, kMostPixels) - 1);
}

/// A coordinate moved as far as an int reaches.
int moved(int coordinate, std::int64_t distance)
{
    const std::int64_t sum = coordinate + distance;
    return static_cast<int>(std::clamp<std::int64_t>(sum, INT_MIN, INT_MAX));
}

unsigned alphaOf(std::uint32_t color)
{
    return color >> 24;
}

bool isOutlined(const GlyphBitmap &glyph)
{
    return (glyph.font.flags & ZkFontAttr::Outline) != 0;
}

} // namespace

ZkTextPainter::ZkTextPainter(const ZkTextSurface &surface)
    : m_surface(surface), m_bounds(boundsOf(surface))
{
}

void ZkTextPainter::clearClip()
{
    m_pieces.clear();
    m_bounds = boundsOf(m_surface);
}

void ZkTextPainter::setClip(const ZkRect &clip)
{
    clearClip();
    m_bounds = overlap(clip, m_bounds);
}

void ZkTextPainter::setClip(const ZkRegion &clip)
{
    const ZkVector<ZkRect> pieces = clip.rects();
    if (pieces.size() == 1) {
        return setClip(pieces.at(0));
    }
    setClip(clip.boundingRect());
    m_pieces = pieces;
}

void ZkTextPainter::setColors(std::uint32_t ink, std::uint32_t halo)
{
    m_style.ink = ink;
    m_style.halo = halo;
}

int ZkTextPainter::find(int tag) const
{
    const TagStyle *found =
        std::lower_bound(m_styles.begin(), m_styles.end(), tag,
                         [](const TagStyle &style, int wanted) { return style.tag < wanted; });
    return static_cast<int>(found - m_styles.begin());
}

void ZkTextPainter::setStyle(int tag, const Style &style)
{
    const int at = find(tag);
    if (at == m_styles.size() || m_styles[at].tag != tag) {
        m_styles.append({tag, style});
        std::rotate(m_styles.begin() + at, m_styles.end() - 1, m_styles.end());
    }
    m_styles[at].style = style;
}

const ZkTextPainter::Style &ZkTextPainter::style(int tag) const
{
    const int at = m_styles.isEmpty() ? 0 : find(tag);
    return at < m_styles.size() && m_styles[at].tag == tag ? m_styles[at].style : m_style;
}

/// Calls `paint` with each rectangle of the clip's part of `rect`.
template <typename Paint>
void ZkTextPainter::eachPiece(const ZkRect &rect, Paint paint) const
{
    const ZkRect inside = overlap(rect, m_bounds);
    if (!inside.isValid()) {
        return;
    }
    if (m_pieces.isEmpty()) {
        return paint(inside);
    }
    const ZkRect *end = m_pieces.constData() + m_pieces.size();
    const ZkRect *piece =
        std::lower_bound(m_pieces.constData(), end, inside.top(),
                         [](const ZkRect &candidate, int top) { return candidate.bottom() < top; });
    for (; piece != end && piece->top() <= inside.bottom(); ++piece) {
        const ZkRect part = overlap(*piece, inside);
        if (part.isValid()) {
            paint(part);
        }
    }
}

std::uint8_t *ZkTextPainter::address(int x, int y) const
{
    return static_cast<std::uint8_t *>(m_surface.pixels) +
           static_cast<std::ptrdiff_t>(y) * m_surface.pitch +
           static_cast<std::ptrdiff_t>(x) * zkPixelBytes(m_surface.format);
}

void ZkTextPainter::fill(const ZkRect &rect, std::uint32_t color) const
{
    std::uint8_t shares[kFillColumns];
    std::memset(shares, static_cast<int>(alphaOf(color)), sizeof shares);
    eachPiece(rect, [&](const ZkRect &piece) {
        for (int x = piece.left(); x <= piece.right(); x += kFillColumns) {
            zkBlend(m_surface.format,
                    {address(x, piece.top()), m_surface.pitch, shares, 0,
                     std::min(kFillColumns, piece.right() + 1 - x), piece.height()},
                    color);
        }
    });
}

void ZkTextPainter::blend(int x, int y, std::uint32_t color, int coverage) const
{
    const auto share = static_cast<std::uint8_t>(
        zkShare(static_cast<unsigned>(std::clamp(coverage, 0, 255)), alphaOf(color)));
    eachPiece(ZkRect(x, y, x, y), [&](const ZkRect &) {
        zkBlend(m_surface.format, {address(x, y), 0, &share, 0, 1, 1}, color);
    });
}

void ZkTextPainter::paintGlyph(const ZkPlacedGlyph &placed, int x, int y, std::uint32_t color,
                               Pass pass) const
{
    const GlyphBitmap &glyph = *placed.glyph;
    const int left = moved(placed.x, x), top = moved(placed.y, y);
    // One that starts further left or above has no column or row on the surface.
    if (!glyph.pixels || left < -UINT16_MAX || top < -UINT16_MAX || left > m_bounds.right() ||
        top > m_bounds.bottom()) {
        return;
    }
    const bool outlined = isOutlined(glyph);
    const bool plain = pass == InkPass && !outlined && alphaOf(color) == 255;
    const ZkRect rect(left, top, left + glyph.width - 1, top + glyph.height - 1);
    eachPiece(rect, [&](const ZkRect &piece) {
        const std::uint8_t *coverage =
            glyph.pixels + static_cast<std::ptrdiff_t>(piece.top() - top) * glyph.pitch +
            (piece.left() - left);
        const ZkBlendArea area = {address(piece.left(), piece.top()),
                                  m_surface.pitch,
                                  coverage,
                                  glyph.pitch,
                                  piece.right() + 1 - piece.left(),
                                  piece.bottom() + 1 - piece.top()};
        if (plain) {
            zkBlend(m_surface.format, area, color);
        } else {
            const ZkCoverageKind kind = pass == HaloPass ? ZkCoverageKind::Silhouette
                                        : outlined       ? ZkCoverageKind::InkInHalo
                                                         : ZkCoverageKind::Ink;
            zkBlendCoverage(m_surface.format, area, color, kind);
        }
    });
}

void ZkTextPainter::paintGlyphs(const ZkPlacedGlyph *glyphs, int count, int x, int y,
                                Pass pass) const
{
    const Style *current = nullptr;
    int tag = 0;
    for (int i = 0; i < count; ++i) {
        const ZkPlacedGlyph &placed = glyphs[i];
        if (!placed.glyph || (pass == HaloPass && !isOutlined(*placed.glyph))) {
            continue;
        }
        if (!current || placed.tag != tag) {
            tag = placed.tag;
            current = &style(tag);
        }
        paintGlyph(placed, x, y, pass == HaloPass ? current->halo : current->ink, pass);
    }
}

void ZkTextPainter::paintStrips(const Strip *strips, int count, int x, int y, Pass pass) const
{
    for (int i = 0; i < count; ++i) {
        const Strip &strip = strips[i];
        if (!strip.rect.isValid() || (pass == HaloPass && !strip.outlined)) {
            continue;
        }
        const Style &colors = style(strip.tag);
        const int grown = pass == HaloPass ? 1 : 0;
        fill(ZkRect(moved(strip.rect.left(), static_cast<std::int64_t>(x) - grown),
                    moved(strip.rect.top(), static_cast<std::int64_t>(y) - grown),
                    moved(strip.rect.right(), static_cast<std::int64_t>(x) + grown),
                    moved(strip.rect.bottom(), static_cast<std::int64_t>(y) + grown)),
             pass == HaloPass ? colors.halo : colors.ink);
    }
}

void ZkTextPainter::paint(const ZkPlacedGlyph *glyphs, int count, int x, int y, const Strip *strips,
                          int stripCount) const
{
    const int some = glyphs ? count : 0;
    const int lines = strips ? stripCount : 0;
    paintStrips(strips, lines, x, y, HaloPass);
    paintGlyphs(glyphs, some, x, y, HaloPass);
    paintStrips(strips, lines, x, y, InkPass);
    paintGlyphs(glyphs, some, x, y, InkPass);
}

void ZkTextPainter::paint(const ZkLinePlacement &line, const ZkFont &font) const
{
    const Strip strip = {font.isUnderLine() ? line.underline(font) : ZkRect(), 0, font.isOutline()};
    for (const Pass pass : {HaloPass, InkPass}) {
        paintStrips(&strip, 1, 0, 0, pass);
        for (int i = 0; i < line.cellCount(); ++i) {
            const ZkLineCell &cell = line.cells()[i];
            if (!cell.leftOut) {
                paintGlyphs(line.glyphs() + cell.first, cell.count, 0, 0, pass);
            }
        }
    }
}
