// VekStringStorage.cpp - lifetime and storage of VekString: construction,
// destruction, moves, swaps, reserve, clear and raw-buffer release.
//
// Every copying constructor funnels into VekStringConstructCStrLen, which
// takes a block of exactly the length; every capacity change goes through the
// engine's reallocation. Moves and swaps only exchange records, so they never
// allocate and cost the same for any length.
#include "string/VekStringPrivate.h"

// The shared empty C string. It is const storage behind a non-const pointer
// so that a stray write through an unowned buffer faults instead of silently
// corrupting every empty string.
static const char emptyString[1] = {'\0'};
char* vekStringEmpty_ = const_cast<char*>(emptyString);

// StringMakeEmpty points a record at the shared empty byte, owning nothing.
static inline void StringMakeEmpty(VekString* x)
{
    x->buf = vekStringEmpty_;
    x->size = 0;
    x->capacity = 0;
}

// Default construction, construction from bytes, copy and destruction are
// the header's inline bodies (VekStringInline.h), so a caller's inlined call
// and these functions cannot differ. Construction allocates first and then
// stores each field once; a refusal leaves a valid empty string. The
// parentheses keep the header's fast-path macros from expanding the names.
VekString*(VekStringConstructDefault)(VekString* x, VekAllocator* a) noexcept
{
    return VekStringConstructDefaultInline(x, a);
}

VekString*(VekStringConstructCStrLen)(VekString* x, const char* str, VekSizeT len,
                                      VekAllocator* a) noexcept
{
    return VekStringConstructCStrLenInline(x, str, len, a);
}

VekString*(VekStringConstructCStr)(VekString* x, const char* str, VekAllocator* a) noexcept
{
    return VekStringConstructCStrInline(x, str, a);
}

void(VekStringDestruct)(VekString* x) noexcept
{
    VekStringDestructInline(x);
}

// The copy uses the source's allocator and fits its capacity to the content.
VekString*(VekStringConstructCopy)(VekString* x, const VekString* src) noexcept
{
    return VekStringConstructCopyInline(x, src);
}

VekString* VekStringConstructSubstring(VekString* x, const VekString* str, VekSizeT pos, VekSizeT n,
                                       VekAllocator* a) noexcept
{
    if (!StringCheckPos(str, pos)) {
        VekStringConstructDefault(x, a);
        return nullptr;
    }
    const VekSizeT len = StringBoundOffset(str, pos, n);
    return VekStringConstructCStrLen(x, str->buf + pos, len, a);
}

VekString* VekStringConstructRange(VekString* x, VekStringConstIterator first,
                                   VekStringConstIterator last, VekAllocator* a) noexcept
{
    VEK_REQUIRE(Address(first) <= Address(last), kRangeReversed);
    return VekStringConstructCStrLen(x, first, static_cast<VekSizeT>(last - first), a);
}

// The source keeps its allocator, so it stays a live string that can be
// reused or destroyed.
VekString* VekStringConstructMove(VekString* x, VekString* src) noexcept
{
    VEK_REQUIRE(x != src, "the same record as destination and source");
    *x = *src;
    StringMakeEmpty(src);
    return x;
}

// An adopted block becomes an owned buffer like any other; its byte count on
// release is the caller's capacity, which is the string's capacity + 1.
VekString* VekStringConstructWithExternalBuffer(VekString* x, char* buffer, VekSizeT length,
                                                VekSizeT capacity, VekAllocator* a) noexcept
{
    VEK_REQUIRE(capacity == 0 || buffer != nullptr, "no block for a non-zero capacity");
    VekStringConstructDefault(x, a);
    if (capacity == 0)
        return x;
    if (capacity == 1) {
        VekAllocatorDeallocate(a, buffer, 1);
        return x;
    }
    x->buf = buffer;
    x->capacity = capacity - 1;
    x->size = VekMinimum__VekSizeT(capacity - 1, length);
    // A terminator already in place is not written again: the caller's block
    // may be one whose pages should stay untouched until really written.
    // cppcheck-suppress duplicateConditionalAssign
    if (buffer[x->size] != '\0')
        buffer[x->size] = '\0';
    return x;
}

VekString* VekStringMove(VekString* x, VekString* src) noexcept
{
    if (x == src)
        return x;
    Deallocate(x);
    return VekStringConstructMove(x, src);
}

VekBool VekStringSwap(VekString* x, VekString* y) noexcept
{
    if (x != y) {
        const VekString t = *x;
        *x = *y;
        *y = t;
    }
    return VEK_TRUE;
}

// Reserve always reallocates, even to the same capacity: that is what lets it
// shrink a block to its content and turn a view into an owned copy.
VekBool VekStringReserve(VekString* x, VekSizeT res) noexcept
{
    const VekSizeT c = VekMaximum__VekSizeT(x->size, res);
    if (!StringDoReallocate(x, c, 0, x->size, 0))
        return VEK_FALSE;
    StringSetSize(x, x->size);
    return VEK_TRUE;
}

void VekStringClear(VekString* x) noexcept
{
    if (x->capacity != 0)
        StringSetSizeNoCheck(x, 0);
    else if (x->size != 0)
        StringMakeEmpty(x);
}

void VekStringReleaseBuffer(VekString* x, VekSizeT buflen) noexcept
{
    VEK_REQUIRE(buflen == 0 || x->capacity != 0,
                "bytes announced in a string that owns no buffer (a read-only view or the "
                "shared empty byte)");
    VEK_REQUIRE(buflen <= x->capacity - x->size,
                "more bytes announced than the buffer has room for");
    StringSetSize(x, x->size + buflen);
}
