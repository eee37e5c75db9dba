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
 * When the output fits in size - 1 bytes it is written whole, followed by a
 * NUL; a longer one is cut to size - 1 bytes and a NUL. The same format and
 * arguments always give the same output and length. args is consumed.
 *
 * Speed: text, %% and the plain conversions %c, %s, %d, %i, %u, %x and %X
 * (no flag, width or precision; l, ll or z on the integers) are formatted
 * directly, several times faster than vsnprintf; a format with anything else
 * goes to vsnprintf whole.
 *
 * Failure: when the C library cannot produce the output (a %ls argument the
 * current locale cannot encode, an output whose length does not fit an int,
 * a malformed format it rejects), the result is the largest VekSizeT (the value
 * of VekStringNpos). No allocator grants that many bytes, so code that sizes a
 * buffer from the result is refused rather than misled. buf[0] is then a NUL
 * when size is at least 1; the bytes behind it are unspecified, but none
 * beyond the first size bytes is written.
 */
VekSizeT VekVSNPrintf(char* buf, VekSizeT size, const char* fmt, va_list args) VEK_NOEXCEPT;

VEK_EXTERN_C_END

#include "VekStdCLibInline.h"

#endif /* VEK_UTILS_VEKSTDCLIB_H */
