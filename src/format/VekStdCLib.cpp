// VekStdCLib.cpp - the formatter: the C library's vsnprintf with 64-bit sizes
// and one unmistakable failure result, and a direct path for the plain
// conversions that make up most formats.
//
// vsnprintf speaks int: it reports an output it cannot produce (an encoding
// error, or a length beyond what an int can count) as a negative number. The
// formatter turns that into the largest VekSizeT, a length that no allocator
// limit admits, so a caller that sizes a buffer from the result is refused
// instead of misreading the failure as a short or empty output.
//
// vsnprintf also runs every format through a general machine (flags, widths,
// precisions, positional arguments, locales, stream buffers), which costs
// several times what a format like "%d:%s;" needs. So a format made of text,
// %%, and the plain conversions %c, %s, %d, %i, %u, %x and %X (no flag, width
// or precision; on the integers no length modifier but l, ll and z) is
// formatted here directly, with the output vsnprintf gives. At the first
// conversion outside that set, and at a null %s argument, which C leaves
// undefined, the format goes to vsnprintf whole, with a copy of the arguments
// taken before any was read.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "Vek/Utils/VekStdCLib.h"

namespace {

// The failure result: all 64 bits set, never the length of a real output.
constexpr VekSizeT kFormatFailed = ~static_cast<VekSizeT>(0);

// vsnprintf never produces more than INT_MAX bytes, so a buffer of INT_MAX
// bytes already holds any complete output; capping the size loses nothing and
// spares C libraries that reject a larger size outright.
inline size_t FormatterRoom(VekSizeT size)
{
    return static_cast<size_t>(size < static_cast<VekSizeT>(INT_MAX) ? size : INT_MAX);
}

VekSizeT LibraryFormat(char* buf, VekSizeT size, const char* fmt, va_list args)
{
    const int formatted_length = std::vsnprintf(buf, FormatterRoom(size), fmt, args);
    if (formatted_length >= 0)
        return static_cast<VekSizeT>(formatted_length);
    // Whatever the C library wrote before giving up is not an output.
    if (size != 0)
        buf[0] = '\0';
    return kFormatFailed;
}

// ------------------------------------------------------------ the direct path

// Output keeps the first size - 1 bytes of the output at buf, as vsnprintf
// does, and counts all of it.
struct Output {
    char* buf;
    VekSizeT room; // size - 1, or 0 when size is 0
    VekSizeT length;
};

inline void Append(Output* out, const char* bytes, VekSizeT n)
{
    if (out->length < out->room) {
        const VekSizeT left = out->room - out->length;
        VekMemCpy(out->buf + out->length, bytes, n < left ? n : left);
    }
    out->length += n;
}

// Two decimal digits for each value below 100.
constexpr char kDigitPairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233"
    "34353637383940414243444546474849505152535455565758596061626364656667"
    "6869707172737475767778798081828384858687888990919293949596979899";

// Room for the digits of any 64-bit value and a sign.
constexpr int kMaxDigits = 21;

// DecimalDigits writes the digits of v in front of end, two at a time, and
// returns where they start.
inline char* DecimalDigits(uint64_t v, char* end)
{
    while (v >= 100) {
        const uint64_t pair = v % 100;
        v /= 100;
        end -= 2;
        VekMemCpy(end, kDigitPairs + 2 * pair, 2);
    }
    if (v >= 10) {
        end -= 2;
        VekMemCpy(end, kDigitPairs + 2 * v, 2);
    } else {
        *--end = static_cast<char>('0' + v);
    }
    return end;
}

inline char* HexDigits(uint64_t v, char* end, const char* digits)
{
    do {
        *--end = digits[v & 0xF];
        v >>= 4;
    } while (v != 0);
    return end;
}

// The argument types of the length modifiers the direct path takes.
enum class Length { kInt, kLong, kLongLong, kSize };

inline Length ParseLength(const char*& p)
{
    if (*p == 'z') {
        ++p;
        return Length::kSize;
    }
    if (*p != 'l')
        return Length::kInt;
    ++p;
    if (*p != 'l')
        return Length::kLong;
    ++p;
    return Length::kLongLong;
}

// %zd reads the signed type of size_t's width, which ptrdiff_t is wherever
// this library runs.
static_assert(sizeof(ptrdiff_t) == sizeof(size_t), "no signed type of size_t's width");

// Every Length is a case, so the switches' implicit default is never taken.
inline int64_t SignedArgument(va_list* args, Length length)
{
    switch (length) { // GCOVR_EXCL_BR_LINE
    case Length::kInt:
        return va_arg(*args, int);
    case Length::kLong:
        return va_arg(*args, long);
    case Length::kLongLong:
        return va_arg(*args, long long);
    case Length::kSize:
        break;
    }
    return va_arg(*args, ptrdiff_t);
}

inline uint64_t UnsignedArgument(va_list* args, Length length)
{
    switch (length) { // GCOVR_EXCL_BR_LINE
    case Length::kInt:
        return va_arg(*args, unsigned);
    case Length::kLong:
        return va_arg(*args, unsigned long);
    case Length::kLongLong:
        return va_arg(*args, unsigned long long);
    case Length::kSize:
        break;
    }
    return va_arg(*args, size_t);
}

// AppendInteger formats one integer conversion, reading its argument.
inline void AppendInteger(Output* out, char conversion, Length length, va_list* args)
{
    char digits[kMaxDigits];
    char* const end = digits + kMaxDigits;
    char* start = nullptr;
    if (conversion == 'd' || conversion == 'i') {
        const int64_t v = SignedArgument(args, length);
        const uint64_t magnitude = v < 0 ? 0 - static_cast<uint64_t>(v) : static_cast<uint64_t>(v);
        start = DecimalDigits(magnitude, end);
        if (v < 0)
            *--start = '-';
    } else if (conversion == 'u') {
        start = DecimalDigits(UnsignedArgument(args, length), end);
    } else {
        const char* hex = conversion == 'x' ? "0123456789abcdef" : "0123456789ABCDEF";
        start = HexDigits(UnsignedArgument(args, length), end, hex);
    }
    Append(out, start, static_cast<VekSizeT>(end - start));
}

inline bool AppendCharacter(Output* out, va_list* args)
{
    const char c = static_cast<char>(va_arg(*args, int));
    Append(out, &c, 1);
    return true;
}

inline bool AppendString(Output* out, va_list* args)
{
    const char* s = va_arg(*args, const char*);
    if (s == nullptr)
        return false;
    Append(out, s, VekStrLen(s));
    return true;
}

// AppendConversion formats the conversion at p (just behind its %) and moves
// p behind it; false when the direct path does not take it, with the
// argument list then no longer of use.
inline bool AppendConversion(Output* out, const char*& p, va_list* args)
{
    if (*p == '%') {
        Append(out, p++, 1);
        return true;
    }
    const Length length = ParseLength(p);
    const char conversion = *p++;
    switch (conversion) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
        AppendInteger(out, conversion, length, args);
        return true;
    case 'c':
        return length == Length::kInt && AppendCharacter(out, args);
    case 's':
        return length == Length::kInt && AppendString(out, args);
    default:
        return false;
    }
}

// FormatDirectly formats fmt into out; false at the first conversion it does
// not take, with out holding part of the output.
bool FormatDirectly(Output* out, const char* fmt, va_list* args)
{
    const char* p = fmt;
    for (;;) {
        const char* text = p;
        while (*p != '%' && *p != '\0')
            ++p;
        if (p != text)
            Append(out, text, static_cast<VekSizeT>(p - text));
        if (*p == '\0')
            return true;
        ++p;
        if (!AppendConversion(out, p, args))
            return false;
    }
}

} // namespace

// The direct path leaves the outputs vsnprintf cannot produce to vsnprintf,
// which then fails on them as well: one longer than INT_MAX among them.
VekSizeT VekVSNPrintf(char* buf, VekSizeT size, const char* fmt, va_list args) noexcept
{
    Output out = {buf, size != 0 ? size - 1 : 0, 0};
    va_list direct_args;
    va_copy(direct_args, args);
    const bool direct = FormatDirectly(&out, fmt, &direct_args);
    va_end(direct_args);
    if (!direct || out.length > static_cast<VekSizeT>(INT_MAX))
        return LibraryFormat(buf, size, fmt, args);
    if (size != 0)
        buf[out.length < out.room ? out.length : out.room] = '\0';
    return out.length;
}
