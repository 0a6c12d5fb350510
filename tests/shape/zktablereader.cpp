#include "zktablereader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Tables of fonts that say whatever they like.

namespace
{

constexpr hb_tag_t kTag = HB_TAG('T', 'E', 'S', 'T');

std::string numbers(const std::vector<unsigned> &values)
{
    std::string bytes;
    for (const unsigned value : values) {
        bytes += {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
    }
    return bytes;
}

/// A face whose tables are all the same.
class OneTableFace
{
public:
    explicit OneTableFace(std::string table)
        : m_table(std::move(table)), face(hb_face_create_for_tables(blob, this, nullptr))
    {
    }
    ~OneTableFace() { hb_face_destroy(face); }
    OneTableFace(const OneTableFace &) = delete;
    OneTableFace &operator=(const OneTableFace &) = delete;

private:
    static hb_blob_t *blob(hb_face_t *, hb_tag_t, void *self)
    {
        const std::string &table = static_cast<OneTableFace *>(self)->m_table;
        return hb_blob_create(table.data(), static_cast<unsigned>(table.size()),
                              HB_MEMORY_MODE_READONLY, nullptr, nullptr);
    }

    std::string m_table;

public:
    hb_face_t *const face;
};

std::vector<unsigned> listed(const hb_set_t *glyphs)
{
    std::vector<unsigned> all;
    for (hb_codepoint_t glyph = HB_SET_VALUE_INVALID; hb_set_next(glyphs, &glyph);) {
        all.push_back(glyph);
    }
    return all;
}

} // namespace

TEST(ZkTableReader, ReadsNumbersAndZerosBehindTheEnd)
{
    const OneTableFace font(numbers({0x0102, 0x0304, 0x0506}));
    const ZkTableReader table(font.face, kTag);
    EXPECT_EQ(table.size(), 6u);
    EXPECT_EQ(table.number16(0), 0x0102u);
    EXPECT_EQ(table.number16(1), 0x0203u);
    EXPECT_EQ(table.number32(2), 0x03040506u);
    EXPECT_EQ(table.number16(5), 0x0600u);
    EXPECT_EQ(table.number32(4), 0x05060000u);
    EXPECT_EQ(table.number16(0xFFFFFFFF), 0x0001u) << "around the end of all numbers";
    EXPECT_EQ(table.number16(1000), 0u);
}

TEST(ZkTableReader, FindsCoveredGlyphs)
{
    struct Case {
        const char *what;
        std::vector<unsigned> table;
        std::vector<unsigned> glyphs; // in the order of their places
    };
    const Case kCases[] = {
        {"a list", {1, 3, 5, 9, 20}, {5, 9, 20}},
        {"ranges", {2, 2, 4, 6, 0, 10, 10, 3}, {4, 5, 6, 10}},
        {"an empty list", {1, 0}, {}},
        {"a range turned round", {2, 1, 6, 4, 0}, {}},
        {"more than there is", {1, 3, 5}, {5}},
    };
    for (const Case &row : kCases) {
        SCOPED_TRACE(row.what);
        const OneTableFace font(numbers(row.table));
        const ZkTableReader table(font.face, kTag);
        for (unsigned i = 0; i < row.glyphs.size(); ++i) {
            EXPECT_EQ(table.coverage(0, row.glyphs[i]), static_cast<int>(i));
        }
        EXPECT_EQ(table.coverage(0, 7), -1);
        hb_set_t *const glyphs = hb_set_create();
        table.addCovered(0, glyphs);
        hb_set_del(glyphs, 0); // of what lies behind the end
        EXPECT_EQ(listed(glyphs), row.glyphs);
        hb_set_destroy(glyphs);
    }
}

TEST(ZkTableReader, FindsClasses)
{
    struct Case {
        const char *what;
        std::vector<unsigned> table;
    };
    const Case kCases[] = {
        {"a list", {1, 3, 4, 1, 2, 0, 2}}, // glyphs 3 to 6
        {"ranges", {2, 3, 3, 3, 1, 4, 4, 2, 6, 6, 2}},
    };
    for (const Case &row : kCases) {
        SCOPED_TRACE(row.what);
        const OneTableFace font(numbers(row.table));
        const ZkTableReader table(font.face, kTag);
        const unsigned kClasses[] = {0, 0, 0, 1, 2, 0, 2, 0};
        for (unsigned glyph = 0; glyph < 8; ++glyph) {
            EXPECT_EQ(table.classOf(0, glyph), kClasses[glyph]) << glyph;
        }
        hb_set_t *const glyphs = hb_set_create();
        table.addClass(0, 2, glyphs);
        EXPECT_EQ(listed(glyphs), (std::vector<unsigned>{4, 6}));
        hb_set_destroy(glyphs);
    }
}

// However often a table is looked at, and however long it says that it is.
TEST(ZkTableReader, TakesALimitedNumberOfSteps)
{
    const OneTableFace font(numbers({2, 0xFFFF, 1, 0, 0}));
    const ZkTableReader table(font.face, kTag);
    hb_set_t *const glyphs = hb_set_create();
    int calls = 0;
    for (; !table.wasLong() && calls < 1000; ++calls) {
        table.coverage(0, 1000);
        table.classOf(0, 1000);
        table.addCovered(0, glyphs);
        table.addClass(0, 1, glyphs);
    }
    EXPECT_LE(calls, 2) << "65,535 steps each of 262,144";
    EXPECT_EQ(table.coverage(0, 0), -1) << "not looked at any more";
    hb_set_destroy(glyphs);
}
