/*
 * VekStdCLibInline.h - thin inline wrappers over the C library's byte and
 * string primitives.
 *
 * Code of the layer reaches memcpy and friends only through these names, which
 * take the layer's 64-bit sizes. Each wrapper only forwards; none checks its
 * arguments, and the C library's own preconditions apply (non-overlapping
 * ranges for VekMemCpy, valid pointers even for a zero count).
 *
 * VekMemMem needs the C library's memmem, which is not part of ISO C. GNU and
 * BSD C libraries declare it for C++ and, in C, when _GNU_SOURCE (glibc) is
 * defined before the first include of <string.h>; where it is not declared the
 * wrapper is simply absent.
 */
#ifndef VEK_UTILS_VEKSTDCLIBINLINE_H
#define VEK_UTILS_VEKSTDCLIBINLINE_H

#include <string.h>

#include "SysDep/VekBaseTypes.h"

VEK_EXTERN_C_BEGIN

static inline void* VekMemCpy(void* dst, const void* src, VekSizeT n) VEK_NOEXCEPT
{
    return memcpy(dst, src, (size_t)n);
}

static inline void* VekMemMove(void* dst, const void* src, VekSizeT n) VEK_NOEXCEPT
{
    return memmove(dst, src, (size_t)n);
}

static inline int VekMemCmp(const void* a, const void* b, VekSizeT n) VEK_NOEXCEPT
{
    return memcmp(a, b, (size_t)n);
}

static inline void* VekMemSet(void* dst, int c, VekSizeT n) VEK_NOEXCEPT
{
    return memset(dst, c, (size_t)n);
}

static inline VekSizeT VekStrLen(const char* s) VEK_NOEXCEPT
{
    return (VekSizeT)strlen(s);
}

#if defined(__cplusplus) || defined(_GNU_SOURCE) || defined(__APPLE__) || defined(__FreeBSD__) ||  \
    defined(__NetBSD__) || defined(__OpenBSD__)
static inline void* VekMemMem(const void* haystack, VekSizeT haystack_len, const void* needle,
                              VekSizeT needle_len) VEK_NOEXCEPT
{
    return memmem(haystack, (size_t)haystack_len, needle, (size_t)needle_len);
}
#endif

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKSTDCLIBINLINE_H */
