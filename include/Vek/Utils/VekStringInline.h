/*
 * VekStringInline.h - the constant-time accessors of VekString.
 *
 * Included by VekString.h; callers include that header, not this one.
 */
#ifndef VEK_UTILS_VEKSTRINGINLINE_H
#define VEK_UTILS_VEKSTRINGINLINE_H

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

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKSTRINGINLINE_H */
