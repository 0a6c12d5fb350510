#include "zkfontengine.h"

#include "glyph/zkthai.h"
#include "zkfontcache.h"
#include "zkscriptrules.h"

#include <algorithm>
#include <cstring>

namespace
{

// False when no unit can be Hebrew or Arabic, which is most text: all letters of
// both lie above U+0400. Looks at as many units at a time as fill a register.
bool mayBeRightToLeft(const ZkUcs2 *text, int n)
{
    constexpr int kUnits = sizeof(std::size_t) / sizeof(ZkUcs2);
    std::size_t bits = 0;
    int i = 0;
    for (; i + kUnits <= n; i += kUnits) {
        std::size_t units = 0;
        std::memcpy(&units, text + i, sizeof units);
        bits |= units;
    }
    for (; i < n; ++i) {
        bits |= text[i];
    }
    return (bits & static_cast<std::size_t>(0xFC00FC00FC00FC00U)) != 0;
}

ZkFontCache *cacheWithinLimit()
{
    ZkFontCache *cache = ZkFontCache::instance();
    if (cache->isOverLimit()) {
        cache->cleanCache(false);
    }
    return cache;
}

} // namespace

ZkFontEngine::ZkFontEngine() : m_cache(cacheWithinLimit())
{
}

// A copy that fits comes out as if the text had been appended.
ZkFontEngine::ZkFontEngine(const ZkString &text)
    : m_length(text.size()),
      m_text(text.isEmpty() ? ZkString() : ZkString(text.constData(), text.size())),
      m_cache(cacheWithinLimit())
{
    applyRules();
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
    applyRules();
}

// Puts the whole text into drawing order.
void ZkFontEngine::applyRules()
{
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
