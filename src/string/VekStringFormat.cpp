// VekStringFormat.cpp - formatted construction and editing.
//
// Assign, append, insert and replace all replace a span of the content by the
// formatter's output, through one worker. When the span reaches the end of an
// owned block, the output can land at its final place, so the formatter writes
// straight into the buffer and one call is the whole edit. Otherwise the first
// call only measures, and a second one formats into the gap of a new block
// laid out with the head and tail already in place: no scratch buffer, and the
// surviving bytes are copied once. Construction measures, allocates exactly
// the output length and formats.
//
// The formatter consumes its argument list, so a copy is taken before the
// first call for the second. A formatter failure comes back as a length no
// allocator grants, so it fails the edit through the ordinary refusal path.
#include "string/VekStringPrivate.h"

// StringDoReallocate2F is the engine's reallocation into a new block of
// capacity + 1 bytes with the formatter run between the two segment copies:
// segment 1 (the head) ends where the gap begins, the output is formatted
// into the gap, and segment 2 (the tail) starts where the gap ends, over the
// NUL the formatter leaves behind the output. The old block is released only
// after the second formatter call, so both segments are read intact. A
// refusal (the allocator's limit, or allocate returning NULL) changes nothing.
static VekBool StringDoReallocate2F(VekString* x, VekSizeT capacity, VekSizeT pos1, VekSizeT n1,
                                    VekSizeT dstPos1, VekSizeT pos2, VekSizeT n2, VekSizeT dstPos2,
                                    const char* fmt, va_list args)
{
    VEK_ASSERT(capacity != 0 && dstPos1 + n1 <= dstPos2 && dstPos2 + n2 <= capacity,
               "segments outside the new block");
    char* buf = StringAllocateBlock(x, capacity);
    if (buf == nullptr)
        return VEK_FALSE;
    const VekSizeT gapPos = dstPos1 + n1;
    [[maybe_unused]] const VekSizeT gapN = dstPos2 - gapPos;
    CopyBuffer(buf, dstPos1, n1, x->buf, pos1);
    [[maybe_unused]] const VekSizeT len =
        VekVSNPrintf(buf + gapPos, capacity + 1 - gapPos, fmt, args);
    VEK_ASSERT(len == gapN, "the output changed between the two formatter calls");
    CopyBuffer(buf, dstPos2, n2, x->buf, pos2);
    StringInstallBlock(x, buf, capacity);
    return VEK_TRUE;
}

// StringCloseGapInPlace finishes an edit whose output fitted the first call's
// room. A direct write has no tail, so its output already stands in place.
// A measuring call fits only an empty output, which leaves a gap of len bytes
// before the tail: an owned block closes it by moving the tail down; a view
// cannot be written, so it reports false and the edit takes a new block.
static inline VekBool StringCloseGapInPlace(VekString* x, VekSizeT pos, VekSizeT len,
                                            VekSizeT tail_length)
{
    if (len == 0 || tail_length == 0)
        return VEK_TRUE;
    if (x->capacity == 0)
        return VEK_FALSE;
    VekMemMove(x->buf + pos, x->buf + pos + len, tail_length);
    return VEK_TRUE;
}

// StringDoReplaceVFormatted replaces the len bytes at pos by the formatted
// output. The first formatter call sets the case:
//
//   Direct: the span reaches the end of the content of an owned block. The
//     call gets all the room from buf + pos to the block's last byte, so an
//     output of up to capacity - pos bytes is written in its final place and
//     the edit is done (the fast path of every assign and append with room).
//   Measuring: a tail follows the span, or the block is not ours to write.
//     The call gets no room. Only an empty output fits; the tail then closes
//     the gap in place, unless the string is a view.
//   Grown: the output did not fit the first call's room (or a view must close
//     a gap). The growth rule sizes a new block, even when the result would
//     fit the old capacity, and StringDoReallocate2F lays out the head, the
//     output (formatted again, from the copy of the arguments) and the tail.
//
// On a refusal the fields are unchanged and the bytes before pos intact. A
// direct call has already written over the span and the terminator, so the
// terminator is put back: the string stays a valid C string of its old size.
static VekString* StringDoReplaceVFormatted(VekString* x, VekSizeT pos, VekSizeT len,
                                            const char* fmt, va_list args)
{
    VEK_ASSERT(pos <= x->size && len <= x->size - pos, "span outside the content");
    const VekSizeT old_size = x->size;
    const VekSizeT tail_length = old_size - (pos + len);
    va_list args2;
    va_copy(args2, args);
    const bool direct = tail_length == 0 && x->capacity != 0;
    const VekSizeT buf_avail = direct ? x->capacity - pos : 0;
    const VekSizeT buf_length = direct ? buf_avail + 1 : 0;
    const VekSizeT formatted_length = VekVSNPrintf(x->buf + pos, buf_length, fmt, args);
    VekSizeT new_size = 0;
    VekBool placed;
    if (!StringAddSizes(old_size - len, formatted_length, &new_size)) {
        // A new size beyond 64 bits; a formatter failure lands here or is
        // refused below by the allocator's limit.
        placed = VEK_FALSE;
    } else if (formatted_length <= buf_avail && StringCloseGapInPlace(x, pos, len, tail_length)) {
        // Direct, or Measuring with an empty output: done in place.
        placed = VEK_TRUE;
    } else {
        // Grown: the head stays at 0, the tail moves to just behind the output.
        const VekSizeT capacity = StringGrownCapacity(x, new_size);
        placed = StringDoReallocate2F(x, capacity, 0, pos, 0, pos + len, tail_length,
                                      pos + formatted_length, fmt, args2);
    }
    va_end(args2);
    if (!placed) {
        if (direct)
            x->buf[old_size] = '\0';
        return nullptr;
    }
    StringSetSize(x, new_size);
    return x;
}

// The variadic forms start their argument list after fmt and run their
// va_list form on it.
#define VEK_FORWARD_ARGS(call)                                                                     \
    va_list args;                                                                                  \
    va_start(args, fmt);                                                                           \
    VekString* r = call;                                                                           \
    va_end(args);                                                                                  \
    return r

// Construction formats in two passes so that the block is exactly the output
// length + 1 bytes. A formatter failure reports a length the allocator's limit
// refuses, so x is then left the valid empty string constructed first.
VekString* VekStringConstructVFormatted(VekString* x, const char* fmt, va_list args,
                                        VekAllocator* a) noexcept
{
    va_list args2;
    va_copy(args2, args);
    const VekSizeT length = VekVSNPrintf(nullptr, 0, fmt, args);
    VekStringConstructDefault(x, a);
    VekString* r = x;
    if (length != 0) {
        if (StringDoReallocate(x, length, 0, 0, 0)) {
            VekVSNPrintf(x->buf, length + 1, fmt, args2);
            StringSetSizeNoCheck(x, length);
        } else {
            r = nullptr;
        }
    }
    va_end(args2);
    return r;
}

VekString* VekStringConstructFormatted(VekString* x, VekAllocator* a, const char* fmt, ...) noexcept
{
    VEK_FORWARD_ARGS(VekStringConstructVFormatted(x, fmt, args, a));
}

VekString* VekStringAssignVFormatted(VekString* x, const char* fmt, va_list args) noexcept
{
    return StringDoReplaceVFormatted(x, 0, x->size, fmt, args);
}

VekString* VekStringAssignFormatted(VekString* x, const char* fmt, ...) noexcept
{
    VEK_FORWARD_ARGS(VekStringAssignVFormatted(x, fmt, args));
}

VekString* VekStringAppendVFormatted(VekString* x, const char* fmt, va_list args) noexcept
{
    return StringDoReplaceVFormatted(x, x->size, 0, fmt, args);
}

VekString* VekStringAppendFormatted(VekString* x, const char* fmt, ...) noexcept
{
    VEK_FORWARD_ARGS(VekStringAppendVFormatted(x, fmt, args));
}

// The position is checked before the formatter runs, so a refused position
// leaves the argument list unconsumed.
VekString* VekStringInsertVFormatted(VekString* x, VekSizeT pos, const char* fmt,
                                     va_list args) noexcept
{
    if (!StringCheckPos(x, pos))
        return nullptr;
    return StringDoReplaceVFormatted(x, pos, 0, fmt, args);
}

VekString* VekStringInsertFormatted(VekString* x, VekSizeT pos, const char* fmt, ...) noexcept
{
    VEK_FORWARD_ARGS(VekStringInsertVFormatted(x, pos, fmt, args));
}

VekString* VekStringReplaceVFormatted(VekString* x, VekSizeT pos, VekSizeT n, const char* fmt,
                                      va_list args) noexcept
{
    if (!StringCheckPos(x, pos))
        return nullptr;
    return StringDoReplaceVFormatted(x, pos, StringBoundOffset(x, pos, n), fmt, args);
}

VekString* VekStringReplaceFormatted(VekString* x, VekSizeT pos, VekSizeT n, const char* fmt,
                                     ...) noexcept
{
    VEK_FORWARD_ARGS(VekStringReplaceVFormatted(x, pos, n, fmt, args));
}
