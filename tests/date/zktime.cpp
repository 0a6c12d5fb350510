#include "freshprocess.h"

#include <zkdatetime.h>

#include <climits>
#include <cstdlib>
#include <ctime>
#include <random>

TEST(ZkTime, IsNullUntilItIsGivenATime)
{
    const ZkTime time;
    EXPECT_FALSE(time.isValid());
    EXPECT_EQ(time.hour(), 0);
    EXPECT_EQ(time.minute(), 0);
    EXPECT_EQ(time.second(), 0);
    EXPECT_EQ(time.msec(), 0);
    EXPECT_EQ(time.msecsOfDay(), 0);
    EXPECT_NE(time, ZkTime(0, 0)) << "the null time is not midnight";
    EXPECT_LT(time, ZkTime(0, 0));
}

TEST(ZkTime, ComponentsOutOfRangeGiveTheNullTime)
{
    const struct {
        int h, m, s, ms;
        bool valid;
    } kRows[] = {{0, 0, 0, 0, true},        {23, 59, 59, 999, true},   {24, 0, 0, 0, false},
                 {-1, 0, 0, 0, false},      {0, 60, 0, 0, false},      {0, -1, 0, 0, false},
                 {0, 0, 60, 0, false},      {0, 0, -1, 0, false},      {0, 0, 0, 1000, false},
                 {0, 0, 0, -1, false},      {INT_MAX, 0, 0, 0, false}, {INT_MIN, 0, 0, 0, false},
                 {0, INT_MAX, 0, 0, false}, {0, 0, INT_MIN, 0, false}, {0, 0, 0, INT_MAX, false}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(testing::Message() << row.h << ':' << row.m << ':' << row.s << '.' << row.ms);
        EXPECT_EQ(ZkTime::isValid(row.h, row.m, row.s, row.ms), row.valid);
        EXPECT_EQ(ZkTime(row.h, row.m, row.s, row.ms).isValid(), row.valid);
        ZkTime time(12, 34, 56, 789);
        EXPECT_EQ(time.setHMS(row.h, row.m, row.s, row.ms), row.valid);
        EXPECT_EQ(time, row.valid ? ZkTime(row.h, row.m, row.s, row.ms) : ZkTime());
    }
}

TEST(ZkTime, EverySecondHasItsComponents)
{
    int msecs = 0;
    for (int h = 0; h < 24; ++h) {
        for (int m = 0; m < 60; ++m) {
            for (int s = 0; s < 60; ++s, msecs += 1000) {
                const int ms = (h * 31 + m * 17 + s * 7) % 1000;
                const ZkTime time(h, m, s, ms);
                ASSERT_EQ(time.msecsOfDay(), msecs + ms);
                ASSERT_EQ(time, ZkTime::fromMSecsOfDay(msecs + ms));
                ASSERT_TRUE(time.hour() == h && time.minute() == m && time.second() == s &&
                            time.msec() == ms)
                    << h << ':' << m << ':' << s << '.' << ms;
            }
        }
    }
    EXPECT_FALSE(ZkTime::fromMSecsOfDay(-1).isValid());
    EXPECT_FALSE(ZkTime::fromMSecsOfDay(86400000).isValid());
    EXPECT_FALSE(ZkTime::fromMSecsOfDay(INT_MIN).isValid());
}

TEST(ZkTime, AddingGoesRoundTheClock)
{
    EXPECT_EQ(ZkTime(23, 59, 59, 999).addMSecs(1), ZkTime(0, 0));
    EXPECT_EQ(ZkTime(0, 0).addMSecs(-1), ZkTime(23, 59, 59, 999));
    EXPECT_EQ(ZkTime().addMSecs(5000), ZkTime(0, 0, 5));
    EXPECT_EQ(ZkTime().addMSecs(0), ZkTime(0, 0)) << "the null time counts as midnight";
    EXPECT_EQ(ZkTime(12, 0).addMSecs(-86400000), ZkTime(12, 0));
    EXPECT_EQ(ZkTime(12, 0).addMSecs(86400000), ZkTime(12, 0));
    EXPECT_EQ(ZkTime(0, 0).addMSecs(-86400001), ZkTime(23, 59, 59, 999));
    EXPECT_EQ(ZkTime(1, 2, 3).addSecs(-3723), ZkTime(0, 0));
    EXPECT_EQ(ZkTime(1, 2, 3).addSecs(86400), ZkTime(1, 2, 3));
}

TEST(ZkTime, AddingAnyNumberIsAdditionModuloTheDay)
{
    std::mt19937 random(61);
    const int kEnds[] = {INT_MIN, INT_MIN + 1, -86400000, -1, 0, 1, 86399999, 86400000, INT_MAX};
    const auto check = [](int start, int n) {
        const long long sum =
            ((static_cast<long long>(start) + n) % 86400000 + 86400000) % 86400000;
        const ZkTime time = ZkTime::fromMSecsOfDay(start).addMSecs(n);
        ASSERT_TRUE(time.isValid());
        ASSERT_EQ(time.msecsOfDay(), sum) << start << " + " << n;
    };
    for (int n : kEnds) {
        check(0, n);
        check(86399999, n);
    }
    for (int i = 0; i < 20000; ++i) {
        check(int(random() % 86400000), static_cast<int>(std::uint32_t(random())));
    }
}

TEST(ZkTime, SecondsAreMultipliedIn32Bits)
{
    EXPECT_EQ(ZkTime(0, 0).addSecs(3000000), ZkTime(0, 17, 12, 704));
    EXPECT_EQ(ZkTime(0, 0).addSecs(2147483), ZkTime(20, 31, 23));
    EXPECT_EQ(ZkTime(0, 0).addSecs(INT_MAX), ZkTime(0, 0).addMSecs(-1000));
    EXPECT_EQ(ZkTime(0, 0).addSecs(INT_MIN), ZkTime(0, 0));
}

TEST(ZkTime, DifferencesCountTheNullTimeAsMidnight)
{
    EXPECT_EQ(ZkTime(1, 0).secsTo(ZkTime(0, 0, 0, 500)), -3599) << "rounded toward zero";
    EXPECT_EQ(ZkTime(1, 0).msecsTo(ZkTime(0, 0, 0, 500)), -3599500);
    EXPECT_EQ(ZkTime(0, 0, 0, 500).secsTo(ZkTime(1, 0)), 3599);
    EXPECT_EQ(ZkTime().msecsTo(ZkTime(23, 59, 59, 999)), 86399999);
    EXPECT_EQ(ZkTime(23, 59, 59, 999).msecsTo(ZkTime()), -86399999);
    EXPECT_EQ(ZkTime().secsTo(ZkTime()), 0);
}

TEST(ZkTime, ComparesByTheMillisecond)
{
    const ZkTime ascending[] = {ZkTime(), ZkTime(0, 0), ZkTime(0, 0, 0, 1), ZkTime(12, 0),
                                ZkTime(23, 59, 59, 999)};
    for (const ZkTime &a : ascending) {
        for (const ZkTime &b : ascending) {
            EXPECT_EQ(a < b, &a < &b);
            EXPECT_EQ(a <= b, &a <= &b);
            EXPECT_EQ(a > b, &a > &b);
            EXPECT_EQ(a >= b, &a >= &b);
            EXPECT_EQ(a == b, &a == &b);
            EXPECT_EQ(a != b, &a != &b);
        }
    }
}

TEST(ZkTime, TheCurrentTimeIsTheCLibrarysLocalTime)
{
    for (const char *zone : {"UTC0", "IST-5:30", "<-03>3"}) {
        inFreshProcess([zone] {
            setenv("TZ", zone, 1);
            for (int attempt = 0; attempt < 2; ++attempt) {
                const std::time_t before = std::time(nullptr);
                const ZkTime time = ZkTime::currentTime();
                std::tm fields = {};
                tzset();
                localtime_r(&before, &fields);
                const int late = ZkTime(fields.tm_hour, fields.tm_min, std::min(fields.tm_sec, 59))
                                     .msecsTo(time);
                if (late < 0 && attempt == 0) { // midnight lay between the two
                    continue;
                }
                EXPECT_GE(late, 0) << zone;
                EXPECT_LT(late, 30000) << zone;
                break;
            }
        });
    }
}

TEST(ZkTime, TheStopwatchCountsOnOverMidnight)
{
    ZkTime watch;
    watch.start();
    EXPECT_TRUE(watch.isValid());
    EXPECT_LT(watch.elapsed(), 30000);
    // Started "in a second": yesterday, as far as the watch can tell.
    watch = ZkTime::currentTime().addMSecs(60000);
    const int elapsed = watch.elapsed();
    EXPECT_GE(elapsed, 86400000 - 60000);
    EXPECT_LT(elapsed, 86400000);
    const ZkTime before = watch;
    const int restarted = watch.restart();
    EXPECT_GE(restarted, elapsed);
    EXPECT_NE(watch, before);
    EXPECT_LT(watch.elapsed(), 30000);
}
