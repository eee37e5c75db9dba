// VekStringMatch.cpp - prefixes, suffixes, occurrences, the single-byte
// searches under their own names, and find-and-replace with literals.
//
// All of them reduce their operand to a pointer and a length (a C string is
// measured first) and reuse what the module already has: the short-string
// equality of VekStringInline.h for the ends, the forward search for
// occurrences, memchr and memrchr (through the set searches' Char forms) for
// single bytes, and find-and-replace's one worker.
#include "string/VekStringPrivate.h"
#include "string/VekStringSearchKernels.h"

// ------------------------------------------------------------------------
// Prefixes and suffixes
// ------------------------------------------------------------------------

static inline VekBool StringStartsWith(const VekString* x, const char* y, VekSizeT ylen)
{
    return (VekBool)(x->size >= ylen && VekStringEqualBytesInline(x->buf, y, ylen));
}

static inline VekBool StringEndsWith(const VekString* x, const char* y, VekSizeT ylen)
{
    return (VekBool)(x->size >= ylen &&
                     VekStringEqualBytesInline(x->buf + x->size - ylen, y, ylen));
}

VekBool VekStringStartsWith(const VekString* x, const VekString* y) noexcept
{
    return StringStartsWith(x, y->buf, y->size);
}

VekBool VekStringStartsWithCStr(const VekString* x, const char* y) noexcept
{
    const VekSizeT ylen = VekStrLen(y);
    return StringStartsWith(x, y, ylen);
}

VekBool VekStringStartsWithCStrLen(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return StringStartsWith(x, y, ylen);
}

VekBool VekStringStartsWithChar(const VekString* x, char c) noexcept
{
    return StringStartsWith(x, &c, 1);
}

VekBool VekStringEndsWith(const VekString* x, const VekString* y) noexcept
{
    return StringEndsWith(x, y->buf, y->size);
}

VekBool VekStringEndsWithCStr(const VekString* x, const char* y) noexcept
{
    const VekSizeT ylen = VekStrLen(y);
    return StringEndsWith(x, y, ylen);
}

VekBool VekStringEndsWithCStrLen(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return StringEndsWith(x, y, ylen);
}

VekBool VekStringEndsWithChar(const VekString* x, char c) noexcept
{
    return StringEndsWith(x, &c, 1);
}

// ------------------------------------------------------------------------
// Occurrences
// ------------------------------------------------------------------------

VekBool VekStringContainsCStrLen(const VekString* x, const char* y, VekSizeT n) noexcept
{
    return (VekBool)(VekStringFindCStrLen(x, y, n) != VekStringNpos);
}

VekBool VekStringContains(const VekString* x, const VekString* y) noexcept
{
    return VekStringContainsCStrLen(x, y->buf, y->size);
}

VekBool VekStringContainsCStr(const VekString* x, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringContainsCStrLen(x, y, n);
}

VekBool VekStringContainsChar(const VekString* x, char c) noexcept
{
    return (VekBool)(VekStringFindFirstOfChar(x, 0, c) != VekStringNpos);
}

// Counting a byte is a pass that adds up comparisons, with no branch on the
// content; the compiler takes it many bytes a step.
VekSizeT VekStringCountChar(const VekString* x, char c) noexcept
{
    const char* buf = x->buf;
    VekSizeT count = 0;
    for (VekSizeT i = 0; i < x->size; ++i)
        count += buf[i] == c ? 1 : 0;
    return count;
}

// Each search resumes behind the previous match, as find-and-replace's does,
// so the occurrences counted do not overlap. The empty needle stands at each
// of the size + 1 positions.
VekSizeT VekStringCountCStrLen(const VekString* x, const char* y, VekSizeT n) noexcept
{
    if (n == 0)
        return x->size + 1;
    if (n == 1)
        return VekStringCountChar(x, y[0]);
    VekSizeT count = 0;
    for (VekSizeT from = 0; from < x->size; ++count) {
        const VekSizeT at = StringSearchForward<StringNativeSearch>(x->buf, x->size, from, y, n);
        if (at == VekStringNpos)
            break;
        from = at + n;
    }
    return count;
}

VekSizeT VekStringCount(const VekString* x, const VekString* y) noexcept
{
    return VekStringCountCStrLen(x, y->buf, y->size);
}

VekSizeT VekStringCountCStr(const VekString* x, const char* y) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringCountCStrLen(x, y, n);
}

// ------------------------------------------------------------------------
// Single-byte searches
// ------------------------------------------------------------------------

VekSizeT VekStringFindFromPosChar(const VekString* x, VekSizeT pos, char c) noexcept
{
    return VekStringFindFirstOfChar(x, pos, c);
}

VekSizeT VekStringFindChar(const VekString* x, char c) noexcept
{
    return VekStringFindFirstOfChar(x, 0, c);
}

VekSizeT VekStringRFindFromPosChar(const VekString* x, VekSizeT pos, char c) noexcept
{
    return VekStringFindLastOfChar(x, pos, c);
}

VekSizeT VekStringRFindChar(const VekString* x, char c) noexcept
{
    return VekStringFindLastOfChar(x, VekStringNpos, c);
}

// ------------------------------------------------------------------------
// Find-and-replace with literals
// ------------------------------------------------------------------------

VekString* VekStringFindAndReplaceCStrLen(VekString* x, const char* find, VekSizeT findlen,
                                          const char* replace, VekSizeT replacelen,
                                          VekSizeT* count) noexcept
{
    return StringFindAndReplace(x, find, findlen, replace, replacelen, count);
}

VekString* VekStringFindAndReplaceCStr(VekString* x, const char* find, const char* replace,
                                       VekSizeT* count) noexcept
{
    const VekSizeT findlen = VekStrLen(find);
    const VekSizeT replacelen = VekStrLen(replace);
    return StringFindAndReplace(x, find, findlen, replace, replacelen, count);
}
