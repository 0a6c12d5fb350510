#include "zkharfbuzzshaper.h"

#include "zkrunshaper.h"
#include "zkscripttags.h"

#include <new>

namespace
{

/// What a style is found by in a shaper whose language and features have not changed.
struct Asked {
    std::uint32_t typeface;
    int pixelSize;
    int script;
    bool isRightToLeft;
    bool isKerned;
    bool isSpaced;

    bool operator==(const Asked &other) const
    {
        return typeface == other.typeface && pixelSize == other.pixelSize &&
               script == other.script && isRightToLeft == other.isRightToLeft &&
               isKerned == other.isKerned && isSpaced == other.isSpaced;
    }
};

struct StyleInUse {
    Asked asked;
    ZkShapeStyle *style;
};

/// A shaper keeps so many styles in use; another one takes the place of the first.
constexpr std::size_t kMostInUse = 16;

constexpr hb_feature_t everywhere(std::uint32_t tag, unsigned value)
{
    return {tag, value, HB_FEATURE_GLOBAL_START, HB_FEATURE_GLOBAL_END};
}

} // namespace

struct ZkHarfBuzzShaperData {
    ZkShapedWordsData *words; // null without memory
    ZkRunShaper shaper;
    hb_language_t language = HB_LANGUAGE_INVALID;
    std::vector<hb_feature_t> features; // of the whole text
    std::vector<hb_feature_t> ranged;   // of some units
    std::vector<hb_feature_t> inRun;    // those of `ranged` that touch the run
    std::vector<hb_feature_t> all;
    std::vector<StyleInUse> inUse;
    std::uint32_t serial = 1;

    explicit ZkHarfBuzzShaperData(ZkShapedWordsData *shared) : words(shared), shaper(shared) {}

    ~ZkHarfBuzzShaperData() { releaseStyles(); }

    void releaseStyles()
    {
        for (const StyleInUse &use : inUse) {
            words->styles.release(use.style);
        }
        inUse.clear();
    }

    void changed()
    {
        releaseStyles();
        ++serial;
    }

    ZkShapeStyle *styleOf(const ZkShapeRun &run);
    ZkShapeStyle *newStyle(const ZkShapeRun &run, const Asked &asked);
    bool shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs);
};

ZkShapeStyle *ZkHarfBuzzShaperData::styleOf(const ZkShapeRun &run)
{
    const Asked asked = {run.face->id(), run.face->nearestSize(run.font.fontSize()),
                         run.script,     run.isRightToLeft,
                         run.isKerned,   run.isSpaced};
    for (const StyleInUse &use : inUse) {
        if (use.asked == asked) {
            return use.style;
        }
    }
    return newStyle(run, asked);
}

ZkShapeStyle *ZkHarfBuzzShaperData::newStyle(const ZkShapeRun &run, const Asked &asked)
{
    all.clear();
    if (!run.isKerned) {
        all.push_back(everywhere(HB_TAG('k', 'e', 'r', 'n'), 0));
    }
    if (run.isSpaced) {
        all.push_back(everywhere(HB_TAG('l', 'i', 'g', 'a'), 0));
        all.push_back(everywhere(HB_TAG('c', 'l', 'i', 'g'), 0));
    }
    all.insert(all.end(), features.begin(), features.end());
    inUse.reserve(kMostInUse);
    const ZkShapeStyleKey key = {asked.typeface,
                                 asked.pixelSize,
                                 zkScriptTag(run.script),
                                 run.isRightToLeft ? HB_DIRECTION_RTL : HB_DIRECTION_LTR,
                                 language,
                                 &all};
    ZkShapeStyle *const style = words->styles.acquire(key, *run.face);
    if (style == nullptr) {
        return nullptr;
    }
    if (inUse.size() == kMostInUse) {
        words->styles.release(inUse.front().style);
        inUse.erase(inUse.begin());
    }
    inUse.push_back({asked, style});
    return style;
}

bool ZkHarfBuzzShaperData::shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs)
{
    ZkShapeStyle *const style = words == nullptr ? nullptr : styleOf(run);
    if (style == nullptr) {
        return false;
    }
    inRun.clear();
    for (const hb_feature_t &feature : ranged) {
        if (feature.start < static_cast<unsigned>(run.last) &&
            feature.end > static_cast<unsigned>(run.first)) {
            inRun.push_back(feature);
        }
    }
    return shaper.shape(*style, run, inRun, glyphs);
}

ZkHarfBuzzShaper::ZkHarfBuzzShaper() : ZkHarfBuzzShaper(ZkShapedWords::shared())
{
}

ZkHarfBuzzShaper::ZkHarfBuzzShaper(ZkShapedWords &words)
    : d(new (std::nothrow) ZkHarfBuzzShaperData(words.d))
{
}

ZkHarfBuzzShaper::~ZkHarfBuzzShaper()
{
    delete d;
}

void ZkHarfBuzzShaper::setLanguage(const char *language)
{
    if (d != nullptr) {
        d->language = language == nullptr || *language == 0 ? HB_LANGUAGE_INVALID
                                                            : hb_language_from_string(language, -1);
        d->changed();
    }
}

void ZkHarfBuzzShaper::setFeature(std::uint32_t feature, unsigned value)
{
    if (d != nullptr) {
        d->features.push_back(everywhere(feature, value));
        d->changed();
    }
}

void ZkHarfBuzzShaper::setFeature(std::uint32_t feature, unsigned value, int first, int last)
{
    if (d != nullptr && first < last && last > 0) {
        const unsigned start = static_cast<unsigned>(first < 0 ? 0 : first);
        d->ranged.push_back({feature, value, start, static_cast<unsigned>(last)});
        d->changed();
    }
}

void ZkHarfBuzzShaper::clearFeatures()
{
    if (d != nullptr) {
        d->features.clear();
        d->ranged.clear();
        d->changed();
    }
}

void ZkHarfBuzzShaper::shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs)
{
    if (run.first >= run.last) {
        return;
    }
    const int before = glyphs->size();
    bool shaped = false;
    try {
        shaped = d != nullptr && d->shape(run, glyphs);
    } catch (const std::bad_alloc &) {
        glyphs->truncate(before);
    }
    if (!shaped) {
        ZkSimpleShaper().shape(run, glyphs);
    }
}

std::uint32_t ZkHarfBuzzShaper::serial() const
{
    return d == nullptr ? 0 : d->serial;
}
