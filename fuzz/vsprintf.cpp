// A directive with its argument, text around it: sprintf writes what the C library
// writes. Where it means to differ (groups, at least one digit, "0x0", a nan without
// a sign, texts in UTF-8, pointers) a model says what comes out.

#include <zkstring.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace
{

/// A directive as its parts.
struct Directive {
    std::string flags;
    bool hasWidth, hasPrecision;
    bool starWidth, starPrecision; // given as arguments
    int width, precision;          // negative ones only as arguments
    std::string length;
    char conversion;

    bool has(char flag) const { return flags.find(flag) != std::string::npos; }
    bool alignsLeft() const { return has('-') || (hasWidth && width < 0); }
    /// -1: none.
    int digits() const { return hasPrecision && precision >= 0 ? precision : -1; }
    std::size_t field() const { return hasWidth ? static_cast<std::size_t>(std::abs(width)) : 0; }

    /// As a format, numbers instead of stars where `plain`.
    std::string format(bool plain) const
    {
        std::string text = "%" + flags;
        if (plain && hasWidth && width < 0) {
            text += '-';
        }
        if (hasWidth) {
            text += starWidth && !plain ? "*" : std::to_string(std::abs(width));
        }
        if (hasPrecision && (!plain || precision >= 0)) {
            text += '.';
            text += starPrecision && !plain ? "*" : std::to_string(precision);
        }
        return text + length + conversion;
    }
};

Directive takeDirective(FuzzedDataProvider &input)
{
    Directive directive = {};
    for (int i = input.ConsumeIntegralInRange(0, 4); i > 0; --i) {
        directive.flags += input.PickValueInArray({' ', '#', '\'', '+', '-', '0'});
    }
    directive.hasWidth = input.ConsumeBool();
    directive.starWidth = input.ConsumeBool();
    directive.width = input.ConsumeIntegralInRange(directive.starWidth ? -80 : 1, 80);
    directive.hasPrecision = input.ConsumeBool();
    directive.starPrecision = input.ConsumeBool();
    directive.precision = input.ConsumeIntegralInRange(directive.starPrecision ? -2 : 0, 40);
    if (input.ConsumeIntegralInRange(0, 15) == 0) {
        directive.precision *= 30; // more than any number has
    }
    directive.conversion = input.PickValueInArray({'d', 'i', 'o', 'u', 'x', 'X', 'e', 'E', 'f', 'F',
                                                   'g', 'G', 'a', 'A', 'c', 's', 'p', 'n', 'y'});
    return directive;
}

[[noreturn]] void fail(const std::string &format, const std::u16string &ours,
                       const std::u16string &expected)
{
    const auto show = [](const char *who, const std::u16string &text) {
        std::fprintf(stderr, "%s", who);
        for (const char16_t unit : text) {
            std::fprintf(stderr, unit >= ' ' && unit < 0x7F ? "%c" : "\\u%04X", unsigned(unit));
        }
        std::fprintf(stderr, "|\n");
    };
    std::fprintf(stderr, "%s\n", format.c_str());
    show("ours     |", ours);
    show("expected |", expected);
    std::abort();
}

std::u16string unitsOf(const std::string &bytes)
{
    std::u16string units;
    for (const char c : bytes) {
        units += static_cast<unsigned char>(c);
    }
    return units;
}

template <typename Value>
std::string libraryText(const std::string &format, Value value)
{
    char buffer[4096];
    const int n = std::snprintf(buffer, sizeof buffer, format.c_str(), value);
    return std::string(buffer, static_cast<std::size_t>(n));
}

/// The text around a directive, and what is to come of all.
struct Frame {
    std::string before, behind;

    /// Prints the directive between the texts, and a number behind it, which shows
    /// that the arguments were used up as they should.
    template <typename Value>
    void check(const Directive &directive, Value value, const std::u16string &expected) const
    {
        const std::string format = before + directive.format(false) + behind + "<%d>";
        const int w = directive.width, p = directive.precision;
        const bool starWidth = directive.hasWidth && directive.starWidth;
        const bool starPrecision = directive.hasPrecision && directive.starPrecision;
        ZkString text("before");
        if (starWidth && starPrecision) {
            text.sprintf(format.c_str(), w, p, value, 4711);
        } else if (starWidth) {
            text.sprintf(format.c_str(), w, value, 4711);
        } else if (starPrecision) {
            text.sprintf(format.c_str(), p, value, 4711);
        } else {
            text.sprintf(format.c_str(), value, 4711);
        }
        const std::u16string all = unitsOf(before) + expected + unitsOf(behind) + u"<4711>";
        if (text.toStdU16String() != all) {
            fail(format, text.toStdU16String(), all);
        }
    }
};

template <typename Text>
Text justified(const Directive &directive, Text text)
{
    const std::size_t field = directive.field();
    if (text.size() < field) {
        text.insert(directive.alignsLeft() ? text.size() : 0, field - text.size(), ' ');
    }
    return text;
}

/// What stands between the sign and the width: separators into the integer part,
/// then zeros up to the precision, which an integer's separators count in, or to
/// the field. `number` has the sign but no padding.
std::string grouped(const Directive &directive, std::string number, bool integer)
{
    const std::size_t first = number.find_first_not_of("+- ");
    std::size_t point = number.find_first_not_of("0123456789", first);
    point = point == std::string::npos ? number.size() : point;
    for (std::size_t at = point; at > first + 3;) {
        number.insert(at -= 3, 1, ',');
    }
    const bool fills = directive.has('0') && !directive.alignsLeft();
    const std::size_t digits = number.size() - first;
    std::size_t least = 0;
    if (integer && directive.digits() >= 0) {
        least = static_cast<std::size_t>(directive.digits());
    } else if (fills && directive.field() > first) {
        least = directive.field() - first;
    }
    number.insert(first, least > digits ? least - digits : 0, '0');
    return justified(directive, number);
}

/// The same directive without width and precision, for the model to add its own.
Directive bare(const Directive &directive, bool keepsPrecision)
{
    Directive result = directive;
    result.flags.clear();
    for (const char flag : directive.flags) {
        result.flags.append(flag == ' ' || flag == '+' || flag == '#' ? 1 : 0, flag);
    }
    result.hasWidth = false;
    result.hasPrecision = keepsPrecision && directive.digits() >= 0;
    return result;
}

/// The C library's text of an integer, but for the zero, which it shows without a
/// digit where none is asked for and never behind "0x".
template <typename Value>
std::string integerText(Directive directive, Value value, bool zero)
{
    if (!zero) {
        return libraryText(directive.format(true), value);
    }
    if (directive.conversion == 'o') {
        directive.precision = directive.digits() == 0 ? 1 : directive.precision;
        return libraryText(directive.format(true), value);
    }
    std::string text = libraryText(directive.format(true), static_cast<Value>(1));
    text[text.rfind('1')] = '0';
    return text;
}

template <typename Value>
void checkInteger(const Frame &frame, const Directive &directive, Value value, bool zero)
{
    std::string expected;
    const char c = directive.conversion;
    if (directive.has('\'') && (c == 'd' || c == 'i' || c == 'u')) {
        expected = grouped(directive, integerText(bare(directive, false), value, zero), true);
    } else {
        expected = integerText(directive, value, zero);
    }
    frame.check(directive, value, unitsOf(expected));
}

void checkIntegers(const Frame &frame, Directive directive, FuzzedDataProvider &input)
{
    const std::int64_t bits = input.ConsumeIntegral<std::int64_t>();
    const std::int64_t value = bits >> input.ConsumeIntegralInRange(0, 63);
    const int small = static_cast<int>(value);
    switch (input.ConsumeIntegralInRange(0, 9)) {
    case 0: directive.length = "hh"; return checkInteger(frame, directive, small, char(small) == 0);
    case 1: directive.length = "h"; return checkInteger(frame, directive, small, short(small) == 0);
    case 2:
        directive.length = "l";
        return checkInteger(frame, directive, static_cast<long>(value), long(value) == 0);
    case 3:
        directive.length = input.ConsumeBool() ? "ll" : "L";
        return checkInteger(frame, directive, static_cast<long long>(value), value == 0);
    case 4:
        directive.length = "j";
        return checkInteger(frame, directive, static_cast<std::intmax_t>(value), value == 0);
    case 5:
        directive.length = input.ConsumeBool() ? "z" : "Z";
        return checkInteger(frame, directive, static_cast<std::size_t>(value),
                            static_cast<std::size_t>(value) == 0);
    case 6:
        directive.length = "t";
        return checkInteger(frame, directive, static_cast<std::ptrdiff_t>(value),
                            static_cast<std::ptrdiff_t>(value) == 0);
    default: return checkInteger(frame, directive, small, small == 0);
    }
}

std::string doubleText(const Directive &directive, double value)
{
    const char c = directive.conversion;
    if (std::isnan(value)) {
        return justified(directive, std::string(c < 'a' ? "NAN" : "nan"));
    }
    if (directive.has('\'') && c != 'a' && c != 'A' && std::isfinite(value)) {
        return grouped(directive, libraryText(bare(directive, true).format(true), value), false);
    }
    return libraryText(directive.format(true), value);
}

void checkDoubles(const Frame &frame, Directive directive, FuzzedDataProvider &input)
{
    double value = 0;
    const std::uint64_t bits = input.ConsumeIntegral<std::uint64_t>();
    if (input.ConsumeBool()) {
        std::memcpy(&value, &bits, sizeof value);
    } else {
        value = static_cast<double>(static_cast<std::int64_t>(bits)) / 1e12;
    }
    const std::u16string expected = unitsOf(doubleText(directive, value));
    if (input.ConsumeBool()) {
        frame.check(directive, value, expected);
    } else {
        directive.length = "L";
        frame.check(directive, static_cast<long double>(value), expected);
    }
}

void checkText(const Frame &frame, Directive directive, FuzzedDataProvider &input)
{
    std::string bytes = input.ConsumeRandomLengthString(40);
    bytes = bytes.c_str(); // up to its first 0
    const std::size_t most =
        directive.digits() >= 0 ? static_cast<std::size_t>(directive.digits()) : std::string::npos;
    if (input.ConsumeBool()) {
        const std::string shown = bytes.substr(0, most);
        const ZkString units(shown.c_str(), static_cast<int>(shown.size()));
        frame.check(directive, bytes.c_str(), justified(directive, units.toStdU16String()));
        // No byte is read behind the precision, so the text need not end there.
        if (most <= bytes.size()) {
            const std::vector<char> open(shown.begin(), shown.end());
            const char *const none = ""; // a vector of nothing has no address
            frame.check(directive, open.empty() ? none : open.data(),
                        justified(directive, units.toStdU16String()));
        }
    } else {
        directive.length = "l";
        const ZkString units(bytes.c_str());
        const std::u16string shown = units.toStdU16String().c_str(); // C0 80 is decoded to U+0000
        frame.check(directive, units.constData(), justified(directive, shown.substr(0, most)));
    }
}

void checkCharacter(const Frame &frame, Directive directive, FuzzedDataProvider &input)
{
    const int c = input.ConsumeIntegral<int>();
    const bool wide = input.ConsumeBool();
    directive.length = wide ? "l" : "";
    const std::u16string unit(1, static_cast<char16_t>(wide ? c : c & 0xFF));
    frame.check(directive, c, justified(directive, unit));
}

/// A pointer looks like an alternate hexadecimal number without a sign.
void checkPointer(const Frame &frame, const Directive &directive, FuzzedDataProvider &input)
{
    const std::uintptr_t value = input.ConsumeIntegral<std::uintptr_t>();
    Directive number = directive;
    number.flags += '#';
    number.length = "j";
    number.conversion = 'x';
    const std::string text = integerText(number, static_cast<std::uintmax_t>(value), value == 0);
    frame.check(directive, reinterpret_cast<void *>(value), unitsOf(text));
}

template <typename Count>
void checkCount(const Frame &frame, Directive directive, const char *length)
{
    Count count = 0;
    directive.length = length;
    frame.check(directive, &count, u"");
    if (count != static_cast<Count>(frame.before.size())) {
        fail("the count of " + directive.format(false), unitsOf(std::to_string(count)),
             unitsOf(std::to_string(frame.before.size())));
    }
}

void checkCounts(const Frame &frame, const Directive &directive, FuzzedDataProvider &input)
{
    switch (input.ConsumeIntegralInRange(0, 6)) {
    case 0: return checkCount<signed char>(frame, directive, "hh");
    case 1: return checkCount<short>(frame, directive, "h");
    case 2: return checkCount<long>(frame, directive, "l");
    case 3: return checkCount<long long>(frame, directive, "ll");
    case 4: return checkCount<std::size_t>(frame, directive, "z");
    case 5: return checkCount<std::ptrdiff_t>(frame, directive, "t");
    default: return checkCount<int>(frame, directive, "");
    }
}

/// Text without a '%' or an end.
std::string takeText(FuzzedDataProvider &input)
{
    std::string text = input.ConsumeRandomLengthString(16);
    for (char &c : text) {
        c = c == '%' || c == '\0' ? '.' : c;
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const Frame frame = {takeText(input), takeText(input)};
    const Directive directive = takeDirective(input);
    switch (directive.conversion) {
    case 'c': checkCharacter(frame, directive, input); break;
    case 's': checkText(frame, directive, input); break;
    case 'p': checkPointer(frame, directive, input); break;
    case 'n': checkCounts(frame, directive, input); break;
    case 'y': // no conversion but text, which leaves its argument to what is behind it
        frame.check(directive, 4711, unitsOf(directive.format(false)));
        break;
    default:
        if (std::strchr("diouxX", directive.conversion) != nullptr) {
            checkIntegers(frame, directive, input);
        } else {
            checkDoubles(frame, directive, input);
        }
    }
    return 0;
}
