// The checked build: each caller obligation that a release build takes on
// trust aborts at once with one line naming the function and the obligation.
// One row per obligation and per way of breaking it; the rows run only when
// the library was built with VEK_CHECKED.
#include "VekTestSupport.h"

#include <functional>

namespace {

using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;

// Each row breaks one obligation on s, an owned "0123456789" with capacity
// 16, or on v, a read-only view of the same bytes.
struct Violation {
    const char* name;
    std::function<void(VekString* s, VekString* v)> call;
    const char* function;
    const char* message; // the rest of the line, as a regular expression
};

constexpr const char* kReversed = "range end before its start";
constexpr const char* kOutside = "iterator outside the content";
constexpr const char* kSpare = "operand reaches into the spare capacity behind the content";

std::ostream& operator<<(std::ostream& out, const Violation& c)
{
    return out << c.name;
}

class CheckedBuild : public testing::TestWithParam<Violation> {};

TEST_P(CheckedBuild, AbortsNamingTheFunctionAndTheObligation)
{
#if !defined(VEK_TEST_CHECKED)
    GTEST_SKIP() << "the library was built without VEK_CHECKED";
#else
    const Violation& c = GetParam();
    VekString s;
    MakeOwned(&s, "0123456789", 16, VekAllocatorGetDefault());
    ReadOnlyBytes bytes("0123456789");
    VekString v = MakeView(bytes, VekAllocatorGetDefault());
    EXPECT_DEATH(c.call(&s, &v), std::string("^") + c.function + ": " + c.message + "\n");
    VekStringDestruct(&s);
#endif
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, CheckedBuild, testing::Values(
    Violation{"EraseRangeReversed", [](VekString* s, VekString*) { VekStringEraseRange(s, s->buf + 4, s->buf + 2); }, "VekStringEraseRange", kReversed},
    Violation{"EraseRangeBeyondTheEnd", [](VekString* s, VekString*) { VekStringEraseRange(s, s->buf + 4, s->buf + 11); }, "VekStringEraseRange", kOutside},
    Violation{"EraseAtTheEnd", [](VekString* s, VekString*) { VekStringErase(s, s->buf + 10); }, "VekStringErase", kOutside},
    Violation{"EraseBeforeTheStart", [](VekString* s, VekString* v) { VekStringErase(s, v->buf); }, "VekStringErase", kOutside},
    Violation{"InsertBeyondTheEnd", [](VekString* s, VekString*) { VekStringInsert(s, s->buf + 11, "x"); }, "VekStringInsert", kOutside},
    Violation{"InsertRangeIntoAnotherString", [](VekString* s, VekString* v) { VekStringInsertRange(s, v->buf, &"ab"[0], &"ab"[2]); }, "VekStringInsertRange", kOutside},
    Violation{"InsertRangeReversedOperand", [](VekString* s, VekString* v) { VekStringInsertRange(s, s->buf, v->buf + 2, v->buf); }, "VekStringInsertRange", kReversed},
    Violation{"ReplaceRangeReversed", [](VekString* s, VekString*) { VekStringReplaceRange(s, s->buf + 3, s->buf + 1, &"x"[0], &"x"[1]); }, "VekStringReplaceRange", kReversed},
    Violation{"ReplaceRangeOnAView", [](VekString* s, VekString* v) { VekStringReplaceRange(v, s->buf, s->buf + 1, &"x"[0], &"x"[1]); }, "VekStringReplaceRange", kOutside},
    Violation{"AssignRangeReversed", [](VekString* s, VekString* v) { VekStringAssignRange(s, v->buf + 1, v->buf); }, "VekStringAssignRange", kReversed},
    Violation{"AppendRangeReversed", [](VekString* s, VekString* v) { VekStringAppendRange(s, v->buf + 1, v->buf); }, "VekStringAppendRange", kReversed},
    Violation{"ConstructRangeReversed", [](VekString*, VekString* v) { VekString t; VekStringConstructRange(&t, v->buf + 1, v->buf, VekAllocatorGetDefault()); }, "VekStringConstructRange", kReversed},
    Violation{"AppendFromTheSpareCapacity", [](VekString* s, VekString*) { VekStringAppendCStrLen(s, s->buf + 12, 2); }, "VekStringAppendCStrLen", kSpare},
    Violation{"AppendFromTheTerminatorSlot", [](VekString* s, VekString*) { VekStringAppendCStrLen(s, s->buf + 16, 1); }, "VekStringAppendCStrLen", kSpare},
    Violation{"AssignCStrFromTheSpareCapacity", [](VekString* s, VekString*) { s->buf[12] = '\0'; VekStringAssignCStr(s, s->buf + 11); }, "VekStringAssignCStr", kSpare},
    Violation{"ReplaceByBytesAcrossTheEnd", [](VekString* s, VekString*) { VekStringReplaceCStrLen(s, 0, 1, s->buf + 8, 4); }, "VekStringReplaceCStrLen", kSpare},
    Violation{"InsertFromAViewIntoTheSpareCapacity", [](VekString* s, VekString*) { VekString w{s->allocator, s->buf + 11, 2, 0}; VekStringInsertString(s, 0, &w); }, "VekStringInsertString", kSpare},
    Violation{"ReleaseBeyondTheRoom", [](VekString* s, VekString*) { VekStringReleaseBuffer(s, 7); },
              "VekStringReleaseBuffer", "more bytes announced than the buffer has room for"},
    Violation{"ReleaseIntoAView", [](VekString*, VekString* v) { VekStringReleaseBuffer(v, 1); },
              "VekStringReleaseBuffer", "bytes announced in a string that owns no buffer \\(a read-only view or the shared empty byte\\)"},
    Violation{"ConstructMoveOntoItself", [](VekString* s, VekString*) { VekStringConstructMove(s, s); },
              "VekStringConstructMove", "the same record as destination and source"},
    Violation{"ExternalBufferWithoutABlock", [](VekString*, VekString*) { VekString t; VekStringConstructWithExternalBuffer(&t, nullptr, 0, 8, VekAllocatorGetDefault()); },
              "VekStringConstructWithExternalBuffer", "no block for a non-zero capacity"}),
    [](const auto& info) { return info.param.name; });
// clang-format on

// An operand that starts right behind the block, however close, is outside
// the string and fine: here the bytes behind an adopted block of 16.
TEST(CheckedBuild, AcceptsAnOperandRightBehindTheBlock)
{
    char bytes[24] = "0123456789abcdefWXYZ";
    VekString s;
    VekStringConstructWithExternalBuffer(&s, bytes, 10, 16, vektest::Keeper());
    ASSERT_EQ(VekStringAppendCStrLen(&s, bytes + 16, 4), &s);
    EXPECT_EQ(vektest::Content(s), "0123456789WXYZ");
    VekStringDestruct(&s);
}

} // namespace
