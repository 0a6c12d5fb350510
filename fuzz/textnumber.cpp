// A text from anywhere, read as a number of every kind: a model takes the text to
// ASCII step by step and leaves the reading to the C library. The first bytes choose
// the symbols, the base and whether separators are taken; the others are the text.

#include "localesymbols.h"

#include <zkstring.h>
#include <zkunicode.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>

namespace
{

[[noreturn]] void fail(const char *what, const std::string &text)
{
    std::fprintf(stderr, "%s: \"%s\"\n", what, text.c_str());
    std::abort();
}

void require(bool holds, const char *what, const std::string &text)
{
    if (!holds) {
        fail(what, text);
    }
}

bool same(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0 || (std::isnan(a) && std::isnan(b));
}

// --- Text to ASCII ---------------------------------------------------------------

char modelDigit(ZkUcs2 c)
{
    for (int digit = 0; digit < 10; ++digit) {
        if (c == ZkLocale::mZeroDigit + digit) {
            return static_cast<char>('0' + digit);
        }
    }
    if (c >= '0' && c <= '9') {
        return static_cast<char>(c);
    }
    const struct {
        ZkUcs2 symbol;
        char ascii;
    } kSymbols[] = {
        {ZkLocale::mPositiveSign, '+'}, {ZkLocale::mNegativeSign, '-'},
        {ZkLocale::mDecimal, '.'},      {ZkLocale::mGroupSeparator, ','},
        {ZkLocale::mExponential, 'e'},  {ZkUnicode::toUpper(ZkLocale::mExponential), 'e'}};
    for (const auto &symbol : kSymbols) {
        if (c == symbol.symbol) {
            return symbol.ascii;
        }
    }
    return '\0';
}

char modelUnit(ZkUcs2 c)
{
    if (const char digit = modelDigit(c)) {
        return digit;
    }
    if (c == ZkLocale::mListSign) {
        return ';';
    }
    if (c == ZkLocale::mPercentSign) {
        return '%';
    }
    if (c >= 'A' && c <= 'Z') {
        return static_cast<char>(c - 'A' + 'a');
    }
    return c >= 'a' && c <= 'z' ? static_cast<char>(c) : '\0';
}

/// The separators taken out from the left, each after a look at the groups.
bool modelUngroup(std::string *text)
{
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    std::size_t position = std::string::npos;
    bool point = false;
    for (std::size_t i = 0; i < text->size(); ++i) {
        const char c = (*text)[i];
        if (c == '.') {
            if (point) {
                return false;
            }
            point = true;
        }
        if (position == std::string::npos && (c == '.' || c == 'e' || c == 'E')) {
            position = i;
        }
        if (c == ',' && (i == 0 || i + 1 == text->size() || !isDigit((*text)[i - 1]) ||
                         !isDigit((*text)[i + 1]))) {
            return false;
        }
    }
    if (text->find(',') == std::string::npos) {
        return true;
    }
    const std::size_t whole = std::min(position, text->size());
    if (text->find(',', whole) != std::string::npos) {
        return false; // behind the point
    }
    for (std::size_t back = 1; back <= whole; ++back) {
        const std::size_t i = whole - back;
        const bool separator = (*text)[i] == ',';
        if (separator != (back % 4 == 0) && !(back % 4 == 0 && i == 0 && (*text)[0] == '-')) {
            return false;
        }
    }
    text->erase(std::remove(text->begin(), text->end(), ','), text->end());
    return true;
}

bool modelAscii(const ZkString &text, bool groups, std::string *ascii)
{
    int at = 0;
    while (at < text.size() && ZkUnicode::isSpace(text.at(at))) {
        ++at;
    }
    if (at == text.size()) {
        return false;
    }
    for (; at < text.size() && modelUnit(text.at(at)) != '\0'; ++at) {
        *ascii += modelUnit(text.at(at));
    }
    for (; at < text.size(); ++at) {
        if (!ZkUnicode::isSpace(text.at(at))) {
            return false;
        }
    }
    return !groups || modelUngroup(ascii);
}

// --- ASCII to numbers ------------------------------------------------------------

/// What the C library makes of the start of a text.
template <typename Number>
struct Read {
    Number value;
    std::size_t end; // 0: there is no number
    bool fits;
};

/// How much of a text is a decimal number with an exponent or without. The C library
/// would go on with hexadecimal digits and with words.
std::size_t decimalEnd(const std::string &text)
{
    const auto digits = [&text](std::size_t at) {
        const std::size_t end = text.find_first_not_of("0123456789", at);
        return end == std::string::npos ? text.size() : end;
    };
    std::size_t at = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    at += at < text.size() && (text[at] == '+' || text[at] == '-');
    std::size_t end = digits(at), count = end - at;
    if (end < text.size() && text[end] == '.') {
        const std::size_t fraction = digits(end + 1);
        count += fraction - (end + 1);
        end = fraction;
    }
    if (count == 0) {
        return 0;
    }
    if (end < text.size() && (text[end] | 0x20) == 'e') {
        std::size_t exponent = end + 1;
        exponent += exponent < text.size() && (text[exponent] == '+' || text[exponent] == '-');
        end = digits(exponent) > exponent ? digits(exponent) : end;
    }
    return end;
}

Read<double> libraryDouble(const std::string &text)
{
    const std::size_t end = decimalEnd(text);
    const double value = end > 0 ? std::strtod(text.substr(0, end).c_str(), nullptr) : 0;
    return {value, end, std::isfinite(value)};
}

Read<long long> libraryLongLong(const std::string &text, int base)
{
    char *end = nullptr;
    errno = 0;
    const long long value = std::strtoll(text.c_str(), &end, base);
    return {value, static_cast<std::size_t>(end - text.c_str()), errno == 0};
}

Read<unsigned long long> libraryULongLong(const std::string &text, int base)
{
    char *end = nullptr;
    errno = 0;
    const unsigned long long value = std::strtoull(text.c_str(), &end, base);
    return {value, static_cast<std::size_t>(end - text.c_str()), errno == 0};
}

/// Value, success and "overflow" of a text that must be a number from end to end.
template <typename Number>
struct Whole {
    Number value;
    bool ok, overflow;
};

template <typename Number>
Whole<Number> wholeOf(const std::string &text, const Read<Number> &read)
{
    const bool good = read.end > 0 && read.fits;
    const bool remain = read.end < text.size();
    const bool ok = good && !remain;
    return {ok ? read.value : Number(0), ok, !good && remain};
}

Whole<double> modelDouble(const std::string &text)
{
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    if (text == "nan") {
        return {std::numeric_limits<double>::quiet_NaN(), true, false};
    }
    if (text == "inf" || text == "+inf") {
        return {kInfinity, true, false};
    }
    if (text == "-inf") {
        return {-kInfinity, true, false};
    }
    return wholeOf(text, libraryDouble(text));
}

// --- The checks ------------------------------------------------------------------

void checkBytes(const std::string &bytes, int base)
{
    const std::string text = bytes.c_str(); // up to its first 0
    bool ok = false, overflow = false;
    const Whole<double> real = modelDouble(text);
    require(same(ZkLocale::bytearrayToDouble(text.c_str(), &ok, &overflow), real.value) &&
                ok == real.ok && overflow == real.overflow,
            "double of bytes", text);
    const Whole<long long> integer = wholeOf(text, libraryLongLong(text, base));
    require(ZkLocale::bytearrayToLongLong(text.c_str(), base, &ok, &overflow) == integer.value &&
                ok == integer.ok && overflow == integer.overflow,
            "integer of bytes", text);
    const Whole<unsigned long long> natural = wholeOf(text, libraryULongLong(text, base));
    require(ZkLocale::bytearrayToUnsLongLong(text.c_str(), base, &ok) == natural.value &&
                ok == natural.ok,
            "unsigned integer of bytes", text);

    std::string left = bytes;
    ZkVector<char> buffer(bytes.data(), static_cast<int>(bytes.size()));
    const bool grouped = modelUngroup(&left);
    const bool terminated = !bytes.empty() && bytes.back() == '\0';
    if (!terminated) { // a 0 at the end is none of the characters
        require(ZkLocale::removeGroupSeparators(&buffer) == grouped, "groups of bytes", bytes);
        require(std::string(buffer.begin(), buffer.end()) == left, "bytes left", bytes);
    }
}

/// The value of `read(&ok)` is the expected one, or 0 and a failure.
template <typename Number, typename Reader>
void checkMember(const char *what, const std::string &text, bool good, Number value, Reader read)
{
    bool ok = !good;
    require(read(&ok) == (good ? value : Number(0)) && ok == good, what, text);
    require(read(nullptr) == (good ? value : Number(0)), what, text);
}

/// Returns the double that the text is, or 0.
double checkMembers(const ZkString &text, const std::string &shown, int base)
{
    std::string ascii;
    const bool legal = modelAscii(text, false, &ascii);
    const Whole<long long> none = {0, false, false};
    const Whole<long long> i = legal ? wholeOf(ascii, libraryLongLong(ascii, base)) : none;
    const Whole<unsigned long long> noneToo = {0, false, false};
    const Whole<unsigned long long> u =
        legal ? wholeOf(ascii, libraryULongLong(ascii, base)) : noneToo;
    checkMember("toLongLong", shown, i.ok, i.value,
                [&](bool *ok) { return text.toLongLong(ok, base); });
    checkMember("toULongLong", shown, u.ok, u.value,
                [&](bool *ok) { return text.toULongLong(ok, base); });
    const bool isInt = i.ok && i.value >= INT_MIN && i.value <= INT_MAX;
    checkMember("toInt", shown, isInt, static_cast<int>(i.value),
                [&](bool *ok) { return text.toInt(ok, base); });
    checkMember("toLong", shown, isInt, static_cast<long>(i.value),
                [&](bool *ok) { return text.toLong(ok, base); });
    const bool isUInt = u.ok && u.value <= UINT_MAX;
    checkMember("toUInt", shown, isUInt, static_cast<unsigned>(u.value),
                [&](bool *ok) { return text.toUInt(ok, base); });
    checkMember("toULong", shown, isUInt, static_cast<unsigned long>(u.value),
                [&](bool *ok) { return text.toULong(ok, base); });
    // Only the low 32 bits count.
    const int low = static_cast<int>(static_cast<unsigned>(i.value));
    checkMember("toShort", shown, i.ok && low >= SHRT_MIN && low <= SHRT_MAX,
                static_cast<short>(low), [&](bool *ok) { return text.toShort(ok, base); });
    const unsigned lowUnsigned = static_cast<unsigned>(u.value);
    checkMember("toUShort", shown, u.ok && lowUnsigned <= USHRT_MAX,
                static_cast<unsigned short>(lowUnsigned),
                [&](bool *ok) { return text.toUShort(ok, base); });

    const Whole<double> noneReal = {0, false, false};
    const Whole<double> real = legal ? modelDouble(ascii) : noneReal;
    bool ok = !real.ok;
    require(same(text.toDouble(&ok), real.value) && ok == real.ok, "toDouble", shown);
    const float nearest = static_cast<float>(real.value);
    const bool isFloat = real.ok && (std::isfinite(nearest) || !std::isfinite(real.value));
    ok = !isFloat;
    require(same(text.toFloat(&ok), isFloat ? nearest : 0) && ok == isFloat, "toFloat", shown);
    return real.value;
}

void checkLocale(const ZkString &text, const std::string &shown, int base, int mode)
{
    const auto groups = static_cast<ZkLocale::GroupSeparatorMode>(mode);
    std::string ascii;
    const bool legal = modelAscii(text, mode == 1, &ascii);
    ZkVector<char> out(3, 'x');
    require(ZkLocale::numberToCLocale(text, groups, &out) == legal, "numberToCLocale", shown);
    if (legal) {
        require(std::string(out.begin(), out.end()) == ascii + '\0', "its text", shown);
    } else {
        require(out.isEmpty(), "nothing in it", shown);
        ascii.clear(); // as an empty text, it is no number
    }
    const Whole<double> real = modelDouble(ascii);
    bool ok = !real.ok;
    require(same(ZkLocale::stringToDouble(text, &ok, groups), real.value) && ok == real.ok,
            "stringToDouble", shown);
    const Whole<long long> integer = wholeOf(ascii, libraryLongLong(ascii, base));
    ok = !integer.ok;
    require(ZkLocale::stringToLongLong(text, base, &ok, groups) == integer.value &&
                ok == integer.ok,
            "stringToLongLong", shown);
    const Whole<unsigned long long> natural = wholeOf(ascii, libraryULongLong(ascii, base));
    ok = !natural.ok;
    require(ZkLocale::stringToUnsLongLong(text, base, &ok, groups) == natural.value &&
                ok == natural.ok,
            "stringToUnsLongLong", shown);
    for (const ZkUcs2 unit : text) {
        require(ZkLocale::digitToCLocale(unit) == modelDigit(unit), "digitToCLocale", shown);
    }
}

/// Symbols that collide with each other, too.
void chooseSymbols(FuzzedDataProvider &input)
{
    const auto choose = [&input](ZkUcs2 &symbol, ZkUcs2 other) {
        symbol = input.ConsumeBool() ? other : symbol;
    };
    if (input.ConsumeBool()) {
        return;
    }
    if (input.ConsumeBool()) {
        return LocaleSymbols::setArabic();
    }
    choose(ZkLocale::mZeroDigit, input.PickValueInArray<ZkUcs2>({0x6F0, '1', ',', 'a', 0xFFFA}));
    choose(ZkLocale::mDecimal, ',');
    choose(ZkLocale::mGroupSeparator, input.PickValueInArray<ZkUcs2>({'.', ' ', 0xA0, '5'}));
    choose(ZkLocale::mNegativeSign, input.PickValueInArray<ZkUcs2>({0x2212, '+', '0'}));
    choose(ZkLocale::mPositiveSign, input.PickValueInArray<ZkUcs2>({'p', '-', '9'}));
    choose(ZkLocale::mExponential, input.PickValueInArray<ZkUcs2>({'x', 0x3B1, 'E', '1'}));
    choose(ZkLocale::mListSign, input.PickValueInArray<ZkUcs2>({'i', 0x61B}));
    choose(ZkLocale::mPercentSign, input.PickValueInArray<ZkUcs2>({0x66A, 'n'}));
}

/// ASCII as it is; bytes above it are characters that numbers may have elsewhere.
ZkString unitsOf(const std::string &bytes)
{
    const ZkUcs2 kOthers[] = {0x660, 0x661,  0x669,  0x66B,  0x66C, 0x6F0, 0x6F9, 0x2212, 0xA0,
                              0x85,  0x2003, 0x3000, 0xFF11, 0x391, 0x3B1, 0xB2,  0xD801, 0xFFFF};
    ZkString text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text.append(byte < 0x80 ? ZkUcs2(byte) : kOthers[byte % std::size(kOthers)]);
    }
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    double value = 0;
    std::string bytes;
    {
        const LocaleSymbols restored;
        chooseSymbols(input);
        const int base = input.PickValueInArray({10, 10, 10, 10, 16, 8, 0, 2, 36, 7});
        const int mode = input.PickValueInArray({0, 1, 1, 2});
        bytes = input.ConsumeRemainingBytesAsString();
        const ZkString text = unitsOf(bytes);
        value = checkMembers(text, bytes, base);
        checkLocale(text, bytes, base, mode);
        checkBytes(bytes, base);
    }
    const ZkString again = ZkString::number(value, 'g', 17);
    require(same(again.toDouble(), value), "written and read again", bytes);
    return 0;
}
