// FormatModel.h - printf-style formats drawn from choices, with the C
// library's vsnprintf as the oracle; shared by the formatter's test and
// fuzzer and by the formatted edits of the operation model.
//
// A format mixes text, %% and conversions of every kind the formatter meets:
// the plain ones it formats itself (%c, %s, %d, %i, %u, %x, %X, with l, ll or
// z on the integers) and the ones it hands to the C library (flags, widths
// and precisions written out or passed as *, other length modifiers, %lc,
// %ls, %o, %p, a null %s), with the edge values of every type, wide
// characters no locale encodes among them.
//
// Every argument travels as pointer-sized words: on the ABIs this library
// runs on, va_arg of an int, a long, a size_t, a pointer or a wint_t reads
// one such word (the narrow ones its low half), and a long long or intmax_t
// on a 32-bit target reads two, low half first. So one call shape serves
// every format, and the formatter and its oracle read the same argument list.
#ifndef VEK_TESTS_FORMATMODEL_H
#define VEK_TESTS_FORMATMODEL_H

#include <cstdint>
#include <deque>
#include <optional>
#include <string>

#include "Choices.h"

namespace vektest {

using FormatWord = std::uintptr_t;
constexpr int kWordsPer64Bits = 8 / sizeof(FormatWord);
constexpr int kFormatWords = 8 * kWordsPer64Bits;

struct Format {
    std::string text;
    FormatWord words[16] = {};       // every call passes all 16; 8 64-bit values at most are read
    std::deque<std::string> strings; // what %s words point at
    std::deque<std::wstring> wide;   // what %ls words point at
};

// VEK_FORMAT_ARGS(f) is the format and its arguments, for any printf-like
// call; VEK_FORMAT_WORDS(f) the arguments alone.
#define VEK_FORMAT_WORDS(f)                                                                        \
    (f).words[0], (f).words[1], (f).words[2], (f).words[3], (f).words[4], (f).words[5],            \
        (f).words[6], (f).words[7], (f).words[8], (f).words[9], (f).words[10], (f).words[11],      \
        (f).words[12], (f).words[13], (f).words[14], (f).words[15]
#define VEK_FORMAT_ARGS(f) (f).text.c_str(), VEK_FORMAT_WORDS(f)

Format DrawFormat(Choices& in);

// Oracle is vsnprintf's output, or nullopt when the C library cannot produce it.
std::optional<std::string> Oracle(const Format& f);

// CheckFormatter holds VekVSNPrintf to the oracle for f at every room from
// none to more than enough: the result, and the buffer to its last byte.
void CheckFormatter(const Format& f, Report report);

} // namespace vektest

#endif // VEK_TESTS_FORMATMODEL_H
