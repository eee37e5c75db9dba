// VekVectorNeon.h - the vector facade over NEON. Included by VekVector.h.
//
// Marks come from one narrowing shift: shifted right by 4 and narrowed, each
// 16-bit lane (two bytes) gives one byte holding the upper half of its first
// byte and the lower half of its second, so a register of 0x00 and 0xFF
// bytes becomes a 64-bit word with 4 equal bits per byte, in address order.
// Keeping the top bit of each group makes one bit per marked byte, so that
// removing the first mark is one subtraction as with SSE2.
#ifndef VEK_SRC_SIMD_VEKVECTORNEON_H
#define VEK_SRC_SIMD_VEKVECTORNEON_H

#include <arm_neon.h>

namespace VekVector {

constexpr char kName[] = "NEON";

using Bytes = uint8x16_t;
using Marks = MarksIn<2>;

inline Bytes Load(const void* p)
{
    return vld1q_u8(static_cast<const uint8_t*>(p));
}

// NEON loads have no alignment form; the attribute is what matters.
VEK_NO_SANITIZE_ADDRESS inline Bytes LoadAligned(const void* p)
{
    return vld1q_u8(static_cast<const uint8_t*>(__builtin_assume_aligned(p, 16)));
}

inline void Store(void* p, Bytes v)
{
    vst1q_u8(static_cast<uint8_t*>(p), v);
}

inline Bytes Splat(char c)
{
    return vdupq_n_u8(static_cast<uint8_t>(c));
}

inline Bytes Equal(Bytes a, Bytes b)
{
    return vceqq_u8(a, b);
}

inline Bytes And(Bytes a, Bytes b)
{
    return vandq_u8(a, b);
}

inline Bytes Or(Bytes a, Bytes b)
{
    return vorrq_u8(a, b);
}

inline Marks MarksOf(Bytes marks)
{
    const uint8x8_t nibbles = vshrn_n_u16(vreinterpretq_u16_u8(marks), 4);
    return {vget_lane_u64(vreinterpret_u64_u8(nibbles), 0) & 0x8888888888888888u};
}

inline Marks UnmarkedOf(Bytes marks)
{
    return MarksOf(vmvnq_u8(marks));
}

inline bool AnyMarked(Bytes marks)
{
    return vmaxvq_u8(marks) != 0;
}

} // namespace VekVector

#endif // VEK_SRC_SIMD_VEKVECTORNEON_H
