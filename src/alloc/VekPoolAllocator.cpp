// VekPoolAllocator.cpp - a size-class pool behind the VekAllocator contract.
//
// The contract hands every block back with the byte count it was obtained
// with, so the size class of a block is a function of that count alone: a
// small block carries no header, and freeing it is a push onto its class's
// free list, allocating one a pop. Empty lists are refilled by carving blocks
// from the newest 64 KiB slab, bump-pointer style. Large requests go to
// malloc behind a two-pointer header that keeps them on a list, so that
// Destroy can return them too. No locks: the pool is single-threaded.
#include "Vek/Utils/VekPoolAllocator.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr VekSizeT kLargestPooled = 4096;
constexpr VekSizeT kSlabSize = VekSizeT{64} * 1024;
// Slabs and large blocks start with a link; this much room keeps what follows
// aligned to 16 bytes.
constexpr VekSizeT kHeaderSize = 16;

struct Slab {
    Slab* next;
};

struct LargeBlock {
    LargeBlock* prev;
    LargeBlock* next;
};

static_assert(sizeof(Slab) <= kHeaderSize && sizeof(LargeBlock) <= kHeaderSize);
static_assert(offsetof(VekPoolAllocator, allocator) == 0);

// ClassBoundary is the block size of class c, the largest count the class
// serves: 16-byte steps up to 128, then four steps per doubling, the step
// from 2^top to 2^(top + 1) being 2^(top - 2).
constexpr VekSizeT ClassBoundary(unsigned c)
{
    if (c < 8)
        return 16 * (VekSizeT{c} + 1);
    const unsigned top = 7 + (c - 8) / 4;
    return (VekSizeT{1} << top) + ((c - 8) % 4 + 1) * (VekSizeT{1} << (top - 2));
}

static_assert(ClassBoundary(VEK_POOL_ALLOCATOR_CLASSES - 1) == kLargestPooled);

// Every class boundary is a multiple of 16, so the class of a count depends
// only on (count - 1) / 16: a table of 256 entries maps every pooled count,
// built at compile time.
struct ClassTable {
    unsigned char of[kLargestPooled / 16];
    constexpr ClassTable() : of()
    {
        unsigned c = 0;
        for (unsigned i = 0; i < kLargestPooled / 16; ++i) {
            while (ClassBoundary(c) < 16 * (VekSizeT{i} + 1))
                ++c;
            of[i] = static_cast<unsigned char>(c);
        }
    }
};
constexpr ClassTable kClassTable;

// ClassOf maps a byte count of 1 to kLargestPooled to its class.
inline std::size_t ClassOf(VekSizeT size)
{
    return kClassTable.of[(size - 1) >> 4];
}

// Up to kLargestStep bytes the classes are the 16-byte steps themselves, so
// the class of a short string's block is a shift away, with no table load.
constexpr VekSizeT kLargestStep = VEK_POOL_ALLOCATOR_LARGEST_STEP;

constexpr std::size_t StepClassOf(VekSizeT size)
{
    return static_cast<std::size_t>((size - 1) >> 4);
}

static_assert(ClassBoundary(static_cast<unsigned>(StepClassOf(kLargestStep))) == kLargestStep);

// The allocator record is the pool record's first member, so the pool sits
// at the same address: no load of userData on the way to the free lists.
inline VekPoolAllocator* PoolOf(VekAllocator* a)
{
    return reinterpret_cast<VekPoolAllocator*>(a);
}

char* HeaderEnd(void* header)
{
    return static_cast<char*>(header) + kHeaderSize;
}

// The refills and large blocks stay out of line, so the free-list paths
// inlined into the callbacks need no stack frame.
#define VEK_POOL_SLOW_PATH [[gnu::noinline]]

// NewSlab starts carving from a fresh slab; what was left of the previous one
// (less than one block of the largest class) stays unused until Destroy.
bool NewSlab(VekPoolAllocator* pool)
{
    Slab* slab = static_cast<Slab*>(std::malloc(kSlabSize));
    if (slab == nullptr)
        return false;
    slab->next = static_cast<Slab*>(pool->slabs);
    pool->slabs = slab;
    pool->carveNext = HeaderEnd(slab);
    pool->carveEnd = reinterpret_cast<char*>(slab) + kSlabSize;
    return true;
}

VEK_POOL_SLOW_PATH void* CarveBlock(VekPoolAllocator* pool, std::size_t c)
{
    const VekSizeT block_size = ClassBoundary(static_cast<unsigned>(c));
    if (static_cast<VekSizeT>(pool->carveEnd - pool->carveNext) < block_size && !NewSlab(pool))
        return nullptr;
    void* block = pool->carveNext;
    pool->carveNext += block_size;
    return block;
}

// PopBlock hands out a block of class c: the last one freed, or a new one.
inline void* PopBlock(VekPoolAllocator* pool, std::size_t c)
{
    void* block = VekPoolAllocatorPop_(pool, c);
    return block != nullptr ? block : CarveBlock(pool, c);
}

VEK_POOL_SLOW_PATH void* AllocateLarge(VekPoolAllocator* pool, VekSizeT size)
{
    LargeBlock* block = static_cast<LargeBlock*>(std::malloc(size + kHeaderSize));
    if (block == nullptr)
        return nullptr;
    LargeBlock* head = static_cast<LargeBlock*>(pool->largeBlocks);
    block->prev = nullptr;
    block->next = head;
    if (head != nullptr)
        head->prev = block;
    pool->largeBlocks = block;
    return HeaderEnd(block);
}

VEK_POOL_SLOW_PATH void DeallocateLarge(VekPoolAllocator* pool, void* p)
{
    LargeBlock* block = reinterpret_cast<LargeBlock*>(static_cast<char*>(p) - kHeaderSize);
    if (block->prev != nullptr)
        block->prev->next = block->next;
    else
        pool->largeBlocks = block->next;
    if (block->next != nullptr)
        block->next->prev = block->prev;
    std::free(block);
}

// Counts beyond the 16-byte steps: a class from the table, or malloc.
VEK_POOL_SLOW_PATH void* AllocateBeyondSteps(VekPoolAllocator* pool, VekSizeT size)
{
    if (size > kLargestPooled)
        return AllocateLarge(pool, size);
    return PopBlock(pool, ClassOf(size));
}

VEK_POOL_SLOW_PATH void DeallocateBeyondSteps(VekPoolAllocator* pool, void* p, VekSizeT size)
{
    if (size > kLargestPooled)
        DeallocateLarge(pool, p);
    else
        VekPoolAllocatorPush_(pool, ClassOf(size), p);
}

} // namespace

// The callbacks, with C linkage like the record that holds them. A short
// string's block is a compare, a shift and a pop or a push, which the
// header's inline paths also do in the caller.
extern "C" {

VekVoidPtr VekPoolAllocatorAllocate(VekAllocator* a, VekSizeT size) noexcept
{
    if (size > kLargestStep)
        return AllocateBeyondSteps(PoolOf(a), size);
    return PopBlock(PoolOf(a), StepClassOf(size));
}

void VekPoolAllocatorDeallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size) noexcept
{
    if (size > kLargestStep)
        DeallocateBeyondSteps(PoolOf(a), p, size);
    else
        VekPoolAllocatorPush_(PoolOf(a), StepClassOf(size), p);
}

} // extern "C"

void VekPoolAllocatorInit(VekPoolAllocator* pool) noexcept
{
    *pool = VekPoolAllocator{};
    pool->allocator = VekAllocator{VekPoolAllocatorAllocate, VekPoolAllocatorDeallocate,
                                   static_cast<VekSizeT>(PTRDIFF_MAX) - kHeaderSize, pool};
}

VekAllocator* VekPoolAllocatorGet(VekPoolAllocator* pool) noexcept
{
    return &pool->allocator;
}

void VekPoolAllocatorDestroy(VekPoolAllocator* pool) noexcept
{
    for (Slab* slab = static_cast<Slab*>(pool->slabs); slab != nullptr;) {
        Slab* next = slab->next;
        std::free(slab);
        slab = next;
    }
    for (LargeBlock* block = static_cast<LargeBlock*>(pool->largeBlocks); block != nullptr;) {
        LargeBlock* next = block->next;
        std::free(block);
        block = next;
    }
    VekPoolAllocatorInit(pool);
}
