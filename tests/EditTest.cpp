// Facts about the editing functions that the operation model does not pin
// down: each in-place overlap case of replacement, the views that must stay
// views, and positions refused before an operand is read.
#include "VekTestSupport.h"

namespace {

using vektest::CheckFacts;

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

} // namespace
