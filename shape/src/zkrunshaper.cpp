#include "zkrunshaper.h"

#include "zkcharacter.h"
#include "zkopentype.h"
#include "zkshapedwords.h"
#include "zktextbreaks.h"

#include <algorithm>

namespace
{

/// Unknown words are shaped together until they have so many units.
constexpr int kMostPending = 512;

bool isHighSurrogate(ZkUcs2 unit)
{
    return (unit & 0xFC00) == 0xD800;
}
bool isLowSurrogate(ZkUcs2 unit)
{
    return (unit & 0xFC00) == 0xDC00;
}

/// The character that begins at unit `i` of `[.., last)`; a lone surrogate is itself.
char32_t characterAt(const ZkUcs2 *text, int i, int last)
{
    if (isHighSurrogate(text[i]) && i + 1 < last && isLowSurrogate(text[i + 1])) {
        return 0x10000u + ((text[i] & 0x3FFu) << 10) + (text[i + 1] & 0x3FFu);
    }
    return text[i];
}

/// The character that ends before unit `i` of `[first, ..)`.
char32_t characterBefore(const ZkUcs2 *text, int i, int first)
{
    return i - 2 >= first ? (isLowSurrogate(text[i - 1]) && isHighSurrogate(text[i - 2])
                                 ? characterAt(text, i - 2, i)
                                 : text[i - 1])
                          : text[i - 1];
}

bool isMarkOrFormat(char32_t c)
{
    if (c < 0x300) {
        return c == 0xAD;
    }
    const unsigned category = zkCharacter(c).category;
    return (category >= ZkCharacter::CategoryMn && category <= ZkCharacter::CategoryMe) ||
           category == ZkCharacter::CategoryCf;
}

std::int16_t cutTo16(int value)
{
    return static_cast<std::int16_t>(std::clamp(value, -0x7FFF, 0x7FFF));
}

/// True when a character outside of a run can change its neighbour inside.
bool reachesOver(char32_t c)
{
    return isMarkOrFormat(c) || (c >= 0x300 && zkCharacter(c).joining != ZkCharacter::JoiningNone);
}

} // namespace

ZkRunShaper::ZkRunShaper(ZkShapedWordsData *shared) : m_shared(shared), m_buffer(hb_buffer_create())
{
    if (shared != nullptr) {
        m_lock = std::unique_lock<std::mutex>(shared->lock, std::defer_lock);
    }
}

bool ZkRunShaper::shape(ZkShapeStyle &style, const ZkShapeRun &run,
                        const std::vector<hb_feature_t> &ranged, ZkShapedGlyphs *glyphs)
{
    m_glyphs = glyphs;
    const int before = glyphs->size();
    bool shaped = false;
    if (m_shared == nullptr || !ranged.empty()) {
        shaped = shapeDirectly(style, run, run.first, run.last, ranged);
    } else {
        const bool byWords = style.isByWords.load(std::memory_order_relaxed);
        Outcome outcome = shapeByWords(style, run, byWords);
        if (outcome == Joined || outcome == Broken) {
            if (outcome == Joined) { // the font joins words after all
                style.isByWords.store(false, std::memory_order_relaxed);
            }
            glyphs->truncate(before);
            outcome = shapeByWords(style, run, false);
        }
        shaped = outcome == Shaped;
    }
    if (!shaped) {
        glyphs->truncate(before);
    }
    return shaped;
}

ZkRunShaper::Piece ZkRunShaper::nextPiece(const ZkShapeRun &run, int first, bool byWords)
{
    int last = run.last;
    for (int i = first; byWords && i + 1 < run.last; ++i) {
        if (run.text[i] == ' ' && !isMarkOrFormat(characterAt(run.text, i + 1, run.last))) {
            last = i + 1;
            break;
        }
    }
    bool kept = last - first <= ZkShapedWords::kMostUnits;
    if (first == run.first) {
        kept = kept && !isMarkOrFormat(characterAt(run.text, first, last)) &&
               (first == run.contextFirst ||
                !reachesOver(characterBefore(run.text, first, run.contextFirst)));
    }
    if (last == run.last && last < run.contextLast) {
        kept = kept && !reachesOver(characterAt(run.text, last, run.contextLast));
    }
    return {first, last, kept};
}

/// Appends a word that is known; false when it is not. No word waits.
bool ZkRunShaper::appendKnown(const ZkShapeStyle &style, const ZkShapeRun &run, const Piece &piece)
{
    const ZkWordKey key(run.text + piece.first, piece.last - piece.first, style.words);
    const ZkKnownWord *const word = lockedWords().find(key);
    if (word == nullptr) {
        ++m_shared->misses;
        return false;
    }
    ++m_shared->hits;
    ZkShapedGlyph *const glyphs = m_glyphs->extend(word->glyphCount);
    for (int i = 0; i < word->glyphCount; ++i) {
        glyphs[i] = word->glyphs()[i];
        glyphs[i].cluster += piece.first;
    }
    return true;
}

/// The words that are known, with the lock held. It is let go from time to time, for
/// others wait.
ZkWordTable &ZkRunShaper::lockedWords()
{
    constexpr int kMostInOneLock = 64;
    if (++m_inOneLock > kMostInOneLock && m_lock.owns_lock()) {
        unlock();
    }
    if (!m_lock.owns_lock()) {
        m_lock.lock();
        m_inOneLock = 0;
    }
    return m_shared->words;
}

void ZkRunShaper::unlock()
{
    if (m_lock.owns_lock()) {
        m_lock.unlock();
    }
}

ZkRunShaper::Outcome ZkRunShaper::shapeByWords(const ZkShapeStyle &style, const ZkShapeRun &run,
                                               bool byWords)
{
    m_pending.clear();
    m_runGlyph = m_glyphs->size();
    m_group.glyph = -1;
    for (int at = run.first; at < run.last;) {
        Piece piece = nextPiece(run, at, byWords);
        at = piece.last;
        if (piece.isKept) {
            // Those that wait come first.
            const bool waits = !m_pending.empty();
            if (waits && isKnown(style, run, piece)) {
                const Outcome outcome = flush(style, run);
                if (outcome != Shaped) {
                    return outcome;
                }
            }
            const int glyph = m_glyphs->size();
            if (m_pending.empty() && appendKnown(style, run, piece)) {
                if (m_group.glyph < 0 || !areJoined(style, run, piece.first, glyph)) {
                    m_group = {piece.first, glyph};
                    continue;
                }
                piece.isKept = false;
                m_pending.push_back({m_group.first, piece.first, false});
                takeGroupBack();
            }
        }
        m_pending.push_back(piece);
        if (at - m_pending.front().first >= kMostPending) {
            const Outcome outcome = flush(style, run);
            if (outcome != Shaped) {
                return outcome;
            }
        }
    }
    return flush(style, run);
}

bool ZkRunShaper::isKnown(const ZkShapeStyle &style, const ZkShapeRun &run, const Piece &piece)
{
    const ZkWordKey key(run.text + piece.first, piece.last - piece.first, style.words);
    const bool known = lockedWords().find(key) != nullptr;
    m_shared->misses += known ? 0 : 1;
    return known;
}

/// Shapes the words that wait, as one, and keeps them.
ZkRunShaper::Outcome ZkRunShaper::flush(const ZkShapeStyle &style, const ZkShapeRun &run)
{
    unlock();
    if (m_pending.empty()) {
        return Shaped;
    }
    int glyph = 0;
    for (;;) {
        glyph = m_glyphs->size();
        if (!shapeDirectly(style, run, m_pending.front().first, m_pending.back().last, {})) {
            return Failed;
        }
        if (m_group.glyph < 0 || !areJoined(style, run, m_pending.front().first, glyph)) {
            break;
        }
        m_pending.insert(m_pending.begin(), {m_group.first, m_pending.front().first, false});
        takeGroupBack();
    }
    const bool keeps = !hasCircle(style, run, glyph);
    if (!keeps && (m_pending.front().first > run.first || m_pending.back().last < run.last)) {
        return Broken;
    }
    if (!findStarts(style, run, glyph)) {
        return Joined;
    }
    m_starts.push_back(m_glyphs->size());
    for (std::size_t i = 0; i < m_pending.size(); ++i) {
        if (keeps && m_pending[i].isKept) {
            keep(style, run, m_pending[i], m_starts[i], m_starts[i + 1]);
        }
    }
    unlock();
    m_pending.clear();
    return Shaped;
}

/// True when HarfBuzz has added a circle to a mark without a letter, from `glyph` on. To
/// which marks of a text it does so depends on how many syllables are between them, so
/// such text is shaped at once.
bool ZkRunShaper::hasCircle(const ZkShapeStyle &style, const ZkShapeRun &run, int glyph) const
{
    constexpr ZkUcs2 kDottedCircle = 0x25CC;
    for (int i = glyph; style.circle != 0 && i < m_glyphs->size(); ++i) {
        const ZkShapedGlyph &shaped = (*m_glyphs)[i];
        if (shaped.index == style.circle && run.text[shaped.cluster] != kDottedCircle) {
            return true;
        }
    }
    return false;
}

/// Finds where the glyphs of the words that were shaped as one begin, from `glyph` on.
/// Words that are joined are not kept. False when there are some that no rule tells of.
bool ZkRunShaper::findStarts(const ZkShapeStyle &style, const ZkShapeRun &run, int glyph)
{
    m_starts.clear();
    m_group = {m_pending.front().first, glyph};
    m_starts.push_back(glyph);
    for (std::size_t i = 1; i < m_pending.size(); ++i) {
        Piece &piece = m_pending[i];
        while (glyph < m_glyphs->size() && (*m_glyphs)[glyph].cluster < piece.first) {
            ++glyph;
        }
        if (glyph == m_glyphs->size() || (*m_glyphs)[glyph].cluster != piece.first) {
            return false;
        }
        if (((*m_glyphs)[glyph].flags & ZkShapedGlyph::UnsafeToBreak) == 0) {
            m_group = {piece.first, glyph};
        } else if (areJoined(style, run, piece.first, glyph)) {
            piece.isKept = m_pending[i - 1].isKept = false;
        } else {
            return false;
        }
        m_starts.push_back(glyph);
    }
    return true;
}

/// True when the font may join the word that begins at `first`, with `glyph`, with the
/// glyphs before it.
bool ZkRunShaper::areJoined(const ZkShapeStyle &style, const ZkShapeRun &run, int first,
                            int glyph) const
{
    if (style.spaces.isEmpty()) {
        return false;
    }
    // What shows nothing has the glyph of a space.
    const std::uint32_t space = style.spaces.space();
    std::uint32_t before = ZkSpaceRules::kNothing, behind = (*m_glyphs)[glyph].index;
    const bool showsNothing = ((*m_glyphs)[glyph].flags & ZkShapedGlyph::Invisible) != 0;
    if (showsNothing || (behind == space && run.text[first] != ' ')) {
        behind = ZkSpaceRules::kHidden;
    }
    if (glyph - 2 >= m_runGlyph) {
        before = (*m_glyphs)[glyph - 2].index;
        if (before == space && run.text[first - 2] != ' ') {
            before = ZkSpaceRules::kHidden;
        }
    }
    return style.spaces.join(before, behind);
}

/// Removes the last words, to be shaped again with those that follow.
void ZkRunShaper::takeGroupBack()
{
    m_glyphs->truncate(m_group.glyph);
    m_group.glyph = -1;
}

/// Adds a word to those that are known, unless another thread, or the same text, has.
void ZkRunShaper::keep(const ZkShapeStyle &style, const ZkShapeRun &run, const Piece &piece,
                       int first, int last)
{
    m_word.assign(&(*m_glyphs)[first], &(*m_glyphs)[first] + (last - first));
    for (ZkShapedGlyph &glyph : m_word) {
        glyph.cluster -= piece.first;
    }
    const ZkWordKey key(run.text + piece.first, piece.last - piece.first, style.words);
    ZkWordTable &words = lockedWords();
    if (words.find(key) == nullptr) {
        words.add(key, m_word.data(), static_cast<int>(m_word.size()));
    }
}

/// Shapes units `[first, last)` of the run and appends their glyphs. `ranged` features
/// come after the style's own.
bool ZkRunShaper::shapeDirectly(const ZkShapeStyle &style, const ZkShapeRun &run, int first,
                                int last, const std::vector<hb_feature_t> &ranged)
{
    // HarfBuzz counts from the start of what it is given.
    const int origin = run.contextFirst;
    m_features = style.features;
    for (hb_feature_t feature : ranged) {
        const unsigned skipped = static_cast<unsigned>(origin);
        feature.start = feature.start > skipped ? feature.start - skipped : 0;
        feature.end = feature.end > skipped ? feature.end - skipped : 0;
        m_features.push_back(feature);
    }
    hb_buffer_clear_contents(m_buffer);
    hb_buffer_set_segment_properties(m_buffer, &style.segment);
    hb_buffer_set_flags(m_buffer, static_cast<hb_buffer_flags_t>(
                                      (first == run.contextFirst ? HB_BUFFER_FLAG_BOT : 0) |
                                      (last == run.contextLast ? HB_BUFFER_FLAG_EOT : 0)));
    hb_buffer_add_utf16(m_buffer, run.text + origin, run.contextLast - origin,
                        static_cast<unsigned>(first - origin), last - first);
    return hb_shape_full(style.font, m_buffer, m_features.data(),
                         static_cast<unsigned>(m_features.size()), kZkShapers) != 0 &&
           appendShaped(style, run, first, last);
}

/// Appends what HarfBuzz has shaped, which it has from left to right.
bool ZkRunShaper::appendShaped(const ZkShapeStyle &style, const ZkShapeRun &run, int first,
                               int last)
{
    const int origin = run.contextFirst;
    unsigned count = 0;
    const hb_glyph_info_t *const infos = hb_buffer_get_glyph_infos(m_buffer, &count);
    const hb_glyph_position_t *const places = hb_buffer_get_glyph_positions(m_buffer, &count);
    if (hb_buffer_allocation_successful(m_buffer) == 0 ||
        hb_buffer_get_content_type(m_buffer) != HB_BUFFER_CONTENT_TYPE_GLYPHS) {
        return false;
    }
    const bool backward = HB_DIRECTION_IS_BACKWARD(style.segment.direction);
    const unsigned start = backward ? count - 1 : 0;
    if (count == 0 || static_cast<int>(infos[start].cluster) + origin != first) {
        // What comes first shows nothing, in a font without a space for it.
        ZkShapedGlyph *const nothing = m_glyphs->extend(1);
        *nothing = {};
        nothing->flags = ZkShapedGlyph::Invisible;
        nothing->cluster = first;
    }
    int previous = first;
    ZkShapedGlyph *glyph = m_glyphs->extend(static_cast<int>(count));
    for (unsigned i = 0; i < count; ++i, ++glyph) {
        const unsigned k = backward ? count - 1 - i : i;
        int cluster = static_cast<int>(infos[k].cluster) + origin;
        if (cluster < previous || cluster >= last) {
            return false; // out of order: it has given up in the middle
        }
        // A non-joiner is a cluster of its own to HarfBuzz.
        while (cluster > previous && (run.breaks[cluster] & ZkTextBreaks::Grapheme) == 0) {
            --cluster;
        }
        previous = cluster;
        const bool unsafe =
            (hb_glyph_info_get_glyph_flags(infos + k) & HB_GLYPH_FLAG_UNSAFE_TO_BREAK) != 0;
        glyph->index = infos[k].codepoint & 0xFFFFFFu;
        glyph->flags = unsafe ? ZkShapedGlyph::UnsafeToBreak : 0u;
        glyph->advance = std::max(places[k].x_advance, 0);
        glyph->x = cutTo16(places[k].x_offset);
        glyph->y = cutTo16(-places[k].y_offset);
        glyph->cluster = cluster;
    }
    return true;
}
