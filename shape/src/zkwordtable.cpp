#include "zkwordtable.h"

#include <cstdlib>
#include <cstring>

namespace
{

constexpr std::size_t kFirstBuckets = 16;
/// What malloc writes before a block, and to what it rounds the sum.
constexpr std::size_t kBlockHead = sizeof(std::size_t), kBlockUnit = 2 * sizeof(std::size_t);

std::size_t blockBytes(std::size_t bytes)
{
    return (bytes + kBlockHead + kBlockUnit - 1) / kBlockUnit * kBlockUnit;
}

/// Mixes 64 bits so that each of them changes half of the result.
std::uint64_t mixed(std::uint64_t value)
{
    value *= 0x9E3779B97F4A7C15u;
    return value ^ (value >> 29);
}

} // namespace

ZkWordKey::ZkWordKey(const ZkUcs2 *word, int length, std::uint32_t inStyle)
    : text(word), units(length), style(inStyle)
{
    std::uint64_t sum =
        mixed((static_cast<std::uint64_t>(inStyle) << 32) | static_cast<unsigned>(length));
    int i = 0;
    for (; i + 4 <= length; i += 4) {
        std::uint64_t four;
        std::memcpy(&four, word + i, sizeof four);
        sum = mixed(sum ^ four);
    }
    std::uint64_t rest = 0;
    std::memcpy(&rest, word + i, static_cast<std::size_t>(length - i) * sizeof(ZkUcs2));
    hash = mixed(sum ^ rest);
}

std::size_t ZkKnownWord::bytesOf(std::size_t units, std::size_t glyphCount)
{
    return blockBytes(sizeof(ZkKnownWord) + glyphCount * sizeof(ZkShapedGlyph) +
                      units * sizeof(ZkUcs2));
}

const ZkKnownWord *ZkWordTable::find(const ZkWordKey &key)
{
    if (m_bucketCount == 0) {
        return nullptr;
    }
    ZkKnownWord *word = m_buckets[key.hash & (m_bucketCount - 1)];
    const std::size_t textBytes = static_cast<std::size_t>(key.units) * sizeof(ZkUcs2);
    while (word != nullptr &&
           !(word->hash == key.hash && word->style == key.style && word->units == key.units &&
             std::memcmp(word->text(), key.text, textBytes) == 0)) {
        word = word->next;
    }
    if (word != nullptr && word != m_newest) {
        unlink(word);
        makeNewest(word);
    }
    return word;
}

void ZkWordTable::add(const ZkWordKey &key, const ZkShapedGlyph *glyphs, int count)
{
    const std::size_t glyphCount = static_cast<std::size_t>(count);
    const std::size_t units = static_cast<std::size_t>(key.units);
    const std::size_t bytes = ZkKnownWord::bytesOf(units, glyphCount);
    if (glyphCount > 0xFFFF || units > 0xFFFF || bytes > m_budget / 8) {
        return;
    }
    if (m_size >= m_bucketCount && !grow() && m_bucketCount == 0) {
        return;
    }
    while (m_bytes + bytes > m_budget && m_oldest != nullptr) {
        evictOldest();
    }
    void *const block = m_bytes + bytes > m_budget ? nullptr : std::malloc(bytes - kBlockHead);
    if (block == nullptr) {
        return;
    }
    ZkKnownWord *const word = static_cast<ZkKnownWord *>(block);
    word->hash = key.hash;
    word->style = key.style;
    word->units = static_cast<std::uint16_t>(units);
    word->glyphCount = static_cast<std::uint16_t>(glyphCount);
    char *const behind = reinterpret_cast<char *>(word + 1);
    std::memcpy(behind, glyphs, glyphCount * sizeof(ZkShapedGlyph));
    std::memcpy(behind + glyphCount * sizeof(ZkShapedGlyph), key.text, units * sizeof(ZkUcs2));
    ZkKnownWord **const bucket = m_buckets + (key.hash & (m_bucketCount - 1));
    word->next = *bucket;
    *bucket = word;
    makeNewest(word);
    ++m_size;
    m_bytes += bytes;
    m_peakBytes = m_bytes > m_peakBytes ? m_bytes : m_peakBytes;
}

void ZkWordTable::setBudget(std::size_t budget)
{
    m_budget = budget;
    while (m_bytes > m_budget && m_oldest != nullptr) {
        evictOldest();
    }
    if (m_bytes > m_budget) { // for the buckets alone
        std::free(m_buckets);
        m_buckets = nullptr;
        m_bucketCount = m_bytes = 0;
    }
}

void ZkWordTable::clear()
{
    for (ZkKnownWord *word = m_newest; word != nullptr;) {
        ZkKnownWord *const older = word->older;
        std::free(word);
        word = older;
    }
    std::free(m_buckets);
    m_buckets = nullptr;
    m_bucketCount = m_size = m_bytes = m_peakBytes = 0;
    m_newest = m_oldest = nullptr;
    m_evicted = 0;
}

void ZkWordTable::makeNewest(ZkKnownWord *word)
{
    word->newer = nullptr;
    word->older = m_newest;
    (m_newest != nullptr ? m_newest->newer : m_oldest) = word;
    m_newest = word;
}

/// Takes a word out of the order of use, not out of its bucket.
void ZkWordTable::unlink(ZkKnownWord *word)
{
    (word->newer != nullptr ? word->newer->older : m_newest) = word->older;
    (word->older != nullptr ? word->older->newer : m_oldest) = word->newer;
}

void ZkWordTable::evictOldest()
{
    ZkKnownWord *const word = m_oldest;
    // `unlink` below takes the word before the next call away from `m_oldest`.
    // NOLINTNEXTLINE(clang-analyzer-unix.Malloc)
    ZkKnownWord **link = m_buckets + (word->hash & (m_bucketCount - 1));
    while (*link != word) {
        link = &(*link)->next;
    }
    *link = word->next;
    unlink(word);
    m_bytes -= word->bytes();
    --m_size;
    ++m_evicted;
    std::free(word);
}

/// Twice the buckets; false without memory, or where they would take more than a quarter
/// of the budget. The words then share buckets.
bool ZkWordTable::grow()
{
    const std::size_t count = m_bucketCount == 0 ? kFirstBuckets : 2 * m_bucketCount;
    const std::size_t bytes = blockBytes(count * sizeof(ZkKnownWord *));
    const std::size_t before =
        m_bucketCount == 0 ? 0 : blockBytes(m_bucketCount * sizeof(ZkKnownWord *));
    if (bytes > m_budget / 4) {
        return false;
    }
    // Both arrays are there for a moment.
    while (m_bytes + bytes > m_budget && m_oldest != nullptr) {
        evictOldest();
    }
    void *const block = std::calloc(count, sizeof(ZkKnownWord *));
    if (block == nullptr) {
        return false;
    }
    ZkKnownWord **const buckets = static_cast<ZkKnownWord **>(block);
    for (ZkKnownWord *word = m_newest; word != nullptr; word = word->older) {
        ZkKnownWord **const bucket = buckets + (word->hash & (count - 1));
        word->next = *bucket;
        *bucket = word;
    }
    std::free(m_buckets);
    m_buckets = buckets;
    m_bucketCount = count;
    m_bytes += bytes;
    m_peakBytes = m_bytes > m_peakBytes ? m_bytes : m_peakBytes;
    m_bytes -= before;
    return true;
}
