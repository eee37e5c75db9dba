// VekUtf8EncodingPortable.h - the codec without its vector path.
//
// The codec picks its SSE2 path where the target has one; these entry points
// run the plain path on every target, with the public functions' contract, so
// that the tests can hold the two paths against each other. Not installed.
#ifndef VEK_SRC_VEKUTF8ENCODINGPORTABLE_H
#define VEK_SRC_VEKUTF8ENCODINGPORTABLE_H

#include "Vek/Utils/VekUtf8Encoding.h"

namespace VekUtf8Portable {

VekBool Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
               VekSizeT* outputLen) noexcept;
VekBool EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                    VekSizeT* outputLen) noexcept;
VekBool DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                    VekSizeT* outputLen) noexcept;

} // namespace VekUtf8Portable

#endif // VEK_SRC_VEKUTF8ENCODINGPORTABLE_H
