/*
 * VekAllocatorInline.h - the call wrappers of the allocator record.
 *
 * Code of the layer calls an allocator only through these two wrappers, so the
 * record is always passed as the callbacks' first argument.
 */
#ifndef VEK_UTILS_VEKALLOCATORINLINE_H
#define VEK_UTILS_VEKALLOCATORINLINE_H

#include "VekAllocator.h"

VEK_EXTERN_C_BEGIN

static inline VekVoidPtr VekAllocatorAllocate(VekAllocator* a_, VekSizeT s_) VEK_NOEXCEPT
{
    return a_->allocate(a_, s_);
}

static inline void VekAllocatorDeallocate(VekAllocator* a_, VekVoidPtr p_, VekSizeT s_) VEK_NOEXCEPT
{
    a_->deallocate(a_, p_, s_);
}

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKALLOCATORINLINE_H */
