#ifndef ZKDATETIME_H
#define ZKDATETIME_H

#include "zkglobal.h"
#include "zkstring.h"

#include <cstdint>

/// A calendar date, held as a Julian day number.
///
/// Year, month and day are read in one of two modes. `Zk::DateGregorian` is the
/// Julian calendar to 4 October 1582 and the Gregorian one from 15 October 1582,
/// without a year 0 (1 BC is year -1). `Zk::DatePersian` is the Persian solar
/// calendar, told from the Gregorian date. Calls that name no mode use the
/// process-wide one, Gregorian until `setDateMode`.
///
/// An object is one 32-bit number, copied by value; nothing is shared, nothing
/// allocated. Day 0 (1 January 4713 BC) is the null date, and every failure is
/// the null date. The last day is 4294967295, in the year 11,754,508.
///
///     ZkDate day(2024, 3, 20, Zk::DateGregorian);
///     day.year(Zk::DatePersian);                // 1403
///     day.addMonths(-1).toString("d.M.yyyy");   // "20.2.2024"
///
/// Two ways lead from a Persian date to its day. `setDate` in Persian mode and
/// the accessors in Persian mode go through the Gregorian leap rule, and
/// `setDate` shifts by a day with every leap year it meets; see there. The
/// static `persianToJulian` and `julianToPersian` are exact inverses of each
/// other and depend on nothing.
///
/// Threads: the mode and the drift of `setDate` belong to the process. Either
/// may be used from several threads without harm to memory, but a thread sees
/// what another one has set; hosts that care serialise themselves.
class ZK_EXPORT ZkDate
{
public:
    /// The null date.
    constexpr ZkDate() = default;

    /// `setDate(y, m, d, mode)`; the null date when that fails.
    ZkDate(int y, int m, int d, Zk::DateMode mode = Zk::DateModeDefault)
        : m_jd(dayNumber(y, m, d, mode))
    {
    }

    /// Today in local time; reads TZ afresh.
    static ZkDate currentDate();

    /// The date of a Julian day number; 0 is the null date.
    static constexpr ZkDate fromJulianDay(unsigned int jd);

    /// The Julian day number, 0 for the null date.
    constexpr unsigned int julianDay() const { return m_jd; }

    /// The mode of every later call that names none. `DateModeDefault` stores
    /// `DateGregorian`; what is no mode counts as that too.
    static void setDateMode(Zk::DateMode mode);
    static Zk::DateMode dateMode();

    constexpr bool isValid() const { return m_jd != 0; }

    /// True for a day of the Julian/Gregorian calendar: from 2 January -4713 on,
    /// no year 0, no 5 to 14 October 1582.
    static bool isValid(int y, int m, int d);

    /// The Julian rule to 1581, the Gregorian rule from 1582. Year 0 and below
    /// count as one year later, since 1 BC is -1: -1 and -5 are leap.
    static bool isLeapYear(int y);

    /// Makes this the day y/m/d of `mode`, or the null date; tells which.
    ///
    /// Persian mode: neither month nor day is range-checked; a day too many runs on
    /// into the next month, and what leads to no Gregorian day is null. Up to 28
    /// February the accessors read the same date back. Behind it the days drift:
    /// the process keeps one length of February, which starts at 28 and grows by
    /// one with every call whose year holds a Gregorian 29 February, and is never
    /// set back. In a fresh process 1402/12/29 is 19 March 2024, the second time
    /// 18 March. `persianToJulian` does not drift.
    bool setDate(int y, int m, int d, Zk::DateMode mode = Zk::DateModeDefault)
    {
        m_jd = dayNumber(y, m, d, mode);
        return isValid();
    }

    /// One component in `mode`. A null date reads as its day 0: 1 January -4713.
    ///
    /// In Persian mode the year begins on day 80 of the Gregorian year (20 March
    /// in a leap year, else 21 March) and a leap year ends with the Gregorian leap
    /// year, every fourth. The official calendar agrees in all of 1372 to 1406,
    /// and in 1407 but for its 30 Esfand, which is officially 1 Farvardin 1408.
    int year(Zk::DateMode mode = Zk::DateModeDefault) const;
    int month(Zk::DateMode mode = Zk::DateModeDefault) const;
    int day(Zk::DateMode mode = Zk::DateModeDefault) const;

    /// All three in one conversion; a null pointer is skipped.
    void getDate(int *y, int *m, int *d, Zk::DateMode mode = Zk::DateModeDefault) const;

    /// 1 is Monday, 7 is Sunday; 1 for a null date.
    int dayOfWeek() const { return static_cast<int>(m_jd % 7) + 1; }

    /// Days since 1 January of the process-mode year, which is 1. In Persian mode
    /// the Persian year is taken for a Gregorian one, which tells nothing.
    int dayOfYear() const;

    /// Length of this month, by the process mode's year and month. The lengths
    /// are the Gregorian ones: in Persian mode month 2 has 28 or 29 days.
    int daysInMonth() const;

    /// 366 when `isLeapYear` of the process-mode year, else 365; 365 for 1582 too.
    int daysInYear() const;

    /// The ISO 8601 week, 1 to 53, and the year it belongs to. A null date gives
    /// 0 and leaves `*yearNumber` alone; the pointer may be null. Reckoned from
    /// `dayOfYear`, so only the Gregorian mode tells something, from 1583 on. The
    /// year before 1 comes out as 0.
    int weekNumber(int *yearNumber = nullptr) const;

    /// `n` days later, earlier when negative; the null date beyond either end.
    /// The null date itself counts as day 0: null + 5 is day 5.
    ZkDate addDays(int n) const;

    /// The same day of the month, `n` months or years later in the Julian/Gregorian
    /// calendar whatever the mode, stepping over the missing year 0. A day that
    /// the month lacks becomes its last, as `daysInMonth` tells it: in Persian
    /// process mode that length is the wrong one. `addMonths` into 5 to 14 October
    /// 1582 gives the 15th going forward and the 4th going back, `addYears` the
    /// null date. The null date stays null. `addMonths(0)` changes nothing.
    ZkDate addMonths(int n) const;
    ZkDate addYears(int n) const;

    /// Days from this date to `other`, negative when it is earlier, modulo 2^32.
    int daysTo(const ZkDate &other) const { return static_cast<int>(other.m_jd - m_jd); }

    /// Day number of a Julian/Gregorian date. Nothing is checked but the gap of
    /// October 1582, which gives 0; other triples give what the formula gives,
    /// modulo 2^32.
    static unsigned int gregorianToJulian(int y, int m, int d);

    /// Julian/Gregorian date of a day number, any.
    static void julianToGregorian(unsigned int jd, int &y, int &m, int &d);

    /// Day number of a Persian date by the 33-year cycle; 0 for a triple that is
    /// no date (the calendar has no year 0) or lies before day 1. It agrees with
    /// the official calendar from its adoption in 1304 to 1501 at least, which
    /// `setDate` and the accessors do not.
    static unsigned int persianToJulian(int y, int m, int d);

    /// Persian date of a day number, any; the inverse of `persianToJulian`.
    static void julianToPersian(unsigned int jd, int &y, int &m, int &d);

    /// Leap by the 33-year cycle: years 1, 5, 9, 13, 17, 22, 26, 30 of each. The
    /// year before 1 is -1; false for 0.
    static bool isPersianLeapYear(int y);

    /// Text by a pattern: "d", "dd", "M", "MM", "yyyy" in the process mode, quoted
    /// text and everything else as it stands. "dddd" is "dd" twice, one to three
    /// 'y' stay letters. A year <= 0 is '-' and four digits or more, and swallows a
    /// fifth 'y'. A null date or an empty pattern gives a null string.
    ///
    ///     ZkDate(2024, 3, 5).toString("yyyy-MM-dd")        // "2024-03-05"
    ///     ZkDate(2024, 3, 5).toString("'day' d 'of' M")    // "day 5 of 3"
    ZkString toString(const ZkString &format) const;

    /// Reads the pattern's first "yyyy", first "MM" (or 'M') and first "dd" (or 'd'),
    /// all needed, as whole numbers of any length in the process mode; nothing is
    /// quoted. White space in the pattern skips any amount, other characters match
    /// themselves, and what follows the last number is not looked at. Null when
    /// the text does not match or names no day.
    ///
    ///     ZkDate::fromString("5.3.2024", "dd.MM.yyyy")     // 5 March 2024
    ///     ZkDate::fromString("20240305", "yyyyMMdd")       // null: one number
    static ZkDate fromString(const ZkString &text, const ZkString &format);

    friend constexpr bool operator==(const ZkDate &a, const ZkDate &b) { return a.m_jd == b.m_jd; }
    friend constexpr bool operator!=(const ZkDate &a, const ZkDate &b) { return a.m_jd != b.m_jd; }
    friend constexpr bool operator<(const ZkDate &a, const ZkDate &b) { return a.m_jd < b.m_jd; }
    friend constexpr bool operator<=(const ZkDate &a, const ZkDate &b) { return a.m_jd <= b.m_jd; }
    friend constexpr bool operator>(const ZkDate &a, const ZkDate &b) { return a.m_jd > b.m_jd; }
    friend constexpr bool operator>=(const ZkDate &a, const ZkDate &b) { return a.m_jd >= b.m_jd; }

private:
    friend struct ZkInspector;

    unsigned int m_jd = 0;

    static unsigned int dayNumber(int y, int m, int d, Zk::DateMode mode);
    static unsigned int distantToJulian(int y, int m, int d);
    static void distantToGregorian(unsigned int jd, int &y, int &m, int &d);

    /// The process mode: 0 or 1, or what a host cast to the enumeration. Read and
    /// written with relaxed atomic operations.
    static int m_dm;
};

constexpr ZkDate ZkDate::fromJulianDay(unsigned int jd)
{
    ZkDate date;
    date.m_jd = jd;
    return date;
}

// Both conversions count from 1 March of the year 0, day 1721120, so that the leap
// day is the last of its year. Where 32 bits suffice they are done here: the target
// divides 64-bit numbers by calling a function.

inline unsigned int ZkDate::gregorianToJulian(int y, int m, int d)
{
    if (y < 1583 || y > 1000000 || m < 1 || m > 12) {
        return distantToJulian(y, m, d);
    }
    const unsigned int january = m <= 2 ? 1 : 0; // or February: of the year before
    const unsigned int year = static_cast<unsigned int>(y) - january;
    const unsigned int month = static_cast<unsigned int>(m) + (12 & (0 - january));
    const unsigned int century = year / 100;
    // (979 month - 2919) / 32 days lead from 1 March to the first of month 3 to 14.
    return 1721119 + 1461 * year / 4 - century + century / 4 + (979 * month - 2919) / 32 +
           static_cast<unsigned int>(d);
}

inline void ZkDate::julianToGregorian(unsigned int jd, int &y, int &m, int &d)
{
    if (jd < 2299161 || jd > 300000000) {
        return distantToGregorian(jd, y, m, d);
    }
    const unsigned int quarters = 4 * (jd - 1721120) + 3;
    const unsigned int century = quarters / 146097;
    // Quarter days of the century, as 3 modulo 4, fall into years like those of the
    // Julian calendar; a century without its leap day ends before that shows.
    // 2939745 is 2^32 / 1461, rounded up: the high half of the product is the year,
    // the low half the fraction of it that has gone by.
    const std::uint64_t years = std::uint64_t(2939745) * (quarters % 146097 | 3);
    const unsigned int day = static_cast<unsigned int>(years) / 2939745 / 4; // 0 to 365
    const unsigned int january = day >= 306 ? 1 : 0;
    // (2141 day + 197913) / 65536 is the month, 3 to 14; the fraction counts its days.
    const unsigned int line = 2141 * day + 197913;
    y = static_cast<int>(100 * century + static_cast<unsigned int>(years >> 32) + january);
    m = static_cast<int>((line >> 16) - (12 & (0 - january)));
    d = static_cast<int>((line & 0xffff) / 2141) + 1;
}

static_assert(sizeof(ZkDate) == 4, "a date is its day number");

/// A time of day to the millisecond, without a zone.
///
/// An object is one 32-bit number of milliseconds since midnight, copied by
/// value. -1 is the null time, which components and arithmetic read as midnight;
/// every failure is the null time.
///
///     ZkTime(23, 59, 59, 999).addMSecs(1)         // 00:00:00.000
///     ZkTime(13, 7).toString("h:mm ap")           // "1:07 pm"
class ZK_EXPORT ZkTime
{
public:
    /// The null time.
    constexpr ZkTime() = default;

    /// `setHMS(h, m, s, ms)`; the null time when that fails.
    ZkTime(int h, int m, int s = 0, int ms = 0) { setHMS(h, m, s, ms); }

    /// Now in local time; reads TZ afresh.
    static ZkTime currentTime();

    /// The time so many milliseconds after midnight; null outside 0 to 86399999.
    static constexpr ZkTime fromMSecsOfDay(int msecs);

    /// Milliseconds since midnight, 0 for the null time.
    constexpr int msecsOfDay() const { return m_sinceMidnight < 0 ? 0 : m_sinceMidnight; }

    constexpr bool isValid() const { return m_sinceMidnight >= 0; }

    /// Hours 0 to 23, minutes and seconds 0 to 59, milliseconds 0 to 999.
    static bool isValid(int h, int m, int s, int ms = 0);

    /// Makes this the given time, or the null time; tells which.
    bool setHMS(int h, int m, int s, int ms = 0);

    /// The components, 0 for the null time.
    int hour() const { return msecsOfDay() / 3600000; }
    int minute() const { return msecsOfDay() % 3600000 / 60000; }
    int second() const { return msecsOfDay() / 1000 % 60; }
    int msec() const { return msecsOfDay() % 1000; }

    /// `n` milliseconds later, round the clock in both directions; never null.
    ZkTime addMSecs(int n) const;

    /// `addMSecs` of 1000 * s modulo 2^32: beyond 2147483 seconds either way the
    /// product wraps, and 00:00 + 3000000 s is 00:17:12.704.
    ZkTime addSecs(int s) const;

    /// Milliseconds, or whole seconds rounded toward zero, from this time to `t`
    /// of the same day; negative when it is earlier.
    int msecsTo(const ZkTime &t) const { return t.msecsOfDay() - msecsOfDay(); }
    int secsTo(const ZkTime &t) const { return msecsTo(t) / 1000; }

    /// A stopwatch on the wall clock: `start` takes the current time, `elapsed`
    /// tells the milliseconds since then, `restart` both. Right for less than a
    /// day, while nobody sets the clock and local time does not change.
    void start();
    int restart();
    int elapsed() const;

    /// Text by a pattern: hours "h" and "hh", "H" and "HH", minutes "m" and "mm",
    /// seconds "s" and "ss", milliseconds "z" and "zzz", all with and without zeros
    /// in front; "ap" or "a", "AP" or "A" for am and pm, which turn "h" to the
    /// 12-hour clock wherever they stand. Quoted text and everything else stays. The
    /// null time or an empty pattern gives a null string.
    ///
    ///     ZkTime(0, 7, 9).toString("h:mm ap")         // "12:07 am"
    ///     ZkTime(13, 7, 9).toString("'at' HH")        // "at 13"
    ZkString toString(const ZkString &format) const;

    /// Reads the pattern's first "hh" (or 'h'), "mm" (or 'm') and "ss" (or 's'), all
    /// needed, as `ZkDate::fromString` does; "HH" is no hour. With "AP" (else "ap") in
    /// the pattern, "AM" and "PM" ("am" and "pm") are looked for anywhere in the
    /// text: am makes hour 12 hour 0, pm adds 12 to any other hour.
    ///
    ///     ZkTime::fromString("01:30:00 pm", "hh:mm:ss ap")    // 13:30:00
    static ZkTime fromString(const ZkString &text, const ZkString &format);

    /// By the milliseconds; the null time is before midnight.
    friend constexpr bool operator==(const ZkTime &a, const ZkTime &b)
    {
        return a.m_sinceMidnight == b.m_sinceMidnight;
    }
    friend constexpr bool operator!=(const ZkTime &a, const ZkTime &b)
    {
        return a.m_sinceMidnight != b.m_sinceMidnight;
    }
    friend constexpr bool operator<(const ZkTime &a, const ZkTime &b)
    {
        return a.m_sinceMidnight < b.m_sinceMidnight;
    }
    friend constexpr bool operator<=(const ZkTime &a, const ZkTime &b)
    {
        return a.m_sinceMidnight <= b.m_sinceMidnight;
    }
    friend constexpr bool operator>(const ZkTime &a, const ZkTime &b)
    {
        return a.m_sinceMidnight > b.m_sinceMidnight;
    }
    friend constexpr bool operator>=(const ZkTime &a, const ZkTime &b)
    {
        return a.m_sinceMidnight >= b.m_sinceMidnight;
    }

private:
    friend struct ZkInspector;

    int m_sinceMidnight = -1; ///< milliseconds; -1 is the null time
};

constexpr ZkTime ZkTime::fromMSecsOfDay(int msecs)
{
    ZkTime time;
    time.m_sinceMidnight = msecs >= 0 && msecs < 86400000 ? msecs : -1;
    return time;
}

static_assert(sizeof(ZkTime) == 4, "a time is its milliseconds");

/// A date and a time of day, and what they refer to: local time, UTC, or a fixed
/// offset from UTC.
///
/// An object is one pointer to a record of its own of 16 bytes; copying allocates
/// and copies it, nothing is shared.
///
/// Local time is what the C library's zone rules say; TZ is read afresh by every
/// conversion. The rules are asked within 1970 to 2037 only: dates before 2 January
/// 1970 are taken as that day of 1970, 2 January 1970 itself and dates from 30
/// December 2037 as that day of 2037 (29 February as the 28th), and moved back by
/// whole days afterwards. A local date-time remembers whether a conversion found
/// daylight saving time in force, which tells apart the two passes of the hour
/// that the clock repeats; `setDate` and `setTime` forget it. Without that, and where
/// a zone repeats an hour with no change of daylight saving (Moscow, 26 October 2014,
/// 01:30), a time means the first pass, and one that the clock skips is counted on
/// from before the gap: 02:30 is 03:30. The same numbers are the same moment, whatever
/// was converted before.
///
///     ZkDateTime noon(ZkDate(2024, 7, 1), ZkTime(12, 0), Zk::TimeUtc);
///     noon.toTimeSpec(Zk::TimeLocal).toString("HH:mm")    // "14:00" in Berlin
///
/// Threads: conversions call `tzset`; the process must not change TZ meanwhile.
class ZK_EXPORT ZkDateTime
{
public:
    /// Null date, null time, local.
    ZkDateTime();

    /// Local midnight of `d`, also of the null date: the time is 00:00, not null.
    ZkDateTime(const ZkDate &d);

    /// A valid date with a null time takes midnight. `TimeOffset` is taken as
    /// local: an offset is given by `setUtcOffset`.
    ZkDateTime(const ZkDate &d, const ZkTime &t, Zk::TimeSpec s = Zk::TimeLocal);

    ZkDateTime(const ZkDateTime &other);
    ZkDateTime &operator=(const ZkDateTime &other);
    ~ZkDateTime();

    /// Now, in local time or UTC, to the millisecond.
    static ZkDateTime currentDateTime();
    static ZkDateTime currentDateTimeUtc();
    static long long currentMSecsSinceEpoch();

    /// Null: neither a date nor a time. Valid: both.
    bool isNull() const;
    bool isValid() const;

    ZkDate date() const;
    ZkTime time() const;
    Zk::TimeSpec timeSpec() const;

    /// A valid date brings midnight when there is no time.
    void setDate(const ZkDate &d);
    void setTime(const ZkTime &t);

    /// What the numbers refer to from now on; they stay, the offset too.
    void setTimeSpec(Zk::TimeSpec s);

    /// Seconds east of UTC from now on, the numbers stay; 0 makes this UTC.
    void setUtcOffset(int seconds);

    /// The offset that was set; 0 for local time, UTC and what is not valid.
    int utcOffset() const;

    /// Milliseconds since 1970-01-01 00:00 UTC. Set, they become local time, or
    /// UTC when this was UTC; the offset is given up. Days that `ZkDate::addDays`
    /// cannot reach from 1970 give the null date.
    long long toMSecsSinceEpoch() const;
    void setMSecsSinceEpoch(long long msecs);
    static ZkDateTime fromMSecsSinceEpoch(long long msecs);

    /// The same in whole seconds; 4294967295 for what is below 0 or above
    /// 4294967294 seconds.
    unsigned int toTime_t() const;
    void setTime_t(unsigned int secs);
    static ZkDateTime fromTime_t(unsigned int secs);

    /// The stored date's `ZkDate::addDays` and so on, with the time as it stands.
    /// An offset time comes back as local time, its numbers unchanged.
    ZkDateTime addDays(int n) const;
    ZkDateTime addMonths(int n) const;
    ZkDateTime addYears(int n) const;

    /// A moment so much later, earlier when negative, reckoned in UTC. An offset
    /// time comes back converted to local time. A day beyond the range of `ZkDate`
    /// is the null date, beside the time of day in UTC.
    ZkDateTime addSecs(int s) const;
    ZkDateTime addMSecs(long long ms) const;

    /// Days between the stored dates, no conversion.
    int daysTo(const ZkDateTime &other) const;

    /// Seconds (modulo 2^32, each time of day rounded toward this) and milliseconds
    /// between two moments, both taken to UTC.
    int secsTo(const ZkDateTime &other) const;
    long long msecsTo(const ZkDateTime &other) const;

    /// The same moment in UTC or in local time. `TimeOffset` asks for local time;
    /// an offset time asked for as local, or a local one, comes back as it is.
    ZkDateTime toTimeSpec(Zk::TimeSpec s) const;

    /// The patterns of `ZkDate::toString` and `ZkTime::toString` together. A null
    /// string unless `isValid()`.
    ///
    ///     ZkDateTime(ZkDate(2024, 3, 5), ZkTime(9, 7, 5)).toString("yyyy-MM-dd hh:mm:ss")
    ///     // "2024-03-05 09:07:05"
    ZkString toString(const ZkString &format) const;

    /// Reads local time by a pattern of "yyyy", 'M', 'd', 'h', 'm', 's', each of
    /// the last five doubled or not, all six needed; the rest as in
    /// `ZkDate::fromString`. One of these letters alone at the pattern's end is
    /// lost: "...:s" is null, "...:ss" works. "AP" and "ap" stand for the marker that the
    /// text holds; wherever one stands in the text it counts, pattern or not. A
    /// time that does not exist leaves midnight of a valid day.
    static ZkDateTime fromString(const ZkString &text, const ZkString &format);

    /// Equal numbers with equal spec and offset, or the same moment in UTC. Two
    /// local or two UTC date-times order by their numbers, others by the moment.
    /// The offset compared is the stored one, also where it no longer counts.
    bool operator==(const ZkDateTime &other) const;
    bool operator!=(const ZkDateTime &other) const { return !(*this == other); }
    bool operator<(const ZkDateTime &other) const;
    bool operator<=(const ZkDateTime &other) const { return !(other < *this); }
    bool operator>(const ZkDateTime &other) const { return other < *this; }
    bool operator>=(const ZkDateTime &other) const { return !(*this < other); }

private:
    friend struct ZkInspector;

    /// What `spec` holds: the time that it is in, and for local time whether
    /// daylight saving time is in force, in the numbers of `tm_isdst`.
    enum Spec {
        SpecLocalUnknown = -1,
        SpecLocalStandard = 0,
        SpecLocalDst = 1,
        SpecUtc = 2,
        SpecOffset = 3
    };

    struct Data {
        ZkDate date;
        ZkTime time;
        int spec;      ///< a `Spec`
        int utcOffset; ///< seconds east of UTC; counts only with `SpecOffset`
    };

    static Data *createData(const ZkDate &d, const ZkTime &t, int spec);
    bool isLocal() const { return d->spec < SpecUtc; }
    void getUTC(ZkDate &date, ZkTime &time) const;
    int getLocal(ZkDate &date, ZkTime &time) const;
    void becomeLocalUnlessWas(int oldSpec);
    static ZkDateTime now(bool utc);

    Data *d; ///< never null
};

#endif
