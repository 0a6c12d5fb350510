#include "zkfontmetrics.h"

#include "layout/zklinedivision.h"
#include "layout/zkwordwidth.h"
#include "zkfontcache.h"
#include "zkfontengine.h"

#include <algorithm>

namespace
{

enum AlignmentFlag {
    AlignLeft = 1,
    AlignRight = 2,
    AlignHCenter = 4,
    HorizontalMask = 7,
    AlignTop = 16,
    AlignBottom = 32,
    AlignVCenter = 64,
    VerticalMask = 0x70,
};

constexpr int kNoWrapping = 2147483647;

} // namespace

ZkFontMetrics::ZkFontMetrics(const ZkString &string, const ZkFont &font, int lineGap, int charGap)
    : m_text(string),
      m_lineSpacing(lineGap),
      m_charSpacing(charGap),
      m_fontSize(font.fontSize()),
      m_boldFace(font.isBoldFace()),
      m_alignment(AlignHCenter | AlignVCenter),
      m_engine(string)
{
    m_engine.fillGlypBitMapInfo(font);
}

ZkFontMetrics::~ZkFontMetrics() = default;

bool ZkFontMetrics::setFontFile(const ZkString &path, int limit)
{
    ZkFontCache *cache = ZkFontCache::instance();
    const bool opened = cache->setFontFile(path);
    cache->setLimit(limit);
    return opened;
}

void ZkFontMetrics::closeFontFile()
{
    ZkFontCache::instance()->closeFontFile();
}

bool ZkFontMetrics::clearFontCache()
{
    return ZkFontCache::instance()->cleanCache(true);
}

void ZkFontMetrics::setWorpWrap(bool on)
{
    m_wordWrap = on;
    m_dirty = true;
}

void ZkFontMetrics::setAlignment(int flags)
{
    m_alignment = flags;
}

void ZkFontMetrics::setTextMinRect(int x, int y, int w, int h)
{
    if (w >= 1) {
        m_origin = ZkPoint(x, y);
        m_box = ZkRect(x, y, zkWrapped(static_cast<std::int64_t>(x) + w - 1),
                       zkWrapped(static_cast<std::int64_t>(y) + h - 1));
        m_wrapWidth = w;
    } else {
        m_wrapWidth = kNoWrapping;
    }
    m_dirty = true;
}

bool ZkFontMetrics::isRightToLeft() const
{
    return m_engine.isRightToLeft();
}

int ZkFontMetrics::textPixelSize()
{
    return m_engine.textPixelSize();
}

int ZkFontMetrics::textPixelSize(ZkString string, ZkFont font)
{
    ZkFontEngine resolver;
    resolver.resloveText(string, font);
    return resolver.textPixelSize();
}

ZkVector<const GlyphBitmap *> ZkFontMetrics::glyphBitmap() const
{
    return m_engine.glyphs();
}

void ZkFontMetrics::thaiFontCheck(const ZkUcs2 *units, int *a, int *b, int *c)
{
    if (units != nullptr && a != nullptr && b != nullptr && c != nullptr) {
        ZkFontEngine::displayThaiFont(units, a, b, c);
    }
}

int ZkFontMetrics::unicodeByteSize(ZkUcs2 c)
{
    // Hebrew and Arabic count 2 in every form, also in those that UTF-8 writes as 3.
    const bool presentationForm = (c >= 0xFB50 && c <= 0xFDFF) || (c >= 0xFE70 && c <= 0xFEFF);
    if (presentationForm) {
        return 2;
    }
    return c < 0x80 ? 1 : c < 0x800 ? 2 : 3;
}

int ZkFontMetrics::nextWordSize(const ZkUcs2 *chars, int n, const void *glyphs, bool backward)
{
    if (chars == nullptr || glyphs == nullptr || n < 1) {
        return 0;
    }
    const auto *records = static_cast<const GlyphBitmap *const *>(glyphs);
    return backward ? zkLastWordWidth(chars, records, n, m_charSpacing)
                    : zkWordWidth(chars, records, n, m_charSpacing);
}

int ZkFontMetrics::calcTextLength()
{
    const ZkUcs2 *units = m_engine.text().constData();
    const ZkVector<const GlyphBitmap *> &glyphs = m_engine.glyphs();
    const auto addCell = [this](int width, int count) {
        m_characterWidths.append(width);
        m_combinationNums.append(count);
        m_pixelLength = zkWrapped(static_cast<std::int64_t>(m_pixelLength) + width + m_charSpacing);
    };
    for (int i = 0; i < m_engine.text().size();) {
        int width = glyphs[i]->advance;
        int last = i;
        // The place from which a mark is looked up moves on with each mark found, so
        // of a consonant with two marks the second one's width is taken twice and
        // the first one's never.
        const ZkThaiMarks marks(units + i);
        for (const int offset : {marks.tone, marks.upper, marks.lower}) {
            if (offset != 0) {
                width = std::max<int>(width, glyphs[last + offset]->advance);
                ++last;
            }
        }
        addCell(width, last + 1 - i);
        i = last + 1;
    }
    return m_pixelLength;
}

int ZkFontMetrics::lengthForPixel()
{
    return m_pixelLength == -1 ? calcTextLength() : m_pixelLength;
}

ZkVector<int> ZkFontMetrics::charCombinationNum()
{
    if (m_combinationNums.isEmpty()) {
        calcTextLength();
    }
    return m_combinationNums;
}

ZkVector<int> ZkFontMetrics::characterWidth()
{
    if (m_characterWidths.isEmpty()) {
        calcTextLength();
    }
    return m_characterWidths;
}

// Pixels from the top of one line to the top of the next.
int ZkFontMetrics::lineHeight() const
{
    return zkWrapped(static_cast<std::int64_t>(m_engine.textPixelSize()) + m_lineSpacing / 2);
}

// Line `index` in layout coordinates: from x 0 on, one line below the other.
ZkRect ZkFontMetrics::lineRect(int index) const
{
    const std::int64_t height = lineHeight();
    return ZkRect(0, zkWrapped(index * height),
                  zkWrapped(static_cast<std::int64_t>(m_lines[index].width) - 1),
                  zkWrapped((index + 1) * height - 1));
}

int ZkFontMetrics::divideText()
{
    m_dirty = false;
    if (m_engine.text().isEmpty()) {
        return -1;
    }
    if (!m_lines.isEmpty()) { // else nothing was made of them
        m_subTexts.clear();
        m_lineGlyphs.clear();
        m_rects.clear();
        m_lines.clear();
    }
    m_paintInfos.clear();
    LineDivider(*this, m_lines).run();
    // As many slots as appending the records one by one would take.
    const int count = m_lines.size();
    m_paintInfos.realloc(count, ZkVectorData::growBy(&ZkVectorData::shared_null, count,
                                                     static_cast<int>(sizeof(PaintInfo)), true));
    PaintInfo *record = m_paintInfos.data();
    for (int i = 0; i < count; ++i, ++record) {
        const ZkRect rect = lineRect(i);
        record->left = rect.left();
        record->top = rect.top();
        record->right = rect.right();
        record->bottom = rect.bottom();
        record->glyphs = cutGlyphs(i);
    }
    return 0;
}

void ZkFontMetrics::divideIfDirty()
{
    if (m_dirty) {
        divideText();
    }
}

ZkList<ZkString> ZkFontMetrics::subText()
{
    divideIfDirty();
    if (m_subTexts.isEmpty()) {
        const ZkUcs2 *units = m_engine.text().constData();
        for (const Line &line : m_lines) {
            m_subTexts.append(ZkString(units + line.start, line.end - line.start));
        }
    }
    return m_subTexts;
}

ZkList<ZkRect> ZkFontMetrics::lineRects()
{
    divideIfDirty();
    for (int i = m_rects.size(); i < m_lines.size(); ++i) {
        m_rects.append(lineRect(i));
    }
    return m_rects;
}

ZkVector<ZkVector<const GlyphBitmap *>> ZkFontMetrics::subGlyphBitmap()
{
    if (m_lines.isEmpty()) {
        divideText();
    }
    for (int i = m_lineGlyphs.size(); i < m_lines.size(); ++i) {
        m_lineGlyphs.append(cutGlyphs(i));
    }
    return m_lineGlyphs;
}

// The glyphs of line `index`, in a block shared with the glyphs of the whole text or
// with the line's paint record where those are the same glyphs.
ZkVector<const GlyphBitmap *> ZkFontMetrics::cutGlyphs(int index) const
{
    const ZkVector<const GlyphBitmap *> &glyphs = m_engine.glyphs();
    const Line &line = m_lines[index];
    const int count = line.end - line.start;
    if (count == glyphs.size()) {
        return glyphs;
    }
    const GlyphBitmap *const *first = glyphs.constData() + line.start;
    if (index < m_paintInfos.size()) { // the host may have changed its record
        const ZkVector<const GlyphBitmap *> &painted = m_paintInfos[index].glyphs;
        if (std::equal(painted.begin(), painted.end(), first, first + count)) {
            return painted;
        }
    }
    return ZkVector<const GlyphBitmap *>(first, count);
}

ZkVector<PaintInfo> &ZkFontMetrics::paintInfoList()
{
    divideIfDirty();
    if (m_lines.isEmpty()) {
        return m_paintInfos;
    }
    if ((m_alignment & HorizontalMask) == 0) {
        m_alignment += AlignLeft;
    }
    if ((m_alignment & VerticalMask) == 0) {
        m_alignment += AlignTop;
    }
    const int dy = verticalOffset();
    const int count = std::min(m_paintInfos.size(), m_lines.size());
    PaintInfo *records = m_paintInfos.data();
    for (int i = 0; i < count; ++i) {
        PaintInfo &record = records[i];
        const int left = alignedLeft(m_lines[i].width);
        record.right = zkWrapped(static_cast<std::int64_t>(record.right) + left - record.left);
        record.left = left;
        // `top` stays, and a second call moves `bottom` again: hosts place a line by
        // its `bottom` and ask once for each division.
        record.bottom = zkWrapped(static_cast<std::int64_t>(record.bottom) + dy);
    }
    return m_paintInfos;
}

// How far alignment moves the lines down. The text's last row is taken for its
// height, so text at the bottom ends one row below a flush fit.
int ZkFontMetrics::verticalOffset() const
{
    const std::int64_t room =
        static_cast<std::int64_t>(m_box.height()) - lineRect(m_lines.size() - 1).bottom();
    switch (m_alignment & VerticalMask) {
    case AlignBottom: return zkWrapped(m_box.top() + room);
    case AlignVCenter:
        return zkWrapped(static_cast<std::int64_t>(m_box.top()) + zkWrapped(room) / 2);
    default: return m_box.top();
    }
}

// The first column of a line of this width. Right-to-left text exchanges left and right.
int ZkFontMetrics::alignedLeft(int lineWidth) const
{
    const std::int64_t room = static_cast<std::int64_t>(m_box.width()) - lineWidth;
    const int horizontal = m_alignment & HorizontalMask;
    if (horizontal == AlignHCenter) {
        return zkWrapped(static_cast<std::int64_t>(m_box.left()) + zkWrapped(room) / 2);
    }
    const bool toTheRight = (horizontal == AlignRight) != m_engine.isRightToLeft();
    return zkWrapped(m_box.left() + (toTheRight ? room : 0));
}

ZkSize ZkFontMetrics::sizeHint()
{
    divideIfDirty();
    if (m_lines.isEmpty()) {
        return ZkSize(0, 0);
    }
    const auto narrower = [](const Line &a, const Line &b) { return a.width < b.width; };
    const Line &widest = *std::max_element(m_lines.begin(), m_lines.end(), narrower);
    return ZkSize(widest.width,
                  zkWrapped(static_cast<std::int64_t>(lineRect(m_lines.size() - 1).bottom()) + 1));
}
