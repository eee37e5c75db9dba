/*
 * VekStdCLib.h - the layer's doorway to the C library.
 *
 * The thin byte-moving wrappers live in VekStdCLibInline.h; this header adds
 * the formatter, which needs a body of its own.
 */
#ifndef VEK_UTILS_VEKSTDCLIB_H
#define VEK_UTILS_VEKSTDCLIB_H

#include <stdarg.h>

#include "SysDep/VekBaseTypes.h"

VEK_EXTERN_C_BEGIN

/*
 * VekVSNPrintf formats like the C library's vsnprintf into buf, writing at
 * most size bytes, and returns the length of the complete output without the
 * terminating NUL, whatever size is (size 0 with a NULL buf only measures).
 * The same format and arguments always give the same output and length.
 */
VekSizeT VekVSNPrintf(char* buf, VekSizeT size, const char* fmt, va_list args) VEK_NOEXCEPT;

VEK_EXTERN_C_END

#include "VekStdCLibInline.h"

#endif /* VEK_UTILS_VEKSTDCLIB_H */
