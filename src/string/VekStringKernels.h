// VekStringKernels.h - every kernel of the string module's queries that this
// build compiles in, one row each, for the kernel-table test.
//
// Row 0 is the scalar code alone; a vector row runs the same algorithms with
// the build's vector kernel (VectorSearch, StringHashVector), and the AVX-512
// row with its kernels where usable() finds the processor has them. The
// public functions use the last usable row's kernels. A new instruction set
// adds a row.
#ifndef VEK_SRC_STRING_VEKSTRINGKERNELS_H
#define VEK_SRC_STRING_VEKSTRINGKERNELS_H

#include "string/VekStringAvx512.h"
#include "string/VekStringHash.h"
#include "string/VekStringSearchKernels.h"

using StringFindFn = VekSizeT (*)(const char* buf, VekSizeT size, VekSizeT from, const char* y,
                                  VekSizeT n);
using StringRFindFn = VekSizeT (*)(const char* buf, VekSizeT r, const char* y, VekSizeT n);
using StringSetForwardFn = VekSizeT (*)(const char* buf, VekSizeT size, VekSizeT pos, const char* y,
                                        VekSizeT n);
using StringSetBackwardFn = VekSizeT (*)(const char* buf, VekSizeT start, const char* y,
                                         VekSizeT n);

struct StringKernels {
    const char* name;
    bool (*usable)();
    VekSizeT (*hash)(const char* p, VekSizeT n);
    StringFindFn find;   // n >= 1, from < size
    StringRFindFn rfind; // n >= 2, r + n <= size
    StringSetForwardFn first_of, first_not_of;
    StringSetBackwardFn last_of, last_not_of;
};

inline bool StringKernelsAlwaysUsable()
{
    return true;
}

template <class Kernel>
constexpr StringKernels StringKernelsOf(VekSizeT (*hash)(const char*, VekSizeT),
                                        bool (*usable)() = StringKernelsAlwaysUsable)
{
    return {Kernel::kName,
            usable,
            hash,
            StringSearchForward<Kernel>,
            StringSearchBackward<Kernel>,
            StringScanSetForward<Kernel, Wanted::kInSet>,
            StringScanSetForward<Kernel, Wanted::kOutsideSet>,
            StringScanSetBackward<Kernel, Wanted::kInSet>,
            StringScanSetBackward<Kernel, Wanted::kOutsideSet>};
}

inline constexpr StringKernels kStringKernels[] = {
    StringKernelsOf<ScalarSearch>(StringHashPortable),
#if VEK_SIMD_VECTOR
    StringKernelsOf<VectorSearch>(StringHashVector),
#endif
#if VEK_SIMD_AVX512 && VEK_SIMD_SSE2
    StringKernelsOf<Avx512Search>(VekStringAvx512::Hash, Avx512Search::Usable),
#endif
};

#endif // VEK_SRC_STRING_VEKSTRINGKERNELS_H
