/*
 * VekTypes.h - comparison helpers on the base types.
 *
 * The helpers take their operands by pointer so that generic code of the layer
 * (sorting, min/max) can use one calling shape for every type.
 */
#ifndef VEK_UTILS_VEKTYPES_H
#define VEK_UTILS_VEKTYPES_H

#include "SysDep/VekBaseTypes.h"

VEK_EXTERN_C_BEGIN

/* VekSizeTLess returns true when *a is below *b. */
static inline VekBool VekSizeTLess(const VekSizeT* a, const VekSizeT* b) VEK_NOEXCEPT
{
    return (VekBool)(*a < *b);
}

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKTYPES_H */
