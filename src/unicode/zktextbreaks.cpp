#include "zktextbreaks.h"

#include "base/zklanes.h"
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
    /// Behind a common class, in the state that leads to `row` of the pairs.
    void set(unsigned row, unsigned cls)
    {
        const std::uint32_t states = statesOf(row, cls);
        m_line = states & 0xFF;
        m_grapheme = states >> 8 & 0xFF;
        m_word = states >> 16;
        m_unspaced = kZkBreakColumns[cls].unspaced;
    }
    bool areOf(unsigned row, unsigned cls) const
    {
        return cls < kZkCommonClasses &&
               (m_line | m_grapheme << 8 | m_word << 16) == statesOf(row, cls);
    }

    /// Reads a character, writes the flags before it to `*flags` and returns them; those of
    /// characters before may change.
    unsigned read(const ZkBreakColumns &columns, std::uint8_t *flags);

private:
    /// The usual states of each class, at the start, and those of contexts.
    static std::uint32_t statesOf(unsigned row, unsigned cls)
    {
        return kZkUsualStates[row < kZkFirstContextRow
                                  ? cls
                                  : row - kZkFirstContextRow + kZkCommonClasses + 1];
    }

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

constexpr unsigned kWidth = kZkCommonClasses + 1; // of the tables of pairs

/// What two classes in a row tell: the row of the pairs of the second one with the next.
unsigned rowOf(unsigned before, unsigned cls)
{
    return kZkBreakRows[std::min(before, kZkContextClasses) * kWidth + cls];
}

/// Reads the classes of units one after the other and writes the flags before each.
class Divider
{
public:
    explicit Divider(std::uint8_t *flags) : m_flags(flags) {}

    void read(const std::uint16_t *units, int count);

    /// True when there is a boundary between clusters of a script without spaces, or one that
    /// is still to be taken back.
    bool isRaw() const { return (m_seen & (ZkBreakUnspaced | ZkBreakRevokeWord)) != 0; }

private:
    int ask(const std::uint16_t *units, int first, int count);
    void readPiece(const std::uint16_t *units, int count);
    void readEach(const std::uint16_t *units, int count);
    int pair(const std::uint16_t *units, int i, int count);

    std::uint8_t *m_flags; // before the next unit
    Machines m_machines;
    unsigned m_seen = 0;                  // flags
    unsigned m_before = kZkCommonClasses; // the class of the last character; at most that
    unsigned m_row = kZkStartRow;         // and what it leaves behind,
    bool m_isUsual = true;                // when it does
};

/// Asks the machines from unit `first` on until they are in the state that the last two
/// classes tell; where the next unit is.
int Divider::ask(const std::uint16_t *units, int first, int count)
{
    Machines machines = m_machines; // beside flags, which may be anything to the compiler
    std::uint8_t *flags = m_flags + first;
    unsigned seen = 0, row = m_row, before = m_before;
    bool isUsual = false;
    for (; first < count && !isUsual; ++first, ++flags) {
        const std::uint16_t unit = units[first];
        if (zkunit::isTrail(unit)) {
            *flags = 0;
            continue;
        }
        const unsigned cls = std::min(zkunit::commonClassOf(unit), kZkCommonClasses);
        seen |= machines.read(kZkBreakColumns[zkunit::breakClassOf(unit)], flags);
        row = rowOf(before, cls);
        before = cls;
        isUsual = machines.areOf(row, cls);
    }
    m_machines = machines;
    m_seen |= seen;
    m_row = row;
    m_before = before;
    m_isUsual = isUsual;
    return first;
}

/// One unit after the other.
void Divider::readEach(const std::uint16_t *units, int count)
{
    int i = m_isUsual ? 0 : ask(units, 0, count);
    while ((i = pair(units, i, count)) < count) {
        if (zkunit::isTrail(units[i])) {
            m_flags[i++] = 0;
        } else {
            m_machines.set(m_row, m_before);
            i = ask(units, i, count);
        }
    }
    m_flags += count;
}

/// Where the rows behind each class begin.
struct RowStarts {
    std::uint16_t of[kWidth];
};
constexpr RowStarts rowStarts()
{
    RowStarts starts = {};
    for (unsigned cls = 0; cls < kWidth; ++cls) {
        starts.of[cls] = static_cast<std::uint16_t>(std::min(cls, kZkContextClasses) * kWidth);
    }
    return starts;
}
constexpr RowStarts kRowStarts = rowStarts();

/// Writes what the pairs say from unit `i` on, up to one that they do not decide; where it is.
int Divider::pair(const std::uint16_t *units, int i, int count)
{
    std::uint8_t *const flags = m_flags; // which may be anything to the compiler
    unsigned seen = m_seen, row = m_row, before = m_before;
    for (; i < count; ++i) {
        const unsigned cls = zkunit::commonClassOf(units[i]);
        if (cls >= kZkCommonClasses || (ZK_HAS_LANES && zkunit::isTrail(units[i]))) {
            break;
        }
        const unsigned found = kZkBreakPairs[row * kWidth + cls];
        if (found >= ZkBreakUndecided) {
            break;
        }
        seen |= found;
        flags[i] = static_cast<std::uint8_t>(found);
        row = kZkBreakRows[kRowStarts.of[before] + cls];
        before = cls;
    }
    m_seen = seen;
    m_row = row;
    m_before = before;
    return i;
}

#if ZK_HAS_LANES

// Of at least a group and a unit.
constexpr int kPiece = 256; // no test can tell: other pieces say the same

/// What pairs need to know of the units of a piece, behind a character of class `before` that
/// has left `row`. Each step passes over all units, so that what it writes is there when the
/// next one reads.
class Piece
{
public:
    Piece(const std::uint16_t *units, int count, unsigned before, unsigned row);

    /// Writes what the pairs say before each unit.
    void pair(std::uint8_t *flags);

    /// Behind the first `i` units.
    unsigned rowBehind(int i) const { return m_rows[kGap + i - (isTrail(i - 1) ? 1 : 0)]; }
    unsigned classBehind(int i) const { return i > 0 ? classOf(m_units[i - 1]) : m_before; }

private:
    static constexpr int kGroup = ZkLanes::kCount;
    static constexpr int kGap = 1; // a row that none is behind

    static unsigned classOf(unsigned unit)
    {
        return std::min(zkunit::commonClassOf(unit), kZkCommonClasses);
    }
    static ZkLanes classesOf(ZkLanes units)
    {
        return ZkLanes::least(units.shiftedRight<zkunit::kCommonShift>(),
                              ZkLanes::all(kZkCommonClasses));
    }
    static ZkLanes areTrails(ZkLanes units)
    {
        const ZkLanes bits = ZkLanes::all(zkunit::kTrailBits);
        return (units & bits) == bits;
    }
    bool isTrail(int i) const { return i >= 0 && zkunit::isTrail(m_units[i]); }
    template <typename Use>
    void forEachGroup(int first, Use use) const;
    void findRows();

    const std::uint16_t *m_units;
    int m_count;
    unsigned m_before;
    bool m_hasTrails;
    ZkUcs2 m_places[kPiece];          // in a table
    ZkUcs2 m_rows[kGap + 1 + kPiece]; // behind what was before, and behind each unit
};

/// `to[i]` becomes `table[places[i]]`.
template <typename To>
inline void lookUp(const std::uint8_t *table, const ZkUcs2 *places, int count, To *to)
{
    int i = 0;
    const auto step = [&](int at) { to[at] = table[places[at]]; };
    for (; i <= count - 8; i += 8) {
        step(i), step(i + 1), step(i + 2), step(i + 3);
        step(i + 4), step(i + 5), step(i + 6), step(i + 7);
    }
    for (; i < count; ++i) {
        step(i);
    }
}

/// Calls `use(i)` for groups of units, which are all from `first` on. The last ones may be
/// read again.
template <typename Use>
inline void Piece::forEachGroup(int first, Use use) const
{
    const int last = std::max(m_count - kGroup, first);
    for (int i = first; i < last; i += kGroup) {
        use(i);
    }
    use(last);
}

Piece::Piece(const std::uint16_t *units, int count, unsigned before, unsigned row)
    : m_units(units), m_count(count), m_before(before)
{
    m_rows[0] = m_rows[kGap] = static_cast<ZkUcs2>(row);
    findRows();
}

inline void Piece::findRows()
{
    const std::uint16_t *const units = m_units;
    const ZkLanes width = ZkLanes::all(kWidth), contexts = ZkLanes::all(kZkContextClasses);
    ZkLanes trails = ZkLanes::all(0);
    forEachGroup(1, [&](int i) {
        const ZkLanes lanes = ZkLanes::load(units + i);
        const ZkLanes before = ZkLanes::load(units + i - 1).shiftedRight<zkunit::kCommonShift>();
        trails = trails | areTrails(lanes);
        (ZkLanes::least(before, contexts) * width + classesOf(lanes)).store(m_places + i);
    });
    m_places[0] =
        static_cast<ZkUcs2>(std::min(m_before, kZkContextClasses) * kWidth + classOf(units[0]));
    m_hasTrails = trails.any() || isTrail(0);
    lookUp(kZkBreakRows, m_places, m_count, m_rows + kGap + 1);
}

void Piece::pair(std::uint8_t *flags)
{
    const std::uint16_t *const units = m_units;
    const ZkLanes width = ZkLanes::all(kWidth), none = ZkLanes::all(kZkNoBreakPair);
    const auto placesOf = [&](ZkLanes rows, ZkLanes lanes) {
        return rows * width + classesOf(lanes);
    };
    if (m_hasTrails) {
        forEachGroup(1, [&](int i) {
            const ZkLanes lanes = ZkLanes::load(units + i);
            const ZkLanes rows =
                ZkLanes::either(areTrails(ZkLanes::load(units + i - 1)), ZkLanes::load(m_rows + i),
                                ZkLanes::load(m_rows + kGap + i));
            ZkLanes::either(areTrails(lanes), none, placesOf(rows, lanes)).store(m_places + i);
        });
        m_places[0] = static_cast<ZkUcs2>(isTrail(0) ? kZkNoBreakPair
                                                     : m_rows[kGap] * kWidth + classOf(units[0]));
    } else {
        forEachGroup(0, [&](int i) {
            placesOf(ZkLanes::load(m_rows + kGap + i), ZkLanes::load(units + i))
                .store(m_places + i);
        });
    }
    lookUp(kZkBreakPairs, m_places, m_count, flags);
}

/// All of the flags, of at least two groups.
unsigned setOf(const std::uint8_t *flags, int count)
{
    constexpr int kBytes = 2 * ZkLanes::kCount;
    ZkLanes lanes = ZkLanes::load(flags + count - kBytes);
    // no test can tell: the last may be read again
    for (int i = 0; i < count - kBytes; i += kBytes) {
        lanes = lanes | ZkLanes::load(flags + i);
    }
    FlagWord halves[2];
    lanes.store(halves);
    FlagWord set = halves[0] | halves[1];
    set |= set >> 32;
    set |= set >> 16;
    set |= set >> 8;
    return set & 0xFF;
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

/// The pairs of all units at once, and the machines where these do not decide.
void Divider::readPiece(const std::uint16_t *units, int count)
{
    Piece piece(units, count, m_before, m_row);
    piece.pair(m_flags);
    const unsigned seen = setOf(m_flags, count);
    m_seen |= seen;
    int i = m_isUsual ? 0 : ask(units, 0, count);
    if ((seen & ZkBreakUndecided) != 0) {
        while ((i = findUndecided(m_flags, i, count)) < count) {
            m_row = piece.rowBehind(i);
            m_before = piece.classBehind(i);
            m_machines.set(m_row, m_before);
            i = ask(units, i, count);
        }
    }
    if (m_isUsual) {
        m_row = piece.rowBehind(count);
        m_before = piece.classBehind(count);
    }
    m_flags += count;
}

#endif

void Divider::read(const std::uint16_t *units, int count)
{
#if ZK_HAS_LANES
    // In short ones each step would wait for what the one before has stored.
    constexpr int kFewest = 32; // no test can tell: both ways say the same
    while (count >= kFewest) {  // no test can tell: both ways say the same
        const int piece = std::min(count, kPiece);
        readPiece(units, piece);
        units += piece;
        count -= piece;
    }
#endif
    readEach(units, count);
}

/// Leaves the flags of `kinds` that are not taken back by the one behind. Lines may end between
/// clusters of scripts without spaces when `betweenClusters`. There is a boundary behind the last
/// unit.
void settle(std::uint8_t *flags, int units, unsigned kinds, bool betweenClusters)
{
    const FlagWord lines = betweenClusters ? inEach(ZkTextBreaks::LineAllowed) : 0;
    const auto settled = [&](FlagWord word, FlagWord next) {
        static_assert(ZkBreakUnspaced == ZkTextBreaks::LineAllowed << 4 &&
                          ZkBreakRevokeWord == ZkTextBreaks::Word << 3,
                      "are moved there");
        const FlagWord revoked = next >> 3 & inEach(ZkTextBreaks::Word);
        return ((word & ~revoked) | (word >> 4 & lines)) & inEach(kinds);
    };
    int i = 0;
#if ZK_HAS_LANES
    constexpr unsigned kTwice = 0x0101;
    const ZkLanes allWords = ZkLanes::all(ZkTextBreaks::Word * kTwice);
    const ZkLanes allKinds = ZkLanes::all(kinds * kTwice);
    const ZkLanes allLines = ZkLanes::all(betweenClusters ? ZkTextBreaks::LineAllowed * kTwice : 0);
    for (; i <= units - 2 * ZkLanes::kCount; i += 2 * ZkLanes::kCount) {
        const ZkLanes lanes = ZkLanes::load(flags + i), next = ZkLanes::load(flags + i + 1);
        const ZkLanes left = lanes.without(next.shiftedRight<3>() & allWords);
        ((left | (lanes.shiftedRight<4>() & allLines)) & allKinds).store(flags + i);
    }
#endif
    for (; i <= units - kWord; i += kWord) {
        const FlagWord word = settled(load(flags + i), load(flags + i + 1));
        std::memcpy(flags + i, &word, sizeof word);
    }
    for (; i < units; ++i) {
        flags[i] = static_cast<std::uint8_t>(settled(flags[i], flags[i + 1]));
    }
}

/// The same where none is taken back and no line may end but where one is allowed already.
void keep(std::uint8_t *flags, int units, unsigned kinds)
{
    int i = 0;
#if ZK_HAS_LANES
    const ZkLanes allKinds = ZkLanes::all(kinds * 0x0101);
    for (; i <= units - 2 * ZkLanes::kCount; i += 2 * ZkLanes::kCount) {
        (ZkLanes::load(flags + i) & allKinds).store(flags + i);
    }
#endif
    for (; i < units; ++i) {
        flags[i] = static_cast<std::uint8_t>(flags[i] & kinds);
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
    int first = 0;  // of the run before `i`, empty when it is `i`
    int length = 0; // no test can tell: the character sets it
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
void complete(const Unit *text, int units, std::uint8_t *flags, bool isRaw, const Rules &rules)
{
    flags[units] = 0;
    if (rules.breaker != nullptr) {
        settle(flags, units, kAll, false);
        Asking(rules.breaker, flags, units).read(text);
        keep(flags, units, rules.kinds);
    } else if (isRaw) {
        settle(flags, units, rules.kinds, rules.unspaced == ZkTextBreaks::BetweenClusters);
    } else if (rules.kinds != kAll) {
        keep(flags, units, rules.kinds);
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
    complete(text, units, flags, divider.isRaw(), rules);
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
        complete(text.m_units + first, count, flags, divider.isRaw(), rules);
    } else {
        complete(text.m_points + first, count, flags, divider.isRaw(), rules);
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
