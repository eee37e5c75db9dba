// VekAllocator.cpp - the default allocator: malloc and free underneath.
//
// malloc is thread-safe, so the one shared record serves every thread. Its
// maxSize is PTRDIFF_MAX: no object may be larger, and pointer differences
// inside a block stay representable.
#include <cstdint>
#include <cstdlib>

#include "Vek/Utils/VekAllocator.h"

extern "C" {

static VekVoidPtr DefaultAllocate(VekAllocator* /*a*/, VekSizeT size)
{
    return std::malloc(static_cast<size_t>(size));
}

static void DefaultDeallocate(VekAllocator* /*a*/, VekVoidPtr p, VekSizeT /*size*/)
{
    std::free(p);
}

static VekAllocator defaultAllocator = {DefaultAllocate, DefaultDeallocate,
                                        static_cast<VekSizeT>(PTRDIFF_MAX), nullptr};

VekAllocator* VekAllocatorGetDefault(void) noexcept
{
    return &defaultAllocator;
}

} // extern "C"
