#ifndef ZKASCII_H
#define ZKASCII_H

/// The classes of 8-bit characters that the number readers know, in any locale
/// of the host.

/// Whether `c` is one of the six white-space characters of ASCII.
constexpr bool zkIsAsciiSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr bool zkIsAsciiDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The value of '0'..'9', 'a'..'z' and 'A'..'Z' as a digit, 0 to 35; 36 for any
/// other character.
constexpr unsigned zkDigitValue(char c)
{
    const unsigned digit = static_cast<unsigned char>(c) - unsigned('0');
    const unsigned letter = (static_cast<unsigned char>(c) | 0x20U) - unsigned('a');
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

#endif
