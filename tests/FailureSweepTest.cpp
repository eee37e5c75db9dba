// The allocation-failure sweep. Every public function that can allocate runs
// on a string in each buffer state (owned with room, owned and full, empty
// without a block, a read-only view), with its operand taken from the
// string's own content and from outside, first under an allocator that
// refuses nothing, to learn how many allocations the call makes, then once
// per allocation with exactly that one refused, and once with it and every
// later one refused. Each refused run must:
//   - fail with the function's documented failure result, giving up at the
//     refusal (no allocation after it);
//   - leave the string as its family documents: exactly as it was, or for a
//     constructor a valid empty string naming its allocator, or, where the
//     formatter or the codec writes into the block before it grows, the
//     fields, the bytes before the edited span and the terminator;
//   - return every block it obtained, with its own byte count.
// The run past the last allocation must succeed with the unrefused result.
#include "VekTestSupport.h"

#include <algorithm>
#include <cstdarg>
#include <functional>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr VekSizeT kNpos = VekStringNpos;

// The content every string starts with (with a terminator behind it, so that
// a view of it can be read as a C string), and an outside operand longer
// than the spare room of the owned string, so that most edits must grow.
const std::string_view kContent("a.b.c.d.e.f\0", 12);
constexpr VekSizeT kContentSize = 11;
const char* const kOutside = "OUTSIDE.TEXT";
const VekWideChar kUcs4[] = {'w', 0xE9, 'i', 0x20AC, 0x1D11E, 'r', 'd', ' ', 't', 'e', 'x', 't', 0};
const VekUint16 kUtf16[] = {'w', 0xE9, 'i', 0x20AC, 0xD834, 0xDD1E, 'r',
                            'd', ' ',  't', 'e',    'x',    0};
const UniChar kCFUnits[] = {'c', 0xE9, 'f', 'u', 'n', 'i', 't', 's', ' ', 'a', 'r', 'e', ' ', 'l'};

enum class State { kOwnedWithRoom, kOwnedFull, kEmpty, kView };
const char* const kStateNames[] = {"owned with room", "owned full", "empty", "view"};

// What a call may use from the string's own content.
enum class Operand {
    kNone,    // nothing: one placement is enough
    kAny,     // an operand that may lie inside the string or outside
    kOutside, // an operand that must lie outside (formatted arguments)
};

// What a refused call must leave of the string.
enum class Keeps {
    kEverything,
    kConstructed, // the call constructs y: y is a valid empty string naming a
    kHeadOfOwned, // an owned string keeps fields, terminator and the bytes
                  // before head; one without a block keeps everything
};

// Env is what a row's call works on: the string x, its allocator, the
// operand (as pointer and count, and as a record), a span of x, and y for
// the constructors.
struct Env {
    VekString* x;
    VekAllocator* a;
    const char* op;
    VekSizeT n;
    const VekString* str;
    VekSizeT pos;
    VekSizeT end;
    VekString y;
    CFStringRef cf;
};

struct Row {
    const char* name;
    std::function<bool(Env&)> call;
    Operand operand;
    Keeps keeps;
    VekSizeT head; // kHeadOfOwned: the bytes kept are those before min(head, pos)
    bool needs_content = false;
};

// The va_list forms, reached through variadic front ends of the test's own.
#define VIA_VA_LIST(call)                                                                          \
    va_list args;                                                                                  \
    va_start(args, fmt);                                                                           \
    VekString* r = call;                                                                           \
    va_end(args);                                                                                  \
    return r

VekString* ConstructV(VekString* x, VekAllocator* a, const char* fmt, ...)
{
    VIA_VA_LIST(VekStringConstructVFormatted(x, fmt, args, a));
}
VekString* AssignV(VekString* x, const char* fmt, ...)
{
    VIA_VA_LIST(VekStringAssignVFormatted(x, fmt, args));
}
VekString* AppendV(VekString* x, const char* fmt, ...)
{
    VIA_VA_LIST(VekStringAppendVFormatted(x, fmt, args));
}
VekString* InsertV(VekString* x, VekSizeT pos, const char* fmt, ...)
{
    VIA_VA_LIST(VekStringInsertVFormatted(x, pos, fmt, args));
}
VekString* ReplaceV(VekString* x, VekSizeT pos, VekSizeT n, const char* fmt, ...)
{
    VIA_VA_LIST(VekStringReplaceVFormatted(x, pos, n, fmt, args));
}

bool Ok(const void* result)
{
    return result != nullptr;
}

constexpr Operand kNone = Operand::kNone, kAny = Operand::kAny, kOut = Operand::kOutside;
constexpr Keeps kAll = Keeps::kEverything, kNew = Keeps::kConstructed, kHead = Keeps::kHeadOfOwned;

// clang-format off
const Row kRows[] = {
    {"ConstructCStrLen",     [](Env& e) { return Ok(VekStringConstructCStrLen(&e.y, e.op, e.n, e.a)); }, kAny, kNew, 0},
    {"ConstructCStr",        [](Env& e) { return Ok(VekStringConstructCStr(&e.y, e.op, e.a)); }, kAny, kNew, 0},
    {"ConstructCopy",        [](Env& e) { return Ok(VekStringConstructCopy(&e.y, e.x)); }, kNone, kNew, 0},
    {"ConstructSubstring",   [](Env& e) { return Ok(VekStringConstructSubstring(&e.y, e.x, e.pos, kNpos, e.a)); }, kNone, kNew, 0},
    {"ConstructRange",       [](Env& e) { return Ok(VekStringConstructRange(&e.y, e.op, e.op + e.n, e.a)); }, kAny, kNew, 0},
    {"ConstructFormatted",   [](Env& e) { return Ok(VekStringConstructFormatted(&e.y, e.a, "%s|%d", kOutside, 42)); }, kNone, kNew, 0},
    {"ConstructVFormatted",  [](Env& e) { return Ok(ConstructV(&e.y, e.a, "%s|%d", kOutside, 42)); }, kNone, kNew, 0},
    {"ConstructUcs4",        [](Env& e) { return Ok(VekStringConstructUcs4(&e.y, kUcs4, e.a)); }, kNone, kNew, 0},
    {"ConstructUtf16",       [](Env& e) { return Ok(VekStringConstructUtf16(&e.y, kUtf16, e.a)); }, kNone, kNew, 0},
    {"Reserve",              [](Env& e) { return VekStringReserve(e.x, 40) != 0; }, kNone, kAll, 0},
    {"Assign",               [](Env& e) { return Ok(VekStringAssign(e.x, e.str)); }, kAny, kAll, 0},
    {"AssignSubstring",      [](Env& e) { return Ok(VekStringAssignSubstring(e.x, e.str, 1, kNpos)); }, kAny, kAll, 0},
    {"AssignCStr",           [](Env& e) { return Ok(VekStringAssignCStr(e.x, e.op)); }, kAny, kAll, 0},
    {"AssignCStrLen",        [](Env& e) { return Ok(VekStringAssignCStrLen(e.x, e.op, e.n)); }, kAny, kAll, 0},
    {"AssignRange",          [](Env& e) { return Ok(VekStringAssignRange(e.x, e.op, e.op + e.n)); }, kAny, kAll, 0},
    {"AssignChar",           [](Env& e) { return Ok(VekStringAssignChar(e.x, 'c')); }, kNone, kAll, 0},
    {"Append",               [](Env& e) { return Ok(VekStringAppend(e.x, e.str)); }, kAny, kAll, 0},
    {"AppendSubstring",      [](Env& e) { return Ok(VekStringAppendSubstring(e.x, e.str, 1, kNpos)); }, kAny, kAll, 0},
    {"AppendCStr",           [](Env& e) { return Ok(VekStringAppendCStr(e.x, e.op)); }, kAny, kAll, 0},
    {"AppendCStrLen",        [](Env& e) { return Ok(VekStringAppendCStrLen(e.x, e.op, e.n)); }, kAny, kAll, 0},
    {"AppendRange",          [](Env& e) { return Ok(VekStringAppendRange(e.x, e.op, e.op + e.n)); }, kAny, kAll, 0},
    {"AppendChar",           [](Env& e) { return Ok(VekStringAppendChar(e.x, 'c')); }, kNone, kAll, 0},
    {"AppendN",              [](Env& e) { return Ok(VekStringAppendN(e.x, 12, 'z')); }, kNone, kAll, 0},
    {"Resize",               [](Env& e) { return VekStringResize(e.x, 30, "z") != 0; }, kNone, kAll, 0},
    {"ReplaceSubstring",     [](Env& e) { return Ok(VekStringReplaceSubstring(e.x, e.pos, 3, e.str, 1, kNpos)); }, kAny, kAll, 0},
    {"ReplaceString",        [](Env& e) { return Ok(VekStringReplaceString(e.x, e.pos, 3, e.str)); }, kAny, kAll, 0},
    {"ReplaceChar",          [](Env& e) { return Ok(VekStringReplaceChar(e.x, e.pos, 0, 'c')); }, kNone, kAll, 0},
    {"ReplaceCStr",          [](Env& e) { return Ok(VekStringReplaceCStr(e.x, e.pos, 3, e.op)); }, kAny, kAll, 0},
    {"ReplaceCStrLen",       [](Env& e) { return Ok(VekStringReplaceCStrLen(e.x, e.pos, 3, e.op, e.n)); }, kAny, kAll, 0},
    {"ReplaceRange",         [](Env& e) { return Ok(VekStringReplaceRange(e.x, e.x->buf + e.pos, e.x->buf + e.end, e.op, e.op + e.n)); }, kAny, kAll, 0},
    {"Insert",               [](Env& e) { return VekStringInsert(e.x, e.x->buf + e.pos, e.op) != nullptr; }, kAny, kAll, 0},
    {"InsertRange",          [](Env& e) { return VekStringInsertRange(e.x, e.x->buf + e.pos, e.op, e.op + e.n) != 0; }, kAny, kAll, 0},
    {"InsertSubstring",      [](Env& e) { return Ok(VekStringInsertSubstring(e.x, e.pos, e.str, 1, kNpos)); }, kAny, kAll, 0},
    {"InsertString",         [](Env& e) { return Ok(VekStringInsertString(e.x, e.pos, e.str)); }, kAny, kAll, 0},
    {"InsertCStr",           [](Env& e) { return Ok(VekStringInsertCStr(e.x, e.pos, e.op)); }, kAny, kAll, 0},
    {"InsertCStrLen",        [](Env& e) { return Ok(VekStringInsertCStrLen(e.x, e.pos, e.op, e.n)); }, kAny, kAll, 0},
    {"InsertChar",           [](Env& e) { return Ok(VekStringInsertChar(e.x, e.pos, 'c')); }, kNone, kAll, 0},
    {"Erase",                [](Env& e) { return VekStringErase(e.x, e.x->buf + e.pos) != nullptr; }, kNone, kAll, 0, true},
    {"EraseSubstring",       [](Env& e) { return Ok(VekStringEraseSubstring(e.x, e.pos, 2)); }, kNone, kAll, 0},
    {"EraseRange",           [](Env& e) { return VekStringEraseRange(e.x, e.x->buf + e.pos, e.x->buf + e.end) != nullptr; }, kNone, kAll, 0},
    {"AssignFormatted",      [](Env& e) { return Ok(VekStringAssignFormatted(e.x, "%s|%d", kOutside, 42)); }, kOut, kHead, 0},
    {"AssignVFormatted",     [](Env& e) { return Ok(AssignV(e.x, "%s|%d", kOutside, 42)); }, kOut, kHead, 0},
    {"AppendFormatted",      [](Env& e) { return Ok(VekStringAppendFormatted(e.x, "%s|%d", kOutside, 42)); }, kOut, kAll, 0},
    {"AppendVFormatted",     [](Env& e) { return Ok(AppendV(e.x, "%s|%d", kOutside, 42)); }, kOut, kAll, 0},
    {"InsertFormatted",      [](Env& e) { return Ok(VekStringInsertFormatted(e.x, e.pos, "%s|%d", kOutside, 42)); }, kOut, kAll, 0},
    {"InsertVFormatted",     [](Env& e) { return Ok(InsertV(e.x, e.pos, "%s|%d", kOutside, 42)); }, kOut, kAll, 0},
    {"ReplaceFormatted",     [](Env& e) { return Ok(VekStringReplaceFormatted(e.x, e.pos, kNpos, "%s|%d", kOutside, 42)); }, kOut, kHead, kNpos},
    {"ReplaceVFormatted",    [](Env& e) { return Ok(ReplaceV(e.x, e.pos, 1, "%s|%d", kOutside, 42)); }, kOut, kAll, 0},
    {"FindAndReplace",       [](Env& e) { VekString dot{e.a, const_cast<char*>("."), 1, 0}; return Ok(VekStringFindAndReplace(e.x, &dot, e.str)); }, kAny, kAll, 0},
    {"FindAndReplaceItself", [](Env& e) { return Ok(VekStringFindAndReplace(e.x, e.str, e.x)); }, kAny, kAll, 0},
    {"AssignUcs4",           [](Env& e) { return Ok(VekStringAssignUcs4(e.x, kUcs4)); }, kNone, kHead, 0},
    {"AssignUtf16",          [](Env& e) { return Ok(VekStringAssignUtf16(e.x, kUtf16)); }, kNone, kHead, 0},
    {"AppendUcs4",           [](Env& e) { return Ok(VekStringAppendUcs4(e.x, kUcs4)); }, kNone, kAll, 0},
    {"AppendUtf16",          [](Env& e) { return Ok(VekStringAppendUtf16(e.x, kUtf16)); }, kNone, kAll, 0},
    {"AssignFromCFString",   [](Env& e) { return Ok(VekStringAssignFromCFString(e.x, e.cf)); }, kNone, kAll, 0},
};
// clang-format on

// Fixture is one run's world: x in a buffer state under the sweeping
// allocator, and the outside operand as bytes and as a record of another
// allocator, whose calls the sweep does not refuse.
class Fixture {
public:
    Fixture(State state, bool inside, RecordingAllocator& alloc) : view_bytes_(kContent)
    {
        switch (state) {
        case State::kOwnedWithRoom:
            MakeOwned(&x_, kContent.substr(0, kContentSize), 16, alloc);
            break;
        case State::kOwnedFull:
            MakeOwned(&x_, kContent.substr(0, kContentSize), kContentSize, alloc);
            break;
        case State::kEmpty:
            VekStringConstructDefault(&x_, alloc);
            break;
        case State::kView:
            x_ = VekString{alloc, const_cast<char*>(view_bytes_.data()), kContentSize, 0};
            break;
        }
        VekStringConstructCStr(&outside_, kOutside, VekAllocatorGetDefault());
        cf_ = CFStringCreateWithCharacters(kCFAllocatorDefault, kCFUnits,
                                           sizeof kCFUnits / sizeof kCFUnits[0]);
        const VekSizeT size = x_.size;
        env = Env{&x_,
                  alloc,
                  kOutside,
                  outside_.size,
                  &outside_,
                  std::min<VekSizeT>(size, 2),
                  std::min<VekSizeT>(size, 5),
                  {},
                  cf_};
        if (inside) {
            env.op = x_.buf + 1;
            env.n = size - 1;
            env.str = &x_;
        }
    }

    ~Fixture()
    {
        VekStringDestruct(&x_);
        VekStringDestruct(&outside_);
        CFRelease(cf_);
    }

    Fixture(const Fixture&) = delete;
    Fixture& operator=(const Fixture&) = delete;

    Env env;

private:
    ReadOnlyBytes view_bytes_;
    VekString x_;
    VekString outside_;
    CFStringRef cf_;
};

// Outcome is what one run left: whether it succeeded, the result's content
// and the allocator's trace.
struct Outcome {
    bool ok;
    std::string content;
    std::string trace;
};

// RunOnce makes one call in a fresh fixture, refusing the k-th allocation (and,
// with and_after, all after it; k = 0 refuses nothing), and checks what a
// refusal must leave.
Outcome RunOnce(const Row& row, State state, bool inside, std::size_t k, bool and_after)
{
    RecordingAllocator alloc;
    Outcome outcome{};
    {
        Fixture f(state, inside, alloc);
        Env& e = f.env;
        const Snapshot before = Snapshot::Of(*e.x);
        alloc.ClearEvents();
        alloc.RefuseNth(k, and_after);
        outcome.ok = row.call(e);
        outcome.trace = alloc.Trace();
        alloc.AllowAll();
        const bool constructs = row.keeps == Keeps::kConstructed;
        outcome.content = Content(constructs ? e.y : *e.x);
        EXPECT_TRUE(HasInvariants(*e.x));
        if (constructs) {
            EXPECT_TRUE(HasInvariants(e.y));
        }
        const Snapshot after = Snapshot::Of(*e.x);
        if (!outcome.ok) {
            const std::size_t refused = outcome.trace.find('!');
            EXPECT_NE(refused, std::string::npos) << "failed without a refusal";
            EXPECT_EQ(outcome.trace.find('+', refused), std::string::npos)
                << "allocated again after a refusal";
            if (constructs) {
                EXPECT_EQ(e.y.buf, vekStringEmpty_);
                EXPECT_EQ(e.y.size, 0u);
                EXPECT_EQ(e.y.capacity, 0u);
                EXPECT_EQ(e.y.allocator, alloc.get());
            }
            if (row.keeps == Keeps::kHeadOfOwned && before.capacity != 0) {
                const std::size_t head = std::min(row.head, e.pos);
                EXPECT_EQ(after.buf, before.buf);
                EXPECT_EQ(after.size, before.size);
                EXPECT_EQ(after.capacity, before.capacity);
                EXPECT_EQ(after.bytes.substr(0, head), before.bytes.substr(0, head));
            } else {
                EXPECT_EQ(after, before) << "a refused call changed the string";
            }
        }
        if (constructs)
            VekStringDestruct(&e.y);
    }
    EXPECT_TRUE(alloc.IsClean());
    return outcome;
}

std::size_t Allocations(const std::string& trace)
{
    return static_cast<std::size_t>(std::count(trace.begin(), trace.end(), '+'));
}

class FailureSweep : public testing::TestWithParam<Row> {};

TEST_P(FailureSweep, EveryRefusalFailsAsDocumentedAndLeaksNothing)
{
    const Row& row = GetParam();
    std::size_t refusal_points = 0;
    for (State state : {State::kOwnedWithRoom, State::kOwnedFull, State::kEmpty, State::kView}) {
        const bool has_content = state != State::kEmpty;
        for (bool inside : {false, true}) {
            if (row.needs_content && !has_content)
                continue;
            if (inside && (row.operand != Operand::kAny || !has_content))
                continue;
            SCOPED_TRACE(testing::Message() << kStateNames[static_cast<int>(state)]
                                            << (inside ? ", operand inside" : ", operand outside"));
            const Outcome reference = RunOnce(row, state, inside, 0, false);
            ASSERT_TRUE(reference.ok) << "the unrefused call failed";
            const std::size_t allocations = Allocations(reference.trace);
            for (bool and_after : {false, true}) {
                for (std::size_t k = 1; k <= allocations + 1 && !HasFatalFailure(); ++k) {
                    SCOPED_TRACE(testing::Message() << "refusing allocation " << k
                                                    << (and_after ? " and after" : " alone"));
                    const Outcome refused = RunOnce(row, state, inside, k, and_after);
                    ASSERT_EQ(refused.ok, k > allocations) << "trace " << refused.trace;
                    if (refused.ok) {
                        EXPECT_EQ(refused.content, reference.content);
                        EXPECT_EQ(refused.trace, reference.trace);
                    } else {
                        ++refusal_points;
                    }
                }
            }
        }
    }
    RecordProperty("refusal_points", static_cast<int>(refusal_points));
}

INSTANTIATE_TEST_SUITE_P(EveryAllocatingFunction, FailureSweep, testing::ValuesIn(kRows),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
