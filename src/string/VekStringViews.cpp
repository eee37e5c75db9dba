// VekStringViews.cpp - views, fields and cuts: strings that read bytes owned
// by someone else.
//
// A view is a record with capacity 0 over bytes it does not own, which every
// function of the module already handles (queries read it, writing edits copy
// it first). Making one is filling the four fields. Fields and cuts find
// their separator with the module's own searches (VekStringSearchKernels.h:
// memchr for one byte, the forward search for a string, the set scan for a
// set and for whitespace) and hand out views of the bytes around it, so
// splitting a string allocates nothing and copies nothing.
//
// A view of another string's span keeps its place in that string even when
// empty (only a view of caller bytes of length 0 goes to the shared empty
// byte, since those bytes may be NULL), so that an empty field's buf still
// tells where it stood.
#include "string/VekStringAscii.h"
#include "string/VekStringPrivate.h"
#include "string/VekStringSearchKernels.h"

static constexpr char kOutputIsOwner[] = "an output that is x itself must own no block";

// StringSetView makes x a view of the len bytes at p, with allocator a.
static inline void StringSetView(VekString* x, VekAllocator* a, const char* p, VekSizeT len)
{
    x->allocator = a;
    x->buf = const_cast<char*>(p);
    x->size = len;
    x->capacity = 0;
}

// ------------------------------------------------------------------------
// Views
// ------------------------------------------------------------------------

VekString* VekStringConstructViewCStrLen(VekString* x, const char* str, VekSizeT len,
                                         VekAllocator* a) noexcept
{
    StringSetView(x, a, len == 0 ? vekStringEmpty_ : str, len);
    return x;
}

VekString* VekStringConstructViewCStr(VekString* x, const char* str, VekAllocator* a) noexcept
{
    const VekSizeT len = VekStrLen(str);
    return VekStringConstructViewCStrLen(x, str, len, a);
}

// Everything is read from str before x is written, so x may be str.
VekString* VekStringConstructViewSubstring(VekString* x, const VekString* str, VekSizeT pos,
                                           VekSizeT n) noexcept
{
    VEK_REQUIRE(x != str || str->capacity == 0, kOutputIsOwner);
    VekAllocator* a = str->allocator;
    if (!StringCheckPos(str, pos)) {
        VekStringConstructDefault(x, a);
        return nullptr;
    }
    StringSetView(x, a, str->buf + pos, StringBoundOffset(str, pos, n));
    return x;
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
    VEK_REQUIRE(field != x, "the field must not be the string split");
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

VekBool VekStringNextFieldChar(const VekString* x, VekSizeT* pos, char c, VekString* field) noexcept
{
    const VekSizeT start = *pos;
    if (start > x->size)
        return VEK_FALSE;
    return StringTakeField(x, pos, VekStringFindFirstOfChar(x, start, c), 1, field);
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

// A word starts at the first byte at or after *pos that is not whitespace and
// ends at the next one that is, or at the end.
VekBool VekStringNextWord(const VekString* x, VekSizeT* pos, VekString* word) noexcept
{
    VEK_REQUIRE(word != x, "the word must not be the string split");
    const VekSizeT size = x->size;
    if (*pos >= size)
        return VEK_FALSE;
    const VekSizeT start = StringScanSetForward<StringNativeSearch, Wanted::kOutsideSet>(
        x->buf, size, *pos, kAsciiSpaces, kAsciiSpaceCount);
    if (start == VekStringNpos)
        return VEK_FALSE;
    VekSizeT end = size;
    if (start + 1 < size) {
        end = StringScanSetForward<StringNativeSearch, Wanted::kInSet>(
            x->buf, size, start + 1, kAsciiSpaces, kAsciiSpaceCount);
        end = end == VekStringNpos ? size : end;
    }
    *pos = end;
    StringSetView(word, x->allocator, x->buf + start, end - start);
    return VEK_TRUE;
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

VekBool VekStringCutChar(const VekString* x, char c, VekString* before, VekString* after) noexcept
{
    return StringCutAt(x, VekStringFindFirstOfChar(x, 0, c), 1, before, after);
}
