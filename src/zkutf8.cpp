#include "zkstring.h"

namespace
{

/// Leading one bits of a byte: 0 for ASCII, 1 for a continuation byte, else the
/// length that a lead byte promises.
int leadingOnes(unsigned char byte)
{
    int ones = 0;
    for (unsigned bit = 0x80; (byte & bit) != 0; bit >>= 1) {
        ++ones;
    }
    return ones;
}

/// The length of `in` without sequences that the end cuts off. A lead byte that
/// is followed by more continuation bytes than it promises counts as cut off too:
/// the bytes C3 A9 A9 leave nothing.
int trimmedLength(const unsigned char *in, int len)
{
    int end = len;
    for (int i = len - 1; i >= 0; --i) {
        const int ones = leadingOnes(in[i]);
        if (ones == 0 || (ones > 1 && end - i == ones)) {
            break;
        }
        if (ones > 1) {
            end = i;
        }
    }
    return end;
}

} // namespace

int ZkString::utf8ToUcs2(ZkUcs2 *out, const char *in, int len)
{
    if (out == nullptr || in == nullptr || len < 1) {
        return 0;
    }
    const auto *bytes = reinterpret_cast<const unsigned char *>(in);
    const int end = trimmedLength(bytes, len);
    const auto byteAt = [=](int i) { return i < end ? bytes[i] : 0U; };
    int units = 0;
    int i = 0;
    while (i < end) {
        const unsigned lead = bytes[i];
        if (lead < 0x80) {
            out[units++] = static_cast<ZkUcs2>(lead);
            i += 1;
        } else if (lead >= 0xC0 && lead < 0xE0) {
            out[units++] = static_cast<ZkUcs2>((lead & 0x1F) << 6 | (byteAt(i + 1) & 0x3F));
            i += 2;
        } else if (lead >= 0xE0 && lead < 0xF0) {
            out[units++] = static_cast<ZkUcs2>((lead & 0x0F) << 12 | (byteAt(i + 1) & 0x3F) << 6 |
                                               (byteAt(i + 2) & 0x3F));
            i += 3;
        } else {
            i += 1;
        }
    }
    return units;
}

int ZkString::ucs2ToUtf8(char *out, const ZkUcs2 *in, int n)
{
    if (out == nullptr || in == nullptr) {
        return 0;
    }
    auto *next = reinterpret_cast<unsigned char *>(out);
    for (int i = 0; i < n; ++i) {
        const unsigned unit = in[i];
        if (unit < 0x80) {
            *next++ = static_cast<unsigned char>(unit);
        } else if (unit < 0x800) {
            *next++ = static_cast<unsigned char>(0xC0 | unit >> 6);
            *next++ = static_cast<unsigned char>(0x80 | (unit & 0x3F));
        } else {
            *next++ = static_cast<unsigned char>(0xE0 | unit >> 12);
            *next++ = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
            *next++ = static_cast<unsigned char>(0x80 | (unit & 0x3F));
        }
    }
    return static_cast<int>(reinterpret_cast<char *>(next) - out);
}
