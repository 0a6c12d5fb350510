// A pattern and a text from anywhere: what dates, times and date-times write and
// read by them is what a model says that cuts and pastes text and leaves reading to
// the C library. The first line of the input is the pattern, the second the text,
// the rest the moment to be written.

#include <zkdatetime.h>

#include "dateformatmodel.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{

using namespace dateformatmodel;

void require(bool holds, const char *what, const std::string &text, const std::string &pattern)
{
    if (!holds) {
        std::fprintf(stderr, "%s: \"%s\" by \"%s\"\n", what, text.c_str(), pattern.c_str());
        std::abort();
    }
}

std::string takeLine(std::string &rest)
{
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string line = rest.substr(0, end);
    rest.erase(0, end + 1);
    return line;
}

/// The C library reads numbers of any length, but what it makes of those beyond int
/// is nothing to compare with.
bool hasLongNumber(const std::string &text)
{
    int digits = 0;
    for (char c : text) {
        digits = c >= '0' && c <= '9' ? digits + 1 : 0;
        if (digits > 9) {
            return true;
        }
    }
    return false;
}

void compareReading(const ZkString &text, const ZkString &pattern)
{
    const std::string in = text.toStdString(), format = pattern.toStdString();
    const ZkDate date = ZkDate::fromString(text, pattern);
    const ZkTime time = ZkTime::fromString(text, pattern);
    const ZkDateTime moment = ZkDateTime::fromString(text, pattern);
    if (hasLongNumber(in)) {
        return;
    }
    require(date == modelDate(in, format), "date", in, format);
    require(time == modelTime(in, format), "time", in, format);
    const ZkDateTime expected = modelDateTime(in, format);
    require(moment.date() == expected.date() && moment.time() == expected.time(), "date-time", in,
            format);
}

void compareWriting(const ZkString &pattern, const ZkDate &date, const ZkTime &time)
{
    const std::string format = pattern.toStdString();
    const std::string dateText = date.toString(pattern).toStdString();
    require(dateText == modelText(format, nullptr, &date), "date text", dateText, format);
    const std::string timeText = time.toString(pattern).toStdString();
    require(timeText == modelText(format, &time, nullptr), "time text", timeText, format);
    ZkDateTime moment(date, time);
    moment.setTime(time);
    const std::string text = moment.toString(pattern).toStdString();
    require(text == modelText(format, &time, &date), "date-time text", text, format);
    compareReading(moment.toString(pattern), pattern);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string rest(reinterpret_cast<const char *>(data), size);
    const ZkString pattern(std::string_view(takeLine(rest)));
    const ZkString text(std::string_view(takeLine(rest)));
    std::uint32_t numbers[2] = {2460000, 40000000};
    std::memcpy(numbers, rest.data(), std::min(rest.size(), sizeof numbers));

    compareReading(text, pattern);
    compareWriting(pattern, ZkDate::fromJulianDay(numbers[0]),
                   ZkTime::fromMSecsOfDay(static_cast<int>(numbers[1] % 86400001)));
    return 0;
}
