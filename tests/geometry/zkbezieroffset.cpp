#include <zkbezier.h>

#include "beziermodel.h"
#include "rounds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace
{

using beziermodel::offsetAt;
using beziermodel::Point;
using beziermodel::pointAt;
using beziermodel::Real;
using testing::AllOf;
using testing::HasSubstr;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

constexpr int kEnough = 65536;

// The centre is (0, 0), the way goes from (100, 0) by (0, 100), on a screen clockwise.
constexpr float kArm = 55.2284749F;
constexpr ZkBezier kQuarter = {100, 0, 100, kArm, kArm, 100, 0, 100};

std::vector<ZkBezier> offsetOf(const ZkBezier &curve, float offset, float threshold,
                               int room = kEnough)
{
    std::vector<ZkBezier> segments(static_cast<std::size_t>(room));
    const int count = curve.shifted(segments.data(), room, offset, threshold);
    EXPECT_GE(count, 0);
    EXPECT_LE(count, room);
    segments.resize(static_cast<std::size_t>(count));
    return segments;
}

// Points of a function of t, so many that no chord is further than `error` from it.
template <typename Function>
void addPoints(const Function &function, Real t0, Real t1, Real error, int depth,
               std::vector<Point> *path)
{
    const Real middle = (t0 + t1) / 2;
    const Point a = function(t0), b = function(t1), m = function(middle);
    // A quarter as well: the middle of an S lies on its chord.
    const Point quarter = function((t0 + middle) / 2);
    const bool isFlat =
        distance(m, 0.5L * (a + b)) <= error && distance(quarter, 0.75L * a + 0.25L * b) <= error;
    if (depth >= 4 && (isFlat || depth > 30)) {
        path->push_back(b);
        return;
    }
    addPoints(function, t0, middle, error, depth + 1, path);
    addPoints(function, middle, t1, error, depth + 1, path);
}

typedef std::vector<Point> Path;

template <typename Function>
Path pathOf(const Function &function, Real t0, Real t1, Real error)
{
    Path path = {function(t0)};
    addPoints(function, t0, t1, error, 0, &path);
    return path;
}

Path truePath(const ZkBezier &c, Real offset, Real t0, Real t1, Real error)
{
    return pathOf([&](Real t) { return offsetAt(c, t, offset); }, t0, t1, error);
}

std::vector<Path> pathsOf(const std::vector<ZkBezier> &curves, Real error)
{
    std::vector<Path> paths;
    for (const ZkBezier &c : curves) {
        paths.push_back(pathOf([&](Real t) { return pointAt(c, t); }, 0, 1, error));
    }
    return paths;
}

Real squareToSide(Point p, Point a, Point b)
{
    const Point side = b - a;
    const Real length = square(side);
    const Real along = (p.x - a.x) * side.x + (p.y - a.y) * side.y;
    const Real part = length == 0 ? 0 : std::clamp<Real>(along / length, 0, 1);
    return square(p - (a + part * side));
}

// How far a point of `some` can be from all of `others`.
Real farthest(const std::vector<Path> &some, const std::vector<Path> &others)
{
    Real most = 0;
    for (const Path &points : some) {
        for (const Point &p : points) {
            Real least = square(p - others.front().front());
            for (const Path &path : others) {
                for (std::size_t i = 1; i < path.size(); ++i) {
                    least = std::min(least, squareToSide(p, path[i - 1], path[i]));
                }
            }
            most = std::max(most, least);
        }
    }
    return std::sqrt(most);
}

void expectJoined(const std::vector<ZkBezier> &segments)
{
    for (std::size_t i = 1; i < segments.size(); ++i) {
        EXPECT_EQ(segments[i].x1, segments[i - 1].x4) << i;
        EXPECT_EQ(segments[i].y1, segments[i - 1].y4) << i;
    }
}

// No point of the segments is further than `threshold` from the true offset, and
// none of the true offset from them.
void expectWithin(const ZkBezier &c, float offset, float threshold)
{
    const std::vector<ZkBezier> segments = offsetOf(c, offset, threshold);
    ASSERT_FALSE(segments.empty());
    expectJoined(segments);
    // The ends may have no direction of their own.
    const Real error = threshold * 0.1L;
    const std::vector<Path> exact = {truePath(c, offset, 1e-7L, 1 - 1e-7L, error)};
    const std::vector<Path> ours = pathsOf(segments, error);
    const Real most = threshold + error + 1e-3L;
    EXPECT_LE(farthest(ours, exact), most) << c << ' ' << offset << ' ' << threshold;
    EXPECT_LE(farthest(exact, ours), most) << c << ' ' << offset << ' ' << threshold;
}

ZkBezier randomCurve(std::mt19937 &random, float size)
{
    std::uniform_real_distribution<float> at(0, size);
    const float x1 = at(random), y1 = at(random), x2 = at(random), y2 = at(random);
    const float x3 = at(random), y3 = at(random), x4 = at(random), y4 = at(random);
    return {x1, y1, x2, y2, x3, y3, x4, y4};
}

} // namespace

TEST(ZkBezierOffset, StraightLineMovesToTheLeftOfItsWay)
{
    const struct {
        const char *what;
        ZkBezier line;
        float offset;
        ZkBezier moved;
    } kRows[] = {
        {"to the right: up", {0, 0, 10, 0, 20, 0, 30, 0}, 5, {0, -5, 10, -5, 20, -5, 30, -5}},
        {"to the left: down", {30, 0, 20, 0, 10, 0, 0, 0}, 5, {30, 5, 20, 5, 10, 5, 0, 5}},
        {"down: to the right", {0, 0, 0, 10, 0, 20, 0, 30}, 5, {5, 0, 5, 10, 5, 20, 5, 30}},
        {"up: to the left", {0, 30, 0, 20, 0, 10, 0, 0}, 5, {-5, 30, -5, 20, -5, 10, -5, 0}},
        {"a negative offset", {0, 0, 10, 0, 20, 0, 30, 0}, -5, {0, 5, 10, 5, 20, 5, 30, 5}},
        {"aslant", {0, 0, 4, 3, 8, 6, 12, 9}, 10, {6, -8, 10, -5, 14, -2, 18, 1}},
        {"unevenly", {0, 0, 1, 0, 29, 0, 30, 0}, 5, {0, -5, 1, -5, 29, -5, 30, -5}},
        {"no offset", {0, 0, 4, 3, 8, 6, 12, 9}, 0, {0, 0, 4, 3, 8, 6, 12, 9}},
        {"no arm at the start", {0, 0, 0, 0, 20, 0, 30, 0}, 5, {0, -5, 0, -5, 20, -5, 30, -5}},
        {"no arm at the end", {0, 0, 10, 0, 30, 0, 30, 0}, 5, {0, -5, 10, -5, 30, -5, 30, -5}},
        {"no arms", {0, 0, 0, 0, 30, 0, 30, 0}, 5, {0, -5, 0, -5, 30, -5, 30, -5}},
        {"three equal points", {0, 0, 0, 0, 0, 0, 30, 0}, 5, {0, -5, 0, -5, 0, -5, 30, -5}},
        {"three at the end", {0, 0, 30, 0, 30, 0, 30, 0}, 5, {0, -5, 30, -5, 30, -5, 30, -5}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const std::vector<ZkBezier> segments = offsetOf(row.line, row.offset, 0.01F);
        ASSERT_EQ(segments.size(), 1U);
        const ZkBezier &a = segments[0], &b = row.moved;
        const float differences[] = {a.x1 - b.x1, a.y1 - b.y1, a.x2 - b.x2, a.y2 - b.y2,
                                     a.x3 - b.x3, a.y3 - b.y3, a.x4 - b.x4, a.y4 - b.y4};
        for (const float difference : differences) {
            EXPECT_LT(std::fabs(difference), 1e-5F) << a;
        }
    }
}

TEST(ZkBezierOffset, CircleKeepsItsCentre)
{
    // The way goes to the right round the centre, so left is outside.
    for (const float offset : {30.0F, -30.0F, -90.0F, -140.0F}) {
        SCOPED_TRACE(offset);
        const std::vector<ZkBezier> segments = offsetOf(kQuarter, offset, 0.05F);
        EXPECT_EQ(segments.size(), 1U);
        const std::vector<Path> paths = pathsOf(segments, 0.01L);
        for (const Point &p : paths.front()) {
            // The arc itself is off by 0.03.
            EXPECT_NEAR(double(distance(p, {0, 0})), std::fabs(100 + offset), 0.05 + 0.03);
        }
        expectJoined(segments);
        EXPECT_NEAR(segments.front().x1, 100 + offset, 1e-4);
        EXPECT_NEAR(segments.back().y4, 100 + offset, 1e-4);
    }
}

TEST(ZkBezierOffset, StaysWithinTheThresholdOfTheTrueOffset)
{
    std::mt19937 random(21);
    for (int round = 0; round < std::max(2, scaledRounds(20)); ++round) {
        const ZkBezier c = randomCurve(random, 200);
        for (const float offset : {1.0F, 12.0F, -40.0F, 150.0F}) {
            for (const float threshold : {1.0F, 0.1F, 0.01F}) {
                expectWithin(c, offset, threshold);
            }
        }
    }
}

TEST(ZkBezierOffset, EndsWithoutAnArmTurnAsTheCurveDoes)
{
    const struct {
        const char *what;
        ZkBezier curve;
    } kRows[] = {
        {"at the start", {0, 0, 0, 0, 80, 10, 100, 90}},
        {"at the end", {0, 0, 60, 0, 100, 90, 100, 90}},
        {"a short one", {0, 0, 0, -2, 80, 10, 100, 90}},
        {"the inner points are one", {0, 0, 90, 10, 90, 10, 100, 90}},
        {"closed", {50, 50, 150, 0, 150, 150, 50, 50}},
        {"a loop", {0, 0, 200, 100, -100, 100, 100, 0}},
        {"an S", {0, 0, 100, 0, 0, 100, 100, 100}},
        {"a tight bend", {0, 0, 100, 0, 100, 20, 0, 20}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        expectWithin(row.curve, 3, 0.01F);
        expectWithin(row.curve, -3, 0.1F);
        expectWithin(row.curve, 25, 0.1F);
        expectWithin(row.curve, -25, 0.01F);
    }
}

TEST(ZkBezierOffset, ChangesSidesInACuspOfTheCurve)
{
    // Both derivatives are 0 at 0.5: the point comes from below and goes back down.
    const ZkBezier cusp = {0, 0, 100, 100, 0, 100, 100, 0};
    const Point tip = pointAt(cusp, 0.5L);
    const std::vector<ZkBezier> segments = offsetOf(cusp, 10, 0.05F);
    int jumps = 0;
    for (std::size_t i = 1; i < segments.size(); ++i) {
        const Point end = pointAt(segments[i - 1], 1), start = pointAt(segments[i], 0);
        if (distance(end, start) > 0) {
            ++jumps;
            EXPECT_NEAR(double(distance(end, tip)), 10, 1e-3);
            EXPECT_NEAR(double(distance(start, tip)), 10, 1e-3);
            EXPECT_NEAR(double(distance(start, end)), 20, 1e-3);
        }
    }
    EXPECT_EQ(jumps, 1);
    EXPECT_LT(segments.size(), 20U);
    const std::vector<Path> exact = {truePath(cusp, 10, 0, 0.5L - 1e-9L, 0.002L),
                                     truePath(cusp, 10, 0.5L + 1e-9L, 1, 0.002L)};
    const std::vector<Path> ours = pathsOf(segments, 0.002L);
    EXPECT_LE(farthest(ours, exact), 0.053L);
    EXPECT_LE(farthest(exact, ours), 0.053L);
}

TEST(ZkBezierOffset, LineThatTurnsRoundIsFollowedOnBothSides)
{
    // It overshoots to 42.7 and comes back to 30.
    const ZkBezier line = {0, 0, 60, 0, 60, 0, 30, 0};
    const std::vector<ZkBezier> segments = offsetOf(line, 4, 0.01F);
    ASSERT_GE(segments.size(), 2U);
    EXPECT_EQ(segments.front().y1, -4);
    EXPECT_EQ(segments.back().y4, 4);
    int crossings = 0;
    for (const ZkBezier &s : segments) {
        if (std::fabs(s.y1) == 4 && s.y1 == s.y4) {
            EXPECT_NEAR(s.y2, s.y1, 1e-4);
            EXPECT_NEAR(s.y3, s.y1, 1e-4);
        } else {
            ++crossings; // the piece of 1/65536 in which the line turns round
        }
    }
    EXPECT_LE(crossings, 1);
    EXPECT_LT(segments.size(), 40U);
}

TEST(ZkBezierOffset, PointHasNoOffset)
{
    ZkBezier segment = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_EQ((ZkBezier{3, 4, 3, 4, 3, 4, 3, 4}).shifted(&segment, 1, 10, 0.1F), 0);
    EXPECT_EQ((ZkBezier{0.0F, 0, -0.0F, 0, 0, 0, 0, 0}).shifted(&segment, 1, 10, 0.1F), 0);
    EXPECT_EQ(segment, (ZkBezier{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(ZkBezierOffset, NoOffsetGivesTheCurve)
{
    std::mt19937 random(22);
    for (int round = 0; round < 100; ++round) {
        const ZkBezier c = randomCurve(random, 200);
        const std::vector<ZkBezier> segments = offsetOf(c, 0, 0.01F);
        ASSERT_EQ(segments.size(), 1U);
        for (const Real t : {0.0L, 0.2L, 0.7L, 1.0L}) {
            EXPECT_LT(distance(pointAt(segments[0], t), pointAt(c, t)), 1e-3L) << c;
        }
    }
}

TEST(ZkBezierOffset, FillsNoMoreThanTheRoom)
{
    std::mt19937 random(23);
    const ZkBezier mark = {-1, -2, -3, -4, -5, -6, -7, -8};
    for (int round = 0; round < 20; ++round) {
        const ZkBezier c = randomCurve(random, 200);
        const std::vector<ZkBezier> all = offsetOf(c, 20, 0.02F);
        const int needed = int(all.size());
        for (int room = 1; room <= needed + 2; ++room) {
            std::vector<ZkBezier> segments(std::size_t(room) + 1, mark);
            const int count = c.shifted(segments.data(), room, 20, 0.02F);
            ASSERT_EQ(count, std::min(room, needed));
            EXPECT_EQ(segments[std::size_t(count)], mark);
            segments.resize(std::size_t(count));
            expectJoined(segments);
            // From the first point to the last, whatever the room.
            EXPECT_EQ(segments.front().x1, all.front().x1);
            EXPECT_EQ(segments.front().y1, all.front().y1);
            EXPECT_EQ(segments.back().x4, all.back().x4);
            EXPECT_EQ(segments.back().y4, all.back().y4);
        }
    }
}

TEST(ZkBezierOffset, MayWriteOverTheCurveItself)
{
    const std::vector<ZkBezier> expected = offsetOf(kQuarter, 30, 0.001F, 4);
    ZkBezier segments[4] = {kQuarter, kQuarter, kQuarter, kQuarter};
    ASSERT_EQ(segments[0].shifted(segments, 4, 30, 0.001F), int(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(segments[i], expected[i]);
    }
}

TEST(ZkBezierOffset, DrawsNoSpikeWhereRoomIsShort)
{
    // The tangent at the start whirls round within a millionth of the curve.
    const ZkBezier c = {0, 0, -0.0001F, 0.0001F, 80, 10, 100, 90};
    for (const int room : {1, 2, 3, 5, 8}) {
        for (const ZkBezier &s : offsetOf(c, 20, 0.01F, room)) {
            const ZkRectF box = s.bounds();
            EXPECT_GT(box.left(), -100) << s;
            EXPECT_GT(box.top(), -100) << s;
            EXPECT_LT(box.right(), 200) << s;
            EXPECT_LT(box.bottom(), 200) << s;
        }
    }
}

TEST(ZkBezierOffset, HalvesNoFurtherThanAThresholdOfZeroAllows)
{
    std::vector<ZkBezier> segments(kEnough);
    const ZkBezier c = {0, 0, 100, 0, 0, 100, 100, 120};
    for (const float threshold : {0.0F, -1.0F, -kInf}) {
        const int count = c.shifted(segments.data(), INT_MAX, 7, threshold);
        EXPECT_GT(count, 1000);
        EXPECT_LE(count, kEnough);
    }
    EXPECT_EQ(c.shifted(segments.data(), INT_MAX, 7, kInf), 1);
    EXPECT_EQ(c.shifted(segments.data(), INT_MAX, 7, kNan), 1);
}

TEST(ZkBezierOffset, EndsOnAnyNumbers)
{
    std::vector<ZkBezier> segments(kEnough);
    const float wild[] = {kNan, kInf, -kInf, FLT_MAX, -FLT_MAX, FLT_MIN, FLT_TRUE_MIN, 0};
    for (const float a : wild) {
        for (const float b : wild) {
            const ZkBezier kCurves[] = {
                {a, b, 1, 2, 3, 4, 5, 6}, {1, 2, a, b, 3, 4, 5, 6}, {1, 2, 3, 4, 5, 6, a, b},
                {a, a, b, b, a, a, b, b}, {a, b, b, a, a, b, b, a},
            };
            for (const ZkBezier &c : kCurves) {
                SCOPED_TRACE(c);
                const int count = c.shifted(segments.data(), 100, 10, 0.1F);
                EXPECT_TRUE(count >= 0 && count <= 100);
            }
            const int count = kQuarter.shifted(segments.data(), 100, a, b);
            EXPECT_TRUE(count >= 1 && count <= 100) << a << ' ' << b;
        }
    }
    EXPECT_EQ((ZkBezier{kNan, 0, 1, 1, 2, 2, 3, 4}).shifted(segments.data(), 100, 1, 0.1F), 1);
    EXPECT_EQ(kQuarter.shifted(segments.data(), 100, kInf, 0.1F), 1);
}

TEST(ZkBezierOffset, SmallestAndLargestCurvesAreScaledAlike)
{
    for (const float scale : {1e-40F, 1e-30F, 1e30F}) {
        const ZkBezier c = {0, 0, 100 * scale, 0, 0, 100 * scale, 100 * scale, 100 * scale};
        const std::vector<ZkBezier> segments = offsetOf(c, 10 * scale, 0.5F * scale);
        EXPECT_EQ(segments.size(), offsetOf({0, 0, 100, 0, 0, 100, 100, 100}, 10, 0.5F).size());
        EXPECT_NEAR(segments.front().y1 / scale, -10, 0.01);
    }
}

TEST(ZkBezierOffsetDeathTest, NeedsRoom)
{
    ZkBezier segment;
    const auto report = [](const char *expression) {
        return AllOf(HasSubstr("./src/zkbezier:"), HasSubstr("ZkBezier::shifted"),
                     HasSubstr(std::string("Assertion `") + expression + "' failed"));
    };
    EXPECT_DEATH(kQuarter.shifted(&segment, 0, 1, 1), report("maxSegments > 0"));
    EXPECT_DEATH(kQuarter.shifted(&segment, INT_MIN, 1, 1), report("maxSegments > 0"));
    EXPECT_DEATH(kQuarter.shifted(nullptr, 1, 1, 1), report("curveSegments"));
    EXPECT_DEATH(kQuarter.shifted(nullptr, 0, 1, 1), report("maxSegments > 0"));
}
