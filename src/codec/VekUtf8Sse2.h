// VekUtf8Sse2.h - the codec's register code with SSE2.
//
// What the windows and the measuring (VekUtf8Windows.h, VekUtf8Measure.h) ask
// of an instruction set, in Utf8Sse2: whole aligned ASCII blocks, a window
// stored as if all ASCII with the marks of its other units, eight characters
// encoded into UTF-8 in registers, and whole aligned blocks of UTF-16 and
// UCS-4 counted and checked. The helpers before it are SSE2's own: packing
// with saturation does much of the narrowing and classing work.
#ifndef VEK_SRC_CODEC_VEKUTF8SSE2_H
#define VEK_SRC_CODEC_VEKUTF8SSE2_H

#include "Vek/Utils/VekStdCLib.h"
#include "codec/VekUtf8Scalar.h"
#include "codec/VekUtf8Windows.h"
#include "simd/VekVector.h"

#if VEK_SIMD_SSE2
#include <emmintrin.h>

namespace VekUtf8 {
namespace Sse2 {

constexpr uintptr_t kRegisterBytes = 16;

template <class Unit> constexpr VekSizeT kRegisterUnits = kRegisterBytes / sizeof(Unit);

VEK_NO_SANITIZE_ADDRESS static inline __m128i LoadAligned(const void* p)
{
    return _mm_load_si128(static_cast<const __m128i*>(p));
}

static inline __m128i LoadUnaligned(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

static inline void StoreUnaligned(void* p, __m128i v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

static inline unsigned Bits(__m128i mask)
{
    return static_cast<unsigned>(_mm_movemask_epi8(mask));
}

// The 16-bit lanes of two registers as one bit each, lane 0 of a in bit 0.
static inline unsigned LaneBits16(__m128i a, __m128i b)
{
    return Bits(_mm_packs_epi16(a, b));
}

static inline __m128i Set16(int v)
{
    return _mm_set1_epi16(static_cast<short>(v));
}

// IsZero16 marks the 16-bit lanes of v & mask that are zero.
static inline __m128i IsZero16(__m128i v, int mask)
{
    return _mm_cmpeq_epi16(_mm_and_si128(v, Set16(mask)), _mm_setzero_si128());
}

static inline __m128i Select(__m128i mask, __m128i yes, __m128i no)
{
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// ZeroUnits marks the units of a register of In that are zero.
template <class In> static inline __m128i ZeroUnits(__m128i v)
{
    if constexpr (sizeof(In) == 1)
        return _mm_cmpeq_epi8(v, _mm_setzero_si128());
    else if constexpr (sizeof(In) == 2)
        return _mm_cmpeq_epi16(v, _mm_setzero_si128());
    else
        return _mm_cmpeq_epi32(v, _mm_setzero_si128());
}

using Load = __m128i (*)(const void*);

// Narrowed packs 16 wide units into bytes with saturation, which keeps
// every ASCII unit and makes every other a byte outside 1..0x7F: 0, or 0x80
// and above (packs_epi32 keeps 0..0x7FFF, sends larger values to 0x7FFF and
// values with the top bit set to negatives, which packus_epi16 sends to 0).
template <Load kLoad> static inline __m128i Narrowed(const VekUint16* p)
{
    return _mm_packus_epi16(kLoad(p), kLoad(p + 8));
}

template <Load kLoad> static inline __m128i Narrowed(const VekWideChar* p)
{
    return _mm_packus_epi16(_mm_packs_epi32(kLoad(p), kLoad(p + 4)),
                            _mm_packs_epi32(kLoad(p + 8), kLoad(p + 12)));
}

// OtherBytes marks the bytes outside 1..0x7F, one bit each.
static inline unsigned OtherBytes(__m128i bytes)
{
    return Bits(_mm_or_si128(bytes, _mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

static inline void StoreWidened(VekUint16* out, __m128i bytes)
{
    StoreUnaligned(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    StoreUnaligned(out + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

// SumBytes adds up the unsigned bytes of a register.
static inline VekSizeT SumBytes(__m128i v)
{
    const __m128i sums = _mm_sad_epu8(v, _mm_setzero_si128());
    const auto low = static_cast<VekSizeT>(_mm_cvtsi128_si32(sums));
    return low + static_cast<VekSizeT>(_mm_extract_epi16(sums, 4));
}

// PairsHold checks the surrogates of 16 UTF-16 units, given as the marks
// of their high and low halves: each low half right behind a high one, none
// elsewhere, a high half in the last unit awaiting its low one in the next
// block.
static inline bool PairsHold(unsigned high, unsigned low, bool* awaiting_low)
{
    const bool held = (((high << 1) | *awaiting_low) & 0xFFFF) == low;
    *awaiting_low = (high & 0x8000) != 0;
    return held;
}

// Block counts of UTF-16 are added up in the bytes of a register, for as
// many blocks as a byte can take: each adds at most 2 to it.
constexpr unsigned kBlocksPerSum16 = 255 / 2;

// CountBlocks16 moves p over up to kBlocksPerSum16 aligned blocks of UTF-16
// that hold no terminator, adding their UTF-8 bytes to *n: one a unit, one
// more from U+0080, one more from U+0800, one less for each surrogate.
// Shifted right by 10, a unit from U+0800 on is 2 or more, a high surrogate
// 0x36 and a low one 0x37. It is false when a surrogate is unpaired; *done
// tells whether it stopped before the last block it could take.
VEK_NO_SANITIZE_ADDRESS static inline bool CountBlocks16(const VekUint16*& p, VekSizeT* n,
                                                         bool* awaiting_low, bool* done)
{
    VEK_ASSERT(IsBlockAligned(p), "blocks are counted whole from a block boundary");
    const __m128i one = _mm_set1_epi8(1);
    __m128i sum = _mm_setzero_si128();
    unsigned blocks = 0;
    for (; blocks < kBlocksPerSum16; ++blocks, p += kBlockUnits) {
        const __m128i a = LoadAligned(p), b = LoadAligned(p + 8);
        const __m128i zero = _mm_setzero_si128();
        if (Bits(_mm_or_si128(_mm_cmpeq_epi16(a, zero), _mm_cmpeq_epi16(b, zero))) != 0)
            break;
        const __m128i from_80 = _mm_packus_epi16(_mm_srli_epi16(a, 7), _mm_srli_epi16(b, 7));
        const __m128i halves = _mm_packus_epi16(_mm_srli_epi16(a, 10), _mm_srli_epi16(b, 10));
        const __m128i high = _mm_cmpeq_epi8(halves, _mm_set1_epi8(0x36));
        const __m128i low = _mm_cmpeq_epi8(halves, _mm_set1_epi8(0x37));
        const __m128i surrogate = _mm_or_si128(high, low);
        if ((Bits(surrogate) != 0 || *awaiting_low) &&
            !PairsHold(Bits(high), Bits(low), awaiting_low))
            return false;
        const __m128i from_800 = _mm_subs_epu8(halves, one);
        const __m128i extra = _mm_add_epi8(_mm_min_epu8(from_80, one), _mm_min_epu8(from_800, one));
        sum = _mm_add_epi8(sum, _mm_add_epi8(extra, surrogate));
    }
    *n += kBlockUnits * blocks + SumBytes(sum);
    *done = blocks < kBlocksPerSum16;
    return true;
}

// Shifted6 narrows two registers of UCS-4 units to 16-bit lanes of u >> 6,
// with signed saturation: exact up to U+1FFFFF, so a value beyond U+10FFFF
// is one above 0x43FF.
static inline __m128i Shifted6(__m128i a, __m128i b)
{
    return _mm_packs_epi32(_mm_srli_epi32(a, 6), _mm_srli_epi32(b, 6));
}

// AtLeast1 is 1 in the bytes that are not 0.
static inline __m128i AtLeast1(__m128i bytes)
{
    return _mm_min_epu8(bytes, _mm_set1_epi8(1));
}

// CountBlocks32 is CountBlocks16 for UCS-4: one byte a unit, one more from
// U+0080, U+0800 and U+10000 each, counted in bytes; a block of ASCII needs
// no counting. The units narrowed whole are 0x80 and up from U+0080 on; as
// bytes of u >> 11 (saturated), 1 and up from U+0800 on, 0x20 and up from
// U+10000 on, and 0x1B for a surrogate. It is false when a unit is no scalar
// value.
VEK_NO_SANITIZE_ADDRESS static inline bool CountBlocks32(const VekWideChar*& p, VekSizeT* n,
                                                         bool* done)
{
    VEK_ASSERT(IsBlockAligned(p), "blocks are counted whole from a block boundary");
    constexpr unsigned kBlocksPerSum = 255 / 3;
    __m128i sum = _mm_setzero_si128();
    unsigned blocks = 0;
    for (; blocks < kBlocksPerSum; ++blocks, p += kBlockUnits) {
        const __m128i a = LoadAligned(p), b = LoadAligned(p + 4);
        const __m128i c = LoadAligned(p + 8), d = LoadAligned(p + 12);
        // Narrowed, the terminator and values from 0x80000000 on are 0, the
        // latter no scalar values: the units from here on go singly.
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
        if (Bits(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) != 0)
            break;
        if (Bits(bytes) == 0)
            continue;
        const __m128i low = Shifted6(a, b), high = Shifted6(c, d);
        const __m128i from_800 = _mm_packus_epi16(_mm_srli_epi16(low, 5), _mm_srli_epi16(high, 5));
        const __m128i beyond = _mm_cmpgt_epi16(_mm_max_epi16(low, high), Set16(0x43FF));
        const __m128i surrogate = _mm_cmpeq_epi8(from_800, _mm_set1_epi8(0x1B));
        if (Bits(_mm_or_si128(beyond, surrogate)) != 0)
            return false;
        const __m128i from_80 = _mm_subs_epu8(bytes, _mm_set1_epi8(0x7F));
        const __m128i from_10000 = _mm_subs_epu8(from_800, _mm_set1_epi8(0x1F));
        sum =
            _mm_add_epi8(sum, _mm_add_epi8(AtLeast1(from_80),
                                           _mm_add_epi8(AtLeast1(from_800), AtLeast1(from_10000))));
    }
    *n += kBlockUnits * blocks + SumBytes(sum);
    *done = blocks < kBlocksPerSum;
    return true;
}

// Utf8Lanes is the UTF-8 form of eight characters in 16-bit lanes: lane i of
// front holds the first two bytes of character i, lane i of back its third
// and fourth, lane i of length how many of the four count.
struct Utf8Lanes {
    __m128i front, back, length;
};

// BmpLanes encodes code points below U+10000 that are not surrogates: the
// 1-, 2- and 3-byte forms are all built and the lane's class picks one.
static inline Utf8Lanes BmpLanes(__m128i cp)
{
    const __m128i below_80 = IsZero16(cp, 0xFF80), below_800 = IsZero16(cp, 0xF800);
    const __m128i six = _mm_srli_epi16(cp, 6);
    const __m128i last = _mm_or_si128(_mm_and_si128(cp, Set16(0x3F)), Set16(0x80));
    const __m128i middle = _mm_or_si128(_mm_and_si128(six, Set16(0x3F)), Set16(0x80));
    const __m128i two = _mm_or_si128(_mm_or_si128(six, Set16(0xC0)), _mm_slli_epi16(last, 8));
    const __m128i three =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi16(cp, 12), Set16(0xE0)), _mm_slli_epi16(middle, 8));
    // The masks are -1 where they hold: 3 - 1 - 1 for ASCII, 3 - 1 below U+0800.
    const __m128i length = _mm_add_epi16(_mm_add_epi16(Set16(3), below_80), below_800);
    return {Select(below_80, cp, Select(below_800, two, three)), last, length};
}

// PutSupplementary replaces the lanes marked in mask by the 4-byte forms of
// code points given as their plane (1 to 16) and their low 16 bits.
static inline void PutSupplementary(Utf8Lanes* lanes, __m128i mask, __m128i plane, __m128i low)
{
    const __m128i x80 = Set16(0x80);
    const __m128i lead = _mm_or_si128(_mm_srli_epi16(plane, 2), Set16(0xF0));
    const __m128i second = _mm_or_si128(
        _mm_or_si128(_mm_slli_epi16(_mm_and_si128(plane, Set16(3)), 4), _mm_srli_epi16(low, 12)),
        x80);
    const __m128i third = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(low, 6), Set16(0x3F)), x80);
    const __m128i fourth = _mm_or_si128(_mm_and_si128(low, Set16(0x3F)), x80);
    lanes->front = Select(mask, _mm_or_si128(lead, _mm_slli_epi16(second, 8)), lanes->front);
    lanes->back = Select(mask, _mm_or_si128(third, _mm_slli_epi16(fourth, 8)), lanes->back);
    lanes->length = Select(mask, Set16(4), lanes->length);
}

// StoreLanes stores the eight characters one behind the other at out and
// returns their bytes (PutEightWords).
static inline unsigned StoreLanes(const Utf8Lanes& lanes, char* out)
{
    alignas(16) uint32_t words[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(words), _mm_unpacklo_epi16(lanes.front, lanes.back));
    _mm_store_si128(reinterpret_cast<__m128i*>(words + 4),
                    _mm_unpackhi_epi16(lanes.front, lanes.back));
    uint64_t lengths = 0;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&lengths),
                     _mm_packus_epi16(lanes.length, lanes.length));
    return PutEightWords(words, lengths, out);
}

// TakeEncoded converts the eight UTF-16 units at p in registers. A surrogate
// pair is encoded in the lane of its high half and the low half's lane adds
// nothing; a high half in the last lane is left to the next eight, which
// start there. Any other surrogate is unpaired and declines.
static inline bool TakeEncoded(const VekUint16*& p, char* out, VekSizeT& len)
{
    const __m128i units = LoadUnaligned(p);
    Utf8Lanes lanes = BmpLanes(units);
    VekSizeT taken = 8;
    const __m128i half = _mm_and_si128(units, Set16(0xFC00));
    const __m128i high = _mm_cmpeq_epi16(half, Set16(0xD800));
    const __m128i low = _mm_cmpeq_epi16(half, Set16(0xDC00));
    const unsigned bits = LaneBits16(high, low), high_bits = bits & 0xFF, low_bits = bits >> 8;
    if (bits != 0) {
        if (((high_bits << 1) & 0xFF) != low_bits)
            return false;
        const __m128i next = _mm_srli_si128(units, 2);
        const __m128i plane =
            _mm_add_epi16(_mm_and_si128(_mm_srli_epi16(units, 6), Set16(0xF)), Set16(1));
        const __m128i low16 = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(units, Set16(0x3F)), 10),
                                           _mm_and_si128(next, Set16(0x3FF)));
        PutSupplementary(&lanes, high, plane, low16);
        lanes.length = _mm_andnot_si128(low, lanes.length);
        if ((high_bits & 0x80) != 0) {
            lanes.length = _mm_and_si128(lanes.length, _mm_srli_si128(_mm_set1_epi8(-1), 2));
            taken = 7;
        }
    }
    len += StoreLanes(lanes, out + len);
    p += taken;
    return true;
}

// TakeEncoded converts the eight UCS-4 units at p in registers, declining
// a surrogate or a value beyond U+10FFFF. The units are narrowed to their
// low 16 bits and their plane; shifting the low half up and back down again,
// with its sign, keeps the signed saturation of packs_epi32 out of it.
static inline bool TakeEncoded(const VekWideChar*& p, char* out, VekSizeT& len)
{
    const __m128i a = LoadUnaligned(p), b = LoadUnaligned(p + 4);
    const __m128i plane = _mm_packs_epi32(_mm_srli_epi32(a, 16), _mm_srli_epi32(b, 16));
    const __m128i low = _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16),
                                        _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
    const __m128i bmp = _mm_cmpeq_epi16(plane, _mm_setzero_si128());
    const __m128i beyond = _mm_cmpgt_epi16(plane, Set16(0x10));
    const __m128i surrogate =
        _mm_and_si128(bmp, _mm_cmpeq_epi16(_mm_and_si128(low, Set16(0xF800)), Set16(0xD800)));
    if (Bits(_mm_or_si128(beyond, surrogate)) != 0)
        return false;
    Utf8Lanes lanes = BmpLanes(low);
    if (Bits(bmp) != 0xFFFF)
        PutSupplementary(&lanes, _mm_xor_si128(bmp, _mm_set1_epi8(-1)), plane, low);
    len += StoreLanes(lanes, out + len);
    p += 8;
    return true;
}

} // namespace Sse2

struct Utf8Sse2 {
    static constexpr const char* kName = VekVector::kName;
    using Marks = VekVector::Marks;

    // The narrowed units hold a byte outside 1..0x7F for the terminator and
    // for every unit that is not ASCII, so one test covers both.
    template <bool kStore, class In> static bool AsciiBlock(const In* p, char* out)
    {
        const __m128i bytes = Sse2::Narrowed<Sse2::LoadAligned>(p);
        if (Sse2::OtherBytes(bytes) != 0)
            return false;
        if (kStore)
            Sse2::StoreUnaligned(out, bytes);
        return true;
    }

    template <bool kStore> static bool AsciiBlock(const unsigned char* p, VekUint16* out)
    {
        const __m128i bytes = Sse2::LoadAligned(p);
        if (Sse2::OtherBytes(bytes) != 0)
            return false;
        if (kStore)
            Sse2::StoreWidened(out, bytes);
        return true;
    }

    template <class In> VEK_NO_SANITIZE_ADDRESS static bool BlockHasZero(const In* p)
    {
        __m128i zero = _mm_setzero_si128();
        for (VekSizeT k = 0; k < kBlockUnits; k += Sse2::kRegisterUnits<In>)
            zero = _mm_or_si128(zero, Sse2::ZeroUnits<In>(Sse2::LoadAligned(p + k)));
        return Sse2::Bits(zero) != 0;
    }

    template <class In> static Marks StoreWindow(const In* p, char* out)
    {
        const __m128i bytes = Sse2::Narrowed<Sse2::LoadUnaligned>(p);
        Sse2::StoreUnaligned(out, bytes);
        return {Sse2::OtherBytes(bytes)};
    }

    template <bool kStore> static Marks StoreWindow(const unsigned char* p, VekUint16* out)
    {
        const __m128i bytes = Sse2::LoadUnaligned(p);
        if (kStore)
            Sse2::StoreWidened(out, bytes);
        return {Sse2::Bits(bytes)};
    }

    template <class In> static void StoreAsAscii(char* out, const In* p)
    {
        Sse2::StoreUnaligned(out, Sse2::Narrowed<Sse2::LoadUnaligned>(p));
    }

    static void StoreAsAscii(VekUint16* out, const unsigned char* p)
    {
        Sse2::StoreWidened(out, Sse2::LoadUnaligned(p));
    }

    static bool EncodeEight(const VekUint16*& p, char* out, VekSizeT& len)
    {
        return Sse2::TakeEncoded(p, out, len);
    }

    static bool EncodeEight(const VekWideChar*& p, char* out, VekSizeT& len)
    {
        return Sse2::TakeEncoded(p, out, len);
    }

    static bool CountBlocks(const VekUint16*& p, VekSizeT* n, bool* awaiting_low, bool* done)
    {
        return Sse2::CountBlocks16(p, n, awaiting_low, done);
    }

    static bool CountBlocks(const VekWideChar*& p, VekSizeT* n, bool* done)
    {
        return Sse2::CountBlocks32(p, n, done);
    }
};

} // namespace VekUtf8

#endif // VEK_SIMD_SSE2
#endif // VEK_SRC_CODEC_VEKUTF8SSE2_H
