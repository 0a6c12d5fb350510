#ifndef ZK_TESTS_DATEMODEL_H
#define ZK_TESTS_DATEMODEL_H

#include <zkdatetime.h>

#include <climits>

/// Calendars reckoned the slow way, for tests and fuzz targets.
namespace datemodel
{

typedef long long ll;

struct Ymd {
    int y, m, d;
    bool operator==(const Ymd &o) const { return y == o.y && m == o.m && d == o.d; }
};

inline bool gregorianLeap(ll y)
{
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}

/// Leap as the Persian reading asks it: a plain rule on the number of the year.
inline bool ruleLeap(ll y)
{
    if (y <= 1581) {
        return (y <= 0 ? y + 1 : y) % 4 == 0;
    }
    return gregorianLeap(y);
}

/// The Persian date of a Gregorian one, step by step with a month at a time.
inline Ymd persianOf(const Ymd &g)
{
    int dayOfYear = g.d;
    for (int m = 1; m < g.m; ++m) {
        dayOfYear += m == 2                                  ? (ruleLeap(g.y) ? 29 : 28)
                     : m == 4 || m == 6 || m == 9 || m == 11 ? 30
                                                             : 31;
    }
    Ymd p = {g.y - 621, 1, dayOfYear - 79};
    if (dayOfYear <= 79) {
        p = {g.y - 622, 10, dayOfYear + (ruleLeap(g.y - 1) ? 11 : 10)};
    }
    for (int length = p.m <= 6 ? 31 : 30; p.d > length && p.m < 12; length = p.m <= 6 ? 31 : 30) {
        p.d -= length;
        ++p.m;
    }
    return p;
}

/// The day of a Persian date as `setDate` finds it, with the drifting February of
/// one process.
struct PersianSetter {
    int february = 28;

    ZkDate operator()(ll y, ll m, ll d)
    {
        if (ruleLeap(y + 622)) {
            ++february;
        }
        const ll inMarch = ruleLeap(y + 621) ? 12 : 11;
        const ll p = m >= 1 && m <= 6 ? (m - 1) * 31 + d : (m - 7) * 30 + 186 + d;
        if (p <= inMarch) {
            return date(y + 621, 3, 31 - inMarch + p);
        }
        const ll lengths[12] = {30, 31, 30, 31, 31, 30, 31, 30, 31, 31, february, 31};
        ll rest = p - inMarch;
        for (int k = 0; k < 12; ++k) {
            if (rest <= lengths[k]) {
                return k <= 8 ? date(y + 621, k + 4, rest) : date(y + 622, k - 8, rest);
            }
            rest -= lengths[k];
        }
        return ZkDate();
    }

    static ZkDate date(ll y, ll m, ll d)
    {
        if (y < INT_MIN || y > INT_MAX || d < INT_MIN || d > INT_MAX) {
            return ZkDate();
        }
        return ZkDate(int(y), int(m), int(d), Zk::DateGregorian);
    }
};

} // namespace datemodel

#endif
