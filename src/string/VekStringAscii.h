// VekStringAscii.h - the ASCII letters and their case, and the scans that
// trimming makes over a set.
//
// Only A to Z and a to z have a case; every other byte, UTF-8 included, has
// none. Case is one bit, changed or folded a byte at a time, or eight at a
// time in a 64-bit word where no byte carries into the next. (Whitespace, a
// class of six bytes, is tested in VekStringInline.h.)
#ifndef VEK_SRC_STRING_VEKSTRINGASCII_H
#define VEK_SRC_STRING_VEKSTRINGASCII_H

#include <cstdint>

#include "Vek/Utils/VekString.h"
#include "string/VekStringSearchKernels.h"

inline constexpr bool AsciiIsUpper(char c)
{
    return static_cast<unsigned char>(c - 'A') < 26;
}

inline constexpr bool AsciiIsLower(char c)
{
    return static_cast<unsigned char>(c - 'a') < 26;
}

// The case bit: 'a' is 'A' with 0x20 set.
inline constexpr char kAsciiCaseBit = 0x20;

inline constexpr char AsciiToLower(char c)
{
    return AsciiIsUpper(c) ? static_cast<char>(c | kAsciiCaseBit) : c;
}

inline constexpr char AsciiToUpper(char c)
{
    return AsciiIsLower(c) ? static_cast<char>(c & ~kAsciiCaseBit) : c;
}

// The letters' mask is the header's (VekStringAsciiLettersInline), which the
// inline conversion of short strings uses too.
inline std::uint64_t AsciiLowerWord(std::uint64_t w)
{
    return w | VekStringAsciiLettersInline(w, 'A');
}

inline std::uint64_t AsciiUpperWord(std::uint64_t w)
{
    return w & ~VekStringAsciiLettersInline(w, 'a');
}

// The runs that trimming crosses are mostly a byte or a few, which a
// byte-at-a-time test settles before a vector search has begun. So the scans
// below test up to kShortRun bytes one at a time with holds (the set's own
// test) and hand a longer run to the set search over the same set (y, n),
// which takes the rest 16 bytes a step.
inline constexpr VekSizeT kShortRun = 16;

// StringScanForward returns the first position in [pos, size) whose byte is
// wanted (in the set, or outside it), or VekStringNpos; pos < size.
template <Wanted kWanted, class Holds>
inline VekSizeT StringScanForward(const char* buf, VekSizeT size, VekSizeT pos, Holds holds,
                                  const char* y, VekSizeT n)
{
    const VekSizeT stop = size - pos > kShortRun ? pos + kShortRun : size;
    for (; pos < stop; ++pos) {
        if (holds(buf[pos]) == (kWanted == Wanted::kInSet))
            return pos;
    }
    if (pos == size)
        return VekStringNpos;
    return StringScanSetForward<StringNativeSearch, kWanted>(buf, size, pos, y, n);
}

// StringScanBackward returns the last position at or before start whose
// byte is wanted, or VekStringNpos.
template <Wanted kWanted, class Holds>
inline VekSizeT StringScanBackward(const char* buf, VekSizeT start, Holds holds, const char* y,
                                   VekSizeT n)
{
    const VekSizeT stop = start + 1 > kShortRun ? start + 1 - kShortRun : 0;
    for (VekSizeT end = start + 1; end > stop; --end) {
        if (holds(buf[end - 1]) == (kWanted == Wanted::kInSet))
            return end - 1;
    }
    if (stop == 0)
        return VekStringNpos;
    return StringScanSetBackward<StringNativeSearch, kWanted>(buf, stop - 1, y, n);
}

#endif // VEK_SRC_STRING_VEKSTRINGASCII_H
