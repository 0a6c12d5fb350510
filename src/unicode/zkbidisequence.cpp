#include "unicode/zkbidisequence.h"

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
    ResolvedMask = 7
};

// Of an opening bracket, instead: which directions stand between it and its partner.
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

// A step in a byte: the next state, what the character becomes, and whether for all.
constexpr unsigned kStateMask = 15, kResolvedShift = 4, kForAll = 0x80;
constexpr int kWidth = 16;

/// The weak rules as tables, which the compiler makes of the functions above.
struct WeakTables {
    std::uint8_t columns[3][kZkBidiClass + 1]; ///< by the last strong state and the class
    std::uint8_t steps[StateCount][kWidth];
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
            tables.columns[strong][bidi] = weakOf(strong, bidi);
        }
    }
    for (int state = 0; state < StateCount; ++state) {
        for (int weak = 0; weak < WeakCount; ++weak) {
            const WeakStep step = weakStep(static_cast<State>(state), weak);
            tables.steps[state][weak] = static_cast<std::uint8_t>(
                step.next | step.resolved << kResolvedShift | (step.isForAll ? kForAll : 0));
        }
    }
    return tables;
}

constexpr WeakTables kWeak = weakTables();

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

    bool push(const Entry &entry)
    {
        if (m_size == kDepth) {
            return false;
        }
        m_entries[m_size++] = entry;
        return true;
    }

    void see(int direction)
    {
        if (m_size > 0) {
            m_entries[m_size - 1].inside |= 1U << direction;
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

} // namespace

void ZkBidiSequence::resolve(int level, int before, int behind)
{
    if (resolveWeak(before)) {
        resolveBrackets(level, before);
    }
    resolveNeutrals(level, before, behind);
}

/// Marks, numbers and what stands between and beside them. True when there are brackets.
bool ZkBidiSequence::resolveWeak(int before)
{
    std::uint8_t *const bytes = m_bytes; // which may be anything to the compiler
    unsigned state = before != 0 ? BehindR : BehindL;
    const std::uint8_t *columns = kWeak.columns[state];
    int since = 0; // where the state began
    unsigned seen = 0;
    for (int i = 0, count = m_count; i < count; ++i) {
        const unsigned byte = bytes[i], rest = byte & ~static_cast<unsigned>(kZkBidiClass);
        const unsigned step = kWeak.steps[state][columns[byte & kZkBidiClass]];
        const unsigned next = step & kStateMask, resolved = step >> kResolvedShift & ResolvedMask;
        seen |= rest;
        if ((step & kForAll) != 0) {
            for (int at = since; at < i; ++at) {
                bytes[at] = static_cast<std::uint8_t>((bytes[at] & ~ResolvedMask) | resolved);
            }
        }
        bytes[i] = static_cast<std::uint8_t>(rest | resolved);
        columns = next <= BehindAL ? kWeak.columns[next] : columns;
        since = next == state ? since : i;
        state = next;
    }
    return (seen & kZkBidiOpen) != 0;
}

/// Notes for every opening bracket its partner and what stands between; how many there
/// are.
int ZkBidiSequence::findPairs()
{
    OpenBrackets open;
    int count = 0;
    for (int i = 0; i < m_count; ++i) {
        const unsigned resolved = m_bytes[i] & ResolvedMask;
        if (resolved < ResolvedNeutral) {
            open.see(directionOf(resolved));
            continue;
        }
        const unsigned bracket = m_bytes[i] & kZkBidiBracket;
        if (bracket == kZkBidiOpen) {
            if (!open.push({canonicalClosing(zkMirrored(character(i))), i, count, 0})) {
                break;
            }
            m_pairs[count++] = -1;
        } else if (bracket == kZkBidiClose) {
            OpenBrackets::Entry entry;
            if (open.pop(canonicalClosing(character(i)), &entry)) {
                m_pairs[entry.number] = i;
                m_bytes[entry.place] |= static_cast<std::uint8_t>(entry.inside << kInsideShift);
            }
        }
    }
    return count;
}

/// A pair of brackets takes the direction of what is in it, if there is any: that of the
/// embedding if it is among them, else that of the text before when it is the same.
void ZkBidiSequence::resolveBrackets(int level, int before)
{
    const int pairs = findPairs();
    const int embedding = level & 1;
    int context = before;
    int number = 0;
    for (int i = 0; i < m_count && number < pairs; ++i) {
        const unsigned resolved = m_bytes[i] & ResolvedMask;
        if (resolved < ResolvedNeutral) {
            context = directionOf(resolved);
        } else if ((m_bytes[i] & kZkBidiBracket) == kZkBidiOpen) {
            const int partner = m_pairs[number++];
            const unsigned inside = m_bytes[i] >> kInsideShift & kInsideMask;
            m_bytes[i] &= static_cast<std::uint8_t>(~(kInsideMask << kInsideShift));
            if (partner < 0 || inside == 0) {
                continue;
            }
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
    m_bytes[i] = static_cast<std::uint8_t>((m_bytes[i] & kZkBidiBlank) | resolved);
    for (int at = i + 1; at < m_count; ++at) {
        if ((m_bytes[at] & ResolvedMask) != ResolvedMark) {
            break;
        }
        m_bytes[at] = static_cast<std::uint8_t>((m_bytes[at] & ~ResolvedMask) | resolved);
    }
}

/// Neutral characters run as both sides of them do, or else as the embedding. Then every
/// byte becomes a level.
void ZkBidiSequence::resolveNeutrals(int level, int before, int behind)
{
    const int odd = level & 1;
    const int levels[] = {level + odd, level + 1 - odd, level + 2 - odd, level + 2 - odd};
    std::uint8_t *const bytes = m_bytes; // which may be anything to the compiler
    int context = before;
    int neutrals = 0; // where those before `i` begin; `i` when there are none
    const auto settle = [&](int end, int direction) {
        const int between = level + (direction == context ? direction ^ odd : 0);
        for (; neutrals < end; ++neutrals) {
            const std::uint8_t byte = bytes[neutrals];
            bytes[neutrals] = (byte & ResolvedMask) == ResolvedSeparator
                                  ? static_cast<std::uint8_t>(kZkBidiSeparator)
                                  : static_cast<std::uint8_t>((byte & kZkBidiBlank) | between);
        }
        context = direction;
    };
    for (int i = 0, count = m_count; i < count; ++i) {
        const unsigned byte = bytes[i], resolved = byte & ResolvedMask;
        if (resolved >= ResolvedNeutral) {
            continue;
        }
        settle(i, directionOf(resolved));
        bytes[i] = static_cast<std::uint8_t>((byte & kZkBidiBlank) |
                                             static_cast<unsigned>(levels[resolved]));
        neutrals = i + 1;
    }
    settle(m_count, behind);
}
