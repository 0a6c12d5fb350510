#ifndef ZKUTF8NEON_H
#define ZKUTF8NEON_H

#include "zkglobal.h"

#include <arm_neon.h>

/// Blocks of NEON registers. The output of a step that returns failure is undefined:
/// the caller overwrites it.
class ZkUtf8Blocks
{
public:
    /// Bytes and units of a block of ASCII.
    static constexpr int kAscii = 16;

    static bool widen(ZkUcs2 *out, const unsigned char *in)
    {
        const uint8x16_t bytes = vld1q_u8(in);
        vst1q_u16(out, vmovl_u8(vget_low_u8(bytes)));
        vst1q_u16(out + 8, vmovl_u8(vget_high_u8(bytes)));
        return allZero(vshrq_n_u8(bytes, 7));
    }

    /// The same for four blocks, with one test.
    static constexpr int kManyAscii = 4 * kAscii;

    static bool widenMany(ZkUcs2 *out, const unsigned char *in)
    {
        uint8x16_t any = vdupq_n_u8(0);
        for (int i = 0; i < kManyAscii; i += kAscii) {
            const uint8x16_t bytes = vld1q_u8(in + i);
            vst1q_u16(out + i, vmovl_u8(vget_low_u8(bytes)));
            vst1q_u16(out + i + 8, vmovl_u8(vget_high_u8(bytes)));
            any = vorrq_u8(any, bytes);
        }
        return allZero(vshrq_n_u8(any, 7));
    }

    /// The same for 8 to 16 characters: the first eight and the last eight.
    static bool widenFew(ZkUcs2 *out, const unsigned char *in, std::ptrdiff_t n)
    {
        const uint8x8_t first = vld1_u8(in);
        const uint8x8_t last = vld1_u8(in + n - 8);
        vst1q_u16(out, vmovl_u8(first));
        vst1q_u16(out + n - 8, vmovl_u8(last));
        return allZero(vshrq_n_u8(vcombine_u8(first, last), 7));
    }

    static bool narrow(unsigned char *out, const ZkUcs2 *in)
    {
        const uint16x8_t low = vld1q_u16(in);
        const uint16x8_t high = vld1q_u16(in + 8);
        vst1q_u8(out, vcombine_u8(vmovn_u16(low), vmovn_u16(high)));
        return allZero(vreinterpretq_u8_u16(vshrq_n_u16(vorrq_u16(low, high), 7)));
    }

    /// The same the other way.
    static bool narrowFew(unsigned char *out, const ZkUcs2 *in, std::ptrdiff_t n)
    {
        const uint16x8_t first = vld1q_u16(in);
        const uint16x8_t last = vld1q_u16(in + n - 8);
        vst1_u8(out, vmovn_u16(first));
        vst1_u8(out + n - 8, vmovn_u16(last));
        return allZero(vreinterpretq_u8_u16(vshrq_n_u16(vorrq_u16(first, last), 7)));
    }

    /// Decodes eight sequences of three bytes; false if one is not led by such a byte.
    static constexpr int kTriples = 8;

    static bool decodeTriples(ZkUcs2 *out, const unsigned char *in)
    {
        const uint8x8x3_t bytes = vld3_u8(in);
        // Of a right lead byte, the bits E0 turned over, no more than four are left.
        const uint8x8_t lead = veor_u8(bytes.val[0], vdup_n_u8(0xE0));
        const uint8x8_t b1 = vand_u8(bytes.val[1], vdup_n_u8(0x3F));
        const uint8x8_t b2 = vand_u8(bytes.val[2], vdup_n_u8(0x3F));
        const uint16x8_t high = vshlq_n_u16(vmovl_u8(lead), 12);
        const uint16x8_t low = vorrq_u16(vshlq_n_u16(vmovl_u8(b1), 6), vmovl_u8(b2));
        vst1q_u16(out, vorrq_u16(high, low));
        return vget_lane_u64(vreinterpret_u64_u8(vshr_n_u8(lead, 4)), 0) == 0;
    }

    /// Units of a block of such sequences to encode.
    static constexpr int kEncode = 8;

    /// Encodes 8 units of 800 and above to 24 bytes.
    static bool encodeTriples(unsigned char *out, const ZkUcs2 *in)
    {
        const uint16x8_t units = vld1q_u16(in);
        const uint16x8_t small = vcltq_u16(units, vdupq_n_u16(0x800));
        if (!allZero(vreinterpretq_u8_u16(small))) {
            return false;
        }
        uint8x8x3_t bytes;
        bytes.val[0] = vorr_u8(vmovn_u16(vshrq_n_u16(units, 12)), vdup_n_u8(0xE0));
        bytes.val[1] = continuation(vmovn_u16(vshrq_n_u16(units, 6)));
        bytes.val[2] = continuation(vmovn_u16(units));
        vst3_u8(out, bytes);
        return true;
    }

private:
    static uint8x8_t continuation(uint8x8_t bits)
    {
        return vorr_u8(vand_u8(bits, vdup_n_u8(0x3F)), vdup_n_u8(0x80));
    }
    static bool allZero(uint8x16_t value)
    {
        const uint8x8_t half = vorr_u8(vget_low_u8(value), vget_high_u8(value));
        return vget_lane_u64(vreinterpret_u64_u8(half), 0) == 0;
    }
};

#endif
