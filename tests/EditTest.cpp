// The views that must stay views, which the operation model does not pin
// down: it lets a view be kept or copied. Each row edits a read-only view of
// "0123456789" and states the content, capacity and allocator trace after.
#include "VekTestSupport.h"

namespace {

constexpr VekSizeT kNpos = VekStringNpos;

TEST(Edit, ViewsStayViewsUnlessBytesMustBeWritten)
{
    const struct {
        const char* name;
        bool (*edit)(VekString* s);
        const char* content;
        VekSizeT capacity;
        const char* trace;
    } kFacts[] = {
        // clang-format off
        {"AppendNothingStillCopies", [](VekString* s) { return VekStringAppendN(s, 0, 'x') != nullptr; }, "0123456789", 10, "+11"},
        {"InsertNothingStillCopies", [](VekString* s) { return VekStringInsertCStrLen(s, 3, "", 0) != nullptr; }, "0123456789", 10, "+11"},
        {"EraseTailKeepsTheView", [](VekString* s) { return VekStringEraseSubstring(s, 6, kNpos) != nullptr; }, "012345", 0, ""},
        {"ResizeDownKeepsTheView", [](VekString* s) { return VekStringResize(s, 4, nullptr) != 0; }, "0123", 0, ""},
        {"ReplaceAllByNothing", [](VekString* s) { return VekStringReplaceCStrLen(s, 0, kNpos, "", 0) != nullptr; }, "", 0, ""},
        {"AssignNothingLetsItGo", [](VekString* s) { return VekStringAssignCStr(s, "") && s->buf == vekStringEmpty_; }, "", 0, ""},
        // clang-format on
    };
    for (const auto& fact : kFacts) {
        SCOPED_TRACE(fact.name);
        vektest::RecordingAllocator alloc;
        vektest::ReadOnlyBytes viewed("0123456789");
        VekString s = vektest::MakeView(viewed, alloc);
        EXPECT_TRUE(fact.edit(&s));
        EXPECT_EQ(vektest::Content(s), fact.content);
        EXPECT_EQ(s.capacity, fact.capacity);
        EXPECT_EQ(alloc.Trace(), fact.trace);
        VekStringDestruct(&s);
        EXPECT_TRUE(alloc.IsClean());
    }
}

} // namespace
