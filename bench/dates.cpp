// Calendars, date text and local time beside the C library, <chrono>, {fmt} and
// ICU. Every case runs over the same 1024 random moments of 1600 to 2400 (1970 to
// 2037 for local time), and a time is that of one of them. Results are compared
// before anything is measured.

#include <zkdatetime.h>

#include <benchmark/benchmark.h>

#include <fmt/chrono.h>
#include <unicode/ucal.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr int kCount = 1024;
constexpr int kEpochDay = 2440588; // 1 January 1970

struct Ymd {
    int y, m, d;
};

/// A moment in every form that one of the contestants takes.
struct Moment {
    unsigned int jd;
    std::chrono::sys_days days;
    Ymd date, persian;
    std::chrono::year_month_day chronoDate;
    double millis;
    std::time_t secs;
    std::tm fields;
    ZkDateTime zk;
    std::string text;
    ZkString zkText;
};

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "bench_dates: %s differs\n", what);
    std::exit(1);
}

Moment moment(unsigned int jd, int secondOfDay)
{
    Moment r;
    r.jd = jd;
    r.days = std::chrono::sys_days(std::chrono::days(static_cast<int>(jd) - kEpochDay));
    r.chronoDate = std::chrono::year_month_day(r.days);
    r.millis = (static_cast<double>(jd) - kEpochDay) * 86400000;
    r.secs =
        static_cast<std::time_t>((static_cast<long long>(jd) - kEpochDay) * 86400 + secondOfDay);
    ZkDate::julianToGregorian(jd, r.date.y, r.date.m, r.date.d);
    ZkDate::julianToPersian(jd, r.persian.y, r.persian.m, r.persian.d);
    r.fields = {};
    gmtime_r(&r.secs, &r.fields);
    r.zk = ZkDateTime(ZkDate::fromJulianDay(jd), ZkTime::fromMSecsOfDay(secondOfDay * 1000));
    char buffer[64];
    std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &r.fields);
    r.text = buffer;
    r.zkText = ZkString(buffer);

    if (r.date.y != int(r.chronoDate.year()) ||
        unsigned(r.date.m) != unsigned(r.chronoDate.month()) ||
        unsigned(r.date.d) != unsigned(r.chronoDate.day())) {
        fail("the date");
    }
    if (r.zk.toString("yyyy-MM-dd hh:mm:ss") != r.zkText) {
        fail("the text");
    }
    if (ZkDateTime::fromString(r.zkText, "yyyy-MM-dd hh:mm:ss") != r.zk) {
        fail("the moment read");
    }
    return r;
}

std::vector<Moment> moments(int firstYear, int lastYear)
{
    const unsigned int first = ZkDate::gregorianToJulian(firstYear, 1, 1);
    const unsigned int last = ZkDate::gregorianToJulian(lastYear, 12, 31);
    std::mt19937 random(1);
    std::uniform_int_distribution<unsigned int> day(first, last);
    std::uniform_int_distribution<int> second(0, 86399);
    std::vector<Moment> result;
    for (int i = 0; i < kCount; ++i) {
        result.push_back(moment(day(random), second(random)));
    }
    return result;
}

const std::vector<Moment> &wide()
{
    static const std::vector<Moment> all = moments(1600, 2400);
    return all;
}

const std::vector<Moment> &recent()
{
    static const std::vector<Moment> all = moments(1971, 2036);
    return all;
}

/// Runs `body` over all inputs. Each result is used by itself, so that a contestant
/// in a header is timed converting one date and not sixteen side by side.
template <typename Input, typename Body>
void overAll(benchmark::State &state, const std::vector<Input> &all, Body body)
{
    for (auto _ : state) {
        for (const Input &input : all) {
            auto result = body(input);
            benchmark::DoNotOptimize(result);
        }
    }
    state.SetItemsProcessed(state.iterations() * kCount);
}

/// One field of all moments, packed, so that a contestant reads what it needs.
template <typename Field>
std::vector<Field> packed(const std::vector<Moment> &all, Field Moment::*field)
{
    std::vector<Field> result;
    for (const Moment &m : all) {
        result.push_back(m.*field);
    }
    return result;
}

template <typename Field, typename Body>
void add(const char *name, const std::vector<Moment> &all, Field Moment::*field, Body body)
{
    const std::vector<Field> inputs = packed(all, field);
    benchmark::RegisterBenchmark(
        name, [inputs, body](benchmark::State &state) { overAll(state, inputs, body); });
}

void addCalendars()
{
    add("day_to_date/zk", wide(), &Moment::jd, [](unsigned int jd) {
        int y, mo, d;
        ZkDate::julianToGregorian(jd, y, mo, d);
        return y + mo + d;
    });
    add("day_to_date/chrono", wide(), &Moment::days, [](const std::chrono::sys_days &days) {
        const std::chrono::year_month_day date(days);
        return int(date.year()) + int(unsigned(date.month())) + int(unsigned(date.day()));
    });
    add("date_to_day/zk", wide(), &Moment::date,
        [](const Ymd &date) { return ZkDate::gregorianToJulian(date.y, date.m, date.d); });
    add("date_to_day/chrono", wide(), &Moment::chronoDate,
        [](const std::chrono::year_month_day &date) {
            return std::chrono::sys_days(date).time_since_epoch().count();
        });
    add("checked_date_to_day/zk", wide(), &Moment::date, [](const Ymd &date) {
        return ZkDate(date.y, date.m, date.d, Zk::DateGregorian).julianDay();
    });
    add("checked_date_to_day/chrono", wide(), &Moment::chronoDate,
        [](const std::chrono::year_month_day &date) {
            return date.ok() ? std::chrono::sys_days(date).time_since_epoch().count() : 0;
        });
    add("day_to_persian/zk", wide(), &Moment::jd, [](unsigned int jd) {
        int y, mo, d;
        ZkDate::julianToPersian(jd, y, mo, d);
        return y + mo + d;
    });
    add("persian_to_day/zk", wide(), &Moment::persian,
        [](const Ymd &date) { return ZkDate::persianToJulian(date.y, date.m, date.d); });
    add("day_to_persian_mode/zk", wide(), &Moment::jd, [](unsigned int jd) {
        int y, mo, d;
        ZkDate::fromJulianDay(jd).getDate(&y, &mo, &d, Zk::DatePersian);
        return y + mo + d;
    });
    add("persian_mode_to_day/zk", wide(), &Moment::persian, [](const Ymd &date) {
        return ZkDate(date.y, date.m, date.d, Zk::DatePersian).julianDay();
    });
    UErrorCode error = U_ZERO_ERROR;
    UCalendar *persian = ucal_open(u"UTC", -1, "fa_IR@calendar=persian", UCAL_DEFAULT, &error);
    add("day_to_persian/icu", wide(), &Moment::millis, [persian](double millis) {
        UErrorCode e = U_ZERO_ERROR;
        ucal_setMillis(persian, millis, &e);
        return ucal_get(persian, UCAL_YEAR, &e) + ucal_get(persian, UCAL_MONTH, &e) +
               ucal_get(persian, UCAL_DATE, &e);
    });
    add("persian_to_day/icu", wide(), &Moment::persian, [persian](const Ymd &date) {
        UErrorCode e = U_ZERO_ERROR;
        ucal_clear(persian);
        ucal_setDate(persian, date.y, date.m - 1, date.d, &e);
        return static_cast<long long>(ucal_getMillis(persian, &e) / 86400000);
    });
    add("add_months/zk", wide(), &Moment::jd,
        [](unsigned int jd) { return ZkDate::fromJulianDay(jd).addMonths(17).julianDay(); });
    add("add_months/chrono", wide(), &Moment::chronoDate,
        [](const std::chrono::year_month_day &date) {
            auto later = date + std::chrono::months(17);
            if (!later.ok()) {
                later = later.year() / later.month() / std::chrono::last;
            }
            return std::chrono::sys_days(later).time_since_epoch().count();
        });
    add("iso_week/zk", wide(), &Moment::jd, [](unsigned int jd) {
        int year;
        const int week = ZkDate::fromJulianDay(jd).weekNumber(&year);
        return year + week;
    });
    add("iso_week/strftime", wide(), &Moment::fields, [](const std::tm &fields) {
        char buffer[32];
        std::strftime(buffer, sizeof buffer, "%G-%V", &fields);
        return buffer[6];
    });
}

void addText()
{
    static const ZkString kPattern("yyyy-MM-dd hh:mm:ss");
    add("write_date_time/zk", wide(), &Moment::zk, [](const ZkDateTime &moment) {
        const ZkString text = moment.toString(kPattern);
        return text.at(18);
    });
    add("write_date_time/strftime", wide(), &Moment::fields, [](const std::tm &fields) {
        char buffer[32];
        std::strftime(buffer, sizeof buffer, "%Y-%m-%d %H:%M:%S", &fields);
        return buffer[18];
    });
    add("write_date_time/fmt", wide(), &Moment::fields, [](const std::tm &fields) {
        const std::string text = fmt::format("{:%Y-%m-%d %H:%M:%S}", fields);
        return text[18];
    });
    add("write_date_time/snprintf", wide(), &Moment::fields, [](const std::tm &fields) {
        char buffer[80];
        std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", fields.tm_year + 1900,
                      fields.tm_mon + 1, fields.tm_mday, fields.tm_hour, fields.tm_min,
                      fields.tm_sec);
        return buffer[18];
    });
    add("read_date_time/zk", wide(), &Moment::zkText, [](const ZkString &text) {
        return ZkDateTime::fromString(text, kPattern).time().msecsOfDay();
    });
    add("read_date_time/strptime", wide(), &Moment::text, [](const std::string &text) {
        std::tm fields = {};
        strptime(text.c_str(), "%Y-%m-%d %H:%M:%S", &fields);
        return fields.tm_sec;
    });
    add("read_date_time/sscanf", wide(), &Moment::text, [](const std::string &text) {
        int y, mo, d, h, mi, s;
        return std::sscanf(text.c_str(), "%d-%d-%d %d:%d:%d", &y, &mo, &d, &h, &mi, &s) + s;
    });
    static const ZkString kDatePattern("yyyy-MM-dd");
    add("write_date/zk", wide(), &Moment::zk,
        [](const ZkDateTime &moment) { return moment.date().toString(kDatePattern).at(9); });
    add("write_date/strftime", wide(), &Moment::fields, [](const std::tm &fields) {
        char buffer[32];
        std::strftime(buffer, sizeof buffer, "%Y-%m-%d", &fields);
        return buffer[9];
    });
    add("read_date/zk", wide(), &Moment::zkText,
        [](const ZkString &text) { return ZkDate::fromString(text, kDatePattern).julianDay(); });
    add("read_date/strptime", wide(), &Moment::text, [](const std::string &text) {
        std::tm fields = {};
        strptime(text.c_str(), "%Y-%m-%d", &fields);
        return fields.tm_mday;
    });
}

void addLocalTime()
{
    add("utc_to_local/zk", recent(), &Moment::secs, [](std::time_t secs) {
        return ZkDateTime::fromTime_t(static_cast<unsigned int>(secs)).time().msecsOfDay();
    });
    add("utc_to_local/localtime_r", recent(), &Moment::secs, [](std::time_t secs) {
        std::tm fields;
        tzset();
        localtime_r(&secs, &fields);
        return fields.tm_sec;
    });
    add("local_to_utc/zk", recent(), &Moment::zk,
        [](const ZkDateTime &moment) { return moment.toTime_t(); });
    add("local_to_utc/mktime", recent(), &Moment::fields, [](const std::tm &given) {
        std::tm fields = given;
        fields.tm_isdst = -1;
        return std::mktime(&fields);
    });
}

} // namespace

int main(int argc, char **argv)
{
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    addCalendars();
    addText();
    addLocalTime();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
