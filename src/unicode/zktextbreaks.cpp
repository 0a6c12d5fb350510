#include "zktextbreaks.h"

#include "unicode/zkunitclasses.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

ZkWordBreaker::~ZkWordBreaker() = default;

namespace
{

constexpr unsigned kVerdictShift = 6;
constexpr unsigned kStateMask = (1U << kVerdictShift) - 1;
constexpr unsigned kRevoked = ZkBreakRevoke << kVerdictShift;

constexpr unsigned kAll = ZkTextBreaks::AllKinds;

static_assert(static_cast<unsigned>(ZkBreakYes) == ZkTextBreaks::LineAllowed &&
                  static_cast<unsigned>(ZkBreakMust) == ZkTextBreaks::Lines,
              "the verdict of lines is their flags");

/// Eight bytes of flags at once.
typedef std::uint64_t FlagWord;
constexpr int kWord = sizeof(FlagWord);

constexpr FlagWord inEach(unsigned byte)
{
    return ~FlagWord(0) / 0xFF * byte;
}

FlagWord load(const std::uint8_t *from)
{
    FlagWord word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

/// The three state machines, which know all that was read.
class Machines
{
public:
    /// Behind a common class, in the state that it mostly leaves.
    void setUsual(unsigned cls)
    {
        const std::uint32_t states = kZkUsualStates[cls];
        m_line = states & 0xFF;
        m_grapheme = states >> 8 & 0xFF;
        m_word = states >> 16;
        m_unspaced = kZkBreakColumns[cls].unspaced;
    }
    bool isUsual(unsigned cls) const
    {
        return cls < kZkCommonClasses &&
               (m_line | m_grapheme << 8 | m_word << 16) == kZkUsualStates[cls];
    }

    /// Reads a character, writes the flags before it to `*flags` and returns them; those of
    /// characters before may change.
    unsigned read(const ZkBreakColumns &columns, std::uint8_t *flags);

private:
    /// The last boundary that was allowed is none.
    static void revoke(std::uint8_t *flags, unsigned flag)
    {
        do {
            --flags;
        } while ((*flags & flag) == 0);
        *flags &= static_cast<std::uint8_t>(~flag);
    }

    unsigned m_line = 0, m_grapheme = 0, m_word = 0; // states
    unsigned m_unspaced = 0;                         // of the character before
};

inline unsigned Machines::read(const ZkBreakColumns &columns, std::uint8_t *flags)
{
    const unsigned line = kZkLineNext[m_line * kZkLineWidth + columns.line];
    const unsigned grapheme = kZkGraphemeNext[m_grapheme * kZkGraphemeWidth + columns.grapheme];
    const unsigned word = kZkWordNext[m_word * kZkWordWidth + columns.word];
    m_line = line & kStateMask;
    m_grapheme = grapheme & kStateMask;
    m_word = word & kStateMask;
    unsigned found = line >> kVerdictShift;
    if (found == ZkBreakRevoke) {
        found = 0;
        revoke(flags, ZkTextBreaks::LineAllowed);
    }
    if (word >= kRevoked) {
        revoke(flags, ZkTextBreaks::Word);
    }
    found |= (grapheme >> kVerdictShift) * ZkTextBreaks::Grapheme;
    found |= (word >> kVerdictShift & 1) * ZkTextBreaks::Word;
    if (columns.unspaced != 0) {
        const bool isBetween = (m_unspaced & ZkUnspacedMayEnd) != 0 &&
                               (columns.unspaced & ZkUnspacedMayBegin) != 0 &&
                               (found & ZkTextBreaks::Grapheme) != 0;
        found |= isBetween ? static_cast<unsigned>(ZkBreakUnspaced) : 0U;
    }
    m_unspaced = columns.unspaced;
    *flags = static_cast<std::uint8_t>(found);
    return found;
}

/// The first undecided one of the flags `[first, last)`, `last` for none.
int findUndecided(const std::uint8_t *flags, int first, int last)
{
    for (; first <= last - kWord; first += kWord) {
        if (const FlagWord undecided = load(flags + first) & inEach(ZkBreakUndecided)) {
            return first + __builtin_ctzll(undecided) / 8;
        }
    }
    while (first < last && (flags[first] & ZkBreakUndecided) == 0) {
        ++first;
    }
    return first;
}

/// Reads the classes of units one after the other and writes the flags before each.
class Divider
{
public:
    explicit Divider(std::uint8_t *flags) : m_flags(flags) {}

    void read(const std::uint16_t *units, int count);

    /// True when there is a boundary between clusters of a script without spaces.
    bool hasUnspaced() const { return (m_seen & ZkBreakUnspaced) != 0; }

private:
    bool pair(const std::uint16_t *units, int first, int count);
    int ask(const std::uint16_t *units, int first, int count);

    std::uint8_t *m_flags; // before the next unit
    Machines m_machines;
    unsigned m_seen = 0;                // flags
    unsigned m_before = kZkStartOfText; // the common class of the last unit,
    bool m_isUsual = true;              // when its state is the usual one
};

void Divider::read(const std::uint16_t *units, int count)
{
    int i = m_isUsual ? 0 : ask(units, 0, count);
    if (i < count && pair(units, i, count)) {
        while ((i = findUndecided(m_flags, i, count)) < count) {
            m_machines.setUsual(i > 0 ? zkunit::commonClassOf(units[i - 1]) : m_before);
            i = ask(units, i, count);
        }
    }
    m_before = count > 0 ? zkunit::commonClassOf(units[count - 1]) : m_before;
    m_flags += count;
}

/// Writes what the pairs say from unit `first` on. True when they do not decide all.
bool Divider::pair(const std::uint16_t *units, int first, int count)
{
    std::uint8_t *const flags = m_flags; // which may be anything to the compiler
    unsigned seen = 0;
    unsigned before = first > 0 ? zkunit::commonClassOf(units[first - 1]) : m_before;
    const auto step = [&](int i) {
        const unsigned cls = zkunit::commonClassOf(units[i]);
        const unsigned found = kZkBreakPairs[before * 32 + cls];
        before = cls;
        seen |= found;
        flags[i] = static_cast<std::uint8_t>(found);
    };
    for (; first <= count - 4; first += 4) {
        step(first);
        step(first + 1);
        step(first + 2);
        step(first + 3);
    }
    for (; first < count; ++first) {
        step(first);
    }
    m_seen |= seen;
    return (seen & ZkBreakUndecided) != 0;
}

/// Asks the machines from unit `first` on until a common class has left them in its usual
/// state; where the next unit is.
int Divider::ask(const std::uint16_t *units, int first, int count)
{
    Machines machines = m_machines; // beside flags, which may be anything to the compiler
    std::uint8_t *flags = m_flags + first;
    unsigned seen = 0;
    bool isUsual = false;
    for (; first < count && !isUsual; ++first, ++flags) {
        const std::uint16_t unit = units[first];
        if (unit == kZkPairTrail) {
            *flags = 0;
            continue;
        }
        seen |= machines.read(kZkBreakColumns[zkunit::breakClassOf(unit)], flags);
        isUsual = machines.isUsual(zkunit::commonClassOf(unit));
    }
    m_machines = machines; // no test can tell: a usual character starts them anew
    m_seen |= seen;
    m_isUsual = isUsual;
    return first;
}

/// Leaves the flags of `kinds`. Lines may end between clusters of scripts without spaces
/// when `betweenClusters`.
void settle(std::uint8_t *flags, int units, unsigned kinds, bool betweenClusters)
{
    const FlagWord lines = betweenClusters ? inEach(ZkTextBreaks::LineAllowed) : 0;
    const auto settled = [&](FlagWord word) {
        static_assert(ZkBreakUnspaced == ZkTextBreaks::LineAllowed << 4, "is moved there");
        return (word | (word >> 4 & lines)) & inEach(kinds);
    };
    int i = 0;
    for (; i <= units - kWord; i += kWord) {
        const FlagWord word = settled(load(flags + i));
        std::memcpy(flags + i, &word, sizeof word);
    }
    for (; i < units; ++i) {
        flags[i] = static_cast<std::uint8_t>(settled(flags[i]));
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

/// What is asked for besides the text.
struct Rules {
    ZkTextBreaks::Unspaced unspaced;
    ZkWordBreaker *breaker;
    unsigned kinds; // flags
};

/// What comes behind the state machines.
template <typename Unit>
void complete(const Unit *text, int units, std::uint8_t *flags, bool hasUnspaced,
              const Rules &rules)
{
    const bool asks = rules.breaker != nullptr;
    if (hasUnspaced) {
        settle(flags, units, kAll, !asks && rules.unspaced == ZkTextBreaks::BetweenClusters);
    }
    if (asks) {
        Asking(rules.breaker, flags, units).read(text);
    }
    if (rules.kinds != kAll) {
        settle(flags, units, rules.kinds, false);
    }
    // At the end of a text all ends; an empty one has no end.
    flags[units] = units == 0 ? std::uint8_t(0) : static_cast<std::uint8_t>(rules.kinds);
}

template <typename Unit>
void findIn(const Unit *text, int units, std::uint8_t *flags, const Rules &rules)
{
    Divider divider(flags);
    zkForEachPiece(text, units, [&](const std::uint16_t *classes, int, int count) {
        divider.read(classes, count);
    });
    complete(text, units, flags, divider.hasUnspaced(), rules);
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
    const int count = last - first;
    Divider divider(flags);
    divider.read(text.m_classes + first, count);
    const Rules rules = {unspaced, breaker, kAll};
    if (text.m_units != nullptr) {
        complete(text.m_units + first, count, flags, divider.hasUnspaced(), rules);
    } else {
        complete(text.m_points + first, count, flags, divider.hasUnspaced(), rules);
    }
}

ZkTextBreaks::ZkTextBreaks()
    : m_flags(m_label),
      m_size(0),
      m_capacity(sizeof m_label),
      m_breaker(nullptr),
      m_unspaced(BetweenClusters)
{
    m_flags[0] = 0;
}

ZkTextBreaks::~ZkTextBreaks()
{
    if (m_flags != m_label) {
        std::free(m_flags);
    }
}

/// Makes room for the flags of `units` and keeps those there are.
void ZkTextBreaks::reserve(int units)
{
    if (units < m_capacity) {
        return;
    }
    // The first text gets what it needs; one that grows gets room to grow on.
    const bool isFirst = m_flags == m_label;
    const std::int64_t slack = isFirst ? 1 : static_cast<std::int64_t>(units) / 2 + 16;
    m_capacity = static_cast<int>(std::min(units + slack, static_cast<std::int64_t>(INT32_MAX)));
    m_flags = static_cast<std::uint8_t *>(zkReallocate(isFirst ? nullptr : m_flags, m_capacity));
    if (isFirst) {
        std::memcpy(m_flags, m_label, sizeof m_label);
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
