// HashBench.cpp - W5: VekStringHash on 1 MiB and on many 16-byte keys.
//
// Beside std::hash, two hand-written loops of the same hash are peers: the
// definition one byte a step, and eight bytes a step with neighbouring bytes
// combined into pairs first, the grouping a compiler needs to see to overlap
// the multiplications. Both must give the library's values.
#include "Peers.h"

#include <cstring>
#include <functional>
#include <vector>

namespace vekbench {
namespace {

std::uint64_t Signed(const char* p, std::size_t i)
{
    return static_cast<std::uint64_t>(static_cast<std::int64_t>(static_cast<signed char>(p[i])));
}

std::uint64_t PlainLoop(const char* p, std::size_t n)
{
    std::uint64_t hash = 0;
    for (std::size_t i = 0; i < n; ++i)
        hash = hash * 33 + Signed(p, i);
    return hash;
}

std::uint64_t PairsLoop(const char* p, std::size_t n)
{
    constexpr std::uint64_t k2 = 33 * 33, k4 = k2 * k2, k6 = k4 * k2, k8 = k4 * k4;
    std::uint64_t hash = 0;
    std::size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const std::uint64_t p0 = Signed(p, i) * 33 + Signed(p, i + 1);
        const std::uint64_t p1 = Signed(p, i + 2) * 33 + Signed(p, i + 3);
        const std::uint64_t p2 = Signed(p, i + 4) * 33 + Signed(p, i + 5);
        const std::uint64_t p3 = Signed(p, i + 6) * 33 + Signed(p, i + 7);
        hash = hash * k8 + (p0 * k6 + p1 * k4 + p2 * k2 + p3);
    }
    for (; i < n; ++i)
        hash = hash * 33 + Signed(p, i);
    return hash;
}

void W5_Hash1MiB(benchmark::State& state)
{
    const std::string& text = Text(kMiB);
    VekString s;
    VekStringConstructCStrLen(&s, text.data(), text.size(), VekAllocatorGetDefault());
    Row row(state, "hash of 1 MiB", kMiB);
    row.Library("VekString", [&] { return VekStringHash(&s); });
    row.Peer("plain loop", [&] { return PlainLoop(text.data(), text.size()); });
    row.Peer("8 bytes a step, pairs first", [&] { return PairsLoop(text.data(), text.size()); });
    row.Peer(
        "std::hash", [&] { return std::hash<std::string_view>{}(text); }, Digest::kOwn);
    row.Bound("memchr", [&] {
        return static_cast<std::uint64_t>(std::memchr(text.data(), '\n', text.size()) == nullptr);
    });
    row.Goal("plain loop", 1.0 / 3).Goal("8 bytes a step, pairs first", 1.0).Run();
    VekStringDestruct(&s);
}
VEK_BENCH_ROW(W5_Hash1MiB);

// 64 Ki keys of 16 bytes, each in its own string: a hash table's lookups.
void W5_Hash16ByteKeys(benchmark::State& state)
{
    constexpr std::size_t kKeys = 64 * 1024;
    const std::string& text = Text(kKeys * 16);
    std::vector<VekString> vek_keys(kKeys);
    std::vector<std::string> std_keys;
    for (std::size_t i = 0; i < kKeys; ++i) {
        VekStringConstructCStrLen(&vek_keys[i], text.data() + 16 * i, 16, VekAllocatorGetDefault());
        std_keys.emplace_back(text.data() + 16 * i, 16);
    }
    // Each contender sums the hashes of all keys.
    auto sum = [&](auto hash_one) {
        return [&, hash_one] {
            std::uint64_t total = 0;
            for (std::size_t i = 0; i < kKeys; ++i)
                total += hash_one(i);
            return total;
        };
    };
    Row row(state, "hash of 16-byte keys, 64 Ki of them", kKeys * 16);
    row.Library("VekString", sum([&](std::size_t i) { return VekStringHash(&vek_keys[i]); }));
    row.Peer("std::hash", sum([&](std::size_t i) { return std::hash<std::string>{}(std_keys[i]); }),
             Digest::kOwn);
    row.Peer("plain loop", sum([&](std::size_t i) { return PlainLoop(std_keys[i].data(), 16); }));
    row.Peer("8 bytes a step, pairs first",
             sum([&](std::size_t i) { return PairsLoop(std_keys[i].data(), 16); }));
    row.Bound("load 16 bytes", sum([&](std::size_t i) {
                  std::uint64_t words[2];
                  std::memcpy(words, std_keys[i].data(), 16);
                  return words[0] ^ words[1];
              }));
    row.Goal("std::hash", 1.5).Run();
    for (VekString& key : vek_keys)
        VekStringDestruct(&key);
}
VEK_BENCH_ROW(W5_Hash16ByteKeys);

} // namespace
} // namespace vekbench
