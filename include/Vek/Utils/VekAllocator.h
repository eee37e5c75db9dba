/*
 * VekAllocator.h - the allocator record through which the layer obtains memory.
 *
 * An allocator is a plain record of two callbacks, a size limit and a word of
 * user data. Code of the layer never calls malloc itself: it asks the allocator
 * its caller supplied, always with an exact byte count, and gives every block
 * back to the same allocator with the same byte count it was obtained with.
 * That lets an allocator keep no per-block header (a size-class pool can use
 * the byte count on release) and lets a test allocator check every call.
 *
 *     static VekVoidPtr MyAllocate(VekAllocator* a, VekSizeT size) { ... }
 *     static void MyDeallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size) { ... }
 *     VekAllocator mine = { MyAllocate, MyDeallocate, 1u << 20, &my_state };
 *
 * The contract:
 *  - allocate(a, size) returns a block of at least size bytes, or NULL to
 *    refuse. size is never 0.
 *  - deallocate(a, p, size) takes back a block; size is the byte count the
 *    block was obtained with.
 *  - maxSize is the largest byte count the layer will ever request; the string
 *    module grants a capacity c only when c < maxSize, so a request is at most
 *    maxSize bytes.
 *  - userData belongs to the allocator; the layer never reads or writes it.
 *    The callbacks receive the record itself first, which is how they reach it.
 *
 * WARNING: the callbacks are called from functions that promise not to throw;
 * C++ callbacks must not let an exception escape.
 */
#ifndef VEK_UTILS_VEKALLOCATOR_H
#define VEK_UTILS_VEKALLOCATOR_H

#include "SysDep/VekBaseTypes.h"

VEK_EXTERN_C_BEGIN

typedef struct VekAllocatorS_ VekAllocator;

typedef VekVoidPtr (*VekAllocatorAllocateCallback)(VekAllocator* a, VekSizeT size);
typedef void (*VekAllocatorDeallocateCallback)(VekAllocator* a, VekVoidPtr p, VekSizeT size);

struct VekAllocatorS_ {
    VekAllocatorAllocateCallback allocate;
    VekAllocatorDeallocateCallback deallocate;
    VekSizeT maxSize;
    VekVoidPtr userData;
};

/*
 * VekAllocatorGetDefault returns the process-wide allocator for callers that
 * have none of their own: malloc and free underneath, safe to use from any
 * thread, with maxSize PTRDIFF_MAX so that every request stays representable
 * as an object size. The record is shared; callers must not modify it.
 */
VekAllocator* VekAllocatorGetDefault(void) VEK_NOEXCEPT;

VEK_EXTERN_C_END

#include "VekAllocatorInline.h"

#endif /* VEK_UTILS_VEKALLOCATOR_H */
