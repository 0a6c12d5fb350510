#include "glyph/zkglyphrenderer.h"

#include FT_BITMAP_H
#include FT_OUTLINE_H

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace
{

constexpr FT_Pos kEmboldenStrength = 64; // one pixel in 26.6 units
constexpr FT_Matrix kSlant = {0x10000, 0x4000, 0, 0x10000};

} // namespace

ZkRenderedGlyph::ZkRenderedGlyph(FT_Library library, unsigned style, Bounds bounds)
    : m_library(library), m_style(style), m_bounds(bounds)
{
    FT_Bitmap_Init(&m_converted);
}

ZkRenderedGlyph::~ZkRenderedGlyph()
{
    if (m_library != nullptr) {
        FT_Bitmap_Done(m_library, &m_converted);
    }
}

unsigned ZkRenderedGlyph::render(FT_Face face, FT_UInt index, FT_Int32 loadFlags)
{
    unsigned failed = loadAndRender(face, index, loadFlags);
    if ((failed & LoadFailed) != 0) {
        return failed; // what the slot holds is of no glyph
    }
    FT_GlyphSlotRec *const slot = face->glyph;
    m_advance = slot->advance.x;
    m_left = slot->bitmap_left;
    m_top = slot->bitmap_top;
    if (slot->format == FT_GLYPH_FORMAT_BITMAP) {
        if (slot->bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
            m_grey = rowsOf(slot->bitmap);
        } else {
            const FT_Error error = convertToGrey(slot->bitmap);
            if (error == 0) {
                m_grey = rowsOf(m_converted);
            }
            failed |= starvedBy(error);
        }
    }
    return failed;
}

unsigned ZkRenderedGlyph::starvedBy(FT_Error error)
{
    return FT_ERROR_BASE(error) == FT_Err_Out_Of_Memory ? Starved : 0u;
}

// After a failed load the slot is empty, after a failed rendering it holds an outline.
unsigned ZkRenderedGlyph::loadAndRender(FT_Face face, FT_UInt index, FT_Int32 loadFlags)
{
    FT_Matrix shear = kSlant;
    FT_Set_Transform(face, isStyled(ZkFontAttr::Slant) ? &shear : nullptr, nullptr);
    FT_GlyphSlotRec *const slot = face->glyph;
    if (const FT_Error error = FT_Load_Glyph(face, index, loadFlags); error != 0) {
        const bool isEmpty =
            slot->format != FT_GLYPH_FORMAT_OUTLINE && slot->format != FT_GLYPH_FORMAT_BITMAP;
        return LoadFailed | (isEmpty ? RenderFailed : 0u) | starvedBy(error);
    }
    if (slot->format == FT_GLYPH_FORMAT_OUTLINE) {
        if (isStyled(ZkFontAttr::Embolden)) {
            FT_Outline_Embolden(&slot->outline, kEmboldenStrength);
        }
        if (m_bounds == Bounded && !isBounded(slot->outline)) {
            return TooLarge;
        }
    }
    if (slot->format == FT_GLYPH_FORMAT_BITMAP) {
        return 0; // a strike is there as it is
    }
    const FT_Error error = FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL);
    return error != 0 ? RenderFailed | starvedBy(error) : 0u;
}

// The edges from point to point are shorter than the curves' control polygons and not
// shorter than half the curves: good enough for a bound.
bool ZkRenderedGlyph::isBounded(const FT_Outline &outline)
{
    FT_BBox box;
    FT_Outline_Get_CBox(&outline, &box);
    const FT_Pos width = (box.xMax >> 6) - (box.xMin >> 6);
    const FT_Pos height = (box.yMax >> 6) - (box.yMin >> 6);
    if (width > kLongestSide || height > kLongestSide ||
        static_cast<std::int64_t>(width) * height > kMostPixels) {
        return false;
    }
    std::int64_t edges = 0;
    for (int i = 1; i < outline.n_points; ++i) {
        const FT_Vector &from = outline.points[i - 1], &to = outline.points[i];
        edges += std::labs(to.x - from.x) + std::labs(to.y - from.y);
    }
    return edges >> 6 <= kLongestEdges;
}

// The rows of an 8-bit bitmap; none when it has no buffer to read. In a bitmap
// of negative pitch the top row is the last in memory.
ZkRenderedGlyph::GreyRows ZkRenderedGlyph::rowsOf(const FT_Bitmap &bitmap)
{
    GreyRows grey;
    grey.rows = bitmap.rows;
    grey.pitch = bitmap.pitch < 0 ? 0u - static_cast<unsigned>(bitmap.pitch)
                                  : static_cast<unsigned>(bitmap.pitch);
    grey.step = bitmap.pitch;
    grey.top = bitmap.buffer;
    if (grey.rows == 0 || grey.pitch == 0) {
        return grey;
    }
    if (bitmap.buffer == nullptr) {
        return GreyRows();
    }
    if (bitmap.pitch < 0) {
        grey.top += static_cast<std::ptrdiff_t>(grey.rows - 1) * -grey.step;
    }
    return grey;
}

// Makes an 8-bit bitmap of the packed or coloured strike in `source`, full
// coverage being 255. FreeType's error when it cannot.
FT_Error ZkRenderedGlyph::convertToGrey(const FT_Bitmap &source)
{
    if (source.buffer == nullptr && source.rows > 0 && source.width > 0) {
        return FT_Err_Ok; // a damaged font told of rows that it lacks
    }
    const FT_Error error = FT_Bitmap_Convert(m_library, &source, &m_converted, 1);
    if (error != 0) {
        return error;
    }
    const unsigned full = std::max<unsigned>(m_converted.num_grays, 2) - 1;
    const GreyRows rows = rowsOf(m_converted);
    if (full == 255 || rows.pitch == 0) {
        return FT_Err_Ok;
    }
    const std::size_t bytes = static_cast<std::size_t>(rows.rows) * rows.pitch;
    for (std::size_t i = 0; i < bytes; ++i) {
        m_converted.buffer[i] = static_cast<std::uint8_t>(m_converted.buffer[i] * 255u / full);
    }
    return FT_Err_Ok;
}

void ZkRenderedGlyph::measure(GlyphBitmap *record)
{
    const unsigned frame = isStyled(ZkFontAttr::Outline) ? 2 : 0;
    if (m_grey.pitch > UINT16_MAX - frame || m_grey.rows > UINT16_MAX - frame) {
        m_grey = GreyRows();
    }
    // The top bearing goes down although the frame adds a row above, so an outlined
    // shape stands two pixels lower than the plain one.
    const std::int64_t bearing = isStyled(ZkFontAttr::Outline) ? 1 : 0;
    record->width = record->pitch = static_cast<std::uint16_t>(m_grey.pitch + frame);
    record->height = static_cast<std::uint16_t>(m_grey.rows + frame);
    record->left = static_cast<std::int16_t>(m_left - bearing);
    record->top = static_cast<std::int16_t>(m_top - bearing);
    record->descent = static_cast<std::int16_t>(record->height - record->top);
    record->advance = static_cast<std::int16_t>((static_cast<std::int64_t>(m_advance) + 32) >> 6);
}

void ZkRenderedGlyph::copyPixels(std::uint8_t *pixels) const
{
    if (isStyled(ZkFontAttr::Outline)) {
        copyRowsWithHalo(m_grey, pixels);
    } else {
        copyRows(m_grey, pixels, m_grey.pitch);
    }
}

// Copies the rows to `pixels` and on, `stride` bytes apart.
void ZkRenderedGlyph::copyRows(const GreyRows &grey, std::uint8_t *pixels, std::size_t stride)
{
    if (grey.pitch == 0 || grey.rows == 0) {
        return;
    }
    if (stride == grey.pitch && grey.step > 0) { // neither has gaps
        std::memcpy(pixels, grey.top, stride * grey.rows);
        return;
    }
    for (unsigned r = 0; r < grey.rows; ++r) {
        std::memcpy(pixels + r * stride, grey.top + static_cast<std::ptrdiff_t>(r) * grey.step,
                    grey.pitch);
    }
}

// Copies the rows into the middle of a buffer that is one pixel larger on every
// side, and gives each empty pixel beside a covered one the halo value 1. A source
// pixel of coverage 1 is as faint as the halo and gets none of its own.
void ZkRenderedGlyph::copyRowsWithHalo(const GreyRows &grey, std::uint8_t *pixels)
{
    const std::size_t stride = static_cast<std::size_t>(grey.pitch) + 2;
    std::memset(pixels, 0, stride * (static_cast<std::size_t>(grey.rows) + 2));
    copyRows(grey, pixels + stride + 1, stride);
    // The frame keeps every neighbour inside the buffer.
    for (unsigned r = 0; r < grey.rows; ++r) {
        std::uint8_t *row = pixels + (static_cast<std::size_t>(r) + 1) * stride;
        for (std::uint8_t *p = row + 1; p != row + 1 + grey.pitch; ++p) {
            if (*p > 1) {
                for (std::uint8_t *beside : {p - stride, p - 1, p + 1, p + stride}) {
                    *beside = *beside == 0 ? static_cast<std::uint8_t>(1) : *beside;
                }
            }
        }
    }
}
