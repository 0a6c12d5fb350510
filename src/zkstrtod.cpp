#include "zkstrtod.h"

#include "zkascii.h"
#include "zkbigint.h"
#include "zkdouble.h"
#include "zkpowers.h"

#include <algorithm>
#include <cstdlib>

// The first 19 digits and a power of ten give the bits of the double by a product
// of 64 by 128 bits with a known error. Only when it lies so near the middle
// between two doubles that the error, or the digits behind the first 19, could
// matter, all digits are compared with that middle in big integers.

namespace
{

constexpr int kFastDigits = 19; // as many as 64 bits hold, whatever they are

// No middle between two doubles has more digits; of what follows it only
// matters whether there is anything but zeros.
constexpr int kMostDigits = 768;

// An exponent is cut here, beyond the length of any text, so that sums with
// counts of digits stay within 64 bits.
constexpr std::int64_t kMostExponent = std::int64_t(1) << 40;

/// A number as it is written: its digits, read as one integer, times 10^exponent.
struct Decimal {
    const char *begin;  // of the digits, among which one '.' may stand
    const char *end;    // of the digits
    std::int64_t count; // of digits
    std::int64_t exponent;
    std::uint64_t value; // the integer, modulo 2^64
};

/// Steps over a run of digits and takes them into the value.
const char *readDigits(const char *at, std::uint64_t *value)
{
    std::uint64_t sum = *value;
    for (; zkIsAsciiDigit(*at); ++at) {
        sum = sum * 10 + static_cast<unsigned>(*at - '0');
    }
    *value = sum;
    return at;
}

/// Steps over "e", an optional sign and digits; stays at `*at` when they do not
/// stand there.
std::int64_t readExponent(const char **at)
{
    const char *p = *at;
    if (*p != 'e' && *p != 'E') {
        return 0;
    }
    ++p;
    const bool negative = *p == '-';
    p += *p == '-' || *p == '+';
    if (!zkIsAsciiDigit(*p)) {
        return 0;
    }
    std::int64_t exponent = 0;
    for (; zkIsAsciiDigit(*p); ++p) {
        exponent = std::min(exponent * 10 + (*p - '0'), kMostExponent);
    }
    *at = p;
    return negative ? -exponent : exponent;
}

/// Reads what stands behind the sign; returns the end, null without a digit.
const char *readDecimal(const char *at, Decimal *number)
{
    number->begin = at;
    number->value = 0;
    at = readDigits(at, &number->value);
    number->count = at - number->begin;
    number->end = at;
    number->exponent = 0;
    if (*at == '.') {
        const char *fraction = at + 1;
        at = readDigits(fraction, &number->value);
        number->count += at - fraction;
        number->exponent = fraction - at;
        number->end = at;
    }
    if (number->count == 0) {
        return nullptr;
    }
    number->exponent += readExponent(&at);
    return at;
}

/// Leaves out the zeros before the first digit that counts and behind the last.
void trimZeros(Decimal *number)
{
    while (number->begin != number->end && (*number->begin == '0' || *number->begin == '.')) {
        number->count -= *number->begin == '0';
        ++number->begin;
    }
    while (number->end != number->begin && (number->end[-1] == '0' || number->end[-1] == '.')) {
        number->count -= number->end[-1] == '0';
        number->exponent += number->end[-1] == '0';
        --number->end;
    }
}

/// Takes the first `most` digits in groups of up to nine: `take(group, digits)`.
template <typename Take>
void eachGroup(const Decimal &number, int most, Take take)
{
    std::uint32_t group = 0;
    int digits = 0, left = most;
    for (const char *at = number.begin; at != number.end && left > 0; ++at) {
        if (*at == '.') {
            continue;
        }
        group = group * 10 + static_cast<unsigned>(*at - '0');
        --left;
        if (++digits == 9) {
            take(group, digits);
            group = 0;
            digits = 0;
        }
    }
    take(group, digits);
}

/// A number's place among the doubles: at or above mantissa * 2^exponent and
/// below the next one.
struct Place {
    std::uint64_t mantissa;
    int exponent;
    bool up;      // whether the next one is nearer, or as near and even
    bool certain; // whether `up` is known; else the number is close to the middle
};

/// Settles a place just below the middle, in it, or above it by what the lower
/// words of the product hold. `gap` is what its high word lacks to the middle.
void settleNearMiddle(std::uint64_t gap, const ZkTriple &product, bool exact, bool beginning,
                      Place *place)
{
    const bool middle = gap == 0 && (product.middle | product.low) == 0;
    if (gap == 0 && !middle) {
        place->up = true;
    } else if (beginning) {
        place->certain = false;
    } else if (exact) {
        place->up = middle && (place->mantissa & 1) != 0;
    } else {
        place->certain = !middle && (gap > 1 || product.middle < UINT64_MAX - 6);
    }
}

/// Finds the place of value * 10^power, or of something above it by less than
/// 10^power when the value is only the first 19 digits. `value` is not 0.
Place placeOf(std::uint64_t value, int power, bool beginning)
{
    const ZkPower ten = zkPowerOfTen(power);
    const int zeros = zkLeadingZeros(value);
    ZkTriple product = zkMultiply(ten.mantissa, value << zeros);
    const int shift = zkLeadingZeros(product.high); // 0 or 1
    product = zkShiftLeft(product, shift);

    // The product's top bit is worth 2^first. The true number is larger by up to
    // 6 units of the middle word where the power is not exact, and by up to 33 of
    // the high word where digits are missing: 19 digits leave 4 leading zeros.
    const int first = ten.exponent - zeros + 191 - shift;
    // All 53 bits of a mantissa are kept, fewer of a denormal.
    int kept = std::min(kZkMantissaBits + 1, first - kZkLowestExponent + 1);
    const int exponent = kept <= kZkMantissaBits ? kZkLowestExponent : first - kZkMantissaBits;
    if (kept < -1) { // far below half the smallest double
        return {0, exponent, false, true};
    }
    if (kept < 0) {
        product = {product.high >> 1, product.high << 63 | product.middle >> 1,
                   product.middle << 63 | product.low >> 1 | (product.low & 1)};
        kept = 0;
    }
    const std::uint64_t half = std::uint64_t(1) << (63 - kept);
    const std::uint64_t mantissa = kept == 0 ? 0 : product.high >> (64 - kept);
    const std::uint64_t rest = product.high & (half | (half - 1));
    const std::uint64_t gap = half - rest; // wraps above the middle: a large number
    Place place = {mantissa, exponent, rest > half, true};
    if (gap <= (beginning ? 33 : 1)) {
        settleNearMiddle(gap, product, ten.error == 0, beginning, &place);
    }
    return place;
}

/// Whether the number lies above the middle between a place and the next one, or
/// in it and the next one is even.
bool isAboveMiddle(const Decimal &number, const Place &place)
{
    ZkBigInt digits(0);
    eachGroup(number, kMostDigits, [&digits](std::uint32_t group, int count) {
        digits.multiplyAdd(static_cast<std::uint32_t>(zkSmallPowerOfTen(count)), group);
    });
    int power = static_cast<int>(number.exponent);
    if (number.count > kMostDigits) {
        digits.multiplyAdd(10, 1); // something follows: the last digit is no 0
        power += static_cast<int>(number.count) - kMostDigits - 1;
    }
    // digits * 5^power * 2^power against (2 * mantissa + 1) * 2^(exponent - 1)
    ZkBigInt middle(2 * place.mantissa + 1);
    (power < 0 ? middle : digits).multiplyPowerOfFive(std::abs(power));
    const int twos = power - (place.exponent - 1);
    (twos < 0 ? middle : digits).shiftLeft(std::abs(twos));
    const int order = digits.compare(middle);
    return order > 0 || (order == 0 && (place.mantissa & 1) != 0);
}

/// The bits of the double nearest to a number, those of infinity or more when it
/// is too large.
std::uint64_t nearestBits(Decimal number)
{
    if (number.count > kFastDigits) {
        trimZeros(&number);
        number.value = 0;
        eachGroup(number, kFastDigits, [&number](std::uint32_t group, int count) {
            number.value = number.value * zkSmallPowerOfTen(count) + group;
        });
    }
    const std::int64_t left = std::max<std::int64_t>(number.count - kFastDigits, 0);
    const std::int64_t power = number.exponent + left;
    if (number.value == 0 || power < kZkLowestPower) { // below 2^64 * 10^-365
        return 0;
    }
    if (power > kZkHighestPower) {
        return kZkInfinityBits;
    }
    const Place place = placeOf(number.value, static_cast<int>(power), left != 0);
    const bool up = place.certain ? place.up : isAboveMiddle(number, place);
    // The mantissa's own top bit adds 1 to the exponent of a normal number; one
    // rounded up to the next power of two carries into it.
    const std::uint64_t biased = static_cast<unsigned>(place.exponent - kZkLowestExponent);
    return (biased << kZkMantissaBits) + place.mantissa + up;
}

} // namespace

ZkReading<double> zkReadDouble(const char *text)
{
    const char *at = zkSkipSpace(text);
    const bool negative = *at == '-';
    Decimal number;
    const char *end = readDecimal(at + (*at == '-' || *at == '+'), &number);
    if (end == nullptr) {
        return {0, text, false};
    }
    const std::uint64_t bits = nearestBits(number);
    if (bits >= kZkInfinityBits) {
        return {0, end, false};
    }
    return {zkDoubleOf(bits | static_cast<std::uint64_t>(negative) << 63), end, true};
}
