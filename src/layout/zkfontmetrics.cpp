#include "zkfontmetrics.h"

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
    : text(string),
      engine(zkNew<ZkFontEngine>()),
      lineSpacing(lineGap),
      charSpacing(charGap),
      fontSize(font.fontSize()),
      boldFace(font.isBoldFace()),
      alignment(AlignHCenter | AlignVCenter)
{
    engine->lanuguageRules(string);
    engine->fillGlypBitMapInfo(font);
}

ZkFontMetrics::~ZkFontMetrics()
{
    delete engine;
}

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
    wordWrap = on;
    dirty = true;
}

void ZkFontMetrics::setAlignment(int flags)
{
    alignment = flags;
}

void ZkFontMetrics::setTextMinRect(int x, int y, int w, int h)
{
    if (w >= 1) {
        origin = ZkPoint(x, y);
        box = ZkRect(x, y, zkWrapped(std::int64_t(x) + w - 1), zkWrapped(std::int64_t(y) + h - 1));
        wrapWidth = w;
    } else {
        wrapWidth = kNoWrapping;
    }
    dirty = true;
}

bool ZkFontMetrics::isRightToLeft() const
{
    return engine->isRightToLeft();
}

int ZkFontMetrics::textPixelSize()
{
    return engine->textPixelSize();
}

int ZkFontMetrics::textPixelSize(ZkString string, ZkFont font)
{
    ZkFontEngine resolver;
    resolver.resloveText(string, font);
    return resolver.textPixelSize();
}

ZkVector<const GlyphBitmap *> ZkFontMetrics::glyphBitmap() const
{
    return engine->glyphs();
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
    return backward ? zkLastWordWidth(chars, records, n, charSpacing)
                    : zkWordWidth(chars, records, n, charSpacing);
}

int ZkFontMetrics::calcTextLength()
{
    const ZkUcs2 *units = engine->text().constData();
    const ZkVector<const GlyphBitmap *> &glyphs = engine->glyphs();
    const auto addCell = [this](int width, int count) {
        characterWidths.append(width);
        combinationNums.append(count);
        pixelLength = zkWrapped(std::int64_t(pixelLength) + width + charSpacing);
    };
    for (int i = 0; i < engine->text().size();) {
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
    return pixelLength;
}

int ZkFontMetrics::lengthForPixel()
{
    return pixelLength == -1 ? calcTextLength() : pixelLength;
}

ZkVector<int> ZkFontMetrics::charCombinationNum()
{
    if (combinationNums.isEmpty()) {
        calcTextLength();
    }
    return combinationNums;
}

ZkVector<int> ZkFontMetrics::characterWidth()
{
    if (characterWidths.isEmpty()) {
        calcTextLength();
    }
    return characterWidths;
}

// Pixels from the top of one line to the top of the next.
int ZkFontMetrics::lineHeight() const
{
    return zkWrapped(std::int64_t(engine->textPixelSize()) + lineSpacing / 2);
}

// Line `index` in layout coordinates: from x 0 on, one line below the other.
ZkRect ZkFontMetrics::lineRect(int index) const
{
    const std::int64_t height = lineHeight();
    return ZkRect(0, zkWrapped(index * height), zkWrapped(std::int64_t(lines[index].width) - 1),
                  zkWrapped((index + 1) * height - 1));
}

void ZkFontMetrics::divideIfDirty()
{
    if (dirty) {
        divideText();
    }
}

ZkList<ZkString> ZkFontMetrics::subText()
{
    divideIfDirty();
    if (subTexts.isEmpty()) {
        const ZkUcs2 *units = engine->text().constData();
        for (const Line &line : lines) {
            subTexts.append(ZkString(units + line.start, line.end - line.start));
        }
    }
    return subTexts;
}

ZkList<ZkRect> ZkFontMetrics::lineRects()
{
    divideIfDirty();
    for (int i = rects.size(); i < lines.size(); ++i) {
        rects.append(lineRect(i));
    }
    return rects;
}

ZkVector<ZkVector<const GlyphBitmap *>> ZkFontMetrics::subGlyphBitmap()
{
    if (lines.isEmpty()) {
        divideText();
    }
    for (int i = lineGlyphs.size(); i < lines.size(); ++i) {
        lineGlyphs.append(cutGlyphs(i));
    }
    return lineGlyphs;
}

// The glyphs of line `index`, in a block shared with the glyphs of the whole text or
// with the line's paint record where those are the same glyphs.
ZkVector<const GlyphBitmap *> ZkFontMetrics::cutGlyphs(int index) const
{
    const ZkVector<const GlyphBitmap *> &glyphs = engine->glyphs();
    const Line &line = lines[index];
    const int count = line.end - line.start;
    if (count == glyphs.size()) {
        return glyphs;
    }
    const GlyphBitmap *const *first = glyphs.constData() + line.start;
    if (index < paintInfos.size()) { // the host may have changed its record
        const ZkVector<const GlyphBitmap *> &painted = paintInfos[index].glyphs;
        if (std::equal(painted.begin(), painted.end(), first, first + count)) {
            return painted;
        }
    }
    return ZkVector<const GlyphBitmap *>(first, count);
}

ZkVector<PaintInfo> &ZkFontMetrics::paintInfoList()
{
    divideIfDirty();
    if (lines.isEmpty()) {
        return paintInfos;
    }
    if ((alignment & HorizontalMask) == 0) {
        alignment += AlignLeft;
    }
    if ((alignment & VerticalMask) == 0) {
        alignment += AlignTop;
    }
    const int dy = verticalOffset();
    const int count = std::min(paintInfos.size(), lines.size());
    PaintInfo *records = paintInfos.data();
    for (int i = 0; i < count; ++i) {
        PaintInfo &record = records[i];
        const int left = alignedLeft(lines[i].width);
        record.right = zkWrapped(std::int64_t(record.right) + left - record.left);
        record.left = left;
        // `top` stays, and a second call moves `bottom` again: hosts place a line by
        // its `bottom` and ask once for each division.
        record.bottom = zkWrapped(std::int64_t(record.bottom) + dy);
    }
    return paintInfos;
}

// How far alignment moves the lines down. The text's last row is taken for its
// height, so text at the bottom ends one row below a flush fit.
int ZkFontMetrics::verticalOffset() const
{
    const std::int64_t room = std::int64_t(box.height()) - lineRect(lines.size() - 1).bottom();
    switch (alignment & VerticalMask) {
    case AlignBottom: return zkWrapped(box.top() + room);
    case AlignVCenter: return zkWrapped(std::int64_t(box.top()) + zkWrapped(room) / 2);
    default: return box.top();
    }
}

// The first column of a line of this width. Right-to-left text exchanges left and right.
int ZkFontMetrics::alignedLeft(int lineWidth) const
{
    const std::int64_t room = std::int64_t(box.width()) - lineWidth;
    const int horizontal = alignment & HorizontalMask;
    if (horizontal == AlignHCenter) {
        return zkWrapped(std::int64_t(box.left()) + zkWrapped(room) / 2);
    }
    const bool toTheRight = (horizontal == AlignRight) != engine->isRightToLeft();
    return zkWrapped(box.left() + (toTheRight ? room : 0));
}

ZkSize ZkFontMetrics::sizeHint()
{
    divideIfDirty();
    if (lines.isEmpty()) {
        return ZkSize(0, 0);
    }
    const auto narrower = [](const Line &a, const Line &b) { return a.width < b.width; };
    const Line &widest = *std::max_element(lines.begin(), lines.end(), narrower);
    return ZkSize(widest.width, zkWrapped(std::int64_t(lineRect(lines.size() - 1).bottom()) + 1));
}
