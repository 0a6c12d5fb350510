#ifndef ZKSPACERULES_H
#define ZKSPACERULES_H

#include <cstdint>
#include <vector>

#include <hb.h>

/// Which words a font joins: its rules that have a space and something behind it. Where it
/// joins none, words may be shaped one by one, each with its space.
class ZkSpaceRules
{
public:
    /// What may stand beside a space instead of a glyph: nothing at the start of the text,
    /// and a glyph that shows nothing, which some rules skip.
    static constexpr std::uint32_t kNothing = 0xFFFFFFFF, kHidden = 0xFFFFFFFE;

    ZkSpaceRules() = default;
    ~ZkSpaceRules();
    ZkSpaceRules(const ZkSpaceRules &) = delete;
    ZkSpaceRules &operator=(const ZkSpaceRules &) = delete;

    /// Reads the rules of the font that apply to such text. Throws `std::bad_alloc`.
    void read(hb_font_t *font, const hb_segment_properties_t &segment, const hb_feature_t *features,
              unsigned featureCount);

    /// True when the rules could not be read, or any word may be joined with the next. So
    /// are rules that cannot be listed: state tables of the AAT kind.
    bool joinAll() const { return m_joinAll; }

    /// The glyph of a space.
    std::uint32_t space() const { return m_space; }

    bool isEmpty() const { return m_rules.empty() && !m_joinAll; }

    /// True when a rule may join the space that stands between two glyphs with the second.
    bool join(std::uint32_t before, std::uint32_t behind) const;

    /// A rule of the font: a space between glyphs of two sets. Null is any glyph.
    struct Rule {
        hb_set_t *before;
        hb_set_t *behind;
        bool isAtStart; ///< nothing need stand before the space
    };

private:
    std::vector<Rule> m_rules;
    std::uint32_t m_space = 0;
    bool m_joinAll = true;
};

#endif
