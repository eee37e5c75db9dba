/*
 * VekCoreFoundation.h - the CoreFoundation string interface the layer uses.
 *
 * On Apple platforms this is the platform's own CoreFoundation framework, and
 * the library links it. Elsewhere it declares a small stand-in with the same
 * names and signatures, enough to make, query, convert and release strings,
 * so that code taking a CFStringRef builds and can be tested on every target:
 *
 *     CFStringRef cf = CFStringCreateWithCString(kCFAllocatorDefault, "caf\xC3\xA9",
 *                                                kCFStringEncodingUTF8);
 *     VekStringAssignFromCFString(&s, cf);
 *     CFRelease(cf);
 *
 * How the stand-in behaves, where the real framework leaves it open:
 *  - Text is kept as UTF-16 and CFStringGetLength counts UTF-16 code units.
 *    A string made from a C string that is all ASCII is kept as those 8-bit
 *    bytes instead; only such a string offers its text through
 *    CFStringGetCStringPtr (and only for kCFStringEncodingUTF8). A string
 *    made with CFStringCreateWithCharacters never does, ASCII or not.
 *  - kCFStringEncodingUTF8 is the only encoding it converts to or from;
 *    CFStringCreateWithCString returns NULL for any other encoding and for
 *    bytes that are not well-formed UTF-8.
 *  - CFStringCreateWithCharacters takes any units, unpaired surrogates too.
 *    CFStringGetBytes converts whole characters and stops before the first
 *    it cannot convert: an unpaired surrogate when lossByte is 0 (with a
 *    non-zero lossByte that byte stands in for it), or one whose bytes no
 *    longer fit maxBufLen when buffer is not NULL. It returns the number of
 *    UTF-16 units converted and stores the bytes they take in *usedBufLen
 *    (when not NULL). isExternalRepresentation adds nothing for UTF-8.
 *  - CFStringGetCString succeeds only when the whole string and a NUL fit
 *    bufferSize bytes.
 *  - Allocator arguments are ignored (memory comes from the layer's default
 *    allocator); CFRelease frees the string at once and ignores NULL. There
 *    is no reference counting.
 */
#ifndef VEK_UTILS_SYSDEP_VEKCOREFOUNDATION_H
#define VEK_UTILS_SYSDEP_VEKCOREFOUNDATION_H

#if defined(__APPLE__)

#include <CoreFoundation/CoreFoundation.h>

#else

#include "VekBaseTypes.h"

VEK_EXTERN_C_BEGIN

typedef signed long CFIndex;
typedef unsigned char Boolean;
typedef unsigned char UInt8;
typedef uint16_t UniChar;
typedef uint32_t CFStringEncoding;

typedef const void* CFTypeRef;
typedef const struct VekCFAllocatorS_* CFAllocatorRef;
typedef const struct VekCFStringS_* CFStringRef;

typedef struct {
    CFIndex location;
    CFIndex length;
} CFRange;

static inline CFRange CFRangeMake(CFIndex loc, CFIndex len)
{
    CFRange range;
    range.location = loc;
    range.length = len;
    return range;
}

enum { kCFStringEncodingUTF8 = 0x08000100 };

/* The default allocator: NULL, as in the framework. */
extern const CFAllocatorRef kCFAllocatorDefault;

CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cStr,
                                      CFStringEncoding encoding);
CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar* chars,
                                         CFIndex numChars);
void CFRelease(CFTypeRef cf);

CFIndex CFStringGetLength(CFStringRef theString);
const char* CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding);
CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean isExternalRepresentation, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen);
Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding);

VEK_EXTERN_C_END

#endif /* __APPLE__ */

#endif /* VEK_UTILS_SYSDEP_VEKCOREFOUNDATION_H */
