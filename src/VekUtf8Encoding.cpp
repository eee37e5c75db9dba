// VekUtf8Encoding.cpp - the layer's UTF-8 codec.
//
// The three conversions are one algorithm, Transcode, instantiated for each
// pair of input and output encodings. It runs in two phases. While the output
// has room it converts into it, one whole character at a time; the first
// character that does not fit (or an output of size 0) ends that phase, and
// from there on the rest of the input is only measured, still checked
// character by character, so that a true result always carries the length of
// the complete conversion. Either phase stops at the zero unit or at the first
// unit sequence that is not a character, which refuses the whole input.
//
// Runs of ASCII, the common case, are taken 16 units per step wherever the
// input is aligned to such a block (SSE2 where the target has it, a plain
// loop elsewhere). Other characters go one code point at a time through the
// input's ReadCodePoint and the output encoding's Put; while the output has
// a few units to spare, a BMP character is stored without branching on its
// length, since in mixed text that length changes from one character to the
// next and a branch on it would mostly be mispredicted.
//
// The input carries no length, so a block may extend past the zero unit that
// ends it. Blocks are therefore read only from addresses aligned to the
// block's size: such a block never crosses a page boundary and cannot fault,
// and the units behind the terminator never influence the result. Those reads
// are hidden from the address sanitizer, which cannot know that.
#include "VekUtf8EncodingPortable.h"

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__) && !defined(VEK_PORTABLE)
#include <emmintrin.h>
#define VEK_UTF8_HAVE_SSE2 1
#else
#define VEK_UTF8_HAVE_SSE2 0
#endif

#if defined(__GNUC__) || defined(__clang__)
#define VEK_UTF8_NO_SANITIZE_ADDRESS __attribute__((no_sanitize_address))
#else
#define VEK_UTF8_NO_SANITIZE_ADDRESS
#endif

namespace {

// Units per block of the ASCII path: one SSE2 register of narrowed bytes.
constexpr VekSizeT kBlockUnits = 16;
constexpr VekSizeT kUnlimited = UINT64_MAX;

constexpr uint32_t kMaxCodePoint = 0x10FFFF;

// How a conversion phase ended.
enum class Stop { kEnd, kFull, kRefused };

inline bool IsSurrogate(uint32_t u)
{
    return (u & 0xFFFFF800u) == 0xD800u;
}

// IsAsciiUnit holds for a unit that is its own ASCII character; the zero unit
// is the terminator, not a character.
template <class Unit> inline bool IsAsciiUnit(Unit u)
{
    return static_cast<uint32_t>(u) - 1u < 0x7Fu;
}

template <class Unit> inline bool IsBlockAligned(const Unit* p)
{
    return reinterpret_cast<uintptr_t>(p) % (kBlockUnits * sizeof(Unit)) == 0;
}

// ---------------------------------------------------------------- input side

// UCS-4: each unit is a code point, if it is a Unicode scalar value at all.
inline bool ReadCodePoint(const VekWideChar*& p, uint32_t* cp)
{
    const uint32_t u = *p;
    if (u > kMaxCodePoint || IsSurrogate(u))
        return false;
    *cp = u;
    ++p;
    return true;
}

// UTF-16: a high surrogate needs a low one right behind it (the terminator
// is not one); a low surrogate on its own is unpaired.
inline bool ReadCodePoint(const VekUint16*& p, uint32_t* cp)
{
    const uint32_t u = p[0];
    if (!IsSurrogate(u)) {
        *cp = u;
        ++p;
        return true;
    }
    const uint32_t low = p[1];
    if (u > 0xDBFFu || (low & 0xFC00u) != 0xDC00u)
        return false;
    *cp = 0x10000u + ((u - 0xD800u) << 10) + (low - 0xDC00u);
    p += 2;
    return true;
}

inline bool IsTrail(uint32_t b)
{
    return (b & 0xC0u) == 0x80u;
}

// UTF-8: the lead byte fixes the number of continuation bytes and the range
// the first of them may take, which is what rules out overlong forms
// (C0, C1, E0 80..9F, F0 80..8F), encoded surrogates (ED A0..BF) and values
// beyond U+10FFFF (F4 90..BF, F5..FF). A stray continuation byte is no lead.
// Each byte is checked before the next is read, and the terminator is no
// continuation byte, so a truncated sequence is refused and nothing behind
// the terminator is read.
inline bool ReadCodePoint(const unsigned char*& p, uint32_t* cp)
{
    const uint32_t lead = p[0];
    if (lead < 0x80u) {
        *cp = lead;
        p += 1;
        return true;
    }
    const uint32_t b1 = p[1];
    if (lead < 0xE0u) {
        if (lead < 0xC2u || !IsTrail(b1))
            return false;
        *cp = ((lead & 0x1Fu) << 6) | (b1 & 0x3Fu);
        p += 2;
        return true;
    }
    if (lead < 0xF0u) {
        const uint32_t lo = lead == 0xE0u ? 0xA0u : 0x80u, hi = lead == 0xEDu ? 0x9Fu : 0xBFu;
        if (b1 < lo || b1 > hi || !IsTrail(p[2]))
            return false;
        *cp = ((lead & 0x0Fu) << 12) | ((b1 & 0x3Fu) << 6) | (p[2] & 0x3Fu);
        p += 3;
        return true;
    }
    const uint32_t lo = lead == 0xF0u ? 0x90u : 0x80u, hi = lead == 0xF4u ? 0x8Fu : 0xBFu;
    if (lead > 0xF4u || b1 < lo || b1 > hi || !IsTrail(p[2]) || !IsTrail(p[3]))
        return false;
    *cp = ((lead & 0x07u) << 18) | ((b1 & 0x3Fu) << 12) | ((p[2] & 0x3Fu) << 6) | (p[3] & 0x3Fu);
    p += 4;
    return true;
}

// --------------------------------------------------------------- output side

struct Utf8Output {
    using Unit = char;

    // Length adds up comparisons rather than branching on them; see Put.
    static unsigned Length(uint32_t cp)
    {
        return 1u + (cp >= 0x80u) + (cp >= 0x800u) + (cp >= 0x10000u);
    }

    static void Put(char* out, uint32_t cp, unsigned len)
    {
        switch (len) {
        case 1:
            out[0] = static_cast<char>(cp);
            return;
        case 2:
            out[0] = static_cast<char>(0xC0u | (cp >> 6));
            out[1] = Trail(cp);
            return;
        case 3:
            out[0] = static_cast<char>(0xE0u | (cp >> 12));
            out[1] = Trail(cp >> 6);
            out[2] = Trail(cp);
            return;
        default:
            out[0] = static_cast<char>(0xF0u | (cp >> 18));
            out[1] = Trail(cp >> 12);
            out[2] = Trail(cp >> 6);
            out[3] = Trail(cp);
            return;
        }
    }

    // PutWithSlack writes cp where kSlack units of room remain and returns its
    // length. For a BMP character three bytes are always stored, built with
    // masks rather than branches, and the length says how many count.
    static constexpr VekSizeT kSlack = 4;

    static unsigned PutWithSlack(char* out, uint32_t cp)
    {
        if (cp >= 0x10000u) {
            Put(out, cp, 4);
            return 4;
        }
        const uint32_t two = cp >= 0x80u, three = cp >= 0x800u;
        const uint32_t two_mask = 0u - two, three_mask = 0u - three;
        const uint32_t lead = (cp & ~two_mask) | ((0xC0u | (cp >> 6)) & two_mask & ~three_mask) |
                              ((0xE0u | (cp >> 12)) & three_mask);
        out[0] = static_cast<char>(lead);
        out[1] = Trail(cp >> (6 * three));
        out[2] = Trail(cp);
        return 1 + two + three;
    }

    // A continuation byte carries six bits.
    static char Trail(uint32_t bits) { return static_cast<char>(0x80u | (bits & 0x3Fu)); }
};

struct Utf16Output {
    using Unit = VekUint16;

    static unsigned Length(uint32_t cp) { return cp < 0x10000u ? 1 : 2; }

    static void Put(VekUint16* out, uint32_t cp, unsigned len)
    {
        if (len == 1) {
            out[0] = static_cast<VekUint16>(cp);
            return;
        }
        cp -= 0x10000u;
        out[0] = static_cast<VekUint16>(0xD800u | (cp >> 10));
        out[1] = static_cast<VekUint16>(0xDC00u | (cp & 0x3FFu));
    }

    // A surrogate pair is rare enough for an ordinary branch.
    static constexpr VekSizeT kSlack = 2;

    static unsigned PutWithSlack(VekUint16* out, uint32_t cp)
    {
        const unsigned len = Length(cp);
        Put(out, cp, len);
        return len;
    }
};

// ----------------------------------------------------------------- ASCII path

// PortableAsciiBlock checks a whole block before converting any of it, so a
// block holding the terminator or a non-ASCII unit is left to the caller.
template <bool kStore, class In, class Out>
VEK_UTF8_NO_SANITIZE_ADDRESS inline bool PortableAsciiBlock(const In* p, Out* out)
{
    bool ascii = true;
    for (VekSizeT k = 0; k < kBlockUnits; ++k)
        ascii &= IsAsciiUnit(p[k]);
    if (kStore && ascii) {
        for (VekSizeT k = 0; k < kBlockUnits; ++k)
            out[k] = static_cast<Out>(p[k]);
    }
    return ascii;
}

#if VEK_UTF8_HAVE_SSE2
// The wide units are narrowed with saturation, which maps every unit outside
// 1..0x7F to a byte outside it too (0, or 0x80 and above); so one test on the
// narrowed bytes covers the terminator and every non-ASCII unit.
VEK_UTF8_NO_SANITIZE_ADDRESS inline bool IsAsciiBytes(__m128i bytes)
{
    const __m128i zero = _mm_cmpeq_epi8(bytes, _mm_setzero_si128());
    return _mm_movemask_epi8(_mm_or_si128(bytes, zero)) == 0;
}

VEK_UTF8_NO_SANITIZE_ADDRESS inline __m128i LoadNarrowed(const VekUint16* p)
{
    const __m128i* v = reinterpret_cast<const __m128i*>(p);
    return _mm_packus_epi16(_mm_load_si128(v), _mm_load_si128(v + 1));
}

// packs_epi32 keeps 0..0x7FFF and sends larger values to 0x7FFF and values
// with the top bit set to negatives; packus_epi16 then sends those to 0xFF
// and 0.
VEK_UTF8_NO_SANITIZE_ADDRESS inline __m128i LoadNarrowed(const VekWideChar* p)
{
    const __m128i* v = reinterpret_cast<const __m128i*>(p);
    const __m128i lo = _mm_packs_epi32(_mm_load_si128(v), _mm_load_si128(v + 1));
    const __m128i hi = _mm_packs_epi32(_mm_load_si128(v + 2), _mm_load_si128(v + 3));
    return _mm_packus_epi16(lo, hi);
}

template <bool kStore, class In>
VEK_UTF8_NO_SANITIZE_ADDRESS inline bool SimdAsciiBlock(const In* p, char* out)
{
    const __m128i bytes = LoadNarrowed(p);
    if (!IsAsciiBytes(bytes))
        return false;
    if (kStore)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
    return true;
}

template <bool kStore>
VEK_UTF8_NO_SANITIZE_ADDRESS inline bool SimdAsciiBlock(const unsigned char* p, VekUint16* out)
{
    const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(p));
    if (!IsAsciiBytes(bytes))
        return false;
    if (kStore) {
        const __m128i zero = _mm_setzero_si128();
        __m128i* units = reinterpret_cast<__m128i*>(out);
        _mm_storeu_si128(units, _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(units + 1, _mm_unpackhi_epi8(bytes, zero));
    }
    return true;
}
#endif

template <bool kSimd, bool kStore, class In, class Out>
VEK_UTF8_NO_SANITIZE_ADDRESS inline bool AsciiBlock(const In* p, Out* out)
{
#if VEK_UTF8_HAVE_SSE2
    if (kSimd)
        return SimdAsciiBlock<kStore>(p, out);
#endif
    return PortableAsciiBlock<kStore>(p, out);
}

// TakeAsciiBlocks moves p and len over the whole ASCII blocks at p, while p
// is block-aligned and room - len holds a block, converting them to
// out + len when kStore. A block that does not pass is left to the caller,
// which goes on character by character until p is aligned again.
template <bool kSimd, bool kStore, class In, class Out>
inline void TakeAsciiBlocks(const In*& p, Out* out, VekSizeT room, VekSizeT& len)
{
    if (!IsBlockAligned(p))
        return;
    while (room - len >= kBlockUnits && AsciiBlock<kSimd, kStore>(p, kStore ? out + len : out)) {
        p += kBlockUnits;
        len += kBlockUnits;
    }
}

// ------------------------------------------------------------------ transcode

// Convert writes whole characters from p while they fit in room units and
// reports how far it came. It works on local copies of p and the length: the
// output stores, char-typed for UTF-8, would otherwise force both back to
// memory after every byte.
template <bool kSimd, class Output, class In>
Stop Convert(const In*& input, typename Output::Unit* out, VekSizeT room, VekSizeT* written)
{
    const In* p = input;
    VekSizeT len = 0;
    Stop stop = Stop::kEnd;
    for (;;) {
        TakeAsciiBlocks<kSimd, true>(p, out, room, len);
        if (*p == 0)
            break;
        const In* next = p;
        uint32_t cp = 0;
        if (!ReadCodePoint(next, &cp)) {
            stop = Stop::kRefused;
            break;
        }
        if (room - len >= Output::kSlack) {
            len += Output::PutWithSlack(out + len, cp);
            p = next;
            continue;
        }
        const unsigned units = Output::Length(cp);
        if (units > room - len) {
            stop = Stop::kFull;
            break;
        }
        Output::Put(out + len, cp, units);
        len += units;
        p = next;
    }
    input = p;
    *written = len;
    return stop;
}

// Measure adds to *len what the characters from p to the terminator need;
// false when one of them is refused.
template <bool kSimd, class Output, class In> bool Measure(const In* p, VekSizeT* len)
{
    using Unit = typename Output::Unit;
    VekSizeT n = *len;
    for (;;) {
        TakeAsciiBlocks<kSimd, false>(p, static_cast<Unit*>(nullptr), kUnlimited, n);
        if (*p == 0)
            break;
        uint32_t cp = 0;
        if (!ReadCodePoint(p, &cp))
            return false;
        n += Output::Length(cp);
    }
    *len = n;
    return true;
}

// The last output unit is kept for the terminator, which follows whatever
// was written whenever there is an output at all.
template <bool kSimd, class Output, class In>
VekBool Transcode(const In* input, typename Output::Unit* output, VekSizeT outputSize,
                  VekSizeT* outputLen)
{
    const In* p = input;
    VekSizeT len = 0;
    if (outputSize != 0) {
        const Stop stop = Convert<kSimd, Output>(p, output, outputSize - 1, &len);
        output[len] = 0;
        if (stop == Stop::kRefused)
            return VEK_FALSE;
        if (stop == Stop::kEnd) {
            *outputLen = len;
            return VEK_TRUE;
        }
    }
    if (!Measure<kSimd, Output>(p, &len))
        return VEK_FALSE;
    *outputLen = len;
    return VEK_TRUE;
}

// The decoder reads its input as bytes, whatever the signedness of char.
inline const unsigned char* Bytes(const char* input)
{
    return reinterpret_cast<const unsigned char*>(input);
}

constexpr bool kUseSimd = VEK_UTF8_HAVE_SSE2 != 0;

} // namespace

VekBool VekUtf8Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
                      VekSizeT* outputLen) noexcept
{
    return Transcode<kUseSimd, Utf8Output>(input, output, outputSize, outputLen);
}

VekBool VekUtf8EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                           VekSizeT* outputLen) noexcept
{
    return Transcode<kUseSimd, Utf8Output>(input, output, outputSize, outputLen);
}

VekBool VekUtf8DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                           VekSizeT* outputLen) noexcept
{
    return Transcode<kUseSimd, Utf16Output>(Bytes(input), output, outputSize, outputLen);
}

namespace VekUtf8Portable {

VekBool Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
               VekSizeT* outputLen) noexcept
{
    return Transcode<false, Utf8Output>(input, output, outputSize, outputLen);
}

VekBool EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                    VekSizeT* outputLen) noexcept
{
    return Transcode<false, Utf8Output>(input, output, outputSize, outputLen);
}

VekBool DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                    VekSizeT* outputLen) noexcept
{
    return Transcode<false, Utf16Output>(Bytes(input), output, outputSize, outputLen);
}

} // namespace VekUtf8Portable
