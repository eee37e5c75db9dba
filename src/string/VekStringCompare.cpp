// VekStringCompare.cpp - equality, ordering and hashing of string content.
//
// Every form first reduces its other operand to a pointer and a length (a C
// string is measured before anything else), then works on bytes alone: the
// record's allocator and capacity never matter, so a view, an owned copy and
// an empty string on the shared byte compare and hash alike.
#include "string/VekStringAvx512.h"
#include "string/VekStringHash.h"
#include "string/VekStringPrivate.h"

// BytesEqual compares two runs, rejecting different lengths before reading a
// byte. A zero length reads nothing, so either pointer may then be NULL.
static inline VekBool BytesEqual(const char* a, VekSizeT alen, const char* b, VekSizeT blen)
{
    return (VekBool)(alen == blen && VekStringEqualBytesInline(a, b, alen));
}

// SpanEqual compares the span of x at pos (clamped to the end) of at most n
// bytes with y. A pos beyond the end denotes the empty span there.
static inline VekBool SpanEqual(const VekString* x, VekSizeT pos, VekSizeT n, const char* y,
                                VekSizeT ylen)
{
    pos = VekMinimum__VekSizeT(pos, x->size);
    return BytesEqual(x->buf + pos, StringBoundOffset(x, pos, n), y, ylen);
}

// Whole-string equality and ordering are the header's inline bodies
// (VekStringInline.h), so a caller's inlined call and these functions cannot
// differ. The parentheses keep the header's fast-path macros from expanding
// the names.
VekBool(VekStringEqual)(const VekString* x, const VekString* y) noexcept
{
    return VekStringEqualInline(x, y);
}

VekBool(VekStringEqualCStr)(const VekString* x, const char* y) noexcept
{
    return VekStringEqualCStrInline(x, y);
}

VekBool(VekStringEqualCStrLen)(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return VekStringEqualCStrLenInline(x, y, ylen);
}

VekBool VekStringEqualSubstring(const VekString* x, VekSizeT pos, VekSizeT n,
                                const VekString* y) noexcept
{
    return SpanEqual(x, pos, n, y->buf, y->size);
}

VekBool VekStringEqualSubstringCStr(const VekString* x, VekSizeT pos, VekSizeT n,
                                    const char* y) noexcept
{
    const VekSizeT ylen = VekStrLen(y);
    return SpanEqual(x, pos, n, y, ylen);
}

VekBool VekStringEqualSubstringCStrLen(const VekString* x, VekSizeT pos, VekSizeT n, const char* y,
                                       VekSizeT ylen) noexcept
{
    return SpanEqual(x, pos, n, y, ylen);
}

VekInt(VekStringCompare)(const VekString* x, const VekString* y) noexcept
{
    return VekStringCompareInline(x, y);
}

VekInt(VekStringCompareCStr)(const VekString* x, const char* y) noexcept
{
    return VekStringCompareCStrInline(x, y);
}

VekInt(VekStringCompareCStrLen)(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return VekStringCompareCStrLenInline(x, y, ylen);
}

// Each byte enters as a signed 8-bit value on every platform, whatever the
// signedness of char, so a hash computed here matches one computed elsewhere.
// The header's inline hash is the function: up to 8 bytes it hashes them
// itself, longer strings it hands to VekStringHashBytes_, which takes the
// widest kernel the processor runs (VekStringHash.h, several bytes a step).
VekSizeT(VekStringHash)(const VekString* x) noexcept
{
    return VekStringHashInline(x);
}

VekSizeT VekStringHashBytes_(const char* p, VekSizeT n) noexcept
{
#if VEK_SIMD_AVX512 && VEK_SIMD_SSE2
    if (n >= VekStringAvx512::kBlock && kStringAvx512Usable)
        return VekStringAvx512::Hash(p, n);
#endif
    return StringHashLonger(p, n);
}
