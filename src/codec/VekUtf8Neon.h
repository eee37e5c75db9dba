// VekUtf8Neon.h - the codec's register code with NEON.
//
// Utf8Neon answers what the windows and the measuring ask of an instruction
// set, as Utf8Sse2 does for SSE2 (see VekUtf8Sse2.h for the list). NEON's
// own tools make it shorter: narrowing with unsigned saturation keeps every
// ASCII unit and turns every other one into a byte from 0x80 up in one
// instruction per eight units, shifting and narrowing is one instruction,
// and an interleaving store widens bytes to UTF-16 in one.
//
// Why it beats the scalar loop, whose every unit costs a load, a class test
// and a store or two (five to eight instructions):
//  - an ASCII block of 16 units costs two to six loads, one to three
//    narrowings, a comparison, a reduction and one store;
//  - a window costs the same, plus one branch and a 4-byte store for each
//    character that is not ASCII, or about forty instructions for eight
//    characters encoded in registers;
//  - counting a block of 16 UTF-16 units costs about twenty instructions,
//    16 UCS-4 units about thirty, where the scalar count spends some six a
//    unit, most of them branches on the unit's class.
#ifndef VEK_SRC_CODEC_VEKUTF8NEON_H
#define VEK_SRC_CODEC_VEKUTF8NEON_H

#include "codec/VekUtf8Scalar.h"
#include "codec/VekUtf8Windows.h"
#include "simd/VekVector.h"

#if VEK_SIMD_NEON
#include <arm_neon.h>

namespace VekUtf8 {
namespace Neon {

static inline uint16x8_t Set16(unsigned v)
{
    return vdupq_n_u16(static_cast<uint16_t>(v));
}

// Narrowed packs 16 wide units into bytes with unsigned saturation: ASCII
// units and the zero unit keep their value, every other unit becomes a byte
// from 0x80 up. Aligned reads the units of an aligned block, which may reach
// past the terminator.
static inline uint8x16_t Narrowed(const VekUint16* p)
{
    return vcombine_u8(vqmovn_u16(vld1q_u16(p)), vqmovn_u16(vld1q_u16(p + 8)));
}

static inline uint8x16_t Narrowed(const VekWideChar* p)
{
    const uint16x8_t low = vcombine_u16(vqmovn_u32(vld1q_u32(p)), vqmovn_u32(vld1q_u32(p + 4)));
    const uint16x8_t high =
        vcombine_u16(vqmovn_u32(vld1q_u32(p + 8)), vqmovn_u32(vld1q_u32(p + 12)));
    return vcombine_u8(vqmovn_u16(low), vqmovn_u16(high));
}

template <class In> VEK_NO_SANITIZE_ADDRESS static inline uint8x16_t Aligned(const In* p)
{
    if constexpr (sizeof(In) == 1)
        return vld1q_u8(static_cast<const uint8_t*>(__builtin_assume_aligned(p, 16)));
    else
        return Narrowed(static_cast<const In*>(__builtin_assume_aligned(p, 16)));
}

// OtherBytes marks the bytes outside 1..0x7F; HighBytes those from 0x80 up.
static inline uint8x16_t OtherBytes(uint8x16_t bytes)
{
    return vcgtq_u8(vsubq_u8(bytes, vdupq_n_u8(1)), vdupq_n_u8(0x7E));
}

static inline uint8x16_t HighBytes(uint8x16_t bytes)
{
    return vcltzq_s8(vreinterpretq_s8_u8(bytes));
}

// StoreWidened stores 16 bytes as UTF-16 units: interleaved with zeros,
// each byte becomes the low half of a little-endian unit.
static inline void StoreWidened(VekUint16* out, uint8x16_t bytes)
{
    const uint8x16x2_t units = {{bytes, vdupq_n_u8(0)}};
    vst2q_u8(reinterpret_cast<uint8_t*>(out), units);
}

// Utf8Lanes is the UTF-8 form of eight characters in 16-bit lanes: lane i of
// front holds the first two bytes of character i, lane i of back its third
// and fourth, lane i of length how many of the four count.
struct Utf8Lanes {
    uint16x8_t front, back, length;
};

// BmpLanes encodes code points below U+10000 that are not surrogates: the
// 1-, 2- and 3-byte forms are all built and the lane's class picks one.
static inline Utf8Lanes BmpLanes(uint16x8_t cp)
{
    const uint16x8_t below_80 = vcltq_u16(cp, Set16(0x80)), below_800 = vcltq_u16(cp, Set16(0x800));
    const uint16x8_t six = vshrq_n_u16(cp, 6);
    const uint16x8_t last = vorrq_u16(vandq_u16(cp, Set16(0x3F)), Set16(0x80));
    const uint16x8_t middle = vorrq_u16(vandq_u16(six, Set16(0x3F)), Set16(0x80));
    const uint16x8_t two = vorrq_u16(vorrq_u16(six, Set16(0xC0)), vshlq_n_u16(last, 8));
    const uint16x8_t three =
        vorrq_u16(vorrq_u16(vshrq_n_u16(cp, 12), Set16(0xE0)), vshlq_n_u16(middle, 8));
    // The masks are all ones where they hold: 3 - 1 - 1 for ASCII, 3 - 1
    // below U+0800.
    const uint16x8_t length = vaddq_u16(vaddq_u16(Set16(3), below_80), below_800);
    return {vbslq_u16(below_80, cp, vbslq_u16(below_800, two, three)), last, length};
}

// PutSupplementary replaces the lanes marked in mask by the 4-byte forms of
// code points given as their plane (1 to 16) and their low 16 bits.
static inline void PutSupplementary(Utf8Lanes* lanes, uint16x8_t mask, uint16x8_t plane,
                                    uint16x8_t low)
{
    const uint16x8_t lead = vorrq_u16(vshrq_n_u16(plane, 2), Set16(0xF0));
    const uint16x8_t second = vorrq_u16(
        vorrq_u16(vshlq_n_u16(vandq_u16(plane, Set16(3)), 4), vshrq_n_u16(low, 12)), Set16(0x80));
    const uint16x8_t third = vorrq_u16(vandq_u16(vshrq_n_u16(low, 6), Set16(0x3F)), Set16(0x80));
    const uint16x8_t fourth = vorrq_u16(vandq_u16(low, Set16(0x3F)), Set16(0x80));
    lanes->front = vbslq_u16(mask, vorrq_u16(lead, vshlq_n_u16(second, 8)), lanes->front);
    lanes->back = vbslq_u16(mask, vorrq_u16(third, vshlq_n_u16(fourth, 8)), lanes->back);
    lanes->length = vbslq_u16(mask, Set16(4), lanes->length);
}

// StoreLanes stores the eight characters one behind the other at out and
// returns their bytes (PutEightWords).
static inline unsigned StoreLanes(const Utf8Lanes& lanes, char* out)
{
    uint32_t words[8];
    vst1q_u16(reinterpret_cast<uint16_t*>(words), vzip1q_u16(lanes.front, lanes.back));
    vst1q_u16(reinterpret_cast<uint16_t*>(words + 4), vzip2q_u16(lanes.front, lanes.back));
    const uint64_t lengths = vget_lane_u64(vreinterpret_u64_u8(vmovn_u16(lanes.length)), 0);
    return PutEightWords(words, lengths, out);
}

static inline bool Any(uint16x8_t marks)
{
    return vmaxvq_u16(marks) != 0;
}

// EncodeEight converts the eight UTF-16 units at p in registers. A surrogate
// pair is encoded in the lane of its high half and the low half's lane adds
// nothing; a high half in the last lane is left to the next eight, which
// start there. Any other surrogate is unpaired and declines.
static inline bool EncodeEight(const VekUint16*& p, char* out, VekSizeT& len)
{
    const uint16x8_t units = vld1q_u16(p);
    Utf8Lanes lanes = BmpLanes(units);
    VekSizeT taken = 8;
    const uint16x8_t half = vandq_u16(units, Set16(0xFC00));
    const uint16x8_t high = vceqq_u16(half, Set16(0xD800)), low = vceqq_u16(half, Set16(0xDC00));
    if (Any(vorrq_u16(high, low))) {
        // Each low half stands one lane behind a high one.
        if (Any(veorq_u16(vextq_u16(Set16(0), high, 7), low)))
            return false;
        const uint16x8_t next = vextq_u16(units, Set16(0), 1);
        const uint16x8_t plane = vaddq_u16(vandq_u16(vshrq_n_u16(units, 6), Set16(0xF)), Set16(1));
        const uint16x8_t low16 = vorrq_u16(vshlq_n_u16(vandq_u16(units, Set16(0x3F)), 10),
                                           vandq_u16(next, Set16(0x3FF)));
        PutSupplementary(&lanes, high, plane, low16);
        lanes.length = vbicq_u16(lanes.length, low);
        if (vgetq_lane_u16(high, 7) != 0) {
            lanes.length = vsetq_lane_u16(0, lanes.length, 7);
            taken = 7;
        }
    }
    len += StoreLanes(lanes, out + len);
    p += taken;
    return true;
}

// EncodeEight converts the eight UCS-4 units at p in registers, declining
// a surrogate or a value beyond U+10FFFF. The units are narrowed exactly to
// their plane and their low 16 bits.
static inline bool EncodeEight(const VekWideChar*& p, char* out, VekSizeT& len)
{
    const uint32x4_t a = vld1q_u32(p), b = vld1q_u32(p + 4);
    const uint16x8_t plane = vcombine_u16(vshrn_n_u32(a, 16), vshrn_n_u32(b, 16));
    const uint16x8_t low = vcombine_u16(vmovn_u32(a), vmovn_u32(b));
    const uint16x8_t bmp = vceqzq_u16(plane);
    const uint16x8_t beyond = vcgtq_u16(plane, Set16(0x10));
    const uint16x8_t surrogate =
        vandq_u16(bmp, vceqq_u16(vandq_u16(low, Set16(0xF800)), Set16(0xD800)));
    if (Any(vorrq_u16(beyond, surrogate)))
        return false;
    Utf8Lanes lanes = BmpLanes(low);
    if (vminvq_u16(bmp) == 0)
        PutSupplementary(&lanes, vmvnq_u16(bmp), plane, low);
    len += StoreLanes(lanes, out + len);
    p += 8;
    return true;
}

// PairsHold checks the surrogates of 16 UTF-16 units: each low half right
// behind a high one, none elsewhere, a high half in the last unit awaiting
// its low one in the next block.
static inline bool PairsHold(uint16x8_t a, uint16x8_t b, bool* awaiting_low)
{
    const uint16x8_t half_a = vandq_u16(a, Set16(0xFC00)), half_b = vandq_u16(b, Set16(0xFC00));
    const uint16x8_t high_a = vceqq_u16(half_a, Set16(0xD800));
    const uint16x8_t high_b = vceqq_u16(half_b, Set16(0xD800));
    const uint16x8_t carried = Set16(*awaiting_low ? 0xFFFF : 0);
    const uint16x8_t wrong_a =
        veorq_u16(vextq_u16(carried, high_a, 7), vceqq_u16(half_a, Set16(0xDC00)));
    const uint16x8_t wrong_b =
        veorq_u16(vextq_u16(high_a, high_b, 7), vceqq_u16(half_b, Set16(0xDC00)));
    *awaiting_low = vgetq_lane_u16(high_b, 7) != 0;
    return !Any(vorrq_u16(wrong_a, wrong_b));
}

// Block counts of UTF-16 are added up in the bytes of a register, for as
// many blocks as a byte can take: each adds at most 2 to it.
constexpr unsigned kBlocksPerSum16 = 255 / 2;

// CountBlocks16 moves p over up to kBlocksPerSum16 aligned blocks of UTF-16
// that hold no terminator, adding their UTF-8 bytes to *n: one a unit, one
// more from U+0080, one more from U+0800, one less for each surrogate.
// Shifted right by 11, a surrogate is 0x1B and no other unit is. It is false
// when a surrogate is unpaired; *done tells whether it stopped before the
// last block it could take.
VEK_NO_SANITIZE_ADDRESS static inline bool CountBlocks16(const VekUint16*& p, VekSizeT* n,
                                                         bool* awaiting_low, bool* done)
{
    VEK_ASSERT(IsBlockAligned(p), "blocks are counted whole from a block boundary");
    const uint8x16_t one = vdupq_n_u8(1);
    uint8x16_t sum = vdupq_n_u8(0);
    unsigned blocks = 0;
    for (; blocks < kBlocksPerSum16; ++blocks, p += kBlockUnits) {
        const auto* q = static_cast<const VekUint16*>(__builtin_assume_aligned(p, 16));
        const uint16x8_t a = vld1q_u16(q), b = vld1q_u16(q + 8);
        if (vminvq_u16(vminq_u16(a, b)) == 0)
            break;
        const uint8x16_t from_80 = vcombine_u8(vqshrn_n_u16(a, 7), vqshrn_n_u16(b, 7));
        const uint8x16_t from_800 =
            vcombine_u8(vmovn_u16(vshrq_n_u16(a, 11)), vmovn_u16(vshrq_n_u16(b, 11)));
        const uint8x16_t surrogate = vceqq_u8(from_800, vdupq_n_u8(0x1B));
        if ((vmaxvq_u8(surrogate) != 0 || *awaiting_low) && !PairsHold(a, b, awaiting_low))
            return false;
        const uint8x16_t extra = vaddq_u8(vminq_u8(from_80, one), vminq_u8(from_800, one));
        sum = vaddq_u8(sum, vaddq_u8(extra, surrogate));
    }
    *n += kBlockUnits * blocks + vaddlvq_u8(sum);
    *done = blocks < kBlocksPerSum16;
    return true;
}

// CountBlocks32 is CountBlocks16 for UCS-4: one byte a unit, one more from
// U+0080, U+0800 and U+10000 each. The units shifted right by 6 and narrowed
// with saturation are exact up to U+3FFFFF: 2 and up from U+0080, 0x20 and
// up from U+0800, 0x400 and up from U+10000, 0x360 to 0x37F for a
// surrogate, and above 0x43FF beyond U+10FFFF. A block of ASCII needs no
// counting. It is false when a unit is no scalar value.
VEK_NO_SANITIZE_ADDRESS static inline bool CountBlocks32(const VekWideChar*& p, VekSizeT* n,
                                                         bool* done)
{
    VEK_ASSERT(IsBlockAligned(p), "blocks are counted whole from a block boundary");
    constexpr unsigned kBlocksPerSum = 255 / 3;
    uint16x8_t sum = Set16(0);
    unsigned blocks = 0;
    for (; blocks < kBlocksPerSum; ++blocks, p += kBlockUnits) {
        const auto* q = static_cast<const VekWideChar*>(__builtin_assume_aligned(p, 16));
        const uint32x4_t a = vld1q_u32(q), b = vld1q_u32(q + 4);
        const uint32x4_t c = vld1q_u32(q + 8), d = vld1q_u32(q + 12);
        if (vminvq_u32(vminq_u32(vminq_u32(a, b), vminq_u32(c, d))) == 0)
            break;
        const uint16x8_t low = vcombine_u16(vqshrn_n_u32(a, 6), vqshrn_n_u32(b, 6));
        const uint16x8_t high = vcombine_u16(vqshrn_n_u32(c, 6), vqshrn_n_u32(d, 6));
        const unsigned largest = vmaxvq_u16(vmaxq_u16(low, high));
        if (largest < 2)
            continue;
        const uint16x8_t surrogate =
            vorrq_u16(vceqq_u16(vandq_u16(low, Set16(0xFFE0)), Set16(0x360)),
                      vceqq_u16(vandq_u16(high, Set16(0xFFE0)), Set16(0x360)));
        if (largest > 0x43FF || Any(surrogate))
            return false;
        // Each class a unit reaches is a mark of all ones, which subtracted
        // adds 1.
        for (const uint16x8_t s : {low, high}) {
            sum = vsubq_u16(sum, vcgeq_u16(s, Set16(2)));
            sum = vsubq_u16(sum, vcgeq_u16(s, Set16(0x20)));
            sum = vsubq_u16(sum, vcgeq_u16(s, Set16(0x400)));
        }
    }
    *n += kBlockUnits * blocks + vaddlvq_u16(sum);
    *done = blocks < kBlocksPerSum;
    return true;
}

} // namespace Neon

struct Utf8Neon {
    static constexpr const char* kName = VekVector::kName;
    using Marks = VekVector::Marks;

    template <bool kStore, class In> static bool AsciiBlock(const In* p, char* out)
    {
        const uint8x16_t bytes = Neon::Aligned(p);
        if (VekVector::AnyMarked(Neon::OtherBytes(bytes)))
            return false;
        if (kStore)
            vst1q_u8(reinterpret_cast<uint8_t*>(out), bytes);
        return true;
    }

    template <bool kStore> static bool AsciiBlock(const unsigned char* p, VekUint16* out)
    {
        const uint8x16_t bytes = Neon::Aligned(p);
        if (VekVector::AnyMarked(Neon::OtherBytes(bytes)))
            return false;
        if (kStore)
            Neon::StoreWidened(out, bytes);
        return true;
    }

    // BlockHasZero: the smallest unit of the aligned block is the terminator.
    VEK_NO_SANITIZE_ADDRESS static bool BlockHasZero(const unsigned char* p)
    {
        return vminvq_u8(vld1q_u8(p)) == 0;
    }

    VEK_NO_SANITIZE_ADDRESS static bool BlockHasZero(const VekUint16* p)
    {
        return vminvq_u16(vminq_u16(vld1q_u16(p), vld1q_u16(p + 8))) == 0;
    }

    VEK_NO_SANITIZE_ADDRESS static bool BlockHasZero(const VekWideChar* p)
    {
        const uint32x4_t ab = vminq_u32(vld1q_u32(p), vld1q_u32(p + 4));
        const uint32x4_t cd = vminq_u32(vld1q_u32(p + 8), vld1q_u32(p + 12));
        return vminvq_u32(vminq_u32(ab, cd)) == 0;
    }

    template <class In> static Marks StoreWindow(const In* p, char* out)
    {
        const uint8x16_t bytes = Neon::Narrowed(p);
        vst1q_u8(reinterpret_cast<uint8_t*>(out), bytes);
        return VekVector::MarksOf(Neon::OtherBytes(bytes));
    }

    template <bool kStore> static Marks StoreWindow(const unsigned char* p, VekUint16* out)
    {
        const uint8x16_t bytes = vld1q_u8(p);
        if (kStore)
            Neon::StoreWidened(out, bytes);
        return VekVector::MarksOf(Neon::HighBytes(bytes));
    }

    template <class In> static void StoreAsAscii(char* out, const In* p)
    {
        vst1q_u8(reinterpret_cast<uint8_t*>(out), Neon::Narrowed(p));
    }

    static void StoreAsAscii(VekUint16* out, const unsigned char* p)
    {
        Neon::StoreWidened(out, vld1q_u8(p));
    }

    static bool EncodeEight(const VekUint16*& p, char* out, VekSizeT& len)
    {
        return Neon::EncodeEight(p, out, len);
    }

    static bool EncodeEight(const VekWideChar*& p, char* out, VekSizeT& len)
    {
        return Neon::EncodeEight(p, out, len);
    }

    static bool CountBlocks(const VekUint16*& p, VekSizeT* n, bool* awaiting_low, bool* done)
    {
        return Neon::CountBlocks16(p, n, awaiting_low, done);
    }

    static bool CountBlocks(const VekWideChar*& p, VekSizeT* n, bool* done)
    {
        return Neon::CountBlocks32(p, n, done);
    }
};

} // namespace VekUtf8

#endif // VEK_SIMD_NEON
#endif // VEK_SRC_CODEC_VEKUTF8NEON_H
