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
#include <cstdio>
#include <cstring>
#include <iterator>
#include <random>
#include <vector>

#include "Vek/Utils/VekPoolAllocator.h"

#ifdef VEK_BENCH_HAVE_ABSL
#include <absl/hash/hash.h>
#include <absl/strings/match.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_replace.h>
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

struct ShortRow {
    const char* name;  // the benchmark is S_name/length
    const char* title; // what one call does, for the report
    void (*run)(Row& row, std::size_t length);
};

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
[[maybe_unused]] const bool kShortRowsRegistered = [] {
    for (const ShortRow& r : kShortRows) {
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
    return true;
}();

} // namespace
} // namespace vekbench
