#include <zkpoint.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <type_traits>

TEST(ZkPoint, IsTwoPlainNumbers)
{
    EXPECT_EQ(sizeof(ZkPoint), 8U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkPoint>::value);
    EXPECT_TRUE(std::is_standard_layout<ZkPoint>::value);
    constexpr ZkPoint p(3, -4);
    static_assert(p.x() == 3 && p.y() == -4, "x comes before y");
    EXPECT_EQ(ZkPoint(), ZkPoint(0, 0));
}

TEST(ZkPoint, SettersChangeOneCoordinate)
{
    ZkPoint p(1, 2);
    p.setX(7);
    EXPECT_EQ(p, ZkPoint(7, 2));
    p.setY(-7);
    EXPECT_EQ(p, ZkPoint(7, -7));
}

TEST(ZkPoint, ComparesBothCoordinates)
{
    EXPECT_FALSE(ZkPoint(1, 2) != ZkPoint(1, 2));
    EXPECT_TRUE(ZkPoint(1, 2) != ZkPoint(1, 3));
    EXPECT_TRUE(ZkPoint(1, 2) != ZkPoint(0, 2));
    EXPECT_FALSE(ZkPoint(1, 2) == ZkPoint(2, 1));
}

TEST(ZkPoint, SumsWrapAtTheEndsOfInt)
{
    EXPECT_EQ(ZkPoint(3, 4) + ZkPoint(10, -20), ZkPoint(13, -16));
    EXPECT_EQ(ZkPoint(3, 4) - ZkPoint(10, -20), ZkPoint(-7, 24));
    EXPECT_EQ(ZkPoint(INT_MAX, INT_MIN) + ZkPoint(1, -1), ZkPoint(INT_MIN, INT_MAX));
    EXPECT_EQ(ZkPoint(INT_MIN, INT_MAX) - ZkPoint(1, -1), ZkPoint(INT_MAX, INT_MIN));
}

TEST(ZkPointF, IsTwoPlainNumbers)
{
    EXPECT_EQ(sizeof(ZkPointF), 8U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkPointF>::value);
    constexpr ZkPointF p(0.5F, -2);
    static_assert(p.x() == 0.5F && p.y() == -2, "x comes before y");
    EXPECT_EQ(ZkPointF(), ZkPointF(0, 0));
}

TEST(ZkPointF, SettersChangeOneCoordinate)
{
    ZkPointF p(1, 2);
    p.setX(0.25F);
    EXPECT_EQ(p, ZkPointF(0.25F, 2));
    p.setY(-7);
    EXPECT_EQ(p, ZkPointF(0.25F, -7));
}

TEST(ZkPointF, ComparesExactly)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(ZkPointF(0, 1) == ZkPointF(-0.0F, 1));
    EXPECT_TRUE(ZkPointF(0, 1) != ZkPointF(0, std::nextafter(1.0F, 2.0F)));
    EXPECT_TRUE(ZkPointF(0, 1) != ZkPointF(std::nextafter(0.0F, 1.0F), 1));
    EXPECT_FALSE(ZkPointF(nan, 1) == ZkPointF(nan, 1));
    EXPECT_TRUE(ZkPointF(1, nan) != ZkPointF(1, nan));
}

TEST(ZkPointF, AddsAndScalesAsAVector)
{
    EXPECT_EQ(ZkPointF(1, 2) + ZkPointF(0.5F, -8), ZkPointF(1.5F, -6));
    EXPECT_EQ(ZkPointF(1, 2) - ZkPointF(0.5F, -8), ZkPointF(0.5F, 10));
    EXPECT_EQ(ZkPointF(1, -2) * 0.5F, ZkPointF(0.5F, -1));
    EXPECT_EQ(4 * ZkPointF(1, -2), ZkPointF(4, -8));
}
