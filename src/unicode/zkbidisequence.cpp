#include "unicode/zkbidisequence.h"

#include <cstring>

namespace
{

/// What the weak rules leave, in the lower bits of a byte.
enum Resolved : std::uint8_t {
    ResolvedL,
    ResolvedR,
    ResolvedEN,
    ResolvedAN,
    ResolvedNeutral,
    ResolvedSeparator, ///< a neutral that is a separator besides
    ResolvedMark,      ///< a neutral that is a mark, and goes with a bracket before it
    ResolvedBracket,   ///< a neutral with a letter or number between it and the bracket before
    ResolvedMask = 7
};

// Of a bracket, which is never blank: the last direction before it, when it is a
// `ResolvedBracket`; and of an opening one which directions stand between it and its partner.
constexpr int kLastShift = 7;
constexpr int kInsideShift = 3;
constexpr unsigned kInsideMask = 3;

/// The direction of a character that is not neutral: numbers count as right to left.
constexpr int directionOf(unsigned resolved)
{
    return resolved != ResolvedL;
}

/// The classes that the weak rules tell apart. A European digit is an Arabic one behind an
/// Arabic letter and as good as a letter behind one that runs from left to right.
enum Weak : std::uint8_t {
    WeakL,
    WeakR,
    WeakAL,
    WeakEN,
    WeakENBehindL,
    WeakES,
    WeakET,
    WeakAN,
    WeakCS,
    WeakNSM,
    WeakOther,
    WeakSeparator,
    WeakCount
};

/// What the weak rules know of the characters before.
enum State : std::uint8_t {
    BehindL,
    BehindR,
    BehindAL,
    BehindNeutral,
    BehindEN,
    BehindENBehindL,
    BehindAN,
    BehindET,         ///< that belongs to the number before
    BehindETBehindL,  ///< the same
    BehindFreeET,     ///< that belongs to the number behind, if there is one
    BetweenEN,        ///< behind one separator
    BetweenENBehindL, //
    BetweenAN,        //
    StateCount
};

/// Reads a character: the state behind it, what it becomes, and whether those that have left
/// the state become the same.
struct WeakStep {
    State next;
    Resolved resolved;
    bool isForAll;
};

constexpr WeakStep keepsNumber(State state)
{
    switch (state) {
    case BehindEN:
    case BehindET: return {BehindET, ResolvedEN, false};
    case BehindENBehindL:
    case BehindETBehindL: return {BehindETBehindL, ResolvedL, false};
    default: return {BehindFreeET, ResolvedNeutral, false};
    }
}

constexpr WeakStep separates(State state, bool isCommon)
{
    switch (state) {
    case BehindEN: return {BetweenEN, ResolvedNeutral, false};
    case BehindENBehindL: return {BetweenENBehindL, ResolvedNeutral, false};
    case BehindAN: return {isCommon ? BetweenAN : BehindNeutral, ResolvedNeutral, false};
    default: return {BehindNeutral, ResolvedNeutral, false};
    }
}

/// A mark is as the character before it.
constexpr WeakStep marks(State state)
{
    switch (state) {
    case BehindL:
    case BehindENBehindL:
    case BehindETBehindL: return {state, ResolvedL, false};
    case BehindR:
    case BehindAL: return {state, ResolvedR, false};
    case BehindEN:
    case BehindET: return {state, ResolvedEN, false};
    case BehindAN: return {state, ResolvedAN, false};
    case BehindFreeET: return {state, ResolvedNeutral, false};
    default: return {BehindNeutral, ResolvedMark, false};
    }
}

constexpr WeakStep weakStep(State state, int weak)
{
    const bool isFree = state == BehindFreeET;
    switch (weak) {
    case WeakL: return {BehindL, ResolvedL, false};
    case WeakR: return {BehindR, ResolvedR, false};
    case WeakAL: return {BehindAL, ResolvedR, false};
    case WeakEN: return {BehindEN, ResolvedEN, isFree || state == BetweenEN};
    case WeakENBehindL: return {BehindENBehindL, ResolvedL, isFree || state == BetweenENBehindL};
    case WeakAN: return {BehindAN, ResolvedAN, state == BetweenAN};
    case WeakES: return separates(state, false);
    case WeakCS: return separates(state, true);
    case WeakET: return keepsNumber(state);
    case WeakNSM: return marks(state);
    case WeakSeparator: return {BehindNeutral, ResolvedSeparator, false};
    default: return {BehindNeutral, ResolvedNeutral, false};
    }
}

// A step in a byte: what the character becomes, whether for all, and the next state.
constexpr unsigned kForAll = 8, kNextMask = 0xF0;
constexpr unsigned kStateShift = 4; // also of the place of a state's steps
constexpr unsigned kColumnsShift = 5;

/// The weak rules as tables, which the compiler makes of the functions above.
struct WeakTables {
    std::uint8_t columns[(BehindAL + 1) << kColumnsShift]; ///< the last letter's state, the class
    std::uint8_t steps[StateCount << kStateShift];         ///< the state, the column
};

constexpr Weak weakOf(int strong, int bidi)
{
    switch (bidi) {
    case ZkCharacter::BidiL: return WeakL;
    case ZkCharacter::BidiR: return WeakR;
    case ZkCharacter::BidiAL: return WeakAL;
    case ZkCharacter::BidiEN:
        return strong == BehindL ? WeakENBehindL : strong == BehindAL ? WeakAN : WeakEN;
    case ZkCharacter::BidiES: return WeakES;
    case ZkCharacter::BidiET: return WeakET;
    case ZkCharacter::BidiAN: return WeakAN;
    case ZkCharacter::BidiCS: return WeakCS;
    case ZkCharacter::BidiNSM: return WeakNSM;
    case ZkCharacter::BidiB:
    case ZkCharacter::BidiS: return WeakSeparator;
    default: return WeakOther;
    }
}

constexpr WeakTables weakTables()
{
    WeakTables tables = {};
    for (int strong = BehindL; strong <= BehindAL; ++strong) {
        for (int bidi = 0; bidi <= kZkBidiClass; ++bidi) {
            tables.columns[(strong << kColumnsShift) + bidi] = weakOf(strong, bidi);
        }
    }
    for (int state = 0; state < StateCount; ++state) {
        for (int weak = 0; weak < WeakCount; ++weak) {
            const WeakStep step = weakStep(static_cast<State>(state), weak);
            tables.steps[(state << kStateShift) + weak] = static_cast<std::uint8_t>(
                unsigned{step.next} << kStateShift | step.resolved | (step.isForAll ? kForAll : 0));
        }
    }
    return tables;
}

constexpr WeakTables kWeak = weakTables();

/// A bracket that is neutral, in contrast to what an override made of it.
constexpr bool isBracket(unsigned byte)
{
    const unsigned bracket = byte & kZkBidiBracket;
    return bracket != 0 && bracket != kZkBidiInitiator && (byte & ResolvedMask) >= ResolvedNeutral;
}

/// Opening brackets whose partner has not come yet. Deeper ones end the search, so that
/// every text is read in linear time.
class OpenBrackets
{
public:
    static constexpr int kDepth = 63;

    struct Entry {
        char32_t closing;
        int place;       // of the opening bracket
        int number;      // among all opening brackets
        unsigned inside; // bit 0: left to right seen since, bit 1: right to left
    };

    bool isFull() const { return m_size == kDepth; }
    void push(const Entry &entry) { m_entries[m_size++] = entry; }

    /// `directions` as in an entry.
    void see(unsigned directions)
    {
        if (m_size > 0) {
            m_entries[m_size - 1].inside |= directions;
        }
    }

    /// Removes the innermost bracket that `closing` closes, and those within it; false when
    /// there is none.
    bool pop(char32_t closing, Entry *found)
    {
        unsigned inside = 0;
        for (int i = m_size - 1; i >= 0; --i) {
            inside |= m_entries[i].inside;
            if (m_entries[i].closing == closing) {
                *found = m_entries[i];
                found->inside = inside;
                m_size = i;
                if (i > 0) {
                    m_entries[i - 1].inside |= inside;
                }
                return true;
            }
        }
        return false;
    }

private:
    int m_size = 0;
    Entry m_entries[kDepth];
};

/// The angle brackets of mathematics and of East Asia are canonically equivalent.
constexpr char32_t canonicalClosing(char32_t c)
{
    return c == 0x232A ? U'\u3009' : c;
}

/// The bracket that closes what `c` opens.
char32_t closingOf(char32_t c)
{
    // In ASCII the square and the curly one have a character between them.
    return c < 0x80 ? c + (c == '(' ? 1 : 2) : canonicalClosing(zkMirrored(c));
}

/// The first byte of `[first, last)` that has a bit of a bracket, `last` for none.
int findBracket(const std::uint8_t *bytes, int first, int last)
{
    constexpr std::uint64_t kBits = ~std::uint64_t(0) / 0xFF * kZkBidiBracket;
    constexpr int kWord = sizeof(std::uint64_t);
    for (std::uint64_t word; first <= last - kWord; first += kWord) { // no test can tell: < does
        std::memcpy(&word, bytes + first, sizeof word);
        if ((word & kBits) != 0) {
            return first + __builtin_ctzll(word & kBits) / 8;
        }
    }
    while (first < last && (bytes[first] & kZkBidiBracket) == 0) {
        ++first;
    }
    return first;
}

/// Bytes of a text, the first one lowest.
typedef std::uintptr_t Word;
constexpr Word kOnes = ~Word(0) / 0xFF;

/// Of a neutral byte: what stands before it runs from right to left.
constexpr unsigned kBehindRight = 8;

Word load(const std::uint8_t *from)
{
    Word word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

void store(Word word, std::uint8_t *to)
{
    std::memcpy(to, &word, sizeof word);
}

Word reversed(Word word)
{
#if UINTPTR_MAX == UINT32_MAX
    return __builtin_bswap32(word);
#else
    return __builtin_bswap64(word);
#endif
}

/// 1 in each byte that is neutral.
constexpr Word neutralsOf(Word bytes)
{
    static_assert(ResolvedNeutral == 4 && ResolvedAN < 4, "a bit tells");
    return bytes >> 2 & kOnes;
}

/// 1 in each neutral byte of those whose last byte before them that is not runs from right to
/// left. `side` is that before all, and becomes that behind them.
inline Word besideRight(Word bytes, Word *side)
{
    const Word neutrals = neutralsOf(bytes);
    const Word right = (bytes | bytes >> 1) & kOnes & ~neutrals;
    // A sum runs through bytes that are all ones.
    const Word ones = (neutrals << 8) - neutrals;
    const Word beside = neutrals & ~(ones + ((right << 8 | *side) & neutrals));
    *side = (right | beside) >> 8 * (sizeof(Word) - 1);
    return beside;
}

/// The levels of bytes whose neutral ones know what is before them. `side` as in `besideRight`,
/// from behind.
inline Word levelsOf(Word bytes, int level, Word *side)
{
    const Word neutrals = neutralsOf(bytes);
    const Word behind = reversed(besideRight(reversed(bytes), side));
    const Word before = bytes >> 3 & neutrals;
    const Word numbers = bytes >> 1 & kOnes & ~neutrals;
    const Word right = bytes & kOnes & ~neutrals & ~numbers;
    const Word above = (level & 1) == 0 ? numbers << 1 | right | (before & behind)
                                        : kOnes & ~(right | before | behind);
    const Word separators = neutrals & bytes & ~(bytes >> 1);
    return (kOnes * static_cast<unsigned>(level) + above) | (bytes & kOnes * kZkBidiBlank) |
           ((separators << 8) - separators);
}

} // namespace

/// Pairs brackets one after the other, as the weak rules come by.
class ZkBidiSequence::Brackets
{
public:
    explicit Brackets(const ZkBidiSequence &sequence) : m_sequence(sequence) {}

    /// The bracket at `i`. `seen` has a bit for each kind of `Resolved` since the last one.
    void read(int i, unsigned seen);

    /// The end of those that were read.
    int end() const { return m_end; }

private:
    unsigned lastDirection(int i) const
    {
        unsigned resolved;
        do {
            resolved = m_sequence.m_bytes[--i] & ResolvedMask;
        } while (resolved >= ResolvedNeutral);
        return static_cast<unsigned>(directionOf(resolved));
    }

    const ZkBidiSequence &m_sequence;
    OpenBrackets m_open;
    int m_end = 0;
    int m_opening = 0;
    bool m_isOver = false; // there are too many open ones
};

void ZkBidiSequence::Brackets::read(int i, unsigned seen)
{
    std::uint8_t *const bytes = m_sequence.m_bytes;
    const unsigned bracket = bytes[i] & kZkBidiBracket;
    m_isOver = m_isOver || (bracket == kZkBidiOpen && m_open.isFull());
    if (m_isOver) {
        return;
    }
    m_end = i + 1;
    constexpr unsigned kRight = 1U << ResolvedR | 1U << ResolvedEN | 1U << ResolvedAN;
    const unsigned directions = (seen & 1U << ResolvedL) | ((seen & kRight) != 0 ? 2U : 0U);
    m_open.see(directions);
    if (directions != 0) {
        bytes[i] =
            static_cast<std::uint8_t>(bracket | ResolvedBracket | lastDirection(i) << kLastShift);
    }
    const char32_t c = m_sequence.character(i);
    OpenBrackets::Entry entry = {0, i, m_opening, 0};
    if (bracket == kZkBidiOpen) {
        entry.closing = closingOf(c);
        m_open.push(entry);
        m_sequence.m_pairs[m_opening++] = -1;
    } else if (m_open.pop(canonicalClosing(c), &entry)) {
        m_sequence.m_pairs[entry.number] = i;
        bytes[entry.place] |= static_cast<std::uint8_t>(entry.inside << kInsideShift);
    }
}

void ZkBidiSequence::resolve(int level, int before, int behind)
{
    Brackets brackets(*this);
    readWeak(before, &brackets);
    if (brackets.end() > 0) {
        resolveBrackets(level, before, brackets);
    }
    resolveNeutrals(level, before, behind);
}

/// The weak rules: marks, numbers and what stands between and beside them. `start` is the
/// direction of what stands before all.
inline void ZkBidiSequence::readWeak(int start, Brackets *brackets)
{
    unsigned state = unsigned{start != 0 ? BehindR : BehindL} << kStateShift;
    const std::uint8_t *columns = kWeak.columns + (state << (kColumnsShift - kStateShift));
    unsigned seen = 0; // a bit for each kind of `Resolved` since the last bracket
    std::uint8_t *at = m_bytes, *since = at;
    std::uint8_t *const end = at + m_count;
    while (at < end) {
        const unsigned before = *at, bidi = before & kZkBidiClass;
        const unsigned step = kWeak.steps[state | columns[bidi]];
        const unsigned next = step & kNextMask, resolved = step & ResolvedMask;
        if ((step & kForAll) != 0) {
            for (; since < at; ++since) {
                *since = static_cast<std::uint8_t>((*since & ~ResolvedMask) | resolved);
            }
        }
        const unsigned byte = before - bidi + resolved;
        seen |= 1U << resolved;
        if (next <= BehindAL << kStateShift) {
            columns = kWeak.columns + (next << (kColumnsShift - kStateShift));
        }
        since = next == state ? since : at;
        state = next;
        *at++ = static_cast<std::uint8_t>(byte);
        if ((before & kZkBidiBracket) != 0) {
            if (isBracket(byte)) {
                brackets->read(static_cast<int>(at - m_bytes) - 1, seen);
                seen = 0;
            }
        } else if (next < BetweenEN << kStateShift) {
            // All but separators in numbers do again what the first of a kind does.
            for (; at < end && *at == before; ++at) {
                *at = static_cast<std::uint8_t>(byte);
            }
        }
    }
}

/// A pair of brackets takes the direction of what is in it, if there is any: that of the
/// embedding if it is among them, else that of the text before when it is the same.
void ZkBidiSequence::resolveBrackets(int level, int before, const Brackets &brackets)
{
    const int embedding = level & 1;
    int context = before;
    int number = 0;
    for (int i = findBracket(m_bytes, 0, brackets.end()); i < brackets.end();
         i = findBracket(m_bytes, i + 1, brackets.end())) {
        const unsigned byte = m_bytes[i], resolved = byte & ResolvedMask;
        const unsigned bracket = byte & kZkBidiBracket;
        if (resolved < ResolvedNeutral || bracket == kZkBidiInitiator) {
            // One that is resolved with its partner, or no bracket.
            context = resolved < ResolvedNeutral ? directionOf(resolved) : context;
            continue;
        }
        if (resolved == ResolvedBracket) {
            context = static_cast<int>(byte >> kLastShift);
        }
        m_bytes[i] = static_cast<std::uint8_t>(bracket | ResolvedNeutral);
        if (bracket != kZkBidiOpen) {
            continue;
        }
        const int partner = m_pairs[number++];
        const unsigned inside = byte >> kInsideShift & kInsideMask;
        if (partner >= 0 && inside != 0) {
            const bool isOpposite = (inside >> embedding & 1) == 0 && context != embedding;
            context = isOpposite ? 1 - embedding : embedding;
            setBracket(i, context);
            setBracket(partner, context);
        }
    }
}

/// Gives a bracket and the marks on it a direction.
void ZkBidiSequence::setBracket(int i, int direction)
{
    const auto resolved = static_cast<std::uint8_t>(direction != 0 ? ResolvedR : ResolvedL);
    m_bytes[i] = static_cast<std::uint8_t>((m_bytes[i] & kZkBidiBracket) | resolved);
    for (int at = i + 1; at < m_count && (m_bytes[at] & ResolvedMask) == ResolvedMark; ++at) {
        m_bytes[at] = static_cast<std::uint8_t>((m_bytes[at] & ~ResolvedMask) | resolved);
    }
}

/// Neutral characters run as both sides of them do, or else as the embedding. Then every
/// byte becomes a level. Reads a word at a time, there and back.
void ZkBidiSequence::resolveNeutrals(int level, int before, int behind)
{
    constexpr int kBytes = sizeof(Word);
    const int whole = m_count - m_count % kBytes;
    Word side = static_cast<Word>(before);
    for (int i = 0; i < whole; i += kBytes) {
        const Word bytes = load(m_bytes + i);
        store(bytes | besideRight(bytes, &side) * kBehindRight, m_bytes + i);
    }
    const int rest = m_count - whole;
    Word last = 0;
    std::memcpy(&last, m_bytes + whole, static_cast<std::size_t>(rest));
    last |= besideRight(last, &side) * kBehindRight;
    side = static_cast<Word>(behind);
    if (rest > 0) {
        // What is missing in the last word stands behind the others.
        last = levelsOf(last | side * (kOnes << 8 * rest), level, &side);
        std::memcpy(m_bytes + whole, &last, static_cast<std::size_t>(rest));
    }
    for (int i = whole - kBytes; i >= 0; i -= kBytes) {
        store(levelsOf(load(m_bytes + i), level, &side), m_bytes + i);
    }
}
