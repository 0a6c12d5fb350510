#include "zkbidi.h"

#include "base/zklanes.h"
#include "unicode/zkbidiparagraph.h"
#include "unicode/zkdirectionscan.h"
#include "unicode/zkunitclasses.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace
{

constexpr int kLevel = 0x7F;

/// What the end of a line gives the level of the paragraph.
constexpr ZkBidiClasses kBlanks =
    zkBidiBit(ZkCharacter::BidiWS) | zkBidiBit(ZkCharacter::BidiS) | zkBidiBit(ZkCharacter::BidiB) |
    zkBidiBit(ZkCharacter::BidiBN) | zkBidiBit(ZkCharacter::BidiLRE) |
    zkBidiBit(ZkCharacter::BidiLRO) | zkBidiBit(ZkCharacter::BidiRLE) |
    zkBidiBit(ZkCharacter::BidiRLO) | zkBidiBit(ZkCharacter::BidiPDF) |
    zkBidiBit(ZkCharacter::BidiLRI) | zkBidiBit(ZkCharacter::BidiRLI) |
    zkBidiBit(ZkCharacter::BidiFSI) | zkBidiBit(ZkCharacter::BidiPDI);

/// Classes that one must know of before the levels are found.
constexpr ZkBidiClasses kTold = kBlanks & ~zkBidiBit(ZkCharacter::BidiWS);

std::uint8_t byteOf(std::uint16_t unit)
{
    const unsigned bits = zkunit::bidiOf(unit);
    return static_cast<std::uint8_t>(bits | (kBlanks >> (bits & kZkBidiClass) & 1) << 7);
}

ZkBidiClasses writeEach(const std::uint16_t *units, int first, int last, std::uint8_t *bytes)
{
    ZkBidiClasses classes = 0;
    for (int i = first; i < last; ++i) {
        // The second unit of a pair as one more character of the kind: nothing changes.
        bytes[i] = zkunit::isTrail(units[i]) ? bytes[i - 1] : byteOf(units[i]);
        classes |= zkBidiBit(bytes[i] & kZkBidiClass);
    }
    return classes;
}

/// Writes the byte of each unit. Returns the set of their classes, of which only those that
/// `kTold` has are sure to be told.
ZkBidiClasses writeBytes(const std::uint16_t *units, int count, std::uint8_t *bytes)
{
    ZkBidiClasses classes = 0;
    int i = 0;
#if ZK_HAS_LANES
    static_assert(kTold ==
                      (((zkBidiBit(ZkCharacter::BidiS) << 1) - zkBidiBit(ZkCharacter::BidiBN)) |
                       ((zkBidiBit(ZkCharacter::BidiPDI) << 1) - zkBidiBit(ZkCharacter::BidiLRE))),
                  "they stand in two stretches");
    const ZkLanes space = ZkLanes::all(ZkCharacter::BidiWS), blank = ZkLanes::all(kZkBidiBlank);
    for (; i + ZkLanes::kCount <= count; i += ZkLanes::kCount) {
        const ZkLanes lanes = ZkLanes::load(units + i);
        const ZkLanes bidi = lanes & ZkLanes::all(kZkBidiClass);
        const ZkLanes told =
            ZkLanes::within(bidi, ZkCharacter::BidiBN, ZkCharacter::BidiS) |
            ZkLanes::within(bidi, ZkCharacter::BidiLRE, ZkCharacter::BidiPDI) |
            ((lanes & ZkLanes::all(zkunit::kTrailBits)) == ZkLanes::all(zkunit::kTrailBits));
        if (told.any()) {
            classes |= writeEach(units, i, i + ZkLanes::kCount, bytes);
        } else {
            ((lanes & ZkLanes::all(kZkBidiClass | kZkBidiBracket)) | ((bidi == space) & blank))
                .storeBytes(bytes + i);
        }
    }
#endif
    return classes | writeEach(units, i, count, bytes);
}

/// The same for a text, which is looked up piece by piece.
template <typename Unit>
ZkBidiClasses writeBytesOf(const Unit *text, int units, std::uint8_t *bytes)
{
    ZkBidiClasses classes = 0;
    zkForEachPiece(text, units, [&](const std::uint16_t *read, int first, int count) {
        classes |= writeBytes(read, count, bytes + first);
    });
    return classes;
}

/// Where the paragraph that begins at `first` ends: behind its separator, of which a
/// carriage return and the line feed behind it are one.
int paragraphEnd(const ZkTextSource &text, int first, int size)
{
    int i = text.units != nullptr ? zkFindSeparator(text.units, first, size)
                                  : zkFindSeparator(text.points, first, size);
    if (i + 1 < size && text.at(i) == '\r' && text.at(i + 1) == '\n') {
        ++i;
    }
    return std::min(i + 1, size);
}

/// The paragraphs of a text.
struct ListSize {
    int count;
    int longest;
};

ListSize sizeOfList(const ZkTextSource &text, int first, int last)
{
    ListSize found = {0, 0};
    while (first < last) {
        const int end = paragraphEnd(text, first, last);
        found = {found.count + 1, std::max(found.longest, end - first)};
        first = end;
    }
    return found;
}

/// Writes them, but for their levels.
void writeList(const ZkTextSource &text, int first, int last, ZkBidi::Paragraph *list)
{
    while (first < last) {
        const int end = paragraphEnd(text, first, last);
        *list++ = {first, end, 0};
        first = end;
    }
}

int defaultLevel(ZkBidi::Direction direction)
{
    return direction == ZkBidi::RightToLeft || direction == ZkBidi::AutoRightToLeft ? 1 : 0;
}

bool mayBeLeftToRight(ZkBidi::Direction direction)
{
    return direction == ZkBidi::Auto || direction == ZkBidi::LeftToRight;
}

/// Turns every stretch of runs around that has a level of at least `level`, from the
/// highest level down to the lowest odd one.
void reorder(ZkBidi::Run *runs, int count, int least, int most)
{
    for (int level = most; level >= (least | 1); --level) {
        for (int i = 0; i < count; ++i) {
            const int begin = i;
            while (i < count && runs[i].level >= level) {
                ++i;
            }
            std::reverse(runs + begin, runs + i);
        }
    }
}

/// True when all of a text is of level 1 at a glance.
bool isRightToLeft(const ZkUcs2 *text, int units, ZkBidi::Direction direction)
{
    return direction != ZkBidi::LeftToRight && text != nullptr && zkIsRightToLeft(text, units);
}

bool isRightToLeft(const char32_t *, int, ZkBidi::Direction)
{
    return false;
}

std::int64_t aligned(std::int64_t bytes)
{
    return (bytes + 7) & ~std::int64_t(7);
}

} // namespace

ZkBidi::ZkBidi() : ZkBidi(nullptr, 0)
{
}

ZkBidi::ZkBidi(void *buffer, std::int64_t bytes)
    : m_levels(nullptr),
      m_paragraphs(&m_only),
      m_only{0, 0, 0},
      m_size(0),
      m_paragraphCount(0),
      m_baseLevel(0),
      m_direction(Auto),
      m_uniformLevel(0),
      m_buffer(buffer),
      m_bytes(bytes),
      m_ownsBuffer(false)
{
}

ZkBidi::~ZkBidi()
{
    if (m_ownsBuffer) {
        std::free(m_buffer);
    }
}

/// Makes room for `bytes` and keeps the first `kept`.
void ZkBidi::allocate(std::int64_t bytes, std::int64_t kept)
{
    if (bytes > m_bytes) {
        bytes += m_bytes > 0 ? bytes / 4 : 0; // texts grow
        void *const buffer = zkAllocate(bytes);
        if (kept > 0) {
            std::memcpy(buffer, m_buffer, static_cast<std::size_t>(kept));
        }
        if (m_ownsBuffer) {
            std::free(m_buffer);
        }
        m_buffer = buffer;
        m_bytes = bytes;
        m_ownsBuffer = true;
    }
    m_levels = static_cast<std::uint8_t *>(m_buffer);
}

void ZkBidi::setText(const ZkUcs2 *text, int units, Direction direction)
{
    analyse(text, units, direction);
}

void ZkBidi::setText(const char32_t *text, int count, Direction direction)
{
    analyse(text, count, direction);
}

void ZkBidi::setText(const ZkTextCharacters &text, Direction direction)
{
    setText(text, direction, nullptr, 0);
}

void ZkBidi::setText(const ZkTextCharacters &text, Direction direction, void *scratch,
                     std::int64_t bytes)
{
    m_size = text.m_size;
    m_direction = direction;
    const ZkTextSource source = {text.m_units, text.m_points};
    if (text.m_leftToRight && mayBeLeftToRight(direction)) {
        setLeftToRight(source, text.m_separated);
        return;
    }
    if (!text.m_leftToRight && isRightToLeft(text.m_units, m_size, direction)) {
        setUniform(1);
        return;
    }
    allocate(aligned(m_size), 0);
    resolve(source, writeBytes(text.m_classes, m_size, m_levels), scratch, bytes);
}

template <typename Unit>
void ZkBidi::analyse(const Unit *text, int units, Direction direction)
{
    m_size = units;
    m_direction = direction;
    if (mayBeLeftToRight(direction)) {
        const ZkDirectionScan scan = zkScanDirection(text, units);
        if (scan.isLeftToRight) {
            setLeftToRight(zkSourceOf(text), scan.isSeparated);
            return;
        }
    }
    if (isRightToLeft(text, units, direction)) {
        setUniform(1);
        return;
    }
    allocate(aligned(units), 0);
    resolve(zkSourceOf(text), writeBytesOf(text, units, m_levels), nullptr, 0);
}

/// All levels are 0. `separated` when there may be several paragraphs.
void ZkBidi::setLeftToRight(const ZkTextSource &text, bool separated)
{
    setUniform(0);
    if (separated) {
        listParagraphs(text, 0, 0, nullptr, 0);
    }
}

/// One paragraph, all of one level.
void ZkBidi::setUniform(int level)
{
    m_uniformLevel = level;
    m_baseLevel = level;
    m_only = {0, m_size, level};
    m_paragraphs = &m_only;
    m_paragraphCount = m_size > 0 ? 1 : 0;
}

/// Fills the list but for the levels. Returns `perUnit` bytes for each unit of the longest
/// paragraph: the `bytes` at `scratch` if they suffice, else room behind the list. The
/// first `kept` bytes stay.
void *ZkBidi::listParagraphs(const ZkTextSource &text, std::int64_t kept, std::int64_t perUnit,
                             void *scratch, std::int64_t bytes)
{
    const ListSize found = sizeOfList(text, 0, m_size);
    const std::int64_t start = aligned(kept);
    const std::int64_t list = found.count > 1 ? static_cast<std::int64_t>(found.count) *
                                                    static_cast<int>(sizeof(Paragraph))
                                              : 0;
    const std::int64_t work = found.longest * perUnit;
    const bool isGiven = scratch != nullptr && work <= bytes;
    allocate(start + list + (isGiven ? 0 : work), kept);
    auto *const memory = static_cast<std::uint8_t *>(m_buffer) + start;
    m_paragraphs = found.count > 1 ? reinterpret_cast<Paragraph *>(memory) : &m_only;
    m_paragraphCount = found.count;
    writeList(text, 0, m_size, m_paragraphs);
    return isGiven ? scratch : memory + list;
}

/// Turns the bytes, whose classes are `classes`, into levels.
void ZkBidi::resolve(const ZkTextSource &text, std::uint32_t classes, void *scratch,
                     std::int64_t bytes)
{
    const std::int64_t perUnit = ZkBidiParagraph::scratchSize(1, classes);
    void *work = scratch;
    if ((classes & zkBidiBit(ZkCharacter::BidiB)) != 0) {
        work = listParagraphs(text, m_size, perUnit, scratch, bytes);
    } else {
        setUniform(0); // for the one paragraph
        if (scratch == nullptr || m_size * perUnit > bytes) {
            allocate(aligned(m_size) + m_size * perUnit, m_size);
            work = static_cast<std::uint8_t *>(m_buffer) + aligned(m_size);
        }
    }
    m_uniformLevel = -1;
    resolveParagraphs(text, 0, m_paragraphCount, classes, work);
    m_baseLevel = m_paragraphCount > 0 ? m_paragraphs[0].level : defaultLevel(m_direction);
}

void ZkBidi::resolveParagraphs(const ZkTextSource &text, int first, int last, std::uint32_t classes,
                               void *scratch)
{
    for (int i = first; i < last; ++i) {
        Paragraph &paragraph = m_paragraphs[i];
        ZkBidiParagraph resolver(m_levels + paragraph.first, paragraph.last - paragraph.first,
                                 text.from(paragraph.first), classes);
        paragraph.level = defaultLevel(m_direction);
        if (m_direction == Auto || m_direction == AutoRightToLeft) {
            paragraph.level = resolver.strongLevel(paragraph.level);
        }
        resolver.resolve(paragraph.level, scratch);
    }
}

void ZkBidi::edit(const ZkTextCharacters &text, int first, int removed, int inserted)
{
    if (m_uniformLevel >= 0 || m_size == removed ||
        (text.m_leftToRight && mayBeLeftToRight(m_direction))) {
        setText(text, m_direction);
        return;
    }
    // The unit before the edit may have been a separator that is none now, and the unit
    // behind it the second half of one.
    const int begin = paragraphNumber(std::max(first - 1, 0));
    const int end = paragraphNumber(std::min(first + removed, m_size - 1)) + 1;
    replaceParagraphs(text, begin, end, inserted - removed);
}

/// Resolves anew what stood in the paragraphs `[begin, end)`, now `change` units more. The
/// others keep their levels; a new block takes them.
void ZkBidi::replaceParagraphs(const ZkTextCharacters &text, int begin, int end, int change)
{
    const ZkTextSource source = {text.m_units, text.m_points};
    const int first = m_paragraphs[begin].first;
    const int oldLast = m_paragraphs[end - 1].last, last = oldLast + change;
    const ListSize found = sizeOfList(source, first, last);
    const int behind = m_paragraphCount - end;
    const int count = begin + found.count + behind;
    const std::int64_t start = aligned(text.m_size);
    const std::int64_t list =
        start + static_cast<std::int64_t>(count) * static_cast<int>(sizeof(Paragraph));
    const std::int64_t bytes = list + ZkBidiParagraph::scratchSize(found.longest, ~0U);
    auto *const block = static_cast<std::uint8_t *>(zkAllocate(bytes));
    auto *const paragraphs = reinterpret_cast<Paragraph *>(block + start);
    std::copy_n(m_levels, first, block);
    std::copy_n(m_levels + oldLast, m_size - oldLast, block + last);
    std::copy_n(m_paragraphs, begin, paragraphs);
    writeList(source, first, last, paragraphs + begin);
    for (int i = 0; i < behind; ++i) {
        const Paragraph &old = m_paragraphs[end + i];
        paragraphs[begin + found.count + i] = {old.first + change, old.last + change, old.level};
    }
    if (m_ownsBuffer) {
        std::free(m_buffer);
    }
    m_buffer = block;
    m_bytes = bytes;
    m_ownsBuffer = true;
    m_levels = block;
    m_paragraphs = paragraphs;
    m_paragraphCount = count;
    m_size = text.m_size;
    const ZkBidiClasses classes =
        writeBytes(text.m_classes + first, last - first, m_levels + first);
    resolveParagraphs(source, begin, begin + found.count, classes, block + list);
    m_baseLevel = count > 0 ? m_paragraphs[0].level : defaultLevel(m_direction);
}

/// The number of the paragraph that unit `i` belongs to.
int ZkBidi::paragraphNumber(int i) const
{
    const Paragraph *const begin = m_paragraphs;
    const Paragraph *const end = begin + m_paragraphCount;
    const Paragraph *const found = std::upper_bound(
        begin, end, i, [](int unit, const Paragraph &paragraph) { return unit < paragraph.last; });
    return static_cast<int>(found - begin);
}

ZkBidi::Paragraph ZkBidi::paragraphOf(int i) const
{
    return m_paragraphs[paragraphNumber(i)];
}

/// Where the white space at the end of a line begins.
int ZkBidi::contentEnd(int first, int last) const
{
    while (last > first && (m_levels[last - 1] & kZkBidiBlank) != 0) {
        --last;
    }
    return last;
}

void ZkBidi::lineLevels(int first, int last, std::uint8_t *levels) const
{
    if (m_uniformLevel >= 0 || first >= last) {
        std::fill_n(levels, std::max(last - first, 0), static_cast<std::uint8_t>(m_uniformLevel));
        return;
    }
    const int end = contentEnd(first, last);
    for (int i = first; i < end; ++i) {
        *levels++ = m_levels[i] & kLevel;
    }
    std::fill_n(levels, last - end, static_cast<std::uint8_t>(paragraphOf(first).level));
}

int ZkBidi::visualRuns(int first, int last, Run *runs, int room) const
{
    int count = 0;
    int least = kLevel, most = 0;
    const auto add = [&](int from, int to, int level) {
        least = std::min(least, level);
        most = std::max(most, level);
        if (count < room) {
            runs[count] = {from, to, level};
        }
        ++count;
    };
    if (first >= last) {
        return 0;
    }
    if (m_uniformLevel >= 0) {
        add(first, last, m_uniformLevel);
        return count;
    }
    const int end = contentEnd(first, last);
    const int base = end < last ? paragraphOf(first).level : 0;
    const auto levelAt = [&](int i) { return i < end ? m_levels[i] & kLevel : base; };
    for (int i = first; i < last;) {
        const int level = levelAt(i);
        int to = i < end ? i + 1 : last;
        while (to < last && levelAt(to) == level) {
            to = to < end ? to + 1 : last;
        }
        add(i, to, level);
        i = to;
    }
    if (count <= room) {
        reorder(runs, count, least, most);
    }
    return count;
}

void ZkBidi::visualOrder(int first, int last, int *units) const
{
    constexpr int kRoom = 64;
    Run few[kRoom];
    const int count = visualRuns(first, last, few, kRoom);
    Run *runs = few;
    if (count > kRoom) {
        runs = static_cast<Run *>(
            zkAllocate(static_cast<std::int64_t>(count) * static_cast<int>(sizeof(Run))));
        visualRuns(first, last, runs, count);
    }
    for (int i = 0; i < count; ++i) {
        for (int unit = runs[i].first; unit < runs[i].last; ++unit) {
            *units++ = runs[i].isRightToLeft() ? runs[i].first + runs[i].last - 1 - unit : unit;
        }
    }
    if (runs != few) {
        std::free(runs);
    }
}
