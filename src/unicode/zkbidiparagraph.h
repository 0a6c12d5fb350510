#ifndef ZKBIDIPARAGRAPH_H
#define ZKBIDIPARAGRAPH_H

#include "unicode/zkbidisequence.h"

/// The set of all classes that a text has, one bit each.
typedef std::uint32_t ZkBidiClasses;
constexpr ZkBidiClasses zkBidiBit(int bidi)
{
    return ZkBidiClasses(1) << bidi;
}

/// One paragraph: a byte for each unit that says its class, and at the end its level.
class ZkBidiParagraph
{
public:
    /// `classes` are at least those of the paragraph. `text` begins where it does.
    ZkBidiParagraph(std::uint8_t *bytes, int count, const ZkTextSource &text, ZkBidiClasses classes)
        : m_bytes(bytes), m_count(count), m_text(text), m_classes(classes)
    {
    }

    /// The level of the first strong character outside isolates; `otherwise` without one.
    int strongLevel(int otherwise) const;

    /// Bytes of memory that `resolve` needs, for `count` units.
    static std::int64_t scratchSize(std::int64_t count, ZkBidiClasses classes);

    /// Turns classes into levels. `scratch` is aligned as an int.
    void resolve(int level, void *scratch);

private:
    struct Scratch {
        int *pairs;
        int *next;              ///< of a level run's first unit: where its sequence goes on
        int *positions;         ///< of the units of a sequence
        std::uint8_t *levels;   ///< embedding levels
        std::uint8_t *sequence; ///< what is known of the units of a sequence
    };

    Scratch divided(void *scratch) const;
    void decideIsolates(int *open);
    void embed(int level, const Scratch &scratch);
    void resolveSequences(int level, const Scratch &scratch);
    void resolveSequence(int first, int base, int before, const Scratch &scratch);
    void fillRemoved(int level, const Scratch &scratch);
    void resetSeparators(int level);

    std::uint8_t *m_bytes;
    int m_count;
    ZkTextSource m_text;
    ZkBidiClasses m_classes;
};

#endif
