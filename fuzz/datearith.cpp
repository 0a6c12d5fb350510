// Numbers from anywhere through the arithmetic of dates, times and date-times, beside
// a model in wide integers and month-by-month walks. The input is a run of records
// of 20 bytes: an operation and four numbers.

#include <zkdatetime.h>

#include "datemodel.h"

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{

using namespace datemodel;

__extension__ typedef __int128 Wide; // which compilers for 32 bits lack

constexpr ll kDay = 86400000;
constexpr ll kEpochDay = 2440588;

struct Record {
    std::uint32_t operation, a, b, c, d;

    int intA() const { return static_cast<int>(a); }
    int intB() const { return static_cast<int>(b); }
    int intC() const { return static_cast<int>(c); }
    ll longBC() const { return static_cast<ll>(std::uint64_t(b) << 32 | c); }
};

void require(bool holds, const char *what, const Record &r)
{
    if (!holds) {
        std::fprintf(stderr, "%s: %u %u %u %u\n", what, r.a, r.b, r.c, r.d);
        std::abort();
    }
}

Wide floorDiv(Wide a, Wide b)
{
    return a / b - (a % b < 0 ? 1 : 0);
}

Ymd read(const ZkDate &date, Zk::DateMode mode = Zk::DateGregorian)
{
    Ymd r = {0, 0, 0};
    date.getDate(&r.y, &r.m, &r.d, mode);
    return r;
}

/// Astronomical years are easier to add to: 1 BC is 0.
ll astronomical(ll y)
{
    return y < 0 ? y + 1 : y;
}

ZkDate clamped(Wide astronomicalYear, int m, int d)
{
    if (astronomicalYear < -5000 || astronomicalYear > 12000000) {
        return ZkDate();
    }
    const int y = static_cast<int>(astronomicalYear <= 0 ? astronomicalYear - 1 : astronomicalYear);
    while (d > 28 && !ZkDate::isValid(y, m, d)) {
        --d;
    }
    return ZkDate(y, m, d, Zk::DateGregorian);
}

void checkDay(const Record &r)
{
    const ZkDate date = ZkDate::fromJulianDay(r.a);
    const Ymd day = read(date);
    require(ZkDate::gregorianToJulian(day.y, day.m, day.d) == r.a, "day and back", r);
    require(ZkDate(day.y, day.m, day.d, Zk::DateGregorian) == date, "checked day and back", r);
    require(read(date, Zk::DatePersian) == persianOf(day), "Persian reading", r);
    Ymd exact = {0, 0, 0};
    ZkDate::julianToPersian(r.a, exact.y, exact.m, exact.d);
    require(ZkDate::persianToJulian(exact.y, exact.m, exact.d) == r.a, "Persian and back", r);
    if (r.a != UINT_MAX) {
        const Ymd next = read(ZkDate::fromJulianDay(r.a + 1));
        require(next.d == day.d + 1 || next.d == 1 || (next.y == 1582 && next.d == 15),
                "the next day", r);
    }
    // The Thursday of a week tells its year. Not before 1583: the weeks of 1582 count
    // the ten days that it left out.
    const ll thursday = ll(r.a) - date.dayOfWeek() + 4;
    if (thursday >= 2299239 && thursday <= UINT_MAX) {
        const Ymd middle = read(ZkDate::fromJulianDay(static_cast<unsigned int>(thursday)));
        const ll newYear = ZkDate::gregorianToJulian(middle.y, 1, 1);
        int year = 0;
        const int week = date.weekNumber(&year);
        require(week == (thursday - newYear) / 7 + 1 && year == middle.y, "week", r);
    }
}

void checkDateSums(const Record &r)
{
    const ZkDate date = ZkDate::fromJulianDay(r.a);
    const Wide sum = Wide(r.a) + r.intB();
    require(date.addDays(r.intB()).julianDay() == (sum < 0 || sum > UINT_MAX ? 0 : sum), "addDays",
            r);
    require(date.daysTo(ZkDate::fromJulianDay(r.b)) == static_cast<int>(r.b - r.a), "daysTo", r);
    if (!date.isValid()) {
        return;
    }
    const Ymd day = read(date);
    ZkDate expected = clamped(Wide(astronomical(day.y)) + r.intB(), day.m, day.d);
    require(date.addYears(r.intB()) == expected, "addYears", r);
    const Wide months = Wide(astronomical(day.y)) * 12 + day.m - 1 + r.intC();
    const Wide year = floorDiv(months, 12);
    const int month = static_cast<int>(months - year * 12) + 1;
    const bool inGap = year == 1582 && month == 10 && day.d >= 5 && day.d <= 14;
    expected = clamped(year, month, !inGap ? day.d : r.intC() > 0 ? 15 : 4);
    require(date.addMonths(r.intC()) == expected, "addMonths", r);
}

void checkTriples(const Record &r)
{
    static PersianSetter persianModel; // drifts as the library does
    const int y = r.intA(), m = r.intB(), d = r.intC();
    require(ZkDate(y, m, d, Zk::DatePersian) == persianModel(y, m, d), "Persian date set", r);
    const ZkDate date(y, m, d, Zk::DateGregorian);
    require(!date.isValid() || read(date) == Ymd{y, m, d}, "triple", r);
    require(date.isValid() <= ZkDate::isValid(y, m, d), "validity", r);
    const unsigned int jd = ZkDate::persianToJulian(y, m, d);
    Ymd back = {y, m, d};
    if (jd != 0) {
        ZkDate::julianToPersian(jd, back.y, back.m, back.d);
    }
    require(back == Ymd{y, m, d}, "Persian triple", r);
    const ZkTime time(y, m, d, static_cast<int>(r.d));
    require(!time.isValid() || (time.hour() == y && time.minute() == m && time.second() == d),
            "time", r);
}

void checkTimeSums(const Record &r)
{
    const int start = static_cast<int>(r.a % kDay);
    const ZkTime time = ZkTime::fromMSecsOfDay(start);
    const auto inDay = [](Wide msecs) {
        return static_cast<int>(msecs - floorDiv(msecs, kDay) * kDay);
    };
    require(time.addMSecs(r.intB()).msecsOfDay() == inDay(Wide(start) + r.intB()), "addMSecs", r);
    require(time.addSecs(r.intC()).msecsOfDay() ==
                inDay(Wide(start) + static_cast<int>(1000u * r.c)),
            "addSecs", r);
}

void checkMoments(const Record &r)
{
    const ll step = r.longBC();
    ZkDateTime moment(ZkDate::fromJulianDay(r.a | 1u), ZkTime::fromMSecsOfDay(int(r.d % kDay)),
                      Zk::TimeUtc);
    const ll start = (ll(r.a | 1u) - kEpochDay) * kDay + r.d % kDay;
    require(moment.toMSecsSinceEpoch() == start, "milliseconds", r);

    const Wide sum = Wide(start) + step;
    const Wide day = floorDiv(sum, kDay) + kEpochDay;
    const ZkDateTime moved = moment.addMSecs(step);
    require(moved.time().msecsOfDay() == sum - floorDiv(sum, kDay) * kDay, "time moved", r);
    const bool inRange = day >= 0 && day <= UINT_MAX;
    require(moved.date().julianDay() == (inRange ? day : 0), "day moved", r);
    if (inRange) {
        const bool near = day - (r.a | 1u) >= INT_MIN && day - (r.a | 1u) <= INT_MAX;
        require(!near || moment.msecsTo(moved) == step, "msecsTo", r);
        require((moment < moved) == (step > 0), "order", r);
    }

    moment.setMSecsSinceEpoch(step);
    const Wide stepDay = floorDiv(step, kDay);
    const bool reachable = stepDay >= -kEpochDay && stepDay <= INT_MAX;
    require(moment.date().julianDay() == (reachable ? stepDay + kEpochDay : 0), "day set", r);
    require(moment.time().msecsOfDay() == step - stepDay * kDay, "time set", r);
    moment.setUtcOffset(r.intA());
    if (reachable && stepDay > -kEpochDay + 30000) {
        require(moment.toMSecsSinceEpoch() == step - 1000ll * r.intA(), "offset", r);
    }
}

void checkLocal(const Record &r)
{
    // TZ is whatever the run has: no crash, and UTC again where the clock is plain.
    const ZkDateTime moment = ZkDateTime::fromMSecsSinceEpoch(r.longBC());
    const ZkDateTime same = moment.toTimeSpec(Zk::TimeUtc).toTimeSpec(Zk::TimeLocal);
    if (r.b < 400) { // the years 1970 to 2024
        require(same == moment && moment.toMSecsSinceEpoch() == r.longBC(), "local and back", r);
    }
    moment.addSecs(r.intA());
    moment.addMonths(r.intA());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Record record;
    for (; size >= sizeof record; data += sizeof record, size -= sizeof record) {
        std::memcpy(&record, data, sizeof record);
        switch (record.operation % 6) {
        case 0: checkDay(record); break;
        case 1: checkDateSums(record); break;
        case 2: checkTriples(record); break;
        case 3: checkTimeSums(record); break;
        case 4: checkMoments(record); break;
        default: checkLocal(record); break;
        }
    }
    return 0;
}
