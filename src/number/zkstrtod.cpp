#include "number/zkstrtod.h"

#include "number/zkascii.h"
#include "number/zkbigint.h"
#include "number/zkdouble.h"
#include "number/zkpowers.h"

#include <algorithm>
#include <cfloat>
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
template <typename Char>
struct Decimal {
    const Char *begin;  // of the digits, among which one '.' may stand
    const Char *end;    // of the digits
    std::int64_t count; // of digits
    std::int64_t exponent;
    std::uint64_t value; // the integer, modulo 2^64
};

/// Steps over "e", an optional sign and digits; stays at `*at` when they do not
/// stand there.
template <typename Char>
std::int64_t readExponent(const Char **at)
{
    const Char *p = *at;
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
template <typename Char>
const Char *readDecimal(const Char *at, const Char *end, Decimal<Char> *number)
{
    number->begin = at;
    number->value = 0;
    at = zkReadDigits(at, end, &number->value);
    number->count = at - number->begin;
    number->end = at;
    number->exponent = 0;
    if (*at == '.') {
        const Char *fraction = at + 1;
        at = zkReadDigits(fraction, end, &number->value);
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
void trimZeros(Decimal<char> *number)
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
void eachGroup(const Decimal<char> &number, int most, Take take)
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

/// What the highest 64 bits of a number tell of its place.
struct RoughPlace {
    Place place;
    std::uint64_t gap; // what they lack to the middle; wraps above it
};

/// Places a number whose top bit, worth 2^first, is that of `high`.
RoughPlace placeHigh(std::uint64_t high, int first)
{
    // All 53 bits of a mantissa are kept, fewer of a denormal, none below that.
    const int kept = std::clamp(first - kZkLowestExponent + 1, 0, kZkMantissaBits + 1);
    const int exponent = kept <= kZkMantissaBits ? kZkLowestExponent : first - kZkMantissaBits;
    const std::uint64_t half = std::uint64_t(1) << (63 - kept);
    const std::uint64_t mantissa = high >> 1 >> (63 - kept);
    const std::uint64_t rest = high & (half | (half - 1));
    return {{mantissa, exponent, rest > half, true}, half - rest};
}

/// Finds the place of value * 10^power with one product of 64 by 64 bits; mostly
/// that is enough to be certain. `value` is not 0.
Place placeRoughly(std::uint64_t value, int power)
{
    const ZkRoughPower ten = zkRoughPowerOfTen(power);
    const int zeros = zkLeadingZeros(value);
    const ZkWide product = zkMultiply(ten.mantissa, value << zeros);
    const int shift = zkLeadingZeros(product.high); // 0 to 2
    const std::uint64_t high = product.high << shift | product.low >> 1 >> (63 - shift);
    const int first = ten.exponent - zeros + 127 - shift;
    RoughPlace rough = placeHigh(high, first);
    // The power lacks less than 2 units, so does the product, and 1 more is cut
    // off: less than 12 once shifted. A carry into the mantissa comes to the same
    // as rounding up to it.
    rough.place.certain = rough.gap > 12 && first >= kZkLowestExponent;
    return rough.place;
}

/// Finds the place of value * 10^power, or of something above it by less than
/// 10^power when the value is only the first 19 digits. `value` is not 0.
Place placeExactly(std::uint64_t value, int power, bool beginning)
{
    const ZkPower ten = zkPowerOfTen(power);
    const int zeros = zkLeadingZeros(value);
    ZkTriple product = zkMultiply(ten.mantissa, value << zeros);
    const int shift = zkLeadingZeros(product.high); // 0 to 2
    product = zkShiftLeft(product, shift);

    // The product's top bit is worth 2^first. The true number is larger by up to
    // 8 units of the middle word where the power is not exact, and by up to 65 of
    // the high word where digits are missing: 19 digits leave 4 leading zeros.
    const int first = ten.exponent - zeros + 191 - shift;
    if (first < kZkLowestExponent - 2) { // far below half the smallest double
        return {0, kZkLowestExponent, false, true};
    }
    if (first == kZkLowestExponent - 2) { // just below it: move down to its place
        product = {product.high >> 1, product.high << 63 | product.middle >> 1,
                   product.middle << 63 | product.low >> 1 | (product.low & 1)};
    }
    auto [place, gap] = placeHigh(product.high, first);
    const bool middle = gap == 0 && (product.middle | product.low) == 0;
    if (gap == 0 && !middle) {
        place.up = true;
    } else if (beginning) {
        place.certain = gap > 65;
    } else if (ten.error == 0) {
        place.up = place.up || (middle && (place.mantissa & 1) != 0);
    } else {
        place.certain = !middle && (gap > 1 || product.middle < UINT64_MAX - 8);
    }
    return place;
}

/// Whether the processor rounds to the nearest: in any other mode the smaller of
/// two neighbours shows.
bool roundsToNearest()
{
    static const volatile double kTiny = 1e-300;
    const double tiny = kTiny;
    return 1.0 + tiny == 1.0 - tiny;
}

/// value * 10^power by one operation of the processor, which rounds it correctly
/// when both factors are exact doubles. False when they are not.
bool multiplyExact(std::uint64_t value, std::int64_t power, double *product)
{
    static const double kTens[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                   1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr int kMost = 22; // 5^22 is the last power of five in 53 bits
    if (FLT_EVAL_METHOD != 0 || power < -kMost || power > kMost ||
        value > std::uint64_t(1) << (kZkMantissaBits + 1) || !roundsToNearest()) {
        return false;
    }
    const double whole = static_cast<double>(static_cast<std::int64_t>(value));
    *product = power < 0 ? whole / kTens[-power] : whole * kTens[power];
    return true;
}

/// The sign of the number less mantissa * 2^exponent.
int compare(const Decimal<char> &number, std::uint64_t mantissa, int exponent)
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
    // digits * 5^power * 2^power against mantissa * 2^exponent
    ZkBigInt other(mantissa);
    (power < 0 ? other : digits).multiplyPowerOfFive(std::abs(power));
    const int twos = power - exponent;
    (twos < 0 ? other : digits).shiftLeft(std::abs(twos));
    return digits.compare(other);
}

/// Whether the number lies above the middle between a place and the next one, or
/// in it and the next one is even.
bool isAboveMiddle(const Decimal<char> &number, const Place &place)
{
    const int order = compare(number, 2 * place.mantissa + 1, place.exponent - 1);
    return order > 0 || (order == 0 && (place.mantissa & 1) != 0);
}

/// The place of any value * 10^power, told as by `placeExactly`. One too large is placed
/// at infinity. Inline, as short numbers take it every time.
inline Place locate(std::uint64_t value, std::int64_t power, bool beginning)
{
    if (value == 0 || power < kZkLowestPower) { // below 2^64 * 10^-364
        return {0, kZkLowestExponent, false, true};
    }
    if (power > kZkHighestPower) {
        constexpr std::uint64_t kOne = std::uint64_t(1) << kZkMantissaBits;
        return {kOne, 1024 - kZkMantissaBits, false, true};
    }
    const Place place = placeRoughly(value, static_cast<int>(power));
    return place.certain && !beginning ? place
                                       : placeExactly(value, static_cast<int>(power), beginning);
}

/// The bits of the double at a place or the next one; those of infinity or more
/// beyond the largest.
std::uint64_t bitsAt(const Place &place)
{
    // The mantissa's own top bit adds 1 to the exponent of a normal number; one
    // rounded up to the next power of two carries into it.
    const std::uint64_t biased = static_cast<unsigned>(place.exponent - kZkLowestExponent);
    return (biased << kZkMantissaBits) + place.mantissa + place.up;
}

/// The bits of the double nearest to a number of any length.
std::uint64_t nearestBits(Decimal<char> number)
{
    if (number.count > kFastDigits) { // no test can tell: so many digits are read alike both ways
        trimZeros(&number);
        number.value = 0;
        eachGroup(number, kFastDigits, [&number](std::uint32_t group, int count) {
            number.value = number.value * zkSmallPowerOfTen(count) + group;
        });
    }
    const std::int64_t left = std::max<std::int64_t>(number.count - kFastDigits, 0);
    Place place = locate(number.value, number.exponent + left, left != 0);
    if (!place.certain) {
        place.up = isAboveMiddle(number, place);
    }
    return bitsAt(place);
}

} // namespace

ZkReading<double> zkReadDouble(const char *text, const char *textEnd)
{
    const char *at = zkSkipSpace(text);
    const bool negative = *at == '-';
    Decimal<char> number;
    const char *end = readDecimal(at + (*at == '-' || *at == '+'), textEnd, &number);
    if (end == nullptr) {
        return {0, text, false};
    }
    const std::uint64_t bits = nearestBits(number);
    if (bits >= kZkInfinityBits) {
        return {0, end, false};
    }
    return {zkDoubleOf(bits | static_cast<std::uint64_t>(negative) << 63), end, true};
}

bool zkReadShortDouble(const ZkUcs2 *text, const ZkUcs2 *textEnd, double *value)
{
    const bool negative = *text == '-';
    Decimal<ZkUcs2> number;
    const ZkUcs2 *end = readDecimal(text + (*text == '-' || *text == '+'), textEnd, &number);
    if (end != textEnd || number.count > kFastDigits) {
        return false;
    }
    double magnitude = 0;
    if (!multiplyExact(number.value, number.exponent, &magnitude)) {
        const Place place = locate(number.value, number.exponent, false);
        const std::uint64_t bits = bitsAt(place);
        if (!place.certain || bits >= kZkInfinityBits) {
            return false;
        }
        magnitude = zkDoubleOf(bits);
    }
    *value = zkDoubleOf(zkBitsOf(magnitude) | static_cast<std::uint64_t>(negative) << 63);
    return true; // no test can tell: the long way reads the same
}

int zkCompareDecimal(const char *text, const char *textEnd, double value)
{
    const char *at = zkSkipSpace(text);
    Decimal<char> number;
    readDecimal(at + (*at == '-' || *at == '+'), textEnd, &number);
    trimZeros(&number);
    const ZkBinary magnitude = zkBinaryOf(value);
    return compare(number, magnitude.mantissa, magnitude.exponent);
}
