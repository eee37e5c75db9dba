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

#include "string/VekStringHash.h"
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

// The hash's shifts, multiplies and extracts name all their lanes in a mask:
// GCC 12 warns that the unmasked forms read an undefined vector.
constexpr __mmask8 kAllLanes = 0xFF;

// HashWeighted multiplies the low 32 bits of each 64-bit lane of q by that
// lane's 64-bit weight, modulo 2^64: the weight's low half times q, plus its
// high half times q moved up 32 bits.
VEK_STRING_AVX512 inline __m512i HashWeighted(__m512i q, const uint64_t* weights)
{
    const __m512i w = _mm512_load_si512(weights);
    const __m512i high =
        _mm512_maskz_mul_epu32(kAllLanes, q, _mm512_maskz_srli_epi64(kAllLanes, w, 32));
    return _mm512_add_epi64(_mm512_maskz_mul_epu32(kAllLanes, q, w),
                            _mm512_maskz_slli_epi64(kAllLanes, high, 32));
}

// HashBlockSum is the weighted sum of the 64 bytes of v (the first weighted
// 33^63), biased as the 16-byte kernels' sums are. Bytes join into pairs
// (33, 1) and pairs into quads (1089, 1) by multiply-adds within 16- and
// 32-bit lanes; each quad, at most 9.45 million, then takes its 64-bit weight
// in two 32-bit halves, and the eight 64-bit lanes are added up.
VEK_STRING_AVX512 inline VekSizeT HashBlockSum(__m512i v)
{
    // Quad k of the block is weighted 33^(60 - 4k): lane m holds quads 2m
    // (low half) and 2m + 1 (high half).
    alignas(64) static constexpr uint64_t kEven[8] = {
        StringHashPow33(60), StringHashPow33(52), StringHashPow33(44), StringHashPow33(36),
        StringHashPow33(28), StringHashPow33(20), StringHashPow33(12), StringHashPow33(4)};
    alignas(64) static constexpr uint64_t kOdd[8] = {
        StringHashPow33(56), StringHashPow33(48), StringHashPow33(40), StringHashPow33(32),
        StringHashPow33(24), StringHashPow33(16), StringHashPow33(8),  StringHashPow33(0)};
    const __m512i bytes = _mm512_xor_si512(v, _mm512_set1_epi8(static_cast<char>(0x80)));
    const __m512i pairs = _mm512_maddubs_epi16(bytes, _mm512_set1_epi16(1 << 8 | 33));
    const __m512i quads = _mm512_madd_epi16(pairs, _mm512_set1_epi32(1 << 16 | 1089));
    const __m512i sums =
        _mm512_add_epi64(HashWeighted(quads, kEven),
                         HashWeighted(_mm512_maskz_srli_epi64(kAllLanes, quads, 32), kOdd));
    // Halved by vector adds, which wrap as the hash does (the compiler's
    // reduction adds as signed integers, whose overflow is undefined).
    const __m256i fours = _mm256_add_epi64(_mm512_maskz_extracti64x4_epi64(0xF, sums, 0),
                                           _mm512_maskz_extracti64x4_epi64(0xF, sums, 1));
    const __m128i twos =
        _mm_add_epi64(_mm256_castsi256_si128(fours), _mm256_extracti128_si256(fours, 1));
    const __m128i one = _mm_add_epi64(twos, _mm_unpackhi_epi64(twos, twos));
    return static_cast<VekSizeT>(_mm_cvtsi128_si64(one)) - StringHashBias(64);
}

// Hash hashes n bytes 64 at a time; the last stretch is one more load of the
// last 64 bytes with those already hashed masked to zero, which never
// faults. Shorter strings go faster through the 16-byte kernel, which needs
// no reduction of eight lanes.
VEK_STRING_AVX512 inline VekSizeT Hash(const char* p, VekSizeT n)
{
    if (n < kBlock)
        return StringHashBytes(p, n);
    const char* const end = p + n;
    VekSizeT hash = 0;
    for (; end - p >= static_cast<std::ptrdiff_t>(kBlock); p += kBlock)
        hash = hash * StringHashPow33(64) + HashBlockSum(_mm512_loadu_si512(p));
    const VekSizeT rest = static_cast<VekSizeT>(end - p);
    if (rest == 0)
        return hash;
    const __mmask64 last = ~LanesUpTo(kBlock - rest);
    return hash * StringHashPow33(static_cast<unsigned>(rest)) +
           HashBlockSum(_mm512_maskz_loadu_epi8(last, end - kBlock));
}

} // namespace VekStringAvx512

// Avx512Search is VectorSearch with the forward set scan of small sets by
// 64-byte blocks.
struct Avx512Search : VectorSearch {
    static constexpr const char* kName = "AVX-512";

    static bool Usable()
    {
        // Every feature is asked for, joined without branches.
        return (__builtin_cpu_supports("avx512f") != 0) &
               (__builtin_cpu_supports("avx512bw") != 0) &
               (__builtin_cpu_supports("avx512vl") != 0) & (__builtin_cpu_supports("bmi") != 0) &
               (__builtin_cpu_supports("bmi2") != 0);
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
