// SearchBench.cpp - W3: substring search and W8: character-set search, both
// over 1 MiB of text.
//
// W3 hides a needle of 1, 4, 16 or 64 bytes near the far end of the search:
// the needle is a slice of the text whose middle byte is made '!', a byte
// found nowhere else, so its first and last bytes match in many places (a
// search keyed on either meets many candidates) and only the planted copy
// matches whole. Forward searches find it 1 KiB before the end,
// backward ones 1 KiB after the start. W8 scans text that holds no byte of
// the set until 1 KiB before its end.
//
// The library searches a read-only view of the text itself, so it reads the
// very bytes that the C library and libstdc++ peers and the bound read. With
// a 1 MiB copy of its own, that copy competes with the shared text for the
// core's cache and is read from a slower level in most iterations: the
// one-byte searches, which are memchr and memrchr on either side, then took
// 1.15 to 1.8 times as long in the library's column.
#include "Peers.h"

#include <cstring>

namespace vekbench {
namespace {

constexpr std::size_t kFromEdge = kKiB;

// ViewOf is a VekString viewing the bytes of text (capacity 0: it owns
// nothing and is never written), as a caller holding a view would fill it in.
VekString ViewOf(const std::string& text)
{
    return VekString{VekAllocatorGetDefault(), const_cast<char*>(text.data()), text.size(), 0};
}

struct Haystack {
    std::string text;
    std::string needle;
    VekString vek;
    Haystack(std::size_t needle_len, std::size_t at) : text(Text(kMiB))
    {
        text[at + needle_len / 2] = '!';
        needle = text.substr(at, needle_len);
        vek = ViewOf(text);
    }
    Haystack(const Haystack&) = delete;
    Haystack& operator=(const Haystack&) = delete;
};

std::uint64_t Position(const void* found, const std::string& text)
{
    return found == nullptr
               ? VekStringNpos
               : static_cast<std::uint64_t>(static_cast<const char*>(found) - text.data());
}

// ScanBound is the bound of every row: one pass over the bytes for a byte
// the text does not hold.
std::uint64_t ScanBound(const std::string& text)
{
    return Position(std::memchr(text.data(), '\n', text.size()), text);
}

// MemrchrFind is the backward search a C programmer would write: memrchr for
// the needle's last byte, then memcmp of the rest.
std::uint64_t MemrchrFind(const std::string& text, const std::string& needle)
{
    const char last = needle.back();
    const std::size_t rest = needle.size() - 1;
    std::size_t end = text.size();
    while (end > rest) {
        const void* hit = memrchr(text.data() + rest, last, end - rest);
        if (hit == nullptr)
            break;
        const std::size_t at =
            static_cast<std::size_t>(static_cast<const char*>(hit) - text.data());
        if (std::memcmp(text.data() + at - rest, needle.data(), rest) == 0)
            return at - rest;
        end = at;
    }
    return VekStringNpos;
}

void W3_Find(benchmark::State& state, std::size_t needle_len)
{
    Haystack h(needle_len, kMiB - kFromEdge);
    Row row(state, "find a " + std::to_string(needle_len) + "-byte needle 1 KiB before the end",
            kMiB);
    row.Library("VekString",
                [&] { return VekStringFindCStrLen(&h.vek, h.needle.data(), h.needle.size()); });
    row.Peer("std::string::find", [&] { return h.text.find(h.needle); });
#ifdef VEK_BENCH_HAVE_LIBCXX
    const LibcxxString libcxx(h.text);
    row.Peer("std::string::find (libc++)",
             [&] { return LibcxxFind(libcxx.get(), h.needle.data(), h.needle.size()); });
#endif
    row.Peer("glibc memmem", [&] {
        return Position(memmem(h.text.data(), h.text.size(), h.needle.data(), h.needle.size()),
                        h.text);
    });
    row.Bound("memchr", [&] { return ScanBound(h.text); });
    row.Goal("glibc memmem", 1.05);
    if (needle_len > 1)
        row.Goal("std::string::find", 1.0);
    row.Run();
}

void W3_RFind(benchmark::State& state, std::size_t needle_len)
{
    Haystack h(needle_len, kFromEdge);
    Row row(state,
            "find the last " + std::to_string(needle_len) + "-byte needle, 1 KiB after the start",
            kMiB);
    row.Library("VekString",
                [&] { return VekStringRFindCStrLen(&h.vek, h.needle.data(), h.needle.size()); });
    row.Peer("std::string::rfind", [&] { return h.text.rfind(h.needle); });
#ifdef VEK_BENCH_HAVE_LIBCXX
    const LibcxxString libcxx(h.text);
    row.Peer("std::string::rfind (libc++)",
             [&] { return LibcxxRFind(libcxx.get(), h.needle.data(), h.needle.size()); });
    row.Goal("std::string::rfind (libc++)", 0.5);
#endif
    row.Peer("memrchr + memcmp", [&] { return MemrchrFind(h.text, h.needle); });
    row.Bound("memchr", [&] { return ScanBound(h.text); });
    row.Run();
}

VEK_BENCH_CASE(W3_Find, 1, 1);
VEK_BENCH_CASE(W3_Find, 4, 4);
VEK_BENCH_CASE(W3_Find, 16, 16);
VEK_BENCH_CASE(W3_Find, 64, 64);
VEK_BENCH_CASE(W3_RFind, 1, 1);
VEK_BENCH_CASE(W3_RFind, 4, 4);
VEK_BENCH_CASE(W3_RFind, 16, 16);
VEK_BENCH_CASE(W3_RFind, 64, 64);

// SetHaystack is 1 MiB of filler with one byte of the set 1 KiB before the
// end: letters for "first of", spaces for "first not of".
struct SetHaystack {
    std::string text;
    VekString vek;
    SetHaystack(char filler, char found) : text(kMiB, filler)
    {
        text[kMiB - kFromEdge] = found;
        vek = ViewOf(text);
    }
    SetHaystack(const SetHaystack&) = delete;
    SetHaystack& operator=(const SetHaystack&) = delete;
};

void W8_FindFirstOf(benchmark::State& state)
{
    SetHaystack h('x', '\t');
    Row row(state, "first of \" \\t\\n\", 1 KiB before the end", kMiB);
    row.Library("VekString", [&] { return VekStringFindFirstOfCStr(&h.vek, 0, " \t\n"); });
    row.Peer("std::string::find_first_of", [&] { return h.text.find_first_of(" \t\n"); });
#ifdef VEK_BENCH_HAVE_LIBCXX
    const LibcxxString libcxx(h.text);
    row.Peer("std::string::find_first_of (libc++)",
             [&] { return LibcxxFindFirstOf(libcxx.get(), " \t\n"); });
#endif
    row.Peer("glibc strcspn", [&] { return std::strcspn(h.text.c_str(), " \t\n"); });
    row.Bound("memchr", [&] { return ScanBound(h.text); });
    row.Goal("std::string::find_first_of", 0.1).Run();
}
VEK_BENCH_ROW(W8_FindFirstOf);

void W8_FindFirstNotOf(benchmark::State& state)
{
    SetHaystack h(' ', 'x');
    Row row(state, "first not of \" \", 1 KiB before the end", kMiB);
    row.Library("VekString", [&] { return VekStringFindFirstNotOfCStr(&h.vek, 0, " "); });
    row.Peer("std::string::find_first_not_of", [&] { return h.text.find_first_not_of(' '); });
#ifdef VEK_BENCH_HAVE_LIBCXX
    const LibcxxString libcxx(h.text);
    row.Peer("std::string::find_first_not_of (libc++)",
             [&] { return LibcxxFindFirstNotOf(libcxx.get(), ' '); });
#endif
    row.Peer("glibc strspn", [&] { return std::strspn(h.text.c_str(), " "); });
    row.Bound("memchr", [&] { return ScanBound(h.text); });
    row.Goal("std::string::find_first_not_of", 0.1).Run();
}
VEK_BENCH_ROW(W8_FindFirstNotOf);

} // namespace
} // namespace vekbench
