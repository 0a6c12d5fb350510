#include "date/zkletter.h"
#include "zkdatetime.h"

#include <optional>
#include <utility>

// Dates and times to text.

namespace
{

/// The empty string that owns no block.
ZkString nullString(const ZkString &any)
{
    return any.mid(any.size());
}

/// Collects text on the stack; a string is made of it once, or once per 128 units.
class TextWriter
{
public:
    void put(ZkUcs2 unit)
    {
        makeRoom();
        *m_end++ = unit;
    }

    /// `number`, below 2^31, with zeros in front up to `width` digits.
    void putNumber(int number, int width)
    {
        makeRoom();
        const unsigned int value = static_cast<unsigned int>(number);
        if (width == 2 && value < 100) { // five of the six numbers of a moment
            putTwoDigits(value);
        } else if (width == 4 && value < 10000) { // and the sixth
            putTwoDigits(value / 100);
            putTwoDigits(value % 100);
        } else {
            putDigits(value, width);
        }
    }

    ZkString take()
    {
        if (!m_flushed) {
            return ZkString(m_units, size());
        }
        flush();
        return std::move(*m_flushed);
    }

private:
    static constexpr int kRoom = 128;
    static constexpr int kLongestNumber = 10;

    static ZkUcs2 digit(unsigned int value) { return static_cast<ZkUcs2>('0' + value); }

    void putTwoDigits(unsigned int value)
    {
        m_end[0] = digit(value / 10);
        m_end[1] = digit(value % 10);
        m_end += 2;
    }

    void putDigits(unsigned int value, int width)
    {
        int count = 1;
        for (unsigned int rest = value; rest >= 10; rest /= 10) {
            ++count;
        }
        count = count < width ? width : count;
        for (int i = count; i > 0; value /= 10) {
            m_end[--i] = digit(value % 10);
        }
        m_end += count;
    }

    int size() const { return static_cast<int>(m_end - m_units); }

    void makeRoom()
    {
        if (m_end > m_units + (kRoom - kLongestNumber)) {
            flush();
        }
    }

    __attribute__((noinline, cold)) void flush()
    {
        if (!m_flushed) {
            m_flushed.emplace();
        }
        m_flushed->append(ZkString(m_units, size()));
        m_end = m_units;
    }

    ZkUcs2 m_units[kRoom];
    ZkUcs2 *m_end = m_units;
    std::optional<ZkString> m_flushed;
};

/// True when an am/pm letter stands outside quotes, which turns "h" to 12 hours.
bool hasMarker(const ZkString &format)
{
    if (!zkHasLetter(format.begin(), format.size(), 'a')) {
        return false;
    }
    bool quoted = false;
    for (ZkUcs2 c : format) {
        if (c == '\'') {
            quoted = !quoted;
        } else if (!quoted && (c == 'A' || c == 'a')) {
            return true;
        }
    }
    return false;
}

/// Renders a pattern. A part that is absent leaves its letters in the text.
class PatternWriter
{
public:
    PatternWriter(const ZkString &format, const ZkTime *timePart, const ZkDate *datePart)
        : p(format.begin()),
          m_end(format.end()),
          m_hasTime(timePart != nullptr),
          m_hasDate(datePart != nullptr)
    {
        if (datePart != nullptr) {
            datePart->getDate(&m_year, &m_month, &m_day);
        }
        if (timePart != nullptr) {
            m_time = *timePart;
            m_twelveHours = hasMarker(format);
        }
    }

    ZkString write();

private:
    void writeQuoted();
    void writeMarker();
    void writeRun();
    void writeNumbers(int number, int width, int length);
    void writeYears(int length);
    void writeLetters(ZkUcs2 letter, int length);
    int shownHour() const;

    const ZkUcs2 *p; // what is not yet rendered, with a 0 unit at `end`
    const ZkUcs2 *m_end;
    TextWriter m_out;
    ZkTime m_time;
    bool m_hasTime, m_hasDate;
    bool m_twelveHours = false; // no test can tell: only read where it was set
    int m_year = 0, m_month = 0, m_day = 0;
};

ZkString PatternWriter::write()
{
    while (p < m_end) {
        switch (*p) {
        case '\'': writeQuoted(); break;
        case 'A':
        case 'a': writeMarker(); break;
        case 'h':
        case 'H':
        case 'm':
        case 's':
        case 'z':
        case 'd':
        case 'M':
        case 'y': writeRun(); break;
        default: m_out.put(*p++); break;
        }
    }
    return m_out.take();
}

/// Copies text between quotes, to the end if there is no second one. Two quotes are
/// one in the text, in and out of quoted text alike.
void PatternWriter::writeQuoted()
{
    bool quoted = false;
    do {
        if (*p != '\'') {
            m_out.put(*p++);
        } else if (p[1] == '\'') {
            m_out.put('\'');
            p += 2;
        } else {
            quoted = !quoted;
            ++p;
        }
    } while (quoted && p < m_end);
}

/// Renders "A", "a" or either with a P behind it. The first letter alone decides
/// about capitals.
void PatternWriter::writeMarker()
{
    const bool capitals = *p == 'A';
    const bool withP = p[1] == 'P' || p[1] == 'p';
    if (m_hasTime) {
        const bool morning = m_time.hour() < 12;
        m_out.put(static_cast<ZkUcs2>(capitals ? (morning ? 'A' : 'P') : (morning ? 'a' : 'p')));
        m_out.put(capitals ? 'M' : 'm');
    } else {
        m_out.put(p[0]);
        if (withP) {
            m_out.put(p[1]);
        }
    }
    p += withP ? 2 : 1;
}

/// Renders a format letter, as often as it is repeated.
void PatternWriter::writeRun()
{
    const ZkUcs2 letter = *p;
    int length = 1;
    while (p[length] == letter) {
        ++length;
    }
    p += length;
    const bool there = letter == 'd' || letter == 'M' || letter == 'y' ? m_hasDate : m_hasTime;
    if (!there) {
        writeLetters(letter, length);
        return;
    }
    switch (letter) {
    case 'h': writeNumbers(shownHour(), 2, length); break;
    case 'H': writeNumbers(m_time.hour(), 2, length); break;
    case 'm': writeNumbers(m_time.minute(), 2, length); break;
    case 's': writeNumbers(m_time.second(), 2, length); break;
    case 'z': writeNumbers(m_time.msec(), 3, length); break;
    case 'd': writeNumbers(m_day, 2, length); break;
    case 'M': writeNumbers(m_month, 2, length); break;
    default: writeYears(length); break;
    }
}

/// The hour that "h" shows.
int PatternWriter::shownHour() const
{
    const int hour = m_time.hour();
    if (!m_twelveHours) {
        return hour;
    }
    return hour % 12 == 0 ? 12 : hour % 12;
}

/// A run of tokens of `width` letters, each a padded number, and of single letters
/// behind them, each the number without zeros: "ddd" is day 5 as "055".
void PatternWriter::writeNumbers(int number, int width, int length)
{
    for (; length >= width; length -= width) {
        m_out.putNumber(number, width);
    }
    for (; length > 0; --length) {
        m_out.putNumber(number, 1);
    }
}

/// A run of "yyyy". The minus of a year that is not positive takes the place of a
/// fifth letter, if there is one.
void PatternWriter::writeYears(int length)
{
    while (length >= 4) {
        length -= 4;
        if (m_year <= 0) {
            m_out.put('-');
            --length; // below 0 is none
        }
        m_out.putNumber(m_year < 0 ? -m_year : m_year, 4);
    }
    writeLetters('y', length);
}

void PatternWriter::writeLetters(ZkUcs2 letter, int length)
{
    for (int i = 0; i < length; ++i) {
        m_out.put(letter);
    }
}

ZkString render(const ZkString &format, const ZkTime *time, const ZkDate *date)
{
    if (format.isEmpty() || (time != nullptr && !time->isValid()) ||
        (date != nullptr && !date->isValid())) {
        return nullString(format);
    }
    return PatternWriter(format, time, date).write();
}

} // namespace

ZkString ZkDate::toString(const ZkString &format) const
{
    return render(format, nullptr, this);
}

ZkString ZkTime::toString(const ZkString &format) const
{
    return render(format, this, nullptr);
}

ZkString ZkDateTime::toString(const ZkString &format) const
{
    return render(format, &d->time, &d->date);
}
