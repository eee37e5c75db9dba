/*
 * VekPoolAllocator.h - a size-class pool allocator for many small strings.
 *
 * Programs that make and drop many short strings (keys, tokens, fields of a
 * parsed record) spend most of each string's life in malloc and free. This
 * pool serves them from free lists instead: the string module tells the
 * allocator the exact byte count of every block it gives back, so the pool
 * finds a block's size class from that count and needs no per-block header.
 *
 *     VekPoolAllocator pool;
 *     VekPoolAllocatorInit(&pool);
 *     VekString s;
 *     VekStringConstructCStr(&s, "key:42", VekPoolAllocatorGet(&pool));
 *     ...
 *     VekStringDestruct(&s);
 *     VekPoolAllocatorDestroy(&pool);
 *
 * Size classes. Requests of up to 128 bytes are rounded up to a multiple of
 * 16; from 129 to 4096 bytes, to the next of four steps per doubling (160,
 * 192, 224, 256, 320, ..., 3584, 4096), so rounding wastes at most a fifth of
 * a block. Blocks are carved from 64 KiB slabs obtained from malloc; a freed
 * block goes onto its class's free list and is handed out again, last freed
 * first. Slabs are never returned before VekPoolAllocatorDestroy.
 *
 * Large sizes. Requests above 4096 bytes go to malloc, with a small header
 * that links them into the pool's list of large blocks, and back to free when
 * released.
 *
 * Every block is aligned to 16 bytes. maxSize is PTRDIFF_MAX less the large
 * blocks' header, so no request overflows; allocate returns NULL when malloc
 * does.
 *
 * WARNING: single-threaded. The pool takes no lock: one pool, and every
 * string that uses it, must be used by one thread at a time. Give each thread
 * its own pool.
 *
 * WARNING: the allocator record lives inside the pool record and points back
 * at it, so a pool must stay where VekPoolAllocatorInit put it (do not copy or
 * move the record) and outlive every string that uses it.
 */
#ifndef VEK_UTILS_VEKPOOLALLOCATOR_H
#define VEK_UTILS_VEKPOOLALLOCATOR_H

#include "SysDep/VekBaseTypes.h"
#include "VekAllocator.h"
#include "VekStdCLibInline.h"

VEK_EXTERN_C_BEGIN

/* The number of size classes: 8 steps of 16 up to 128, then 4 per doubling
 * up to 4096. */
#define VEK_POOL_ALLOCATOR_CLASSES 28

/*
 * The pool record. The caller owns it (usually on its stack or inside its own
 * records); its fields belong to the pool and are not to be touched.
 */
typedef struct VekPoolAllocatorS_ VekPoolAllocator;

struct VekPoolAllocatorS_ {
    VekAllocator allocator;                       /* what VekPoolAllocatorGet returns */
    void* freeBlocks[VEK_POOL_ALLOCATOR_CLASSES]; /* per class, a list through free blocks */
    char* carveNext;                              /* the unused rest of the newest slab */
    char* carveEnd;
    void* slabs;       /* all slabs, newest first */
    void* largeBlocks; /* the large blocks in use, for VekPoolAllocatorDestroy */
};

/* VekPoolAllocatorInit makes pool an empty pool. It allocates nothing until
 * the first request. */
void VekPoolAllocatorInit(VekPoolAllocator* pool) VEK_NOEXCEPT;

/* VekPoolAllocatorGet returns the allocator record to construct strings with;
 * it is valid until VekPoolAllocatorDestroy. */
VekAllocator* VekPoolAllocatorGet(VekPoolAllocator* pool) VEK_NOEXCEPT;

/*
 * VekPoolAllocatorDestroy returns all the pool's memory to malloc: every slab
 * and every large block, including blocks still held by strings, which must
 * therefore not be used (not even destroyed) afterwards. Dropping a whole set
 * of strings this way, without destroying each, is allowed. The pool is left
 * empty, as VekPoolAllocatorInit leaves it, and may be used again.
 */
void VekPoolAllocatorDestroy(VekPoolAllocator* pool) VEK_NOEXCEPT;

/*
 * The pool's callbacks. They are named so that the layer's inline paths can
 * recognise a pool by its callbacks and take or give back a block of the
 * 16-byte steps inline (VekPoolAllocatorTakeInline below); they are not to be
 * put in any record but the pool's own.
 */
VekVoidPtr VekPoolAllocatorAllocate(VekAllocator* a, VekSizeT size) VEK_NOEXCEPT;
void VekPoolAllocatorDeallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size) VEK_NOEXCEPT;

/* Byte counts up to this one come in 16-byte steps: class (size - 1) / 16. */
#define VEK_POOL_ALLOCATOR_LARGEST_STEP 128

/* VekPoolAllocatorPop_ takes the block last freed from the list of class c,
 * or returns NULL when the list is empty; VekPoolAllocatorPush_ puts one on
 * it. A free block holds the link to the next. The pool's own code. */
static inline VekVoidPtr VekPoolAllocatorPop_(VekPoolAllocator* pool, size_t c) VEK_NOEXCEPT
{
    void* block = pool->freeBlocks[c];
    if (block != NULL)
        VekMemCpy(&pool->freeBlocks[c], block, sizeof block);
    return block;
}

static inline void VekPoolAllocatorPush_(VekPoolAllocator* pool, size_t c,
                                         VekVoidPtr p) VEK_NOEXCEPT
{
    VekMemCpy(p, &pool->freeBlocks[c], sizeof p);
    pool->freeBlocks[c] = p;
}

/*
 * The fast paths of the 16-byte steps for code that holds any allocator
 * record. VekPoolAllocatorTakeInline returns a block of size bytes when a is a
 * pool's record, size one of the steps and its list not empty; otherwise
 * NULL, and the caller calls a's callback as usual (which refills the list).
 * VekPoolAllocatorGiveInline takes a block back and returns true when a is a
 * pool's record and size one of the steps. A pool's allocator record is its
 * first member, so it stands at the pool's own address.
 */
static inline VekVoidPtr VekPoolAllocatorTakeInline(VekAllocator* a, VekSizeT size) VEK_NOEXCEPT
{
    if (a->allocate != VekPoolAllocatorAllocate || size > VEK_POOL_ALLOCATOR_LARGEST_STEP)
        return NULL;
    /* A C cast, as this header is C as well as C++. */
    /* cppcheck-suppress cstyleCast */
    return VekPoolAllocatorPop_((VekPoolAllocator*)a, (size_t)((size - 1) >> 4));
}

static inline VekBool VekPoolAllocatorGiveInline(VekAllocator* a, VekVoidPtr p,
                                                 VekSizeT size) VEK_NOEXCEPT
{
    if (a->deallocate != VekPoolAllocatorDeallocate || size > VEK_POOL_ALLOCATOR_LARGEST_STEP)
        return VEK_FALSE;
    /* cppcheck-suppress cstyleCast */
    VekPoolAllocatorPush_((VekPoolAllocator*)a, (size_t)((size - 1) >> 4), p);
    return VEK_TRUE;
}

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKPOOLALLOCATOR_H */
