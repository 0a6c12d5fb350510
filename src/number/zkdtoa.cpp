#include "number/zkdtoa.h"

#include "number/zkbigint.h"
#include "number/zkdouble.h"
#include "number/zkinteger.h"
#include "number/zkpowers.h"

#include <algorithm>
#include <cstdlib>

// A number x is scaled by a power of ten to N + f, N an integer of up to 18
// digits, with a product of 64 by 128 bits whose error is known. Unless f lies
// so close to 1/2 that the error matters, rounding N is all there is to do. The
// rest (ties whose power of ten is not exact, and more than 17 digits) is
// divided out in big integers.

namespace
{

// What the first way yields at most, in digits: N has one more where the power
// of ten was estimated too low, and stays below 2^63.
constexpr int kFastDigits = 17;

// Above any number of digits asked for that can matter: with the last digit of
// the smallest double at place 1074, further ones are zeros.
constexpr int kMostDigits = 1100;

/// The exponent p of the power of ten for which 10^(p-1) <= x < 2 * 10^p.
int estimatePoint(const ZkBinary &x)
{
    // The top bit of x is worth 2^top; 78913 / 2^18 is log10(2), near enough for
    // the floor of every such multiple.
    const int top = x.exponent + 63 - zkLeadingZeros(x.mantissa);
    return (top * 78913 >> 18) + 1;
}

/// x * 10^k as N + f, cut off.
struct Scaled {
    std::uint64_t whole;    // N
    std::uint64_t fraction; // the leading 64 bits of f
    bool dust;              // whether further bits of f are set
    bool exact;             // else f is larger by less than 2^-64
};

/// Scales x by a power of ten that leaves less than 2 * 10^17.
Scaled scale(const ZkBinary &x, int k)
{
    const ZkPower power = zkPowerOfTen(k);
    const int zeros = zkLeadingZeros(x.mantissa);
    const ZkTriple product = zkMultiply(power.mantissa, x.mantissa << zeros);

    // x * 10^k is the product times 2^exponent and less than two units of its middle
    // word more. The lowest `shift` bits of the high word are fraction; there are 4
    // at least, for the product is no less than 2^189 and times 2^exponent below
    // 2^58. So the error is below one unit of the 64 bits kept of the fraction.
    const int exponent = x.exponent - zeros + power.exponent;
    const int shift = -exponent - 128;
    const bool exact = power.error == 0;
    if (shift > 64) { // below 1/2, as the product is below 2^192
        return {0, 0, true, exact};
    }
    if (shift == 64) {
        return {0, product.high, (product.middle | product.low) != 0, exact};
    }
    const std::uint64_t dust = product.middle << (64 - shift) | product.low;
    return {product.high >> shift, product.high << (64 - shift) | product.middle >> shift,
            dust != 0, exact};
}

/// Rounds to the nearest integer, a tie to the even one. False when the cut-off
/// leaves the side of 1/2 open.
bool roundScaled(const Scaled &number, std::uint64_t *rounded)
{
    constexpr std::uint64_t kHalf = std::uint64_t(1) << 63;
    const bool tie = number.fraction == kHalf && !number.dust;
    if (!number.exact && (tie || number.fraction == kHalf - 1)) {
        return false;
    }
    const bool up = tie ? (number.whole & 1) != 0 : number.fraction >= kHalf;
    *rounded = number.whole + up;
    return true;
}

void setZero(ZkDigits *out)
{
    out->text[0] = '0';
    out->count = 1;
    out->point = 1;
}

void dropTrailingZeros(ZkDigits *out)
{
    while (out->count > 1 && out->text[out->count - 1] == '0') {
        --out->count;
    }
}

/// Takes over the digits of `whole` * 10^-k.
void setWhole(std::uint64_t whole, int k, ZkDigits *out)
{
    if (whole == 0) {
        setZero(out);
        return;
    }
    out->count = zkCountDecimals(whole);
    out->point = out->count - k;
    zkWriteDecimal(out->text + out->count, whole);
    dropTrailingZeros(out);
}

/// The first way: false when it does not settle the digits.
bool tryScaled(const ZkBinary &x, int point, ZkDigitCount what, int digits, ZkDigits *out)
{
    const int wanted = what == ZkDigitCount::Significant ? digits : point + digits;
    int k = std::min(wanted, kFastDigits) - point;
    Scaled number = scale(x, k);
    if (wanted > kFastDigits) {
        // Further digits are known only when they are all 0.
        if (!number.exact || number.fraction != 0 || number.dust) {
            return false;
        }
    } else if (what == ZkDigitCount::Significant && number.whole >= zkSmallPowerOfTen(wanted)) {
        number = scale(x, --k); // the estimate was one too low
    }
    std::uint64_t whole = 0;
    if (!roundScaled(number, &whole)) {
        return false;
    }
    setWhole(whole, k, out);
    return true;
}

/// Writes `count` digits of `value`, with leading zeros.
void writeGroup(ZkUcs2 *to, std::uint32_t value, int count)
{
    for (int i = count - 1; i >= 0; --i) {
        to[i] = static_cast<ZkUcs2>('0' + value % 10);
        value /= 10;
    }
}

/// Adds one unit of the last digit to the digits; nines alone become the next power of ten.
void roundUp(ZkDigits *out)
{
    while (out->count > 0 && out->text[out->count - 1] == '9') {
        --out->count;
    }
    if (out->count == 0) {
        out->text[out->count++] = '1';
        ++out->point;
    } else {
        ++out->text[out->count - 1];
    }
}

/// The second way: long division, nine digits a step. At least one digit is wanted: to
/// round to none, the first way suffices, as no double whose power of ten is not exact is
/// near enough to half of one.
void divideOut(const ZkBinary &x, int point, ZkDigitCount what, int digits, ZkDigits *out)
{
    // remainder / divisor is x / 10^point, which is in 0.1..2, then below 1.
    ZkBigInt remainder(x.mantissa), divisor(1);
    (point < 0 ? remainder : divisor).multiplyPowerOfFive(std::abs(point));
    const int twos = x.exponent - point;
    (twos < 0 ? divisor : remainder).shiftLeft(std::abs(twos));
    if (remainder.compare(divisor) >= 0) {
        divisor.multiplyAdd(10, 0);
        ++point;
    }
    const int normal = divisor.bitsToNormal();
    divisor.shiftLeft(normal);
    remainder.shiftLeft(normal);

    out->count = 0;
    out->point = point;
    const int wanted = what == ZkDigitCount::Significant ? digits : point + digits;
    while (out->count < wanted && !remainder.isZero()) {
        const int group = std::min(wanted - out->count, 9);
        remainder.multiplyAdd(static_cast<std::uint32_t>(zkSmallPowerOfTen(group)), 0);
        writeGroup(out->text + out->count, remainder.divide(divisor), group);
        out->count += group;
    }
    remainder.shiftLeft(1);
    const int half = remainder.compare(divisor);
    const bool odd = (out->text[out->count - 1] & 1) != 0;
    if (half > 0 || (half == 0 && odd)) {
        roundUp(out);
    }
    dropTrailingZeros(out);
}

} // namespace

void zkDigitsOf(double value, ZkDigitCount what, int digits, ZkDigits *out)
{
    const ZkBinary x = zkBinaryOf(value);
    if (x.mantissa == 0) {
        setZero(out);
        return;
    }
    const int least = what == ZkDigitCount::Significant ? 1 : 0;
    const int bounded = std::clamp(digits, least, kMostDigits);
    const int point = estimatePoint(x);
    if (what == ZkDigitCount::BehindPoint && point + bounded < 0) {
        setZero(out); // below 2 * 10^(point + digits) units of the last place
        return;
    }
    if (!tryScaled(x, point, what, bounded, out)) {
        divideOut(x, point, what, bounded, out);
    }
}
