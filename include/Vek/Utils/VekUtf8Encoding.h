/*
 * VekUtf8Encoding.h - the layer's UTF-8 codec.
 *
 * Three conversions between UTF-8 and the wide encodings, each reading a
 * zero-terminated input and writing into a caller's output of a given size:
 *
 *     VekSizeT len;
 *     char out[64];
 *     if (VekUtf8EncodeUtf16(u"h\u00e9", out, sizeof out, &len) && len < sizeof out)
 *         ... out holds len bytes of UTF-8 followed by a NUL ...
 *
 * The rules the three share:
 *  - A true result means the input is valid; *outputLen then receives the
 *    length of the complete conversion (without a terminator), whether or not
 *    it fitted. outputSize 0 measures.
 *  - Nothing is written beyond outputSize units of output.
 *  - When *outputLen is at most outputSize - 1 the complete conversion has been
 *    written at output, followed by a terminating zero unit.
 *  - A false result means the input is not valid Unicode in its encoding;
 *    *outputLen is then not set and the output holds no promised content.
 */
#ifndef VEK_UTILS_VEKUTF8ENCODING_H
#define VEK_UTILS_VEKUTF8ENCODING_H

#include "SysDep/VekBaseTypes.h"

VEK_EXTERN_C_BEGIN

/* VekUtf8Encode converts zero-terminated UCS-4 to UTF-8; outputSize in bytes. */
VekBool VekUtf8Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
                      VekSizeT* outputLen) VEK_NOEXCEPT;

/* VekUtf8EncodeUtf16 converts zero-terminated UTF-16 to UTF-8; outputSize in bytes. */
VekBool VekUtf8EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                           VekSizeT* outputLen) VEK_NOEXCEPT;

/* VekUtf8DecodeUtf16 converts NUL-terminated UTF-8 to UTF-16; outputSize and
 * *outputLen count UTF-16 code units. */
VekBool VekUtf8DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                           VekSizeT* outputLen) VEK_NOEXCEPT;

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKUTF8ENCODING_H */
