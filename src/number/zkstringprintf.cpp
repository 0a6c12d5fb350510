#include "number/zkdouble.h"
#include "number/zkinteger.h"
#include "number/zknumbertext.h"
#include "string/zktextlength.h"
#include "string/zkunits.h"

#include <cfenv>
#include <climits>
#include <cstddef>

namespace
{

// Wider fields and more digits than this are cut to it: 2 MiB of text, which no
// format means and every device has.
constexpr int kMostUnits = 1048576;

enum class Length { None, Char, Short, Long, LongLong, LongDouble, Max, Size, Difference };

/// What stands between '%' and the conversion.
struct Directive {
    unsigned flags; // ZkLocale::Flag
    int width;      // 0 to kMostUnits
    int precision;  // -1 to kMostUnits
    Length length;
};

/// The arguments; a structure, since a va_list itself cannot be handed on by
/// reference everywhere.
struct Arguments {
    std::va_list list;
};

unsigned flagOf(char c)
{
    switch (c) {
    case ' ': return ZkLocale::BlankForPositive;
    case '#': return ZkLocale::AltForm;
    case '\'': return ZkLocale::GroupThousands;
    case '+': return ZkLocale::ShowPlusSign;
    case '-': return ZkLocale::AlignLeft;
    case '0': return ZkLocale::PadWithZeros;
    default: return 0;
    }
}

/// Reads a run of digits, none being 0.
int readCount(const char **at)
{
    int count = 0;
    for (; **at >= '0' && **at <= '9'; ++*at) {
        count = std::min(count * 10 + (**at - '0'), kMostUnits);
    }
    return count;
}

Length readLength(const char **at)
{
    const char first = **at;
    const bool twice = first != '\0' && (*at)[1] == first;
    switch (first) {
    case 'h': *at += 1 + twice; return twice ? Length::Char : Length::Short;
    case 'l': *at += 1 + twice; return twice ? Length::LongLong : Length::Long;
    case 'L': ++*at; return Length::LongDouble;
    case 'j': ++*at; return Length::Max;
    case 'z':
    case 'Z': ++*at; return Length::Size;
    case 't': ++*at; return Length::Difference;
    default: return Length::None;
    }
}

/// Reads what stands between '%' and the conversion and stays before the latter.
Directive readDirective(const char **at, Arguments *arguments)
{
    Directive directive = {0, 0, -1, Length::None};
    while (const unsigned flag = flagOf(**at)) {
        directive.flags |= flag;
        ++*at;
    }
    if (**at == '*') {
        const std::int64_t width = va_arg(arguments->list, int);
        directive.flags |= width < 0 ? static_cast<unsigned>(ZkLocale::AlignLeft) : 0U;
        directive.width = static_cast<int>(std::min<std::int64_t>(std::abs(width), kMostUnits));
        ++*at;
    } else {
        directive.width = readCount(at);
    }
    if (**at == '.') {
        ++*at;
        if (**at == '*') {
            directive.precision = std::clamp(va_arg(arguments->list, int), -1, kMostUnits);
            ++*at;
        } else {
            directive.precision = readCount(at);
        }
    }
    directive.length = readLength(at);
    return directive;
}

long long signedArgument(Arguments *arguments, Length length)
{
    switch (length) {
    case Length::Char: return static_cast<signed char>(va_arg(arguments->list, int));
    case Length::Short: return static_cast<short>(va_arg(arguments->list, int));
    case Length::Long: return va_arg(arguments->list, long);
    case Length::LongLong:
    case Length::LongDouble: return va_arg(arguments->list, long long);
    case Length::Max: return va_arg(arguments->list, std::intmax_t);
    case Length::Size: return va_arg(arguments->list, std::make_signed_t<std::size_t>);
    case Length::Difference: return va_arg(arguments->list, std::ptrdiff_t);
    case Length::None: break;
    }
    return va_arg(arguments->list, int);
}

unsigned long long unsignedArgument(Arguments *arguments, Length length)
{
    const unsigned long long value =
        static_cast<unsigned long long>(signedArgument(arguments, length));
    switch (length) {
    case Length::Char: return static_cast<unsigned char>(value);
    case Length::Short: return static_cast<unsigned short>(value);
    case Length::Long: return static_cast<unsigned long>(value);
    case Length::Size:
    case Length::Difference: return static_cast<std::size_t>(value);
    case Length::LongLong:
    case Length::LongDouble:
    case Length::Max: return value;
    case Length::None: break;
    }
    return static_cast<unsigned>(value);
}

/// The double nearest to a longer one, whatever rounding mode the host has chosen.
double nearestDouble(long double value)
{
    if constexpr (sizeof(long double) == sizeof(double)) {
        return static_cast<double>(value);
    }
    const int mode = std::fegetround();
    const volatile long double wide = value; // volatile: converted here, not elsewhere
    std::fesetround(FE_TONEAREST);
    const volatile double nearest = static_cast<double>(wide);
    std::fesetround(mode);
    return nearest;
}

double doubleArgument(Arguments *arguments, Length length)
{
    return length == Length::LongDouble ? nearestDouble(va_arg(arguments->list, long double))
                                        : va_arg(arguments->list, double);
}

ZkNumberSymbols printfSymbols()
{
    ZkNumberSymbols symbols = kZkPlainSymbols;
    symbols.group = ZkLocale::mGroupSeparator;
    return symbols;
}

void appendSigned(ZkTextBuffer *out, const Directive &directive, Arguments *arguments)
{
    zkAppendLongLong(out, printfSymbols(), signedArgument(arguments, directive.length), 10,
                     {directive.precision, directive.width, directive.flags});
}

void appendUnsigned(ZkTextBuffer *out, const Directive &directive, unsigned long long value,
                    int base, unsigned more)
{
    constexpr unsigned kSigns = ZkLocale::ShowPlusSign | ZkLocale::BlankForPositive;
    zkAppendUnsLongLong(out, printfSymbols(), value, base,
                        {directive.precision, directive.width, (directive.flags & ~kSigns) | more});
}

void appendDouble(ZkTextBuffer *out, const Directive &directive, char conversion, double value)
{
    const ZkDoubleFormat look = zkDoubleFormat(conversion);
    zkAppendDouble(out, printfSymbols(), value, look.form,
                   {directive.precision, directive.width, directive.flags | look.flags});
}

/// A finite double as 0xh.hhhp+d: one binary digit before the point (0 for a
/// denormal), a decimal exponent of two.
void appendHexDigits(ZkTextBuffer *out, double value, int precision, bool alwaysPoint)
{
    constexpr int kDigits = kZkMantissaBits / 4; // behind the point
    const ZkBinary x = zkBinaryOf(value);
    std::uint64_t mantissa = x.mantissa;
    int digits = kDigits;
    if (precision >= 0 && precision < kDigits) {
        // To the nearest, a tie to even; the digit before the point may become 2.
        const int dropped = 4 * (kDigits - precision);
        const std::uint64_t half = std::uint64_t(1) << (dropped - 1);
        const std::uint64_t rest = mantissa & (half | (half - 1));
        mantissa >>= dropped;
        mantissa += rest > half || (rest == half && (mantissa & 1) != 0);
        digits = precision;
    } else if (precision < 0) { // no test can tell: 0 went another way
        for (; digits > 0 && (mantissa & 15) == 0; --digits) {
            mantissa >>= 4;
        }
    }
    ZkUcs2 room[16];
    ZkUcs2 *const end = room + 16;
    ZkUcs2 *first = zkWriteInteger(end, mantissa, 16);
    while (end - first < digits + 1) {
        *--first = '0';
    }
    out->append(*first);
    if (digits > 0 || precision > 0 || alwaysPoint) {
        out->append('.');
    }
    out->append(first + 1, digits);
    out->fill(static_cast<std::int64_t>(precision) - digits, '0');
    out->append('p');
    const int exponent = x.mantissa == 0 ? 0 : x.exponent + kZkMantissaBits;
    zkAppendLongLong(out, kZkPlainSymbols, exponent, 10, {1, 0, ZkLocale::ShowPlusSign});
}

void appendHexDouble(ZkTextBuffer *out, const Directive &directive, bool upper, double value)
{
    const int begin = out->size();
    if (!zkIsFinite(value)) {
        appendDouble(out, directive, 'e', value);
    } else {
        zkAppendSign(out, zkSignOf(value), kZkPlainSymbols, directive.flags);
        out->appendAscii("0x");
        const int digits = out->size();
        appendHexDigits(out, value, directive.precision,
                        (directive.flags & ZkLocale::AltForm) != 0);
        if (zkPadsWithZeros(directive.flags)) {
            out->insert(digits, static_cast<std::int64_t>(directive.width) - (out->size() - begin),
                        '0');
        }
    }
    if (upper) {
        zkUpperCaseFrom(out, begin);
    }
}

void appendText(ZkTextBuffer *out, const Directive &directive, Arguments *arguments)
{
    const void *text = va_arg(arguments->list, const void *);
    if (text != nullptr && directive.length == Length::Long) {
        const ZkUcs2 *units = static_cast<const ZkUcs2 *>(text);
        int n = 0;
        while (n != directive.precision && n < INT_MAX && units[n] != 0) {
            ++n;
        }
        out->append(units, n);
        return;
    }
    // Bytes behind the precision are not looked at: a text cut by it need not end.
    const char *bytes = text != nullptr ? static_cast<const char *>(text) : "(null)";
    const int n = zkTextLength(bytes, directive.precision);
    const int begin = out->size();
    const int units = ZkString::utf8ToUcs2(out->extend(n), bytes, n);
    out->truncate(begin + units);
}

void appendCharacter(ZkTextBuffer *out, const Directive &directive, Arguments *arguments)
{
    const int c = va_arg(arguments->list, int);
    out->append(directive.length == Length::Long ? static_cast<ZkUcs2>(c)
                                                 : static_cast<unsigned char>(c));
}

template <typename Count>
void store(void *to, int count)
{
    *static_cast<Count *>(to) = static_cast<Count>(count);
}

/// Stores how many units there are so far in a number of the modifier's type.
void storeCount(int count, Length length, Arguments *arguments)
{
    void *to = va_arg(arguments->list, void *);
    if (to == nullptr) {
        return;
    }
    switch (length) {
    case Length::Char: return store<signed char>(to, count);
    case Length::Short: return store<short>(to, count);
    case Length::Long: return store<long>(to, count);
    case Length::LongLong:
    case Length::LongDouble: return store<long long>(to, count);
    case Length::Max: return store<std::intmax_t>(to, count);
    case Length::Size: return store<std::size_t>(to, count);
    case Length::Difference: return store<std::ptrdiff_t>(to, count);
    case Length::None: return store<int>(to, count);
    }
}

/// Appends what a directive stands for, not yet as wide as its field. False when
/// the character is no conversion.
bool convert(ZkTextBuffer *out, const Directive &directive, char conversion, Arguments *arguments)
{
    constexpr unsigned kUpper = ZkLocale::UpperCaseText | ZkLocale::UpperCasePrefix;
    switch (conversion) {
    case 'd':
    case 'i': appendSigned(out, directive, arguments); return true;
    case 'o':
        appendUnsigned(out, directive, unsignedArgument(arguments, directive.length), 8, 0);
        return true;
    case 'u':
        appendUnsigned(out, directive, unsignedArgument(arguments, directive.length), 10, 0);
        return true;
    case 'x':
    case 'X':
        appendUnsigned(out, directive, unsignedArgument(arguments, directive.length), 16,
                       conversion == 'X' ? kUpper : 0);
        return true;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
        appendDouble(out, directive, conversion, doubleArgument(arguments, directive.length));
        return true;
    case 'a':
    case 'A':
        appendHexDouble(out, directive, conversion == 'A',
                        doubleArgument(arguments, directive.length));
        return true;
    case 'c': appendCharacter(out, directive, arguments); return true;
    case 's': appendText(out, directive, arguments); return true;
    case 'p':
        appendUnsigned(out, directive,
                       reinterpret_cast<std::uintptr_t>(va_arg(arguments->list, void *)), 16,
                       ZkLocale::ShowBasePrefix);
        return true;
    case 'n': storeCount(out->size(), directive.length, arguments); return true;
    default: return false;
    }
}

/// Fills what stands behind `begin` up with blanks to the field's width.
void justify(ZkTextBuffer *out, int begin, const Directive &directive)
{
    const std::int64_t blanks = static_cast<std::int64_t>(directive.width) - (out->size() - begin);
    if ((directive.flags & ZkLocale::AlignLeft) != 0) {
        out->fill(blanks, ' ');
    } else {
        out->insert(begin, blanks, ' ');
    }
}

/// Appends 8-bit text byte by byte.
void appendBytes(ZkTextBuffer *out, const char *begin, const char *end)
{
    ZkUcs2 *to = out->extend(end - begin);
    std::transform(begin, end, to, [](char c) { return static_cast<unsigned char>(c); });
}

/// Appends the directive that begins with the '%' at `at`; returns what is behind.
const char *appendDirective(ZkTextBuffer *out, const char *at, Arguments *arguments)
{
    const char *behind = at + 1;
    if (*behind == '%') {
        out->append('%');
        return behind + 1;
    }
    const Directive directive = readDirective(&behind, arguments);
    const int begin = out->size();
    if (!convert(out, directive, *behind, arguments)) {
        appendBytes(out, at, behind); // no directive, but text; go on with what ended it
        return behind;
    }
    if (*behind != 'n') {
        justify(out, begin, directive);
    }
    return behind + 1;
}

} // namespace

ZkString &ZkString::vsprintf(const char *format, std::va_list arguments)
{
    // Built apart: the format and the arguments may lie in this string.
    ZkTextBuffer out;
    Arguments own;
    va_copy(own.list, arguments);
    const char *at = format != nullptr ? format : "";
    while (const char *percent = std::strchr(at, '%')) {
        appendBytes(&out, at, percent);
        at = appendDirective(&out, percent, &own);
    }
    appendBytes(&out, at, at + std::strlen(at));
    va_end(own.list);

    if (out.size() == 0 || d.isShared()) {
        *this = out.toString();
    } else { // the block is ours: keep it
        Data::allocMemory(d, static_cast<std::int64_t>(out.size()) + 1, false);
        zkCopyUnits(d->data, out.at(0), out.size());
        setSize(out.size());
    }
    return *this;
}

ZkString &ZkString::sprintf(const char *format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    vsprintf(format, arguments);
    va_end(arguments);
    return *this;
}
