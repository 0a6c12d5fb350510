#include "layout/zkwordwidth.h"

#include <algorithm>

namespace
{

// The widest advance of the Thai unit `units[0]` and its marks, none of which lie
// at or behind `n`.
int thaiWidth(const ZkUcs2 *units, const GlyphBitmap *const *glyphs, int n)
{
    ZkUcs2 window[3] = {};
    if (n < 3) { // no test can tell: a copy of three says the same
        std::copy_n(units, n, window);
        units = window;
    }
    const ZkThaiMarks marks(units);
    int width = glyphs[0]->advance;
    for (const int offset : {marks.tone, marks.upper, marks.lower}) {
        width = std::max<int>(width, glyphs[offset]->advance);
    }
    return width;
}

} // namespace

int zkWordWidth(const ZkUcs2 *units, const GlyphBitmap *const *glyphs, int n, int charSpacing)
{
    std::int64_t width = 0;
    for (int i = 0; i < n; ++i) {
        switch (zkBreakClass(units[i])) {
        case ZkBreakClass::Letter: width += glyphs[i]->advance; break;
        case ZkBreakClass::Thai: width += thaiWidth(units + i, glyphs + i, n - i); break;
        case ZkBreakClass::Space: return zkWrapped(width);
        case ZkBreakClass::Newline:
        case ZkBreakClass::BreakAnywhere:
            return i == 0 ? zkWrapped(static_cast<std::int64_t>(glyphs[0]->advance) + charSpacing)
                          : zkWrapped(width);
        }
        width += charSpacing;
    }
    return zkWrapped(width);
}

int zkLastWordWidth(const ZkUcs2 *units, const GlyphBitmap *const *glyphs, int n, int charSpacing)
{
    std::int64_t width = 0;
    for (int i = n - 1; i >= 0 && zkBreakClass(units[i]) != ZkBreakClass::Space; --i) {
        width += static_cast<std::int64_t>(glyphs[i]->advance) + charSpacing;
    }
    return zkWrapped(width);
}
