#include "unicode/zkdirectionscan.h"

#include "base/zklanes.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace
{

/// A range of units or code points.
struct Range {
    char32_t first;
    char32_t last;
};

// What may turn text around.
constexpr Range kTurning[] = {
    {0x0590, 0x08FF}, // Hebrew to Arabic Extended-A
    {0x200F, 0x200F}, // right-to-left mark
    {0x202A, 0x202E}, // embeddings and overrides
    {0x2066, 0x2069}, // isolates
    {0xFB1D, 0xFDFF}, // presentation forms
    {0xFE70, 0xFEFF}, //
};
// Scripts beyond the Basic Multilingual Plane; of a pair the first unit tells.
constexpr Range kTurningUnits[] = {{0xD802, 0xD803}, {0xD83A, 0xD83B}};
constexpr Range kTurningPoints[] = {{0x10800, 0x10FFF}, {0x1E800, 0x1EFFF}};

// Letters and marks of right-to-left scripts, none of them a number, and what may stand
// among them: spaces and punctuation that is neither bracket nor digit nor letter.
constexpr Range kAmongLetters[] = {{0x20, 0x2F},     {0x3A, 0x40},     {0x0591, 0x05FF},
                                   {0x0606, 0x065F}, {0x066D, 0x06DC}, {0x06DE, 0x06EF},
                                   {0xFB1D, 0xFDFF}};
// Letters for sure.
constexpr Range kLetters[] = {{0x05D0, 0x05EA}, {0x0620, 0x064A}, {0x0671, 0x06D3}};

constexpr Range kSeparators[] = {
    {0x0A, 0x0A}, {0x0D, 0x0D}, {0x1C, 0x1E}, {0x85, 0x85}, {0x2029, 0x2029}};
// The same and some more, in fewer ranges.
constexpr Range kNearSeparators[] = {{0x00, 0x1F}, {0x85, 0x85}, {0x2029, 0x2029}};

// Neither turning nor separators: what most texts are made of.
constexpr Range kQuietAscii[] = {{0x20, 0x7F}};
constexpr Range kQuiet[] = {
    {0x20, 0x84}, {0x0900, 0x200E}, {0x2070, 0xD7FF}, {0xD83C, 0xD83E}, {0xFF00, 0xFFFF}};

template <int Count>
bool isIn(const Range (&ranges)[Count], char32_t c)
{
    return std::any_of(ranges, ranges + Count, [c](const Range &range) {
        return c - range.first <= range.last - range.first;
    });
}

bool turns(ZkUcs2 unit)
{
    return unit >= kTurning[0].first && (isIn(kTurning, unit) || isIn(kTurningUnits, unit));
}

bool turns(char32_t c)
{
    return c >= kTurning[0].first && (isIn(kTurning, c) || isIn(kTurningPoints, c));
}

template <typename Unit>
ZkDirectionScan scanOneByOne(const Unit *text, int units)
{
    ZkDirectionScan scan = {true, false};
    for (int i = 0; i < units && scan.isLeftToRight; ++i) {
        if (!isIn(kQuietAscii, text[i])) {
            scan.isLeftToRight = !turns(text[i]);
            scan.isSeparated = scan.isSeparated || zkIsParagraphSeparator(text[i]);
        }
    }
    return scan;
}

template <typename Unit>
int findSeparatorOneByOne(const Unit *text, int first, int last)
{
    while (first < last && !zkIsParagraphSeparator(text[first])) {
        ++first;
    }
    return first;
}

#if ZK_HAS_LANES

template <const auto &ranges, std::size_t... I>
ZkLanes lanesIn(ZkLanes units, std::index_sequence<I...>)
{
    return (ZkLanes::within(units, ranges[I].first, ranges[I].last) | ...);
}

/// Lanes whose unit is in one of the ranges, which the compiler knows one by one.
template <const auto &ranges>
ZkLanes lanesIn(ZkLanes units)
{
    return lanesIn<ranges>(units, std::make_index_sequence<std::size(ranges)>());
}

#endif

} // namespace

ZkDirectionScan zkScanDirection(const ZkUcs2 *text, int units)
{
#if ZK_HAS_LANES
    if (units >= ZkLanes::kCount) {
        bool separated = false;
        for (int i = 0;; i += ZkLanes::kCount) {
            i = std::min(i, units - ZkLanes::kCount); // the last ones may be read again
            const ZkLanes lanes = ZkLanes::load(text + i);
            // Most texts have no other units.
            if (!lanesIn<kQuietAscii>(lanes).every() && !lanesIn<kQuiet>(lanes).every()) {
                if ((lanesIn<kTurning>(lanes) | lanesIn<kTurningUnits>(lanes)).any()) {
                    return {false, true};
                }
                separated = separated || lanesIn<kNearSeparators>(lanes).any();
            }
            if (i == units - ZkLanes::kCount) {
                return {true, separated};
            }
        }
    }
#endif
    return scanOneByOne(text, units);
}

ZkDirectionScan zkScanDirection(const char32_t *text, int count)
{
    return scanOneByOne(text, count);
}

bool zkIsRightToLeft(const ZkUcs2 *text, int units)
{
#if ZK_HAS_LANES
    if (units >= ZkLanes::kCount) {
        bool hasLetter = false;
        for (int i = 0;; i += ZkLanes::kCount) {
            i = std::min(i, units - ZkLanes::kCount);
            const ZkLanes lanes = ZkLanes::load(text + i);
            if (!lanesIn<kAmongLetters>(lanes).every()) {
                return false;
            }
            hasLetter = hasLetter || lanesIn<kLetters>(lanes).any();
            if (i == units - ZkLanes::kCount) {
                return hasLetter;
            }
        }
    }
#endif
    bool hasLetter = false;
    for (int i = 0; i < units; ++i) {
        if (!isIn(kAmongLetters, text[i])) {
            return false;
        }
        hasLetter = hasLetter || isIn(kLetters, text[i]);
    }
    return hasLetter;
}

int zkFindSeparator(const ZkUcs2 *text, int first, int last)
{
#if ZK_HAS_LANES
    // no test can tell: the rest is looked at one by one
    for (; first <= last - ZkLanes::kCount; first += ZkLanes::kCount) {
        const ZkLanes found = lanesIn<kSeparators>(ZkLanes::load(text + first));
        if (found.any()) {
            return first + ZkLanes::lowest(found.mask());
        }
    }
#endif
    return findSeparatorOneByOne(text, first, last);
}

int zkFindSeparator(const char32_t *text, int first, int last)
{
    return findSeparatorOneByOne(text, first, last);
}
