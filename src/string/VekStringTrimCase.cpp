// VekStringTrimCase.cpp - trimming, and ASCII case: conversion in place and
// comparison ignoring it.
//
// Trimming finds the first and last bytes to keep with the scans of
// VekStringAscii.h, then keeps them: a view narrows, an owned string
// moves them to the front of its own block, so nothing allocates and nothing
// can fail. Case conversion writes in place, so a view is first copied into a
// block of its own. Conversion and comparison take many bytes a step, in
// loops the compiler turns into vector code, and the last few as 64-bit
// words (VekStringAscii.h).
#include <climits>

#include "string/VekStringAscii.h"
#include "string/VekStringPrivate.h"
#include "string/VekStringSearchKernels.h"

// ------------------------------------------------------------------------
// Trimming
// ------------------------------------------------------------------------

// StringKeep leaves x holding only its bytes [start, end). A string that owns
// nothing (a view, or the empty string, where both are 0) only narrows; an
// owned one moves the bytes to the front and writes the terminator behind.
static VekString* StringKeep(VekString* x, VekSizeT start, VekSizeT end)
{
    const VekSizeT len = end - start;
    if (x->capacity == 0) {
        x->buf += start;
        x->size = len;
        return x;
    }
    if (start != 0 && len != 0)
        VekMemMove(x->buf, x->buf + start, len);
    StringSetSizeNoCheck(x, len);
    return x;
}

enum class Ends { kLeft = 1, kRight = 2, kBoth = 3 };

// StringTrimSet keeps the bytes from the first to the last that holds() says
// are not in the set (y, n), at the ends chosen; a set can be long, and so
// can a run of it, so the scans of VekStringAscii.h go on to the set search. Both scans are over
// before anything moves, so the set may lie inside x.
template <Ends kEnds, class Holds>
static VekString* StringTrimSet(VekString* x, Holds holds, const char* y, VekSizeT n)
{
    const VekSizeT size = x->size;
    if (size == 0)
        return x;
    VekSizeT start = 0;
    if (static_cast<int>(kEnds) & static_cast<int>(Ends::kLeft)) {
        start = StringScanForward<Wanted::kOutsideSet>(x->buf, size, 0, holds, y, n);
        if (start == VekStringNpos)
            return StringKeep(x, size, size);
    }
    VekSizeT end = size;
    if (static_cast<int>(kEnds) & static_cast<int>(Ends::kRight)) {
        const VekSizeT last =
            StringScanBackward<Wanted::kOutsideSet>(x->buf, size - 1, holds, y, n);
        end = last == VekStringNpos ? 0 : last + 1;
    }
    return StringKeep(x, start, end);
}

// A set of the caller's is tested byte by byte against each of its bytes.
template <Ends kEnds> static VekString* StringTrimSet(VekString* x, const char* y, VekSizeT n)
{
    return StringTrimSet<kEnds>(
        x, [y, n](char c) { return StringSetHolds(y, n, c); }, y, n);
}

// Whitespace and a single byte are the header's inline bodies
// (VekStringInline.h); the parentheses keep its macros from expanding the
// names.
VekString*(VekStringTrim)(VekString* x) noexcept
{
    return VekStringTrimInline(x);
}

VekString* VekStringTrimCStrLen(VekString* x, const char* y, VekSizeT n) noexcept
{
    return StringTrimSet<Ends::kBoth>(x, y, n);
}

VekString* VekStringTrimCStr(VekString* x, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return StringTrimSet<Ends::kBoth>(x, y, n);
}

VekString*(VekStringTrimChar)(VekString* x, char c) noexcept
{
    return VekStringTrimCharInline(x, c);
}

VekString*(VekStringTrimLeft)(VekString* x) noexcept
{
    return VekStringTrimLeftInline(x);
}

VekString* VekStringTrimLeftCStrLen(VekString* x, const char* y, VekSizeT n) noexcept
{
    return StringTrimSet<Ends::kLeft>(x, y, n);
}

VekString* VekStringTrimLeftCStr(VekString* x, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return StringTrimSet<Ends::kLeft>(x, y, n);
}

VekString*(VekStringTrimLeftChar)(VekString* x, char c) noexcept
{
    return VekStringTrimLeftCharInline(x, c);
}

VekString*(VekStringTrimRight)(VekString* x) noexcept
{
    return VekStringTrimRightInline(x);
}

VekString* VekStringTrimRightCStrLen(VekString* x, const char* y, VekSizeT n) noexcept
{
    return StringTrimSet<Ends::kRight>(x, y, n);
}

VekString* VekStringTrimRightCStr(VekString* x, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return StringTrimSet<Ends::kRight>(x, y, n);
}

VekString*(VekStringTrimRightChar)(VekString* x, char c) noexcept
{
    return VekStringTrimRightCharInline(x, c);
}

// ------------------------------------------------------------------------
// Case conversion
// ------------------------------------------------------------------------

// StoreWord writes the eight bytes of w at p.
static inline void StoreWord(char* p, std::uint64_t w)
{
    VekMemCpy(p, &w, 8);
}

// StringConvertCase converts every letter in place: 16 bytes a step, which
// the compiler does in vector registers, then the last 1 to 15 as one or two
// words that may overlap what was done, since converting a byte twice
// changes nothing; only a string of fewer than 8 bytes goes byte by byte. A view is
// copied first into a block of exactly its size, the one allocation a
// writing edit of a view makes; refused, nothing has changed.
template <char (*kByte)(char), std::uint64_t (*kWord)(std::uint64_t)>
static VekString* StringConvertCase(VekString* x)
{
    const VekSizeT size = x->size;
    if (size == 0)
        return x;
    if (x->capacity == 0) {
        if (!StringDoReallocate(x, size, 0, size, 0))
            return nullptr;
        StringSetSizeNoCheck(x, size);
    }
    char* buf = x->buf;
    VekSizeT i = 0;
    for (; size - i >= 16; i += 16) {
        for (VekSizeT k = 0; k < 16; ++k)
            buf[i + k] = kByte(buf[i + k]);
    }
    if (size < 8) {
        for (; i < size; ++i)
            buf[i] = kByte(buf[i]);
        return x;
    }
    if (size - i > 8)
        StoreWord(buf + i, kWord(VekStringLoad64Inline(buf + i)));
    if (size - i != 0)
        StoreWord(buf + size - 8, kWord(VekStringLoad64Inline(buf + size - 8)));
    return x;
}

VekString*(VekStringToLowerAscii)(VekString* x) noexcept
{
    return StringConvertCase<AsciiToLower, AsciiLowerWord>(x);
}

VekString*(VekStringToUpperAscii)(VekString* x) noexcept
{
    return StringConvertCase<AsciiToUpper, AsciiUpperWord>(x);
}

// ------------------------------------------------------------------------
// Comparison ignoring case
// ------------------------------------------------------------------------

// StringFirstDifferingBlock skips the 32-byte blocks of a and b, from the
// start, that are equal once their letters are lowered, and returns where
// the first that is not starts, or where fewer than 32 bytes remain. A block
// is folded and compared without a branch, which the compiler does in
// vector registers.
static VekSizeT StringFirstDifferingBlock(const char* a, const char* b, VekSizeT n)
{
    VekSizeT i = 0;
    for (; n - i >= 32; i += 32) {
        unsigned char differ = 0;
        for (VekSizeT k = 0; k < 32; ++k)
            differ |= static_cast<unsigned char>(AsciiToLower(a[i + k]) ^ AsciiToLower(b[i + k]));
        if (differ != 0)
            break;
    }
    return i;
}

// StringFirstDifferingByte is which of the eight bytes of two words that
// differ comes first in memory: the lowest on a little-endian machine, the
// highest on a big-endian one.
static inline VekSizeT StringFirstDifferingByte(std::uint64_t a, std::uint64_t b)
{
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    return static_cast<VekSizeT>(__builtin_clzll(a ^ b)) / 8;
#else
    return static_cast<VekSizeT>(__builtin_ctzll(a ^ b)) / 8;
#endif
}

// StringFirstCaseDifference is the first offset below n where a and b differ
// once their letters are lowered, or n. Long runs are passed 32 bytes a
// step; from the first block that differs, or the rest, words of 8 are
// compared, the last one ending at n (bytes compared twice were equal).
// Fewer than 8 bytes go byte by byte.
static inline VekSizeT StringFirstCaseDifference(const char* a, const char* b, VekSizeT n)
{
    if (n < 8) {
        VekSizeT i = 0;
        while (i < n && AsciiToLower(a[i]) == AsciiToLower(b[i]))
            ++i;
        return i;
    }
    for (VekSizeT i = n >= 32 ? StringFirstDifferingBlock(a, b, n) : 0;; i += 8) {
        const VekSizeT at = n - i < 8 ? n - 8 : i;
        const std::uint64_t la = AsciiLowerWord(VekStringLoad64Inline(a + at));
        const std::uint64_t lb = AsciiLowerWord(VekStringLoad64Inline(b + at));
        if (la != lb)
            return at + StringFirstDifferingByte(la, lb);
        if (at + 8 == n)
            return n;
    }
}

static VekBool StringEqualIgnoringCase(const VekString* x, const char* y, VekSizeT ylen)
{
    return (VekBool)(x->size == ylen && StringFirstCaseDifference(x->buf, y, ylen) == ylen);
}

// The first differing lowered bytes order the operands as unsigned values;
// without one, the lengths do, their difference saturated to VekInt.
static VekInt StringCompareIgnoringCase(const VekString* x, const char* y, VekSizeT ylen)
{
    const VekSizeT xlen = x->size;
    const VekSizeT common = VekMinimum__VekSizeT(xlen, ylen);
    const VekSizeT at = StringFirstCaseDifference(x->buf, y, common);
    if (at != common)
        return static_cast<unsigned char>(AsciiToLower(x->buf[at])) -
               static_cast<unsigned char>(AsciiToLower(y[at]));
    if (xlen < ylen)
        return ylen - xlen > INT32_MAX ? INT32_MIN : -static_cast<VekInt>(ylen - xlen);
    return xlen - ylen > INT32_MAX ? INT32_MAX : static_cast<VekInt>(xlen - ylen);
}

VekBool VekStringEqualIgnoringCaseAscii(const VekString* x, const VekString* y) noexcept
{
    return StringEqualIgnoringCase(x, y->buf, y->size);
}

VekBool VekStringEqualIgnoringCaseAsciiCStr(const VekString* x, const char* y) noexcept
{
    const VekSizeT ylen = VekStrLen(y);
    return StringEqualIgnoringCase(x, y, ylen);
}

VekBool VekStringEqualIgnoringCaseAsciiCStrLen(const VekString* x, const char* y,
                                               VekSizeT ylen) noexcept
{
    return StringEqualIgnoringCase(x, y, ylen);
}

VekInt VekStringCompareIgnoringCaseAscii(const VekString* x, const VekString* y) noexcept
{
    return StringCompareIgnoringCase(x, y->buf, y->size);
}

VekInt VekStringCompareIgnoringCaseAsciiCStr(const VekString* x, const char* y) noexcept
{
    const VekSizeT ylen = VekStrLen(y);
    return StringCompareIgnoringCase(x, y, ylen);
}

VekInt VekStringCompareIgnoringCaseAsciiCStrLen(const VekString* x, const char* y,
                                                VekSizeT ylen) noexcept
{
    return StringCompareIgnoringCase(x, y, ylen);
}
