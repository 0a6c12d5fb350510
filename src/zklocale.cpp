#include "zklocale.h"

#include "zkascii.h"
#include "zknumbertext.h"
#include "zkstrtod.h"
#include "zkunicode.h"

#include <cstring>
#include <limits>

namespace
{

/// Room for a number as ASCII: on the stack unless it is a long one.
class AsciiText
{
public:
    explicit AsciiText(int room)
        : m_text(room <= kOwn ? m_own : static_cast<char *>(zkAllocate(room)))
    {
    }

    ~AsciiText()
    {
        if (m_text != m_own) {
            std::free(m_text);
        }
    }

    AsciiText(const AsciiText &) = delete;
    AsciiText &operator=(const AsciiText &) = delete;

    char *data() { return m_text; }

private:
    static constexpr int kOwn = 256;

    char m_own[kOwn];
    char *m_text;
};

/// What a unit other than the locale's own digits stands for in a number; 0 for
/// no part of one. Letters may be digits of a base, "inf" or "nan".
char asciiOf(ZkUcs2 c)
{
    if (const char known = ZkLocale::digitToCLocale(c)) {
        return known;
    }
    if (c == ZkLocale::mListSign) {
        return ';';
    }
    if (c == ZkLocale::mPercentSign) {
        return '%';
    }
    const ZkUcs2 lower = c | 0x20;
    return c < 0x80 && lower >= 'a' && lower <= 'z' ? static_cast<char>(lower) : '\0';
}

/// Writes the number in a text as ASCII, for which `out` has room for as many
/// characters. Returns their count, -1 when anything but white space surrounds
/// the number or when there is none.
int narrow(const ZkString &text, char *out)
{
    const ZkUcs2 *at = text.constData();
    const ZkUcs2 *const end = at + text.size();
    while (at != end && ZkUnicode::isSpace(*at)) {
        ++at;
    }
    if (at == end) {
        return -1;
    }
    char *to = out;
    const unsigned zero = ZkLocale::mZeroDigit;
    for (; at != end; ++at) {
        const unsigned digit = *at - zero; // digits first: they are most of a number
        const char c = digit < 10 ? static_cast<char>('0' + digit) : asciiOf(*at);
        if (c == '\0') {
            break;
        }
        *to++ = c;
    }
    for (; at != end; ++at) {
        if (!ZkUnicode::isSpace(*at)) {
            return -1;
        }
    }
    return static_cast<int>(to - out);
}

/// Where the integer part of `n` characters ends: at the first '.', or the first
/// 'e' before which there is none, else at `n`. -1 for a second '.'.
int decimalPosition(const char *text, int n)
{
    int position = n;
    bool point = false;
    for (int i = 0; i < n; ++i) {
        if (text[i] == '.') {
            if (point) {
                return -1;
            }
            point = true;
        }
        if (position == n && (text[i] == '.' || (text[i] | 0x20) == 'e')) {
            position = i;
        }
    }
    return position;
}

/// Whether each separator among `n` characters stands between digits, and they
/// part the integer part, which ends at `position`, in groups of three.
bool isWellGrouped(const char *text, int n, int position)
{
    for (int i = 0; i < n; ++i) {
        const bool separator = text[i] == ',';
        if (separator && (i == 0 || i == n - 1 || i >= position || !zkIsAsciiDigit(text[i - 1]) ||
                          !zkIsAsciiDigit(text[i + 1]))) {
            return false;
        }
        // A minus may stand where a separator would, in front of all digits. A
        // plus in its place is refused: "+123,456" is no number, "-123,456" is.
        const bool expected = i < position && (position - i) % 4 == 0;
        if (separator != expected && !(expected && i == 0 && text[i] == '-')) {
            return false;
        }
    }
    return true;
}

/// Removes the separators from `n` characters and returns how many are left, -1
/// and no change where one stands in a wrong place.
int ungroup(char *text, int n)
{
    const int position = decimalPosition(text, n);
    if (position < 0) {
        return -1;
    }
    if (n == 0 || std::memchr(text, ',', static_cast<std::size_t>(n)) == nullptr) {
        return n;
    }
    if (!isWellGrouped(text, n, position)) {
        return -1;
    }
    return static_cast<int>(std::remove(text, text + n, ',') - text);
}

/// `narrow` and, if asked, `ungroup`; ends the text with a 0 byte, for which there
/// is room too.
int toAscii(const ZkString &text, ZkLocale::GroupSeparatorMode mode, char *out)
{
    int n = narrow(text, out);
    if (n >= 0 && mode == ZkLocale::AcceptGroupSeparators) {
        n = ungroup(out, n);
    }
    if (n >= 0) {
        out[n] = '\0';
    }
    return n;
}

template <typename Value>
void report(Value value, Value *out)
{
    if (out != nullptr) {
        *out = value;
    }
}

/// Passes on what a reader found if it is the whole text, else 0 and failure.
template <typename Number>
Number wholeText(const ZkReading<Number> &reading, bool *ok, bool *overflow)
{
    const bool remain = *reading.end != '\0';
    report(reading.ok && !remain, ok);
    // Not what the name says: a number that failed, with more behind it.
    report(!reading.ok && remain, overflow);
    return reading.ok && !remain ? reading.value : Number(0);
}

const char *textOrEmpty(const char *text)
{
    return text != nullptr ? text : "";
}

/// The words that are doubles.
struct Word {
    char text[5];
    double value;
};
constexpr Word kWords[] = {{"nan", std::numeric_limits<double>::quiet_NaN()},
                           {"inf", std::numeric_limits<double>::infinity()},
                           {"+inf", std::numeric_limits<double>::infinity()},
                           {"-inf", -std::numeric_limits<double>::infinity()}};

/// Reads the number in a text as `read` does that of its ASCII form.
template <typename Number, typename Read>
Number readText(const ZkString &text, bool *ok, ZkLocale::GroupSeparatorMode mode, Read read)
{
    AsciiText ascii(text.size() + 1);
    if (toAscii(text, mode, ascii.data()) < 0) {
        report(false, ok);
        return 0;
    }
    return read(ascii.data());
}

} // namespace

ZkUcs2 ZkLocale::mZeroDigit = '0';
ZkUcs2 ZkLocale::mExponential = 'e';
ZkUcs2 ZkLocale::mPercentSign = '%';
ZkUcs2 ZkLocale::mNegativeSign = '-';
ZkUcs2 ZkLocale::mPositiveSign = '+';
ZkUcs2 ZkLocale::mGroupSeparator = ',';
ZkUcs2 ZkLocale::mDecimal = '.';
ZkUcs2 ZkLocale::mListSign = ';';
std::uint16_t ZkLocale::mNumberOptions = 0;

ZkString ZkLocale::longLongToString(ZkUcs2 zero, ZkUcs2 group, ZkUcs2 plus, ZkUcs2 minus,
                                    long long value, int precision, int base, int width,
                                    unsigned flags)
{
    ZkTextBuffer text;
    zkAppendLongLong(&text, {zero, group, plus, minus, 'e', '.'}, value, base,
                     {precision, width, flags});
    return text.toString();
}

ZkString ZkLocale::unsLongLongToString(ZkUcs2 zero, ZkUcs2 group, ZkUcs2 plus,
                                       unsigned long long value, int precision, int base, int width,
                                       unsigned flags)
{
    ZkTextBuffer text;
    zkAppendUnsLongLong(&text, {zero, group, plus, '-', 'e', '.'}, value, base,
                        {precision, width, flags});
    return text.toString();
}

ZkString ZkLocale::doubleToString(ZkUcs2 zero, ZkUcs2 plus, ZkUcs2 minus, ZkUcs2 exponential,
                                  ZkUcs2 group, ZkUcs2 decimal, double value, int precision,
                                  DoubleForm form, int width, unsigned flags)
{
    ZkTextBuffer text;
    zkAppendDouble(&text, {zero, group, plus, minus, exponential, decimal}, value, form,
                   {precision, width, flags});
    return text.toString();
}

ZkString ZkLocale::decimalForm(ZkUcs2 zero, ZkUcs2 decimal, ZkUcs2 group, ZkString &digits,
                               int decpt, unsigned precision, PrecisionMode mode,
                               bool alwaysShowDecpt, bool thousandsGroup)
{
    ZkTextBuffer text;
    const ZkString number = digits.isEmpty() ? ZkString(zero) : digits;
    zkAppendDecimalForm(&text, {zero, group, '+', '-', 'e', decimal},
                        {number.constData(), number.size(), decpt},
                        {precision, mode, alwaysShowDecpt, thousandsGroup});
    return digits = text.toString();
}

ZkString ZkLocale::exponentForm(ZkUcs2 zero, ZkUcs2 decimal, ZkUcs2 exponential, ZkUcs2 group,
                                ZkUcs2 plus, ZkUcs2 minus, ZkString &digits, int decpt,
                                unsigned precision, PrecisionMode mode, bool alwaysShowDecpt)
{
    ZkTextBuffer text;
    const ZkString number = digits.isEmpty() ? ZkString(zero) : digits;
    zkAppendExponentForm(&text, {zero, group, plus, minus, exponential, decimal},
                         {number.constData(), number.size(), decpt},
                         {precision, mode, alwaysShowDecpt, false});
    return digits = text.toString();
}

double ZkLocale::stringToDouble(const ZkString &text, bool *ok, GroupSeparatorMode mode)
{
    return readText<double>(
        text, ok, mode, [ok](const char *ascii) { return bytearrayToDouble(ascii, ok, nullptr); });
}

long long ZkLocale::stringToLongLong(const ZkString &text, int base, bool *ok,
                                     GroupSeparatorMode mode)
{
    return readText<long long>(text, ok, mode, [base, ok](const char *ascii) {
        return bytearrayToLongLong(ascii, base, ok, nullptr);
    });
}

unsigned long long ZkLocale::stringToUnsLongLong(const ZkString &text, int base, bool *ok,
                                                 GroupSeparatorMode mode)
{
    return readText<unsigned long long>(text, ok, mode, [base, ok](const char *ascii) {
        return bytearrayToUnsLongLong(ascii, base, ok);
    });
}

char ZkLocale::digitToCLocale(const ZkUcs2 &c)
{
    if (c >= mZeroDigit && c - mZeroDigit < 10) {
        return static_cast<char>('0' + (c - mZeroDigit));
    }
    if (c >= '0' && c <= '9') {
        return static_cast<char>(c);
    }
    if (c == mPositiveSign) {
        return '+';
    }
    if (c == mNegativeSign) {
        return '-';
    }
    if (c == mDecimal) {
        return '.';
    }
    if (c == mGroupSeparator) {
        return ',';
    }
    return c == mExponential || c == ZkUnicode::toUpper(mExponential) ? 'e' : '\0';
}

bool ZkLocale::numberToCLocale(const ZkString &text, GroupSeparatorMode mode, ZkVector<char> *out)
{
    if (out != nullptr) {
        out->clear();
    }
    AsciiText ascii(text.size() + 1);
    const int n = toAscii(text, mode, ascii.data());
    if (n >= 0 && out != nullptr) {
        out->append(ascii.data(), n + 1);
    }
    return n >= 0;
}

bool ZkLocale::removeGroupSeparators(ZkVector<char> *buffer)
{
    if (buffer == nullptr || buffer->isEmpty()) {
        return true;
    }
    char *text = buffer->data();
    const bool terminated = text[buffer->size() - 1] == '\0';
    const int n = ungroup(text, buffer->size() - terminated);
    if (n < 0) {
        return false;
    }
    if (terminated) {
        text[n] = '\0';
    }
    buffer->resize(n + terminated);
    return true;
}

double ZkLocale::bytearrayToDouble(const char *text, bool *ok, bool *overflow)
{
    const char *number = textOrEmpty(text);
    const ZkReading<double> reading = zkReadDouble(number);
    if (reading.end == number) { // no digits: one of the words, or nothing
        for (const Word &word : kWords) {
            if (std::strcmp(number, word.text) == 0) {
                report(true, ok);
                report(false, overflow);
                return word.value;
            }
        }
    }
    return wholeText(reading, ok, overflow);
}

long long ZkLocale::bytearrayToLongLong(const char *text, int base, bool *ok, bool *overflow)
{
    return wholeText(zkReadLongLong(textOrEmpty(text), base), ok, overflow);
}

unsigned long long ZkLocale::bytearrayToUnsLongLong(const char *text, int base, bool *ok)
{
    return wholeText(zkReadUnsLongLong(textOrEmpty(text), base), ok, nullptr);
}
