#include "zklocale.h"

#include "number/zkascii.h"
#include "number/zknumbertext.h"
#include "number/zkstrtod.h"
#include "private/zkinlinearray.h"
#include "zkunicode.h"

#include <climits>
#include <cstring>
#include <limits>

namespace
{

/// A number as ASCII: on the stack unless it is a long one.
typedef ZkInlineArray<char, 256> AsciiText;

/// What a unit stands for in a number; 0 for no part of one. Letters may be digits
/// of a base, "inf" or "nan".
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
    const ZkUcs2 *const end = text.end();
    const ZkUcs2 *at = std::find_if_not(text.begin(), end, ZkUnicode::isSpace);
    if (at == end) {
        return -1;
    }
    char *to = out;
    for (; at != end; ++at) {
        const char c = asciiOf(*at);
        if (c == '\0') {
            break;
        }
        *to++ = c;
    }
    return std::all_of(at, end, ZkUnicode::isSpace) ? static_cast<int>(to - out) : -1;
}

/// True as long as no host has changed a symbol: the characters of a number are then
/// those of ASCII.
bool symbolsAreAscii()
{
    const int changed = (ZkLocale::mZeroDigit ^ '0') | (ZkLocale::mExponential ^ 'e') |
                        (ZkLocale::mPercentSign ^ '%') | (ZkLocale::mNegativeSign ^ '-') |
                        (ZkLocale::mPositiveSign ^ '+') | (ZkLocale::mGroupSeparator ^ ',') |
                        (ZkLocale::mDecimal ^ '.') | (ZkLocale::mListSign ^ ';');
    return changed == 0;
}

/// Whether `count` digits that begin with `first` are the number `value`, to which they
/// were read modulo 2^64. May be false for some that are.
bool fits64Bits(std::ptrdiff_t count, ZkUcs2 first, std::uint64_t value)
{
    constexpr int kSafe = 19; // so many digits fit, whatever they are
    // One more fits when it is a 1 in front of them, unless the number passes 2^64,
    // about 1.8 * 10^19, which takes it below 10^19.
    constexpr std::uint64_t kLeast = 10000000000000000000U;
    return count <= kSafe || (count == kSafe + 1 && first == '1' && value >= kLeast);
}

/// Reads what most integers are, nothing but an optional minus and decimal digits, from
/// the units themselves. False, and nothing told, for any other text.
bool readShortInteger(const ZkString &text, std::uint64_t *magnitude, bool *negative)
{
    const ZkUcs2 *at = text.begin();
    *negative = *at == '-';
    at += *negative;
    *magnitude = 0;
    const ZkUcs2 *end = zkReadDigits(at, text.end(), magnitude);
    // A zero digit is one before it is any other symbol; a minus has to be asked for.
    return end == text.end() && end != at && fits64Bits(end - at, *at, *magnitude) &&
           ZkLocale::mZeroDigit == '0' && (!*negative || symbolsAreAscii());
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

template <typename Value>
void report(Value value, Value *out)
{
    if (out != nullptr) {
        *out = value;
    }
}

/// Passes on what a reader found if that ends at `end`, else 0 and failure.
template <typename Number>
Number wholeText(const ZkReading<Number> &reading, const char *end, bool *ok, bool *overflow)
{
    const bool remain = reading.end != end;
    report(reading.ok && !remain, ok);
    // Despite its name this tells that characters follow a number that could not be read.
    report(!reading.ok && remain, overflow);
    return reading.ok && !remain ? reading.value : Number(0);
}

/// The words that are doubles.
struct Word {
    char text[5]; // no test can tell: more room does no harm
    double value;
};
constexpr Word kWords[] = {{"nan", std::numeric_limits<double>::quiet_NaN()},
                           {"inf", std::numeric_limits<double>::infinity()},
                           {"+inf", std::numeric_limits<double>::infinity()},
                           {"-inf", -std::numeric_limits<double>::infinity()}};

double readDouble(const char *text, const char *end, bool *ok, bool *overflow)
{
    const ZkReading<double> reading = zkReadDouble(text, end);
    if (reading.end == text) { // no digits: one of the words, or nothing
        for (const Word &word : kWords) {
            if (std::strcmp(text, word.text) == 0) {
                report(true, ok);
                report(false, overflow);
                return word.value;
            }
        }
    }
    return wholeText(reading, end, ok, overflow);
}

/// Reads the number in a text as `read` does the ASCII between two addresses.
template <typename Number, typename Read>
Number readText(const ZkString &text, bool *ok, ZkLocale::GroupSeparatorMode mode, Read read)
{
    AsciiText ascii;
    ascii.extend(text.size() + 1);
    char *const begin = ascii.begin();
    int n = narrow(text, begin);
    if (n >= 0 && mode == ZkLocale::AcceptGroupSeparators) {
        n = ungroup(begin, n);
    }
    if (n < 0) {
        report(false, ok);
        return 0;
    }
    begin[n] = '\0';
    return read(begin, begin + n);
}

/// The text between its address and its 0 byte; nothing when there is no text.
struct Bytes {
    explicit Bytes(const char *text)
        : begin(text != nullptr ? text : ""), end(begin + std::strlen(begin))
    {
    }

    const char *begin;
    const char *end;
};

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
    const ZkNumberSymbols symbols = {zero, group, '+', '-', 'e', decimal};
    zkAppendDecimalForm(&text, symbols, {number.constData(), number.size(), decpt},
                        {precision, mode, alwaysShowDecpt, thousandsGroup});
    return digits = text.toString();
}

ZkString ZkLocale::exponentForm(ZkUcs2 zero, ZkUcs2 decimal, ZkUcs2 exponential, ZkUcs2 group,
                                ZkUcs2 plus, ZkUcs2 minus, ZkString &digits, int decpt,
                                unsigned precision, PrecisionMode mode, bool alwaysShowDecpt)
{
    ZkTextBuffer text;
    const ZkString number = digits.isEmpty() ? ZkString(zero) : digits;
    const ZkNumberSymbols symbols = {zero, group, plus, minus, exponential, decimal};
    zkAppendExponentForm(&text, symbols, {number.constData(), number.size(), decpt},
                         {precision, mode, alwaysShowDecpt, false});
    return digits = text.toString();
}

double ZkLocale::stringToDouble(const ZkString &text, bool *ok, GroupSeparatorMode mode)
{
    double value = 0;
    if (symbolsAreAscii() && zkReadShortDouble(text.begin(), text.end(), &value)) {
        report(true, ok);
        return value;
    }
    return readText<double>(text, ok, mode, [ok](const char *begin, const char *end) {
        return readDouble(begin, end, ok, nullptr);
    });
}

int zkCompareDecimal(const ZkString &text, double value)
{
    return readText<int>(text, nullptr, ZkLocale::RefuseGroupSeparators,
                         [value](const char *begin, const char *end) {
                             return zkCompareDecimal(begin, end, value);
                         });
}

long long ZkLocale::stringToLongLong(const ZkString &text, int base, bool *ok,
                                     GroupSeparatorMode mode)
{
    std::uint64_t magnitude = 0;
    bool negative = false;
    if (base == 10 && readShortInteger(text, &magnitude, &negative) && magnitude <= LLONG_MAX) {
        report(true, ok);
        const long long value = static_cast<long long>(magnitude);
        return negative ? -value : value;
    }
    return readText<long long>(text, ok, mode, [base, ok](const char *begin, const char *end) {
        return wholeText(zkReadLongLong(begin, end, base), end, ok, nullptr);
    });
}

unsigned long long ZkLocale::stringToUnsLongLong(const ZkString &text, int base, bool *ok,
                                                 GroupSeparatorMode mode)
{
    std::uint64_t magnitude = 0;
    bool negative = false;
    if (base == 10 && readShortInteger(text, &magnitude, &negative)) {
        report(true, ok);
        return negative ? 0 - magnitude : magnitude;
    }
    return readText<unsigned long long>(
        text, ok, mode, [base, ok](const char *begin, const char *end) {
            return wholeText(zkReadUnsLongLong(begin, end, base), end, ok, nullptr);
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
    AsciiText ascii;
    ascii.extend(text.size() + 1);
    int n = narrow(text, ascii.begin());
    if (n >= 0 && mode == AcceptGroupSeparators) {
        n = ungroup(ascii.begin(), n);
    }
    if (n < 0) {
        return false;
    }
    ascii.begin()[n] = '\0';
    if (out != nullptr) {
        out->append(ascii.begin(), n + 1);
    }
    return true;
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
    const Bytes bytes(text);
    return readDouble(bytes.begin, bytes.end, ok, overflow);
}

long long ZkLocale::bytearrayToLongLong(const char *text, int base, bool *ok, bool *overflow)
{
    const Bytes bytes(text);
    return wholeText(zkReadLongLong(bytes.begin, bytes.end, base), bytes.end, ok, overflow);
}

unsigned long long ZkLocale::bytearrayToUnsLongLong(const char *text, int base, bool *ok)
{
    const Bytes bytes(text);
    return wholeText(zkReadUnsLongLong(bytes.begin, bytes.end, base), bytes.end, ok, nullptr);
}
