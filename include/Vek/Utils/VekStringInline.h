/*
 * VekStringInline.h - the constant-time accessors of VekString.
 *
 * Included by VekString.h; callers include that header, not this one.
 */
#ifndef VEK_UTILS_VEKSTRINGINLINE_H
#define VEK_UTILS_VEKSTRINGINLINE_H

#include "VekStdCLibInline.h"
#include "VekString.h"

VEK_EXTERN_C_BEGIN

/* VekStringLength and VekStringSize both return the number of content bytes. */
static inline VekSizeT VekStringLength(const VekString* x) VEK_NOEXCEPT
{
    return x->size;
}

static inline VekSizeT VekStringSize(const VekString* x) VEK_NOEXCEPT
{
    return x->size;
}

/* VekStringMaxSize returns the allocator's maxSize as it stands; the largest
 * capacity a string can reach is one less. */
static inline VekSizeT VekStringMaxSize(const VekString* x) VEK_NOEXCEPT
{
    return x->allocator->maxSize;
}

static inline VekAllocator* VekStringGetAllocator(const VekString* x) VEK_NOEXCEPT
{
    return x->allocator;
}

static inline VekSizeT VekStringCapacity(const VekString* x) VEK_NOEXCEPT
{
    return x->capacity;
}

/* VekStringData returns the content; it is NUL-terminated whenever the string
 * owns its buffer or owns nothing and is empty. A view is terminated only if
 * its owner made it so. */
static inline const char* VekStringData(const VekString* x) VEK_NOEXCEPT
{
    return x->buf;
}

/* VekStringGetBuffer returns the first byte behind the content, where a caller
 * may write up to capacity - size bytes before announcing them with
 * VekStringReleaseBuffer. A string that owns nothing has no room at all: the
 * returned byte must not be written. */
static inline char* VekStringGetBuffer(VekString* x) VEK_NOEXCEPT
{
    return x->buf + x->size;
}

/*
 * Appending fast paths. Building a string a character or a few bytes at a
 * time costs more in the call than in the copy, so VekStringAppendChar and
 * VekStringAppendCStrLen are also function-like macros, as getc is in many C
 * libraries: an append that fits the owned block is done here, inline, with
 * the same effect as the function; anything else (growth, a string owning
 * nothing, an empty operand) calls the function itself. Each argument is
 * evaluated exactly once. (VekStringAppendChar)(x, c) and &VekStringAppendChar
 * reach the exported function as always.
 */
static inline VekString* VekStringAppendCharInline(VekString* x, char c) VEK_NOEXCEPT
{
    const VekSizeT size = x->size;
    if (size < x->capacity) {
        /* The byte and its terminator go out as one 2-byte store. */
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        const uint16_t with_terminator = (uint16_t)((unsigned char)c << 8);
#else
        const uint16_t with_terminator = (unsigned char)c;
#endif
        VekMemCpy(x->buf + size, &with_terminator, 2);
        x->size = size + 1;
        return x;
    }
    return (VekStringAppendChar)(x, c);
}

/* An owned block holds size <= capacity, so n - 1 < capacity - size is n > 0
 * bytes fitting behind the content; on a string owning nothing (capacity 0)
 * the test fails before the difference could wrap. An operand inside the
 * content ends where the copy starts, so the two never overlap. */
static inline VekString* VekStringAppendCStrLenInline(VekString* x, const char* str,
                                                      VekSizeT n) VEK_NOEXCEPT
{
    const VekSizeT size = x->size;
    if (x->capacity != 0 && n - 1 < x->capacity - size) {
        char* buf = x->buf;
        VekMemCpy(buf + size, str, n);
        buf[size + n] = '\0';
        x->size = size + n;
        return x;
    }
    return (VekStringAppendCStrLen)(x, str, n);
}

/* A checked library checks every call on entry, so code built against one
 * (VEK_CHECKED defined, as the CMake target does) calls the functions. */
#if !defined(VEK_CHECKED) || !VEK_CHECKED
#define VekStringAppendChar(x, c) VekStringAppendCharInline((x), (c))
#define VekStringAppendCStrLen(x, str, n) VekStringAppendCStrLenInline((x), (str), (n))
#endif

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKSTRINGINLINE_H */
