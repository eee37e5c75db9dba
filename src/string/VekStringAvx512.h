// VekStringAvx512.h - the string module's AVX-512 kernels, chosen at run time.
//
// AVX-512 compares 64 bytes into a mask register in one instruction, and a
// masked load reads a stretch of any length up to 64 bytes without touching
// a byte beyond it (masked-off bytes never fault), so a search or a hash of
// a short string takes one block and no scalar tail at all. That is where
// these kernels gain most: from a few dozen bytes to a few hundred, where the
// 16-byte kernels spend as long on the way in and out as on the bytes.
//
// The kernels are compiled for AVX-512 (F, BW, VL and BMI2) whatever the
// build's baseline, and run only where Avx512Search::Usable() finds the
// processor has it; everything else is the 16-byte kernel's.
#ifndef VEK_SRC_STRING_VEKSTRINGAVX512_H
#define VEK_SRC_STRING_VEKSTRINGAVX512_H

#include "string/VekStringSearchKernels.h"

#if VEK_SIMD_AVX512 && VEK_SIMD_SSE2
#include <immintrin.h>

#define VEK_STRING_AVX512 __attribute__((target("avx512f,avx512bw,avx512vl,bmi,bmi2")))

namespace VekStringAvx512 {

constexpr VekSizeT kBlock = 64;

// LanesUpTo marks the first n lanes of a block, n at most 64.
VEK_STRING_AVX512 inline __mmask64 LanesUpTo(VekSizeT n)
{
    return _bzhi_u64(~std::uint64_t{0}, static_cast<unsigned>(n));
}

// SmallSet holds a set of kBytes bytes, one to four.
template <unsigned kBytes> struct SmallSet {
    __m512i bytes[kBytes];

    VEK_STRING_AVX512 explicit SmallSet(const char* y)
    {
        for (unsigned i = 0; i < kBytes; ++i)
            bytes[i] = _mm512_set1_epi8(y[i]);
    }

    // Hits marks the bytes of v that are in the set.
    VEK_STRING_AVX512 __mmask64 Hits(__m512i v) const
    {
        __mmask64 hits = _mm512_cmpeq_epi8_mask(v, bytes[0]);
        for (unsigned i = 1; i < kBytes; ++i)
            hits |= _mm512_cmpeq_epi8_mask(v, bytes[i]);
        return hits;
    }
};

// ScanSetForward returns the first position in [pos, size) whose byte
// qualifies: whole blocks from pos, then one masked load of what is left.
template <Wanted kWanted, class Set>
VEK_STRING_AVX512 VekSizeT ScanSetForward(const char* buf, VekSizeT size, VekSizeT pos,
                                          const Set& set)
{
    for (;;) {
        const VekSizeT left = size - pos;
        const __mmask64 lanes = left >= kBlock ? ~__mmask64{0} : LanesUpTo(left);
        const __mmask64 hits = set.Hits(_mm512_maskz_loadu_epi8(lanes, buf + pos));
        const __mmask64 qualifying = (kWanted == Wanted::kInSet ? hits : ~hits) & lanes;
        if (qualifying != 0)
            return pos + _tzcnt_u64(qualifying);
        if (left <= kBlock)
            return VekStringNpos;
        pos += kBlock;
    }
}

// ScanSmallSetForward is ScanSetForward for a set of one to four bytes.
template <Wanted kWanted>
VEK_STRING_AVX512 VekSizeT ScanSmallSetForward(const char* buf, VekSizeT size, VekSizeT pos,
                                               const char* y, VekSizeT n)
{
    VEK_ASSERT(n >= 1 && n <= 4, "a small set has 1 to 4 bytes");
    switch (n) {
    case 1:
        return ScanSetForward<kWanted>(buf, size, pos, SmallSet<1>(y));
    case 2:
        return ScanSetForward<kWanted>(buf, size, pos, SmallSet<2>(y));
    case 3:
        return ScanSetForward<kWanted>(buf, size, pos, SmallSet<3>(y));
    default:
        return ScanSetForward<kWanted>(buf, size, pos, SmallSet<4>(y));
    }
}

} // namespace VekStringAvx512

// Avx512Search is VectorSearch with the forward set scan of small sets by
// 64-byte blocks.
struct Avx512Search : VectorSearch {
    static constexpr const char* kName = "AVX-512";

    static bool Usable()
    {
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("bmi") &&
               __builtin_cpu_supports("bmi2");
    }

    template <Wanted kWanted>
    static Searched SetForward(const char* buf, VekSizeT size, VekSizeT pos, const char* y,
                               VekSizeT n)
    {
        if (n - 1 >= 4)
            return VectorSearch::SetForward<kWanted>(buf, size, pos, y, n);
        return {VekStringAvx512::ScanSmallSetForward<kWanted>(buf, size, pos, y, n), true};
    }
};

// The processor's answer, asked once when the library is loaded: a search
// run before that (from another library's constructor) takes the 16-byte
// kernels, which give the same results.
inline const bool kStringAvx512Usable = Avx512Search::Usable();
#endif

#endif // VEK_SRC_STRING_VEKSTRINGAVX512_H
