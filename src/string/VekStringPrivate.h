// VekStringPrivate.h - the storage engine shared by the string sources.
//
// This is the one place that obtains a character buffer, lays the surviving
// pieces of the old content into it and returns the old buffer. Editing code
// describes the new layout as up to three segments (pos, n, dstPos): the n
// bytes at offset pos of the current buffer go to offset dstPos of the new
// block. The old block is released only after every segment is copied, so a
// segment may read the string's own content even when the edit's operand lies
// inside that content. Callers compute everything before calling and change
// nothing before it returns, so a refusal leaves the string exactly as it was.
//
// Nothing here validates its arguments; the public functions do that. Never
// installed: the functions are internal to the library.
#ifndef VEK_SRC_STRING_VEKSTRINGPRIVATE_H
#define VEK_SRC_STRING_VEKSTRINGPRIVATE_H

#include <cstdint>

#include "Vek/Utils/VekAllocator.h"
#include "Vek/Utils/VekStdCLib.h"
#include "Vek/Utils/VekString.h"
#include "Vek/Utils/VekTypes.h"
#include "base/VekCheck.h"

// Operands are located by address. The addresses are compared as integers
// because an operand from another object has no defined pointer order
// relative to a string's buffer.
static inline std::uintptr_t Address(const char* p)
{
    return reinterpret_cast<std::uintptr_t>(p);
}

// StringIteratorsInContent: first and last lie in [buf, buf + size] in that
// order, as the iterators of a range of x's own content must.
static inline bool StringIteratorsInContent(const VekString* x, const char* first, const char* last)
{
    return Address(x->buf) <= Address(first) && Address(first) <= Address(last) &&
           Address(last) <= Address(x->buf) + x->size;
}

// StringOperandIsValid: an operand that starts in the content ends within
// it, and none starts in the spare capacity behind the content, where an edit
// may write before it reads. Where an operand from elsewhere ends is not
// examined: a count too large for any buffer is refused later like any size
// beyond the allocator's limit.
static inline bool StringOperandIsValid(const VekString* x, const char* s, VekSizeT n)
{
    const std::uintptr_t content = Address(x->buf);
    const std::uintptr_t content_end = content + x->size;
    const std::uintptr_t held_end = x->capacity != 0 ? content + x->capacity + 1 : content_end;
    const std::uintptr_t first = Address(s);
    if (content <= first && first <= content_end)
        return n <= content_end - first;
    return first < content || first >= held_end;
}

// The obligations the public functions check, worded once.
static constexpr char kRangeReversed[] = "range end before its start";
static constexpr char kIteratorOutside[] = "iterator outside the content";
static constexpr char kOperandInSpare[] =
    "operand reaches into the spare capacity behind the content";

static inline VekSizeT VekMaximum__VekSizeT(VekSizeT a, VekSizeT b)
{
    return VekSizeTLess(&a, &b) ? b : a;
}

static inline VekSizeT VekMinimum__VekSizeT(VekSizeT a, VekSizeT b)
{
    return VekSizeTLess(&b, &a) ? b : a;
}

// CopyBuffer copies n bytes from src + srcPos to dst + dstPos; the ranges must
// not overlap. A zero count touches neither pointer, so either may then be a
// pointer memcpy would not accept.
static inline void CopyBuffer(char* dst, VekSizeT dstPos, VekSizeT n, const char* src,
                              VekSizeT srcPos)
{
    if (n != 0)
        VekMemCpy(dst + dstPos, src + srcPos, n);
}

// SetBuffer fills n bytes at dst + dstPos with c.
static inline void SetBuffer(char* dst, VekSizeT dstPos, VekSizeT n, char c)
{
    if (n != 0)
        VekMemSet(dst + dstPos, (unsigned char)c, n);
}

// Deallocate returns an owned block to the string's allocator with the byte
// count it was obtained with. It changes no field: the caller installs the
// replacement.
static inline void Deallocate(VekString* x)
{
    if (x->capacity != 0)
        VekStringDeallocateInline(x->allocator, x->buf, x->capacity);
}

// StringSetSize sets the size and, when the string owns its block, writes the
// terminator. Use it wherever the string may own nothing.
static inline void StringSetSize(VekString* x, VekSizeT len)
{
    x->size = len;
    if (x->capacity != 0)
        x->buf[len] = '\0';
}

// StringSetSizeNoCheck is StringSetSize for strings known to own their block.
static inline void StringSetSizeNoCheck(VekString* x, VekSizeT len)
{
    VEK_ASSERT(x->capacity != 0 && len <= x->capacity, "terminator outside an owned block");
    x->size = len;
    x->buf[len] = '\0';
}

// StringCheckPos accepts a position up to and including the end.
static inline VekBool StringCheckPos(const VekString* x, VekSizeT pos)
{
    return (VekBool)(pos <= x->size);
}

// StringBoundOffset clamps a count to the bytes behind pos (pos already checked).
static inline VekSizeT StringBoundOffset(const VekString* x, VekSizeT pos, VekSizeT n)
{
    return VekMinimum__VekSizeT(x->size - pos, n);
}

// StringAddSizes stores a + b in *sum, or returns false when the sum would not
// fit 64 bits. Such a size is refused like one beyond the allocator's limit.
static inline VekBool StringAddSizes(VekSizeT a, VekSizeT b, VekSizeT* sum)
{
    if (b > VekStringNpos - a)
        return VEK_FALSE;
    *sum = a + b;
    return VEK_TRUE;
}

// StringGrownCapacity is the growth rule of the editing functions: the larger
// of what the result needs and twice the current capacity. Doubling a capacity
// of 2^63 or more saturates to VekStringNpos, which the allocator's limit
// always refuses, instead of wrapping to a small value.
static inline VekSizeT StringGrownCapacity(const VekString* x, VekSizeT required)
{
    const VekSizeT doubled = x->capacity > VekStringNpos / 2 ? VekStringNpos : 2 * x->capacity;
    return VekMaximum__VekSizeT(required, doubled);
}

// StringAllocateBlock obtains the block for a new capacity (not 0): NULL when
// the allocator's limit refuses it (capacity >= maxSize, so capacity + 1 never
// wraps) or allocate returns NULL. Nothing in the string changes.
static inline char* StringAllocateBlock(VekString* x, VekSizeT capacity)
{
    VEK_ASSERT(capacity != 0, "no block for capacity 0");
    if (capacity >= VekStringMaxSize(x))
        return nullptr;
    return VekStringAllocateInline(x->allocator, capacity);
}

// StringInstallBlock returns the old block, if owned, and installs the new
// one. Callers copy everything they need from the old buffer first.
static inline void StringInstallBlock(VekString* x, char* buf, VekSizeT capacity)
{
    Deallocate(x);
    x->buf = buf;
    x->capacity = capacity;
}

// StringDoReallocate3 is the reallocation. Capacity 0 releases the block and
// leaves the string empty on the shared byte; it cannot fail. Otherwise it
// obtains a block of capacity + 1 bytes, copies the three segments from the
// current buffer (owned or not) in order, returns the old block if owned, and
// installs the new one. It never changes the size and never writes a
// terminator: the caller sets the size next. A refused block returns false
// with nothing changed, copied or released.
static inline VekBool StringDoReallocate3(VekString* x, VekSizeT capacity, VekSizeT pos1,
                                          VekSizeT n1, VekSizeT dstPos1, VekSizeT pos2, VekSizeT n2,
                                          VekSizeT dstPos2, VekSizeT pos3, VekSizeT n3,
                                          VekSizeT dstPos3)
{
    if (capacity == 0) {
        Deallocate(x);
        x->size = 0;
        x->buf = vekStringEmpty_;
        x->capacity = 0;
        return VEK_TRUE;
    }
    char* buf = StringAllocateBlock(x, capacity);
    if (buf == nullptr)
        return VEK_FALSE;
    CopyBuffer(buf, dstPos1, n1, x->buf, pos1);
    CopyBuffer(buf, dstPos2, n2, x->buf, pos2);
    CopyBuffer(buf, dstPos3, n3, x->buf, pos3);
    StringInstallBlock(x, buf, capacity);
    return VEK_TRUE;
}

static inline VekBool StringDoReallocate2(VekString* x, VekSizeT capacity, VekSizeT pos1,
                                          VekSizeT n1, VekSizeT dstPos1, VekSizeT pos2, VekSizeT n2,
                                          VekSizeT dstPos2)
{
    return StringDoReallocate3(x, capacity, pos1, n1, dstPos1, pos2, n2, dstPos2, 0, 0, 0);
}

static inline VekBool StringDoReallocate(VekString* x, VekSizeT capacity, VekSizeT pos, VekSizeT n,
                                         VekSizeT dstPos)
{
    return StringDoReallocate3(x, capacity, pos, n, dstPos, 0, 0, 0, 0, 0, 0);
}

// StringFindAndReplace is find-and-replace with its operands as pointers and
// lengths (VekStringSearch.cpp), which every public form calls. On success it
// stores the number of occurrences replaced in *count, unless count is NULL;
// a failure leaves *count alone.
VekString* StringFindAndReplace(VekString* x, const char* find, VekSizeT find_len,
                                const char* replace, VekSizeT replace_len, VekSizeT* count);

#endif // VEK_SRC_STRING_VEKSTRINGPRIVATE_H
