// What "behaves like std::string" means for the editing functions, said in one
// place: a seeded random sequence of edits over a few strings in every buffer
// state, with operands taken from the edited string itself, from the other
// strings, from views into the content and from outside, each step checked
// against a std::string model.
//
// After every step: the content equals the model; the invariants hold; an edit
// that fitted an owned block kept the block and called nothing; a growth took
// exactly max(new size, 2 x old capacity) with one allocate and (for an owned
// block) one release; and a step run under a refusing allocator either
// succeeded without allocating or failed leaving the string byte for byte as
// it was.
#include "VekTestSupport.h"

#include <memory>
#include <optional>
#include <random>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr VekSizeT kNpos = VekStringNpos;
constexpr int kSlots = 3;

class EditFuzz {
public:
    explicit EditFuzz(unsigned seed) : rng_(seed)
    {
        for (VekString& s : slots_)
            VekStringConstructDefault(&s, alloc_);
    }

    ~EditFuzz()
    {
        for (VekString& s : slots_)
            VekStringDestruct(&s);
    }

    void Run(int steps)
    {
        for (step_ = 0; step_ < steps && !testing::Test::HasFatalFailure(); ++step_)
            Step();
        for (VekString& s : slots_)
            VekStringDestruct(&s);
        EXPECT_TRUE(alloc_.IsClean());
    }

private:
    // The operand of one edit: where its bytes are, and a copy of them taken
    // before the edit, for the model.
    struct Operand {
        const char* ptr;
        VekSizeT len;
        std::string bytes;
    };

    // Where a string operand (a VekString record) comes from.
    struct StringOperand {
        const VekString* record;
        VekString temp; // a record made for this edit, destroyed after it
        bool owns_temp;
    };

    VekSizeT Below(VekSizeT n) { return std::uniform_int_distribution<VekSizeT>(0, n - 1)(rng_); }
    bool OneIn(VekSizeT n) { return Below(n) == 0; }

    std::string RandomBytes(VekSizeT max_len)
    {
        static const char alphabet[] = {'a', 'b', 'c', '\0', 'z', '\xff'};
        std::string out(Below(max_len + 1), 'a');
        for (char& c : out)
            c = alphabet[Below(sizeof alphabet)];
        return out;
    }

    // A position that is sometimes beyond the end, sometimes VekStringNpos.
    VekSizeT Position(VekSizeT size)
    {
        if (OneIn(12))
            return OneIn(2) ? size + 1 : kNpos;
        return Below(size + 1);
    }

    VekSizeT Count(VekSizeT remaining) { return OneIn(5) ? kNpos : Below(remaining + 3); }

    // Half the time the operand is a slice of x's own content; otherwise a
    // slice of another slot or fresh outside bytes.
    Operand PointerOperand(const VekString& x)
    {
        const VekString& from = OneIn(2) ? x : slots_[Below(kSlots)];
        if (from.size != 0 && !OneIn(4)) {
            const VekSizeT pos = Below(from.size + 1);
            const VekSizeT len = Below(from.size - pos + 1);
            return {from.buf + pos, len, std::string(from.buf + pos, len)};
        }
        outside_.push_back(std::make_unique<std::string>(RandomBytes(24)));
        const std::string& o = *outside_.back();
        return {o.data(), o.size(), o};
    }

    // A NUL-terminated operand: a suffix of an owned content (terminated by
    // the owner), or outside bytes without NULs.
    Operand CStrOperand(const VekString& x)
    {
        if (x.capacity != 0 && OneIn(2)) {
            const VekSizeT pos = Below(x.size + 1);
            const std::string bytes(x.buf + pos);
            return {x.buf + pos, bytes.size(), bytes};
        }
        std::string text = RandomBytes(24);
        std::erase(text, '\0');
        outside_.push_back(std::make_unique<std::string>(text));
        return {outside_.back()->c_str(), text.size(), text};
    }

    // The record itself, another slot, a view record into x's content, or a
    // temporary string.
    StringOperand RecordOperand(VekString* x)
    {
        StringOperand op{x, {}, false};
        switch (Below(4)) {
        case 0:
            break;
        case 1:
            op.record = &slots_[Below(kSlots)];
            break;
        case 2: {
            const Operand slice = PointerOperand(*x);
            op.temp = VekString{alloc_, const_cast<char*>(slice.ptr), slice.len, 0};
            op.record = &op.temp;
            break;
        }
        default: {
            const std::string bytes = RandomBytes(24);
            VekStringConstructCStrLen(&op.temp, bytes.data(), bytes.size(), VekAllocatorGetDefault());
            op.owns_temp = true;
            op.record = &op.temp;
        }
        }
        return op;
    }

    static void Release(StringOperand& op)
    {
        if (op.owns_temp)
            VekStringDestruct(&op.temp);
    }

    // A slot in a random buffer state: owned with room or full, empty on the
    // shared byte, or a read-only view.
    void Reset(VekString* x)
    {
        VekStringDestruct(x);
        const std::string bytes = RandomBytes(20);
        switch (Below(4)) {
        case 0:
            VekStringConstructDefault(x, alloc_);
            break;
        case 1:
            if (!bytes.empty()) {
                views_.push_back(std::make_unique<ReadOnlyBytes>(bytes));
                *x = vektest::MakeView(*views_.back(), alloc_);
                break;
            }
            [[fallthrough]];
        default:
            VekStringConstructCStrLen(x, bytes.data(), bytes.size(), alloc_);
            if (OneIn(2))
                VekStringReserve(x, bytes.size() + Below(16));
        }
    }

    // One edit: the expected content, or nullopt when the call must fail.
    using Expected = std::optional<std::string>;

    static Expected Replace(const std::string& model, VekSizeT pos, VekSizeT n, const std::string& with)
    {
        if (pos > model.size())
            return std::nullopt;
        return std::string(model).replace(pos, n, with);
    }

    static Expected Sub(const std::string& model, VekSizeT pos, VekSizeT n)
    {
        if (pos > model.size())
            return std::nullopt;
        return model.substr(pos, n);
    }

    // Runs one edit on x and returns whether it succeeded; fills expected.
    bool Edit(VekString* x, const std::string& m, Expected* expected, std::string* name);

    void Step()
    {
        VekString* x = &slots_[Below(kSlots)];
        if (OneIn(15))
            Reset(x);
        const std::string model = Content(*x);
        const Snapshot before = Snapshot::Of(*x);

        // A third of the steps run under an allocator that refuses.
        const int refusal = static_cast<int>(Below(6));
        alloc_.ClearEvents();
        if (refusal == 0)
            alloc_.RefuseAll();
        if (refusal == 1)
            alloc_.SetMaxSize(Below(64));

        Expected expected;
        std::string name;
        const bool ok = Edit(x, model, &expected, &name);
        const std::string trace = alloc_.Trace();
        alloc_.AllowAll();
        alloc_.SetMaxSize(static_cast<VekSizeT>(PTRDIFF_MAX));
        outside_.clear();

        SCOPED_TRACE(testing::Message() << "step " << step_ << ": " << name << " on " << before
                                        << " (model \"" << model << "\"), trace \"" << trace << '"');
        ASSERT_TRUE(HasInvariants(*x));
        if (!ok) {
            // Refused: a bad position (expected nullopt) or the allocator.
            ASSERT_EQ(Snapshot::Of(*x), before);
            if (!expected) {
                ASSERT_EQ(trace, "") << "a refused position must not reach the allocator";
                return;
            }
            ASSERT_LT(refusal, 2) << "failed without a refusing allocator";
            ASSERT_TRUE(trace.empty() || (trace.back() == '!' && trace.find(' ') == std::string::npos));
            return;
        }
        ASSERT_TRUE(expected.has_value()) << "succeeded where it must fail";
        ASSERT_EQ(Content(*x), *expected);
        CheckStorage(*x, before, trace);
    }

    // The growth rule and the trace of a successful edit.
    static void CheckStorage(const VekString& x, const Snapshot& before, const std::string& trace)
    {
        if (x.capacity == before.capacity && (x.capacity == 0 || x.buf == before.buf)) {
            ASSERT_EQ(trace, "");
            return;
        }
        ASSERT_GT(x.size, before.capacity) << "reallocated although the result fitted";
        const VekSizeT grown = std::max(x.size, 2 * before.capacity);
        ASSERT_EQ(x.capacity, grown);
        std::string expected_trace = "+" + std::to_string(grown + 1);
        if (before.capacity != 0)
            expected_trace += " -" + std::to_string(before.capacity + 1);
        ASSERT_EQ(trace, expected_trace);
    }

    RecordingAllocator alloc_;
    std::mt19937_64 rng_;
    VekString slots_[kSlots];
    std::vector<std::unique_ptr<ReadOnlyBytes>> views_;
    std::vector<std::unique_ptr<std::string>> outside_;
    int step_ = 0;
};

bool EditFuzz::Edit(VekString* x, const std::string& m, Expected* expected, std::string* name)
{
    const VekSizeT size = m.size();
    const VekSizeT pos = Position(size);
    const VekSizeT n = Count(size);
    const char c = static_cast<char>("ab\0z"[Below(4)]);
#define EDIT(label) *name = label
    switch (Below(26)) {
    case 0: {
        EDIT("Assign");
        StringOperand y = RecordOperand(x);
        *expected = Content(*y.record);
        const bool ok = VekStringAssign(x, y.record) != nullptr;
        Release(y);
        return ok;
    }
    case 1: {
        EDIT("AssignSubstring");
        StringOperand y = RecordOperand(x);
        const VekSizeT p = Position(y.record->size);
        *expected = Sub(Content(*y.record), p, n);
        const bool ok = VekStringAssignSubstring(x, y.record, p, n) != nullptr;
        Release(y);
        return ok;
    }
    case 2: {
        EDIT("AssignCStr");
        const Operand o = CStrOperand(*x);
        *expected = o.bytes;
        return VekStringAssignCStr(x, o.ptr) != nullptr;
    }
    case 3: {
        EDIT("AssignCStrLen/Range");
        const Operand o = PointerOperand(*x);
        *expected = o.bytes;
        return OneIn(2) ? VekStringAssignCStrLen(x, o.ptr, o.len) != nullptr
                        : VekStringAssignRange(x, o.ptr, o.ptr + o.len) != nullptr;
    }
    case 4:
        EDIT("AssignChar");
        *expected = std::string(1, c);
        return VekStringAssignChar(x, c) != nullptr;
    case 5: {
        EDIT("Append");
        StringOperand y = RecordOperand(x);
        *expected = m + Content(*y.record);
        const bool ok = VekStringAppend(x, y.record) != nullptr;
        Release(y);
        return ok;
    }
    case 6: {
        EDIT("AppendSubstring");
        StringOperand y = RecordOperand(x);
        const VekSizeT p = Position(y.record->size);
        const Expected sub = Sub(Content(*y.record), p, n);
        *expected = sub ? Expected(m + *sub) : std::nullopt;
        const bool ok = VekStringAppendSubstring(x, y.record, p, n) != nullptr;
        Release(y);
        return ok;
    }
    case 7: {
        EDIT("AppendCStr");
        const Operand o = CStrOperand(*x);
        *expected = m + o.bytes;
        return VekStringAppendCStr(x, o.ptr) != nullptr;
    }
    case 8: {
        EDIT("AppendCStrLen/Range");
        const Operand o = PointerOperand(*x);
        *expected = m + o.bytes;
        return OneIn(2) ? VekStringAppendCStrLen(x, o.ptr, o.len) != nullptr
                        : VekStringAppendRange(x, o.ptr, o.ptr + o.len) != nullptr;
    }
    case 9:
        EDIT("AppendChar");
        *expected = m + c;
        return VekStringAppendChar(x, c) != nullptr;
    case 10: {
        EDIT("AppendN");
        const VekSizeT count = Below(20);
        *expected = m + std::string(count, c);
        return VekStringAppendN(x, count, c) != nullptr;
    }
    case 11: {
        EDIT("Resize");
        const VekSizeT to = Below(size + 20);
        std::string r = m;
        r.resize(to, c);
        *expected = r;
        return VekStringResize(x, to, &c);
    }
    case 12: {
        EDIT("ReplaceSubstring");
        StringOperand y = RecordOperand(x);
        const VekSizeT p2 = Position(y.record->size);
        const VekSizeT n2 = Count(y.record->size);
        const Expected with = Sub(Content(*y.record), p2, n2);
        *expected = with ? Replace(m, pos, n, *with) : std::nullopt;
        const bool ok = VekStringReplaceSubstring(x, pos, n, y.record, p2, n2) != nullptr;
        Release(y);
        return ok;
    }
    case 13: {
        EDIT("ReplaceString");
        StringOperand y = RecordOperand(x);
        *expected = Replace(m, pos, n, Content(*y.record));
        const bool ok = VekStringReplaceString(x, pos, n, y.record) != nullptr;
        Release(y);
        return ok;
    }
    case 14:
        EDIT("ReplaceChar");
        *expected = Replace(m, pos, n, std::string(1, c));
        return VekStringReplaceChar(x, pos, n, c) != nullptr;
    case 15: {
        EDIT("ReplaceCStr");
        const Operand o = CStrOperand(*x);
        *expected = Replace(m, pos, n, o.bytes);
        return VekStringReplaceCStr(x, pos, n, o.ptr) != nullptr;
    }
    case 16: {
        EDIT("ReplaceCStrLen");
        const Operand o = PointerOperand(*x);
        *expected = Replace(m, pos, n, o.bytes);
        return VekStringReplaceCStrLen(x, pos, n, o.ptr, o.len) != nullptr;
    }
    case 17: {
        EDIT("ReplaceRange");
        const Operand o = PointerOperand(*x);
        const VekSizeT p = Below(size + 1);
        const VekSizeT len = Below(size - p + 1);
        *expected = Replace(m, p, len, o.bytes);
        return VekStringReplaceRange(x, x->buf + p, x->buf + p + len, o.ptr, o.ptr + o.len) != nullptr;
    }
    case 18: {
        EDIT("Insert");
        const Operand o = PointerOperand(*x);
        if (o.len == 0) {
            *expected = m;
            return true;
        }
        const VekSizeT p = Below(size + 1);
        *expected = Replace(m, p, 0, o.bytes.substr(0, 1));
        VekStringIterator it = VekStringInsert(x, x->buf + p, o.ptr);
        return it != nullptr && it == x->buf + p;
    }
    case 19: {
        EDIT("InsertRange");
        const Operand o = PointerOperand(*x);
        const VekSizeT p = Below(size + 1);
        *expected = Replace(m, p, 0, o.bytes);
        return VekStringInsertRange(x, x->buf + p, o.ptr, o.ptr + o.len);
    }
    case 20: {
        EDIT("InsertSubstring/String");
        StringOperand y = RecordOperand(x);
        const VekSizeT p2 = Position(y.record->size);
        const Expected with = Sub(Content(*y.record), p2, n);
        bool ok;
        if (OneIn(2)) {
            *expected = with ? Replace(m, pos, 0, *with) : std::nullopt;
            ok = VekStringInsertSubstring(x, pos, y.record, p2, n) != nullptr;
        } else {
            *expected = Replace(m, pos, 0, Content(*y.record));
            ok = VekStringInsertString(x, pos, y.record) != nullptr;
        }
        Release(y);
        return ok;
    }
    case 21: {
        EDIT("InsertCStr/CStrLen");
        const bool cstr = OneIn(2);
        const Operand o = cstr ? CStrOperand(*x) : PointerOperand(*x);
        *expected = Replace(m, pos, 0, o.bytes);
        return cstr ? VekStringInsertCStr(x, pos, o.ptr) != nullptr
                    : VekStringInsertCStrLen(x, pos, o.ptr, o.len) != nullptr;
    }
    case 22:
        EDIT("InsertChar");
        *expected = Replace(m, pos, 0, std::string(1, c));
        return VekStringInsertChar(x, pos, c) != nullptr;
    case 23: {
        EDIT("Erase");
        if (size == 0) {
            *expected = m;
            return true;
        }
        const VekSizeT p = Below(size);
        *expected = Replace(m, p, 1, "");
        VekStringIterator it = VekStringErase(x, x->buf + p);
        return it != nullptr && it == x->buf + p;
    }
    case 24:
        EDIT("EraseSubstring");
        *expected = Replace(m, pos, n, "");
        return VekStringEraseSubstring(x, pos, n) != nullptr;
    default: {
        EDIT("EraseRange");
        const VekSizeT p = Below(size + 1);
        const VekSizeT len = Below(size - p + 1);
        *expected = Replace(m, p, len, "");
        VekStringIterator it = VekStringEraseRange(x, x->buf + p, x->buf + p + len);
        return it != nullptr && it == x->buf + p;
    }
    }
#undef EDIT
}

TEST(EditDifferential, MatchesStdStringOverManySeeds)
{
    for (unsigned seed = 1; seed <= 40 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        EditFuzz(seed).Run(3000);
    }
}

} // namespace
