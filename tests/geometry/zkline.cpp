#include <zkline.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <type_traits>

namespace
{

constexpr double kDegree = 3.14159265358979323846 / 180;
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

// The distance of two angles on the circle.
double angleDistance(double a, double b)
{
    return std::fabs(std::remainder(a - b, 360.0));
}

} // namespace

TEST(ZkLineF, IsFourPlainNumbersInOrder)
{
    EXPECT_EQ(sizeof(ZkLineF), 16U);
    EXPECT_TRUE(std::is_trivially_copyable<ZkLineF>::value);
    constexpr ZkLineF l(1, 2, 30, 50);
    static_assert(l.x1() == 1 && l.y1() == 2 && l.x2() == 30 && l.y2() == 50, "two points");
    static_assert(l.dx() == 29 && l.dy() == 48, "from point 1 to point 2");
    EXPECT_EQ(l.p1(), ZkPointF(1, 2));
    EXPECT_EQ(l.p2(), ZkPointF(30, 50));
    EXPECT_EQ(ZkLineF(ZkPointF(1, 2), ZkPointF(30, 50)), l);
    EXPECT_EQ(ZkLineF(), ZkLineF(0, 0, 0, 0));
    EXPECT_TRUE(l != ZkLineF(1, 2, 30, 51));
    EXPECT_TRUE(l != ZkLineF(1, 2, 31, 50));
    EXPECT_TRUE(l != ZkLineF(1, 3, 30, 50));
    EXPECT_TRUE(l != ZkLineF(0, 2, 30, 50));
}

TEST(ZkLineF, IsNullWhenThePointsAgreeToRounding)
{
    const struct {
        const char *what;
        ZkLineF line;
        bool isNull;
    } kRows[] = {
        {"one point", {3, 4, 3, 4}, true},
        {"the origin", {0, 0, 0, 0}, true},
        {"within a hundred-thousandth", {100000, 1, 100000.5F, 1}, true},
        {"beyond it", {100000, 1, 100002, 1}, false},
        {"the smaller magnitude counts", {1, 1, 1.00002F, 1}, false},
        {"in y alone", {1, 1, 1, 1.00002F}, false},
        {"nothing is near 0 but 0", {0, 1, 1e-30F, 1}, false},
        {"signs differ", {1e-30F, 1, -1e-30F, 1}, false},
        {"not a number", {kNan, 1, kNan, 1}, false},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.line.isNull(), row.isNull);
    }
}

TEST(ZkLineF, LengthIsTheDistance)
{
    EXPECT_EQ(ZkLineF(1, 1, 4, 5).length(), 5);
    EXPECT_EQ(ZkLineF(4, 5, 1, 1).length(), 5);
    EXPECT_EQ(ZkLineF(2, 2, 2, 2).length(), 0);
    EXPECT_EQ(ZkLineF(0, 0, 1, 1).length(), std::sqrt(2.0F));
    // Squares are taken in single precision: this one does not fit.
    EXPECT_TRUE(std::isinf(ZkLineF(0, 0, 1e20F, 0).length()));
}

TEST(ZkLineF, AngleIsCounterClockwiseOnAScreen)
{
    const struct {
        const char *what;
        ZkLineF line;
        float angle;
    } kRows[] = {
        {"right", {0, 0, 1, 0}, 0},     {"up", {0, 0, 0, -1}, 90},
        {"left", {0, 0, -1, 0}, 180},   {"down", {0, 0, 0, 1}, 270},
        {"up right", {5, 5, 6, 4}, 45}, {"down right", {5, 5, 6, 6}, 315},
        {"no length", {5, 5, 5, 5}, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_FLOAT_EQ(row.line.angle(), row.angle);
    }
}

// 0.0036 degrees are 6.28e-5 radians: a slope just below folds, one above stays.
TEST(ZkLineF, AngleFoldsToZeroJustBelowTheFullTurn)
{
    EXPECT_EQ(ZkLineF(0, 0, 1, 5.9e-5F).angle(), 0);
    EXPECT_EQ(ZkLineF(0, 0, 1, 1e-12F).angle(), 0);
    EXPECT_NEAR(ZkLineF(0, 0, 1, 6.8e-5F).angle(), 359.9961, 0.0001);
    EXPECT_GT(ZkLineF(0, 0, 1, -5.9e-5F).angle(), 0);
}

TEST(ZkLineF, AngleAgreesWithDoublePrecision)
{
    std::mt19937 random(75);
    std::uniform_real_distribution<float> at(-1000, 1000);
    for (int round = 0; round < 20000; ++round) {
        const ZkLineF line(at(random), at(random), at(random), at(random));
        const double dx = double(line.x2()) - double(line.x1());
        const double dy = double(line.y2()) - double(line.y1());
        const float angle = line.angle();
        ASSERT_GE(angle, 0);
        ASSERT_LT(angle, 360);
        ASSERT_LT(angleDistance(angle, std::atan2(-dy, dx) / kDegree), 0.004);
        ASSERT_NEAR(line.length(), std::hypot(dx, dy), 0.001);
    }
}

TEST(ZkLineF, SetAngleKeepsPointOneAndTheLength)
{
    ZkLineF line(10, 20, 13, 24);
    line.setAngle(90);
    EXPECT_EQ(line.p1(), ZkPointF(10, 20));
    EXPECT_NEAR(line.x2(), 10, 1e-5);
    EXPECT_NEAR(line.y2(), 15, 1e-5);
    for (float degrees = -720; degrees <= 720; degrees += 7.5F) {
        SCOPED_TRACE(degrees);
        line.setAngle(degrees);
        EXPECT_EQ(line.p1(), ZkPointF(10, 20));
        EXPECT_NEAR(line.length(), 5, 1e-4);
        EXPECT_LT(angleDistance(line.angle(), degrees), 0.004);
    }
}

TEST(ZkLineF, FromPolarStartsAtTheOrigin)
{
    const struct {
        const char *what;
        float length, degrees;
        double x, y;
    } kRows[] = {
        {"right", 2, 0, 2, 0},
        {"up", 2, 90, 0, -2},
        {"left", 2, 180, -2, 0},
        {"down", 2, 270, 0, 2},
        {"a negative turn", 2, -90, 0, 2},
        {"nothing", 0, 33, 0, 0},
        {"backward", -2, 0, -2, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        const ZkLineF line = ZkLineF::fromPolar(row.length, row.degrees);
        EXPECT_EQ(line.p1(), ZkPointF(0, 0));
        EXPECT_NEAR(line.x2(), row.x, 1e-6);
        EXPECT_NEAR(line.y2(), row.y, 1e-6);
    }
}

TEST(ZkLineF, UnitVectorKeepsPointOneAndTheDirection)
{
    const ZkLineF unit = ZkLineF(1, 2, 4, 6).unitVector();
    EXPECT_EQ(unit.p1(), ZkPointF(1, 2));
    EXPECT_FLOAT_EQ(unit.x2(), 1.6F);
    EXPECT_FLOAT_EQ(unit.y2(), 2.8F);
    EXPECT_TRUE(std::isnan(ZkLineF(1, 2, 1, 2).unitVector().x2()));
}

TEST(ZkLineF, AngleToTurnsCounterClockwise)
{
    const struct {
        const char *what;
        ZkLineF from, to;
        float turn;
    } kRows[] = {
        {"right to down", {0, 0, 1, 0}, {0, 0, 0, 1}, 270},
        {"down to right", {0, 0, 0, 1}, {0, 0, 1, 0}, 90},
        {"right to up", {0, 0, 1, 0}, {7, 7, 7, 5}, 90},
        {"same direction", {0, 0, 1, 1}, {5, 5, 8, 8}, 0},
        {"against", {0, 0, 1, 0}, {0, 0, -1, 0}, 180},
        {"from null", {3, 3, 3, 3}, {0, 0, 0, 1}, 0},
        {"to null", {0, 0, 0, 1}, {3, 3, 3, 3}, 0},
        {"just short of the full turn", {0, 0, 1, -1e-4F}, {0, 0, 1, 6.5e-5F}, 359.9905F},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_NEAR(row.from.angleTo(row.to), row.turn, 0.001);
    }
    // A direction this near to 0 is 0 already, so there is no turn.
    EXPECT_EQ(ZkLineF(0, 0, 1, 0).angleTo(ZkLineF(0, 0, 1, 1e-6F)), 0);
}

TEST(ZkLineF, AngleBetweenHasNoDirection)
{
    const struct {
        const char *what;
        ZkLineF a, b;
        float angle;
    } kRows[] = {
        {"right and down", {0, 0, 1, 0}, {0, 0, 0, 1}, 90},
        {"right and up", {0, 0, 1, 0}, {0, 0, 0, -1}, 90},
        {"same direction", {0, 0, 1, 0}, {5, 5, 9, 5}, 0},
        {"against", {0, 0, 1, 0}, {5, 5, 3, 5}, 180},
        {"half a quarter", {0, 0, 1, 0}, {1, 1, 2, 2}, 45},
        {"both aslant", {0, 0, 4, 3}, {0, 0, 3, 4}, 16.2602F},
        {"aslant, one up", {0, 0, 4, 3}, {0, 0, 4, -3}, 73.7398F},
        {"null first", {3, 3, 3, 3}, {0, 0, 0, 1}, 0},
        {"null second", {0, 0, 0, 1}, {3, 3, 3, 3}, 0},
        {"not a number", {0, 0, 1, 0}, {0, 0, kNan, 1}, 0},
        {"lengths beyond float", {0, 0, 1e30F, 0}, {0, 0, 0, 1e30F}, 90},
        {"products beyond float", {0, 0, 1e30F, 0}, {0, 0, 1e30F, 0}, 0},
    };
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.what);
        EXPECT_NEAR(row.a.angle(row.b), row.angle, 0.03);
        EXPECT_NEAR(row.b.angle(row.a), row.angle, 0.03);
    }
}

// Where rounding pushes the cosine past 1 the answer is 0, never a NaN.
TEST(ZkLineF, AngleBetweenParallelLinesIsNeverNotANumber)
{
    std::mt19937 random(76);
    std::uniform_real_distribution<float> at(-10, 10);
    for (int round = 0; round < 20000; ++round) {
        const float x = at(random), y = at(random), factor = at(random);
        const float angle = ZkLineF(0, 0, x, y).angle(ZkLineF(0, 0, x * factor, y * factor));
        ASSERT_TRUE(angle >= 0 && angle <= 180.001F) << x << ' ' << y << ' ' << factor;
    }
}
