#include "zkopentype.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

#include <hb-aat.h>
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

/// A table of a font, read with care: behind its end there are zeros, and what takes too
/// many steps ends as `wasLong`.
class Table
{
public:
    Table(hb_face_t *face, hb_tag_t tag) : m_blob(hb_face_reference_table(face, tag))
    {
        m_bytes = hb_blob_get_data(m_blob, &m_size);
    }
    ~Table() { hb_blob_destroy(m_blob); }
    Table(const Table &) = delete;
    Table &operator=(const Table &) = delete;

    unsigned size() const { return m_size; }
    unsigned number16(unsigned at) const { return (byte(at) << 8) | byte(at + 1); }
    unsigned number32(unsigned at) const { return (number16(at) << 16) | number16(at + 2); }

    /// One step of a search that the font could make as long as it likes.
    bool isTooLong() const { return --m_stepsLeft <= 0; }
    bool wasLong() const { return m_stepsLeft <= 0; }

    /// The place of the glyph in the coverage table at `at`, -1 when it is not there.
    int coverage(unsigned at, unsigned glyph) const
    {
        const unsigned format = number16(at), count = number16(at + 2);
        for (unsigned i = 0; i < count && !isTooLong(); ++i) {
            const unsigned entry = at + 4 + i * (format == 1 ? 2 : 6);
            const unsigned first = number16(entry);
            if (format == 1 && first == glyph) {
                return static_cast<int>(i);
            }
            if (format != 1 && first <= glyph && glyph <= number16(entry + 2)) {
                return static_cast<int>(number16(entry + 4) + glyph - first);
            }
        }
        return -1;
    }

private:
    unsigned byte(unsigned at) const
    {
        return at < m_size ? static_cast<unsigned char>(m_bytes[at]) : 0u;
    }

    hb_blob_t *m_blob;
    const char *m_bytes;
    unsigned m_size = 0;
    mutable int m_stepsLeft = 1 << 18;
};

/// True when the old `kern` table has a pair that begins with `glyph`, or is not a plain
/// list of pairs.
bool kernTableJoins(hb_face_t *face, hb_codepoint_t glyph)
{
    constexpr unsigned kHead = 4, kPartHead = 14, kPair = 6;
    const Table table(face, HB_TAG('k', 'e', 'r', 'n'));
    if (table.size() < kHead) {
        return false;
    }
    unsigned at = kHead;
    for (unsigned parts = table.number16(2); parts > 0 && at < table.size(); --parts) {
        const unsigned end = at + kPartHead + table.number16(at + 6) * kPair;
        if (table.number16(at + 4) >> 8 != 0) {
            return true; // of another format
        }
        for (unsigned pair = at + kPartHead; pair < end && pair < table.size(); pair += kPair) {
            if (table.number16(pair) == glyph) {
                return true;
            }
        }
        at = end;
    }
    return table.number16(0) != 0;
}

/// The parts of a lookup, behind the headers of extended ones.
struct Lookup {
    unsigned kind;
    std::vector<unsigned> parts;

    Lookup(const Table &table, unsigned number, unsigned extendedKind)
    {
        const unsigned list = table.number16(8);
        const unsigned at = list + table.number16(list + 2 + 2 * number);
        kind = table.number16(at);
        const bool extended = kind == extendedKind;
        for (unsigned i = 0; i < table.number16(at + 4); ++i) {
            unsigned part = at + table.number16(at + 6 + 2 * i);
            if (extended) {
                kind = table.number16(part + 2);
                part += table.number32(part + 4);
            }
            parts.push_back(part);
        }
    }
};

bool isMark(hb_face_t *face, unsigned glyph)
{
    return hb_ot_layout_get_glyph_class(face, glyph) == HB_OT_LAYOUT_GLYPH_CLASS_MARK;
}

/// True when a ligature has `glyph` and, anywhere behind it, another glyph than a mark: a
/// word does not begin with a mark.
bool ligaturesJoin(hb_face_t *face, const Table &table, unsigned part, unsigned glyph)
{
    const int own = table.coverage(part + table.number16(part + 2), glyph);
    const int sets = static_cast<int>(table.number16(part + 4));
    for (int i = 0; i < sets; ++i) {
        const unsigned set = part + table.number16(part + 6 + 2 * static_cast<unsigned>(i));
        for (unsigned k = 0; k < table.number16(set) && !table.isTooLong(); ++k) {
            const unsigned ligature = set + table.number16(set + 2 + 2 * k);
            bool found = i == own;
            for (unsigned c = 1; c < table.number16(ligature + 2); ++c) {
                const unsigned component = table.number16(ligature + 2 + 2 * c);
                if (table.isTooLong() || (found && !isMark(face, component))) {
                    return true;
                }
                found = found || component == glyph;
            }
        }
    }
    return false;
}

/// Whether a lookup can join `glyph` with one behind it.
bool lookupJoins(hb_face_t *face, hb_tag_t tag, const Table &table, unsigned lookup,
                 hb_codepoint_t glyph)
{
    constexpr unsigned kPairPositions = 2, kMarkToBase = 4, kMarkToMark = 6;
    constexpr unsigned kOneOfSubstitutes = 3, kLigatures = 4;
    const bool positions = tag == HB_OT_TAG_GPOS;
    const Lookup rule(table, lookup, positions ? 9 : 7);
    if (rule.kind == 1 || (positions ? rule.kind >= kMarkToBase && rule.kind <= kMarkToMark
                                     : rule.kind <= kOneOfSubstitutes)) {
        return false; // one glyph alone, or a mark
    }
    if (rule.kind == (positions ? kPairPositions : kLigatures)) {
        return std::any_of(rule.parts.begin(), rule.parts.end(), [&](unsigned part) {
            return positions ? table.coverage(part + table.number16(part + 2), glyph) >= 0
                             : ligaturesJoin(face, table, part, glyph);
        });
    }
    hb_set_t *const glyphs = hb_set_create();
    hb_ot_layout_lookup_collect_glyphs(face, tag, lookup, glyphs, glyphs, glyphs, nullptr);
    const bool joins = hb_set_has(glyphs, glyph) || !hb_set_allocation_successful(glyphs);
    hb_set_destroy(glyphs);
    return joins;
}

bool lookupsJoin(hb_face_t *face, hb_shape_plan_t *plan, hb_tag_t tag, hb_codepoint_t glyph)
{
    const Table table(face, tag);
    hb_set_t *const lookups = hb_set_create();
    hb_ot_shape_plan_collect_lookups(plan, tag, lookups);
    bool joins = !hb_set_allocation_successful(lookups);
    hb_codepoint_t lookup = HB_SET_VALUE_INVALID;
    while (!joins && hb_set_next(lookups, &lookup)) {
        joins = lookupJoins(face, tag, table, lookup, glyph) || table.wasLong();
    }
    hb_set_destroy(lookups);
    return joins;
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

bool zkIsSpaceFree(hb_font_t *font, const hb_segment_properties_t &segment,
                   const hb_feature_t *features, unsigned featureCount)
{
    hb_face_t *const face = hb_font_get_face(font);
    hb_codepoint_t space = 0;
    if (hb_font_get_nominal_glyph(font, ' ', &space) == 0 || hb_aat_layout_has_substitution(face) ||
        hb_aat_layout_has_positioning(face) || hb_aat_layout_has_tracking(face) ||
        kernTableJoins(face, space)) {
        return false;
    }
    unsigned coordCount = 0;
    const int *const coords = hb_font_get_var_coords_normalized(font, &coordCount);
    hb_shape_plan_t *const plan = hb_shape_plan_create_cached2(
        face, &segment, features, featureCount, coords, coordCount, kZkShapers);
    const bool joins = lookupsJoin(face, plan, HB_OT_TAG_GSUB, space) ||
                       lookupsJoin(face, plan, HB_OT_TAG_GPOS, space);
    hb_shape_plan_destroy(plan);
    return !joins;
}
