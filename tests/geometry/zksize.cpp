#include <zksize.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <ostream>
#include <random>
#include <type_traits>

static std::ostream &operator<<(std::ostream &out, const ZkSize &s)
{
    return out << s.width() << " x " << s.height();
}

static std::ostream &operator<<(std::ostream &out, const ZkSizeF &s)
{
    return out << s.width() << " x " << s.height();
}

TEST(ZkSize, IsTwoPlainNumbers)
{
    EXPECT_EQ(sizeof(ZkSize), 8U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkSize>::value);
    constexpr ZkSize s(3, -4);
    static_assert(s.width() == 3 && s.height() == -4, "width comes before height");
    EXPECT_EQ(ZkSize(), ZkSize(0, 0));
}

TEST(ZkSize, SettersAndComparisonTakeOneSideEach)
{
    ZkSize s;
    s.setWidth(5);
    EXPECT_EQ(s, ZkSize(5, 0));
    s.setHeight(6);
    EXPECT_EQ(s, ZkSize(5, 6));
    EXPECT_TRUE(s != ZkSize(5, 7));
    EXPECT_TRUE(s != ZkSize(4, 6));
    EXPECT_FALSE(s != ZkSize(5, 6));
}

TEST(ZkSize, ScaleFitsTheShapeToTheBox)
{
    const struct {
        const char *what;
        ZkSize size, box;
        Zk::AspectRatioMode mode;
        ZkSize scaled;
    } kRows[] = {
        {"inside: the width is what limits", {200, 100}, {50, 50}, Zk::KeepAspect, {50, 25}},
        {"covering", {200, 100}, {50, 50}, Zk::KeepAspectExpanding, {100, 50}},
        {"free", {200, 100}, {50, 50}, Zk::IgnoreAspect, {50, 50}},
        {"inside: the height is what limits", {100, 200}, {50, 50}, Zk::KeepAspect, {25, 50}},
        {"covering upright", {100, 200}, {50, 50}, Zk::KeepAspectExpanding, {50, 100}},
        {"same shape, inside", {4, 2}, {8, 4}, Zk::KeepAspect, {8, 4}},
        {"same shape, covering", {4, 2}, {8, 4}, Zk::KeepAspectExpanding, {8, 4}},
        {"the side that follows is cut, not rounded", {3, 2}, {100, 7}, Zk::KeepAspect, {10, 7}},
        {"no width, no shape", {0, 7}, {50, 60}, Zk::KeepAspect, {50, 60}},
        {"no height, no shape", {7, 0}, {50, 60}, Zk::KeepAspectExpanding, {50, 60}},
        {"an empty box", {7, 9}, {0, 0}, Zk::KeepAspect, {0, 0}},
        {"negative, cut toward 0", {-3, 2}, {5, 7}, Zk::KeepAspect, {-10, 7}},
        {"products beyond 32 bits", {INT_MAX, INT_MAX}, {7, 7}, Zk::KeepAspect, {7, 7}},
        {"a far side wraps to 32 bits",
         {INT_MAX, 1},
         {1, 3},
         Zk::KeepAspectExpanding,
         {zkWrapped(3 * std::int64_t(INT_MAX)), 3}},
        {"least over minus one",
         {INT_MIN, -1},
         {1, 1},
         Zk::KeepAspectExpanding,
         {zkWrapped(-std::int64_t(INT_MIN)), 1}},
        {"least times least", {INT_MIN, 1}, {1, INT_MIN}, Zk::KeepAspect, {1, 0}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkSize size = row.size;
        size.scale(row.box, row.mode);
        EXPECT_EQ(size, row.scaled);
    }
}

// Inside: as large as the box allows, never larger; covering: never smaller.
TEST(ZkSize, ScaledSizesTouchTheBoxOnOneSide)
{
    std::mt19937 random(61);
    std::uniform_int_distribution<int> side(1, 2000);
    for (int round = 0; round < 20000; ++round) {
        const ZkSize original(side(random), side(random));
        const ZkSize box(side(random), side(random));
        SCOPED_TRACE(testing::Message() << original << " in " << box);
        ZkSize inside = original;
        inside.scale(box, Zk::KeepAspect);
        EXPECT_LE(inside.width(), box.width());
        EXPECT_LE(inside.height(), box.height());
        EXPECT_TRUE(inside.width() == box.width() || inside.height() == box.height());
        ZkSize covering = original;
        covering.scale(box, Zk::KeepAspectExpanding);
        EXPECT_GE(covering.width(), box.width());
        EXPECT_GE(covering.height(), box.height());
        EXPECT_TRUE(covering.width() == box.width() || covering.height() == box.height());
    }
}

TEST(ZkSize, ScaleToItselfChangesNothing)
{
    ZkSize size(30, 20);
    size.scale(size, Zk::KeepAspect);
    EXPECT_EQ(size, ZkSize(30, 20));
}

TEST(ZkSizeF, IsTwoPlainNumbers)
{
    EXPECT_EQ(sizeof(ZkSizeF), 8U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkSizeF>::value);
    constexpr ZkSizeF s(0.5F, -4);
    static_assert(s.width() == 0.5F && s.height() == -4, "width comes before height");
    ZkSizeF t;
    EXPECT_EQ(t, ZkSizeF(0, 0));
    t.setWidth(1.5F);
    t.setHeight(2);
    EXPECT_EQ(t, ZkSizeF(1.5F, 2));
    EXPECT_TRUE(t != ZkSizeF(1.5F, 3));
    EXPECT_TRUE(t != ZkSizeF(1, 2));
}

TEST(ZkSizeF, ScaleFitsTheShapeToTheBox)
{
    const struct {
        const char *what;
        ZkSizeF size, box;
        Zk::AspectRatioMode mode;
        ZkSizeF scaled;
    } kRows[] = {
        {"inside", {200, 100}, {50, 50}, Zk::KeepAspect, {50, 25}},
        {"covering", {200, 100}, {50, 50}, Zk::KeepAspectExpanding, {100, 50}},
        {"free", {200, 100}, {50, 50}, Zk::IgnoreAspect, {50, 50}},
        {"nothing is cut", {3, 2}, {100, 7}, Zk::KeepAspect, {10.5F, 7}},
        {"covering upright", {2, 4}, {3, 3}, Zk::KeepAspectExpanding, {3, 6}},
        {"plus zero has no shape", {0.0F, 4}, {3, 5}, Zk::KeepAspect, {3, 5}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkSizeF size = row.size;
        size.scale(row.box, row.mode);
        EXPECT_EQ(size, row.scaled);
    }
}

// Minus zero goes on to the division: a width of -0 follows the box's height,
// and a height of -0 divides by zero.
TEST(ZkSizeF, MinusZeroCountsAsASide)
{
    ZkSizeF thin(-0.0F, 4);
    thin.scale(ZkSizeF(3, 5), Zk::KeepAspect);
    EXPECT_EQ(thin, ZkSizeF(0, 5));
    EXPECT_TRUE(std::signbit(thin.width()));

    ZkSizeF flat(4, -0.0F);
    flat.scale(ZkSizeF(3, 5), Zk::KeepAspect);
    EXPECT_EQ(flat, ZkSizeF(-std::numeric_limits<float>::infinity(), 5));
}

TEST(ZkSizeF, NotANumberTakesTheBoxWidth)
{
    ZkSizeF size(std::numeric_limits<float>::quiet_NaN(), 2);
    size.scale(ZkSizeF(3, 5), Zk::KeepAspect);
    EXPECT_EQ(size.width(), 3);
    EXPECT_TRUE(std::isnan(size.height()));
}
