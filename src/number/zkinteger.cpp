#include "number/zkinteger.h"

#include "number/zkascii.h"
#include "number/zkpowers.h"
#include "number/zkwide.h"

#include <climits>

namespace
{

// "00" to "99".
constexpr char kPairs[] = "0001020304050607080910111213141516171819"
                          "2021222324252627282930313233343536373839"
                          "4041424344454647484950515253545556575859"
                          "6061626364656667686970717273747576777879"
                          "8081828384858687888990919293949596979899";

void writePair(ZkUcs2 *to, std::uint32_t pair)
{
    to[0] = static_cast<unsigned char>(kPairs[2 * pair]);
    to[1] = static_cast<unsigned char>(kPairs[2 * pair + 1]);
}

/// Writes a value below 10^8 with leading zeros: eight units before `end`.
void writeEight(ZkUcs2 *end, std::uint32_t value)
{
    const std::uint32_t high = value / 10000, low = value % 10000;
    writePair(end - 8, high / 100);
    writePair(end - 6, high % 100);
    writePair(end - 4, low / 100);
    writePair(end - 2, low % 100);
}

/// The sign, the magnitude modulo 2^64 and the end of an integer.
struct Magnitude {
    std::uint64_t value;
    const char *end; // null without digits
    bool negative;
    bool overflow;
};

/// Steps over the prefix that `*base` allows and settles a base of 0.
const char *skipPrefix(const char *at, int *base)
{
    // "0x" is a prefix only in front of a hexadecimal digit, else it is the
    // number 0 and an 'x' behind it.
    if ((*base == 0 || *base == 16) && at[0] == '0' && (at[1] | 0x20) == 'x' &&
        zkDigitValue(at[2]) < 16) {
        *base = 16;
        return at + 2;
    }
    if (*base == 0) {
        *base = *at == '0' ? 8 : 10;
    }
    return at;
}

/// Reads digits of a base into the magnitude.
void readDigits(const char *at, std::uint64_t base, Magnitude *number)
{
    for (std::uint64_t digit; (digit = zkDigitValue(*at)) < base; number->end = ++at) {
        const ZkWide product = zkMultiply(number->value, base);
        const std::uint64_t sum = product.low + digit;
        number->overflow = number->overflow || product.high != 0 || sum < digit;
        number->value = sum;
    }
}

Magnitude readMagnitude(const char *text, const char *textEnd, int base)
{
    constexpr int kSafe = 19; // so many decimal digits fit 64 bits, whatever they are
    Magnitude number = {0, nullptr, false, false};
    if (base != 0 && (base < 2 || base > 36)) {
        return number;
    }
    const char *at = zkSkipSpace(text);
    number.negative = *at == '-';
    at = skipPrefix(at + (*at == '-' || *at == '+'), &base);
    if (base == 10) {
        const char *end = zkReadDigits(at, textEnd, &number.value);
        if (end - at <= kSafe) {
            number.end = end != at ? end : nullptr;
            return number;
        }
        number.value = 0;
    }
    readDigits(at, static_cast<std::uint64_t>(base), &number);
    return number;
}

} // namespace

int zkCountDecimals(std::uint64_t value)
{
    // 1233 / 2^12 is log10(2): the estimate is right or one too low.
    const int bits = 64 - zkLeadingZeros(value | 1);
    const int estimate = bits * 1233 >> 12;
    return estimate + (value >= zkSmallPowerOfTen(estimate) || value == 0);
}

ZkUcs2 *zkWriteDecimal(ZkUcs2 *end, std::uint64_t value)
{
    while (value >= 100000000) {
        const std::uint64_t above = zkDivideBy1e8(value);
        writeEight(end, static_cast<std::uint32_t>(value - above * 100000000));
        end -= 8;
        value = above;
    }
    std::uint32_t rest = static_cast<std::uint32_t>(value);
    while (rest >= 100) {
        end -= 2;
        writePair(end, rest % 100);
        rest /= 100;
    }
    if (rest >= 10) {
        end -= 2;
        writePair(end, rest);
    } else {
        *--end = static_cast<ZkUcs2>('0' + rest);
    }
    return end;
}

ZkUcs2 *zkWriteInteger(ZkUcs2 *end, std::uint64_t value, int base)
{
    if (base == 10) {
        return zkWriteDecimal(end, value);
    }
    const std::uint64_t radix = static_cast<std::uint64_t>(base);
    do {
        const unsigned digit = static_cast<unsigned>(value % radix);
        *--end = static_cast<ZkUcs2>(digit < 10 ? '0' + digit : 'a' + (digit - 10));
        value /= radix;
    } while (value != 0);
    return end;
}

ZkReading<long long> zkReadLongLong(const char *text, const char *textEnd, int base)
{
    const Magnitude number = readMagnitude(text, textEnd, base);
    if (number.end == nullptr) {
        return {0, text, false};
    }
    const std::uint64_t most = static_cast<std::uint64_t>(LLONG_MAX) + number.negative;
    if (number.overflow || number.value > most) {
        return {0, number.end, false};
    }
    // -LLONG_MIN has no place in long long: negate before the cast.
    const std::uint64_t value = number.negative ? 0 - number.value : number.value;
    return {static_cast<long long>(value), number.end, true};
}

ZkReading<unsigned long long> zkReadUnsLongLong(const char *text, const char *textEnd, int base)
{
    const Magnitude number = readMagnitude(text, textEnd, base);
    if (number.end == nullptr) {
        return {0, text, false};
    }
    if (number.overflow) {
        return {0, number.end, false};
    }
    return {number.negative ? 0 - number.value : number.value, number.end, true};
}
