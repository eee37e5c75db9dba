// VekStringSearchKernels.h - the searches' scalar code, their vector kernels,
// and the one algorithm per search that joins the two.
//
// A kernel takes what it can by whole 16-byte blocks and says how far it got
// (Searched); the scalar code then finishes from there. Each search is one
// template over its kernel (StringSearchForward and its sisters below), so
// the same algorithm runs in every build: ScalarSearch takes nothing, and
// VectorSearch, written once over the facade of simd/VekVector.h, runs with
// SSE2 or NEON. StringNativeSearch is the build's choice; the kernel-table
// test runs both against each other.
//
// Substring search rules out 16 candidate starts per step by comparing the
// bytes at the starts with the needle's first byte and the bytes n - 1
// further on with its last byte, and confirms each survivor with memcmp.
// Set searches compare 16 content bytes per step with every set byte, 64 per
// step while the content lasts. Blocks are loaded only from within the bytes
// searched, so nothing outside them is read.
//
// Why the vector kernels beat the scalar code, on either instruction set: a
// step of the substring filter costs two loads, two comparisons, an and and
// a mask (five to six instructions for 16 starts, against a byte load and
// compare per start), and a set search step of 64 bytes costs four loads, a
// comparison and an or per set byte and block, and one mask for all four.
#ifndef VEK_SRC_STRING_VEKSTRINGSEARCHKERNELS_H
#define VEK_SRC_STRING_VEKSTRINGSEARCHKERNELS_H

#include <cstring>

#include "Vek/Utils/VekStdCLib.h"
#include "Vek/Utils/VekString.h"
#include "base/VekCheck.h"
#include "simd/VekVector.h"

// Searched is how far a kernel got: done, with the result in at (a position,
// or VekStringNpos for none), or not done, with every candidate on the near
// side of at ruled out and at itself the first the scalar code must examine.
struct Searched {
    VekSizeT at;
    bool done;
};

// StringOffsetOf turns what a C library search returned (a pointer into buf,
// or NULL) into a position.
static inline VekSizeT StringOffsetOf(const char* buf, const void* p)
{
    if (p == nullptr)
        return VekStringNpos;
    return static_cast<VekSizeT>(static_cast<const char*>(p) - buf);
}

// StringNeedleRestAt confirms a candidate start p whose first and last bytes
// already equal the needle's: one memcmp of the bytes between them, none for
// a needle of one or two bytes.
static inline bool StringNeedleRestAt(const char* p, const char* y, VekSizeT n)
{
    return n <= 2 || VekMemCmp(p + 1, y + 1, n - 2) == 0;
}

// StringFindEachStart tries the starts from, from + 1, ..., last one at a
// time, taking a start whose first and last bytes both match the needle's
// before comparing the rest, so that a partial match costs no branch.
static inline VekSizeT StringFindEachStart(const char* buf, VekSizeT from, VekSizeT last,
                                           const char* y, VekSizeT n)
{
    const char first = y[0];
    const char end = y[n - 1];
    for (VekSizeT p = from; p <= last; ++p) {
        if (((buf[p] == first) & (buf[p + n - 1] == end)) != 0 && StringNeedleRestAt(buf + p, y, n))
            return p;
    }
    return VekStringNpos;
}

// StringRFindEachStart tries the starts r, r - 1, ..., 0 one at a time,
// comparing the first and last bytes before the rest. It stops at buf
// itself rather than stepping before it.
static inline VekSizeT StringRFindEachStart(const char* buf, VekSizeT r, const char* y, VekSizeT n)
{
    const char first = y[0];
    const char last = y[n - 1];
    for (const char* p = buf + r;; --p) {
        if (p[0] == first && p[n - 1] == last && StringNeedleRestAt(p, y, n))
            return static_cast<VekSizeT>(p - buf);
        if (p == buf)
            return VekStringNpos;
    }
}

// A set search looks for bytes in the set (Of) or in none of it (NotOf).
enum class Wanted { kInSet, kOutsideSet };

// StringSetHolds compares b with the n set bytes in order and stops at the
// first equal one. An empty set holds nothing.
static inline bool StringSetHolds(const char* y, VekSizeT n, char b)
{
    for (VekSizeT i = 0; i < n; ++i) {
        if (y[i] == b)
            return true;
    }
    return false;
}

template <Wanted kWanted> static inline bool StringQualifies(const char* y, VekSizeT n, char b)
{
    return StringSetHolds(y, n, b) == (kWanted == Wanted::kInSet);
}

// ScalarSearch is the kernel of builds without vectors: it takes nothing.
struct ScalarSearch {
    static constexpr const char* kName = "scalar";

    static Searched Forward(const char* /*buf*/, VekSizeT /*size*/, VekSizeT from,
                            const char* /*y*/, VekSizeT /*n*/)
    {
        return {from, false};
    }
    static Searched Backward(const char* /*buf*/, VekSizeT r, const char* /*y*/, VekSizeT /*n*/)
    {
        return {r, false};
    }
    template <Wanted>
    static Searched SetForward(const char* /*buf*/, VekSizeT /*size*/, VekSizeT pos,
                               const char* /*y*/, VekSizeT /*n*/)
    {
        return {pos, false};
    }
    template <Wanted>
    static Searched SetBackward(const char* /*buf*/, VekSizeT end, const char* /*y*/,
                                VekSizeT /*n*/)
    {
        return {end, false};
    }
};

#if VEK_SIMD_VECTOR
namespace VekSearchVector {

using VekVector::Bytes;
using VekVector::Marks;

constexpr VekSizeT kBlock = 16;

// NeedleEnds rules out sixteen candidate starts at once: Matches marks the
// starts p + i whose first and last bytes equal the needle's. Reads
// [p, p + n + 15).
struct NeedleEnds {
    Bytes first;
    Bytes last;
    VekSizeT n;

    NeedleEnds(const char* y, VekSizeT n_)
        : first(VekVector::Splat(y[0])), last(VekVector::Splat(y[n_ - 1])), n(n_)
    {
    }

    Bytes Matches(const char* p) const
    {
        const Bytes starts = VekVector::Equal(VekVector::Load(p), first);
        const Bytes ends = VekVector::Equal(VekVector::Load(p + n - 1), last);
        return VekVector::And(starts, ends);
    }

    Marks Survivors(const char* p) const { return VekVector::MarksOf(Matches(p)); }
};

// Confirming holds what the forward search allows for confirming survivors
// with memcmp: n + 64 bytes to begin with and two more per start ruled out,
// so by the start s, n + 64 + 2 (s - from) in all. Where ruling out by the
// ends does not help (a periodic needle in repetitive text) confirming could
// grow with text x needle; when the allowance runs out the search stops, and
// the scalar code, which is linear, finishes. What has been spent is kept,
// not what is left, so that a step that rules out every start of its blocks
// touches nothing.
struct Confirming {
    const char* buf;
    const char* y;
    VekSizeT n;
    VekSizeT from;
    VekSizeT spent;

    // LowestFirst confirms the survivors of the block at base, lowest first;
    // true with the result in *out when the search ends there.
    bool LowestFirst(Marks survivors, VekSizeT base, Searched* out)
    {
        for (; survivors.Any(); survivors = survivors.WithoutFirst()) {
            const VekSizeT start = base + survivors.First();
            if (StringNeedleRestAt(buf + start, y, n)) {
                *out = {start, true};
                return true;
            }
            if (64 + 2 * (start - from) < spent) {
                *out = {start + 1, false};
                return true;
            }
            spent += n;
        }
        return false;
    }
};

// HighestFirst confirms the survivors of the block at base, highest first;
// true with the match in *out when there is one.
inline bool HighestFirst(Marks survivors, VekSizeT base, const char* buf, const char* y, VekSizeT n,
                         Searched* out)
{
    for (; survivors.Any(); survivors = survivors.WithoutLast()) {
        if (StringNeedleRestAt(buf + base + survivors.Last(), y, n)) {
            *out = {base + survivors.Last(), true};
            return true;
        }
    }
    return false;
}

// A set's bytes as the block loops compare with them. SetBytes broadcasts
// each set byte once per step and compares it with all the step's blocks;
// an empty set matches nothing. The sets of one to four bytes that most
// searches use are broadcast once for the whole search instead.
struct SetBytes {
    const char* y;
    VekSizeT n;

    template <VekSizeT kBlocks>
    void Compare(const Bytes (&bytes)[kBlocks], Bytes (&hits)[kBlocks]) const
    {
        for (VekSizeT b = 0; b < kBlocks; ++b)
            hits[b] = VekVector::Splat(0);
        for (VekSizeT i = 0; i < n; ++i) {
            const Bytes set_byte = VekVector::Splat(y[i]);
            for (VekSizeT b = 0; b < kBlocks; ++b)
                hits[b] = VekVector::Or(hits[b], VekVector::Equal(bytes[b], set_byte));
        }
    }
};

struct SingleByteSet {
    Bytes set_byte;

    template <VekSizeT kBlocks>
    void Compare(const Bytes (&bytes)[kBlocks], Bytes (&hits)[kBlocks]) const
    {
        for (VekSizeT b = 0; b < kBlocks; ++b)
            hits[b] = VekVector::Equal(bytes[b], set_byte);
    }
};

struct SmallSet {
    Bytes set_bytes[4];

    // n is 2 to 4; the last byte stands in for the missing ones, and comparing
    // with a byte twice changes nothing.
    SmallSet(const char* y, VekSizeT n)
    {
        VEK_ASSERT(n >= 2 && n <= 4, "a small set has 2 to 4 bytes");
        for (VekSizeT i = 0; i < 4; ++i)
            set_bytes[i] = VekVector::Splat(y[i < n ? i : n - 1]);
    }

    template <VekSizeT kBlocks>
    void Compare(const Bytes (&bytes)[kBlocks], Bytes (&hits)[kBlocks]) const
    {
        using VekVector::Equal;
        using VekVector::Or;
        for (VekSizeT b = 0; b < kBlocks; ++b)
            hits[b] = Or(Or(Equal(bytes[b], set_bytes[0]), Equal(bytes[b], set_bytes[1])),
                         Or(Equal(bytes[b], set_bytes[2]), Equal(bytes[b], set_bytes[3])));
    }
};

// WithSet hands scan the set in the form that compares fastest.
template <typename Scan> inline Searched WithSet(const char* y, VekSizeT n, Scan scan)
{
    if (n == 1)
        return scan(SingleByteSet{VekVector::Splat(y[0])});
    if (n >= 2 && n <= 4)
        return scan(SmallSet(y, n));
    return scan(SetBytes{y, n});
}

// SetComparison compares kBlocks x 16 content bytes at p with the set; hits
// holds 0xFF for a byte equal to some set byte. Whether any byte qualifies
// takes one mask of all the blocks combined; which one it is is worked out
// only for the step that ends the search.
template <VekSizeT kBlocks, Wanted kWanted> struct SetComparison {
    Bytes hits[kBlocks];

    template <typename Set> SetComparison(const char* p, const Set& set)
    {
        Bytes bytes[kBlocks];
        for (VekSizeT b = 0; b < kBlocks; ++b)
            bytes[b] = VekVector::Load(p + kBlock * b);
        set.Compare(bytes, hits);
    }

    // In a byte's hits, wanted bytes are 0xFF for Of and 0 for NotOf.
    bool AnyQualifies() const
    {
        Bytes all = hits[0];
        for (VekSizeT b = 1; b < kBlocks; ++b)
            all = kWanted == Wanted::kInSet ? VekVector::Or(all, hits[b])
                                            : VekVector::And(all, hits[b]);
        return kWanted == Wanted::kInSet ? VekVector::AnyMarked(all)
                                         : VekVector::UnmarkedOf(all).Any();
    }

    Marks Qualifying(VekSizeT b) const
    {
        return kWanted == Wanted::kInSet ? VekVector::MarksOf(hits[b])
                                         : VekVector::UnmarkedOf(hits[b]);
    }

    // First and Last give the offset of the lowest and highest qualifying
    // byte; they need AnyQualifies().
    VekSizeT First() const
    {
        VekSizeT b = 0;
        while (b + 1 < kBlocks && !Qualifying(b).Any())
            ++b;
        return kBlock * b + Qualifying(b).First();
    }

    VekSizeT Last() const
    {
        VekSizeT b = kBlocks - 1;
        while (b > 0 && !Qualifying(b).Any())
            --b;
        return kBlock * b + Qualifying(b).Last();
    }
};

// ScanSetForward examines [pos, size) by blocks: 64 bytes per step, then 16,
// the last block ending at size. That block may overlap bytes already
// examined; they did not qualify, so its lowest qualifying byte is a new one.
template <Wanted kWanted, typename Set>
Searched ScanSetForward(const char* buf, VekSizeT pos, VekSizeT size, const Set& set)
{
    VEK_ASSERT(size - pos >= kBlock, "the forward set scan needs a whole block");
    for (; size - pos >= 4 * kBlock; pos += 4 * kBlock) {
        const SetComparison<4, kWanted> step(buf + pos, set);
        if (step.AnyQualifies())
            return {pos + step.First(), true};
    }
    for (; pos < size; pos += kBlock) {
        const VekSizeT at = pos < size - kBlock ? pos : size - kBlock;
        const SetComparison<1, kWanted> step(buf + at, set);
        if (step.AnyQualifies())
            return {at + step.First(), true};
    }
    return {VekStringNpos, true};
}

// ScanSetBackward examines [0, end) by blocks from the top, the last block
// being the first 16 bytes; its bytes at or above end were examined already
// and did not qualify, so its highest qualifying byte is a new one.
template <Wanted kWanted, typename Set>
Searched ScanSetBackward(const char* buf, VekSizeT end, const Set& set)
{
    VEK_ASSERT(end >= kBlock, "the backward set scan needs a whole block");
    for (; end >= 4 * kBlock; end -= 4 * kBlock) {
        const SetComparison<4, kWanted> step(buf + end - 4 * kBlock, set);
        if (step.AnyQualifies())
            return {end - 4 * kBlock + step.Last(), true};
    }
    while (end != 0) {
        const VekSizeT at = end >= kBlock ? end - kBlock : 0;
        const SetComparison<1, kWanted> step(buf + at, set);
        if (step.AnyQualifies())
            return {at + step.Last(), true};
        end = at;
    }
    return {VekStringNpos, true};
}

} // namespace VekSearchVector

// VectorSearch is the 16-byte kernel of every search.
struct VectorSearch {
    static constexpr const char* kName = VekVector::kName;

    // Forward takes the starts from `from` to the last where the needle fits,
    // lowest first, when there are at least 16 of them: two blocks a step
    // while 32 remain, then one, the last block ending at the last start with
    // its starts below `from` masked off. Survivors are confirmed within the
    // allowance of Confirming, past which the scalar code finishes.
    static Searched Forward(const char* buf, VekSizeT size, VekSizeT from, const char* y,
                            VekSizeT n)
    {
        using VekSearchVector::kBlock;
        // StringSearchForward sends only needles with more than 16 starts.
        VEK_ASSERT(n >= 2 && n <= size && from <= size - n && size - n - from >= kBlock - 1,
                   "the block filter needs two needle bytes and a block of starts");
        const VekSearchVector::NeedleEnds ends(y, n);
        VekSearchVector::Confirming confirming{buf, y, n, from, 0};
        const VekSizeT last = size - n;
        Searched result{VekStringNpos, true};
        VekSizeT at = from;
        if (last - at >= 2 * kBlock - 1) {
            const VekSizeT stop = last - (2 * kBlock - 1);
            do {
                const VekVector::Bytes low = ends.Matches(buf + at);
                const VekVector::Bytes high = ends.Matches(buf + at + kBlock);
                if (VekVector::AnyMarked(VekVector::Or(low, high)) &&
                    (confirming.LowestFirst(VekVector::MarksOf(low), at, &result) ||
                     confirming.LowestFirst(VekVector::MarksOf(high), at + kBlock, &result)))
                    return result;
                at += 2 * kBlock;
            } while (at <= stop);
        }
        for (; at <= last; at += kBlock) {
            const VekSizeT block = at < last - (kBlock - 1) ? at : last - (kBlock - 1);
            const VekVector::Marks survivors =
                ends.Survivors(buf + block).From(static_cast<unsigned>(at - block));
            if (confirming.LowestFirst(survivors, block, &result))
                return result;
        }
        return result;
    }

    // Backward tries the starts r down to 0, when r >= 15, and confirms the
    // survivors from the highest down: two blocks a step while 32 starts
    // remain, then one. The last block, when fewer than sixteen starts
    // remain, is the first sixteen starts with the ones already tried masked
    // off, so no start is confirmed twice.
    static Searched Backward(const char* buf, VekSizeT r, const char* y, VekSizeT n)
    {
        using VekSearchVector::HighestFirst;
        using VekSearchVector::kBlock;
        VEK_ASSERT(n >= 2, "the block filter needs distinct first and last bytes");
        if (r < kBlock - 1)
            return {r, false};
        const VekSearchVector::NeedleEnds ends(y, n);
        Searched result{VekStringNpos, true};
        VekSizeT end = r + 1;
        for (; end >= 2 * kBlock; end -= 2 * kBlock) {
            const VekSizeT at = end - 2 * kBlock;
            const VekVector::Bytes low = ends.Matches(buf + at),
                                   high = ends.Matches(buf + at + kBlock);
            if (VekVector::AnyMarked(VekVector::Or(low, high)) &&
                (HighestFirst(VekVector::MarksOf(high), at + kBlock, buf, y, n, &result) ||
                 HighestFirst(VekVector::MarksOf(low), at, buf, y, n, &result)))
                return result;
        }
        while (end != 0) {
            const VekSizeT at = end >= kBlock ? end - kBlock : 0;
            const VekVector::Marks survivors =
                ends.Survivors(buf + at).Below(static_cast<unsigned>(end - at));
            if (HighestFirst(survivors, at, buf, y, n, &result))
                return result;
            end = at;
        }
        return result;
    }

    // SetForward takes [pos, size) when it holds a block.
    template <Wanted kWanted>
    static Searched SetForward(const char* buf, VekSizeT size, VekSizeT pos, const char* y,
                               VekSizeT n)
    {
        if (size - pos < VekSearchVector::kBlock)
            return {pos, false};
        return VekSearchVector::WithSet(y, n, [=](const auto& set) {
            return VekSearchVector::ScanSetForward<kWanted>(buf, pos, size, set);
        });
    }

    // SetBackward takes [0, end) when it holds a block.
    template <Wanted kWanted>
    static Searched SetBackward(const char* buf, VekSizeT end, const char* y, VekSizeT n)
    {
        if (end < VekSearchVector::kBlock)
            return {end, false};
        return VekSearchVector::WithSet(y, n, [=](const auto& set) {
            return VekSearchVector::ScanSetBackward<kWanted>(buf, end, set);
        });
    }
};

using StringNativeSearch = VectorSearch;
#else
using StringNativeSearch = ScalarSearch;
#endif

// Below this many starts, trying each costs less than memmem's set-up.
constexpr VekSizeT kFewStarts = 16;

// StringSearchForward is the forward search of find and find-and-replace:
// the smallest start at or after `from` where the n bytes of y stand within
// [0, size). A one-byte needle is memchr's; a longer one goes to the kernel,
// and whatever the kernel leaves to memmem, which is linear, or when fewer
// than kFewStarts starts are left, to trying each (at most kFewStarts
// comparisons of the needle).
template <class Kernel>
VekSizeT StringSearchForward(const char* buf, VekSizeT size, VekSizeT from, const char* y,
                             VekSizeT n)
{
    VEK_ASSERT(n != 0 && from < size, "a search needs a needle and a start in the content");
    if (n == 1)
        return StringOffsetOf(
            buf, std::memchr(buf + from, static_cast<unsigned char>(y[0]), size - from));
    if (n > size - from)
        return VekStringNpos;
    if (size - n - from < kFewStarts)
        return StringFindEachStart(buf, from, size - n, y, n);
    const Searched kernel = Kernel::Forward(buf, size, from, y, n);
    if (kernel.done)
        return kernel.at;
    return StringOffsetOf(buf, VekMemMem(buf + kernel.at, size - kernel.at, y, n));
}

// StringSearchBackward tries the starts r down to 0 for a needle of n >= 2
// bytes, each at most once, highest first.
template <class Kernel>
VekSizeT StringSearchBackward(const char* buf, VekSizeT r, const char* y, VekSizeT n)
{
    const Searched kernel = Kernel::Backward(buf, r, y, n);
    if (kernel.done)
        return kernel.at;
    return StringRFindEachStart(buf, kernel.at, y, n);
}

// StringScanSetForward returns the first position in [pos, size) whose byte
// qualifies; pos < size.
template <class Kernel, Wanted kWanted>
VekSizeT StringScanSetForward(const char* buf, VekSizeT size, VekSizeT pos, const char* y,
                              VekSizeT n)
{
    const Searched kernel = Kernel::template SetForward<kWanted>(buf, size, pos, y, n);
    if (kernel.done)
        return kernel.at;
    for (pos = kernel.at; pos < size; ++pos) {
        if (StringQualifies<kWanted>(y, n, buf[pos]))
            return pos;
    }
    return VekStringNpos;
}

// StringScanSetBackward returns the last position at or before start whose
// byte qualifies, examining position 0 last.
template <class Kernel, Wanted kWanted>
VekSizeT StringScanSetBackward(const char* buf, VekSizeT start, const char* y, VekSizeT n)
{
    const Searched kernel = Kernel::template SetBackward<kWanted>(buf, start + 1, y, n);
    if (kernel.done)
        return kernel.at;
    for (VekSizeT end = kernel.at; end != 0; --end) {
        if (StringQualifies<kWanted>(y, n, buf[end - 1]))
            return end - 1;
    }
    return VekStringNpos;
}

#endif // VEK_SRC_STRING_VEKSTRINGSEARCHKERNELS_H
