// VekUtf8Encoding.cpp - the layer's UTF-8 codec.
//
// The three conversions are one algorithm, Transcode, instantiated for each
// pair of input and output encodings. It runs in two phases. While the output
// has room it converts into it, whole characters only; the first character
// that does not fit (or an output of size 0) ends that phase, and from there
// on the rest of the input is only measured, still checked, so that a true
// result always carries the length of the complete conversion. Either phase
// stops at the zero unit or at the first unit sequence that is not a
// character, which refuses the whole input.
//
// The plain path goes one code point at a time, through the input's
// ReadCodePoint and the output encoding's Put, and takes runs of ASCII 16
// units per step wherever the input is aligned to such a block.
//
// The SSE2 path takes aligned ASCII blocks the same way, in registers, and
// everything else in windows of 16 units loaded from wherever the conversion
// has got to. A window is first stored as if all its units were ASCII, then:
//  - Each character in it that is not ASCII is converted on its own, with one
//    branch on its class (a pattern the branch predictor learns in most text)
//    and one 4-byte store, and the window's units behind it are stored again
//    behind it. The window still advances by a fixed 16 units unless a
//    character crosses its end, so the next one need not wait for this one.
//  - Into UTF-8, a window with three units in a row that are not ASCII is
//    encoded in registers instead, eight units at a time: each character into
//    a 4-byte lane with its length beside it, the lanes stored one behind the
//    other, each store overwriting the unused bytes of the one before. No
//    branch depends on a character's length.
//  - Out of UTF-8, a character followed at once by another one that is not
//    ASCII hands the run to the plain path, which takes such runs faster than
//    the window; it hands back at the next ASCII unit.
// The plain path also takes the last units before the terminator or the end
// of the room, and a window declined because its input is not valid there.
// Measuring UTF-16 and UCS-4 counts and checks whole aligned blocks in
// registers: one byte per unit, one more for each unit from U+0080 and from
// U+0800 (and for UCS-4 from U+10000), one less for each half of a surrogate
// pair. Measuring UTF-8 runs the windows without storing.
//
// Encoding UCS-4 goes first through the AVX-512 path of
// VekUtf8EncodingAvx512.cpp where the processor has it, which takes whole
// blocks while it can and leaves the rest to the paths here.
//
// The input carries no length, so a register may extend past the zero unit
// that ends it. Registers that may do so are read only from addresses aligned
// to 16 bytes: such a block never crosses a page boundary and cannot fault,
// and the units behind the terminator never influence the result. Windows are
// loaded from any address, so they are loaded only from input already known
// to hold no zero unit (the reach, checked one aligned block ahead). Aligned
// reads are hidden from the address sanitizer, which cannot know all that.
#include "codec/VekUtf8EncodingAvx512.h"
#include "codec/VekUtf8EncodingPortable.h"

#include <cstddef>
#include <cstdint>

#include "Vek/Utils/VekStdCLib.h"

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

// Units per block of the plain ASCII path.
constexpr VekSizeT kBlockUnits = 16;
constexpr VekSizeT kUnlimited = UINT64_MAX;

constexpr uint32_t kMaxCodePoint = 0x10FFFF;

// How a conversion phase ended.
enum class Stop { kEnd, kFull, kRefused, kResume };

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

inline bool IsScalarValue(uint32_t u)
{
    return u <= kMaxCodePoint && !IsSurrogate(u);
}

// UCS-4: each unit is a code point, if it is a Unicode scalar value at all.
inline bool ReadCodePoint(const VekWideChar*& p, uint32_t* cp)
{
    const uint32_t u = *p;
    if (!IsScalarValue(u))
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
// the terminator is read. ReadMultiByte reads a character whose lead byte
// is not ASCII.
inline bool ReadMultiByte(const unsigned char*& p, uint32_t* cp)
{
    const uint32_t lead = p[0];
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

inline bool ReadCodePoint(const unsigned char*& p, uint32_t* cp)
{
    if (p[0] < 0x80u) {
        *cp = p[0];
        p += 1;
        return true;
    }
    return ReadMultiByte(p, cp);
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

// ---------------------------------------------------------------- registers
#if VEK_UTF8_HAVE_SSE2

constexpr uintptr_t kRegisterBytes = 16;

template <class Unit> constexpr VekSizeT kRegisterUnits = kRegisterBytes / sizeof(Unit);

VEK_UTF8_NO_SANITIZE_ADDRESS inline __m128i LoadAligned(const void* p)
{
    return _mm_load_si128(static_cast<const __m128i*>(p));
}

inline __m128i LoadUnaligned(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

inline void StoreUnaligned(void* p, __m128i v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

inline unsigned Bits(__m128i mask)
{
    return static_cast<unsigned>(_mm_movemask_epi8(mask));
}

// The 16-bit lanes of two registers as one bit each, lane 0 of a in bit 0.
inline unsigned LaneBits16(__m128i a, __m128i b)
{
    return Bits(_mm_packs_epi16(a, b));
}

inline __m128i Set16(int v)
{
    return _mm_set1_epi16(static_cast<short>(v));
}

// IsZero16 marks the 16-bit lanes of v & mask that are zero.
inline __m128i IsZero16(__m128i v, int mask)
{
    return _mm_cmpeq_epi16(_mm_and_si128(v, Set16(mask)), _mm_setzero_si128());
}

inline __m128i Select(__m128i mask, __m128i yes, __m128i no)
{
    return _mm_or_si128(_mm_and_si128(mask, yes), _mm_andnot_si128(mask, no));
}

// ZeroUnits marks the units of a register of In that are zero.
template <class In> inline __m128i ZeroUnits(__m128i v)
{
    if constexpr (sizeof(In) == 1)
        return _mm_cmpeq_epi8(v, _mm_setzero_si128());
    else if constexpr (sizeof(In) == 2)
        return _mm_cmpeq_epi16(v, _mm_setzero_si128());
    else
        return _mm_cmpeq_epi32(v, _mm_setzero_si128());
}

using Load = __m128i (*)(const void*);

// Narrowed packs 16 wide units into bytes with saturation, which keeps
// every ASCII unit and makes every other a byte outside 1..0x7F: 0, or 0x80
// and above (packs_epi32 keeps 0..0x7FFF, sends larger values to 0x7FFF and
// values with the top bit set to negatives, which packus_epi16 sends to 0).
template <Load kLoad> inline __m128i Narrowed(const VekUint16* p)
{
    return _mm_packus_epi16(kLoad(p), kLoad(p + 8));
}

template <Load kLoad> inline __m128i Narrowed(const VekWideChar* p)
{
    return _mm_packus_epi16(_mm_packs_epi32(kLoad(p), kLoad(p + 4)),
                            _mm_packs_epi32(kLoad(p + 8), kLoad(p + 12)));
}

// OtherBytes marks the bytes outside 1..0x7F, one bit each.
inline unsigned OtherBytes(__m128i bytes)
{
    return Bits(_mm_or_si128(bytes, _mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

inline void StoreWidened(VekUint16* out, __m128i bytes)
{
    StoreUnaligned(out, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
    StoreUnaligned(out + 8, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
}

#endif // VEK_UTF8_HAVE_SSE2

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
// The narrowed units hold a byte outside 1..0x7F for the terminator and for
// every unit that is not ASCII, so one test covers both.
template <bool kStore, class In> inline bool SimdAsciiBlock(const In* p, char* out)
{
    const __m128i bytes = Narrowed<LoadAligned>(p);
    if (OtherBytes(bytes) != 0)
        return false;
    if (kStore)
        StoreUnaligned(out, bytes);
    return true;
}

template <bool kStore> inline bool SimdAsciiBlock(const unsigned char* p, VekUint16* out)
{
    const __m128i bytes = LoadAligned(p);
    if (OtherBytes(bytes) != 0)
        return false;
    if (kStore)
        StoreWidened(out, bytes);
    return true;
}
#endif

template <bool kSimd, bool kStore, class In, class Out>
inline bool AsciiBlock(const In* p, Out* out)
{
#if VEK_UTF8_HAVE_SSE2
    if (kSimd)
        return SimdAsciiBlock<kStore>(p, out);
#endif
    return PortableAsciiBlock<kStore>(p, out);
}

// TakeAsciiBlocks moves p and len over the whole ASCII blocks at p, while p
// is block-aligned and room - len holds a block, converting them to
// out + len when kStore. A block that does not pass is left to the caller.
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

// PutCharacter puts cp at out + *len when it fits in room units, or without
// kStore only counts it; false when it does not fit.
template <bool kStore, class Output>
inline bool PutCharacter(typename Output::Unit* out, VekSizeT room, VekSizeT* len, uint32_t cp)
{
    if constexpr (kStore) {
        if (room - *len >= Output::kSlack) {
            *len += Output::PutWithSlack(out + *len, cp);
            return true;
        }
        const unsigned units = Output::Length(cp);
        if (units > room - *len)
            return false;
        Output::Put(out + *len, cp, units);
        *len += units;
        return true;
    } else {
        *len += Output::Length(cp);
        return true;
    }
}

// TakeCharacters converts whole characters from p while they fit in room
// units, or without kStore only counts them (out is then not used), and
// reports how it stopped. With resume it also stops, with Stop::kResume,
// when an ASCII unit follows a character, for the vector windows to take
// over again. It works on local copies of p and the length: the output
// stores, char-typed for UTF-8, would otherwise force both back to memory
// after every byte.
template <bool kStore, bool kAsciiBlocks, class Output, class In>
Stop TakeCharacters(const In*& input, typename Output::Unit* out, VekSizeT room, VekSizeT& length,
                    bool resume)
{
    const In* p = input;
    VekSizeT len = length;
    Stop stop = Stop::kEnd;
    for (;;) {
        if (kAsciiBlocks)
            TakeAsciiBlocks<false, kStore>(p, out, room, len);
        if (*p == 0)
            break;
        const In* next = p;
        uint32_t cp = 0;
        if (!ReadCodePoint(next, &cp)) {
            stop = Stop::kRefused;
            break;
        }
        if (!PutCharacter<kStore, Output>(out, room, &len, cp)) {
            stop = Stop::kFull;
            break;
        }
        p = next;
        if (resume && IsAsciiUnit(*p)) {
            stop = Stop::kResume;
            break;
        }
    }
    input = p;
    length = len;
    return stop;
}

// ------------------------------------------------------------ the SSE2 path
#if VEK_UTF8_HAVE_SSE2

// Windows take 16 units. Behind each character that is not ASCII a window
// loads 16 units again, and a character may end up to 3 units past the
// window, so the input must be known to go on for 32 units. Into UTF-8 a
// window writes at most 4 bytes for each of its units and one store of 16
// more; out of UTF-8 at most 17 units and one store of 16 more.
constexpr VekSizeT kWindowUnits = 16;
constexpr VekSizeT kWindowReach = 32;
template <class Out> constexpr VekSizeT kWindowRoom = sizeof(Out) == 1 ? 80 : 33;

// BlockHasZero tells whether the aligned block of 16 units at p holds the
// terminator.
template <class In> VEK_UTF8_NO_SANITIZE_ADDRESS inline bool BlockHasZero(const In* p)
{
    __m128i zero = _mm_setzero_si128();
    for (VekSizeT k = 0; k < kBlockUnits; k += kRegisterUnits<In>)
        zero = _mm_or_si128(zero, ZeroUnits<In>(LoadAligned(p + k)));
    return Bits(zero) != 0;
}

// ------------------------------------------------------------------- reach

// StartReach returns the first block boundary at or after p, having checked
// that no unit before it is the terminator; nullptr when one is.
template <class In> const In* StartReach(const In* p)
{
    for (; !IsBlockAligned(p); ++p) {
        if (*p == 0)
            return nullptr;
    }
    return p;
}

// Reaches moves reach over whole aligned blocks without a terminator until
// it is at least units ahead of p; false when the terminator comes first.
template <class In> inline bool Reaches(const In*& reach, const In* p, VekSizeT units)
{
    while (static_cast<VekSizeT>(reach - p) < units) {
        if (BlockHasZero(reach))
            return false;
        reach += kBlockUnits;
    }
    return true;
}

// ------------------------------------------------- one character at a time

// In a window, each character that is not ASCII is converted on its own:
// one branch on its class, which in most text follows a pattern the branch
// predictor learns, and one 4-byte store, which the window's room allows.

// TwoBytes, ThreeBytes and FourBytes are the UTF-8 forms of a code point as
// little-endian words.
inline uint32_t TwoBytes(uint32_t cp)
{
    return 0x80C0u | (cp >> 6) | ((cp & 0x3Fu) << 8);
}

inline uint32_t ThreeBytes(uint32_t cp)
{
    return 0x8080E0u | (cp >> 12) | ((cp << 2) & 0x3F00u) | ((cp & 0x3Fu) << 16);
}

inline uint32_t FourBytes(uint32_t cp)
{
    return 0x808080F0u | (cp >> 18) | ((cp >> 4) & 0x3F00u) | ((cp << 10) & 0x3F0000u) |
           ((cp & 0x3Fu) << 24);
}

// PutWord stores a UTF-8 form of the given bytes at out + *written.
inline void PutWord(char* out, VekSizeT* written, uint32_t word, unsigned bytes)
{
    VekMemCpy(out + *written, &word, sizeof word);
    *written += bytes;
}

// TakeCharacter converts the character at a unit that is not ASCII (or,
// without kStore, counts it) and returns how many units it took; 0 when
// there is no character there.
template <bool kStore>
inline unsigned TakeCharacter(const VekUint16* at, char* out, VekSizeT* written)
{
    const uint32_t u = at[0];
    if (u < 0x800u) {
        PutWord(out, written, TwoBytes(u), 2);
        return 1;
    }
    if (!IsSurrogate(u)) {
        PutWord(out, written, ThreeBytes(u), 3);
        return 1;
    }
    uint32_t cp = 0;
    if (!ReadCodePoint(at, &cp))
        return 0;
    PutWord(out, written, FourBytes(cp), 4);
    return 2;
}

template <bool kStore>
inline unsigned TakeCharacter(const VekWideChar* at, char* out, VekSizeT* written)
{
    const uint32_t u = at[0];
    if (u < 0x800u) {
        PutWord(out, written, TwoBytes(u), 2);
    } else if (u < 0x10000u) {
        if (IsSurrogate(u))
            return 0;
        PutWord(out, written, ThreeBytes(u), 3);
    } else {
        if (u > kMaxCodePoint)
            return 0;
        PutWord(out, written, FourBytes(u), 4);
    }
    return 1;
}

template <bool kStore>
inline unsigned TakeCharacter(const unsigned char* at, VekUint16* out, VekSizeT* written)
{
    const unsigned char* next = at;
    uint32_t cp = 0;
    if (!ReadMultiByte(next, &cp))
        return 0;
    const unsigned units = Utf16Output::Length(cp);
    if constexpr (kStore)
        Utf16Output::Put(out + *written, cp, units);
    *written += units;
    return static_cast<unsigned>(next - at);
}

// ------------------------------------------------------------------ windows

// StoreAsAscii stores the 16 units at p as if they were all ASCII.
template <class In> inline void StoreAsAscii(char* out, const In* p)
{
    StoreUnaligned(out, Narrowed<LoadUnaligned>(p));
}

inline void StoreAsAscii(VekUint16* out, const unsigned char* p)
{
    StoreWidened(out, LoadUnaligned(p));
}

// TakeSparse finishes a window whose units have all been stored as if they
// were ASCII (without kStore: counted). others marks the units that are not;
// each character there is put in place, and the window's units from its end
// on are stored once more behind it. A character that is not valid declines
// the window from there. Decoding also hands a character followed at once by
// another one that is not ASCII over to TakeCharacters: text with few ASCII
// units goes faster one character at a time than through the mask.
template <bool kStore, class In, class Out>
inline bool TakeSparse(const In*& p, unsigned others, Out* out, VekSizeT& len)
{
    constexpr bool kRunsGoSingly = sizeof(Out) == 2;
    const In* const end = p + kWindowUnits;
    const In* q = p;
    VekSizeT written = len;
    // Bit 0 of others stands for the unit at q.
    while (others != 0) {
        const unsigned ascii = static_cast<unsigned>(__builtin_ctz(others));
        q += ascii;
        written += ascii;
        const unsigned units = TakeCharacter<kStore>(q, out, &written);
        if (units == 0)
            break;
        q += units;
        others >>= ascii + units;
        if (kRunsGoSingly && (others & 1) != 0)
            break;
        if (kStore && q < end)
            StoreAsAscii(out + written, q);
    }
    if (others == 0 && q < end) {
        written += static_cast<VekSizeT>(end - q);
        q = end;
    }
    p = q;
    len = written;
    return others == 0;
}

// ----------------------------------------------------- encoding in registers

// Utf8Lanes is the UTF-8 form of eight characters in 16-bit lanes: lane i of
// front holds the first two bytes of character i, lane i of back its third
// and fourth, lane i of length how many of the four count.
struct Utf8Lanes {
    __m128i front, back, length;
};

// BmpLanes encodes code points below U+10000 that are not surrogates: the
// 1-, 2- and 3-byte forms are all built and the lane's class picks one.
inline Utf8Lanes BmpLanes(__m128i cp)
{
    const __m128i below_80 = IsZero16(cp, 0xFF80), below_800 = IsZero16(cp, 0xF800);
    const __m128i six = _mm_srli_epi16(cp, 6);
    const __m128i last = _mm_or_si128(_mm_and_si128(cp, Set16(0x3F)), Set16(0x80));
    const __m128i middle = _mm_or_si128(_mm_and_si128(six, Set16(0x3F)), Set16(0x80));
    const __m128i two = _mm_or_si128(_mm_or_si128(six, Set16(0xC0)), _mm_slli_epi16(last, 8));
    const __m128i three =
        _mm_or_si128(_mm_or_si128(_mm_srli_epi16(cp, 12), Set16(0xE0)), _mm_slli_epi16(middle, 8));
    // The masks are -1 where they hold: 3 - 1 - 1 for ASCII, 3 - 1 below U+0800.
    const __m128i length = _mm_add_epi16(_mm_add_epi16(Set16(3), below_80), below_800);
    return {Select(below_80, cp, Select(below_800, two, three)), last, length};
}

// PutSupplementary replaces the lanes marked in mask by the 4-byte forms of
// code points given as their plane (1 to 16) and their low 16 bits.
inline void PutSupplementary(Utf8Lanes* lanes, __m128i mask, __m128i plane, __m128i low)
{
    const __m128i x80 = Set16(0x80);
    const __m128i lead = _mm_or_si128(_mm_srli_epi16(plane, 2), Set16(0xF0));
    const __m128i second = _mm_or_si128(
        _mm_or_si128(_mm_slli_epi16(_mm_and_si128(plane, Set16(3)), 4), _mm_srli_epi16(low, 12)),
        x80);
    const __m128i third = _mm_or_si128(_mm_and_si128(_mm_srli_epi16(low, 6), Set16(0x3F)), x80);
    const __m128i fourth = _mm_or_si128(_mm_and_si128(low, Set16(0x3F)), x80);
    lanes->front = Select(mask, _mm_or_si128(lead, _mm_slli_epi16(second, 8)), lanes->front);
    lanes->back = Select(mask, _mm_or_si128(third, _mm_slli_epi16(fourth, 8)), lanes->back);
    lanes->length = Select(mask, Set16(4), lanes->length);
}

// StoreLanes stores the eight characters one behind the other at out and
// returns their bytes: each is one 4-byte store at the sum of the lengths
// before it, which the next one overwrites beyond its own length, so it
// writes up to 4 bytes past the result. The offsets come from one multiply:
// with a length in each byte, times 0x0101...01, byte i holds the sum of the
// lengths up to i (at most 32, so no byte carries into the next).
inline unsigned StoreLanes(const Utf8Lanes& lanes, char* out)
{
    alignas(16) uint32_t words[8];
    _mm_store_si128(reinterpret_cast<__m128i*>(words), _mm_unpacklo_epi16(lanes.front, lanes.back));
    _mm_store_si128(reinterpret_cast<__m128i*>(words + 4),
                    _mm_unpackhi_epi16(lanes.front, lanes.back));
    uint64_t lengths = 0;
    _mm_storel_epi64(reinterpret_cast<__m128i*>(&lengths),
                     _mm_packus_epi16(lanes.length, lanes.length));
    const uint64_t ends = lengths * 0x0101010101010101u;
    const uint64_t starts = ends << 8;
    for (unsigned k = 0; k < 8; ++k)
        VekMemCpy(out + ((starts >> (8 * k)) & 0xFF), &words[k], sizeof words[k]);
    return static_cast<unsigned>(ends >> 56);
}

// TakeEncoded converts the eight UTF-16 units at p in registers. A surrogate
// pair is encoded in the lane of its high half and the low half's lane adds
// nothing; a high half in the last lane is left to the next eight, which
// start there. Any other surrogate is unpaired and declines.
inline bool TakeEncoded(const VekUint16*& p, char* out, VekSizeT& len)
{
    const __m128i units = LoadUnaligned(p);
    Utf8Lanes lanes = BmpLanes(units);
    VekSizeT taken = 8;
    const __m128i half = _mm_and_si128(units, Set16(0xFC00));
    const __m128i high = _mm_cmpeq_epi16(half, Set16(0xD800));
    const __m128i low = _mm_cmpeq_epi16(half, Set16(0xDC00));
    const unsigned bits = LaneBits16(high, low), high_bits = bits & 0xFF, low_bits = bits >> 8;
    if (bits != 0) {
        if (((high_bits << 1) & 0xFF) != low_bits)
            return false;
        const __m128i next = _mm_srli_si128(units, 2);
        const __m128i plane =
            _mm_add_epi16(_mm_and_si128(_mm_srli_epi16(units, 6), Set16(0xF)), Set16(1));
        const __m128i low16 = _mm_or_si128(_mm_slli_epi16(_mm_and_si128(units, Set16(0x3F)), 10),
                                           _mm_and_si128(next, Set16(0x3FF)));
        PutSupplementary(&lanes, high, plane, low16);
        lanes.length = _mm_andnot_si128(low, lanes.length);
        if ((high_bits & 0x80) != 0) {
            lanes.length = _mm_and_si128(lanes.length, _mm_srli_si128(_mm_set1_epi8(-1), 2));
            taken = 7;
        }
    }
    len += StoreLanes(lanes, out + len);
    p += taken;
    return true;
}

// TakeEncoded converts the eight UCS-4 units at p in registers, declining
// a surrogate or a value beyond U+10FFFF. The units are narrowed to their
// low 16 bits and their plane; shifting the low half up and back down again,
// with its sign, keeps the signed saturation of packs_epi32 out of it.
inline bool TakeEncoded(const VekWideChar*& p, char* out, VekSizeT& len)
{
    const __m128i a = LoadUnaligned(p), b = LoadUnaligned(p + 4);
    const __m128i plane = _mm_packs_epi32(_mm_srli_epi32(a, 16), _mm_srli_epi32(b, 16));
    const __m128i low = _mm_packs_epi32(_mm_srai_epi32(_mm_slli_epi32(a, 16), 16),
                                        _mm_srai_epi32(_mm_slli_epi32(b, 16), 16));
    const __m128i bmp = _mm_cmpeq_epi16(plane, _mm_setzero_si128());
    const __m128i beyond = _mm_cmpgt_epi16(plane, Set16(0x10));
    const __m128i surrogate =
        _mm_and_si128(bmp, _mm_cmpeq_epi16(_mm_and_si128(low, Set16(0xF800)), Set16(0xD800)));
    if (Bits(_mm_or_si128(beyond, surrogate)) != 0)
        return false;
    Utf8Lanes lanes = BmpLanes(low);
    if (Bits(bmp) != 0xFFFF)
        PutSupplementary(&lanes, _mm_xor_si128(bmp, _mm_set1_epi8(-1)), plane, low);
    len += StoreLanes(lanes, out + len);
    p += 8;
    return true;
}

// TakeAsciiWindow takes a window that was all ASCII only up to the next
// block boundary, from where aligned blocks go faster.
template <class In> inline bool TakeAsciiWindow(const In*& p, VekSizeT& len)
{
    const auto misaligned = (reinterpret_cast<uintptr_t>(p) / sizeof(In)) % kBlockUnits;
    const VekSizeT units = kWindowUnits - static_cast<VekSizeT>(misaligned);
    p += units;
    len += units;
    return true;
}

// HasRun tells whether three units in a row are marked: no surrogate pair
// and no text with ASCII between its other characters has that.
inline bool HasRun(unsigned others)
{
    return (others & (others >> 1) & (others >> 2)) != 0;
}

// ------------------------------------------------------------------ windows

// TakeWindow converts the 16 wide units at p into UTF-8. They are first
// stored as if they were all ASCII; a window with a run of other characters
// is then encoded in registers, eight units at a time, and any other is
// finished by TakeSparse.
template <bool kStore, class In> inline bool TakeWindow(const In*& p, char* out, VekSizeT& len)
{
    static_assert(kStore, "measuring into UTF-8 counts whole blocks instead");
    const __m128i bytes = Narrowed<LoadUnaligned>(p);
    StoreUnaligned(out + len, bytes);
    const unsigned others = OtherBytes(bytes);
    if (others == 0)
        return TakeAsciiWindow(p, len);
    if (HasRun(others))
        return TakeEncoded(p, out, len) && TakeEncoded(p, out, len);
    return TakeSparse<kStore>(p, others, out, len);
}

// TakeWindow converts the 16 bytes at p into UTF-16 (or, without kStore,
// counts them), widening them all and leaving the rest to TakeSparse.
template <bool kStore>
inline bool TakeWindow(const unsigned char*& p, VekUint16* out, VekSizeT& len)
{
    const __m128i bytes = LoadUnaligned(p);
    if (kStore)
        StoreWidened(out + len, bytes);
    const unsigned others = Bits(bytes);
    if (others == 0)
        return TakeAsciiWindow(p, len);
    return TakeSparse<kStore>(p, others, out, len);
}

// TakeWindows moves p and len over aligned ASCII blocks and windows while
// the input is known to go on and room - len holds a window's output. It is
// true when it stopped at a window it declined, false when the terminator is
// near or the room short. reach, nullptr at first, is carried from one call
// to the next.
template <bool kStore, class In, class Out>
bool TakeWindows(const In*& p, Out* out, VekSizeT room, VekSizeT& len, const In*& reach)
{
    for (;;) {
        TakeAsciiBlocks<true, kStore>(p, out, room, len);
        if (reach == nullptr || reach < p)
            reach = StartReach(p);
        if (reach == nullptr || room - len < kWindowRoom<Out> || !Reaches(reach, p, kWindowReach))
            return false;
        if (!TakeWindow<kStore>(p, out, len))
            return true;
    }
}

// TakeFast takes turns between the windows and single characters until the
// input ends, the room is full or the input is refused.
template <bool kStore, class Output, class In>
Stop TakeFast(const In*& p, typename Output::Unit* out, VekSizeT room, VekSizeT& len)
{
    const In* reach = nullptr;
    Stop stop = Stop::kResume;
    while (stop == Stop::kResume) {
        const bool resume = TakeWindows<kStore>(p, out, room, len, reach);
        stop = TakeCharacters<kStore, false, Output>(p, out, room, len, resume);
    }
    return stop;
}

// ------------------------------------------------------ measuring by blocks

// SumBytes adds up the unsigned bytes of a register.
inline VekSizeT SumBytes(__m128i v)
{
    const __m128i sums = _mm_sad_epu8(v, _mm_setzero_si128());
    const auto low = static_cast<VekSizeT>(_mm_cvtsi128_si32(sums));
    return low + static_cast<VekSizeT>(_mm_extract_epi16(sums, 4));
}

// CountUnit adds the UTF-8 bytes of one UTF-16 unit: 1 to 3 for a BMP
// character, 2 for each half of a surrogate pair. It is false when the unit
// breaks a pair: a low half with no high one before it, or anything but a
// low half after a high one.
inline bool CountUnit(uint32_t u, bool* awaiting_low, VekSizeT* n)
{
    const bool high = (u & 0xFC00u) == 0xD800u, low = (u & 0xFC00u) == 0xDC00u;
    if (low != *awaiting_low)
        return false;
    *awaiting_low = high;
    *n += 1u + (u >= 0x80u) + (u >= 0x800u) - (high || low);
    return true;
}

// PairsHold checks the surrogates of 16 UTF-16 units: each low half right
// behind a high one, none elsewhere, a high half in the last unit awaiting
// its low one in the next block. Shifted right by 10, a high half is 0x36
// and a low half 0x37.
inline bool PairsHold(__m128i a, __m128i b, bool* awaiting_low)
{
    const __m128i halves = _mm_packus_epi16(_mm_srli_epi16(a, 10), _mm_srli_epi16(b, 10));
    const unsigned high = Bits(_mm_cmpeq_epi8(halves, _mm_set1_epi8(0x36)));
    const unsigned low = Bits(_mm_cmpeq_epi8(halves, _mm_set1_epi8(0x37)));
    const bool held = (((high << 1) | *awaiting_low) & 0xFFFF) == low;
    *awaiting_low = (high & 0x8000) != 0;
    return held;
}

// Block counts of UTF-16 are added up in the bytes of a register, for as
// many blocks as a byte can take: each adds at most 2 to it.
constexpr unsigned kBlocksPerSum16 = 255 / 2;

// CountBlocks16 moves p over up to kBlocksPerSum16 aligned blocks of UTF-16
// that hold no terminator, adding their UTF-8 bytes to *n: one a unit, one
// more from U+0080, one more from U+0800, one less for each surrogate.
// Shifted right by 11, a surrogate is 0x1B and no other unit is. It is false
// when a surrogate is unpaired; *done tells whether it stopped before the
// last block it could take.
VEK_UTF8_NO_SANITIZE_ADDRESS bool CountBlocks16(const VekUint16*& p, VekSizeT* n,
                                                bool* awaiting_low, bool* done)
{
    const __m128i one = _mm_set1_epi8(1), surrogate_shifted = _mm_set1_epi8(0x1B);
    __m128i sum = _mm_setzero_si128();
    unsigned blocks = 0;
    for (; blocks < kBlocksPerSum16; ++blocks, p += kBlockUnits) {
        const __m128i a = LoadAligned(p), b = LoadAligned(p + 8);
        const __m128i zero = _mm_setzero_si128();
        if (Bits(_mm_or_si128(_mm_cmpeq_epi16(a, zero), _mm_cmpeq_epi16(b, zero))) != 0)
            break;
        const __m128i from_80 = _mm_packus_epi16(_mm_srli_epi16(a, 7), _mm_srli_epi16(b, 7));
        const __m128i from_800 = _mm_packus_epi16(_mm_srli_epi16(a, 11), _mm_srli_epi16(b, 11));
        const __m128i surrogate = _mm_cmpeq_epi8(from_800, surrogate_shifted);
        if ((Bits(surrogate) != 0 || *awaiting_low) && !PairsHold(a, b, awaiting_low))
            return false;
        const __m128i extra = _mm_add_epi8(_mm_min_epu8(from_80, one), _mm_min_epu8(from_800, one));
        sum = _mm_add_epi8(sum, _mm_add_epi8(extra, surrogate));
    }
    *n += kBlockUnits * blocks + SumBytes(sum);
    *done = blocks < kBlocksPerSum16;
    return true;
}

// MeasureFast (UTF-16) counts unit by unit, which lets a pair straddle any
// boundary: singly up to a block boundary, then whole aligned blocks, then
// singly again from the block that holds the terminator.
bool MeasureFast(const VekUint16* p, VekSizeT* len)
{
    VekSizeT n = *len;
    bool awaiting_low = false, done = false;
    for (; !IsBlockAligned(p) && *p != 0; ++p) {
        if (!CountUnit(*p, &awaiting_low, &n))
            return false;
    }
    while (IsBlockAligned(p) && !done) {
        if (!CountBlocks16(p, &n, &awaiting_low, &done))
            return false;
    }
    for (; *p != 0; ++p) {
        if (!CountUnit(*p, &awaiting_low, &n))
            return false;
    }
    *len = n;
    return !awaiting_low;
}

// Shifted6 narrows two registers of UCS-4 units to 16-bit lanes of u >> 6,
// with signed saturation: exact up to U+1FFFFF, so a value beyond U+10FFFF
// is one above 0x43FF.
inline __m128i Shifted6(__m128i a, __m128i b)
{
    return _mm_packs_epi32(_mm_srli_epi32(a, 6), _mm_srli_epi32(b, 6));
}

// AtLeast1 is 1 in the bytes that are not 0.
inline __m128i AtLeast1(__m128i bytes)
{
    return _mm_min_epu8(bytes, _mm_set1_epi8(1));
}

// CountBlocks32 is CountBlocks16 for UCS-4: one byte a unit, one more from
// U+0080, U+0800 and U+10000 each, counted in bytes; a block of ASCII needs
// no counting. The units narrowed whole are 0x80 and up from U+0080 on; as
// bytes of u >> 11 (saturated), 1 and up from U+0800 on, 0x20 and up from
// U+10000 on, and 0x1B for a surrogate. It is false when a unit is no scalar
// value.
VEK_UTF8_NO_SANITIZE_ADDRESS bool CountBlocks32(const VekWideChar*& p, VekSizeT* n, bool* done)
{
    constexpr unsigned kBlocksPerSum = 255 / 3;
    __m128i sum = _mm_setzero_si128();
    unsigned blocks = 0;
    for (; blocks < kBlocksPerSum; ++blocks, p += kBlockUnits) {
        const __m128i a = LoadAligned(p), b = LoadAligned(p + 4);
        const __m128i c = LoadAligned(p + 8), d = LoadAligned(p + 12);
        // Narrowed, the terminator and values from 0x80000000 on are 0, the
        // latter no scalar values: the units from here on go singly.
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
        if (Bits(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())) != 0)
            break;
        if (Bits(bytes) == 0)
            continue;
        const __m128i low = Shifted6(a, b), high = Shifted6(c, d);
        const __m128i from_800 = _mm_packus_epi16(_mm_srli_epi16(low, 5), _mm_srli_epi16(high, 5));
        const __m128i beyond = _mm_cmpgt_epi16(_mm_max_epi16(low, high), Set16(0x43FF));
        const __m128i surrogate = _mm_cmpeq_epi8(from_800, _mm_set1_epi8(0x1B));
        if (Bits(_mm_or_si128(beyond, surrogate)) != 0)
            return false;
        const __m128i from_80 = _mm_subs_epu8(bytes, _mm_set1_epi8(0x7F));
        const __m128i from_10000 = _mm_subs_epu8(from_800, _mm_set1_epi8(0x1F));
        sum =
            _mm_add_epi8(sum, _mm_add_epi8(AtLeast1(from_80),
                                           _mm_add_epi8(AtLeast1(from_800), AtLeast1(from_10000))));
    }
    *n += kBlockUnits * blocks + SumBytes(sum);
    *done = blocks < kBlocksPerSum;
    return true;
}

// MeasureFast (UCS-4) counts singly up to a block boundary, then whole
// aligned blocks, then singly again from the block that holds the
// terminator.
bool MeasureFast(const VekWideChar* p, VekSizeT* len)
{
    VekSizeT n = *len;
    bool done = false;
    for (; !IsBlockAligned(p) && *p != 0; ++p) {
        if (!IsScalarValue(*p))
            return false;
        n += Utf8Output::Length(*p);
    }
    while (IsBlockAligned(p) && !done) {
        if (!CountBlocks32(p, &n, &done))
            return false;
    }
    *len = n;
    return TakeCharacters<false, false, Utf8Output>(p, static_cast<char*>(nullptr), kUnlimited,
                                                    *len, false) == Stop::kEnd;
}

// MeasureFast (UTF-8) runs the windows without storing anything.
bool MeasureFast(const unsigned char* p, VekSizeT* len)
{
    return TakeFast<false, Utf16Output>(p, static_cast<VekUint16*>(nullptr), kUnlimited, *len) ==
           Stop::kEnd;
}

#endif // VEK_UTF8_HAVE_SSE2

// ------------------------------------------------------------------ transcode

// Convert writes whole characters from p while they fit in room units and
// reports how far it came. With kWide (UCS-4 only) the AVX-512 path takes
// what it can first.
template <bool kSimd, class Output, bool kWide, class In>
Stop Convert(const In*& p, typename Output::Unit* out, VekSizeT room, VekSizeT* written)
{
    VekSizeT len = 0;
    Stop stop = Stop::kEnd;
    if constexpr (kWide)
        VekUtf8Avx512::TakeUcs4(p, out, room, len);
#if VEK_UTF8_HAVE_SSE2
    if constexpr (kSimd)
        stop = TakeFast<true, Output>(p, out, room, len);
    else
#endif
        stop = TakeCharacters<true, true, Output>(p, out, room, len, false);
    *written = len;
    return stop;
}

// Measure adds to *len what the characters from p to the terminator need;
// false when one of them is refused.
template <bool kSimd, class Output, bool kWide, class In> bool Measure(const In* p, VekSizeT* len)
{
    if constexpr (kWide)
        VekUtf8Avx512::MeasureUcs4(p, *len);
#if VEK_UTF8_HAVE_SSE2
    if constexpr (kSimd)
        return MeasureFast(p, len);
#endif
    using Unit = typename Output::Unit;
    return TakeCharacters<false, true, Output>(p, static_cast<Unit*>(nullptr), kUnlimited, *len,
                                               false) == Stop::kEnd;
}

// The last output unit is kept for the terminator, which follows whatever
// was written whenever there is an output at all.
template <bool kSimd, class Output, bool kWide = false, class In>
VekBool Transcode(const In* input, typename Output::Unit* output, VekSizeT outputSize,
                  VekSizeT* outputLen)
{
    const In* p = input;
    VekSizeT len = 0;
    if (outputSize != 0) {
        const Stop stop = Convert<kSimd, Output, kWide>(p, output, outputSize - 1, &len);
        output[len] = 0;
        if (stop == Stop::kRefused)
            return VEK_FALSE;
        if (stop == Stop::kEnd) {
            *outputLen = len;
            return VEK_TRUE;
        }
    }
    if (!Measure<kSimd, Output, kWide>(p, &len))
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
    if (VekUtf8Avx512::Usable())
        return Transcode<kUseSimd, Utf8Output, true>(input, output, outputSize, outputLen);
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

VekBool EncodeWithoutAvx512(const VekWideChar* input, char* output, VekSizeT outputSize,
                            VekSizeT* outputLen) noexcept
{
    return Transcode<kUseSimd, Utf8Output>(input, output, outputSize, outputLen);
}

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
