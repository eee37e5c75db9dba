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

#include <bit>
#include <cstdint>
#include <cstdlib>

namespace {

constexpr VekSizeT kLargestPooled = 4096;
constexpr VekSizeT kSlabSize = 64 * 1024;
// Slabs and large blocks start with a link; this much room keeps what follows
// aligned to 16 bytes.
constexpr VekSizeT kHeaderSize = 16;

struct FreeBlock {
    FreeBlock* next;
};

struct Slab {
    Slab* next;
};

struct LargeBlock {
    LargeBlock* prev;
    LargeBlock* next;
};

static_assert(sizeof(Slab) <= kHeaderSize && sizeof(LargeBlock) <= kHeaderSize);

// ClassOf maps a byte count of 1 to kLargestPooled to its class: 16-byte
// steps up to 128, then four steps per doubling. For a count in
// (2^top, 2^(top + 1)] the step is 2^(top - 2), and which of the four steps
// it falls in is read off the two bits of count - 1 below its top bit.
inline unsigned ClassOf(VekSizeT size)
{
    if (size <= 128)
        return static_cast<unsigned>((size + 15) >> 4) - 1;
    const unsigned top = static_cast<unsigned>(std::bit_width(size - 1)) - 1;
    return 8 + (top - 7) * 4 + static_cast<unsigned>(((size - 1) >> (top - 2)) & 3);
}

// ClassSize is the block size of a class: the largest count ClassOf maps to it.
inline VekSizeT ClassSize(unsigned c)
{
    if (c < 8)
        return 16 * (VekSizeT{c} + 1);
    const unsigned top = 7 + (c - 8) / 4;
    return (VekSizeT{1} << top) + ((c - 8) % 4 + 1) * (VekSizeT{1} << (top - 2));
}

inline VekPoolAllocator* PoolOf(VekAllocator* a)
{
    return static_cast<VekPoolAllocator*>(a->userData);
}

char* HeaderEnd(void* header)
{
    return static_cast<char*>(header) + kHeaderSize;
}

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

void* CarveBlock(VekPoolAllocator* pool, unsigned c)
{
    const VekSizeT block_size = ClassSize(c);
    if (static_cast<VekSizeT>(pool->carveEnd - pool->carveNext) < block_size && !NewSlab(pool))
        return nullptr;
    void* block = pool->carveNext;
    pool->carveNext += block_size;
    return block;
}

void* AllocateLarge(VekPoolAllocator* pool, VekSizeT size)
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

void DeallocateLarge(VekPoolAllocator* pool, void* p)
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

} // namespace

// The callbacks, with C linkage like the record that holds them.
extern "C" {

static VekVoidPtr PoolAllocate(VekAllocator* a, VekSizeT size)
{
    VekPoolAllocator* pool = PoolOf(a);
    if (size > kLargestPooled)
        return AllocateLarge(pool, size);
    const unsigned c = ClassOf(size);
    FreeBlock* block = static_cast<FreeBlock*>(pool->freeBlocks[c]);
    if (block == nullptr)
        return CarveBlock(pool, c);
    pool->freeBlocks[c] = block->next;
    return block;
}

static void PoolDeallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size)
{
    VekPoolAllocator* pool = PoolOf(a);
    if (size > kLargestPooled) {
        DeallocateLarge(pool, p);
        return;
    }
    const unsigned c = ClassOf(size);
    FreeBlock* block = static_cast<FreeBlock*>(p);
    block->next = static_cast<FreeBlock*>(pool->freeBlocks[c]);
    pool->freeBlocks[c] = block;
}

} // extern "C"

void VekPoolAllocatorInit(VekPoolAllocator* pool) noexcept
{
    *pool = VekPoolAllocator{};
    pool->allocator = VekAllocator{PoolAllocate, PoolDeallocate,
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
