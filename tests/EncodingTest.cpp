// Facts about the conversions into and out of a string: UCS-4 and UTF-16
// assignment and appending (each row runs through both twins), UTF-16
// output, and the CoreFoundation bridge on both of its roads (which road a
// string takes is the stand-in's, so those rows run off Apple only). Each row states
// the result, the content, the capacity and the exact allocator trace; after
// every call, failed ones too, the string keeps its invariants.
#include "VekTestSupport.h"

#include <functional>
#include <string>
#include <vector>

namespace {

using vektest::CheckFacts;
using vektest::Content;
using vektest::Fact;
using vektest::RecordingAllocator;

constexpr VekSizeT kNpos = VekStringNpos;

enum Verb { kConstruct, kAssign, kAppend };

// Conversion is one row of the table: the verb, the text and the outcome.
struct Conversion {
    const char* name;
    const char* start;
    Verb verb;
    std::u32string text;
    std::optional<std::string> content;
    VekSizeT capacity;
    const char* trace;
    bool refuse = false;
    bool fails = false;
};

std::vector<Fact> BothTwins(const std::vector<Conversion>& rows)
{
    std::vector<Fact> facts;
    for (const Conversion& c : rows) {
        const std::u32string ucs4 = c.text;
        const std::u16string utf16(c.text.begin(), c.text.end());
        const Verb verb = c.verb;
        auto on_ucs4 = [=](VekString* x, VekAllocator* a) {
            const auto* in = reinterpret_cast<const VekWideChar*>(ucs4.c_str());
            return (verb == kConstruct ? VekStringConstructUcs4(x, in, a)
                    : verb == kAssign  ? VekStringAssignUcs4(x, in)
                                       : VekStringAppendUcs4(x, in)) != nullptr;
        };
        auto on_utf16 = [=](VekString* x, VekAllocator* a) {
            const auto* in = reinterpret_cast<const VekUint16*>(utf16.c_str());
            return (verb == kConstruct ? VekStringConstructUtf16(x, in, a)
                    : verb == kAssign  ? VekStringAssignUtf16(x, in)
                                       : VekStringAppendUtf16(x, in)) != nullptr;
        };
        for (const auto& call : {std::function<bool(VekString*, VekAllocator*)>(on_ucs4),
                                 std::function<bool(VekString*, VekAllocator*)>(on_utf16)})
            facts.push_back(
                {c.name, c.start, call, c.content, c.capacity, c.trace, kNpos, c.refuse, c.fails});
    }
    return facts;
}

TEST(Encoding, ConvertsIntoTheRoomThereIsAndGrowsExactly)
{
    const std::u32string hello = U"hello", unpaired = U"A\xD800";
    // clang-format off
    CheckFacts(BothTwins({
        {"ConstructEmpty",         "",                 kConstruct, U"",          "",                       0,  ""},
        {"ConstructGrowsExactly",  "",                 kConstruct, U"A\u00e9",  "A\xC3\xA9",            3,  "+4"},
        {"ConstructRefused",       "",                 kConstruct, unpaired,     "",                       0,  "", false, true},
        {"AssignFits",             "abc/5",            kAssign,    hello,        "hello",                  5,  ""},
        {"AssignGrowsExactly",     "abc/5",            kAssign,    U"hellos",    "hellos",                 6,  "+7 -6"},
        {"AssignEmptyKeepsBlock",  "abc/5",            kAssign,    U"",          "",                       5,  ""},
        {"AssignRefusedEmpties",   "0123456789",       kAssign,    unpaired,     "",                       10, "", false, true},
        {"AssignToLongerView",     "view:view",        kAssign,    U"\u00e9",   "\xC3\xA9",             4,  "+5"},
        {"AssignEmptyToView",      "view:view",        kAssign,    U"",          "",                       0,  ""},
        {"AppendFits",             "ab/8",             kAppend,    U"c",         "abc",                    8,  ""},
        {"AppendGrowsExactly",     "abcdef/8",         kAppend,    U"\u20ac",   "abcdef\xE2\x82\xAC",  9,  "+10 -9"},
        {"AppendToView",           "view:view",        kAppend,    U"\u00e9",   "view\xC3\xA9",         6,  "+7"},
        {"AppendToEmpty",          "",                 kAppend,    U"ab",        "ab",                     2,  "+3"},
        {"AppendEmpty",            "abc",              kAppend,    U"",          "abc",                    3,  ""},
        {"AppendRefusedKeepsSize", "0123456789/12",    kAppend,    unpaired,     "0123456789",             12, "", false, true},
        {"AppendGrowthRefused",    "abcdef/8",         kAppend,    U"\u20ac",   std::nullopt,             0,  "+10!", true},
    }));
    // clang-format on
}

TEST(WriteUtf16, PassesTheDecoderThroughUpToTheFirstNul)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructCStrLen(&s, "\xC3\xA9\0b", 4, alloc);
    VekUint16 out[4] = {9, 9, 9, 9};
    VekSizeT len = 0;
    ASSERT_TRUE(VekStringWriteUtf16(&s, out, 4, &len));
    EXPECT_EQ(len, 1u);
    EXPECT_EQ(out[0], 0xE9);
    EXPECT_EQ(out[1], 0);
    ASSERT_TRUE(VekStringWriteUtf16(&s, out, 1, &len));
    EXPECT_EQ(len, 1u);
    EXPECT_EQ(out[0], 0);
    VekStringAssignCStr(&s, "\xC3");
    EXPECT_FALSE(VekStringWriteUtf16(&s, out, 4, &len));
    EXPECT_EQ(Content(s), "\xC3");
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

// ------------------------------------------------------- CoreFoundation

#if !defined(__APPLE__)

constexpr CFStringEncoding kUtf8 = kCFStringEncodingUTF8;

// What the bridge rows below do not reach: an 8-bit string's own bytes, the
// loss byte, and a buffer that ends inside a character.
TEST(CoreFoundationStandIn, ConvertsWholeCharactersOnly)
{
    CFStringRef ascii = CFStringCreateWithCString(kCFAllocatorDefault, "abc", kUtf8);
    EXPECT_STREQ(CFStringGetCStringPtr(ascii, kUtf8), "abc");
    EXPECT_EQ(CFStringCreateWithCString(kCFAllocatorDefault, "\xC3", kUtf8), nullptr);
    const UniChar units[] = {'a', 0xE9, 0xD800, 'b'};
    CFStringRef cf = CFStringCreateWithCharacters(kCFAllocatorDefault, units, 4);
    struct Case {
        UInt8 loss_byte;
        CFIndex max_len; // -1: no buffer, only measure
        CFIndex converted;
        std::string bytes;
    };
    for (const Case& c : {Case{0, -1, 2, "a\xC3\xA9"}, Case{'?', -1, 4, "a\xC3\xA9?b"},
                          Case{'?', 2, 1, "a"}, Case{'?', 9, 4, "a\xC3\xA9?b"}}) {
        UInt8 out[9] = {};
        CFIndex used = -1;
        UInt8* buffer = c.max_len < 0 ? nullptr : out;
        EXPECT_EQ(CFStringGetBytes(cf, CFRangeMake(0, 4), kUtf8, c.loss_byte, false, buffer,
                                   c.max_len, &used),
                  c.converted);
        EXPECT_EQ(used, static_cast<CFIndex>(c.bytes.size()));
        EXPECT_EQ(std::string(reinterpret_cast<char*>(out), buffer ? c.bytes.size() : 0),
                  buffer ? c.bytes : "");
    }
    CFRelease(cf);
    CFRelease(ascii);
}

// BridgeFact assigns from a CoreFoundation string made for the call: from a
// C string of the units (which must be ASCII, and so takes the direct road)
// or from the units themselves (the converting road).
Fact BridgeFact(const char* name, const char* start, bool direct, std::vector<UniChar> units,
                std::optional<std::string> content, VekSizeT capacity, const char* trace,
                bool refuse = false, bool fails = false)
{
    auto call = [=](VekString* x, VekAllocator*) {
        const std::string ascii(units.begin(), units.end());
        CFStringRef cf = direct
                             ? CFStringCreateWithCString(kCFAllocatorDefault, ascii.c_str(), kUtf8)
                             : CFStringCreateWithCharacters(kCFAllocatorDefault, units.data(),
                                                            static_cast<CFIndex>(units.size()));
        EXPECT_EQ(CFStringGetCStringPtr(cf, kUtf8) != nullptr, direct);
        const bool ok = VekStringAssignFromCFString(x, cf) != nullptr;
        CFRelease(cf);
        return ok;
    };
    return {name, start, call, content, capacity, trace, kNpos, refuse, fails};
}

TEST(Bridge, TakesItsRoad)
{
    const std::vector<UniChar> twenty(20, 'z'),
        hello_world = {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'};
    const std::string z20(20, 'z');
    // clang-format off
    CheckFacts({
        BridgeFact("DirectFits",                   "abc/8",            true,  {'h', 'i'},           "hi",               8,  ""),
        BridgeFact("DirectGrowsAsAssignment",      "abc/4",            true,  hello_world,          "hello world",      11, "+12 -5"),
        BridgeFact("DirectEmpty",                  "abc/8",            true,  {},                   "",                 8,  ""),
        BridgeFact("ConvertsInPlace",              "0123456789/64",    false, twenty,               z20,                64, ""),
        BridgeFact("GrowsExactly",                 "abc/8",            false, twenty,               z20,                20, "+21 -9"),
        BridgeFact("FromEmpty",                    "",                 false, {'c', 'a', 'f', 0xE9}, "caf\xC3\xA9",   5,  "+6"),
        BridgeFact("FromLongerView",               "view:a longer view", false, {'x'},              "x",                13, "+14"),
        BridgeFact("EmptyConvertsNothing",         "abc/8",            false, {},                   std::nullopt,       0,  ""),
        BridgeFact("NothingConverts",              "abc/8",            false, {0xD800, 'a'},        std::nullopt,       0,  ""),
        BridgeFact("GrowthRefused",                "abc/8",            false, twenty,               std::nullopt,       0,  "+21!", true),
        BridgeFact("ConversionRefused",            "abc/8",            false, {'a', 'b', 0xDC00},   "",                 8,  "", false, true),
        BridgeFact("ConversionRefusedAfterGrowth", "a",                false, {'a', 'b', 0xDC00},   "",                 2,  "+3 -2", false, true),
    });
    // clang-format on
}

#endif // !__APPLE__

TEST(Bridge, AssignsTheUtf8Form)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructCStr(&s, "old", alloc);
    CFStringRef cf = CFStringCreateWithCString(kCFAllocatorDefault, "caf\xC3\xA9 \xF0\x9D\x84\x9E",
                                               kCFStringEncodingUTF8);
    EXPECT_EQ(VekStringAssignFromCFString(&s, cf), &s);
    EXPECT_EQ(Content(s), "caf\xC3\xA9 \xF0\x9D\x84\x9E");
    CFRelease(cf);
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
