#include "paragraph/zkparagraphdata.h"
#include "unicode/zkcharactertables.h"

#include <algorithm>
#include <cstring>

ZkShapedGlyphs::~ZkShapedGlyphs()
{
    std::free(m_glyphs);
}

void ZkShapedGlyphs::grow(int count)
{
    const std::int64_t needed = static_cast<std::int64_t>(m_size) + count;
    // no test can tell: how much more than that is asked for
    const std::int64_t capacity = needed + (m_capacity == 0 ? 0 : needed / 8);
    m_glyphs = static_cast<ZkShapedGlyph *>(
        zkReallocate(m_glyphs, capacity * static_cast<int>(sizeof(ZkShapedGlyph))));
    m_capacity = static_cast<int>(capacity);
}

namespace
{

constexpr int kMostAdvance = 16383 * 64;
// Characters of a cluster that are asked for in a font; a longer one is not a letter.
constexpr int kMostOfCluster = 16;

/// Divides a text into runs and shapes each as soon as its end is known.
class Itemiser
{
public:
    explicit Itemiser(ZkParagraphData *d)
        : m_d(*d), m_text(d->text.constData()), m_shaper(d->shaperInUse())
    {
        m_needsScripts = m_shaper.needsScripts();
    }

    /// Units `[first, last)` of one hard line.
    void itemise(int first, int last);

private:
    int faceOf(int u, int end, int previous) const;
    int scriptOf(int u) const;
    int sameUntil(int u, int last) const;
    void addRun(int first, int last, int face, int script);

    ZkParagraphData &m_d;
    const ZkUcs2 *m_text;
    ZkShaper &m_shaper;
    bool m_needsScripts;
    ZkFont m_font;
    int m_tag = 0;
    std::uint8_t m_level = 0;
};

char32_t codeAt(const ZkUcs2 *text, int u, int end, int *units)
{
    const char32_t c = text[u];
    *units = 1;
    if ((c & 0xF800) != 0xD800) {
        return c;
    }
    if (zkIsLeadSurrogate(c) && u + 1 < end && zkIsTrailSurrogate(text[u + 1])) {
        *units = 2;
        return zkPairOf(c, text[u + 1]);
    }
    return 0xFFFD;
}

// The typeface of the cluster `[u, end)`.
int Itemiser::faceOf(int u, int end, int previous) const
{
    char32_t cluster[kMostOfCluster];
    int count = 0, units = 0;
    while (u < end && count < kMostOfCluster) {
        cluster[count++] = codeAt(m_text, u, end, &units);
        u += units;
    }
    if (count == 1 && previous == 0 && m_d.faces.at(0).hasGlyph(cluster[0])) {
        return 0; // the first of all has it
    }
    return m_d.faces.findCluster(cluster, count, previous);
}

int Itemiser::scriptOf(int u) const
{
    int units = 0;
    return static_cast<int>(zkCharacter(codeAt(m_text, u, m_d.text.size(), &units)).script);
}

// The first unit behind `u`, at most `last`, where level, font or tag changes.
int Itemiser::sameUntil(int u, int last) const
{
    int end = last;
    if (!m_d.spans.isEmpty()) {
        const ZkSpan *const next =
            std::upper_bound(m_d.spans.begin(), m_d.spans.end(), u,
                             [](int unit, const ZkSpan &span) { return unit < span.last; });
        if (next != m_d.spans.end()) {
            end = std::min(end, next->first <= u ? next->last : next->first);
        }
    }
    if (!m_d.bidi.isLeftToRight()) {
        int same = u + 1;
        while (same < end && m_d.bidi.level(same) == m_level) {
            ++same;
        }
        end = same;
    }
    while (end < last && !m_d.isCluster(end)) { // a cluster has the font of its first unit
        ++end;
    }
    return end;
}

void Itemiser::itemise(int first, int last)
{
    const bool isOneFace = m_d.faces.size() <= 1;
    for (int u = first; u < last;) {
        const ZkSpan *const span = m_d.spans.isEmpty() ? nullptr : m_d.spanAt(u);
        m_font = span != nullptr ? span->font : m_d.font;
        m_tag = span != nullptr ? span->tag : 0;
        m_level = static_cast<std::uint8_t>(m_d.bidi.level(u));
        const int end = sameUntil(u, last);
        if (isOneFace && !m_needsScripts) {
            addRun(u, end, m_d.faces.size() - 1, ZkCharacter::ScriptCommon);
            u = end;
            continue;
        }
        int runFirst = u, face = -1, script = ZkCharacter::ScriptCommon;
        while (u < end) {
            int next = u + 1;
            while (next < end && !m_d.isCluster(next)) {
                ++next;
            }
            const int nextFace = isOneFace ? m_d.faces.size() - 1 : faceOf(u, next, face);
            int nextScript = m_needsScripts ? scriptOf(u) : script;
            if (nextScript <= ZkCharacter::ScriptInherited) {
                nextScript = script; // common to all scripts: stays with the one before
            } else if (script == ZkCharacter::ScriptCommon) {
                script = nextScript; // and the start of a run with the one behind
            }
            if (u > runFirst && (nextFace != face || nextScript != script)) {
                addRun(runFirst, u, face, script);
                runFirst = u;
            }
            face = nextFace;
            script = nextScript;
            u = next;
        }
        addRun(runFirst, end, face, script);
    }
}

void Itemiser::addRun(int first, int last, int face, int script)
{
    const int glyphFirst = m_d.glyphs.size();
    m_d.runs.append({first, last, glyphFirst, static_cast<std::int16_t>(face),
                     static_cast<std::int16_t>(script), m_level, m_font, m_tag});
    m_d.shapeRange(m_d.runs.last(), first, last, 0, m_d.text.size(), &m_d.glyphs);
    m_d.finishRun(glyphFirst);
}

// The first boundary from `u` on where a line must end, at most `end`.
int mandatoryFrom(const std::uint8_t *flags, int u, int end)
{
    constexpr std::uint64_t kMandatory = ZkTextBreaks::LineMandatory * 0x0101010101010101;
    for (std::uint64_t eight = 0; end - u >= 8; u += 8) {
        std::memcpy(&eight, flags + u, sizeof eight);
        if ((eight & kMandatory) != 0) {
            break;
        }
    }
    while (u < end && (flags[u] & ZkTextBreaks::LineMandatory) == 0) {
        ++u;
    }
    return u;
}

// True for what the layout decides the room of, whatever the shaper says.
bool isControl(ZkUcs2 c)
{
    return c < 0x20 || (c >= 0x7F && c <= 0x9F) || c == kZkSoftHyphen || c == 0x2028 || c == 0x2029;
}

} // namespace

void ZkParagraphData::shapeRange(const ZkRun &run, int first, int last, int contextFirst,
                                 int contextLast, ZkShapedGlyphs *shaped)
{
    const int before = shaped->size();
    const ZkShapeRun range = {
        text.constData(),    first,    last,        contextFirst,         contextLast,
        &faces.at(run.face), run.font, run.script,  (run.level & 1) != 0, isKerned,
        letterSpacing != 0,  run.tag,  &characters, breaks.flags(),       &holder};
    shaperInUse().shape(range, shaped);
    if (shaped->size() == before) { // so that each cluster has a place
        *shaped->extend(1) = {0, ZkShapedGlyph::Invisible, 0, 0, 0, first};
    }
    if (shaper != nullptr) { // of a host: places are looked up by clusters
        int cluster = first;
        (*shaped)[before].cluster = first;
        for (int i = before + 1; i < shaped->size(); ++i) {
            cluster = std::min(std::max((*shaped)[i].cluster, cluster), last - 1);
            (*shaped)[i].cluster = cluster;
        }
    }
}

ZkPen ZkParagraphData::shapeAgain(int first, int last, int contextFirst, int contextLast, int line)
{
    ZkPen length = 0;
    for (int i = runAt(first); i < runs.size() && runs[i].first < last; ++i) {
        const int from = std::max(first, runs[i].first), to = std::min(last, runs[i].last);
        const int glyphFirst = patchGlyphs.size();
        shapeRange(runs[i], from, to, contextFirst, contextLast, &patchGlyphs);
        settleAdvances(&patchGlyphs, glyphFirst);
        for (int k = glyphFirst; k < patchGlyphs.size(); ++k) {
            length += patchGlyphs[k].advance;
        }
        patches.append({from, to, line, glyphFirst, patchGlyphs.size()});
    }
    return length;
}

// Hides controls and adds letter spacing: the advances of glyphs `[first, size)` of a run.
// The built-in shaper hides controls by itself.
void ZkParagraphData::settleAdvances(ZkShapedGlyphs *shaped, int first) const
{
    if (shaper == nullptr && letterSpacing == 0) {
        return;
    }
    const int count = shaped->size();
    const ZkUcs2 *const units = text.constData();
    const int spacing = letterSpacing * 64;
    for (int i = first; i < count; ++i) {
        ZkShapedGlyph &glyph = (*shaped)[i];
        if (isControl(units[glyph.cluster])) {
            glyph.flags |= ZkShapedGlyph::Invisible;
            glyph.advance = 0;
        }
        glyph.advance = std::clamp(glyph.advance, 0, kMostAdvance);
    }
    for (int i = first; spacing != 0 && i < count; ++i) {
        ZkShapedGlyph &glyph = (*shaped)[i];
        // Behind the last glyph of a cluster, unless the cluster takes no room.
        const bool hasRoom =
            glyph.advance != 0 || (i > first && (*shaped)[i - 1].cluster == glyph.cluster);
        const bool endsCluster = i + 1 == count || (*shaped)[i + 1].cluster != glyph.cluster;
        if (endsCluster && hasRoom) {
            glyph.advance = std::max(glyph.advance + spacing, 0);
        }
    }
}

void ZkParagraphData::finishRun(int first)
{
    settleAdvances(&glyphs, first);
    const int count = glyphs.size();
    constexpr int kPart = 1 << kPenShift;
    ZkPen pen = startOf(first);
    for (int i = first; i < count;) {
        if (i % kPart == 0) {
            penBases.append(pen);
        }
        const int end = std::min(count, i / kPart * kPart + kPart);
        auto part = static_cast<std::uint32_t>(pen - penBases.last());
        for (; i < end; ++i) {
            part += static_cast<std::uint32_t>(glyphs[i].advance);
            glyphs[i].advance = static_cast<std::int32_t>(part);
        }
        pen = penBases.last() + part;
    }
}

void ZkParagraphData::shape()
{
    faces = chain.faces();
    chainSerial = faces.serial(); // not the chain's, which may have changed since
    shaperSerial = shaperInUse().serial();
    runs.truncate(0);
    hardLines.truncate(0);
    glyphs.truncate(0);
    penBases.truncate(0);
    holder.clear();
    shownFace = kNotShown;
    minimum = maximum = -1;

    const int end = text.size();
    const std::uint8_t *const flags = breaks.flags();
    const ZkUcs2 *const units = text.constData();
    Itemiser itemiser(this);
    int tab = text.indexOf(kZkTab);
    for (int first = 0; first < end;) {
        const int last = mandatoryFrom(flags, first + 1, end);
        if (tab >= 0 && tab < first) {
            tab = text.indexOf(kZkTab, first);
        }
        const bool hasTabs = tab >= 0 && tab < last;
        const int level = bidi.isLeftToRight() ? 0 : bidi.paragraphOf(first).level;
        hardLines.append({first, last, glyphs.size(), hasTabs, static_cast<std::uint8_t>(level)});
        itemiser.itemise(first, last);
        first = last;
    }
    if (end == 0 || zkEndsLine(units[end - 1])) { // an empty line
        const int level = end == 0                                ? bidi.baseLevel()
                          : direction == ZkParagraph::RightToLeft ? 1
                                                                  : 0;
        hardLines.append({end, end, glyphs.size(), false, static_cast<std::uint8_t>(level)});
    }
    done = Shaped; // no test can tell: `need` says it too
}

int ZkParagraphData::findGlyph(int u) const
{
    const int count = glyphs.size();
    if (u <= 0 || u >= text.size()) {
        return u <= 0 ? 0 : count;
    }
    // The last one whose cluster is at most `u` is looked for from where it is expected, in
    // steps that double.
    int low = std::clamp(u - glyphLag, 0, count - 1), high = low;
    if (glyphs[low].cluster <= u) {
        for (int step = 1; high < count && glyphs[high].cluster <= u; step *= 2) {
            low = high;
            high = step < count - high ? high + step : count;
        }
    } else {
        for (int step = 1; low > 0 && glyphs[low].cluster > u; step *= 2) {
            high = low; // no test can tell: else more is halved
            low = std::max(low - step, 0);
        }
    }
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (glyphs[middle].cluster <= u) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    int at = low - 1;
    while (at > 0 && glyphs[at - 1].cluster == glyphs[at].cluster) {
        --at;
    }
    glyphLag = u - at;
    return at;
}

int ZkParagraphData::runAt(int u) const
{
    if (runs.size() == 1) {
        return u < runs[0].last ? 0 : 1;
    }
    const ZkRun *const run =
        std::upper_bound(runs.begin(), runs.end(), u,
                         [](int unit, const ZkRun &other) { return unit < other.last; });
    return static_cast<int>(run - runs.begin());
}

int ZkParagraphData::hardLineAt(int u) const
{
    if (hardLines.size() == 1) {
        return 0;
    }
    const ZkHardLine *const hard =
        std::upper_bound(hardLines.begin(), hardLines.end(), u,
                         [](int unit, const ZkHardLine &other) { return unit < other.last; });
    const int at = static_cast<int>(hard - hardLines.begin());
    return std::min(at, hardLines.size() - 1);
}
