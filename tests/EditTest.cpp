// Facts about the editing functions that the differential test cannot state:
// the exact allocator trace and capacity of the cases that matter, the
// in-place overlap cases of replacement, views, and refused positions.
#include "VekTestSupport.h"

namespace {

using vektest::CheckFacts;
using vektest::Content;
using vektest::RecordingAllocator;

constexpr VekSizeT kNpos = VekStringNpos;

// Replaces (pos1, n1) of the string by its own bytes (pos2, n2).
auto SelfReplace(VekSizeT pos1, VekSizeT n1, VekSizeT pos2, VekSizeT n2)
{
    return [=](VekString* s, VekAllocator*) {
        return VekStringReplaceSubstring(s, pos1, n1, s, pos2, n2) != nullptr;
    };
}

TEST(Edit, ReplacementFromTheStringItself)
{
    // clang-format off
    CheckFacts({
        // In place: every overlap case, no allocator call.
        {"LongerFromTheTail", "abcdef/16", SelfReplace(1, 1, 3, 3), "adefcdef", 16, ""},
        {"LongerStraddlingTheSpanEnd", "abcdef/16", SelfReplace(1, 2, 2, 3), "acdedef", 16, ""},
        {"LongerFromBeforeTheSpanEnd", "abcdef/16", SelfReplace(3, 1, 0, 2), "abcabef", 16, ""},
        {"LongerFromPrefixAcrossTheSpan", "abcdef/16", SelfReplace(2, 1, 1, 4), "abbcdedef", 16, ""},
        {"ShorterFromTheTail", "abcdef/16", SelfReplace(0, 3, 4, 2), "efdef", 16, ""},
        {"EqualLengthFromTheTail", "abcdef/16", SelfReplace(1, 2, 4, 2), "aefdef", 16, ""},
        {"WholeByItself", "abcdef/16", SelfReplace(0, kNpos, 0, kNpos), "abcdef", 16, ""},
        // With growth: one pass into a block of twice the capacity.
        {"GrowFromTheTail", "abcdef", SelfReplace(1, 1, 3, 3), "adefcdef", 12, "+13 -7"},
        {"GrowStraddling", "abcdef", SelfReplace(1, 2, 2, 3), "acdedef", 12, "+13 -7"},
        {"GrowFromBefore", "abcdef", SelfReplace(3, 1, 0, 2), "abcabef", 12, "+13 -7"},
        {"GrowFromAView", "view:abcdef", SelfReplace(0, 1, 5, 1), "fbcdef", 6, "+7"},
    });
    // clang-format on
}

TEST(Edit, GrowthRuleAndLimit)
{
    const std::string z25(25, 'z');
    // clang-format off
    CheckFacts({
        {"AppendOneDoubles", "0123456789", [](auto s, auto) { return VekStringAppendChar(s, 'x'); }, "0123456789x", 20, "+21 -11"},
        {"AppendManyTakesWhatItNeeds", "0123456789", [&](auto s, auto) { return VekStringAppendCStr(s, z25.c_str()); }, "0123456789" + z25, 35, "+36 -11"},
        {"AppendSelfDoubles", "abc", [](auto s, auto) { return VekStringAppend(s, s); }, "abcabc", 6, "+7 -4"},
        {"AppendSelfFitsInPlace", "abc/8", [](auto s, auto) { return VekStringAppend(s, s); }, "abcabc", 8, ""},
        {"AppendSelfSubstring", "abc", [](auto s, auto) { return VekStringAppendSubstring(s, s, 1, 2); }, "abcbc", 6, "+7 -4"},
        {"AppendToNothing", "", [](auto s, auto) { return VekStringAppendChar(s, 'a'); }, "a", 1, "+2"},
        {"AppendNothing", "", [](auto s, auto) { return VekStringAppendCStr(s, ""); }, "", 0, ""},
        {"DoubleRefusedByTheLimit", "0123456789/16", [](auto s, auto) { return VekStringAppendN(s, 7, 'x'); }, std::nullopt, 0, "", 30},
        {"LimitIsStrict", "0123456789", [](auto s, auto) { return VekStringAppendChar(s, 'x'); }, "0123456789x", 20, "+21 -11", 21},
        {"LimitAtTheDoubledCapacity", "0123456789", [](auto s, auto) { return VekStringAppendChar(s, 'x'); }, std::nullopt, 0, "", 20},
        {"AllocationRefused", "abc", [](auto s, auto) { return VekStringInsertChar(s, 0, 'd'); }, std::nullopt, 0, "+7!", kNpos, true},
        {"AssignGrows", "0123456789", [](auto s, auto) { return VekStringAssignCStr(s, "0123456789a"); }, "0123456789a", 20, "+21 -11"},
        {"AssignShorterKeepsTheBlock", "0123456789", [](auto s, auto) { return VekStringAssignCStr(s, "abc"); }, "abc", 10, ""},
        {"AssignEmptyKeepsTheBlock", "abc/10", [](auto s, auto) { return VekStringAssignCStrLen(s, nullptr, 0); }, "", 10, ""},
        {"AssignItself", "abc/10", [](auto s, auto) { return VekStringAssign(s, s); }, "abc", 10, ""},
        {"AssignCharToNothing", "", [](auto s, auto) { return VekStringAssignChar(s, 'q'); }, "q", 1, "+2", 2},
        {"AssignCharLimit", "", [](auto s, auto) { return VekStringAssignChar(s, 'q'); }, std::nullopt, 0, "", 1},
        {"InsertGrows", "0123456789", [&](auto s, auto) { return VekStringInsertCStr(s, 0, z25.c_str()); }, z25 + "0123456789", 35, "+36 -11"},
        {"ReplaceByOutsideByteInPlace", "0123456789", [](auto s, auto) { return VekStringReplaceChar(s, 1, 3, 'Z'); }, "0Z456789", 10, ""},
        {"ResizeGrowsByAppending", "ab", [](auto s, auto) { return VekStringResize(s, 5, "-"); }, "ab---", 5, "+6 -3"},
        {"ResizeShrinksInPlace", "abcde/8", [](auto s, auto) { return VekStringResize(s, 2, nullptr); }, "ab", 8, ""},
        {"AppendNNearNpos", "0123456789", [](auto s, auto) { return VekStringAppendN(s, kNpos - 5, 'x'); }, std::nullopt, 0, "", kNpos},
        {"InsertNearNpos", "0123456789", [](auto s, auto) { return VekStringInsertCStrLen(s, 0, "", kNpos - 5); }, std::nullopt, 0, "", kNpos},
    });
    // clang-format on
}

TEST(Edit, ViewsAreCopiedBeforeAnyWriteAndNeverReleased)
{
    // clang-format off
    CheckFacts({
        {"EraseMiddle", "view:0123456789", [](auto s, auto) { return VekStringEraseSubstring(s, 2, 3); }, "0156789", 7, "+8"},
        {"AssignOwnBytes", "view:0123456789", [](auto s, auto) { return VekStringAssignSubstring(s, s, 1, 2); }, "12", 2, "+3"},
        {"AppendNothingStillCopies", "view:0123", [](auto s, auto) { return VekStringAppendN(s, 0, 'x'); }, "0123", 4, "+5"},
        {"InsertNothingStillCopies", "view:0123", [](auto s, auto) { return VekStringInsertCStrLen(s, 3, "", 0); }, "0123", 4, "+5"},
        {"EraseTailKeepsTheView", "view:0123456789", [](auto s, auto) { return VekStringEraseSubstring(s, 6, kNpos); }, "012345", 0, ""},
        {"ResizeDownKeepsTheView", "view:0123456789", [](auto s, auto) { return VekStringResize(s, 4, nullptr); }, "0123", 0, ""},
        {"ReplaceAllByNothing", "view:0123", [](auto s, auto) { return VekStringReplaceCStrLen(s, 0, kNpos, "", 0); }, "", 0, ""},
        {"AssignNothingLetsItGo", "view:0123", [](auto s, auto) { return VekStringAssignCStr(s, "") && s->buf == vekStringEmpty_; }, "", 0, ""},
        {"RefusedCopyKeepsTheView", "view:0123456789", [](auto s, auto) { return VekStringEraseSubstring(s, 2, 3); }, std::nullopt, 0, "+8!", kNpos, true},
    });
    // clang-format on
}

TEST(Edit, PositionsBeyondTheEndFailBeforeAnythingIsRead)
{
    const char* unreadable = reinterpret_cast<const char*>(16); // never dereferenced
    // clang-format off
    CheckFacts({
        {"ReplaceCStr", "abc", [=](auto s, auto) { return VekStringReplaceCStr(s, 4, 0, unreadable); }, std::nullopt, 0, ""},
        {"InsertCStr", "abc", [=](auto s, auto) { return VekStringInsertCStr(s, 4, unreadable); }, std::nullopt, 0, ""},
        {"ReplaceSubstringSource", "abc", [](auto s, auto) { return VekStringReplaceSubstring(s, 0, 1, s, 4, 0); }, std::nullopt, 0, ""},
        {"AssignSubstring", "abc", [](auto s, auto) { return VekStringAssignSubstring(s, s, 4, 0); }, std::nullopt, 0, ""},
        {"AppendSubstring", "abc", [](auto s, auto) { return VekStringAppendSubstring(s, s, 4, 0); }, std::nullopt, 0, ""},
        {"EraseSubstring", "abc", [](auto s, auto) { return VekStringEraseSubstring(s, 4, 0); }, std::nullopt, 0, ""},
        {"AtTheEndIsFine", "abc", [](auto s, auto) { return VekStringInsertCStr(s, 3, "d"); }, "abcd", 6, "+7 -4"},
    });
    // clang-format on
}

TEST(Edit, IteratorsPointIntoTheBufferThatHoldsTheContentAfterwards)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructCStr(&s, "abcde", alloc);
    // A byte of the string itself inserted into a full string: it grows, and
    // the iterator is in the new block at the same offset.
    VekStringIterator it = VekStringInsert(&s, s.buf + 1, s.buf + 4);
    ASSERT_EQ(it, s.buf + 1);
    EXPECT_EQ(Content(s), "aebcde");
    it = VekStringErase(&s, s.buf + 2);
    EXPECT_EQ(it, s.buf + 2);
    it = VekStringEraseRange(&s, s.buf + 1, s.buf + 3);
    EXPECT_EQ(it, s.buf + 1);
    EXPECT_EQ(Content(s), "ade");
    EXPECT_TRUE(VekStringInsertRange(&s, s.buf + 3, s.buf, s.buf + 3));
    EXPECT_EQ(Content(s), "adeade");
    VekStringResize(&s, 10, "-");
    alloc.RefuseAll();
    EXPECT_EQ(VekStringInsert(&s, s.buf, "x"), nullptr);
    const char xyz[] = "xyz";
    EXPECT_FALSE(VekStringInsertRange(&s, s.buf, xyz, xyz + 3));
    EXPECT_EQ(Content(s), "adeade----");
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
