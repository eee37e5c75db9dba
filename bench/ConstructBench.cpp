// ConstructBench.cpp - W2: many small strings, each made from a C string and
// dropped at once, a million times a run.
//
// The C string's address goes through DoNotOptimize on every turn, so no
// contender can measure it once and reuse the length: each pays for strlen,
// the copy and its memory like a program handling fresh input would.
#include "Peers.h"

#include <cstdlib>
#include <cstring>

#include "Vek/Utils/VekPoolAllocator.h"

namespace vekbench {
namespace {

constexpr int kStrings = 1000000;

// MakeAndDrop runs make(str) kStrings times; make returns the length it saw,
// and the lengths add up to the digest.
template <class Make> std::uint64_t MakeAndDrop(const char* str, Make make)
{
    std::uint64_t digest = 0;
    for (int i = 0; i < kStrings; ++i) {
        benchmark::DoNotOptimize(str);
        digest += make(str);
    }
    return digest;
}

std::uint64_t VekMakeAndDrop(const char* str, VekAllocator* a)
{
    return MakeAndDrop(str, [a](const char* s) {
        VekString x;
        VekStringConstructCStr(&x, s, a);
        benchmark::DoNotOptimize(x);
        const std::uint64_t len = VekStringSize(&x);
        VekStringDestruct(&x);
        return len;
    });
}

void W2_SmallStrings(benchmark::State& state, const char* str, double goal_vs_std)
{
    const std::size_t len = std::strlen(str);
    Row row(state,
            "construct from a " + std::to_string(len) + "-byte C string and destroy, " +
                "a million times",
            0);
    VekPoolAllocator pool;
    VekPoolAllocatorInit(&pool);
    row.Library("VekString + pool",
                [&] { return VekMakeAndDrop(str, VekPoolAllocatorGet(&pool)); });
    row.Aside("VekString + malloc", [&] { return VekMakeAndDrop(str, VekAllocatorGetDefault()); });
    row.Peer("std::string", [&] {
        return MakeAndDrop(str, [](const char* s) {
            std::string x(s);
            benchmark::DoNotOptimize(x);
            return x.size();
        });
    });
#ifdef VEK_BENCH_HAVE_LIBCXX
    row.Peer("std::string (libc++)", [&] { return LibcxxMakeAndDrop(str, kStrings); });
#endif
#ifdef VEK_BENCH_HAVE_GLIB
    row.Peer("GString", [&] {
        return MakeAndDrop(str, [](const char* s) {
            GString* x = g_string_new(s);
            benchmark::DoNotOptimize(x);
            const std::uint64_t n = x->len;
            g_string_free(x, TRUE);
            return n;
        });
    });
#endif
    row.Aside("malloc + copy + free", [&] {
        return MakeAndDrop(str, [](const char* s) {
            const std::size_t n = std::strlen(s);
            char* x = static_cast<char*>(std::malloc(n + 1));
            std::memcpy(x, s, n + 1);
            benchmark::DoNotOptimize(x);
            std::free(x);
            return n;
        });
    });
    row.Bound("strlen + copy", [&] {
        return MakeAndDrop(str, [](const char* s) {
            char x[64];
            const std::size_t n = std::strlen(s);
            std::memcpy(x, s, n + 1);
            benchmark::DoNotOptimize(x);
            return n;
        });
    });
    row.Goal("std::string", goal_vs_std).Run();
    VekPoolAllocatorDestroy(&pool);
}

// std::string keeps up to 15 bytes inside its own record; a short string is
// where a separate block costs most. Two calls through the allocator record's
// callbacks put the floor at about 1.5 times std::string's time there.
VEK_BENCH_CASE(W2_SmallStrings, 12Bytes, "user:1234567", 1.5);
VEK_BENCH_CASE(W2_SmallStrings, 40Bytes, "session:0123456789abcdef0123456789abcdef", 1.0);

} // namespace
} // namespace vekbench
