#ifndef ZKSHAPESTYLES_H
#define ZKSHAPESTYLES_H

#include "zkspacerules.h"
#include "zktypeface.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <vector>

#include <hb.h>

/// What words are shaped alike with. Features count in their order; they are those of
/// the whole text, whatever range they tell.
struct ZkShapeStyleKey {
    std::uint32_t typeface; ///< `ZkTypeface::id`
    int pixelSize;
    hb_script_t script;
    hb_direction_t direction;
    hb_language_t language;
    const std::vector<hb_feature_t> *features;
};

/// A typeface as HarfBuzz knows it. Not changed once it is made.
struct ZkShapeFace {
    ZkTypeface typeface; // keeps the bytes that `face` reads
    hb_face_t *face;     // null when it has no OpenType tables
    int uses;            // styles; guarded by the lock of ZkShapeStyles
};

/// A typeface in a size with all that shaping depends on but the text. Not changed once
/// it is made, but for the last three members.
struct ZkShapeStyle {
    ZkShapeFace *face = nullptr;
    hb_font_t *font = nullptr;
    std::uint32_t typeface = 0;
    int pixelSize = 0;
    hb_segment_properties_t segment = HB_SEGMENT_PROPERTIES_DEFAULT;
    std::vector<hb_feature_t> features;

    ZkSpaceRules spaces;
    std::uint32_t circle = 0; // glyph of U+25CC, which HarfBuzz adds to marks without a letter

    /// True when words are shaped one by one, but for those that `spaces` joins. Becomes
    /// false when a text shows that the font joins others all the same.
    std::atomic<bool> isByWords{false};

    std::uint32_t words = 0; // number of its words in the table; no other style had it

    int uses = 0;            // shapers; guarded by the lock of ZkShapeStyles
    std::uint64_t asked = 0; // when it was asked for last; guarded as well
};

/// The styles and typefaces in use and a few others. Locks itself.
class ZkShapeStyles
{
public:
    explicit ZkShapeStyles(int mostIdle) : m_mostIdle(mostIdle) {}
    ~ZkShapeStyles() { forgetIdle(0); }
    ZkShapeStyles(const ZkShapeStyles &) = delete;
    ZkShapeStyles &operator=(const ZkShapeStyles &) = delete;

    /// The style of a key, in use once more: `release` it. Null for a typeface without
    /// OpenType tables, and where HarfBuzz has no memory. Throws `std::bad_alloc`, and
    /// nothing is changed, where this has none.
    ZkShapeStyle *acquire(const ZkShapeStyleKey &key, const ZkTypeface &typeface);
    void release(ZkShapeStyle *style);

    /// Drops styles that nobody uses until `most` of them are left.
    void forgetIdle(int most);

    int styleCount() const;
    int faceCount() const;

private:
    ZkShapeStyle *find(const ZkShapeStyleKey &key);
    ZkShapeFace *findFace(const ZkTypeface &typeface);
    ZkShapeStyle *add(const ZkShapeStyleKey &key, const ZkTypeface &typeface);
    void drop(ZkShapeStyle *style);
    void dropUnused(ZkShapeFace *face);
    void dropIdle(int most);

    mutable std::mutex m_lock;
    std::vector<ZkShapeStyle *> m_styles;
    std::vector<ZkShapeFace *> m_faces;
    std::uint64_t m_clock = 0;
    std::uint32_t m_lastWords = 0;
    int m_mostIdle;
};

#endif
