// VekStringAscii.h - the ASCII classes the trimming, word and case functions
// share: whitespace, and the letters with their case.
//
// Only ASCII has classes here; every other byte, UTF-8 included, belongs to
// none. Whitespace is a set of six bytes, searched with the module's set
// searches like any other set. Case is folded a byte at a time, or eight at a
// time in a 64-bit word, where every byte is folded without a branch.
#ifndef VEK_SRC_STRING_VEKSTRINGASCII_H
#define VEK_SRC_STRING_VEKSTRINGASCII_H

#include <cstdint>

#include "Vek/Utils/VekString.h"

// The ASCII whitespace: space, tab, line feed, vertical tab, form feed and
// carriage return, as isspace() has them in the C locale.
inline constexpr char kAsciiSpaces[] = " \t\n\v\f\r";
inline constexpr VekSizeT kAsciiSpaceCount = sizeof kAsciiSpaces - 1;

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

// AsciiLowerWord lowers the letters among the eight bytes of w. Each byte's
// low seven bits plus a bias set the byte's top bit exactly when they are at
// least 'A' (and, with another bias, more than 'Z'); no sum carries into the
// next byte. A byte that is a capital has the first top bit, not the second,
// and its own top bit clear; that mark, moved to the case bit, lowers it.
inline constexpr std::uint64_t AsciiLowerWord(std::uint64_t w)
{
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    const std::uint64_t low7 = w & (0x7F * kOnes);
    const std::uint64_t from_a = low7 + (0x80 - 'A') * kOnes;
    const std::uint64_t past_z = low7 + (0x7F - 'Z') * kOnes;
    const std::uint64_t capitals = (from_a ^ past_z) & ~w & (0x80 * kOnes);
    return w | (capitals >> 2);
}

#endif // VEK_SRC_STRING_VEKSTRINGASCII_H
