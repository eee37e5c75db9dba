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

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;

// How a row's string starts: empty on the shared byte, owned with exactly the
// given capacity, or a read-only view of the content. kConstruct rows make
// the string with the call itself.
struct Start {
    enum Kind { kConstruct, kEmpty, kOwned, kView } kind;
    const char* content;
    VekSizeT capacity;
};

// RowString is a row's string, and the bytes it views.
class RowString {
public:
    RowString(const Start& start, VekAllocator* a) : bytes_(start.content)
    {
        if (start.kind == Start::kOwned)
            MakeOwned(&s, start.content, start.capacity, a);
        else if (start.kind == Start::kView)
            s = MakeView(bytes_, a);
        else
            VekStringConstructDefault(&s, a);
    }
    ~RowString() { VekStringDestruct(&s); }

    VekString s;

private:
    ReadOnlyBytes bytes_;
};

constexpr Start kEmpty{Start::kEmpty, "", 0};

constexpr Start Owned(const char* content, VekSizeT capacity)
{
    return {Start::kOwned, content, capacity};
}

constexpr Start View(const char* content)
{
    return {Start::kView, content, 0};
}

struct Outcome {
    bool succeeds;
    const char* content; // nullptr: not fixed after this failure
    VekSizeT capacity;
    const char* trace;
};

// RunRow applies call to the row's string under a fresh allocator log.
void RunRow(const Start& start, bool refuse, const Outcome& expected,
            const std::function<VekString*(VekString*, VekAllocator*)>& call)
{
    RecordingAllocator alloc;
    {
        RowString row(start, alloc);
        alloc.ClearEvents();
        if (refuse)
            alloc.RefuseAll();
        VekString* result = call(&row.s, alloc);
        EXPECT_EQ(result, expected.succeeds ? &row.s : nullptr);
        if (expected.content != nullptr) {
            EXPECT_EQ(Content(row.s), expected.content);
        }
        EXPECT_EQ(row.s.capacity, expected.capacity);
        EXPECT_EQ(alloc.Trace(), expected.trace);
        EXPECT_TRUE(HasInvariants(row.s));
        EXPECT_EQ(row.s.allocator, alloc.get());
    }
    EXPECT_TRUE(alloc.IsClean());
}

// ------------------------------------------------------------ UCS-4, UTF-16

struct ConversionCase {
    const char* name;
    Start start;
    bool append;
    std::vector<VekWideChar> text; // BMP only, so UTF-16 is unit for unit
    bool refuse;
    Outcome expected;
};

std::ostream& operator<<(std::ostream& out, const ConversionCase& c)
{
    return out << c.name;
}

class Conversion : public testing::TestWithParam<ConversionCase> {};

TEST_P(Conversion, Ucs4)
{
    const ConversionCase& c = GetParam();
    std::vector<VekWideChar> ucs4 = c.text;
    ucs4.push_back(0);
    RunRow(c.start, c.refuse, c.expected, [&](VekString* x, VekAllocator* a) {
        if (c.start.kind == Start::kConstruct)
            return VekStringConstructUcs4(x, ucs4.data(), a);
        return c.append ? VekStringAppendUcs4(x, ucs4.data()) : VekStringAssignUcs4(x, ucs4.data());
    });
}

TEST_P(Conversion, Utf16)
{
    const ConversionCase& c = GetParam();
    std::vector<VekUint16> utf16(c.text.begin(), c.text.end());
    utf16.push_back(0);
    RunRow(c.start, c.refuse, c.expected, [&](VekString* x, VekAllocator* a) {
        if (c.start.kind == Start::kConstruct)
            return VekStringConstructUtf16(x, utf16.data(), a);
        return c.append ? VekStringAppendUtf16(x, utf16.data())
                        : VekStringAssignUtf16(x, utf16.data());
    });
}

constexpr Start kConstruct{Start::kConstruct, "", 0};
const std::vector<VekWideChar> kHello = {'h', 'e', 'l', 'l', 'o'};
const std::vector<VekWideChar> kHellos = {'h', 'e', 'l', 'l', 'o', 's'};
const std::vector<VekWideChar> kEuro = {0x20AC};
const std::vector<VekWideChar> kUnpaired = {'A', 0xD800};

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, Conversion, testing::Values(
    //             name                      start                     append text        refuse  expected
    ConversionCase{"ConstructEmpty",         kConstruct,               false, {},           false, {true, "", 0, ""}},
    ConversionCase{"ConstructGrowsExactly",  kConstruct,               false, {0x41, 0xE9}, false, {true, "A\xC3\xA9", 3, "+4"}},
    ConversionCase{"ConstructRefused",       kConstruct,               false, kUnpaired,    false, {false, "", 0, ""}},
    ConversionCase{"AssignFits",             Owned("abc", 5),          false, kHello,       false, {true, "hello", 5, ""}},
    ConversionCase{"AssignGrowsExactly",     Owned("abc", 5),          false, kHellos,      false, {true, "hellos", 6, "+7 -6"}},
    ConversionCase{"AssignEmptyKeepsBlock",  Owned("abc", 5),          false, {},           false, {true, "", 5, ""}},
    ConversionCase{"AssignRefusedEmpties",   Owned("0123456789", 10),  false, kUnpaired,    false, {false, "", 10, ""}},
    ConversionCase{"AssignGrowthRefused",    Owned("abc", 5),          false, kHellos,      true,  {false, nullptr, 5, "+7!"}},
    ConversionCase{"AssignToLongerView",     View("view"),             false, {0xE9},       false, {true, "\xC3\xA9", 4, "+5"}},
    ConversionCase{"AssignEmptyToView",      View("view"),             false, {},           false, {true, "", 0, ""}},
    ConversionCase{"AppendFits",             Owned("ab", 8),           true,  {'c'},        false, {true, "abc", 8, ""}},
    ConversionCase{"AppendGrowsExactly",     Owned("abcdef", 8),       true,  kEuro,        false, {true, "abcdef\xE2\x82\xAC", 9, "+10 -9"}},
    ConversionCase{"AppendToView",           View("view"),             true,  {0xE9},       false, {true, "view\xC3\xA9", 6, "+7"}},
    ConversionCase{"AppendToEmpty",          kEmpty,                   true,  {'a', 'b'},   false, {true, "ab", 2, "+3"}},
    ConversionCase{"AppendEmpty",            Owned("abc", 3),          true,  {},           false, {true, "abc", 3, ""}},
    ConversionCase{"AppendRefusedKeepsSize", Owned("0123456789", 12),  true,  kUnpaired,    false, {false, "0123456789", 12, ""}},
    ConversionCase{"AppendGrowthRefused",    Owned("abcdef", 8),       true,  kEuro,        true,  {false, "abcdef", 8, "+10!"}}),
    [](const auto& info) { return info.param.name; });
// clang-format on

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

struct BridgeCase {
    const char* name;
    Start start;
    bool direct; // made from a C string of the units, which must be ASCII
    std::vector<UniChar> units;
    bool refuse;
    Outcome expected;
};

std::ostream& operator<<(std::ostream& out, const BridgeCase& c)
{
    return out << c.name;
}

class Bridge : public testing::TestWithParam<BridgeCase> {};

TEST_P(Bridge, TakesItsRoad)
{
    const BridgeCase& c = GetParam();
    CFStringRef cf = nullptr;
    if (c.direct) {
        const std::string ascii(c.units.begin(), c.units.end());
        cf = CFStringCreateWithCString(kCFAllocatorDefault, ascii.c_str(), kUtf8);
        ASSERT_NE(CFStringGetCStringPtr(cf, kUtf8), nullptr);
    } else {
        const CFIndex n = static_cast<CFIndex>(c.units.size());
        cf = CFStringCreateWithCharacters(kCFAllocatorDefault, c.units.data(), n);
    }
    RunRow(c.start, c.refuse, c.expected,
           [&](VekString* x, VekAllocator*) { return VekStringAssignFromCFString(x, cf); });
    CFRelease(cf);
}

const std::vector<UniChar> kTwenty(20, 'z');
const char* const kTwentyBytes = "zzzzzzzzzzzzzzzzzzzz";
const std::vector<UniChar> kHelloWorld = {'h', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'};

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, Bridge, testing::Values(
    //         name                            start                     direct units                refuse  expected
    BridgeCase{"DirectFits",                   Owned("abc", 8),          true,  {'h', 'i'},          false, {true, "hi", 8, ""}},
    BridgeCase{"DirectGrowsAsAssignment",      Owned("abc", 4),          true,  kHelloWorld,         false, {true, "hello world", 11, "+12 -5"}},
    BridgeCase{"DirectEmpty",                  Owned("abc", 8),          true,  {},                  false, {true, "", 8, ""}},
    BridgeCase{"ConvertsInPlace",              Owned("0123456789", 64),  false, kTwenty,             false, {true, kTwentyBytes, 64, ""}},
    BridgeCase{"GrowsExactly",                 Owned("abc", 8),          false, kTwenty,             false, {true, kTwentyBytes, 20, "+21 -9"}},
    BridgeCase{"FromEmpty",                    kEmpty,                   false, {'c', 'a', 'f', 0xE9}, false, {true, "caf\xC3\xA9", 5, "+6"}},
    BridgeCase{"FromLongerView",               View("a longer view"),    false, {'x'},               false, {true, "x", 13, "+14"}},
    BridgeCase{"EmptyConvertsNothing",         Owned("abc", 8),          false, {},                  false, {false, "abc", 8, ""}},
    BridgeCase{"NothingConverts",              Owned("abc", 8),          false, {0xD800, 'a'},       false, {false, "abc", 8, ""}},
    BridgeCase{"GrowthRefused",                Owned("abc", 8),          false, kTwenty,             true,  {false, "abc", 8, "+21!"}},
    BridgeCase{"ConversionRefused",            Owned("abc", 8),          false, {'a', 'b', 0xDC00},  false, {false, "", 8, ""}},
    BridgeCase{"ConversionRefusedAfterGrowth", Owned("a", 1),            false, {'a', 'b', 0xDC00},  false, {false, "", 2, "+3 -2"}}),
    [](const auto& info) { return info.param.name; });
// clang-format on

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
