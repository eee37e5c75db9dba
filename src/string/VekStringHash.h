// VekStringHash.h - the kernels behind VekStringHash, several bytes a step.
//
// The hash is h = h * 33 + b over the bytes, each taken as a signed 8-bit
// value, from h = 0, in wrapping 64-bit arithmetic. A plain loop is bound by
// its chain of one multiply-add per byte. Unrolled over a block of k bytes the
// same recurrence reads
//
//     h = h * 33^k + (b0 * 33^(k-1) + b1 * 33^(k-2) + ... + b(k-1)),
//
// and the weighted sum in brackets does not depend on h, so it is computed in
// parallel, combining neighbouring bytes into pairs, pairs into quads and so
// on, each level in lanes wide enough that no partial sum can overflow. Only
// one multiply-add per block stays on the chain. The result is the plain
// loop's, bit for bit, since every step is exact modulo 2^64.
//
// Lanes hold bytes biased to b + 128 (b XOR 0x80 reads as 0..255), so every
// partial sum is non-negative and fits its lane; the bias comes off at the end
// as 128 times the sum of the weights. A zero byte biases to 128 and so adds
// exactly its share of that constant, which is what lets the last partial word
// be masked to zeros in front of the bytes still to be hashed.
//
// Two kernels: 8 bytes in a 64-bit word (any platform, and the portable
// build), and 16 bytes in a vector register, whose weighted sum each
// instruction set computes in its own way (StringHashBlockSum, one per
// instruction set) and whose loop is written once (StringHashVector). The
// kernel-table test runs both against the plain definition.
#ifndef VEK_SRC_STRING_VEKSTRINGHASH_H
#define VEK_SRC_STRING_VEKSTRINGHASH_H

#include <cstdint>
#include <cstring>

#include "Vek/Utils/VekString.h"
#include "base/VekCheck.h"
#include "simd/VekSimd.h"

#if VEK_SIMD_SSE2
#include <emmintrin.h>
#elif VEK_SIMD_NEON
#include <arm_neon.h>
#endif

// StringHashPow33(k) is 33^k modulo 2^64.
static constexpr VekSizeT StringHashPow33(unsigned k)
{
    VekSizeT p = 1;
    while (k-- != 0)
        p *= 33;
    return p;
}

// StringHashBias(k) is what biasing k bytes adds to their weighted sum: 128 times
// 33^(k-1) + ... + 1, which is 4 * (33^k - 1) since 33 - 1 = 32.
static constexpr VekSizeT StringHashBias(unsigned k)
{
    return 4 * (StringHashPow33(k) - 1);
}

// StringHashWordStep hashes the 8 bytes at p; the word's weighted sum is the
// public header's (VekStringHashWordInline).
static inline VekSizeT StringHashWordStep(VekSizeT hash, const char* p)
{
    return hash * StringHashPow33(8) + VekStringHashWordInline(VekStringHashLoadInline(p));
}

// StringHashFinish hashes [p, end) after the bytes from begin to p, a word at a time.
// The last few bytes come from one more load of the run's last 8 bytes with
// the ones already hashed masked to zero: the run is longer than a word, since
// the header's inline hash takes up to 8 bytes itself.
static inline VekSizeT StringHashFinish(VekSizeT hash, const char* begin, const char* p,
                                        const char* end)
{
    VEK_ASSERT(begin <= p && p <= end && end - begin > 8,
               "the bytes hashed so far lie within a run longer than a word");
    for (; end - p >= 8; p += 8)
        hash = StringHashWordStep(hash, p);
    const unsigned rest = static_cast<unsigned>(end - p);
    if (rest == 0)
        return hash;
    const uint64_t word = VekStringHashLoadInline(end - 8) & (~uint64_t{0} << (8 * (8 - rest)));
    return hash * StringHashPow33(rest) + VekStringHashWordInline(word);
}

// StringHashPortable hashes n bytes with the word kernel alone. Up to 8 bytes
// it is the public header's inline hash, so the two cannot differ.
static inline VekSizeT StringHashPortable(const char* p, VekSizeT n)
{
    if (n <= 8)
        return VekStringHashShortInline(p, n);
    return StringHashFinish(0, p, p, p + n);
}

#if VEK_SIMD_SSE2
// StringHashBlockSum is the weighted sum of the 16 bytes at p (first byte
// weighted 33^15). SSE2: bytes widen to 16-bit lanes; pmaddwd makes pairs (33, 1)
// and, after packing back to 16 bits, quads (1089, 1); pmuludq joins quads
// into two 64-bit sums of 8 bytes each, joined in scalar arithmetic.
static inline VekSizeT StringHashBlockSum(const char* p)
{
    const __m128i zero = _mm_setzero_si128();
    const __m128i bytes = _mm_xor_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)),
                                        _mm_set1_epi8(static_cast<char>(0x80)));
    const __m128i pair_weights = _mm_set1_epi32(0x00010000 | 33);
    const __m128i pairs_lo = _mm_madd_epi16(_mm_unpacklo_epi8(bytes, zero), pair_weights);
    const __m128i pairs_hi = _mm_madd_epi16(_mm_unpackhi_epi8(bytes, zero), pair_weights);
    const __m128i pairs = _mm_packs_epi32(pairs_lo, pairs_hi);
    const __m128i quads =
        _mm_madd_epi16(pairs, _mm_set1_epi32(0x00010000 | static_cast<int>(StringHashPow33(2))));
    const __m128i words =
        _mm_add_epi64(_mm_mul_epu32(quads, _mm_set1_epi32(static_cast<int>(StringHashPow33(4)))),
                      _mm_srli_epi64(quads, 32));
    const VekSizeT first = static_cast<VekSizeT>(_mm_cvtsi128_si64(words));
    const VekSizeT second =
        static_cast<VekSizeT>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(words, words)));
    return first * StringHashPow33(8) + second - StringHashBias(16);
}

#elif VEK_SIMD_NEON
// NEON: the 16-bit lanes hold the pairs as they stand in memory, so one
// multiply-accumulate of the first byte by 33 onto the second makes pairs,
// the same on 32-bit lanes makes quads, and one widening multiply-accumulate
// joins quads into two 64-bit sums of 8 bytes: about a dozen instructions
// for 16 bytes, none of them on the chain through the hash, where the word
// kernel spends some thirty (two word steps).
static inline VekSizeT StringHashBlockSum(const char* p)
{
    const uint8x16_t bytes =
        veorq_u8(vld1q_u8(reinterpret_cast<const uint8_t*>(p)), vdupq_n_u8(0x80));
    const uint16x8_t bytes16 = vreinterpretq_u16_u8(bytes);
    const uint16x8_t pairs =
        vmlaq_n_u16(vshrq_n_u16(bytes16, 8), vandq_u16(bytes16, vdupq_n_u16(0xFF)), 33);
    const uint32x4_t pairs32 = vreinterpretq_u32_u16(pairs);
    const uint32x4_t quads =
        vmlaq_n_u32(vshrq_n_u32(pairs32, 16), vandq_u32(pairs32, vdupq_n_u32(0xFFFF)),
                    static_cast<uint32_t>(StringHashPow33(2)));
    const uint64x2_t quads64 = vreinterpretq_u64_u32(quads);
    const uint64x2_t words = vmlal_n_u32(vshrq_n_u64(quads64, 32), vmovn_u64(quads64),
                                         static_cast<uint32_t>(StringHashPow33(4)));
    return vgetq_lane_u64(words, 0) * StringHashPow33(8) + vgetq_lane_u64(words, 1) -
           StringHashBias(16);
}
#endif

#if VEK_SIMD_VECTOR
// StringHashVectorBlocks hashes n bytes 32 at a time, so that the chain
// through the hash has one multiply-add per 32 bytes whatever order the
// compiler adds in; then 16, and the rest with the word kernel.
static inline VekSizeT StringHashVectorBlocks(const char* p, VekSizeT n)
{
    const char* const end = p + n;
    VekSizeT hash = 0;
    const char* q = p;
    for (; end - q >= 32; q += 32) {
        const VekSizeT blocks =
            StringHashBlockSum(q) * StringHashPow33(16) + StringHashBlockSum(q + 16);
        hash = hash * StringHashPow33(32) + blocks;
    }
    if (end - q >= 16) {
        hash = hash * StringHashPow33(16) + StringHashBlockSum(q);
        q += 16;
    }
    return StringHashFinish(hash, p, q, end);
}

// StringHashVector hashes n bytes; up to 8 bytes it is the public header's
// inline hash, as in StringHashPortable.
static inline VekSizeT StringHashVector(const char* p, VekSizeT n)
{
    if (n <= 8)
        return VekStringHashShortInline(p, n);
    return StringHashVectorBlocks(p, n);
}
#endif

// StringHashBytes is the best kernel this build has.
static inline VekSizeT StringHashBytes(const char* p, VekSizeT n)
{
#if VEK_SIMD_VECTOR
    return StringHashVector(p, n);
#else
    return StringHashPortable(p, n);
#endif
}

// StringHashLonger is StringHashBytes for strings the inline hash leaves to
// the library, longer than 8 bytes.
static inline VekSizeT StringHashLonger(const char* p, VekSizeT n)
{
    VEK_ASSERT(n > 8, "the inline hash takes up to 8 bytes itself");
#if VEK_SIMD_VECTOR
    return StringHashVectorBlocks(p, n);
#else
    return StringHashFinish(0, p, p, p + n);
#endif
}

#endif // VEK_SRC_STRING_VEKSTRINGHASH_H
