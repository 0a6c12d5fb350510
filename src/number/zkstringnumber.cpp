#include "number/zkdouble.h"
#include "number/zkinteger.h"
#include "number/zknumbertext.h"
#include "number/zkstrtod.h"

#include <algorithm>
#include <climits>

namespace
{

void report(bool success, bool *ok)
{
    if (ok != nullptr) {
        *ok = success;
    }
}

/// `value` if it is in `least` to `most`, else 0 and failure.
template <typename Narrow, typename Wide>
Narrow within(Wide value, Wide least, Wide most, bool *ok)
{
    if (value < least || value > most) {
        report(false, ok);
        return 0;
    }
    return static_cast<Narrow>(value);
}

#if UINTPTR_MAX > UINT32_MAX

/// Reads up to four decimal digits all at once: which length comes next no processor can
/// foresee. (On the device, which loses less by that, a loop takes fewer instructions.) Of
/// a shorter number the last digit stands in for those that are not there and counts
/// nothing.
bool readFew(const ZkUcs2 *at, int n, int *value)
{
    static constexpr std::uint16_t kWeights[4][3] = {
        {0, 0, 0}, {10, 0, 0}, {100, 10, 0}, {1000, 100, 10}};
    const std::uint16_t *weights = kWeights[n - 1];
    const unsigned first = at[0] - unsigned('0');
    const unsigned second = at[n > 1 ? 1 : 0] - unsigned('0');
    const unsigned third = at[n > 2 ? 2 : n - 1] - unsigned('0');
    const unsigned last = at[n - 1] - unsigned('0');
    *value = static_cast<int>(first * weights[0] + second * weights[1] + third * weights[2] + last);
    // no test can tell: what is refused here is read by the general rule
    return std::max(std::max(first, second), std::max(third, last)) <= 9;
}

#endif

/// Reads what most integers are, up to nine decimal digits and nothing else: they fit 32
/// bits, whatever they are. False, and nothing told, for any other text.
bool readSmall(const ZkString &text, int base, int *value)
{
    const int n = text.size();
    // A locale may have its digits elsewhere.
    if (n < 1 || n > 9 || base != 10 || ZkLocale::mZeroDigit != '0') {
        return false;
    }
    const ZkUcs2 *at = text.constData();
#if UINTPTR_MAX > UINT32_MAX
    if (n <= 4) {
        return readFew(at, n, value);
    }
#endif
    unsigned sum = 0;
    for (const ZkUcs2 *const end = at + n; at != end; ++at) {
        const unsigned digit = *at - unsigned('0');
        if (digit > 9) {
            return false;
        }
        sum = sum * 10 + digit;
    }
    *value = static_cast<int>(sum);
    return true; // no test can tell: the long way reads the same
}

/// An integer without anything around it: the digits are all there is to lay out.
ZkString integerText(std::uint64_t magnitude, bool negative, int base)
{
    ZkUcs2 room[kZkMostDigits + 1];
    ZkUcs2 *const end = room + kZkMostDigits + 1;
    ZkUcs2 *first = zkWriteInteger(end, magnitude, base);
    if (negative) {
        *--first = '-';
    }
    return ZkString(first, static_cast<int>(end - first));
}

/// The float nearest to the number in `text`, a tie going to the even mantissa, in any
/// rounding mode; `value` is the double nearest to it. Infinite when that lies beyond the
/// largest float.
float nearestFloat(const ZkString &text, double value)
{
    constexpr int kDropped = kZkMantissaBits - 23; // bits of a normal float's mantissa that go
    constexpr int kLowest = -149;                  // exponent of a float's last bit at least
    const ZkBinary x = zkBinaryOf(value);
    const int dropped = std::max(kDropped, kLowest - x.exponent);
    std::uint32_t bits = 0;
    if (dropped <= kZkMantissaBits + 1) { // else below half the smallest float
        const std::uint64_t half = std::uint64_t(1) << (dropped - 1);
        const std::uint64_t rest = x.mantissa & (half | (half - 1));
        const std::uint64_t kept = x.mantissa >> dropped;
        bool up = rest > half;
        if (rest == half) {
            // In the middle of two floats lies the double; the number itself may not.
            const int side = zkCompareDecimal(text, value);
            up = side > 0 || (side == 0 && (kept & 1) != 0);
        }
        // The mantissa's own top bit adds 1 to the exponent of a normal float.
        const unsigned biased = static_cast<unsigned>(x.exponent + dropped - kLowest);
        const std::uint64_t sum = (static_cast<std::uint64_t>(biased) << 23) + kept + up;
        bits = static_cast<std::uint32_t>(std::min<std::uint64_t>(sum, 0x7F800000));
    }
    bits |= static_cast<std::uint32_t>(zkSignOf(value)) << 31;
    float nearest;
    std::memcpy(&nearest, &bits, sizeof nearest);
    return nearest;
}

} // namespace

ZkString ZkString::number(long long n, int base)
{
    const int legal = zkNumberBase(base);
    const std::uint64_t bits = static_cast<std::uint64_t>(n);
    const bool negative = legal == 10 && n < 0;
    return integerText(negative ? 0 - bits : bits, negative, legal);
}

ZkString ZkString::number(unsigned long long n, int base)
{
    return integerText(n, false, zkNumberBase(base));
}

ZkString ZkString::number(double n, char format, int precision)
{
    const ZkDoubleFormat look = zkDoubleFormat(format);
    ZkTextBuffer text;
    zkAppendDouble(&text, kZkPlainSymbols, n, look.form, {precision, 0, look.flags});
    return text.toString();
}

long long ZkString::toLongLong(bool *ok, int base) const
{
    return ZkLocale::stringToLongLong(*this, base, ok, ZkLocale::RefuseGroupSeparators);
}

unsigned long long ZkString::toULongLong(bool *ok, int base) const
{
    return ZkLocale::stringToUnsLongLong(*this, base, ok, ZkLocale::RefuseGroupSeparators);
}

int ZkString::toInt(bool *ok, int base) const
{
    int small = 0;
    if (readSmall(*this, base, &small)) {
        report(true, ok);
        return small;
    }
    return within<int, long long>(toLongLong(ok, base), INT_MIN, INT_MAX, ok);
}

unsigned ZkString::toUInt(bool *ok, int base) const
{
    return within<unsigned, unsigned long long>(toULongLong(ok, base), 0, UINT_MAX, ok);
}

// The range is that of a device's long, also where long has 64 bits.
long ZkString::toLong(bool *ok, int base) const
{
    return toInt(ok, base);
}

unsigned long ZkString::toULong(bool *ok, int base) const
{
    return toUInt(ok, base);
}

short ZkString::toShort(bool *ok, int base) const
{
    // Only the low 32 bits are looked at, so 2^32 + 5 passes as 5.
    const std::uint32_t low = static_cast<std::uint32_t>(toLongLong(ok, base));
    if (low + 32768 >= 65536) {
        report(false, ok);
        return 0;
    }
    return static_cast<short>(low);
}

unsigned short ZkString::toUShort(bool *ok, int base) const
{
    const std::uint32_t low = static_cast<std::uint32_t>(toULongLong(ok, base)); // as toShort()
    return within<unsigned short, std::uint32_t>(low, 0, USHRT_MAX, ok);
}

double ZkString::toDouble(bool *ok) const
{
    return ZkLocale::stringToDouble(*this, ok, ZkLocale::RefuseGroupSeparators);
}

float ZkString::toFloat(bool *ok) const
{
    const double value = toDouble(ok);
    if (!zkIsFinite(value)) {
        return static_cast<float>(value);
    }
    const float nearest = nearestFloat(*this, value);
    if (!zkIsFinite(nearest)) {
        report(false, ok);
        return 0;
    }
    return nearest;
}
