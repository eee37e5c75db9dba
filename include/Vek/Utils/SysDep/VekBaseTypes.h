/*
 * VekBaseTypes.h - the base typedefs of the utility layer.
 *
 * Every other header of the layer builds on these few names, so they fix the
 * widths once for all platforms: sizes and positions are always 64 bits, truth
 * values are one byte, and the wide text units have the widths of UCS-4 and
 * UTF-16 whatever the platform's wchar_t is.
 *
 * The header also carries the small portability macros the public headers use
 * to stay valid C99 and C++ at the same time.
 */
#ifndef VEK_UTILS_SYSDEP_VEKBASETYPES_H
#define VEK_UTILS_SYSDEP_VEKBASETYPES_H

#include <stddef.h> /* NULL, which many results of the layer are */
#include <stdint.h>

#ifdef __cplusplus
#define VEK_EXTERN_C_BEGIN extern "C" {
#define VEK_EXTERN_C_END }
/* The layer's C functions never throw; C++ callers may rely on that. */
#define VEK_NOEXCEPT noexcept
#else
#define VEK_EXTERN_C_BEGIN
#define VEK_EXTERN_C_END
#define VEK_NOEXCEPT
#endif

/* Lets GCC and Clang check printf-style calls against their arguments. */
#if defined(__GNUC__) || defined(__clang__)
#define VEK_PRINTF_FORMAT(fmt_index, args_index)                                                   \
    __attribute__((format(printf, fmt_index, args_index)))
#else
#define VEK_PRINTF_FORMAT(fmt_index, args_index)
#endif

VEK_EXTERN_C_BEGIN

typedef uint64_t VekSizeT;    /* sizes, positions and counts */
typedef uint8_t VekBool;      /* 0 false, 1 true */
typedef int32_t VekInt;       /* small signed results such as orderings */
typedef void* VekVoidPtr;     /* untyped memory */
typedef uint32_t VekWideChar; /* one UCS-4 code unit */
typedef uint16_t VekUint16;   /* one UTF-16 code unit */

#define VEK_FALSE ((VekBool)0)
#define VEK_TRUE ((VekBool)1)

VEK_EXTERN_C_END

#endif /* VEK_UTILS_SYSDEP_VEKBASETYPES_H */
