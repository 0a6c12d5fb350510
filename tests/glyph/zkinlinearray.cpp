#include <private/zkinlinearray.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;

struct Record {
    int start;
    std::int64_t width;
    bool operator==(const Record &other) const
    {
        return start == other.start && width == other.width;
    }
};

using Records = ZkInlineArray<Record, 3>;

// Whether the records lie in the array object itself.
bool isInObject(const Records &records)
{
    const auto *object = reinterpret_cast<const char *>(&records);
    const auto *first = reinterpret_cast<const char *>(records.begin());
    return first >= object && first < object + sizeof records;
}

TEST(ZkInlineArray, StartsEmptyWithRoomForTheInlineRecords)
{
    const Records records;
    EXPECT_TRUE(records.isEmpty());
    EXPECT_EQ(records.size(), 0);
    EXPECT_EQ(records.room(), 3);
    EXPECT_EQ(records.begin(), records.end());
}

TEST(ZkInlineArray, TakesMemoryOnlyForTheRecordBehindTheInlineOnes)
{
    Records records;
    for (int i = 0; i < 3; ++i) {
        records.append({i, 10 * i});
        EXPECT_TRUE(isInObject(records)) << i;
    }
    EXPECT_EQ(records.room(), 0);
    records.append({3, 30});
    EXPECT_FALSE(isInObject(records));
    EXPECT_EQ(records.room(), 12 - 4);
    EXPECT_THAT(records, ElementsAre(Record{0, 0}, Record{1, 10}, Record{2, 20}, Record{3, 30}));
}

TEST(ZkInlineArray, AppendsARecordOfItsOwnWhileItGrows)
{
    Records records;
    for (const int start : {7, 8, 9}) {
        records.append({start, 0});
    }
    records.append(records[0]); // moves the record that is being appended
    EXPECT_EQ(records[3], (Record{7, 0}));
}

TEST(ZkInlineArray, ExtendsWithinItsRoomForTheCallerToWrite)
{
    Records records;
    records.append({1, 1});
    Record *added = records.extend(2);
    added[0] = {2, 2};
    added[1] = {3, 3};
    EXPECT_EQ(added, records.begin() + 1);
    EXPECT_EQ(records.room(), 0);
    EXPECT_THAT(records, ElementsAre(Record{1, 1}, Record{2, 2}, Record{3, 3}));
    EXPECT_EQ(records.extend(0), records.end());
    EXPECT_EQ(records.extend(-1), records.end());
    EXPECT_EQ(records.size(), 3);
}

TEST(ZkInlineArray, ExtendsPastItsRoomAndKeepsWhatItHas)
{
    Records records;
    records.append({1, 1});
    Record *added = records.extend(100);
    EXPECT_EQ(added, records.begin() + 1);
    EXPECT_EQ(records.size(), 101);
    EXPECT_EQ(records.room(), 0);
    EXPECT_EQ(records[0], (Record{1, 1}));
    std::fill(added, records.end(), Record{7, 7});
    records.append({8, 8});
    EXPECT_EQ(records.room(), 2 * 101 - 102); // no longer four times as many
    records.truncate(2);
    EXPECT_THAT(records, ElementsAre(Record{1, 1}, Record{7, 7}));
}

TEST(ZkInlineArray, IsAsNewOnceCleared)
{
    Records records;
    for (int count : {2, 20}) { // in the object, and on the heap
        for (int i = 0; i < count; ++i) {
            records.append({i, i});
        }
        records.clear();
        EXPECT_TRUE(records.isEmpty());
        EXPECT_EQ(records.room(), 3);
        EXPECT_TRUE(isInObject(records));
    }
    records.append({5, 6});
    EXPECT_THAT(records, ElementsAre(Record{5, 6}));
}

TEST(ZkInlineArray, HoldsWhatAStandardVectorHolds)
{
    std::mt19937 random(11);
    ZkInlineArray<unsigned, 5> array;
    std::vector<unsigned> model;
    for (int step = 0; step < 20000; ++step) {
        if (random() % 500 == 0) {
            array.clear();
            model.clear();
        } else if (array.room() > 0 && random() % 4 == 0) {
            *array.extend(1) = static_cast<unsigned>(step);
            model.push_back(static_cast<unsigned>(step));
        } else {
            const unsigned value = static_cast<unsigned>(random());
            array.append(value);
            model.push_back(value);
        }
        ASSERT_EQ(array.size(), static_cast<int>(model.size()));
    }
    EXPECT_THAT(array, ElementsAreArray(model));
}

} // namespace
