// Which bytes whitespace trimming takes, spelled out once: the operation
// model's oracle restates the set, and its random content is seldom
// whitespace.
#include "VekTestSupport.h"

#include <string>
#include <utility>

namespace {

using vektest::Content;
using vektest::RecordingAllocator;

TEST(Text, WhitespaceIsTheSixAsciiSpaces)
{
    const struct {
        const char* text;
        const char* both;
        const char* left;
        const char* right;
    } kCases[] = {
        {"  GET /\r\n", "GET /", "GET /\r\n", "  GET /"},
        {" \t\n\v\f\r", "", "", ""},
        {"\xA0x\x85", "\xA0x\x85", "\xA0x\x85", "\xA0x\x85"}, // no Latin-1 spaces
        {"", "", "", ""},
    };
    using Trim = VekString* (*)(VekString*);
    RecordingAllocator alloc;
    for (const auto& c : kCases) {
        const std::pair<Trim, const char*> kTrims[] = {
            {VekStringTrim, c.both}, {VekStringTrimLeft, c.left}, {VekStringTrimRight, c.right}};
        for (const auto& [trim, want] : kTrims) {
            VekString x;
            VekStringConstructCStr(&x, c.text, alloc);
            EXPECT_EQ(Content(*trim(&x)), want) << '"' << c.text << '"';
            VekStringDestruct(&x);
        }
    }
}

} // namespace
