/*
 * VekUtf8Encoding.h - the layer's UTF-8 codec.
 *
 * Three conversions between UTF-8 and the wide encodings, each reading a
 * zero-terminated input and writing into a caller's output of a given size.
 * One call both measures and converts, like snprintf:
 *
 *     static const VekUint16 text[] = {0x68, 0xE9, 0};   // "h", e-acute
 *     VekSizeT len;
 *     char out[64];
 *     if (!VekUtf8EncodeUtf16(text, out, sizeof out, &len))
 *         ... not valid UTF-16 ...
 *     else if (len < sizeof out)
 *         ... out holds all len bytes of UTF-8, then a NUL ...
 *     else
 *         ... out holds a shorter prefix; len + 1 bytes would hold it all ...
 *
 * The rules the three share (outputSize and *outputLen count units of the
 * output encoding: bytes for UTF-8, 16-bit code units for UTF-16):
 *  - A true result means the whole input is valid. *outputLen then receives
 *    the length of the complete conversion, without a terminator, whether or
 *    not it fitted; outputSize 0 only measures and writes nothing at all
 *    (output is then not touched and may be NULL).
 *  - Nothing is written beyond outputSize units: the output holds at most
 *    outputSize - 1 units of text and always a terminating zero unit behind
 *    them. When *outputLen < outputSize the text is the complete conversion;
 *    otherwise it is the longest prefix of whole characters that fits (a
 *    character's bytes or a surrogate pair are never split).
 *  - A false result means the input is not valid Unicode in its encoding;
 *    *outputLen is not set, and the output (within outputSize) may hold part
 *    of a conversion.
 *  - The zero unit ends the input and adds nothing to the output; there is no
 *    way to convert an embedded U+0000.
 *
 * Inputs refused:
 *  - UCS-4: surrogate code points (U+D800..U+DFFF) and values above U+10FFFF.
 *  - UTF-16: a high surrogate not followed by a low one, a low surrogate not
 *    preceded by a high one.
 *  - UTF-8: any ill-formed sequence: stray continuation bytes, lead bytes
 *    C0, C1 and F5..FF, overlong forms, encoded surrogates (ED A0..BF),
 *    values above U+10FFFF (F4 90 and up), and sequences cut short by the
 *    terminator or by a byte that is not a continuation. There is no
 *    replacement character: one bad sequence refuses the whole input.
 *
 * Speed: one pass over the input when the result fits, and a second, measuring
 * one over the rest when it does not. ASCII text goes 16 units per step; with
 * SSE2 (x86-64) or NEON (AArch64), so does other text, in windows that put
 * each non-ASCII character in place on its own (or encode eight at a time
 * where they come in runs), and measuring counts whole blocks of UTF-16 and
 * UCS-4 in vector registers.
 * On processors with AVX-512 (VBMI2), chosen at run time, UCS-4 is encoded
 * and measured sixteen characters per step with no branch on any of them.
 * WARNING: for that the codec may read input units behind the terminator, up
 * to the end of the aligned 16-unit block that holds it. Such a block never
 * crosses a page boundary, so this cannot fault, but memory checkers that
 * track single bytes may report it.
 *
 * The codec holds no state; the functions are safe to call from any thread.
 */
#ifndef VEK_UTILS_VEKUTF8ENCODING_H
#define VEK_UTILS_VEKUTF8ENCODING_H

#include "SysDep/VekBaseTypes.h"

VEK_EXTERN_C_BEGIN

/* VekUtf8Encode converts zero-terminated UCS-4 to UTF-8; outputSize in bytes. */
VekBool VekUtf8Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
                      VekSizeT* outputLen) VEK_NOEXCEPT;

/* VekUtf8EncodeUtf16 converts zero-terminated UTF-16 to UTF-8; outputSize in
 * bytes. A supplementary character (a surrogate pair) becomes 4 bytes. */
VekBool VekUtf8EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                           VekSizeT* outputLen) VEK_NOEXCEPT;

/* VekUtf8DecodeUtf16 converts NUL-terminated UTF-8 to UTF-16; outputSize and
 * *outputLen count UTF-16 code units, a supplementary character taking two. */
VekBool VekUtf8DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                           VekSizeT* outputLen) VEK_NOEXCEPT;

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKUTF8ENCODING_H */
