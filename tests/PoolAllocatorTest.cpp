// Facts about the pool allocator: blocks never overlap and keep their bytes,
// strings built over the pool behave, and Destroy returns everything, blocks
// still in use included (the sanitizer build's leak check sees any that stay
// behind).
#include "VekTestSupport.h"

#include <cstdint>
#include <cstring>
#include <random>

#include "Vek/Utils/VekPoolAllocator.h"

namespace {

// A pool that is destroyed at scope end whatever the test left in it.
struct Pool {
    Pool() { VekPoolAllocatorInit(&pool); }
    ~Pool() { VekPoolAllocatorDestroy(&pool); }
    VekAllocator* get() { return VekPoolAllocatorGet(&pool); }
    VekPoolAllocator pool;
};

struct Block {
    unsigned char* p;
    VekSizeT size;
    unsigned char fill;
};

bool Holds(const Block& b)
{
    for (VekSizeT i = 0; i < b.size; ++i)
        if (b.p[i] != b.fill)
            return false;
    return true;
}

// A random mix of allocations and releases across every class and beyond,
// each block filled with its own byte: a block handed out twice, or
// overlapping another, shows as a changed fill.
TEST(PoolAllocator, BlocksAreDisjointAlignedAndKeepTheirBytes)
{
    Pool pool;
    VekAllocator* a = pool.get();
    std::mt19937 rng(5);
    std::vector<Block> live;
    for (int step = 0; step < 20000; ++step) {
        if (!live.empty() && rng() % 5 < 2) {
            const std::size_t k = rng() % live.size();
            ASSERT_TRUE(Holds(live[k])) << "block of " << live[k].size << " bytes";
            a->deallocate(a, live[k].p, live[k].size);
            live[k] = live.back();
            live.pop_back();
            continue;
        }
        const VekSizeT size = rng() % 8 == 0 ? 1 + rng() % 20000 : 1 + rng() % 300;
        auto* p = static_cast<unsigned char*>(a->allocate(a, size));
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 16, 0u);
        const auto fill = static_cast<unsigned char>(step);
        std::memset(p, fill, size);
        live.push_back(Block{p, size, fill});
    }
    for (const Block& b : live) {
        EXPECT_TRUE(Holds(b));
        a->deallocate(a, b.p, b.size);
    }
}

// strings[1] and strings[2] still hold blocks, small and large, when Destroy
// runs: it returns them with everything else and leaves a pool ready for use.
TEST(PoolAllocator, StringsGrowThroughEveryClassAndDestroyTakesTheRest)
{
    Pool pool;
    VekString strings[3];
    std::string models[3];
    for (int i = 0; i < 3; ++i)
        VekStringConstructDefault(&strings[i], pool.get());
    for (int step = 0; step < 3000; ++step) {
        const char piece[] = {static_cast<char>('a' + step % 26), static_cast<char>(step)};
        ASSERT_NE(VekStringAppendCStrLen(&strings[step % 3], piece, 2), nullptr);
        models[step % 3].append(piece, 2);
    }
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(vektest::Content(strings[i]), models[i]);
    VekStringDestruct(&strings[0]);
    VekPoolAllocatorDestroy(&pool.pool);
    VekAllocator* a = pool.get();
    void* p = a->allocate(a, 100);
    ASSERT_NE(p, nullptr);
    a->deallocate(a, p, 100);
}

} // namespace
