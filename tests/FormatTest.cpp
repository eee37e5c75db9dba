// Facts about the formatter: the length of the whole output whatever the
// room, and one unmistakable result when the C library cannot format.
#include "VekTestSupport.h"

#include <cstdarg>

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

} // namespace
