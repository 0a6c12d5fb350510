#include "unicode/zkunitclasses.h"

#include "base/zklanes.h"

#include <algorithm>

namespace
{

constexpr char32_t kFirstSyllable = 0xAC00, kSyllables = 11172, kSyllablesOfVowel = 28;

/// What every number above U+10FFFF counts as.
constexpr char32_t kNoCharacter = 0x110000;

#if ZK_HAS_LANES

/// A group of units of ASCII.
inline void readAscii(const ZkUcs2 *text, std::uint16_t *units)
{
    const auto read = [&](int i) { units[i] = kZkAsciiUnits[text[i]]; };
    read(0), read(1), read(2), read(3), read(4), read(5), read(6), read(7);
}

#endif

} // namespace

std::uint16_t zkunit::ofRecord(std::uint16_t number)
{
    const ZkRecordBits record = zkRecordBits(number);
    constexpr int kShift = 32 - 9; // there are 512 places
    static_assert(sizeof kZkBreakClasses == 1U << (32 - kShift), "as the generator reckons");
    const std::uint32_t place = zkBreakKeyOf(record) * kZkClassFactor >> kShift;
    const unsigned cls = kZkBreakClasses[place];
    const unsigned code = cls < kZkCommonClasses ? cls << (kCommonShift - kBidiBits)
                                                 : cls - kZkCommonClasses + kCommonCodes;
    return static_cast<std::uint16_t>(code << kBidiBits | (record.low & ((1U << kBidiBits) - 1)));
}

ZkUnitReader::ZkUnitReader()
{
    std::fill_n(m_known, kKnown, ~0U); // no character has these bits
}

/// The classes of a character that is not known.
__attribute__((noinline)) std::uint16_t ZkUnitReader::find(char32_t c)
{
    const std::uint16_t found =
        zkunit::ofRecord(c <= 0x10FFFF ? zkRecordNumber(c) : std::uint16_t(0));
    m_known[slotOf(c)] = c / kKnown << 16 | found;
    return found;
}

/// The classes of a character that is no surrogate of a pair, at most U+110000.
inline std::uint16_t ZkUnitReader::classesOf(char32_t c)
{
    if (c < 0x80) {
        return kZkAsciiUnits[c];
    }
    if (c - kFirstSyllable < kSyllables) {
        return kZkSyllableUnits[(c - kFirstSyllable) % kSyllablesOfVowel != 0 ? 1 : 0];
    }
    const std::uint32_t known = m_known[slotOf(c)];
    return known >> 16 == c / kKnown ? static_cast<std::uint16_t>(known) : find(c);
}

/// The same where text[i] is one.
__attribute__((noinline)) std::uint16_t ZkUnitReader::surrogateAt(const ZkUcs2 *text, int i,
                                                                  int end)
{
    const char32_t unit = text[i];
    if (zkIsTrailSurrogate(unit)) {
        return i > 0 && zkIsLeadSurrogate(text[i - 1]) ? kZkPairTrail : classesOf(unit);
    }
    return classesOf(i + 1 < end && zkIsTrailSurrogate(text[i + 1]) ? zkPairOf(unit, text[i + 1])
                                                                    : unit);
}

inline std::uint16_t ZkUnitReader::unitAt(const ZkUcs2 *text, int i, int end)
{
    return zkIsSurrogate(text[i]) ? surrogateAt(text, i, end) : classesOf(text[i]);
}

#if ZK_HAS_LANES

/// The classes of letters that stand side by side in the code, eight at once, and of spaces.
/// Most texts have those of one stretch.
class ZkUnitReader::Letters
{
public:
    Letters() { choose(kZkPlainRanges[0]); }

    /// Writes the classes of lanes that are such letters or spaces, and 0 for the others; false
    /// when there is no letter. `sample` is one of the units.
    bool read(ZkLanes units, ZkUcs2 sample, ZkLanes *classes)
    {
        ZkLanes letters = ZkLanes::within(units, m_first, m_distance);
        if (!letters.any()) {
            if (!chooseFor(sample)) {
                return false;
            }
            letters = ZkLanes::within(units, m_first, m_distance);
        }
        *classes = (letters & m_letter) | ((units == ZkLanes::all(' ')) & m_space);
        return true;
    }

private:
    void choose(const ZkPlainRange &range)
    {
        m_first = ZkLanes::all(range.first);
        m_distance = ZkLanes::all(static_cast<unsigned>(range.last - range.first));
        m_letter = ZkLanes::all(range.unit);
    }

    bool chooseFor(ZkUcs2 sample)
    {
        if (sample >= kFirstSyllable) { // no test can tell: one by one they are read alike
            return false;               // no test can tell: the last stretch is of ideographs
        }
        const ZkPlainRange *range = kZkPlainRanges;
        while (range->last < sample) {
            ++range;
        }
        if (range->first > sample) {
            return false;
        }
        choose(*range);
        return true;
    }

    ZkLanes m_first, m_distance, m_letter;
    ZkLanes m_space = ZkLanes::all(kZkAsciiUnits[0x20]);
};

/// As many units as there are lanes, not all of them ASCII.
void ZkUnitReader::readGroup(const ZkUcs2 *text, int first, int end, Letters &letters,
                             std::uint16_t *units)
{
    ZkLanes found;
    if (!letters.read(ZkLanes::load(text + first), text[first + 3], &found)) {
        readEach(text, first, first + ZkLanes::kCount, end, units);
        return;
    }
    found.store(units);
    for (ZkLanes::Mask others = (found == ZkLanes::all(0)).mask(); others != 0;
         others = ZkLanes::withoutLowest(others)) {
        const int i = ZkLanes::lowest(others);
        units[i] = unitAt(text, first + i, end);
    }
}

void ZkUnitReader::read(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units)
{
    constexpr int kCount = ZkLanes::kCount;
    if (last - first < kCount) {
        readEach(text, first, last, end, units);
        return;
    }
    Letters letters;
    for (int i = first;; i += kCount) {
        i = std::min(i, last - kCount); // the last ones may be read again
        std::uint16_t *const to = units + (i - first);
        if (ZkLanes::within(ZkLanes::load(text + i), 0x80, 0xFFFF).any()) {
            readGroup(text, i, end, letters, to);
        } else {
            readAscii(text + i, to);
        }
        if (i == last - kCount) {
            return;
        }
    }
}

#else

void ZkUnitReader::read(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units)
{
    readEach(text, first, last, end, units);
}

#endif

void ZkUnitReader::readEach(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units)
{
    for (int i = first; i < last; ++i) {
        units[i - first] = unitAt(text, i, end);
    }
}

void ZkUnitReader::read(const char32_t *text, int first, int last, int, std::uint16_t *units)
{
    for (int i = first; i < last; ++i) {
        const char32_t c = std::min(text[i], kNoCharacter);
        units[i - first] = classesOf(c);
    }
}
