#include "unicode/zkunitclasses.h"

#include "base/zklanes.h"

#include <algorithm>
#include <atomic>

namespace
{

constexpr char32_t kFirstSyllable = 0xAC00, kSyllables = 11172, kSyllablesOfVowel = 28;

/// What every number above U+10FFFF counts as.
constexpr char32_t kNoCharacter = 0x110000;

/// Characters from here on are not found by their number alone.
constexpr char32_t kLow = 0x100;
static_assert(sizeof kZkLowUnits / sizeof *kZkLowUnits == kLow, "one for each character below");

/// The characters looked up last: in the upper half all but the lowest bits of one, and 1, in
/// the lower half its classes. An entry is right by itself, whoever writes it and when.
constexpr unsigned kKnown = 256;
constexpr unsigned slotOf(char32_t c)
{
    return c < kLow ? c : kLow + (c ^ c / kKnown) % kKnown;
}
constexpr std::uint32_t entryOf(char32_t c, unsigned classes)
{
    return (c / kKnown + 1) << 16 | classes;
}
std::atomic<std::uint32_t> known[kLow + kKnown];

void remember(char32_t c, unsigned classes)
{
    known[slotOf(c)].store(entryOf(c, classes), std::memory_order_relaxed);
}

/// The classes of a character that is not known, at most U+110000.
__attribute__((noinline)) std::uint16_t find(char32_t c)
{
    if (c - kFirstSyllable < kSyllables) {
        return kZkSyllableUnits[(c - kFirstSyllable) % kSyllablesOfVowel != 0 ? 1 : 0];
    }
    const std::uint16_t found =
        zkunit::ofRecord(c <= 0x10FFFF ? zkRecordNumber(c) : std::uint16_t(0));
    if (!zkIsSurrogate(c)) { // which are looked for before it is known whether they are one of two
        remember(c, found);
    }
    return found;
}

/// The classes of a character, in the lower half, if the upper one is 0.
__attribute__((always_inline)) inline std::uint32_t knownOf(char32_t c)
{
    return known[slotOf(c)].load(std::memory_order_relaxed) ^ entryOf(c, 0);
}

/// The classes of a character that is no surrogate of a pair, at most U+110000.
std::uint16_t classesOf(char32_t c)
{
    if (c < kLow) {
        return kZkLowUnits[c];
    }
    const std::uint32_t entry = knownOf(c);
    return entry <= 0xFFFF ? static_cast<std::uint16_t>(entry) : find(c);
}

/// The classes of a unit that is not low and not known.
__attribute__((noinline)) std::uint16_t findUnit(const ZkUcs2 *text, int i, int end)
{
    const char32_t unit = text[i];
    if (zkIsTrailSurrogate(unit) && i > 0 && zkIsLeadSurrogate(text[i - 1])) {
        return static_cast<std::uint16_t>(classesOf(zkPairOf(text[i - 1], unit)) |
                                          zkunit::kPairTrail);
    }
    if (zkIsLeadSurrogate(unit) && i + 1 < end && zkIsTrailSurrogate(text[i + 1])) {
        return classesOf(zkPairOf(unit, text[i + 1]));
    }
    return find(unit);
}

inline std::uint16_t unitAt(const ZkUcs2 *text, int i, int end)
{
    if (text[i] < kLow) {
        return kZkLowUnits[text[i]];
    }
    const std::uint32_t entry = knownOf(text[i]);
    return entry <= 0xFFFF ? static_cast<std::uint16_t>(entry) : findUnit(text, i, end);
}

void readEach(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units)
{
    for (int i = first; i < last; ++i) {
        *units++ = unitAt(text, i, end);
    }
}

#if ZK_HAS_LANES

/// A group of units below `kLow`.
inline void readLow(const ZkUcs2 *text, std::uint16_t *units)
{
    const auto read = [&](int i) { units[i] = kZkLowUnits[text[i]]; };
    read(0), read(1), read(2), read(3), read(4), read(5), read(6), read(7);
}

/// Letters that stand side by side in the code, all of one class.
class Letters
{
public:
    explicit Letters(const ZkPlainRange &range) { choose(range); }

    void choose(const ZkPlainRange &range)
    {
        m_first = ZkLanes::all(range.first);
        m_distance = ZkLanes::all(static_cast<unsigned>(range.last - range.first));
        m_classes = ZkLanes::all(range.unit);
    }

    /// Adds the classes of lanes that are such letters; returns which are.
    ZkLanes read(ZkLanes lanes, ZkLanes *classes) const
    {
        const ZkLanes are = ZkLanes::within(lanes, m_first, m_distance);
        *classes = *classes | (are & m_classes);
        return are;
    }

private:
    ZkLanes m_first, m_distance, m_classes;
};

/// Adds the classes of lanes that are Hangul syllables; returns which are.
ZkLanes readSyllables(ZkLanes lanes, ZkLanes *classes)
{
    const ZkLanes are = ZkLanes::within(lanes, kFirstSyllable, kFirstSyllable + kSyllables - 1);
    if (!are.any()) {
        return are;
    }
    const ZkLanes numbers = lanes - ZkLanes::all(kFirstSyllable);
    // Divided by 28: the quotient is right for all of them.
    const ZkLanes vowels = ZkLanes::timesUpper(numbers.shiftedRight<2>(), ZkLanes::all(9363));
    const ZkLanes isOpen = vowels * ZkLanes::all(kSyllablesOfVowel) == numbers;
    *classes = *classes | (are & ZkLanes::either(isOpen, ZkLanes::all(kZkSyllableUnits[0]),
                                                 ZkLanes::all(kZkSyllableUnits[1])));
    return are;
}

/// The classes of characters where they are known, and else something else; of each character
/// the lower byte is in `units`, what is above it in `numbers`. Returns which are known.
inline ZkLanes readKnown(ZkLanes units, ZkLanes numbers, ZkLanes *classes)
{
    static_assert(kLow == 256 && kKnown == 256, "the lower byte is left out");
    const ZkLanes areLow = numbers == ZkLanes::all(0);
    ZkUcs2 slots[ZkLanes::kCount];
    (((units ^ numbers) & ZkLanes::all(kKnown - 1)) | ZkLanes::all(kLow).without(areLow))
        .forEach([&](int i, ZkUcs2 slot) { slots[i] = slot; });
    ZkLanes tags;
    ZkLanes::halvesOf([&](int i) { return known[slots[i]].load(std::memory_order_relaxed); },
                      classes, &tags);
    return tags == numbers + ZkLanes::all(1);
}

/// The same for a group's characters, with the units beside it.
ZkLanes readKnown(const ZkUcs2 *text, ZkLanes *classes)
{
    const ZkLanes units = ZkLanes::load(text);
    const ZkLanes before = ZkLanes::load(text - 1), behind = ZkLanes::load(text + 1);
    const auto kind = [](ZkLanes lanes) { return lanes & ZkLanes::all(0xFC00); };
    const auto isLead = [&](ZkLanes lanes) { return kind(lanes) == ZkLanes::all(0xD800); };
    const auto isTrail = [&](ZkLanes lanes) { return kind(lanes) == ZkLanes::all(0xDC00); };
    const ZkLanes first = isLead(units) & isTrail(behind), second = isTrail(units) & isLead(before);
    const ZkLanes lead = ZkLanes::either(second, before, units),
                  trail = ZkLanes::either(first, behind, units);
    const ZkLanes numbers = ZkLanes::either(first | second,
                                            (lead - ZkLanes::all(0xD7C0)).shiftedLeft<2>() |
                                                (trail.shiftedRight<8>() & ZkLanes::all(3)),
                                            units.shiftedRight<8>());
    const ZkLanes are = readKnown(trail, numbers, classes);
    *classes = *classes | (second & ZkLanes::all(zkunit::kPairTrail));
    return are;
}

/// The units beside a group too, zeros where the text has none.
class Surrounded
{
public:
    Surrounded(const ZkUcs2 *text, int first, int end) : m_text(text + first)
    {
        if (first == 0 || first + ZkLanes::kCount >= end) {
            ZkLanes::load(m_text).store(m_copy + 1);
            m_copy[0] = first > 0 ? m_text[-1] : ZkUcs2(0);
            m_copy[ZkLanes::kCount + 1] =
                // no test can tell: any unit but half a pair
                first + ZkLanes::kCount < end ? m_text[ZkLanes::kCount] : ZkUcs2(0);
            m_text = m_copy + 1;
        }
    }
    const ZkUcs2 *text() const { return m_text; }

private:
    const ZkUcs2 *m_text;
    ZkUcs2 m_copy[ZkLanes::kCount + 2];
};

/// Reads as many units at once as there are lanes.
class GroupReader
{
public:
    explicit GroupReader(const ZkUcs2 *text, int end) : m_text(text), m_end(end) {}

    void read(int first, std::uint16_t *units)
    {
        const ZkUcs2 *const text = m_text + first;
        const ZkLanes lanes = ZkLanes::load(text);
        if (ZkLanes::within(lanes, 0, kLow - 1).every()) {
            readLow(text, units);
        } else if (m_hasPairs && haveSurrogate(lanes)) {
            readPairs(first).store(units);
        } else {
            readLetters(first, units);
        }
    }

private:
    static bool haveSurrogate(ZkLanes lanes)
    {
        return ((lanes & ZkLanes::all(0xF800)) == ZkLanes::all(0xD800)).any();
    }
    void readLetters(int first, std::uint16_t *units);
    ZkLanes readMixed(int first, ZkLanes letters, ZkLanes classes);
    ZkLanes readStretch(ZkLanes lanes, ZkUcs2 unit, ZkLanes *classes);
    ZkLanes readPairs(int first) const;
    ZkLanes readMissing(int first, ZkLanes are, ZkLanes classes) const;

    const ZkUcs2 *m_text;
    int m_end;
    // Most texts have letters of one stretch beside Latin, few of more than two.
    Letters m_letters = Letters(kZkPlainRanges[kZkFirstStretch]);
    Letters m_others = Letters(kZkPlainRanges[kZkFirstStretch + 1]);
    ZkLanes m_space = ZkLanes::all(kZkLowUnits[0x20]);
    bool m_hasPairs = false; // the text has had some, so others are looked for first
};

/// The classes of a group with surrogates.
__attribute__((noinline)) ZkLanes GroupReader::readPairs(int first) const
{
    ZkLanes classes;
    const ZkLanes are = readKnown(Surrounded(m_text, first, m_end).text(), &classes);
    return are.every() ? classes : readMissing(first, are, classes);
}

/// Adds to `classes` those of the lanes that `are` not found yet.
__attribute__((noinline)) ZkLanes GroupReader::readMissing(int first, ZkLanes are,
                                                           ZkLanes classes) const
{
    std::uint16_t units[ZkLanes::kCount];
    classes.store(units);
    for (ZkLanes::Mask missing = (are == ZkLanes::all(0)).mask(); missing != 0;
         missing = ZkLanes::withoutLowest(missing)) {
        const int i = ZkLanes::lowest(missing);
        units[i] = unitAt(m_text, first + i, m_end);
        if (m_text[first + i] < kLow) {
            remember(m_text[first + i], units[i]); // groups with others look there for all
        }
    }
    return ZkLanes::load(units);
}

/// A group with letters that are not low. Most have nothing else but spaces.
__attribute__((noinline)) void GroupReader::readLetters(int first, std::uint16_t *units)
{
    const ZkLanes lanes = ZkLanes::load(m_text + first), spaces = lanes == ZkLanes::all(' ');
    ZkLanes classes = spaces & m_space;
    const ZkLanes letters = m_letters.read(lanes, &classes) | m_others.read(lanes, &classes);
    if ((letters | spaces).every()) {
        classes.store(units);
    } else if (haveSurrogate(lanes)) {
        m_hasPairs = true;
        readPairs(first).store(units);
    } else {
        readMixed(first, letters, classes).store(units);
    }
}

/// Adds to `classes` those of other lanes than `letters` and spaces, none of them a surrogate.
__attribute__((noinline)) ZkLanes GroupReader::readMixed(int first, ZkLanes letters,
                                                         ZkLanes classes)
{
    const ZkUcs2 *const text = m_text + first;
    const ZkLanes lanes = ZkLanes::load(text);
    if (!letters.any() && text[3] < kFirstSyllable) {
        letters = readStretch(lanes, text[3], &classes);
    }
    letters = letters | readSyllables(lanes, &classes);
    const ZkLanes low = ZkLanes::within(lanes, 0, kLow - 1);
    if ((letters | low).every()) {
        return classes | (ZkLanes::of([text](int i) { return kZkLowUnits[text[i] % kLow]; }) & low);
    }
    ZkLanes found;
    const ZkLanes are = readKnown(lanes, lanes.shiftedRight<8>(), &found) | letters;
    classes = classes | (found & are).without(letters);
    return are.every() ? classes : readMissing(first, are, classes);
}

/// The same for letters of the stretch that has `unit`, which is no syllable and nothing above
/// them, if there is one.
__attribute__((noinline)) ZkLanes GroupReader::readStretch(ZkLanes lanes, ZkUcs2 unit,
                                                           ZkLanes *classes)
{
    const ZkPlainRange *range = kZkPlainRanges; // the last one is above any such unit
    while (range->last < unit) {
        ++range;
    }
    if (range->first > unit) {
        return ZkLanes::all(0);
    }
    m_others = m_letters;
    m_letters.choose(*range);
    return m_letters.read(lanes, classes);
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

void zkunit::read(const ZkUcs2 *text, int first, int last, int end, std::uint16_t *units)
{
#if ZK_HAS_LANES
    constexpr int kCount = ZkLanes::kCount;
    if (last - first >= kCount) {
        GroupReader reader(text, end);
        for (int i = first; i < last - kCount; i += kCount) {
            reader.read(i, units + (i - first));
        }
        reader.read(last - kCount, units + (last - kCount - first)); // some may be read again
        return;
    }
#endif
    readEach(text, first, last, end, units);
}

void zkunit::read(const char32_t *text, int first, int last, int, std::uint16_t *units)
{
    for (int i = first; i < last; ++i) {
        const char32_t c = std::min(text[i], kNoCharacter);
        units[i - first] = classesOf(c);
    }
}
