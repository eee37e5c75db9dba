// VekStringTrimCase.cpp - trimming, and ASCII case: conversion in place and
// comparison ignoring it.
//
// Trimming finds the first and last bytes to keep with the set searches
// (VekStringSearchKernels.h), then keeps them: a view narrows, an owned string
// moves them to the front of its own block, so nothing allocates and nothing
// can fail. Case conversion writes in place, so a view is first copied into a
// block of its own; the comparisons fold both operands eight bytes at a time
// (VekStringAscii.h) until they differ.
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

// StringTrimSet keeps the bytes from the first to the last not in the set of
// n bytes at y, at the ends chosen. Both scans are over before anything
// moves, so the set may lie inside x.
template <Ends kEnds> static VekString* StringTrimSet(VekString* x, const char* y, VekSizeT n)
{
    const VekSizeT size = x->size;
    if (size == 0)
        return x;
    VekSizeT start = 0;
    if (static_cast<int>(kEnds) & static_cast<int>(Ends::kLeft)) {
        start =
            StringScanSetForward<StringNativeSearch, Wanted::kOutsideSet>(x->buf, size, 0, y, n);
        if (start == VekStringNpos)
            return StringKeep(x, size, size);
    }
    VekSizeT end = size;
    if (static_cast<int>(kEnds) & static_cast<int>(Ends::kRight)) {
        const VekSizeT last =
            StringScanSetBackward<StringNativeSearch, Wanted::kOutsideSet>(x->buf, size - 1, y, n);
        end = last == VekStringNpos ? 0 : last + 1;
    }
    return StringKeep(x, start, end);
}

VekString* VekStringTrim(VekString* x) noexcept
{
    return StringTrimSet<Ends::kBoth>(x, kAsciiSpaces, kAsciiSpaceCount);
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

VekString* VekStringTrimChar(VekString* x, char c) noexcept
{
    return StringTrimSet<Ends::kBoth>(x, &c, 1);
}

VekString* VekStringTrimLeft(VekString* x) noexcept
{
    return StringTrimSet<Ends::kLeft>(x, kAsciiSpaces, kAsciiSpaceCount);
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

VekString* VekStringTrimLeftChar(VekString* x, char c) noexcept
{
    return StringTrimSet<Ends::kLeft>(x, &c, 1);
}

VekString* VekStringTrimRight(VekString* x) noexcept
{
    return StringTrimSet<Ends::kRight>(x, kAsciiSpaces, kAsciiSpaceCount);
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

VekString* VekStringTrimRightChar(VekString* x, char c) noexcept
{
    return StringTrimSet<Ends::kRight>(x, &c, 1);
}

// ------------------------------------------------------------------------
// Case conversion
// ------------------------------------------------------------------------

// StringConvertCase applies kConvert to every byte in place. A view is copied
// first into a block of exactly its size, the one allocation a writing edit
// of a view makes; refused, nothing has changed.
template <char (*kConvert)(char)> static VekString* StringConvertCase(VekString* x)
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
    for (VekSizeT i = 0; i < size; ++i)
        buf[i] = kConvert(buf[i]);
    return x;
}

VekString* VekStringToLowerAscii(VekString* x) noexcept
{
    return StringConvertCase<AsciiToLower>(x);
}

VekString* VekStringToUpperAscii(VekString* x) noexcept
{
    return StringConvertCase<AsciiToUpper>(x);
}

// ------------------------------------------------------------------------
// Comparison ignoring case
// ------------------------------------------------------------------------

// StringFirstCaseDifference is the first offset below n where a and b differ
// once their letters are lowered, or n. Eight bytes a step while eight
// remain; the step that differs, and the last few bytes, go byte by byte.
static VekSizeT StringFirstCaseDifference(const char* a, const char* b, VekSizeT n)
{
    VekSizeT i = 0;
    for (; n - i >= 8; i += 8) {
        if (AsciiLowerWord(VekStringLoad64Inline(a + i)) !=
            AsciiLowerWord(VekStringLoad64Inline(b + i)))
            break;
    }
    for (; i < n; ++i) {
        if (AsciiToLower(a[i]) != AsciiToLower(b[i]))
            return i;
    }
    return n;
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
