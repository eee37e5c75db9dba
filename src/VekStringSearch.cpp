// VekStringSearch.cpp - substring search forward and backward, find-and-replace,
// and search for bytes in or outside a set.
//
// Every form reduces its operand to a pointer and a count (a C string is
// measured before anything else) and hands it to one worker per direction.
// The searches read only buf and size, so a view, an owned block and the
// shared empty byte are searched alike, and none of them can fail.
//
// Forward substring search gives the whole remaining haystack to the C
// library's memmem in one call. Backward search tries each start offset from
// the last one where the needle fits down to 0 with one memcmp per offset.
// Set searches compare each examined byte with the set's bytes in order, with
// no table built from the set; the Char forms compare with the byte directly.
//
// Find-and-replace, the one function here that edits, works on a private copy
// and swaps it in only when every replacement succeeded.
#include "VekStringPrivate.h"

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

// The backward worker. r is the last start offset that is both at most pos
// and leaves room for the whole needle; a match starting there may extend
// beyond pos. The needle-too-long test comes first so that size - n cannot
// wrap. The walk stops at buf itself rather than stepping before it.
VekSizeT VekStringRFindFromPosCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                      VekSizeT n) noexcept
{
    if (n > x->size)
        return VekStringNpos;
    const VekSizeT r = VekMinimum__VekSizeT(pos, x->size - n);
    if (n == 0)
        return r;
    for (const char* p = x->buf + r;; --p) {
        if (VekMemCmp(p, y, n) == 0)
            return static_cast<VekSizeT>(p - x->buf);
        if (p == x->buf)
            return VekStringNpos;
    }
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

// All or nothing: every replacement edits the private copy x_, and x is
// written only by the final swap. That is also why find and replace may be x
// itself: their bytes stay put until the loop is over. Each search resumes
// behind the text just inserted, so inserted text is never searched again and
// matches are those of the original text, left to right, never overlapping.
// An empty find would match again at every resume position and never end, so
// it changes nothing and costs nothing.
VekString* VekStringFindAndReplace(VekString* x, const VekString* find,
                                   const VekString* replace) noexcept
{
    if (find->size == 0)
        return x;
    VekString x_;
    if (VekStringConstructCopy(&x_, x) == nullptr)
        return nullptr;
    VekString* r = x;
    for (VekSizeT pos = VekStringFind(&x_, find); pos != VekStringNpos;
         pos = VekStringFindFromPos(&x_, pos + replace->size, find)) {
        if (VekStringReplaceString(&x_, pos, find->size, replace) == nullptr) {
            r = nullptr;
            break;
        }
    }
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

// StringScanForward returns the first position at or after pos whose byte
// qualifies. From pos >= size there is nothing to examine.
template <typename Qualifies>
static inline VekSizeT StringScanForward(const VekString* x, VekSizeT pos, Qualifies qualifies)
{
    for (; pos < x->size; ++pos) {
        if (qualifies(x->buf[pos]))
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

// StringScanBackward returns the last position at or before the start whose
// byte qualifies, examining position 0 last.
template <typename Qualifies>
static inline VekSizeT StringScanBackward(const VekString* x, VekSizeT pos, Qualifies qualifies)
{
    if (x->size == 0)
        return VekStringNpos;
    for (pos = StringLastStart(x, pos);; --pos) {
        if (qualifies(x->buf[pos]))
            return pos;
        if (pos == 0)
            return VekStringNpos;
    }
}

VekSizeT VekStringFindFirstOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                     VekSizeT n) noexcept
{
    return StringScanForward(x, pos, [y, n](char b) { return SetHolds(y, n, b); });
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
    return StringScanForward(x, pos, [y, n](char b) { return !SetHolds(y, n, b); });
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
    return StringScanForward(x, pos, [c](char b) { return b != c; });
}

VekSizeT VekStringFindLastOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                    VekSizeT n) noexcept
{
    return StringScanBackward(x, pos, [y, n](char b) { return SetHolds(y, n, b); });
}

// memrchr is a GNU extension; elsewhere the byte loop gives the same result.
VekSizeT VekStringFindLastOfChar(const VekString* x, VekSizeT pos, char c) noexcept
{
#if defined(__GLIBC__)
    if (x->size == 0)
        return VekStringNpos;
    const VekSizeT start = StringLastStart(x, pos);
    return StringOffsetOf(x, memrchr(x->buf, static_cast<unsigned char>(c), start + 1));
#else
    return StringScanBackward(x, pos, [c](char b) { return b == c; });
#endif
}

VekSizeT VekStringFindLastNotOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                       VekSizeT n) noexcept
{
    return StringScanBackward(x, pos, [y, n](char b) { return !SetHolds(y, n, b); });
}

VekSizeT VekStringFindLastNotOfChar(const VekString* x, VekSizeT pos, char c) noexcept
{
    return StringScanBackward(x, pos, [c](char b) { return b != c; });
}
