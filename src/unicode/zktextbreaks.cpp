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
constexpr unsigned kRare = 2U << kVerdictShift; // neither a plain yes nor a plain no

constexpr unsigned kLines = ZkTextBreaks::LineAllowed, kWords = ZkTextBreaks::Word,
                   kClusters = ZkTextBreaks::Grapheme;
constexpr unsigned kAll = ZkTextBreaks::AllKinds;

/// A plain yes as `flag`.
constexpr unsigned flagOf(unsigned entry, unsigned flag)
{
    return (entry >> kVerdictShift & 1) * flag;
}

/// Reads records one after the other and writes the flags before each.
class Divider
{
public:
    explicit Divider(std::uint8_t *flags) : m_flags(flags) {}

    /// The next `count` records, of the units from `first` on; boundaries of `Kinds`.
    template <unsigned Kinds>
    void read(const std::uint16_t *records, int first, int count);

    /// True when lines were asked for and there was a letter of class SA.
    bool hasUnspaced() const { return m_unspaced; }

private:
    unsigned settle(int i, unsigned line, unsigned lineEntry, unsigned wordEntry);

    std::uint8_t *m_flags;
    unsigned m_line = 0, m_grapheme = 0, m_word = 0; // states
    int m_lineDoubt = 0, m_wordDoubt = 0;            // where the last doubt was
    bool m_unspaced = false;
};

template <unsigned Kinds>
void Divider::read(const std::uint16_t *records, int first, int count)
{
    std::uint8_t *const flags = m_flags + first;
    unsigned line = m_line, grapheme = m_grapheme, word = m_word;
    bool unspaced = false;
    for (int i = 0; i < count; ++i) {
        if (records[i] == kZkPairTrail) {
            flags[i] = 0;
            continue;
        }
        const std::uint32_t classes = zkClasses(records[i]);
        unsigned lineEntry = 0, wordEntry = 0, found = 0;
        if ((Kinds & kLines) != 0) {
            const unsigned column = kZkLineColumns[zkLineIndexOf(classes)];
            unspaced |= column == kZkLineUnspaced;
            lineEntry = kZkLineNext[line * kZkLineWidth + column];
            found = flagOf(lineEntry, kLines);
        }
        if ((Kinds & kClusters) != 0) {
            const unsigned column = kZkGraphemeColumns[zkGraphemeIndexOf(classes)];
            const unsigned entry = kZkGraphemeNext[grapheme * kZkGraphemeWidth + column];
            grapheme = entry & kStateMask;
            found |= flagOf(entry, kClusters);
        }
        if ((Kinds & kWords) != 0) {
            const unsigned column = kZkWordColumns[zkWordIndexOf(classes)];
            wordEntry = kZkWordNext[word * kZkWordWidth + column];
            word = wordEntry & kStateMask;
            found |= flagOf(wordEntry, kWords);
        }
        if (((lineEntry | wordEntry) & kRare) != 0) {
            found = (found & kClusters) | settle(first + i, line, lineEntry, wordEntry);
        }
        line = lineEntry & kStateMask;
        flags[i] = static_cast<std::uint8_t>(found);
    }
    m_line = line;
    m_grapheme = grapheme;
    m_word = word;
    m_unspaced = m_unspaced || unspaced;
}

/// The flags for lines and words where one of the verdicts is not plain. `line` is the
/// state for lines before the character at `i`.
__attribute__((noinline)) unsigned Divider::settle(int i, unsigned line, unsigned lineEntry,
                                                   unsigned wordEntry)
{
    const unsigned lineVerdict = lineEntry >> kVerdictShift;
    const unsigned wordVerdict = wordEntry >> kVerdictShift;
    unsigned flags = 0;
    if (line >= kZkLineFirstHard) {
        flags = lineVerdict == ZkBreakRevoke ? static_cast<unsigned>(ZkTextBreaks::Lines) : 0U;
    } else if (lineVerdict == ZkBreakRevoke) {
        m_flags[m_lineDoubt] &= static_cast<std::uint8_t>(~kLines);
    } else {
        flags = lineVerdict != ZkBreakNo ? kLines : 0U;
        m_lineDoubt = lineVerdict == ZkBreakDoubt ? i : m_lineDoubt;
    }
    if (wordVerdict == ZkBreakRevoke) {
        m_flags[m_wordDoubt] &= static_cast<std::uint8_t>(~kWords);
    } else {
        flags |= wordVerdict != ZkBreakNo ? kWords : 0U;
        m_wordDoubt = wordVerdict == ZkBreakDoubt ? i : m_wordDoubt;
    }
    return flags;
}

/// At the end of a text all ends; an empty one has no end.
void finish(std::uint8_t *flags, int units, unsigned kinds)
{
    flags[units] = units == 0 ? std::uint8_t(0) : static_cast<std::uint8_t>(kinds);
}

/// Takes away the flags of kinds that were not asked for.
void clearBut(std::uint8_t *flags, int units, unsigned kinds)
{
    for (int i = 0; i <= units; ++i) {
        flags[i] &= static_cast<std::uint8_t>(kinds);
    }
}

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
    return isPair ? zkPairOf(text[i], text[i + 1]) : static_cast<char32_t>(text[i]);
}

char32_t characterAt(const char32_t *text, int i, int, int *length)
{
    *length = 1;
    return text[i];
}

/// Lets lines end between the clusters of scripts without spaces.
template <typename Unit>
void divideClusters(const Unit *text, int units, std::uint8_t *flags)
{
    const ZkCharacter *before = nullptr; // the last character, when it is of class SA
    unsigned grapheme = 0;
    int length = 0;
    for (int i = 0; i < units; i += length) {
        const char32_t c = characterAt(text, i, units, &length);
        if (!isUnspaced(c)) {
            before = nullptr;
            continue;
        }
        const std::uint16_t record = zkRecordNumber(c);
        const unsigned column = kZkGraphemeColumns[zkGraphemeIndexOf(zkClasses(record))];
        const unsigned state = before == nullptr ? 0 : grapheme;
        const unsigned entry = kZkGraphemeNext[state * kZkGraphemeWidth + column];
        grapheme = entry & kStateMask;
        const ZkCharacter *const character = &kZkCharacterRecords[record];
        if (before != nullptr && flagOf(entry, 1) != 0 &&
            before->indic != ZkCharacter::IndicLeadingVowel &&
            before->indic != ZkCharacter::IndicStacker &&
            character->indic != ZkCharacter::IndicFollowingVowel) {
            flags[i] |= ZkTextBreaks::LineAllowed;
        }
        before = character;
    }
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
        m_run = static_cast<ZkUcs2 *>(
            zkAllocate(static_cast<std::int64_t>(m_room) * 2 * static_cast<int>(sizeof(ZkUcs2))));
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
        m_starts = static_cast<std::uint8_t *>(zkAllocate(static_cast<std::int64_t>(m_room) * 2));
    }
    int units = 0;
    const ZkUcs2 *const asked = unitsOf(run, count, &units);
    std::memset(m_starts, 0, static_cast<std::size_t>(units));
    m_breaker->findWords(asked, units, m_starts);
    constexpr std::uint8_t kEnds = ZkTextBreaks::LineAllowed | ZkTextBreaks::Word;
    int unit = 0; // of what was asked; a code point may be two of them
    for (int i = 0; i < count; ++i) {
        std::uint8_t *const flags = m_flags + first + i;
        const bool isStart = m_starts[unit] != 0 && (*flags & ZkTextBreaks::Grapheme) != 0;
        if (i > 0) {
            *flags = static_cast<std::uint8_t>((*flags & ~kEnds) | (isStart ? kEnds : 0));
        }
        unit += run[i] >= 0x10000 ? 2 : 1;
    }
}

/// The records of a text for a `Divider`, looked up piece by piece in a fixed room.
template <unsigned Kinds, typename Unit>
void divide(const Unit *text, int units, Divider &divider)
{
    zkForEachPiece(text, units, [&](const std::uint16_t *records, int first, int count) {
        divider.read<Kinds>(records, first, count);
    });
}

/// What is asked for besides the text.
struct Rules {
    ZkTextBreaks::Unspaced unspaced;
    ZkWordBreaker *breaker;
    unsigned kinds; // flags
};

/// True when flags of no other kind are found besides.
bool isOneKind(const Rules &rules)
{
    return rules.breaker == nullptr && (rules.kinds == ZkTextBreaks::Lines ||
                                        rules.kinds == kClusters || rules.kinds == kWords);
}

/// What comes behind the state machines.
template <typename Unit>
void complete(const Unit *text, int units, std::uint8_t *flags, const Divider &divider,
              const Rules &rules)
{
    finish(flags, units, rules.kinds);
    if (rules.breaker != nullptr) {
        Asking(rules.breaker, flags, units).read(text);
    } else if (rules.unspaced == ZkTextBreaks::BetweenClusters && divider.hasUnspaced()) {
        divideClusters(text, units, flags);
    }
    if (rules.kinds != kAll && !isOneKind(rules)) {
        clearBut(flags, units, rules.kinds);
    }
}

template <typename Unit>
void findIn(const Unit *text, int units, std::uint8_t *flags, const Rules &rules)
{
    Divider divider(flags);
    // A breaker's words are looked at beside clusters.
    switch (rules.breaker != nullptr ? kAll : rules.kinds) {
    case ZkTextBreaks::Lines: divide<kLines>(text, units, divider); break;
    case kClusters: divide<kClusters>(text, units, divider); break;
    case kWords: divide<kWords>(text, units, divider); break;
    default: divide<kAll>(text, units, divider); break;
    }
    complete(text, units, flags, divider, rules);
}

} // namespace

void ZkTextBreaks::find(const ZkUcs2 *text, int units, std::uint8_t *flags, Unspaced unspaced,
                        ZkWordBreaker *breaker, unsigned kinds)
{
    findIn(text, units, flags, {unspaced, breaker, kinds});
}

void ZkTextBreaks::find(const char32_t *text, int count, std::uint8_t *flags, Unspaced unspaced,
                        ZkWordBreaker *breaker, unsigned kinds)
{
    findIn(text, count, flags, {unspaced, breaker, kinds});
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
    Divider divider(flags);
    const int count = last - first;
    divider.read<kAll>(text.m_records + first, 0, count);
    const Rules rules = {unspaced, breaker, kAll};
    if (text.m_units != nullptr) {
        complete(text.m_units + first, count, flags, divider, rules);
    } else {
        complete(text.m_points + first, count, flags, divider, rules);
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
        // The first text gets what it needs; one that grows gets room to grow on.
        const std::int64_t slack = m_capacity == 0 ? 1 : static_cast<std::int64_t>(units) / 2 + 16;
        m_capacity =
            static_cast<int>(std::min(units + slack, static_cast<std::int64_t>(INT32_MAX)));
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
