// VekStringSearch.cpp - substring search forward and backward, find-and-replace,
// and search for bytes in or outside a set.
//
// Every form reduces its operand to a pointer and a count (a C string is
// measured before anything else) and hands it to one worker per direction.
// The searches read only buf and size, so a view, an owned block and the
// shared empty byte are searched alike, and none of them can fail.
//
// Forward substring search gives the whole remaining haystack to the C
// library's memmem in one call. Backward search looks at candidate starts
// from the last one where the needle fits down to 0; a start whose first or
// last byte differs from the needle's is ruled out without a call, and each
// survivor is confirmed with one memcmp. Set searches compare content bytes
// with the set's bytes, with no table built from the set; the Char forms
// compare with the byte directly. Where SSE2 is available (and VEK_PORTABLE
// is not set) both rule out 16 positions per comparison, otherwise a plain
// loop takes one position at a time. The block loops only ever load whole
// blocks that lie within the content, so nothing outside it is read.
//
// Find-and-replace, the one function here that edits, builds its result in a
// private block and swaps it in only when every replacement succeeded; see
// its section for how it stays linear.
#include <cstdint>

#include "string/VekStringPrivate.h"

#if defined(__SSE2__) && !defined(VEK_PORTABLE)
#include <emmintrin.h>
#define VEK_SEARCH_HAVE_SSE2 1
#else
#define VEK_SEARCH_HAVE_SSE2 0
#endif

// StringOffsetOf turns what a C library search returned (a pointer into x's
// content, or NULL) into a position.
static inline VekSizeT StringOffsetOf(const VekString* x, const void* p)
{
    if (p == nullptr)
        return VekStringNpos;
    return static_cast<VekSizeT>(static_cast<const char*>(p) - x->buf);
}

// ------------------------------------------------------------------------
// Substring search
// ------------------------------------------------------------------------

// The forward worker. An empty needle stands at every position up to and
// including the end; a non-empty one needs at least one byte behind pos, and
// memmem itself rejects a needle longer than what remains.
VekSizeT VekStringFindFromPosCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                     VekSizeT n) noexcept
{
    if (n == 0)
        return pos <= x->size ? pos : VekStringNpos;
    if (pos >= x->size)
        return VekStringNpos;
    return StringOffsetOf(x, VekMemMem(x->buf + pos, x->size - pos, y, n));
}

VekSizeT VekStringFindFromPosCStr(const VekString* x, VekSizeT pos, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringFindFromPosCStrLen(x, pos, y, n);
}

VekSizeT VekStringFindFromPos(const VekString* x, VekSizeT pos, const VekString* y) noexcept
{
    return VekStringFindFromPosCStrLen(x, pos, y->buf, y->size);
}

VekSizeT VekStringFindCStrLen(const VekString* x, const char* y, VekSizeT n) noexcept
{
    return VekStringFindFromPosCStrLen(x, 0, y, n);
}

VekSizeT VekStringFindCStr(const VekString* x, const char* y) noexcept
{
    return VekStringFindFromPosCStr(x, 0, y);
}

VekSizeT VekStringFind(const VekString* x, const VekString* y) noexcept
{
    return VekStringFindFromPosCStrLen(x, 0, y->buf, y->size);
}

// StringNeedleRestAt confirms a candidate start p whose first and last bytes
// already equal the needle's: one memcmp of the bytes between them, none for
// a needle of one or two bytes.
static inline bool StringNeedleRestAt(const char* p, const char* y, VekSizeT n)
{
    return n <= 2 || VekMemCmp(p + 1, y + 1, n - 2) == 0;
}

// StringRFindEachStart tries the starts r, r - 1, ..., 0 one at a time,
// comparing the first and last bytes before the rest. It stops at buf
// itself rather than stepping before it.
static VekSizeT StringRFindEachStart(const char* buf, VekSizeT r, const char* y, VekSizeT n)
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

#if VEK_SEARCH_HAVE_SSE2
// NeedleEnds rules out sixteen candidate starts at once: the sixteen bytes at
// the starts are compared with the needle's first byte and the sixteen bytes
// n - 1 further on with its last byte. Bit i of the result survives for the
// start p + i. Reads [p, p + n + 15), so the caller keeps p + 15 at or before
// the last start where the needle fits.
struct NeedleEnds {
    __m128i first;
    __m128i last;
    VekSizeT n;

    NeedleEnds(const char* y, VekSizeT n_)
        : first(_mm_set1_epi8(y[0])), last(_mm_set1_epi8(y[n_ - 1])), n(n_)
    {
    }

    unsigned Survivors(const char* p) const
    {
        const __m128i starts = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i ends = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n - 1));
        return static_cast<unsigned>(_mm_movemask_epi8(
            _mm_and_si128(_mm_cmpeq_epi8(starts, first), _mm_cmpeq_epi8(ends, last))));
    }
};

// StringRFindBlocks tries the starts r down to 0 sixteen at a time and
// confirms the survivors from the highest down. The last block, when fewer
// than sixteen starts remain, is the first sixteen starts with the ones
// already tried masked off, so no start is confirmed twice. Needs r >= 15.
static VekSizeT StringRFindBlocks(const char* buf, VekSizeT r, const char* y, VekSizeT n)
{
    const NeedleEnds ends(y, n);
    for (VekSizeT end = r + 1; end != 0;) {
        const VekSizeT at = end >= 16 ? end - 16 : 0;
        unsigned survivors = ends.Survivors(buf + at) & ((1u << (end - at)) - 1);
        while (survivors != 0) {
            const unsigned highest = 31u - static_cast<unsigned>(__builtin_clz(survivors));
            if (StringNeedleRestAt(buf + at + highest, y, n))
                return at + highest;
            survivors &= ~(1u << highest);
        }
        end = at;
    }
    return VekStringNpos;
}
#endif

// The backward worker. r is the last start offset that is both at most pos
// and leaves room for the whole needle; a match starting there may extend
// beyond pos. The needle-too-long test comes first so that size - n cannot
// wrap. A one-byte needle is the last-of search for that byte. Each start is
// tried at most once, with at most one memcmp, highest first.
VekSizeT VekStringRFindFromPosCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                      VekSizeT n) noexcept
{
    if (n > x->size)
        return VekStringNpos;
    const VekSizeT r = VekMinimum__VekSizeT(pos, x->size - n);
    if (n == 0)
        return r;
    if (n == 1)
        return VekStringFindLastOfChar(x, r, y[0]);
#if VEK_SEARCH_HAVE_SSE2
    if (r >= 15)
        return StringRFindBlocks(x->buf, r, y, n);
#endif
    return StringRFindEachStart(x->buf, r, y, n);
}

VekSizeT VekStringRFindFromPosCStr(const VekString* x, VekSizeT pos, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringRFindFromPosCStrLen(x, pos, y, n);
}

VekSizeT VekStringRFindFromPos(const VekString* x, VekSizeT pos, const VekString* y) noexcept
{
    return VekStringRFindFromPosCStrLen(x, pos, y->buf, y->size);
}

VekSizeT VekStringRFindCStrLen(const VekString* x, const char* y, VekSizeT n) noexcept
{
    return VekStringRFindFromPosCStrLen(x, VekStringNpos, y, n);
}

VekSizeT VekStringRFindCStr(const VekString* x, const char* y) noexcept
{
    return VekStringRFindFromPosCStr(x, VekStringNpos, y);
}

VekSizeT VekStringRFind(const VekString* x, const VekString* y) noexcept
{
    return VekStringRFindFromPosCStrLen(x, VekStringNpos, y->buf, y->size);
}

// ------------------------------------------------------------------------
// Find-and-replace
// ------------------------------------------------------------------------

// What the result must be is defined by the plain loop: copy x with
// VekStringConstructCopy, then for each match replace it in the copy with
// VekStringReplaceString and search again behind the inserted text, then swap
// the copy in and destroy what is left. Run like that, every replacement moves
// the whole tail behind it, so n matches cost n tail moves: quadratic. Two
// facts let the same result, the same final capacity and the same allocator
// calls come out of one pass instead:
//
// - x itself is not written until the swap, and inserted text is never
//   searched again, so the matches are the leftmost non-overlapping
//   occurrences of find in x's own content, found by searching x.
// - Whether a replacement makes the copy grow, and to what capacity, depends
//   only on the copy's size then (what has been written plus what of x is
//   still to come) and on its capacity, not on its bytes.
//
// So the block that the copy would get is obtained, without copying x into
// it, and the result is written into it left to right: the text between
// matches straight from x, then the replacement. When a replacement would not
// fit, the block grows exactly as the loop's replacement would (the growth
// rule, the allocator's limit, one allocate of the grown capacity + 1), the
// result written so far is carried over and the old block is released. So
// the allocator sees the same calls with the same byte counts in the same
// order, and a refusal strikes at the same replacement with the same cleanup.
//
// Cost: x is searched once from left to right, each result byte is written
// once, and a growth carries over only what has been written; capacities at
// least double, so all carrying over adds up to less than the final capacity.
// Each resumed search costs its stretch of x plus a constant times the needle
// (see StringFindBlocks), and matches do not overlap, so the needles add up
// to at most x's size. Linear in x's size plus the result's.

#if VEK_SEARCH_HAVE_SSE2
// StringFindBlocks is the forward search from `from` with the candidate starts
// ruled out sixteen at a time by the needle's ends, lowest first; candidates
// [from, last] with last - from >= 15, the last block ending at last (starts
// below at masked off). Each survivor is confirmed with one memcmp of up to
// n - 2 bytes. Where ruling out by the ends does not help (a periodic needle
// in repetitive text) that confirming could grow with text x needle, so it is
// allowed n + 64 bytes to begin with and two more per start ruled out; past
// that, the rest of the search goes to memmem, which is linear.
static VekSizeT StringFindBlocks(const VekString* x, VekSizeT from, const char* y, VekSizeT n)
{
    const NeedleEnds ends(y, n);
    const VekSizeT last = x->size - n;
    VekSizeT allowance = n + 64;
    for (VekSizeT at = from; at <= last; at += 16) {
        const VekSizeT block = VekMinimum__VekSizeT(at, last - 15);
        unsigned survivors = ends.Survivors(x->buf + block) & (~0u << (at - block));
        while (survivors != 0) {
            const VekSizeT start = block + static_cast<VekSizeT>(__builtin_ctz(survivors));
            if (StringNeedleRestAt(x->buf + start, y, n))
                return start;
            if (allowance < n)
                return VekStringFindFromPosCStrLen(x, start + 1, y, n);
            allowance -= n;
            survivors &= survivors - 1;
        }
        allowance += 32;
    }
    return VekStringNpos;
}
#endif

// StringFindNext is the forward worker's result for find in x from `from`.
// Find-and-replace resumes a search behind every match, thousands of times
// in a long text; on SSE2 targets a needle of two bytes or more with at least
// sixteen candidate starts is found by ruling out starts by its ends, which
// costs a fraction of memmem's time per byte on text. Elsewhere, and for a
// one-byte needle (memmem's own memchr), it is the forward worker itself.
static VekSizeT StringFindNext(const VekString* x, VekSizeT from, const VekString* find)
{
#if VEK_SEARCH_HAVE_SSE2
    const VekSizeT n = find->size;
    if (n >= 2 && n <= x->size && from <= x->size - n && x->size - n - from >= 15)
        return StringFindBlocks(x, from, find->buf, n);
#endif
    return VekStringFindFromPos(x, from, find);
}

// StringObtainCopyBlock sets up out as VekStringConstructCopy(out, x) would,
// with the same allocator and capacity and the same single allocate, but
// leaves the bytes to be written: the caller fills the block with the result.
// An empty x gives an empty string that owns nothing.
static VekBool StringObtainCopyBlock(VekString* out, const VekString* x)
{
    VekStringConstructDefault(out, VekStringGetAllocator(x));
    return x->size == 0 || StringDoReallocate(out, x->size, 0, 0, 0);
}

// StringWriteReplaced writes x's content with every occurrence of find
// replaced into out's block, which is the copy's block to begin with. written
// counts the result bytes in out's block, next the first byte of x not yet
// carried over. False when a growth was refused; out then holds whatever
// block it has, to be destroyed by the caller.
static VekBool StringWriteReplaced(VekString* out, const VekString* x, const VekString* find,
                                   const VekString* replace)
{
    VekSizeT written = 0;
    VekSizeT next = 0;
    for (VekSizeT at = StringFindNext(x, 0, find); at != VekStringNpos;
         at = StringFindNext(x, next, find)) {
        const VekSizeT copy_size = written + (x->size - next);
        VekSizeT new_size;
        if (!StringAddSizes(copy_size - find->size, replace->size, &new_size))
            return VEK_FALSE;
        if (new_size > out->capacity &&
            !StringDoReallocate(out, StringGrownCapacity(out, new_size), 0, written, 0))
            return VEK_FALSE;
        CopyBuffer(out->buf, written, at - next, x->buf, next);
        written += at - next;
        CopyBuffer(out->buf, written, replace->size, replace->buf, 0);
        written += replace->size;
        next = at + find->size;
    }
    CopyBuffer(out->buf, written, x->size - next, x->buf, next);
    StringSetSize(out, written + (x->size - next));
    return VEK_TRUE;
}

// All or nothing: x is written only by the final swap, which is also why find
// and replace may be x itself. An empty find would match again at every
// resume position and never end, so it changes nothing and costs nothing.
VekString* VekStringFindAndReplace(VekString* x, const VekString* find,
                                   const VekString* replace) noexcept
{
    if (find->size == 0)
        return x;
    VekString x_;
    if (!StringObtainCopyBlock(&x_, x))
        return nullptr;
    VekString* r = StringWriteReplaced(&x_, x, find, replace) ? x : nullptr;
    if (r != nullptr)
        VekStringSwap(x, &x_);
    VekStringDestruct(&x_);
    return r;
}

// ------------------------------------------------------------------------
// Character-set search
// ------------------------------------------------------------------------

// SetHolds compares b with the n set bytes in order and stops at the first
// equal one. An empty set holds nothing.
static inline bool SetHolds(const char* y, VekSizeT n, char b)
{
    for (VekSizeT i = 0; i < n; ++i) {
        if (y[i] == b)
            return true;
    }
    return false;
}

// A set search looks for bytes in the set (Of) or in none of it (NotOf).
enum class Wanted { kInSet, kOutsideSet };

template <Wanted kWanted> static inline bool Qualifies(const char* y, VekSizeT n, char b)
{
    return SetHolds(y, n, b) == (kWanted == Wanted::kInSet);
}

#if VEK_SEARCH_HAVE_SSE2
// A set's bytes as the block loops compare with them. SetBytes broadcasts
// each set byte once per step and compares it with all the step's blocks, so
// a 64-byte step costs one broadcast and four comparisons per set byte; an
// empty set matches nothing. The sets of one to four bytes that most searches
// use are broadcast once for the whole search instead: SingleByteSet holds
// one byte, SmallSet up to four.
struct SetBytes {
    const char* y;
    VekSizeT n;

    template <VekSizeT kBlocks>
    void Compare(const __m128i (&bytes)[kBlocks], __m128i (&hits)[kBlocks]) const
    {
        for (VekSizeT b = 0; b < kBlocks; ++b)
            hits[b] = _mm_setzero_si128();
        for (VekSizeT i = 0; i < n; ++i) {
            const __m128i set_byte = _mm_set1_epi8(y[i]);
            for (VekSizeT b = 0; b < kBlocks; ++b)
                hits[b] = _mm_or_si128(hits[b], _mm_cmpeq_epi8(bytes[b], set_byte));
        }
    }
};

struct SingleByteSet {
    __m128i set_byte;

    template <VekSizeT kBlocks>
    void Compare(const __m128i (&bytes)[kBlocks], __m128i (&hits)[kBlocks]) const
    {
        for (VekSizeT b = 0; b < kBlocks; ++b)
            hits[b] = _mm_cmpeq_epi8(bytes[b], set_byte);
    }
};

struct SmallSet {
    __m128i set_bytes[4];

    // n is 2 to 4; the last byte stands in for the missing ones, and comparing
    // with a byte twice changes nothing.
    SmallSet(const char* y, VekSizeT n)
    {
        for (VekSizeT i = 0; i < 4; ++i)
            set_bytes[i] = _mm_set1_epi8(y[i < n ? i : n - 1]);
    }

    template <VekSizeT kBlocks>
    void Compare(const __m128i (&bytes)[kBlocks], __m128i (&hits)[kBlocks]) const
    {
        for (VekSizeT b = 0; b < kBlocks; ++b)
            hits[b] = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(bytes[b], set_bytes[0]),
                                                _mm_cmpeq_epi8(bytes[b], set_bytes[1])),
                                   _mm_or_si128(_mm_cmpeq_epi8(bytes[b], set_bytes[2]),
                                                _mm_cmpeq_epi8(bytes[b], set_bytes[3])));
    }
};

// WithSet hands scan the set in the form that compares fastest.
template <typename Scan> static inline VekSizeT WithSet(const char* y, VekSizeT n, Scan scan)
{
    if (n == 1)
        return scan(SingleByteSet{_mm_set1_epi8(y[0])});
    if (n >= 2 && n <= 4)
        return scan(SmallSet(y, n));
    return scan(SetBytes{y, n});
}

// SetComparison compares kBlocks x 16 content bytes at p with the set; hits
// holds 0xFF for a byte equal to some set byte. Whether any byte qualifies
// takes one movemask of all the blocks combined; which one it is, the exact
// mask, is worked out only for the step that ends the search.
template <VekSizeT kBlocks, Wanted kWanted> struct SetComparison {
    __m128i hits[kBlocks];

    template <typename Set> SetComparison(const char* p, const Set& set)
    {
        __m128i bytes[kBlocks];
        for (VekSizeT b = 0; b < kBlocks; ++b)
            bytes[b] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 16 * b));
        set.Compare(bytes, hits);
    }

    // In a byte's hits, wanted bytes are 0xFF for Of and 0 for NotOf.
    bool AnyQualifies() const
    {
        __m128i all = hits[0];
        for (VekSizeT b = 1; b < kBlocks; ++b)
            all = kWanted == Wanted::kInSet ? _mm_or_si128(all, hits[b])
                                            : _mm_and_si128(all, hits[b]);
        const int mask = _mm_movemask_epi8(all);
        return kWanted == Wanted::kInSet ? mask != 0 : mask != 0xFFFF;
    }

    // One bit per byte, lowest address lowest, set where the byte qualifies.
    std::uint64_t Mask() const
    {
        std::uint64_t mask = 0;
        for (VekSizeT b = 0; b < kBlocks; ++b)
            mask |= static_cast<std::uint64_t>(static_cast<unsigned>(_mm_movemask_epi8(hits[b])))
                    << (16 * b);
        if (kWanted == Wanted::kOutsideSet)
            mask = ~mask & (~std::uint64_t{0} >> (64 - 16 * kBlocks));
        return mask;
    }
};

// StringScanSetForward examines [pos, size) by blocks: 64 bytes per step,
// then 16, the last block ending at size. That block may overlap bytes already
// examined; they did not qualify, so its lowest qualifying byte is a new one.
// Needs size - pos >= 16.
template <Wanted kWanted, typename Set>
static VekSizeT StringScanSetForward(const char* buf, VekSizeT pos, VekSizeT size, const Set& set)
{
    for (; size - pos >= 64; pos += 64) {
        const SetComparison<4, kWanted> step(buf + pos, set);
        if (step.AnyQualifies())
            return pos + static_cast<VekSizeT>(__builtin_ctzll(step.Mask()));
    }
    for (; pos < size; pos += 16) {
        const VekSizeT at = VekMinimum__VekSizeT(pos, size - 16);
        const SetComparison<1, kWanted> step(buf + at, set);
        if (step.AnyQualifies())
            return at + static_cast<VekSizeT>(__builtin_ctzll(step.Mask()));
    }
    return VekStringNpos;
}

// StringScanSetBackward examines [0, end) by blocks from the top, the last
// block being the first 16 bytes; its bytes at or above end were examined
// already and did not qualify, so its highest qualifying byte is a new one.
// Needs end >= 16.
template <Wanted kWanted, typename Set>
static VekSizeT StringScanSetBackward(const char* buf, VekSizeT end, const Set& set)
{
    for (; end >= 64; end -= 64) {
        const SetComparison<4, kWanted> step(buf + end - 64, set);
        if (step.AnyQualifies())
            return end - 64 + static_cast<VekSizeT>(63 - __builtin_clzll(step.Mask()));
    }
    while (end != 0) {
        const VekSizeT at = end >= 16 ? end - 16 : 0;
        const SetComparison<1, kWanted> step(buf + at, set);
        if (step.AnyQualifies())
            return at + static_cast<VekSizeT>(63 - __builtin_clzll(step.Mask()));
        end = at;
    }
    return VekStringNpos;
}

template <Wanted kWanted>
static VekSizeT StringScanSetForward(const char* buf, VekSizeT pos, VekSizeT size, const char* y,
                                     VekSizeT n)
{
    return WithSet(
        y, n, [=](const auto& set) { return StringScanSetForward<kWanted>(buf, pos, size, set); });
}

template <Wanted kWanted>
static VekSizeT StringScanSetBackward(const char* buf, VekSizeT end, const char* y, VekSizeT n)
{
    return WithSet(y, n,
                   [=](const auto& set) { return StringScanSetBackward<kWanted>(buf, end, set); });
}
#endif

// StringFindSetForward returns the first position at or after pos whose byte
// qualifies. From pos >= size there is nothing to examine.
template <Wanted kWanted>
static VekSizeT StringFindSetForward(const VekString* x, VekSizeT pos, const char* y, VekSizeT n)
{
    if (pos >= x->size)
        return VekStringNpos;
#if VEK_SEARCH_HAVE_SSE2
    if (x->size - pos >= 16)
        return StringScanSetForward<kWanted>(x->buf, pos, x->size, y, n);
#endif
    for (; pos < x->size; ++pos) {
        if (Qualifies<kWanted>(y, n, x->buf[pos]))
            return pos;
    }
    return VekStringNpos;
}

// StringLastStart is where a backward scan begins: pos itself when it is a
// byte of the content, else the last byte, so that VekStringNpos covers the
// whole string. Only called on non-empty strings.
static inline VekSizeT StringLastStart(const VekString* x, VekSizeT pos)
{
    VEK_ASSERT(x->size != 0, "no last byte in an empty string");
    return VekMinimum__VekSizeT(pos, x->size - 1);
}

// StringFindSetBackward returns the last position at or before the start
// whose byte qualifies, examining position 0 last.
template <Wanted kWanted>
static VekSizeT StringFindSetBackward(const VekString* x, VekSizeT pos, const char* y, VekSizeT n)
{
    if (x->size == 0)
        return VekStringNpos;
    pos = StringLastStart(x, pos);
#if VEK_SEARCH_HAVE_SSE2
    if (pos >= 15)
        return StringScanSetBackward<kWanted>(x->buf, pos + 1, y, n);
#endif
    for (;; --pos) {
        if (Qualifies<kWanted>(y, n, x->buf[pos]))
            return pos;
        if (pos == 0)
            return VekStringNpos;
    }
}

VekSizeT VekStringFindFirstOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                     VekSizeT n) noexcept
{
    return StringFindSetForward<Wanted::kInSet>(x, pos, y, n);
}

VekSizeT VekStringFindFirstOf(const VekString* x, VekSizeT pos, const VekString* y) noexcept
{
    return VekStringFindFirstOfCStrLen(x, pos, y->buf, y->size);
}

VekSizeT VekStringFindFirstOfCStr(const VekString* x, VekSizeT pos, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringFindFirstOfCStrLen(x, pos, y, n);
}

VekSizeT VekStringFindFirstOfChar(const VekString* x, VekSizeT pos, char c) noexcept
{
    if (pos >= x->size)
        return VekStringNpos;
    return StringOffsetOf(x, memchr(x->buf + pos, static_cast<unsigned char>(c), x->size - pos));
}

VekSizeT VekStringFindFirstNotOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                        VekSizeT n) noexcept
{
    return StringFindSetForward<Wanted::kOutsideSet>(x, pos, y, n);
}

VekSizeT VekStringFindFirstNotOf(const VekString* x, VekSizeT pos, const VekString* y) noexcept
{
    return VekStringFindFirstNotOfCStrLen(x, pos, y->buf, y->size);
}

VekSizeT VekStringFindFirstNotOfCStr(const VekString* x, VekSizeT pos, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringFindFirstNotOfCStrLen(x, pos, y, n);
}

VekSizeT VekStringFindFirstNotOfChar(const VekString* x, VekSizeT pos, char c) noexcept
{
    return StringFindSetForward<Wanted::kOutsideSet>(x, pos, &c, 1);
}

VekSizeT VekStringFindLastOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                    VekSizeT n) noexcept
{
    return StringFindSetBackward<Wanted::kInSet>(x, pos, y, n);
}

// memrchr is a GNU extension; elsewhere the set search gives the same result.
VekSizeT VekStringFindLastOfChar(const VekString* x, VekSizeT pos, char c) noexcept
{
#if defined(__GLIBC__)
    if (x->size == 0)
        return VekStringNpos;
    const VekSizeT start = StringLastStart(x, pos);
    return StringOffsetOf(x, memrchr(x->buf, static_cast<unsigned char>(c), start + 1));
#else
    return StringFindSetBackward<Wanted::kInSet>(x, pos, &c, 1);
#endif
}

VekSizeT VekStringFindLastNotOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                       VekSizeT n) noexcept
{
    return StringFindSetBackward<Wanted::kOutsideSet>(x, pos, y, n);
}

VekSizeT VekStringFindLastNotOfChar(const VekString* x, VekSizeT pos, char c) noexcept
{
    return StringFindSetBackward<Wanted::kOutsideSet>(x, pos, &c, 1);
}
