// VekStringViews.cpp - views, fields and cuts: strings that read bytes owned
// by someone else.
//
// A view is a record with capacity 0 over bytes it does not own, which every
// function of the module already handles (queries read it, writing edits copy
// it first). Making one is filling the four fields. Fields and cuts find
// their separator with memchr for one byte, memchr and a compare in place for
// a short string (handing long or stubborn ones to the forward search), and
// the set scan for a set, and hand out views of the bytes around it, so
// splitting a string allocates nothing and copies nothing. Words, mostly a
// few bytes long, are found a byte at a time (VekStringInline.h).
//
// A view of another string's span keeps its place in that string even when
// empty (only a view of caller bytes of length 0 goes to the shared empty
// byte, since those bytes may be NULL), so that an empty field's buf still
// tells where it stood.
#include "string/VekStringPrivate.h"

static constexpr char kOutputIsOwner[] = "an output that is x itself must own no block";
static constexpr char kFieldIsX[] = "the field must not be the string split";

// ------------------------------------------------------------------------
// Views
// ------------------------------------------------------------------------

// The views, fields and cuts (but those at a byte set) are the header's inline bodies
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

// StringTakeField hands out the field that starts at *pos and ends at the
// separator of sep_len bytes at `at` (VekStringNpos: at the end).
static inline VekBool StringTakeField(const VekString* x, VekSizeT* pos, VekSizeT at,
                                      VekSizeT sep_len, VekString* field)
{
    VEK_REQUIRE(field != x, kFieldIsX);
    return VekStringTakeFieldInline(x, pos, *pos, at, sep_len, field);
}

VekBool(VekStringNextFieldCStrLen)(const VekString* x, VekSizeT* pos, const char* y, VekSizeT n,
                                   VekString* field) noexcept
{
    VEK_REQUIRE(field != x, kFieldIsX);
    return VekStringNextFieldCStrLenInline(x, pos, y, n, field);
}

VekBool VekStringNextFieldCStr(const VekString* x, VekSizeT* pos, const char* y,
                               VekString* field) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return (VekStringNextFieldCStrLen)(x, pos, y, n, field);
}

VekBool VekStringNextField(const VekString* x, VekSizeT* pos, const VekString* y,
                           VekString* field) noexcept
{
    return (VekStringNextFieldCStrLen)(x, pos, y->buf, y->size, field);
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

VekBool(VekStringCutCStrLen)(const VekString* x, const char* y, VekSizeT n, VekString* before,
                             VekString* after) noexcept
{
    VEK_REQUIRE((before != x && after != x) || x->capacity == 0, kOutputIsOwner);
    return VekStringCutCStrLenInline(x, y, n, before, after);
}

VekBool VekStringCutCStr(const VekString* x, const char* y, VekString* before,
                         VekString* after) noexcept
{
    const VekSizeT n = VekStrLen(y);
    return (VekStringCutCStrLen)(x, y, n, before, after);
}

VekBool VekStringCut(const VekString* x, const VekString* y, VekString* before,
                     VekString* after) noexcept
{
    return (VekStringCutCStrLen)(x, y->buf, y->size, before, after);
}

VekBool(VekStringCutChar)(const VekString* x, char c, VekString* before, VekString* after) noexcept
{
    VEK_REQUIRE((before != x && after != x) || x->capacity == 0, kOutputIsOwner);
    return VekStringCutCharInline(x, c, before, after);
}
