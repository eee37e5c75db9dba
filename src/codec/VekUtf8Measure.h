// VekUtf8Measure.h - measuring by whole blocks, written once over a kernel.
//
// Where a conversion does not fit its room, the rest of the input is only
// measured, still checked. UTF-16 and UCS-4 are counted and checked by
// whole aligned blocks in registers (Isa::CountBlocks): one byte per unit,
// one more for each unit from U+0080 and from U+0800 (and for UCS-4 from
// U+10000), one less for each half of a surrogate pair. Units before the
// first block boundary and from the block that holds the terminator on are
// counted one at a time. UTF-8 is measured by running the windows without
// storing anything.
#ifndef VEK_SRC_CODEC_VEKUTF8MEASURE_H
#define VEK_SRC_CODEC_VEKUTF8MEASURE_H

#include "codec/VekUtf8Scalar.h"

namespace VekUtf8 {

// CountUnit adds the UTF-8 bytes of one UTF-16 unit: 1 to 3 for a BMP
// character, 2 for each half of a surrogate pair. It is false when the unit
// breaks a pair: a low half with no high one before it, or anything but a
// low half after a high one.
static inline bool CountUnit(uint32_t u, bool* awaiting_low, VekSizeT* n)
{
    const bool high = (u & 0xFC00u) == 0xD800u, low = (u & 0xFC00u) == 0xDC00u;
    if (low != *awaiting_low)
        return false;
    *awaiting_low = high;
    *n += 1u + (u >= 0x80u) + (u >= 0x800u) - (high || low);
    return true;
}

// MeasureByBlocks (UTF-16) counts unit by unit, which lets a pair straddle
// any boundary: singly up to a block boundary, then whole aligned blocks,
// then singly again from the block that holds the terminator. Runs of ASCII
// blocks go first through the block test of the conversion, which is
// cheaper than counting them, unless a low surrogate is due.
template <class Isa> static inline bool MeasureByBlocks(const VekUint16* p, VekSizeT* len)
{
    VekSizeT n = *len;
    bool awaiting_low = false, done = false;
    for (; !IsBlockAligned(p) && *p != 0; ++p) {
        if (!CountUnit(*p, &awaiting_low, &n))
            return false;
    }
    while (IsBlockAligned(p) && !done) {
        if (!awaiting_low)
            TakeAsciiBlocks<Isa, false>(p, static_cast<char*>(nullptr), kUnlimited, n);
        if (!Isa::CountBlocks(p, &n, &awaiting_low, &done))
            return false;
    }
    for (; *p != 0; ++p) {
        if (!CountUnit(*p, &awaiting_low, &n))
            return false;
    }
    *len = n;
    return !awaiting_low;
}

// MeasureByBlocks (UCS-4) counts singly up to a block boundary, then whole
// aligned blocks, then singly again from the block that holds the
// terminator.
template <class Isa> static inline bool MeasureByBlocks(const VekWideChar* p, VekSizeT* len)
{
    VekSizeT n = *len;
    bool done = false;
    for (; !IsBlockAligned(p) && *p != 0; ++p) {
        if (!IsScalarValue(*p))
            return false;
        n += Utf8Output::Length(*p);
    }
    while (IsBlockAligned(p) && !done) {
        if (!Isa::CountBlocks(p, &n, &done))
            return false;
    }
    *len = n;
    return TakeCharacters<false, false, Utf8Output>(p, static_cast<char*>(nullptr), kUnlimited,
                                                    *len, false) == Stop::kEnd;
}

} // namespace VekUtf8

#endif // VEK_SRC_CODEC_VEKUTF8MEASURE_H
