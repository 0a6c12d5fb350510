#include "date/zkclock.h"

namespace
{

/// Milliseconds from `from` to `to`, taken for the next day's when it is earlier.
int forwardMSecs(const ZkTime &from, const ZkTime &to)
{
    const int msecs = from.msecsTo(to);
    return msecs < 0 ? msecs + kZkMSecsPerDay : msecs;
}

} // namespace

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
    long long sum = (static_cast<long long>(msecsOfDay()) + n) % kZkMSecsPerDay;
    if (sum < 0) {
        sum += kZkMSecsPerDay;
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
