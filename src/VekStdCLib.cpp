// VekStdCLib.cpp - the formatter: the C library's vsnprintf with 64-bit sizes
// and one unmistakable failure result.
//
// vsnprintf speaks int: it reports an output it cannot produce (an encoding
// error, or a length beyond what an int can count) as a negative number. The
// formatter turns that into the largest VekSizeT, a length that no allocator
// limit admits, so a caller that sizes a buffer from the result is refused
// instead of misreading the failure as a short or empty output.
#include <climits>
#include <cstdio>

#include "Vek/Utils/VekStdCLib.h"

// The failure result: all 64 bits set, never the length of a real output.
static constexpr VekSizeT kFormatFailed = ~static_cast<VekSizeT>(0);

// vsnprintf never produces more than INT_MAX bytes, so a buffer of INT_MAX
// bytes already holds any complete output; capping the size loses nothing and
// spares C libraries that reject a larger size outright.
static inline size_t FormatterRoom(VekSizeT size)
{
    return static_cast<size_t>(size < static_cast<VekSizeT>(INT_MAX) ? size : INT_MAX);
}

VekSizeT VekVSNPrintf(char* buf, VekSizeT size, const char* fmt, va_list args) noexcept
{
    const int formatted_length = std::vsnprintf(buf, FormatterRoom(size), fmt, args);
    if (formatted_length >= 0)
        return static_cast<VekSizeT>(formatted_length);
    // Whatever the C library wrote before giving up is not an output.
    if (size != 0)
        buf[0] = '\0';
    return kFormatFailed;
}
