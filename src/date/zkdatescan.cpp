#include "date/zkletter.h"
#include "number/zkascii.h"
#include "zkdatetime.h"

#include <algorithm>
#include <climits>
#include <iterator>

// Text to dates and times. Patterns are data from outside, so no pattern ever reaches
// a function of the C library: one scanner of our own follows its rules. It compares
// units where that one compares bytes of UTF-8, which is the same, since no two units
// share a byte.

namespace
{

/// Matches text with a pattern that is handed over unit by unit, by the rules of
/// the C library's scanner: white space skips any amount of it, "%d" reads a
/// number, "%%" matches '%', anything else matches itself. A mismatch, the end of
/// the text, a 0 unit on either side, any other '%' and the last wanted number end
/// the match; what follows is not looked at.
class Scanner
{
public:
    /// The numbers go to `first` and up to `end`, in the order of the text.
    Scanner(const ZkString &text, int *first, int *end)
        : p(text.constData()), m_nextNumber(first), m_endOfNumbers(end)
    {
    }

    void feed(ZkUcs2 unit)
    {
        if (m_stopped) {
            return;
        }
        if (m_afterPercent) {
            feedBehindPercent(unit);
        } else if (unit == '%') {
            m_afterPercent = true;
        } else if (zkIsAsciiSpace(unit)) {
            skipSpace();
        } else {
            match(unit);
        }
    }

    /// "%d".
    void feedNumber()
    {
        if (m_stopped) {
            return;
        }
        if (m_afterPercent) {
            feed('%'); // which makes the two the text "%d"
            feed('d');
        } else {
            readNumber();
        }
    }

    bool complete() const { return m_nextNumber == m_endOfNumbers; }
    bool failed() const { return m_stopped && !complete(); }

private:
    void feedBehindPercent(ZkUcs2 unit)
    {
        m_afterPercent = false;
        if (unit == 'd') {
            readNumber();
        } else if (unit == '%') {
            skipSpace();
            match(unit);
        } else {
            m_stopped = true;
        }
    }

    void skipSpace()
    {
        while (zkIsAsciiSpace(*p)) {
            ++p;
        }
    }

    void match(ZkUcs2 unit)
    {
        if (*p == 0 || *p != unit) {
            m_stopped = true;
        } else {
            ++p;
        }
    }

    /// White space, a sign and digits; beyond int, the nearest int.
    void readNumber()
    {
        bool negative = false;
        if (!zkIsAsciiDigit(*p)) {
            skipSpace();
            negative = *p == '-';
            if (negative || *p == '+') {
                ++p;
            }
            if (!zkIsAsciiDigit(*p)) {
                m_stopped = true;
                return;
            }
        }
        constexpr std::int64_t kBeyondInt = std::int64_t(1) << 32; // where counting ends
        std::int64_t value = 0;
        const ZkUcs2 *q = p;
        for (; zkIsAsciiDigit(*q); ++q) {
            if (value < kBeyondInt) { // no test can tell: it is beyond int both ways
                value = 10 * value + (*q - '0');
            }
        }
        p = q;
        *m_nextNumber++ =
            static_cast<int>(std::clamp<std::int64_t>(negative ? -value : value, INT_MIN, INT_MAX));
        m_stopped = complete();
    }

    const ZkUcs2 *p; // a string's text ends with a 0 unit
    int *m_nextNumber, *m_endOfNumbers;
    bool m_stopped = false;
    bool m_afterPercent = false;
};

enum Field { Year, Month, Day, Hour, Minute, Second, FieldCount, NoField = FieldCount };

/// The field of a date-time pattern's letter; "HH" is no hour here.
Field fieldOf(ZkUcs2 letter)
{
    switch (letter) {
    case 'y': return Year;
    case 'M': return Month;
    case 'd': return Day;
    case 'h': return Hour;
    case 'm': return Minute;
    case 's': return Second;
    default: return NoField;
    }
}

constexpr unsigned bitOf(Field field)
{
    return 1U << field;
}

/// Steps over a letter that stands twice in a pattern and reads two digits of a text; if
/// they do not stand there, a number so low that a year of it is below 0.
inline int readPair(ZkUcs2 letter, const ZkUcs2 **pattern, const ZkUcs2 **text)
{
    const ZkUcs2 *const p = *pattern, *const t = *text;
    if (p[0] != letter || p[1] != letter || !zkIsAsciiDigit(t[0]) || !zkIsAsciiDigit(t[1])) {
        return -100000;
    }
    *pattern = p + 2;
    *text = t + 2;
    return 10 * (t[0] - '0') + (t[1] - '0');
}

/// Reads the usual: a pattern that has the fields of `wanted` once each, in their long form
/// and nothing behind the last, and a text that has as many digits for each. Returns what
/// follows those in the text; null for all else, which may be right nevertheless.
const ZkUcs2 *readPlain(const ZkString &text, const ZkString &format, unsigned wanted,
                        int (&values)[FieldCount])
{
    const ZkUcs2 *t = text.constData();
    const ZkUcs2 *const end = format.end();
    // A 0 unit ends both, and equals no letter and no digit.
    for (const ZkUcs2 *p = format.begin(); p != end;) {
        const ZkUcs2 unit = *p;
        const Field field = fieldOf(unit);
        if (field == NoField) {
            const bool isSpecial = unit == '%' || (unit | 0x20) == 'a' || unit == 0;
            if (zkIsAsciiSpace(unit)) {
                while (zkIsAsciiSpace(*t)) {
                    ++t;
                }
            } else if (isSpecial || *t++ != unit) {
                return nullptr;
            }
            ++p;
            continue;
        }
        int value = readPair(unit, &p, &t);
        if (field == Year) {
            value = 100 * value + readPair(unit, &p, &t);
        }
        if (value < 0 || (wanted & bitOf(field)) == 0 || zkIsAsciiDigit(*t)) {
            return nullptr;
        }
        values[field] = value;
        wanted &= ~bitOf(field);
        if (wanted == 0) {
            return p == end ? t : nullptr;
        }
    }
    return nullptr;
}

/// A stretch of a pattern that stands for a number or a marker; none if null.
struct Token {
    const ZkUcs2 *place;
    int length;
};

/// First place in `format` with `length` times the unit `letter`, or null.
const ZkUcs2 *findLetters(const ZkString &format, ZkUcs2 letter, int length)
{
    int run = 0;
    for (const ZkUcs2 &unit : format) {
        run = unit == letter ? run + 1 : 0;
        if (run == length) {
            return &unit - (length - 1);
        }
    }
    return nullptr;
}

/// The first double letter, else the first single one.
Token findToken(const ZkString &format, ZkUcs2 letter)
{
    const ZkUcs2 *place = findLetters(format, letter, 2);
    return place != nullptr ? Token{place, 2} : Token{findLetters(format, letter, 1), 1};
}

/// First place of two given units, one behind the other.
Token findPair(const ZkString &format, ZkUcs2 first, ZkUcs2 second)
{
    for (const ZkUcs2 &unit : format) {
        if (unit == first && (&unit)[1] == second) {
            return {&unit, 2};
        }
    }
    return {nullptr, 2}; // no test can tell: nobody asks how long none is
}

/// Which of the four markers a text holds, anywhere.
struct Markers {
    bool am = false, pm = false, capitalAm = false, capitalPm = false;

    bool anyAm() const { return am || capitalAm; }
    bool anyPm() const { return pm || capitalPm; }

    /// The hour of the day of an hour that was read.
    int hour(int read) const
    {
        if (read == 12) {
            return anyAm() ? 0 : 12;
        }
        return anyPm() ? zkWrapped(12ll + read) : read;
    }
};

Markers findMarkers(const ZkString &text)
{
    Markers found;
    if (!zkHasLetter(text.begin(), text.size(), 'm')) {
        return found;
    }
    for (const ZkUcs2 &unit : text) {
        const ZkUcs2 next = (&unit)[1];
        found.am |= unit == 'a' && next == 'm';
        found.pm |= unit == 'p' && next == 'm';
        found.capitalAm |= unit == 'A' && next == 'M';
        found.capitalPm |= unit == 'P' && next == 'M';
    }
    return found;
}

/// Reads the numbers of three tokens, and passes over a marker: `markerText` is
/// matched in its place. False when a token is missing or the text does not match.
bool readThree(const ZkString &text, const ZkString &format, const Token (&tokens)[3],
               int (&values)[3], Token marker = {nullptr, 0}, const char *markerText = "")
{
    for (const Token &token : tokens) {
        if (token.place == nullptr) {
            return false;
        }
    }
    int numbers[3];
    Scanner scanner(text, std::begin(numbers), std::end(numbers));
    int order[3]; // of the tokens in the pattern
    int found = 0;
    for (const ZkUcs2 *p = format.begin(); p < format.end() && !scanner.failed();) {
        int token = 0;
        while (token < 3 && tokens[token].place != p) {
            ++token;
        }
        if (token < 3) {
            order[found++] = token;
            scanner.feedNumber();
            p += tokens[token].length;
        } else if (marker.place == p) {
            for (const char *c = markerText; *c != '\0'; ++c) {
                scanner.feed(static_cast<unsigned char>(*c));
            }
            p += marker.length;
        } else {
            scanner.feed(*p++);
        }
    }
    if (!scanner.complete()) {
        return false;
    }
    for (int i = 0; i < 3; ++i) {
        values[order[i]] = numbers[i];
    }
    return true;
}

/// Reads a date-time by feeding the scanner what the pattern stands for.
class DateTimeReader
{
public:
    DateTimeReader(const ZkString &text, const ZkString &format)
        : p(format.begin()),
          m_end(format.end()),
          m_markers(findMarkers(text)),
          m_scanner(text, std::begin(m_numbers), std::end(m_numbers))
    {
    }

    /// The six numbers by their fields, the hour as that of the day, or false. The
    /// earliest field of the pattern takes the first number, and so on.
    bool read(int (&values)[FieldCount]);

private:
    void feedMarker();
    void feedField(Field field);
    void moveToEnd(Field field);

    const ZkUcs2 *p; // what is not yet read of the pattern, with a 0 unit at `end`
    const ZkUcs2 *m_end;
    Markers m_markers;
    int m_numbers[FieldCount];
    Scanner m_scanner;
    Field m_order[FieldCount]; // in which the fields stand in the pattern
    int m_found = 0;
    unsigned int m_seen = 0; // a bit for each field
};

bool DateTimeReader::read(int (&values)[FieldCount])
{
    while (p < m_end && !m_scanner.failed()) {
        const Field field = fieldOf(*p);
        if (field == NoField && *p != 'A' && *p != 'a') {
            m_scanner.feed(*p++);
        } else if (p + 1 == m_end) {
            break; // a letter at the very end is lost, and with it its field
        } else if (field == NoField) {
            feedMarker();
        } else {
            feedField(field);
        }
    }
    if (m_found < FieldCount || !m_scanner.complete()) {
        return false;
    }
    for (int i = 0; i < FieldCount; ++i) {
        values[m_order[i]] = m_numbers[i];
    }
    values[Hour] = m_markers.hour(values[Hour]);
    return true;
}

/// "AP" and "ap" stand for the marker of the text, for nothing when it has none; a
/// single 'A' or 'a' stands for nothing.
void DateTimeReader::feedMarker()
{
    const bool capitals = *p++ == 'A';
    if (*p != (capitals ? 'P' : 'p')) {
        return;
    }
    ++p;
    const bool am = capitals ? m_markers.capitalAm : m_markers.am;
    const bool pm = capitals ? m_markers.capitalPm : m_markers.pm;
    if (am || pm) {
        m_scanner.feed(static_cast<ZkUcs2>(capitals ? (am ? 'A' : 'P') : (am ? 'a' : 'p')));
        m_scanner.feed(capitals ? 'M' : 'm');
    }
}

/// A field's letter, doubled or not, stands for a number; a 'y' outside "yyyy" for
/// nothing.
void DateTimeReader::feedField(Field field)
{
    int length = p[1] == p[0] ? 2 : 1;
    if (field == Year) {
        if (length < 2 || p[2] != 'y' || p[3] != 'y') {
            ++p;
            return;
        }
        length = 4;
    }
    p += length;
    moveToEnd(field);
    m_scanner.feedNumber();
}

/// Notes a field as the last so far; of a field that occurs twice, the last place
/// counts.
void DateTimeReader::moveToEnd(Field field)
{
    if ((m_seen >> field & 1) != 0) {
        m_found = static_cast<int>(std::remove(m_order, m_order + m_found, field) - m_order);
    }
    m_seen |= 1u << field;
    m_order[m_found++] = field;
}

} // namespace

ZkDate ZkDate::fromString(const ZkString &text, const ZkString &format)
{
    int fields[FieldCount];
    if (readPlain(text, format, bitOf(Year) | bitOf(Month) | bitOf(Day), fields) != nullptr) {
        return ZkDate(fields[Year], fields[Month], fields[Day]);
    }
    const Token tokens[3] = {
        {findLetters(format, 'y', 4), 4}, findToken(format, 'M'), findToken(format, 'd')};
    int values[3];
    return readThree(text, format, tokens, values) ? ZkDate(values[0], values[1], values[2])
                                                   : ZkDate();
}

ZkTime ZkTime::fromString(const ZkString &text, const ZkString &format)
{
    const Token tokens[3] = {findToken(format, 'h'), findToken(format, 'm'),
                             findToken(format, 's')};
    // Only the markers that the pattern asks for count.
    Token marker = findPair(format, 'A', 'P');
    const bool capitals = marker.place != nullptr;
    if (!capitals) {
        marker = findPair(format, 'a', 'p');
    }
    Markers markers;
    if (marker.place != nullptr) {
        const Markers inText = findMarkers(text);
        (capitals ? markers.capitalAm : markers.am) = capitals ? inText.capitalAm : inText.am;
        (capitals ? markers.capitalPm : markers.pm) = capitals ? inText.capitalPm : inText.pm;
    }
    const char *markerText = markers.anyAm()   ? (capitals ? "AM" : "am")
                             : markers.anyPm() ? (capitals ? "PM" : "pm")
                                               : "";
    int values[3];
    if (!readThree(text, format, tokens, values, marker, markerText)) {
        return ZkTime();
    }
    return ZkTime(markers.hour(values[0]), values[1], values[2]);
}

ZkDateTime ZkDateTime::fromString(const ZkString &text, const ZkString &format)
{
    int values[FieldCount];
    // What is read so has no marker; what may follow has.
    const bool isPlain = readPlain(text, format, bitOf(FieldCount) - 1, values) == text.end();
    if (!isPlain && (text.isEmpty() || !DateTimeReader(text, format).read(values))) {
        return ZkDateTime();
    }
    return ZkDateTime(ZkDate(values[Year], values[Month], values[Day]),
                      ZkTime(values[Hour], values[Minute], values[Second]));
}
