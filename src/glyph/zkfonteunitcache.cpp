#include "zkfonteunitcache.h"

#include <algorithm>
#include <cstdlib>

namespace
{

constexpr int kFirstCapacity = 2;

unsigned generationNow = 0;

} // namespace

void ZkFonteUnitCache::BlockUnit::allocMemory(BlockUnit *unit, int n)
{
    unit->capacity = std::max(n, 0);
    unit->records = static_cast<GlyphBitmap *>(zkAllocate(
        static_cast<std::int64_t>(unit->capacity) * static_cast<int>(sizeof(GlyphBitmap))));
}

void ZkFonteUnitCache::BlockUnit::release()
{
    for (int i = 0; i < count; ++i) {
        std::free(records[i].pixels);
        records[i].pixels = nullptr;
    }
    std::free(records);
    records = nullptr;
    capacity = count = 0;
}

void ZkFonteUnitCache::BlockMM::greathMemory()
{
    int capacity = kFirstCapacity;
    if (!blocks.isEmpty()) {
        const BlockUnit &last = blocks.last();
        if (last.count < last.capacity) {
            return;
        }
        capacity = std::max(capacity, 2 * last.capacity);
    }
    BlockUnit unit = {0, 0, nullptr};
    BlockUnit::allocMemory(&unit, capacity);
    blocks.append(unit);
}

GlyphBitmap *ZkFonteUnitCache::BlockMM::append(GlyphBitmap record)
{
    greathMemory();
    BlockUnit &last = blocks.last();
    GlyphBitmap *slot = last.records + last.count;
    *slot = record;
    ++last.count;
    return slot;
}

void ZkFonteUnitCache::BlockMM::release()
{
    for (BlockUnit &unit : blocks) {
        unit.release();
    }
}

ZkFonteUnitCache::ZkFonteUnitCache() : m_memory(nullptr), m_limit(-1), m_pixelBytes(0)
{
    createDat();
}

ZkFonteUnitCache::~ZkFonteUnitCache()
{
    releaseDat();
}

void ZkFonteUnitCache::createDat()
{
    releaseDat();
    m_memory = zkNew<BlockMM>();
    m_memory->greathMemory();
}

void ZkFonteUnitCache::releaseDat()
{
    m_table.clear();
    if (m_memory != nullptr) {
        m_memory->release();
        delete m_memory;
        m_memory = nullptr;
    }
}

void ZkFonteUnitCache::clean()
{
    createDat();
    __atomic_store_n(&m_pixelBytes, 0, __ATOMIC_RELAXED);
    nextGeneration();
}

GlyphBitmap *ZkFonteUnitCache::fontTable(unsigned short unicode, ZkFont font) const
{
    return find(key(unicode, font.attr()));
}

GlyphBitmap *ZkFonteUnitCache::addFontInfo(const GlyphBitmap &record)
{
    if (m_memory == nullptr) {
        createDat();
    }
    GlyphBitmap *slot = m_memory->append(record);
    m_table.insert(key(slot->unicode, slot->font), slot);
    addPixelBytes(*slot, 1);
    return slot;
}

GlyphBitmap *ZkFonteUnitCache::addfontMetrics(const GlyphBitmap &record)
{
    GlyphBitmap *stored = find(key(record.unicode, record.font));
    ZK_CHECK_AT(stored != nullptr, "stored", "./src/zkfonteunitcache", __LINE__,
                __PRETTY_FUNCTION__);
    addPixelBytes(*stored, -1);
    // The size belongs to the pixels: a glyph that could not be loaded, then or now, is
    // blank. The same size is not written, for whoever uses the record may read it.
    if (record.pixels != nullptr && !record.isShapedLike(*stored)) {
        stored->width = record.width;
        stored->height = record.height;
        stored->pitch = record.pitch;
        stored->left = record.left;
        stored->top = record.top;
        stored->descent = record.descent;
        stored->advance = record.advance;
    }
    stored->pixels = record.pixels;
    addPixelBytes(*stored, 1);
    return stored;
}

void ZkFonteUnitCache::cleanAllFontMetrics()
{
    for (auto it = m_table.begin(), end = m_table.end(); it != end; ++it) {
        GlyphBitmap *record = it.value();
        if (record->pixels != nullptr && !record->isUsed()) {
            addPixelBytes(*record, -1);
            std::free(record->pixels);
            record->pixels = nullptr;
        }
    }
}

unsigned ZkFonteUnitCache::generation()
{
    return __atomic_load_n(&generationNow, __ATOMIC_RELAXED);
}

void ZkFonteUnitCache::nextGeneration()
{
    // no test can tell: any other number does
    __atomic_fetch_add(&generationNow, 1, __ATOMIC_RELAXED);
}

void ZkFonteUnitCache::addPixelBytes(const GlyphBitmap &record, int sign)
{
    if (record.pixels == nullptr) {
        return;
    }
    const std::int64_t bytes = static_cast<std::int64_t>(record.width) * record.height;
    const int sum = zkWrapped(m_pixelBytes + sign * bytes);
    __atomic_store_n(&m_pixelBytes, sum, __ATOMIC_RELAXED);
}
