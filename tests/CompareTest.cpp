// Facts about equality, ordering and the hash that the operation model does
// not reach: equal-length pairs that differ in exactly the piece one step of
// the word-wise equality looks at (or only in case), compared also as views
// that end where their page does, and a length difference beyond 32 bits.
#include "VekTestSupport.h"

namespace {

using vektest::MakeView;
using vektest::ReadOnlyBytes;

constexpr VekSizeT kNpos = VekStringNpos;

struct PairCase {
    std::string x, y;
    int order;  // the sign of the comparison; 0 means equal
    bool exact; // the result is the length difference itself
};

TEST(Compare, EqualityAndOrderAgreeInEveryForm)
{
    const PairCase cases[] = {
        {"", "", 0, true},
        {"abc", "abc", 0, true},
        {"ab", "abc", -1, true},
        {"abc", "ab", 1, true},
        {"b", "abc", 1, false},
        {"abc", "abd", -1, false},
        {"\x80", "a", 1, false},
        {"\xff", "\x01", 1, false},
        {std::string("a\0", 2), "a", 1, true},
        {std::string("a\0b", 3), std::string("a\0b", 3), 0, true},
        {std::string("a\0b", 3), std::string("a\0c", 3), -1, false},
        // Lengths that equality compares in pieces (single bytes, 4-byte
        // and 8-byte words), each differing where only one piece looks.
        {"abc", "aBc", 1, false},
        {"abcde", "abcdf", -1, false},
        {"abcdefghij", "abcdefghiJ", 1, false},
        {"abcdefghijklmnopqrst", "abcdefghijklmnopqrsT", 1, false},
        {"abcdefghijklmnopqrstuvwxyz012345", "abcdefghijklMnopqrstuvwxyz012345", 1, false},
        {"abcdefghijklmnopqrstuvwxyz012345", "abcdefghijklmnopqrstUvwxyz012345", 1, false},
        {std::string(40, 'a'), std::string(39, 'a') + "b", -1, false},
    };
    for (const PairCase& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.x << "\" vs \"" << c.y << '"');
        ReadOnlyBytes bytes(c.x), other(c.y);
        VekString owned;
        VekStringConstructCStrLen(&owned, c.x.data(), c.x.size(), VekAllocatorGetDefault());
        const VekString y = MakeView(other, nullptr);
        const VekString view = MakeView(bytes, nullptr);
        for (const VekString* x : std::initializer_list<const VekString*>{&owned, &view}) {
            const bool equal = c.order == 0;
            EXPECT_EQ(VekStringEqual(x, &y), equal);
            EXPECT_EQ(VekStringEqualCStrLen(x, c.y.data(), c.y.size()), equal);
            EXPECT_EQ(VekStringEqualSubstring(x, 0, kNpos, &y), equal);
            EXPECT_EQ(VekStringEqualSubstringCStrLen(x, 0, kNpos, c.y.data(), c.y.size()), equal);
            EXPECT_EQ(VekStringHash(x) == VekStringHash(&y), equal)
                << "hashes of these rows differ";
            // Folded in 32-byte blocks, the last ending where the views do.
            const bool folded_equal = vektest::Lower(c.x) == vektest::Lower(c.y);
            EXPECT_EQ(VekStringEqualIgnoringCaseAscii(x, &y), folded_equal);
            EXPECT_EQ(VekStringCompareIgnoringCaseAscii(x, &y) == 0, folded_equal);
            for (const int r :
                 {VekStringCompare(x, &y), VekStringCompareCStrLen(x, c.y.data(), c.y.size())}) {
                EXPECT_EQ(vektest::Sign(r), c.order);
                if (c.exact) {
                    EXPECT_EQ(r, static_cast<int>(c.x.size()) - static_cast<int>(c.y.size()));
                }
            }
        }
        VekStringDestruct(&owned);
    }
}

TEST(Compare, HugeLengthDifferenceKeepsItsSign)
{
    // The long operand's size is faked: the common prefix is empty, so none
    // of its bytes is read.
    const VekString longer{nullptr, vekStringEmpty_, (VekSizeT{1} << 32) + 1, 0};
    const VekString empty{nullptr, vekStringEmpty_, 0, 0};
    EXPECT_GT(VekStringCompare(&longer, &empty), 0);
    EXPECT_LT(VekStringCompare(&empty, &longer), 0);
    EXPECT_GT(VekStringCompareIgnoringCaseAscii(&longer, &empty), 0);
    EXPECT_LT(VekStringCompareIgnoringCaseAscii(&empty, &longer), 0);
}

} // namespace
