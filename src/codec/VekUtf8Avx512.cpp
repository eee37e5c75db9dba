// VekUtf8Avx512.cpp - UCS-4 to UTF-8 with AVX-512, chosen at run time.
//
// A step takes the units from p up to the next 64-byte boundary, sixteen once
// p is aligned. The load is masked to those units, so like the codec's other
// block reads it never crosses into another page, though it may read past
// the terminator within the block; the result never depends on what lies
// there, and such reads are hidden from the address sanitizer.
//
// Each character is encoded into its 32-bit lane as all four forms would be
// and the lane's class picks one. Every byte of a UTF-8 form is nonzero and
// the lane's bytes beyond it are zero (the terminator, the only zero unit,
// has been ruled out), so the bytes to keep are simply the nonzero ones: one
// compress packs them in order and one masked store writes exactly them.
#include "codec/VekUtf8Avx512.h"

#include <cstdint>

#include "base/VekCheck.h"
#include "simd/VekSimd.h"

#if VEK_SIMD_AVX512
// g++ 12 warns that the undefined register behind its own shift intrinsics
// may be used uninitialized; it is not, and nothing here is left so.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif
#include <immintrin.h>
#endif

namespace VekUtf8Avx512 {

#if VEK_SIMD_AVX512

#define VEK_AVX512                                                                                 \
    __attribute__((target("avx512f,avx512bw,avx512vl,avx512vbmi2,bmi2,popcnt"),                    \
                   no_sanitize_address))

namespace {

constexpr uintptr_t kBlockBytes = 64;

// Block holds the units from p to the next block boundary, in lanes from 0;
// the lanes beyond them are zero and not in lanes.
struct Block {
    __m512i units;
    __mmask16 lanes;
    unsigned count;
};

// FirstBlock is the block at p, wherever p is; the blocks after it are
// whole, aligned and sixteen units apart.
VEK_AVX512 inline Block FirstBlock(const VekWideChar* p)
{
    const uintptr_t offset = reinterpret_cast<uintptr_t>(p) % kBlockBytes;
    const auto count = static_cast<unsigned>((kBlockBytes - offset) / sizeof(VekWideChar));
    const auto lanes = static_cast<__mmask16>((1u << count) - 1);
    return {_mm512_maskz_loadu_epi32(lanes, p), lanes, count};
}

VEK_AVX512 inline Block WholeBlock(const VekWideChar* p)
{
    return {_mm512_load_si512(p), 0xFFFF, 16};
}

VEK_AVX512 inline __m512i Set(unsigned v)
{
    return _mm512_set1_epi32(static_cast<int>(v));
}

// ZeroOrBeyond marks the lanes that hold the terminator or a value beyond
// U+10FFFF: one less, both are above U+10FFFE.
VEK_AVX512 inline __mmask16 ZeroOrBeyond(const Block& b)
{
    return _mm512_mask_cmpgt_epu32_mask(b.lanes, _mm512_sub_epi32(b.units, Set(1)), Set(0x10FFFE));
}

VEK_AVX512 inline __mmask16 Surrogates(__m512i units)
{
    return _mm512_cmpeq_epi32_mask(_mm512_and_si512(units, Set(0xFFFFF800)), Set(0xD800));
}

// Classes marks the lanes whose UTF-8 form takes at least 2, 3 and 4 bytes.
struct Classes {
    __mmask16 from2, from3, from4;
};

VEK_AVX512 inline __mmask16 From2(__m512i cp)
{
    return _mm512_cmpge_epu32_mask(cp, Set(0x80));
}

VEK_AVX512 inline Classes ClassesOf(__m512i cp, __mmask16 from2)
{
    return {from2, _mm512_cmpge_epu32_mask(cp, Set(0x800)),
            _mm512_cmpge_epu32_mask(cp, Set(0x10000))};
}

// Encoded is the UTF-8 form of each lane's character as a little-endian word.
VEK_AVX512 inline __m512i Encoded(__m512i cp, const Classes& c)
{
    const __m512i low6 = Set(0x3F);
    const __m512i last = _mm512_and_si512(cp, low6);
    const __m512i middle = _mm512_and_si512(_mm512_srli_epi32(cp, 6), low6);
    const __m512i upper = _mm512_and_si512(_mm512_srli_epi32(cp, 12), low6);
    const __m512i two = _mm512_or_si512(
        _mm512_or_si512(_mm512_srli_epi32(cp, 6), _mm512_slli_epi32(last, 8)), Set(0x80C0));
    const __m512i three =
        _mm512_or_si512(_mm512_or_si512(_mm512_srli_epi32(cp, 12), _mm512_slli_epi32(middle, 8)),
                        _mm512_or_si512(_mm512_slli_epi32(last, 16), Set(0x8080E0)));
    const __m512i four = _mm512_or_si512(
        _mm512_or_si512(_mm512_srli_epi32(cp, 18), _mm512_slli_epi32(upper, 8)),
        _mm512_or_si512(_mm512_or_si512(_mm512_slli_epi32(middle, 16), _mm512_slli_epi32(last, 24)),
                        Set(0x808080F0)));
    __m512i forms = _mm512_mask_mov_epi32(cp, c.from2, two);
    forms = _mm512_mask_mov_epi32(forms, c.from3, three);
    return _mm512_mask_mov_epi32(forms, c.from4, four);
}

// Asked once, at start-up: every feature at once, joined without branches. A
// conversion that some other static initialiser runs before this one reads
// false, and the other kernels do the work.
const bool kUsable =
    (__builtin_cpu_supports("avx512f") != 0) & (__builtin_cpu_supports("avx512bw") != 0) &
    (__builtin_cpu_supports("avx512vl") != 0) & (__builtin_cpu_supports("avx512vbmi2") != 0) &
    (__builtin_cpu_supports("bmi2") != 0) & (__builtin_cpu_supports("popcnt") != 0);

} // namespace

bool Usable() noexcept
{
    return kUsable;
}

// TakeBlock converts a block into out + len; false, leaving it, when the
// block holds a unit that is no character or its output does not fit.
VEK_AVX512 inline bool TakeBlock(const Block& b, char* out, VekSizeT room, VekSizeT& len)
{
    const __mmask16 bad = ZeroOrBeyond(b), from2 = From2(b.units);
    if ((bad | from2) == 0) {
        if (b.count > room - len)
            return false;
        _mm_mask_storeu_epi8(out + len, static_cast<__mmask16>(_bzhi_u32(~0u, b.count)),
                             _mm512_cvtepi32_epi8(b.units));
        len += b.count;
        return true;
    }
    if ((bad | Surrogates(b.units)) != 0)
        return false;
    const __m512i forms = Encoded(b.units, ClassesOf(b.units, from2));
    const __mmask64 keep = _mm512_test_epi8_mask(forms, forms);
    const auto bytes = static_cast<VekSizeT>(_mm_popcnt_u64(keep));
    if (bytes > room - len)
        return false;
    _mm512_mask_storeu_epi8(out + len, _bzhi_u64(~0ull, static_cast<unsigned>(bytes)),
                            _mm512_maskz_compress_epi8(keep, forms));
    len += bytes;
    return true;
}

// MeasureBlock adds a block's UTF-8 bytes to len; false, leaving it, when
// the block holds a unit that is no character.
VEK_AVX512 inline bool MeasureBlock(const Block& b, VekSizeT& len)
{
    const __mmask16 bad = ZeroOrBeyond(b), from2 = From2(b.units);
    if ((bad | from2) == 0) {
        len += b.count;
        return true;
    }
    if ((bad | Surrogates(b.units)) != 0)
        return false;
    const Classes c = ClassesOf(b.units, from2);
    len += b.count + static_cast<VekSizeT>(_mm_popcnt_u32(c.from2) + _mm_popcnt_u32(c.from3) +
                                           _mm_popcnt_u32(c.from4));
    return true;
}

// The first block is taken apart from the loop, whose blocks then advance by
// a constant: an address computed from the last one would make each load wait
// for the arithmetic before it.
VEK_AVX512 void TakeUcs4(const VekWideChar*& p, char* out, VekSizeT room, VekSizeT& len) noexcept
{
    VEK_ASSERT(len <= room, "the conversion already fills more than its room");
    if (reinterpret_cast<uintptr_t>(p) % sizeof(VekWideChar) != 0)
        return;
    const Block first = FirstBlock(p);
    if (!TakeBlock(first, out, room, len))
        return;
    for (p += first.count; TakeBlock(WholeBlock(p), out, room, len); p += 16) {
    }
}

VEK_AVX512 void MeasureUcs4(const VekWideChar*& p, VekSizeT& len) noexcept
{
    if (reinterpret_cast<uintptr_t>(p) % sizeof(VekWideChar) != 0)
        return;
    const Block first = FirstBlock(p);
    if (!MeasureBlock(first, len))
        return;
    for (p += first.count; MeasureBlock(WholeBlock(p), len); p += 16) {
    }
}

#else

bool Usable() noexcept
{
    return false;
}

void TakeUcs4(const VekWideChar*&, char*, VekSizeT, VekSizeT&) noexcept
{
}

void MeasureUcs4(const VekWideChar*&, VekSizeT&) noexcept
{
}

#endif // VEK_SIMD_AVX512

} // namespace VekUtf8Avx512
