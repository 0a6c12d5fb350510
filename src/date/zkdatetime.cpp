#include "date/zkclock.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <new>

namespace
{

constexpr int kSecsPerDay = 86400;
constexpr ZkDate kEpoch = ZkDate::fromJulianDay(2440588); // 1 January 1970

/// Milliseconds since the epoch, date and time read as UTC; a null time is midnight.
long long msecsSinceEpoch(const ZkDate &date, const ZkTime &time)
{
    const long long days = static_cast<long long>(date.julianDay()) - kEpoch.julianDay();
    return days * kZkMSecsPerDay + time.msecsOfDay();
}

/// Moves a date and a time on by `n` milliseconds. False, and the null date, when
/// the day leaves the range of ZkDate; the time is right nevertheless.
bool addMSecsInPlace(ZkDate &date, ZkTime &time, long long n)
{
    long long days = date.julianDay() + n / kZkMSecsPerDay;
    int msecs = time.msecsOfDay() + static_cast<int>(n % kZkMSecsPerDay);
    if (msecs < 0) {
        msecs += kZkMSecsPerDay;
        --days;
    } else if (msecs >= kZkMSecsPerDay) {
        msecs -= kZkMSecsPerDay;
        ++days;
    }
    time = ZkTime::fromMSecsOfDay(msecs);
    const bool inRange = days >= 0 && days <= UINT_MAX;
    date = inRange ? ZkDate::fromJulianDay(static_cast<unsigned int>(days)) : ZkDate();
    return inRange;
}

/// The date whose zone rules stand for those of `date`: one that time_t holds on
/// every machine, in every zone.
ZkDate folded(const ZkDate &date)
{
    const ZkDate first = kEpoch.addDays(1); // 2 January 1970
    // 30 December 2037, which is folded to itself.
    const ZkDate last = ZkDate::fromJulianDay(2465423); // no test can tell: nor the day behind
    if (date > first && date < last) {
        return date;
    }
    int month = 0, day = 0;
    date.getDate(nullptr, &month, &day, Zk::DateGregorian);
    if (month == 2 && day == 29) {
        day = 28;
    }
    // The first day itself is not before the first day: it goes to 2037.
    return ZkDate(date < first ? 1970 : 2037, month, day, Zk::DateGregorian);
}

/// The outcome of a conversion of the folded date, moved back to the real one. The
/// epoch without a time where the C library could not convert.
int unfold(const std::tm *fields, const ZkDate &fake, ZkDate &date, ZkTime &time)
{
    if (fields == nullptr) {
        date = kEpoch;
        time = ZkTime();
        return -1;
    }
    const ZkClockReading reading(fields, time.msec());
    date = reading.date.addDays(fake.daysTo(date));
    time = reading.time;
    return reading.isDst;
}

/// Broken-down time as seconds since the epoch, read as UTC.
long long secsOf(const std::tm &fields)
{
    const ZkDate date(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, Zk::DateGregorian);
    const long long days = static_cast<long long>(date.julianDay()) - kEpoch.julianDay();
    return days * kSecsPerDay + fields.tm_hour * 3600 + fields.tm_min * 60 + fields.tm_sec;
}

/// What local time is ahead of UTC at a moment, in seconds; `isDst` takes whether
/// daylight saving is on.
long long offsetAt(long long moment, int *isDst)
{
    const std::time_t secs = static_cast<std::time_t>(moment);
    std::tm fields = {};
    *isDst = 0;
    if (localtime_r(&secs, &fields) == nullptr) {
        return 0;
    }
    *isDst = fields.tm_isdst;
    return secsOf(fields) - moment;
}

/// What local time is ahead of UTC at a moment at which the clock shows `local`, seconds
/// since the epoch as if it were UTC. False where that is not known at once: near a change,
/// or when `askedDst` tells of daylight saving what the clock then does not.
bool plainOffset(long long local, int askedDst, int *secs)
{
    tzset();
    auto moment = static_cast<std::time_t>(local - kSecsPerDay);
    std::tm fields = {};
    if (localtime_r(&moment, &fields) == nullptr) {
        return false;
    }
    *secs = static_cast<int>(fields.tm_gmtoff);
    moment = static_cast<std::time_t>(local - *secs);
    return localtime_r(&moment, &fields) != nullptr && fields.tm_gmtoff == *secs &&
           // Where a zone counts leap seconds it is other seconds that show.
           // no test can tell: else the rule is reckoned, which says the same
           fields.tm_sec == static_cast<int>(local % 60) &&
           (askedDst < 0 || askedDst == fields.tm_isdst);
}

/// The moment of a local time in a folded year, which leaves `fields` normalised. Near a
/// change of the offset the C library may answer by what it converted last: it
/// looks for the answer from there. So there the rule is told here: a time that the
/// clock shows twice is its first pass, unless `tm_isdst` asks for the other, and one
/// that it skips is counted on from before the gap.
std::time_t momentOf(std::tm *fields)
{
    const long long local = secsOf(*fields);
    const int askedDst = fields->tm_isdst;
    const std::time_t found = std::mktime(fields); // reads TZ afresh
    int isDst = 0;
    const long long before = offsetAt(local - kSecsPerDay, &isDst);
    const long long after = offsetAt(local + kSecsPerDay, &isDst);
    if (before == after) {
        return found;
    }
    for (long long offset : {std::max(before, after), std::min(before, after)}) {
        const long long moment = local - offset;
        if (offsetAt(moment, &isDst) == offset && (askedDst < 0 || askedDst == isDst)) {
            return static_cast<std::time_t>(moment);
        }
    }
    return askedDst < 0 ? static_cast<std::time_t>(local - before) : found;
}

} // namespace

ZkDateTime::Data *ZkDateTime::createData(const ZkDate &date, const ZkTime &time, int spec)
{
    return new (zkAllocate(sizeof(Data))) Data{date, time, spec, 0};
}

/// The stored date and time as UTC. A local date that is null is not converted.
void ZkDateTime::getUTC(ZkDate &date, ZkTime &time) const
{
    date = d->date;
    time = d->time;
    if (d->spec == SpecUtc) {
        return;
    }
    if (d->spec == SpecOffset) {
        addMSecsInPlace(date, time, -1000ll * d->utcOffset);
        return;
    }
    if (!date.isValid()) {
        return;
    }
    const ZkDate fake = folded(date);
    int offset = 0;
    if (plainOffset(msecsSinceEpoch(fake, time) / 1000, d->spec, &offset)) {
        ZkDate moved = fake;
        addMSecsInPlace(moved, time, -1000ll * offset);
        date = moved.addDays(fake.daysTo(date)); // null for one too far to count the days
        return;
    }
    int year = 0, month = 0, day = 0;
    fake.getDate(&year, &month, &day, Zk::DateGregorian);
    std::tm fields = {};
    fields.tm_sec = time.second();
    fields.tm_min = time.minute();
    fields.tm_hour = time.hour();
    fields.tm_mday = day;
    fields.tm_mon = month - 1;
    fields.tm_year = year - 1900;
    fields.tm_isdst = d->spec;
    const std::time_t secs = momentOf(&fields);
    unfold(gmtime_r(&secs, &fields), fake, date, time);
}

/// The stored date and time as local time, if they are UTC; else as they are. The
/// result is the `Spec` of the outcome.
int ZkDateTime::getLocal(ZkDate &date, ZkTime &time) const
{
    date = d->date;
    time = d->time;
    if (d->spec != SpecUtc) {
        return d->spec; // unreachable: who calls has UTC
    }
    const ZkDate fake = folded(date);
    const std::time_t secs = static_cast<std::time_t>(msecsSinceEpoch(fake, time) / 1000);
    std::tm fields = {};
    tzset();
    return unfold(localtime_r(&secs, &fields), fake, date, time);
}

/// Ends a setter that stored UTC: whatever was not UTC before becomes local time.
void ZkDateTime::becomeLocalUnlessWas(int oldSpec)
{
    d->spec = SpecUtc;
    if (oldSpec == SpecUtc) {
        return;
    }
    ZkDate date;
    ZkTime time;
    d->spec = getLocal(date, time);
    d->date = date;
    d->time = time;
}

ZkDateTime ZkDateTime::now(bool utc)
{
    const ZkClockReading reading = utc ? ZkClockReading::utc() : ZkClockReading::local();
    ZkDateTime result;
    *result.d = {reading.date, reading.time, utc ? SpecUtc : reading.isDst, 0};
    return result;
}

ZkDateTime::ZkDateTime() : d(createData(ZkDate(), ZkTime(), SpecLocalUnknown))
{
}

ZkDateTime::ZkDateTime(const ZkDate &date)
    : d(createData(date, ZkTime::fromMSecsOfDay(0), SpecLocalUnknown))
{
}

ZkDateTime::ZkDateTime(const ZkDate &date, const ZkTime &time, Zk::TimeSpec s)
    : d(createData(date, date.isValid() && !time.isValid() ? ZkTime::fromMSecsOfDay(0) : time,
                   s == Zk::TimeUtc ? SpecUtc : SpecLocalUnknown))
{
}

ZkDateTime::ZkDateTime(const ZkDateTime &other) : d(new (zkAllocate(sizeof(Data))) Data(*other.d))
{
}

ZkDateTime &ZkDateTime::operator=(const ZkDateTime &other)
{
    if (this != &other) {
        *d = *other.d;
    }
    return *this;
}

ZkDateTime::~ZkDateTime()
{
    std::free(d);
}

ZkDateTime ZkDateTime::currentDateTime()
{
    return now(false);
}

ZkDateTime ZkDateTime::currentDateTimeUtc()
{
    return now(true);
}

long long ZkDateTime::currentMSecsSinceEpoch()
{
    return ZkClockReading::msecsSinceEpoch();
}

bool ZkDateTime::isNull() const
{
    return !d->date.isValid() && !d->time.isValid();
}

bool ZkDateTime::isValid() const
{
    return d->date.isValid() && d->time.isValid();
}

ZkDate ZkDateTime::date() const
{
    return d->date;
}

ZkTime ZkDateTime::time() const
{
    return d->time;
}

Zk::TimeSpec ZkDateTime::timeSpec() const
{
    return d->spec == SpecUtc      ? Zk::TimeUtc
           : d->spec == SpecOffset ? Zk::TimeOffset
                                   : Zk::TimeLocal;
}

void ZkDateTime::setDate(const ZkDate &date)
{
    if (isLocal()) {
        d->spec = SpecLocalUnknown;
    }
    d->date = date;
    if (date.isValid() && !d->time.isValid()) {
        d->time = ZkTime::fromMSecsOfDay(0);
    }
}

void ZkDateTime::setTime(const ZkTime &time)
{
    if (isLocal()) {
        d->spec = SpecLocalUnknown;
    }
    d->time = time;
}

void ZkDateTime::setTimeSpec(Zk::TimeSpec s)
{
    d->spec = s == Zk::TimeUtc ? SpecUtc : s == Zk::TimeOffset ? SpecOffset : SpecLocalUnknown;
}

void ZkDateTime::setUtcOffset(int seconds)
{
    d->spec = seconds != 0 ? SpecOffset : SpecUtc;
    d->utcOffset = seconds;
}

int ZkDateTime::utcOffset() const
{
    return isValid() && d->spec == SpecOffset ? d->utcOffset : 0;
}

long long ZkDateTime::toMSecsSinceEpoch() const
{
    ZkDate date;
    ZkTime time;
    getUTC(date, time);
    return msecsSinceEpoch(date, time);
}

void ZkDateTime::setMSecsSinceEpoch(long long msecs)
{
    const int oldSpec = d->spec;
    long long days = msecs / kZkMSecsPerDay;
    int rest = static_cast<int>(msecs % kZkMSecsPerDay);
    if (rest < 0) {
        --days;
        rest += kZkMSecsPerDay;
    }
    d->time = ZkTime::fromMSecsOfDay(rest);
    if (days < -static_cast<long long>(kEpoch.julianDay()) || days > INT_MAX) {
        d->date = ZkDate(); // with which there is nothing to convert
        d->spec = oldSpec == SpecUtc ? SpecUtc : SpecLocalUnknown;
        return;
    }
    d->date = kEpoch.addDays(static_cast<int>(days));
    becomeLocalUnlessWas(oldSpec);
}

ZkDateTime ZkDateTime::fromMSecsSinceEpoch(long long msecs)
{
    ZkDateTime result;
    result.setMSecsSinceEpoch(msecs);
    return result;
}

unsigned int ZkDateTime::toTime_t() const
{
    const long long secs = toMSecsSinceEpoch() / 1000;
    return secs < 0 || secs >= UINT_MAX ? UINT_MAX : static_cast<unsigned int>(secs);
}

void ZkDateTime::setTime_t(unsigned int secs)
{
    const int oldSpec = d->spec;
    d->date = kEpoch.addDays(static_cast<int>(secs / 86400));
    d->time = ZkTime::fromMSecsOfDay(static_cast<int>(secs % 86400) * 1000);
    becomeLocalUnlessWas(oldSpec);
}

ZkDateTime ZkDateTime::fromTime_t(unsigned int secs)
{
    ZkDateTime result;
    result.setTime_t(secs);
    return result;
}

ZkDateTime ZkDateTime::addDays(int n) const
{
    return ZkDateTime(d->date.addDays(n), d->time, timeSpec());
}

ZkDateTime ZkDateTime::addMonths(int n) const
{
    return ZkDateTime(d->date.addMonths(n), d->time, timeSpec());
}

ZkDateTime ZkDateTime::addYears(int n) const
{
    return ZkDateTime(d->date.addYears(n), d->time, timeSpec());
}

ZkDateTime ZkDateTime::addSecs(int s) const
{
    return addMSecs(1000ll * s);
}

ZkDateTime ZkDateTime::addMSecs(long long ms) const
{
    ZkDate date;
    ZkTime time;
    getUTC(date, time);
    if (!addMSecsInPlace(date, time, ms)) {
        return ZkDateTime(date, time, timeSpec());
    }
    return ZkDateTime(date, time, Zk::TimeUtc).toTimeSpec(timeSpec());
}

int ZkDateTime::daysTo(const ZkDateTime &other) const
{
    return d->date.daysTo(other.d->date);
}

int ZkDateTime::secsTo(const ZkDateTime &other) const
{
    ZkDate from, to;
    ZkTime fromTime, toTime;
    getUTC(from, fromTime);
    other.getUTC(to, toTime);
    return zkWrapped(86400ll * from.daysTo(to) + fromTime.secsTo(toTime));
}

long long ZkDateTime::msecsTo(const ZkDateTime &other) const
{
    ZkDate from, to;
    ZkTime fromTime, toTime;
    getUTC(from, fromTime);
    other.getUTC(to, toTime);
    return static_cast<long long>(kZkMSecsPerDay) * from.daysTo(to) + fromTime.msecsTo(toTime);
}

ZkDateTime ZkDateTime::toTimeSpec(Zk::TimeSpec s) const
{
    // Only "UTC or not" is asked, so an offset time stays as it is when local
    // time is wanted, and `TimeOffset` yields local time.
    const bool toUtc = s == Zk::TimeUtc;
    if (toUtc == (d->spec == SpecUtc)) {
        return *this;
    }
    ZkDateTime result;
    if (toUtc) {
        result.d->spec = SpecUtc;
        getUTC(result.d->date, result.d->time);
    } else {
        result.d->spec = getLocal(result.d->date, result.d->time);
    }
    return result;
}

bool ZkDateTime::operator==(const ZkDateTime &other) const
{
    // The offset counts even where it is a remainder of an earlier one: then two
    // equal local times take the way through UTC, which is what they mean.
    if (d->spec == other.d->spec && d->utcOffset == other.d->utcOffset) {
        return d->time == other.d->time && d->date == other.d->date;
    }
    ZkDate mine, theirs;
    ZkTime myTime, theirTime;
    getUTC(mine, myTime);
    other.getUTC(theirs, theirTime);
    return myTime == theirTime && mine == theirs;
}

bool ZkDateTime::operator<(const ZkDateTime &other) const
{
    ZkDate mine = d->date, theirs = other.d->date;
    ZkTime myTime = d->time, theirTime = other.d->time;
    if (d->spec != other.d->spec || d->spec == SpecOffset) {
        getUTC(mine, myTime);
        other.getUTC(theirs, theirTime);
    }
    return mine != theirs ? mine < theirs : myTime < theirTime;
}
