#include "unicode/zkbidiparagraph.h"

#include <algorithm>

namespace
{

constexpr int kMaximumDepth = 125;

// In the array of embedding levels: a character that takes no part, and the bit of one
// that begins a level run but continues the sequence of an earlier one.
constexpr std::uint8_t kRemoved = 0xFF;
constexpr std::uint8_t kContinues = 0x80;
constexpr std::uint8_t kLevel = 0x7F;

/// A separator in an override counts as a letter; its bracket bits keep what it was.
constexpr std::uint8_t kOverriddenSeparator = kZkBidiClose;

constexpr ZkBidiClasses kIsolates = zkBidiBit(ZkCharacter::BidiLRI) |
                                    zkBidiBit(ZkCharacter::BidiRLI) |
                                    zkBidiBit(ZkCharacter::BidiFSI);
constexpr ZkBidiClasses kEmbeddings =
    zkBidiBit(ZkCharacter::BidiLRE) | zkBidiBit(ZkCharacter::BidiRLE) |
    zkBidiBit(ZkCharacter::BidiLRO) | zkBidiBit(ZkCharacter::BidiRLO) |
    zkBidiBit(ZkCharacter::BidiPDF);
/// Where there is none of these, a paragraph is one sequence.
constexpr ZkBidiClasses kDividing =
    kIsolates | kEmbeddings | zkBidiBit(ZkCharacter::BidiPDI) | zkBidiBit(ZkCharacter::BidiBN);
constexpr ZkBidiClasses kStrong =
    zkBidiBit(ZkCharacter::BidiL) | zkBidiBit(ZkCharacter::BidiR) | zkBidiBit(ZkCharacter::BidiAL);

/// The embeddings that are open where a character stands.
class Embeddings
{
public:
    struct Status {
        int level;
        int override; // a class, -1 for none
        int run;      // of the character that began this isolate; -1 for no isolate
    };

    explicit Embeddings(int level) { m_stack[0] = {level, -1, -1}; } // no test can tell: below 0

    const Status &status() const { return m_stack[m_depth]; }

    void beginEmbedding(bool rightToLeft, int override)
    {
        const int level = nextLevel(rightToLeft);
        if (level <= kMaximumDepth && m_tooDeepIsolates == 0 && m_tooDeepEmbeddings == 0) {
            m_stack[++m_depth] = {level, override, -1};
        } else if (m_tooDeepIsolates == 0) {
            ++m_tooDeepEmbeddings;
        }
    }

    void endEmbedding()
    {
        if (m_tooDeepIsolates > 0) {
            return;
        }
        if (m_tooDeepEmbeddings > 0) {
            --m_tooDeepEmbeddings;
        } else if (m_depth > 0 && status().run < 0) {
            --m_depth;
        }
    }

    /// `run` is the level run of the character that begins the isolate.
    void beginIsolate(bool rightToLeft, int run)
    {
        const int level = nextLevel(rightToLeft);
        if (level <= kMaximumDepth && m_tooDeepIsolates == 0 && m_tooDeepEmbeddings == 0) {
            m_stack[++m_depth] = {level, -1, run};
            ++m_isolates;
        } else {
            ++m_tooDeepIsolates;
        }
    }

    /// The level run of the character that began the isolate which ends; -1 for none.
    int endIsolate()
    {
        if (m_tooDeepIsolates > 0) {
            --m_tooDeepIsolates;
            return -1;
        }
        if (m_isolates == 0) {
            return -1;
        }
        m_tooDeepEmbeddings = 0;
        while (status().run < 0) {
            --m_depth;
        }
        --m_isolates;
        return m_stack[m_depth--].run;
    }

private:
    int nextLevel(bool rightToLeft) const
    {
        return rightToLeft ? (status().level + 1) | 1 : (status().level + 2) & ~1;
    }

    int m_depth = 0;
    int m_isolates = 0;
    int m_tooDeepIsolates = 0;
    int m_tooDeepEmbeddings = 0;
    Status m_stack[kMaximumDepth + 2];
};

bool wasSeparator(std::uint8_t byte)
{
    return (byte & kZkBidiBracket) == kOverriddenSeparator &&
           (byte & kZkBidiClass) <= ZkCharacter::BidiR;
}

bool begins(int bidi)
{
    return bidi == ZkCharacter::BidiLRI || bidi == ZkCharacter::BidiRLI ||
           bidi == ZkCharacter::BidiFSI;
}

} // namespace

int ZkBidiParagraph::strongLevel(int otherwise) const
{
    int depth = 0;
    for (int i = 0; i < m_count; ++i) {
        const int bidi = m_bytes[i] & kZkBidiClass;
        if (begins(bidi)) {
            ++depth;
        } else if (bidi == ZkCharacter::BidiPDI) {
            depth -= depth > 0 ? 1 : 0;
        } else if (depth == 0 && (zkBidiBit(bidi) & kStrong) != 0) {
            return bidi == ZkCharacter::BidiL ? 0 : 1;
        }
    }
    return otherwise;
}

std::int64_t ZkBidiParagraph::scratchSize(std::int64_t count, ZkBidiClasses classes)
{
    return (classes & kDividing) != 0 ? count * static_cast<int>(3 * sizeof(int) + 2)
                                      : count * static_cast<int>(sizeof(int));
}

ZkBidiParagraph::Scratch ZkBidiParagraph::divided(void *scratch) const
{
    int *const numbers = static_cast<int *>(scratch);
    auto *const bytes =
        reinterpret_cast<std::uint8_t *>(numbers + 3 * static_cast<std::ptrdiff_t>(m_count));
    return {numbers, numbers + m_count, numbers + 2 * static_cast<std::ptrdiff_t>(m_count), bytes,
            bytes + m_count};
}

void ZkBidiParagraph::resolve(int level, void *scratch)
{
    if ((m_classes & kDividing) == 0) {
        ZkBidiSequence(m_bytes, m_count, m_text, nullptr, static_cast<int *>(scratch))
            .resolve(level, level, level);
    } else {
        const Scratch rooms = divided(scratch);
        if ((m_classes & zkBidiBit(ZkCharacter::BidiFSI)) != 0) {
            decideIsolates(rooms.next);
        }
        embed(level, rooms);
        resolveSequences(level, rooms);
        fillRemoved(level, rooms);
    }
    if ((m_classes & (zkBidiBit(ZkCharacter::BidiB) | zkBidiBit(ZkCharacter::BidiS))) != 0) {
        resetSeparators(level);
    }
}

/// An isolate whose direction its first strong character tells becomes one of that
/// direction. `open` has the initiators that no PDI has ended yet; -1 when decided.
void ZkBidiParagraph::decideIsolates(int *open)
{
    const auto become = [this](int i, int bidi) {
        m_bytes[i] = static_cast<std::uint8_t>((m_bytes[i] & ~kZkBidiClass) | bidi);
    };
    int depth = 0;
    for (int i = 0; i < m_count; ++i) {
        const int bidi = m_bytes[i] & kZkBidiClass;
        if (begins(bidi)) {
            open[depth++] = bidi == ZkCharacter::BidiFSI ? i : -1;
            if (bidi == ZkCharacter::BidiFSI) {
                become(i, ZkCharacter::BidiLRI);
            }
        } else if (bidi == ZkCharacter::BidiPDI) {
            depth -= depth > 0 ? 1 : 0;
        } else if (depth > 0 && open[depth - 1] >= 0 && (zkBidiBit(bidi) & kStrong) != 0) {
            if (bidi != ZkCharacter::BidiL) {
                become(open[depth - 1], ZkCharacter::BidiRLI);
            }
            open[depth - 1] = -1;
        }
    }
}

/// Finds the embedding level of each character, applies overrides, and links the level
/// runs that an isolate divides.
void ZkBidiParagraph::embed(int level, const Scratch &scratch)
{
    Embeddings open(level);
    int run = -1;      // where this level run begins
    int previous = -1; // the level of the last character that was not removed
    for (int i = 0; i < m_count; ++i) {
        const int bidi = m_bytes[i] & kZkBidiClass;
        scratch.levels[i] = kRemoved;
        int from = -1; // the run that an isolate ending here interrupted
        switch (bidi) {
        case ZkCharacter::BidiLRE:
        case ZkCharacter::BidiLRO:
            open.beginEmbedding(
                false, bidi == ZkCharacter::BidiLRO ? static_cast<int>(ZkCharacter::BidiL) : -1);
            continue;
        case ZkCharacter::BidiRLE:
        case ZkCharacter::BidiRLO:
            open.beginEmbedding(
                true, bidi == ZkCharacter::BidiRLO ? static_cast<int>(ZkCharacter::BidiR) : -1);
            continue;
        case ZkCharacter::BidiPDF: open.endEmbedding(); continue;
        case ZkCharacter::BidiBN:
        case ZkCharacter::BidiB: continue;
        case ZkCharacter::BidiPDI: from = open.endIsolate(); break;
        default: break;
        }
        const Embeddings::Status status = open.status();
        scratch.levels[i] = static_cast<std::uint8_t>(status.level);
        if (status.level != previous) {
            run = i;
            scratch.next[i] = -1;
            if (from >= 0) {
                scratch.next[from] = i;
                scratch.levels[i] |= kContinues;
            }
        }
        previous = status.level;
        if (status.override >= 0) {
            const int mark = bidi == ZkCharacter::BidiS ? kOverriddenSeparator : 0;
            m_bytes[i] =
                static_cast<std::uint8_t>((m_bytes[i] & kZkBidiBlank) | mark | status.override);
        }
        if (begins(bidi)) {
            m_bytes[i] |= kZkBidiInitiator;
            open.beginIsolate(bidi == ZkCharacter::BidiRLI, run);
        }
    }
}

void ZkBidiParagraph::resolveSequences(int level, const Scratch &scratch)
{
    int before = level;
    for (int i = 0; i < m_count;) {
        if (scratch.levels[i] == kRemoved) {
            ++i;
            continue;
        }
        const int base = scratch.levels[i] & kLevel;
        if ((scratch.levels[i] & kContinues) == 0) {
            resolveSequence(i, level, before, scratch);
        }
        while (i < m_count &&
               (scratch.levels[i] == kRemoved || (scratch.levels[i] & kLevel) == base)) {
            ++i;
        }
        before = base;
    }
}

/// Resolves the sequence whose first level run begins at `first`. `base` is the level of
/// the paragraph, `before` that of the character before.
void ZkBidiParagraph::resolveSequence(int first, int base, int before, const Scratch &scratch)
{
    const int level = scratch.levels[first] & kLevel;
    int count = 0;
    int end = first;
    for (int run = first; run >= 0; run = scratch.next[run]) {
        for (end = run; end < m_count; ++end) {
            if (scratch.levels[end] == kRemoved) {
                continue;
            }
            if ((scratch.levels[end] & kLevel) != level) {
                break;
            }
            scratch.positions[count] = end;
            scratch.sequence[count++] = m_bytes[end];
        }
    }
    const bool isOpen = (scratch.sequence[count - 1] & kZkBidiBracket) == kZkBidiInitiator;
    const int behind = isOpen || end == m_count ? base : scratch.levels[end] & kLevel;
    ZkBidiSequence(scratch.sequence, count, m_text, scratch.positions, scratch.pairs)
        .resolve(level, std::max(level, before) & 1, std::max(level, behind) & 1);
    for (int i = 0; i < count; ++i) {
        std::uint8_t &byte = m_bytes[scratch.positions[i]];
        byte =
            wasSeparator(byte) ? static_cast<std::uint8_t>(kZkBidiSeparator) : scratch.sequence[i];
    }
}

/// A removed character has the level of the one before it.
void ZkBidiParagraph::fillRemoved(int level, const Scratch &scratch)
{
    int before = level;
    for (int i = 0; i < m_count; ++i) {
        if (scratch.levels[i] == kRemoved) {
            const bool isSeparator = (m_bytes[i] & kZkBidiClass) == ZkCharacter::BidiB;
            m_bytes[i] = isSeparator ? static_cast<std::uint8_t>(kZkBidiSeparator)
                                     : static_cast<std::uint8_t>(kZkBidiBlank | before);
        } else {
            before = m_bytes[i] == kZkBidiSeparator ? level : m_bytes[i] & kLevel;
        }
    }
}

/// Separators, and white space before them, have the level of the paragraph.
void ZkBidiParagraph::resetSeparators(int level)
{
    bool isBeforeSeparator = false;
    for (int i = m_count - 1; i >= 0; --i) {
        const std::uint8_t byte = m_bytes[i];
        isBeforeSeparator =
            byte == kZkBidiSeparator || (isBeforeSeparator && (byte & kZkBidiBlank) != 0);
        if (isBeforeSeparator) {
            m_bytes[i] = static_cast<std::uint8_t>(kZkBidiBlank | level);
        }
    }
}
