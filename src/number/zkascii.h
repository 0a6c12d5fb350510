#ifndef ZKASCII_H
#define ZKASCII_H

#include <cstdint>
#include <cstring>
#include <type_traits>

/// The classes of ASCII characters that the number readers know, in any locale of
/// the host. Where characters have a type of their own, they are bytes or 16-bit units.

template <typename Char>
constexpr unsigned zkCode(Char c)
{
    return static_cast<std::make_unsigned_t<Char>>(c);
}

/// Whether `c` is one of the six white-space characters of ASCII.
template <typename Char>
constexpr bool zkIsAsciiSpace(Char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

template <typename Char>
constexpr bool zkIsAsciiDigit(Char c)
{
    return c >= '0' && c <= '9';
}

/// The value of '0'..'9', 'a'..'z' and 'A'..'Z' as a digit, 0 to 35; 36 for any
/// other character.
constexpr unsigned zkDigitValue(char c)
{
    const unsigned digit = zkCode(c) - unsigned('0');
    const unsigned letter = (zkCode(c) | 0x20U) - unsigned('a');
    return digit < 10 ? digit : letter < 26 ? letter + 10 : 36;
}

/// Behind the white space that `text` begins with.
inline const char *zkSkipSpace(const char *text)
{
    while (zkIsAsciiSpace(*text)) {
        ++text;
    }
    return text;
}

constexpr bool kZkLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

// Digits are read in words of 64 bits, eight bytes or four units, on machines whose
// first character is the lowest of the word.

/// Whether all eight bytes are digits: adding 0x46 carries into a byte's top bit
/// above '9', subtracting '0' borrows into it below '0'.
constexpr bool zkAreDigits(std::uint64_t word, char)
{
    const std::uint64_t above = word + 0x4646464646464646U;
    const std::uint64_t below = word - 0x3030303030303030U;
    return ((above | below) & 0x8080808080808080U) == 0;
}

/// The same for four units.
constexpr bool zkAreDigits(std::uint64_t word, unsigned short)
{
    const std::uint64_t above = word + 0x7FC67FC67FC67FC6U;
    const std::uint64_t below = word - 0x0030003000300030U;
    return ((above | below) & 0x8000800080008000U) == 0;
}

/// The number that four digits in 16-bit fields spell, or any four numbers below
/// 100 with `base` 100: by twos, then all. Each multiplication adds the lower half
/// of a field, times the base, to its upper half.
constexpr std::uint64_t zkJoinDigits(std::uint64_t fields, unsigned base)
{
    const std::uint64_t two = 1 + (static_cast<std::uint64_t>(base) << 16);
    const std::uint64_t four = 1 + (static_cast<std::uint64_t>(base) * base << 32);
    return (fields * two >> 16 & 0x0000FFFF0000FFFFU) * four >> 32;
}

constexpr std::uint64_t zkDigitsValue(std::uint64_t word, unsigned short)
{
    return zkJoinDigits(word & 0x000F000F000F000FU, 10);
}

constexpr std::uint64_t zkDigitsValue(std::uint64_t word, char)
{
    constexpr std::uint64_t kTwo = 1 + (std::uint64_t(10) << 8);
    return zkJoinDigits((word & 0x0F0F0F0F0F0F0F0FU) * kTwo >> 8 & 0x00FF00FF00FF00FFU, 100);
}

/// Steps over digits and appends them to `*value`, modulo 2^64. At `end` stands a 0.
template <typename Char>
const Char *zkReadDigits(const Char *at, const Char *end, std::uint64_t *value)
{
    constexpr int kDigits = 8 / sizeof(Char);
    constexpr std::uint64_t kScale = kDigits == 8 ? 100000000 : 10000;
    std::uint64_t sum = *value;
    if (kZkLittleEndian) {
        for (; end - at >= kDigits; at += kDigits) {
            std::uint64_t word;
            std::memcpy(&word, at, sizeof word);
            if (!zkAreDigits(word, *at)) {
                break;
            }
            sum = sum * kScale + zkDigitsValue(word, *at);
        }
    }
    for (; zkIsAsciiDigit(*at); ++at) {
        sum = sum * 10 + (zkCode(*at) - unsigned('0'));
    }
    *value = sum;
    return at;
}

#endif
