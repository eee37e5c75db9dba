// Facts about equality, ordering and the hash, each family in one table.
#include "VekTestSupport.h"

#include <deque>
#include <random>

#include "VekStringHash.h"

namespace {

using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;

constexpr VekSizeT kNpos = VekStringNpos;

// Strings over a recording allocator, destroyed (and checked) at scope end.
class Strings {
public:
    VekString* Make(std::string_view content)
    {
        strings_.emplace_back();
        VekStringConstructCStrLen(&strings_.back(), content.data(), content.size(), alloc_);
        return &strings_.back();
    }
    ~Strings()
    {
        for (VekString& s : strings_)
            VekStringDestruct(&s);
        EXPECT_TRUE(alloc_.IsClean());
    }

private:
    RecordingAllocator alloc_;
    std::deque<VekString> strings_;
};

struct EqualCase {
    std::string x;
    std::string y;
    bool equal;
};

TEST(Equal, ComparesLengthThenBytes)
{
    const EqualCase cases[] = {
        {"", "", true},
        {"abc", "abc", true},
        {"abc", "abd", false},
        {"abc", "ab", false},
        {std::string("a\0b", 3), std::string("a\0b", 3), true},
        {std::string("a\0b", 3), std::string("a\0c", 3), false},
        {"\xff", "\x7f", false},
    };
    Strings strings;
    for (const EqualCase& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.x << "\" vs \"" << c.y << '"');
        VekString* x = strings.Make(c.x);
        VekString* y = strings.Make(c.y);
        EXPECT_EQ(VekStringEqual(x, y), c.equal);
        EXPECT_EQ(VekStringEqualCStrLen(x, c.y.data(), c.y.size()), c.equal);
        EXPECT_EQ(VekStringEqualSubstring(x, 0, kNpos, y), c.equal);
        EXPECT_EQ(VekStringEqualSubstringCStrLen(x, 0, kNpos, c.y.data(), c.y.size()), c.equal);
    }
}

TEST(Equal, CStrFormsMeasureWithStrlen)
{
    Strings strings;
    VekString* anb = strings.Make(std::string("a\0b", 3));
    EXPECT_FALSE(VekStringEqualCStr(anb, "a"));
    EXPECT_TRUE(VekStringEqualCStrLen(anb, "a\0b", 3));
    EXPECT_TRUE(VekStringEqualCStr(strings.Make(""), ""));
    EXPECT_FALSE(VekStringEqualCStr(strings.Make("x"), ""));
    EXPECT_TRUE(VekStringEqualSubstringCStr(strings.Make("hello"), 1, 3, "ell"));
}

TEST(Equal, OwnershipDoesNotMatter)
{
    Strings strings;
    RecordingAllocator alloc;
    VekString owned_empty;
    vektest::MakeOwned(&owned_empty, "", 0, alloc);
    ASSERT_TRUE(VekStringReserve(&owned_empty, 8));
    EXPECT_TRUE(VekStringEqual(strings.Make(""), &owned_empty));
    ReadOnlyBytes bytes("view");
    VekString view = MakeView(bytes, alloc);
    EXPECT_TRUE(VekStringEqual(strings.Make("view"), &view));
    EXPECT_EQ(VekStringHash(strings.Make("view")), VekStringHash(&view));
    VekStringDestruct(&owned_empty);
    EXPECT_TRUE(alloc.IsClean());
}

struct SpanCase {
    VekSizeT pos;
    VekSizeT n;
    std::string y;
    bool equal;
};

TEST(EqualSubstring, ClampsPositionAndCount)
{
    const SpanCase cases[] = {
        {2, kNpos, "llo", true}, {2, 2, "ll", true},   {2, 2, "llo", false}, {5, 3, "", true},
        {6, 0, "", true},        {kNpos, 9, "", true}, {9, 9, "o", false},   {0, 0, "", true},
    };
    Strings strings;
    VekString* x = strings.Make("hello");
    for (const SpanCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "pos " << c.pos << " n " << c.n << " y " << c.y);
        EXPECT_EQ(VekStringEqualSubstring(x, c.pos, c.n, strings.Make(c.y)), c.equal);
        EXPECT_EQ(VekStringEqualSubstringCStr(x, c.pos, c.n, c.y.c_str()), c.equal);
        EXPECT_EQ(VekStringEqualSubstringCStrLen(x, c.pos, c.n, c.y.data(), c.y.size()), c.equal);
    }
}

int Sign(int v)
{
    return (v > 0) - (v < 0);
}

struct CompareCase {
    std::string x;
    std::string y;
    int sign;
    bool exact; // the value itself is the length difference
};

TEST(Compare, OrdersLikeMemcmpThenByLength)
{
    const CompareCase cases[] = {
        {"", "", 0, true},       {"ab", "abc", -1, true},
        {"a", "abc", -1, true},  {"abc", "ab", 1, true},
        {"b", "abc", 1, false},  {"abc", "abd", -1, false},
        {"\x80", "a", 1, false}, {"\xff", "\x01", 1, false},
        {"abc", "abc", 0, true}, {std::string("a\0", 2), "a", 1, true},
    };
    Strings strings;
    for (const CompareCase& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.x << "\" vs \"" << c.y << '"');
        VekString* x = strings.Make(c.x);
        const int results[] = {
            VekStringCompare(x, strings.Make(c.y)),
            VekStringCompareCStrLen(x, c.y.data(), c.y.size()),
            VekStringCompareCStr(x, c.y.c_str()),
        };
        for (int r : results) {
            EXPECT_EQ(Sign(r), c.sign);
            if (c.exact) {
                EXPECT_EQ(r, static_cast<int>(c.x.size()) - static_cast<int>(c.y.size()));
            }
        }
    }
}

TEST(Compare, HugeLengthDifferenceKeepsItsSign)
{
    // The long operand's size is faked: the common prefix is empty, so none
    // of its bytes is read.
    RecordingAllocator alloc;
    VekString longer{alloc, vekStringEmpty_, (VekSizeT{1} << 32) + 1, 0};
    VekString empty{alloc, vekStringEmpty_, 0, 0};
    EXPECT_GT(VekStringCompare(&longer, &empty), 0);
    EXPECT_LT(VekStringCompare(&empty, &longer), 0);
}

struct HashCase {
    std::string content;
    VekSizeT hash;
};

TEST(Hash, IsTimes33PlusSignedByteFromZero)
{
    const HashCase cases[] = {
        {"", 0}, {"abc", 108966}, {"\xff", kNpos}, {"a\xff", 3200}, {"a", 97},
    };
    Strings strings;
    for (const HashCase& c : cases)
        EXPECT_EQ(VekStringHash(strings.Make(c.content)), c.hash) << c.content;
}

// PlainHash is the definition, one byte a step: the oracle for the kernels,
// which take the bytes 8 or 16 at a time.
VekSizeT PlainHash(std::string_view bytes)
{
    VekSizeT hash = 0;
    for (char b : bytes)
        hash = hash * 33 + static_cast<VekSizeT>(static_cast<int64_t>(static_cast<signed char>(b)));
    return hash;
}

// Every length up to four blocks (so every split into blocks, words and a
// masked last word), a few long runs, and the extreme bytes 0x7f and 0x80,
// which make the largest and smallest partial sums inside the kernels; each
// at several alignments, through every kernel this build has.
TEST(Hash, EveryKernelMatchesThePlainLoop)
{
    std::mt19937 rng(33);
    auto random_bytes = [&rng](std::size_t len) {
        std::string out(len, '\0');
        for (char& c : out)
            c = static_cast<char>(rng());
        return out;
    };
    std::vector<std::string> inputs;
    for (std::size_t len = 0; len <= 64; ++len) {
        inputs.push_back(random_bytes(len));
        inputs.push_back(std::string(len, '\x7f'));
        inputs.push_back(std::string(len, '\x80'));
    }
    for (std::size_t len : {1000, 4099, 65536 + 13})
        inputs.push_back(random_bytes(len));

    Strings strings;
    for (const std::string& input : inputs) {
        SCOPED_TRACE(testing::Message() << "length " << input.size());
        const VekSizeT expected = PlainHash(input);
        EXPECT_EQ(VekStringHash(strings.Make(input)), expected);
        for (std::size_t shift : {0, 1, 7, 13}) {
            const std::string padded = std::string(shift, '#') + input;
            const char* bytes = padded.data() + shift;
            EXPECT_EQ(StringHashPortable(bytes, input.size()), expected);
#ifdef VEK_HASH_HAVE_SSE2
            EXPECT_EQ(StringHashSse2(bytes, input.size()), expected);
#endif
        }
    }
}

} // namespace
