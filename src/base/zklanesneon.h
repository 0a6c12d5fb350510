#ifndef ZKLANESNEON_H
#define ZKLANESNEON_H

#include "zkglobal.h"

#include <arm_neon.h>

/// Eight 16-bit lanes in a NEON register of a little-endian ARM. A comparison
/// gives all ones or all zeros per lane; addresses need no alignment beyond that
/// of what they point to.
class ZkLanes
{
public:
    static constexpr int kCount = 8;

    /// The lanes in which a comparison held, lowest first: eight bits for each.
    using Mask = std::uint64_t;
    static int lowest(Mask mask) { return __builtin_ctzll(mask) / 8; }
    static Mask withoutLowest(Mask mask) { return mask & ~(Mask(0xFF) << lowest(mask) * 8); }

    ZkLanes() = default; ///< lanes of no value

    static ZkLanes load(const void *from)
    {
        return ZkLanes(vreinterpretq_u16_u8(vld1q_u8(static_cast<const std::uint8_t *>(from))));
    }
    static ZkLanes all(unsigned unit) { return ZkLanes(vdupq_n_u16(static_cast<ZkUcs2>(unit))); }
    /// The units `at(0)` to `at(7)`.
    template <typename At>
    static ZkLanes of(At at)
    {
        std::uint16_t units[kCount];
        for (int i = 0; i < kCount; ++i) {
            units[i] = at(i);
        }
        return ZkLanes(vld1q_u16(units));
    }
    /// Of the numbers `at(0)` to `at(7)` the lower and the upper halves.
    template <typename At>
    static void halvesOf(At at, ZkLanes *lower, ZkLanes *upper)
    {
        std::uint32_t words[kCount];
        for (int i = 0; i < kCount; ++i) {
            words[i] = at(i);
        }
        const uint32x4_t first = vld1q_u32(words), second = vld1q_u32(words + 4);
        *lower = ZkLanes(vcombine_u16(vmovn_u32(first), vmovn_u32(second)));
        *upper = ZkLanes(vcombine_u16(vshrn_n_u32(first, 16), vshrn_n_u32(second, 16)));
    }
    void store(void *to) const
    {
        vst1q_u8(static_cast<std::uint8_t *>(to), vreinterpretq_u8_u16(m_lanes));
    }
    /// Calls `use(i, unit)` for each lane.
    template <typename Use>
    void forEach(Use use) const
    {
        std::uint16_t units[kCount];
        vst1q_u16(units, m_lanes);
        for (int i = 0; i < kCount; ++i) {
            use(i, units[i]);
        }
    }
    /// A byte for each lane, whose value is at most 255.
    void storeBytes(void *to) const
    {
        vst1_u8(static_cast<std::uint8_t *>(to), vmovn_u16(m_lanes));
    }

    Mask mask() const { return vget_lane_u64(vreinterpret_u64_u8(vmovn_u16(m_lanes)), 0); }
    bool any() const { return mask() != 0; }
    bool every() const { return mask() == ~Mask(0); }

    friend ZkLanes operator==(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(vceqq_u16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator&(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(vandq_u16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator|(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(vorrq_u16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator+(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(vaddq_u16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator-(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(vsubq_u16(a.m_lanes, b.m_lanes));
    }
    friend ZkLanes operator*(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(vmulq_u16(a.m_lanes, b.m_lanes));
    }
    /// The upper halves of the products.
    static ZkLanes timesUpper(ZkLanes a, ZkLanes b)
    {
        const uint32x4_t first = vmull_u16(vget_low_u16(a.m_lanes), vget_low_u16(b.m_lanes));
        const uint32x4_t second = vmull_u16(vget_high_u16(a.m_lanes), vget_high_u16(b.m_lanes));
        return ZkLanes(vcombine_u16(vshrn_n_u32(first, 16), vshrn_n_u32(second, 16)));
    }
    friend ZkLanes operator^(ZkLanes a, ZkLanes b)
    {
        return ZkLanes(veorq_u16(a.m_lanes, b.m_lanes));
    }
    /// The bits that `mask` does not have.
    ZkLanes without(ZkLanes mask) const { return ZkLanes(vbicq_u16(m_lanes, mask.m_lanes)); }
    /// The bits of `a` that `mask` has and of `b` that it has not.
    static ZkLanes either(ZkLanes mask, ZkLanes a, ZkLanes b)
    {
        return ZkLanes(vbslq_u16(mask.m_lanes, a.m_lanes, b.m_lanes));
    }
    template <int bits>
    ZkLanes shiftedLeft() const
    {
        return ZkLanes(vshlq_n_u16(m_lanes, bits));
    }
    template <int bits>
    ZkLanes shiftedRight() const
    {
        return ZkLanes(vshrq_n_u16(m_lanes, bits));
    }
    /// The lesser of two units, both below 32768.
    static ZkLanes least(ZkLanes a, ZkLanes b) { return ZkLanes(vminq_u16(a.m_lanes, b.m_lanes)); }
    /// Lanes whose unit is `first` to `last`.
    static ZkLanes within(ZkLanes a, unsigned first, unsigned last)
    {
        return within(a, all(first), all(last - first));
    }
    /// Lanes whose unit is `first` or at most `distance` above it.
    static ZkLanes within(ZkLanes a, ZkLanes first, ZkLanes distance)
    {
        // Modulo 65536.
        return ZkLanes(vcleq_u16(vsubq_u16(a.m_lanes, first.m_lanes), distance.m_lanes));
    }

private:
    explicit ZkLanes(uint16x8_t value) : m_lanes(value) {}

    uint16x8_t m_lanes;
};

#endif
