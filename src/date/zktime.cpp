#include "date/zkclock.h"

#include <sys/time.h>

#include <algorithm>

namespace
{

constexpr int kMSecsPerDay = 86400000;

timeval wallClock()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return now;
}

/// Milliseconds from `from` to `to`, taken for the next day's when it is earlier.
int forwardMSecs(const ZkTime &from, const ZkTime &to)
{
    const int msecs = from.msecsTo(to);
    return msecs < 0 ? msecs + kMSecsPerDay : msecs;
}

} // namespace

ZkClockReading::ZkClockReading(const std::tm *fields, int msec) : isDst(-1)
{
    if (fields == nullptr) {
        return;
    }
    date = ZkDate::fromJulianDay(
        ZkDate::gregorianToJulian(fields->tm_year + 1900, fields->tm_mon + 1, fields->tm_mday));
    time = ZkTime(fields->tm_hour, fields->tm_min, std::min(fields->tm_sec, 59), msec);
    isDst = fields->tm_isdst > 0 ? 1 : fields->tm_isdst < 0 ? -1 : 0;
}

ZkClockReading ZkClockReading::local()
{
    const timeval now = wallClock();
    std::tm fields = {};
    tzset();
    return ZkClockReading(localtime_r(&now.tv_sec, &fields), static_cast<int>(now.tv_usec / 1000));
}

ZkClockReading ZkClockReading::utc()
{
    const timeval now = wallClock();
    std::tm fields = {};
    return ZkClockReading(gmtime_r(&now.tv_sec, &fields), static_cast<int>(now.tv_usec / 1000));
}

long long ZkClockReading::msecsSinceEpoch()
{
    const timeval now = wallClock();
    return 1000ll * now.tv_sec + now.tv_usec / 1000;
}

ZkTime ZkTime::currentTime()
{
    return ZkClockReading::local().time;
}

bool ZkTime::isValid(int h, int m, int s, int ms)
{
    return h >= 0 && h < 24 && m >= 0 && m < 60 && s >= 0 && s < 60 && ms >= 0 && ms < 1000;
}

bool ZkTime::setHMS(int h, int m, int s, int ms)
{
    m_sinceMidnight = isValid(h, m, s, ms) ? ms + 1000 * (60 * m + 3600 * h + s) : -1;
    return isValid();
}

ZkTime ZkTime::addMSecs(int n) const
{
    long long sum = (static_cast<long long>(msecsOfDay()) + n) % kMSecsPerDay;
    if (sum < 0) {
        sum += kMSecsPerDay;
    }
    return fromMSecsOfDay(static_cast<int>(sum));
}

ZkTime ZkTime::addSecs(int s) const
{
    // The product wraps before it is taken modulo the day; widening it would move
    // every time that hosts reckon with more than 24 days of seconds.
    return addMSecs(zkWrapped(1000ll * s));
}

void ZkTime::start()
{
    *this = currentTime();
}

int ZkTime::restart()
{
    const ZkTime now = currentTime();
    const int msecs = forwardMSecs(*this, now);
    *this = now;
    return msecs;
}

int ZkTime::elapsed() const
{
    return forwardMSecs(*this, currentTime());
}
