// What a layout hands to a painter.

#include <zkplacedglyph.h>

#include <gtest/gtest.h>

#include <type_traits>

TEST(ZkPlacedGlyph, IsPlainDataOfAPointerAndFourNumbers)
{
    static_assert(std::is_trivially_copyable<ZkPlacedGlyph>::value, "copied as bytes");
    EXPECT_EQ(sizeof(ZkPlacedGlyph), sizeof(void *) + 4 * sizeof(int));
    const ZkPlacedGlyph placed = {nullptr, 1, 2, 3, 4};
    EXPECT_EQ(placed.x, 1);
    EXPECT_EQ(placed.y, 2);
    EXPECT_EQ(placed.cluster, 3);
    EXPECT_EQ(placed.tag, 4);
}
