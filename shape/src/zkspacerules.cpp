#include "zkspacerules.h"

#include "zkopentype.h"
#include "zktablereader.h"

#include <algorithm>

#include <hb-aat.h>
#include <hb-ot.h>

namespace
{

/// A font that has more of them joins everything.
constexpr std::size_t kMostRules = 64;

/// True when the old `kern` table has a pair that begins with `glyph`, or is not a plain
/// list of pairs.
bool kernTableJoins(hb_face_t *face, hb_codepoint_t glyph)
{
    constexpr unsigned kHead = 4, kPartHead = 14, kPair = 6;
    const ZkTableReader table(face, HB_TAG('k', 'e', 'r', 'n'));
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
    bool skipsGlyphs;
    std::vector<unsigned> parts;

    Lookup(const ZkTableReader &table, unsigned number, unsigned extendedKind)
    {
        const unsigned list = table.number16(8);
        const unsigned at = list + table.number16(list + 2 + 2 * number);
        kind = table.number16(at);
        skipsGlyphs = (table.number16(at + 2) & ~1u) != 0;
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
bool ligaturesJoin(hb_face_t *face, const ZkTableReader &table, unsigned part, unsigned glyph)
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

/// True when a lookup that looks at what stands around mentions the glyph.
bool mentions(hb_face_t *face, hb_tag_t tag, unsigned lookup, hb_codepoint_t glyph)
{
    hb_set_t *const glyphs = hb_set_create();
    hb_ot_layout_lookup_collect_glyphs(face, tag, lookup, glyphs, glyphs, glyphs, nullptr);
    const bool found = hb_set_has(glyphs, glyph) || !hb_set_allocation_successful(glyphs);
    hb_set_destroy(glyphs);
    return found;
}

/// Reads the contexts of one part of a lookup of positions: sequences of glyphs, classes or
/// sets, in the order of the text. Those with a space become rules.
class ContextReader
{
public:
    ContextReader(const ZkTableReader &table, unsigned part, bool isChain, unsigned space,
                  std::vector<ZkSpaceRules::Rule> *rules)
        : m_table(table), m_part(part), m_isChain(isChain), m_space(space), m_rules(*rules)
    {
    }

    /// False when they cannot be listed.
    bool read();

private:
    /// What one glyph of a sequence must be.
    struct Place {
        enum Kind { Glyph, Class, Covered } kind;
        unsigned at; // of the table of classes, or of covered glyphs
        unsigned value;
        bool hasSpace;
    };
    /// What the numbers of a sequence mean.
    struct Classes {
        unsigned at = 0; // 0: they are glyphs
        unsigned ofSpace = 0;
    };

    Classes classesAt(unsigned at) const;
    Place placeOf(const Classes &classes, unsigned value) const;
    bool readSets();
    bool readRule(unsigned rule, const Place &first);
    bool readCoverages();
    unsigned addNumbers(unsigned at, unsigned count, const Classes &classes);
    unsigned addCoverages(unsigned at, unsigned count);
    bool addSequence();
    hb_set_t *glyphsOf(const Place &place) const;

    const ZkTableReader &m_table;
    unsigned m_part;
    bool m_isChain;
    unsigned m_space;
    std::vector<ZkSpaceRules::Rule> &m_rules;
    Classes m_before, m_input, m_behind;
    std::vector<Place> m_sequence;
};

bool ContextReader::read()
{
    const unsigned format = m_table.number16(m_part);
    if (format == 2) {
        m_before = classesAt(m_part + m_table.number16(m_part + 4));
        m_input = m_behind = m_before;
        if (m_isChain) {
            m_input = classesAt(m_part + m_table.number16(m_part + 6));
            m_behind = classesAt(m_part + m_table.number16(m_part + 8));
        }
    }
    return format == 3 ? readCoverages() : readSets();
}

ContextReader::Classes ContextReader::classesAt(unsigned at) const
{
    Classes classes;
    classes.at = at;
    classes.ofSpace = m_table.classOf(at, m_space);
    return classes;
}

ContextReader::Place ContextReader::placeOf(const Classes &classes, unsigned value) const
{
    if (classes.at == 0) {
        return {Place::Glyph, 0, value, value == m_space};
    }
    return {Place::Class, classes.at, value, value == classes.ofSpace};
}

// Formats 1 and 2: a set of rules for each first glyph, or for each class of one.
bool ContextReader::readSets()
{
    const unsigned format = m_table.number16(m_part);
    const unsigned head = format == 1 ? 4 : m_isChain ? 10 : 6;
    const unsigned coverage = m_part + m_table.number16(m_part + 2);
    const bool coversSpace = m_table.coverage(coverage, m_space) >= 0;
    const unsigned sets = m_table.number16(m_part + head);
    for (unsigned i = 0; i < sets && !m_table.isTooLong(); ++i) {
        const unsigned offset = m_table.number16(m_part + head + 2 + 2 * i);
        const unsigned set = m_part + offset;
        Place first = {Place::Covered, coverage, 0, coversSpace};
        if (format == 2) {
            first = placeOf(m_input, i);
            first.hasSpace = first.hasSpace && coversSpace;
        }
        for (unsigned k = 0; offset != 0 && k < m_table.number16(set); ++k) {
            if (m_table.isTooLong() || !readRule(set + m_table.number16(set + 2 + 2 * k), first)) {
                return false;
            }
        }
    }
    return true;
}

bool ContextReader::readRule(unsigned rule, const Place &first)
{
    m_sequence.clear();
    if (!m_isChain) {
        m_sequence.push_back(first);
        const unsigned count = m_table.number16(rule);
        addNumbers(rule + 4, count == 0 ? 0 : count - 1, m_input);
        return addSequence();
    }
    unsigned at = addNumbers(rule + 2, m_table.number16(rule), m_before);
    std::reverse(m_sequence.begin(), m_sequence.end()); // the nearest comes first in the font
    m_sequence.push_back(first);
    const unsigned count = m_table.number16(at);
    at = addNumbers(at + 2, count == 0 ? 0 : count - 1, m_input);
    addNumbers(at + 2, m_table.number16(at), m_behind);
    return addSequence();
}

// Format 3: one sequence.
bool ContextReader::readCoverages()
{
    if (!m_isChain) {
        addCoverages(m_part + 6, m_table.number16(m_part + 2));
        return addSequence();
    }
    unsigned at = addCoverages(m_part + 4, m_table.number16(m_part + 2));
    std::reverse(m_sequence.begin(), m_sequence.end());
    at = addCoverages(at + 2, m_table.number16(at));
    addCoverages(at + 2, m_table.number16(at));
    return addSequence();
}

// The offset behind the numbers.
unsigned ContextReader::addNumbers(unsigned at, unsigned count, const Classes &classes)
{
    for (unsigned i = 0; i < count && !m_table.isTooLong(); ++i) {
        m_sequence.push_back(placeOf(classes, m_table.number16(at + 2 * i)));
    }
    return at + 2 * count;
}

unsigned ContextReader::addCoverages(unsigned at, unsigned count)
{
    for (unsigned i = 0; i < count && !m_table.isTooLong(); ++i) {
        const unsigned coverage = m_part + m_table.number16(at + 2 * i);
        m_sequence.push_back(
            {Place::Covered, coverage, 0, m_table.coverage(coverage, m_space) >= 0});
    }
    return at + 2 * count;
}

// The glyphs of a place; null for those that no class has.
hb_set_t *ContextReader::glyphsOf(const Place &place) const
{
    if (place.kind == Place::Class && place.value == 0) {
        return nullptr;
    }
    hb_set_t *const glyphs = hb_set_create();
    switch (place.kind) {
    case Place::Glyph: hb_set_add(glyphs, place.value); break;
    case Place::Class: m_table.addClass(place.at, place.value, glyphs); break;
    case Place::Covered: m_table.addCovered(place.at, glyphs); break;
    }
    return glyphs;
}

// False when there are too many rules.
bool ContextReader::addSequence()
{
    for (std::size_t i = 0; i + 1 < m_sequence.size(); ++i) {
        if (!m_sequence[i].hasSpace) {
            continue;
        }
        if (m_rules.size() == kMostRules) {
            return false;
        }
        m_rules.push_back({nullptr, nullptr, i == 0});
        m_rules.back().behind = glyphsOf(m_sequence[i + 1]);
        m_rules.back().before = i == 0 ? nullptr : glyphsOf(m_sequence[i - 1]);
    }
    return true;
}

/// Looks through the lookups of a font.
class LookupReader
{
public:
    LookupReader(hb_face_t *face, hb_tag_t tag, hb_codepoint_t space,
                 std::vector<ZkSpaceRules::Rule> *rules)
        : m_face(face), m_tag(tag), m_space(space), m_table(face, tag), m_rules(*rules)
    {
    }

    /// False when they may join anything with a space.
    bool read(hb_shape_plan_t *plan);

private:
    bool readSubstitution(const Lookup &rule, unsigned lookup);
    bool readPosition(const Lookup &rule, unsigned lookup);
    bool isCovered(unsigned part) const
    {
        return m_table.coverage(part + m_table.number16(part + 2), m_space) >= 0;
    }

    hb_face_t *m_face;
    hb_tag_t m_tag;
    hb_codepoint_t m_space;
    ZkTableReader m_table;
    std::vector<ZkSpaceRules::Rule> &m_rules;
};

bool LookupReader::readSubstitution(const Lookup &rule, unsigned lookup)
{
    constexpr unsigned kOneOfSubstitutes = 3, kLigatures = 4;
    if (rule.kind > kLigatures) {
        return !mentions(m_face, m_tag, lookup, m_space);
    }
    return std::none_of(rule.parts.begin(), rule.parts.end(), [&](unsigned part) {
        // Another glyph for a space would not be known as one.
        return rule.kind <= kOneOfSubstitutes ? isCovered(part)
                                              : ligaturesJoin(m_face, m_table, part, m_space);
    });
}

bool LookupReader::readPosition(const Lookup &rule, unsigned lookup)
{
    constexpr unsigned kOne = 1, kPairs = 2, kMarkToBase = 4, kMarkToMark = 6;
    constexpr unsigned kContext = 7, kChain = 8;
    if (rule.kind == kOne || (rule.kind >= kMarkToBase && rule.kind <= kMarkToMark)) {
        return true; // one glyph alone, or a mark
    }
    if (rule.kind == kPairs) {
        return std::none_of(rule.parts.begin(), rule.parts.end(),
                            [&](unsigned part) { return isCovered(part); });
    }
    if (rule.skipsGlyphs || (rule.kind != kContext && rule.kind != kChain)) {
        return !mentions(m_face, m_tag, lookup, m_space);
    }
    return std::all_of(rule.parts.begin(), rule.parts.end(), [&](unsigned part) {
        return ContextReader(m_table, part, rule.kind == kChain, m_space, &m_rules).read();
    });
}

bool LookupReader::read(hb_shape_plan_t *plan)
{
    const bool positions = m_tag == HB_OT_TAG_GPOS;
    hb_set_t *const lookups = hb_set_create();
    hb_ot_shape_plan_collect_lookups(plan, m_tag, lookups);
    bool listed = hb_set_allocation_successful(lookups) != 0;
    hb_codepoint_t lookup = HB_SET_VALUE_INVALID;
    while (listed && hb_set_next(lookups, &lookup)) {
        const Lookup rule(m_table, lookup, positions ? 9 : 7);
        listed = (positions ? readPosition(rule, lookup) : readSubstitution(rule, lookup)) &&
                 !m_table.wasLong();
    }
    hb_set_destroy(lookups);
    return listed;
}

bool isWhole(const hb_set_t *glyphs)
{
    return glyphs == nullptr || hb_set_allocation_successful(glyphs) != 0;
}

bool has(const hb_set_t *glyphs, std::uint32_t glyph)
{
    return glyphs == nullptr || hb_set_has(glyphs, glyph) != 0;
}

/// True for text that HarfBuzz shapes as it stands. Other text, such as numbers between
/// Arabic letters, it turns round, but not what it is told to stand beside it.
bool isNative(const hb_segment_properties_t &segment)
{
    return hb_script_get_horizontal_direction(segment.script) == segment.direction;
}

} // namespace

ZkSpaceRules::~ZkSpaceRules()
{
    for (const Rule &rule : m_rules) {
        hb_set_destroy(rule.before);
        hb_set_destroy(rule.behind);
    }
}

void ZkSpaceRules::read(hb_font_t *font, const hb_segment_properties_t &segment,
                        const hb_feature_t *features, unsigned featureCount)
{
    hb_face_t *const face = hb_font_get_face(font);
    m_joinAll = true;
    if (!isNative(segment) || hb_font_get_nominal_glyph(font, ' ', &m_space) == 0 ||
        hb_aat_layout_has_substitution(face) || hb_aat_layout_has_positioning(face) ||
        hb_aat_layout_has_tracking(face) || kernTableJoins(face, m_space)) {
        return;
    }
    unsigned coordCount = 0;
    const int *const coords = hb_font_get_var_coords_normalized(font, &coordCount);
    hb_shape_plan_t *const plan = hb_shape_plan_create_cached2(
        face, &segment, features, featureCount, coords, coordCount, kZkShapers);
    m_joinAll = !LookupReader(face, HB_OT_TAG_GSUB, m_space, &m_rules).read(plan) ||
                !LookupReader(face, HB_OT_TAG_GPOS, m_space, &m_rules).read(plan) ||
                std::any_of(m_rules.begin(), m_rules.end(), [](const Rule &rule) {
                    return !isWhole(rule.before) || !isWhole(rule.behind);
                });
    hb_shape_plan_destroy(plan);
}

bool ZkSpaceRules::join(std::uint32_t before, std::uint32_t behind) const
{
    return m_joinAll || std::any_of(m_rules.begin(), m_rules.end(), [&](const Rule &rule) {
               const bool fits = before == kHidden || rule.isAtStart ||
                                 (before != kNothing && has(rule.before, before));
               return fits && (behind == kHidden || has(rule.behind, behind));
           });
}
