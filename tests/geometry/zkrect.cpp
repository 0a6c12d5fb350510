#include <zkrect.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <type_traits>

static std::ostream &operator<<(std::ostream &out, const ZkRect &r)
{
    return out << '(' << r.left() << ", " << r.top() << ", " << r.right() << ", " << r.bottom()
               << ')';
}

static std::ostream &operator<<(std::ostream &out, const ZkRectF &r)
{
    return out << '(' << r.x() << ", " << r.y() << ", " << r.width() << " x " << r.height() << ')';
}

namespace
{

const ZkRect kNull(0, 0, -1, -1);

// A rectangle as the set of the cells it covers on a board of 8 by 8, whose
// corner is (-4, -4): the second opinion on every rule that is about pixels.
typedef std::uint64_t Board;

Board boardOf(const ZkRect &r)
{
    const int left = r.right() < r.left() ? r.right() : r.left();
    const int right = r.right() < r.left() ? r.left() : r.right();
    const int top = r.bottom() < r.top() ? r.bottom() : r.top();
    const int bottom = r.bottom() < r.top() ? r.top() : r.bottom();
    Board board = 0;
    for (int y = top; y <= bottom; ++y) {
        for (int x = left; x <= right; ++x) {
            board |= Board(1) << ((y + 4) * 8 + (x + 4));
        }
    }
    return board;
}

// Any rectangle on the board with at least one pixel, reversed ones included. A
// span of (a, a - 1) would be empty, so it becomes (a, a).
ZkRect randomRect(std::mt19937 &random)
{
    std::uniform_int_distribution<int> at(-4, 3);
    int x1 = at(random), y1 = at(random), x2 = at(random), y2 = at(random);
    x2 = x2 == x1 - 1 ? x1 : x2;
    y2 = y2 == y1 - 1 ? y1 : y2;
    return ZkRect(x1, y1, x2, y2);
}

} // namespace

TEST(ZkRect, IsFourPlainNumbersInOrder)
{
    EXPECT_EQ(sizeof(ZkRect), 16U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkRect>::value);
    EXPECT_TRUE(std::is_standard_layout<ZkRect>::value);
    constexpr ZkRect r(1, 2, 30, 40);
    static_assert(r.left() == 1 && r.top() == 2 && r.right() == 30 && r.bottom() == 40, "corners");
    static_assert(r.x() == 1 && r.y() == 2, "the origin is the first corner");
    int words[4];
    std::memcpy(words, &r, sizeof r);
    EXPECT_EQ(words[0], 1);
    EXPECT_EQ(words[1], 2);
    EXPECT_EQ(words[2], 30);
    EXPECT_EQ(words[3], 40);
}

TEST(ZkRect, IsNullByDefault)
{
    EXPECT_EQ(ZkRect(), kNull);
    EXPECT_TRUE(ZkRect().isNull());
    EXPECT_EQ(ZkRect().size(), ZkSize(0, 0));
}

TEST(ZkRect, WidthAndHeightCountTheLastColumnAndRow)
{
    const struct {
        const char *what;
        ZkRect rect;
        int width, height;
        bool isNull, isValid;
    } kRows[] = {
        {"null", {0, 0, -1, -1}, 0, 0, true, false},
        {"null elsewhere", {5, 6, 4, 5}, 0, 0, true, false},
        {"no width", {5, 5, 4, 9}, 0, 5, false, false},
        {"no height", {5, 5, 9, 4}, 5, 0, false, false},
        {"one pixel", {7, 8, 7, 8}, 1, 1, false, true},
        {"ten by ten", {0, 0, 9, 9}, 10, 10, false, true},
        {"reversed in x", {10, 0, 0, 0}, -9, 1, false, false},
        {"reversed in y", {0, 10, 0, 0}, 1, -9, false, false},
        {"null at the upper end", {INT_MAX, INT_MAX, INT_MAX - 1, INT_MAX - 1}, 0, 0, true, false},
        {"from end to end wraps to 0, yet is not null",
         {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
         0,
         0,
         false,
         true},
        {"far right", {INT_MIN, 0, 0, 0}, INT_MIN + 1, 1, false, true},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.rect.width(), row.width);
        EXPECT_EQ(row.rect.height(), row.height);
        EXPECT_EQ(row.rect.size(), ZkSize(row.width, row.height));
        EXPECT_EQ(row.rect.isNull(), row.isNull);
        EXPECT_EQ(row.rect.isValid(), row.isValid);
    }
}

TEST(ZkRect, SettersMoveOneEdge)
{
    ZkRect r(1, 2, 3, 4);
    r.setLeft(-1);
    EXPECT_EQ(r, ZkRect(-1, 2, 3, 4));
    r.setTop(-2);
    EXPECT_EQ(r, ZkRect(-1, -2, 3, 4));
    r.setRight(33);
    EXPECT_EQ(r, ZkRect(-1, -2, 33, 4));
    r.setBottom(44);
    EXPECT_EQ(r, ZkRect(-1, -2, 33, 44));
}

TEST(ZkRect, ComparesAllFourCorners)
{
    const ZkRect r(1, 2, 3, 4);
    EXPECT_TRUE(r == ZkRect(1, 2, 3, 4));
    EXPECT_FALSE(r != ZkRect(1, 2, 3, 4));
    for (const ZkRect &other :
         {ZkRect(0, 2, 3, 4), ZkRect(1, 0, 3, 4), ZkRect(1, 2, 0, 4), ZkRect(1, 2, 3, 0)}) {
        EXPECT_TRUE(r != other) << other;
        EXPECT_FALSE(r == other) << other;
    }
}

TEST(ZkRect, NormalizedExchangesWithoutAdjusting)
{
    const struct {
        const char *what;
        ZkRect rect, normalized;
    } kRows[] = {
        {"reversed both ways", {10, 10, 0, 0}, {0, 0, 10, 10}},
        {"reversed in x alone", {10, 0, 0, 10}, {0, 0, 10, 10}},
        {"reversed in y alone", {0, 10, 10, 0}, {0, 0, 10, 10}},
        {"null, not reversed", {5, 5, 4, 4}, {5, 5, 4, 4}},
        {"width -1", {5, 5, 3, 4}, {3, 5, 5, 4}},
        {"upright", {1, 2, 3, 4}, {1, 2, 3, 4}},
        {"the least left edge is never reversed",
         {INT_MIN, INT_MIN, INT_MIN, INT_MAX},
         {INT_MIN, INT_MIN, INT_MIN, INT_MAX}},
        {"end to end", {INT_MAX, INT_MAX, INT_MIN, INT_MIN}, {INT_MIN, INT_MIN, INT_MAX, INT_MAX}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.rect.normalized(), row.normalized);
    }
}

TEST(ZkRect, TranslateMovesAllCornersAndWraps)
{
    ZkRect r(1, 2, 3, 4);
    r.translate(10, -20);
    EXPECT_EQ(r, ZkRect(11, -18, 13, -16));
    ZkRect far(INT_MAX - 1, 0, INT_MAX, 0);
    far.translate(1, 0);
    EXPECT_EQ(far, ZkRect(INT_MAX, 0, INT_MIN, 0));
}

TEST(ZkRect, MoveCenterHalvesTheDistanceOfTheEdges)
{
    const struct {
        const char *what;
        ZkRect rect;
        ZkPoint center;
        ZkRect moved;
    } kRows[] = {
        {"even: the upper left middle pixel", {0, 0, 9, 9}, {100, 100}, {96, 96, 105, 105}},
        {"odd: the middle pixel", {0, 0, 8, 8}, {100, 100}, {96, 96, 104, 104}},
        {"one pixel", {7, 7, 7, 7}, {-3, 4}, {-3, 4, -3, 4}},
        {"null: half of -1 is 0", {0, 0, -1, -1}, {50, 60}, {50, 60, 49, 59}},
        {"reversed: half of -9 is -4", {9, 9, 0, 0}, {100, 100}, {104, 104, 95, 95}},
        {"end to end wraps", {INT_MIN, 0, INT_MAX, 0}, {5, 0}, {5, 0, 4, 0}},
        {"beyond the end wraps", {0, 0, 9, 0}, {INT_MIN, 0}, {INT_MAX - 3, 0, INT_MIN + 5, 0}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkRect rect = row.rect;
        rect.moveCenter(row.center);
        EXPECT_EQ(rect, row.moved);
    }
}

TEST(ZkRect, ContainsPointCountsEdgesUnlessProper)
{
    const struct {
        const char *what;
        ZkRect rect;
        ZkPoint point;
        bool contains, properly;
    } kRows[] = {
        {"last corner", {0, 0, 9, 9}, {9, 9}, true, false},
        {"left edge", {0, 0, 9, 9}, {0, 5}, true, false},
        {"top edge", {0, 0, 9, 9}, {5, 0}, true, false},
        {"right edge", {0, 0, 9, 9}, {9, 5}, true, false},
        {"bottom edge", {0, 0, 9, 9}, {5, 9}, true, false},
        {"one further in", {0, 0, 9, 9}, {1, 8}, true, true},
        {"left of it", {0, 0, 9, 9}, {-1, 5}, false, false},
        {"right of it", {0, 0, 9, 9}, {10, 5}, false, false},
        {"above", {0, 0, 9, 9}, {5, -1}, false, false},
        {"below", {0, 0, 9, 9}, {5, 10}, false, false},
        {"reversed", {9, 9, 0, 0}, {9, 0}, true, false},
        {"reversed, inside", {9, 9, 0, 0}, {4, 4}, true, true},
        {"null holds not even its corner", {0, 0, -1, -1}, {0, 0}, false, false},
        {"null holds not even its last corner", {0, 0, -1, -1}, {-1, -1}, false, false},
        {"end to end", {INT_MIN, INT_MIN, INT_MAX, INT_MAX}, {INT_MAX, INT_MIN}, true, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.rect.contains(row.point), row.contains);
        EXPECT_EQ(row.rect.contains(row.point, false), row.contains);
        EXPECT_EQ(row.rect.contains(row.point, true), row.properly);
    }
}

TEST(ZkRect, ContainsRectNeedsTwoRectanglesThatAreNotNull)
{
    const struct {
        const char *what;
        ZkRect outer, inner;
        bool contains, properly;
    } kRows[] = {
        {"itself", {0, 0, 9, 9}, {0, 0, 9, 9}, true, false},
        {"well inside", {0, 0, 9, 9}, {1, 1, 8, 8}, true, true},
        {"shares the left edge", {0, 0, 9, 9}, {0, 1, 8, 8}, true, false},
        {"shares the top edge", {0, 0, 9, 9}, {1, 0, 8, 8}, true, false},
        {"shares the right edge", {0, 0, 9, 9}, {1, 1, 9, 8}, true, false},
        {"shares the bottom edge", {0, 0, 9, 9}, {1, 1, 8, 9}, true, false},
        {"sticks out left", {0, 0, 9, 9}, {-1, 1, 8, 8}, false, false},
        {"sticks out below", {0, 0, 9, 9}, {1, 1, 8, 10}, false, false},
        {"inner null", {0, 0, 9, 9}, {4, 4, 3, 3}, false, false},
        {"outer null", {0, 0, -1, -1}, {0, 0, 0, 0}, false, false},
        {"both reversed", {9, 9, 0, 0}, {8, 8, 1, 1}, true, true},
        {"no width is not null: it lies inside", {0, 0, 9, 9}, {4, 4, 3, 8}, true, true},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.outer.contains(row.inner), row.contains);
        EXPECT_EQ(row.outer.contains(row.inner, true), row.properly);
    }
}

TEST(ZkRect, UnionIgnoresNullRectangles)
{
    const struct {
        const char *what;
        ZkRect a, b, united;
    } kRows[] = {
        {"null and another", {0, 0, -1, -1}, {2, 3, 4, 5}, {2, 3, 4, 5}},
        {"another and null", {2, 3, 4, 5}, {70, 70, 69, 69}, {2, 3, 4, 5}},
        {"null and reversed: as it stands", {0, 0, -1, -1}, {9, 9, 0, 0}, {9, 9, 0, 0}},
        {"two null: the second", {0, 0, -1, -1}, {3, 3, 2, 2}, {3, 3, 2, 2}},
        {"apart", {0, 0, 1, 1}, {5, 6, 7, 8}, {0, 0, 7, 8}},
        {"reversed ones are turned", {9, 9, 5, 5}, {2, 2, 0, 0}, {0, 0, 9, 9}},
        {"end to end", {INT_MIN, 0, 0, 0}, {0, 0, INT_MAX, 0}, {INT_MIN, 0, INT_MAX, 0}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.a | row.b, row.united);
    }
}

TEST(ZkRect, IntersectionHasInclusiveEdges)
{
    const struct {
        const char *what;
        ZkRect a, b, common;
        bool intersects;
    } kRows[] = {
        {"a corner pixel", {0, 0, 9, 9}, {9, 9, 20, 20}, {9, 9, 9, 9}, true},
        {"beside it", {0, 0, 9, 9}, {10, 0, 20, 9}, kNull, false},
        {"below it", {0, 0, 9, 9}, {0, 10, 9, 20}, kNull, false},
        {"inside", {0, 0, 9, 9}, {3, 4, 5, 6}, {3, 4, 5, 6}, true},
        {"first null", {0, 0, -1, -1}, {0, 0, 9, 9}, kNull, false},
        {"second null", {0, 0, 9, 9}, {5, 5, 4, 4}, kNull, false},
        {"reversed ones are turned", {9, 9, 0, 0}, {20, 20, 5, 5}, {5, 5, 9, 9}, true},
        {"no width, some height, meets what lies round it",
         {0, 0, 9, 9},
         {4, 2, 3, 5},
         {4, 2, 3, 5},
         true},
        {"end to end",
         {INT_MIN, INT_MIN, INT_MAX, INT_MAX},
         {INT_MAX, INT_MIN, INT_MAX, INT_MAX},
         {INT_MAX, INT_MIN, INT_MAX, INT_MAX},
         true},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.a & row.b, row.common);
        EXPECT_EQ(row.b & row.a, row.common);
        EXPECT_EQ(row.a.intersects(row.b), row.intersects);
        EXPECT_EQ(row.b.intersects(row.a), row.intersects);
    }
}

TEST(ZkRect, AgreesWithTheCellsOfABoard)
{
    std::mt19937 random(73);
    for (int round = 0; round < 20000; ++round) {
        const ZkRect a = randomRect(random);
        const ZkRect b = randomRect(random);
        SCOPED_TRACE(testing::Message() << a << " and " << b);
        const Board boardA = boardOf(a);
        const Board boardB = boardOf(b);

        ASSERT_EQ(a.intersects(b), (boardA & boardB) != 0);
        ASSERT_EQ(a.contains(b), (boardA & boardB) == boardB);
        if ((boardA & boardB) == 0) {
            ASSERT_EQ(a & b, kNull);
        } else {
            ASSERT_EQ(boardOf(a & b), boardA & boardB);
        }
        const ZkRect around = a | b;
        ASSERT_EQ(boardOf(around) & (boardA | boardB), boardA | boardB);
        ASSERT_EQ(around, b | a);
        ASSERT_TRUE(around.isValid());
        for (int y = -4; y <= 3; ++y) {
            for (int x = -4; x <= 3; ++x) {
                const Board cell = Board(1) << ((y + 4) * 8 + (x + 4));
                ASSERT_EQ(a.contains(ZkPoint(x, y)), (boardA & cell) != 0);
            }
        }
    }
}

TEST(ZkRectF, IsFourPlainNumbersInOrder)
{
    EXPECT_EQ(sizeof(ZkRectF), 16U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkRectF>::value);
    constexpr ZkRectF r(1, 2, 30, 40);
    static_assert(r.x() == 1 && r.y() == 2 && r.width() == 30 && r.height() == 40, "extents");
    static_assert(r.left() == 1 && r.top() == 2 && r.right() == 31 && r.bottom() == 42, "edges");
    EXPECT_EQ(r.size(), ZkSizeF(30, 40));
    EXPECT_EQ(ZkRectF(), ZkRectF(0, 0, 0, 0));
    EXPECT_TRUE(r != ZkRectF(1, 2, 30, 41));
    EXPECT_TRUE(r != ZkRectF(1, 2, 31, 40));
    EXPECT_TRUE(r != ZkRectF(1, 3, 30, 40));
    EXPECT_TRUE(r != ZkRectF(2, 2, 30, 40));
}

TEST(ZkRectF, NormalizedKeepsTheArea)
{
    EXPECT_EQ(ZkRectF(10, 20, -4, -5).normalized(), ZkRectF(6, 15, 4, 5));
    EXPECT_EQ(ZkRectF(10, 20, -4, 5).normalized(), ZkRectF(6, 20, 4, 5));
    EXPECT_EQ(ZkRectF(10, 20, 4, -5).normalized(), ZkRectF(10, 15, 4, 5));
    EXPECT_EQ(ZkRectF(10, 20, 4, 5).normalized(), ZkRectF(10, 20, 4, 5));
    EXPECT_EQ(ZkRectF(10, 20, 0, 0).normalized(), ZkRectF(10, 20, 0, 0));
    for (const float zero : {0.0F, -0.0F}) { // it stays what it is
        const ZkRectF none = ZkRectF(10, 20, zero, zero).normalized();
        EXPECT_EQ(std::signbit(none.width()), std::signbit(zero));
        EXPECT_EQ(std::signbit(none.height()), std::signbit(zero));
    }
}

TEST(ZkRectF, ContainsPointNeedsTwoSpans)
{
    const struct {
        const char *what;
        ZkRectF rect;
        ZkPointF point;
        bool contains;
    } kRows[] = {
        {"first corner", {0, 0, 10, 10}, {0, 0}, true},
        {"last corner", {0, 0, 10, 10}, {10, 10}, true},
        {"just right of it", {0, 0, 10, 10}, {10.001F, 5}, false},
        {"just above it", {0, 0, 10, 10}, {5, -0.001F}, false},
        {"negative extents", {10, 10, -10, -10}, {0, 10}, true},
        {"no width", {5, 0, 0, 10}, {5, 5}, false},
        {"no height", {0, 5, 10, 0}, {5, 5}, false},
        {"a width too small to move x", {1e9F, 0, 1, 10}, {1e9F, 5}, false},
        {"not a number", {0, 0, 10, 10}, {std::nanf(""), 5}, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.rect.contains(row.point), row.contains);
    }
}

TEST(ZkRectF, ContainsRectAllowsSharedEdges)
{
    const struct {
        const char *what;
        ZkRectF outer, inner;
        bool contains;
    } kRows[] = {
        {"itself", {0, 0, 10, 10}, {0, 0, 10, 10}, true},
        {"inside", {0, 0, 10, 10}, {1, 1, 2, 2}, true},
        {"inside, turned", {0, 0, 10, 10}, {9, 9, -2, -2}, true},
        {"sticks out left", {0, 0, 10, 10}, {-1, 1, 2, 2}, false},
        {"sticks out right", {0, 0, 10, 10}, {9, 1, 2, 2}, false},
        {"sticks out above", {0, 0, 10, 10}, {1, -1, 2, 2}, false},
        {"sticks out below", {0, 0, 10, 10}, {1, 9, 2, 2}, false},
        {"inner without width", {0, 0, 10, 10}, {5, 5, 0, 2}, false},
        {"inner without height", {0, 0, 10, 10}, {5, 5, 2, 0}, false},
        {"outer without width", {0, 0, 0, 10}, {0, 5, 1, 1}, false},
        {"outer without height", {0, 0, 10, 0}, {5, 0, 1, 1}, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.outer.contains(row.inner), row.contains);
    }
}

TEST(ZkRectF, TouchingEdgesDoNotIntersect)
{
    const struct {
        const char *what;
        ZkRectF a, b, common;
        bool intersects;
    } kRows[] = {
        {"a corner", {0, 0, 10, 10}, {10, 10, 5, 5}, {0, 0, 0, 0}, false},
        {"an edge to the right", {0, 0, 10, 10}, {10, 0, 5, 5}, {0, 0, 0, 0}, false},
        {"an edge below", {0, 0, 10, 10}, {0, 10, 5, 5}, {0, 0, 0, 0}, false},
        {"overlap", {0, 0, 10, 10}, {9, 8, 5, 5}, {9, 8, 1, 2}, true},
        {"overlap, turned", {10, 10, -10, -10}, {14, 13, -5, -5}, {9, 8, 1, 2}, true},
        {"first without width", {5, 0, 0, 10}, {0, 0, 10, 10}, {0, 0, 0, 0}, false},
        {"first without height", {0, 5, 10, 0}, {0, 0, 10, 10}, {0, 0, 0, 0}, false},
        {"apart", {0, 0, 1, 1}, {5, 5, 1, 1}, {0, 0, 0, 0}, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.a.intersects(row.b), row.intersects);
        EXPECT_EQ(row.b.intersects(row.a), row.intersects);
        EXPECT_EQ(row.a & row.b, row.common);
        EXPECT_EQ(row.b & row.a, row.common);
    }
}

TEST(ZkRectF, UnionSkipsOnlyWhatHasNeitherWidthNorHeight)
{
    const struct {
        const char *what;
        ZkRectF a, b, united;
    } kRows[] = {
        {"beside nothing it stays as it stands", {50, 50, 0, 0}, {4, 4, -1, -2}, {4, 4, -1, -2}},
        {"minus zero is nothing too", {50, 50, -0.0F, -0.0F}, {4, 4, 1, 2}, {4, 4, 1, 2}},
        {"a line counts", {50, 4, 0, 1}, {4, 4, 1, 2}, {4, 4, 46, 2}},
        {"apart", {0, 0, 1, 1}, {5, 6, 2, 3}, {0, 0, 7, 9}},
        {"turned", {1, 1, -1, -1}, {7, 9, -2, -3}, {0, 0, 7, 9}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.a | row.b, row.united);
        EXPECT_EQ(row.b | row.a, row.united);
    }
}

// Of two zeros the second operand's is taken.
TEST(ZkRectF, IntersectionAndUnionTakeTheSecondZero)
{
    const ZkRectF plus(0, 0, 5, 5), minus(-0.0F, -0.0F, 5, 5);
    EXPECT_FALSE(std::signbit((minus & plus).x()));
    EXPECT_FALSE(std::signbit((minus & plus).y()));
    EXPECT_TRUE(std::signbit((plus & minus).x()));
    EXPECT_TRUE(std::signbit((plus & minus).y()));
    EXPECT_FALSE(std::signbit((minus | plus).x()));
    EXPECT_TRUE(std::signbit((plus | minus).x()));
}

TEST(ZkRectF, AlignedRectIsTheSmallestAround)
{
    const float inf = std::numeric_limits<float>::infinity();
    const struct {
        const char *what;
        ZkRectF rect;
        ZkRect aligned;
    } kRows[] = {
        {"over two pixels each way", {0.5F, 0.5F, 1, 1}, {0, 0, 1, 1}},
        {"exactly one pixel", {3, 4, 1, 1}, {3, 4, 3, 4}},
        {"a hair over", {3, 4, 1.001F, 1.001F}, {3, 4, 4, 5}},
        {"below zero", {-0.5F, -1.5F, 1, 1}, {-1, -2, 0, -1}},
        {"nothing, on a corner", {2, 2, 0, 0}, {2, 2, 1, 1}},
        {"nothing, off the corners", {2.5F, 2.5F, 0, 0}, {2, 2, 2, 2}},
        {"negative extents stay so", {2, 2, -2, -2}, {2, 2, -1, -1}},
        {"beyond int", {-3e9F, 0, 6e9F, 3e9F}, {INT_MIN, 0, INT_MAX, INT_MAX}},
        {"to the end: one less is not a float", {0, 0, 2147483648.0F, 1}, {0, 0, INT_MAX, 0}},
        {"infinite", {-inf, 0, 1, inf}, {INT_MIN, 0, INT_MIN, INT_MAX}},
        {"not a number", {std::nanf(""), 0, 1, std::nanf("")}, {0, 0, 0, 0}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.rect.toAlignedRect(), row.aligned);
    }
}
