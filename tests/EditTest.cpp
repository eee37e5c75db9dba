// Facts about the editing functions that the operation model does not pin
// down: the views that must stay views (the model lets a view be kept or
// copied), and positions refused before an operand is read.
#include "VekTestSupport.h"

namespace {

using vektest::CheckFacts;

constexpr VekSizeT kNpos = VekStringNpos;

TEST(Edit, ViewsStayViewsUnlessBytesMustBeWritten)
{
    // clang-format off
    CheckFacts({
        {"AppendNothingStillCopies", "view:0123", [](auto s, auto) { return VekStringAppendN(s, 0, 'x'); }, "0123", 4, "+5"},
        {"InsertNothingStillCopies", "view:0123", [](auto s, auto) { return VekStringInsertCStrLen(s, 3, "", 0); }, "0123", 4, "+5"},
        {"EraseTailKeepsTheView", "view:0123456789", [](auto s, auto) { return VekStringEraseSubstring(s, 6, kNpos); }, "012345", 0, ""},
        {"ResizeDownKeepsTheView", "view:0123456789", [](auto s, auto) { return VekStringResize(s, 4, nullptr); }, "0123", 0, ""},
        {"ReplaceAllByNothing", "view:0123", [](auto s, auto) { return VekStringReplaceCStrLen(s, 0, kNpos, "", 0); }, "", 0, ""},
        {"AssignNothingLetsItGo", "view:0123", [](auto s, auto) { return VekStringAssignCStr(s, "") && s->buf == vekStringEmpty_; }, "", 0, ""},
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
