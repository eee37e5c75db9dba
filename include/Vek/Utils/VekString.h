/*
 * VekString.h - growable, binary-safe byte strings with caller-supplied
 * allocators.
 *
 * A VekString is a plain record the caller owns (on its stack or inside its own
 * records); the functions below manage only the character buffer, which they
 * obtain from and return to the VekAllocator the string was constructed with.
 * Content is any bytes, NUL included, with an explicit length; whenever the
 * string owns its buffer a NUL follows the content, so VekStringData() can be
 * handed to C-string consumers.
 *
 *     VekString s;
 *     VekStringConstructCStr(&s, "hello", VekAllocatorGetDefault());
 *     VekStringAppendCStr(&s, ", world");
 *     VekStringReplaceCStr(&s, 0, 5, "goodbye");       // "goodbye, world"
 *     VekStringAppendSubstring(&s, &s, 0, 7);           // own bytes: fine
 *     printf("%s\n", VekStringData(&s));
 *     VekStringDestruct(&s);
 *
 * Rules shared by every family below; each family states only what is its own.
 *
 * Buffer states. A string owns a block of capacity + 1 bytes (capacity > 0),
 * or owns nothing (capacity 0): then buf is either the shared empty byte
 * vekStringEmpty_ with size 0, or a read-only view of size bytes that someone
 * else owns (see Views for the functions that make one). The module never
 * writes through a view and never frees it: an edit that must write first
 * copies the viewed bytes into a new block.
 *
 * Results. Functions that produce a string return x on success and NULL on
 * failure; the few others say what they return. A failure leaves the string
 * exactly as it was (fields, content, terminator, ownership) unless its family
 * says otherwise. Failures are: an allocation refused (the allocator's limit or
 * allocate returning NULL), a position beyond the end, for the formatted
 * family output the formatter cannot produce, and for the encoding family
 * input the codec refuses. Nothing logs and nothing aborts; only a library
 * built with VEK_CHECKED stops, with a one-line message, when a caller breaks
 * an obligation that release builds take on trust (an iterator outside the
 * content, an operand in the spare capacity, and the like).
 *
 * Allocation. Every buffer comes from the string's allocator with the byte
 * count capacity + 1 and goes back with the same count. A capacity c is granted
 * only when c < allocator->maxSize. Editing functions that must grow ask for
 * the larger of the needed size and twice the capacity (with no fallback when
 * that doubled value hits the limit) and never shrink; constructors,
 * VekStringReserve and the encoding family ask for exactly what they need.
 * A size computation that would exceed 64 bits (say a count near
 * VekStringNpos) is refused just as the allocator's limit refuses it.
 *
 * Positions and counts. A position into a string may equal its size (the end)
 * but not exceed it; editing functions fail on a larger one. A count is
 * clamped to what remains behind its position, so VekStringNpos reaches to the
 * end.
 *
 * WARNING: aliasing. Every assigning, appending, inserting and replacing
 * function accepts an operand taken from the edited string's own content (the
 * string itself, a substring, a range of its bytes) and resolves the overlap
 * in place. Bytes in the spare capacity behind size are never a valid operand,
 * and neither are bytes that merely overlap part of the content.
 *
 * WARNING: iterators and pointers into a string are invalidated by any call
 * that reallocates it; the iterator-returning edits give the one to use next.
 *
 * Threads. A string must not be used from two threads at once; distinct strings
 * share nothing but the read-only empty byte.
 */
#ifndef VEK_UTILS_VEKSTRING_H
#define VEK_UTILS_VEKSTRING_H

#include <stdarg.h>

#include "SysDep/VekBaseTypes.h"
#include "SysDep/VekCoreFoundation.h"
#include "VekAllocator.h"

VEK_EXTERN_C_BEGIN

/*
 * The string record. buf is never NULL in a live string. capacity counts the
 * content bytes the owned block holds, not the terminator; 0 means the string
 * owns no block.
 */
typedef struct {
    VekAllocator* allocator; /* supplies and takes back the owned block */
    char* buf;               /* first content byte */
    VekSizeT size;           /* content bytes, NULs included */
    VekSizeT capacity;       /* content bytes the owned block holds; 0: none */
} VekString;

/* A pointer to a byte of a string's content; ranges are [first, last). */
typedef char* VekStringIterator;
typedef const char* VekStringConstIterator;

/* The not-found position of the searches; as a count, "to the end". */
#define VekStringNpos (~(VekSizeT)0)

/* The shared, read-only empty C string that strings owning no block point at. */
extern char* vekStringEmpty_;

/* ------------------------------------------------------------------------
 * Construction and destruction
 *
 * A constructor initialises a record whatever it held before; it does not
 * release anything the record may have owned. A constructor that fails still
 * leaves x a valid empty string naming the allocator it would have used and
 * owning nothing, so destroying it is allowed and calls nothing. Copies get a
 * capacity of exactly their length; an empty result allocates nothing.
 * VekStringConstructDefault, VekStringConstructCStrLen, VekStringConstructCStr,
 * VekStringConstructCopy and VekStringDestruct are also macros that do the
 * same work inline (see VekStringInline.h; not against a checked library);
 * put the name in parentheses to call the function itself.
 * ------------------------------------------------------------------------ */

/* VekStringConstructDefault makes x empty with allocator a. Never fails. */
VekString* VekStringConstructDefault(VekString* x, VekAllocator* a) VEK_NOEXCEPT;

/* VekStringConstructCStrLen copies the len bytes at str (NULs included); str
 * is not read when len is 0 and may then be NULL. */
VekString* VekStringConstructCStrLen(VekString* x, const char* str, VekSizeT len,
                                     VekAllocator* a) VEK_NOEXCEPT;

/* VekStringConstructCStr copies the NUL-terminated str. */
VekString* VekStringConstructCStr(VekString* x, const char* str, VekAllocator* a) VEK_NOEXCEPT;

/* VekStringConstructCopy copies src's content with src's own allocator. A view
 * as source gives an owned copy. */
VekString* VekStringConstructCopy(VekString* x, const VekString* src) VEK_NOEXCEPT;

/* VekStringConstructSubstring copies at most n bytes of str from pos, with
 * allocator a. pos == size gives an empty string; pos > size fails. */
VekString* VekStringConstructSubstring(VekString* x, const VekString* str, VekSizeT pos, VekSizeT n,
                                       VekAllocator* a) VEK_NOEXCEPT;

/* VekStringConstructRange copies the bytes [first, last). */
VekString* VekStringConstructRange(VekString* x, VekStringConstIterator first,
                                   VekStringConstIterator last, VekAllocator* a) VEK_NOEXCEPT;

/* VekStringConstructMove takes over all of src (allocator included) without
 * allocating; src is left empty, owning nothing, with its allocator kept.
 * x and src must be distinct records. Never fails. */
VekString* VekStringConstructMove(VekString* x, VekString* src) VEK_NOEXCEPT;

/*
 * VekStringConstructWithExternalBuffer adopts a caller's block of capacity
 * bytes (terminator slot included) holding length content bytes; the string's
 * capacity becomes capacity - 1 and a length that does not fit is cut to it. A
 * NUL is written at the end of the content unless one is already there. From
 * then on the block belongs to the string and goes back through
 * a->deallocate(a, buffer, capacity), so it must be a block a can take back.
 * A capacity of 0 ignores the block; a capacity of 1 hands it back at once.
 * Never allocates, never fails.
 */
VekString* VekStringConstructWithExternalBuffer(VekString* x, char* buffer, VekSizeT length,
                                                VekSizeT capacity, VekAllocator* a) VEK_NOEXCEPT;

/* VekStringDestruct returns an owned block to the allocator and zeroes all
 * four fields. Only a construction may follow; destroying twice is harmless. */
void VekStringDestruct(VekString* x) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Views
 *
 * A view reads bytes that someone else owns: capacity 0, buf at the first
 * byte, size the length. Making one copies nothing, never allocates and
 * never fails (apart from a position beyond the end), and a view needs no
 * destruction (VekStringDestruct on it is harmless). Every function of the
 * module takes a view wherever it takes a string: queries read its bytes;
 * an edit that only shortens it from the end or trims it moves buf and size
 * and writes nothing; any other edit first copies its bytes into a block from
 * the view's allocator, which is thus the one named here.
 *
 * A view of caller bytes of length 0 is the empty string on the shared empty
 * byte (str may then be NULL). A view of a span of a string, like the fields
 * and cuts below, points into that string's bytes even when it is empty, so
 * that its buf minus the string's buf is always its offset there.
 *
 *     VekString line, rest;
 *     VekStringConstructViewCStr(&line, "key: value", a);
 *     VekStringConstructViewSubstring(&rest, &line, 5, VekStringNpos);  // "value"
 *
 * WARNING: lifetime. A view does not keep its bytes alive: they must outlive
 * it, and it sees every later change to them. A view of a string's bytes is
 * invalidated by anything that moves or frees that string's buffer: growth,
 * VekStringReserve, find-and-replace, a move, destruction.
 * WARNING: a view is NUL-terminated only when its owner's bytes are, so
 * VekStringData is no C string: print a view with "%.*s".
 * ------------------------------------------------------------------------ */

/* VekStringConstructViewCStrLen makes x a view of the len bytes at str; a
 * names the allocator of any later copy. Returns x. */
VekString* VekStringConstructViewCStrLen(VekString* x, const char* str, VekSizeT len,
                                         VekAllocator* a) VEK_NOEXCEPT;
/* VekStringConstructViewCStr makes x a view of the NUL-terminated str, its
 * NUL left out. Returns x. */
VekString* VekStringConstructViewCStr(VekString* x, const char* str, VekAllocator* a) VEK_NOEXCEPT;
/* VekStringConstructViewSubstring makes x a view of at most n bytes of str
 * from pos, with str's allocator; a view of a view reads the original bytes.
 * pos == size gives an empty view at the end; pos > size fails, leaving x
 * empty on the shared byte with str's allocator. x may be str itself when
 * str owns no block: the view then narrows in place. */
VekString* VekStringConstructViewSubstring(VekString* x, const VekString* str, VekSizeT pos,
                                           VekSizeT n) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Moving, swapping and capacity
 *
 * Moves and swaps carry the allocator along with the buffer and never
 * allocate. VekStringReserve is the one operation that changes the capacity
 * while keeping the content, and the only one that can shrink it.
 * ------------------------------------------------------------------------ */

/* VekStringMove releases x's own block, then takes over all of src as
 * VekStringConstructMove does. VekStringMove(x, x) does nothing. */
VekString* VekStringMove(VekString* x, VekString* src) VEK_NOEXCEPT;

/* VekStringSwap exchanges all four fields of x and y. Always returns true. */
VekBool VekStringSwap(VekString* x, VekString* y) VEK_NOEXCEPT;

/*
 * VekStringReserve reallocates to a capacity of exactly the larger of res and
 * the size, keeping the content: it grows, shrinks (VekStringReserve(x, 0)
 * fits the block to the content) and makes a view an owned copy. It always
 * takes a fresh block, even when the capacity would not change; with res 0 on
 * an empty string it releases the block. Returns false, changing nothing,
 * when the allocation is refused.
 */
VekBool VekStringReserve(VekString* x, VekSizeT res) VEK_NOEXCEPT;

/* VekStringClear empties the string. An owned block is kept for reuse; a view
 * is let go (buf becomes the shared empty byte). */
void VekStringClear(VekString* x) VEK_NOEXCEPT;

/*
 * VekStringReleaseBuffer announces buflen bytes the caller has written at
 * VekStringGetBuffer(x): size grows by buflen and a NUL follows the new
 * content. buflen must not exceed capacity - size (0 when nothing is owned).
 *
 *     if (VekStringReserve(&s, VekStringSize(&s) + 4)) {
 *         memcpy(VekStringGetBuffer(&s), "tail", 4);
 *         VekStringReleaseBuffer(&s, 4);
 *     }
 */
void VekStringReleaseBuffer(VekString* x, VekSizeT buflen) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Assignment
 *
 * Replaces the whole content. The operand may lie inside x. Assignment never
 * shrinks: content that fits is written in place; otherwise x grows to the
 * larger of the new length and twice its capacity. Assigning empty content
 * keeps an owned block and lets a view go.
 * ------------------------------------------------------------------------ */

/* VekStringAssign copies src's content; VekStringAssign(x, x) does nothing. */
VekString* VekStringAssign(VekString* x, const VekString* src) VEK_NOEXCEPT;
/* VekStringAssignSubstring takes at most n bytes of str from pos; str may be x. */
VekString* VekStringAssignSubstring(VekString* x, const VekString* str, VekSizeT pos,
                                    VekSizeT n) VEK_NOEXCEPT;
VekString* VekStringAssignCStr(VekString* x, const char* str) VEK_NOEXCEPT;
VekString* VekStringAssignCStrLen(VekString* x, const char* str, VekSizeT n) VEK_NOEXCEPT;
VekString* VekStringAssignRange(VekString* x, VekStringConstIterator first,
                                VekStringConstIterator last) VEK_NOEXCEPT;
VekString* VekStringAssignChar(VekString* x, char c) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Appending and resizing
 *
 * Appends behind the content. The operand may lie inside x (VekStringAppend(x,
 * x) doubles the content). When the content no longer fits, x grows to the
 * larger of the new size and twice its capacity, so n one-byte appends cost
 * about log2(n) allocations. An empty operand changes nothing at all.
 * VekStringAppendChar and VekStringAppendCStrLen are also macros that do an
 * append inline (see VekStringInline.h; not against a checked library): the
 * character one when it fits the owned block, the other always; put the name
 * in parentheses to call the function itself.
 * ------------------------------------------------------------------------ */

VekString* VekStringAppend(VekString* x, const VekString* str) VEK_NOEXCEPT;
/* VekStringAppendSubstring appends at most n bytes of str from pos. */
VekString* VekStringAppendSubstring(VekString* x, const VekString* str, VekSizeT pos,
                                    VekSizeT n) VEK_NOEXCEPT;
VekString* VekStringAppendCStr(VekString* x, const char* str) VEK_NOEXCEPT;
VekString* VekStringAppendCStrLen(VekString* x, const char* str, VekSizeT n) VEK_NOEXCEPT;
VekString* VekStringAppendRange(VekString* x, VekStringConstIterator first,
                                VekStringConstIterator last) VEK_NOEXCEPT;
VekString* VekStringAppendChar(VekString* x, char c) VEK_NOEXCEPT;
/* VekStringAppendN appends n copies of c. Even with n 0 it turns a view into an
 * owned copy. */
VekString* VekStringAppendN(VekString* x, VekSizeT n, char c) VEK_NOEXCEPT;
/* VekStringResize sets the size to n: shrinking cuts the tail in place (a view
 * stays a view), growing appends copies of *c. c is read only when growing. */
VekBool VekStringResize(VekString* x, VekSizeT n, const char* c) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Insertion and replacement
 *
 * Replaces the span of n1 bytes at pos1 (clamped to the content) by the
 * operand; insertion replaces an empty span, placing the operand before the
 * byte at the insertion point (the end appends). The operand may lie anywhere
 * in x's content, before, inside, behind or across the span: the edit is done
 * in place when the result fits, else in one pass into a block of the larger
 * of the new size and twice the capacity. Position checks come first, so a bad
 * position fails before a C-string operand is read.
 * ------------------------------------------------------------------------ */

VekString* VekStringReplaceSubstring(VekString* x, VekSizeT pos1, VekSizeT n1, const VekString* str,
                                     VekSizeT pos2, VekSizeT n2) VEK_NOEXCEPT;
VekString* VekStringReplaceString(VekString* x, VekSizeT pos1, VekSizeT n1,
                                  const VekString* str) VEK_NOEXCEPT;
VekString* VekStringReplaceChar(VekString* x, VekSizeT pos1, VekSizeT n1, char c) VEK_NOEXCEPT;
VekString* VekStringReplaceCStr(VekString* x, VekSizeT pos1, VekSizeT n1,
                                const char* str) VEK_NOEXCEPT;
/* VekStringReplaceCStrLen replaces by exactly n2 bytes at str (not clamped). */
VekString* VekStringReplaceCStrLen(VekString* x, VekSizeT pos1, VekSizeT n1, const char* str,
                                   VekSizeT n2) VEK_NOEXCEPT;
/* VekStringReplaceRange replaces [i1, i2) of x by [j1, j2). */
VekString* VekStringReplaceRange(VekString* x, VekStringIterator i1, VekStringIterator i2,
                                 VekStringConstIterator j1, VekStringConstIterator j2) VEK_NOEXCEPT;

/* VekStringInsert inserts the byte *c before pos and returns an iterator at the
 * inserted byte in the buffer that holds the content afterwards, or NULL.
 * c may point into x. */
VekStringIterator VekStringInsert(VekString* x, VekStringIterator pos, const char* c) VEK_NOEXCEPT;
/* VekStringInsertRange inserts [first, last) before pos; true on success. */
VekBool VekStringInsertRange(VekString* x, VekStringIterator pos, VekStringConstIterator first,
                             VekStringConstIterator last) VEK_NOEXCEPT;
VekString* VekStringInsertSubstring(VekString* x, VekSizeT pos1, const VekString* str,
                                    VekSizeT pos2, VekSizeT n2) VEK_NOEXCEPT;
VekString* VekStringInsertString(VekString* x, VekSizeT pos1, const VekString* str) VEK_NOEXCEPT;
VekString* VekStringInsertCStr(VekString* x, VekSizeT pos1, const char* str) VEK_NOEXCEPT;
VekString* VekStringInsertCStrLen(VekString* x, VekSizeT pos1, const char* str,
                                  VekSizeT n2) VEK_NOEXCEPT;
VekString* VekStringInsertChar(VekString* x, VekSizeT pos1, char c) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Erasure
 *
 * Removes bytes and closes the gap in place; an owned block is kept and the
 * allocator is never called. A view that must close a gap is copied into a
 * new block of exactly the remaining size (the only way erasure can fail);
 * cutting a view's tail keeps it a view.
 * ------------------------------------------------------------------------ */

/* VekStringErase removes the byte at p and returns an iterator at the byte that
 * followed it (or the end), or NULL. */
VekStringIterator VekStringErase(VekString* x, VekStringIterator p) VEK_NOEXCEPT;
/* VekStringEraseSubstring removes at most n bytes from pos; pos > size fails. */
VekString* VekStringEraseSubstring(VekString* x, VekSizeT pos, VekSizeT n) VEK_NOEXCEPT;
/* VekStringEraseRange removes [b, e) and returns an iterator at b's offset. */
VekStringIterator VekStringEraseRange(VekString* x, VekStringIterator b,
                                      VekStringIterator e) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Trimming
 *
 * Removes bytes from both ends (Trim), from the front (TrimLeft) or from the
 * back (TrimRight): the bare forms ASCII whitespace (space, \t, \n, \v, \f,
 * \r), the others the bytes of a set (CStr: up to its NUL; CStrLen: n bytes,
 * NUL allowed; Char: one byte). An empty set removes nothing, and so does
 * trimming an empty string. The set may lie inside x.
 *
 *     VekStringTrim(&s);                       // "  GET /\r\n" -> "GET /"
 *     VekStringTrimRightChar(&path, '/');      // "/a/b//" -> "/a/b"
 *
 * Nothing allocates and nothing fails; each returns x. An owned string keeps
 * its block and capacity: what remains moves to the front with one memmove
 * at most (none for TrimRight), and the terminator follows it. A view only
 * narrows (buf and size change, nothing is written); trimmed to nothing it
 * is an empty view where the trimming ended.
 * ------------------------------------------------------------------------ */

VekString* VekStringTrim(VekString* x) VEK_NOEXCEPT;
VekString* VekStringTrimCStr(VekString* x, const char* y) VEK_NOEXCEPT;
VekString* VekStringTrimCStrLen(VekString* x, const char* y, VekSizeT n) VEK_NOEXCEPT;
VekString* VekStringTrimChar(VekString* x, char c) VEK_NOEXCEPT;
VekString* VekStringTrimLeft(VekString* x) VEK_NOEXCEPT;
VekString* VekStringTrimLeftCStr(VekString* x, const char* y) VEK_NOEXCEPT;
VekString* VekStringTrimLeftCStrLen(VekString* x, const char* y, VekSizeT n) VEK_NOEXCEPT;
VekString* VekStringTrimLeftChar(VekString* x, char c) VEK_NOEXCEPT;
VekString* VekStringTrimRight(VekString* x) VEK_NOEXCEPT;
VekString* VekStringTrimRightCStr(VekString* x, const char* y) VEK_NOEXCEPT;
VekString* VekStringTrimRightCStrLen(VekString* x, const char* y, VekSizeT n) VEK_NOEXCEPT;
VekString* VekStringTrimRightChar(VekString* x, char c) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * ASCII case
 *
 * Only the letters A to Z and a to z have a case here; every other byte,
 * UTF-8 sequences included, stays as it is and compares exactly.
 *
 * VekStringToLowerAscii and VekStringToUpperAscii convert in place. An owned
 * string keeps its block and an empty one is left alone; a view is first
 * copied into a block of exactly its size from its allocator (size + 1
 * bytes), as every edit that writes copies it, and that copy may be refused:
 * NULL, nothing changed.
 *
 * The comparisons are VekStringEqual and VekStringCompare of the operands
 * with their letters lowered: the first differing lowered bytes decide, as
 * unsigned values (only the sign of the result means anything), else the
 * lengths. They read only buf and size and cannot fail.
 * ------------------------------------------------------------------------ */

VekString* VekStringToLowerAscii(VekString* x) VEK_NOEXCEPT;
VekString* VekStringToUpperAscii(VekString* x) VEK_NOEXCEPT;
VekBool VekStringEqualIgnoringCaseAscii(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekBool VekStringEqualIgnoringCaseAsciiCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekBool VekStringEqualIgnoringCaseAsciiCStrLen(const VekString* x, const char* y,
                                               VekSizeT ylen) VEK_NOEXCEPT;
VekInt VekStringCompareIgnoringCaseAscii(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekInt VekStringCompareIgnoringCaseAsciiCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekInt VekStringCompareIgnoringCaseAsciiCStrLen(const VekString* x, const char* y,
                                                VekSizeT ylen) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Formatted construction and editing
 *
 * printf-style formats through VekVSNPrintf (VekStdCLib.h). Each verb comes
 * variadic (...Formatted) and with a va_list (...VFormatted); the va_list is
 * consumed as vsnprintf consumes it, and may afterwards only be ended.
 *
 *     VekStringConstructFormatted(&s, a, "%s=%d", "width", 80);  // "width=80"
 *     VekStringAppendFormatted(&s, "%s", "px");                   // "width=80px"
 *     VekStringReplaceFormatted(&s, 0, 5, "%c", 'w');             // "w=80px"
 *
 * Cost. An edit whose output lands at the end of an owned block with room
 * (an assign or an append that fits, an insert or replace at the end) formats
 * straight into the buffer: one formatter call, no allocation, no copy. Any
 * other edit formats twice, once to measure and once into the gap of a new
 * block that already holds the bytes before and behind it. The growth rule
 * applies whenever the output does not fit the room of that first call, so
 * a non-empty insert or replace before the end always takes a new block of
 * at least twice the capacity, even when the result would fit the old one;
 * only an empty output is done in place there. A view is never written: an
 * edit that leaves no gap before its tail only shortens it (or leaves it as
 * it was), and any other copies it into a block of exactly the new size.
 * Construction allocates exactly the output length + 1 bytes, and nothing for
 * an empty output.
 *
 * Failures. Besides a refused allocation and a position beyond the end
 * (checked before the formatter runs, so the arguments are then unconsumed),
 * an output the formatter cannot produce fails the edit the same way: NULL,
 * nothing allocated, nothing released. A failed construction leaves x a valid
 * empty string naming a. A failed edit keeps allocator, buf, size, capacity,
 * ownership and the bytes before pos; when a tail follows the span, or x owns
 * no block, nothing at all was written. WARNING: when the span reaches the
 * end of an owned block (every assign and append on an owned block), the
 * formatter has already written into the buffer before the growth is
 * refused. The terminator at buf[size] is then rewritten, so the string is a
 * valid C string of its old size, and an append (or an insert at the end)
 * leaves the string exactly as it was; but an assign, or a replace reaching
 * the end, loses the replaced span: its bytes hold the beginning of the
 * output that did not fit (unspecified bytes after a formatter failure).
 *
 * WARNING: no argument may point into x's own buffer; the formatter may be
 * writing that buffer while it reads its arguments.
 * ------------------------------------------------------------------------ */

/* VekStringConstructFormatted constructs x holding the output, with allocator
 * a, which comes before the format here and last in the va_list form. */
VekString* VekStringConstructFormatted(VekString* x, VekAllocator* a, const char* fmt,
                                       ...) VEK_NOEXCEPT VEK_PRINTF_FORMAT(3, 4);
VekString* VekStringConstructVFormatted(VekString* x, const char* fmt, va_list args,
                                        VekAllocator* a) VEK_NOEXCEPT;
/* VekStringAssignFormatted replaces the whole content by the output. An empty
 * output keeps an owned block (and a view's bytes, at size 0). */
VekString* VekStringAssignFormatted(VekString* x, const char* fmt, ...) VEK_NOEXCEPT
    VEK_PRINTF_FORMAT(2, 3);
VekString* VekStringAssignVFormatted(VekString* x, const char* fmt, va_list args) VEK_NOEXCEPT;
/* VekStringAppendFormatted appends the output; the everyday fast path. */
VekString* VekStringAppendFormatted(VekString* x, const char* fmt, ...) VEK_NOEXCEPT
    VEK_PRINTF_FORMAT(2, 3);
VekString* VekStringAppendVFormatted(VekString* x, const char* fmt, va_list args) VEK_NOEXCEPT;
/* VekStringInsertFormatted inserts the output before the byte at pos; pos ==
 * size appends, pos > size fails. */
VekString* VekStringInsertFormatted(VekString* x, VekSizeT pos, const char* fmt, ...) VEK_NOEXCEPT
    VEK_PRINTF_FORMAT(3, 4);
VekString* VekStringInsertVFormatted(VekString* x, VekSizeT pos, const char* fmt,
                                     va_list args) VEK_NOEXCEPT;
/* VekStringReplaceFormatted replaces at most n bytes from pos by the output
 * (VekStringNpos: to the end); pos > size fails. */
VekString* VekStringReplaceFormatted(VekString* x, VekSizeT pos, VekSizeT n, const char* fmt,
                                     ...) VEK_NOEXCEPT VEK_PRINTF_FORMAT(4, 5);
VekString* VekStringReplaceVFormatted(VekString* x, VekSizeT pos, VekSizeT n, const char* fmt,
                                      va_list args) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Comparison and hashing
 *
 * Read only buf and size, never fail. Bytes order as unsigned values (memcmp);
 * a C-string operand is measured with strlen first; a CStrLen operand counts
 * all ylen bytes, NULs included. The whole-string Equal and Compare forms are
 * also macros that do the same work inline (see VekStringInline.h; not
 * against a checked library).
 * ------------------------------------------------------------------------ */

VekBool VekStringEqual(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekBool VekStringEqualCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekBool VekStringEqualCStrLen(const VekString* x, const char* y, VekSizeT ylen) VEK_NOEXCEPT;

/* The Substring forms compare the span of at most n bytes of x at pos with the
 * whole of y. Unlike the editing functions they clamp a pos beyond the end to
 * the end (the empty span) instead of failing. */
VekBool VekStringEqualSubstring(const VekString* x, VekSizeT pos, VekSizeT n,
                                const VekString* y) VEK_NOEXCEPT;
VekBool VekStringEqualSubstringCStr(const VekString* x, VekSizeT pos, VekSizeT n,
                                    const char* y) VEK_NOEXCEPT;
VekBool VekStringEqualSubstringCStrLen(const VekString* x, VekSizeT pos, VekSizeT n, const char* y,
                                       VekSizeT ylen) VEK_NOEXCEPT;

/* The Compare forms return memcmp's result on the common prefix when it
 * differs (its sign is the order; its magnitude is not reduced to 1), else the
 * length difference, saturated to the range of VekInt. */
VekInt VekStringCompare(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekInt VekStringCompareCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekInt VekStringCompareCStrLen(const VekString* x, const char* y, VekSizeT ylen) VEK_NOEXCEPT;

/* VekStringHash is h = h * 33 + b over the content from h = 0, each byte taken
 * as a signed 8-bit value, in wrapping 64-bit arithmetic: "abc" hashes to
 * 108966 on every platform. Equal content gives equal hashes. */
VekSizeT VekStringHash(const VekString* x) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Character-set search
 *
 * Find the first byte at or after pos, or the last at or before pos, that is
 * in the set (Of) or in none of it (NotOf); VekStringNpos when none is. A
 * forward search from pos >= size finds nothing; a backward search from such
 * a pos starts at the last byte, so VekStringNpos searches the whole string.
 * An empty set holds nothing, so every byte is outside it: FirstNotOf gives
 * pos (when pos < size) and LastNotOf the byte it starts at. An empty string
 * finds nothing either way. NUL is an ordinary byte in content and in CStrLen,
 * VekString and Char sets; a CStr set is measured with strlen and cannot hold
 * it. The set's order and repetitions do not matter, and every form gives the
 * CStrLen result for its set (Char: the one-byte set). The backward searches
 * come only with a CStrLen set or a single byte. Cost: at most (bytes
 * examined) x (set size) byte comparisons, made 16 bytes at a time on x86-64;
 * no table is built from the set, nothing is allocated and nothing fails.
 * ------------------------------------------------------------------------ */

VekSizeT VekStringFindFirstOf(const VekString* x, VekSizeT pos, const VekString* y) VEK_NOEXCEPT;
VekSizeT VekStringFindFirstOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                     VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringFindFirstOfChar(const VekString* x, VekSizeT pos, char c) VEK_NOEXCEPT;
VekSizeT VekStringFindFirstOfCStr(const VekString* x, VekSizeT pos, const char* y) VEK_NOEXCEPT;
VekSizeT VekStringFindFirstNotOf(const VekString* x, VekSizeT pos, const VekString* y) VEK_NOEXCEPT;
VekSizeT VekStringFindFirstNotOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                        VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringFindFirstNotOfChar(const VekString* x, VekSizeT pos, char c) VEK_NOEXCEPT;
VekSizeT VekStringFindFirstNotOfCStr(const VekString* x, VekSizeT pos, const char* y) VEK_NOEXCEPT;
VekSizeT VekStringFindLastOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                    VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringFindLastOfChar(const VekString* x, VekSizeT pos, char c) VEK_NOEXCEPT;
VekSizeT VekStringFindLastNotOfCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                       VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringFindLastNotOfChar(const VekString* x, VekSizeT pos, char c) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Substring search and find-and-replace
 *
 * Find returns the smallest offset >= pos where the whole needle stands; an
 * empty needle is found at pos itself when pos <= size. RFind returns the
 * largest offset <= pos where the whole needle stands (it may extend beyond
 * pos); an empty needle is found at the smaller of pos and size. Not found:
 * VekStringNpos, also for a needle longer than what it could fit in. The forms
 * without pos search the whole string (Find from 0, RFind from VekStringNpos).
 * A CStr needle is measured with strlen; CStrLen and VekString needles may
 * hold NUL. Find hands the rest of the string to the C library's memmem in one
 * call. RFind rules out the candidate starts whose first or last byte differs
 * from the needle's (16 at a time on x86-64) and confirms each other one with
 * one memcmp, at most pos + 1 of them. The searches read only buf and size,
 * allocate nothing and cannot fail.
 * ------------------------------------------------------------------------ */

VekSizeT VekStringFindFromPosCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                     VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringFindFromPosCStr(const VekString* x, VekSizeT pos, const char* y) VEK_NOEXCEPT;
VekSizeT VekStringFindFromPos(const VekString* x, VekSizeT pos, const VekString* y) VEK_NOEXCEPT;
VekSizeT VekStringFindCStrLen(const VekString* x, const char* y, VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringFindCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekSizeT VekStringFind(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekSizeT VekStringRFindFromPosCStrLen(const VekString* x, VekSizeT pos, const char* y,
                                      VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringRFindFromPosCStr(const VekString* x, VekSizeT pos, const char* y) VEK_NOEXCEPT;
VekSizeT VekStringRFindFromPos(const VekString* x, VekSizeT pos, const VekString* y) VEK_NOEXCEPT;
VekSizeT VekStringRFindCStrLen(const VekString* x, const char* y, VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringRFindCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekSizeT VekStringRFind(const VekString* x, const VekString* y) VEK_NOEXCEPT;

/*
 * VekStringFindAndReplace replaces every occurrence of find by replace, left
 * to right, never searching text a replacement brought in ("aaa", "aa", "b"
 * gives "ba"). All or nothing: the work is done on a private copy made with
 * x's allocator, which replaces x's buffer only when every replacement
 * succeeded. So on success x always holds a new buffer (capacity fitted to
 * the content even when nothing was found, or the shared empty byte when x is
 * empty) and a view comes out owned; on failure (the copy or a growth was
 * refused) x is untouched and every block obtained during the call has been
 * returned. find and replace may be x itself or each other.
 *
 * An empty find returns x at once with nothing changed, not even its buffer,
 * and calls the allocator not at all: an empty needle stands at every
 * position, so replacing it everywhere would never end.
 *
 * Cost: linear in the size of x plus that of the result. x is searched once,
 * left to right, and each byte of the result is written once into the copy's
 * block; when a replacement does not fit, the block grows to the larger of
 * the size needed and twice its capacity and carries over what has been
 * written. The allocator calls are exactly those of copying x and then
 * replacing one occurrence after another in the copy: one allocate of size +
 * 1 bytes for the copy (none for an empty x), one allocate and one release
 * per growth, and last the release of x's former block, if it owned one. A
 * replace no longer than find never grows the copy.
 */
VekString* VekStringFindAndReplace(VekString* x, const VekString* find,
                                   const VekString* replace) VEK_NOEXCEPT;

/* VekStringFindAndReplaceCStr and VekStringFindAndReplaceCStrLen are
 * VekStringFindAndReplace with C-string or pointer-and-length operands, the
 * same in every other respect: result, all or nothing, allocator calls, cost,
 * an empty find. find and replace may lie inside x. On success, unless count
 * is NULL, *count is the number of occurrences replaced (0 for an empty
 * find); a failure leaves *count alone.
 *
 *     VekSizeT n;
 *     if (VekStringFindAndReplaceCStr(&s, "colour", "color", &n))
 *         printf("%llu replaced\n", (unsigned long long)n);
 */
VekString* VekStringFindAndReplaceCStr(VekString* x, const char* find, const char* replace,
                                       VekSizeT* count) VEK_NOEXCEPT;
VekString* VekStringFindAndReplaceCStrLen(VekString* x, const char* find, VekSizeT findlen,
                                          const char* replace, VekSizeT replacelen,
                                          VekSizeT* count) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Prefixes, suffixes and occurrences
 *
 * StartsWith and EndsWith tell whether x begins or ends with the whole
 * operand; the empty operand begins and ends every string. Contains tells
 * whether Find finds the needle; the empty needle is in every string. Count
 * counts the occurrences that do not overlap, found left to right with each
 * search resuming behind the previous match, exactly those find-and-replace
 * replaces ("aaaa" holds "aa" twice); the empty needle stands at every
 * position, the end included, and counts size + 1. The operand forms are the
 * comparisons' (a CStr operand is measured with strlen first, a CStrLen one
 * holds ylen or n bytes, NULs included; Char is one byte).
 *
 * The single-byte searches, under the names of the substring searches:
 * FindChar and FindFromPosChar give the first position at or after pos (0)
 * holding c; RFindChar and RFindFromPosChar the last at or before pos
 * (VekStringNpos: the whole string). Not found: VekStringNpos. As for a
 * needle of one byte, a forward search from pos >= size finds nothing and a
 * backward one from there starts at the last byte. They run at memchr's
 * speed, as FindFirstOfChar and FindLastOfChar do, which they equal.
 *
 * All read only buf and size, allocate nothing and cannot fail. Cost: one
 * pass over x at most.
 * ------------------------------------------------------------------------ */

VekBool VekStringStartsWith(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekBool VekStringStartsWithCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekBool VekStringStartsWithCStrLen(const VekString* x, const char* y, VekSizeT ylen) VEK_NOEXCEPT;
VekBool VekStringStartsWithChar(const VekString* x, char c) VEK_NOEXCEPT;
VekBool VekStringEndsWith(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekBool VekStringEndsWithCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekBool VekStringEndsWithCStrLen(const VekString* x, const char* y, VekSizeT ylen) VEK_NOEXCEPT;
VekBool VekStringEndsWithChar(const VekString* x, char c) VEK_NOEXCEPT;
VekBool VekStringContains(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekBool VekStringContainsCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekBool VekStringContainsCStrLen(const VekString* x, const char* y, VekSizeT n) VEK_NOEXCEPT;
VekBool VekStringContainsChar(const VekString* x, char c) VEK_NOEXCEPT;
VekSizeT VekStringCount(const VekString* x, const VekString* y) VEK_NOEXCEPT;
VekSizeT VekStringCountCStr(const VekString* x, const char* y) VEK_NOEXCEPT;
VekSizeT VekStringCountCStrLen(const VekString* x, const char* y, VekSizeT n) VEK_NOEXCEPT;
VekSizeT VekStringCountChar(const VekString* x, char c) VEK_NOEXCEPT;
VekSizeT VekStringFindChar(const VekString* x, char c) VEK_NOEXCEPT;
VekSizeT VekStringFindFromPosChar(const VekString* x, VekSizeT pos, char c) VEK_NOEXCEPT;
VekSizeT VekStringRFindChar(const VekString* x, char c) VEK_NOEXCEPT;
VekSizeT VekStringRFindFromPosChar(const VekString* x, VekSizeT pos, char c) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Fields and cuts
 *
 * Split a string into views of its own bytes, without allocating or copying.
 * Fields come one at a time, from a position the caller keeps, starting at 0:
 *
 *     VekSizeT pos = 0;
 *     VekString field;
 *     while (VekStringNextFieldChar(&line, &pos, ',', &field))
 *         printf("[%.*s]\n", (int)VekStringSize(&field), VekStringData(&field));
 *
 * VekStringNextField makes *field a view of the field that starts at *pos
 * and runs to the next separator or to the end, and moves *pos behind that
 * separator, or to VekStringNpos after the last field; it returns false,
 * changing nothing, once *pos is beyond the end. So each separator ends one
 * field and begins the next: "a,b,,c" gives a, b, "", c; ",a" gives "" and
 * a; "a," gives a and ""; n separators give n + 1 fields, and the empty
 * string one empty field. Each call moves *pos forward, so a loop ends. The
 * separator is a string (bare: a VekString; CStr, measured first; CStrLen, n
 * bytes), one byte (Char), or any byte of a set (AnyOf: CStr or CStrLen; the
 * empty set separates nothing). The empty separator string separates every
 * byte from the next: "abc" gives a, b, c.
 *
 * VekStringNextWord takes the words, the runs of bytes between runs of
 * ASCII whitespace (space, \t, \n, \v, \f, \r), so it never yields an
 * empty one: " a  b " gives a and b, a blank string none. It makes *word a
 * view of the first word at or after *pos and moves *pos to its end; false,
 * changing nothing, when there is none.
 *
 * VekStringCut splits x once, around the first occurrence of the separator
 * (operand forms as above): *before views the bytes in front of it, *after
 * the bytes behind it, and it returns true. When there is none, *before
 * views all of x, *after is empty at x's end, and it returns false. The empty
 * separator occurs at 0. Either output may be NULL when not wanted.
 *
 *     VekString key, value;
 *     if (VekStringCutCStr(&line, ": ", &key, &value)) ...
 *
 * The views have x's allocator and point into x's bytes even when empty, so
 * field.buf - x->buf is always the field's offset. Cost: each call searches
 * only as far as the next separator, with the searches' own speed.
 *
 * WARNING: lifetime. The views are valid as long as x's buffer is (Views).
 * WARNING: aliasing. An output may be x itself only when x owns no block (a
 * view, or the empty string), as in VekStringCutChar(&rest, ' ', &word,
 * &rest), which consumes a view from the front; a block x owned would be
 * lost. *field and *word must not be x, which the next call reads.
 * ------------------------------------------------------------------------ */

VekBool VekStringNextField(const VekString* x, VekSizeT* pos, const VekString* y,
                           VekString* field) VEK_NOEXCEPT;
VekBool VekStringNextFieldCStr(const VekString* x, VekSizeT* pos, const char* y,
                               VekString* field) VEK_NOEXCEPT;
VekBool VekStringNextFieldCStrLen(const VekString* x, VekSizeT* pos, const char* y, VekSizeT n,
                                  VekString* field) VEK_NOEXCEPT;
VekBool VekStringNextFieldChar(const VekString* x, VekSizeT* pos, char c,
                               VekString* field) VEK_NOEXCEPT;
VekBool VekStringNextFieldAnyOfCStr(const VekString* x, VekSizeT* pos, const char* y,
                                    VekString* field) VEK_NOEXCEPT;
VekBool VekStringNextFieldAnyOfCStrLen(const VekString* x, VekSizeT* pos, const char* y,
                                       VekSizeT n, VekString* field) VEK_NOEXCEPT;
VekBool VekStringNextWord(const VekString* x, VekSizeT* pos, VekString* word) VEK_NOEXCEPT;
VekBool VekStringCut(const VekString* x, const VekString* y, VekString* before,
                     VekString* after) VEK_NOEXCEPT;
VekBool VekStringCutCStr(const VekString* x, const char* y, VekString* before,
                         VekString* after) VEK_NOEXCEPT;
VekBool VekStringCutCStrLen(const VekString* x, const char* y, VekSizeT n, VekString* before,
                            VekString* after) VEK_NOEXCEPT;
VekBool VekStringCutChar(const VekString* x, char c, VekString* before,
                         VekString* after) VEK_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Unicode conversion
 *
 * Converts zero-terminated UCS-4 or UTF-16 into UTF-8 with the codec of
 * VekUtf8Encoding.h, which refuses input that is not valid Unicode (surrogate
 * or out-of-range UCS-4 values, unpaired UTF-16 surrogates). The conversion
 * goes straight into the room x already has, so a result that fits costs one
 * codec pass and no allocation. Only a longer result makes x grow, exactly to
 * the new length (never doubled) through VekStringReserve, and converts again;
 * a view is copied into the new block first.
 *
 *     static const VekUint16 text[] = {0x63, 0x61, 0x66, 0xE9, 0};   // "cafe", acute e
 *     VekStringAssignUtf16(&s, text);       // s holds 5 bytes of UTF-8
 *
 * Failures differ from the other families:
 *  - Refused input empties an assigned (or constructed) string: size 0, the
 *    buffer and its capacity kept, a view kept as an empty view. An append
 *    keeps its size and content.
 *  - WARNING: when an assignment's result is longer than the capacity and
 *    the growth is refused, x keeps its size, buffer and capacity, but its
 *    content bytes may already hold part of the new text: the first attempt
 *    converts over them. An append never overwrites its content.
 *  - After any failure an owned buffer is again NUL-terminated at size.
 * ------------------------------------------------------------------------ */

/* VekStringConstructUcs4 makes x empty with allocator a, then assigns ucs4;
 * a failed construction leaves a valid string to destroy. */
VekString* VekStringConstructUcs4(VekString* x, const VekWideChar* ucs4,
                                  VekAllocator* a) VEK_NOEXCEPT;
VekString* VekStringConstructUtf16(VekString* x, const VekUint16* utf16,
                                   VekAllocator* a) VEK_NOEXCEPT;
/* Empty input gives empty content: an owned block is kept, a view is kept as
 * a view of length 0. */
VekString* VekStringAssignUcs4(VekString* x, const VekWideChar* ucs4) VEK_NOEXCEPT;
VekString* VekStringAssignUtf16(VekString* x, const VekUint16* utf16) VEK_NOEXCEPT;
VekString* VekStringAppendUcs4(VekString* x, const VekWideChar* ucs4) VEK_NOEXCEPT;
VekString* VekStringAppendUtf16(VekString* x, const VekUint16* utf16) VEK_NOEXCEPT;

/* VekStringWriteUtf16 decodes the content, read as a C string (so up to its
 * first NUL), into output with VekUtf8DecodeUtf16, whose arguments and
 * result it passes through; outputSize and *outputLen count UTF-16 units.
 * A view must be NUL-terminated by its owner. x is not changed. */
VekBool VekStringWriteUtf16(const VekString* x, VekUint16* output, VekSizeT outputSize,
                            VekSizeT* outputLen) VEK_NOEXCEPT;

/*
 * VekStringAssignFromCFString replaces the content by the UTF-8 form of
 * cfStr. When the framework offers that form directly, this is
 * VekStringAssignCStr with it, failures included. Otherwise the UTF-8 length
 * is measured, x grows exactly to it when its capacity is smaller, and the
 * framework converts straight into x's buffer. Failures on that road: a
 * string of which nothing converts (an empty one among them) or a refused
 * growth leave x unchanged; a conversion the framework refuses after
 * measuring (say an unpaired surrogate behind convertible text) leaves x
 * empty with its buffer kept.
 */
VekString* VekStringAssignFromCFString(VekString* x, CFStringRef cfStr) VEK_NOEXCEPT;

VEK_EXTERN_C_END

#include "VekStringInline.h"

#endif /* VEK_UTILS_VEKSTRING_H */
