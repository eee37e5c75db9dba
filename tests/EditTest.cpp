// The views that must stay views, which the operation model does not pin
// down: it lets a view be kept or copied.
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

} // namespace
