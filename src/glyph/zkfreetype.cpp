#include "zkfreetype.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_BITMAP_H
#include FT_GLYPH_H
#include FT_OUTLINE_H

#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>

FT_LibraryRec_ *ZkFreetype::m_plibrary = nullptr;
FT_FaceRec_ *ZkFreetype::m_pface = nullptr;

namespace
{

constexpr int kFirstPixelSize = 16;
constexpr FT_Pos kEmboldenStrength = 64; // one pixel in 26.6 units
constexpr FT_Matrix kSlant = {0x10000, 0x4000, 0, 0x10000};

// What the open face was last scaled to, so that glyph after glyph of one size
// does not scale it anew. Lives and dies with the face.
int scaledTo = kFirstPixelSize;

/// Coverage rows, one byte a pixel: row r from the top starts at `top + r * step`.
struct GreyRows {
    const std::uint8_t *top = nullptr;
    unsigned rows = 0;
    unsigned pitch = 0;
    std::ptrdiff_t step = 0;
};

// The rows of an 8-bit bitmap; none when it has no buffer to read. In a bitmap
// of negative pitch the top row is the last in memory.
GreyRows rowsOf(const FT_Bitmap &bitmap)
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
// coverage being 255. False when FreeType cannot; `grey` is the caller's to release.
bool convertToGrey(FT_Library library, const FT_Bitmap &source, FT_Bitmap *grey)
{
    if (FT_Bitmap_Convert(library, &source, grey, 1) != 0) {
        return false;
    }
    const unsigned full = grey->num_grays < 2 ? 1u : grey->num_grays - 1u;
    const GreyRows rows = rowsOf(*grey);
    if (full == 255 || rows.pitch == 0) {
        return true;
    }
    const std::size_t bytes = static_cast<std::size_t>(rows.rows) * rows.pitch;
    for (std::size_t i = 0; i < bytes; ++i) {
        grey->buffer[i] = static_cast<std::uint8_t>(grey->buffer[i] * 255u / full);
    }
    return true;
}

// Loads the glyph into the face's slot, slanted and thickened as asked. A failure
// is printed; the slot is then empty.
void loadGlyph(FT_Face face, unsigned short unicode, bool slant, bool embolden)
{
    FT_Matrix shear = kSlant;
    FT_Set_Transform(face, slant ? &shear : nullptr, nullptr);
    if (FT_Load_Glyph(face, FT_Get_Char_Index(face, unicode), FT_LOAD_FORCE_AUTOHINT) != 0) {
        std::printf("FT_Load_Glyph error!\n");
    }
    if (embolden && face->glyph->format == FT_GLYPH_FORMAT_OUTLINE) {
        FT_Outline_Embolden(&face->glyph->outline, kEmboldenStrength);
    }
}

// Renders the slot in place unless it holds a strike already. False on failure; the
// slot then still holds an outline or nothing.
bool renderSlot(FT_GlyphSlot slot)
{
    return slot->format == FT_GLYPH_FORMAT_BITMAP ||
           FT_Render_Glyph(slot, FT_RENDER_MODE_NORMAL) == 0;
}

// Copies the rows to `pixels` and on, `stride` bytes apart.
void copyRows(const GreyRows &grey, std::uint8_t *pixels, std::size_t stride)
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
void copyRowsWithHalo(const GreyRows &grey, std::uint8_t *pixels)
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
                    *beside = *beside == 0 ? std::uint8_t(1) : *beside;
                }
            }
        }
    }
}

// Gives `record` its size and a buffer with the coverage of `grey`, framed when
// `outline` is set. `left` and `top` are the rendered bitmap's.
void fillRecord(GlyphBitmap *record, GreyRows grey, int left, int top, bool outline)
{
    const unsigned frame = outline ? 2 : 0;
    if (grey.pitch > UINT16_MAX - frame || grey.rows > UINT16_MAX - frame) {
        grey = GreyRows();
    }
    // The top bearing goes down although the frame adds a row above, so an outlined
    // shape stands two pixels lower than the plain one.
    const std::int64_t bearing = outline ? 1 : 0;
    record->width = record->pitch = static_cast<std::uint16_t>(grey.pitch + frame);
    record->height = static_cast<std::uint16_t>(grey.rows + frame);
    record->left = static_cast<std::int16_t>(left - bearing);
    record->top = static_cast<std::int16_t>(top - bearing);
    record->descent = static_cast<std::int16_t>(record->height - record->top);

    // An empty glyph has a byte too: null pixels mean that it must be rendered again.
    const std::int64_t bytes = static_cast<std::int64_t>(record->width) * record->height;
    void *memory = nullptr;
    if (bytes <= INT_MAX) {
        memory = std::malloc(bytes < 1 ? 1 : static_cast<std::size_t>(bytes));
    }
    if (memory == nullptr) {
        std::printf("malloc fontMetrics memory failed !!!\n");
        return;
    }
    record->pixels = static_cast<std::uint8_t *>(memory);
    if (outline) {
        copyRowsWithHalo(grey, record->pixels);
    } else {
        copyRows(grey, record->pixels, grey.pitch);
    }
}

} // namespace

ZkFreetype::ZkFreetype()
    : m_attr{0, 0},
      m_reserved(0),
      m_embolden(0),
      m_slant(0),
      m_outline(0),
      m_pixelSize(kFirstPixelSize),
      m_unused(0)
{
}

void ZkFreetype::freetype_init(ZkString path)
{
    freetype_Done();
    if (path.isEmpty()) {
        path = ZkString(std::getenv("ZK_FONTLIB"));
    }
    if (path.isEmpty()) {
        // Five exclamation marks; the cache's message of the same words has three.
        std::printf("[GUI-FRAMEWORK]: font not specified, set \"ZK_FONTLIB\" env or call "
                    "ZkApplication::setFontFile() !!!!!\n");
        std::exit(1);
    }
    if (FT_Init_FreeType(&m_plibrary) != 0 || m_plibrary == nullptr) {
        m_plibrary = nullptr;
        std::printf("FT_Init_FreeType error!\n");
        std::exit(1);
    }
    const ZkByteArray name = path.toUtf8();
    if (FT_New_Face(m_plibrary, name.constData(), 0, &m_pface) != 0 || m_pface == nullptr) {
        m_pface = nullptr;
        std::printf("[GUI-FRAMEWORK]: open font(%s) failed !!!\n", name.constData());
        std::exit(1);
    }
    FT_Set_Pixel_Sizes(m_pface, 0, kFirstPixelSize);
    scaledTo = kFirstPixelSize;
}

void ZkFreetype::freetype_Done()
{
    if (m_pface != nullptr) {
        FT_Done_Face(m_pface);
        m_pface = nullptr;
    }
    if (m_plibrary != nullptr) {
        FT_Done_FreeType(m_plibrary);
        m_plibrary = nullptr;
    }
}

void ZkFreetype::setTextFontSize(int n)
{
    m_pixelSize = n;
    if (m_pface != nullptr && scaledTo != n) {
        FT_Set_Pixel_Sizes(m_pface, 0, static_cast<FT_UInt>(n));
        scaledTo = n;
    }
}

void ZkFreetype::setTextFont(const ZkFont &font)
{
    m_attr = font.attr();
    m_embolden = font.isEmbolden();
    m_slant = font.isBoldFace();
    m_outline = font.isOutline();
    setTextFontSize(m_attr.size);
}

GlyphBitmap ZkFreetype::resloveUnicode(unsigned short unicode)
{
    GlyphBitmap record = {};
    record.font = m_attr;
    record.unicode = unicode;
    if (m_pface == nullptr) {
        std::printf("FT_Load_Glyph error!\n");
        fillRecord(&record, GreyRows(), 0, 0, m_outline != 0);
        return record;
    }

    loadGlyph(m_pface, unicode, m_slant != 0, m_embolden != 0);
    FT_GlyphSlot slot = m_pface->glyph;
    // Of the glyph object only the failure to make it counts: an empty slot has none,
    // nor has an advance of 32768 pixels. Made of the rendered slot it copies nothing
    // but takes the bitmap over, so it is released after the last read.
    const bool isRendered = renderSlot(slot);
    FT_Glyph glyph = nullptr;
    if (FT_Get_Glyph(slot, &glyph) != 0) {
        std::printf("FT_Get_Glyph error!\n");
        glyph = nullptr;
    }
    if (!isRendered) {
        std::printf("FT_Render_Glyph error!\n");
    }

    record.advance =
        static_cast<std::int16_t>((static_cast<std::int64_t>(slot->advance.x) + 32) >> 6);
    GreyRows grey;
    FT_Bitmap converted;
    FT_Bitmap_Init(&converted);
    if (slot->format == FT_GLYPH_FORMAT_BITMAP) {
        if (slot->bitmap.pixel_mode == FT_PIXEL_MODE_GRAY) {
            grey = rowsOf(slot->bitmap);
        } else if (convertToGrey(m_plibrary, slot->bitmap, &converted)) {
            grey = rowsOf(converted);
        }
    }
    fillRecord(&record, grey, slot->bitmap_left, slot->bitmap_top, m_outline != 0);
    FT_Bitmap_Done(m_plibrary, &converted);
    FT_Done_Glyph(glyph);
    return record;
}
