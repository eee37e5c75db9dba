// VekUtf8Windows.h - conversion by windows, written once over a kernel.
//
// Isa is the instruction set's register code (Utf8Sse2, Utf8Neon). Aligned
// ASCII blocks go whole; everything else goes in windows of 16 units loaded
// from wherever the conversion has got to. A window is first stored as if
// all its units were ASCII, then:
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
//    ASCII hands the run to the scalar loop, which takes such runs faster
//    than the window; it hands back at the next ASCII unit.
// The scalar loop also takes the last units before the terminator or the end
// of the room, and a window declined because its input is not valid there.
//
// The input carries no length, so windows, which load from any address, are
// loaded only from input already known to hold no zero unit: the reach,
// checked by whole aligned blocks ahead of the windows.
#ifndef VEK_SRC_CODEC_VEKUTF8WINDOWS_H
#define VEK_SRC_CODEC_VEKUTF8WINDOWS_H

#include <algorithm>

#include "Vek/Utils/VekStdCLib.h"
#include "codec/VekUtf8Scalar.h"

namespace VekUtf8 {

// Windows take 16 units. Behind each character that is not ASCII a window
// loads 16 units again, and a character may end up to 3 units past the
// window, so the input must be known to go on for 32 units. Into UTF-8 a
// window writes at most 4 bytes for each of its units and one store of 16
// more; out of UTF-8 at most 17 units and one store of 16 more.
constexpr VekSizeT kWindowUnits = 16;
constexpr VekSizeT kWindowReach = 32;
template <class Out> constexpr VekSizeT kWindowRoom = sizeof(Out) == 1 ? 80 : 33;

// ------------------------------------------------------------------- reach

// GoesOn tells whether the units [p, p + units) hold no terminator; the
// checked build asserts it for what a window reads.
template <class In> static inline bool GoesOn(const In* p, VekSizeT units)
{
    return std::find(p, p + units, In{0}) == p + units;
}

// StartReach returns the first block boundary at or after p, having checked
// that no unit before it is the terminator; nullptr when one is.
template <class In> static inline const In* StartReach(const In* p)
{
    for (; !IsBlockAligned(p); ++p) {
        if (*p == 0)
            return nullptr;
    }
    return p;
}

// ExtendReach moves reach over whole aligned blocks without a terminator
// until it is at least units ahead of p; false when the terminator comes
// first.
template <class Isa, class In>
static inline bool ExtendReach(const In*& reach, const In* p, VekSizeT units)
{
    VEK_ASSERT(IsBlockAligned(reach) && reach >= p, "the reach is a block boundary ahead of p");
    while (static_cast<VekSizeT>(reach - p) < units) {
        if (Isa::BlockHasZero(reach))
            return false;
        reach += kBlockUnits;
    }
    return true;
}

// ------------------------------------------------- one character at a time

// TwoBytes, ThreeBytes and FourBytes are the UTF-8 forms of a code point as
// little-endian words.
static inline uint32_t TwoBytes(uint32_t cp)
{
    return 0x80C0u | (cp >> 6) | ((cp & 0x3Fu) << 8);
}

static inline uint32_t ThreeBytes(uint32_t cp)
{
    return 0x8080E0u | (cp >> 12) | ((cp << 2) & 0x3F00u) | ((cp & 0x3Fu) << 16);
}

static inline uint32_t FourBytes(uint32_t cp)
{
    return 0x808080F0u | (cp >> 18) | ((cp >> 4) & 0x3F00u) | ((cp << 10) & 0x3F0000u) |
           ((cp & 0x3Fu) << 24);
}

// PutWord stores a UTF-8 form of the given bytes at out + *written.
static inline void PutWord(char* out, VekSizeT* written, uint32_t word, unsigned bytes)
{
    VekMemCpy(out + *written, &word, sizeof word);
    *written += bytes;
}

// PutOther converts the character at a unit that is not ASCII into UTF-8
// and returns how many units it took; 0 when there is no character there.
static inline unsigned PutOther(const VekUint16* at, char* out, VekSizeT* written)
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

static inline unsigned PutOther(const VekWideChar* at, char* out, VekSizeT* written)
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

// PutOther out of UTF-8 converts the character at a byte that is not ASCII
// into UTF-16, or without kStore only counts its units.
template <bool kStore>
static inline unsigned PutOther(const unsigned char* at, VekUint16* out, VekSizeT* written)
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

template <bool kStore, class In, class Out>
static inline unsigned PutOtherOf(const In* at, Out* out, VekSizeT* written)
{
    if constexpr (sizeof(In) == 1)
        return PutOther<kStore>(at, out, written);
    else
        return PutOther(at, out, written);
}

// PutEightWords stores eight UTF-8 forms, each a little-endian word whose
// length is byte k of lengths, one behind the other at out, and returns
// their bytes. Each is one 4-byte store at the sum of the lengths before it,
// which the next one overwrites beyond its own length, so it writes up to 4
// bytes past the result. The offsets come from one multiply: with a length
// in each byte, times 0x0101...01, byte k holds the sum of the lengths up to
// k (at most 32, so no byte carries into the next).
static inline unsigned PutEightWords(const uint32_t (&words)[8], uint64_t lengths, char* out)
{
    const uint64_t ends = lengths * 0x0101010101010101u;
    const uint64_t starts = ends << 8;
    for (unsigned k = 0; k < 8; ++k)
        VekMemCpy(out + ((starts >> (8 * k)) & 0xFF), &words[k], sizeof words[k]);
    return static_cast<unsigned>(ends >> 56);
}

// ------------------------------------------------------------------ windows

// FinishWindowByCharacter finishes a window whose units have all been
// stored as if they were ASCII (without kStore: counted). others marks the
// units that are not; each character there is put in place, and the
// window's units from its end on are stored once more behind it. A
// character that is not valid declines the window from there. Decoding also
// hands a character followed at once by another one that is not ASCII over
// to TakeCharacters: text with few ASCII units goes faster one character at
// a time than through the marks.
template <class Isa, bool kStore, class In, class Out>
static inline bool FinishWindowByCharacter(const In*& p, typename Isa::Marks others, Out* out,
                                           VekSizeT& len)
{
    VEK_ASSERT(others.Any(), "a window of ASCII alone is taken whole");
    constexpr bool kRunsGoSingly = sizeof(Out) == 2;
    const In* const end = p + kWindowUnits;
    const In* q = p;
    VekSizeT written = len;
    // Position 0 of others stands for the unit at q.
    while (others.Any()) {
        const unsigned ascii = others.First();
        q += ascii;
        written += ascii;
        const unsigned units = PutOtherOf<kStore>(q, out, &written);
        if (units == 0)
            break;
        q += units;
        others = others.After(ascii + units);
        if (kRunsGoSingly && others.Has(0))
            break;
        if (kStore && q < end)
            Isa::StoreAsAscii(out + written, q);
    }
    if (!others.Any() && q < end) {
        written += static_cast<VekSizeT>(end - q);
        q = end;
    }
    p = q;
    len = written;
    return !others.Any();
}

// TakeAsciiWindow takes a window that was all ASCII only up to the next
// block boundary, from where aligned blocks go faster.
template <class In> static inline bool TakeAsciiWindow(const In*& p, VekSizeT& len)
{
    const auto misaligned = (reinterpret_cast<uintptr_t>(p) / sizeof(In)) % kBlockUnits;
    const VekSizeT units = kWindowUnits - static_cast<VekSizeT>(misaligned);
    p += units;
    len += units;
    return true;
}

// HasRun tells whether three units in a row are marked: no surrogate pair
// and no text with ASCII between its other characters has that.
template <class Marks> static inline bool HasRun(Marks others)
{
    return (others & others.After(1) & others.After(2)).Any();
}

// TakeWindow converts the 16 wide units at p into UTF-8. They are first
// stored as if they were all ASCII; a window with a run of other characters
// is then encoded in registers, eight units at a time, and any other is
// finished character by character.
template <class Isa, bool kStore, class In>
static inline bool TakeWindow(const In*& p, char* out, VekSizeT& len)
{
    static_assert(kStore, "measuring into UTF-8 counts whole blocks instead");
    VEK_ASSERT(GoesOn(p, kWindowReach), "a window reads only input known to go on");
    const typename Isa::Marks others = Isa::StoreWindow(p, out + len);
    if (!others.Any())
        return TakeAsciiWindow(p, len);
    if (HasRun(others))
        return Isa::EncodeEight(p, out, len) && Isa::EncodeEight(p, out, len);
    return FinishWindowByCharacter<Isa, kStore>(p, others, out, len);
}

// TakeWindow converts the 16 bytes at p into UTF-16 (or, without kStore,
// counts them), widening them all and finishing the rest by character.
template <class Isa, bool kStore>
static inline bool TakeWindow(const unsigned char*& p, VekUint16* out, VekSizeT& len)
{
    VEK_ASSERT(GoesOn(p, kWindowReach), "a window reads only input known to go on");
    const typename Isa::Marks others =
        Isa::template StoreWindow<kStore>(p, kStore ? out + len : out);
    if (!others.Any())
        return TakeAsciiWindow(p, len);
    return FinishWindowByCharacter<Isa, kStore>(p, others, out, len);
}

// TakeWindows moves p and len over aligned ASCII blocks and windows while
// the input is known to go on and room - len holds a window's output. It is
// true when it stopped at a window it declined, false when the terminator is
// near or the room short. reach, nullptr at first, is carried from one call
// to the next.
template <class Isa, bool kStore, class In, class Out>
static inline bool TakeWindows(const In*& p, Out* out, VekSizeT room, VekSizeT& len,
                               const In*& reach)
{
    for (;;) {
        TakeAsciiBlocks<Isa, kStore>(p, out, room, len);
        if (reach == nullptr || reach < p)
            reach = StartReach(p);
        if (reach == nullptr || room - len < kWindowRoom<Out> ||
            !ExtendReach<Isa>(reach, p, kWindowReach))
            return false;
        if (!TakeWindow<Isa, kStore>(p, out, len))
            return true;
    }
}

} // namespace VekUtf8

#endif // VEK_SRC_CODEC_VEKUTF8WINDOWS_H
