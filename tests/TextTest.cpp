// The written rules of fields, words and whitespace trimming, case by case.
// Everything else about these families (results against std::string, views,
// aliasing, allocator traces, refusals) is held by the operation model; its
// random content is seldom whitespace, and its oracle restates these rules,
// so here they are spelled out once.
#include "VekTestSupport.h"

#include <string>
#include <utility>

namespace {

using vektest::Content;
using vektest::RecordingAllocator;

enum Split { kComma, kCommaSpace, kEmptySeparator, kAnyOfCommaSpace, kWords };

// Fields joins what a cursor yields from "text", each field in brackets.
std::string Fields(const char* text, Split by)
{
    RecordingAllocator alloc;
    VekString x, field;
    VekStringConstructViewCStr(&x, text, alloc);
    std::string out;
    VekSizeT pos = 0;
    for (int calls = 0; calls < 32; ++calls) {
        const VekBool more = by == kComma        ? VekStringNextFieldChar(&x, &pos, ',', &field)
                             : by == kCommaSpace ? VekStringNextFieldCStr(&x, &pos, ", ", &field)
                             : by == kEmptySeparator ? VekStringNextFieldCStr(&x, &pos, "", &field)
                             : by == kAnyOfCommaSpace
                                 ? VekStringNextFieldAnyOfCStr(&x, &pos, ", ", &field)
                                 : VekStringNextWord(&x, &pos, &field);
        if (!more)
            return out;
        out.append("[").append(Content(field)).append("]");
    }
    return out + "...";
}

TEST(Text, FieldsFollowTheWrittenRules)
{
    const struct {
        const char* text;
        Split by;
        const char* fields;
    } kCases[] = {
        {"a,b,,c", kComma, "[a][b][][c]"},
        {",a", kComma, "[][a]"},
        {"a,", kComma, "[a][]"},
        {"", kComma, "[]"},
        {",", kComma, "[][]"},
        {"a, b,, c", kCommaSpace, "[a][b,][c]"},
        {"abc", kEmptySeparator, "[a][b][c]"},
        {"", kEmptySeparator, "[]"},
        {"a, b", kAnyOfCommaSpace, "[a][][b]"},
        {" a \t\n b\v\f\rc ", kWords, "[a][b][c]"},
        {" \t\n\v\f\r", kWords, ""},
        {"", kWords, ""},
        {"x", kWords, "[x]"},
    };
    for (const auto& c : kCases)
        EXPECT_EQ(Fields(c.text, c.by), c.fields) << '"' << c.text << "\" split " << c.by;
}

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
