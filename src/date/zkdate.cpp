#include "date/zkclock.h"
#include "zkdatetime.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace
{

constexpr unsigned int kLastJulianDay = 2299160; // 4 October 1582
constexpr unsigned int kDaysPer400Years = 146097;

constexpr signed char kMonthLengths[13] = {0, 31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
constexpr short kDaysBeforeMonth[13] = {0, 0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};

struct Civil {
    int year, month, day;
};

/// The Julian or Gregorian date of a day.
Civil civil(unsigned int jd)
{
    Civil date;
    ZkDate::julianToGregorian(jd, date.year, date.month, date.day);
    return date;
}

/// `ZkDate::isLeapYear` for any year up to UINT_MAX, of which some sums of two
/// int exceed int.
constexpr bool isLeap(long long y)
{
    if (y <= 1581) {
        return ((y <= 0 ? y + 1 : y) & 3) == 0;
    }
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

/// Days of month 1 to 12 by the Gregorian lengths.
int monthLength(long long y, int m)
{
    return kMonthLengths[m] + (m == 2 && isLeap(y) ? 1 : 0);
}

bool isCalendarDay(long long y, long long m, long long d)
{
    if (y < -4713 || y == 0 || m < 1 || m > 12 || d < 1) {
        return false;
    }
    if (y == -4713 && m == 1 && d == 1) { // day 0, the null date
        return false;
    }
    if (isInReformGap(y, m, d)) {
        return false;
    }
    return d <= monthLength(y, static_cast<int>(m));
}

/// The day number of any triple, in or out of range; the divisions round to 0. Seldom
/// needed, and long divisions by numbers known beforehand take many instructions.
__attribute__((noinline, cold)) long long dayNumberOfAnything(long long y, long long m, long long d)
{
    if (isInReformGap(y, m, d)) {
        return 0;
    }
    if (isGregorian(y, m, d)) {
        const long long a = (m - 14) / 12;
        return 1461 * (y + 4800 + a) / 4 + 367 * (m - 2 - 12 * a) / 12 -
               3 * ((y + 4900 + a) / 100) / 4 + d - 32075;
    }
    if (y < 0) {
        ++y;
    }
    const long long a = (14 - m) / 12;
    return (153 * (m + 12 * a - 3) + 2) / 5 + 1461 * (y + 4800 - a) / 4 + d - 32083;
}

/// The day number of a day of the calendar, 0 for any other triple and beyond the
/// last day.
__attribute__((noinline, cold)) unsigned int distantDayNumber(int y, int m, int d)
{
    const long long jd = isCalendarDay(y, m, d) ? dayNumberOfAnything(y, m, d) : 0;
    return jd <= UINT_MAX ? static_cast<unsigned int>(jd) : 0;
}

/// The same, quicker where nothing but the length of the month needs a test.
inline unsigned int dayNumberOrNull(int y, int m, int d)
{
    if (y < 1583 || y > 1000000 || m < 1 || m > 12) {
        return distantDayNumber(y, m, d);
    }
    return d >= 1 && d <= monthLength(y, m) ? ZkDate::gregorianToJulian(y, m, d) : 0;
}

/// The Persian date of a Gregorian (or Julian) one. A Gregorian year has 79 days
/// before the new year; they belong to months 10 to 12 of the year before, which
/// had come to day 10 or 11 of month 10 on 31 December.
Civil persian(const Civil &date)
{
    const int y = date.year;
    const int leapDay = date.month > 2 && isLeap(y) ? 1 : 0;
    const int dayOfYear = kDaysBeforeMonth[date.month] + leapDay + date.day;
    if (dayOfYear <= 79) {
        const int days = dayOfYear + (isLeap(y - 1) ? 11 : 10) - 1;
        return {y - 622, days / 30 + 10, days % 30 + 1};
    }
    const int days = dayOfYear - 80;
    if (days < 186) {
        return {y - 621, days / 31 + 1, days % 31 + 1};
    }
    return {y - 621, (days - 186) / 30 + 7, (days - 186) % 30 + 1};
}

/// Days of February in the walk from a Persian date to its Gregorian one. It grows
/// for the life of the process and is never set back, so the same Persian date of
/// March is a day earlier after every leap year that was set. A reset would move
/// every such date against those that the process set before.
int driftingFebruary = 28;

/// The nearest int; beyond int there is no date, so the nearest one is none too.
int clamped(long long value)
{
    return static_cast<int>(std::clamp<long long>(value, INT_MIN, INT_MAX));
}

/// The Gregorian triple of a Persian one, none of whose numbers is checked; the
/// result may be no date. Raises `driftingFebruary` first when the year holds a
/// Gregorian 29 February.
Civil gregorianOfPersian(long long y, long long m, long long d)
{
    const long long year = y + 621; // in which the Persian year begins
    if (isLeap(year + 1)) {
        __atomic_fetch_add(&driftingFebruary, 1, __ATOMIC_RELAXED);
    }

    const long long marchDays = isLeap(year) ? 12 : 11;
    const long long dayOfYear = m >= 1 && m <= 6 ? (m - 1) * 31 + d : (m - 7) * 30 + 186 + d;
    if (dayOfYear <= marchDays) {
        return {clamped(year), 3, clamped(31 - marchDays + dayOfYear)};
    }

    long long rest = dayOfYear - marchDays; // 1 is 1 April
    constexpr long long kAprilToJanuary = 306;
    constexpr unsigned int kFirstOfApril = 2451636; // of 2000; any year will do
    if (rest <= kAprilToJanuary) {
        const Civil date = civil(kFirstOfApril + static_cast<unsigned int>(rest - 1));
        return {clamped(date.month == 1 ? year + 1 : year), date.month, date.day};
    }
    rest -= kAprilToJanuary;
    const int february = __atomic_load_n(&driftingFebruary, __ATOMIC_RELAXED);
    if (rest <= february) {
        return {clamped(year + 1), 2, clamped(rest)};
    }
    return {clamped(year + 1), 3, clamped(rest - february)};
}

/// Year, month and day in a mode; anything but `DatePersian` is Gregorian.
Civil civilIn(unsigned int jd, Zk::DateMode mode)
{
    if (mode == Zk::DateModeDefault) {
        mode = ZkDate::dateMode();
    }
    const Civil date = civil(jd);
    return mode == Zk::DatePersian ? persian(date) : date;
}

/// `newYear`, one further in the direction of `n` when the way from `oldYear`
/// led over the year 0, which there is not.
int steppedOverYear0(int oldYear, long long newYear, int n)
{
    if ((oldYear > 0 && newYear <= 0) || (oldYear < 0 && newYear >= 0)) {
        newYear += n > 0 ? 1 : -1;
    }
    return clamped(newYear);
}

/// Day `d` of a Julian/Gregorian month, or the last that `daysInMonth` allows. In
/// Persian mode that is the length which the Gregorian table has for the number of
/// the Persian month in which the Gregorian one begins: 31 July becomes the 30th.
ZkDate clampedToMonth(int y, int m, int d)
{
    const int length = ZkDate::dateMode() == Zk::DatePersian
                           ? ZkDate::fromJulianDay(dayNumberOrNull(y, m, 1)).daysInMonth()
                           : monthLength(y, m);
    return ZkDate::fromJulianDay(dayNumberOrNull(y, m, std::min(d, length)));
}

/// The day number of a Persian date by the drifting walk; 0 when it leads nowhere.
__attribute__((noinline, cold)) unsigned int dayNumberOfPersian(int y, int m, int d)
{
    const Civil date = gregorianOfPersian(y, m, d);
    return dayNumberOrNull(date.year, date.month, date.day);
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
    return ZkClockReading::local().date;
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

unsigned int ZkDate::dayNumber(int y, int m, int d, Zk::DateMode mode)
{
    if (mode == Zk::DateModeDefault) {
        mode = dateMode();
    }
    return mode == Zk::DatePersian ? dayNumberOfPersian(y, m, d) : dayNumberOrNull(y, m, d);
}

int ZkDate::year(Zk::DateMode mode) const
{
    return civilIn(m_jd, mode).year;
}

int ZkDate::month(Zk::DateMode mode) const
{
    return civilIn(m_jd, mode).month;
}

int ZkDate::day(Zk::DateMode mode) const
{
    return civilIn(m_jd, mode).day;
}

void ZkDate::getDate(int *y, int *m, int *d, Zk::DateMode mode) const
{
    const Civil date = civilIn(m_jd, mode);
    if (y != nullptr) {
        *y = date.year;
    }
    if (m != nullptr) {
        *m = date.month;
    }
    if (d != nullptr) {
        *d = date.day;
    }
}

int ZkDate::dayOfYear() const
{
    // A Persian year is read as a Gregorian one, which makes the number some 226
    // thousand; weekNumber() in that mode then always finds week 1.
    return static_cast<int>(m_jd + 1 - gregorianToJulian(year(), 1, 1));
}

int ZkDate::daysInMonth() const
{
    // Gregorian lengths for Persian months too. The right ones would also move what
    // addMonths() and addYears() yield in Persian mode: they clamp by these.
    const Civil date = civilIn(m_jd, Zk::DateModeDefault);
    return monthLength(date.year, date.month);
}

int ZkDate::daysInYear() const
{
    return isLeap(year()) ? 366 : 365;
}

int ZkDate::weekNumber(int *yearNumber) const
{
    if (!isValid()) {
        return 0;
    }
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
        if (top < -3) {
            top += 7;
        }
        top += days;
        if (dayInYear >= top) {
            ++weekYear;
            week = 1;
            break;
        }
        if (dayInYear >= bottom) { // no test can tell: the year before gives its week 1 back
            week = 1 + (dayInYear - bottom) / 7;
            break;
        }
        --weekYear;
        dayInYear += isLeap(weekYear) ? 366 : 365;
    }
    if (yearNumber != nullptr) {
        *yearNumber = weekYear;
    }
    return week;
}

ZkDate ZkDate::addDays(int n) const
{
    const long long sum = static_cast<long long>(m_jd) + n;
    return sum >= 0 && sum <= UINT_MAX ? fromJulianDay(static_cast<unsigned int>(sum)) : ZkDate();
}

ZkDate ZkDate::addMonths(int n) const
{
    if (!isValid() || n == 0) {
        return *this;
    }
    const Civil date = civil(m_jd);
    int y = date.year + n / 12;
    int m = date.month + n % 12;
    if (m <= 0) {
        --y;
        m += 12;
    } else if (m > 12) {
        ++y;
        m -= 12;
    }
    const int year = steppedOverYear0(date.year, y, n);
    int day = date.day;
    if (isInReformGap(year, m, day)) {
        day = n > 0 ? 15 : 4;
    }
    return clampedToMonth(year, m, day);
}

ZkDate ZkDate::addYears(int n) const
{
    if (!isValid()) {
        return *this;
    }
    const Civil date = civil(m_jd);
    const int year = steppedOverYear0(date.year, static_cast<long long>(date.year) + n, n);
    return clampedToMonth(year, date.month, date.day);
}

unsigned int ZkDate::distantToJulian(int y, int m, int d)
{
    return static_cast<unsigned int>(dayNumberOfAnything(y, m, d));
}

void ZkDate::distantToGregorian(unsigned int jd, int &y, int &m, int &d)
{
    if (jd > kLastJulianDay) {
        // The calendar repeats after 400 years: the first ones after the reform will do.
        const unsigned int cycles = (jd - kLastJulianDay - 1) / kDaysPer400Years;
        julianToGregorian(jd - cycles * kDaysPer400Years, y, m, d);
        y += static_cast<int>(400 * cycles);
        return;
    }
    const unsigned int day = jd + 32082; // since 1 March -4801
    const unsigned int year = (4 * day + 3) / 1461;
    const unsigned int dayOfYear = day - 1461 * year / 4; // 0 is 1 March
    const unsigned int month = (5 * dayOfYear + 2) / 153;
    d = static_cast<int>(dayOfYear - (153 * month + 2) / 5) + 1;
    m = static_cast<int>(month < 10 ? month + 3 : month - 9);
    y = static_cast<int>(year + month / 10) - 4800;
    if (y <= 0) {
        --y;
    }
}

unsigned int ZkDate::persianToJulian(int y, int m, int d)
{
    if (y == 0 || y < -5335 || y > 11753890 || m < 1 || m > 12 || d < 1) {
        return 0;
    }
    const int length = m <= 6 ? 31 : m < 12 || isPersianLeapYear(y) ? 30 : 29;
    if (d > length) {
        return 0;
    }
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
    if (y == 0) {
        return false;
    }
    int inCycle = (y < 0 ? y + 1 : y) % 33;
    if (inCycle < 0) {
        inCycle += 33;
    }
    return (8 * inCycle + 29) % 33 < 8;
}
