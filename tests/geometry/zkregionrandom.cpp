// Random operations on regions beside a board of pixels.

#include "regionmodel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>

using namespace regionmodel;

namespace
{

struct Case {
    ZkRegion region;
    Board pixels;
    int looseness = Merged;
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
    ASSERT_EQ(problemOf(target.region, target.looseness), "") << target.region;
    ASSERT_EQ(Board::of(rawList(target.region)), target.pixels) << target.region;
    if (!target.region.isEmpty()) {
        ASSERT_EQ(innerProblem(target.region, target.pixels), "") << target.region;
    }
    ASSERT_EQ(Board::of(rawList(a.region)), a.pixels) << "an operand changed";
    ASSERT_EQ(Board::of(rawList(b.region)), b.pixels) << "an operand changed";
}

} // namespace

TEST(ZkRegionRandom, AgreesWithTheBoardInRandomOperations)
{
    Player player(620);
    for (int round = 0; round < 20000; ++round) {
        SCOPED_TRACE(round);
        ASSERT_NO_FATAL_FAILURE(player.step());
    }
}

// Single rectangles in any order: the shape that grows in place.
TEST(ZkRegionRandom, BuiltRectangleByRectangleItIsMergedAndComplete)
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
            ASSERT_EQ(problemOf(region, MayHaveOpenSeams), "") << region;
            ASSERT_EQ(Board::of(rawList(region)), pixels) << region;
        }
        // One more sweep closes whatever appending left open.
        region |= ZkRect(kLow, kLow, kLow, kHigh);
        pixels = pixels.combined(Board::of({ZkRect(kLow, kLow, kLow, kHigh)}), Rows::unite);
        ASSERT_EQ(rawList(region), pixels.canonicalList());
    }
}

namespace
{

// Bands of random height and random columns: few wide spans, many narrow ones, or both.
Board comb(std::mt19937_64 *random)
{
    Board pixels;
    const std::uint64_t kind = (*random)() % 4;
    for (int y = kLow; y <= kHigh;) {
        std::uint64_t row = (*random)();
        switch (kind) {
        case 0: row &= (*random)(); break;
        case 1: row |= (*random)(); break;
        case 2: row = (row & (row >> 1) & (row << 1)) | (row & 0xF0F0F0F0); break;
        default: break;
        }
        const bool empty = (*random)() % 8 == 0;
        for (std::uint64_t rows = 1 + (*random)() % 6; rows > 0 && y <= kHigh; --rows, ++y) {
            pixels.row(y) = empty ? 0 : row;
        }
    }
    return pixels;
}

ZkRegion regionOf(const Board &pixels)
{
    const Rects list = pixels.canonicalList();
    ZkRegion region;
    region.setRects(list.data(), static_cast<int>(list.size()));
    return region;
}

} // namespace

// Bands of ten and more spans on both sides that end in any order, which rectangles
// put together one by one hardly ever make.
TEST(ZkRegionRandom, BandsOfManySpansCombineLikeTheirPixels)
{
    std::mt19937_64 random(622);
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(round);
        const Board a = comb(&random), b = comb(&random);
        const ZkRegion regionA = regionOf(a), regionB = regionOf(b);
        const Board common = a.combined(b, Rows::common);
        ASSERT_EQ(rawList(regionA & regionB), common.canonicalList());
        ASSERT_EQ(rawList(regionA - regionB), a.combined(b, Rows::rest).canonicalList());
        ASSERT_EQ(rawList(regionB - regionA), b.combined(a, Rows::rest).canonicalList());
        ASSERT_EQ(Board::of(rawList(regionA | regionB)), a.combined(b, Rows::unite));
        ASSERT_EQ(Board::of(rawList(regionA ^ regionB)), a.combined(b, Rows::either));
        ASSERT_EQ(regionA.intersects(regionB), !common.canonicalList().empty());
    }
}
