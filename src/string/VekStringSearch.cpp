// VekStringSearch.cpp - substring search forward and backward, find-and-replace,
// and search for bytes in or outside a set.
//
// Every form reduces its operand to a pointer and a count (a C string is
// measured before anything else) and hands it to one worker per direction.
// The searches read only buf and size, so a view, an owned block and the
// shared empty byte are searched alike, and none of them can fail.
//
// The workers here handle the edge cases (empty needles and sets, positions
// at or beyond the end) and leave the bytes to the searches of
// VekStringSearchKernels.h, which run the build's vector kernel and finish
// with scalar code: find and find-and-replace share one forward search.
//
// Find-and-replace, the one function here that edits, builds its result in a
// private block and swaps it in only when every replacement succeeded; see
// its section for how it stays linear.
#include "string/VekStringAvx512.h"
#include "string/VekStringPrivate.h"
#include "string/VekStringSearchKernels.h"

// ------------------------------------------------------------------------
// Substring search
// ------------------------------------------------------------------------

// The forward worker. An empty needle stands at every position up to and
// including the end; a non-empty one needs at least one byte behind pos. A
// needle longer than what remains is simply not found.
VekSizeT VekStringFindFromPosCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                     VekSizeT n) noexcept
{
    if (n == 0)
        return pos <= x->size ? pos : VekStringNpos;
    if (pos >= x->size)
        return VekStringNpos;
    return StringSearchForward<StringNativeSearch>(x->buf, x->size, pos, y, n);
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
    return StringSearchBackward<StringNativeSearch>(x->buf, r, y, n);
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
// (see VectorSearch::Forward), and matches do not overlap, so the needles add
// up to at most x's size. Linear in x's size plus the result's.

// StringObtainCopyBlock sets up out as VekStringConstructCopy(out, x) would,
// with the same allocator and capacity and the same single allocate, but
// leaves the bytes to be written: the caller fills the block with the result.
// An empty x gives an empty string that owns nothing.
static VekBool StringObtainCopyBlock(VekString* out, const VekString* x)
{
    VekStringConstructDefault(out, VekStringGetAllocator(x));
    return x->size == 0 || StringDoReallocate(out, x->size, 0, 0, 0);
}

// StringWriteReplaced writes x's content with every occurrence of the
// find_len bytes at find replaced into out's block, which is the copy's block
// to begin with, and counts the replacements in *replaced. written counts the
// result bytes in out's block, next the first byte of x not yet carried over.
// False when a growth was refused; out then holds whatever block it has, to
// be destroyed by the caller.
static VekBool StringWriteReplaced(VekString* out, const VekString* x, const char* find,
                                   VekSizeT find_len, const char* replace, VekSizeT replace_len,
                                   VekSizeT* replaced)
{
    VekSizeT written = 0;
    VekSizeT next = 0;
    for (VekSizeT at = VekStringFindCStrLen(x, find, find_len); at != VekStringNpos;
         at = VekStringFindFromPosCStrLen(x, next, find, find_len)) {
        const VekSizeT copy_size = written + (x->size - next);
        VekSizeT new_size;
        if (!StringAddSizes(copy_size - find_len, replace_len, &new_size))
            return VEK_FALSE;
        if (new_size > out->capacity &&
            !StringDoReallocate(out, StringGrownCapacity(out, new_size), 0, written, 0))
            return VEK_FALSE;
        CopyBuffer(out->buf, written, at - next, x->buf, next);
        written += at - next;
        CopyBuffer(out->buf, written, replace_len, replace, 0);
        written += replace_len;
        next = at + find_len;
        ++*replaced;
    }
    CopyBuffer(out->buf, written, x->size - next, x->buf, next);
    StringSetSize(out, written + (x->size - next));
    return VEK_TRUE;
}

// All or nothing: x is written only by the final swap, which is also why find
// and replace may lie inside x. An empty find would match again at every
// resume position and never end, so it changes nothing and costs nothing.
VekString* StringFindAndReplace(VekString* x, const char* find, VekSizeT find_len,
                                const char* replace, VekSizeT replace_len, VekSizeT* count)
{
    VekSizeT replaced = 0;
    if (find_len != 0) {
        VekString x_;
        if (!StringObtainCopyBlock(&x_, x))
            return nullptr;
        const bool ok =
            StringWriteReplaced(&x_, x, find, find_len, replace, replace_len, &replaced);
        if (ok)
            VekStringSwap(x, &x_);
        VekStringDestruct(&x_);
        if (!ok)
            return nullptr;
    }
    if (count != nullptr)
        *count = replaced;
    return x;
}

VekString* VekStringFindAndReplace(VekString* x, const VekString* find,
                                   const VekString* replace) noexcept
{
    return StringFindAndReplace(x, find->buf, find->size, replace->buf, replace->size, nullptr);
}

// ------------------------------------------------------------------------
// Character-set search
// ------------------------------------------------------------------------

// The forward set searches are the header's inline bodies
// (VekStringInline.h), so a caller's inlined call and these functions cannot
// differ; the inline bodies hand what they leave to VekStringScanSet_. The
// parentheses keep the header's fast-path macros from expanding the names.
// StringScanSet is the forward set scan with the widest kernel the
// processor runs.
template <Wanted kWanted>
static VekSizeT StringScanSet(const char* buf, VekSizeT size, VekSizeT pos, const char* y,
                              VekSizeT n)
{
#if VEK_SIMD_AVX512 && VEK_SIMD_SSE2
    if (kStringAvx512Usable)
        return StringScanSetForward<Avx512Search, kWanted>(buf, size, pos, y, n);
#endif
    return StringScanSetForward<StringNativeSearch, kWanted>(buf, size, pos, y, n);
}

VekSizeT VekStringScanSet_(const char* buf, VekSizeT size, VekSizeT pos, const char* y, VekSizeT n,
                           VekBool in_set) noexcept
{
    VEK_ASSERT(pos < size, "a set scan starts in the content");
    if (in_set && n == 1)
        return StringOffsetOf(buf,
                              std::memchr(buf + pos, static_cast<unsigned char>(y[0]), size - pos));
    if (in_set)
        return StringScanSet<Wanted::kInSet>(buf, size, pos, y, n);
    return StringScanSet<Wanted::kOutsideSet>(buf, size, pos, y, n);
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
    return StringScanSetBackward<StringNativeSearch, kWanted>(x->buf, StringLastStart(x, pos), y,
                                                              n);
}

VekSizeT(VekStringFindFirstOfCStrLen)(const VekString* x, VekSizeT pos, const char* y,
                                      VekSizeT n) noexcept
{
    return VekStringFindFirstOfCStrLenInline(x, pos, y, n);
}

VekSizeT(VekStringFindFirstOf)(const VekString* x, VekSizeT pos, const VekString* y) noexcept
{
    return VekStringFindFirstOfInline(x, pos, y);
}

VekSizeT(VekStringFindFirstOfCStr)(const VekString* x, VekSizeT pos, const char* y) noexcept
{
    return VekStringFindFirstOfCStrInline(x, pos, y);
}

VekSizeT(VekStringFindFirstOfChar)(const VekString* x, VekSizeT pos, char c) noexcept
{
    return VekStringFindFirstOfCharInline(x, pos, c);
}

VekSizeT(VekStringFindFirstNotOfCStrLen)(const VekString* x, VekSizeT pos, const char* y,
                                         VekSizeT n) noexcept
{
    return VekStringFindFirstNotOfCStrLenInline(x, pos, y, n);
}

VekSizeT(VekStringFindFirstNotOf)(const VekString* x, VekSizeT pos, const VekString* y) noexcept
{
    return VekStringFindFirstNotOfInline(x, pos, y);
}

VekSizeT(VekStringFindFirstNotOfCStr)(const VekString* x, VekSizeT pos, const char* y) noexcept
{
    return VekStringFindFirstNotOfCStrInline(x, pos, y);
}

VekSizeT(VekStringFindFirstNotOfChar)(const VekString* x, VekSizeT pos, char c) noexcept
{
    return VekStringFindFirstNotOfCharInline(x, pos, c);
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
    return StringOffsetOf(x->buf, memrchr(x->buf, static_cast<unsigned char>(c), start + 1));
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
