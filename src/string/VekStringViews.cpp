// VekStringViews.cpp - views, fields and cuts: strings that read bytes owned
// by someone else.
//
// A view is a record with capacity 0 over bytes it does not own, which every
// function of the module already handles (queries read it, writing edits copy
// it first). Making one is filling the four fields. Fields and cuts find
// their separator with the module's own searches (VekStringSearchKernels.h:
// memchr for one byte, the forward search for a string, the set scan for a
// set) and hand out views of the bytes around it, so splitting a string
// allocates nothing and copies nothing. Words, mostly a few bytes long, are
// found a byte at a time (VekStringInline.h).
//
// A view of another string's span keeps its place in that string even when
// empty (only a view of caller bytes of length 0 goes to the shared empty
// byte, since those bytes may be NULL), so that an empty field's buf still
// tells where it stood.
#include "string/VekStringPrivate.h"
#include "string/VekStringSearchKernels.h"

static constexpr char kOutputIsOwner[] = "an output that is x itself must own no block";
static constexpr char kFieldIsX[] = "the field must not be the string split";

// StringSetView makes x a view of the len bytes at p, with allocator a.
static inline void StringSetView(VekString* x, VekAllocator* a, const char* p, VekSizeT len)
{
    VekStringSetViewInline(x, a, p, len);
}

// ------------------------------------------------------------------------
// Views
// ------------------------------------------------------------------------

// The views, the single-byte fields and cuts are the header's inline bodies
// (VekStringInline.h), so a caller's inlined call and these functions cannot
// differ. The parentheses keep the header's macros from expanding the names.
VekString*(VekStringConstructViewCStrLen)(VekString* x, const char* str, VekSizeT len,
                                          VekAllocator* a) noexcept
{
    return VekStringConstructViewCStrLenInline(x, str, len, a);
}

VekString*(VekStringConstructViewCStr)(VekString* x, const char* str, VekAllocator* a) noexcept
{
    return VekStringConstructViewCStrInline(x, str, a);
}

VekString*(VekStringConstructViewSubstring)(VekString* x, const VekString* str, VekSizeT pos,
                                            VekSizeT n) noexcept
{
    VEK_REQUIRE(x != str || str->capacity == 0, kOutputIsOwner);
    return VekStringConstructViewSubstringInline(x, str, pos, n);
}

// ------------------------------------------------------------------------
// Fields
// ------------------------------------------------------------------------

// StringTakeField makes *field the view of the field that starts at *pos and
// ends where its separator of sep_len bytes starts, at `at` (VekStringNpos:
// the field is the last one and runs to the end), and moves *pos behind the
// separator, or to VekStringNpos.
static inline VekBool StringTakeField(const VekString* x, VekSizeT* pos, VekSizeT at,
                                      VekSizeT sep_len, VekString* field)
{
    VEK_REQUIRE(field != x, kFieldIsX);
    const VekSizeT start = *pos;
    const VekSizeT end = at == VekStringNpos ? x->size : at;
    *pos = at == VekStringNpos ? VekStringNpos : at + sep_len;
    StringSetView(field, x->allocator, x->buf + start, end - start);
    return VEK_TRUE;
}

// StringFindFrom is where the first separator of n >= 1 bytes starts at or
// after pos, or VekStringNpos; pos may be the end.
static inline VekSizeT StringFindFrom(const VekString* x, VekSizeT pos, const char* y, VekSizeT n)
{
    if (pos >= x->size)
        return VekStringNpos;
    return StringSearchForward<StringNativeSearch>(x->buf, x->size, pos, y, n);
}

// An empty separator stands between every two bytes: each field is one byte,
// the last one running to the end (the empty string's only field is empty).
VekBool VekStringNextFieldCStrLen(const VekString* x, VekSizeT* pos, const char* y, VekSizeT n,
                                  VekString* field) noexcept
{
    const VekSizeT start = *pos;
    if (start > x->size)
        return VEK_FALSE;
    if (n == 0)
        return StringTakeField(x, pos, start + 1 < x->size ? start + 1 : VekStringNpos, 0, field);
    return StringTakeField(x, pos, StringFindFrom(x, start, y, n), n, field);
}

VekBool VekStringNextFieldCStr(const VekString* x, VekSizeT* pos, const char* y,
                               VekString* field) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringNextFieldCStrLen(x, pos, y, n, field);
}

VekBool VekStringNextField(const VekString* x, VekSizeT* pos, const VekString* y,
                           VekString* field) noexcept
{
    return VekStringNextFieldCStrLen(x, pos, y->buf, y->size, field);
}

VekBool(VekStringNextFieldChar)(const VekString* x, VekSizeT* pos, char c,
                                VekString* field) noexcept
{
    VEK_REQUIRE(field != x, kFieldIsX);
    return VekStringNextFieldCharInline(x, pos, c, field);
}

VekBool VekStringNextFieldAnyOfCStrLen(const VekString* x, VekSizeT* pos, const char* y, VekSizeT n,
                                       VekString* field) noexcept
{
    const VekSizeT start = *pos;
    if (start > x->size)
        return VEK_FALSE;
    return StringTakeField(x, pos, VekStringFindFirstOfCStrLen(x, start, y, n), 1, field);
}

VekBool VekStringNextFieldAnyOfCStr(const VekString* x, VekSizeT* pos, const char* y,
                                    VekString* field) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringNextFieldAnyOfCStrLen(x, pos, y, n, field);
}

VekBool(VekStringNextWord)(const VekString* x, VekSizeT* pos, VekString* word) noexcept
{
    VEK_REQUIRE(word != x, kFieldIsX);
    return VekStringNextWordInline(x, pos, word);
}

// ------------------------------------------------------------------------
// Cuts
// ------------------------------------------------------------------------

// StringCutAt makes the views around a separator of sep_len bytes at `at`
// (VekStringNpos: none, so all of x comes before). x is read in full before
// either output is written, so an output may be x itself.
static VekBool StringCutAt(const VekString* x, VekSizeT at, VekSizeT sep_len, VekString* before,
                           VekString* after)
{
    VEK_REQUIRE((before != x && after != x) || x->capacity == 0, kOutputIsOwner);
    VekAllocator* a = x->allocator;
    const char* buf = x->buf;
    const VekSizeT size = x->size;
    const VekSizeT end = at == VekStringNpos ? size : at;
    const VekSizeT rest = at == VekStringNpos ? size : at + sep_len;
    if (before != nullptr)
        StringSetView(before, a, buf, end);
    if (after != nullptr)
        StringSetView(after, a, buf + rest, size - rest);
    return (VekBool)(at != VekStringNpos);
}

VekBool VekStringCutCStrLen(const VekString* x, const char* y, VekSizeT n, VekString* before,
                            VekString* after) noexcept
{
    return StringCutAt(x, n == 0 ? 0 : StringFindFrom(x, 0, y, n), n, before, after);
}

VekBool VekStringCutCStr(const VekString* x, const char* y, VekString* before,
                         VekString* after) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return VekStringCutCStrLen(x, y, n, before, after);
}

VekBool VekStringCut(const VekString* x, const VekString* y, VekString* before,
                     VekString* after) noexcept
{
    return VekStringCutCStrLen(x, y->buf, y->size, before, after);
}

VekBool(VekStringCutChar)(const VekString* x, char c, VekString* before, VekString* after) noexcept
{
    VEK_REQUIRE((before != x && after != x) || x->capacity == 0, kOutputIsOwner);
    return VekStringCutCharInline(x, c, before, after);
}
