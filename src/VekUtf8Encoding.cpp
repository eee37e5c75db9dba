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
// Runs of ASCII, the common case, go through AsciiRun, which checks and
// converts a block of 16 units per step (SSE2 where the target has it, a plain
// loop elsewhere); other characters go one code point at a time through the
// input's ReadCodePoint and the output encoding's Put.
//
// The input carries no length, so a block may extend past the zero unit that
// ends it. Blocks are therefore read only from addresses aligned to the
// block's size: such a block never crosses a page boundary and cannot fault,
// and the units behind the terminator never influence the result. Those reads
// are hidden from the address sanitizer, which cannot know that.
#include "VekUtf8EncodingPortable.h"

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
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

// UTF-8: the lead byte fixes the number of continuation bytes and the range
// the first of them may take, which is what rules out overlong forms
// (C0, C1, E0 80..9F, F0 80..8F), encoded surrogates (ED A0..BF) and values
// beyond U+10FFFF (F4 90..BF, F5..FF). A stray continuation byte is no lead.
// The terminator fails every range, so a truncated sequence is refused and
// nothing behind the terminator is read.
inline bool ReadCodePoint(const unsigned char*& p, uint32_t* cp)
{
    const uint32_t lead = p[0];
    if (lead < 0x80u) {
        *cp = lead;
        ++p;
        return true;
    }
    unsigned trail = 0;
    uint32_t lo = 0x80u, hi = 0xBFu;
    if (lead < 0xC2u || lead > 0xF4u) {
        return false;
    } else if (lead < 0xE0u) {
        trail = 1;
    } else if (lead < 0xF0u) {
        trail = 2;
        lo = lead == 0xE0u ? 0xA0u : lo;
        hi = lead == 0xEDu ? 0x9Fu : hi;
    } else {
        trail = 3;
        lo = lead == 0xF0u ? 0x90u : lo;
        hi = lead == 0xF4u ? 0x8Fu : hi;
    }
    uint32_t value = lead & (0x3Fu >> trail);
    for (unsigned k = 1; k <= trail; ++k) {
        const uint32_t b = p[k];
        if (b < lo || b > hi)
            return false;
        value = (value << 6) | (b & 0x3Fu);
        lo = 0x80u;
        hi = 0xBFu;
    }
    *cp = value;
    p += trail + 1;
    return true;
}

// --------------------------------------------------------------- output side

struct Utf8Output {
    using Unit = char;

    static unsigned Length(uint32_t cp)
    {
        return cp < 0x80u ? 1 : cp < 0x800u ? 2 : cp < 0x10000u ? 3 : 4;
    }

    static void Put(char* out, uint32_t cp, unsigned len)
    {
        if (len == 1) {
            out[0] = static_cast<char>(cp);
            return;
        }
        // The lead byte carries len high bits set, then the top bits of cp.
        static constexpr unsigned char kLeadMark[5] = {0, 0, 0xC0, 0xE0, 0xF0};
        for (unsigned k = len - 1; k > 0; --k) {
            out[k] = static_cast<char>(0x80u | (cp & 0x3Fu));
            cp >>= 6;
        }
        out[0] = static_cast<char>(kLeadMark[len] | cp);
    }
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

// AsciiRun returns how many leading units at p are ASCII characters, at most
// limit, and when kStore converts them to out (which is NULL otherwise).
// Whole blocks are taken wherever p + n is block-aligned; between blocks, and
// after a block that does not pass, it goes unit by unit.
template <bool kSimd, bool kStore, class In, class Out>
VEK_UTF8_NO_SANITIZE_ADDRESS VekSizeT AsciiRun(const In* p, Out* out, VekSizeT limit)
{
    VekSizeT n = 0;
    for (;;) {
        if (IsBlockAligned(p + n)) {
            while (limit - n >= kBlockUnits &&
                   AsciiBlock<kSimd, kStore>(p + n, kStore ? out + n : nullptr))
                n += kBlockUnits;
        }
        if (n == limit || !IsAsciiUnit(p[n]))
            return n;
        if (kStore)
            out[n] = static_cast<Out>(p[n]);
        ++n;
    }
}

// ------------------------------------------------------------------ transcode

// Convert writes whole characters from p while they fit in room units,
// leaving p and *len behind the last one written.
template <bool kSimd, class Output, class In>
Stop Convert(const In*& p, typename Output::Unit* out, VekSizeT room, VekSizeT* len)
{
    for (;;) {
        const VekSizeT run = AsciiRun<kSimd, true>(p, out + *len, room - *len);
        p += run;
        *len += run;
        if (*p == 0)
            return Stop::kEnd;
        const In* next = p;
        uint32_t cp = 0;
        if (!ReadCodePoint(next, &cp))
            return Stop::kRefused;
        const unsigned units = Output::Length(cp);
        if (units > room - *len)
            return Stop::kFull;
        Output::Put(out + *len, cp, units);
        *len += units;
        p = next;
    }
}

// Measure adds to *len what the characters from p to the terminator need.
template <bool kSimd, class Output, class In> bool Measure(const In* p, VekSizeT* len)
{
    using Unit = typename Output::Unit;
    for (;;) {
        const VekSizeT run = AsciiRun<kSimd, false>(p, static_cast<Unit*>(nullptr), kUnlimited);
        p += run;
        *len += run;
        if (*p == 0)
            return true;
        uint32_t cp = 0;
        if (!ReadCodePoint(p, &cp))
            return false;
        *len += Output::Length(cp);
    }
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
