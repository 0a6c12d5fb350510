#include "regionmodel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <random>
#include <set>
#include <sys/wait.h>
#include <type_traits>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#    define ZK_SANITIZED 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#        define ZK_SANITIZED 1
#    endif
#endif
#if defined(__SANITIZE_THREAD__)
#    define ZK_SANITIZED 1
#endif

#ifdef ZK_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;

// Stands before the C library's own, so that a test can refuse the next block.
static bool nextIsRefused = false;
extern "C" void *__libc_malloc(std::size_t bytes);
extern "C" void *malloc(std::size_t bytes) noexcept
{
    if (nextIsRefused) {
        nextIsRefused = false;
        return nullptr;
    }
    return __libc_malloc(bytes);
}
#endif

using namespace regionmodel;

namespace
{

Rects listOf(const ZkRegion &region)
{
    const ZkVector<ZkRect> rects = region.copy().rects();
    return Rects(rects.begin(), rects.end());
}

ZkRegion regionOf(const Rects &rects)
{
    ZkRegion region;
    for (const ZkRect &r : rects) {
        region |= r;
    }
    return region;
}

testing::AssertionResult isSound(const ZkRegion &region, int looseness)
{
    const std::string problem = problemOf(region, looseness);
    return problem.empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << problem;
}

bool isUnsafeExit(int status)
{
    return kSanitized ? status != 0 : WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV;
}

} // namespace

TEST(ZkRegionRecord, HasTheDevicesSize)
{
    EXPECT_EQ(sizeof(ZkRegion), sizeof(void *));
    EXPECT_EQ(sizeof(ZkRegion::Data), 2 * sizeof(void *));
    EXPECT_EQ(sizeof(ZkRegion::Record), sizeof(void *) == 4 ? 72U : 88U);
}

// Operations in place write the extents of the record that an operand was taken of.
TEST(ZkRegionRecord, AnOperandKeepsWhatWasKnownWhenItWasTaken)
{
    ZkRegion region(0, 0, 10, 10);
    const ZkRegion::Operand operand = ZkInspector::record(region).operand();
    region.translate(100, 0);
    EXPECT_EQ(operand.extents, ZkRect(0, 0, 9, 9));
    EXPECT_EQ(operand.innerRect, ZkRect(0, 0, 9, 9));
    ZkRect r(1, 2, 3, 4);
    const ZkRegion::Operand ofRect = ZkRegion::Operand::of(r);
    r.translate(100, 0);
    EXPECT_EQ(ofRect.extents, ZkRect(1, 2, 3, 4));
}

TEST(ZkRegion, DefaultRegionsShareTheEmptyOne)
{
    const ZkRegion a, b;
    EXPECT_TRUE(a.isSharedWith(b));
    EXPECT_TRUE(a.isEmpty());
    EXPECT_EQ(a.rectCount(), 0);
    EXPECT_EQ(a.boundingRect(), ZkRect(0, 0, -1, -1));
    EXPECT_TRUE(a.rects().isEmpty());
    EXPECT_EQ(ZkInspector::data(a)->region, nullptr);
    EXPECT_TRUE(a == b);
}

TEST(ZkRegion, InvalidRectanglesMakeTheEmptyRegion)
{
    const struct {
        const char *what;
        ZkRegion region;
    } kRows[] = {
        {"null", ZkRegion(ZkRect(0, 0, -1, -1))},
        {"no width", ZkRegion(ZkRect(3, 3, 2, 9))},
        {"no height", ZkRegion(ZkRect(3, 3, 9, 2))},
        {"reversed", ZkRegion(ZkRect(9, 9, 0, 0))},
        {"invalid ellipse", ZkRegion(ZkRect(0, 0, -1, -1), ZkRegion::Ellipse)},
        {"extent 0", ZkRegion(5, 5, 0, 7)},
        {"extent below 0", ZkRegion(5, 5, 7, -3)},
        {"extent 0 at the lower end of int", ZkRegion(INT_MIN, INT_MIN, 0, 0)},
        {"an extent past the end of int wraps", ZkRegion(INT_MAX, 0, 2, 1)},
        {"an ellipse without extent", ZkRegion(0, 0, 0, 0, ZkRegion::Ellipse)},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_TRUE(row.region.isEmpty());
        EXPECT_TRUE(row.region.isSharedWith(ZkRegion()));
        EXPECT_EQ(row.region.boundingRect(), ZkRect(0, 0, -1, -1));
    }
}

TEST(ZkRegion, OneRectangleNeedsNoVector)
{
    const ZkRect r(2, 3, 11, 7);
    const ZkRegion region(r);
    const ZkRegion::Record &record = ZkInspector::record(region);
    EXPECT_EQ(record.ref, 1);
    EXPECT_EQ(record.inVector, 0);
    EXPECT_EQ(record.numRects, 1);
    EXPECT_EQ(record.single, r);
    EXPECT_EQ(record.extents, r);
    EXPECT_EQ(record.innerRect, r);
    EXPECT_EQ(record.innerArea, 50);
    EXPECT_TRUE(record.rects.isSharedWith(ZkVector<ZkRect>()));
    EXPECT_EQ(region.rectCount(), 1);
    EXPECT_EQ(region.boundingRect(), r);
    EXPECT_EQ(ZkRegion(2, 3, 10, 5), region);
}

TEST(ZkRegion, RectsPutsASingleRectangleIntoTheVectorAndSharesIt)
{
    const ZkRegion region(ZkRect(2, 3, 11, 7));
    const ZkVector<ZkRect> rects = region.rects();
    ASSERT_EQ(rects.size(), 1);
    EXPECT_EQ(rects[0], ZkRect(2, 3, 11, 7));
    EXPECT_EQ(ZkInspector::record(region).inVector, 1);
    EXPECT_TRUE(region.rects().isSharedWith(rects));
    EXPECT_TRUE(region.contains(ZkPoint(11, 7)));
    EXPECT_FALSE(region.contains(ZkPoint(12, 7)));
}

TEST(ZkRegion, HandedOutRectsSurviveChanges)
{
    ZkRegion region = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    const ZkVector<ZkRect> before = region.rects();
    region.translate(1, 1);
    region |= ZkRect(0, 20, 9, 29);
    region |= ZkRect(2, 2, 30, 25);
    EXPECT_EQ(Rects(before.begin(), before.end()), (Rects{{0, 0, 4, 4}, {6, 0, 9, 4}}));
}

TEST(ZkRegion, RectsAreSizedToTheCountAfterTheRegionShrank)
{
    ZkRegion region;
    for (int i = 0; i < 40; ++i) {
        region |= ZkRect(4 * i, 0, 4 * i + 1, 1);
    }
    region |= ZkRect(0, 0, 90, 1);
    const Rects list = listOf(region);
    EXPECT_EQ(region.rects().size(), region.rectCount());
    EXPECT_EQ(list.front(), ZkRect(0, 0, 90, 1));
    EXPECT_EQ(list[1], ZkRect(92, 0, 93, 1));
    EXPECT_EQ(list.size(), 18U);
}

TEST(ZkRegion, WhatIsAppendedStandsBehindWhatIsLeft)
{
    ZkRegion region;
    for (int i = 0; i < 10; ++i) {
        region |= ZkRect(0, 10 * i, 4, 10 * i + 4);
    }
    region |= ZkRect(0, 0, 4, 24); // three become one
    region |= ZkRect(0, 200, 4, 204);
    region |= ZkRect(9, 200, 14, 204);
    ASSERT_EQ(region.rectCount(), 10);
    const ZkVector<ZkRect> rects = region.rects();
    ASSERT_EQ(rects.size(), 10);
    EXPECT_EQ(rects.at(0), ZkRect(0, 0, 4, 24));
    for (int i = 3; i < 10; ++i) {
        EXPECT_EQ(rects.at(i - 2), ZkRect(0, 10 * i, 4, 10 * i + 4));
    }
    EXPECT_EQ(rects.at(8), ZkRect(0, 200, 4, 204));
    EXPECT_EQ(rects.at(9), ZkRect(9, 200, 14, 204));
}

TEST(ZkRegion, UnionMergesWhatTouches)
{
    const struct {
        const char *what;
        Rects parts, united;
    } kRows[] = {
        {"side by side", {{0, 0, 9, 9}, {10, 0, 19, 9}}, {{0, 0, 19, 9}}},
        {"side by side, right one first", {{10, 0, 19, 9}, {0, 0, 9, 9}}, {{0, 0, 19, 9}}},
        {"one above the other", {{0, 0, 9, 4}, {0, 5, 9, 9}}, {{0, 0, 9, 9}}},
        {"lower one first", {{0, 5, 9, 9}, {0, 0, 9, 4}}, {{0, 0, 9, 9}}},
        {"a column apart", {{0, 0, 9, 9}, {11, 0, 19, 9}}, {{0, 0, 9, 9}, {11, 0, 19, 9}}},
        {"a row apart", {{0, 0, 9, 4}, {0, 6, 9, 9}}, {{0, 0, 9, 4}, {0, 6, 9, 9}}},
        {"a corner in common",
         {{0, 0, 9, 9}, {5, 5, 14, 14}},
         {{0, 0, 9, 4}, {0, 5, 14, 9}, {5, 10, 14, 14}}},
        {"corners that touch", {{0, 0, 4, 4}, {5, 5, 9, 9}}, {{0, 0, 4, 4}, {5, 5, 9, 9}}},
        {"one inside", {{0, 0, 9, 9}, {3, 3, 4, 4}}, {{0, 0, 9, 9}}},
        {"a gap that is filled", {{0, 0, 2, 2}, {6, 0, 8, 2}, {3, 0, 5, 2}}, {{0, 0, 8, 2}}},
        {"a bridge over three",
         {{0, 0, 1, 0}, {4, 0, 5, 0}, {8, 0, 9, 0}, {1, 0, 8, 0}},
         {{0, 0, 9, 0}}},
        {"a missing row that makes three bands one",
         {{0, 0, 4, 0}, {0, 2, 4, 2}, {0, 1, 4, 1}},
         {{0, 0, 4, 2}}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkRegion inPlace, united;
        for (const ZkRect &r : row.parts) {
            inPlace += r;
            united = united.unite(r);
        }
        EXPECT_EQ(listOf(united), row.united);
        EXPECT_EQ(listOf(inPlace), row.united);
        EXPECT_TRUE(isSound(united, Merged));
        EXPECT_TRUE(isSound(inPlace, Merged));
    }
}

TEST(ZkRegion, DifferenceCutsAHoleIntoThreeBands)
{
    const ZkRegion frame = ZkRegion(ZkRect(0, 0, 9, 9)) - ZkRegion(ZkRect(3, 3, 6, 6));
    EXPECT_EQ(listOf(frame), (Rects{{0, 0, 9, 2}, {0, 3, 2, 6}, {7, 3, 9, 6}, {0, 7, 9, 9}}));
    EXPECT_EQ(frame.boundingRect(), ZkRect(0, 0, 9, 9));
    EXPECT_EQ(ZkInspector::record(frame).innerRect, ZkRect(0, 0, 9, 2));
    EXPECT_EQ(ZkInspector::record(frame).innerArea, 30);
}

TEST(ZkRegion, DifferenceTakesEdgesAway)
{
    const ZkRegion whole(ZkRect(0, 0, 9, 9));
    const struct {
        const char *what;
        ZkRect cut;
        Rects left;
    } kRows[] = {
        {"left", {-5, -5, 2, 20}, {{3, 0, 9, 9}}},
        {"right", {7, -5, 20, 20}, {{0, 0, 6, 9}}},
        {"top", {-5, -5, 20, 2}, {{0, 3, 9, 9}}},
        {"bottom", {-5, 7, 20, 20}, {{0, 0, 9, 6}}},
        {"a corner", {7, 7, 20, 20}, {{0, 0, 9, 6}, {0, 7, 6, 9}}},
        {"a column", {4, -5, 5, 20}, {{0, 0, 3, 9}, {6, 0, 9, 9}}},
        {"nothing", {10, 0, 20, 9}, {{0, 0, 9, 9}}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(listOf(whole.subtract(row.cut)), row.left);
    }
}

TEST(ZkRegion, IntersectionAndExclusiveOrOfTwoSquares)
{
    const ZkRegion a(ZkRect(0, 0, 9, 9)), b(ZkRect(5, 5, 14, 14));
    EXPECT_EQ(listOf(a & b), (Rects{{5, 5, 9, 9}}));
    EXPECT_EQ(listOf(a ^ b), (Rects{{0, 0, 9, 4}, {0, 5, 4, 9}, {10, 5, 14, 9}, {5, 10, 14, 14}}));
    EXPECT_EQ(ZkInspector::record(a & b).inVector, 0);
}

TEST(ZkRegion, OperatorsAreTheNamedOperations)
{
    const ZkRegion a = regionOf({{0, 0, 9, 9}, {20, 3, 25, 6}});
    const ZkRegion b = regionOf({{5, 5, 14, 14}, {22, 0, 23, 20}});
    const ZkRect r(4, 4, 22, 5);
    EXPECT_EQ(a + b, a.unite(b));
    EXPECT_EQ(a | b, a.unite(b));
    EXPECT_EQ(a + r, a.unite(r));
    EXPECT_EQ(a | r, a.unite(ZkRegion(r)));
    EXPECT_EQ(a & b, a.intersect(b));
    EXPECT_EQ(a & r, a.intersect(r));
    EXPECT_EQ(a - b, a.subtract(b));
    EXPECT_EQ(a ^ b, a.eor(b));
    const struct {
        const char *what;
        ZkRegion changed, expected;
    } kRows[] = {
        {"+=", ZkRegion(a) += b, a.unite(b)},
        {"|=", ZkRegion(a) |= b, a.unite(b)},
        {"&=", ZkRegion(a) &= b, a.intersect(b)},
        {"-=", ZkRegion(a) -= b, a.subtract(b)},
        {"^=", ZkRegion(a) ^= b, a.eor(b)},
        {"+= rectangle", ZkRegion(a) += r, a.unite(r)},
        {"|= rectangle", ZkRegion(a) |= r, a.unite(r)},
        {"&= rectangle", ZkRegion(a) &= r, a.intersect(r)},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.changed, row.expected);
    }
    EXPECT_EQ(listOf(a), (Rects{{0, 0, 9, 2}, {0, 3, 9, 6}, {20, 3, 25, 6}, {0, 7, 9, 9}}));
}

TEST(ZkRegion, WorksWithItselfAsTheOperand)
{
    const Rects list = {{0, 0, 4, 4}, {6, 0, 9, 4}};
    const struct {
        const char *what;
        ZkRegion &(ZkRegion::*operation)(const ZkRegion &);
        bool empties;
    } kRows[] = {
        {"+=", &ZkRegion::operator+=, false}, {"|=", &ZkRegion::operator|=, false},
        {"&=", &ZkRegion::operator&=, false}, {"-=", &ZkRegion::operator-=, true},
        {"^=", &ZkRegion::operator^=, true},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        ZkRegion region = regionOf(list);
        (region.*row.operation)(region);
        EXPECT_EQ(listOf(region), row.empties ? Rects() : list);
    }
    ZkRegion assigned = regionOf(list);
    const ZkRegion &same = assigned;
    assigned = same;
    EXPECT_EQ(listOf(assigned), list);
    const ZkVector<ZkRect> own = assigned.rects();
    assigned.setRects(ZkInspector::record(assigned).rects.constData(), 2);
    EXPECT_EQ(listOf(assigned), list);
}

TEST(ZkRegion, ClippingToARectangleMergesNothingAndKeepsClippedBounds)
{
    const ZkRegion region = regionOf({{0, 0, 4, 4}, {0, 10, 20, 14}});
    const ZkRegion clipped = region.intersect(ZkRect(10, 0, 15, 20));
    EXPECT_EQ(listOf(clipped), (Rects{{10, 10, 15, 14}}));
    EXPECT_EQ(clipped.boundingRect(), ZkRect(10, 0, 15, 14));

    const ZkRegion steps = regionOf({{0, 0, 4, 4}, {0, 5, 9, 9}});
    const ZkRegion column = steps & ZkRect(0, 0, 4, 9);
    EXPECT_EQ(listOf(column), (Rects{{0, 0, 4, 4}, {0, 5, 4, 9}}));
    // The next union that sweeps merges them.
    EXPECT_EQ(listOf(ZkRegion(ZkRect(-5, 0, -3, 0)).unite(column)),
              (Rects{{-5, 0, -3, 0}, {0, 0, 4, 0}, {0, 1, 4, 9}}));
}

TEST(ZkRegion, ClippingTriesTheCheapAnswersFirst)
{
    const ZkRegion region = regionOf({{0, 0, 4, 4}, {0, 5, 9, 19}});
    const struct {
        const char *what;
        ZkRect r;
        Rects kept;
    } kRows[] = {
        {"invalid", {5, 5, 4, 4}, {}},
        {"outside the bounds", {10, 0, 20, 20}, {}},
        {"inside the bounds, off the region", {6, 0, 9, 3}, {}},
        {"around everything", {-1, -1, 30, 30}, {{0, 0, 4, 4}, {0, 5, 9, 19}}},
        {"inside the inner rectangle", {2, 6, 8, 12}, {{2, 6, 8, 12}}},
        {"a row of each", {0, 4, 9, 5}, {{0, 4, 4, 4}, {0, 5, 9, 5}}},
        {"an edge of the bounds", {0, 19, 9, 30}, {{0, 19, 9, 19}}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(listOf(region.intersect(row.r)), row.kept);
        EXPECT_EQ(region.intersect(row.r).isEmpty(), row.kept.empty());
    }
    EXPECT_TRUE(region.intersect(ZkRect(-1, -1, 30, 30)).isSharedWith(region));
    EXPECT_TRUE(region.intersect(ZkRect(10, 0, 20, 20)).isSharedWith(ZkRegion()));
    EXPECT_EQ(ZkInspector::record(region.intersect(ZkRect(2, 6, 8, 12))).inVector, 0);
    EXPECT_TRUE(ZkRegion().intersect(ZkRect(0, 0, 9, 9)).isSharedWith(ZkRegion()));
    EXPECT_EQ(ZkRegion(0, 0, 10, 10).intersect(ZkRect(5, 5, 20, 20)), ZkRegion(5, 5, 5, 5));
}

TEST(ZkRegion, ClippedInnerRectangleStaysInside)
{
    const ZkRegion region = regionOf({{0, 0, 4, 4}, {0, 5, 9, 19}});
    const ZkRegion clipped = region.intersect(ZkRect(3, 3, 20, 7));
    const ZkRegion::Record &record = ZkInspector::record(clipped);
    EXPECT_EQ(record.innerRect, ZkRect(3, 5, 9, 7));
    EXPECT_EQ(record.innerArea, 21);
    const ZkRegion apart = region.intersect(ZkRect(-3, -3, 3, 3));
    EXPECT_EQ(ZkInspector::record(apart).innerArea, 0);
    EXPECT_FALSE(zk_region_strictContains(apart, ZkRect(1, 1, 1, 1)));
}

TEST(ZkRegion, AppendingMergesNoBands)
{
    const ZkRegion steps = regionOf({{0, 0, 9, 4}, {0, 5, 4, 9}});
    const ZkRegion corner(ZkRect(5, 5, 9, 9));
    const ZkRegion appended = steps | corner;
    EXPECT_EQ(listOf(appended), (Rects{{0, 0, 9, 4}, {0, 5, 9, 9}}));
    EXPECT_EQ(listOf(corner | steps), (Rects{{0, 0, 9, 9}}));
    EXPECT_FALSE(appended == (corner | steps));

    ZkRegion inPlace = steps;
    inPlace |= corner;
    EXPECT_EQ(inPlace, appended);
    // The next sweep merges them, with more rows below and without.
    EXPECT_EQ(listOf(inPlace | ZkRegion(ZkRect(0, 10, 9, 12))), (Rects{{0, 0, 9, 12}}));
    ZkRegion stacked = inPlace | ZkRegion(ZkRect(0, 20, 9, 24));
    EXPECT_EQ(stacked.rectCount(), 3);
    stacked |= ZkRect(3, 22, 12, 23);
    EXPECT_EQ(listOf(stacked),
              (Rects{{0, 0, 9, 9}, {0, 20, 9, 21}, {0, 22, 12, 23}, {0, 24, 9, 24}}));
}

TEST(ZkRegion, OpenSeamsOfWhatIsAppendedBesideTheLastBandAreMergedByTheNextSweep)
{
    const ZkRect list[] = {
        {20, 0, 24, 4}, {20, 5, 24, 9}, {20, 10, 24, 14}, {20, 15, 24, 19}, {20, 20, 24, 24}};
    ZkRegion open;
    open.setRects(list, 5);
    ZkRegion region = ZkRegion(ZkRect(0, 0, 4, 4)) | open;
    EXPECT_EQ(region.rectCount(), 6);
    region |= ZkRect(22, 23, 30, 26);
    EXPECT_EQ(
        listOf(region),
        (Rects{{0, 0, 4, 4}, {20, 0, 24, 4}, {20, 5, 24, 22}, {20, 23, 30, 24}, {22, 25, 30, 26}}));
}

TEST(ZkRegion, AppendsBelowAnEmptyRowOrFurtherRightInTheLastBand)
{
    const ZkRegion base = regionOf({{0, 0, 4, 4}, {0, 10, 4, 14}});
    const struct {
        const char *what;
        ZkRegion added;
        Rects united;
    } kRows[] = {
        {"two rows down",
         ZkRegion(ZkRect(9, 16, 9, 16)),
         {{0, 0, 4, 4}, {0, 10, 4, 14}, {9, 16, 9, 16}}},
        {"in the last band, apart",
         ZkRegion(ZkRect(6, 10, 9, 14)),
         {{0, 0, 4, 4}, {0, 10, 4, 14}, {6, 10, 9, 14}}},
        {"in the last band, touching",
         ZkRegion(ZkRect(5, 10, 9, 14)),
         {{0, 0, 4, 4}, {0, 10, 9, 14}}},
        {"touching, with more to come",
         regionOf({{5, 10, 9, 14}, {12, 10, 13, 14}, {0, 20, 1, 21}}),
         {{0, 0, 4, 4}, {0, 10, 9, 14}, {12, 10, 13, 14}, {0, 20, 1, 21}}},
        {"one row down and alike: swept and merged",
         ZkRegion(ZkRect(0, 15, 4, 15)),
         {{0, 0, 4, 4}, {0, 10, 4, 15}}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkRegion united = base.unite(row.added);
        EXPECT_EQ(listOf(united), row.united);
        EXPECT_TRUE(isSound(united, Merged));
        ZkRegion inPlace = base;
        inPlace |= row.added;
        EXPECT_EQ(listOf(inPlace), row.united);
        EXPECT_TRUE(isSound(inPlace, Merged));
    }
    EXPECT_EQ(listOf(base), (Rects{{0, 0, 4, 4}, {0, 10, 4, 14}}));
}

TEST(ZkRegion, AUnionInPlacePutsRectanglesIntoFreeRows)
{
    const struct {
        const char *what;
        Rects list, added, united;
    } kRows[] = {
        {"above one rectangle", {{0, 9, 4, 9}}, {{7, 2, 8, 3}}, {{7, 2, 8, 3}, {0, 9, 4, 9}}},
        {"above all",
         {{0, 9, 4, 9}, {0, 20, 4, 20}},
         {{7, 2, 8, 3}},
         {{7, 2, 8, 3}, {0, 9, 4, 9}, {0, 20, 4, 20}}},
        {"between two",
         {{0, 9, 4, 9}, {0, 20, 4, 20}},
         {{7, 11, 8, 18}},
         {{0, 9, 4, 9}, {7, 11, 8, 18}, {0, 20, 4, 20}}},
        {"several between two",
         {{0, 9, 4, 9}, {0, 20, 4, 20}},
         {{7, 11, 8, 12}, {10, 11, 12, 12}, {0, 18, 4, 18}},
         {{0, 9, 4, 9}, {7, 11, 8, 12}, {10, 11, 12, 12}, {0, 18, 4, 18}, {0, 20, 4, 20}}},
        {"no free row above, and alike",
         {{0, 9, 4, 9}, {0, 20, 4, 20}},
         {{0, 10, 4, 12}},
         {{0, 9, 4, 12}, {0, 20, 4, 20}}},
        {"no free row below, and alike",
         {{0, 9, 4, 9}, {0, 20, 4, 20}},
         {{0, 15, 4, 19}},
         {{0, 9, 4, 9}, {0, 15, 4, 20}}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkRegion added = regionOf(row.added);
        ZkRegion region = regionOf(row.list);
        const ZkVector<ZkRect> before = region.copy().rects();
        const ZkRegion::Data *own = ZkInspector::data(region);
        region |= added;
        EXPECT_EQ(listOf(region), row.united);
        EXPECT_EQ(ZkInspector::data(region), own);
        EXPECT_EQ(region.boundingRect(), boundsOf(row.united));
        EXPECT_TRUE(isSound(region, Merged));
        EXPECT_EQ(region, regionOf(row.list).unite(added));
        EXPECT_EQ(Rects(before.begin(), before.end()), row.list) << "a list handed out before";
        // The larger inner rectangle of the two, or what was merged.
        int largest = 0;
        for (const ZkRect &r : row.united) {
            largest = std::max(largest, r.width() * r.height());
        }
        EXPECT_EQ(ZkInspector::record(region).innerArea, largest);
    }
}

TEST(ZkRegion, AppendedRectanglesMayBecomeTheInnerOne)
{
    // The rectangle merged in the last band, then the larger one of the operand.
    const ZkRegion base = regionOf({{0, 0, 4, 4}, {0, 10, 4, 14}});
    EXPECT_EQ(ZkInspector::record(base | ZkRegion(ZkRect(5, 10, 9, 14))).innerRect,
              ZkRect(0, 10, 9, 14));
    EXPECT_EQ(ZkInspector::record(base | ZkRegion(ZkRect(0, 20, 9, 29))).innerRect,
              ZkRect(0, 20, 9, 29));
    EXPECT_EQ(ZkInspector::record(base | ZkRegion(ZkRect(0, 20, 0, 20))).innerRect,
              ZkRect(0, 0, 4, 4));
}

TEST(ZkRegion, AnOperandThatCoversIsReturnedItself)
{
    const ZkRegion large = regionOf({{0, 0, 4, 4}, {0, 5, 40, 40}});
    const ZkRegion small = regionOf({{10, 10, 12, 12}, {20, 20, 22, 22}});
    const ZkRegion far(ZkRect(100, 100, 110, 110));
    const ZkRegion empty;
    EXPECT_TRUE(large.unite(small).isSharedWith(large));
    EXPECT_TRUE(small.unite(large).isSharedWith(large));
    EXPECT_TRUE(large.intersect(small).isSharedWith(small));
    EXPECT_TRUE(small.intersect(large).isSharedWith(small));
    EXPECT_TRUE(small.subtract(large).isSharedWith(empty));
    EXPECT_TRUE(large.subtract(far).isSharedWith(large));
    EXPECT_TRUE(large.intersect(far).isSharedWith(empty));
    EXPECT_TRUE(large.unite(large.copy()).isSharedWith(large));
    EXPECT_TRUE(large.subtract(large.copy()).isSharedWith(empty));

    ZkRegion grown = small;
    grown += large;
    EXPECT_TRUE(grown.isSharedWith(large));
    ZkRegion kept = large;
    kept += small;
    EXPECT_TRUE(kept.isSharedWith(large));
}

TEST(ZkRegion, EmptyOperandsGiveTheOtherOne)
{
    const ZkRegion a = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    const ZkRegion none;
    const ZkRegion emptied =
        regionOf({{0, 0, 1, 1}, {4, 0, 5, 1}}) & regionOf({{2, 0, 3, 1}, {6, 0, 7, 1}});
    ASSERT_TRUE(emptied.isEmpty());
    for (const ZkRegion &empty : {none, emptied}) {
        EXPECT_TRUE(a.unite(empty).isSharedWith(a));
        EXPECT_TRUE(empty.unite(a).isSharedWith(a));
        EXPECT_TRUE(a.subtract(empty).isSharedWith(a));
        EXPECT_TRUE(empty.subtract(a).isEmpty());
        EXPECT_TRUE(a.intersect(empty).isEmpty());
        EXPECT_TRUE(empty.intersect(a).isEmpty());
        EXPECT_TRUE(empty.intersect(ZkRect(0, 0, 9, 9)).isEmpty());
        EXPECT_EQ(a.eor(empty), a);
        EXPECT_EQ(empty.eor(a), a);
        EXPECT_TRUE((empty | empty).isEmpty());
        EXPECT_FALSE(empty.intersects(a));
        EXPECT_FALSE(a.intersects(empty));
        EXPECT_FALSE(empty.intersects(ZkRect(0, 0, 9, 9)));
        EXPECT_FALSE(empty.contains(ZkRect(0, 0, 0, 0)));
        EXPECT_FALSE(zk_region_strictContains(empty, ZkRect(0, 0, 0, 0)));
        ZkRegion inPlace = a;
        inPlace += empty;
        EXPECT_TRUE(inPlace.isSharedWith(a));
        ZkRegion wasEmpty = empty;
        wasEmpty += a;
        EXPECT_TRUE(wasEmpty.isSharedWith(a));
    }
}

// A sweep that finds nothing leaves a record without rectangles; only `isEmpty`
// calls that and the default region the same.
TEST(ZkRegion, AnEmptiedRegionHasDataAndDoesNotEqualTheDefaultOne)
{
    const ZkRegion emptied =
        regionOf({{0, 0, 1, 1}, {4, 0, 5, 1}}) & regionOf({{2, 0, 3, 1}, {6, 0, 7, 1}});
    EXPECT_TRUE(emptied.isEmpty());
    EXPECT_EQ(emptied.rectCount(), 0);
    EXPECT_TRUE(emptied.rects().isEmpty());
    EXPECT_EQ(emptied.boundingRect(), ZkRect(0, 0, -1, -1));
    EXPECT_FALSE(emptied == ZkRegion());
    EXPECT_FALSE(ZkRegion() == emptied);
    EXPECT_TRUE(emptied == emptied.copy());
    EXPECT_FALSE(emptied.contains(ZkPoint(0, 0)));
    const ZkRegion::Record &record = ZkInspector::record(emptied);
    EXPECT_EQ(record.extents, ZkRect(0, 0, 0, 0));
    EXPECT_EQ(record.innerRect, ZkRect(0, 0, -1, -1));
    EXPECT_EQ(record.innerArea, -1);
}

TEST(ZkRegion, EqualityComparesListsAndBounds)
{
    const ZkRegion a = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    EXPECT_TRUE(a == a.copy());
    EXPECT_FALSE(a != a.copy());
    EXPECT_FALSE(a == ZkRegion(ZkRect(0, 0, 9, 4)));
    EXPECT_FALSE(a == regionOf({{0, 0, 3, 4}, {6, 0, 9, 4}}));
    EXPECT_FALSE(a == ZkRegion());
    EXPECT_FALSE(ZkRegion() == a);
    // One list, two sets of bounds.
    const ZkRegion wide =
        regionOf({{0, 0, 4, 4}, {0, 10, 20, 14}}).intersect(ZkRect(10, 0, 15, 20));
    EXPECT_FALSE(wide == ZkRegion(ZkRect(10, 10, 15, 14)));
}

TEST(ZkRegion, SetRectsTakesABandedList)
{
    const ZkRect list[] = {{0, 0, 2, 2}, {5, 0, 9, 2}, {1, 3, 8, 20}};
    ZkRegion region;
    region.setRects(list, 3);
    EXPECT_EQ(listOf(region), Rects(list, list + 3));
    EXPECT_EQ(region.boundingRect(), ZkRect(0, 0, 9, 20));
    EXPECT_EQ(ZkInspector::record(region).innerRect, ZkRect(1, 3, 8, 20));
    EXPECT_TRUE(isSound(region, Merged));

    region.setRects(list + 1, 1);
    EXPECT_EQ(region, ZkRegion(ZkRect(5, 0, 9, 2)));
    EXPECT_EQ(ZkInspector::record(region).inVector, 0);

    region.setRects(list, 0);
    EXPECT_TRUE(region.isSharedWith(ZkRegion()));
    region.setRects(list, 3);
    region.setRects(nullptr, 3);
    EXPECT_TRUE(region.isEmpty());
    region.setRects(list, -1);
    EXPECT_TRUE(region.isEmpty());
}

TEST(ZkRegion, SetRectsKeepsOpenSeamsUntilTheNextSweep)
{
    const ZkRect list[] = {{0, 0, 2, 2}, {0, 3, 2, 5}, {0, 6, 2, 8}, {4, 6, 5, 8}};
    ZkRegion region;
    region.setRects(list, 4);
    EXPECT_EQ(listOf(region), Rects(list, list + 4));
    EXPECT_TRUE(isSound(region, MayHaveOpenSeams));
    EXPECT_EQ(listOf(region | ZkRegion(ZkRect(1, 6, 5, 20))),
              (Rects{{0, 0, 2, 5}, {0, 6, 5, 8}, {1, 9, 5, 20}}));
}

// Whatever a caller hands over, memory stays good.
TEST(ZkRegion, ListsOutOfOrderAreHarmless)
{
    std::mt19937 random(76);
    std::uniform_int_distribution<int> at(-20, 20);
    std::uniform_int_distribution<int> count(0, 40);
    for (int round = 0; round < 500; ++round) {
        ZkRegion regions[2];
        for (ZkRegion &region : regions) {
            Rects list;
            for (int i = count(random); i > 0; --i) {
                list.push_back(ZkRect(at(random), at(random), at(random), at(random)));
            }
            region.setRects(list.data(), static_cast<int>(list.size()));
        }
        const ZkRegion &a = regions[0];
        const ZkRegion &b = regions[1];
        for (const ZkRegion &result : {a | b, a & b, a - b, a ^ b}) {
            EXPECT_EQ(result.rects().size(), result.rectCount());
        }
        ZkRegion inPlace = a;
        inPlace.detach();
        inPlace += b;
        inPlace &= ZkRect(-5, -5, 5, 5);
        EXPECT_EQ(inPlace.rects().size(), inPlace.rectCount());
        const ZkRect probe(at(random), at(random), at(random), at(random));
        EXPECT_EQ(a.contains(probe), a.copy().contains(probe));
        EXPECT_EQ(a.intersects(b), a.copy().intersects(b.copy()));
    }
}

TEST(ZkRegion, ContainsRectLooksAcrossBands)
{
    const ZkRegion apart = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    const ZkRegion stairs = regionOf({{0, 0, 9, 4}, {0, 5, 20, 9}, {5, 10, 30, 14}});
    const struct {
        const char *what;
        ZkRegion region;
        ZkRect r;
        bool contains;
    } kRows[] = {
        {"over the gap", apart, {0, 0, 9, 4}, false},
        {"in the second", apart, {6, 1, 9, 3}, true},
        {"on the gap", apart, {5, 0, 5, 4}, false},
        {"below the bounds", apart, {0, 0, 4, 5}, false},
        {"left of the bounds", apart, {-1, 0, 4, 4}, false},
        {"invalid", apart, {3, 3, 2, 2}, false},
        {"reversed", apart, {4, 4, 0, 0}, false},
        {"two bands", stairs, {0, 0, 9, 9}, true},
        {"three bands", stairs, {5, 2, 9, 14}, true},
        {"three bands, too far left", stairs, {4, 2, 9, 14}, false},
        {"three bands, too far right", stairs, {5, 2, 10, 14}, false},
        {"the lower two", stairs, {5, 5, 20, 14}, true},
        {"one row", stairs, {5, 14, 30, 14}, true},
        {"a gap between bands", regionOf({{0, 0, 9, 4}, {0, 6, 9, 9}}), {0, 0, 9, 9}, false},
        {"starts in a gap", regionOf({{0, 0, 9, 4}, {0, 6, 9, 9}}), {0, 5, 9, 9}, false},
        {"ends in a gap", regionOf({{0, 0, 9, 4}, {0, 6, 9, 9}}), {0, 0, 9, 5}, false},
        {"one rectangle", ZkRegion(ZkRect(0, 0, 9, 9)), {0, 0, 9, 9}, true},
        {"one rectangle, sticking out", ZkRegion(ZkRect(0, 0, 9, 9)), {0, 0, 10, 9}, false},
        {"one rectangle turns a reversed one", ZkRegion(ZkRect(0, 0, 9, 9)), {9, 9, 0, 0}, true},
        {"one rectangle, null", ZkRegion(ZkRect(0, 0, 9, 9)), {0, 0, -1, -1}, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.region.contains(row.r), row.contains);
    }
}

TEST(ZkRegion, IntersectsOnCommonPixelsOnly)
{
    const ZkRegion stairs = regionOf({{0, 0, 4, 4}, {10, 0, 14, 4}, {5, 5, 9, 9}});
    const struct {
        const char *what;
        ZkRect r;
        bool intersects;
    } kRows[] = {
        {"between the first two", {5, 0, 9, 4}, false},
        {"the corner of the first", {4, 4, 9, 4}, true},
        {"left of the lower one", {0, 5, 4, 9}, false},
        {"all of it", {-5, -5, 20, 20}, true},
        {"right of the bounds", {15, 0, 20, 9}, false},
        {"below the bounds", {0, 10, 20, 20}, false},
        {"invalid", {4, 4, 3, 3}, false},
        {"reversed", {4, 4, 0, 0}, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(stairs.intersects(row.r), row.intersects);
        EXPECT_EQ(stairs.intersects(ZkRegion(row.r)), row.intersects);
        EXPECT_EQ(ZkRegion(row.r).intersects(stairs), row.intersects);
    }
    EXPECT_TRUE(ZkRegion(0, 0, 10, 10).intersects(ZkRect(9, 9, 20, 20)));
    EXPECT_FALSE(ZkRegion(0, 0, 10, 10).intersects(ZkRect(10, 9, 20, 20)));
    EXPECT_FALSE(
        regionOf({{0, 0, 1, 1}, {4, 0, 5, 1}}).intersects(regionOf({{2, 0, 3, 1}, {6, 0, 7, 1}})));
}

TEST(ZkRegion, StrictContainmentAsksTheInnerRectangleAlone)
{
    const ZkRegion region = regionOf({{0, 0, 4, 4}, {0, 5, 9, 19}});
    const struct {
        const char *what;
        ZkRect r;
        bool contains;
    } kRows[] = {
        {"the inner rectangle itself", {0, 5, 9, 19}, true},
        {"inside it", {3, 7, 5, 9}, true},
        {"in the region, not in the inner rectangle", {0, 0, 4, 4}, false},
        {"across both", {0, 4, 4, 6}, false},
        {"invalid", {4, 8, 3, 9}, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(zk_region_strictContains(region, row.r), row.contains);
    }
    EXPECT_FALSE(zk_region_strictContains(ZkRegion(), ZkRect(0, 0, 1, 1)));
}

TEST(ZkRegion, TranslateMovesEverything)
{
    ZkRegion one(ZkRect(0, 0, 9, 9));
    one.translate(3, -4);
    EXPECT_EQ(one, ZkRegion(ZkRect(3, -4, 12, 5)));
    EXPECT_EQ(ZkInspector::record(one).innerRect, ZkRect(3, -4, 12, 5));

    const ZkRegion two = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    const ZkRegion moved = two.translated(-1, 2);
    EXPECT_EQ(listOf(moved), (Rects{{-1, 2, 3, 6}, {5, 2, 8, 6}}));
    EXPECT_EQ(moved.boundingRect(), ZkRect(-1, 2, 8, 6));
    EXPECT_EQ(ZkInspector::record(moved).innerRect, ZkRect(-1, 2, 3, 6));
    EXPECT_EQ(listOf(two), (Rects{{0, 0, 4, 4}, {6, 0, 9, 4}}));
}

TEST(ZkRegion, TranslateByNothingKeepsSharing)
{
    const ZkRegion a = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    ZkRegion b = a;
    b.translate(0, 0);
    EXPECT_TRUE(a.isSharedWith(b));
    EXPECT_TRUE(a.translated(0, 0).isSharedWith(a));
    b.translate(1, 0);
    EXPECT_FALSE(a.isSharedWith(b));
    ZkRegion none;
    none.translate(5, 5);
    EXPECT_TRUE(none.isSharedWith(ZkRegion()));
}

TEST(ZkRegion, TranslatePastTheEndWrapsAndStaysHarmless)
{
    ZkRegion region = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}, {3, 8, 30, 9}});
    region.translate(INT_MAX - 5, INT_MAX - 3);
    EXPECT_EQ(region.rectCount(), 3);
    EXPECT_EQ(region.rects()[0],
              ZkRect(INT_MAX - 5, INT_MAX - 3, INT_MAX - 1, INT_MIN)); // 4 rows further
    const ZkRegion other = regionOf({{0, 0, 100, 0}, {0, 2, 3, 4}});
    EXPECT_GE((region | other).rectCount(), 0);
    EXPECT_GE((region & other).rectCount(), 0);
    EXPECT_GE((region - other).rectCount(), 0);
    region.translate(-(INT_MAX - 5), -(INT_MAX - 3));
    EXPECT_EQ(listOf(region), (Rects{{0, 0, 4, 4}, {6, 0, 9, 4}, {3, 8, 30, 9}}));
}

TEST(ZkRegion, CopiesShareUntilOneChanges)
{
    ZkRegion a = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    ZkRegion b = a;
    EXPECT_TRUE(a.isSharedWith(b));
    EXPECT_EQ(ZkInspector::data(a)->ref, 2);
    b |= ZkRect(0, 3, 9, 12);
    EXPECT_FALSE(a.isSharedWith(b));
    EXPECT_EQ(ZkInspector::data(a)->ref, 1);
    EXPECT_EQ(listOf(a), (Rects{{0, 0, 4, 4}, {6, 0, 9, 4}}));

    const ZkRegion deep = a.copy();
    EXPECT_FALSE(deep.isSharedWith(a));
    EXPECT_EQ(deep, a);
    ZkRegion c = a;
    c.detach();
    EXPECT_FALSE(c.isSharedWith(a));
    const ZkRegion::Data *own = ZkInspector::data(c);
    c.detach();
    EXPECT_EQ(ZkInspector::data(c), own);
    EXPECT_TRUE(ZkRegion().copy().isSharedWith(ZkRegion()));
}

TEST(ZkRegion, MovesLeaveAnEmptyRegion)
{
    ZkRegion a = regionOf({{0, 0, 4, 4}, {6, 0, 9, 4}});
    const ZkRegion::Data *data = ZkInspector::data(a);
    ZkRegion b = std::move(a);
    EXPECT_EQ(ZkInspector::data(b), data);
    EXPECT_TRUE(a.isEmpty()); // NOLINT(bugprone-use-after-move): promised to be empty
    a = std::move(b);
    EXPECT_EQ(ZkInspector::data(a), data);
    EXPECT_TRUE(std::is_nothrow_move_constructible<ZkRegion>::value);
    swap(a, b);
    EXPECT_EQ(ZkInspector::data(b), data);
}

TEST(ZkRegion, ReachesTheEndsOfInt)
{
    const ZkRect all(INT_MIN, INT_MIN, INT_MAX, INT_MAX);
    const ZkRegion everything(all);
    EXPECT_EQ(ZkInspector::record(everything).innerArea, INT_MAX);
    const ZkRegion middle(ZkRect(-1, -1, 0, 0));
    const ZkRegion frame = everything - middle;
    EXPECT_EQ(listOf(frame), (Rects{{INT_MIN, INT_MIN, INT_MAX, -2},
                                    {INT_MIN, -1, -2, 0},
                                    {1, -1, INT_MAX, 0},
                                    {INT_MIN, 1, INT_MAX, INT_MAX}}));
    EXPECT_EQ(frame.boundingRect(), all);
    EXPECT_EQ(listOf(frame | middle), (Rects{all}));
    EXPECT_TRUE((frame & middle).isEmpty());
    EXPECT_EQ(listOf(everything ^ frame), (Rects{{-1, -1, 0, 0}}));
    EXPECT_TRUE(frame.contains(ZkPoint(INT_MAX, INT_MAX)));
    EXPECT_TRUE(frame.contains(ZkPoint(INT_MIN, 0)));
    EXPECT_FALSE(frame.contains(ZkPoint(0, 0)));
    EXPECT_TRUE(frame.contains(ZkRect(1, INT_MIN, INT_MAX, INT_MAX)));

    const struct {
        const char *what;
        Rects parts, united;
    } kRows[] = {
        {"columns at both ends",
         {{INT_MAX, 0, INT_MAX, 0}, {INT_MIN, 0, INT_MIN, 0}},
         {{INT_MIN, 0, INT_MIN, 0}, {INT_MAX, 0, INT_MAX, 0}}},
        {"rows at both ends",
         {{0, INT_MAX, 0, INT_MAX}, {0, INT_MIN, 0, INT_MIN}},
         {{0, INT_MIN, 0, INT_MIN}, {0, INT_MAX, 0, INT_MAX}}},
        {"up to the right end",
         {{INT_MAX, 0, INT_MAX, 1}, {INT_MIN, 0, INT_MAX - 1, 1}},
         {{INT_MIN, 0, INT_MAX, 1}}},
        {"up to the bottom end",
         {{0, INT_MAX, 1, INT_MAX}, {0, INT_MIN, 1, INT_MAX - 1}},
         {{0, INT_MIN, 1, INT_MAX}}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(listOf(regionOf(row.parts)), row.united);
    }
    const ZkRegion ends = regionOf({{INT_MIN, 0, INT_MIN, 0}, {INT_MAX, 0, INT_MAX, 0}});
    EXPECT_EQ(listOf(ends - ZkRegion(ZkRect(INT_MIN, 0, INT_MIN, 0))),
              (Rects{{INT_MAX, 0, INT_MAX, 0}}));
    EXPECT_EQ(listOf(ends - ZkRegion(ZkRect(0, 0, INT_MAX, 0))), (Rects{{INT_MIN, 0, INT_MIN, 0}}));
    EXPECT_EQ(listOf(ends & ZkRegion(ZkRect(INT_MIN, INT_MIN, 0, INT_MAX))),
              (Rects{{INT_MIN, 0, INT_MIN, 0}}));
}
// ---- The pool ----

TEST(ZkRegionRecord, AMillionOperationsReuseAFewRecords)
{
    const ZkRegion a = regionOf({{0, 0, 9, 9}, {20, 3, 25, 6}});
    const ZkRegion b = regionOf({{5, 5, 14, 14}, {22, 0, 23, 20}});
    std::set<const void *> records;
    ZkRegion last;
    for (int i = 0; i < 250000; ++i) {
        for (const ZkRegion &result : {a | b, a & b, a - b, ZkRegion(i, i, 3, 3)}) {
            records.insert(ZkInspector::data(result));
            last = result;
        }
    }
    // Four results and the kept one live at a time; a fifth operand is on its way.
    EXPECT_LE(records.size(), 8U);
}

TEST(ZkRegionRecord, BlocksHoldTwoHundredAndFiftySixRecordsInARow)
{
    // Uses up what is free, then one block more.
    std::vector<ZkRegion> regions;
    std::set<const char *> addresses;
    for (int i = 0; i < 1024; ++i) {
        regions.emplace_back(i, 0, 1, 1);
        addresses.insert(reinterpret_cast<const char *>(ZkInspector::data(regions.back())));
    }
    EXPECT_EQ(addresses.size(), 1024U);
    int longestRun = 1, run = 1;
    const char *before = nullptr;
    for (const char *address : addresses) {
        run = before != nullptr && address - before == sizeof(ZkRegion::Record) ? run + 1 : 1;
        longestRun = std::max(longestRun, run);
        before = address;
    }
    EXPECT_GE(longestRun, 256);
}

TEST(ZkRegionRecord, AReleasedRecordIsTheNextOneHandedOut)
{
    const ZkRegion::Data *released;
    {
        const ZkRegion region = regionOf({{0, 0, 9, 9}, {20, 3, 25, 6}});
        released = ZkInspector::data(region);
    }
    const ZkRegion next(ZkRect(1, 1, 2, 2));
    EXPECT_EQ(ZkInspector::data(next), released);
    EXPECT_EQ(listOf(next), (Rects{{1, 1, 2, 2}}));
}

// ---- What stops the process ----

TEST(ZkRegionDeath, AnEllipseStopsTheProcess)
{
    EXPECT_EXIT(ZkRegion(ZkRect(0, 0, 9, 9), ZkRegion::Ellipse), isUnsafeExit, "");
    EXPECT_EXIT(ZkRegion(0, 0, 10, 10, ZkRegion::Ellipse), isUnsafeExit, "");
}

// Containment of a pixel is asked on the innermost loops: it looks at the data
// without a test, and a default-constructed region has none.
TEST(ZkRegionDeath, APixelOfARegionWithoutDataIsANullAccess)
{
    EXPECT_EXIT(std::exit(ZkRegion().contains(ZkPoint(0, 0)) ? 0 : 0), isUnsafeExit, "");
}

#ifndef ZK_SANITIZED
TEST(ZkRegionDeath, NoMemoryForThePoolStopsTheProcess)
{
    EXPECT_EXIT(
        {
            std::vector<ZkRegion> regions;
            regions.reserve(100000);
            nextIsRefused = true;
            for (int i = 0; i < 100000; ++i) {
                regions.emplace_back(i, 0, 1, 1);
            }
            std::_Exit(0);
        },
        isUnsafeExit, "^libzk: no memory for [0-9]+ bytes\n"); // an emulator adds a line
}
#endif
