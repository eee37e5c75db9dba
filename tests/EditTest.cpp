// Facts about the editing functions that a differential test cannot state: the
// exact allocator trace, buffer identity and capacity of the cases that
// matter, and the in-place overlap cases of replacement.
#include "VekTestSupport.h"

#include <functional>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr VekSizeT kNpos = VekStringNpos;

// The replacement worker's overlap cases on "abcdef", with the replacement
// taken from the string's own bytes: (pos1, n1) replaced by (pos2, n2).
struct SelfReplaceCase {
    const char* name;
    VekSizeT pos1, n1, pos2, n2;
    const char* expected;
};

std::ostream& operator<<(std::ostream& out, const SelfReplaceCase& c)
{
    return out << c.name;
}

class SelfReplace : public testing::TestWithParam<SelfReplaceCase> {};

TEST_P(SelfReplace, InPlaceMovesNothingTwiceAndNeedsNoAllocator)
{
    const SelfReplaceCase& c = GetParam();
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "abcdef", 16, alloc);
    const char* block = s.buf;
    alloc.ClearEvents();
    ASSERT_EQ(VekStringReplaceSubstring(&s, c.pos1, c.n1, &s, c.pos2, c.n2), &s);
    EXPECT_EQ(Content(s), c.expected);
    EXPECT_EQ(s.buf, block);
    EXPECT_EQ(s.capacity, 16u);
    EXPECT_EQ(alloc.Trace(), "");
    EXPECT_TRUE(HasInvariants(s));
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

TEST_P(SelfReplace, OnGrowthCopiesStraightIntoTheNewBlock)
{
    const SelfReplaceCase& c = GetParam();
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructCStr(&s, "abcdef", alloc);
    alloc.ClearEvents();
    ASSERT_EQ(VekStringReplaceSubstring(&s, c.pos1, c.n1, &s, c.pos2, c.n2), &s);
    EXPECT_EQ(Content(s), c.expected);
    const std::string expected_trace =
        std::string(c.expected).size() > 6 ? "+13 -7" : "";
    EXPECT_EQ(alloc.Trace(), expected_trace);
    EXPECT_TRUE(HasInvariants(s));
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

INSTANTIATE_TEST_SUITE_P(
    Table, SelfReplace,
    testing::Values(SelfReplaceCase{"LongerFromTheTail", 1, 1, 3, 3, "adefcdef"},
                    SelfReplaceCase{"LongerStraddlingTheSpanEnd", 1, 2, 2, 3, "acdedef"},
                    SelfReplaceCase{"LongerFromBeforeTheSpanEnd", 3, 1, 0, 2, "abcabef"},
                    SelfReplaceCase{"ShorterFromTheTail", 0, 3, 4, 2, "efdef"},
                    SelfReplaceCase{"LongerFromPrefixAcrossTheSpan", 2, 1, 1, 4, "abbcdedef"},
                    SelfReplaceCase{"WholeByItself", 0, kNpos, 0, kNpos, "abcdef"},
                    SelfReplaceCase{"EqualLength", 1, 2, 4, 2, "aefdef"}),
    [](const auto& info) { return info.param.name; });

// Growth, the allocator limit and refusals, per family. Each row starts from
// an owned string "0123456789" of the given capacity.
struct GrowthCase {
    const char* name;
    VekSizeT capacity;
    VekSizeT max_size;
    std::function<bool(VekString*)> edit;
    const char* trace; // "" and a result of false: refused by the limit
    VekSizeT new_capacity;
};

std::ostream& operator<<(std::ostream& out, const GrowthCase& c)
{
    return out << c.name;
}

class Growth : public testing::TestWithParam<GrowthCase> {};

TEST_P(Growth, FollowsTheGrowthRuleOrChangesNothing)
{
    const GrowthCase& c = GetParam();
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "0123456789", c.capacity, alloc);
    alloc.SetMaxSize(c.max_size);
    alloc.ClearEvents();
    const Snapshot before = Snapshot::Of(s);
    const bool ok = c.edit(&s);
    EXPECT_EQ(alloc.Trace(), c.trace);
    if (c.new_capacity == 0) {
        EXPECT_FALSE(ok);
        EXPECT_EQ(Snapshot::Of(s), before);
    } else {
        EXPECT_TRUE(ok);
        EXPECT_EQ(s.capacity, c.new_capacity);
        EXPECT_TRUE(HasInvariants(s));
    }
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

const std::string kNine(9, '9');
const std::string kTwentyFive(25, 'z');

INSTANTIATE_TEST_SUITE_P(
    Table, Growth,
    testing::Values(
        GrowthCase{"AppendOneDoubles", 10, 1000, [](VekString* s) { return VekStringAppendChar(s, 'x') != nullptr; }, "+21 -11", 20},
        GrowthCase{"AppendManyTakesWhatItNeeds", 10, 1000, [](VekString* s) { return VekStringAppendCStr(s, kTwentyFive.c_str()) != nullptr; }, "+36 -11", 35},
        GrowthCase{"AppendSelfDoubles", 10, 1000, [](VekString* s) { return VekStringAppend(s, s) != nullptr; }, "+21 -11", 20},
        GrowthCase{"AppendSelfFitsInPlace", 20, 1000, [](VekString* s) { return VekStringAppend(s, s) != nullptr; }, "", 20},
        GrowthCase{"DoubledCapacityRefusedByTheLimit", 16, 30, [](VekString* s) { return VekStringAppendN(s, 7, 'x') != nullptr; }, "", 0},
        GrowthCase{"LimitIsStrict", 10, 21, [](VekString* s) { return VekStringAppendChar(s, 'x') != nullptr; }, "+21 -11", 20},
        GrowthCase{"LimitAtTheDoubledCapacity", 10, 20, [](VekString* s) { return VekStringAppendChar(s, 'x') != nullptr; }, "", 0},
        GrowthCase{"AssignGrowsToTheLargerOfLengthAndDouble", 10, 1000, [](VekString* s) { return VekStringAssignCStr(s, "0123456789a") != nullptr; }, "+21 -11", 20},
        GrowthCase{"AssignShorterKeepsTheBlock", 10, 1000, [](VekString* s) { return VekStringAssignCStr(s, "abc") != nullptr; }, "", 10},
        GrowthCase{"InsertGrows", 10, 1000, [](VekString* s) { return VekStringInsertCStr(s, 0, kTwentyFive.c_str()) != nullptr; }, "+36 -11", 35},
        GrowthCase{"ReplaceGrows", 10, 1000, [](VekString* s) { return VekStringReplaceCStr(s, 1, 1, "xyz") != nullptr; }, "+21 -11", 20},
        GrowthCase{"ResizeGrows", 10, 1000, [](VekString* s) { return VekStringResize(s, 12, "-"); }, "+21 -11", 20},
        GrowthCase{"AppendNNearNposIsRefused", 10, kNpos, [](VekString* s) { return VekStringAppendN(s, kNpos - 5, 'x') != nullptr; }, "", 0},
        GrowthCase{"InsertNearNposIsRefused", 10, kNpos, [](VekString* s) { return VekStringInsertCStrLen(s, 0, "", kNpos - 5) != nullptr; }, "", 0},
        GrowthCase{"ReplaceByOutsideByteInPlace", 10, 1000, [](VekString* s) { return VekStringReplaceChar(s, 1, 3, 'Z') != nullptr && Content(*s) == "0Z456789"; }, "", 10}),
    [](const auto& info) { return info.param.name; });

TEST(Growth, AllocationRefusedLeavesEverythingAndCallsNothingElse)
{
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "abc", 3, alloc);
    const Snapshot before = Snapshot::Of(s);
    alloc.RefuseAll();
    alloc.ClearEvents();
    EXPECT_EQ(VekStringAppendChar(&s, 'd'), nullptr);
    EXPECT_EQ(VekStringInsertChar(&s, 0, 'd'), nullptr);
    EXPECT_EQ(VekStringAssignCStr(&s, "abcd"), nullptr);
    EXPECT_FALSE(VekStringResize(&s, 9, "x"));
    EXPECT_EQ(alloc.Trace(), "+7! +7! +7! +10!");
    EXPECT_EQ(Snapshot::Of(s), before);
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Assign, FromNothingAndOntoNothing)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructDefault(&s, alloc);
    ASSERT_EQ(VekStringAssignCStr(&s, "hello"), &s);
    EXPECT_EQ(alloc.Trace(), "+6");
    EXPECT_EQ(s.capacity, 5u);
    const char* block = s.buf;
    ASSERT_EQ(VekStringAssignCStrLen(&s, nullptr, 0), &s);
    EXPECT_EQ(s.buf, block);
    EXPECT_EQ(s.capacity, 5u);
    EXPECT_EQ(s.buf[0], '\0');
    ASSERT_EQ(VekStringAssign(&s, &s), &s);
    VekStringDestruct(&s);

    // The one-byte form asks for capacity 1 and respects the limit.
    alloc.ClearEvents();
    alloc.SetMaxSize(2);
    VekStringConstructDefault(&s, alloc);
    ASSERT_EQ(VekStringAssignChar(&s, 'q'), &s);
    EXPECT_EQ(Content(s), "q");
    EXPECT_EQ(s.capacity, 1u);
    VekStringDestruct(&s);
    alloc.SetMaxSize(1);
    VekStringConstructDefault(&s, alloc);
    EXPECT_EQ(VekStringAssignChar(&s, 'q'), nullptr);
    EXPECT_EQ(alloc.Trace(), "+2 -2");
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Views, AreCopiedBeforeAnyWriteAndNeverReleased)
{
    RecordingAllocator alloc;
    ReadOnlyBytes bytes("0123456789");
    const std::function<bool(VekString*)> edits[] = {
        [](VekString* s) { return VekStringEraseSubstring(s, 2, 3) != nullptr; },
        [](VekString* s) { return VekStringAssignSubstring(s, s, 1, 2) != nullptr; },
        [](VekString* s) { return VekStringAppendN(s, 0, 'x') != nullptr; },
        [](VekString* s) { return VekStringInsertCStrLen(s, 3, "", 0) != nullptr; },
        [](VekString* s) { return VekStringReplaceSubstring(s, 0, 1, s, 5, 5) != nullptr; },
    };
    const char* expected[] = {"0156789", "12", "0123456789", "0123456789", "56789123456789"};
    const char* traces[] = {"+8", "+3", "+11", "+11", "+15"};
    for (size_t i = 0; i < std::size(edits); ++i) {
        SCOPED_TRACE(i);
        VekString s = MakeView(bytes, alloc);
        alloc.ClearEvents();
        ASSERT_TRUE(edits[i](&s));
        EXPECT_EQ(alloc.Trace(), traces[i]);
        EXPECT_EQ(s.capacity, s.size);
        EXPECT_TRUE(HasInvariants(s));
        EXPECT_EQ(Content(s), expected[i]);
        VekStringDestruct(&s);
    }

    // Edits that only shorten a view keep it a view and call nothing.
    VekString s = MakeView(bytes, alloc);
    alloc.ClearEvents();
    EXPECT_EQ(VekStringEraseSubstring(&s, 6, kNpos), &s);
    EXPECT_TRUE(VekStringResize(&s, 4, nullptr));
    EXPECT_EQ(VekStringReplaceCStrLen(&s, 0, kNpos, "", 0), &s);
    EXPECT_EQ(s.buf, bytes.data());
    EXPECT_EQ(s.size, 0u);
    EXPECT_EQ(alloc.Trace(), "");

    // A refused copy leaves the view as it was.
    s = MakeView(bytes, alloc);
    alloc.RefuseAll();
    EXPECT_EQ(VekStringEraseSubstring(&s, 2, 3), nullptr);
    EXPECT_EQ(s.buf, bytes.data());
    EXPECT_EQ(s.size, 10u);
    EXPECT_EQ(alloc.Trace(), "+8!");
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Positions, BeyondTheEndFailWithoutReadingTheOperand)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructCStr(&s, "abc", alloc);
    const Snapshot before = Snapshot::Of(s);
    const char* unreadable = reinterpret_cast<const char*>(16); // never dereferenced
    EXPECT_EQ(VekStringReplaceCStr(&s, 4, 0, unreadable), nullptr);
    EXPECT_EQ(VekStringInsertCStr(&s, 4, unreadable), nullptr);
    EXPECT_EQ(VekStringReplaceSubstring(&s, 0, 1, &s, 4, 0), nullptr);
    EXPECT_EQ(VekStringAssignSubstring(&s, &s, 4, 0), nullptr);
    EXPECT_EQ(VekStringAppendSubstring(&s, &s, 4, 0), nullptr);
    EXPECT_EQ(VekStringEraseSubstring(&s, 4, 0), nullptr);
    EXPECT_EQ(Snapshot::Of(s), before);
    EXPECT_EQ(alloc.Trace(), "+4");
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Iterators, PointIntoTheBufferThatHoldsTheContentAfterwards)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructCStr(&s, "abcde", alloc);
    // Inserting a byte of the string itself into a full string: it grows, and
    // the returned iterator is in the new block at the same offset.
    VekStringIterator it = VekStringInsert(&s, s.buf + 1, s.buf + 4);
    ASSERT_NE(it, nullptr);
    EXPECT_EQ(it, s.buf + 1);
    EXPECT_EQ(Content(s), "aebcde");
    it = VekStringErase(&s, s.buf + 2);
    EXPECT_EQ(it, s.buf + 2);
    EXPECT_EQ(*it, 'c');
    it = VekStringEraseRange(&s, s.buf + 1, s.buf + 3);
    EXPECT_EQ(it, s.buf + 1);
    EXPECT_EQ(Content(s), "ade");
    EXPECT_TRUE(VekStringInsertRange(&s, s.buf + 3, s.buf, s.buf + 3));
    EXPECT_EQ(Content(s), "adeade");
    alloc.RefuseAll();
    VekStringResize(&s, 10, "-");
    EXPECT_EQ(VekStringInsert(&s, s.buf, "x"), nullptr);
    EXPECT_FALSE(VekStringInsertRange(&s, s.buf, "xyz", "xyz" + 3));
    EXPECT_EQ(Content(s), "adeade----");
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
