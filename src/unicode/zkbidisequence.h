#ifndef ZKBIDISEQUENCE_H
#define ZKBIDISEQUENCE_H

#include "unicode/zktextsource.h"
#include "zkcharacter.h"

/// What is known of a character while its level is sought, in one byte: its class, or
/// what the class has been resolved to; its bracket type; and whether the end of a line
/// gives it the level of the paragraph. At the end the seven lower bits are the level.
enum ZkBidiByte : std::uint8_t {
    kZkBidiClass = 0x1F,
    kZkBidiOpen = 0x20,
    kZkBidiClose = 0x40,
    kZkBidiInitiator = 0x60, ///< begins an isolate; no bracket does
    kZkBidiBracket = 0x60,
    kZkBidiBlank = 0x80,
    kZkBidiSeparator = 0xFF ///< in place of a level: it has that of the paragraph
};

/// Characters that count as standing side by side, all of one embedding level, and the
/// weak, bracket, neutral and implicit rules for them.
class ZkBidiSequence
{
public:
    /// `bytes` are those of the units of `text` at `positions`, or of the units from 0
    /// on when there is no such list. `pairs` has room for as many numbers.
    ZkBidiSequence(std::uint8_t *bytes, int count, const ZkTextSource &text, const int *positions,
                   int *pairs)
        : m_bytes(bytes), m_count(count), m_text(text), m_positions(positions), m_pairs(pairs)
    {
    }

    /// Turns classes into levels. `before` and `behind` are the directions at the ends,
    /// 0 left to right, 1 right to left.
    void resolve(int level, int before, int behind);

private:
    class Brackets;

    void readWeak(int start, Brackets *brackets);
    void resolveBrackets(int level, int before, const Brackets &brackets);
    void setBracket(int i, int direction);
    void resolveNeutrals(int level, int before, int behind);

    char32_t character(int i) const
    {
        return m_text.at(m_positions != nullptr ? m_positions[i] : i);
    }

    std::uint8_t *m_bytes;
    int m_count;
    ZkTextSource m_text;
    const int *m_positions;
    int *m_pairs; ///< for each opening bracket its closing one, -1 for none
};

#endif
