#include "zkfonteunitcache.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <random>
#include <set>
#include <type_traits>
#include <vector>

typedef ZkFonteUnitCache Store;

struct ZkInspector {
    static const ZkVector<Store::BlockUnit> &blocks(const Store &store)
    {
        return store.m_memory->blocks;
    }
    static int keys(const Store &store) { return store.m_table.size(); }
};

namespace
{

ZkFontAttr attrOf(unsigned size, unsigned flags)
{
    return ZkFontAttr{static_cast<std::uint8_t>(size), static_cast<std::uint8_t>(flags)};
}

GlyphBitmap withoutPixels(unsigned code, ZkFontAttr font, int width, int height)
{
    GlyphBitmap record = {};
    record.unicode = static_cast<std::uint16_t>(code);
    record.font = font;
    record.width = record.pitch = static_cast<std::uint16_t>(width);
    record.height = static_cast<std::uint16_t>(height);
    return record;
}

// A record whose pixels are there and all `ink`.
GlyphBitmap recordOf(unsigned code, ZkFontAttr font = {16, 0}, int width = 3, int height = 2,
                     int ink = 1)
{
    GlyphBitmap record = withoutPixels(code, font, width, height);
    const auto bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    record.pixels = static_cast<std::uint8_t *>(std::malloc(bytes + 1));
    std::memset(record.pixels, ink, bytes + 1);
    return record;
}

std::vector<int> capacitiesOf(const Store &store)
{
    std::vector<int> capacities;
    for (const Store::BlockUnit &unit : ZkInspector::blocks(store)) {
        capacities.push_back(unit.capacity);
    }
    return capacities;
}

} // namespace

TEST(BlockUnit, StartsWithItsCountersAndIsTwelveBytesOnTheDevice)
{
    EXPECT_EQ(offsetof(Store::BlockUnit, capacity), 0u);
    EXPECT_EQ(offsetof(Store::BlockUnit, count), 4u);
    EXPECT_EQ(offsetof(Store::BlockUnit, records), 8u);
    EXPECT_EQ(sizeof(Store::BlockUnit), sizeof(void *) == 4 ? 12u : 16u);
}

TEST(BlockUnit, AllocatesRoomAndLeavesTheCountAlone)
{
    Store::BlockUnit unit = {0, 0, nullptr};
    unit.count = 77;
    Store::BlockUnit::allocMemory(&unit, 3);
    EXPECT_EQ(unit.capacity, 3);
    EXPECT_EQ(unit.count, 77);
    ASSERT_NE(unit.records, nullptr);
    std::memset(static_cast<void *>(unit.records), 0, 3 * sizeof(GlyphBitmap));
    std::free(unit.records);

    Store::BlockUnit::allocMemory(&unit, -4);
    EXPECT_EQ(unit.capacity, 0);
    std::free(unit.records);
}

TEST(BlockUnit, ReleaseFreesPixelsAndRecordsAndMayBeRepeated)
{
    Store::BlockUnit unit = {0, 0, nullptr};
    Store::BlockUnit::allocMemory(&unit, 3);
    unit.records[0] = recordOf('a');
    unit.records[1] = recordOf('b');
    unit.count = 2;
    unit.release();
    EXPECT_EQ(unit.records, nullptr);
    unit.release();
    EXPECT_EQ(unit.records, nullptr);
}

TEST(BlockMM, BlocksDouble)
{
    Store::BlockMM memory;
    const int kCapacities[] = {2, 4, 8, 16, 32, 64};
    std::vector<GlyphBitmap *> slots;
    for (unsigned i = 0; i < 126; ++i) {
        slots.push_back(memory.append(recordOf(i)));
    }
    ASSERT_EQ(memory.blocks.size(), 6);
    std::size_t slot = 0;
    for (int block = 0; block < 6; ++block) {
        SCOPED_TRACE(block);
        EXPECT_EQ(memory.blocks.at(block).capacity, kCapacities[block]);
        EXPECT_EQ(memory.blocks.at(block).count, kCapacities[block]);
        for (int i = 0; i < kCapacities[block]; ++i, ++slot) {
            EXPECT_EQ(slots[slot], memory.blocks.at(block).records + i);
            EXPECT_EQ(slots[slot]->unicode, slot);
        }
    }
    memory.release();
    for (const Store::BlockUnit &unit : memory.blocks) {
        EXPECT_EQ(unit.records, nullptr);
    }
}

TEST(BlockMM, RoomIsMadeOnlyWhenTheLastBlockIsFull)
{
    Store::BlockMM memory;
    memory.greathMemory();
    memory.greathMemory();
    EXPECT_EQ(memory.blocks.size(), 1);
    memory.append(recordOf('a'));
    memory.append(recordOf('b'));
    EXPECT_EQ(memory.blocks.size(), 1);
    memory.greathMemory();
    EXPECT_EQ(memory.blocks.size(), 2);
    memory.release();
    memory.append(recordOf('c')); // starts over
    memory.release();
}

TEST(ZkFonteUnitCache, StyleCodesComeFromTheThreeLowestFlags)
{
    const int kCodes[] = {0, 2, 1, 3, 4, 6, 5, 7};
    for (unsigned flags = 0; flags < 256; ++flags) {
        EXPECT_EQ(Store::fontFlag(attrOf(12, flags)), kCodes[flags % 8]) << flags;
        EXPECT_EQ(Store::fontFlag(attrOf(255, flags)), kCodes[flags % 8]) << flags;
    }
    EXPECT_EQ(Store::fontFlag(ZkFont(12, true, false, true, false).attr()), 6);
    EXPECT_EQ(Store::fontFlag(ZkFont(12, false, true, false, false).attr()), 1);
    EXPECT_EQ(Store::fontFlag(ZkFont(12, true, false, false, false).attr()), 2);
}

TEST(ZkFonteUnitCache, KeysPackCharacterSizeAndStyle)
{
    EXPECT_EQ(Store::key('A', attrOf(16, 0)), 0x100041);
    EXPECT_EQ(Store::key('A', attrOf(16, 8)), 0x100041) << "underline";
    EXPECT_EQ(Store::key(0xFFFF, attrOf(255, 255)), 0x7FFFFFF);
    EXPECT_EQ(Store::key(0, attrOf(0, 4)), 0x4000000);
    EXPECT_EQ(Store::key(0, attrOf(0, 1)), 0x2000000);
    EXPECT_EQ(Store::key(0, attrOf(0, 2)), 0x1000000);
    EXPECT_EQ(Store::key(0x8000, attrOf(128, 0)), 0x808000);
}

TEST(ZkFonteUnitCache, StartsEmptyWithoutLimitAndOneBlock)
{
    const Store store;
    EXPECT_EQ(store.limit(), -1);
    EXPECT_EQ(store.pixelBytes(), 0);
    EXPECT_EQ(capacitiesOf(store), std::vector<int>({2}));
    EXPECT_EQ(store.fontTable('a', ZkFont()), nullptr);
    EXPECT_FALSE(std::is_copy_constructible<Store>::value);
    EXPECT_EQ(sizeof(Store), 2 * sizeof(void *) + 8);
}

TEST(ZkFonteUnitCache, TheThirdAndSeventhGlyphOpenBlocks)
{
    Store store;
    const std::map<unsigned, std::vector<int>> kBlocks = {
        {1, {2}}, {2, {2}}, {3, {2, 4}}, {6, {2, 4}}, {7, {2, 4, 8}}, {14, {2, 4, 8}}};
    for (unsigned i = 1; i <= 14; ++i) {
        store.addFontInfo(recordOf(i));
        const auto expected = kBlocks.find(i);
        if (expected != kBlocks.end()) {
            EXPECT_EQ(capacitiesOf(store), expected->second) << i;
        }
    }
}

TEST(ZkFonteUnitCache, RecordsNeverMoveAndAreFoundByKey)
{
    Store store;
    std::map<unsigned, GlyphBitmap *> slots;
    for (unsigned i = 0; i < 3000; ++i) {
        slots[i * 21] = store.addFontInfo(recordOf(i * 21, attrOf(i % 3, 0), 1, 1));
    }
    for (const auto &slot : slots) {
        ASSERT_EQ(slot.second->unicode, slot.first);
        const ZkFont font(attrOf(slot.first / 21 % 3, 0));
        ASSERT_EQ(store.fontTable(static_cast<ZkUcs2>(slot.first), font), slot.second);
        ASSERT_EQ(store.fontTable(static_cast<ZkUcs2>(slot.first + 1), font), nullptr);
    }
}

TEST(ZkFonteUnitCache, SizeAndStyleSeparateGlyphsAndUnderlineDoesNot)
{
    Store store;
    std::set<GlyphBitmap *> slots;
    for (const unsigned size : {12u, 13u}) {
        for (unsigned flags = 0; flags < 8; ++flags) {
            slots.insert(store.addFontInfo(recordOf('a', attrOf(size, flags))));
        }
    }
    EXPECT_EQ(slots.size(), 16u);
    EXPECT_EQ(ZkInspector::keys(store), 16);
    for (unsigned flags = 0; flags < 256; ++flags) {
        const GlyphBitmap *found = store.fontTable('a', ZkFont(attrOf(13, flags)));
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found, store.fontTable('a', ZkFont(attrOf(13, flags % 8))));
        EXPECT_EQ(found->font.flags, flags % 8);
        EXPECT_EQ(store.fontTable('a', ZkFont(attrOf(14, flags))), nullptr);
    }
}

// Counting records without pixels made the sum drift: they were counted again with their
// pixels, and trimming takes them off once.
TEST(ZkFonteUnitCache, PixelBytesAreWidthTimesHeightOfWhatIsStored)
{
    Store store;
    store.addFontInfo(recordOf('a', {16, 0}, 7, 5));
    EXPECT_EQ(store.pixelBytes(), 35);
    store.addFontInfo(recordOf(' ', {16, 0}, 0, 0));
    EXPECT_EQ(store.pixelBytes(), 35);
    GlyphBitmap *starved = store.addFontInfo(withoutPixels('b', {16, 0}, 10, 10));
    EXPECT_EQ(store.pixelBytes(), 35);
    store.addfontMetrics(withoutPixels('b', {16, 0}, 10, 10));
    EXPECT_EQ(store.pixelBytes(), 35);
    store.addfontMetrics(recordOf('b', {16, 0}, 10, 10));
    EXPECT_EQ(store.pixelBytes(), 135);
    store.cleanAllFontMetrics();
    EXPECT_EQ(store.pixelBytes(), 0);
    EXPECT_EQ(starved->pixels, nullptr);
}

TEST(ZkFonteUnitCache, PixelBytesWrapInsteadOfOverflowing)
{
    Store store;
    for (unsigned code : {0x61U, 0x62U}) {
        GlyphBitmap huge = withoutPixels(code, {16, 0}, 40000, 40000);
        huge.pixels = static_cast<std::uint8_t *>(std::malloc(1));
        store.addFontInfo(huge);
        EXPECT_EQ(store.pixelBytes(), static_cast<int>(code == 'a' ? 1600000000u : 3200000000u));
    }
}

// A glyph that could not be loaded again kept its old size over a buffer of one byte.
TEST(ZkFonteUnitCache, SizeAndPixelsChangeTogether)
{
    Store store;
    GlyphBitmap *slot = store.addFontInfo(recordOf('a', {16, 0}, 10, 10));
    store.cleanAllFontMetrics();
    store.addfontMetrics(recordOf('a', {16, 0}, 0, 0));
    EXPECT_EQ(slot->width, 0);
    EXPECT_EQ(slot->height, 0);
    EXPECT_EQ(slot->pitch, 0);
    EXPECT_NE(slot->pixels, nullptr);
    EXPECT_EQ(store.pixelBytes(), 0);
    store.cleanAllFontMetrics();
    store.addfontMetrics(recordOf('a', {16, 0}, 4, 6));
    EXPECT_EQ(slot->width, 4);
    EXPECT_EQ(slot->height, 6);
    EXPECT_EQ(store.pixelBytes(), 24);
    store.cleanAllFontMetrics();
    EXPECT_EQ(store.addfontMetrics(withoutPixels('a', {16, 0}, 0, 0)), slot);
    EXPECT_EQ(slot->width, 4) << "no pixels bring no size";
    EXPECT_EQ(slot->pixels, nullptr);
    EXPECT_EQ(store.pixelBytes(), 0);
}

TEST(ZkFonteUnitCache, BearingsAndAdvanceComeWithNewPixels)
{
    Store store;
    GlyphBitmap *slot = store.addFontInfo(recordOf('a', {16, 0}, 0, 0));
    store.cleanAllFontMetrics();
    GlyphBitmap record = recordOf('a', {16, 0}, 4, 6);
    record.left = -1;
    record.top = 5;
    record.descent = 2;
    record.advance = 7;
    store.addfontMetrics(record);
    EXPECT_EQ(slot->left, -1);
    EXPECT_EQ(slot->top, 5);
    EXPECT_EQ(slot->descent, 2);
    EXPECT_EQ(slot->advance, 7);
}

TEST(ZkFonteUnitCache, ASecondRecordUnderOneKeyIsFoundAndTheFirstStaysValid)
{
    Store store;
    GlyphBitmap *older = store.addFontInfo(recordOf('a', {16, 0}, 4, 4, 5));
    GlyphBitmap *newer = store.addFontInfo(recordOf('a', {16, 8}, 4, 4, 6));
    EXPECT_NE(older, newer);
    EXPECT_EQ(store.fontTable('a', ZkFont()), newer);
    EXPECT_EQ(ZkInspector::keys(store), 1);
    EXPECT_EQ(store.pixelBytes(), 32);
    store.cleanAllFontMetrics();
    EXPECT_EQ(newer->pixels, nullptr);
    ASSERT_NE(older->pixels, nullptr) << "what no key leads to is not trimmed";
    EXPECT_EQ(older->pixels[15], 5);
    EXPECT_EQ(store.pixelBytes(), 16);
}

TEST(ZkFonteUnitCache, RefilledRecordsKeepTheirPlaceAndCount)
{
    Store store;
    GlyphBitmap *slot = store.addFontInfo(recordOf('a', {16, 0}, 4, 4, 5));
    store.cleanAllFontMetrics();
    ASSERT_EQ(slot->pixels, nullptr);
    slot->retain(3);
    const GlyphBitmap fresh = recordOf('a', {16, 8}, 4, 4, 9);
    EXPECT_EQ(store.addfontMetrics(fresh), slot);
    EXPECT_EQ(slot->pixels, fresh.pixels);
    EXPECT_EQ(slot->useCount, 3u);
    EXPECT_EQ(slot->font.flags, 0) << "only the pixels are taken";
    EXPECT_EQ(store.pixelBytes(), 16);
    EXPECT_EQ(store.fontTable('a', ZkFont()), slot);
}

TEST(ZkFonteUnitCache, TrimmingDropsThePixelsOfUnusedRecordsOnly)
{
    Store store;
    GlyphBitmap *unused = store.addFontInfo(recordOf('a', {16, 0}, 3, 3));
    GlyphBitmap *used = store.addFontInfo(recordOf('b', {16, 0}, 5, 5));
    GlyphBitmap *empty = store.addFontInfo(recordOf(' ', {16, 0}, 0, 0));
    GlyphBitmap *starved = store.addFontInfo(withoutPixels('c', {16, 0}, 7, 7));
    used->retain();
    store.cleanAllFontMetrics();
    EXPECT_EQ(unused->pixels, nullptr);
    EXPECT_EQ(unused->width, 3);
    EXPECT_NE(used->pixels, nullptr);
    EXPECT_EQ(empty->pixels, nullptr);
    EXPECT_EQ(starved->pixels, nullptr);
    EXPECT_EQ(store.pixelBytes(), 25) << "what never had pixels was not counted";
    EXPECT_EQ(ZkInspector::keys(store), 4);
    store.cleanAllFontMetrics();
    EXPECT_EQ(store.pixelBytes(), 25);
    used->release();
    store.cleanAllFontMetrics();
    EXPECT_EQ(used->pixels, nullptr);
    EXPECT_EQ(store.pixelBytes(), 0);
}

TEST(ZkFonteUnitCache, CleanEmptiesTheStoreForNewGlyphs)
{
    Store store;
    store.setLimit(1000);
    for (unsigned i = 0; i < 20; ++i) {
        store.addFontInfo(recordOf(i))->retain();
    }
    const unsigned before = Store::generation();
    store.clean();
    EXPECT_NE(Store::generation(), before);
    EXPECT_EQ(store.pixelBytes(), 0);
    EXPECT_EQ(store.limit(), 1000);
    EXPECT_EQ(capacitiesOf(store), std::vector<int>({2}));
    EXPECT_EQ(store.fontTable(3, ZkFont()), nullptr);
    const GlyphBitmap *slot = store.addFontInfo(recordOf(3));
    EXPECT_EQ(store.fontTable(3, ZkFont()), slot);
    EXPECT_EQ(store.pixelBytes(), 6);
}

TEST(ZkFonteUnitCache, ReleasedAndRecreatedBlocksLeakNothing)
{
    Store store;
    store.addFontInfo(recordOf('a'));
    store.createDat();
    EXPECT_EQ(store.fontTable('a', ZkFont()), nullptr);
    store.addFontInfo(recordOf('a'));
    store.releaseDat();
    store.releaseDat();
    EXPECT_EQ(store.fontTable('a', ZkFont()), nullptr);
    EXPECT_NE(store.addFontInfo(recordOf('a')), nullptr);
}

TEST(ZkFonteUnitCache, OnlyMinusOneMeansNoLimit)
{
    const struct {
        int limit;
        bool over;
    } kRows[] = {{-1, false}, {0, true},          {6, true},  {7, false},
                 {-2, true},  {INT32_MAX, false}, {-5, true}, {INT32_MIN, true}};
    Store store;
    store.addFontInfo(recordOf('a', {16, 0}, 3, 2));
    for (const auto &row : kRows) {
        store.setLimit(row.limit);
        EXPECT_EQ(store.limit(), row.limit);
        EXPECT_EQ(store.isOverLimit(), row.over) << row.limit;
    }
}

// A long random life beside a map: keys, counts and bytes agree after every step.
TEST(ZkFonteUnitCache, AgreesWithAModel)
{
    struct Model {
        GlyphBitmap *slot;
        int bytes;
        bool held;
    };
    std::mt19937 random(4711);
    const auto below = [&random](unsigned limit) {
        return static_cast<unsigned>(random() % limit);
    };
    Store store;
    std::map<int, Model> model;
    int orphaned = 0; // bytes of records that lost their key
    for (int step = 0; step < 4000; ++step) {
        const unsigned code = below(200);
        const ZkFontAttr attr = attrOf(below(3), below(16));
        const int key = Store::key(static_cast<ZkUcs2>(code), attr);
        const auto known = model.find(key);
        const int width = static_cast<int>(below(20)), height = static_cast<int>(below(20));
        const unsigned what = below(100);
        if (known == model.end() || what < 5) {
            orphaned += known != model.end() && known->second.held ? known->second.bytes : 0;
            model[key] = {store.addFontInfo(recordOf(code, attr, width, height)), width * height,
                          true};
        } else if (!known->second.held) {
            const GlyphBitmap *slot = known->second.slot;
            ASSERT_EQ(store.addfontMetrics(recordOf(code, attr, slot->width, slot->height)), slot);
            known->second.held = true;
        } else if (what < 40) {
            known->second.slot->retain();
        } else if (what < 80 && known->second.slot->isUsed()) {
            known->second.slot->release();
        } else if (what < 82) {
            store.cleanAllFontMetrics();
            for (auto &entry : model) {
                entry.second.held = entry.second.held && entry.second.slot->isUsed();
            }
        }
        int bytes = orphaned;
        for (const auto &entry : model) {
            bytes += entry.second.held ? entry.second.bytes : 0;
            ASSERT_EQ(entry.second.slot->pixels != nullptr, entry.second.held);
        }
        ASSERT_EQ(store.pixelBytes(), bytes) << step;
        ASSERT_EQ(ZkInspector::keys(store), static_cast<int>(model.size()));
        ASSERT_EQ(store.fontTable(static_cast<ZkUcs2>(code), ZkFont(attr)), model[key].slot);
    }
}

TEST(ZkFonteUnitCacheDeathTest, PixelsForAGlyphThatIsNotThereStopTheProcess)
{
    Store store;
    const GlyphBitmap record = withoutPixels('a', {16, 0}, 1, 1);
    EXPECT_DEATH(store.addfontMetrics(record),
                 "./src/zkfonteunitcache:[0-9]+: .*ZkFonteUnitCache::addfontMetrics\\(const "
                 "GlyphBitmap ?&\\): Assertion `stored' failed");
}
