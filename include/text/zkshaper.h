#ifndef ZKSHAPER_H
#define ZKSHAPER_H

#include "zkfont.h"
#include "zktypeface.h"

#include <cstddef>
#include <cstdint>

class ZkGlyphHolder;
class ZkTextCharacters;

/// One glyph of a shaped run: 16 bytes. Lengths are in 1/64 pixel.
struct ZkShapedGlyph {
    enum Flag : unsigned {
        /// A line that ends before this glyph's cluster must have the text around the end
        /// shaped again: the letters on both sides depend on each other.
        UnsafeToBreak = 1,
        /// Nothing is drawn; the glyph index means nothing. For characters that show
        /// nothing and for those whose room the layout decides, such as tabs.
        Invisible = 2,
    };

    std::uint32_t index : 24; ///< of the glyph in the typeface
    std::uint32_t flags : 8;  ///< of `Flag`
    std::int32_t advance;     ///< the room it takes, 0 or more
    std::int16_t x;           ///< moves the drawn glyph right
    std::int16_t y;           ///< moves the drawn glyph down
    std::int32_t cluster;     ///< first unit of the text that it stands for
};
static_assert(sizeof(ZkShapedGlyph) == 16, "a shaped glyph is 16 bytes on every platform");

/// Glyphs that a shaper appends. They stand in the order of the text, in right-to-left
/// runs too: clusters never descend, and every cluster of the run has a glyph or belongs
/// to the glyphs before it, as the second half of a ligature does. The first glyph of a
/// run has the cluster of its first unit. Clusters that are told otherwise are moved into
/// that order.
///
/// Glyphs are drawn with a pen. From left to right each stands at pen + x and then the
/// pen moves right by its advance; in a right-to-left run the pen first moves left by the
/// advance and the glyph then stands at pen + x. A mark has no advance of its own.
class ZK_EXPORT ZkShapedGlyphs
{
public:
    ZkShapedGlyphs() = default;
    ~ZkShapedGlyphs();
    ZkShapedGlyphs(const ZkShapedGlyphs &) = delete;
    ZkShapedGlyphs &operator=(const ZkShapedGlyphs &) = delete;

    int size() const { return m_size; }
    ZkShapedGlyph &operator[](int i) { return m_glyphs[i]; }
    const ZkShapedGlyph &operator[](int i) const { return m_glyphs[i]; }

    /// Adds `count` glyphs for the caller to write; the first of them. Valid until the
    /// next call.
    ZkShapedGlyph *extend(int count)
    {
        if (count > m_capacity - m_size) {
            grow(count);
        }
        m_size += count;
        return m_glyphs + m_size - count;
    }
    /// Keeps the first `size` glyphs, and all memory.
    void truncate(int size) { m_size = size; }
    std::size_t memoryBytes() const
    {
        return static_cast<std::size_t>(m_capacity) * sizeof(ZkShapedGlyph);
    }

private:
    void grow(int count);

    ZkShapedGlyph *m_glyphs = nullptr;
    int m_size = 0, m_capacity = 0;
};

/// What is shaped at once: units `[first, last)` of a text in one typeface, size, style,
/// script and direction. It never cuts a grapheme cluster. Pointers are the caller's and
/// good for the call.
struct ZkShapeRun {
    const ZkUcs2 *text; ///< the whole text, from its unit 0
    int first, last;    ///< to shape
    int contextFirst;   ///< units before `first` and from `last` on that may be looked
    int contextLast;    ///< at, for letters that join; no others
    const ZkTypeface *face;
    ZkFont font; ///< size and style; letters are as wide as its glyphs
    int script;  ///< a `ZkCharacter::Script`; `ScriptCommon` when not asked for
    bool isRightToLeft;
    bool isKerned; ///< pairs of letters are to be kerned
    bool isSpaced; ///< there is letter spacing: no ligatures that could be left out
    int tag;       ///< of the span
    const ZkTextCharacters *characters; ///< of the whole text
    const std::uint8_t *breaks;         ///< `ZkTextBreaks::flags()` of the whole text
    ZkGlyphHolder *holder;              ///< where the layout keeps its glyphs: ask it for records
};

/// Turns characters into glyphs and their places: the stage of layout between analysis and
/// lines. A host derives from it to shape scripts that the built-in one does not.
///
/// One shaper may serve several layouts of several threads if its `shape` allows that.
class ZK_EXPORT ZkShaper
{
public:
    virtual ~ZkShaper();

    /// Appends the glyphs of a run to `glyphs`, which may hold some already.
    virtual void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) = 0;

    /// Whether runs must be of one script each. True unless overridden.
    virtual bool needsScripts() const;

    /// A number that differs when the same run would come out differently: layouts then
    /// shape anew. 0 unless overridden.
    virtual std::uint32_t serial() const;
};

/// The built-in shaper, for scripts whose letters stand side by side. Takes each
/// character as its own glyph, but
///
/// - joins Arabic letters (Persian, Urdu, Kurdish, Pashto and others too) through the
///   presentation forms that the typeface has; lam and alef become one glyph;
/// - sets marks over or under their letter by ink: of the Arabic, Hebrew, Thai, Lao, Latin,
///   Greek and Cyrillic scripts;
/// - takes the composed character (normalisation form C) where the typeface has it;
/// - takes the mirror image of brackets and the like in right-to-left runs;
/// - kerns by the typeface's `kern` table.
///
/// Advances and offsets are whole pixels, those of the rendered glyphs. Has no state:
/// any number of threads may use one.
class ZK_EXPORT ZkSimpleShaper : public ZkShaper
{
public:
    void shape(const ZkShapeRun &run, ZkShapedGlyphs *glyphs) override;
    bool needsScripts() const override;
};

#endif
