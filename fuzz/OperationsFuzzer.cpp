// OperationsFuzzer.cpp - the input drives a sequence of operations on three
// strings: edits of every family, formatted edits, searches, comparisons,
// find-and-replace, moves, swaps and capacity changes. Strings start empty
// and are reset now and then to owned strings with spare room, adopted
// external blocks or read-only views in protected pages; operands come from
// the edited string itself, from the other strings, from views into their
// content, or from the input.
//
// Each string has a std::string model. After every step every string must
// equal its model and keep the invariants, and the allocator must hold
// exactly one block per owning string. Any step may run under an allocator
// that refuses its k-th allocation (alone or with all after it) or has a
// small maxSize; an edit that then fails must leave its string as it was
// (formatted edits: as their header comment allows), and one that fails
// without a refusal, or succeeds where a position is beyond the end, is a
// finding.
#include "FuzzSupport.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

namespace {

using vekfuzz::Pick;
using vektest::Content;
using vektest::HasInvariants;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr int kSlots = 3;
constexpr VekSizeT kNpos = VekStringNpos;
constexpr std::size_t kMaxSteps = 64;
constexpr std::size_t kMaxViews = 8;
constexpr VekSizeT kMaxContent = 2048;
constexpr VekSizeT kMaxCapacity = 1 << 16;

// The expected content of an edit, or nullopt when a position is beyond the
// end and the edit must fail without calling the allocator.
using Expected = std::optional<std::string>;

Expected Replaced(const std::string& m, VekSizeT pos, VekSizeT n, const std::string& with)
{
    if (pos > m.size())
        return std::nullopt;
    return std::string(m).replace(pos, n, with);
}

Expected Sub(const std::string& m, VekSizeT pos, VekSizeT n)
{
    if (pos > m.size())
        return std::nullopt;
    return m.substr(pos, n);
}

// The reference find-and-replace: left to right, never rescanning what a
// replacement brought in; an empty find changes nothing.
std::string ReplaceAll(const std::string& s, const std::string& find, const std::string& with)
{
    if (find.empty())
        return s;
    std::string out;
    std::size_t from = 0;
    for (std::size_t pos = s.find(find); pos != std::string::npos;
         pos = s.find(find, pos + find.size())) {
        out.append(s, from, pos - from).append(with);
        from = pos + find.size();
    }
    return out.append(s, from);
}

int Sign(long long v)
{
    return (v > 0) - (v < 0);
}

// How much of a string a failed edit must have kept: everything, or (a
// formatted edit that wrote into its block before the growth was refused)
// the fields and the bytes before the edited span.
struct Keeps {
    bool everything = true;
    VekSizeT head = 0;
};

class Session {
public:
    explicit Session(FuzzedDataProvider& in) : in_(in)
    {
        for (VekString& s : slots_)
            VekStringConstructDefault(&s, alloc_);
    }

    ~Session()
    {
        for (VekString& s : slots_)
            VekStringDestruct(&s);
        FUZZ_CHECK_RESULT(alloc_.IsClean(), "after " << step_ << " steps");
    }

    void Run()
    {
        for (step_ = 0; step_ < kMaxSteps && in_.remaining_bytes() > 0; ++step_)
            Step();
    }

private:
    // An operand given as a pointer and a count, with a copy of its bytes
    // taken before the call for the model.
    struct Operand {
        const char* ptr;
        VekSizeT len;
        std::string bytes;
    };

    // An operand given as a record: a slot, a view record into some
    // content, or a temporary owned string.
    struct Record {
        const VekString* record = nullptr;
        VekString temp{};
        bool owns_temp = false;
        ~Record()
        {
            if (owns_temp)
                VekStringDestruct(&temp);
        }
    };

    VekSizeT Position(VekSizeT size)
    {
        switch (Pick(in_, 10)) {
        case 0:
            return size + 1;
        case 1:
            return kNpos - Pick(in_, 2);
        default:
            return Pick(in_, size + 1);
        }
    }

    VekSizeT Count(VekSizeT remaining)
    {
        return Pick(in_, 6) == 0 ? kNpos - Pick(in_, 2) : Pick(in_, remaining + 3);
    }

    const std::string& Keep(std::string text)
    {
        outside_.push_back(std::make_unique<std::string>(std::move(text)));
        return *outside_.back();
    }

    // A slice of x's content or of another slot, or bytes from the input.
    Operand Slice(const VekString& x)
    {
        const VekString& from = Pick(in_, 2) == 0 ? x : slots_[Pick(in_, kSlots)];
        if (from.size != 0 && Pick(in_, 4) != 0) {
            const VekSizeT pos = Pick(in_, from.size + 1);
            const VekSizeT len = Pick(in_, from.size - pos + 1);
            return {from.buf + pos, len, std::string(from.buf + pos, len)};
        }
        const std::string& text = Keep(vekfuzz::Text(in_, 40));
        return {text.data(), text.size(), text};
    }

    // A NUL-terminated operand: a suffix of an owned content (terminated by
    // its block), or input bytes without NUL.
    Operand CStr(const VekString& x)
    {
        if (x.capacity != 0 && Pick(in_, 2) == 0) {
            const char* p = x.buf + Pick(in_, x.size + 1);
            return {p, std::strlen(p), std::string(p)};
        }
        const std::string& text = Keep(vekfuzz::Text(in_, 40, true));
        return {text.c_str(), text.size(), text};
    }

    void FillRecord(VekString* x, Record* r)
    {
        r->record = x;
        r->owns_temp = false;
        switch (Pick(in_, 4)) {
        case 0:
            return;
        case 1:
            r->record = &slots_[Pick(in_, kSlots)];
            return;
        case 2: {
            const Operand o = Slice(*x);
            r->temp = VekString{alloc_, const_cast<char*>(o.ptr), o.len, 0};
            r->record = &r->temp;
            return;
        }
        default: {
            const std::string& text = Keep(vekfuzz::Text(in_, 40));
            VekStringConstructCStrLen(&r->temp, text.data(), text.size(), VekAllocatorGetDefault());
            r->owns_temp = true;
            r->record = &r->temp;
        }
        }
    }

    // Reset gives a slot a new buffer state, outside any refusal window.
    void Reset(int slot)
    {
        VekString* x = &slots_[slot];
        VekStringDestruct(x);
        const std::string text = vekfuzz::Text(in_, 48);
        switch (Pick(in_, 4)) {
        case 0:
            VekStringConstructDefault(x, alloc_);
            break;
        case 1:
            if (!text.empty() && views_.size() < kMaxViews) {
                views_.push_back(std::make_unique<ReadOnlyBytes>(text));
                *x = vektest::MakeView(*views_.back(), alloc_);
                break;
            }
            [[fallthrough]];
        case 2: {
            // An adopted block of the allocator, with some room behind the text.
            const VekSizeT block_size = text.size() + 1 + Pick(in_, 8);
            char* block = static_cast<char*>(VekAllocatorAllocate(alloc_, block_size));
            std::memcpy(block, text.data(), text.size());
            VekStringConstructWithExternalBuffer(x, block, text.size(), block_size, alloc_);
            break;
        }
        default:
            VekStringConstructCStrLen(x, text.data(), text.size(), alloc_);
            if (Pick(in_, 2) == 0)
                VekStringReserve(x, text.size() + Pick(in_, 32));
        }
        models_[slot] = Content(*x);
    }

    bool Edit(VekString* x, const std::string& m, Expected* expected, Keeps* keeps);
    void Query(const VekString* x, const std::string& m);
    bool Structural(int slot);

    void Step()
    {
        // A string that grew past the bounds is reset before it can feed an
        // edit that multiplies it (find-and-replace by a long string), and
        // before formatted insertions, which double the capacity each time
        // a tail follows, make its blocks costly.
        for (int i = 0; i < kSlots; ++i) {
            if (slots_[i].size > kMaxContent || slots_[i].capacity > kMaxCapacity)
                Reset(i);
        }
        const int slot = static_cast<int>(Pick(in_, kSlots));
        VekString* x = &slots_[slot];
        if (Pick(in_, 12) == 0) {
            Reset(slot);
            return;
        }
        const std::size_t family = Pick(in_, 8);
        if (family == 0) {
            Query(x, models_[slot]);
            return;
        }
        if (family == 1 && Structural(slot)) {
            CheckAll("structural step");
            return;
        }
        const std::string m = models_[slot];
        const Snapshot before = Snapshot::Of(*x);
        vekfuzz::DrawRefusals(in_, alloc_);
        Expected expected;
        Keeps keeps;
        const bool ok = Edit(x, m, &expected, &keeps);
        const bool refusals = vekfuzz::RefusalsActive(alloc_);
        const std::string trace = alloc_.Trace();
        vekfuzz::AllowAll(alloc_);
        outside_.clear();
        const std::string where = "step " + std::to_string(step_) + " (" + name_ + ") on \"" + m +
                                  "\", trace \"" + trace + "\"";
        FUZZ_CHECK_RESULT(HasInvariants(*x), where);
        if (ok) {
            FUZZ_CHECK(expected.has_value(), where << ": succeeded with a position beyond the end");
            FUZZ_CHECK(Content(*x) == *expected, where << ": gave \"" << Content(*x)
                                                       << "\", expected \"" << *expected << '"');
            models_[slot] = *expected;
        } else {
            FUZZ_CHECK(!expected.has_value() || refusals, where << ": failed without a refusal");
            FUZZ_CHECK(expected.has_value() || trace.empty(),
                       where << ": a position beyond the end reached the allocator");
            const Snapshot after = Snapshot::Of(*x);
            if (keeps.everything) {
                FUZZ_CHECK(after == before, where << ": failed edit changed the string");
            } else {
                FUZZ_CHECK(after.buf == before.buf && after.size == before.size &&
                               after.capacity == before.capacity &&
                               after.bytes.compare(0, keeps.head, before.bytes, 0, keeps.head) == 0,
                           where << ": failed edit changed the fields or the head");
                models_[slot] = Content(*x);
            }
        }
        CheckAll(where);
    }

    // Every slot equals its model and keeps the invariants, and the
    // allocator holds one block per owning slot.
    void CheckAll(const std::string& where)
    {
        std::size_t owning = 0;
        for (int i = 0; i < kSlots; ++i) {
            FUZZ_CHECK_RESULT(HasInvariants(slots_[i]), where << ", slot " << i);
            FUZZ_CHECK(Content(slots_[i]) == models_[i],
                       where << ", slot " << i << " holds \"" << Content(slots_[i])
                             << "\", model \"" << models_[i] << '"');
            owning += slots_[i].capacity != 0 ? 1 : 0;
        }
        FUZZ_CHECK(alloc_.outstanding() == owning,
                   where << ": " << alloc_.outstanding() << " blocks out for " << owning);
    }

    FuzzedDataProvider& in_;
    RecordingAllocator alloc_;
    VekString slots_[kSlots];
    std::string models_[kSlots];
    std::vector<std::unique_ptr<ReadOnlyBytes>> views_;
    std::vector<std::unique_ptr<std::string>> outside_;
    std::string name_;
    std::size_t step_ = 0;
};

bool Session::Edit(VekString* x, const std::string& m, Expected* expected, Keeps* keeps)
{
    const VekSizeT size = m.size();
    const VekSizeT pos = Position(size);
    const VekSizeT n = Count(size);
    const char c = static_cast<char>(in_.ConsumeIntegral<unsigned char>());
    Record y;
    switch (Pick(in_, 30)) {
    case 0:
        name_ = "Assign";
        FillRecord(x, &y);
        *expected = Content(*y.record);
        return VekStringAssign(x, y.record) != nullptr;
    case 1: {
        name_ = "AssignSubstring";
        FillRecord(x, &y);
        const VekSizeT p = Position(y.record->size);
        *expected = Sub(Content(*y.record), p, n);
        return VekStringAssignSubstring(x, y.record, p, n) != nullptr;
    }
    case 2: {
        name_ = "AssignCStr";
        const Operand o = CStr(*x);
        *expected = o.bytes;
        return VekStringAssignCStr(x, o.ptr) != nullptr;
    }
    case 3: {
        name_ = "AssignCStrLen/Range";
        const Operand o = Slice(*x);
        *expected = o.bytes;
        return Pick(in_, 2) == 0 ? VekStringAssignCStrLen(x, o.ptr, o.len) != nullptr
                                 : VekStringAssignRange(x, o.ptr, o.ptr + o.len) != nullptr;
    }
    case 4:
        name_ = "AssignChar";
        *expected = std::string(1, c);
        return VekStringAssignChar(x, c) != nullptr;
    case 5:
        name_ = "Append";
        FillRecord(x, &y);
        *expected = m + Content(*y.record);
        return VekStringAppend(x, y.record) != nullptr;
    case 6: {
        name_ = "AppendSubstring";
        FillRecord(x, &y);
        const VekSizeT p = Position(y.record->size);
        const Expected sub = Sub(Content(*y.record), p, n);
        *expected = sub ? Expected(m + *sub) : std::nullopt;
        return VekStringAppendSubstring(x, y.record, p, n) != nullptr;
    }
    case 7: {
        name_ = "AppendCStr";
        const Operand o = CStr(*x);
        *expected = m + o.bytes;
        return VekStringAppendCStr(x, o.ptr) != nullptr;
    }
    case 8: {
        name_ = "AppendCStrLen/Range";
        const Operand o = Slice(*x);
        *expected = m + o.bytes;
        return Pick(in_, 2) == 0 ? VekStringAppendCStrLen(x, o.ptr, o.len) != nullptr
                                 : VekStringAppendRange(x, o.ptr, o.ptr + o.len) != nullptr;
    }
    case 9:
        name_ = "AppendChar";
        *expected = m + c;
        return VekStringAppendChar(x, c) != nullptr;
    case 10: {
        name_ = "AppendN";
        const VekSizeT count = Pick(in_, 40);
        *expected = m + std::string(count, c);
        return VekStringAppendN(x, count, c) != nullptr;
    }
    case 11: {
        name_ = "Resize";
        const VekSizeT to = Pick(in_, size + 40);
        *expected = m;
        (*expected)->resize(to, c);
        return VekStringResize(x, to, &c);
    }
    case 12: {
        name_ = "ReplaceSubstring";
        FillRecord(x, &y);
        const VekSizeT p2 = Position(y.record->size);
        const VekSizeT n2 = Count(y.record->size);
        const Expected with = Sub(Content(*y.record), p2, n2);
        *expected = with ? Replaced(m, pos, n, *with) : std::nullopt;
        return VekStringReplaceSubstring(x, pos, n, y.record, p2, n2) != nullptr;
    }
    case 13:
        name_ = "ReplaceString";
        FillRecord(x, &y);
        *expected = Replaced(m, pos, n, Content(*y.record));
        return VekStringReplaceString(x, pos, n, y.record) != nullptr;
    case 14:
        name_ = "ReplaceChar";
        *expected = Replaced(m, pos, n, std::string(1, c));
        return VekStringReplaceChar(x, pos, n, c) != nullptr;
    case 15: {
        name_ = "ReplaceCStr";
        const Operand o = CStr(*x);
        *expected = Replaced(m, pos, n, o.bytes);
        return VekStringReplaceCStr(x, pos, n, o.ptr) != nullptr;
    }
    case 16: {
        name_ = "ReplaceCStrLen";
        const Operand o = Slice(*x);
        *expected = Replaced(m, pos, n, o.bytes);
        return VekStringReplaceCStrLen(x, pos, n, o.ptr, o.len) != nullptr;
    }
    case 17: {
        name_ = "ReplaceRange";
        const Operand o = Slice(*x);
        const VekSizeT p = Pick(in_, size + 1);
        const VekSizeT len = Pick(in_, size - p + 1);
        *expected = Replaced(m, p, len, o.bytes);
        return VekStringReplaceRange(x, x->buf + p, x->buf + p + len, o.ptr, o.ptr + o.len) !=
               nullptr;
    }
    case 18: {
        name_ = "Insert";
        const Operand o = Slice(*x);
        if (o.len == 0) {
            *expected = m;
            return true;
        }
        const VekSizeT p = Pick(in_, size + 1);
        *expected = Replaced(m, p, 0, o.bytes.substr(0, 1));
        const VekStringIterator it = VekStringInsert(x, x->buf + p, o.ptr);
        FUZZ_CHECK(it == nullptr || it == x->buf + p, "Insert returned a stray iterator");
        return it != nullptr;
    }
    case 19: {
        name_ = "InsertRange";
        const Operand o = Slice(*x);
        const VekSizeT p = Pick(in_, size + 1);
        *expected = Replaced(m, p, 0, o.bytes);
        return VekStringInsertRange(x, x->buf + p, o.ptr, o.ptr + o.len);
    }
    case 20: {
        name_ = "InsertSubstring/String";
        FillRecord(x, &y);
        const VekSizeT p2 = Position(y.record->size);
        if (Pick(in_, 2) == 0) {
            const Expected with = Sub(Content(*y.record), p2, n);
            *expected = with ? Replaced(m, pos, 0, *with) : std::nullopt;
            return VekStringInsertSubstring(x, pos, y.record, p2, n) != nullptr;
        }
        *expected = Replaced(m, pos, 0, Content(*y.record));
        return VekStringInsertString(x, pos, y.record) != nullptr;
    }
    case 21: {
        name_ = "InsertCStr/CStrLen/Char";
        const std::size_t form = Pick(in_, 3);
        const Operand o = form == 0 ? CStr(*x) : Slice(*x);
        *expected = Replaced(m, pos, 0, form == 2 ? std::string(1, c) : o.bytes);
        return form == 0   ? VekStringInsertCStr(x, pos, o.ptr) != nullptr
               : form == 1 ? VekStringInsertCStrLen(x, pos, o.ptr, o.len) != nullptr
                           : VekStringInsertChar(x, pos, c) != nullptr;
    }
    case 22: {
        name_ = "Erase";
        if (size == 0) {
            *expected = m;
            return true;
        }
        const VekSizeT p = Pick(in_, size);
        *expected = Replaced(m, p, 1, "");
        const VekStringIterator it = VekStringErase(x, x->buf + p);
        FUZZ_CHECK(it == nullptr || it == x->buf + p, "Erase returned a stray iterator");
        return it != nullptr;
    }
    case 23:
        name_ = "EraseSubstring";
        *expected = Replaced(m, pos, n, "");
        return VekStringEraseSubstring(x, pos, n) != nullptr;
    case 24: {
        name_ = "EraseRange";
        const VekSizeT p = Pick(in_, size + 1);
        const VekSizeT len = Pick(in_, size - p + 1);
        *expected = Replaced(m, p, len, "");
        const VekStringIterator it = VekStringEraseRange(x, x->buf + p, x->buf + p + len);
        FUZZ_CHECK(it == nullptr || it == x->buf + p, "EraseRange returned a stray iterator");
        return it != nullptr;
    }
    case 25: {
        name_ = "FindAndReplace";
        Record with;
        FillRecord(x, &y);
        FillRecord(x, &with);
        const std::string find = Content(*y.record);
        *expected = ReplaceAll(m, find, Content(*with.record));
        if ((*expected)->size() > kMaxContent * 16) {
            *expected = m; // too long to be worth building; nothing is called
            return true;
        }
        return VekStringFindAndReplace(x, y.record, with.record) != nullptr;
    }
    case 26: {
        name_ = "Reserve";
        const VekSizeT res = Pick(in_, size + 40);
        *expected = m;
        return VekStringReserve(x, res);
    }
    case 27: {
        // Formatted edits whose span ends the content write into an owned
        // block before any growth; a refusal then keeps only the fields and
        // the bytes before the span.
        // An append, or an insert at the end, keeps everything even then.
        name_ = "AppendFormatted/InsertFormatted";
        const std::string& text = Keep(vekfuzz::Text(in_, 40, true));
        const int number = in_.ConsumeIntegral<int>();
        const std::string out = text + ":" + std::to_string(number);
        if (Pick(in_, 2) == 0) {
            *expected = m + out;
            return VekStringAppendFormatted(x, "%s:%d", text.c_str(), number) != nullptr;
        }
        *expected = Replaced(m, pos, 0, out);
        return VekStringInsertFormatted(x, pos, "%s:%d", text.c_str(), number) != nullptr;
    }
    case 28: {
        name_ = "ReplaceFormatted";
        const std::string& text = Keep(vekfuzz::Text(in_, 40, true));
        const int precision = static_cast<int>(Pick(in_, 50));
        const std::string out = text.substr(0, static_cast<std::size_t>(precision));
        *expected = Replaced(m, pos, n, out);
        if (pos <= size && (n >= size - pos) && x->capacity != 0)
            *keeps = Keeps{false, pos};
        return VekStringReplaceFormatted(x, pos, n, "%.*s", precision, text.c_str()) != nullptr;
    }
    default: {
        name_ = "AssignFormatted";
        const std::string& text = Keep(vekfuzz::Text(in_, 40, true));
        const int width = static_cast<int>(Pick(in_, 60));
        std::string out = text;
        if (out.size() < static_cast<std::size_t>(width))
            out.insert(0, static_cast<std::size_t>(width) - out.size(), ' ');
        *expected = out;
        if (x->capacity != 0)
            *keeps = Keeps{false, 0};
        return VekStringAssignFormatted(x, "%*s", width, text.c_str()) != nullptr;
    }
    }
}

// Queries change nothing and cannot fail; each must agree with std::string.
void Session::Query(const VekString* x, const std::string& m)
{
    Record y;
    FillRecord(const_cast<VekString*>(x), &y);
    const std::string needle = Content(*y.record);
    const VekSizeT pos = Position(m.size());
    const Snapshot before = Snapshot::Of(*x);
    const auto at = [](std::size_t p) { return p == std::string::npos ? kNpos : VekSizeT{p}; };
    const std::size_t p = pos > m.size() ? std::string::npos : static_cast<std::size_t>(pos);
    const std::size_t back = static_cast<std::size_t>(std::min<VekSizeT>(pos, kNpos));
    const std::string where =
        "query on \"" + m + "\" with \"" + needle + "\" at " + std::to_string(pos);
    FUZZ_CHECK(VekStringFindFromPos(x, pos, y.record) ==
                   (p == std::string::npos ? kNpos : at(m.find(needle, p))),
               where);
    FUZZ_CHECK(VekStringRFindFromPos(x, pos, y.record) == at(m.rfind(needle, back)), where);
    FUZZ_CHECK(VekStringFindFirstOf(x, pos, y.record) ==
                   (p == std::string::npos ? kNpos : at(m.find_first_of(needle, p))),
               where);
    FUZZ_CHECK(VekStringFindFirstNotOf(x, pos, y.record) ==
                   (p == std::string::npos ? kNpos : at(m.find_first_not_of(needle, p))),
               where);
    FUZZ_CHECK(VekStringFindLastOfCStrLen(x, pos, needle.data(), needle.size()) ==
                   at(m.find_last_of(needle, back)),
               where);
    FUZZ_CHECK(VekStringFindLastNotOfCStrLen(x, pos, needle.data(), needle.size()) ==
                   at(m.find_last_not_of(needle, back)),
               where);
    const char c = needle.empty() ? 'a' : needle[0];
    FUZZ_CHECK(VekStringFindFirstOfChar(x, pos, c) ==
                   (p == std::string::npos ? kNpos : at(m.find(c, p))),
               where);
    FUZZ_CHECK(VekStringFindLastOfChar(x, pos, c) == at(m.rfind(c, back)), where);
    FUZZ_CHECK(Sign(VekStringCompare(x, y.record)) == Sign(m.compare(needle)), where);
    FUZZ_CHECK(VekStringEqual(x, y.record) == (m == needle), where);
    const VekSizeT n = Count(m.size());
    const std::string span = m.substr(std::min<VekSizeT>(pos, m.size()), n);
    FUZZ_CHECK(VekStringEqualSubstring(x, pos, n, y.record) == (span == needle), where);
    FUZZ_CHECK(Snapshot::Of(*x) == before, where << ": a query changed the string");
}

// Moves, swaps, copies, clearing and direct writes; false when the step
// chose none of them.
bool Session::Structural(int slot)
{
    VekString* x = &slots_[slot];
    const int other = static_cast<int>(Pick(in_, kSlots));
    switch (Pick(in_, 5)) {
    case 0:
        VekStringSwap(x, &slots_[other]);
        std::swap(models_[slot], models_[other]);
        return true;
    case 1:
        VekStringMove(x, &slots_[other]);
        if (other != slot) {
            models_[slot] = models_[other];
            models_[other].clear();
        }
        return true;
    case 2: {
        VekString copy;
        if (VekStringConstructCopy(&copy, &slots_[other]) != nullptr)
            VekStringMove(x, &copy);
        VekStringDestruct(&copy);
        models_[slot] = Content(*x);
        FUZZ_CHECK(models_[slot] == models_[other], "a copy differs from its source");
        return true;
    }
    case 3:
        VekStringClear(x);
        models_[slot].clear();
        return true;
    default: {
        if (x->capacity <= x->size)
            return false;
        const std::string text =
            vekfuzz::Text(in_, static_cast<std::size_t>(x->capacity - x->size));
        std::memcpy(VekStringGetBuffer(x), text.data(), text.size());
        VekStringReleaseBuffer(x, text.size());
        models_[slot] += text;
        return true;
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    Session(in).Run();
    return 0;
}
