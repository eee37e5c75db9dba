// VekUtf8Kernels.h - every kernel of the codec that this build compiles in,
// one row each, with the public functions' contract, for the tests.
//
// Row 0 is the scalar code alone; then the build's vector kernel (SSE2 or
// NEON), and on x86-64 the AVX-512 kernel, usable only where the processor
// has it. The public functions take the best usable row. The tests and the
// codec fuzzer run every usable row. Not installed.
#ifndef VEK_SRC_CODEC_VEKUTF8KERNELS_H
#define VEK_SRC_CODEC_VEKUTF8KERNELS_H

#include <span>

#include "Vek/Utils/VekUtf8Encoding.h"

namespace VekUtf8 {

struct Utf8Kernels {
    const char* name;
    bool (*usable)() noexcept;
    VekBool (*encode)(const VekWideChar* input, char* output, VekSizeT outputSize,
                      VekSizeT* outputLen) noexcept;
    VekBool (*encode_utf16)(const VekUint16* input, char* output, VekSizeT outputSize,
                            VekSizeT* outputLen) noexcept;
    VekBool (*decode_utf16)(const char* input, VekUint16* output, VekSizeT outputSize,
                            VekSizeT* outputLen) noexcept;
};

std::span<const Utf8Kernels> Utf8KernelTable() noexcept;

} // namespace VekUtf8

#endif // VEK_SRC_CODEC_VEKUTF8KERNELS_H
