#ifndef ZKHARFBUZZSHAPER_H
#define ZKHARFBUZZSHAPER_H

#include "zkshapedwords.h"
#include "zkshaper.h"

struct ZkHarfBuzzShaperData;

/// Shapes the runs of a `ZkParagraph` with HarfBuzz: every script, ligatures, marks and
/// kerning by the font's own rules, OpenType features, variable fonts.
///
///     ZkHarfBuzzShaper shaper;
///     shaper.setLanguage("tr");
///     shaper.setFeature(ZkHarfBuzzShaper::tag("smcp"), 1);
///     paragraph.setShaper(&shaper);
///
/// The font's bytes are read where the typeface has them. A text is shaped word by word,
/// and words that are known already, to any shaper of any thread, are not shaped again:
/// see `ZkShapedWords`. Fonts whose rules look across spaces are shaped run by run.
///
/// Advances and offsets are those of the font's design, in 1/64 pixel, not rounded to
/// pixels one by one; metrics of vertical text are not used. Typefaces without OpenType
/// tables (Type 1, bitmaps) are left to `ZkSimpleShaper`, and so is a run that HarfBuzz
/// has no memory for or gives up on, which it does with fonts whose rules take too long.
///
/// An object belongs to one thread; it must outlive the layouts that use it.
class ZK_EXPORT ZkHarfBuzzShaper : public ZkShaper
{
public:
    /// With the known words of the process.
    ZkHarfBuzzShaper();
    /// With those of the caller's, which must outlive it.
    explicit ZkHarfBuzzShaper(ZkShapedWords &words);
    ~ZkHarfBuzzShaper() override;
    ZkHarfBuzzShaper(const ZkHarfBuzzShaper &) = delete;
    ZkHarfBuzzShaper &operator=(const ZkHarfBuzzShaper &) = delete;

    /// Four letters as a number: "liga", "ss01".
    static constexpr std::uint32_t tag(const char (&letters)[5])
    {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(letters[0])) << 24 |
               static_cast<std::uint32_t>(static_cast<unsigned char>(letters[1])) << 16 |
               static_cast<std::uint32_t>(static_cast<unsigned char>(letters[2])) << 8 |
               static_cast<std::uint32_t>(static_cast<unsigned char>(letters[3]));
    }

    /// The language that a font may have letters of its own for, as a BCP 47 tag: "sr",
    /// "ur", "zh-Hant". Null or empty is none, as at first.
    void setLanguage(const char *language);

    /// Switches a feature of OpenType off (0), on (1) or to one of several forms, for the
    /// whole text. What is set later counts for more.
    void setFeature(std::uint32_t feature, unsigned value);
    /// The same for units `[first, last)` of the text. Nothing for an empty range. Runs
    /// with such units are shaped each time a layout is new, not from known words.
    void setFeature(std::uint32_t feature, unsigned value, int first, int last);
    void clearFeatures();

    void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override;

    /// Another one after each call that sets language or features.
    std::uint32_t serial() const override;

private:
    ZkHarfBuzzShaperData *d; // null without memory: the built-in shaper does all
};

#endif
