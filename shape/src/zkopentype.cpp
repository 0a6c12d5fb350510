#include "zkopentype.h"

#include <cstdlib>
#include <new>

#include <hb-ot.h>

const char *const kZkShapers[2] = {"ot", nullptr};

namespace
{

void dropHandle(void *handle)
{
    delete static_cast<ZkTypeface *>(handle);
}

/// A handle of the typeface on the heap, for HarfBuzz to hold; null without memory.
ZkTypeface *heldHandle(const ZkTypeface &typeface)
{
    return new (std::nothrow) ZkTypeface(typeface);
}

/// FreeType may tell an end of the last outline of an unpacked font that lies behind all
/// outlines: the letter would count as damaged.
void mendLastOutline(const ZkTypeface &typeface, unsigned char *loca, std::size_t size)
{
    constexpr std::size_t kFormatAt = 51, kHeadSize = 54;
    unsigned char head[kHeadSize] = {};
    typeface.table(HB_TAG('h', 'e', 'a', 'd'), head, kHeadSize);
    const std::size_t entry = head[kFormatAt] == 0 ? 2 : 4;
    if (size < entry) {
        return;
    }
    const std::size_t end =
        typeface.table(HB_TAG('g', 'l', 'y', 'f'), nullptr, 0) / (entry == 2 ? 2 : 1);
    std::size_t told = 0;
    for (std::size_t i = 0; i < entry; ++i) {
        told = told << 8 | loca[size - entry + i];
    }
    for (std::size_t i = 0; told > end && i < entry; ++i) {
        loca[size - 1 - i] = static_cast<unsigned char>(end >> (8 * i));
    }
}

/// A table of a packed font, unpacked.
hb_blob_t *unpackedTable(hb_face_t *, hb_tag_t tag, void *handle)
{
    const ZkTypeface &typeface = *static_cast<const ZkTypeface *>(handle);
    const std::size_t size = tag == HB_TAG_NONE ? 0 : typeface.table(tag, nullptr, 0);
    void *const bytes = size == 0 ? nullptr : std::malloc(size);
    if (bytes == nullptr) {
        return nullptr;
    }
    typeface.table(tag, bytes, size);
    if (tag == HB_TAG('l', 'o', 'c', 'a')) {
        mendLastOutline(typeface, static_cast<unsigned char *>(bytes), size);
    }
    return hb_blob_create_or_fail(static_cast<const char *>(bytes), static_cast<unsigned>(size),
                                  HB_MEMORY_MODE_READONLY, bytes, std::free);
}

hb_tag_t firstTag(const ZkTypeface &typeface)
{
    if (typeface.dataSize() < 4) {
        return HB_TAG_NONE;
    }
    const unsigned char *const bytes = static_cast<const unsigned char *>(typeface.data());
    return HB_TAG(bytes[0], bytes[1], bytes[2], bytes[3]);
}

} // namespace

hb_face_t *zkOpenFace(const ZkTypeface &typeface)
{
    hb_face_t *face = nullptr;
    switch (firstTag(typeface)) {
    case HB_TAG(0, 1, 0, 0):
    case HB_TAG('O', 'T', 'T', 'O'):
    case HB_TAG('t', 'r', 'u', 'e'):
    case HB_TAG('t', 't', 'c', 'f'): {
        ZkTypeface *const handle = heldHandle(typeface);
        if (handle == nullptr) {
            return nullptr;
        }
        hb_blob_t *const blob = hb_blob_create(static_cast<const char *>(typeface.data()),
                                               static_cast<unsigned>(typeface.dataSize()),
                                               HB_MEMORY_MODE_READONLY, handle, dropHandle);
        face = hb_face_create(blob, static_cast<unsigned>(typeface.faceIndex()));
        hb_blob_destroy(blob);
        break;
    }
    case HB_TAG('w', 'O', 'F', 'F'):
    case HB_TAG('w', 'O', 'F', '2'): {
        ZkTypeface *const handle = heldHandle(typeface);
        if (handle == nullptr) {
            return nullptr;
        }
        face = hb_face_create_for_tables(unpackedTable, handle, dropHandle);
        break;
    }
    default: return nullptr;
    }
    if (hb_face_get_glyph_count(face) == 0) {
        hb_face_destroy(face);
        return nullptr;
    }
    hb_face_make_immutable(face);
    return face;
}

hb_font_t *zkOpenFont(hb_face_t *face, const ZkTypeface &typeface, int pixelSize)
{
    hb_font_t *const font = hb_font_create(face);
    if (font == hb_font_get_empty()) {
        return nullptr;
    }
    hb_font_set_scale(font, pixelSize * 64, pixelSize * 64);
    constexpr int kMostAxes = 64;
    hb_variation_t axes[kMostAxes];
    const int count = typeface.axisCount() < kMostAxes ? typeface.axisCount() : kMostAxes;
    for (int i = 0; i < count; ++i) {
        const ZkTypeface::Axis axis = typeface.axis(i);
        axes[i] = {axis.tag, axis.value};
    }
    hb_font_set_variations(font, axes, static_cast<unsigned>(count));
    hb_font_make_immutable(font);
    return font;
}
