#include "zkfreetype.h"

#include "glyph/zkfreetypestart.h"
#include "glyph/zkglyphrenderer.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_GLYPH_H

#include <climits>
#include <cstdio>
#include <cstdlib>

FT_LibraryRec_ *ZkFreetype::m_plibrary = nullptr;
FT_FaceRec_ *ZkFreetype::m_pface = nullptr;

namespace
{

constexpr int kFirstPixelSize = 16;

// What the open face was last scaled to, so that glyph after glyph of one size
// does not scale it anew. Lives and dies with the face.
int scaledTo = kFirstPixelSize;

// Gives `record` the size of `glyph` and a buffer with its coverage; none when that
// is not the glyph's own for want of memory.
void fillRecord(GlyphBitmap *record, ZkRenderedGlyph *glyph, bool isStarved)
{
    glyph->measure(record);
    if (isStarved) {
        return;
    }
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
    glyph->copyPixels(record->pixels);
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
    if (ZkFreeTypeStart::open(&m_plibrary) != 0 || m_plibrary == nullptr) {
        m_plibrary = nullptr;
        std::printf("FT_Init_FreeType error!\n");
        std::exit(1);
    }
    const ZkByteArray name = path.toUtf8();
    if (FT_New_Face(m_plibrary, name.constData(), 0, &m_pface) != 0 || m_pface == nullptr ||
        ZkFreeTypeStart::wasStarved()) {
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
    unsigned style = m_slant != 0 ? static_cast<unsigned>(ZkFontAttr::Slant) : 0;
    style |= m_embolden != 0 ? static_cast<unsigned>(ZkFontAttr::Embolden) : 0;
    style |= m_outline != 0 ? static_cast<unsigned>(ZkFontAttr::Outline) : 0;
    ZkRenderedGlyph rendered(m_plibrary, style);
    if (m_pface == nullptr) {
        std::printf("FT_Load_Glyph error!\n");
        fillRecord(&record, &rendered, false);
        return record;
    }

    ZkFreeTypeStart::wasStarved();
    unsigned failed =
        rendered.render(m_pface, FT_Get_Char_Index(m_pface, unicode), FT_LOAD_FORCE_AUTOHINT);
    if (ZkFreeTypeStart::wasStarved()) {
        failed |= ZkRenderedGlyph::Starved;
    }
    const bool isLoaded = (failed & ZkRenderedGlyph::LoadFailed) == 0;
    const bool isRendered = (failed & ZkRenderedGlyph::RenderFailed) == 0;
    // FT_Get_Glyph is called to find out whether it fails: it does for an advance of 32768
    // pixels. The glyph object takes the rendered bitmap over and copies nothing, so it is
    // released after the last read. Of a slot that nothing was loaded into there is no
    // glyph, as there is no rendering.
    FT_Glyph glyph = nullptr;
    const bool isCopied = isLoaded ? FT_Get_Glyph(m_pface->glyph, &glyph) == 0 : isRendered;
    if (!isLoaded) {
        std::printf("FT_Load_Glyph error!\n");
    }
    if (!isCopied) {
        std::printf("FT_Get_Glyph error!\n");
        glyph = nullptr;
    }
    if (!isRendered) {
        std::printf("FT_Render_Glyph error!\n");
    }
    const bool isStarved = (failed & ZkRenderedGlyph::Starved) != 0;
    if (isStarved && isLoaded && isRendered) {
        std::printf("malloc fontMetrics memory failed !!!\n"); // no step has said so
    }
    fillRecord(&record, &rendered, isStarved);
    FT_Done_Glyph(glyph);
    return record;
}
