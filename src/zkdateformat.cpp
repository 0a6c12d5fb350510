#include "zkdatetime.h"

#include <climits>

// Patterns are data from outside: one scanner and one writer read them here, and
// no pattern ever reaches a function of the C library. Text is scanned as units,
// which is the same as scanning its UTF-8 bytes, since no two units share bytes.

namespace
{

constexpr bool isLetterA(ZkUcs2 c)
{
    return c == 'A' || c == 'a';
}

constexpr bool isLetterP(ZkUcs2 c)
{
    return c == 'P' || c == 'p';
}

constexpr bool isDigit(ZkUcs2 c)
{
    return c >= '0' && c <= '9';
}

/// The six white-space characters of the C locale.
constexpr bool isSpace(ZkUcs2 c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The empty string that owns no block.
ZkString nullString(const ZkString &any)
{
    return any.mid(any.size());
}

/// Collects text on the stack; a string is made of it once, or once per 128 units.
class TextWriter
{
public:
    explicit TextWriter(const ZkString &format) : done(nullString(format)) {}

    void put(ZkUcs2 unit)
    {
        if (used == kRoom)
            flush();
        units[used++] = unit;
    }

    /// `number` with zeros in front up to `width` digits.
    void putNumber(unsigned int number, int width)
    {
        ZkUcs2 digits[10];
        int count = 0;
        do {
            digits[count++] = static_cast<ZkUcs2>('0' + number % 10);
            number /= 10;
        } while (number != 0);
        for (; width > count; --width)
            put('0');
        while (count > 0)
            put(digits[--count]);
    }

    ZkString take()
    {
        if (done.isEmpty())
            return ZkString(units, used);
        flush();
        return done;
    }

private:
    static constexpr int kRoom = 128;

    void flush()
    {
        done.append(ZkString(units, used));
        used = 0;
    }

    ZkString done;
    ZkUcs2 units[kRoom];
    int used = 0;
};

/// True when an am/pm letter stands outside quotes, which turns "h" to 12 hours.
bool hasMarker(const ZkString &format)
{
    bool quoted = false;
    for (ZkUcs2 c : format) {
        if (c == '\'')
            quoted = !quoted;
        else if (!quoted && isLetterA(c))
            return true;
    }
    return false;
}

/// Renders a pattern. A part that is absent leaves its letters in the text.
class PatternWriter
{
public:
    PatternWriter(const ZkString &pattern, const ZkTime *timePart, const ZkDate *datePart)
        : format(pattern),
          out(pattern),
          time(timePart),
          twelveHours(timePart != nullptr && hasMarker(pattern)),
          hasDate(datePart != nullptr)
    {
        if (hasDate)
            datePart->getDate(&year, &month, &day);
    }

    ZkString write();

private:
    int runLength(const ZkUcs2 *run, const ZkUcs2 *end) const;
    int writeMarker(const ZkUcs2 *marker);
    void writeRun(ZkUcs2 letter, int length);
    void writeShortOrLong(unsigned int number, int longest, int length);
    void writeYears(int length);
    void writeLetters(ZkUcs2 letter, int length);

    const ZkString &format;
    TextWriter out;
    const ZkTime *time;
    bool twelveHours, hasDate;
    int year = 0, month = 0, day = 0;
};

ZkString PatternWriter::write()
{
    bool quoted = false;
    const ZkUcs2 *const end = format.end();
    for (const ZkUcs2 *p = format.begin(); p < end;) {
        if (*p == '\'') {
            // Two quotes are one in the text, in and out of quoted text alike.
            if (p[1] == '\'') {
                out.put('\'');
                p += 2;
            } else {
                quoted = !quoted;
                ++p;
            }
        } else if (quoted) {
            out.put(*p++);
        } else if (isLetterA(*p)) {
            p += writeMarker(p);
        } else {
            const int length = runLength(p, end);
            writeRun(*p, length);
            p += length;
        }
    }
    return out.take();
}

int PatternWriter::runLength(const ZkUcs2 *run, const ZkUcs2 *end) const
{
    const ZkUcs2 *p = run + 1;
    while (p < end && *p == *run)
        ++p;
    return static_cast<int>(p - run);
}

/// Renders "A", "a" or either with a P behind it, and returns its length. The
/// first letter alone decides about capitals.
int PatternWriter::writeMarker(const ZkUcs2 *marker)
{
    const int length = isLetterP(marker[1]) ? 2 : 1;
    if (time == nullptr) {
        for (int i = 0; i < length; ++i)
            out.put(marker[i]);
        return length;
    }
    const bool morning = time->hour() < 12;
    const bool capitals = *marker == 'A';
    out.put(static_cast<ZkUcs2>(capitals ? (morning ? 'A' : 'P') : (morning ? 'a' : 'p')));
    out.put(capitals ? 'M' : 'm');
    return length;
}

/// Renders `length` times the same character, be it a format letter or not.
void PatternWriter::writeRun(ZkUcs2 letter, int length)
{
    const bool ofTime =
        letter == 'h' || letter == 'H' || letter == 'm' || letter == 's' || letter == 'z';
    if (ofTime ? time == nullptr : !hasDate) {
        writeLetters(letter, length);
        return;
    }
    switch (letter) {
    case 'h': {
        const int hour = time->hour();
        const int shown = !twelveHours ? hour : hour % 12 == 0 ? 12 : hour % 12;
        writeShortOrLong(static_cast<unsigned int>(shown), 2, length);
        break;
    }
    case 'H': writeShortOrLong(static_cast<unsigned int>(time->hour()), 2, length); break;
    case 'm': writeShortOrLong(static_cast<unsigned int>(time->minute()), 2, length); break;
    case 's': writeShortOrLong(static_cast<unsigned int>(time->second()), 2, length); break;
    case 'z': writeShortOrLong(static_cast<unsigned int>(time->msec()), 3, length); break;
    case 'd': writeShortOrLong(static_cast<unsigned int>(day), 2, length); break;
    case 'M': writeShortOrLong(static_cast<unsigned int>(month), 2, length); break;
    case 'y': writeYears(length); break;
    default: writeLetters(letter, length); break;
    }
}

/// A run of tokens of `longest` letters, each a padded number, and of single
/// letters behind them, each the number without zeros: "ddd" is day 5 as "055".
void PatternWriter::writeShortOrLong(unsigned int number, int longest, int length)
{
    for (; length >= longest; length -= longest)
        out.putNumber(number, longest);
    for (; length > 0; --length)
        out.putNumber(number, 1);
}

/// A run of "yyyy". The minus of a year that is not positive takes the place of a
/// fifth letter, if there is one.
void PatternWriter::writeYears(int length)
{
    while (length >= 4) {
        length -= 4;
        if (year <= 0) {
            out.put('-');
            length -= length > 0 ? 1 : 0;
        }
        out.putNumber(static_cast<unsigned int>(year < 0 ? -year : year), 4);
    }
    writeLetters('y', length);
}

void PatternWriter::writeLetters(ZkUcs2 letter, int length)
{
    for (int i = 0; i < length; ++i)
        out.put(letter);
}

ZkString render(const ZkString &format, const ZkTime *time, const ZkDate *date)
{
    if (format.isEmpty() || (time != nullptr && !time->isValid()) ||
        (date != nullptr && !date->isValid()))
        return nullString(format);
    return PatternWriter(format, time, date).write();
}

/// Matches text with a pattern that is handed over unit by unit, by the rules of
/// the C library's scanner: white space skips any amount of it, "%d" reads a
/// number, "%%" matches '%', anything else matches itself. A mismatch, the end of
/// the text, a 0 unit on either side, any other '%' and the last wanted number end
/// the match; what follows is not looked at.
template <int Wanted>
class Scanner
{
public:
    explicit Scanner(const ZkString &text) : p(text.constData()) {}

    void feed(ZkUcs2 unit)
    {
        if (stopped)
            return;
        if (afterPercent) {
            afterPercent = false;
            if (unit == 'd') {
                readNumber();
            } else if (unit == '%') {
                skipSpace();
                match(unit);
            } else {
                stopped = true;
            }
        } else if (unit == '%') {
            afterPercent = true;
        } else if (isSpace(unit)) {
            skipSpace();
        } else {
            match(unit);
        }
    }

    void feedNumber()
    {
        feed('%');
        feed('d');
    }

    bool complete() const { return count == Wanted; }
    bool failed() const { return stopped && !complete(); }

    /// The numbers in the order of the text.
    int numbers[Wanted];

private:
    void skipSpace()
    {
        while (isSpace(*p))
            ++p;
    }

    void match(ZkUcs2 unit)
    {
        if (*p == 0 || *p != unit)
            stopped = true;
        else
            ++p;
    }

    /// A sign and digits; beyond int, the nearest int.
    void readNumber()
    {
        skipSpace();
        const bool negative = *p == '-';
        if (negative || *p == '+')
            ++p;
        stopped = !isDigit(*p);
        if (stopped)
            return;
        const long long limit = negative ? -static_cast<long long>(INT_MIN) : INT_MAX;
        long long value = 0;
        for (; isDigit(*p); ++p) {
            value = 10 * value + (*p - '0');
            if (value > limit)
                value = limit;
        }
        numbers[count++] = static_cast<int>(negative ? -value : value);
        stopped = complete();
    }

    const ZkUcs2 *p; // a string's text ends with a 0 unit
    int count = 0;
    bool stopped = false;
    bool afterPercent = false;
};

/// A stretch of a pattern that stands for a number or a marker; none at -1.
struct Token {
    int position;
    int length;
};

/// First place in `format` with `length` times the unit `letter`.
int findLetters(const ZkString &format, ZkUcs2 letter, int length)
{
    int run = 0;
    for (int i = 0; i < format.size(); ++i) {
        run = format[i] == letter ? run + 1 : 0;
        if (run == length)
            return i - length + 1;
    }
    return -1;
}

/// First place of two given units, one behind the other.
int findPair(const ZkString &text, ZkUcs2 first, ZkUcs2 second)
{
    for (int i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == first && text[i + 1] == second)
            return i;
    }
    return -1;
}

/// The first double letter, else the first single one.
Token findToken(const ZkString &format, ZkUcs2 letter)
{
    const int position = findLetters(format, letter, 2);
    return position >= 0 ? Token{position, 2} : Token{findLetters(format, letter, 1), 1};
}

/// Which of the four markers a text holds, anywhere.
struct Markers {
    bool am = false, pm = false, AM = false, PM = false;

    bool anyAm() const { return am || AM; }
    bool anyPm() const { return pm || PM; }

    /// The hour of the day of an hour that was read.
    int hour(int read) const
    {
        if (read == 12)
            return anyAm() ? 0 : 12;
        return anyPm() ? zkWrapped(12ll + read) : read;
    }
};

Markers findMarkers(const ZkString &text)
{
    Markers found;
    const ZkUcs2 *p = text.constData();
    for (const ZkUcs2 *const end = text.end(); p < end; ++p) {
        if (p[1] == 'm') {
            found.am |= *p == 'a';
            found.pm |= *p == 'p';
        } else if (p[1] == 'M') {
            found.AM |= *p == 'A';
            found.PM |= *p == 'P';
        }
    }
    return found;
}

/// Reads the numbers of three tokens, and passes over a marker: `markerText` is
/// matched in its place. False when a token is missing or the text does not match.
bool readThree(const ZkString &text, const ZkString &format, const Token (&tokens)[3],
               int (&values)[3], Token marker = {-1, 0}, const char *markerText = "")
{
    for (const Token &token : tokens) {
        if (token.position < 0)
            return false;
    }
    Scanner<3> scanner(text);
    int order[3]; // of the tokens in the pattern
    int found = 0;
    for (int i = 0; i < format.size() && !scanner.failed();) {
        int token = 0;
        while (token < 3 && tokens[token].position != i)
            ++token;
        if (token < 3) {
            order[found++] = token;
            scanner.feedNumber();
            i += tokens[token].length;
        } else if (marker.position == i) {
            for (const char *c = markerText; *c != '\0'; ++c)
                scanner.feed(static_cast<unsigned char>(*c));
            i += marker.length;
        } else {
            scanner.feed(format[i++]);
        }
    }
    if (!scanner.complete())
        return false;
    for (int i = 0; i < 3; ++i)
        values[order[i]] = scanner.numbers[i];
    return true;
}

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

/// Reads a date-time by feeding the scanner what the pattern stands for.
class DateTimeReader
{
public:
    DateTimeReader(const ZkString &text, const ZkString &pattern)
        : format(pattern), markers(findMarkers(text)), scanner(text)
    {
    }

    /// The six numbers, or false.
    bool read(int (&values)[FieldCount]);

    /// The hour of the day, am and pm considered.
    int hour(int read) const { return markers.hour(read); }

private:
    int feedMarker(int i);
    int feedField(Field field, int i);

    const ZkString &format;
    Markers markers;
    Scanner<FieldCount> scanner;
    int positions[FieldCount] = {-1, -1, -1, -1, -1, -1};
};

bool DateTimeReader::read(int (&values)[FieldCount])
{
    const int size = format.size();
    for (int i = 0; i < size && !scanner.failed();) {
        const ZkUcs2 unit = format[i];
        const Field field = fieldOf(unit);
        if (field == NoField && !isLetterA(unit)) {
            scanner.feed(unit);
            ++i;
        } else if (i + 1 == size) {
            break; // a letter at the very end is lost, and with it its field
        } else {
            i += field == NoField ? feedMarker(i) : feedField(field, i);
        }
    }
    for (int position : positions) {
        if (position < 0)
            return false;
    }
    if (!scanner.complete())
        return false;

    // The earliest field takes the first number, and so on.
    for (int field = 0; field < FieldCount; ++field) {
        int rank = 0;
        for (int position : positions)
            rank += position < positions[field] ? 1 : 0;
        values[field] = scanner.numbers[rank];
    }
    return true;
}

/// "AP" and "ap" stand for the marker of the text, none for nothing; a single 'A'
/// or 'a' for nothing. Returns the number of units to pass over.
int DateTimeReader::feedMarker(int i)
{
    const bool capitals = format[i] == 'A';
    if (format[i + 1] != (capitals ? 'P' : 'p'))
        return 1;
    const bool am = capitals ? markers.AM : markers.am;
    const bool pm = capitals ? markers.PM : markers.pm;
    if (am || pm) {
        scanner.feed(static_cast<ZkUcs2>(capitals ? (am ? 'A' : 'P') : (am ? 'a' : 'p')));
        scanner.feed(capitals ? 'M' : 'm');
    }
    return 2;
}

/// A field's number; a 'y' outside "yyyy" is nothing. Returns the number of units
/// to pass over.
int DateTimeReader::feedField(Field field, int i)
{
    int length = format[i + 1] == format[i] ? 2 : 1;
    if (field == Year) {
        if (length < 2 || format[i + 2] != 'y' || format[i + 3] != 'y')
            return 1;
        length = 4;
    }
    positions[field] = i;
    scanner.feedNumber();
    return length;
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

ZkDate ZkDate::fromString(const ZkString &text, const ZkString &format)
{
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
    Token marker = {findPair(format, 'A', 'P'), 2};
    Markers markers;
    if (marker.position >= 0) {
        const Markers inText = findMarkers(text);
        markers.AM = inText.AM;
        markers.PM = inText.PM;
    } else {
        marker.position = findPair(format, 'a', 'p');
        if (marker.position >= 0) {
            const Markers inText = findMarkers(text);
            markers.am = inText.am;
            markers.pm = inText.pm;
        }
    }
    const char *markerText = markers.am   ? "am"
                             : markers.pm ? "pm"
                             : markers.AM ? "AM"
                             : markers.PM ? "PM"
                                          : "";
    int values[3];
    if (!readThree(text, format, tokens, values, marker, markerText))
        return ZkTime();
    return ZkTime(markers.hour(values[0]), values[1], values[2]);
}

ZkDateTime ZkDateTime::fromString(const ZkString &text, const ZkString &format)
{
    DateTimeReader reader(text, format);
    int values[FieldCount];
    if (text.isEmpty() || format.isEmpty() || !reader.read(values))
        return ZkDateTime();
    return ZkDateTime(ZkDate(values[Year], values[Month], values[Day]),
                      ZkTime(reader.hour(values[Hour]), values[Minute], values[Second]));
}
