#include "freshprocess.h"

#include <zkdatetime.h>

#include <dlfcn.h>
#include <sys/time.h>
#include <unistd.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace
{

bool conversionsFail = false; // of the C library, as beyond the years it has

template <typename Function>
Function *nextOf(Function *, const char *name)
{
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

} // namespace

// These two stand before the C library's own.
extern "C" std::tm *localtime_r(const std::time_t *secs, std::tm *fields) noexcept
{
    return conversionsFail ? nullptr : nextOf(localtime_r, "localtime_r")(secs, fields);
}

extern "C" std::tm *gmtime_r(const std::time_t *secs, std::tm *fields) noexcept
{
    return conversionsFail ? nullptr : nextOf(gmtime_r, "gmtime_r")(secs, fields);
}

namespace
{

typedef long long ll;

constexpr ll kDay = 86400000; // milliseconds
constexpr ll kHour = 3600000;

ZkDate greg(int y, int m, int d)
{
    return ZkDate(y, m, d, Zk::DateGregorian);
}

ZkDateTime utc(int y, int m, int d, int h = 0, int min = 0, int s = 0, int ms = 0)
{
    return ZkDateTime(greg(y, m, d), ZkTime(h, min, s, ms), Zk::TimeUtc);
}

ZkDateTime local(int y, int m, int d, int h = 0, int min = 0, int s = 0, int ms = 0)
{
    return ZkDateTime(greg(y, m, d), ZkTime(h, min, s, ms));
}

/// The numbers as they are stored, read as UTC.
ll storedMSecs(const ZkDateTime &moment)
{
    return (ll(moment.date().julianDay()) - 2440588) * kDay + moment.time().msecsOfDay();
}

std::string shown(const ZkDateTime &moment)
{
    static const char *const kSpecs[] = {" local", " UTC", " offset"};
    if (!moment.isValid()) {
        return "invalid";
    }
    return moment.toString("yyyy-MM-dd HH:mm:ss.zzz").toStdString() + kSpecs[moment.timeSpec()];
}

/// Zones by rule string, which need no zone files, and by name where those exist.
std::vector<std::string> zones()
{
    std::vector<std::string> result = {
        "UTC0",
        "CET-1CEST,M3.5.0,M10.5.0/3",
        "EST5EDT,M3.2.0,M11.1.0",
        "IST-5:30",
        "AEST-10AEDT,M10.1.0,M4.1.0/3",
        "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0", // half an hour of daylight saving
        "<-03>3",
        "<+14>-14",
        "<-12>12"};
    for (const char *name : {"Europe/Berlin", "Asia/Tehran", "America/St_Johns", "Pacific/Apia",
                             "Africa/Monrovia", "Asia/Kathmandu"}) {
        if (access((std::string("/usr/share/zoneinfo/") + name).c_str(), R_OK) == 0) {
            result.push_back(name);
        }
    }
    return result;
}

void inZone(const std::string &zone, const std::function<void()> &body)
{
    inFreshProcess([&] {
        setenv("TZ", zone.c_str(), 1);
        tzset();
        SCOPED_TRACE(zone);
        body();
    });
}

void inEveryZone(const std::function<void()> &body)
{
    for (const std::string &zone : zones()) {
        inZone(zone, body);
    }
}

/// The day whose zone rules stand for day `jd`, as days since the epoch.
ll ruleDay(ll jd)
{
    const ll kSecond = 2440589; // 2 January 1970
    const ll kLast = 2465423;   // 30 December 2037
    if (jd > kSecond && jd < kLast) {
        return jd - 2440588;
    }
    int m = 0, d = 0;
    ZkDate::fromJulianDay(static_cast<unsigned int>(jd))
        .getDate(nullptr, &m, &d, Zk::DateGregorian);
    if (m == 2 && d == 29) {
        d = 28;
    }
    return ll(ZkDate::gregorianToJulian(jd < kSecond ? 1970 : 2037, m, d)) - 2440588;
}

/// What the C library says about a moment of UTC, in the year whose rules count.
std::tm rulesAt(ll utcMSecs)
{
    const ll day = utcMSecs >= 0 ? utcMSecs / kDay : -((kDay - 1 - utcMSecs) / kDay);
    const std::time_t secs =
        std::time_t(ruleDay(day + 2440588) * 86400 + (utcMSecs - day * kDay) / 1000);
    std::tm fields = {};
    localtime_r(&secs, &fields);
    return fields;
}

/// Moments around which zones change, spread over and beyond what time_t holds.
std::vector<ll> interestingMoments()
{
    std::vector<ll> moments = {0,
                               -1,
                               1,
                               999,
                               kDay - 1,
                               kDay,
                               2 * kDay,
                               2 * kDay - 1,
                               2145830400ll * 1000, // 31 December 2037
                               2147483647ll * 1000, // the end of a 32-bit time_t
                               2147483648ll * 1000,
                               -12219292800ll * 1000, // 15 October 1582
                               -12219292801ll * 1000,
                               4107542400000ll,         // 29 February 2100 is none
                               1709208000000ll + kHour, // 29 February 2024
                               2214000000000ll,         // 28 February 2040
                               2214086400000ll};        // 29 February 2040
    for (int year : {1970, 1971, 1985, 2005, 2024, 2036, 2037, 2060, 1915, 1200}) {
        for (int month : {1, 3, 4, 9, 10, 11, 12}) {
            for (int day : {1, 14, 26, 31}) {
                const unsigned int jd = ZkDate::gregorianToJulian(year, month, day);
                for (int hour = 0; hour < 24; hour += 3) {
                    moments.push_back((ll(jd) - 2440588) * kDay + hour * kHour + 1234567);
                }
            }
        }
    }
    std::mt19937_64 random(62);
    for (int i = 0; i < 3000; ++i) {
        moments.push_back(ll(random() % 4300000000000ull) - 1000000000000ll);
        moments.push_back(ll(random() % 20000000000000ull) - 10000000000000ll);
    }
    return moments;
}

} // namespace

TEST(ZkDateTime, StartsNullAndLocal)
{
    const ZkDateTime moment;
    EXPECT_TRUE(moment.isNull());
    EXPECT_FALSE(moment.isValid());
    EXPECT_EQ(moment.date(), ZkDate());
    EXPECT_EQ(moment.time(), ZkTime());
    EXPECT_EQ(moment.timeSpec(), Zk::TimeLocal);
    EXPECT_EQ(moment.utcOffset(), 0);
}

TEST(ZkDateTime, ADateWithoutATimeIsMidnight)
{
    const ZkDateTime moment(greg(2024, 1, 1), ZkTime(), Zk::TimeLocal);
    EXPECT_EQ(moment.time(), ZkTime(0, 0));
    EXPECT_TRUE(ZkDateTime(ZkDate(), ZkTime(), Zk::TimeLocal).isNull());
    EXPECT_EQ(ZkDateTime(ZkDate(), ZkTime(1, 2)).time(), ZkTime(1, 2));
}

TEST(ZkDateTime, ANullDateAloneMakesAMidnightThatIsNotNull)
{
    const ZkDateTime moment{ZkDate()};
    EXPECT_FALSE(moment.isNull());
    EXPECT_FALSE(moment.isValid());
    EXPECT_EQ(moment.time(), ZkTime(0, 0));
}

TEST(ZkDateTime, AnOffsetGivenToTheConstructorIsLocalTime)
{
    EXPECT_EQ(ZkDateTime(greg(2024, 1, 1), ZkTime(1, 0), Zk::TimeOffset).timeSpec(), Zk::TimeLocal);
    EXPECT_EQ(ZkDateTime(greg(2024, 1, 1), ZkTime(1, 0), Zk::TimeUtc).timeSpec(), Zk::TimeUtc);
}

TEST(ZkDateTime, CopiesAreIndependent)
{
    ZkDateTime a = utc(2024, 3, 1, 12);
    ZkDateTime b = a;
    b.setTime(ZkTime(13, 0));
    EXPECT_EQ(a.time(), ZkTime(12, 0));
    a = b;
    b.setDate(greg(2025, 1, 1));
    EXPECT_EQ(a.date(), greg(2024, 3, 1));
    EXPECT_EQ(a.time(), ZkTime(13, 0));
    ZkDateTime &same = a;
    a = same;
    EXPECT_EQ(a, utc(2024, 3, 1, 13));
}

TEST(ZkDateTime, SettersKeepTheOtherNumbers)
{
    ZkDateTime moment;
    moment.setDate(greg(2024, 3, 1));
    EXPECT_EQ(moment.time(), ZkTime(0, 0)) << "a date brings midnight";
    moment.setTime(ZkTime(5, 6));
    moment.setDate(ZkDate());
    EXPECT_EQ(moment.time(), ZkTime(5, 6));
    moment.setTime(ZkTime());
    EXPECT_TRUE(moment.isNull());
    moment.setDate(ZkDate());
    EXPECT_EQ(moment.time(), ZkTime()) << "a null date brings nothing";

    moment = utc(2024, 3, 1, 12);
    moment.setTimeSpec(Zk::TimeOffset);
    EXPECT_EQ(moment.timeSpec(), Zk::TimeOffset);
    EXPECT_EQ(moment.time(), ZkTime(12, 0));
    moment.setTimeSpec(Zk::TimeLocal);
    EXPECT_EQ(moment.timeSpec(), Zk::TimeLocal);
    moment.setTimeSpec(static_cast<Zk::TimeSpec>(3));
    EXPECT_EQ(moment.timeSpec(), Zk::TimeLocal);
    moment.setTimeSpec(Zk::TimeUtc);
    moment.setDate(greg(2024, 3, 2));
    EXPECT_EQ(moment.timeSpec(), Zk::TimeUtc);
}

TEST(ZkDateTime, AnOffsetOf0IsUtc)
{
    ZkDateTime moment = local(2024, 3, 1, 12);
    moment.setUtcOffset(0);
    EXPECT_EQ(moment.timeSpec(), Zk::TimeUtc);
    EXPECT_EQ(moment, utc(2024, 3, 1, 12));
    moment.setUtcOffset(3600);
    EXPECT_EQ(moment.timeSpec(), Zk::TimeOffset);
    EXPECT_EQ(moment.utcOffset(), 3600);
    EXPECT_EQ(moment.time(), ZkTime(12, 0));
    EXPECT_EQ(moment.toMSecsSinceEpoch(), utc(2024, 3, 1, 11).toMSecsSinceEpoch());
    moment.setTime(ZkTime());
    EXPECT_EQ(moment.utcOffset(), 0) << "not valid any more";
    moment.setTime(ZkTime(1, 0));
    EXPECT_EQ(moment.utcOffset(), 3600);
    moment.setTimeSpec(Zk::TimeLocal);
    EXPECT_EQ(moment.utcOffset(), 0);
    moment.setTimeSpec(Zk::TimeOffset);
    EXPECT_EQ(moment.utcOffset(), 3600) << "it was kept";
}

TEST(ZkDateTime, OffsetsOfAnySizeAreTakenFromTheTime)
{
    for (int offset : {1, -1, 3600, -3600, 50400, -86400, 86401, INT_MAX, INT_MIN}) {
        ZkDateTime moment = utc(2024, 3, 1, 12);
        const ll before = moment.toMSecsSinceEpoch();
        moment.setUtcOffset(offset);
        EXPECT_EQ(moment.toMSecsSinceEpoch(), before - 1000ll * offset) << offset;
        EXPECT_EQ(moment.toTimeSpec(Zk::TimeUtc).timeSpec(), Zk::TimeUtc);
        EXPECT_EQ(storedMSecs(moment.toTimeSpec(Zk::TimeUtc)), before - 1000ll * offset) << offset;
    }
    ZkDateTime early(ZkDate::fromJulianDay(1), ZkTime(0, 0), Zk::TimeUtc);
    early.setUtcOffset(2 * 86400 + 60);
    EXPECT_FALSE(early.toTimeSpec(Zk::TimeUtc).date().isValid()) << "before day 0";
    EXPECT_EQ(early.toTimeSpec(Zk::TimeUtc).time(), ZkTime(23, 59));
}

TEST(ZkDateTime, CountsFromTheEpoch)
{
    const struct {
        ll msecs;
        ZkDate date;
        ZkTime time;
    } kRows[] = {{0, greg(1970, 1, 1), ZkTime(0, 0)},
                 {-1, greg(1969, 12, 31), ZkTime(23, 59, 59, 999)},
                 {-86400000, greg(1969, 12, 31), ZkTime(0, 0)},
                 {-86400001, greg(1969, 12, 30), ZkTime(23, 59, 59, 999)},
                 {1709251199999, greg(2024, 2, 29), ZkTime(23, 59, 59, 999)},
                 {4102444800000, greg(2100, 1, 1), ZkTime(0, 0)},
                 {-12219292800000, greg(1582, 10, 15), ZkTime(0, 0)},
                 {-12219292800001, greg(1582, 10, 4), ZkTime(23, 59, 59, 999)},
                 {-210866716800000, greg(-4713, 1, 2), ZkTime(0, 0)}};
    for (const auto &row : kRows) {
        SCOPED_TRACE(row.msecs);
        ZkDateTime moment(ZkDate(), ZkTime(), Zk::TimeUtc);
        moment.setMSecsSinceEpoch(row.msecs);
        EXPECT_EQ(moment.date(), row.date);
        EXPECT_EQ(moment.time(), row.time);
        EXPECT_EQ(moment.timeSpec(), Zk::TimeUtc);
        EXPECT_EQ(moment.toMSecsSinceEpoch(), row.msecs);
        EXPECT_EQ(ZkDateTime::fromMSecsSinceEpoch(row.msecs).timeSpec(), Zk::TimeLocal);
    }
    EXPECT_EQ(ZkDateTime().toMSecsSinceEpoch(), -2440588 * kDay) << "the null time is midnight";
}

TEST(ZkDateTime, DaysOutOfReachGiveTheNullDateBesideTheTime)
{
    for (const char *zone : {"UTC0", "<+14>-14", "<-12>12"}) {
        inZone(zone, [] {
            for (ll msecs : {LLONG_MIN, LLONG_MAX, -2440589 * kDay, ll(INT_MAX) * kDay + kDay}) {
                SCOPED_TRACE(msecs);
                const ZkTime time =
                    ZkTime::fromMSecsOfDay(int(msecs % kDay + (msecs % kDay < 0 ? kDay : 0)));
                for (Zk::TimeSpec spec : {Zk::TimeLocal, Zk::TimeUtc}) {
                    ZkDateTime moment;
                    moment.setTimeSpec(spec);
                    moment.setMSecsSinceEpoch(msecs);
                    EXPECT_EQ(moment.date(), ZkDate());
                    EXPECT_EQ(moment.time(), time);
                    EXPECT_EQ(moment.timeSpec(), spec);
                }
            }
            for (ll step : {LLONG_MIN, LLONG_MAX}) {
                const ZkDateTime moment = utc(2024, 1, 1, 12).addMSecs(step);
                EXPECT_EQ(moment.date(), ZkDate());
                EXPECT_EQ(moment.time(), ZkTime(12, 0).addMSecs(int(step % kDay)));
                EXPECT_FALSE(local(2024, 1, 1, 12).addMSecs(step).date().isValid());
            }
        });
    }
}

TEST(ZkDateTime, SecondsOutOf32BitsAreTheLargestNumber)
{
    EXPECT_EQ(utc(1969, 12, 31, 23, 59, 58, 999).toTime_t(), UINT_MAX);
    EXPECT_EQ(utc(1969, 12, 31, 23, 59, 59, 1).toTime_t(), 0u) << "-0.999 s is rounded to 0";
    EXPECT_EQ(utc(1970, 1, 1, 0, 0, 1, 999).toTime_t(), 1u);
    EXPECT_EQ(utc(2106, 2, 7, 6, 28, 14).toTime_t(), UINT_MAX - 1);
    EXPECT_EQ(utc(2106, 2, 7, 6, 28, 15).toTime_t(), UINT_MAX);
    EXPECT_EQ(utc(2200, 1, 1).toTime_t(), UINT_MAX);
    EXPECT_EQ(ZkDateTime().toTime_t(), UINT_MAX);
    for (unsigned int secs :
         {0u, 1u, 86399u, 86400u, 1709251199u, 0x7fffffffu, 0x80000000u, UINT_MAX - 1, UINT_MAX}) {
        ZkDateTime moment = utc(1970, 1, 1);
        moment.setTime_t(secs);
        EXPECT_EQ(moment.toMSecsSinceEpoch(), 1000ll * secs);
        EXPECT_EQ(moment.timeSpec(), Zk::TimeUtc);
        EXPECT_EQ(moment.toTime_t(), secs);
    }
}

TEST(ZkDateTime, LocalTimeIsUtcMovedByTheZonesOffset)
{
    inEveryZone([] {
        for (ll msecs : interestingMoments()) {
            const std::tm rules = rulesAt(msecs);
            const ZkDateTime moment = ZkDateTime::fromMSecsSinceEpoch(msecs);
            ASSERT_EQ(storedMSecs(moment), msecs + 1000ll * rules.tm_gmtoff) << msecs;
            ASSERT_EQ(moment.timeSpec(), Zk::TimeLocal);
            ZkDateTime fromUtc;
            fromUtc.setTimeSpec(Zk::TimeUtc);
            fromUtc.setMSecsSinceEpoch(msecs);
            ASSERT_EQ(storedMSecs(fromUtc), msecs);
            ASSERT_EQ(storedMSecs(fromUtc.toTimeSpec(Zk::TimeLocal)), storedMSecs(moment));
            if (msecs >= 0 && msecs / 1000 <= UINT_MAX) {
                ASSERT_EQ(ZkDateTime::fromTime_t(static_cast<unsigned int>(msecs / 1000)),
                          ZkDateTime::fromMSecsSinceEpoch(msecs - msecs % 1000));
            }
        }
    });
}

TEST(ZkDateTime, WithinTheRangeOfTime_tAConvertedMomentComesBack)
{
    // Both passes of the hour that the clock repeats included: the conversion
    // remembers which of them it was.
    inEveryZone([] {
        for (ll msecs : interestingMoments()) {
            if (msecs < 3 * kDay || msecs > 2145657600ll * 1000 - 2 * kDay) {
                continue;
            }
            const ZkDateTime moment = ZkDateTime::fromMSecsSinceEpoch(msecs);
            ASSERT_EQ(moment.toMSecsSinceEpoch(), msecs) << shown(moment);
            ASSERT_EQ(moment.toTimeSpec(Zk::TimeUtc).toMSecsSinceEpoch(), msecs);
        }
    });
}

TEST(ZkDateTime, LocalNumbersBecomeUtcAsMktimeSays)
{
    inEveryZone([] {
        std::vector<ll> moments = interestingMoments();
        // Half an hour into every gap and overlap of these rules.
        for (int day : {10, 31}) {
            for (int hour = 0; hour < 5; ++hour) {
                moments.push_back(storedMSecs(utc(2024, 3, day, hour, 30)));
            }
        }
        for (ll msecs : moments) {
            ZkDateTime stored(ZkDate(), ZkTime(), Zk::TimeUtc);
            stored.setMSecsSinceEpoch(msecs);
            const ZkDateTime moment(stored.date(), stored.time());
            const ll day = ll(stored.date().julianDay()) - 2440588;
            const ll fake = ruleDay(stored.date().julianDay());
            std::tm fields = {};
            fields.tm_year = 70;
            fields.tm_mday = int(1 + fake);
            fields.tm_hour = moment.time().hour();
            fields.tm_min = moment.time().minute();
            fields.tm_sec = moment.time().second();
            fields.tm_isdst = -1;
            std::tm dayBefore = fields; // the C library goes on from what it converted last
            --dayBefore.tm_mday;
            std::mktime(&dayBefore);
            const ll secs = std::mktime(&fields);
            ASSERT_EQ(moment.toMSecsSinceEpoch(),
                      secs * 1000 + moment.time().msec() + (day - fake) * kDay)
                << shown(moment);
        }
    });
}

TEST(ZkDateTime, TheRepeatedHourIsToldApartAndTheSkippedOneIsJumped)
{
    inZone("CET-1CEST,M3.5.0,M10.5.0/3", [] {
        const ZkDateTime first = utc(2024, 10, 27, 0, 30).toTimeSpec(Zk::TimeLocal);
        const ZkDateTime second = utc(2024, 10, 27, 1, 30).toTimeSpec(Zk::TimeLocal);
        EXPECT_EQ(shown(first), "2024-10-27 02:30:00.000 local");
        EXPECT_EQ(shown(second), shown(first));
        EXPECT_EQ(first.msecsTo(second), kHour);
        EXPECT_EQ(first.secsTo(second), 3600);
        EXPECT_NE(first, second);
        EXPECT_EQ(first.addSecs(3600), second);
        EXPECT_EQ(shown(first.addSecs(7200)), "2024-10-27 03:30:00.000 local");
        EXPECT_EQ(first.daysTo(second), 0);

        const ZkDateTime winter = utc(2024, 3, 31, 0, 30).toTimeSpec(Zk::TimeLocal);
        EXPECT_EQ(shown(winter), "2024-03-31 01:30:00.000 local");
        EXPECT_EQ(shown(winter.addSecs(3600)), "2024-03-31 03:30:00.000 local");
        EXPECT_EQ(shown(winter.addMSecs(3600001)), "2024-03-31 03:30:00.001 local");
        EXPECT_EQ(shown(winter.addDays(1)), "2024-04-01 01:30:00.000 local");
        EXPECT_EQ(winter.msecsTo(winter.addDays(1)), 23 * kHour);
    });
}

// The C library looks for the answer from the offset it ended with last: one unchanged
// date-time meant two moments, by what was converted before it.
TEST(ZkDateTime, OneLocalTimeIsOneMomentWhateverWasConvertedBefore)
{
    // Each zone by a rule string, whose change comes again every year and which needs no
    // zone files. The second names a zone that repeats an hour all in standard time.
    const struct {
        const char *what, *zone;
        ZkDateTime numbers, moment;
    } rows[] = {
        {"repeated, daylight saving ends", "CET-1CEST,M3.5.0,M10.5.0/3", local(2024, 10, 27, 2, 30),
         utc(2024, 10, 27, 0, 30)},
        {"repeated, by the name of the zone", "Europe/Moscow", local(2014, 10, 26, 1, 30),
         utc(2014, 10, 25, 21, 30)},
        {"repeated, half an hour", "Asia/Pyongyang", local(2015, 8, 14, 23, 45),
         utc(2015, 8, 14, 14, 45)},
        {"repeated west of Greenwich", "America/Caracas", local(2007, 12, 9, 2, 45),
         utc(2007, 12, 9, 6, 45)},
        {"repeated west of Greenwich, daylight saving ends", "EST5EDT,M3.2.0,M11.1.0",
         local(2024, 11, 3, 1, 30), utc(2024, 11, 3, 5, 30)},
        {"skipped", "CET-1CEST,M3.5.0,M10.5.0/3", local(2024, 3, 31, 2, 30),
         utc(2024, 3, 31, 1, 30)},
        {"skipped, by the name of the zone", "Europe/Moscow", local(2011, 3, 27, 2, 30),
         utc(2011, 3, 26, 23, 30)},
        {"a skipped day", "Pacific/Apia", local(2011, 12, 30, 12), utc(2011, 12, 30, 22)},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.what);
        if (std::strchr(row.zone, ',') == nullptr &&
            access((std::string("/usr/share/zoneinfo/") + row.zone).c_str(), R_OK) != 0) {
            continue;
        }
        inZone(row.zone, [&row] {
            for (int year : {2005, 2010, 2013, 2016, 2023}) {
                for (int month : {1, 7}) {
                    SCOPED_TRACE(testing::Message() << year << '-' << month << " before");
                    local(year, month, 1).toMSecsSinceEpoch();
                    EXPECT_EQ(row.numbers.toMSecsSinceEpoch(), row.moment.toMSecsSinceEpoch());
                }
            }
            EXPECT_EQ(row.numbers.secsTo(row.moment), 0);
            ZkDateTime set;
            set.setMSecsSinceEpoch(row.moment.toMSecsSinceEpoch());
            EXPECT_EQ(set.toMSecsSinceEpoch(), row.moment.toMSecsSinceEpoch());
        });
    }
}

// The second pass cannot be told from the first by daylight saving: it is taken for it.
TEST(ZkDateTime, AnHourRepeatedInStandardTimeComesBackAsItsFirstPass)
{
    if (access("/usr/share/zoneinfo/Europe/Moscow", R_OK) != 0) {
        GTEST_SKIP() << "no zone files";
    }
    inZone("Europe/Moscow", [] {
        const ll second = utc(2014, 10, 25, 22, 30).toMSecsSinceEpoch();
        for (int year : {2005, 2013, 2016}) {
            local(year, 7, 1).toMSecsSinceEpoch();
            const ZkDateTime moment = ZkDateTime::fromMSecsSinceEpoch(second);
            EXPECT_EQ(shown(moment), "2014-10-26 01:30:00.000 local");
            EXPECT_EQ(moment.toMSecsSinceEpoch(), second - kHour);
        }
    });
}

// The C library has no answer for years beyond its int; the dates here never leave its
// range, so it is made to fail.
TEST(ZkDateTime, WhereTheCLibraryCannotConvertTheEpochWithoutATimeIsGiven)
{
    inZone("UTC0", [] {
        conversionsFail = true;
        const ZkDateTime asLocal = utc(2024, 3, 1, 12).toTimeSpec(Zk::TimeLocal);
        const ZkDateTime asUtc = local(2024, 3, 1, 12).toTimeSpec(Zk::TimeUtc);
        const ll msecs = local(2024, 3, 1, 12).toMSecsSinceEpoch();
        conversionsFail = false;
        for (const ZkDateTime &moment : {asLocal, asUtc}) {
            EXPECT_EQ(moment.date(), greg(1970, 1, 1));
            EXPECT_EQ(moment.time(), ZkTime());
            EXPECT_FALSE(moment.isValid());
        }
        EXPECT_EQ(asLocal.timeSpec(), Zk::TimeLocal);
        EXPECT_EQ(asUtc.timeSpec(), Zk::TimeUtc);
        EXPECT_EQ(msecs, 0);
    });
}

TEST(ZkDateTime, SettingTheTimeForgetsWhichPassOfTheHourItWas)
{
    inZone("CET-1CEST,M3.5.0,M10.5.0/3", [] {
        const ZkDateTime first = utc(2024, 10, 27, 0, 30).toTimeSpec(Zk::TimeLocal);
        const ZkDateTime second = utc(2024, 10, 27, 1, 30).toTimeSpec(Zk::TimeLocal);
        ZkDateTime a = first, b = second;
        a.setTime(a.time());
        b.setTime(b.time());
        EXPECT_EQ(a.toMSecsSinceEpoch(), b.toMSecsSinceEpoch());
        a = first;
        b = second;
        a.setDate(a.date());
        b.setDate(b.date());
        EXPECT_EQ(a.toMSecsSinceEpoch(), b.toMSecsSinceEpoch());
    });
}

TEST(ZkDateTime, DatesOutsideTime_tAreConvertedByTheRulesOf1970And2037)
{
    inZone("CET-1CEST,M3.5.0,M10.5.0/3", [] {
        EXPECT_EQ(shown(utc(2100, 7, 1, 12).toTimeSpec(Zk::TimeLocal)),
                  "2100-07-01 14:00:00.000 local");
        EXPECT_EQ(shown(utc(2100, 1, 1, 12).toTimeSpec(Zk::TimeLocal)),
                  "2100-01-01 13:00:00.000 local");
        EXPECT_EQ(shown(utc(1800, 7, 1, 12).toTimeSpec(Zk::TimeLocal)),
                  "1800-07-01 14:00:00.000 local");
        // In 2037 the clock is set on 29 March; 2040's own last Sunday is the 25th.
        EXPECT_EQ(shown(utc(2040, 3, 28, 12).toTimeSpec(Zk::TimeLocal)),
                  "2040-03-28 13:00:00.000 local");
        EXPECT_EQ(shown(utc(2040, 3, 29, 12).toTimeSpec(Zk::TimeLocal)),
                  "2040-03-29 14:00:00.000 local");
        EXPECT_EQ(shown(local(2040, 3, 29, 14).toTimeSpec(Zk::TimeUtc)),
                  "2040-03-29 12:00:00.000 UTC");
        EXPECT_EQ(shown(utc(2040, 2, 29, 23, 30).toTimeSpec(Zk::TimeLocal)),
                  "2040-03-01 00:30:00.000 local");
        // Summer lasts to the end of October, and the 15th follows the 4th.
        EXPECT_EQ(shown(utc(1582, 10, 4, 22, 30).toTimeSpec(Zk::TimeLocal)),
                  "1582-10-15 00:30:00.000 local");
    });
}

TEST(ZkDateTime, ADateOutsideTime_tIsMovedBackByDaysCountedInAnInt)
{
    // Local noon in summer, on both sides of where the days from 2037 no longer fit.
    const struct {
        unsigned int day;
        unsigned int utcDay;
    } rows[] = {
        {1, 1},
        {2147483648u, 2147483648u},
        {2147483648u + 2465000, 2147483648u + 2465000},
        {2147483648u + 2466000, 0}, // counted as lying before, the way back leads past day 0
        {3499425907u, 0},
        {4294967295u, 0},
    };
    inZone("CET-1", [&] {
        for (const auto &row : rows) {
            const ZkDateTime noon(ZkDate::fromJulianDay(row.day), ZkTime(12, 0));
            const ZkDateTime moment = noon.toTimeSpec(Zk::TimeUtc);
            EXPECT_EQ(moment.date().julianDay(), row.utcDay) << row.day;
            EXPECT_EQ(moment.time(), ZkTime(11, 0)) << row.day;
        }
    });
}

TEST(ZkDateTime, TheSecondOfJanuary1970IsConvertedByTheRulesOf2037)
{
    // A zone whose new year lies in daylight saving time in 1970 only.
    if (access("/usr/share/zoneinfo/Europe/London", R_OK) != 0) {
        GTEST_SKIP() << "no zone files";
    }
    inZone("Europe/London", [] {
        EXPECT_EQ(shown(utc(1970, 1, 1, 12).toTimeSpec(Zk::TimeLocal)),
                  "1970-01-01 13:00:00.000 local");
        EXPECT_EQ(shown(utc(1970, 1, 2, 12).toTimeSpec(Zk::TimeLocal)),
                  "1970-01-02 12:00:00.000 local");
        EXPECT_EQ(shown(utc(1970, 1, 3, 12).toTimeSpec(Zk::TimeLocal)),
                  "1970-01-03 13:00:00.000 local");
    });
}

TEST(ZkDateTime, ThePersianModeChangesNoConversion)
{
    inZone("CET-1CEST,M3.5.0,M10.5.0/3", [] {
        ZkDate::setDateMode(Zk::DatePersian);
        const ZkDateTime moment = utc(2100, 7, 1, 12).toTimeSpec(Zk::TimeLocal);
        ZkDate::setDateMode(Zk::DateGregorian);
        EXPECT_EQ(shown(moment), "2100-07-01 14:00:00.000 local");
    });
}

TEST(ZkDateTime, AnOffsetTimeComesBackAsLocalTime)
{
    inZone("CET-1CEST,M3.5.0,M10.5.0/3", [] {
        ZkDateTime moment = utc(2024, 7, 1, 12);
        moment.setUtcOffset(18000);
        const ZkDateTime later = moment.addSecs(1);
        EXPECT_EQ(shown(later), "2024-07-01 09:00:01.000 local");
        EXPECT_EQ(later.utcOffset(), 0);
        EXPECT_EQ(shown(moment.addDays(1)), "2024-07-02 12:00:00.000 local");
        EXPECT_EQ(shown(moment.addMonths(1)), "2024-08-01 12:00:00.000 local");
        EXPECT_EQ(shown(moment.addYears(-1)), "2023-07-01 12:00:00.000 local");

        EXPECT_EQ(shown(moment.toTimeSpec(Zk::TimeLocal)), "2024-07-01 12:00:00.000 offset")
            << "asked for as local it stays as it is";
        EXPECT_EQ(moment.toTimeSpec(Zk::TimeOffset).utcOffset(), 18000);
        EXPECT_EQ(shown(moment.toTimeSpec(Zk::TimeUtc)), "2024-07-01 07:00:00.000 UTC");
        EXPECT_EQ(shown(utc(2024, 7, 1, 12).toTimeSpec(Zk::TimeOffset)),
                  "2024-07-01 14:00:00.000 local");
        moment.setMSecsSinceEpoch(0);
        EXPECT_EQ(shown(moment), "1970-01-01 01:00:00.000 local");
    });
}

TEST(ZkDateTime, ArithmeticInUtcIsThatOfTheMilliseconds)
{
    std::mt19937_64 random(63);
    for (int i = 0; i < 20000; ++i) {
        const ll from = ll(random() % 400000000000000ull) - 200000000000000ll;
        const ll step = ll(random() % 2000000000000ull) - 1000000000000ll;
        ZkDateTime moment(ZkDate(), ZkTime(), Zk::TimeUtc);
        moment.setMSecsSinceEpoch(from);
        const ZkDateTime moved = moment.addMSecs(step);
        ASSERT_EQ(moved.toMSecsSinceEpoch(), from + step) << from << " + " << step;
        ASSERT_EQ(moved.timeSpec(), Zk::TimeUtc);
        ASSERT_EQ(moment.msecsTo(moved), step);
        ASSERT_EQ(moment<moved, step> 0);
        ASSERT_EQ(moment == moved, step == 0);
        ASSERT_EQ(moment.daysTo(moved), moment.date().daysTo(moved.date()));
        const int secs = static_cast<int>(std::uint32_t(random()));
        ASSERT_EQ(moment.addSecs(secs).toMSecsSinceEpoch(), from + 1000ll * secs);
        const ll sinceMidnight = moment.time().msecsOfDay();
        ASSERT_EQ(shown(moment.addMSecs(-sinceMidnight)),
                  shown(ZkDateTime(moment.date(), ZkTime(), Zk::TimeUtc)));
        ASSERT_EQ(shown(moment.addMSecs(kDay - sinceMidnight)),
                  shown(ZkDateTime(moment.date().addDays(1), ZkTime(), Zk::TimeUtc)));
    }
}

TEST(ZkDateTime, SecondsRoundEachTimeOfDayAndWrap)
{
    EXPECT_EQ(utc(2024, 1, 1, 0, 0, 0, 500).secsTo(utc(2024, 1, 2)), 86400)
        << "half a second less, rounded toward zero";
    EXPECT_EQ(utc(2024, 1, 2).secsTo(utc(2024, 1, 1, 0, 0, 0, 500)), -86400);
    EXPECT_EQ(utc(1900, 1, 1).secsTo(utc(2000, 1, 1)), static_cast<int>(36524 * 86400ll));
    EXPECT_EQ(utc(1900, 1, 1).msecsTo(utc(2000, 1, 1)), 36524 * kDay);
}

TEST(ZkDateTime, ANullDateTimeCountsFromDayZero)
{
    inZone("UTC0", [] {
        EXPECT_EQ(ZkDateTime().addDays(5).date().julianDay(), 5u);
        EXPECT_EQ(ZkDateTime().addDays(5).time(), ZkTime(0, 0));
        EXPECT_TRUE(ZkDateTime().addMonths(5).isNull());
        EXPECT_EQ(ZkDateTime().addSecs(86405).date().julianDay(), 1u);
        EXPECT_EQ(ZkDateTime().addSecs(86405).time(), ZkTime(0, 0, 5));
    });
}

TEST(ZkDateTime, EqualityAndOrderFollowTheMoment)
{
    inZone("CET-1CEST,M3.5.0,M10.5.0/3", [] {
        ZkDateTime offset = utc(2024, 7, 1, 14);
        offset.setUtcOffset(7200);
        ZkDateTime later = utc(2024, 7, 1, 13);
        later.setUtcOffset(3600 - 60);
        const ZkDateTime sameMoment[] = {utc(2024, 7, 1, 12), local(2024, 7, 1, 14), offset};
        for (const ZkDateTime &a : sameMoment) {
            for (const ZkDateTime &b : sameMoment) {
                EXPECT_EQ(a, b);
                EXPECT_FALSE(a != b);
                EXPECT_FALSE(a < b);
                EXPECT_LE(a, b);
                EXPECT_GE(a, b);
            }
            EXPECT_LT(a, later);
            EXPECT_GT(later, a);
            EXPECT_LT(a, utc(2024, 7, 1, 12, 0, 0, 1));
            EXPECT_LT(local(2024, 7, 1, 13, 59, 59, 999), a);
        }
        // Of one spec, the numbers decide; no time comes before midnight.
        ZkDateTime noTime = local(2024, 7, 1);
        noTime.setTime(ZkTime());
        EXPECT_LT(noTime, local(2024, 7, 1));
        EXPECT_NE(noTime, local(2024, 7, 1));
        EXPECT_LT(ZkDateTime(), noTime);
    });
}

TEST(ZkDateTime, AStaleOffsetSendsAComparisonThroughUtc)
{
    inZone("UTC0", [] {
        ZkDateTime noTime = local(2024, 7, 1);
        noTime.setTime(ZkTime());
        ZkDateTime midnight = local(2024, 7, 1);
        EXPECT_FALSE(noTime == midnight) << "by the numbers";
        midnight.setUtcOffset(3600);
        midnight.setTimeSpec(Zk::TimeLocal);
        EXPECT_TRUE(noTime == midnight) << "as UTC both are midnight";
    });
}

TEST(ZkDateTime, AnOffsetSetTo0LeavesNoneForComparisons)
{
    inZone("UTC0", [] {
        ZkDateTime moment = utc(2024, 7, 1, 12);
        moment.setUtcOffset(3600);
        EXPECT_NE(moment, utc(2024, 7, 1, 12));
        moment.setUtcOffset(0);
        EXPECT_EQ(moment, utc(2024, 7, 1, 12));
        EXPECT_NE(moment, utc(2024, 7, 1, 11));
        EXPECT_EQ(moment, local(2024, 7, 1, 12));

        ZkDateTime noTime = local(2024, 7, 1);
        noTime.setTime(ZkTime());
        ZkDateTime midnight = local(2024, 7, 1);
        midnight.setUtcOffset(3600);
        midnight.setUtcOffset(0);
        midnight.setTimeSpec(Zk::TimeLocal);
        EXPECT_FALSE(noTime == midnight) << "by the numbers again";
        midnight.setTimeSpec(Zk::TimeOffset);
        EXPECT_EQ(midnight.utcOffset(), 0);
    });
}

TEST(ZkDateTime, MillisecondsBeyondEveryDateGiveTheNullDateInLocalTimeOrUtc)
{
    inEveryZone([] {
        for (const ll msecs : {LLONG_MIN, LLONG_MAX}) {
            ZkDateTime offset(ZkDate(2020, 6, 1), ZkTime(12, 0), Zk::TimeUtc);
            ZkDateTime utc = offset, local(ZkDate(2020, 6, 1), ZkTime(12, 0), Zk::TimeLocal);
            offset.setUtcOffset(3600);
            ASSERT_EQ(offset.timeSpec(), Zk::TimeOffset);
            for (ZkDateTime *time : {&offset, &utc, &local}) {
                time->setMSecsSinceEpoch(msecs);
                EXPECT_FALSE(time->date().isValid());
                EXPECT_FALSE(time->isValid());
            }
            EXPECT_EQ(offset.timeSpec(), Zk::TimeLocal);
            EXPECT_EQ(local.timeSpec(), Zk::TimeLocal);
            EXPECT_EQ(utc.timeSpec(), Zk::TimeUtc);
        }
    });
}

TEST(ZkDateTime, NowIsTheClocksNow)
{
    inEveryZone([] {
        timeval clock = {};
        gettimeofday(&clock, nullptr);
        const ll before = 1000ll * clock.tv_sec + clock.tv_usec / 1000;
        const ZkDateTime here = ZkDateTime::currentDateTime();
        const ZkDateTime there = ZkDateTime::currentDateTimeUtc();
        const ll now = ZkDateTime::currentMSecsSinceEpoch();
        EXPECT_EQ(here.timeSpec(), Zk::TimeLocal);
        EXPECT_EQ(there.timeSpec(), Zk::TimeUtc);
        EXPECT_GE(here.toMSecsSinceEpoch(), before);
        EXPECT_GE(there.toMSecsSinceEpoch(), here.toMSecsSinceEpoch());
        EXPECT_GE(now, there.toMSecsSinceEpoch());
        EXPECT_LT(now, before + 30000);
    });
}
