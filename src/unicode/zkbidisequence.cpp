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
    ResolvedMask = 7
};
constexpr std::uint8_t kWasNSM = 8; ///< a mark, which goes with the bracket before it

// Of an opening bracket, instead: which directions stand between it and its partner.
constexpr int kInsideShift = 3;
constexpr unsigned kInsideMask = 3;

/// The classes that the weak rules tell apart; every other one is neutral.
enum Weak : std::uint8_t {
    WeakL,
    WeakR,
    WeakAL,
    WeakEN,
    WeakES,
    WeakET,
    WeakAN,
    WeakCS,
    WeakNSM,
    WeakOther,
    WeakSeparator
};

static_assert(static_cast<int>(WeakL) == ZkCharacter::BidiL &&
                  static_cast<int>(WeakNSM) == ZkCharacter::BidiNSM,
              "the first classes are the same");

Weak weakOf(std::uint8_t byte)
{
    const unsigned bidi = byte & kZkBidiClass;
    if (bidi <= ZkCharacter::BidiNSM) {
        return static_cast<Weak>(bidi);
    }
    return bidi == ZkCharacter::BidiB || bidi == ZkCharacter::BidiS ? WeakSeparator : WeakOther;
}

/// The direction of a character that is not neutral: numbers count as right to left.
constexpr int directionOf(unsigned resolved)
{
    return resolved != ResolvedL;
}

/// The rules for numbers, and what they know of the characters before.
class Numbers
{
public:
    explicit Numbers(std::uint8_t *bytes, int count, Weak start)
        : m_bytes(bytes), m_count(count), m_strong(start)
    {
    }

    Resolved read(int i, Weak weak);

private:
    enum Kind : std::uint8_t { NoNumber, European, Arabic };

    Resolved european() const { return m_strong == WeakL ? ResolvedL : ResolvedEN; }
    Resolved readEuropean(int i);
    Resolved readSeparator(int i, Weak weak);
    Resolved readTerminator(int i);

    std::uint8_t *m_bytes;
    int m_count;
    Weak m_strong;             // the last of L, R and AL
    Kind m_number = NoNumber;  // the character before this one, when it is a digit
    bool m_inEuropean = false; // a terminator here belongs to the number before it
    int m_terminators = -1;    // where terminators begin that stand before this character
};

/// What the character at `i` becomes; those before it may change too.
Resolved Numbers::read(int i, Weak weak)
{
    switch (weak) {
    case WeakEN: return readEuropean(i);
    case WeakET: return readTerminator(i);
    case WeakES:
    case WeakCS: return readSeparator(i, weak);
    default: break;
    }
    m_inEuropean = false;
    m_terminators = -1;
    m_number = NoNumber;
    switch (weak) {
    case WeakL: m_strong = weak; return ResolvedL;
    case WeakR:
    case WeakAL: m_strong = weak; return ResolvedR;
    case WeakAN: m_number = Arabic; return ResolvedAN;
    default: return weak == WeakSeparator ? ResolvedSeparator : ResolvedNeutral;
    }
}

/// A digit is Arabic behind an Arabic letter. Terminators before another one join it.
Resolved Numbers::readEuropean(int i)
{
    const int terminators = m_terminators;
    m_terminators = -1;
    if (m_strong == WeakAL) {
        m_inEuropean = false;
        m_number = Arabic;
        return ResolvedAN;
    }
    if (terminators >= 0) {
        for (int at = terminators; at < i; ++at) {
            m_bytes[at] = static_cast<std::uint8_t>((m_bytes[at] & ~ResolvedMask) | european());
        }
    }
    m_inEuropean = true;
    m_number = European;
    return european();
}

Resolved Numbers::readTerminator(int i)
{
    m_number = NoNumber;
    if (m_inEuropean) {
        return european();
    }
    if (m_terminators < 0) {
        m_terminators = i;
    }
    return ResolvedNeutral;
}

/// One separator between two digits of a kind is part of the number.
Resolved Numbers::readSeparator(int i, Weak weak)
{
    const Kind number = m_number;
    const Weak next = i + 1 < m_count ? weakOf(m_bytes[i + 1]) : WeakOther;
    m_number = NoNumber;
    m_terminators = -1;
    if (number == European && next == WeakEN) {
        m_inEuropean = true;
        return european();
    }
    m_inEuropean = false;
    if (number == Arabic && weak == WeakCS &&
        (next == WeakAN || (next == WeakEN && m_strong == WeakAL))) {
        return ResolvedAN;
    }
    return ResolvedNeutral;
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
    const Weak start = before != 0 ? WeakR : WeakL;
    Numbers numbers(m_bytes, m_count, start);
    Weak previous = start;
    unsigned seen = 0;
    for (int i = 0; i < m_count; ++i) {
        const std::uint8_t byte = m_bytes[i];
        auto rest = static_cast<std::uint8_t>(byte & ~kZkBidiClass);
        Weak weak = weakOf(byte);
        if (weak == WeakNSM) {
            weak = previous == WeakSeparator ? WeakOther : previous;
            rest |= kWasNSM;
        }
        previous = weak;
        seen |= rest;
        m_bytes[i] = static_cast<std::uint8_t>(rest | numbers.read(i, weak));
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
        if ((m_bytes[at] & (kWasNSM | kZkBidiBracket)) != kWasNSM) {
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
    int context = before;
    int neutrals = 0; // where those before `i` begin; `i` when there are none
    for (int i = 0; i <= m_count; ++i) {
        const unsigned resolved =
            i < m_count ? m_bytes[i] & ResolvedMask : static_cast<unsigned>(ResolvedL);
        if (resolved >= ResolvedNeutral) {
            continue;
        }
        const int direction = i < m_count ? directionOf(resolved) : behind;
        const int between = level + (direction == context ? direction ^ odd : 0);
        for (; neutrals < i; ++neutrals) {
            m_bytes[neutrals] =
                (m_bytes[neutrals] & ResolvedMask) == ResolvedSeparator
                    ? static_cast<std::uint8_t>(kZkBidiSeparator)
                    : static_cast<std::uint8_t>((m_bytes[neutrals] & kZkBidiBlank) | between);
        }
        if (i < m_count) {
            m_bytes[i] = static_cast<std::uint8_t>((m_bytes[i] & kZkBidiBlank) | levels[resolved]);
        }
        neutrals = i + 1;
        context = direction;
    }
}
