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
// it was. The appending verbs also run through the header's inline fast
// paths, which must be indistinguishable from the functions.
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
            VekStringConstructCStrLen(&op.temp, bytes.data(), bytes.size(),
                                      VekAllocatorGetDefault());
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

    static Expected Replace(const std::string& model, VekSizeT pos, VekSizeT n,
                            const std::string& with)
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

        SCOPED_TRACE(testing::Message()
                     << "step " << step_ << ": " << name << " on " << before << " (model \""
                     << model << "\"), trace \"" << trace << '"');
        ASSERT_TRUE(HasInvariants(*x));
        if (!ok) {
            // Refused: a bad position (expected nullopt) or the allocator.
            ASSERT_EQ(Snapshot::Of(*x), before);
            if (!expected) {
                ASSERT_EQ(trace, "") << "a refused position must not reach the allocator";
                return;
            }
            ASSERT_LT(refusal, 2) << "failed without a refusing allocator";
            ASSERT_TRUE(trace.empty() ||
                        (trace.back() == '!' && trace.find(' ') == std::string::npos));
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

// The four verbs as spans of the model: assign replaces everything, append
// the empty span at the end, insert an empty span at pos, replace (pos, n).
enum Verb { kAssign, kAppend, kInsert, kReplace };
const char* const kVerbs[] = {"Assign", "Append", "Insert", "Replace"};

// Each operand form with its four verbs; pos and n matter only where the
// verb takes them.
using StringVerb = VekString* (*)(VekString*, VekSizeT, VekSizeT, const VekString*);
const StringVerb kWhole[] = {
    [](VekString* x, VekSizeT, VekSizeT, const VekString* y) { return VekStringAssign(x, y); },
    [](VekString* x, VekSizeT, VekSizeT, const VekString* y) { return VekStringAppend(x, y); },
    [](VekString* x, VekSizeT p, VekSizeT, const VekString* y) {
        return VekStringInsertString(x, p, y);
    },
    [](VekString* x, VekSizeT p, VekSizeT n, const VekString* y) {
        return VekStringReplaceString(x, p, n, y);
    },
};
using SubstringVerb = VekString* (*)(VekString*, VekSizeT, VekSizeT, const VekString*, VekSizeT,
                                     VekSizeT);
const SubstringVerb kSubstring[] = {
    [](VekString* x, VekSizeT, VekSizeT, const VekString* y, VekSizeT p2, VekSizeT n2) {
        return VekStringAssignSubstring(x, y, p2, n2);
    },
    [](VekString* x, VekSizeT, VekSizeT, const VekString* y, VekSizeT p2, VekSizeT n2) {
        return VekStringAppendSubstring(x, y, p2, n2);
    },
    [](VekString* x, VekSizeT p, VekSizeT, const VekString* y, VekSizeT p2, VekSizeT n2) {
        return VekStringInsertSubstring(x, p, y, p2, n2);
    },
    [](VekString* x, VekSizeT p, VekSizeT n, const VekString* y, VekSizeT p2, VekSizeT n2) {
        return VekStringReplaceSubstring(x, p, n, y, p2, n2);
    },
};
using CStrVerb = VekString* (*)(VekString*, VekSizeT, VekSizeT, const char*);
const CStrVerb kCStr[] = {
    [](VekString* x, VekSizeT, VekSizeT, const char* y) { return VekStringAssignCStr(x, y); },
    [](VekString* x, VekSizeT, VekSizeT, const char* y) { return VekStringAppendCStr(x, y); },
    [](VekString* x, VekSizeT p, VekSizeT, const char* y) { return VekStringInsertCStr(x, p, y); },
    [](VekString* x, VekSizeT p, VekSizeT n, const char* y) {
        return VekStringReplaceCStr(x, p, n, y);
    },
};
using BytesVerb = bool (*)(VekString*, VekSizeT, VekSizeT, const char*, VekSizeT);
const BytesVerb kCStrLen[] = {
    [](VekString* x, VekSizeT, VekSizeT, const char* y, VekSizeT l) {
        return VekStringAssignCStrLen(x, y, l) != nullptr;
    },
    [](VekString* x, VekSizeT, VekSizeT, const char* y, VekSizeT l) {
        return VekStringAppendCStrLen(x, y, l) != nullptr;
    },
    [](VekString* x, VekSizeT p, VekSizeT, const char* y, VekSizeT l) {
        return VekStringInsertCStrLen(x, p, y, l) != nullptr;
    },
    [](VekString* x, VekSizeT p, VekSizeT n, const char* y, VekSizeT l) {
        return VekStringReplaceCStrLen(x, p, n, y, l) != nullptr;
    },
};
// The iterator forms take valid spans only: the caller checks positions.
const BytesVerb kRange[] = {
    [](VekString* x, VekSizeT, VekSizeT, const char* y, VekSizeT l) {
        return VekStringAssignRange(x, y, y + l) != nullptr;
    },
    [](VekString* x, VekSizeT, VekSizeT, const char* y, VekSizeT l) {
        return VekStringAppendRange(x, y, y + l) != nullptr;
    },
    [](VekString* x, VekSizeT p, VekSizeT, const char* y, VekSizeT l) {
        return VekStringInsertRange(x, x->buf + p, y, y + l) != 0;
    },
    [](VekString* x, VekSizeT p, VekSizeT n, const char* y, VekSizeT l) {
        return VekStringReplaceRange(x, x->buf + p, x->buf + p + n, y, y + l) != nullptr;
    },
};
using CharVerb = VekString* (*)(VekString*, VekSizeT, VekSizeT, char);
const CharVerb kChar[] = {
    [](VekString* x, VekSizeT, VekSizeT, char c) { return VekStringAssignChar(x, c); },
    [](VekString* x, VekSizeT, VekSizeT, char c) { return VekStringAppendChar(x, c); },
    [](VekString* x, VekSizeT p, VekSizeT, char c) { return VekStringInsertChar(x, p, c); },
    [](VekString* x, VekSizeT p, VekSizeT n, char c) { return VekStringReplaceChar(x, p, n, c); },
};

bool EditFuzz::Edit(VekString* x, const std::string& m, Expected* expected, std::string* name)
{
    const VekSizeT size = m.size();
    const Verb verb = static_cast<Verb>(Below(4));
    const int form = static_cast<int>(Below(10));
    // Positions may be refused, except for the iterator forms.
    VekSizeT pos = verb == kAssign ? 0 : verb == kAppend ? size : Position(size);
    VekSizeT n = verb == kAssign ? kNpos : verb == kReplace ? Count(size) : 0;
    if (form == 4 && verb >= kInsert) {
        pos = Below(size + 1);
        n = verb == kReplace ? Below(size - pos + 1) : 0;
    }
    const auto replace_span = [&](const Expected& with) -> Expected {
        return with ? Replace(m, pos, n, *with) : std::nullopt;
    };
    const char c = "ab\0z"[Below(4)];
    *name = kVerbs[verb];
    switch (form) {
    case 0: {
        *name += "String";
        StringOperand y = RecordOperand(x);
        *expected = replace_span(Content(*y.record));
        const bool ok = kWhole[verb](x, pos, n, y.record) != nullptr;
        Release(y);
        return ok;
    }
    case 1: {
        *name += "Substring";
        StringOperand y = RecordOperand(x);
        const VekSizeT p2 = Position(y.record->size), n2 = Count(y.record->size);
        *expected = replace_span(Sub(Content(*y.record), p2, n2));
        const bool ok = kSubstring[verb](x, pos, n, y.record, p2, n2) != nullptr;
        Release(y);
        return ok;
    }
    case 2: {
        *name += "CStr";
        const Operand o = CStrOperand(*x);
        *expected = replace_span(o.bytes);
        return kCStr[verb](x, pos, n, o.ptr) != nullptr;
    }
    case 3:
    case 4: {
        *name += form == 3 ? "CStrLen" : "Range";
        const Operand o = PointerOperand(*x);
        *expected = replace_span(o.bytes);
        if (form == 3 && verb == kAppend && OneIn(2)) { // the header's inline fast path
            *name += "Inline";
            return VekStringAppendCStrLenInline(x, o.ptr, o.len) != nullptr;
        }
        return (form == 3 ? kCStrLen : kRange)[verb](x, pos, n, o.ptr, o.len);
    }
    case 5:
        *name += "Char";
        *expected = replace_span(std::string(1, c));
        if (verb == kAppend && OneIn(2)) { // the header's inline fast path
            *name += "Inline";
            return VekStringAppendCharInline(x, c) != nullptr;
        }
        return kChar[verb](x, pos, n, c) != nullptr;
    case 6: {
        *name = "AppendN/Resize";
        const VekSizeT count = Below(20);
        std::string r = m;
        if (verb < kInsert) {
            r.append(count, c);
            *expected = r;
            return VekStringAppendN(x, count, c) != nullptr;
        }
        r.resize(count, c);
        *expected = r;
        return VekStringResize(x, count, &c);
    }
    case 7: {
        *name = "InsertIterator";
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
    case 8:
        *name = "EraseSubstring";
        *expected = Replace(m, pos, n, "");
        return VekStringEraseSubstring(x, pos, n) != nullptr;
    default: {
        *name = "Erase/EraseRange";
        if (size == 0) {
            *expected = m;
            return true;
        }
        const VekSizeT p = Below(size);
        const VekSizeT len = verb < kInsert ? 1 : Below(size - p + 1);
        *expected = Replace(m, p, len, "");
        VekStringIterator it = verb < kInsert
                                   ? VekStringErase(x, x->buf + p)
                                   : VekStringEraseRange(x, x->buf + p, x->buf + p + len);
        return it != nullptr && it == x->buf + p;
    }
    }
}

TEST(EditDifferential, MatchesStdStringOverManySeeds)
{
    for (unsigned seed = 1; seed <= 40 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        EditFuzz(seed).Run(3000);
    }
}

} // namespace
