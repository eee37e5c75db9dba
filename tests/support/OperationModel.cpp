// OperationModel.cpp - the live strings, the operand makers and the check
// made after every step of the operation model.
#include "OperationModel.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace vektest {

namespace {

constexpr int kSlots = 3;
constexpr int kStates = 5;
constexpr VekSizeT kNoLimit = static_cast<VekSizeT>(PTRDIFF_MAX);
// A string grown beyond these is reset before the next step, so that edits
// which multiply it (find-and-replace, appending it to itself) stay cheap.
constexpr VekSizeT kMaxSize = 4096;
constexpr VekSizeT kMaxCapacity = VekSizeT{1} << 15;
constexpr std::size_t kMaxViews = 12;

} // namespace

std::string Join(const std::string& a, const std::string& b)
{
    return a.empty() || b.empty() ? a + b : a + " " + b;
}

std::string Blocks(VekSizeT c, VekSizeT old)
{
    return Join(c == 0 ? "" : "+" + std::to_string(c + 1),
                old == 0 ? "" : "-" + std::to_string(old + 1));
}

std::optional<std::string> Sub(const std::string& s, VekSizeT pos, VekSizeT n)
{
    if (pos > s.size())
        return std::nullopt;
    return s.substr(pos, n);
}

// Model holds the live strings and their models, the allocator they share,
// and the views their records may point at.
class Model {
public:
    Model(Choices& choices, Report report) : in(choices), report_(report)
    {
        for (VekString& s : slots)
            VekStringConstructDefault(&s, alloc);
    }

    ~Model()
    {
        for (VekString& s : slots)
            VekStringDestruct(&s);
        if (!found && (!alloc.IsClean() || !other.IsClean()))
            report_(std::string("blocks left behind: ") + alloc.IsClean().message() +
                    other.IsClean().message());
    }

    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    // Reset gives a string a new buffer state: 0 empty on the shared byte,
    // 1 a read-only view, 2 owned and full, 3 owned with room, 4 an adopted
    // external block with room.
    void Reset(int slot, int state)
    {
        VekString* x = &slots[slot];
        VekStringDestruct(x);
        VekStringDestruct(x); // destroying twice releases once
        if (x->allocator != nullptr || x->buf != nullptr || x->size != 0 || x->capacity != 0)
            report_("a destroyed record must be all zero");
        std::string text = in.Bytes(48);
        // Whitespace at the ends, with 0xA0 and 0x85 (spaces only in Latin-1),
        // for the trimming rows.
        for (std::size_t n = in.OneIn(4) ? in.Below(8) : 0; n > 0; --n)
            text.insert(in.OneIn(2) ? text.size() : 0, 1, " \t\n\v\f\r\xA0\x85"[in.Below(8)]);
        if (state == 1 && (text.empty() || views_.size() == kMaxViews))
            state = 2;
        if (state == 0) {
            VekStringConstructDefault(x, alloc);
        } else if (state == 1) {
            *x = MakeView(views_.emplace_back(text), alloc);
        } else if (state == 4) {
            const VekSizeT block_size = text.size() + 1 + in.Below(8);
            char* block = static_cast<char*>(VekAllocatorAllocate(alloc, block_size));
            std::memcpy(block, text.data(), text.size());
            VekStringConstructWithExternalBuffer(x, block, text.size(), block_size, alloc);
        } else {
            VekStringConstructCStrLen(x, text.data(), text.size(), alloc);
            if (state == 3)
                VekStringReserve(x, text.size() + 1 + in.Below(24));
        }
        models[slot] = Content(*x);
    }

    void Run(const Row& row, int slot, const Refusal& refusal, Outcome* outcome = nullptr);

    Choices& in;
    RecordingAllocator alloc;
    RecordingAllocator other; // for temporary operands, never refused
    VekString slots[kSlots];
    std::string models[kSlots];
    bool found = false;

private:
    void Check(const Row& row, Step& s, const Snapshot& before, bool ok, const std::string& trace,
               const Refusal& refusal);

    Report report_;
    std::deque<ReadOnlyBytes> views_;
};

Step::Step(Model& model, int slot)
    : x(&model.slots[slot]), m(Content(*x)), in(model.in), a(model.alloc), slots_(model.slots),
      models_(model.models), alloc_(model.alloc), other_(model.other)
{
}

VekSizeT Step::Pos(VekSizeT size)
{
    // Past the end: just past, near npos, or past 32 bits (1 if narrowed).
    static constexpr VekSizeT kBeyond[] = {kNpos, kNpos - 1, (VekSizeT{1} << 32) + 1};
    if (in.OneIn(10))
        return in.OneIn(2) ? size + 1 : kBeyond[in.Below(3)];
    return in.Below(size + 1);
}

const char* Step::Guarded(const char* p)
{
    static const ReadOnlyBytes nothing(""); // starts on a page that cannot be read
    return expect ? p : nothing.data();
}

Operand Step::Slice()
{
    if (!m.empty() && in.OneIn(6)) { // x's bytes again, in other case or one byte off
        std::string near = m;
        const bool recase = in.OneIn(2);
        for (char& c : near) {
            if (recase && (c | 0x20) >= 'a' && (c | 0x20) <= 'z' && in.OneIn(2))
                c ^= 0x20;
        }
        if (in.OneIn(2))
            near[in.OneIn(2) ? near.size() - 1 : in.Below(near.size())] ^= 1;
        return {Keep(near), near.size(), near};
    }
    const VekString& from = in.OneIn(2) ? *x : *Slot();
    if (from.size != 0 && !in.OneIn(4)) {
        const VekSizeT pos = in.Below(from.size + 1);
        const VekSizeT len = in.Below(from.size - pos + 1);
        return {from.buf + pos, len, std::string(from.buf + pos, len)};
    }
    if (in.OneIn(4)) // the shared empty byte, or an empty string's own block
        return {from.buf, 0, ""};
    const char* p = Keep(in.Bytes(24));
    return {p, outside_.back().size(), outside_.back()};
}

Operand Step::Byte()
{
    const char b = !m.empty() && in.OneIn(2) ? m[in.Below(m.size())] : Char();
    return {Keep(std::string(1, b)), 1, std::string(1, b)};
}

Operand Step::CStr()
{
    const VekString& from = in.OneIn(2) ? *x : *Slot();
    if (from.capacity != 0 && !in.OneIn(3)) {
        const char* p = from.buf + in.Below(from.size + 1);
        return {p, std::strlen(p), p};
    }
    if (in.OneIn(8))
        return {vekStringEmpty_, 0, ""};
    std::string text = in.Bytes(24);
    std::erase(text, '\0');
    const char* p = Keep(std::move(text));
    return {p, std::strlen(p), p};
}

Record Step::Str()
{
    Record r{};
    switch (in.Below(5)) {
    case 0:
        r = {x, m};
        break;
    case 1:
        r.str = Slot();
        r.bytes = Content(*r.str);
        break;
    case 2: { // a view record of some bytes, often x's own
        const Operand o = Slice();
        r = {&temps_.emplace_back(VekString{alloc_, const_cast<char*>(o.ptr), o.len, 0}), o.bytes};
        break;
    }
    case 3:
        r.bytes = in.Bytes(24);
        r.str = &temps_.emplace_back();
        VekStringConstructCStrLen(&temps_.back(), r.bytes.data(), r.bytes.size(), other_);
        break;
    default:
        r = {VekStringConstructDefault(&temps_.emplace_back(), alloc_), ""};
    }
    r.pos = Pos(r.bytes.size());
    r.count = Count(r.bytes.size());
    return r;
}

void Step::Splice(VekSizeT pos, VekSizeT n, const std::optional<std::string>& with)
{
    if (pos > m.size() || !with)
        expect.reset();
    else
        expect = std::string(m).replace(pos, n, *with);
}

void Step::Grows(VekSizeT size)
{
    if (size <= x->capacity && (size == 0 || x->capacity != 0))
        InPlace();
    else
        Reallocates(std::max(size, 2 * x->capacity));
}

// A formatted construction allocates exactly the output. A formatted edit
// formats straight into an owned block when the span ends
// the content; otherwise the first formatter call only measures, and only an
// empty output is placed without a new block. A direct write that fails has
// already overwritten the span.
void Step::Formatted(VekSizeT pos, VekSizeT n, const std::optional<std::string>& out)
{
    if (constructs_) { // exactly the output, or nothing for an empty one
        expect = out.value_or("");
        must_fail = !out;
        Reallocates(expect->size());
        return;
    }
    if (pos > m.size()) {
        expect.reset();
        return;
    }
    n = std::min(n, m.size() - pos);
    const VekSizeT tail = m.size() - pos - n;
    const bool direct = tail == 0 && x->capacity != 0;
    if (direct && n != 0)
        keeps_head = pos;
    if (!out) {
        must_fail = true;
        expect = m;
        trace = "";
        return;
    }
    expect = std::string(m).replace(pos, n, *out);
    const bool fits = direct ? out->size() <= x->capacity - pos
                             : out->empty() && (n == 0 || tail == 0 || x->capacity != 0);
    if (fits)
        InPlace();
    else
        Reallocates(std::max<VekSizeT>(expect->size(), 2 * x->capacity));
}

void Model::Run(const Row& row, int slot, const Refusal& refusal, Outcome* outcome)
{
    Step s(*this, slot);
    s.constructs_ = row.rule == Rule::kConstruct;
    const Snapshot before = Snapshot::Of(*s.x);
    alloc.ClearEvents();
    alloc.SetMaxSize(refusal.max_size);
    alloc.RefuseNth(refusal.nth, refusal.and_after);
    const bool ok = row.call(s);
    const std::string trace = alloc.Trace();
    alloc.AllowAll();
    alloc.SetMaxSize(kNoLimit);
    if (outcome != nullptr)
        *outcome = Outcome{ok, Content(s.constructs_ ? s.built : *s.x), trace};
    Check(row, s, before, ok, trace, refusal);
    if (s.constructs_ && ok) {
        VekStringSwap(s.x, &s.built);
        models[slot] = Content(*s.x);
    }
    if (s.constructs_)
        VekStringDestruct(&s.built);
    for (VekString& t : s.temps_)
        VekStringDestruct(&t);
}

// Exceeds tells whether a trace asks for a block the limit refuses.
bool Exceeds(const std::string& trace, VekSizeT limit)
{
    for (std::size_t i = trace.find('+'); i != std::string::npos; i = trace.find('+', i + 1)) {
        if (std::stoull(trace.substr(i + 1)) > limit)
            return true;
    }
    return false;
}

void Model::Check(const Row& row, Step& s, const Snapshot& before, bool ok,
                  const std::string& trace, const Refusal& refusal)
{
    std::vector<std::string>& bad = s.findings_;
    const VekString& t = s.constructs_ ? s.built : *s.x;
    const auto require = [&](bool good, const std::string& what) {
        if (!good)
            bad.push_back(what);
    };
    // A growing edit asks for max(new size, 2 x capacity) when the result
    // does not fit; the other rules state their trace.
    const VekSizeT new_size = s.expect.value_or("").size();
    const VekSizeT grown =
        new_size <= before.capacity ? 0 : std::max(new_size, 2 * before.capacity);
    const std::string asked =
        row.rule == Rule::kGrowth ? Blocks(grown, before.capacity) : s.trace.value_or("");
    require(HasInvariants(t), HasInvariants(t).message());
    if (!ok) {
        // A refused allocation explains any failure and must leave the string
        // as it was; a row's own failure (input the formatter or the codec
        // refuses) leaves what the row says.
        const std::size_t bang = trace.find('!');
        const bool by_allocator = bang != std::string::npos || (refusal.max_size != kNoLimit &&
                                                                Exceeds(asked, refusal.max_size));
        const bool gave_up = s.expect && s.must_fail && !by_allocator;
        if (!s.expect)
            require(trace.empty(), "a position beyond the end reached the allocator");
        else if (!gave_up)
            require(by_allocator, "failed without a refusal");
        else
            require(trace == asked, "refused input: the trace should be \"" + asked + '"');
        require(bang == std::string::npos || trace.find('+', bang) == std::string::npos,
                "allocated again after a refusal");
        const Snapshot after = Snapshot::Of(*s.x);
        if (s.constructs_) {
            require(s.built.buf == vekStringEmpty_ && s.built.size == 0 && s.built.capacity == 0 &&
                        s.built.allocator == s.a && after == before,
                    "a failed construction must leave an empty string naming its allocator");
        } else if (gave_up && (s.expect != s.m || s.capacity)) {
            require(Content(*s.x) == *s.expect &&
                        after.capacity == s.capacity.value_or(before.capacity) &&
                        (s.capacity || after.buf == before.buf),
                    "refused input must leave " + Quote(*s.expect) + " in the block");
        } else if (s.keeps_head != kNpos) {
            require(after.buf == before.buf && after.size == before.size &&
                        after.capacity == before.capacity &&
                        after.bytes.compare(0, s.keeps_head, before.bytes, 0, s.keeps_head) == 0,
                    "a failure must keep the fields and the bytes before the span");
        } else {
            require(after == before, "a failure changed the string");
        }
        models[s.x - slots] = Content(*s.x);
    } else if (!s.expect || s.must_fail) {
        require(false, "succeeded where it must fail");
    } else {
        require(Content(t) == *s.expect,
                "gave " + Quote(Content(t)) + ", want " + Quote(*s.expect));
        if (row.rule == Rule::kGrowth) {
            // A view may also be kept (only shortened); an owned block only
            // when the result fits.
            const bool kept =
                t.capacity == before.capacity && (t.capacity == 0 || t.buf == before.buf);
            require(before.capacity != 0 || new_size == 0 || !s.view_kept ||
                        !s.m.starts_with(*s.expect) || kept == *s.view_kept,
                    s.view_kept.value_or(false) ? "a cut view stays a view"
                                                : "a view must be copied");
            require(kept ? trace.empty() : grown != 0 && t.capacity == grown && trace == asked,
                    "growth must take one block of " + std::to_string(grown) + " (\"" + asked +
                        "\"), and only when the result does not fit");
        } else if (row.rule == Rule::kQuery) {
            require(Snapshot::Of(*s.x) == before && trace.empty(), "a query changed something");
        }
        require(!s.capacity || t.capacity == *s.capacity,
                "capacity " + std::to_string(t.capacity) + ", want " +
                    std::to_string(s.capacity.value_or(0)));
        require(!s.trace || trace == *s.trace,
                "the trace should be \"" + s.trace.value_or("") + '"');
        if (!s.constructs_)
            models[s.x - slots] = *s.expect;
    }
    std::size_t owning = 0;
    for (int i = 0; i < kSlots; ++i) {
        require(HasInvariants(slots[i]) && Content(slots[i]) == models[i],
                "string " + std::to_string(i) + " holds " + Quote(Content(slots[i])) +
                    ", its model " + Quote(models[i]));
        owning += slots[i].capacity != 0 ? 1 : 0;
    }
    owning += s.constructs_ && s.built.capacity != 0 ? 1 : 0;
    require(alloc.outstanding() == owning, std::to_string(alloc.outstanding()) +
                                               " blocks out for " + std::to_string(owning) +
                                               " owning strings");
    if (bad.empty())
        return;
    std::ostringstream what;
    what << row.name << " on string " << (s.x - slots) << " " << before << " holding " << Quote(s.m)
         << ", refusing " << refusal.nth << (refusal.and_after ? "+" : "") << " limit "
         << refusal.max_size << ", trace \"" << trace << "\", " << (ok ? "succeeded" : "failed");
    for (const std::string& b : bad)
        what << "\n  " << b;
    found = true;
    report_(what.str());
}

void RunOperations(Choices& in, Report report, std::size_t max_steps)
{
    Model model(in, report);
    const std::span<const Row> rows = Rows();
    for (std::size_t step = 0; step < max_steps && !in.Spent() && !model.found; ++step) {
        for (int i = 0; i < kSlots; ++i) {
            if (model.slots[i].size > kMaxSize || model.slots[i].capacity > kMaxCapacity)
                model.Reset(i, static_cast<int>(in.Below(kStates)));
        }
        const int slot = static_cast<int>(in.Below(kSlots));
        if (in.OneIn(12)) {
            model.Reset(slot, static_cast<int>(in.Below(kStates)));
            continue;
        }
        const Row& row = rows[in.Below(rows.size())];
        Refusal refusal;
        switch (in.Below(8)) {
        case 5:
        case 6:
            refusal.nth = 1 + in.Below(3);
            refusal.and_after = in.OneIn(2);
            break;
        case 7:
            refusal.max_size = in.Below(64);
            break;
        }
        model.Run(row, slot, refusal);
    }
}

Outcome RunRow(const Row& row, int state, std::uint64_t seed, const Refusal& refusal, Report report)
{
    SeededChoices in(seed);
    Model model(in, report);
    for (int i = 0; i < kSlots; ++i)
        model.Reset(i, i == 0 ? state : static_cast<int>(in.Below(kStates)));
    Outcome outcome{};
    model.Run(row, 0, refusal, &outcome);
    return outcome;
}

} // namespace vektest
