// VekStringKernels.cpp - the table of the string kernels this build compiles
// in (VekStringKernels.h says what a row holds).
#include "string/VekStringKernels.h"

#include "string/VekStringAvx512.h"
#include "string/VekStringHash.h"
#include "string/VekStringSearchKernels.h"

namespace {

bool AlwaysUsable()
{
    return true;
}

template <class Kernel>
constexpr StringKernels RowOf(VekSizeT (*hash)(const char*, VekSizeT),
                              bool (*usable)() = AlwaysUsable)
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

constexpr StringKernels kRows[] = {
    RowOf<ScalarSearch>(StringHashPortable),
#if VEK_SIMD_VECTOR
    RowOf<VectorSearch>(StringHashVector),
#endif
#if VEK_SIMD_AVX512 && VEK_SIMD_SSE2
    RowOf<Avx512Search>(VekStringAvx512::Hash, Avx512Search::Usable),
#endif
};

} // namespace

std::span<const StringKernels> StringKernelTable() noexcept
{
    return kRows;
}
