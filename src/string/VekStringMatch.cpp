// VekStringMatch.cpp - prefixes, suffixes, occurrences, the single-byte
// searches under their own names, and find-and-replace with literals.
//
// All of them reduce their operand to a pointer and a length (a C string is
// measured first) and reuse what the module already has: the short-string
// equality of VekStringInline.h for the ends, the forward search for
// occurrences, memchr and memrchr for single bytes (VekStringInline.h), and
// find-and-replace's one worker.
#include "string/VekStringPrivate.h"
#include "string/VekStringSearchKernels.h"

// ------------------------------------------------------------------------
// Prefixes and suffixes
// ------------------------------------------------------------------------

// These and the single-byte searches are the header's inline bodies
// (VekStringInline.h); the parentheses keep its macros from expanding the
// names.
VekBool(VekStringStartsWith)(const VekString* x, const VekString* y) noexcept
{
    return VekStringStartsWithInline(x, y);
}

VekBool(VekStringStartsWithCStr)(const VekString* x, const char* y) noexcept
{
    return VekStringStartsWithCStrInline(x, y);
}

VekBool(VekStringStartsWithCStrLen)(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return VekStringStartsWithCStrLenInline(x, y, ylen);
}

VekBool(VekStringStartsWithChar)(const VekString* x, char c) noexcept
{
    return VekStringStartsWithCharInline(x, c);
}

VekBool(VekStringEndsWith)(const VekString* x, const VekString* y) noexcept
{
    return VekStringEndsWithInline(x, y);
}

VekBool(VekStringEndsWithCStr)(const VekString* x, const char* y) noexcept
{
    return VekStringEndsWithCStrInline(x, y);
}

VekBool(VekStringEndsWithCStrLen)(const VekString* x, const char* y, VekSizeT ylen) noexcept
{
    return VekStringEndsWithCStrLenInline(x, y, ylen);
}

VekBool(VekStringEndsWithChar)(const VekString* x, char c) noexcept
{
    return VekStringEndsWithCharInline(x, c);
}

// ------------------------------------------------------------------------
// Occurrences
// ------------------------------------------------------------------------

VekBool(VekStringContainsCStrLen)(const VekString* x, const char* y, VekSizeT n) noexcept
{
    return VekStringContainsCStrLenInline(x, y, n);
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

VekBool(VekStringContainsChar)(const VekString* x, char c) noexcept
{
    return VekStringContainsCharInline(x, c);
}

// Counting a byte is a pass that adds up comparisons, with no branch on the
// content; the compiler takes it many bytes a step.
VekSizeT(VekStringCountChar)(const VekString* x, char c) noexcept
{
    const char* buf = x->buf;
    VekSizeT count = 0;
    for (VekSizeT i = 0; i < x->size; ++i)
        count += buf[i] == c ? 1 : 0;
    return count;
}

// Each search resumes behind the previous match, as find-and-replace's does,
// so the occurrences counted do not overlap. The empty needle stands at each
// of the size + 1 positions. Short strings are counted inline
// (VekStringInline.h); this runs the vector search for the rest.
VekSizeT(VekStringCountCStrLen)(const VekString* x, const char* y, VekSizeT n) noexcept
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

VekSizeT(VekStringFindFromPosChar)(const VekString* x, VekSizeT pos, char c) noexcept
{
    return VekStringFindFromPosCharInline(x, pos, c);
}

VekSizeT(VekStringFindChar)(const VekString* x, char c) noexcept
{
    return VekStringFindCharInline(x, c);
}

// Without memrchr, the backward set search of one byte gives the same.
VekSizeT(VekStringRFindFromPosChar)(const VekString* x, VekSizeT pos, char c) noexcept
{
#if VEK_STRING_INLINE_MEMRCHR
    return VekStringRFindFromPosCharInline(x, pos, c);
#else
    return VekStringFindLastOfChar(x, pos, c);
#endif
}

VekSizeT(VekStringRFindChar)(const VekString* x, char c) noexcept
{
    return (VekStringRFindFromPosChar)(x, VekStringNpos, c);
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
