/*
 * VekStringInline.h - the constant-time accessors of VekString, and the
 * inline fast paths of the calls short strings make most.
 *
 * Included by VekString.h; callers include that header, not this one.
 */
#ifndef VEK_UTILS_VEKSTRINGINLINE_H
#define VEK_UTILS_VEKSTRINGINLINE_H

#include "VekPoolAllocator.h"
#include "VekStdCLibInline.h"
#include "VekString.h"

/* The inline searches compare 16 bytes at a time where the compiler offers
 * SSE2, and byte by byte elsewhere (and in the library's plain build). */
#if !defined(VEK_PORTABLE) && defined(__SSE2__) && (defined(__GNUC__) || defined(__clang__))
#include <emmintrin.h>
#define VEK_STRING_INLINE_SSE2 1
#else
#define VEK_STRING_INLINE_SSE2 0
#endif

VEK_EXTERN_C_BEGIN

/* VekStringLength and VekStringSize both return the number of content bytes. */
static inline VekSizeT VekStringLength(const VekString* x) VEK_NOEXCEPT
{
    return x->size;
}

static inline VekSizeT VekStringSize(const VekString* x) VEK_NOEXCEPT
{
    return x->size;
}

/* VekStringMaxSize returns the allocator's maxSize as it stands; the largest
 * capacity a string can reach is one less. */
static inline VekSizeT VekStringMaxSize(const VekString* x) VEK_NOEXCEPT
{
    return x->allocator->maxSize;
}

static inline VekAllocator* VekStringGetAllocator(const VekString* x) VEK_NOEXCEPT
{
    return x->allocator;
}

static inline VekSizeT VekStringCapacity(const VekString* x) VEK_NOEXCEPT
{
    return x->capacity;
}

/* VekStringData returns the content; it is NUL-terminated whenever the string
 * owns its buffer or owns nothing and is empty. A view is terminated only if
 * its owner made it so. */
static inline const char* VekStringData(const VekString* x) VEK_NOEXCEPT
{
    return x->buf;
}

/* VekStringGetBuffer returns the first byte behind the content, where a caller
 * may write up to capacity - size bytes before announcing them with
 * VekStringReleaseBuffer. A string that owns nothing has no room at all: the
 * returned byte must not be written. */
static inline char* VekStringGetBuffer(VekString* x) VEK_NOEXCEPT
{
    return x->buf + x->size;
}

/*
 * Short runs of bytes are moved as words, through memcpy of a constant size,
 * which compilers turn into single loads and stores: a call to memcpy costs
 * more than copying a short string.
 */
static inline uint64_t VekStringLoad64Inline(const char* p) VEK_NOEXCEPT
{
    uint64_t v;
    VekMemCpy(&v, p, 8);
    return v;
}

static inline uint32_t VekStringLoad32Inline(const char* p) VEK_NOEXCEPT
{
    uint32_t v;
    VekMemCpy(&v, p, 4);
    return v;
}

/* VekStringCopyBytesInline copies n bytes between ranges that do not
 * overlap. Up to 32 bytes it loads a head and a tail that overlap in the
 * middle, so every length is covered without touching a byte outside either
 * range; longer runs go to memcpy. */
static inline void VekStringCopyBytesInline(char* dst, const char* src, VekSizeT n) VEK_NOEXCEPT
{
    if (n > 32) {
        VekMemCpy(dst, src, n);
    } else if (n > 16) {
        const uint64_t h0 = VekStringLoad64Inline(src), h1 = VekStringLoad64Inline(src + 8);
        const uint64_t t0 = VekStringLoad64Inline(src + n - 16);
        const uint64_t t1 = VekStringLoad64Inline(src + n - 8);
        VekMemCpy(dst, &h0, 8);
        VekMemCpy(dst + 8, &h1, 8);
        VekMemCpy(dst + n - 16, &t0, 8);
        VekMemCpy(dst + n - 8, &t1, 8);
    } else if (n >= 8) {
        const uint64_t head = VekStringLoad64Inline(src);
        const uint64_t tail = VekStringLoad64Inline(src + n - 8);
        VekMemCpy(dst, &head, 8);
        VekMemCpy(dst + n - 8, &tail, 8);
    } else if (n >= 4) {
        const uint32_t head = VekStringLoad32Inline(src);
        const uint32_t tail = VekStringLoad32Inline(src + n - 4);
        VekMemCpy(dst, &head, 4);
        VekMemCpy(dst + n - 4, &tail, 4);
    } else if (n != 0) {
        /* 1 to 3 bytes: the first, the middle and the last cover them all. */
        const char first = src[0], middle = src[n / 2], last = src[n - 1];
        dst[0] = first;
        dst[n / 2] = middle;
        dst[n - 1] = last;
    }
}

/*
 * Appending fast paths. Building a string a character or a few bytes at a
 * time costs more in the call than in the copy, so VekStringAppendChar and
 * VekStringAppendCStrLen are also function-like macros, as getc is in many C
 * libraries, with the same effect as the functions: a character that fits the
 * owned block is appended here, anything else calls the function; bytes are
 * appended here whether they fit or the string must grow, by the same body
 * the library's appending functions use. The same goes for the other macros
 * below. Each argument is evaluated exactly once. (VekStringAppendChar)(x, c)
 * and &VekStringAppendChar reach the exported function as always.
 */
static inline VekString* VekStringAppendCharInline(VekString* x, char c) VEK_NOEXCEPT
{
    const VekSizeT size = x->size;
    if (size < x->capacity) {
        /* The byte and its terminator go out as one 2-byte store. */
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        const uint16_t with_terminator = (uint16_t)((unsigned char)c << 8);
#else
        const uint16_t with_terminator = (unsigned char)c;
#endif
        VekMemCpy(x->buf + size, &with_terminator, 2);
        x->size = size + 1;
        return x;
    }
    return (VekStringAppendChar)(x, c);
}

/* VekStringAllocateInline takes the block of a new capacity, capacity + 1
 * bytes from allocator a, and VekStringDeallocateInline gives one back:
 * every block of the module goes through these two. A pool's short blocks
 * are taken and given back inline, where the call through the record would
 * cost as much as the pool's own work; any other allocator is called through
 * its record. (Recognising the default allocator the same way and calling
 * malloc and free directly gains nothing measurable: malloc and free are
 * the cost, not the call.) */
static inline char* VekStringAllocateInline(VekAllocator* a, VekSizeT capacity) VEK_NOEXCEPT
{
    void* block = VekPoolAllocatorTakeInline(a, capacity + 1);
    if (block == NULL)
        block = VekAllocatorAllocate(a, capacity + 1);
    /* A C cast, as this header is C as well as C++. */
    /* cppcheck-suppress cstyleCast */
    return (char*)block;
}

static inline void VekStringDeallocateInline(VekAllocator* a, char* buf,
                                             VekSizeT capacity) VEK_NOEXCEPT
{
    if (!VekPoolAllocatorGiveInline(a, buf, capacity + 1))
        VekAllocatorDeallocate(a, buf, capacity + 1);
}

/* VekStringAppendGrowInline appends n > 0 bytes that do not fit the owned
 * block, as every appending function does: a block of the larger of the new
 * size and twice the capacity (the doubling saturates, so that the limit
 * refuses it instead of letting it wrap), the old content and the operand
 * copied in, and only then the old block returned, so the operand may lie
 * inside the content. Refused, it returns NULL with nothing changed. */
static inline VekString* VekStringAppendGrowInline(VekString* x, const char* str,
                                                   VekSizeT n) VEK_NOEXCEPT
{
    const VekSizeT size = x->size;
    const VekSizeT capacity = x->capacity;
    const VekSizeT doubled = capacity > VekStringNpos / 2 ? VekStringNpos : 2 * capacity;
    VekSizeT new_size;
    VekSizeT new_capacity;
    char* buf;
    if (n > VekStringNpos - size)
        return NULL;
    new_size = size + n;
    new_capacity = new_size > doubled ? new_size : doubled;
    if (new_capacity >= x->allocator->maxSize)
        return NULL;
    buf = VekStringAllocateInline(x->allocator, new_capacity);
    if (buf == NULL)
        return NULL;
    VekStringCopyBytesInline(buf, x->buf, size);
    VekStringCopyBytesInline(buf + size, str, n);
    buf[new_size] = '\0';
    if (capacity != 0)
        VekStringDeallocateInline(x->allocator, x->buf, capacity);
    x->buf = buf;
    x->size = new_size;
    x->capacity = new_capacity;
    return x;
}

/* An owned block holds size <= capacity, so n - 1 < capacity - size is n > 0
 * bytes fitting behind the content; on a string owning nothing (capacity 0)
 * the test fails before the difference could wrap. An operand inside the
 * content ends where the copy starts, so the two never overlap. */
static inline VekString* VekStringAppendCStrLenInline(VekString* x, const char* str,
                                                      VekSizeT n) VEK_NOEXCEPT
{
    const VekSizeT size = x->size;
    if (x->capacity != 0 && n - 1 < x->capacity - size) {
        char* buf = x->buf;
        VekStringCopyBytesInline(buf + size, str, n);
        buf[size + n] = '\0';
        x->size = size + n;
        return x;
    }
    if (n == 0)
        return x;
    return VekStringAppendGrowInline(x, str, n);
}

/*
 * Construction, copy and destruction. A short string's life is mostly two
 * allocator calls; these do the rest inline, each field stored once. The
 * library's own functions are these same bodies.
 */
static inline VekString* VekStringConstructDefaultInline(VekString* x, VekAllocator* a) VEK_NOEXCEPT
{
    x->allocator = a;
    x->buf = vekStringEmpty_;
    x->size = 0;
    x->capacity = 0;
    return x;
}

static inline VekString* VekStringConstructCStrLenInline(VekString* x, const char* str,
                                                         VekSizeT len, VekAllocator* a) VEK_NOEXCEPT
{
    char* buf;
    x->allocator = a;
    /* The limit refuses len >= maxSize, so len + 1 never wraps. */
    if (len != 0 && len < a->maxSize && (buf = VekStringAllocateInline(a, len)) != NULL) {
        VekStringCopyBytesInline(buf, str, len);
        buf[len] = '\0';
        x->buf = buf;
        x->size = len;
        x->capacity = len;
        return x;
    }
    /* Empty, or refused: a valid empty string either way. */
    VekStringConstructDefaultInline(x, a);
    return len == 0 ? x : NULL;
}

static inline VekString* VekStringConstructCStrInline(VekString* x, const char* str,
                                                      VekAllocator* a) VEK_NOEXCEPT
{
    return VekStringConstructCStrLenInline(x, str, VekStrLen(str), a);
}

static inline VekString* VekStringConstructCopyInline(VekString* x,
                                                      const VekString* src) VEK_NOEXCEPT
{
    return VekStringConstructCStrLenInline(x, src->buf, src->size, src->allocator);
}

static inline void VekStringDestructInline(VekString* x) VEK_NOEXCEPT
{
    if (x->capacity != 0)
        VekStringDeallocateInline(x->allocator, x->buf, x->capacity);
    x->allocator = NULL;
    x->buf = NULL;
    x->size = 0;
    x->capacity = 0;
}

/*
 * Equality and ordering. Below 33 bytes equality compares words inline
 * (up to 64 bytes 16-byte blocks, where SSE2 is at hand), never reading
 * outside either operand: two words or blocks that overlap in the middle
 * cover every length from one to two of them. Ordering needs memcmp's own
 * result whenever the bytes differ, so it only saves the call into the
 * library. Both read nothing when the length is 0, so either pointer may
 * then be NULL.
 */
/* VekStringDiffer64Inline is not 0 when the 8 bytes at a + at and b + at differ. */
static inline uint64_t VekStringDiffer64Inline(const char* a, const char* b,
                                               VekSizeT at) VEK_NOEXCEPT
{
    return VekStringLoad64Inline(a + at) ^ VekStringLoad64Inline(b + at);
}

#if VEK_STRING_INLINE_SSE2
/* VekStringEqualBlocksInline compares 16 < n <= 64 bytes by 16-byte blocks,
 * the last one ending at the last byte, and decides once at the end: that
 * far the call into memcmp costs more than the blocks. */
static inline VekBool VekStringEqualBlocksInline(const char* a, const char* b,
                                                 VekSizeT n) VEK_NOEXCEPT
{
    __m128i diff = _mm_xor_si128(_mm_loadu_si128((const __m128i*)(a + n - 16)),
                                 _mm_loadu_si128((const __m128i*)(b + n - 16)));
    VekSizeT i;
    for (i = 0; i + 16 < n; i += 16)
        diff = _mm_or_si128(diff, _mm_xor_si128(_mm_loadu_si128((const __m128i*)(a + i)),
                                                _mm_loadu_si128((const __m128i*)(b + i))));
    return (VekBool)(_mm_movemask_epi8(_mm_cmpeq_epi8(diff, _mm_setzero_si128())) == 0xFFFF);
}
#endif

static inline VekBool VekStringEqualBytesInline(const char* a, const char* b,
                                                VekSizeT n) VEK_NOEXCEPT
{
#if VEK_STRING_INLINE_SSE2
    if (n > 16)
        return n > 64 ? (VekBool)(VekMemCmp(a, b, n) == 0) : VekStringEqualBlocksInline(a, b, n);
#endif
    if (n > 32)
        return (VekBool)(VekMemCmp(a, b, n) == 0);
    if (n > 16)
        return (VekBool)((VekStringDiffer64Inline(a, b, 0) | VekStringDiffer64Inline(a, b, 8) |
                          VekStringDiffer64Inline(a, b, n - 16) |
                          VekStringDiffer64Inline(a, b, n - 8)) == 0);
    if (n >= 8)
        return (VekBool)((VekStringDiffer64Inline(a, b, 0) |
                          VekStringDiffer64Inline(a, b, n - 8)) == 0);
    if (n >= 4)
        return (VekBool)(((VekStringLoad32Inline(a) ^ VekStringLoad32Inline(b)) |
                          (VekStringLoad32Inline(a + n - 4) ^ VekStringLoad32Inline(b + n - 4))) ==
                         0);
    if (n == 0)
        return VEK_TRUE;
    /* 1 to 3 bytes: the first, the middle and the last cover them all. */
    return (VekBool)(((a[0] ^ b[0]) | (a[n / 2] ^ b[n / 2]) | (a[n - 1] ^ b[n - 1])) == 0);
}

static inline VekBool VekStringEqualCStrLenInline(const VekString* x, const char* y,
                                                  VekSizeT ylen) VEK_NOEXCEPT
{
    return (VekBool)(x->size == ylen && VekStringEqualBytesInline(x->buf, y, ylen));
}

static inline VekBool VekStringEqualInline(const VekString* x, const VekString* y) VEK_NOEXCEPT
{
    return VekStringEqualCStrLenInline(x, y->buf, y->size);
}

static inline VekBool VekStringEqualCStrInline(const VekString* x, const char* y) VEK_NOEXCEPT
{
    return VekStringEqualCStrLenInline(x, y, VekStrLen(y));
}

/* memcmp's result on the common prefix when it differs, else the length
 * difference, saturated so that its sign survives the narrowing to VekInt. */
static inline VekInt VekStringCompareCStrLenInline(const VekString* x, const char* y,
                                                   VekSizeT ylen) VEK_NOEXCEPT
{
    const VekSizeT xlen = x->size;
    const VekSizeT common_len = xlen < ylen ? xlen : ylen;
    const int ret = common_len == 0 ? 0 : VekMemCmp(x->buf, y, common_len);
    if (ret != 0)
        return ret;
    if (xlen < ylen)
        return ylen - xlen > (VekSizeT)INT32_MAX ? INT32_MIN : -(VekInt)(ylen - xlen);
    return xlen - ylen > (VekSizeT)INT32_MAX ? INT32_MAX : (VekInt)(xlen - ylen);
}

static inline VekInt VekStringCompareInline(const VekString* x, const VekString* y) VEK_NOEXCEPT
{
    return VekStringCompareCStrLenInline(x, y->buf, y->size);
}

static inline VekInt VekStringCompareCStrInline(const VekString* x, const char* y) VEK_NOEXCEPT
{
    return VekStringCompareCStrLenInline(x, y, VekStrLen(y));
}

/*
 * The hash, h = h * 33 + b over the bytes taken as signed values, from 0. Up
 * to 8 bytes it is computed here, as one word: the weighted
 * sum of a word's bytes (the first weighted 33^7) is three multiply-adds of
 * bytes into pairs, pairs into quads and quads into the word, on bytes biased
 * by 128 so that no partial sum is negative or carries into its neighbour. A
 * zero byte biased this way adds exactly its share of the bias, so bytes
 * that are not the string's stand as zeros in front of those that are and
 * count for nothing. Longer strings go to the library's block kernels, whose
 * own short case is this code.
 */

/* VekStringHashBytes_ hashes the n bytes at p. The inline hash's way into the
 * library, not to be called otherwise. */
VekSizeT VekStringHashBytes_(const char* p, VekSizeT n) VEK_NOEXCEPT;

/* VekStringHashLoadInline reads 8 bytes as a word whose low byte is the first
 * in memory, whatever the byte order. */
static inline uint64_t VekStringHashLoadInline(const char* p) VEK_NOEXCEPT
{
    uint64_t word = VekStringLoad64Inline(p);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    word = __builtin_bswap64(word);
#endif
    return word;
}

static inline uint64_t VekStringHashLoad32Inline(const char* p) VEK_NOEXCEPT
{
    uint32_t word = VekStringLoad32Inline(p);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    word = __builtin_bswap32(word);
#endif
    return word;
}

/* VekStringHashWordInline is the weighted sum of the 8 bytes of word, the
 * low byte weighted 33^7 and the high one 1. Biased pairs fit 16 bits (at
 * most 255 * 34) and quads 32 bits (at most 8670 * 1090); the bias of the 8
 * bytes, 128 * (33^7 + ... + 1) = 4 * (33^8 - 1), comes off at the end. */
static inline uint64_t VekStringHashWordInline(uint64_t word) VEK_NOEXCEPT
{
    const uint64_t bytes = 0x00FF00FF00FF00FFu, pairs_mask = 0x0000FFFF0000FFFFu;
    uint64_t pairs, quads;
    word ^= 0x8080808080808080u;
    pairs = (word & bytes) * 33u + (word >> 8 & bytes);
    quads = (pairs & pairs_mask) * 1089u + (pairs >> 16 & pairs_mask);
    return (quads & 0xFFFFFFFFu) * 1185921u + (quads >> 32) - 5625634472960u;
}

/* VekStringHashShortInline hashes n <= 8 bytes at p, reading none beyond,
 * gathered into the top of one word from two 4-byte loads that overlap or
 * from the first, middle and last bytes. Longer strings take the library's
 * 16-byte blocks, which from 9 bytes on cost less than the call. */
static inline VekSizeT VekStringHashShortInline(const char* p, VekSizeT n) VEK_NOEXCEPT
{
    const unsigned len = (unsigned)n;
    uint64_t word;
    if (len == 8) {
        word = VekStringHashLoadInline(p);
    } else if (len >= 4) {
        word = VekStringHashLoad32Inline(p + len - 4) << 32 | VekStringHashLoad32Inline(p)
                                                                  << 8 * (8 - len);
    } else if (len != 0) {
        word = (uint64_t)(unsigned char)p[len - 1] << 56 |
               (uint64_t)(unsigned char)p[len / 2] << 8 * (8 - len + len / 2) |
               (uint64_t)(unsigned char)p[0] << 8 * (8 - len);
    } else {
        return 0;
    }
    return VekStringHashWordInline(word);
}

static inline VekSizeT VekStringHashInline(const VekString* x) VEK_NOEXCEPT
{
    if (x->size > 8)
        return VekStringHashBytes_(x->buf, x->size);
    return VekStringHashShortInline(x->buf, x->size);
}

/*
 * Set searches forward. A search that ends within the first bytes it looks
 * at (a token, a field, a short string) costs more in the call than in the
 * comparing, so the first 64 bytes are compared here, against sets of up to
 * four bytes (blanks, separators, a quote and its escape): 16 bytes at a time
 * with SSE2, and one byte at a time elsewhere. Whatever remains, and every
 * larger or empty set, goes to the library's kernels, VekStringScanSet_,
 * which are the same for every form. A set given as a constant (a literal C
 * string, a character) becomes constant vectors in the caller. Nothing
 * outside the content is read: a string shorter than a block is loaded as two
 * overlapping halves.
 */
/* VekStringScanSet_ returns the first position in [pos, size) of buf whose
 * byte is in the n bytes of y (in_set) or in none of them (!in_set), or
 * VekStringNpos; pos < size. The inline searches' way into the library, not
 * to be called otherwise. */
VekSizeT VekStringScanSet_(const char* buf, VekSizeT size, VekSizeT pos, const char* y, VekSizeT n,
                           VekBool in_set) VEK_NOEXCEPT;

/* The bytes looked at inline, at most, before the rest goes to the library. */
#define VEK_STRING_INLINE_SCAN 32

#if VEK_STRING_INLINE_SSE2
/* VekStringSetMarksInline marks with a bit each of the 16 bytes of v that
 * qualifies: in the set, or in none of it. The set is up to four bytes in
 * four vectors; a shorter one repeats its last byte. */
static inline unsigned VekStringSetMarksInline(__m128i v, const __m128i* set,
                                               VekBool in_set) VEK_NOEXCEPT
{
    const __m128i hits =
        _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, set[0]), _mm_cmpeq_epi8(v, set[1])),
                     _mm_or_si128(_mm_cmpeq_epi8(v, set[2]), _mm_cmpeq_epi8(v, set[3])));
    const unsigned marks = (unsigned)_mm_movemask_epi8(hits);
    return in_set ? marks : ~marks & 0xFFFFu;
}

/* VekStringShortSetMarksInline marks the qualifying positions of a string of
 * 1 to 15 bytes, bit i for the byte at i. The string is loaded as a head and
 * a tail that overlap (two 8-byte or two 4-byte halves, or for up to three
 * bytes the first, middle and last); a byte seen twice qualifies twice alike,
 * so the two halves' marks are simply joined, each at its place. */
static inline unsigned VekStringShortSetMarksInline(const char* buf, VekSizeT size,
                                                    const __m128i* set, VekBool in_set) VEK_NOEXCEPT
{
    const unsigned n = (unsigned)size;
    unsigned marks;
    if (n >= 8) {
        const __m128i head = _mm_loadl_epi64((const __m128i*)(const void*)buf);
        const __m128i tail = _mm_loadl_epi64((const __m128i*)(const void*)(buf + n - 8));
        marks = VekStringSetMarksInline(_mm_unpacklo_epi64(head, tail), set, in_set);
        return (marks & 0xFFu) | (marks >> 8 << (n - 8));
    }
    if (n >= 4) {
        const __m128i head = _mm_cvtsi32_si128((int)VekStringLoad32Inline(buf));
        const __m128i tail = _mm_cvtsi32_si128((int)VekStringLoad32Inline(buf + n - 4));
        marks = VekStringSetMarksInline(_mm_unpacklo_epi32(head, tail), set, in_set);
        return (marks & 0xFu) | ((marks >> 4 & 0xFu) << (n - 4));
    }
    marks = VekStringSetMarksInline(_mm_cvtsi32_si128((unsigned char)buf[0] |
                                                      (unsigned char)buf[n / 2] << 8 |
                                                      (unsigned char)buf[n - 1] << 16),
                                    set, in_set);
    return (marks & 1u) | (marks >> 1 & 1u) << (n / 2) | (marks >> 2 & 1u) << (n - 1);
}
#endif

/* VekStringSetHoldsInline tells whether b is one of the n bytes of y. */
static inline VekBool VekStringSetHoldsInline(const char* y, VekSizeT n, char b) VEK_NOEXCEPT
{
    VekSizeT i;
    for (i = 0; i < n; ++i) {
        if (y[i] == b)
            return VEK_TRUE;
    }
    return VEK_FALSE;
}

/* VekStringFindSetInline is every forward set search: the first position at
 * or after pos whose byte is in the set (in_set) or in none of it. */
static inline VekSizeT VekStringFindSetInline(const VekString* x, VekSizeT pos, const char* y,
                                              VekSizeT n, VekBool in_set) VEK_NOEXCEPT
{
    const char* buf = x->buf;
    const VekSizeT size = x->size;
    if (pos >= size)
        return VekStringNpos;
    if (n - 1 >= 4)
        return VekStringScanSet_(buf, size, pos, y, n, in_set);
    {
#if VEK_STRING_INLINE_SSE2
        __m128i set[4];
        unsigned marks;
        set[0] = _mm_set1_epi8(y[0]);
        set[1] = _mm_set1_epi8(y[n > 1 ? 1 : 0]);
        set[2] = _mm_set1_epi8(y[n > 2 ? 2 : n - 1]);
        set[3] = _mm_set1_epi8(y[n - 1]);
        {
            /* Whole blocks from pos, then the last 16 bytes with the marks
             * below pos shifted out; a string shorter than a block is looked
             * at 8 bytes from pos first, where most short searches end. */
            const VekSizeT stop = pos + VEK_STRING_INLINE_SCAN;
            while (size - pos >= 16) {
                const __m128i v = _mm_loadu_si128((const __m128i*)(const void*)(buf + pos));
                marks = VekStringSetMarksInline(v, set, in_set);
                if (marks != 0)
                    return pos + (VekSizeT)__builtin_ctz(marks);
                pos += 16;
                if (pos == size)
                    return VekStringNpos;
                if (pos >= stop)
                    return VekStringScanSet_(buf, size, pos, y, n, in_set);
            }
            if (size >= 16) {
                const __m128i v = _mm_loadu_si128((const __m128i*)(const void*)(buf + size - 16));
                marks = VekStringSetMarksInline(v, set, in_set) >> (pos - (size - 16));
            } else {
                if (size - pos >= 8) {
                    const __m128i v = _mm_loadl_epi64((const __m128i*)(const void*)(buf + pos));
                    marks = VekStringSetMarksInline(v, set, in_set) & 0xFFu;
                    if (marks != 0)
                        return pos + (VekSizeT)__builtin_ctz(marks);
                    pos += 8;
                    if (pos == size)
                        return VekStringNpos;
                }
                marks = VekStringShortSetMarksInline(buf, size, set, in_set) >> pos;
            }
            return marks != 0 ? pos + (VekSizeT)__builtin_ctz(marks) : VekStringNpos;
        }
#else
        const VekSizeT stop =
            size - pos > VEK_STRING_INLINE_SCAN ? pos + VEK_STRING_INLINE_SCAN : size;
        for (; pos < stop; ++pos) {
            if (VekStringSetHoldsInline(y, n, buf[pos]) == in_set)
                return pos;
        }
        if (pos == size)
            return VekStringNpos;
#endif
    }
    return VekStringScanSet_(buf, size, pos, y, n, in_set);
}

static inline VekSizeT VekStringFindFirstOfCStrLenInline(const VekString* x, VekSizeT pos,
                                                         const char* y, VekSizeT n) VEK_NOEXCEPT
{
    return VekStringFindSetInline(x, pos, y, n, VEK_TRUE);
}

static inline VekSizeT VekStringFindFirstOfInline(const VekString* x, VekSizeT pos,
                                                  const VekString* y) VEK_NOEXCEPT
{
    return VekStringFindSetInline(x, pos, y->buf, y->size, VEK_TRUE);
}

static inline VekSizeT VekStringFindFirstOfCStrInline(const VekString* x, VekSizeT pos,
                                                      const char* y) VEK_NOEXCEPT
{
    const VekSizeT n = VekStrLen(y);
    return VekStringFindSetInline(x, pos, y, n, VEK_TRUE);
}

static inline VekSizeT VekStringFindFirstOfCharInline(const VekString* x, VekSizeT pos,
                                                      char c) VEK_NOEXCEPT
{
    return VekStringFindSetInline(x, pos, &c, 1, VEK_TRUE);
}

static inline VekSizeT VekStringFindFirstNotOfCStrLenInline(const VekString* x, VekSizeT pos,
                                                            const char* y, VekSizeT n) VEK_NOEXCEPT
{
    return VekStringFindSetInline(x, pos, y, n, VEK_FALSE);
}

static inline VekSizeT VekStringFindFirstNotOfInline(const VekString* x, VekSizeT pos,
                                                     const VekString* y) VEK_NOEXCEPT
{
    return VekStringFindSetInline(x, pos, y->buf, y->size, VEK_FALSE);
}

static inline VekSizeT VekStringFindFirstNotOfCStrInline(const VekString* x, VekSizeT pos,
                                                         const char* y) VEK_NOEXCEPT
{
    const VekSizeT n = VekStrLen(y);
    return VekStringFindSetInline(x, pos, y, n, VEK_FALSE);
}

static inline VekSizeT VekStringFindFirstNotOfCharInline(const VekString* x, VekSizeT pos,
                                                         char c) VEK_NOEXCEPT
{
    return VekStringFindSetInline(x, pos, &c, 1, VEK_FALSE);
}

/* A checked library checks every call on entry, so code built against one
 * (VEK_CHECKED defined, as the CMake target does) calls the functions. Put a
 * name in parentheses to call the function itself. */
#if !defined(VEK_CHECKED) || !VEK_CHECKED
#define VekStringAppendChar(x, c) VekStringAppendCharInline((x), (c))
#define VekStringAppendCStrLen(x, str, n) VekStringAppendCStrLenInline((x), (str), (n))
#define VekStringConstructDefault(x, a) VekStringConstructDefaultInline((x), (a))
#define VekStringConstructCStrLen(x, str, len, a)                                                  \
    VekStringConstructCStrLenInline((x), (str), (len), (a))
#define VekStringConstructCStr(x, str, a) VekStringConstructCStrInline((x), (str), (a))
#define VekStringConstructCopy(x, src) VekStringConstructCopyInline((x), (src))
#define VekStringDestruct(x) VekStringDestructInline((x))
#define VekStringEqual(x, y) VekStringEqualInline((x), (y))
#define VekStringEqualCStr(x, y) VekStringEqualCStrInline((x), (y))
#define VekStringEqualCStrLen(x, y, ylen) VekStringEqualCStrLenInline((x), (y), (ylen))
#define VekStringCompare(x, y) VekStringCompareInline((x), (y))
#define VekStringCompareCStr(x, y) VekStringCompareCStrInline((x), (y))
#define VekStringCompareCStrLen(x, y, ylen) VekStringCompareCStrLenInline((x), (y), (ylen))
#define VekStringHash(x) VekStringHashInline((x))
#define VekStringFindFirstOf(x, pos, y) VekStringFindFirstOfInline((x), (pos), (y))
#define VekStringFindFirstOfCStrLen(x, pos, y, n)                                                  \
    VekStringFindFirstOfCStrLenInline((x), (pos), (y), (n))
#define VekStringFindFirstOfCStr(x, pos, y) VekStringFindFirstOfCStrInline((x), (pos), (y))
#define VekStringFindFirstOfChar(x, pos, c) VekStringFindFirstOfCharInline((x), (pos), (c))
#define VekStringFindFirstNotOf(x, pos, y) VekStringFindFirstNotOfInline((x), (pos), (y))
#define VekStringFindFirstNotOfCStrLen(x, pos, y, n)                                               \
    VekStringFindFirstNotOfCStrLenInline((x), (pos), (y), (n))
#define VekStringFindFirstNotOfCStr(x, pos, y) VekStringFindFirstNotOfCStrInline((x), (pos), (y))
#define VekStringFindFirstNotOfChar(x, pos, c) VekStringFindFirstNotOfCharInline((x), (pos), (c))
#endif

/* ========================================================================
 * The text families' fast paths: views, fields and cuts at one byte or a
 * separator string, words, trimming of whitespace or one byte, prefixes and
 * suffixes, containment, the single-byte searches, and counting and
 * converting case in short strings. A
 * parser calls them once or more per field, where a call into the library
 * costs more than the work, so they are macros over the bodies below, as the
 * calls above are; the library's functions are these same bodies, and a
 * checked library leaves them out.
 * ======================================================================== */

/* VekStringSetViewInline makes x a view of the len bytes at p. */
static inline void VekStringSetViewInline(VekString* x, VekAllocator* a, const char* p,
                                          VekSizeT len) VEK_NOEXCEPT
{
    x->allocator = a;
    /* A C cast, as this header is C as well as C++: a view never writes. */
    /* cppcheck-suppress cstyleCast */
    x->buf = (char*)p;
    x->size = len;
    x->capacity = 0;
}

static inline VekString* VekStringConstructViewCStrLenInline(VekString* x, const char* str,
                                                             VekSizeT len,
                                                             VekAllocator* a) VEK_NOEXCEPT
{
    VekStringSetViewInline(x, a, len == 0 ? vekStringEmpty_ : str, len);
    return x;
}

static inline VekString* VekStringConstructViewCStrInline(VekString* x, const char* str,
                                                          VekAllocator* a) VEK_NOEXCEPT
{
    return VekStringConstructViewCStrLenInline(x, str, VekStrLen(str), a);
}

/* str is read in full before x is written, so x may be str. */
static inline VekString* VekStringConstructViewSubstringInline(VekString* x, const VekString* str,
                                                               VekSizeT pos,
                                                               VekSizeT n) VEK_NOEXCEPT
{
    VekAllocator* a = str->allocator;
    const char* buf = str->buf;
    const VekSizeT size = str->size;
    if (pos > size) {
        VekStringConstructDefaultInline(x, a);
        return NULL;
    }
    VekStringSetViewInline(x, a, buf + pos, size - pos < n ? size - pos : n);
    return x;
}

/* The first position at or after pos holding c, by memchr. */
static inline VekSizeT VekStringFindFromPosCharInline(const VekString* x, VekSizeT pos,
                                                      char c) VEK_NOEXCEPT
{
    const char* hit;
    if (pos >= x->size)
        return VekStringNpos;
    /* cppcheck-suppress cstyleCast */
    hit = (const char*)memchr(x->buf + pos, (unsigned char)c, (size_t)(x->size - pos));
    return hit == NULL ? VekStringNpos : (VekSizeT)(hit - x->buf);
}

static inline VekSizeT VekStringFindCharInline(const VekString* x, char c) VEK_NOEXCEPT
{
    return VekStringFindFromPosCharInline(x, 0, c);
}

static inline VekBool VekStringContainsCharInline(const VekString* x, char c) VEK_NOEXCEPT
{
    return (VekBool)(VekStringFindFromPosCharInline(x, 0, c) != VekStringNpos);
}

/* memrchr is a GNU extension, declared for C++ and, in C, under _GNU_SOURCE;
 * elsewhere the backward searches stay calls. */
#if defined(__GLIBC__) && (defined(__cplusplus) || defined(_GNU_SOURCE))
#define VEK_STRING_INLINE_MEMRCHR 1
/* The last position at or before pos holding c (from the last byte when pos
 * is beyond it), by memrchr. */
static inline VekSizeT VekStringRFindFromPosCharInline(const VekString* x, VekSizeT pos,
                                                       char c) VEK_NOEXCEPT
{
    const char* hit;
    if (x->size == 0)
        return VekStringNpos;
    pos = pos < x->size ? pos : x->size - 1;
    /* cppcheck-suppress cstyleCast */
    hit = (const char*)memrchr(x->buf, (unsigned char)c, (size_t)(pos + 1));
    return hit == NULL ? VekStringNpos : (VekSizeT)(hit - x->buf);
}

static inline VekSizeT VekStringRFindCharInline(const VekString* x, char c) VEK_NOEXCEPT
{
    return VekStringRFindFromPosCharInline(x, VekStringNpos, c);
}
#endif

static inline VekBool VekStringStartsWithCStrLenInline(const VekString* x, const char* y,
                                                       VekSizeT ylen) VEK_NOEXCEPT
{
    return (VekBool)(x->size >= ylen && VekStringEqualBytesInline(x->buf, y, ylen));
}

static inline VekBool VekStringEndsWithCStrLenInline(const VekString* x, const char* y,
                                                     VekSizeT ylen) VEK_NOEXCEPT
{
    return (VekBool)(x->size >= ylen &&
                     VekStringEqualBytesInline(x->buf + (x->size - ylen), y, ylen));
}

static inline VekBool VekStringStartsWithInline(const VekString* x, const VekString* y) VEK_NOEXCEPT
{
    return VekStringStartsWithCStrLenInline(x, y->buf, y->size);
}

static inline VekBool VekStringStartsWithCStrInline(const VekString* x, const char* y) VEK_NOEXCEPT
{
    return VekStringStartsWithCStrLenInline(x, y, VekStrLen(y));
}

static inline VekBool VekStringStartsWithCharInline(const VekString* x, char c) VEK_NOEXCEPT
{
    return (VekBool)(x->size != 0 && x->buf[0] == c);
}

static inline VekBool VekStringEndsWithInline(const VekString* x, const VekString* y) VEK_NOEXCEPT
{
    return VekStringEndsWithCStrLenInline(x, y->buf, y->size);
}

static inline VekBool VekStringEndsWithCStrInline(const VekString* x, const char* y) VEK_NOEXCEPT
{
    return VekStringEndsWithCStrLenInline(x, y, VekStrLen(y));
}

static inline VekBool VekStringEndsWithCharInline(const VekString* x, char c) VEK_NOEXCEPT
{
    return (VekBool)(x->size != 0 && x->buf[x->size - 1] == c);
}

/* VekStringFindShortInline is where the n bytes at y first stand at or after
 * pos, for the splitting and counting calls, whose separators and needles are
 * mostly a few bytes in a short string: there memchr for the first byte and
 * the rest compared in place cost less than any search's set-up. A first byte
 * that keeps matching in vain hands the rest to the library's search, whose
 * time stays linear whatever the bytes; so does an empty or long needle. */
static inline VekSizeT VekStringFindShortInline(const VekString* x, VekSizeT pos, const char* y,
                                                VekSizeT n) VEK_NOEXCEPT
{
    const char* buf = x->buf;
    const VekSizeT size = x->size;
    int misses = 4;
    if (n == 0 || n > 16)
        return (VekStringFindFromPosCStrLen)(x, pos, y, n);
    while (pos < size && size - pos >= n) {
        /* The starts that leave room for the whole needle. */
        const size_t starts = (size_t)(size - pos - n + 1);
        /* cppcheck-suppress cstyleCast */
        const char* hit = (const char*)memchr(buf + pos, (unsigned char)y[0], starts);
        if (hit == NULL)
            return VekStringNpos;
        pos = (VekSizeT)(hit - buf);
        if (VekStringEqualBytesInline(hit + 1, y + 1, n - 1))
            return pos;
        if (--misses == 0)
            return (VekStringFindFromPosCStrLen)(x, pos + 1, y, n);
        ++pos;
    }
    return VekStringNpos;
}

/* VekStringTakeFieldInline makes field the view from start to the separator
 * of sep_len bytes at `at` (VekStringNpos: none, the field runs to the end)
 * and moves *pos behind the separator, or to VekStringNpos. */
static inline VekBool VekStringTakeFieldInline(const VekString* x, VekSizeT* pos, VekSizeT start,
                                               VekSizeT at, VekSizeT sep_len,
                                               VekString* field) VEK_NOEXCEPT
{
    const VekSizeT end = at == VekStringNpos ? x->size : at;
    *pos = at == VekStringNpos ? VekStringNpos : at + sep_len;
    VekStringSetViewInline(field, x->allocator, x->buf + start, end - start);
    return VEK_TRUE;
}

/* A field runs from *pos to the next c, or to the end (then *pos becomes
 * VekStringNpos). memchr may be given the empty rest at the end: a live
 * string's buf is never NULL. field is written after x is read; it must not
 * be x. */
static inline VekBool VekStringNextFieldCharInline(const VekString* x, VekSizeT* pos, char c,
                                                   VekString* field) VEK_NOEXCEPT
{
    const char* buf = x->buf;
    const VekSizeT start = *pos;
    const char* hit;
    if (start > x->size)
        return VEK_FALSE;
    /* cppcheck-suppress cstyleCast */
    hit = (const char*)memchr(buf + start, (unsigned char)c, (size_t)(x->size - start));
    return VekStringTakeFieldInline(x, pos, start,
                                    hit == NULL ? VekStringNpos : (VekSizeT)(hit - buf), 1, field);
}

/* An empty separator stands between every two bytes: each field is one
 * byte, the last one running to the end (the empty string's only field is
 * empty). */
static inline VekBool VekStringNextFieldCStrLenInline(const VekString* x, VekSizeT* pos,
                                                      const char* y, VekSizeT n,
                                                      VekString* field) VEK_NOEXCEPT
{
    const VekSizeT start = *pos;
    VekSizeT at;
    if (start > x->size)
        return VEK_FALSE;
    if (n == 0)
        at = start + 1 < x->size ? start + 1 : VekStringNpos;
    else
        at = VekStringFindShortInline(x, start, y, n);
    return VekStringTakeFieldInline(x, pos, start, at, n, field);
}

/* VekStringCutAtInline makes the views around a separator of sep_len bytes
 * at `at` (VekStringNpos: none, so all of x comes before). x is read in full
 * before an output is written, so either may be x when x owns no block. */
static inline VekBool VekStringCutAtInline(const VekString* x, VekSizeT at, VekSizeT sep_len,
                                           VekString* before, VekString* after) VEK_NOEXCEPT
{
    VekAllocator* a = x->allocator;
    const char* buf = x->buf;
    const VekSizeT size = x->size;
    const VekSizeT end = at == VekStringNpos ? size : at;
    const VekSizeT rest = at == VekStringNpos ? size : at + sep_len;
    if (before != NULL)
        VekStringSetViewInline(before, a, buf, end);
    if (after != NULL)
        VekStringSetViewInline(after, a, buf + rest, size - rest);
    return (VekBool)(at != VekStringNpos);
}

static inline VekBool VekStringCutCharInline(const VekString* x, char c, VekString* before,
                                             VekString* after) VEK_NOEXCEPT
{
    /* cppcheck-suppress cstyleCast */
    const char* hit = (const char*)memchr(x->buf, (unsigned char)c, (size_t)x->size);
    return VekStringCutAtInline(x, hit == NULL ? VekStringNpos : (VekSizeT)(hit - x->buf), 1,
                                before, after);
}

static inline VekBool VekStringCutCStrLenInline(const VekString* x, const char* y, VekSizeT n,
                                                VekString* before, VekString* after) VEK_NOEXCEPT
{
    return VekStringCutAtInline(x, n == 0 ? 0 : VekStringFindShortInline(x, 0, y, n), n, before,
                                after);
}

static inline VekBool VekStringContainsCStrLenInline(const VekString* x, const char* y,
                                                     VekSizeT n) VEK_NOEXCEPT
{
    return (VekBool)(VekStringFindShortInline(x, 0, y, n) != VekStringNpos);
}

/* Short strings are counted and converted here, where a call would cost
 * more than the work; longer ones by the library, many bytes a step. buf and
 * size are read once: a byte written or read through a char pointer could
 * otherwise be x's own fields, reloaded at every step. */
static inline VekSizeT VekStringCountCharInline(const VekString* x, char c) VEK_NOEXCEPT
{
    const char* buf = x->buf;
    const VekSizeT size = x->size;
    VekSizeT count = 0;
    VekSizeT i;
    if (size > 16)
        return (VekStringCountChar)(x, c);
    for (i = 0; i < size; ++i)
        count += buf[i] == c;
    return count;
}

/* Occurrences do not overlap: each search resumes behind the last match.
 * The empty needle stands at each of the size + 1 positions. */
static inline VekSizeT VekStringCountCStrLenInline(const VekString* x, const char* y,
                                                   VekSizeT n) VEK_NOEXCEPT
{
    VekSizeT count = 0;
    VekSizeT at = 0;
    if (x->size > 16 || n < 2)
        return (VekStringCountCStrLen)(x, y, n);
    while ((at = VekStringFindShortInline(x, at, y, n)) != VekStringNpos) {
        ++count;
        at += n;
    }
    return count;
}

/* VekStringAsciiLettersInline marks the letters among the eight bytes of w
 * that run from first ('A' or 'a') for 26 letters: 0x20 in each such byte,
 * else 0. Each byte's low seven bits plus a bias set the byte's top bit
 * exactly when they are at least first (with another bias, beyond
 * first + 25); no sum carries into the next byte. A letter has the first top
 * bit, not the second, and its own top bit clear. */
static inline uint64_t VekStringAsciiLettersInline(uint64_t w, char first) VEK_NOEXCEPT
{
    const uint64_t ones = 0x0101010101010101u;
    const uint64_t low7 = w & (0x7F * ones);
    const uint64_t from_first = low7 + (uint64_t)(0x80 - first) * ones;
    const uint64_t past_last = low7 + (uint64_t)(0x80 - first - 26) * ones;
    return ((from_first ^ past_last) & ~w & (0x80 * ones)) >> 2;
}

/* VekStringConvertWordInline is the eight bytes of w with the case bit of
 * their letters from first ('A' lowers, 'a' raises) flipped. */
static inline uint64_t VekStringConvertWordInline(uint64_t w, char first) VEK_NOEXCEPT
{
    return w ^ VekStringAsciiLettersInline(w, first);
}

/* VekStringConvertShortInline converts the size <= 16 bytes at buf: from 8
 * bytes as a first and a last word, both loaded before either is stored (a
 * load of what was just stored waits for it); where they overlap, both hold
 * the same converted bytes. Fewer than 8 go one at a time. */
static inline void VekStringConvertShortInline(char* buf, VekSizeT size, char first) VEK_NOEXCEPT
{
    VekSizeT i;
    if (size >= 8) {
        const uint64_t head = VekStringConvertWordInline(VekStringLoad64Inline(buf), first);
        const uint64_t tail =
            VekStringConvertWordInline(VekStringLoad64Inline(buf + size - 8), first);
        VekMemCpy(buf, &head, 8);
        VekMemCpy(buf + size - 8, &tail, 8);
        return;
    }
    for (i = 0; i < size; ++i)
        buf[i] = (char)(buf[i] ^ ((unsigned char)(buf[i] - first) < 26 ? 0x20 : 0));
}

/* A view is the library's, which copies it first. */
static inline VekString* VekStringToLowerAsciiInline(VekString* x) VEK_NOEXCEPT
{
    if (x->size > 16 || x->capacity == 0)
        return (VekStringToLowerAscii)(x);
    VekStringConvertShortInline(x->buf, x->size, 'A');
    return x;
}

static inline VekString* VekStringToUpperAsciiInline(VekString* x) VEK_NOEXCEPT
{
    if (x->size > 16 || x->capacity == 0)
        return (VekStringToUpperAscii)(x);
    VekStringConvertShortInline(x->buf, x->size, 'a');
    return x;
}

/* ASCII whitespace (space, \t, \n, \v, \f, \r) as bits of the byte values
 * below 64; VekStringIsAsciiSpaceInline tests a byte without a branch (the
 * shift is taken modulo 64, and bytes above ' ' are cleared). */
#define VEK_STRING_ASCII_SPACE_BITS                                                                \
    (((uint64_t)1 << ' ') | ((uint64_t)1 << '\t') | ((uint64_t)1 << '\n') |                        \
     ((uint64_t)1 << '\v') | ((uint64_t)1 << '\f') | ((uint64_t)1 << '\r'))

static inline VekBool VekStringIsAsciiSpaceInline(char c) VEK_NOEXCEPT
{
    const unsigned char b = (unsigned char)c;
    return (VekBool)((VEK_STRING_ASCII_SPACE_BITS >> (b & 63)) & (uint64_t)(b <= ' '));
}

/* VekStringTrimEndsInline removes the bytes at the chosen ends that are ASCII
 * whitespace (space true) or equal to c, one byte at a time from each end:
 * trimming examines only what it removes and one byte more. A view narrows;
 * an owned string moves what remains to the front of its block. */
static inline VekString* VekStringTrimEndsInline(VekString* x, int left, int right, int space,
                                                 char c) VEK_NOEXCEPT
{
    const char* buf = x->buf;
    VekSizeT start = 0;
    VekSizeT end = x->size;
    if (left) {
        while (start < end && (space ? VekStringIsAsciiSpaceInline(buf[start]) : buf[start] == c))
            ++start;
    }
    if (right) {
        while (end > start &&
               (space ? VekStringIsAsciiSpaceInline(buf[end - 1]) : buf[end - 1] == c))
            --end;
    }
    if (x->capacity == 0) {
        x->buf += start;
        x->size = end - start;
        return x;
    }
    if (start != 0 && end != start)
        VekMemMove(x->buf, buf + start, end - start);
    x->size = end - start;
    x->buf[end - start] = '\0';
    return x;
}

static inline VekString* VekStringTrimInline(VekString* x) VEK_NOEXCEPT
{
    return VekStringTrimEndsInline(x, 1, 1, 1, ' ');
}

static inline VekString* VekStringTrimLeftInline(VekString* x) VEK_NOEXCEPT
{
    return VekStringTrimEndsInline(x, 1, 0, 1, ' ');
}

static inline VekString* VekStringTrimRightInline(VekString* x) VEK_NOEXCEPT
{
    return VekStringTrimEndsInline(x, 0, 1, 1, ' ');
}

static inline VekString* VekStringTrimCharInline(VekString* x, char c) VEK_NOEXCEPT
{
    return VekStringTrimEndsInline(x, 1, 1, 0, c);
}

static inline VekString* VekStringTrimLeftCharInline(VekString* x, char c) VEK_NOEXCEPT
{
    return VekStringTrimEndsInline(x, 1, 0, 0, c);
}

static inline VekString* VekStringTrimRightCharInline(VekString* x, char c) VEK_NOEXCEPT
{
    return VekStringTrimEndsInline(x, 0, 1, 0, c);
}

/* A word runs from the first byte at or after *pos that is not whitespace to
 * the next that is, or to the end; *pos moves to its end. Words are mostly a
 * few bytes, so both ends are found a byte at a time. word is written after
 * x is read; it must not be x. */
static inline VekBool VekStringNextWordInline(const VekString* x, VekSizeT* pos,
                                              VekString* word) VEK_NOEXCEPT
{
    const char* buf = x->buf;
    const VekSizeT size = x->size;
    VekSizeT start = *pos;
    VekSizeT end;
    while (start < size && VekStringIsAsciiSpaceInline(buf[start]))
        ++start;
    if (start >= size)
        return VEK_FALSE;
    end = start + 1;
    while (end < size && !VekStringIsAsciiSpaceInline(buf[end]))
        ++end;
    *pos = end;
    VekStringSetViewInline(word, x->allocator, buf + start, end - start);
    return VEK_TRUE;
}

#if !defined(VEK_CHECKED) || !VEK_CHECKED
#define VekStringConstructViewCStrLen(x, str, len, a)                                              \
    VekStringConstructViewCStrLenInline((x), (str), (len), (a))
#define VekStringConstructViewCStr(x, str, a) VekStringConstructViewCStrInline((x), (str), (a))
#define VekStringConstructViewSubstring(x, str, pos, n)                                            \
    VekStringConstructViewSubstringInline((x), (str), (pos), (n))
#define VekStringFindChar(x, c) VekStringFindCharInline((x), (c))
#define VekStringFindFromPosChar(x, pos, c) VekStringFindFromPosCharInline((x), (pos), (c))
#define VekStringContainsChar(x, c) VekStringContainsCharInline((x), (c))
#if VEK_STRING_INLINE_MEMRCHR
#define VekStringRFindChar(x, c) VekStringRFindCharInline((x), (c))
#define VekStringRFindFromPosChar(x, pos, c) VekStringRFindFromPosCharInline((x), (pos), (c))
#endif
#define VekStringStartsWith(x, y) VekStringStartsWithInline((x), (y))
#define VekStringStartsWithCStr(x, y) VekStringStartsWithCStrInline((x), (y))
#define VekStringStartsWithCStrLen(x, y, ylen) VekStringStartsWithCStrLenInline((x), (y), (ylen))
#define VekStringStartsWithChar(x, c) VekStringStartsWithCharInline((x), (c))
#define VekStringEndsWith(x, y) VekStringEndsWithInline((x), (y))
#define VekStringEndsWithCStr(x, y) VekStringEndsWithCStrInline((x), (y))
#define VekStringEndsWithCStrLen(x, y, ylen) VekStringEndsWithCStrLenInline((x), (y), (ylen))
#define VekStringEndsWithChar(x, c) VekStringEndsWithCharInline((x), (c))
#define VekStringNextFieldChar(x, pos, c, field)                                                   \
    VekStringNextFieldCharInline((x), (pos), (c), (field))
#define VekStringNextFieldCStrLen(x, pos, y, n, field)                                             \
    VekStringNextFieldCStrLenInline((x), (pos), (y), (n), (field))
#define VekStringCutChar(x, c, before, after) VekStringCutCharInline((x), (c), (before), (after))
#define VekStringCutCStrLen(x, y, n, before, after)                                                \
    VekStringCutCStrLenInline((x), (y), (n), (before), (after))
#define VekStringContainsCStrLen(x, y, n) VekStringContainsCStrLenInline((x), (y), (n))
#define VekStringNextWord(x, pos, word) VekStringNextWordInline((x), (pos), (word))
#define VekStringCountChar(x, c) VekStringCountCharInline((x), (c))
#define VekStringCountCStrLen(x, y, n) VekStringCountCStrLenInline((x), (y), (n))
#define VekStringToLowerAscii(x) VekStringToLowerAsciiInline((x))
#define VekStringToUpperAscii(x) VekStringToUpperAsciiInline((x))
#define VekStringTrim(x) VekStringTrimInline((x))
#define VekStringTrimLeft(x) VekStringTrimLeftInline((x))
#define VekStringTrimRight(x) VekStringTrimRightInline((x))
#define VekStringTrimChar(x, c) VekStringTrimCharInline((x), (c))
#define VekStringTrimLeftChar(x, c) VekStringTrimLeftCharInline((x), (c))
#define VekStringTrimRightChar(x, c) VekStringTrimRightCharInline((x), (c))
#endif

VEK_EXTERN_C_END

#endif /* VEK_UTILS_VEKSTRINGINLINE_H */
