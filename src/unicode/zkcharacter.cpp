#include "zkcharacter.h"

#include "unicode/zkdirectionscan.h"
#include "unicode/zktextsource.h"
#include "unicode/zkunitclasses.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr char32_t kSyllableBase = 0xAC00, kLeadBase = 0x1100, kVowelBase = 0x1161,
                   kTailBase = 0x11A7;
constexpr char32_t kLeadCount = 19, kVowelCount = 21, kTailCount = 28,
                   kSyllableCount = kLeadCount * kVowelCount * kTailCount;

/// A Hangul syllable of two letters, or of one without a final letter and that letter.
char32_t composedSyllable(char32_t base, char32_t mark)
{
    if (base - kLeadBase < kLeadCount && mark - kVowelBase < kVowelCount) {
        return kSyllableBase +
               ((base - kLeadBase) * kVowelCount + (mark - kVowelBase)) * kTailCount;
    }
    const char32_t syllable = base - kSyllableBase;
    if (syllable < kSyllableCount && syllable % kTailCount == 0 && mark - kTailBase - 1 < 27) {
        return base + (mark - kTailBase);
    }
    return 0;
}

} // namespace

const ZkCharacter &zkCharacter(char32_t c)
{
    return kZkCharacterRecords[c <= 0x10FFFF ? zkRecordNumber(c) : 0];
}

char32_t zkMirrored(char32_t c)
{
    const std::uint16_t *const end = kZkMirrorSources + kZkMirrorCount;
    const std::uint16_t *const found = std::lower_bound(kZkMirrorSources, end, c);
    if (found == end || *found != c) {
        return c;
    }
    const int distance = kZkMirrorDistances[kZkMirrorDistanceNumbers[found - kZkMirrorSources]];
    return c + static_cast<char32_t>(distance);
}

char32_t zkCompose(char32_t base, char32_t mark)
{
    if (mark > 0x0DDF && mark < 0x102E) {
        return 0; // Thai, Lao and Tibetan compose nothing
    }
    if (const char32_t syllable = composedSyllable(base, mark)) {
        return syllable;
    }
    const std::uint16_t *const marks = kZkCompositionMarks + kZkCompositionMarkCount;
    const std::uint16_t *const found = std::lower_bound(kZkCompositionMarks, marks, mark);
    if (found != marks && *found == mark) {
        const auto number = found - kZkCompositionMarks;
        const std::uint16_t *const first = kZkCompositionBases + kZkCompositionStarts[number];
        const std::uint16_t *const last = kZkCompositionBases + kZkCompositionStarts[number + 1];
        const std::uint16_t *const at = std::lower_bound(first, last, base);
        return at != last && *at == base ? kZkCompositions[at - kZkCompositionBases] : 0;
    }
    for (int i = 0; i < kZkHighCompositionCount; ++i) {
        const std::uint32_t *const entry = kZkHighCompositions + 3 * i;
        if (entry[0] == base && entry[1] == mark) {
            return entry[2];
        }
    }
    return 0;
}

ZkTextCharacters::ZkTextCharacters() : ZkTextCharacters(nullptr, 0)
{
}

ZkTextCharacters::ZkTextCharacters(std::uint16_t *buffer, int capacity)
    : m_units(nullptr),
      m_points(nullptr),
      m_classes(buffer),
      m_size(0),
      m_capacity(capacity),
      m_ownsClasses(false),
      m_leftToRight(true),
      m_separated(false) // no test can tell: else separators are looked for
{
}

ZkTextCharacters::~ZkTextCharacters()
{
    if (m_ownsClasses) {
        std::free(m_classes);
    }
}

/// Makes room for `units` numbers and keeps the `m_size` there are.
void ZkTextCharacters::reserve(int units)
{
    if (units <= m_capacity) {
        return;
    }
    // The first text gets what it needs; one that grows gets room to grow on.
    const int capacity = static_cast<int>(std::min(static_cast<std::int64_t>(units) * 3 / 2,
                                                   static_cast<std::int64_t>(INT32_MAX / 2)));
    m_capacity = m_ownsClasses ? std::max(units, capacity) : units;
    const std::int64_t bytes = static_cast<std::int64_t>(m_capacity) * 2;
    if (m_ownsClasses) {
        m_classes = static_cast<std::uint16_t *>(zkReallocate(m_classes, bytes));
    } else {
        const std::uint16_t *const old = m_classes;
        m_classes = static_cast<std::uint16_t *>(zkAllocate(bytes));
        std::copy_n(old, m_size, m_classes);
        m_ownsClasses = true;
    }
}

void ZkTextCharacters::setText(const ZkUcs2 *text, int units)
{
    set(text, units);
}

void ZkTextCharacters::setText(const char32_t *text, int count)
{
    set(text, count);
}

template <typename Unit>
void ZkTextCharacters::set(const Unit *text, int units)
{
    m_size = 0;
    reserve(units);
    m_size = units;
    zkunit::read(text, 0, units, units, m_classes);
    keep(text);
}

/// Remembers the text, and what one glance at it tells.
template <typename Unit>
void ZkTextCharacters::keep(const Unit *text)
{
    const ZkTextSource source = zkSourceOf(text);
    m_units = source.units;
    m_points = source.points;
    const ZkDirectionScan scan = zkScanDirection(text, m_size);
    m_leftToRight = scan.isLeftToRight;
    m_separated = scan.isSeparated;
}

void ZkTextCharacters::edit(const ZkUcs2 *text, int first, int removed, int inserted)
{
    replace(text, first, removed, inserted);
}

void ZkTextCharacters::edit(const char32_t *text, int first, int removed, int inserted)
{
    replace(text, first, removed, inserted);
}

template <typename Unit>
void ZkTextCharacters::replace(const Unit *text, int first, int removed, int inserted)
{
    const int size = m_size - removed + inserted;
    reserve(size);
    const int behind = m_size - first - removed;
    if (behind > 0) {
        std::memmove(m_classes + first + inserted, m_classes + first + removed,
                     static_cast<std::size_t>(behind) * sizeof *m_classes);
    }
    m_size = size;
    // A surrogate beside the new units may have found or lost its partner.
    const int from = std::max(first - 1, 0);
    const int to = std::min(first + inserted + 1, size);
    zkunit::read(text, from, to, size, m_classes + from);
    keep(text);
}

char32_t ZkTextCharacters::character(int i) const
{
    if (m_points != nullptr) {
        return m_points[i];
    }
    if (zkunit::isTrail(m_classes[i])) {
        --i;
    }
    return i + 1 < m_size && zkunit::isTrail(m_classes[i + 1])
               ? zkPairOf(m_units[i], m_units[i + 1])
               : static_cast<char32_t>(m_units[i]);
}
