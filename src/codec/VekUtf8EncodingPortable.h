// VekUtf8EncodingPortable.h - the codec without its vector path.
//
// The codec picks its SSE2 path where the target has one, and for UCS-4 its
// AVX-512 path where the processor has that; these entry points run the plain
// path on every target, or for UCS-4 also the SSE2 path alone, with the public
// functions' contract, so that the tests can hold the paths against each
// other. Not installed.
#ifndef VEK_SRC_CODEC_VEKUTF8ENCODINGPORTABLE_H
#define VEK_SRC_CODEC_VEKUTF8ENCODINGPORTABLE_H

#include "Vek/Utils/VekUtf8Encoding.h"

namespace VekUtf8Portable {

VekBool Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
               VekSizeT* outputLen) noexcept;
VekBool EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                    VekSizeT* outputLen) noexcept;
VekBool DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                    VekSizeT* outputLen) noexcept;

// EncodeWithoutAvx512 is VekUtf8Encode without its AVX-512 path.
VekBool EncodeWithoutAvx512(const VekWideChar* input, char* output, VekSizeT outputSize,
                            VekSizeT* outputLen) noexcept;

} // namespace VekUtf8Portable

#endif // VEK_SRC_CODEC_VEKUTF8ENCODINGPORTABLE_H
