// VekStringEdit.cpp - assignment, appending, resizing, insertion, replacement
// and erasure.
//
// Every public function normalises its operand to a pointer and a byte count,
// and its positions to checked, clamped offsets, then hands them to one of four
// workers: StringDoAssign, StringDoAppend, StringDoReplace and StringDoErase.
// A worker edits in place when the result fits the owned block; otherwise it
// asks the engine for a block of the grown capacity laid out with the surviving
// pieces already at their final offsets, so no byte is copied twice and no
// temporary buffer is needed even when the operand lies inside the string.
#include "string/VekStringPrivate.h"

// StringStartsInContent: the operand starts within the content, [buf, buf + size).
static inline bool StringStartsInContent(const VekString* x, const char* s)
{
    return Address(x->buf) <= Address(s) && Address(s) < Address(x->buf) + x->size;
}

// StringStartsInContentOrAtEnd: as above with the end itself included, which
// lets an in-place edit treat an empty operand at the end like any other.
static inline bool StringStartsInContentOrAtEnd(const VekString* x, const char* s)
{
    return Address(x->buf) <= Address(s) && Address(s) <= Address(x->buf) + x->size;
}

// ---------------------------------------------------------------------------
// Assignment
// ---------------------------------------------------------------------------

// StringDoAssign replaces the content by the len bytes at s. An operand inside
// an owned block is never longer than the capacity, so it always takes the
// in-place path; only a view can reach the growth path with its own bytes as
// operand, and a view is never released, so reading the operand after the
// reallocation is safe.
static VekString* StringDoAssign(VekString* x, const char* s, VekSizeT len)
{
    const VekSizeT capacity = x->capacity;
    if (len == 0) {
        if (capacity == 0) {
            x->buf = vekStringEmpty_;
            x->size = 0;
        } else {
            StringSetSizeNoCheck(x, 0);
        }
        return x;
    }
    if (len <= capacity) {
        if (StringStartsInContentOrAtEnd(x, s))
            VekMemMove(x->buf, s, len);
        else
            VekMemCpy(x->buf, s, len);
        StringSetSizeNoCheck(x, len);
        return x;
    }
    if (!StringDoReallocate(x, StringGrownCapacity(x, len), 0, 0, 0))
        return nullptr;
    VekMemCpy(x->buf, s, len);
    StringSetSizeNoCheck(x, len);
    return x;
}

VekString* VekStringAssign(VekString* x, const VekString* src) noexcept
{
    if (x == src)
        return x;
    return StringDoAssign(x, src->buf, src->size);
}

VekString* VekStringAssignSubstring(VekString* x, const VekString* str, VekSizeT pos,
                                    VekSizeT n) noexcept
{
    if (!StringCheckPos(str, pos))
        return nullptr;
    const VekSizeT len = StringBoundOffset(str, pos, n);
    VEK_REQUIRE(StringOperandIsValid(x, str->buf + pos, len), kOperandInSpare);
    return StringDoAssign(x, str->buf + pos, len);
}

VekString* VekStringAssignCStr(VekString* x, const char* str) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str, 0), kOperandInSpare);
    return StringDoAssign(x, str, VekStrLen(str));
}

VekString* VekStringAssignCStrLen(VekString* x, const char* str, VekSizeT n) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str, n), kOperandInSpare);
    return StringDoAssign(x, str, n);
}

VekString* VekStringAssignRange(VekString* x, VekStringConstIterator first,
                                VekStringConstIterator last) noexcept
{
    VEK_REQUIRE(Address(first) <= Address(last), kRangeReversed);
    const VekSizeT last_offset = static_cast<VekSizeT>(last - first);
    VEK_REQUIRE(StringOperandIsValid(x, first, last_offset), kOperandInSpare);
    return StringDoAssign(x, first, last_offset);
}

// One byte taken by value cannot overlap anything, so an owned block is simply
// overwritten; otherwise the growth rule on capacity 0 asks for exactly 1.
VekString* VekStringAssignChar(VekString* x, char c) noexcept
{
    if (x->capacity == 0 && !StringDoReallocate(x, 1, 0, 0, 0))
        return nullptr;
    x->buf[0] = c;
    StringSetSizeNoCheck(x, 1);
    return x;
}

// ---------------------------------------------------------------------------
// Appending
// ---------------------------------------------------------------------------

// StringDoAppend appends the len bytes at s: the header's inline body, so
// every appending function grows as the inlined VekStringAppendCStrLen does.
// In place, an operand inside the content ends at or before the old end,
// where the copy begins; on growth it is read before the old block goes back.
static VekString* StringDoAppend(VekString* x, const char* s, VekSizeT len)
{
    return VekStringAppendCStrLenInline(x, s, len);
}

VekString* VekStringAppend(VekString* x, const VekString* str) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str->buf, str->size), kOperandInSpare);
    return StringDoAppend(x, str->buf, str->size);
}

VekString* VekStringAppendSubstring(VekString* x, const VekString* str, VekSizeT pos,
                                    VekSizeT n) noexcept
{
    if (!StringCheckPos(str, pos))
        return nullptr;
    const VekSizeT len = StringBoundOffset(str, pos, n);
    VEK_REQUIRE(StringOperandIsValid(x, str->buf + pos, len), kOperandInSpare);
    return StringDoAppend(x, str->buf + pos, len);
}

VekString* VekStringAppendCStr(VekString* x, const char* str) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str, 0), kOperandInSpare);
    return StringDoAppend(x, str, VekStrLen(str));
}

// The parentheses keep the header's fast-path macro from expanding the name.
VekString*(VekStringAppendCStrLen)(VekString* x, const char* str, VekSizeT n) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str, n), kOperandInSpare);
    return StringDoAppend(x, str, n);
}

VekString* VekStringAppendRange(VekString* x, VekStringConstIterator first,
                                VekStringConstIterator last) noexcept
{
    VEK_REQUIRE(Address(first) <= Address(last), kRangeReversed);
    const VekSizeT last_offset = static_cast<VekSizeT>(last - first);
    VEK_REQUIRE(StringOperandIsValid(x, first, last_offset), kOperandInSpare);
    return StringDoAppend(x, first, last_offset);
}

VekString*(VekStringAppendChar)(VekString* x, char c) noexcept
{
    return StringDoAppend(x, &c, 1);
}

// Growth is decided on the size alone, so n = 0 on a view still copies the
// viewed bytes into an owned block: the caller asked for a writable string.
VekString* VekStringAppendN(VekString* x, VekSizeT n, char c) noexcept
{
    VekSizeT size;
    if (!StringAddSizes(x->size, n, &size))
        return nullptr;
    if (size > x->capacity && !StringDoReallocate(x, StringGrownCapacity(x, size), 0, x->size, 0))
        return nullptr;
    SetBuffer(x->buf, x->size, n, c);
    StringSetSize(x, size);
    return x;
}

// ---------------------------------------------------------------------------
// Replacement and insertion
// ---------------------------------------------------------------------------

// StringDoReplace replaces the len1 bytes at pos by the len2 bytes at s; an
// insertion has len1 = 0. Where the replacement comes from matters only when
// it lies inside the string, and only for an in-place edit:
//
//   len2 <= len1: move the replacement to p first, then close the gap by
//     moving the tail towards the start. The replacement is read where it
//     stood, wherever that was.
//   len2 > len1: open the gap first by moving the tail towards the end, then
//     fetch the replacement:
//     - wholly before the span's end (prefix or span, neither moved): move it;
//     - wholly in the old tail: it now stands len2 - len1 further on, behind
//       p + len2, so a plain copy cannot overlap;
//     - straddling the span's end: its first nleft bytes did not move and its
//       rest now starts at p + len2; move the first part, then copy the rest.
//
// When the result does not fit, the engine builds the new block in one pass:
// prefix, tail and (for an operand inside the string) the replacement, all
// read from the old block before it is released.
static VekString* StringDoReplace(VekString* x, VekSizeT pos, VekSizeT len1, const char* s,
                                  VekSizeT len2)
{
    VEK_ASSERT(pos <= x->size && len1 <= x->size - pos, "span outside the content");
    const VekSizeT old_size = x->size;
    const VekSizeT tail_length = old_size - (pos + len1);
    VekSizeT new_size;
    if (!StringAddSizes(old_size - len1, len2, &new_size))
        return nullptr;

    if (new_size <= x->capacity) {
        char* p = x->buf + pos;
        if (!StringStartsInContentOrAtEnd(x, s)) {
            // Outside: the tail and the replacement cannot interfere.
            if (tail_length != 0 && len1 != len2)
                VekMemMove(p + len2, p + len1, tail_length);
            if (len2 != 0)
                VekMemCpy(p, s, len2);
        } else {
            if (len2 != 0 && len2 <= len1)
                VekMemMove(p, s, len2);
            if (tail_length != 0 && len2 != len1)
                VekMemMove(p + len2, p + len1, tail_length);
            if (len2 > len1) {
                const char* span_end = p + len1;
                if (s + len2 <= span_end) {
                    VekMemMove(p, s, len2); // wholly before the span's end
                } else if (s >= span_end) {
                    VekMemCpy(p, s + (len2 - len1), len2); // wholly in the old tail
                } else {
                    const VekSizeT nleft = static_cast<VekSizeT>(span_end - s); // straddling
                    VekMemMove(p, s, nleft);
                    VekMemCpy(p + nleft, p + len2, len2 - nleft);
                }
            }
        }
        StringSetSize(x, new_size);
        return x;
    }

    const VekSizeT capacity = StringGrownCapacity(x, new_size);
    if (StringStartsInContent(x, s)) {
        const VekSizeT operand_offset = static_cast<VekSizeT>(s - x->buf);
        // The operand goes to the span's position: offset and pos are not swapped.
        // NOLINTNEXTLINE(readability-suspicious-call-argument)
        if (!StringDoReallocate3(x, capacity, 0, pos, 0, pos + len1, tail_length, pos + len2,
                                 operand_offset, len2, pos))
            return nullptr;
    } else {
        if (!StringDoReallocate2(x, capacity, 0, pos, 0, pos + len1, tail_length, pos + len2))
            return nullptr;
        CopyBuffer(x->buf, pos, len2, s, 0);
    }
    StringSetSizeNoCheck(x, new_size);
    return x;
}

// StringReplaceAt is the position-checked front of the worker: the span at
// pos1 is clamped to the content before the worker sees it.
static inline VekString* StringReplaceAt(VekString* x, VekSizeT pos1, VekSizeT n1, const char* s,
                                         VekSizeT len2)
{
    if (!StringCheckPos(x, pos1))
        return nullptr;
    return StringDoReplace(x, pos1, StringBoundOffset(x, pos1, n1), s, len2);
}

VekString* VekStringReplaceSubstring(VekString* x, VekSizeT pos1, VekSizeT n1, const VekString* str,
                                     VekSizeT pos2, VekSizeT n2) noexcept
{
    if (!StringCheckPos(str, pos2))
        return nullptr;
    const VekSizeT len2 = StringBoundOffset(str, pos2, n2);
    VEK_REQUIRE(StringOperandIsValid(x, str->buf + pos2, len2), kOperandInSpare);
    return StringReplaceAt(x, pos1, n1, str->buf + pos2, len2);
}

VekString* VekStringReplaceString(VekString* x, VekSizeT pos1, VekSizeT n1,
                                  const VekString* str) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str->buf, str->size), kOperandInSpare);
    return StringReplaceAt(x, pos1, n1, str->buf, str->size);
}

VekString* VekStringReplaceChar(VekString* x, VekSizeT pos1, VekSizeT n1, char c) noexcept
{
    return StringReplaceAt(x, pos1, n1, &c, 1);
}

// The position is checked before str is measured: a refused call never reads it.
VekString* VekStringReplaceCStr(VekString* x, VekSizeT pos1, VekSizeT n1, const char* str) noexcept
{
    if (!StringCheckPos(x, pos1))
        return nullptr;
    VEK_REQUIRE(StringOperandIsValid(x, str, 0), kOperandInSpare);
    return StringDoReplace(x, pos1, StringBoundOffset(x, pos1, n1), str, VekStrLen(str));
}

VekString* VekStringReplaceCStrLen(VekString* x, VekSizeT pos1, VekSizeT n1, const char* str,
                                   VekSizeT n2) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str, n2), kOperandInSpare);
    return StringReplaceAt(x, pos1, n1, str, n2);
}

VekString* VekStringReplaceRange(VekString* x, VekStringIterator i1, VekStringIterator i2,
                                 VekStringConstIterator j1, VekStringConstIterator j2) noexcept
{
    VEK_REQUIRE(Address(i1) <= Address(i2) && Address(j1) <= Address(j2), kRangeReversed);
    VEK_REQUIRE(StringIteratorsInContent(x, i1, i2), kIteratorOutside);
    VEK_REQUIRE(StringOperandIsValid(x, j1, static_cast<VekSizeT>(j2 - j1)), kOperandInSpare);
    const VekSizeT i1_offset = static_cast<VekSizeT>(i1 - x->buf);
    const VekSizeT i2_offset = static_cast<VekSizeT>(i2 - i1);
    const VekSizeT j2_offset = static_cast<VekSizeT>(j2 - j1);
    return StringDoReplace(x, i1_offset, i2_offset, j1, j2_offset);
}

VekStringIterator VekStringInsert(VekString* x, VekStringIterator pos, const char* c) noexcept
{
    VEK_REQUIRE(StringIteratorsInContent(x, pos, pos), kIteratorOutside);
    VEK_REQUIRE(StringOperandIsValid(x, c, 1), kOperandInSpare);
    const VekSizeT pos_offset = static_cast<VekSizeT>(pos - x->buf);
    if (!StringDoReplace(x, pos_offset, 0, c, 1))
        return nullptr;
    return x->buf + pos_offset;
}

VekBool VekStringInsertRange(VekString* x, VekStringIterator pos, VekStringConstIterator first,
                             VekStringConstIterator last) noexcept
{
    VEK_REQUIRE(StringIteratorsInContent(x, pos, pos), kIteratorOutside);
    VEK_REQUIRE(Address(first) <= Address(last), kRangeReversed);
    VEK_REQUIRE(StringOperandIsValid(x, first, static_cast<VekSizeT>(last - first)),
                kOperandInSpare);
    const VekSizeT pos_offset = static_cast<VekSizeT>(pos - x->buf);
    const VekSizeT last_offset = static_cast<VekSizeT>(last - first);
    return (VekBool)(StringDoReplace(x, pos_offset, 0, first, last_offset) != nullptr);
}

VekString* VekStringInsertSubstring(VekString* x, VekSizeT pos1, const VekString* str,
                                    VekSizeT pos2, VekSizeT n2) noexcept
{
    return VekStringReplaceSubstring(x, pos1, 0, str, pos2, n2);
}

VekString* VekStringInsertString(VekString* x, VekSizeT pos1, const VekString* str) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str->buf, str->size), kOperandInSpare);
    return StringReplaceAt(x, pos1, 0, str->buf, str->size);
}

VekString* VekStringInsertCStr(VekString* x, VekSizeT pos1, const char* str) noexcept
{
    return VekStringReplaceCStr(x, pos1, 0, str);
}

VekString* VekStringInsertCStrLen(VekString* x, VekSizeT pos1, const char* str,
                                  VekSizeT n2) noexcept
{
    VEK_REQUIRE(StringOperandIsValid(x, str, n2), kOperandInSpare);
    return StringReplaceAt(x, pos1, 0, str, n2);
}

VekString* VekStringInsertChar(VekString* x, VekSizeT pos1, char c) noexcept
{
    return StringReplaceAt(x, pos1, 0, &c, 1);
}

// ---------------------------------------------------------------------------
// Erasure
// ---------------------------------------------------------------------------

// StringDoErase removes the n bytes at pos. Only bytes behind the run ever
// move, and only a view (which cannot be written) needs a block for that: one
// of exactly the remaining size, laid out in one pass. A cut tail moves
// nothing, so a view stays a view.
static VekBool StringDoErase(VekString* x, VekSizeT pos, VekSizeT n)
{
    VEK_ASSERT(pos <= x->size && n <= x->size - pos, "erased run outside the content");
    const VekSizeT move_len = VekStringLength(x) - (pos + n);
    if (n != 0 && move_len != 0) {
        if (x->capacity == 0) {
            const VekSizeT capacity = x->size - n;
            if (!StringDoReallocate2(x, capacity, 0, pos, 0, pos + n, move_len, pos))
                return VEK_FALSE;
        } else {
            VekMemMove(x->buf + pos, x->buf + pos + n, move_len);
        }
    }
    StringSetSize(x, x->size - n);
    return VEK_TRUE;
}

VekStringIterator VekStringErase(VekString* x, VekStringIterator p) noexcept
{
    VEK_REQUIRE(Address(p) < Address(x->buf) + x->size && StringIteratorsInContent(x, p, p),
                kIteratorOutside);
    const VekSizeT pos = static_cast<VekSizeT>(p - x->buf);
    if (!StringDoErase(x, pos, 1))
        return nullptr;
    return x->buf + pos;
}

VekString* VekStringEraseSubstring(VekString* x, VekSizeT pos, VekSizeT n) noexcept
{
    if (!StringCheckPos(x, pos))
        return nullptr;
    if (!StringDoErase(x, pos, StringBoundOffset(x, pos, n)))
        return nullptr;
    return x;
}

VekStringIterator VekStringEraseRange(VekString* x, VekStringIterator b,
                                      VekStringIterator e) noexcept
{
    VEK_REQUIRE(Address(b) <= Address(e), kRangeReversed);
    VEK_REQUIRE(StringIteratorsInContent(x, b, e), kIteratorOutside);
    const VekSizeT pos = static_cast<VekSizeT>(b - x->buf);
    if (!StringDoErase(x, pos, static_cast<VekSizeT>(e - b)))
        return nullptr;
    return x->buf + pos;
}

// ---------------------------------------------------------------------------
// Resizing
// ---------------------------------------------------------------------------

// VekStringResize cuts a tail with the erasing worker or pads with the
// appending one, so it has their failure rules.
VekBool VekStringResize(VekString* x, VekSizeT n, const char* c) noexcept
{
    if (n < x->size)
        return StringDoErase(x, n, x->size - n); // a tail: cannot fail
    if (n == x->size)
        return VEK_TRUE;
    return (VekBool)(VekStringAppendN(x, n - x->size, *c) != nullptr);
}
