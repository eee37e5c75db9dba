// Facts about the formatter: the length of the whole output whatever the
// room, one unmistakable result when the C library cannot format, and for
// every conversion it formats itself the output snprintf gives, at the ends
// of each integer type, with whatever room there is.
#include "VekTestSupport.h"

#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

#include "Vek/Utils/VekStdCLib.h"

namespace {

VekSizeT SNPrintf(char* buf, VekSizeT size, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const VekSizeT r = VekVSNPrintf(buf, size, fmt, args);
    va_end(args);
    return r;
}

TEST(VekVSNPrintf, ReturnsTheWholeLengthOrNposOnFailure)
{
    const wchar_t unencodable[] = {static_cast<wchar_t>(0xD800), 0}; // a lone surrogate
    char buf[8] = "#######";
    EXPECT_EQ(SNPrintf(nullptr, 0, "%d", 12345), 5u);
    EXPECT_EQ(SNPrintf(buf, 0, "%ls", unencodable), VekStringNpos);
    EXPECT_STREQ(buf, "#######");
    EXPECT_EQ(SNPrintf(buf, 4, "%d%%", 12345), 6u);
    EXPECT_STREQ(buf, "123");
    EXPECT_EQ(SNPrintf(buf, sizeof buf, "ab%ls", unencodable), VekStringNpos);
    EXPECT_STREQ(buf, "");
}

// ExpectLikeSnprintf formats at every room from none to more than enough,
// and holds result and buffer, to its last byte, against snprintf's.
template <class... Args> void ExpectLikeSnprintf(const char* fmt, Args... args)
{
    SCOPED_TRACE(fmt);
    const int length = std::snprintf(nullptr, 0, fmt, args...);
    ASSERT_GE(length, 0);
    for (std::size_t size = 0; size <= static_cast<std::size_t>(length) + 2; ++size) {
        std::string expected(size + 4, '#'), got(size + 4, '#');
        std::snprintf(expected.data(), size, fmt, args...);
        EXPECT_EQ(SNPrintf(got.data(), size, fmt, args...), static_cast<VekSizeT>(length));
        EXPECT_EQ(got, expected) << "room " << size;
    }
}

// One row per conversion and length, at the ends of its type; then formats
// the C library formats instead (flags, widths, precisions, other lengths
// and conversions, a null string, positional arguments), which must come out
// the same.
TEST(VekVSNPrintf, FormatsLikeSnprintf)
{
    ExpectLikeSnprintf("%d:%s;", 12345, "alpha");
    ExpectLikeSnprintf("%d %i %d %i", 0, -7, INT_MIN, INT_MAX);
    ExpectLikeSnprintf("%u %x %X %u", 0u, 0xDEADBEEFu, 0xABCDEFu, UINT_MAX);
    ExpectLikeSnprintf("%ld %li %lu %lx %lX", LONG_MIN, LONG_MAX, ULONG_MAX, ULONG_MAX, 10ul);
    ExpectLikeSnprintf("%lld %lli %llu %llx", LLONG_MIN, LLONG_MAX, ULLONG_MAX, 0x1234ull);
    ExpectLikeSnprintf("%zu %zd %zd %zx %zX", SIZE_MAX, PTRDIFF_MIN, PTRDIFF_MAX, SIZE_MAX,
                       std::size_t{48879});
    ExpectLikeSnprintf("%c%c%c|%s%s|%%%%", 'a', '\0', 0xE9, "", "text");
    ExpectLikeSnprintf("%5d|%-4s|%.2s|%+d|% d|%05d|%#x", 1, "a", "xyz", 2, 3, 4, 5u);
    ExpectLikeSnprintf("%hd %hhu %jd %td %p", 70000, 300, INTMAX_MIN, PTRDIFF_MIN, nullptr);
    ExpectLikeSnprintf("%d|%s|%lc", 1, static_cast<const char*>(nullptr), L'x');
    ExpectLikeSnprintf("%2$s %1$d", 1, "two");
}

} // namespace
