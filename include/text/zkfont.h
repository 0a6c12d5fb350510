#ifndef ZKFONT_H
#define ZKFONT_H

#include "zkglobal.h"

#include <cstdint>

/// What a glyph is asked for with: a pixel size and four style bits. Two bytes,
/// passed by value. Bits 4 to 7 of `flags` mean nothing and are carried along.
struct ZkFontAttr {
    enum Flag : unsigned char {
        Slant = 1,     ///< sheared by a quarter; what `ZkFont::setBoldFace` switches
        Embolden = 2,  ///< outline thickened by one pixel
        Outline = 4,   ///< a halo of one pixel around the glyph
        Underline = 8, ///< for painters only: never part of a glyph
        AllFlags = 15,
    };

    std::uint8_t size;  ///< pixels
    std::uint8_t flags; ///< of `Flag`
};
static_assert(sizeof(ZkFontAttr) == 2, "ZkFontAttr is two bytes on every platform");

/// A font request: the size in pixels and the style, two bytes held by value.
/// Fonts that differ in underline alone are unequal, yet use the same glyphs.
///
///     ZkFont font(24, false, true, false, false);  // 24 px, emboldened
///     font.setOutline(true);
class ZK_EXPORT ZkFont
{
public:
    /// 16 pixels, no style.
    ZkFont() = default;

    /// Takes both bytes as they are, the unused bits included.
    ZkFont(const ZkFontAttr &attr) : m_attr(attr) {}

    /// `slant` is the style that `setBoldFace` switches; `embolden` thickens the
    /// glyph and has no setter.
    ZkFont(unsigned char size, bool slant, bool embolden, bool outline, bool underline);

    /// Takes both bytes as they are, the unused bits included.
    void setFont(const ZkFontAttr &attr) { m_attr = attr; }

    /// Pixels, 0 to 255; a glyph of size 0 is rendered at 1 pixel.
    void setFontSize(unsigned char size) { m_attr.size = size; }

    /// Slants the glyphs instead of making them heavier: this bit is the shear,
    /// and the heavier outline is the second flag of the constructor.
    void setBoldFace(bool on) { setFlag(ZkFontAttr::Slant, on); }
    void setOutline(bool on) { setFlag(ZkFontAttr::Outline, on); }
    void setUnderLine(bool on) { setFlag(ZkFontAttr::Underline, on); }

    const ZkFontAttr &attr() const { return m_attr; }
    unsigned char fontSize() const { return m_attr.size; }
    bool isBoldFace() const { return hasFlag(ZkFontAttr::Slant); }
    bool isEmbolden() const { return hasFlag(ZkFontAttr::Embolden); }
    bool isOutline() const { return hasFlag(ZkFontAttr::Outline); }
    bool isUnderLine() const { return hasFlag(ZkFontAttr::Underline); }

    /// Equal size and equal style bits, underline included; bits 4 to 7 do not count.
    bool operator==(const ZkFont &other) const;
    bool operator!=(const ZkFont &other) const { return !(*this == other); }

private:
    bool hasFlag(unsigned flag) const { return (m_attr.flags & flag) != 0; }
    void setFlag(unsigned flag, bool on);

    ZkFontAttr m_attr = {16, 0};
};
static_assert(sizeof(ZkFont) == 2, "a ZkFont is its attributes and nothing else");

inline ZkFont::ZkFont(unsigned char size, bool slant, bool embolden, bool outline, bool underline)
{
    m_attr.size = size;
    setFlag(ZkFontAttr::Slant, slant);
    setFlag(ZkFontAttr::Embolden, embolden);
    setFlag(ZkFontAttr::Outline, outline);
    setFlag(ZkFontAttr::Underline, underline);
}

inline bool ZkFont::operator==(const ZkFont &other) const
{
    const unsigned differing = static_cast<unsigned>(m_attr.flags) ^ other.m_attr.flags;
    return m_attr.size == other.m_attr.size && (differing & ZkFontAttr::AllFlags) == 0;
}

inline void ZkFont::setFlag(unsigned flag, bool on)
{
    m_attr.flags = static_cast<std::uint8_t>((m_attr.flags & ~flag) | (on ? flag : 0u));
}

/// One rasterised character: its metrics in pixels and its coverage bytes.
/// Plain data: a copy has the same `pixels` pointer, not pixels of its own.
///
/// The records that the cache hands out belong to the glyph store and never move;
/// they live until the font file is changed or closed. Their pixels live at least
/// as long as `useCount` is above 0. Counting is safe in several threads at once.
struct GlyphBitmap {
    std::uint16_t width;   ///< columns of `pixels`: the bytes of a rendered row, 2 more outlined
    std::uint16_t height;  ///< rows of `pixels`; 2 more when outlined
    std::uint16_t pitch;   ///< bytes from row to row, always `width`
    std::int16_t left;     ///< from the pen to the first column; 1 less when outlined
    std::int16_t top;      ///< from the baseline up to the first row; 1 less when outlined
    std::int16_t descent;  ///< `height - top`, the rows below the baseline
    std::int16_t advance;  ///< from this pen position to the next one, rounded
    ZkFontAttr font;       ///< of the first request: take underline from your own font
    std::uint8_t *pixels;  ///< top row first, 0 empty to 255 full, 1 the halo of an outlined
                           ///< glyph; null once trimmed or when there was no memory,
                           ///< whatever the size says then
    std::uint16_t unicode; ///< the character
    mutable std::uint32_t useCount; ///< how often handed out and not yet given back

    /// Counts `uses` more owners of the pixels. The cache does so for whatever it
    /// hands out, under its lock.
    void retain(std::uint32_t uses = 1) const;

    /// Gives `uses` back; the caller's last reads of the pixels stay before a trim.
    void release(std::uint32_t uses = 1) const;

    /// True when size, bearings and advance are the same.
    bool isShapedLike(const GlyphBitmap &other) const
    {
        return width == other.width && height == other.height && pitch == other.pitch &&
               left == other.left && top == other.top && descent == other.descent &&
               advance == other.advance;
    }

    /// False when the pixels may be dropped.
    bool isUsed() const { return __atomic_load_n(&useCount, __ATOMIC_ACQUIRE) != 0; }
};
#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(GlyphBitmap) == 28, "the glyph record is 28 bytes on the device");
#endif

inline void GlyphBitmap::retain(std::uint32_t uses) const
{
    if (ZK_SINGLE_THREADED()) {
        useCount += uses;
    } else {
        __atomic_fetch_add(&useCount, uses, __ATOMIC_RELAXED);
    }
}

inline void GlyphBitmap::release(std::uint32_t uses) const
{
    if (ZK_SINGLE_THREADED()) {
        useCount -= uses;
    } else {
        __atomic_fetch_sub(&useCount, uses, __ATOMIC_RELEASE);
    }
}

#endif
