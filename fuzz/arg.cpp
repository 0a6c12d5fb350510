// A text with escapes, values to put into them: arg and multiArg give what a model
// does that takes the text apart into pieces, and print their message when it says
// so. The first bytes choose the values; the others are the text.

#include "localesymbols.h"

#include <zkstring.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace
{

typedef std::u16string Text;

std::string shown(const Text &text)
{
    std::string result;
    for (const char16_t unit : text) {
        char code[8];
        std::snprintf(code, sizeof code, unit >= ' ' && unit < 0x7F ? "%c" : "\\u%04X",
                      static_cast<unsigned>(unit));
        result += code;
    }
    return result;
}

ZkString stringOf(const Text &text)
{
    return ZkString(std::u16string_view(text));
}

/// Standard output, which the library prints on, kept in memory.
class Output
{
public:
    Output() { stdout = open_memstream(&m_text, &m_size); }

    std::string take()
    {
        std::fflush(stdout);
        std::string text(m_text, m_size);
        std::fseek(stdout, 0, SEEK_SET);
        return text;
    }

private:
    char *m_text = nullptr;
    std::size_t m_size = 0;
};

Output &output()
{
    static Output only;
    return only;
}

void compare(const char *what, const Text &text, const ZkString &result, const Text &expected,
             bool message)
{
    const std::string printed = output().take();
    if (result.toStdU16String() != expected ||
        printed != (message ? "ZkString::arg(): %x argument missing\n" : "")) {
        std::fprintf(stderr, "%s \"%s\"\nours     \"%s\"\nexpected \"%s\"\nprinted \"%s\"\n", what,
                     shown(text).c_str(), shown(result.toStdU16String()).c_str(),
                     shown(expected).c_str(), printed.c_str());
        std::abort();
    }
}

// --- A model of the escapes ------------------------------------------------------

struct Piece {
    Text text;
    int number; // -1: no escape
    bool locale;
};

/// The characters with a digit value that the texts hold.
int digitValue(char16_t unit)
{
    if (unit >= u'0' && unit <= u'9') {
        return unit - u'0';
    }
    if (unit >= 0x661 && unit <= 0x669) {
        return unit - 0x660;
    }
    return unit == 0xB2 ? 2 : unit == 0xFF13 ? 3 : -1;
}

std::vector<Piece> piecesOf(const Text &text)
{
    std::vector<Piece> pieces;
    for (std::size_t at = 0; at < text.size();) {
        Piece piece = {Text(), -1, false};
        std::size_t end = at + 1;
        if (text[at] == u'%') {
            piece.locale = end < text.size() && text[end] == u'L';
            end += piece.locale;
            if (end < text.size()) {
                piece.number = digitValue(text[end++]);
                if (piece.number >= 0 && end < text.size() && digitValue(text[end]) >= 0) {
                    piece.number = 10 * piece.number + digitValue(text[end++]);
                }
            }
        }
        piece.text = text.substr(at, end - at);
        pieces.push_back(piece);
        at = end;
    }
    return pieces;
}

Text padded(const Text &text, int width, char16_t fill)
{
    const std::size_t field = static_cast<std::size_t>(std::abs(width));
    const Text padding(field > text.size() ? field - text.size() : 0, fill);
    return width > 0 ? padding + text : text + padding;
}

/// The text with `plain` or `locale` in place of the escapes of the lowest number;
/// `*found` tells whether there are any.
Text modelArg(const Text &text, const Text &plain, const Text &locale, bool *found)
{
    const std::vector<Piece> pieces = piecesOf(text);
    int lowest = INT_MAX;
    for (const Piece &piece : pieces) {
        lowest = piece.number >= 0 && piece.number < lowest ? piece.number : lowest;
    }
    *found = lowest != INT_MAX;
    Text result;
    for (const Piece &piece : pieces) {
        result += piece.number != lowest ? piece.text : piece.locale ? locale : plain;
    }
    return result;
}

/// The two passes, character by character.
Text modelMultiArg(const Text &text, const std::vector<Text> &arguments, bool *message)
{
    const auto read = [&text](std::size_t at, long most, long *number) {
        std::size_t end = at + 1;
        end += end < text.size() && text[end] == u'L';
        const std::size_t digits = end;
        *number = 0;
        for (; end < text.size() && text[end] >= u'0' && text[end] <= u'9'; ++end) {
            *number = std::min(*number * 10 + (text[end] - u'0'), 1000L);
        }
        return end > digits && *number <= most ? end : 0;
    };
    std::map<long, int> indices;
    for (std::size_t at = 0; at + 1 < text.size(); ++at) {
        long number = 0;
        if (text[at] == u'%' && read(at, 999, &number) != 0) {
            indices[number] = -1;
        }
    }
    long largest = -1;
    std::size_t used = 0;
    for (auto &entry : indices) {
        if (used < arguments.size()) {
            entry.second = static_cast<int>(used++);
            largest = entry.first;
        }
    }
    *message = used < arguments.size();
    Text result;
    for (std::size_t at = 0; at < text.size();) {
        long number = 0;
        const std::size_t end =
            text[at] == u'%' && at + 1 < text.size() ? read(at, largest, &number) : 0;
        if (end != 0) {
            result += arguments[static_cast<std::size_t>(indices[number])];
            at = end;
        } else {
            result += text[at++];
        }
    }
    return result;
}

// --- Numbers ---------------------------------------------------------------------

/// Sign, integer part and the rest of a number in ASCII.
struct Parts {
    std::string sign, whole, rest;
};

Parts partsOf(const std::string &number)
{
    Parts parts;
    std::size_t at = number[0] == '-';
    parts.sign = number.substr(0, at);
    const std::size_t end = std::min(number.find_first_not_of("0123456789", at), number.size());
    parts.whole = number.substr(at, end - at);
    parts.rest = number.substr(end);
    return parts;
}

Text plainText(const std::string &number, int width, char16_t fill, bool zeros)
{
    Parts parts = partsOf(number);
    const std::size_t field = static_cast<std::size_t>(std::abs(width));
    if (zeros && width > 0 && field > number.size() && !parts.whole.empty()) { // not inf and nan
        parts.whole.insert(0, field - number.size(), '0');
    }
    const std::string all = parts.sign + parts.whole + parts.rest;
    return padded(Text(all.begin(), all.end()), width, fill);
}

Text localeText(const std::string &number, int width, char16_t fill, bool zeros, bool groups)
{
    Parts parts = partsOf(number);
    const bool isNumber = !parts.whole.empty();
    if (groups) {
        for (std::size_t at = parts.whole.size(); at > 3;) {
            parts.whole.insert(at -= 3, 1, ',');
        }
    }
    const std::size_t field = static_cast<std::size_t>(std::abs(width));
    const std::size_t size = parts.sign.size() + parts.whole.size() + parts.rest.size();
    if (zeros && width > 0 && field > size && isNumber) {
        parts.whole.insert(0, field - size, '0');
    }
    Text text;
    for (const char c : parts.sign + parts.whole + parts.rest) {
        if (c >= '0' && c <= '9') {
            text += static_cast<char16_t>(ZkLocale::mZeroDigit + (c - '0'));
        } else if (c == '-') {
            text += static_cast<char16_t>(ZkLocale::mNegativeSign);
        } else if (c == '+') {
            text += static_cast<char16_t>(ZkLocale::mPositiveSign);
        } else if (c == ',') {
            text += static_cast<char16_t>(ZkLocale::mGroupSeparator);
        } else if (c == '.') {
            text += static_cast<char16_t>(ZkLocale::mDecimal);
        } else {
            text += static_cast<char16_t>(c);
        }
    }
    return padded(text, width, fill);
}

/// Value and padding of one call.
struct Call {
    int width, base;
    char16_t fill;
    char format;
    int precision;
};

template <typename Number>
void checkInteger(const Text &text, const Call &call, Number value)
{
    const std::string digits =
        ZkLocale::longLongToString('0', ',', '+', '-', static_cast<long long>(value), -1, call.base,
                                   0, 0)
            .toStdString();
    const bool isDecimal = call.base == 10;
    const std::string number =
        isDecimal && !std::is_signed<Number>::value ? std::to_string(value) : digits;
    const bool zeros = call.fill == u'0' && isDecimal;
    bool found = false;
    const bool groups = (ZkLocale::mNumberOptions & 1) == 0;
    // In other bases the form of the locale is the plain one.
    const Text other = padded(Text(number.begin(), number.end()), call.width, call.fill);
    const Text plain = isDecimal ? plainText(number, call.width, call.fill, zeros) : other;
    const Text locale =
        isDecimal ? localeText(number, call.width, call.fill, zeros, groups) : other;
    const Text expected = modelArg(text, plain, locale, &found);
    compare("arg of an integer", text,
            stringOf(text).arg(value, call.width, call.base, static_cast<ZkUcs2>(call.fill)),
            expected, !found);
}

void checkDouble(const Text &text, const Call &call, double value)
{
    const char format[] = {'%', '.', '*', call.format, '\0'};
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, call.precision, value);
    std::string number = buffer;
    if (number == "-nan" || number == "-NAN") {
        number.erase(0, 1);
    }
    const bool zeros = call.fill == u'0';
    const bool groups = (ZkLocale::mNumberOptions & 1) == 0;
    bool found = false;
    const Text expected =
        modelArg(text, plainText(number, call.width, call.fill, zeros),
                 localeText(number, call.width, call.fill, zeros, groups), &found);
    compare("arg of a double", text,
            stringOf(text).arg(value, call.width, call.format, call.precision,
                               static_cast<ZkUcs2>(call.fill)),
            expected, !found);
}

void checkText(const Text &text, const Call &call, const Text &value)
{
    bool found = false;
    const Text shownValue = padded(value, call.width, call.fill);
    const Text expected = modelArg(text, shownValue, shownValue, &found);
    const ZkString string = stringOf(text);
    const ZkString result = string.arg(stringOf(value), call.width, static_cast<ZkUcs2>(call.fill));
    compare("arg of a text", text, result, expected, !found);
    if (!found && !result.isSharedWith(string)) {
        std::fprintf(stderr, "no escape, but another block: \"%s\"\n", shown(text).c_str());
        std::abort();
    }
    if (value.size() == 1) {
        compare(
            "arg of a character", text,
            string.arg(static_cast<ZkUcs2>(value[0]), call.width, static_cast<ZkUcs2>(call.fill)),
            expected, !found);
    }
}

void checkMulti(const Text &text, std::size_t count)
{
    // One holds escapes itself, which nobody looks at.
    const std::vector<Text> all = {u"a", u"%1%2", u"", u"\u0628\u0629", u"dd"};
    const std::vector<Text> values(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
    std::vector<ZkString> strings;
    std::vector<const ZkString *> pointers;
    for (const Text &value : values) {
        strings.push_back(stringOf(value));
    }
    for (const ZkString &string : strings) {
        pointers.push_back(string.isEmpty() ? nullptr : &string);
    }
    bool message = false;
    const Text expected = modelMultiArg(text, values, &message);
    compare("multiArg", text, stringOf(text).multiArg(static_cast<int>(count), pointers.data()),
            expected, message);
}

/// Escapes are frequent: bytes stand for what they are made of.
Text textOf(const std::string &bytes)
{
    const char16_t kUnits[] = {u'%', u'L', 0x661, 0x669, 0xB2, 0xFF13, 0x628, 0xD801};
    Text text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < 0x80 ? static_cast<char16_t>(byte) : kUnits[byte % std::size(kUnits)];
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    output();
    const LocaleSymbols restored;
    FuzzedDataProvider input(data, size);
    if (input.ConsumeBool()) {
        LocaleSymbols::setArabic();
        ZkLocale::mNegativeSign = 0x2212;
        ZkLocale::mPositiveSign = 0xFF0B;
    }
    ZkLocale::mNumberOptions = input.ConsumeBool() ? 0 : 1;
    Call call;
    call.width = input.ConsumeIntegralInRange(-40, 40);
    call.base = input.PickValueInArray({10, 10, 16, 2, 8, 36});
    call.fill = input.PickValueInArray<char16_t>({u' ', u'0', u'.', 0x2026});
    call.format = input.PickValueInArray({'e', 'f', 'g', 'E', 'F', 'G'});
    call.precision = input.ConsumeIntegralInRange(-1, 20);
    const int kind = input.ConsumeIntegralInRange(0, 5);
    const auto bits = input.ConsumeIntegral<std::uint64_t>() >> input.ConsumeIntegralInRange(0, 63);
    const Text text = textOf(input.ConsumeRemainingBytesAsString());
    switch (kind) {
    case 0: checkInteger(text, call, static_cast<long long>(bits)); break;
    case 1: checkInteger(text, call, static_cast<unsigned long long>(bits)); break;
    case 2: checkInteger(text, call, static_cast<int>(bits)); break;
    case 3: {
        double value = 0;
        std::memcpy(&value, &bits, sizeof value);
        checkDouble(text, call, (bits & 1) != 0 ? value : static_cast<double>(bits) / 1024);
        break;
    }
    case 4:
        checkText(text, call,
                  Text(static_cast<std::size_t>(bits % 5), static_cast<char16_t>(bits >> 8)));
        break;
    default: checkMulti(text, static_cast<std::size_t>(bits % 6));
    }
    return 0;
}
