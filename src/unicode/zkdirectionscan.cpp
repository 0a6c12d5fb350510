#include "unicode/zkdirectionscan.h"

namespace
{

/// Ranges of code points that may turn text around.
struct Range {
    char32_t first;
    char32_t last;
};
constexpr Range kTurning[] = {
    {0x0590, 0x08FF},   // Hebrew to Arabic Extended-A
    {0x200F, 0x200F},   // right-to-left mark
    {0x202A, 0x202E},   // embeddings and overrides
    {0x2066, 0x2069},   // isolates
    {0xFB1D, 0xFDFF},   // presentation forms
    {0xFE70, 0xFEFF},   //
    {0x10800, 0x10FFF}, // right-to-left scripts beyond the Basic Multilingual Plane
    {0x1E800, 0x1EFFF}, //
};

bool turns(char32_t c)
{
    if (c < kTurning[0].first) {
        return false;
    }
    for (const Range &range : kTurning) {
        if (c >= range.first && c <= range.last) {
            return true;
        }
    }
    return false;
}

/// Of a pair the first unit tells: U+D802 and U+D803, U+D83A and U+D83B begin the ranges.
bool turns(ZkUcs2 unit)
{
    return turns(char32_t(unit)) || (unit & 0xFFFE) == 0xD802 || (unit & 0xFFFE) == 0xD83A;
}

template <typename Unit>
ZkDirectionScan scanPlain(const Unit *text, int from, int units)
{
    bool separated = false;
    for (int i = from; i < units; ++i) {
        if (turns(text[i])) {
            return {false, true};
        }
        separated = separated || zkIsParagraphSeparator(text[i]);
    }
    return {true, separated};
}

} // namespace

ZkDirectionScan zkScanDirection(const ZkUcs2 *text, int units)
{
    return scanPlain(text, 0, units);
}

ZkDirectionScan zkScanDirection(const char32_t *text, int count)
{
    return scanPlain(text, 0, count);
}
