// Which bytes whitespace trimming takes, spelled out once: the operation
// model's random content is seldom whitespace. The six ASCII spaces go from
// either end; 0xA0 and 0x85, spaces in Latin-1, stay.
#include "VekTestSupport.h"

namespace {

TEST(Text, WhitespaceIsTheSixAsciiSpaces)
{
    using Trim = VekString* (*)(VekString*);
    const std::pair<Trim, const char*> kTrims[] = {
        {VekStringTrim, "\xA0 x\x85"},
        {VekStringTrimLeft, "\xA0 x\x85 \t\n\v\f\r"},
        {VekStringTrimRight, " \t\n\v\f\r\xA0 x\x85"}};
    vektest::RecordingAllocator alloc;
    for (const auto& [trim, want] : kTrims) {
        VekString x;
        VekStringConstructCStr(&x, " \t\n\v\f\r\xA0 x\x85 \t\n\v\f\r", alloc);
        EXPECT_EQ(vektest::Content(*trim(&x)), want);
        VekStringDestruct(&x);
    }
}

} // namespace
