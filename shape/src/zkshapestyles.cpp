#include "zkshapestyles.h"

#include "zkopentype.h"

#include <algorithm>
#include <memory>

namespace
{

bool sameFeatures(const std::vector<hb_feature_t> &a, const std::vector<hb_feature_t> &b)
{
    return a.size() == b.size() &&
           std::equal(a.begin(), a.end(), b.begin(), [](const auto &one, const auto &other) {
               return one.tag == other.tag && one.value == other.value;
           });
}

} // namespace

ZkShapeStyle *ZkShapeStyles::acquire(const ZkShapeStyleKey &key, const ZkTypeface &typeface)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    ZkShapeStyle *style = find(key);
    if (style == nullptr) {
        style = add(key, typeface);
        if (style == nullptr) {
            return nullptr;
        }
    }
    style->asked = ++m_clock;
    ++style->uses;
    return style;
}

void ZkShapeStyles::release(ZkShapeStyle *style)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    --style->uses;
    dropIdle(m_mostIdle);
}

void ZkShapeStyles::forgetIdle(int most)
{
    const std::lock_guard<std::mutex> guard(m_lock);
    dropIdle(most);
}

int ZkShapeStyles::styleCount() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return static_cast<int>(m_styles.size());
}

int ZkShapeStyles::faceCount() const
{
    const std::lock_guard<std::mutex> guard(m_lock);
    return static_cast<int>(m_faces.size());
}

ZkShapeStyle *ZkShapeStyles::find(const ZkShapeStyleKey &key)
{
    for (ZkShapeStyle *style : m_styles) {
        if (style->typeface == key.typeface && style->pixelSize == key.pixelSize &&
            style->segment.script == key.script && style->segment.direction == key.direction &&
            style->segment.language == key.language &&
            sameFeatures(style->features, *key.features)) {
            return style;
        }
    }
    return nullptr;
}

ZkShapeFace *ZkShapeStyles::findFace(const ZkTypeface &typeface)
{
    for (ZkShapeFace *face : m_faces) {
        if (face->typeface == typeface) {
            return face;
        }
    }
    m_faces.reserve(m_faces.size() + 1);
    std::unique_ptr<ZkShapeFace> face(new ZkShapeFace{typeface, nullptr, 0});
    face->face = zkOpenFace(typeface);
    if (face->face == nullptr) {
        return nullptr;
    }
    m_faces.push_back(face.release());
    return m_faces.back();
}

ZkShapeStyle *ZkShapeStyles::add(const ZkShapeStyleKey &key, const ZkTypeface &typeface)
{
    m_styles.reserve(m_styles.size() + 1);
    std::unique_ptr<ZkShapeStyle> style(new ZkShapeStyle);
    style->features = *key.features;
    ZkShapeFace *const face = findFace(typeface);
    if (face == nullptr) {
        return nullptr;
    }
    style->font = zkOpenFont(face->face, typeface, key.pixelSize);
    if (style->font == nullptr) {
        dropUnused(face);
        return nullptr;
    }
    style->face = face;
    ++face->uses;
    style->typeface = key.typeface;
    style->pixelSize = key.pixelSize;
    style->segment.script = key.script;
    style->segment.direction = key.direction;
    style->segment.language = key.language;
    style->spaces.read(style->font, style->segment, style->features.data(),
                       static_cast<unsigned>(style->features.size()));
    style->isByWords = !style->spaces.joinAll();
    constexpr hb_codepoint_t kDottedCircle = 0x25CC;
    hb_font_get_nominal_glyph(style->font, kDottedCircle, &style->circle);
    style->words = ++m_lastWords;
    m_styles.push_back(style.release());
    return m_styles.back();
}

void ZkShapeStyles::drop(ZkShapeStyle *style)
{
    hb_font_destroy(style->font);
    --style->face->uses;
    dropUnused(style->face);
    m_styles.erase(std::find(m_styles.begin(), m_styles.end(), style));
    delete style;
}

void ZkShapeStyles::dropUnused(ZkShapeFace *face)
{
    if (face->uses == 0) {
        hb_face_destroy(face->face);
        m_faces.erase(std::find(m_faces.begin(), m_faces.end(), face));
        delete face;
    }
}

void ZkShapeStyles::dropIdle(int most)
{
    for (;;) {
        int idle = 0;
        ZkShapeStyle *oldest = nullptr;
        for (ZkShapeStyle *style : m_styles) {
            if (style->uses == 0) {
                ++idle;
                oldest = oldest == nullptr || style->asked < oldest->asked ? style : oldest;
            }
        }
        if (idle <= most) {
            return;
        }
        drop(oldest);
    }
}
