// The header's inline appends (which the macros use unless the library is
// checked) against the exported functions they stand in for: in every buffer state and for every kind of operand, the macro and the
// function (called by its parenthesised name) must leave the same content,
// capacity and allocator trace, and return the same result.
#include "VekTestSupport.h"

namespace {

using vektest::Content;
using vektest::RecordingAllocator;

struct State {
    const char* name;
    std::string content;
    VekSizeT capacity; // 0: owns nothing (the shared empty byte, or a view)
    bool view;
};

struct Operand {
    const char* name;
    bool is_char;
    std::string bytes; // the appended bytes, or for an inside operand their count
    bool inside;       // taken from the string's own content, from offset 1
};

VekString* Append(VekString* s, const Operand& op, bool fast)
{
    if (op.is_char)
        return fast ? VekStringAppendCharInline(s, op.bytes[0]) : (VekStringAppendChar)(s, op.bytes[0]);
    const char* p = op.inside ? s->buf + 1 : op.bytes.data();
    const VekSizeT n = op.bytes.size();
    return fast ? VekStringAppendCStrLenInline(s, p, n) : (VekStringAppendCStrLen)(s, p, n);
}

struct Outcome {
    bool succeeded;
    std::string content;
    VekSizeT capacity;
    bool same_block;
    std::string trace;
    bool operator==(const Outcome&) const = default;
};

Outcome Outcomes(const State& state, const Operand& op, bool fast)
{
    RecordingAllocator alloc;
    vektest::ReadOnlyBytes view_bytes(state.content);
    VekString s;
    if (state.view)
        s = vektest::MakeView(view_bytes, alloc);
    else if (state.capacity == 0)
        VekStringConstructDefault(&s, alloc);
    else
        vektest::MakeOwned(&s, state.content, state.capacity, alloc);
    const char* block = s.buf;
    alloc.ClearEvents();
    const bool succeeded = Append(&s, op, fast) == &s;
    EXPECT_TRUE(vektest::HasInvariants(s));
    Outcome out{succeeded, Content(s), s.capacity, s.buf == block, alloc.Trace()};
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
    return out;
}

TEST(AppendFastPath, BehavesExactlyAsTheFunction)
{
    const State states[] = {
        {"room for 5", "abc", 8, false}, {"room for 1", "abc", 4, false}, {"full", "abc", 3, false},
        {"empty", "", 0, false},         {"view", "view", 0, true},
    };
    const Operand operands[] = {
        {"char", true, "x", false},
        {"no bytes", false, "", false},
        {"2 bytes", false, "xy", false},
        {"5 bytes", false, "12345", false},
        {"6 bytes", false, "123456", false},
        {"2 own bytes", false, "..", true},
        {"NUL byte", true, std::string(1, '\0'), false},
    };
    for (const State& state : states) {
        for (const Operand& op : operands) {
            if (op.inside && state.content.size() < 1 + op.bytes.size())
                continue;
            SCOPED_TRACE(testing::Message() << state.name << ", " << op.name);
            EXPECT_TRUE(Outcomes(state, op, true) == Outcomes(state, op, false));
        }
    }
}

} // namespace
