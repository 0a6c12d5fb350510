#include "zktextbreaks.h"

#include "unicode/zkbreaktables.h"
#include "unicode/zkcharactertables.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

ZkWordBreaker::~ZkWordBreaker() = default;

namespace
{

constexpr unsigned kVerdictShift = 6;
constexpr unsigned kStateMask = (1U << kVerdictShift) - 1;
constexpr unsigned kLater = 2U << kVerdictShift; // set for a doubt and for its end

constexpr unsigned kClassSA = unsigned(ZkCharacter::LineSA) << 7;
constexpr unsigned kLineMask = 63U << 7;

/// True for a verdict that lets a boundary be, for now at least.
constexpr unsigned allows(unsigned entry)
{
    return (entry >> kVerdictShift ^ entry >> (kVerdictShift + 1)) & 1;
}

/// Reads records one after the other and writes the flags before each.
class Divider
{
public:
    Divider(std::uint8_t *flags, bool clusters) : m_flags(flags), m_clusters(clusters) {}

    /// The next `count` records, of the units from `first` on.
    void read(const std::uint16_t *records, int first, int count);

private:
    void settle(int i, unsigned lineEntry, unsigned wordEntry);
    void divideUnspaced(int i, std::uint16_t record);

    std::uint8_t *m_flags;
    unsigned m_line = 0, m_grapheme = 0, m_word = 0; // states
    int m_lineDoubt = 0, m_wordDoubt = 0;            // where the last doubt was
    const ZkCharacter *m_unspaced = nullptr;         // the last character, when it is of class SA
    bool m_clusters;                                 // lines may end between such characters
};

void Divider::read(const std::uint16_t *records, int first, int count)
{
    const auto lineWidth = static_cast<unsigned>(kZkLineWidth);
    const auto graphemeWidth = static_cast<unsigned>(kZkGraphemeWidth);
    const auto wordWidth = static_cast<unsigned>(kZkWordWidth);
    const auto firstHard = static_cast<unsigned>(kZkLineFirstHard);
    unsigned line = m_line, grapheme = m_grapheme, word = m_word;
    for (int i = 0; i < count; ++i) {
        std::uint8_t *const flags = m_flags + first + i;
        if (records[i] == kZkPairTrail) {
            *flags = 0;
            continue;
        }
        const std::uint32_t classes = zkClasses(records[i]);
        const unsigned lineEntry =
            kZkLineNext[line * lineWidth + kZkLineColumns[zkLineIndexOf(classes)]];
        const unsigned graphemeEntry =
            kZkGraphemeNext[grapheme * graphemeWidth +
                            kZkGraphemeColumns[zkGraphemeIndexOf(classes)]];
        const unsigned wordEntry =
            kZkWordNext[word * wordWidth + kZkWordColumns[zkWordIndexOf(classes)]];
        const unsigned lineFlags =
            line >= firstHard ? unsigned(ZkTextBreaks::LineAllowed | ZkTextBreaks::LineMandatory)
                              : unsigned(ZkTextBreaks::LineAllowed);
        *flags = static_cast<std::uint8_t>(allows(lineEntry) * lineFlags |
                                           allows(graphemeEntry) * ZkTextBreaks::Grapheme |
                                           allows(wordEntry) * ZkTextBreaks::Word);
        if (((lineEntry | wordEntry) & kLater) != 0) {
            settle(first + i, lineEntry, wordEntry);
        }
        if ((classes & kLineMask) == kClassSA) {
            divideUnspaced(first + i, records[i]);
        } else {
            m_unspaced = nullptr;
        }
        line = lineEntry & kStateMask;
        grapheme = graphemeEntry & kStateMask;
        word = wordEntry & kStateMask;
    }
    m_line = line;
    m_grapheme = grapheme;
    m_word = word;
}

/// Remembers a boundary in doubt, or takes the last one back.
void Divider::settle(int i, unsigned lineEntry, unsigned wordEntry)
{
    if (lineEntry >> kVerdictShift == ZkBreakDoubt) {
        m_lineDoubt = i;
    } else if (lineEntry >> kVerdictShift == ZkBreakRevoke) {
        m_flags[m_lineDoubt] &= static_cast<std::uint8_t>(~ZkTextBreaks::LineAllowed);
    }
    if (wordEntry >> kVerdictShift == ZkBreakDoubt) {
        m_wordDoubt = i;
    } else if (wordEntry >> kVerdictShift == ZkBreakRevoke) {
        m_flags[m_wordDoubt] &= static_cast<std::uint8_t>(~ZkTextBreaks::Word);
    }
}

/// A line may end between two clusters of a script without spaces.
void Divider::divideUnspaced(int i, std::uint16_t record)
{
    const ZkCharacter *const before = m_unspaced;
    m_unspaced = &kZkCharacterRecords[record];
    if (m_clusters && before != nullptr && (m_flags[i] & ZkTextBreaks::Grapheme) != 0 &&
        before->indic != ZkCharacter::IndicLeadingVowel &&
        before->indic != ZkCharacter::IndicStacker &&
        m_unspaced->indic != ZkCharacter::IndicFollowingVowel) {
        m_flags[i] |= ZkTextBreaks::LineAllowed;
    }
}

void finish(std::uint8_t *flags, int units)
{
    flags[units] = units == 0
                       ? std::uint8_t(0)
                       : std::uint8_t(ZkTextBreaks::LineAllowed | ZkTextBreaks::LineMandatory |
                                      ZkTextBreaks::Grapheme | ZkTextBreaks::Word);
}

} // namespace

namespace
{

/// Characters of class SA, which a `ZkWordBreaker` is asked about. None is below U+0E00.
bool isUnspaced(char32_t c)
{
    return c >= 0x0E00 && zkCharacter(c).line == ZkCharacter::LineSA;
}

/// The character at `i` of UTF-16, and how many units it takes.
char32_t characterAt(const ZkUcs2 *text, int i, int units, int *length)
{
    const bool isPair =
        zkIsLeadSurrogate(text[i]) && i + 1 < units && zkIsTrailSurrogate(text[i + 1]);
    *length = isPair ? 2 : 1;
    return isPair ? zkPairOf(text[i], text[i + 1]) : char32_t(text[i]);
}

char32_t characterAt(const char32_t *text, int i, int, int *length)
{
    *length = 1;
    return text[i];
}

/// Asks a breaker about each run of a text and writes its answers among the flags.
class Asking
{
public:
    Asking(ZkWordBreaker *breaker, std::uint8_t *flags, int units)
        : m_breaker(breaker), m_flags(flags), m_room(units)
    {
    }
    ~Asking()
    {
        std::free(m_starts);
        std::free(m_run);
    }
    Asking(const Asking &) = delete;
    Asking &operator=(const Asking &) = delete;

    template <typename Unit>
    void read(const Unit *text);

private:
    const ZkUcs2 *unitsOf(const ZkUcs2 *run, int count, int *units);
    const ZkUcs2 *unitsOf(const char32_t *run, int count, int *units);
    template <typename Unit>
    void answer(const Unit *run, int first, int count);

    ZkWordBreaker *m_breaker;
    std::uint8_t *m_flags;
    int m_room;                       // units of the text
    std::uint8_t *m_starts = nullptr; // the breaker's answers
    ZkUcs2 *m_run = nullptr;          // a run of code points as units
};

template <typename Unit>
void Asking::read(const Unit *text)
{
    int first = 0; // of the run before `i`, empty when it is `i`
    int length = 0;
    for (int i = 0; i < m_room; i += length) {
        if (!isUnspaced(characterAt(text, i, m_room, &length))) {
            if (i > first) {
                answer(text + first, first, i - first);
            }
            first = i + length;
        }
    }
    if (m_room > first) {
        answer(text + first, first, m_room - first);
    }
}

const ZkUcs2 *Asking::unitsOf(const ZkUcs2 *run, int count, int *units)
{
    *units = count;
    return run;
}

const ZkUcs2 *Asking::unitsOf(const char32_t *run, int count, int *units)
{
    if (m_run == nullptr) {
        m_run = static_cast<ZkUcs2 *>(zkAllocate(std::int64_t(m_room) * 2 * int(sizeof(ZkUcs2))));
    }
    ZkUcs2 *to = m_run;
    for (int i = 0; i < count; ++i) {
        if (run[i] >= 0x10000) {
            *to++ = static_cast<ZkUcs2>(0xD7C0 + (run[i] >> 10));
            *to++ = static_cast<ZkUcs2>(0xDC00 + (run[i] & 0x3FF));
        } else {
            *to++ = static_cast<ZkUcs2>(run[i]);
        }
    }
    *units = static_cast<int>(to - m_run);
    return m_run;
}

template <typename Unit>
void Asking::answer(const Unit *run, int first, int count)
{
    if (m_starts == nullptr) {
        m_starts = static_cast<std::uint8_t *>(zkAllocate(std::int64_t(m_room) * 2));
    }
    int units = 0;
    const ZkUcs2 *const asked = unitsOf(run, count, &units);
    std::memset(m_starts, 0, static_cast<std::size_t>(units));
    m_breaker->findWords(asked, units, m_starts);
    constexpr std::uint8_t kWords = ZkTextBreaks::LineAllowed | ZkTextBreaks::Word;
    int unit = 0; // of what was asked; a code point may be two of them
    for (int i = 0; i < count; ++i) {
        std::uint8_t *const flags = m_flags + first + i;
        const bool isStart = m_starts[unit] != 0 && (*flags & ZkTextBreaks::Grapheme) != 0;
        if (i > 0) {
            *flags = static_cast<std::uint8_t>((*flags & ~kWords) | (isStart ? kWords : 0));
        }
        unit += run[i] >= 0x10000 ? 2 : 1;
    }
}

/// The records of a text for a `Divider`, looked up piece by piece in a fixed room.
template <typename Unit>
void divide(const Unit *text, int units, Divider &divider)
{
    constexpr int kPiece = 256;
    std::uint16_t records[kPiece + 1];
    for (int first = 0; first < units;) {
        const int last = zkLookUp(text, first, std::min(first + kPiece, units), units, records);
        divider.read(records, first, last - first);
        first = last;
    }
}

template <typename Unit>
void findIn(const Unit *text, int units, std::uint8_t *flags, ZkTextBreaks::Unspaced unspaced,
            ZkWordBreaker *breaker)
{
    Divider divider(flags, unspaced == ZkTextBreaks::BetweenClusters && breaker == nullptr);
    divide(text, units, divider);
    finish(flags, units);
    if (breaker != nullptr) {
        Asking(breaker, flags, units).read(text);
    }
}

} // namespace

void ZkTextBreaks::find(const ZkUcs2 *text, int units, std::uint8_t *flags, Unspaced unspaced,
                        ZkWordBreaker *breaker)
{
    findIn(text, units, flags, unspaced, breaker);
}

void ZkTextBreaks::find(const char32_t *text, int count, std::uint8_t *flags, Unspaced unspaced,
                        ZkWordBreaker *breaker)
{
    findIn(text, count, flags, unspaced, breaker);
}

void ZkTextBreaks::find(const ZkTextCharacters &text, std::uint8_t *flags, Unspaced unspaced,
                        ZkWordBreaker *breaker)
{
    findRange(text, 0, text.m_size, flags, unspaced, breaker);
}

/// The flags of the units `[first, last)`, as of a text of their own.
void ZkTextBreaks::findRange(const ZkTextCharacters &text, int first, int last, std::uint8_t *flags,
                             Unspaced unspaced, ZkWordBreaker *breaker)
{
    Divider divider(flags, unspaced == BetweenClusters && breaker == nullptr);
    divider.read(text.m_records + first, 0, last - first);
    finish(flags, last - first);
    if (breaker != nullptr) {
        Asking asking(breaker, flags, last - first);
        if (text.m_units != nullptr) {
            asking.read(text.m_units + first);
        } else {
            asking.read(text.m_points + first);
        }
    }
}

ZkTextBreaks::ZkTextBreaks()
    : m_flags(nullptr), m_size(0), m_capacity(0), m_breaker(nullptr), m_unspaced(BetweenClusters)
{
    reserve(0);
    m_flags[0] = 0;
}

ZkTextBreaks::~ZkTextBreaks()
{
    std::free(m_flags);
}

/// Makes room for the flags of `units` and keeps those there are.
void ZkTextBreaks::reserve(int units)
{
    if (units >= m_capacity) {
        m_capacity =
            static_cast<int>(std::min(std::int64_t(units) * 3 / 2 + 16, std::int64_t(INT32_MAX)));
        m_flags = static_cast<std::uint8_t *>(zkReallocate(m_flags, m_capacity));
    }
}

void ZkTextBreaks::setText(const ZkUcs2 *text, int units)
{
    reserve(units);
    m_size = units;
    find(text, units, m_flags, m_unspaced, m_breaker);
}

void ZkTextBreaks::setText(const char32_t *text, int count)
{
    reserve(count);
    m_size = count;
    find(text, count, m_flags, m_unspaced, m_breaker);
}

void ZkTextBreaks::setText(const ZkTextCharacters &text)
{
    reserve(text.size());
    m_size = text.size();
    find(text, m_flags, m_unspaced, m_breaker);
}

void ZkTextBreaks::edit(const ZkTextCharacters &text, int first, int removed, int inserted)
{
    // A paragraph's end may join what is set behind it (a carriage return and a line
    // feed), so the ends beside the edit do not count.
    int begin = std::max(first - 1, 0);
    while (begin > 0 && (m_flags[begin] & LineMandatory) == 0) {
        --begin;
    }
    int end = std::min(first + removed + 1, m_size);
    while (end < m_size && (m_flags[end] & LineMandatory) == 0) {
        ++end;
    }
    const int change = inserted - removed;
    reserve(text.size());
    std::memmove(m_flags + end + change, m_flags + end, static_cast<std::size_t>(m_size - end) + 1);
    m_size = text.size();
    const std::uint8_t before = m_flags[begin];
    findRange(text, begin, end + change, m_flags + begin, m_unspaced, m_breaker);
    if (begin > 0) {
        m_flags[begin] = before;
    }
}
