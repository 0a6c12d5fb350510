#include "date/zkclock.h"

#include <sys/time.h>

#include <algorithm>

namespace
{

timeval wallClock()
{
    timeval now = {};
    gettimeofday(&now, nullptr);
    return now;
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
