#include "zkdatetime.h"

#include <algorithm>
#include <climits>
#include <ctime>

namespace
{

constexpr unsigned int kLastJulianDay = 2299160; // 4 October 1582
constexpr unsigned int kDaysPer4Years = 1461;
constexpr unsigned int kDaysPer400Years = 146097;

// Day numbers of 1 March in the year 0 of each calendar, 1 BC counted as year 0.
// The Julian one is taken 4800 years (1200 leap cycles) earlier, so that no day
// number lies before it.
constexpr unsigned int kGregorianMarch0 = 1721120;
constexpr unsigned int kYearsBeforeJulian = 4800;
constexpr unsigned int kDaysBeforeJulianDay0 = 32082;

constexpr signed char kMonthLengths[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

struct Civil {
    int year, month, day;
};

/// A day named by its March-based year, where the leap day is the last one:
/// `year` is the Gregorian year of that March, 1 BC being 0; `day` counts from
/// 0 at 1 March to 365.
struct MarchDay {
    int year;
    unsigned int day;
    bool fromJanuary() const { return day >= 306; }
};

/// The calendar year that holds the day: no year 0, so 0 is -1.
int calendarYear(const MarchDay &march)
{
    const int year = march.year + (march.fromJanuary() ? 1 : 0);
    return year <= 0 ? year - 1 : year;
}

MarchDay marchDay(unsigned int jd)
{
    if (jd <= kLastJulianDay) {
        const unsigned int n = 4 * (jd + kDaysBeforeJulianDay0) + 3;
        return {static_cast<int>(n / kDaysPer4Years - kYearsBeforeJulian), n % kDaysPer4Years / 4};
    }
    unsigned int n = jd - kGregorianMarch0;
    unsigned int years = 0;
    if (n >= 1u << 29) { // 4n + 3 must fit; reached in the year 1,469,871
        years = n / kDaysPer400Years * 400;
        n %= kDaysPer400Years;
    }
    const unsigned int quarters = 4 * n + 3;
    const unsigned int century = quarters / kDaysPer400Years;
    // Quarter days within the century, rounded to 3 modulo 4: the same form again,
    // and a century that lacks its leap day ends before the year notices.
    const unsigned int rest = quarters % kDaysPer400Years | 3;
    return {static_cast<int>(years + 100 * century + rest / kDaysPer4Years),
            rest % kDaysPer4Years / 4};
}

/// Month and day of `march`: (2141 d + 197913) / 65536 is the month, 3 to 14,
/// for d of 0 to 365, and the fraction counts the days, 2141 / 65536 being a
/// little less than 1 / 30.6.
Civil civil(const MarchDay &march)
{
    const unsigned int line = 2141 * march.day + 197913;
    const int month = static_cast<int>(line >> 16);
    return {calendarYear(march), march.fromJanuary() ? month - 12 : month,
            static_cast<int>((line & 0xffff) / 2141) + 1};
}

/// `ZkDate::isLeapYear` for any year up to UINT_MAX, of which some sums of two
/// int exceed int.
constexpr bool isLeap(long long y)
{
    if (y <= 1581)
        return ((y <= 0 ? y + 1 : y) & 3) == 0;
    const unsigned int year = static_cast<unsigned int>(y);
    return year % 4 == 0 && (year % 25 != 0 || year % 16 == 0);
}

constexpr bool isInReformGap(long long y, long long m, long long d)
{
    return y == 1582 && m == 10 && d >= 5 && d <= 14;
}

constexpr bool isGregorian(long long y, long long m, long long d)
{
    return y > 1582 || (y == 1582 && (m > 10 || (m == 10 && d > 14)));
}

bool isCalendarDay(long long y, long long m, long long d)
{
    if (y < -4713 || y == 0 || m < 1 || m > 12 || d < 1)
        return false;
    if (y == -4713 && m == 1 && d == 1) // day 0, the null date
        return false;
    if (isInReformGap(y, m, d))
        return false;
    return d <= kMonthLengths[m] || (d == 29 && m == 2 && isLeap(y));
}

/// The day number of any triple, in or out of range; the divisions round to 0.
long long dayNumberOfAnything(long long y, long long m, long long d)
{
    if (isInReformGap(y, m, d))
        return 0;
    if (isGregorian(y, m, d)) {
        const long long a = (m - 14) / 12;
        return 1461 * (y + 4800 + a) / 4 + 367 * (m - 2 - 12 * a) / 12 -
               3 * ((y + 4900 + a) / 100) / 4 + d - 32075;
    }
    if (y < 0)
        ++y;
    const long long a = (14 - m) / 12;
    return (153 * (m + 12 * a - 3) + 2) / 5 + 1461 * (y + 4800 - a) / 4 + d - 32083;
}

/// Years whose every day has a 32-bit number, and whose March-based year is
/// not negative when counted from -4800.
constexpr bool isQuickYear(long long y)
{
    return y >= -4713 && y <= 11750000;
}

/// The same number for a quick year and a month of 1 to 12, outside the gap,
/// in 32 bits: the target divides 64-bit numbers by calling a function.
unsigned int dayNumber(int y, int m, int d)
{
    const bool gregorian = isGregorian(y, m, d);
    const unsigned int fromJanuary = m <= 2 ? 1 : 0;
    const unsigned int year =
        static_cast<unsigned int>(y + (y < 0 ? 1 : 0)) + kYearsBeforeJulian - fromJanuary;
    const unsigned int month = static_cast<unsigned int>(m) + 12 * fromJanuary - 3;
    const unsigned int days =
        365 * year + year / 4 + (153 * month + 2) / 5 + static_cast<unsigned int>(d);
    if (!gregorian)
        return days - 32083;
    const unsigned int century = year / 100;
    return days - century + century / 4 - 32045;
}

/// The day number of a triple that `isCalendarDay` accepts; 0 beyond the last day.
unsigned int dayNumberOrNull(long long y, int m, int d)
{
    if (isQuickYear(y))
        return dayNumber(static_cast<int>(y), m, d);
    const long long jd = dayNumberOfAnything(y, m, d);
    return jd <= UINT_MAX ? static_cast<unsigned int>(jd) : 0;
}

/// The Persian date whose Gregorian (or Julian) form is `march`. A Gregorian
/// year has 79 days before the new year; they belong to months 10 to 12 of the
/// year before, which began on day 11 or 12 of month 10 at 1 January.
Civil persian(const MarchDay &march)
{
    const int y = calendarYear(march);
    const int dayOfYear = static_cast<int>(march.day) + (march.fromJanuary() ? -305
                                                         : isLeap(y)         ? 61
                                                                             : 60);
    if (dayOfYear <= 79) {
        const int days = dayOfYear + (isLeap(y - 1) ? 11 : 10) - 1;
        return {y - 622, days / 30 + 10, days % 30 + 1};
    }
    const int days = dayOfYear - 80;
    if (days < 186)
        return {y - 621, days / 31 + 1, days % 31 + 1};
    return {y - 621, (days - 186) / 30 + 7, (days - 186) % 30 + 1};
}

/// Days of February in the walk from a Persian date to its Gregorian one, the
/// only entry of that table of months which is not constant. It grows for the
/// life of the process and is never set back: hosts have the drift it causes in
/// their stored dates.
int driftingFebruary = 28;

struct LongCivil {
    long long year;
    long long month, day;
};

/// The Gregorian triple of a Persian one, none of whose numbers is checked; the
/// result may be no date. Raises `driftingFebruary` first when the year holds a
/// Gregorian 29 February.
LongCivil gregorianOfPersian(long long y, long long m, long long d)
{
    const long long year = y + 621; // in which the Persian year begins
    if (isLeap(year + 1))
        __atomic_fetch_add(&driftingFebruary, 1, __ATOMIC_RELAXED);

    const long long marchDays = isLeap(year) ? 12 : 11;
    const long long dayOfYear = m >= 1 && m <= 6 ? (m - 1) * 31 + d : (m - 7) * 30 + 186 + d;
    if (dayOfYear <= marchDays)
        return {year, 3, 31 - marchDays + dayOfYear};

    long long rest = dayOfYear - marchDays; // 1 is 1 April
    constexpr long long kAprilToJanuary = 306;
    if (rest <= kAprilToJanuary) {
        const Civil date = civil({2000, static_cast<unsigned int>(rest) + 30});
        return {date.month == 1 ? year + 1 : year, date.month, date.day};
    }
    rest -= kAprilToJanuary;
    const int february = __atomic_load_n(&driftingFebruary, __ATOMIC_RELAXED);
    if (rest <= february)
        return {year + 1, 2, rest};
    return {year + 1, 3, rest - february};
}

/// Year, month and day in a mode; anything but `DatePersian` is Gregorian.
Civil civilIn(unsigned int jd, Zk::DateMode mode)
{
    if (mode == Zk::DateModeDefault)
        mode = ZkDate::dateMode();
    const MarchDay march = marchDay(jd);
    return mode == Zk::DatePersian ? persian(march) : civil(march);
}

/// `newYear`, one further in the direction of `n` when the way from `oldYear`
/// led over the year 0, which there is not.
long long steppedOverYear0(int oldYear, long long newYear, int n)
{
    if ((oldYear > 0 && newYear <= 0) || (oldYear < 0 && newYear >= 0))
        newYear += n > 0 ? 1 : -1;
    return newYear;
}

/// The day of a Julian/Gregorian month, or what `daysInMonth` calls its last.
ZkDate clampedToMonth(long long y, int m, int d)
{
    ZkDate date;
    if (isCalendarDay(y, m, 1))
        date = ZkDate::fromJulianDay(dayNumberOrNull(y, m, 1));
    d = std::min(d, date.daysInMonth());
    return isCalendarDay(y, m, d) ? ZkDate::fromJulianDay(dayNumberOrNull(y, m, d)) : ZkDate();
}

constexpr unsigned int kDaysPer33Years = 33 * 365 + 8;

// The 33-year cycle is reckoned in years that are positive throughout: 162 cycles
// hold more days than lie between day 0 and day 1948320, where year 1 begins.
constexpr unsigned int kYearsBeforePersian = 33 * 162;
constexpr unsigned int kDaysBeforePersianDay0 = 162 * kDaysPer33Years - 1948320;

/// First day of a shifted year. The fraction 8/33 carries the leap days; its
/// phase makes years 1, 5, 9, 13, 17, 22, 26 and 30 of a cycle leap.
constexpr long long persianYearStart(unsigned int shiftedYear)
{
    return 365ll * (shiftedYear - 1) + (8 * shiftedYear + 21) / 33;
}

} // namespace

int ZkDate::m_dm = Zk::DateGregorian;

ZkDate ZkDate::currentDate()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    tzset();
    if (localtime_r(&now, &local) == nullptr)
        return ZkDate();
    return fromJulianDay(gregorianToJulian(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday));
}

void ZkDate::setDateMode(Zk::DateMode mode)
{
    const int stored = mode == Zk::DateModeDefault ? Zk::DateGregorian : mode;
    __atomic_store_n(&m_dm, stored, __ATOMIC_RELAXED);
}

Zk::DateMode ZkDate::dateMode()
{
    return __atomic_load_n(&m_dm, __ATOMIC_RELAXED) == Zk::DatePersian ? Zk::DatePersian
                                                                       : Zk::DateGregorian;
}

bool ZkDate::isValid(int y, int m, int d)
{
    return isCalendarDay(y, m, d);
}

bool ZkDate::isLeapYear(int y)
{
    return isLeap(y);
}

bool ZkDate::setDate(int y, int m, int d, Zk::DateMode mode)
{
    jd = 0;
    if (mode == Zk::DateModeDefault)
        mode = dateMode();
    if (mode == Zk::DatePersian) {
        const LongCivil date = gregorianOfPersian(y, m, d);
        if (isCalendarDay(date.year, date.month, date.day))
            jd = dayNumberOrNull(date.year, static_cast<int>(date.month),
                                 static_cast<int>(date.day));
    } else if (isCalendarDay(y, m, d)) {
        jd = dayNumberOrNull(y, m, d);
    }
    return jd != 0;
}

int ZkDate::year(Zk::DateMode mode) const
{
    return civilIn(jd, mode).year;
}

int ZkDate::month(Zk::DateMode mode) const
{
    return civilIn(jd, mode).month;
}

int ZkDate::day(Zk::DateMode mode) const
{
    return civilIn(jd, mode).day;
}

void ZkDate::getDate(int *y, int *m, int *d, Zk::DateMode mode) const
{
    const Civil date = civilIn(jd, mode);
    if (y != nullptr)
        *y = date.year;
    if (m != nullptr)
        *m = date.month;
    if (d != nullptr)
        *d = date.day;
}

int ZkDate::dayOfYear() const
{
    // The year is that of the process mode, read as a Gregorian one even when it
    // is Persian: hosts compare the number, they do not print it.
    return static_cast<int>(jd + 1 - gregorianToJulian(year(), 1, 1));
}

int ZkDate::daysInMonth() const
{
    // Gregorian lengths for Persian months too: addMonths() and addYears() clamp
    // by them, and dates that hosts stored were clamped so.
    const Civil date = civilIn(jd, Zk::DateModeDefault);
    return date.month == 2 && isLeap(date.year) ? 29 : kMonthLengths[date.month];
}

int ZkDate::daysInYear() const
{
    return isLeap(year()) ? 366 : 365;
}

int ZkDate::weekNumber(int *yearNumber) const
{
    if (!isValid())
        return 0;
    int week = 0;
    int weekYear = year();
    int dayInYear = dayOfYear() - 1;
    const int weekday = dayOfWeek() % 7; // Sunday is 0
    for (;;) {
        const int days = isLeap(weekYear) ? 366 : 365;
        // First days of this year's week 1 and of the next year's, -3 to 3 days
        // from each new year.
        const int bottom = (dayInYear + 11 - weekday) % 7 - 3;
        int top = bottom - days % 7;
        if (top < -3)
            top += 7;
        top += days;
        if (dayInYear >= top) {
            ++weekYear;
            week = 1;
            break;
        }
        if (dayInYear >= bottom) {
            week = 1 + (dayInYear - bottom) / 7;
            break;
        }
        --weekYear;
        dayInYear += isLeap(weekYear) ? 366 : 365;
    }
    if (yearNumber != nullptr)
        *yearNumber = weekYear;
    return week;
}

ZkDate ZkDate::addDays(int n) const
{
    const long long sum = static_cast<long long>(jd) + n;
    return sum >= 0 && sum <= UINT_MAX ? fromJulianDay(static_cast<unsigned int>(sum)) : ZkDate();
}

ZkDate ZkDate::addMonths(int n) const
{
    if (!isValid() || n == 0)
        return *this;
    const Civil date = civil(marchDay(jd));
    int y = date.year + n / 12;
    int m = date.month + n % 12;
    if (m <= 0) {
        --y;
        m += 12;
    } else if (m > 12) {
        ++y;
        m -= 12;
    }
    const long long year = steppedOverYear0(date.year, y, n);
    int day = date.day;
    if (isInReformGap(year, m, day))
        day = n > 0 ? 15 : 4;
    return clampedToMonth(year, m, day);
}

ZkDate ZkDate::addYears(int n) const
{
    if (!isValid())
        return *this;
    const Civil date = civil(marchDay(jd));
    const long long year = steppedOverYear0(date.year, static_cast<long long>(date.year) + n, n);
    return clampedToMonth(year, date.month, date.day);
}

unsigned int ZkDate::gregorianToJulian(int y, int m, int d)
{
    if (isInReformGap(y, m, d))
        return 0;
    if (isQuickYear(y) && m >= 1 && m <= 12)
        return dayNumber(y, m, d);
    return static_cast<unsigned int>(dayNumberOfAnything(y, m, d));
}

void ZkDate::julianToGregorian(unsigned int jd, int &y, int &m, int &d)
{
    const Civil date = civil(marchDay(jd));
    y = date.year;
    m = date.month;
    d = date.day;
}

unsigned int ZkDate::persianToJulian(int y, int m, int d)
{
    if (y == 0 || y < -5335 || y > 11753890 || m < 1 || m > 12 || d < 1)
        return 0;
    const int length = m <= 6 ? 31 : m < 12 || isPersianLeapYear(y) ? 30 : 29;
    if (d > length)
        return 0;
    const unsigned int year = static_cast<unsigned int>(y + (y < 0 ? 1 : 0)) + kYearsBeforePersian;
    const int dayOfYear = (m <= 7 ? 31 * (m - 1) : 30 * (m - 7) + 186) + d - 1;
    const long long jd = persianYearStart(year) + dayOfYear - kDaysBeforePersianDay0;
    return jd >= 1 && jd <= UINT_MAX ? static_cast<unsigned int>(jd) : 0;
}

void ZkDate::julianToPersian(unsigned int jd, int &y, int &m, int &d)
{
    // Whole cycles are taken off first, so that the rest stays small. A year
    // begins on day floor((12053 year - 12024) / 33), which solves to the year of
    // a day without a trial.
    const unsigned int cycles = jd / kDaysPer33Years;
    const unsigned int rest = jd % kDaysPer33Years + kDaysBeforePersianDay0;
    const unsigned int shiftedYear = (33 * rest + 12056) / kDaysPer33Years;
    const int day = static_cast<int>(rest) - static_cast<int>(persianYearStart(shiftedYear));
    const int year = static_cast<int>(33 * cycles + shiftedYear - kYearsBeforePersian);
    y = year <= 0 ? year - 1 : year;
    if (day < 186) {
        m = day / 31 + 1;
        d = day % 31 + 1;
    } else {
        m = (day - 186) / 30 + 7;
        d = (day - 186) % 30 + 1;
    }
}

bool ZkDate::isPersianLeapYear(int y)
{
    if (y == 0)
        return false;
    int inCycle = (y < 0 ? y + 1 : y) % 33;
    if (inCycle < 0)
        inCycle += 33;
    return (8 * inCycle + 29) % 33 < 8;
}
