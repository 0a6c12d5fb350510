#include <zkbezier.h>
#include <zkline.h>

#include "beziermodel.h"
#include "rounds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{

using beziermodel::lengthOf;
using beziermodel::pointAt;
using beziermodel::Real;
using testing::AllOf;
using testing::HasSubstr;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

constexpr ZkBezier kArch = {0, 0, 0, 40, 30, 40, 30, 0};
constexpr ZkBezier kLine = {0, 0, 256, 0, 512, 0, 768, 0}; // x = 768 t
constexpr ZkBezier kRising = {3, 0, -20, 8, 50, 24, 9, 64};

bool haveSameBits(const ZkBezier &a, const ZkBezier &b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

float lastPlaceOf(float size)
{
    return size * FLT_EPSILON;
}

// Curves anywhere in a square around the origin.
class Curves
{
public:
    Curves(unsigned seed, float size) : m_random(seed), m_at(-size, size) {}

    ZkBezier next()
    {
        ZkBezier c;
        for (float *value : {&c.x1, &c.y1, &c.x2, &c.y2, &c.x3, &c.y3, &c.x4, &c.y4}) {
            *value = m_at(m_random);
        }
        return c;
    }

    float parameter() { return std::uniform_real_distribution<float>(0, 1)(m_random); }

private:
    std::mt19937 m_random;
    std::uniform_real_distribution<float> m_at;
};

// Every finite and other number that has broken arithmetic before, in every place.
std::vector<ZkBezier> wildCurves()
{
    std::vector<ZkBezier> curves;
    for (const float wild : {kNan, kInf, -kInf, FLT_MAX, -FLT_MAX, FLT_MIN, FLT_TRUE_MIN}) {
        for (unsigned places = 1; places < 256; ++places) {
            const unsigned behindFirst = places & (places - 1);
            if ((behindFirst & (behindFirst - 1)) != 0 && places != 255) {
                continue; // one, two or all places
            }
            float values[8] = {3, 0, -20, 8, 50, 24, 9, 64};
            for (int i = 0; i < 8; ++i) {
                if (places >> i & 1) {
                    values[i] = wild * (i % 3 == 1 ? -1.0F : 1.0F);
                }
            }
            ZkBezier curve;
            std::memcpy(&curve, values, sizeof curve);
            curves.push_back(curve);
        }
    }
    return curves;
}

// The rule of `length` and nothing else.
float plainLength(const ZkBezier &c, float error)
{
    const auto side = [](float x1, float y1, float x2, float y2) {
        return ZkLineF(x1, y1, x2, y2).length();
    };
    float sum = 0;
    std::vector<ZkBezier> ahead = {c};
    while (!ahead.empty()) {
        ZkBezier piece = ahead.back();
        ahead.pop_back();
        const float polygon = side(piece.x1, piece.y1, piece.x2, piece.y2) +
                              side(piece.x2, piece.y2, piece.x3, piece.y3) +
                              side(piece.x3, piece.y3, piece.x4, piece.y4);
        if (polygon - side(piece.x1, piece.y1, piece.x4, piece.y4) > error) {
            ZkBezier first, second;
            piece.split(&first, &second);
            ahead.push_back(second);
            ahead.push_back(first);
        } else {
            sum += polygon;
        }
    }
    return sum;
}

} // namespace

TEST(ZkBezier, IsEightPlainNumbersInOrder)
{
    EXPECT_EQ(sizeof(ZkBezier), 32U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkBezier>::value);
    EXPECT_TRUE(std::is_standard_layout<ZkBezier>::value);
    EXPECT_EQ(offsetof(ZkBezier, x1), 0U);
    EXPECT_EQ(offsetof(ZkBezier, y1), 4U);
    EXPECT_EQ(offsetof(ZkBezier, x2), 8U);
    EXPECT_EQ(offsetof(ZkBezier, y4), 28U);
    const ZkBezier c = ZkBezier::fromPoints({1, 2}, {3, 4}, {5, 6}, {7, 8});
    EXPECT_EQ(c, (ZkBezier{1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(ZkBezier(), (ZkBezier{0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ZkBezier, EqualsOnlyInAllEightNumbers)
{
    const ZkBezier c = {1, 2, 3, 4, 5, 6, 7, 8};
    for (int i = 0; i < 8; ++i) {
        float values[8] = {1, 2, 3, 4, 5, 6, 7, 8};
        values[i] += 1;
        ZkBezier other;
        std::memcpy(&other, values, sizeof other);
        EXPECT_TRUE(c != other) << i;
        EXPECT_FALSE(c == other) << i;
    }
    EXPECT_TRUE((ZkBezier{0, 0, 0, 0, 0, 0, 0, 0} == ZkBezier{-0.0F, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE((ZkBezier{kNan, 0, 0, 0, 0, 0, 0, 0} == ZkBezier{kNan, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(ZkBezier, BoundsAreThoseOfTheControlPoints)
{
    const struct {
        const char *what;
        ZkBezier curve;
        ZkRectF bounds;
    } kRows[] = {
        {"the arch rises to 30 and is framed to 40", kArch, {0, 0, 30, 40}},
        {"each side from another point", {5, -7, -3, 2, 11, 4, 6, 9}, {-3, -7, 14, 16}},
        {"a point", {2, 3, 2, 3, 2, 3, 2, 3}, {2, 3, 0, 0}},
        {"a level line", kLine, {0, 0, 768, 0}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_TRUE(row.curve.bounds() == row.bounds);
    }
}

TEST(ZkBezier, SplitTakesTheMeansOfNeighbours)
{
    ZkBezier first, second;
    kArch.split(&first, &second);
    EXPECT_EQ(first, (ZkBezier{0, 0, 0, 20, 7.5F, 30, 15, 30}));
    EXPECT_EQ(second, (ZkBezier{15, 30, 22.5F, 30, 30, 20, 30, 0}));
}

TEST(ZkBezier, SplitMayWriteOverTheCurveItself)
{
    ZkBezier first, second;
    kRising.split(&first, &second);
    ZkBezier curve = kRising, half;
    curve.split(&curve, &half);
    EXPECT_EQ(curve, first);
    EXPECT_EQ(half, second);
    curve = kRising;
    curve.split(&half, &curve);
    EXPECT_EQ(half, first);
    EXPECT_EQ(curve, second);
}

TEST(ZkBezier, HalvesFollowTheCurve)
{
    Curves curves(1, 500);
    for (int round = 0; round < scaledRounds(20000); ++round) {
        const ZkBezier c = curves.next();
        ZkBezier first, second;
        c.split(&first, &second);
        for (const float u : {0.0F, 0.3F, 1.0F}) {
            EXPECT_LT(distance(pointAt(first, u), pointAt(c, Real(u) / 2)), 3 * lastPlaceOf(500));
            EXPECT_LT(distance(pointAt(second, u), pointAt(c, (1 + Real(u)) / 2)),
                      3 * lastPlaceOf(500));
        }
    }
}

TEST(ZkBezierDeathTest, SplitNeedsBothHalves)
{
    ZkBezier half;
    EXPECT_DEATH(kArch.split(nullptr, &half),
                 "\\.\\./include/core/zkbezier:.*ZkBezier::split.*Assertion `firstHalf' failed");
    EXPECT_DEATH(kArch.split(&half, nullptr),
                 "\\.\\./include/core/zkbezier:.*ZkBezier::split.*Assertion `secondHalf' failed");
}

TEST(ZkBezier, PartFollowsTheCurve)
{
    Curves curves(2, 500);
    for (int round = 0; round < scaledRounds(20000); ++round) {
        const ZkBezier c = curves.next();
        const float a = curves.parameter(), b = curves.parameter();
        const float t0 = std::min(a, b), t1 = std::max(a, b);
        const ZkBezier part = c.getSubRange(t0, t1);
        for (const Real u : {0.0L, 0.4L, 1.0L}) {
            const auto expected = pointAt(c, t0 + u * (Real(t1) - t0));
            EXPECT_LT(distance(pointAt(part, u), expected), 20 * lastPlaceOf(500))
                << c << ' ' << t0 << ' ' << t1;
        }
        EXPECT_TRUE(haveSameBits(part, c.bezierOnInterval(t0, t1)));
    }
}

TEST(ZkBezier, PartFromZeroToOneIsTheCurve)
{
    const struct {
        const char *what;
        float t0, t1;
        bool isWhole;
    } kRows[] = {
        {"all", 0, 1, true},
        {"minus zero", -0.0F, 1, true},
        {"a start that counts as 0", 1e-12F, 1, true},
        {"a start below 0 that counts as 0", -1e-12F, 1, true},
        {"a start that does not", 1e-6F, 1, false},
        {"the last end before 1", 0, 0.99999994F, false},
        {"the first behind 1", 0, 1.0000001F, false},
    };
    // Not a multiple of a power of two among them: any arithmetic would show.
    const ZkBezier c = {0.1F, 1e-42F, 333.3F, 0.7F, -0.3F, 1e30F, 8.8F, -0.0F};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(haveSameBits(c.getSubRange(row.t0, row.t1), c), row.isWhole);
        EXPECT_EQ(haveSameBits(c.bezierOnInterval(row.t0, row.t1), c), row.isWhole);
    }
}

TEST(ZkBezier, PartsMeetInTheSameBits)
{
    Curves curves(3, 500);
    for (int round = 0; round < scaledRounds(20000); ++round) {
        const ZkBezier c = curves.next();
        const float t = curves.parameter();
        const ZkBezier before = c.getSubRange(0, t), behind = c.getSubRange(t, 1);
        EXPECT_EQ(before.x4, behind.x1);
        EXPECT_EQ(before.y4, behind.y1);
        EXPECT_EQ(before.x1, c.x1);
        EXPECT_EQ(behind.y4, c.y4);
    }
}

TEST(ZkBezier, PartsOfALevelLineAreLevel)
{
    const ZkBezier c = {0, 0.1F, 3.3F, 0.1F, 7.7F, 0.1F, 9.1F, 0.1F};
    Curves curves(4, 1);
    for (int round = 0; round < 1000; ++round) {
        const float t = curves.parameter();
        const ZkBezier part = c.getSubRange(t / 2, t);
        EXPECT_EQ(part.bounds().y(), 0.1F) << t;
        EXPECT_EQ(part.bounds().height(), 0) << t;
    }
}

TEST(ZkBezier, PartWithoutExtentIsAPoint)
{
    EXPECT_EQ(kArch.getSubRange(0, 0), (ZkBezier{0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(kArch.getSubRange(0.5F, 0.5F), (ZkBezier{15, 30, 15, 30, 15, 30, 15, 30}));
    EXPECT_EQ(kArch.getSubRange(1, 1), (ZkBezier{30, 0, 30, 0, 30, 0, 30, 0}));
}

TEST(ZkBezier, LengthOfAnEvenStraightLineIsItsChord)
{
    const ZkBezier kRows[] = {kLine, {0, 0, 3, 4, 6, 8, 9, 12}, {9, 12, 6, 8, 3, 4, 0, 0}};
    for (const ZkBezier &line : kRows) {
        const float chord = std::hypot(line.x4 - line.x1, line.y4 - line.y1);
        for (const float error : {100.0F, 0.01F, 0.0F, -1.0F}) {
            EXPECT_EQ(line.length(error), chord) << line << error;
        }
    }
}

TEST(ZkBezier, LengthHalvesWhatExceedsTheError)
{
    // Sides 4, 3 and 4 over a chord of 3. Each half has sides 2, 1.25 and 0.75 over
    // a chord of 3.354.
    const ZkBezier c = {0, 0, 0, 4, 3, 4, 3, 0};
    const struct {
        const char *what;
        float error;
        float length;
    } kRows[] = {
        {"an excess of just the error stays", 8, 11},
        {"more is halved", 7.99F, 8},
        {"the halves stay", 0.65F, 8},
        {"any error", kInf, 11},
        {"no comparison holds with a NaN", kNan, 11},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(c.length(row.error), row.length);
    }
    EXPECT_LT(c.length(0.64F), 8);
}

TEST(ZkBezier, LengthFollowsItsRuleBitByBit)
{
    for (const float size : {1.0F, 100.0F, 4000.0F}) {
        Curves curves(5, size);
        for (int round = 0; round < scaledRounds(10000); ++round) {
            const ZkBezier c = curves.next();
            for (const float error : {1.0F, 0.1F, 0.01F, 0.001F}) {
                ASSERT_EQ(c.length(error), plainLength(c, error)) << c << ' ' << error;
            }
        }
    }
}

TEST(ZkBezier, LengthComesFromAboveAsTheErrorFalls)
{
    Curves curves(6, 300);
    for (int round = 0; round < scaledRounds(3000); ++round) {
        const ZkBezier c = curves.next();
        const Real exact = lengthOf(c);
        float previous = kInf;
        for (const float error : {10.0F, 1.0F, 0.1F, 0.01F}) {
            const float length = c.length(error);
            EXPECT_GT(length, exact * (1 - 1e-5L)) << c;
            EXPECT_LE(length, previous * (1 + 1e-6F)) << c;
            previous = length;
        }
        EXPECT_NEAR(double(previous), double(exact), 0.3) << c;
        EXPECT_NEAR(double(c.length(0)), double(exact), double(exact) * 1e-5) << c;
    }
}

TEST(ZkBezier, LengthOfAQuarterCircle)
{
    const ZkBezier arc = ZkBezier::fromPoints({0, 0}, {0, 55}, {45, 100}, {100, 100});
    EXPECT_NEAR(arc.length(0.01F), 50 * 3.14159265, 0.1);
    EXPECT_NEAR(arc.length(0.0001F), double(lengthOf(arc)), 0.001);
}

TEST(ZkBezier, LengthEndsWhereFloatsCannotTellHalvesApart)
{
    const float far = 8388608; // neighbouring floats are 1 apart from here on
    const struct {
        const char *what;
        ZkBezier curve;
    } kRows[] = {
        {"a half that is the whole", {far, far, far + 1, far, far + 1, far, far + 1, far + 1}},
        {"a quarter that is the whole", {far + 2, far, far + 1, far, far, far + 1, far, far + 1}},
        {"to and fro on one step", {far, far, far + 1, far + 1, far, far, far + 1, far + 1}},
        {"a handful of steps", {far, far, far + 5, far, far + 2, far + 9, far + 7, far + 4}},
        {"at the origin", {0, 0, FLT_TRUE_MIN, 0, FLT_TRUE_MIN, 0, FLT_TRUE_MIN, FLT_TRUE_MIN}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkRectF box = row.curve.bounds();
        const float length = row.curve.length(0);
        EXPECT_GE(length, 0);
        EXPECT_LE(length, 3 * (box.width() + box.height()));
        EXPECT_EQ(row.curve.length(-1), length);
    }
}

TEST(ZkBezier, LengthOfALargeCurveEndsAndIsRight)
{
    for (const float size : {1e5F, 1e7F, 1e9F, 1e12F, 1e18F}) {
        Curves curves(7, size);
        for (int round = 0; round < 20; ++round) {
            const ZkBezier c = curves.next();
            const double exact = double(lengthOf(c));
            for (const float error : {0.01F, 0.0F}) {
                EXPECT_NEAR(c.length(error), exact, exact * 1e-5) << c << ' ' << error;
            }
        }
    }
}

TEST(ZkBezier, LengthOfACurveFarFromTheOriginIsNoStaircase)
{
    // 18 pixels long where floats lie half a thousandth apart.
    const ZkBezier c = {-4096, -4096, -4095.99951F, -4096, -4095.99951F, -4095.99F, -4080, -4088};
    EXPECT_NEAR(c.length(0), double(lengthOf(c)), 0.002);
    EXPECT_NEAR(c.length(1e-6F), double(lengthOf(c)), 0.002);
}

TEST(ZkBezier, LengthBeyondTheSquaresOfFloatIsInfinite)
{
    EXPECT_EQ((ZkBezier{0, 0, 1e20F, 0, 2e20F, 0, 3e20F, 0}).length(0.01F), kInf);
}

TEST(ZkBezier, ParameterAtALengthBeyondTheCurveIsOne)
{
    for (const float length : {768.0F, 768.005F, 767.995F, 769.0F, FLT_MAX, kInf}) {
        EXPECT_EQ(kLine.tAtLength(length), 1) << length;
    }
    EXPECT_LT(kLine.tAtLength(767.9F), 1);
    EXPECT_EQ((ZkBezier{5, 5, 5, 5, 5, 5, 5, 5}).tAtLength(0), 1);
}

TEST(ZkBezier, ParameterAtALengthWalksUpFromZeroAfterEachStepDown)
{
    // A binary search between both bounds would end on 480 / 768 and the like.
    for (const double length : {700.0, 384.0, 96.0, 100.0, 1.0, 0.02, 0.0, 767.5}) {
        double t = 0.5, high = 1;
        while (std::fabs(768 * t - length) >= 0.01) {
            if (length > 768 * t) {
                t += (high - t) / 2;
            } else {
                high = t;
                t /= 2;
            }
        }
        EXPECT_FLOAT_EQ(kLine.tAtLength(float(length)), float(t)) << length;
    }
    EXPECT_EQ(kLine.tAtLength(384), 0.5F);
    EXPECT_NE(kLine.tAtLength(480), 0.625F);
    EXPECT_NEAR(kLine.tAtLength(480), 0.625, 0.01 / 768);
}

namespace
{

/// The search as it is told: each step measured anew, piece by piece.
float plainParameter(const ZkBezier &c, float length)
{
    float t = 0.5F, high = 1;
    for (;;) {
        const float part = plainLength(c.getSubRange(0, t), 0.01F);
        if (std::fabs(part - length) < 0.01F) {
            return t;
        }
        if (length > part) {
            const float step = t + (high - t) / 2;
            if (step == t) {
                return t;
            }
            t = step;
        } else {
            if (high == t) {
                return t;
            }
            high = t;
            t /= 2;
        }
    }
}

} // namespace

TEST(ZkBezier, ParameterAtALengthWalksAsIfEachStepWereMeasured)
{
    const struct {
        float size, offset;
        int rounds;
    } kRows[] = {{1, 0, 1000},    {30, 0, 1000},  {400, 0, 1000}, {2000, 0, 1000},
                 {50, 3000, 500}, {9000, 0, 100}, {0.01F, 5, 200}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << row.size << " at " << row.offset);
        Curves curves(12, row.size);
        for (int round = 0; round < scaledRounds(row.rounds); ++round) {
            ZkBezier c = curves.next();
            for (float *value : {&c.x1, &c.y1, &c.x2, &c.y2, &c.x3, &c.y3, &c.x4, &c.y4}) {
                *value += row.offset;
            }
            switch (round % 8) {
            case 0: c.x4 = c.x1, c.y4 = c.y1; break;                           // closed
            case 1: c.x2 = c.x1, c.y2 = c.y1, c.x3 = c.x4, c.y3 = c.y4; break; // straight
            case 2: c.y2 = c.y3 = c.y4 = c.y1; break;                          // to and fro
            case 3: c.x2 = c.x4, c.y2 = c.y4, c.x3 = c.x1, c.y3 = c.y1; break; // with cusps
            default: break;
            }
            const float whole = c.length(0.01F);
            const float length = whole * curves.parameter() * 0.99F;
            if (std::fabs(whole - length) <= whole * 1e-5F) {
                continue;
            }
            ASSERT_EQ(c.tAtLength(length), plainParameter(c, length)) << c << ' ' << length;
        }
    }
}

TEST(ZkBezier, ParameterAtALengthHasThatLengthBeforeIt)
{
    Curves curves(8, 400);
    for (int round = 0; round < scaledRounds(2000); ++round) {
        const ZkBezier c = curves.next();
        const float whole = c.length(0.01F);
        const float length = whole * curves.parameter();
        const float t = c.tAtLength(length);
        ASSERT_TRUE(t >= 0 && t <= 1) << c << ' ' << length;
        EXPECT_LT(std::fabs(c.getSubRange(0, t).length(0.01F) - length), 0.01F) << c;
        EXPECT_NEAR(double(lengthOf(c, 0, t)), double(length), 0.2) << c;
    }
}

TEST(ZkBezier, ParameterAtNoLengthIsZeroOrNearly)
{
    for (const float length : {0.0F, -0.001F, -1.0F, -FLT_MAX, -kInf, kNan}) {
        const float t = kRising.tAtLength(length);
        EXPECT_GE(t, 0) << length;
        EXPECT_LT(kRising.getSubRange(0, t).length(0.01F), 0.02F) << length;
    }
    EXPECT_EQ(kRising.tAtLength(-1), 0);
}

TEST(ZkBezier, ParameterAtALengthIsFoundWhereOnlyTheChordIsInfinite)
{
    // The square of a third of the way still is a float, that of the way is none.
    const ZkBezier rows[] = {
        {0, 0, 0, 9e18F, 0, 18e18F, 0, 27e18F},
        {0, 0, 9e18F, 0, 18e18F, 0, 27e18F, 0},
        {-13e18F, -8e18F, -4e18F, -8e18F, 5e18F, -8e18F, 14e18F, -8e18F},
    };
    for (const ZkBezier &c : rows) {
        const float whole = c.length(0.01F);
        ASSERT_NEAR(whole, 27e18F, 1e13F);
        EXPECT_EQ(c.tAtLength(whole / 2), 0.5F);
        for (int percent = 1; percent < 100; ++percent) {
            const float length = whole * float(percent) / 100;
            ASSERT_EQ(c.tAtLength(length), plainParameter(c, length)) << c << ' ' << length;
        }
    }
}

TEST(ZkBezier, ParameterAtALengthIsOneFromTheWholeLengthOn)
{
    for (const float size : {100.0F, 1e4F, 1e6F, 1e8F}) {
        SCOPED_TRACE(size);
        Curves curves(14, size);
        for (int round = 0; round < scaledRounds(500); ++round) {
            ZkBezier c = curves.next();
            if (round % 2 == 0) { // with a cusp, near which the bounds stay wide
                c.x2 = c.x4, c.y2 = c.y4, c.x3 = c.x1, c.y3 = c.y1;
            }
            const float whole = c.length(0.01F);
            EXPECT_EQ(c.tAtLength(whole), 1) << c;
            EXPECT_EQ(c.tAtLength(std::nextafter(whole, kInf)), 1) << c;
            EXPECT_EQ(c.tAtLength(whole * 1.00003F), 1) << c;
            EXPECT_LT(c.tAtLength(whole * 0.9999F), 1) << c;
        }
    }
}

TEST(ZkBezier, ParameterAtALengthEndsOnLargeCurves)
{
    for (const float size : {1e6F, 1e12F, 1e18F}) {
        Curves curves(9, size);
        const ZkBezier c = curves.next();
        const float whole = c.length(0.01F);
        for (const float share : {0.3F, 0.9F}) {
            const float t = c.tAtLength(whole * share);
            EXPECT_NEAR(double(lengthOf(c, 0, t) / whole), double(share), 1e-3) << c;
        }
    }
}

TEST(ZkBezier, ParameterAtAYIsTheOneThatRises)
{
    const struct {
        const char *what;
        ZkBezier curve;
        float t0, t1, y;
        float t;
    } kRows[] = {
        {"a straight line", {0, 0, 9, 256, 9, 512, 0, 768}, 0, 1, 192, 0.25F},
        {"half of it", {0, 0, 9, 256, 9, 512, 0, 768}, 0.25F, 1, 576, 0.75F},
        {"the rising side of an arch", kArch, 0, 0.5F, 22.5F, 0.25F},
        {"the falling side, backward", kArch, 1, 0.5F, 22.5F, 0.75F},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_FLOAT_EQ(row.curve.tForY(row.t0, row.t1, row.y), row.t);
    }
}

TEST(ZkBezier, ParameterAtAYLeadsBackToTheY)
{
    Curves curves(10, 100);
    int found = 0;
    for (int round = 0; round < scaledRounds(100000); ++round) {
        const ZkBezier c = curves.next();
        const float t0 = curves.parameter() / 2, t1 = 1 - curves.parameter() / 2;
        const Real low = pointAt(c, t0).y, high = pointAt(c, t1).y;
        const float y = float(low + (high - low) * curves.parameter());
        if (y < low + 0.001L || y > high - 0.001L) {
            continue;
        }
        ++found;
        const float t = c.tForY(t0, t1, y);
        ASSERT_TRUE(t >= t0 && t <= t1);
        // The last place of t, times the speed, and of the y.
        const Real slack =
            lastPlaceOf(1) * std::fabs(beziermodel::speedAt(c, t).y) + 8 * lastPlaceOf(100) + 1e-6L;
        EXPECT_LT(std::fabs(pointAt(c, t).y - y), slack) << c << ' ' << y;
    }
    EXPECT_GT(found, scaledRounds(100000) / 4);
}

TEST(ZkBezier, ParameterAtAYComesToTheSmallestNumbers)
{
    // y = t: the parameter of a tiny y is that y.
    const ZkBezier c = {0, 0, 0, 1.0F / 3, 0, 2.0F / 3, 0, 1};
    for (const float y : {1e-3F, 1e-9F, 1e-15F}) {
        EXPECT_NEAR(c.tForY(0, 1, y) / y, 1, 1e-4) << y;
    }
    EXPECT_LE(c.tForY(0, 1, FLT_TRUE_MIN), 1e-18F); // 64 halvings, then enough is enough
}

TEST(ZkBezierDeathTest, ParameterAtAYNeedsARiseThroughTheY)
{
    const struct {
        const char *what;
        float t0, t1, y;
        const char *expression;
    } kRows[] = {
        {"it falls", 0.5F, 1, 15, "py0 <= py1"},
        {"y below", 0, 0.5F, -1, "py0 < y && y < py1"},
        {"y above", 0, 0.5F, 31, "py0 < y && y < py1"},
        {"y at the start", 0, 0.5F, 0, "py0 < y && y < py1"},
        {"y at the end", 0, 0.5F, 30, "py0 < y && y < py1"},
        {"both ends level", 0, 1, 10, "py0 < y && y < py1"},
        {"no number", 0, 0.5F, kNan, "py0 < y && y < py1"},
        {"no parameter", kNan, 1, 10, "py0 <= py1"},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const std::string report = std::string("Assertion `") + row.expression + "' failed";
        EXPECT_DEATH(
            kArch.tForY(row.t0, row.t1, row.y),
            AllOf(HasSubstr("./src/zkbezier:"), HasSubstr("ZkBezier::tForY"), HasSubstr(report)));
    }
}

TEST(ZkBezier, StationaryPointsAreWhereTheCurveRunsLevel)
{
    const struct {
        const char *what;
        float y1, y2, y3, y4;
        std::vector<float> t;
    } kRows[] = {
        {"rising", 0, 1, 2, 3, {}},
        {"rising unevenly", 0, 8, 24, 64, {}},
        {"falling", 5, 3, 2, 1, {}},
        {"level all along", 7, 7, 7, 7, {}},
        {"an arch: a t^2 is gone", 0, 40, 40, 0, {0.5F}},
        {"a lopsided one", 0, 30, 20, -30, {0.375F}},
        {"a wave", 0, 1, -1, 0, {0.21132487F, 0.78867513F}},
        {"a wave the other way", 0, -1, 1, 0, {0.21132487F, 0.78867513F}},
        {"a level place without a turn", 0, 100, 0, 100, {0.5F}},
        {"level at the start only", 0, 0, 0, 1, {}},
        {"level at the end only", 0, 1, 1, 1, {}},
        {"level at both ends", 0, 0, 1, 1, {}},
        {"level at the start and once more", 0, 0, 2, 1, {0.8F}},
        {"one inside, one before the start", 0, 1, 1, -1, {0.41421357F}},
        {"both behind the end", 0, 8, 13, 15.5F, {}},
        {"huge", 0, 1e30F, -1e30F, 0, {0.21132487F, 0.78867513F}},
        {"a third-power term lost beside the others", 0, 1e6F, 1e6F, 0.001F, {0.5F}},
        {"too small to tell two places from one", 0, 1e-7F, -1e-7F, 0, {0.5F}},
        {"too small to tell from level", 0, 1e-13F, -1e-13F, 0, {}},
        {"no number", 0, kNan, 1, 0, {}},
        {"infinite", 0, kInf, 1, 0, {}},
        {"infinite twice", 0, kInf, -kInf, 0, {}},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkBezier c = {4, row.y1, -2, row.y2, 9, row.y3, 1, row.y4};
        float t[2] = {-7, -8};
        const int count = c.stationaryYPoints(t[0], t[1]);
        ASSERT_EQ(count, int(row.t.size()));
        for (int i = 0; i < 2; ++i) {
            EXPECT_FLOAT_EQ(t[i], i < count ? row.t[std::size_t(i)] : -7.0F - float(i));
        }
    }
}

TEST(ZkBezier, StationaryPointsAreAsManyAsTheSlopeChangesSign)
{
    Curves curves(11, 100);
    for (int round = 0; round < scaledRounds(20000); ++round) {
        const ZkBezier c = curves.next();
        float t1 = -1, t2 = -1;
        const int count = c.stationaryYPoints(t1, t2);
        int changes = 0;
        bool isClear = true; // no slope so small that the samples may miss two changes
        for (int i = 0; i < 512; ++i) {
            const Real a = beziermodel::speedAt(c, i / 512.0L).y;
            const Real b = beziermodel::speedAt(c, (i + 1) / 512.0L).y;
            changes += (a < 0) != (b < 0);
            isClear = isClear && std::fabs(a) > 0.05L;
        }
        if (isClear) {
            EXPECT_EQ(count, changes) << c;
        }
        for (int i = 0; i < count; ++i) {
            EXPECT_LT(std::fabs(beziermodel::speedAt(c, i == 0 ? t1 : t2).y), 1e-3L) << c;
        }
        EXPECT_TRUE(count < 2 || t1 < t2);
    }
}

TEST(ZkBezier, EveryOperationEndsOnAnyNumbers)
{
    for (const ZkBezier &c : wildCurves()) {
        SCOPED_TRACE(c);
        ZkBezier first, second;
        c.split(&first, &second);
        c.bounds();
        c.getSubRange(0.25F, 0.75F);
        c.getSubRange(kNan, kInf);
        EXPECT_FALSE(c.length(0.01F) < 0);
        EXPECT_FALSE(c.length(0) < 0);
        for (const float length : {-1.0F, 1.0F, 1e30F, kInf, kNan}) {
            const float t = c.tAtLength(length);
            EXPECT_TRUE(t >= 0 && t <= 1) << length << ' ' << t;
        }
        float t1 = 0.5F, t2 = 0.5F;
        const int count = c.stationaryYPoints(t1, t2);
        EXPECT_TRUE(count >= 0 && count <= 2);
        EXPECT_TRUE(t1 > 0 && t1 < 1 && t2 > 0 && t2 < 1);
        const auto isTame = [](float y) { return std::fabs(y) <= FLT_MAX / 2; };
        if (!isTame(c.y1) || !isTame(c.y2) || !isTame(c.y3) || !isTame(c.y4)) {
            continue; // the y at the ends may be no number, which breaks a contract
        }
        for (const float y : {-1e30F, 5.0F, 1e30F}) {
            if (c.y1 < y && y < c.y4) {
                const float t = c.tForY(0, 1, y);
                EXPECT_TRUE(t >= 0 && t <= 1) << y << ' ' << t;
            }
        }
    }
}
