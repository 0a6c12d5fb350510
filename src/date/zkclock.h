#ifndef ZKCLOCK_H
#define ZKCLOCK_H

#include "zkdatetime.h"

#include <ctime>

constexpr int kZkMSecsPerDay = 86400000;

/// A date and a time of day as the C library broke them down; both null when it
/// could not.
struct ZkClockReading {
    ZkDate date;
    ZkTime time;
    int isDst; ///< 1, 0, or -1 where the C library does not know

    /// `fields` is null for a failed conversion. A leap second counts as the one
    /// before it.
    ZkClockReading(const std::tm *fields, int msec);

    /// The wall clock now.
    static ZkClockReading local();
    static ZkClockReading utc();
    static long long msecsSinceEpoch();
};

#endif
