// A device's clock page as a picture: the time on a dial, and the month in two
// calendars side by side, all text laid out by the library.
//
//     example_clock OUT.png FONT.ttf ["yyyy-MM-dd hh:mm:ss"]
//
// The moment is now, or the local time given.

#include "output.h"
#include "textblock.h"

#include <zkdatetime.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

namespace
{

using host::Canvas;
using host::Color;

const Color kDesk = {226, 229, 233, 255};
const Color kCard = {252, 252, 250, 255};
const Color kNight = {30, 41, 59, 255};
const Color kTick = {148, 163, 184, 255};
const Color kInk = {31, 41, 55, 255};
const Color kSoft = {139, 147, 160, 255};
const Color kRest = {190, 52, 60, 255}; // the week's day of rest
const Color kAccent = {14, 116, 144, 255};
const Color kSecond = {251, 146, 60, 255};
const Color kWhite = {255, 255, 255, 255};

constexpr int kCell = 44; // of a month sheet, in both directions
constexpr int kSheetWidth = 7 * kCell + 2 * 16;
constexpr int kTop = 20;
constexpr int kHeight = 440;

const char *const kMonths[] = {"January",   "February", "March",    "April",
                               "May",       "June",     "July",     "August",
                               "September", "October",  "November", "December"};
const char *const kWeekdays[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                 "Friday", "Saturday", "Sunday"};
const char *const kPersianMonths[] = {"فروردین", "اردیبهشت", "خرداد", "تیر", "مرداد", "شهریور",
                                      "مهر",     "آبان",     "آذر",   "دی",  "بهمن",  "اسفند"};
const char *const kPersianWeekdays[] = {"دوشنبه", "سه شنبه", "چهارشنبه", "پنجشنبه",
                                        "جمعه",   "شنبه",    "یکشنبه"}; // from Monday

/// One line of text around column `x`, its baseline at row `baseline`.
void label(Canvas &canvas, int x, int baseline, const ZkString &text, int size, const Color &color)
{
    host::TextRequest request;
    request.text = text;
    request.font = ZkFont(static_cast<unsigned char>(size), false, false, false, false);
    host::TextBlock block(request);
    const int left = x - block.size().width() / 2;
    block.place(left, 0, 0);
    block.place(left, baseline - block.lines().at(0).baseline, 0);
    block.paint(canvas, {color, color});
}

/// A line with round ends; `radius` is half its width.
void stroke(Canvas &canvas, double x0, double y0, double x1, double y1, double radius,
            const Color &color)
{
    const double dx = x1 - x0, dy = y1 - y0;
    const double squared = std::max(dx * dx + dy * dy, 1e-9);
    const int reach = static_cast<int>(radius) + 2;
    for (int y = static_cast<int>(std::min(y0, y1)) - reach;
         y <= static_cast<int>(std::max(y0, y1)) + reach; ++y) {
        for (int x = static_cast<int>(std::min(x0, x1)) - reach;
             x <= static_cast<int>(std::max(x0, x1)) + reach; ++x) {
            const double along = ((x - x0) * dx + (y - y0) * dy) / squared;
            const double t = std::clamp(along, 0.0, 1.0);
            const double distance = std::hypot(x - x0 - t * dx, y - y0 - t * dy);
            const double covered = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
            canvas.blend(x, y, color, static_cast<int>(255 * covered + 0.5));
        }
    }
}

void disc(Canvas &canvas, double x, double y, double radius, const Color &color)
{
    stroke(canvas, x, y, x, y, radius, color);
}

/// A stroke on the dial, `turn` of a round from the top, between two radii.
void ray(Canvas &canvas, int x, int y, double turn, double from, double to, double radius,
         const Color &color)
{
    const double angle = turn * 2 * std::acos(-1.0);
    const double right = std::sin(angle), up = std::cos(angle);
    stroke(canvas, x + from * right, y - from * up, x + to * right, y - to * up, radius, color);
}

/// `number` in Persian digits, the last one first: the library turns a right-to-left
/// run around as a whole and takes these digits for letters of it.
ZkString persianNumber(int number)
{
    ZkString text;
    for (; number > 0; number /= 10) {
        text.append(static_cast<ZkUcs2>(0x06F0 + number % 10));
    }
    return text;
}

/// A day by the official Persian calendar.
struct PersianDay {
    int year, month, day;

    explicit PersianDay(const ZkDate &date)
    {
        ZkDate::julianToPersian(date.julianDay(), year, month, day);
    }
};

ZkString monthTitle(const ZkDate &date)
{
    return ZkString(kMonths[date.month() - 1]).append(date.toString(" yyyy"));
}

ZkString persianMonthTitle(const ZkDate &date)
{
    const PersianDay day(date);
    return ZkString(kPersianMonths[day.month - 1]).append(' ').append(persianNumber(day.year));
}

/// "January - February 2024" for a stretch that ends in another month.
ZkString span(const ZkString &first, const ZkString &last)
{
    return first == last ? first : ZkString(first).append("  -  ").append(last);
}

void drawDial(Canvas &canvas, int x, int y, const ZkTime &time)
{
    disc(canvas, x, y, 118, {15, 23, 42, 255});
    for (int i = 0; i < 60; ++i) {
        const bool hour = i % 5 == 0;
        ray(canvas, x, y, i / 60.0, hour ? 100 : 106, 110, hour ? 2.0 : 0.8, kTick);
    }
    for (int hour = 1; hour <= 12; ++hour) {
        const double angle = hour / 6.0 * std::acos(-1.0);
        label(canvas, x + static_cast<int>(std::lround(82 * std::sin(angle))),
              y - static_cast<int>(std::lround(82 * std::cos(angle))) + 7,
              ZkString(std::to_string(hour)), 18, kWhite);
    }
    const double minutes = time.minute() + time.second() / 60.0;
    ray(canvas, x, y, (time.hour() + minutes / 60) / 12, 0, 52, 4, kWhite);
    ray(canvas, x, y, minutes / 60, 0, 84, 2.5, kWhite);
    ray(canvas, x, y, time.second() / 60.0, -18, 92, 1, kSecond);
    disc(canvas, x, y, 5, kSecond);
}

void drawClock(Canvas &canvas, const ZkRect &card, const ZkDateTime &now)
{
    canvas.fill(card, kNight);
    const int x = (card.left() + card.right()) / 2;
    const ZkDate date = now.date();
    drawDial(canvas, x, card.top() + 140, now.time());
    label(canvas, x, card.top() + 306, now.toString("h:mm:ss ap"), 30, kWhite);
    label(canvas, x, card.top() + 342,
          ZkString(kWeekdays[date.dayOfWeek() - 1])
              .append(", ")
              .append(date.toString("d "))
              .append(monthTitle(date)),
          18, kWhite);
    const ZkString day = persianNumber(PersianDay(date).day);
    label(canvas, x, card.top() + 372,
          ZkString(kPersianWeekdays[date.dayOfWeek() - 1])
              .append(' ')
              .append(day)
              .append(' ')
              .append(persianMonthTitle(date)),
          19, kWhite);
    int year = 0;
    const int week = date.weekNumber(&year);
    label(canvas, x, card.top() + 408,
          ZkString(("week " + std::to_string(week) + ", day " + std::to_string(date.dayOfYear()) +
                    "  /  ")
                       .c_str())
              .append(now.toTimeSpec(Zk::TimeUtc).toString("HH:mm 'UTC'")),
          14, kTick);
}

/// What differs between the two month sheets.
struct Sheet {
    ZkDate first;        ///< of the month
    int days;            ///< in it
    ZkString title;      ///< the month
    ZkString otherTitle; ///< its stretch in the other calendar
    bool persian;        ///< columns from the right, the week from Saturday

    /// The column of a day, 0 to 6 from the left.
    int column(const ZkDate &date) const
    {
        return persian ? 6 - (date.dayOfWeek() + 1) % 7 : date.dayOfWeek() - 1;
    }

    bool isRestDay(const ZkDate &date) const { return date.dayOfWeek() == (persian ? 5 : 7); }
};

Sheet gregorianSheet(const ZkDate &today)
{
    const ZkDate first = today.addDays(1 - today.day());
    const ZkDate last = first.addMonths(1).addDays(-1);
    return {first, first.daysTo(last) + 1, monthTitle(first),
            span(persianMonthTitle(first), persianMonthTitle(last)), false};
}

Sheet persianSheet(const ZkDate &today)
{
    const ZkDate first = today.addDays(1 - PersianDay(today).day);
    int days = 29;
    while (PersianDay(first.addDays(days)).day != 1) {
        ++days;
    }
    return {first, days, persianMonthTitle(first),
            span(monthTitle(first), monthTitle(first.addDays(days - 1))), true};
}

void drawDay(Canvas &canvas, int x, int y, const Sheet &sheet, const ZkDate &date, bool isToday)
{
    const ZkString ours = ZkString(std::to_string(date.day()));
    const ZkString theirs = persianNumber(PersianDay(date).day);
    const Color color = isToday ? kWhite : sheet.isRestDay(date) ? kRest : kInk;
    if (isToday) {
        disc(canvas, x, y - 1, 20, kAccent);
    }
    label(canvas, x, y + 3, sheet.persian ? theirs : ours, 19, color);
    label(canvas, x, y + 15, sheet.persian ? ours : theirs, 10, isToday ? kWhite : kSoft);
}

void drawSheet(Canvas &canvas, const ZkRect &card, const Sheet &sheet, const ZkDate &today)
{
    canvas.fill(card, kCard);
    const int middle = (card.left() + card.right()) / 2;
    label(canvas, middle, card.top() + 42, sheet.title, 26, kInk);
    label(canvas, middle, card.top() + 68, sheet.otherTitle, 14, kSoft);
    const auto centre = [&](const ZkDate &date) {
        return card.left() + 16 + sheet.column(date) * kCell + kCell / 2;
    };
    for (int i = 0; i < 7; ++i) {
        const ZkDate date = sheet.first.addDays(i);
        const char *name = (sheet.persian ? kPersianWeekdays : kWeekdays)[date.dayOfWeek() - 1];
        const ZkString letters = ZkString(name).left(sheet.persian ? 1 : 2);
        label(canvas, centre(date), card.top() + 104, letters, 14,
              sheet.isRestDay(date) ? kRest : kSoft);
    }
    canvas.fill(ZkRect(card.left() + 16, card.top() + 116, card.right() - 16, card.top() + 116),
                {214, 218, 224, 255});
    const int firstDay = (sheet.first.dayOfWeek() + (sheet.persian ? 1 : 6)) % 7; // of its week
    for (int i = 0; i < sheet.days; ++i) {
        const ZkDate date = sheet.first.addDays(i);
        drawDay(canvas, centre(date), card.top() + 146 + (firstDay + i) / 7 * (kCell + 6), sheet,
                date, date == today);
    }
}

/// The card of `width` pixels whose left edge is at `x`.
ZkRect card(int x, int width)
{
    return ZkRect(x, kTop, x + width - 1, kTop + kHeight - 1);
}

Canvas drawPage(const ZkDateTime &now)
{
    constexpr int kClockWidth = 300, kGap = 20;
    Canvas canvas(kClockWidth + 2 * kSheetWidth + 4 * kGap, kHeight + 2 * kTop, kDesk);
    drawClock(canvas, card(kGap, kClockWidth), now);
    const int x = kClockWidth + 2 * kGap;
    drawSheet(canvas, card(x, kSheetWidth), gregorianSheet(now.date()), now.date());
    drawSheet(canvas, card(x + kSheetWidth + kGap, kSheetWidth), persianSheet(now.date()),
              now.date());
    return canvas;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: example_clock OUT.png FONT.ttf [\"yyyy-MM-dd hh:mm:ss\"]\n");
        return 2;
    }
    ZkDateTime now = ZkDateTime::currentDateTime();
    if (argc == 4) {
        now = ZkDateTime::fromString(argv[3], "yyyy-MM-dd hh:mm:ss");
        if (!now.isValid()) {
            std::fprintf(stderr, "example_clock: \"%s\" is no moment\n", argv[3]);
            return 2;
        }
    }
    ZkFontMetrics::setFontFile(argv[2]);
    std::string problem;
    if (!host::writeOutput(argv[1], host::encodePng(drawPage(now)), &problem)) {
        std::fprintf(stderr, "example_clock: %s\n", problem.c_str());
        return 1;
    }
    return 0;
}
