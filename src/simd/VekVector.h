// VekVector.h - the thin facade every 16-byte kernel is written against.
//
// A kernel written once over these operations runs with SSE2 on x86-64 and
// with NEON on AArch64; VekVectorSse2.h and VekVectorNeon.h each define them
// in namespace VekVector, and this header includes the one the build has
// (none without VEK_SIMD_VECTOR). The operations:
//   Bytes                      16 bytes in a register
//   Load(p), Store(p, v)       any address
//   LoadAligned(p)             p aligned to 16; see VEK_NO_SANITIZE_ADDRESS
//   Splat(c)                   c in every byte
//   Equal(a, b)                0xFF where the bytes are equal, else 0
//   And, Or                    bitwise, on such marks
//   MarksOf(m), UnmarkedOf(m)  the bytes of m that are 0xFF, or 0, as Marks
//   AnyMarked(m)               whether any byte of m is 0xFF
//
// Marks is the bit mask of matches. SSE2 has a movemask (one bit per byte);
// NEON has none, and emulating one costs several instructions, but a
// narrowing shift right by 4 of the 16-bit lanes gives 4 bits per byte in a
// 64-bit word in one. So Marks keeps a group of 2^kShift bits per byte
// (lowest address lowest) with just one bit of each group set for a marked
// byte, and every question a kernel asks (any, first, last, from a position
// on) is answered by shifting positions into bits.
#ifndef VEK_SRC_SIMD_VEKVECTOR_H
#define VEK_SRC_SIMD_VEKVECTOR_H

#include <cstdint>

#include "base/VekCheck.h"
#include "simd/VekSimd.h"

namespace VekVector {

// Marks for the 16 bytes of a register; kShift is log2 of the bits per byte.
template <unsigned kShift> struct MarksIn {
    static constexpr unsigned kLanes = 16;
    std::uint64_t bits;

    bool Any() const { return bits != 0; }

    // First and Last need Any().
    unsigned First() const
    {
        VEK_ASSERT(Any(), "no first mark in empty marks");
        return static_cast<unsigned>(__builtin_ctzll(bits)) >> kShift;
    }
    unsigned Last() const
    {
        VEK_ASSERT(Any(), "no last mark in empty marks");
        return (63u - static_cast<unsigned>(__builtin_clzll(bits))) >> kShift;
    }

    MarksIn WithoutFirst() const { return {bits & (bits - 1)}; }
    MarksIn WithoutLast() const
    {
        return {bits & ~(std::uint64_t{1} << (Last() << kShift) << kTop)};
    }

    // From keeps the positions k (below 16) and above; Below those under k
    // (1 to 16), so that a register's worth is one shift of a 64-bit word.
    MarksIn From(unsigned k) const
    {
        VEK_ASSERT(k < kLanes, "From takes a position in the register");
        return {bits & (~std::uint64_t{0} << (k << kShift))};
    }
    MarksIn Below(unsigned k) const
    {
        VEK_ASSERT(k >= 1 && k <= kLanes, "Below takes a count of 1 to 16 positions");
        return {bits & ((std::uint64_t{2} << ((k << kShift) - 1)) - 1)};
    }

    // Has tells whether position k is marked; After moves position k + i to
    // i, for k up to 31, and drops the positions below k.
    bool Has(unsigned k) const
    {
        VEK_ASSERT(k < kLanes, "Has takes a position in the register");
        return ((bits >> (k << kShift)) & kBit) != 0;
    }
    MarksIn After(unsigned k) const
    {
        VEK_ASSERT(k < 2 * kLanes, "After moves by at most 31 positions");
        if constexpr (kShift == 0)
            return {bits >> k};
        // Two shifts, each below 64 bits, reach past the register.
        const unsigned half = (k << kShift) / 2;
        return {bits >> half >> ((k << kShift) - half)};
    }

    MarksIn operator&(MarksIn other) const { return {bits & other.bits}; }

private:
    // The bit of its group that a marked position sets: the top one.
    static constexpr unsigned kTop = (1u << kShift) - 1;
    static constexpr std::uint64_t kBit = std::uint64_t{1} << kTop;
};

} // namespace VekVector

#if VEK_SIMD_SSE2
#include "simd/VekVectorSse2.h"
#elif VEK_SIMD_NEON
#include "simd/VekVectorNeon.h"
#endif

#endif // VEK_SRC_SIMD_VEKVECTOR_H
