#include "zkfontengine.h"

#include "glyph/zkthai.h"
#include "zkfontcache.h"
#include "zkscriptrules.h"

#include <algorithm>
#include <cstring>

namespace
{

// False when no unit can be Hebrew or Arabic, which is most text: all letters of
// both lie above U+0400. Looks at four units at a time.
bool mayBeRightToLeft(const ZkUcs2 *text, int n)
{
    constexpr std::uint64_t kHighBits = 0xFC00FC00FC00FC00U;
    std::uint64_t high = 0;
    int i = 0;
    for (; i + 4 <= n; i += 4) {
        std::uint64_t four = 0;
        std::memcpy(&four, text + i, sizeof four);
        high |= four & kHighBits;
    }
    for (; i < n; ++i) {
        high |= text[i] & kHighBits;
    }
    return high != 0;
}

} // namespace

ZkFontEngine::ZkFontEngine() : m_cache(ZkFontCache::instance())
{
    if (m_cache->isOverLimit()) {
        m_cache->cleanCache(false);
    }
}

void ZkFontEngine::displayThaiFont(const ZkUcs2 *s, int *tone, int *upper, int *lower)
{
    if (s == nullptr) {
        return;
    }
    const auto set = [](int *flag, int value) {
        if (flag != nullptr && value != 0) {
            *flag = value;
        }
    };
    const ZkThaiMarks marks(s);
    set(tone, marks.tone);
    set(upper, marks.upper);
    set(lower, marks.lower);
}

void ZkFontEngine::lanuguageRules(const ZkString &text)
{
    m_length = text.size();
    m_text.replace(m_text.size(), 0, text.constData(), text.size());
    const int size = m_text.size();
    if (!mayBeRightToLeft(m_text.constData(), size)) {
        return;
    }
    if (isIncludeHebrew(m_text.constData(), size) != 0) {
        m_rightToLeft = 1;
        reversalHebrew(m_text.data(), size);
    } else if (isIncludeArbic(m_text.constData(), size) != 0) {
        m_rightToLeft = 1;
        arabicRulesConvert(m_text.data(), size);
    }
}

void ZkFontEngine::fillGlypBitMapInfo(const ZkFont &font)
{
    m_lineHeight = 0;
    if (m_length < 1 || m_text.isEmpty()) {
        return;
    }
    const int size = m_text.size();
    m_uses.fetch(m_text.constData(), size, font, m_glyphs.appendUninitialized(size));
    int top = 0, descent = 0;
    for (const ZkGlyphLease::Use &use : m_uses) {
        top = std::max<int>(top, use.glyph->top);
        descent = std::max<int>(descent, use.glyph->descent);
    }
    // The integer part of 1.36 times the height, as floating point has it too for
    // every height that two bearings of 16 bits can make.
    m_lineHeight = (top + descent) * 136 / 100;
}

ZkVector<const GlyphBitmap *> ZkFontEngine::resloveText(const ZkString &text, const ZkFont &font)
{
    lanuguageRules(text);
    fillGlypBitMapInfo(font);
    return m_glyphs;
}
