#include <zkregion.h>

// The tests look into records; nothing of them is exported or called.
#include "../src/zkregionrecord.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <ostream>
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

// Stands before the C library's own, so that a test can take the memory away.
static bool memoryIsGone = false;
extern "C" void *__libc_malloc(std::size_t bytes);
extern "C" void *malloc(std::size_t bytes) noexcept
{
    return memoryIsGone ? nullptr : __libc_malloc(bytes);
}
#endif

struct ZkInspector {
    static const ZkRegion::Data *data(const ZkRegion &r) { return r.d; }
    static const ZkRegion::Record &record(const ZkRegion &r) { return *r.d->region; }
};

static std::ostream &operator<<(std::ostream &out, const ZkRect &r)
{
    return out << '(' << r.left() << ", " << r.top() << ", " << r.right() << ", " << r.bottom()
               << ')';
}

static std::ostream &operator<<(std::ostream &out, const ZkRegion &region)
{
    out << '{';
    for (const ZkRect &r : region.copy().rects()) {
        out << ' ' << r;
    }
    return out << " }";
}

namespace
{

typedef std::vector<ZkRect> Rects;

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

// A record is reached without a change to it.
Rects rawList(const ZkRegion &region)
{
    if (ZkInspector::data(region)->region == nullptr) {
        return Rects();
    }
    const ZkRegion::Record &record = ZkInspector::record(region);
    const ZkRect *begin = record.inVector ? record.rects.constData() : &record.single;
    return Rects(begin, begin + record.numRects);
}

bool isUnsafeExit(int status)
{
    return kSanitized ? status != 0 : WIFSIGNALED(status) && WTERMSIG(status) == SIGSEGV;
}

// ---- The second opinion: pixels of a board of 64 by 64 around the origin ----

constexpr int kLow = -32, kHigh = 31;

class Board
{
public:
    Board() { std::fill(m_rows, m_rows + 64, 0); }

    static Board of(const Rects &rects)
    {
        Board board;
        for (const ZkRect &r : rects) {
            for (int y = r.top(); y <= r.bottom(); ++y) {
                board.row(y) |= columns(r.left(), r.right());
            }
        }
        return board;
    }

    std::uint64_t &row(int y) { return m_rows[y - kLow]; }
    std::uint64_t row(int y) const { return m_rows[y - kLow]; }
    bool has(int x, int y) const { return (row(y) >> (x - kLow)) & 1; }

    template <typename RowOperation>
    Board combined(const Board &other, RowOperation operation) const
    {
        Board result;
        for (int i = 0; i < 64; ++i) {
            result.m_rows[i] = operation(m_rows[i], other.m_rows[i]);
        }
        return result;
    }

    bool operator==(const Board &other) const
    {
        return std::equal(m_rows, m_rows + 64, other.m_rows);
    }

    // The one list of merged bands that has these pixels.
    Rects canonicalList() const
    {
        Rects list;
        for (int y = kLow; y <= kHigh;) {
            int last = y;
            while (last < kHigh && row(last + 1) == row(y)) {
                ++last;
            }
            for (int x = kLow; x <= kHigh; ++x) {
                if (has(x, y) && (x == kLow || !has(x - 1, y))) {
                    int right = x;
                    while (right < kHigh && has(right + 1, y)) {
                        ++right;
                    }
                    list.push_back(ZkRect(x, y, right, last));
                }
            }
            y = last + 1;
        }
        return list;
    }

    static std::uint64_t columns(int left, int right)
    {
        const std::uint64_t from = ~std::uint64_t(0) << (left - kLow);
        const std::uint64_t to = ~std::uint64_t(0) >> (kHigh - right);
        return from & to;
    }

private:
    std::uint64_t m_rows[64];
};

ZkRect boundsOf(const Rects &list)
{
    ZkRect bounds;
    for (const ZkRect &r : list) {
        bounds = bounds | r;
    }
    return bounds;
}

// Which properties an operation may cost a region.
enum Looseness { Merged = 0, MayHaveOpenSeams = 1, MayHaveWideBounds = 2 };

// The seams that are open, counted in `*open`, and whether the last one is.
void countOpenSeams(const Rects &list, int *open, bool *lastIsOpen)
{
    std::vector<Rects> bands;
    for (const ZkRect &r : list) {
        if (bands.empty() || bands.back().front().top() != r.top()) {
            bands.emplace_back();
        }
        bands.back().push_back(r);
    }
    *open = 0;
    *lastIsOpen = false;
    for (std::size_t i = 1; i < bands.size(); ++i) {
        const Rects &upper = bands[i - 1];
        const Rects &lower = bands[i];
        const bool isOpen = upper.size() == lower.size() &&
                            upper[0].bottom() + 1 == lower[0].top() &&
                            std::equal(upper.begin(), upper.end(), lower.begin(),
                                       [](const ZkRect &a, const ZkRect &b) {
                                           return a.left() == b.left() && a.right() == b.right();
                                       });
        *open += isOpen;
        *lastIsOpen = isOpen;
    }
}

testing::AssertionResult bandsAreInOrder(const Rects &list)
{
    for (std::size_t i = 0; i < list.size(); ++i) {
        const ZkRect &r = list[i];
        if (!r.isValid()) {
            return testing::AssertionFailure() << r << " is invalid";
        }
        if (i == 0) {
            continue;
        }
        const ZkRect &before = list[i - 1];
        const bool sameBand = before.top() == r.top();
        if (sameBand && (before.bottom() != r.bottom() || before.right() + 1 >= r.left())) {
            return testing::AssertionFailure() << before << ' ' << r << " in one band";
        }
        if (!sameBand && before.bottom() >= r.top()) {
            return testing::AssertionFailure() << before << ' ' << r << " overlap in y";
        }
    }
    return testing::AssertionSuccess();
}

// Everything that holds for any region at any time.
testing::AssertionResult isSound(const ZkRegion &region, int looseness)
{
    const Rects list = rawList(region);
    if (region.rectCount() != static_cast<int>(list.size()) || region.isEmpty() != list.empty()) {
        return testing::AssertionFailure() << "the counts disagree";
    }
    if (list.empty()) {
        return region.boundingRect() == ZkRect(0, 0, -1, -1)
                   ? testing::AssertionSuccess()
                   : testing::AssertionFailure() << "an empty region has bounds";
    }
    if (const testing::AssertionResult order = bandsAreInOrder(list); !order) {
        return order;
    }
    int open;
    bool lastIsOpen;
    countOpenSeams(list, &open, &lastIsOpen);
    if (open != 0 && !(looseness & MayHaveOpenSeams)) {
        return testing::AssertionFailure() << open << " bands could be merged";
    }
    const ZkRegion::Record &record = ZkInspector::record(region);
    if ((record.seams == ZkSeams::Closed && open != 0) ||
        (record.seams == ZkSeams::ClosedButLast && open - lastIsOpen != 0)) {
        return testing::AssertionFailure() << "the record is wrong about its open seams";
    }
    const ZkRect bounds = boundsOf(list);
    if ((looseness & MayHaveWideBounds) ? !record.extents.contains(bounds)
                                        : record.extents != bounds) {
        return testing::AssertionFailure()
               << "bounds " << record.extents << " instead of " << bounds;
    }
    if (record.region != &record || record.ref < 1 || (record.inVector & ~1) != 0 ||
        (!record.inVector && record.numRects != 1) ||
        (record.inVector && record.rects.size() < record.numRects)) {
        return testing::AssertionFailure() << "the record's fields do not fit together";
    }
    return testing::AssertionSuccess();
}

// The inner rectangle lies on the region's pixels, and its area is right.
testing::AssertionResult innerIsInside(const ZkRegion &region, const Board &pixels)
{
    const ZkRegion::Record &record = ZkInspector::record(region);
    const ZkRect &inner = record.innerRect;
    for (int y = inner.top(); y <= inner.bottom(); ++y) {
        const std::uint64_t columns = Board::columns(inner.left(), inner.right());
        if ((pixels.row(y) & columns) != columns) {
            return testing::AssertionFailure() << inner << " sticks out in row " << y;
        }
    }
    const int area = inner.isValid() ? inner.width() * inner.height() : 0;
    if (record.innerArea != area) {
        return testing::AssertionFailure() << "area " << record.innerArea << " of " << inner;
    }
    return testing::AssertionSuccess();
}

} // namespace

TEST(ZkRegionRecord, HasTheDevicesSize)
{
    EXPECT_EQ(sizeof(ZkRegion), sizeof(void *));
    EXPECT_EQ(sizeof(ZkRegion::Data), 2 * sizeof(void *));
    EXPECT_EQ(sizeof(ZkRegion::Record), sizeof(void *) == 4 ? 72U : 88U);
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

// ---- Random operations against the board ----

namespace
{

struct Case {
    ZkRegion region;
    Board pixels;
    int looseness = Merged;
};

struct Rows {
    static std::uint64_t unite(std::uint64_t a, std::uint64_t b) { return a | b; }
    static std::uint64_t common(std::uint64_t a, std::uint64_t b) { return a & b; }
    static std::uint64_t rest(std::uint64_t a, std::uint64_t b) { return a & ~b; }
    static std::uint64_t either(std::uint64_t a, std::uint64_t b) { return a ^ b; }
};

bool covers(const ZkRect &outer, const ZkRect &inner)
{
    return outer.left() <= inner.left() && outer.top() <= inner.top() &&
           outer.right() >= inner.right() && outer.bottom() >= inner.bottom();
}

// The list that appending `b` to `a` makes, if that is how they unite.
bool appendedList(const Rects &a, const Rects &b, Rects *list)
{
    const ZkRect &last = a.back();
    const ZkRect &next = b.front();
    const bool sameBand = next.top() == last.top() && next.bottom() == last.bottom();
    if (next.top() <= last.bottom() + 1 && !(sameBand && next.left() > last.right())) {
        return false;
    }
    *list = a;
    const bool joins = sameBand && next.left() == last.right() + 1;
    if (joins) {
        list->back().setRight(next.right());
    }
    list->insert(list->end(), b.begin() + joins, b.end());
    return true;
}

// What a union must be, list and sharing, beside its pixels.
void checkUnion(const Case &a, const Case &b, const ZkRegion &united)
{
    const Rects listA = rawList(a.region);
    const Rects listB = rawList(b.region);
    Rects appended;
    if (listA.empty() || listB.empty()) {
        ASSERT_TRUE(united.isSharedWith(listA.empty() ? b.region : a.region));
        return;
    }
    const ZkRegion::Record &recordA = ZkInspector::record(a.region);
    const ZkRegion::Record &recordB = ZkInspector::record(b.region);
    if (covers(recordA.innerRect, recordB.extents)) {
        ASSERT_TRUE(united.isSharedWith(a.region));
    } else if (covers(recordB.innerRect, recordA.extents)) {
        ASSERT_TRUE(united.isSharedWith(b.region));
    } else if (appendedList(listA, listB, &appended)) {
        ASSERT_EQ(rawList(united), appended);
    } else if (listA == listB && recordA.extents == recordB.extents) {
        ASSERT_TRUE(united.isSharedWith(a.region));
    } else {
        ASSERT_EQ(rawList(united),
                  united.isEmpty() ? Rects() : Board::of(rawList(united)).canonicalList());
        ASSERT_GE(ZkInspector::record(united).innerArea,
                  std::max(recordA.innerArea, recordB.innerArea));
    }
}

void checkCommon(const Case &a, const Case &b, const ZkRegion &common)
{
    if (a.region.isEmpty() || b.region.isEmpty()) {
        ASSERT_TRUE(common.isSharedWith(ZkRegion()));
        return;
    }
    const ZkRegion::Record &recordA = ZkInspector::record(a.region);
    const ZkRegion::Record &recordB = ZkInspector::record(b.region);
    if (!recordA.extents.intersects(recordB.extents)) {
        ASSERT_TRUE(common.isSharedWith(ZkRegion()));
    } else if (covers(recordB.innerRect, recordA.extents)) {
        ASSERT_TRUE(common.isSharedWith(a.region));
    } else if (covers(recordA.innerRect, recordB.extents)) {
        ASSERT_TRUE(common.isSharedWith(b.region));
    } else {
        ASSERT_EQ(rawList(common), Board::of(rawList(common)).canonicalList());
    }
}

void checkRest(const Case &a, const Case &b, const ZkRegion &rest)
{
    if (a.region.isEmpty() || b.region.isEmpty()) {
        ASSERT_TRUE(rest.isSharedWith(a.region));
        return;
    }
    const ZkRegion::Record &recordA = ZkInspector::record(a.region);
    const ZkRegion::Record &recordB = ZkInspector::record(b.region);
    if (!recordA.extents.intersects(recordB.extents)) {
        ASSERT_TRUE(rest.isSharedWith(a.region));
    } else if (covers(recordB.innerRect, recordA.extents) || a.region == b.region) {
        ASSERT_TRUE(rest.isSharedWith(ZkRegion()));
    } else {
        ASSERT_EQ(rawList(rest), Board::of(rawList(rest)).canonicalList());
    }
}

// A swept intersection or difference knows its first largest rectangle.
testing::AssertionResult innerIsTheFirstLargest(const ZkRegion &region)
{
    ZkRect inner;
    int area = -1;
    for (const ZkRect &r : rawList(region)) {
        if (r.width() * r.height() > area) {
            inner = r;
            area = r.width() * r.height();
        }
    }
    const ZkRegion::Record &record = ZkInspector::record(region);
    if (record.innerRect != inner || record.innerArea != area) {
        return testing::AssertionFailure() << record.innerRect << " instead of " << inner;
    }
    return testing::AssertionSuccess();
}

class Player
{
public:
    explicit Player(unsigned seed) : m_random(seed) {}

    int number(int low, int high)
    {
        return std::uniform_int_distribution<int>(low, high)(m_random);
    }

    ZkRect rect(int largest)
    {
        const int x = number(kLow, kHigh), y = number(kLow, kHigh);
        return ZkRect(x, y, std::min(kHigh, x + number(0, largest)),
                      std::min(kHigh, y + number(0, largest)));
    }

    Case &any() { return m_cases[number(0, kCases - 1)]; }

    // One random operation, checked.
    void step();

private:
    static constexpr int kCases = 8;

    void uniteTwo(const Case &a, const Case &b, Case *target);
    void uniteInPlace(const Case &b, Case *target);
    void intersectTwo(const Case &a, const Case &b, Case *target);
    void subtractTwo(const Case &a, const Case &b, Case *target);
    void eorTwo(const Case &a, const Case &b, Case *target);
    void clip(const Case &a, const ZkRect &r, Case *target);
    void move(Case *target);
    void ask(const Case &a, const Case &b);

    std::mt19937 m_random;
    Case m_cases[kCases];
};

void Player::uniteTwo(const Case &a, const Case &b, Case *target)
{
    const ZkRegion united = a.region.unite(b.region);
    checkUnion(a, b, united);
    *target = {united, a.pixels.combined(b.pixels, Rows::unite),
               a.looseness | b.looseness | MayHaveOpenSeams};
}

void Player::uniteInPlace(const Case &b, Case *target)
{
    const Case before = *target;
    const Case added = b;
    const ZkRegion expected = before.region.unite(added.region);
    if (number(0, 1)) {
        target->region.detach();
    }
    if (number(0, 3) == 0) {
        target->region.rects(); // a list in somebody else's hands
    }
    target->region += added.region;
    ASSERT_EQ(rawList(target->region), rawList(expected));
    ASSERT_EQ(target->region.boundingRect(), expected.boundingRect());
    ASSERT_EQ(Board::of(rawList(before.region)), before.pixels) << "a shared record was changed";
    if (!expected.isEmpty()) {
        ASSERT_EQ(ZkInspector::record(target->region).innerRect,
                  ZkInspector::record(expected).innerRect);
    }
    target->pixels = before.pixels.combined(added.pixels, Rows::unite);
    target->looseness |= added.looseness | MayHaveOpenSeams;
}

void Player::intersectTwo(const Case &a, const Case &b, Case *target)
{
    const ZkRegion common = a.region.intersect(b.region);
    checkCommon(a, b, common);
    const bool swept = !common.isSharedWith(a.region) && !common.isSharedWith(b.region);
    if (swept && !common.isEmpty()) {
        ASSERT_TRUE(innerIsTheFirstLargest(common));
    }
    *target = {common, a.pixels.combined(b.pixels, Rows::common),
               swept ? int(Merged) : a.looseness | b.looseness};
}

void Player::subtractTwo(const Case &a, const Case &b, Case *target)
{
    const ZkRegion rest = a.region.subtract(b.region);
    checkRest(a, b, rest);
    const bool swept = !rest.isSharedWith(a.region);
    if (swept && !rest.isEmpty()) {
        ASSERT_TRUE(innerIsTheFirstLargest(rest));
    }
    *target = {rest, a.pixels.combined(b.pixels, Rows::rest), swept ? int(Merged) : a.looseness};
}

void Player::eorTwo(const Case &a, const Case &b, Case *target)
{
    *target = {a.region.eor(b.region), a.pixels.combined(b.pixels, Rows::either),
               a.looseness | b.looseness | MayHaveOpenSeams};
}

void Player::clip(const Case &a, const ZkRect &r, Case *target)
{
    Rects kept;
    for (const ZkRect &x : rawList(a.region)) {
        const ZkRect part = x & r;
        if (!part.isNull()) {
            kept.push_back(part);
        }
    }
    const ZkRegion clipped = a.region.intersect(r);
    const bool wasInner = !a.region.isEmpty() && covers(ZkInspector::record(a.region).innerRect, r);
    ASSERT_EQ(rawList(clipped), wasInner ? Rects{r} : kept);
    *target = {clipped, a.pixels.combined(Board::of({r}), Rows::common),
               a.looseness | MayHaveOpenSeams | MayHaveWideBounds};
}

void Player::move(Case *target)
{
    const ZkRect bounds = boundsOf(rawList(target->region));
    if (bounds.isNull()) {
        return;
    }
    const int dx = number(kLow - bounds.left(), kHigh - bounds.right());
    const int dy = number(kLow - bounds.top(), kHigh - bounds.bottom());
    Rects moved = rawList(target->region);
    for (ZkRect &r : moved) {
        r.translate(dx, dy);
    }
    target->region.translate(dx, dy);
    ASSERT_EQ(rawList(target->region), moved);
    target->pixels = Board::of(moved);
}

void Player::ask(const Case &a, const Case &b)
{
    ASSERT_EQ(a.region.intersects(b.region),
              !(a.pixels.combined(b.pixels, Rows::common) == Board()));
    const ZkRect r = rect(10);
    const Board pixelsOfR = Board::of({r});
    ASSERT_EQ(a.region.intersects(r), !(a.pixels.combined(pixelsOfR, Rows::common) == Board()));
    ASSERT_EQ(a.region.contains(r), pixelsOfR.combined(a.pixels, Rows::rest) == Board());
    if (zk_region_strictContains(a.region, r)) {
        ASSERT_TRUE(a.region.contains(r));
    }
    if (ZkInspector::data(a.region)->region == nullptr) {
        return;
    }
    for (int y = kLow; y <= kHigh; y += 3) {
        for (int x = kLow; x <= kHigh; ++x) {
            ASSERT_EQ(a.region.contains(ZkPoint(x, y)), a.pixels.has(x, y)) << x << ' ' << y;
        }
    }
}

void Player::step()
{
    Case &target = any();
    const Case a = any();
    const Case b = any();
    SCOPED_TRACE(testing::Message() << a.region << " and " << b.region);
    const int operation = number(0, 15);
    SCOPED_TRACE(operation);
    switch (operation) {
    case 0:
        target = {ZkRegion(rect(20)), Board(), Merged};
        target.pixels = Board::of(rawList(target.region));
        break;
    case 1: target = Case(); break;
    case 2:
    case 3:
    case 4: {
        const ZkRect small = rect(6);
        uniteInPlace({ZkRegion(small), Board::of({small}), Merged}, &target);
        break;
    }
    case 5: uniteTwo(a, b, &target); break;
    case 6: uniteInPlace(b, &target); break;
    case 7: uniteInPlace(target, &target); break;
    case 8: intersectTwo(a, b, &target); break;
    case 9:
    case 10: subtractTwo(a, b, &target); break;
    case 11: eorTwo(a, b, &target); break;
    case 12: clip(a, rect(40), &target); break;
    case 13: move(&target); break;
    default: ask(a, b); break;
    }
    if (testing::Test::HasFatalFailure()) {
        return;
    }
    ASSERT_TRUE(isSound(target.region, target.looseness)) << target.region;
    ASSERT_EQ(Board::of(rawList(target.region)), target.pixels) << target.region;
    if (!target.region.isEmpty()) {
        ASSERT_TRUE(innerIsInside(target.region, target.pixels)) << target.region;
    }
    ASSERT_EQ(Board::of(rawList(a.region)), a.pixels) << "an operand changed";
    ASSERT_EQ(Board::of(rawList(b.region)), b.pixels) << "an operand changed";
}

} // namespace

TEST(ZkRegion, AgreesWithTheBoardInRandomOperations)
{
    Player player(620);
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(round);
        ASSERT_NO_FATAL_FAILURE(player.step());
    }
}

// Single rectangles in any order: the shape that grows in place.
TEST(ZkRegion, BuiltRectangleByRectangleItIsMergedAndComplete)
{
    std::mt19937 random(621);
    std::uniform_int_distribution<int> at(kLow, kHigh - 8), extent(0, 8);
    for (int round = 0; round < 200; ++round) {
        ZkRegion region;
        Board pixels;
        for (int i = 0; i < 40; ++i) {
            const int x = at(random), y = at(random);
            const ZkRect r(x, y, x + extent(random), y + extent(random));
            region |= r;
            pixels = pixels.combined(Board::of({r}), Rows::unite);
            ASSERT_TRUE(isSound(region, MayHaveOpenSeams)) << region;
            ASSERT_EQ(Board::of(rawList(region)), pixels) << region;
        }
        // One more sweep closes whatever appending left open.
        region |= ZkRect(kLow, kLow, kLow, kHigh);
        pixels = pixels.combined(Board::of({ZkRect(kLow, kLow, kLow, kHigh)}), Rows::unite);
        ASSERT_EQ(rawList(region), pixels.canonicalList());
    }
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
            memoryIsGone = true;
            for (int i = 0; i < 100000; ++i) {
                regions.emplace_back(i, 0, 1, 1);
            }
            std::_Exit(0);
        },
        isUnsafeExit, "");
}
#endif
