// ShortBench.cpp - S: short strings, where the fixed cost of each call shows.
//
// Every row is one everyday operation done on each string of a set of many
// different strings of one length (8, 32, 128 or 1024 bytes), so caches and
// branch predictors see the variety of a real program instead of one string
// over and over; a run of a contender goes once through the whole set and
// adds up a digest of the answers, which must equal the library's. The
// library works on VekStrings that own their bytes (default allocator unless
// the row says otherwise); the C-library and std::string_view peers read the
// very same bytes, std::string peers hold copies of their own, as their users
// would.
//
// Goal of every row: at or below the fastest peer at every length. The one
// exception is where the record's layout forces it: std::string keeps up to
// 15 bytes inside its own record, while every byte a VekString owns comes
// from its allocator, so at 8 bytes the rows that must allocate are held to
// the allocator's own floor instead (kAllocationFloors).
//
// A row is a function that builds its input for one length, adds its
// contenders to the Row and runs it; a line in kShortRows registers it at
// every length. The last row, an A/A pair of the same peer, states the noise.
#include "Peers.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>
#include <vector>

#include <strings.h>

#include "Vek/Utils/VekPoolAllocator.h"

#ifdef VEK_BENCH_HAVE_ABSL
#include <absl/hash/hash.h>
#include <absl/strings/ascii.h>
#include <absl/strings/match.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <absl/strings/strip.h>
#endif
#ifdef VEK_BENCH_HAVE_FMT
#include <fmt/format.h>
#endif
#ifdef VEK_BENCH_HAVE_ICU
#include <unicode/ustring.h>
#endif

namespace vekbench {
namespace {

constexpr std::size_t kLengths[] = {8, 32, 128, 1024};

// The most the library's time may be, as a multiple of std::string's, for
// rows that must allocate at 8 bytes, where std::string allocates nothing:
// malloc + copy + free of the same bytes alone takes about 2.4 times as long
// as std::string's inline copy; the pool's floor is its two indirect calls.
struct AllocationFloors {
    double malloc;
    double pool;
};
constexpr AllocationFloors kAllocationFloors = {2.5, 1.5};

// ---------------------------------------------------------------------------
// The sets
// ---------------------------------------------------------------------------

// SetCount is how many strings a set holds: 256 KiB of content, at least 256
// and at most 4096 strings.
std::size_t SetCount(std::size_t length)
{
    return std::clamp<std::size_t>(256 * kKiB / length, 256, 4096);
}

// WordSlices returns a set of slices of the words text: different bytes in
// every string, word boundaries at different offsets.
std::vector<std::string> WordSlices(std::size_t length)
{
    const std::size_t count = SetCount(length);
    const std::string& text = Text((count + 1) * length);
    std::vector<std::string> out;
    for (std::size_t i = 0; i < count; ++i)
        out.push_back(text.substr(i * length + i % 7, length));
    return out;
}

// Planted returns the word slices with s written over each at offset at.
std::vector<std::string> Planted(std::size_t length, const std::string& s, std::size_t at)
{
    std::vector<std::string> out = WordSlices(length);
    for (std::string& str : out)
        str.replace(at, s.size(), s);
    return out;
}

// Filled returns strings of filler bytes taken from the words (or spaces)
// with the byte c at length - 2: a search for c runs almost to the end.
std::vector<std::string> Filled(std::size_t length, bool spaces, char c)
{
    std::vector<std::string> out = WordSlices(length);
    for (std::string& str : out) {
        for (char& b : str)
            b = spaces ? ' ' : b == ' ' ? 'x' : b;
        str[length - 2] = c;
    }
    return out;
}

// Strings holds one set in every form the contenders take. Where a set lands
// in memory moves some rows by a tenth (one set against another, records
// against their bytes), so each set is made behind a spacer of a random size,
// and the repetitions of a row see as many layouts as a program would.
class Strings {
public:
    explicit Strings(const std::vector<std::string>& contents,
                     VekAllocator* a = VekAllocatorGetDefault())
        : spacer_(Spacer()), vek(contents.size()), std(contents)
    {
        for (std::size_t i = 0; i < contents.size(); ++i) {
            VekStringConstructCStrLen(&vek[i], contents[i].data(), contents[i].size(), a);
            view.emplace_back(VekStringData(&vek[i]), VekStringSize(&vek[i]));
        }
    }
    ~Strings()
    {
        for (VekString& s : vek)
            VekStringDestruct(&s);
    }
    Strings(const Strings&) = delete;
    Strings& operator=(const Strings&) = delete;

    std::size_t count() const { return vek.size(); }

private:
    static std::vector<char> Spacer()
    {
        static std::mt19937 rng(20241124);
        return std::vector<char>(16 * (rng() % 512));
    }
    std::vector<char> spacer_; // first, so that it is allocated before the rest

public:
    std::vector<VekString> vek;         // owning their bytes, NUL-terminated
    std::vector<std::string> std;       // copies
    std::vector<std::string_view> view; // of vek's bytes
};

// Each is the workload that runs one(i) for every string of a set and adds
// up the results.
template <class One> Workload Each(std::size_t count, One one)
{
    return [count, one] {
        std::uint64_t digest = 0;
        for (std::size_t i = 0; i < count; ++i)
            digest += static_cast<std::uint64_t>(one(i));
        return digest;
    };
}

// A position as a digest term: npos adds nothing, and position 0 still counts.
std::uint64_t Found(std::size_t pos)
{
    return pos == std::string::npos ? 0 : pos + 1;
}

std::uint64_t Found(const void* hit, std::string_view in)
{
    return hit == nullptr
               ? 0
               : static_cast<std::uint64_t>(static_cast<const char*>(hit) - in.data()) + 1;
}

#ifdef VEK_BENCH_HAVE_ABSL
// Absl is the same bytes as abseil's own string_view, which need not be std's.
absl::string_view Absl(std::string_view s)
{
    return absl::string_view(s.data(), s.size());
}
#endif

// Finish gives a row the goal of the family and runs it.
void Finish(Row& row)
{
    row.Goal(Row::kFastestPeer, 1.0).Run();
}

// ---------------------------------------------------------------------------
// Comparison and hashing
// ---------------------------------------------------------------------------

// LastByteChanged returns the set with the last byte of each string changed,
// up or down by one, so orderings go both ways.
std::vector<std::string> LastByteChanged(std::vector<std::string> contents)
{
    for (std::string& s : contents)
        s.back() = static_cast<char>(s.back() ^ 1);
    return contents;
}

std::uint64_t MemcmpEqual(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size()) == 0;
}

// ViewOf is the content of a VekString record, read from the record.
std::string_view ViewOf(const VekString& s)
{
    return std::string_view(VekStringData(&s), VekStringSize(&s));
}

// The memcmp peers read pointer-and-length pairs of 16 bytes; shown beside
// them, the same memcmp reading the library's own 32-byte records, which
// set the floor of any comparison walking a set of VekStrings.
void AddEqualityContenders(Row& row, const Strings& x, const Strings& y)
{
    const std::size_t n = x.count();
    row.Library("VekString",
                Each(n, [&](std::size_t i) { return VekStringEqual(&x.vek[i], &y.vek[i]); }));
    row.Peer("memcmp", Each(n, [&](std::size_t i) { return MemcmpEqual(x.view[i], y.view[i]); }));
    row.Peer("std::string_view ==", Each(n, [&](std::size_t i) { return x.view[i] == y.view[i]; }));
    row.Peer("std::string ==", Each(n, [&](std::size_t i) { return x.std[i] == y.std[i]; }));
    row.Aside("memcmp on the records", Each(n, [&](std::size_t i) {
                  return MemcmpEqual(ViewOf(x.vek[i]), ViewOf(y.vek[i]));
              }));
}

void EqualRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length)), y(WordSlices(length));
    AddEqualityContenders(row, x, y);
    Finish(row);
}

void EqualLastDiffersRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length)), y(LastByteChanged(WordSlices(length)));
    AddEqualityContenders(row, x, y);
    Finish(row);
}

// Orderings are compared by sign: the magnitudes are each peer's own.
std::uint64_t SignDigest(int r)
{
    return static_cast<std::uint64_t>((r > 0) - (r < 0) + 1);
}

int MemcmpCompare(std::string_view a, std::string_view b)
{
    const int r = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    return r != 0 ? r : (a.size() > b.size()) - (a.size() < b.size());
}

void CompareRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length)), y(LastByteChanged(WordSlices(length)));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    return SignDigest(VekStringCompare(&x.vek[i], &y.vek[i]));
                }));
    row.Peer("memcmp", Each(n, [&](std::size_t i) {
                 return SignDigest(MemcmpCompare(x.view[i], y.view[i]));
             }));
    row.Peer("std::string_view::compare",
             Each(n, [&](std::size_t i) { return SignDigest(x.view[i].compare(y.view[i])); }));
    row.Peer("std::string::compare",
             Each(n, [&](std::size_t i) { return SignDigest(x.std[i].compare(y.std[i])); }));
    row.Aside("memcmp on the records", Each(n, [&](std::size_t i) {
                  return SignDigest(MemcmpCompare(ViewOf(x.vek[i]), ViewOf(y.vek[i])));
              }));
    Finish(row);
}

void HashRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) { return VekStringHash(&x.vek[i]); }));
    row.Peer("std::hash<string_view>",
             Each(n, [&](std::size_t i) { return std::hash<std::string_view>{}(x.view[i]); }),
             Digest::kOwn);
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer(
        "absl::Hash",
        Each(n, [&](std::size_t i) { return absl::Hash<absl::string_view>{}(Absl(x.view[i])); }),
        Digest::kOwn);
#endif
    Finish(row);
}

// ---------------------------------------------------------------------------
// Searching
// ---------------------------------------------------------------------------

// The needle's first byte is common in the words and "own" stands in
// "brown", so searches meet partial matches; '=' is in no word.
const std::string kNeedle = "own=";

void AddFindContenders(Row& row, const Strings& x)
{
    const std::size_t n = x.count();
    const char* needle = kNeedle.data();
    const std::size_t needle_len = kNeedle.size();
    row.Library("VekString", Each(n, [&, needle, needle_len](std::size_t i) {
                    return Found(VekStringFindCStrLen(&x.vek[i], needle, needle_len));
                }));
    row.Peer("std::string_view::find",
             Each(n, [&](std::size_t i) { return Found(x.view[i].find(kNeedle)); }));
    row.Peer("std::string::find",
             Each(n, [&](std::size_t i) { return Found(x.std[i].find(kNeedle)); }));
    row.Peer("memmem", Each(n, [&, needle, needle_len](std::size_t i) {
                 return Found(memmem(x.view[i].data(), x.view[i].size(), needle, needle_len),
                              x.view[i]);
             }));
#ifdef VEK_BENCH_HAVE_ABSL
    // StrContains answers only whether, so its digest is its own.
    row.Peer("absl::StrContains",
             Each(n, [&](std::size_t i) { return absl::StrContains(Absl(x.view[i]), kNeedle); }),
             Digest::kOwn);
#endif
}

void FindNearEndRow(Row& row, std::size_t length)
{
    const Strings x(Planted(length, kNeedle, length - kNeedle.size() - 2));
    AddFindContenders(row, x);
    Finish(row);
}

void FindAbsentRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    AddFindContenders(row, x);
    Finish(row);
}

void RFindRow(Row& row, std::size_t length)
{
    const Strings x(Planted(length, kNeedle, 2));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    return Found(VekStringRFindCStrLen(&x.vek[i], kNeedle.data(), kNeedle.size()));
                }));
    row.Peer("std::string_view::rfind",
             Each(n, [&](std::size_t i) { return Found(x.view[i].rfind(kNeedle)); }));
    row.Peer("std::string::rfind",
             Each(n, [&](std::size_t i) { return Found(x.std[i].rfind(kNeedle)); }));
    Finish(row);
}

constexpr const char* kSpaces = " \t\n";

void FirstOfRow(Row& row, std::size_t length)
{
    const Strings x(Filled(length, false, '\t'));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    return Found(VekStringFindFirstOfCStr(&x.vek[i], 0, kSpaces));
                }));
    row.Peer("strcspn", Each(n, [&](std::size_t i) {
                 return Found(std::strcspn(x.view[i].data(), kSpaces));
             }));
    row.Peer("std::string_view::find_first_of",
             Each(n, [&](std::size_t i) { return Found(x.view[i].find_first_of(kSpaces)); }));
    row.Peer("std::string::find_first_of",
             Each(n, [&](std::size_t i) { return Found(x.std[i].find_first_of(kSpaces)); }));
    Finish(row);
}

void FirstNotOfRow(Row& row, std::size_t length)
{
    const Strings x(Filled(length, true, 'x'));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    return Found(VekStringFindFirstNotOfCStr(&x.vek[i], 0, " "));
                }));
    row.Peer("strspn",
             Each(n, [&](std::size_t i) { return Found(std::strspn(x.view[i].data(), " ")); }));
    row.Peer("std::string_view::find_first_not_of",
             Each(n, [&](std::size_t i) { return Found(x.view[i].find_first_not_of(' ')); }));
    row.Peer("std::string::find_first_not_of",
             Each(n, [&](std::size_t i) { return Found(x.std[i].find_first_not_of(' ')); }));
    Finish(row);
}

// Word folds a word at [start, end) into a split's digest.
std::uint64_t Word(std::size_t start, std::size_t end)
{
    return start * 31 + end;
}

// SplitWith splits s at runs of kSpaces with a pair of set searches (not_of
// then of, each from a position), as a tokenizer written with them does.
template <class NotOf, class Of> std::uint64_t SplitWith(std::size_t size, NotOf not_of, Of of)
{
    std::uint64_t digest = 0;
    for (std::size_t pos = 0; (pos = not_of(pos)) != std::string::npos;) {
        const std::size_t end = std::min(of(pos), size);
        digest += Word(pos, end);
        pos = end;
    }
    return digest;
}

std::uint64_t SplitC(const char* s)
{
    std::uint64_t digest = 0;
    const char* p = s + std::strspn(s, kSpaces);
    while (*p != '\0') {
        const std::size_t n = std::strcspn(p, kSpaces);
        digest += Word(static_cast<std::size_t>(p - s), static_cast<std::size_t>(p - s) + n);
        p += n;
        p += std::strspn(p, kSpaces);
    }
    return digest;
}

void SplitRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    row.Library(
        "VekString", Each(n, [&](std::size_t i) {
            const VekString* s = &x.vek[i];
            return SplitWith(
                VekStringSize(s),
                [s](std::size_t pos) { return VekStringFindFirstNotOfCStr(s, pos, kSpaces); },
                [s](std::size_t pos) { return VekStringFindFirstOfCStr(s, pos, kSpaces); });
        }));
    row.Peer("strspn/strcspn", Each(n, [&](std::size_t i) { return SplitC(x.view[i].data()); }));
    row.Peer("std::string_view", Each(n, [&](std::size_t i) {
                 const std::string_view s = x.view[i];
                 return SplitWith(
                     s.size(), [s](std::size_t pos) { return s.find_first_not_of(kSpaces, pos); },
                     [s](std::size_t pos) { return s.find_first_of(kSpaces, pos); });
             }));
    Finish(row);
}

// ---------------------------------------------------------------------------
// Making strings
// ---------------------------------------------------------------------------

// Pool is a VekPoolAllocator for the span of one row.
class Pool {
public:
    Pool() { VekPoolAllocatorInit(&pool_); }
    ~Pool() { VekPoolAllocatorDestroy(&pool_); }
    Pool(const Pool&) = delete;
    Pool& operator=(const Pool&) = delete;
    VekAllocator* get() { return VekPoolAllocatorGet(&pool_); }

private:
    VekPoolAllocator pool_;
};

// FinishAllocating holds the row to the floor against the std::string peer
// std_peer at 8 bytes, and to the family's goal above.
void FinishAllocating(Row& row, std::size_t length, const char* std_peer, double floor_at_8)
{
    if (length == kLengths[0])
        row.Goal(std_peer, floor_at_8).Run();
    else
        Finish(row);
}

constexpr std::size_t kPiece = 5;

// AppendPieces builds a string of s's bytes from empty, kPiece bytes an
// append, and returns its digest.
template <class Builder, class... Args> std::uint64_t AppendPieces(std::string_view s, Args... args)
{
    Builder b(args...);
    for (std::size_t at = 0; at < s.size(); at += kPiece)
        b.Append(s.data() + at, std::min(kPiece, s.size() - at));
    return b.Digest();
}

void AppendRow(Row& row, std::size_t length, VekAllocator* a, double floor_at_8)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    row.Library("VekString",
                Each(n, [&, a](std::size_t i) { return AppendPieces<VekBuilder>(x.view[i], a); }));
    row.Peer("std::string::append",
             Each(n, [&](std::size_t i) { return AppendPieces<StdBuilder>(x.view[i]); }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrAppend",
             Each(n, [&](std::size_t i) { return AppendPieces<AbslBuilder>(x.view[i]); }));
#endif
    FinishAllocating(row, length, "std::string::append", floor_at_8);
}

void AppendMallocRow(Row& row, std::size_t length)
{
    AppendRow(row, length, VekAllocatorGetDefault(), kAllocationFloors.malloc);
}

void AppendPoolRow(Row& row, std::size_t length)
{
    Pool pool;
    AppendRow(row, length, pool.get(), kAllocationFloors.pool);
}

// CopyRow copies each string of a set and destroys the copy; the copy takes
// the source's allocator.
void CopyRow(Row& row, std::size_t length, VekAllocator* a, double floor_at_8)
{
    const Strings x(WordSlices(length), a);
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    VekString copy;
                    VekStringConstructCopy(&copy, &x.vek[i]);
                    benchmark::DoNotOptimize(copy);
                    const std::uint64_t digest = Mix(VekStringData(&copy), VekStringSize(&copy));
                    VekStringDestruct(&copy);
                    return digest;
                }));
    row.Peer("std::string copy", Each(n, [&](std::size_t i) {
                 std::string copy(x.std[i]);
                 benchmark::DoNotOptimize(copy);
                 return Mix(copy);
             }));
    // The floors beside: the same bytes copied into a block from the row's
    // allocator (two calls through its record, as the library makes them),
    // and from malloc directly.
    row.Aside("allocator calls + copy", Each(n, [&, a](std::size_t i) {
                  const std::string_view s = x.view[i];
                  char* copy = static_cast<char*>(VekAllocatorAllocate(a, s.size() + 1));
                  std::memcpy(copy, s.data(), s.size() + 1);
                  benchmark::DoNotOptimize(copy);
                  const std::uint64_t digest = Mix(copy, s.size());
                  VekAllocatorDeallocate(a, copy, s.size() + 1);
                  return digest;
              }));
    row.Aside("malloc + copy + free", Each(n, [&](std::size_t i) {
                  const std::string_view s = x.view[i];
                  char* copy = static_cast<char*>(std::malloc(s.size() + 1));
                  std::memcpy(copy, s.data(), s.size() + 1);
                  benchmark::DoNotOptimize(copy);
                  const std::uint64_t digest = Mix(copy, s.size());
                  std::free(copy);
                  return digest;
              }));
    FinishAllocating(row, length, "std::string copy", floor_at_8);
}

void CopyMallocRow(Row& row, std::size_t length)
{
    CopyRow(row, length, VekAllocatorGetDefault(), kAllocationFloors.malloc);
}

void CopyPoolRow(Row& row, std::size_t length)
{
    Pool pool;
    CopyRow(row, length, pool.get(), kAllocationFloors.pool);
}

// ---------------------------------------------------------------------------
// Editing
// ---------------------------------------------------------------------------

// StdReplaceAll is the loop a std::string user writes: find, append what
// lies before the match and the replacement, go on behind the match.
std::string StdReplaceAll(std::string_view text, std::string_view find, std::string_view replace)
{
    std::string out;
    std::size_t from = 0;
    for (std::size_t at; (at = text.find(find, from)) != std::string::npos; from = at + find.size())
        out.append(text, from, at - from).append(replace);
    out.append(text.substr(from));
    return out;
}

// ReplaceRow replaces "ab", written every 16 bytes from offset 3, by "xyz".
// Each contender starts from a copy of its own, as an edit of a live string
// would.
void ReplaceRow(Row& row, std::size_t length)
{
    std::vector<std::string> contents = WordSlices(length);
    for (std::string& s : contents)
        for (std::size_t at = 3; at + 2 <= s.size(); at += 16)
            s.replace(at, 2, "ab");
    const Strings x(contents);
    VekString find, replace;
    VekStringConstructCStr(&find, "ab", VekAllocatorGetDefault());
    VekStringConstructCStr(&replace, "xyz", VekAllocatorGetDefault());
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    VekBuilder b;
                    VekStringAppend(b.get(), &x.vek[i]);
                    VekStringFindAndReplace(b.get(), &find, &replace);
                    return b.Digest();
                }));
    row.Peer("std::string find/append loop",
             Each(n, [&](std::size_t i) { return Mix(StdReplaceAll(x.std[i], "ab", "xyz")); }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrReplaceAll", Each(n, [&](std::size_t i) {
                 std::string s = x.std[i];
                 absl::StrReplaceAll({{"ab", "xyz"}}, &s);
                 return Mix(s);
             }));
#endif
    Finish(row);
    VekStringDestruct(&find);
    VekStringDestruct(&replace);
}

// FormatRow appends "%d:%s;" with a counter and each string onto a string
// cleared for it, so the row measures the formatter's entry and one pass
// over the output, not growth.
void FormatRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    VekBuilder vek_out;
    VekStringReserve(vek_out.get(), 2 * length + 16);
    std::string std_out;
    std_out.reserve(2 * length + 16);
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    VekStringClear(vek_out.get());
                    VekStringAppendFormatted(vek_out.get(), "%d:%s;", static_cast<int>(i),
                                             VekStringData(&x.vek[i]));
                    return vek_out.Digest();
                }));
    row.Peer("snprintf + std::string", Each(n, [&](std::size_t i) {
                 char piece[2 * kKiB];
                 const int len = std::snprintf(piece, sizeof piece, "%d:%s;", static_cast<int>(i),
                                               x.view[i].data());
                 std_out.assign(piece, static_cast<std::size_t>(len));
                 return Mix(std_out);
             }));
#ifdef VEK_BENCH_HAVE_FMT
    row.Peer("fmt::format_to", Each(n, [&](std::size_t i) {
                 std_out.clear();
                 fmt::format_to(std::back_inserter(std_out), "{}:{};", i, x.view[i]);
                 return Mix(std_out);
             }));
#endif
    Finish(row);
}

// ---------------------------------------------------------------------------
// Unicode conversion
// ---------------------------------------------------------------------------

// Utf16Set is a set of zero-terminated UTF-16 strings, each about length
// bytes once in UTF-8: the words, and for mixed text every seventh character
// replaced in turn by a 2-, 3- or 4-byte character.
std::vector<std::vector<VekUint16>> Utf16Set(std::size_t length, bool mixed)
{
    static const VekWideChar wide[] = {0xE9, 0x20AC, 0x4E2D, 0x1F600, 0x3B1};
    std::vector<std::vector<VekUint16>> out;
    std::size_t k = 0;
    for (const std::string& words : WordSlices(length)) {
        std::vector<VekUint16> units;
        std::size_t utf8 = 0;
        for (std::size_t i = 0; i < words.size(); ++i, ++k) {
            const VekWideChar c = mixed && k % 7 == 6 ? wide[(k / 7) % std::size(wide)]
                                                      : static_cast<unsigned char>(words[i]);
            utf8 += c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
            if (utf8 > length)
                break;
            if (c < 0x10000) {
                units.push_back(static_cast<VekUint16>(c));
            } else {
                units.push_back(static_cast<VekUint16>(0xD800 + ((c - 0x10000) >> 10)));
                units.push_back(static_cast<VekUint16>(0xDC00 + ((c - 0x10000) & 0x3FF)));
            }
        }
        units.push_back(0);
        out.push_back(std::move(units));
    }
    return out;
}

// Into UTF-8, every contender writes into one output reused across the set,
// with room enough, so the row measures the conversion and not growth.
void Utf16ToUtf8Row(Row& row, std::size_t length, bool mixed)
{
    const std::vector<std::vector<VekUint16>> in = Utf16Set(length, mixed);
    VekBuilder vek_out;
    VekStringReserve(vek_out.get(), 4 * length);
    row.Library("VekString", Each(in.size(), [&](std::size_t i) {
                    VekStringAssignUtf16(vek_out.get(), in[i].data());
                    return vek_out.Digest();
                }));
#ifdef VEK_BENCH_HAVE_ICU
    std::vector<char> out(4 * length);
    row.Peer("ICU u_strToUTF8", Each(in.size(), [&](std::size_t i) {
                 int32_t len = 0;
                 UErrorCode error = U_ZERO_ERROR;
                 u_strToUTF8(out.data(), static_cast<int32_t>(out.size()), &len,
                             reinterpret_cast<const UChar*>(in[i].data()),
                             static_cast<int32_t>(in[i].size() - 1), &error);
                 return Mix(out.data(), static_cast<std::size_t>(len));
             }));
#endif
    Finish(row);
}

void Utf16ToUtf8AsciiRow(Row& row, std::size_t length)
{
    Utf16ToUtf8Row(row, length, false);
}

void Utf16ToUtf8MixedRow(Row& row, std::size_t length)
{
    Utf16ToUtf8Row(row, length, true);
}

// Out of UTF-8, every contender writes into one block of room enough.
void Utf8ToUtf16Row(Row& row, std::size_t length, bool mixed)
{
    std::vector<std::string> contents;
    for (const std::vector<VekUint16>& units : Utf16Set(length, mixed)) {
        VekBuilder b;
        VekStringAssignUtf16(b.get(), units.data());
        contents.emplace_back(VekStringData(b.get()), VekStringSize(b.get()));
    }
    const Strings x(contents);
    std::vector<VekUint16> out(length + 1);
    auto digest = [&](std::size_t len) {
        return Mix(reinterpret_cast<const char*>(out.data()), 2 * len);
    };
    row.Library("VekString", Each(x.count(), [&](std::size_t i) {
                    VekSizeT len = 0;
                    VekStringWriteUtf16(&x.vek[i], out.data(), out.size(), &len);
                    return digest(len);
                }));
#ifdef VEK_BENCH_HAVE_ICU
    row.Peer("ICU u_strFromUTF8", Each(x.count(), [&](std::size_t i) {
                 int32_t len = 0;
                 UErrorCode error = U_ZERO_ERROR;
                 u_strFromUTF8(reinterpret_cast<UChar*>(out.data()),
                               static_cast<int32_t>(out.size()), &len, x.view[i].data(),
                               static_cast<int32_t>(x.view[i].size()), &error);
                 return digest(static_cast<std::size_t>(len));
             }));
#endif
    Finish(row);
}

void Utf8ToUtf16AsciiRow(Row& row, std::size_t length)
{
    Utf8ToUtf16Row(row, length, false);
}

void Utf8ToUtf16MixedRow(Row& row, std::size_t length)
{
    Utf8ToUtf16Row(row, length, true);
}

// A row of the family: registered as S_name/length at every length.
struct ShortRow {
    const char* name;  // the benchmark is S_name/length
    const char* title; // what one call does, for the report
    void (*run)(Row& row, std::size_t length);
};

// ---------------------------------------------------------------------------
// Text: views, fields, cuts, trimming, occurrences and case
// ---------------------------------------------------------------------------
//
// The functions a parser calls on every line. The peers are what a parser
// written with them calls: std::string_view's members, abseil's split,
// strip, match and case functions, the C library, and Go-style loops over
// memchr where Go's standard library would do just that.

constexpr char kAsciiSpaces[] = " \t\n\v\f\r";

// Replaced returns the word slices with every byte `from` written as `to`.
std::vector<std::string> Replaced(std::size_t length, char from, char to)
{
    std::vector<std::string> out = WordSlices(length);
    for (std::string& s : out)
        std::replace(s.begin(), s.end(), from, to);
    return out;
}

// CommaSpaced returns slices of the words joined by ", " instead of spaces.
std::vector<std::string> CommaSpaced(std::size_t length)
{
    std::vector<std::string> out = WordSlices(2 * length);
    for (std::string& s : out) {
        std::string joined;
        for (const char c : s)
            joined += c == ' ' ? std::string(", ") : std::string(1, c);
        s = joined.substr(0, length);
    }
    return out;
}

// Field folds a field found at p, n bytes long, in s into a split's digest.
std::uint64_t Field(std::string_view s, const char* p, std::size_t n)
{
    const auto start = static_cast<std::size_t>(p - s.data());
    return Word(start, start + n);
}

std::uint64_t Field(const VekString& s, const VekString& field)
{
    return Field(ViewOf(s), VekStringData(&field), VekStringSize(&field));
}

// SplitFind splits s at each separator find(from) locates, sep_len long.
template <class Find> std::uint64_t SplitFind(std::string_view s, std::size_t sep_len, Find find)
{
    std::uint64_t digest = 0;
    std::size_t start = 0;
    for (std::size_t at; (at = find(start)) != std::string_view::npos; start = at + sep_len)
        digest += Word(start, at);
    return digest + Word(start, s.size());
}

// SplitMem splits s as Go's Split does, the next separator located by
// index(p, n) over the rest (memchr or memmem), NULL when none is left.
template <class Index> std::uint64_t SplitMem(std::string_view s, std::size_t sep_len, Index index)
{
    std::uint64_t digest = 0;
    const char* p = s.data();
    const char* end = s.data() + s.size();
    for (const char* at; (at = static_cast<const char*>(index(p, end - p))) != nullptr;
         p = at + sep_len)
        digest += Field(s, p, static_cast<std::size_t>(at - p));
    return digest + Field(s, p, static_cast<std::size_t>(end - p));
}

#ifdef VEK_BENCH_HAVE_ABSL
template <class Delimiter, class... Predicate>
std::uint64_t SplitAbsl(std::string_view s, Delimiter delimiter, Predicate... predicate)
{
    std::uint64_t digest = 0;
    for (const absl::string_view field : absl::StrSplit(Absl(s), delimiter, predicate...))
        digest += Field(s, field.data(), field.size());
    return digest;
}
#endif

void FieldsCharRow(Row& row, std::size_t length)
{
    const Strings x(Replaced(length, ' ', ','));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    std::uint64_t digest = 0;
                    VekSizeT pos = 0;
                    VekString field;
                    while (VekStringNextFieldChar(&x.vek[i], &pos, ',', &field))
                        digest += Field(x.vek[i], field);
                    return digest;
                }));
    row.Peer("std::string_view::find", Each(n, [&](std::size_t i) {
                 const std::string_view s = x.view[i];
                 return SplitFind(s, 1, [s](std::size_t from) { return s.find(',', from); });
             }));
    row.Peer("memchr loop", Each(n, [&](std::size_t i) {
                 return SplitMem(x.view[i], 1, [](const char* p, std::size_t k) {
                     return std::memchr(p, ',', k);
                 });
             }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrSplit", Each(n, [&](std::size_t i) { return SplitAbsl(x.view[i], ','); }));
#endif
    Finish(row);
}

void FieldsStringRow(Row& row, std::size_t length)
{
    const Strings x(CommaSpaced(length));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    std::uint64_t digest = 0;
                    VekSizeT pos = 0;
                    VekString field;
                    while (VekStringNextFieldCStrLen(&x.vek[i], &pos, ", ", 2, &field))
                        digest += Field(x.vek[i], field);
                    return digest;
                }));
    row.Peer("std::string_view::find", Each(n, [&](std::size_t i) {
                 const std::string_view s = x.view[i];
                 return SplitFind(s, 2, [s](std::size_t from) { return s.find(", ", from); });
             }));
    row.Peer("memmem loop", Each(n, [&](std::size_t i) {
                 return SplitMem(x.view[i], 2, [](const char* p, std::size_t k) {
                     return memmem(p, k, ", ", 2);
                 });
             }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrSplit", Each(n, [&](std::size_t i) { return SplitAbsl(x.view[i], ", "); }));
#endif
    Finish(row);
}

// kSpaceTable is Go's asciiSpace: a table lookup per byte.
constexpr auto kSpaceTable = [] {
    std::array<bool, 256> table{};
    for (const char* p = kAsciiSpaces; *p != '\0'; ++p)
        table[static_cast<unsigned char>(*p)] = true;
    return table;
}();

bool IsSpace(char c)
{
    return kSpaceTable[static_cast<unsigned char>(c)];
}

void WordsRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    std::uint64_t digest = 0;
                    VekSizeT pos = 0;
                    VekString word;
                    while (VekStringNextWord(&x.vek[i], &pos, &word))
                        digest += Field(x.vek[i], word);
                    return digest;
                }));
    row.Peer("std::string_view", Each(n, [&](std::size_t i) {
                 const std::string_view s = x.view[i];
                 return SplitWith(
                     s.size(),
                     [s](std::size_t pos) { return s.find_first_not_of(kAsciiSpaces, pos); },
                     [s](std::size_t pos) { return s.find_first_of(kAsciiSpaces, pos); });
             }));
    row.Peer("Go-style table loop", Each(n, [&](std::size_t i) {
                 const std::string_view s = x.view[i];
                 std::uint64_t digest = 0;
                 for (std::size_t at = 0; at < s.size();) {
                     while (at < s.size() && IsSpace(s[at]))
                         ++at;
                     const std::size_t start = at;
                     while (at < s.size() && !IsSpace(s[at]))
                         ++at;
                     digest += start < at ? Word(start, at) : 0;
                 }
                 return digest;
             }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrSplit", Each(n, [&](std::size_t i) {
                 return SplitAbsl(x.view[i], absl::ByAnyChar(kAsciiSpaces), absl::SkipEmpty());
             }));
#endif
    Finish(row);
}

// A cut's digest: where the part before ends and the part after starts.
std::uint64_t CutDigest(std::size_t before, std::size_t after_at, bool found)
{
    return (before * 31 + after_at) * 2 + (found ? 1 : 0);
}

void CutRow(Row& row, std::size_t length, const std::string& sep)
{
    const Strings x(Planted(length, sep, length / 2));
    const std::size_t n = x.count();
    const char* sep_p = sep.data();
    const std::size_t sep_n = sep.size();
    row.Library("VekString", Each(n, [&, sep_p, sep_n](std::size_t i) {
                    VekString before, after;
                    const bool found =
                        sep_n == 1 ? VekStringCutChar(&x.vek[i], *sep_p, &before, &after)
                                   : VekStringCutCStrLen(&x.vek[i], sep_p, sep_n, &before, &after);
                    return CutDigest(
                        VekStringSize(&before),
                        static_cast<std::size_t>(VekStringData(&after) - VekStringData(&x.vek[i])),
                        found);
                }));
    row.Peer("std::string_view::find", Each(n, [&, sep_n](std::size_t i) {
                 const std::string_view s = x.view[i];
                 const std::size_t at = sep_n == 1 ? s.find(sep[0]) : s.find(sep);
                 const bool found = at != std::string_view::npos;
                 const std::string_view before = s.substr(0, found ? at : s.size());
                 const std::string_view after = found ? s.substr(at + sep_n) : s.substr(s.size());
                 return CutDigest(before.size(), static_cast<std::size_t>(after.data() - s.data()),
                                  found);
             }));
    row.Peer(sep_n == 1 ? "memchr" : "memmem", Each(n, [&, sep_p, sep_n](std::size_t i) {
                 const std::string_view s = x.view[i];
                 const void* hit = sep_n == 1 ? std::memchr(s.data(), *sep_p, s.size())
                                              : memmem(s.data(), s.size(), sep_p, sep_n);
                 const std::size_t at =
                     hit == nullptr
                         ? s.size()
                         : static_cast<std::size_t>(static_cast<const char*>(hit) - s.data());
                 return CutDigest(at, hit == nullptr ? s.size() : at + sep_n, hit != nullptr);
             }));
    Finish(row);
}

void CutCharRow(Row& row, std::size_t length)
{
    CutRow(row, length, "=");
}

void CutStringRow(Row& row, std::size_t length)
{
    CutRow(row, length, ": ");
}

// Padded returns the word slices with whitespace over their first and last
// three bytes.
std::vector<std::string> Padded(std::size_t length)
{
    std::vector<std::string> out = WordSlices(length);
    for (std::string& s : out) {
        s.replace(0, 3, " \t ");
        s.replace(s.size() - 3, 3, "\r\n ");
    }
    return out;
}

// A trim's digest: where what remains starts, and its length.
std::uint64_t TrimDigest(std::string_view s, std::string_view kept)
{
    return static_cast<std::uint64_t>(kept.data() - s.data()) * 31 + kept.size();
}

void TrimRow(Row& row, std::size_t length)
{
    const Strings x(Padded(length));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    VekString view;
                    VekStringConstructViewSubstring(&view, &x.vek[i], 0, VekStringNpos);
                    VekStringTrim(&view);
                    return TrimDigest(ViewOf(x.vek[i]), ViewOf(view));
                }));
    row.Peer("std::string_view", Each(n, [&](std::size_t i) {
                 const std::string_view s = x.view[i];
                 const std::size_t start = std::min(s.find_first_not_of(kAsciiSpaces), s.size());
                 const std::size_t last = s.find_last_not_of(kAsciiSpaces);
                 const std::size_t end = last == std::string_view::npos ? start : last + 1;
                 return TrimDigest(s, s.substr(start, end - start));
             }));
    row.Peer("Go-style table loop", Each(n, [&](std::size_t i) {
                 const std::string_view s = x.view[i];
                 std::size_t start = 0, end = s.size();
                 while (start < end && IsSpace(s[start]))
                     ++start;
                 while (end > start && IsSpace(s[end - 1]))
                     --end;
                 return TrimDigest(s, s.substr(start, end - start));
             }));
    // The same loop reading the library's 32-byte records instead of
    // 16-byte views, which sets the floor of any trim over a set of them.
    row.Aside("Go-style table loop on the records", Each(n, [&](std::size_t i) {
                  const std::string_view s = ViewOf(x.vek[i]);
                  std::size_t start = 0, end = s.size();
                  while (start < end && IsSpace(s[start]))
                      ++start;
                  while (end > start && IsSpace(s[end - 1]))
                      --end;
                  return TrimDigest(s, s.substr(start, end - start));
              }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StripAsciiWhitespace", Each(n, [&](std::size_t i) {
                 const absl::string_view kept = absl::StripAsciiWhitespace(Absl(x.view[i]));
                 return TrimDigest(x.view[i], std::string_view(kept.data(), kept.size()));
             }));
#endif
    Finish(row);
}

// PrefixRow tests whether each string begins (or ends) with a piece of its
// own bytes, held apart: half of the pieces have their last byte changed.
void PrefixRow(Row& row, std::size_t length, bool suffix)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    const std::size_t k = std::min<std::size_t>(length / 2, 12);
    std::vector<std::string> pieces;
    for (std::size_t i = 0; i < n; ++i) {
        pieces.push_back(suffix ? x.std[i].substr(length - k) : x.std[i].substr(0, k));
        if (i % 2 == 1)
            pieces.back().back() ^= 1;
    }
    row.Library("VekString", Each(n, [&, suffix](std::size_t i) {
                    const std::string& y = pieces[i];
                    return suffix ? VekStringEndsWithCStrLen(&x.vek[i], y.data(), y.size())
                                  : VekStringStartsWithCStrLen(&x.vek[i], y.data(), y.size());
                }));
    row.Peer(suffix ? "std::string_view::ends_with" : "std::string_view::starts_with",
             Each(n, [&, suffix](std::size_t i) {
                 return suffix ? x.view[i].ends_with(pieces[i]) : x.view[i].starts_with(pieces[i]);
             }));
    row.Peer("memcmp", Each(n, [&, suffix](std::size_t i) {
                 const std::string_view s = x.view[i], y = pieces[i];
                 return s.size() >= y.size() &&
                        std::memcmp(s.data() + (suffix ? s.size() - y.size() : 0), y.data(),
                                    y.size()) == 0;
             }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer(suffix ? "absl::EndsWith" : "absl::StartsWith", Each(n, [&, suffix](std::size_t i) {
                 const absl::string_view s = Absl(x.view[i]), y = Absl(pieces[i]);
                 return suffix ? absl::EndsWith(s, y) : absl::StartsWith(s, y);
             }));
#endif
    Finish(row);
}

void StartsWithRow(Row& row, std::size_t length)
{
    PrefixRow(row, length, false);
}

void EndsWithRow(Row& row, std::size_t length)
{
    PrefixRow(row, length, true);
}

void ContainsRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    return VekStringContainsCStrLen(&x.vek[i], kNeedle.data(), kNeedle.size());
                }));
    row.Peer("std::string_view::find",
             Each(n, [&](std::size_t i) { return x.view[i].find(kNeedle) != std::string::npos; }));
    row.Peer("memmem", Each(n, [&](std::size_t i) {
                 return memmem(x.view[i].data(), x.view[i].size(), kNeedle.data(),
                               kNeedle.size()) != nullptr;
             }));
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrContains",
             Each(n, [&](std::size_t i) { return absl::StrContains(Absl(x.view[i]), kNeedle); }));
#endif
    Finish(row);
}

void CountCharRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    row.Library("VekString",
                Each(n, [&](std::size_t i) { return VekStringCountChar(&x.vek[i], 'o'); }));
    row.Peer("std::count", Each(n, [&](std::size_t i) {
                 return static_cast<std::uint64_t>(
                     std::count(x.view[i].begin(), x.view[i].end(), 'o'));
             }));
    row.Peer("memchr loop", Each(n, [&](std::size_t i) {
                 const char* p = x.view[i].data();
                 const char* end = p + x.view[i].size();
                 std::uint64_t count = 0;
                 for (; (p = static_cast<const char*>(std::memchr(p, 'o', end - p))) != nullptr;
                      ++p)
                     ++count;
                 return count;
             }));
    Finish(row);
}

void CountStringRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length));
    const std::size_t n = x.count();
    row.Library("VekString",
                Each(n, [&](std::size_t i) { return VekStringCountCStrLen(&x.vek[i], "ow", 2); }));
    row.Peer("std::string_view::find", Each(n, [&](std::size_t i) {
                 std::uint64_t count = 0;
                 for (std::size_t at = 0; (at = x.view[i].find("ow", at)) != std::string::npos;
                      at += 2)
                     ++count;
                 return count;
             }));
    row.Peer("memmem loop", Each(n, [&](std::size_t i) {
                 const char* p = x.view[i].data();
                 const char* end = p + x.view[i].size();
                 std::uint64_t count = 0;
                 for (; (p = static_cast<const char*>(memmem(p, end - p, "ow", 2))) != nullptr;
                      p += 2)
                     ++count;
                 return count;
             }));
    Finish(row);
}

void FindCharRow(Row& row, std::size_t length, bool backward)
{
    const Strings x(backward ? Planted(length, "\t", 1) : Filled(length, false, '\t'));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&, backward](std::size_t i) {
                    return Found(backward ? VekStringRFindChar(&x.vek[i], '\t')
                                          : VekStringFindChar(&x.vek[i], '\t'));
                }));
    row.Peer(backward ? "std::string_view::rfind" : "std::string_view::find",
             Each(n, [&, backward](std::size_t i) {
                 return Found(backward ? x.view[i].rfind('\t') : x.view[i].find('\t'));
             }));
    row.Peer(backward ? "memrchr" : "memchr", Each(n, [&, backward](std::size_t i) {
                 const std::string_view s = x.view[i];
                 return Found(backward ? memrchr(s.data(), '\t', s.size())
                                       : std::memchr(s.data(), '\t', s.size()),
                              s);
             }));
    Finish(row);
}

void FindCharRow(Row& row, std::size_t length)
{
    FindCharRow(row, length, false);
}

void RFindCharRow(Row& row, std::size_t length)
{
    FindCharRow(row, length, true);
}

// MixedCase returns the word slices with every third letter a capital.
std::vector<std::string> MixedCase(std::size_t length)
{
    std::vector<std::string> out = WordSlices(length);
    for (std::string& s : out)
        for (std::size_t k = 0; k < s.size(); k += 3)
            s[k] = s[k] >= 'a' && s[k] <= 'z' ? static_cast<char>(s[k] - 32) : s[k];
    return out;
}

char LowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

// Each contender lowers its own strings in place, the same work every run.
void ToLowerRow(Row& row, std::size_t length)
{
    Strings x(MixedCase(length));
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    VekStringToLowerAscii(&x.vek[i]);
                    return Mix(VekStringData(&x.vek[i]), VekStringSize(&x.vek[i]));
                }));
    row.Peer("std::transform", Each(n, [&](std::size_t i) {
                 std::string& s = x.std[i];
                 std::transform(s.begin(), s.end(), s.begin(), LowerAscii);
                 return Mix(s);
             }));
#ifdef VEK_BENCH_HAVE_ABSL
    std::vector<std::string> absl_copies = x.std;
    row.Peer("absl::AsciiStrToLower", Each(n, [&](std::size_t i) {
                 absl::AsciiStrToLower(&absl_copies[i]);
                 return Mix(absl_copies[i]);
             }));
#endif
    Finish(row);
}

// CaseRow compares each string with a copy in other case, equal in half of
// the pairs and differing in the last byte in the others. strncasecmp is
// shown beside, not compared: it stops at the first NUL and folds by the
// locale, so it answers another question; glibc runs it with AVX2 or
// AVX-512 where the processor has them.
void CaseRow(Row& row, std::size_t length, bool order)
{
    std::vector<std::string> upper = WordSlices(length);
    for (std::size_t i = 0; i < upper.size(); ++i) {
        for (char& c : upper[i])
            c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
        if (i % 2 == 1)
            upper[i].back() ^= 1;
    }
    const Strings x(WordSlices(length)), y(upper);
    const std::size_t n = x.count();
    auto sign = [](int r) { return SignDigest(r); };
    row.Library("VekString", Each(n, [&, order](std::size_t i) {
                    const VekString* b = &y.vek[i];
                    return order ? sign(VekStringCompareIgnoringCaseAsciiCStrLen(
                                       &x.vek[i], VekStringData(b), VekStringSize(b)))
                                 : VekStringEqualIgnoringCaseAsciiCStrLen(
                                       &x.vek[i], VekStringData(b), VekStringSize(b));
                }));
    row.Aside("strncasecmp", Each(n, [&, order](std::size_t i) {
                  const std::string_view a = x.view[i], b = y.view[i];
                  if (!order)
                      return static_cast<std::uint64_t>(
                          a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0);
                  const int r = strncasecmp(a.data(), b.data(), std::min(a.size(), b.size()));
                  return sign(r != 0 ? r : (a.size() > b.size()) - (a.size() < b.size()));
              }));
    if (order) {
        row.Peer("std::lexicographical_compare", Each(n, [&](std::size_t i) {
                     const std::string_view a = x.view[i], b = y.view[i];
                     const auto less = [](char p, char q) {
                         return static_cast<unsigned char>(LowerAscii(p)) <
                                static_cast<unsigned char>(LowerAscii(q));
                     };
                     if (std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), less))
                         return sign(-1);
                     return sign(std::lexicographical_compare(b.begin(), b.end(), a.begin(),
                                                              a.end(), less));
                 }));
    } else {
        row.Peer("Go-style loop", Each(n, [&](std::size_t i) {
                     const std::string_view a = x.view[i], b = y.view[i];
                     if (a.size() != b.size())
                         return false;
                     for (std::size_t k = 0; k < a.size(); ++k)
                         if (LowerAscii(a[k]) != LowerAscii(b[k]))
                             return false;
                     return true;
                 }));
#ifdef VEK_BENCH_HAVE_ABSL
        row.Peer("absl::EqualsIgnoreCase", Each(n, [&](std::size_t i) {
                     return absl::EqualsIgnoreCase(Absl(x.view[i]), Absl(y.view[i]));
                 }));
#endif
    }
    Finish(row);
}

void EqualIgnoringCaseRow(Row& row, std::size_t length)
{
    CaseRow(row, length, false);
}

void CompareIgnoringCaseRow(Row& row, std::size_t length)
{
    CaseRow(row, length, true);
}

// ReplaceLiteralRow is the replace-all row with C strings, and the count.
void ReplaceLiteralRow(Row& row, std::size_t length)
{
    std::vector<std::string> contents = WordSlices(length);
    for (std::string& s : contents)
        for (std::size_t at = 3; at + 2 <= s.size(); at += 16)
            s.replace(at, 2, "ab");
    const Strings x(contents);
    const std::size_t n = x.count();
    row.Library("VekString", Each(n, [&](std::size_t i) {
                    VekBuilder b;
                    VekSizeT count = 0;
                    VekStringAppend(b.get(), &x.vek[i]);
                    VekStringFindAndReplaceCStrLen(b.get(), "ab", 2, "xyz", 3, &count);
                    return b.Digest() + count;
                }));
    row.Peer("std::string find/append loop", Each(n, [&](std::size_t i) {
                 const std::string out = StdReplaceAll(x.std[i], "ab", "xyz");
                 return Mix(out) + (out.size() - x.std[i].size());
             }));
#ifdef VEK_BENCH_HAVE_GLIB
    row.Peer("g_string_replace", Each(n, [&](std::size_t i) {
                 GString* s =
                     g_string_new_len(x.view[i].data(), static_cast<gssize>(x.view[i].size()));
                 const guint count = g_string_replace(s, "ab", "xyz", 0);
                 const std::uint64_t digest = Mix(s->str, s->len) + count;
                 g_string_free(s, TRUE);
                 return digest;
             }));
#endif
    Finish(row);
}

const ShortRow kTextRows[] = {
    {"FieldsChar", "fields split on ','", FieldsCharRow},
    {"FieldsString", "fields split on \", \"", FieldsStringRow},
    {"Words", "words between ASCII whitespace", WordsRow},
    {"CutChar", "cut once at '=', in the middle", CutCharRow},
    {"CutString", "cut once at \": \", in the middle", CutStringRow},
    {"Trim", "trim ASCII whitespace off a view", TrimRow},
    {"StartsWith", "starts with its first 12 bytes, half changed", StartsWithRow},
    {"EndsWith", "ends with its last 12 bytes, half changed", EndsWithRow},
    {"Contains", "contains \"own=\", absent", ContainsRow},
    {"CountChar", "count 'o'", CountCharRow},
    {"CountString", "count \"ow\"", CountStringRow},
    {"FindChar", "find '\\t', near the end", FindCharRow},
    {"RFindChar", "rfind '\\t', near the start", RFindCharRow},
    {"ToLower", "ASCII lower case in place", ToLowerRow},
    {"EqualIgnoringCase", "equal ignoring ASCII case", EqualIgnoringCaseRow},
    {"CompareIgnoringCase", "compare ignoring ASCII case", CompareIgnoringCaseRow},
    {"ReplaceLiteral", "replace-all \"ab\" -> \"xyz\" with literals, counted", ReplaceLiteralRow},
};

// ---------------------------------------------------------------------------
// Noise
// ---------------------------------------------------------------------------

// NoiseRow times the memcmp equality of the equality row twice, as two
// contenders compiled apart (two lambdas: their code lies at different
// addresses, as any two contenders' does). Their ratio differs from 1 only by
// the noise of the machine and of the code's placement.
void NoiseRow(Row& row, std::size_t length)
{
    const Strings x(WordSlices(length)), y(WordSlices(length));
    const std::size_t n = x.count();
    row.Library("memcmp",
                Each(n, [&](std::size_t i) { return MemcmpEqual(x.view[i], y.view[i]); }));
    row.Peer("memcmp, again",
             Each(n, [&](std::size_t i) { return MemcmpEqual(x.view[i], y.view[i]); }));
    row.Run();
}

// ---------------------------------------------------------------------------
// Registration
// ---------------------------------------------------------------------------

const ShortRow kShortRows[] = {
    {"Equal", "equality, equal", EqualRow},
    {"EqualLastDiffers", "equality, last byte differs", EqualLastDiffersRow},
    {"Compare", "three-way compare, last byte differs", CompareRow},
    {"Hash", "hash", HashRow},
    {"FindNearEnd", "find \"own=\", near the end", FindNearEndRow},
    {"FindAbsent", "find \"own=\", absent", FindAbsentRow},
    {"RFind", "rfind \"own=\", near the start", RFindRow},
    {"FirstOf", "find_first_of \" \\t\\n\", near the end", FirstOfRow},
    {"FirstNotOf", "find_first_not_of \" \", near the end", FirstNotOfRow},
    {"Split", "split into words with first_not_of/first_of \" \\t\\n\"", SplitRow},
    {"AppendMalloc", "append 5-byte pieces from empty, default allocator", AppendMallocRow},
    {"AppendPool", "append 5-byte pieces from empty, pool", AppendPoolRow},
    {"CopyMalloc", "copy + destroy, default allocator", CopyMallocRow},
    {"CopyPool", "copy + destroy, pool", CopyPoolRow},
    {"Utf16ToUtf8Ascii", "UTF-16 to UTF-8, ASCII", Utf16ToUtf8AsciiRow},
    {"Utf16ToUtf8Mixed", "UTF-16 to UTF-8, mixed", Utf16ToUtf8MixedRow},
    {"Utf8ToUtf16Ascii", "UTF-8 to UTF-16, ASCII", Utf8ToUtf16AsciiRow},
    {"Utf8ToUtf16Mixed", "UTF-8 to UTF-16, mixed", Utf8ToUtf16MixedRow},
    {"ReplaceAll", "replace-all \"ab\" -> \"xyz\"", ReplaceRow},
    {"Format", "one formatted append \"%d:%s;\"", FormatRow},
    {"Noise", "A/A: memcmp equality against itself", NoiseRow},
};

// Registered before main runs, like the rows of the other families, with the
// length in the name: S_Equal/8 ... S_Equal/1024.
void Register(const ShortRow& r)
{
    for (const std::size_t length : kLengths) {
        const std::string name = std::string("S_") + r.name + "/" + std::to_string(length);
        benchmark::RegisterBenchmark(name.c_str(),
                                     [r, length](benchmark::State& state) {
                                         Row row(state, r.title, length * SetCount(length));
                                         r.run(row, length);
                                     })
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
    }
}

[[maybe_unused]] const bool kShortRowsRegistered = [] {
    for (const ShortRow& r : kShortRows)
        Register(r);
    for (const ShortRow& r : kTextRows)
        Register(r);
    return true;
}();

} // namespace
} // namespace vekbench
