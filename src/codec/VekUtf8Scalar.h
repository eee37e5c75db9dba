// VekUtf8Scalar.h - the codec one character at a time.
//
// Reading a code point from each input encoding (checking it is one), writing
// one in each output encoding, and TakeCharacters, the loop that converts or
// measures whole characters until the input ends, the room is full or a unit
// is refused. This is the whole codec where a build has no vector kernel, and
// the part every kernel leaves the rest to: the kernels take what they can by
// blocks and windows, and TakeCharacters finishes.
//
// The plain loop takes runs of ASCII 16 units per step wherever the input is
// aligned to such a block: it checks a whole aligned block before converting
// any of it, and such a block never crosses a page, so reading it whole
// cannot fault even where the terminator lies inside it.
#ifndef VEK_SRC_CODEC_VEKUTF8SCALAR_H
#define VEK_SRC_CODEC_VEKUTF8SCALAR_H

#include <cstddef>
#include <cstdint>

#include "Vek/Utils/VekTypes.h"
#include "base/VekCheck.h"
#include "simd/VekSimd.h"

namespace VekUtf8 {

// Units per aligned block, for the plain ASCII path and the kernels alike.
constexpr VekSizeT kBlockUnits = 16;
constexpr VekSizeT kUnlimited = UINT64_MAX;

constexpr uint32_t kMaxCodePoint = 0x10FFFF;

// How a conversion phase ended.
enum class Stop { kEnd, kFull, kRefused, kResume };

static inline bool IsSurrogate(uint32_t u)
{
    return (u & 0xFFFFF800u) == 0xD800u;
}

// IsAsciiUnit holds for a unit that is its own ASCII character; the zero unit
// is the terminator, not a character.
template <class Unit> static inline bool IsAsciiUnit(Unit u)
{
    return static_cast<uint32_t>(u) - 1u < 0x7Fu;
}

template <class Unit> static inline bool IsBlockAligned(const Unit* p)
{
    return reinterpret_cast<uintptr_t>(p) % (kBlockUnits * sizeof(Unit)) == 0;
}

// ---------------------------------------------------------------- input side

static inline bool IsScalarValue(uint32_t u)
{
    return u <= kMaxCodePoint && !IsSurrogate(u);
}

// UCS-4: each unit is a code point, if it is a Unicode scalar value at all.
static inline bool ReadCodePoint(const VekWideChar*& p, uint32_t* cp)
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
static inline bool ReadCodePoint(const VekUint16*& p, uint32_t* cp)
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

static inline bool IsTrail(uint32_t b)
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
static inline bool ReadMultiByte(const unsigned char*& p, uint32_t* cp)
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

static inline bool ReadCodePoint(const unsigned char*& p, uint32_t* cp)
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

    static unsigned Length(uint32_t cp)
    {
        return 1u + (cp >= 0x80u) + (cp >= 0x800u) + (cp >= 0x10000u);
    }

    // Put stores a character of 2 to 4 bytes: an ASCII unit never reaches
    // it, since TakeCharacters stores those itself.
    static void Put(char* out, uint32_t cp, unsigned len)
    {
        VEK_ASSERT(len >= 2, "ASCII is stored by the caller");
        switch (len) {
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
};

// ----------------------------------------------------------------- ASCII path

// PlainAscii checks a whole aligned block before converting any of it, so a
// block holding the terminator or a non-ASCII unit is left to the caller.
struct PlainAscii {
    template <bool kStore, class In, class Out>
    VEK_NO_SANITIZE_ADDRESS static bool AsciiBlock(const In* p, Out* out)
    {
        VEK_ASSERT(IsBlockAligned(p), "a block is read whole only from a block boundary");
        bool ascii = true;
        for (VekSizeT k = 0; k < kBlockUnits; ++k)
            ascii &= IsAsciiUnit(p[k]);
        if (kStore && ascii) {
            for (VekSizeT k = 0; k < kBlockUnits; ++k)
                out[k] = static_cast<Out>(p[k]);
        }
        return ascii;
    }
};

// TakeAsciiBlocks moves p and len over the whole ASCII blocks at p, while p
// is block-aligned and room - len holds a block, converting them to
// out + len when kStore, with the block test of Blocks (PlainAscii or a
// vector kernel). A block that does not pass is left to the caller.
template <class Blocks, bool kStore, class In, class Out>
static inline void TakeAsciiBlocks(const In*& p, Out* out, VekSizeT room, VekSizeT& len)
{
    if (!IsBlockAligned(p))
        return;
    // The bound on the blocks is taken once, so that a step of the loop is
    // the block test and two additions.
    for (VekSizeT blocks = (room - len) / kBlockUnits;
         blocks != 0 && Blocks::template AsciiBlock<kStore>(p, kStore ? out + len : out);
         --blocks) {
        p += kBlockUnits;
        len += kBlockUnits;
    }
}

// PutCharacter puts cp at out + *len when it fits in room units, or without
// kStore only counts it; false when it does not fit. Put branches on the
// length, which text repeats (Latin letters, CJK ideographs) and the branch
// predictor learns: fewer instructions than building every length at once.
template <bool kStore, class Output>
static inline bool PutCharacter(typename Output::Unit* out, VekSizeT room, VekSizeT* len,
                                uint32_t cp)
{
    const unsigned units = Output::Length(cp);
    if constexpr (kStore) {
        if (units > room - *len)
            return false;
        Output::Put(out + *len, cp, units);
    }
    *len += units;
    return true;
}

// TakeCharacters converts whole characters from p while they fit in room
// units, or without kStore only counts them (out is then not used), and
// reports how it stopped. With resume it also stops, with Stop::kResume,
// when an ASCII unit follows a character, for the vector windows to take
// over again. It works on local copies of p and the length: the output
// stores, char-typed for UTF-8, would otherwise force both back to memory
// after every byte.
template <bool kStore, bool kAsciiBlocks, class Output, class In>
static inline Stop TakeCharacters(const In*& input, typename Output::Unit* out, VekSizeT room,
                                  VekSizeT& length, bool resume)
{
    VEK_ASSERT(length <= room, "the conversion already fills more than its room");
    const In* p = input;
    VekSizeT len = length;
    Stop stop = Stop::kEnd;
    for (;;) {
        if (kAsciiBlocks)
            TakeAsciiBlocks<PlainAscii, kStore>(p, out, room, len);
        if (IsAsciiUnit(*p) && len < room) {
            // Most text is ASCII, and an ASCII unit needs one store and none
            // of the checks of a longer character. A run goes on to the next
            // block boundary where aligned blocks take over.
            do {
                if constexpr (kStore)
                    out[len] = static_cast<typename Output::Unit>(*p);
                ++len;
                ++p;
            } while (!resume && IsAsciiUnit(*p) && len < room &&
                     !(kAsciiBlocks && IsBlockAligned(p)));
        } else {
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
        }
        if (resume && IsAsciiUnit(*p)) {
            stop = Stop::kResume;
            break;
        }
    }
    input = p;
    length = len;
    return stop;
}

} // namespace VekUtf8

#endif // VEK_SRC_CODEC_VEKUTF8SCALAR_H
