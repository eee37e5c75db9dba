// VekUtf8Avx512.h - UCS-4 to UTF-8 sixteen units at a time.
//
// Encoding UCS-4 is the one conversion whose output length per unit varies
// with nothing but the unit, so with AVX-512 a whole register of sixteen
// characters is encoded, checked and packed without a branch on any of them.
// The codec uses these only where Usable() says the processor has what they
// need; they take the bulk of the text and leave the rest (the block that
// holds the terminator, a unit that is no character, the end of the room) to
// the codec's other kernels, which take over at p. Not installed.
#ifndef VEK_SRC_CODEC_VEKUTF8AVX512_H
#define VEK_SRC_CODEC_VEKUTF8AVX512_H

#include "Vek/Utils/VekTypes.h"

namespace VekUtf8Avx512 {

// Usable tells whether this path is built and the processor can run it.
bool Usable() noexcept;

// TakeUcs4 converts from p into out + len while the characters up to the next
// 64-byte boundary of the input hold no terminator, are all characters and
// fit in room - len bytes, moving p and len over them.
void TakeUcs4(const VekWideChar*& p, char* out, VekSizeT room, VekSizeT& len) noexcept;

// MeasureUcs4 adds to len the UTF-8 bytes of the units from p on, moving p
// the same way as TakeUcs4 would with unlimited room.
void MeasureUcs4(const VekWideChar*& p, VekSizeT& len) noexcept;

} // namespace VekUtf8Avx512

#endif // VEK_SRC_CODEC_VEKUTF8AVX512_H
