// VekStringCompare.cpp - equality, ordering and hashing of string content.
//
// Every form first reduces its other operand to a pointer and a length (a C
// string is measured before anything else), then works on bytes alone: the
// record's allocator and capacity never matter, so a view, an owned copy and
// an empty string on the shared byte compare and hash alike.
#include <climits>

#include "string/VekStringHash.h"
#include "string/VekStringPrivate.h"

// BytesEqual compares two runs, rejecting different lengths before reading a
// byte. A zero length reads nothing, so either pointer may then be NULL.
static inline VekBool BytesEqual(const char* a, VekSizeT alen, const char* b, VekSizeT blen)
{
    if (alen != blen)
        return VEK_FALSE;
    return (VekBool)(alen == 0 || VekMemCmp(a, b, alen) == 0);
}

// SpanEqual compares the span of x at pos (clamped to the end) of at most n
// bytes with y. A pos beyond the end denotes the empty span there.
static inline VekBool SpanEqual(const VekString* x, VekSizeT pos, VekSizeT n, const char* y,
                                VekSizeT ylen)
{
    pos = VekMinimum__VekSizeT(pos, x->size);
    return BytesEqual(x->buf + pos, StringBoundOffset(x, pos, n), y, ylen);
}

// CompareBytes orders as memcmp on the common prefix, then by length. The
// length difference is saturated so its sign survives the narrowing to VekInt.
static inline VekInt CompareBytes(const char* a, VekSizeT alen, const char* b, VekSizeT blen)
{
    const VekSizeT common_len = VekMinimum__VekSizeT(alen, blen);
    const int ret = common_len == 0 ? 0 : VekMemCmp(a, b, common_len);
    if (ret != 0)
        return ret;
    if (alen < blen)
        return blen - alen > static_cast<VekSizeT>(INT32_MAX) ? INT32_MIN
                                                              : -static_cast<VekInt>(blen - alen);
    return alen - blen > static_cast<VekSizeT>(INT32_MAX) ? INT32_MAX
                                                          : static_cast<VekInt>(alen - blen);
}

VekBool VekStringEqual(const VekString* x, const VekString* y) noexcept
{
    return BytesEqual(x->buf, x->size, y->buf, y->size);
}

VekBool VekStringEqualCStr(const VekString* x, const char* y) noexcept
{
    return BytesEqual(x->buf, x->size, y, VekStrLen(y));
}

VekBool VekStringEqualCStrLen(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return BytesEqual(x->buf, x->size, y, ylen);
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

VekInt VekStringCompare(const VekString* x, const VekString* y) noexcept
{
    return CompareBytes(x->buf, x->size, y->buf, y->size);
}

VekInt VekStringCompareCStr(const VekString* x, const char* y) noexcept
{
    return CompareBytes(x->buf, x->size, y, VekStrLen(y));
}

VekInt VekStringCompareCStrLen(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return CompareBytes(x->buf, x->size, y, ylen);
}

// Each byte enters as a signed 8-bit value on every platform, whatever the
// signedness of char, so a hash computed here matches one computed elsewhere.
// VekStringHash.h computes it several bytes a step.
VekSizeT VekStringHash(const VekString* x) noexcept
{
    return StringHashBytes(x->buf, VekStringLength(x));
}
