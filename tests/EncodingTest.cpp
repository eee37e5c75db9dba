// Facts about the conversions into and out of a string: UCS-4 and UTF-16
// assignment and appending (each row runs through both twins), UTF-16
// output, and the CoreFoundation bridge on both of its roads. Each row states
// the result, the content, the capacity and the exact allocator trace; after
// every call, failed ones too, the string keeps its invariants.
#include "VekTestSupport.h"

#include <functional>
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
constexpr Start kEmpty{Start::kEmpty, "", 0};
const std::vector<VekWideChar> kHello = {'h', 'e', 'l', 'l', 'o'};
const std::vector<VekWideChar> kHellos = {'h', 'e', 'l', 'l', 'o', 's'};
const std::vector<VekWideChar> kEuro = {0x20AC};
const std::vector<VekWideChar> kUnpaired = {'A', 0xD800};

INSTANTIATE_TEST_SUITE_P(
    Table, Conversion,
    testing::Values(
        ConversionCase{"ConstructEmpty", kConstruct, false, {}, false, {true, "", 0, ""}},
        ConversionCase{"ConstructGrowsExactly",
                       kConstruct,
                       false,
                       {0x41, 0xE9},
                       false,
                       {true, "A\xC3\xA9", 3, "+4"}},
        ConversionCase{"ConstructRefused", kConstruct, false, kUnpaired, false, {false, "", 0, ""}},
        ConversionCase{
            "AssignFits", {Start::kOwned, "abc", 5}, false, kHello, false, {true, "hello", 5, ""}},
        ConversionCase{"AssignGrowsExactly",
                       {Start::kOwned, "abc", 5},
                       false,
                       kHellos,
                       false,
                       {true, "hellos", 6, "+7 -6"}},
        ConversionCase{"AssignEmptyKeepsBlock",
                       {Start::kOwned, "abc", 5},
                       false,
                       {},
                       false,
                       {true, "", 5, ""}},
        ConversionCase{"AssignRefusedEmpties",
                       {Start::kOwned, "0123456789", 10},
                       false,
                       kUnpaired,
                       false,
                       {false, "", 10, ""}},
        ConversionCase{"AssignGrowthRefused",
                       {Start::kOwned, "abc", 5},
                       false,
                       kHellos,
                       true,
                       {false, nullptr, 5, "+7!"}},
        ConversionCase{"AssignToLongerView",
                       {Start::kView, "view", 0},
                       false,
                       {0xE9},
                       false,
                       {true, "\xC3\xA9", 4, "+5"}},
        ConversionCase{
            "AssignEmptyToView", {Start::kView, "view", 0}, false, {}, false, {true, "", 0, ""}},
        ConversionCase{
            "AppendFits", {Start::kOwned, "ab", 8}, true, {'c'}, false, {true, "abc", 8, ""}},
        ConversionCase{"AppendGrowsExactly",
                       {Start::kOwned, "abcdef", 8},
                       true,
                       kEuro,
                       false,
                       {true, "abcdef\xE2\x82\xAC", 9, "+10 -9"}},
        ConversionCase{"AppendToView",
                       {Start::kView, "view", 0},
                       true,
                       {0xE9},
                       false,
                       {true, "view\xC3\xA9", 6, "+7"}},
        ConversionCase{"AppendToEmpty", kEmpty, true, {'a', 'b'}, false, {true, "ab", 2, "+3"}},
        ConversionCase{
            "AppendEmpty", {Start::kOwned, "abc", 3}, true, {}, false, {true, "abc", 3, ""}},
        ConversionCase{"AppendRefusedKeepsSize",
                       {Start::kOwned, "0123456789", 12},
                       true,
                       kUnpaired,
                       false,
                       {false, "0123456789", 12, ""}},
        ConversionCase{"AppendGrowthRefused",
                       {Start::kOwned, "abcdef", 8},
                       true,
                       kEuro,
                       true,
                       {false, "abcdef", 8, "+10!"}}),
    [](const auto& info) { return info.param.name; });

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

} // namespace
