// Facts about the pool allocator: each size class carves its blocks at its
// own size and hands a freed one out again first; blocks never overlap and
// keep their bytes; Destroy returns everything, blocks still in use included
// (the sanitizer build's leak check sees any that stay behind).
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "Vek/Utils/VekPoolAllocator.h"
#include "VekTestSupport.h"

namespace {

struct Pool {
    Pool() { VekPoolAllocatorInit(&pool); }
    ~Pool() { VekPoolAllocatorDestroy(&pool); }
    char* Allocate(VekSizeT size) { return static_cast<char*>(a->allocate(a, size)); }
    VekPoolAllocator pool;
    VekAllocator* a = VekPoolAllocatorGet(&pool);
};

TEST(PoolAllocator, EachClassCarvesBlocksOfItsSize)
{
    // The ends of the first class, of the 16-byte steps, of the first
    // quarter step and of the largest class.
    const VekSizeT kCounts[][2] = {{1, 16},    {16, 16},   {17, 32},     {128, 128},
                                   {129, 160}, {160, 160}, {4095, 4096}, {4096, 4096}};
    for (const auto& [count, block] : kCounts) {
        SCOPED_TRACE(count);
        Pool pool; // a fresh slab: blocks come one behind the other
        char* first = pool.Allocate(count);
        char* second = pool.Allocate(count);
        EXPECT_EQ(second - first, static_cast<std::ptrdiff_t>(block));
        pool.a->deallocate(pool.a, first, count);
        EXPECT_EQ(pool.Allocate(count), first);
    }
}

// A random mix of allocations and releases across every class and beyond,
// each block filled with its own byte: a block handed out twice, or
// overlapping another, shows as a changed fill. Destroy takes what is left.
TEST(PoolAllocator, BlocksAreDisjointAndKeepTheirBytes)
{
    Pool pool;
    std::mt19937 rng(5);
    struct Block {
        char* p;
        VekSizeT size;
        char fill;
    };
    std::vector<Block> live;
    for (int step = 0; step < 20000; ++step) {
        if (!live.empty() && rng() % 5 < 2) {
            const Block b = live[rng() % live.size()];
            ASSERT_EQ(std::string(b.p, b.size), std::string(b.size, b.fill));
            pool.a->deallocate(pool.a, b.p, b.size);
            std::erase_if(live, [&](const Block& l) { return l.p == b.p; });
            continue;
        }
        const VekSizeT size = rng() % 8 == 0 ? 1 + rng() % 20000 : 1 + rng() % 300;
        char* p = pool.Allocate(size);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 16, 0u);
        std::memset(p, static_cast<char>(step), size);
        live.push_back({p, size, static_cast<char>(step)});
    }
    VekPoolAllocatorDestroy(&pool.pool);
    char* again = pool.Allocate(100);
    ASSERT_NE(again, nullptr);
    pool.a->deallocate(pool.a, again, 100);
}

// Strings on a pool take and give back their blocks inline in the caller:
// built, grown and destroyed at random, each must keep its own bytes, which
// it cannot if a block came from the wrong size class.
TEST(PoolAllocator, StringsOnThePoolKeepTheirBytes)
{
    Pool pool;
    std::mt19937 rng(7);
    std::vector<std::pair<VekString, std::string>> live(48);
    for (auto& [s, model] : live)
        VekStringConstructDefault(&s, pool.a);
    for (int step = 0; step < 20000; ++step) {
        auto& [s, model] = live[rng() % live.size()];
        ASSERT_EQ(vektest::Content(s), model) << "step " << step;
        const std::string piece(1 + rng() % 40, static_cast<char>('a' + step % 26));
        if (rng() % 4 == 0) {
            VekStringDestruct(&s);
            ASSERT_TRUE(VekStringConstructCStrLen(&s, piece.data(), piece.size(), pool.a));
            model = piece;
        } else {
            ASSERT_TRUE(VekStringAppendCStrLen(&s, piece.data(), piece.size()));
            model += piece;
        }
    }
    for (auto& [s, model] : live) {
        EXPECT_EQ(vektest::Content(s), model);
        VekStringDestruct(&s);
    }
}

} // namespace
