#include "zkparagraph.h"

#include "glyph/zktypefacedata.h"
#include "paragraph/zkparagraphdata.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr int kMostSpacing = 8191;
// Glyphs whose room ZkBidi wants besides one for each unit.
constexpr int kScratchGlyphs = 8; // no test can tell: more room does no harm
static_assert(sizeof(ZkShapedGlyph) == 16, "ZkBidi::bufferSize() is told in these");

int cut(int spacing)
{
    return std::clamp(spacing, -kMostSpacing, kMostSpacing);
}

// Makes `field` what the host wants; false when it was already.
template <typename T>
bool change(T *field, const T &value)
{
    if (*field == value) {
        return false;
    }
    *field = value;
    return true;
}

/// Reads UTF-8 by the table of well-formed byte sequences of the Unicode Standard.
class Utf8Reader
{
public:
    Utf8Reader(const char *bytes, std::int64_t count)
        : m_next(reinterpret_cast<const unsigned char *>(bytes)), m_end(m_next + count)
    {
    }

    bool atEnd() const { return m_next == m_end; }

    /// One character; U+FFFD for the longest start of one that goes no further.
    char32_t read()
    {
        const unsigned lead = *m_next++;
        if (lead < 0x80) {
            return lead;
        }
        if (lead < 0xC2 || lead > 0xF4) {
            return 0xFFFD;
        }
        const int following = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        unsigned least = 0x80, most = 0xBF; // of the next byte
        switch (lead) {
        case 0xE0: least = 0xA0; break; // overlong
        case 0xED: most = 0x9F; break;  // surrogates
        case 0xF0: least = 0x90; break; // overlong
        case 0xF4: most = 0x8F; break;  // above U+10FFFF
        default: break;
        }
        char32_t c = lead & (0x3FU >> following);
        for (int i = 0; i < following; ++i) {
            if (m_next == m_end || *m_next < least || *m_next > most) {
                return 0xFFFD;
            }
            c = c << 6 | (*m_next++ & 0x3F);
            least = 0x80;
            most = 0xBF;
        }
        return c;
    }

private:
    const unsigned char *m_next, *m_end;
};

} // namespace

void ZkParagraphData::need(Stage stage)
{
    if (done >= Shaped &&
        (chain.serial() != chainSerial || shaperInUse().serial() != shaperSerial)) {
        invalidate(Analysed);
    }
    if (done >= stage) { // no test can tell: what follows asks again
        return;
    }
    if (done < Analysed) {
        analyse();
    }
    if (done < Shaped && stage >= Shaped) {
        shape();
    }
    if (done < Divided && stage >= Divided) {
        divide();
    }
    done = stage > done ? static_cast<int>(stage) : done;
}

void ZkParagraphData::analyse()
{
    const int units = ownText().size();
    if (!areBreaksFound) {
        characters.setText(text.constData(), units);
        breaks.setText(characters);
        areBreaksFound = true;
    }
    // A text has about one glyph a unit: room for them, in which levels are found first.
    glyphs.truncate(0);
    void *const scratch = glyphs.extend(units + kScratchGlyphs);
    glyphs.truncate(0);
    bidi.setText(characters,
                 direction == ZkParagraph::LeftToRight   ? ZkBidi::LeftToRight
                 : direction == ZkParagraph::RightToLeft ? ZkBidi::RightToLeft
                                                         : ZkBidi::Auto,
                 scratch, ZkBidi::bufferSize(units));
    done = Analysed;
}

int ZkParagraphData::clusterAt(int u) const
{
    const int end = text.size();
    if (u >= end) {
        return end;
    }
    while (u > 0 && !isCluster(u)) {
        --u;
    }
    return std::max(u, 0);
}

const ZkSpan *ZkParagraphData::spanAt(int u) const
{
    const ZkSpan *const span =
        std::upper_bound(spans.begin(), spans.end(), u,
                         [](int unit, const ZkSpan &other) { return unit < other.last; });
    return span != spans.end() && span->first <= u ? span : nullptr;
}

// Of the first typeface, whatever else stands in a line: so lines keep their height.
const ZkTypefaceMetrics &ZkParagraphData::metricsOf(ZkFont wanted) const
{
    if (chainSerial != metricsSerial || wanted.fontSize() != metricsSize) {
        const ZkTypeface &face = faces.at(0);
        const ZkOpenTypeface *const open = ZkOpenTypeface::of(face);
        const ZkFontLetters *const letters = open != nullptr ? open->lettersOf(wanted) : nullptr;
        metricsSerial = chainSerial;
        metricsSize = wanted.fontSize();
        metrics = letters != nullptr ? letters->metrics : face.metrics(metricsSize);
        metrics.ascent = open != nullptr ? metrics.ascent : metricsSize;
    }
    return metrics;
}

ZkParagraph::ZkParagraph() : ZkParagraph(ZkGlyphCache::shared())
{
}

ZkParagraph::ZkParagraph(ZkGlyphCache &cache)
    : d(new (zkAllocate(sizeof(ZkParagraphData))) ZkParagraphData(cache))
{
}

ZkParagraph::~ZkParagraph()
{
    d->~ZkParagraphData();
    std::free(d);
}

void ZkParagraph::setText(const ZkString &text)
{
    if (d->hasText && text.isSharedWith(d->text)) {
        return;
    }
    d->setText(text);
    d->areBreaksFound = false;
    d->invalidate(ZkParagraphData::TextSet);
}

void ZkParagraph::setUtf8(const char *bytes, int n)
{
    std::int64_t count = 0;
    if (bytes != nullptr) {
        count = n < 0 ? static_cast<std::int64_t>(std::strlen(bytes)) : n;
    }
    // No character has more units than bytes. More than an int counts is no text.
    count = std::min<std::int64_t>(count, 0x7FFFFFF0);
    ZkString text;
    text.resize(static_cast<int>(count));
    ZkUcs2 *const first = text.data();
    ZkUcs2 *unit = first;
    for (Utf8Reader reader(bytes, count); !reader.atEnd();) {
        const char32_t c = reader.read();
        if (c < 0x10000) {
            *unit++ = static_cast<ZkUcs2>(c);
        } else {
            *unit++ = static_cast<ZkUcs2>(0xD7C0 + (c >> 10));
            *unit++ = static_cast<ZkUcs2>(0xDC00 | (c & 0x3FF));
        }
    }
    const int units = static_cast<int>(unit - first);
    if (units > count - count / 4) {
        text.resize(units);
        setText(text);
    } else { // not to keep room for each byte
        setText(ZkString(first, units));
    }
}

const ZkString &ZkParagraph::text() const
{
    return d->ownText();
}

void ZkParagraph::setChain(const ZkFontChain &chain)
{
    if (change(&d->chain, chain)) {
        d->invalidate(ZkParagraphData::Analysed);
    }
}

const ZkFontChain &ZkParagraph::chain() const
{
    return d->ownChain();
}

void ZkParagraph::setFont(const ZkFont &font)
{
    if (change(&d->font, font)) {
        d->invalidate(ZkParagraphData::Analysed);
    }
}

const ZkFont &ZkParagraph::font() const
{
    return d->font;
}

void ZkParagraph::setSpan(int first, int last, const ZkFont &font, int tag)
{
    first = std::max(first, 0);
    if (last <= first) {
        return;
    }
    ZkPlainArray<ZkSpan> &spans = d->spans;
    const ZkSpan span = {first, last, font, tag};
    int at = 0;
    while (at < spans.size() && spans[at].last <= first) {
        ++at;
    }
    // What overlaps is cut off, taken away or divided.
    if (at < spans.size() && spans[at].first < first) {
        const ZkSpan before = spans[at];
        spans[at].last = first;
        ++at;
        if (before.last > last) {
            spans.insert(at, {last, before.last, before.font, before.tag});
        }
    }
    int behind = at;
    while (behind < spans.size() && spans[behind].last <= last) {
        ++behind;
    }
    if (behind < spans.size() && spans[behind].first < last) {
        spans[behind].first = last;
    }
    if (behind > at) {
        spans[at] = span;
        std::copy(spans.begin() + behind, spans.end(), spans.begin() + at + 1);
        spans.truncate(spans.size() - (behind - at - 1));
    } else {
        spans.insert(at, span);
    }
    d->invalidate(ZkParagraphData::Analysed);
}

void ZkParagraph::clearSpans()
{
    if (!d->spans.isEmpty()) {
        d->spans.truncate(0);
        d->invalidate(ZkParagraphData::Analysed);
    }
}

int ZkParagraph::spanCount() const
{
    return d->spans.size();
}

void ZkParagraph::setDirection(Direction direction)
{
    if (change(&d->direction, direction)) {
        d->invalidate(ZkParagraphData::TextSet);
    }
}

ZkParagraph::Direction ZkParagraph::direction() const
{
    return d->direction;
}

void ZkParagraph::setWidth(int width)
{
    if (change(&d->boxWidth, std::max(width, 0))) {
        d->invalidate(ZkParagraphData::Shaped);
    }
}

int ZkParagraph::boxWidth() const
{
    return d->boxWidth;
}

void ZkParagraph::setAlignment(Alignment alignment)
{
    if (change(&d->alignment, alignment)) {
        d->placedLine = -1;
        if (d->done >= ZkParagraphData::Divided) {
            d->stack();
        }
    }
}

ZkParagraph::Alignment ZkParagraph::alignment() const
{
    return d->alignment;
}

void ZkParagraph::setLineSpacing(int rows)
{
    if (change(&d->lineSpacing, cut(rows))) {
        d->placedLine = -1;
        if (d->done >= ZkParagraphData::Divided) {
            d->stack();
        }
    }
}

int ZkParagraph::lineSpacing() const
{
    return d->lineSpacing;
}

void ZkParagraph::setLetterSpacing(int pixels)
{
    if (change(&d->letterSpacing, cut(pixels))) {
        d->invalidate(ZkParagraphData::Analysed);
    }
}

int ZkParagraph::letterSpacing() const
{
    return d->letterSpacing;
}

void ZkParagraph::setTabWidth(int pixels)
{
    if (change(&d->tabWidth, std::max(pixels, 0))) {
        d->minimum = d->maximum = -1;
        d->invalidate(ZkParagraphData::Shaped);
    }
}

int ZkParagraph::tabWidth() const
{
    return d->tabWidth;
}

void ZkParagraph::setKerning(bool on)
{
    if (change(&d->isKerned, on)) {
        d->invalidate(ZkParagraphData::Analysed);
    }
}

bool ZkParagraph::kerning() const
{
    return d->isKerned;
}

void ZkParagraph::setMaximumLines(int count)
{
    if (change(&d->maximumLines, std::max(count, 0))) {
        d->invalidate(ZkParagraphData::Shaped);
    }
}

int ZkParagraph::maximumLines() const
{
    return d->maximumLines;
}

void ZkParagraph::setEllipsis(Ellipsis ellipsis)
{
    if (change(&d->ellipsis, ellipsis)) {
        d->invalidate(ZkParagraphData::Shaped);
    }
}

ZkParagraph::Ellipsis ZkParagraph::ellipsis() const
{
    return d->ellipsis;
}

void ZkParagraph::setWordCutting(bool on)
{
    if (change(&d->cutsWords, on)) {
        d->invalidate(ZkParagraphData::Shaped);
    }
}

bool ZkParagraph::wordCutting() const
{
    return d->cutsWords;
}

void ZkParagraph::setShaper(ZkShaper *shaper)
{
    if (change(&d->shaper, shaper)) {
        d->invalidate(ZkParagraphData::Analysed);
    }
}

void ZkParagraph::setWordBreaker(ZkWordBreaker *breaker)
{
    d->breaks.setWordBreaker(breaker);
    d->areBreaksFound = false;
    d->invalidate(ZkParagraphData::TextSet);
}

int ZkParagraph::lineCount() const
{
    d->need(ZkParagraphData::Divided);
    return d->lines.size();
}

const ZkTextLine &ZkParagraph::line(int index) const
{
    d->need(ZkParagraphData::Divided);
    return d->lines[index];
}

int ZkParagraph::width() const
{
    d->need(ZkParagraphData::Divided);
    return d->widest;
}

int ZkParagraph::height() const
{
    d->need(ZkParagraphData::Divided);
    const ZkTextLine &last = d->lines.last();
    return last.baseline + last.descent;
}

int ZkParagraph::glyphs(int line, const ZkPlacedGlyph **glyphs) const
{
    d->place(line, false);
    *glyphs = d->placed.begin();
    return d->placed.size();
}

int ZkParagraph::stretches(int line, const ZkTextStretch **stretches) const
{
    d->place(line, false);
    *stretches = d->stretches.begin();
    return d->stretches.size();
}

std::size_t ZkParagraph::memoryBytes() const
{
    const auto unit = static_cast<std::size_t>(d->ownText().size());
    std::size_t bytes =
        sizeof *d + (d->shown == nullptr ? 0 : sizeof *d->shown * d->kShown) +
        d->spans.memoryBytes() + d->runs.memoryBytes() + d->hardLines.memoryBytes() +
        d->penBases.memoryBytes() + d->lines.memoryBytes() + d->unstretched.memoryBytes() +
        d->patches.memoryBytes() + d->placed.memoryBytes() + d->stretches.memoryBytes() +
        d->cells.memoryBytes() + d->levels.memoryBytes();
    bytes += d->glyphs.memoryBytes() + d->patchGlyphs.memoryBytes();
    bytes += unit * 3; // characters and boundaries
    bytes += d->bidi.isLeftToRight() ? 0 : unit;
    return bytes;
}
