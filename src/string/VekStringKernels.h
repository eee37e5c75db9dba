// VekStringKernels.h - every kernel of the string module's queries that this
// build compiles in, one row each, for the kernel-table test.
//
// Row 0 is the scalar code alone; a vector row runs the same algorithms with
// the build's vector kernel (VectorSearch, StringHashVector), and the AVX-512
// row with its kernels where usable() finds the processor has them. The
// public functions use the last usable row's kernels. A new instruction set
// adds a row. The table is compiled into the library (VekStringKernels.cpp),
// so the tests run the library's own copies of the kernels. Not installed.
#ifndef VEK_SRC_STRING_VEKSTRINGKERNELS_H
#define VEK_SRC_STRING_VEKSTRINGKERNELS_H

#include <span>

#include "Vek/Utils/VekString.h"

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

std::span<const StringKernels> StringKernelTable() noexcept;

#endif // VEK_SRC_STRING_VEKSTRINGKERNELS_H
