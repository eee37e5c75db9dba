// OperationModel.h - what "behaves like std::string" means for every editing
// and query function of the C API, said once for the seeded tests, the
// refusal sweep and the fuzzer.
//
// Three live strings, each with a std::string model, start in every buffer
// state (empty on the shared byte, owned with and without room, an adopted
// external block, a read-only view in protected pages). Each step applies one
// row of the table (OperationTable.cpp) to one of them, with operands taken
// from the string itself, from the others, from views into their content,
// from C strings and from outside, often under an allocator that refuses.
// After every step the model checks the content and terminator; the capacity
// by the row's rule; the allocator's exact byte counts and, where the rule
// knows it, its trace; that a refused step left everything as it was; and
// that every other string still equals its model.
//
// Adding a function is adding a row (OperationTable.cpp): its name, the
// operand maker, what std::string gives, and the call. Most rows are one line:
//
//     VEK_EDIT(InsertCStr, s.CStr(), s.Splice(p, 0, y.bytes), VekStringInsertCStr(s.x, p, y.ptr)),
//     VEK_QUERY(FindCStr, s.CStr(), VekStringFindCStr(s.x, y.ptr), s.m.find(y.bytes)),
//
// A function with an inline fast path in the header shares its row with it:
// the row calls one or the other as s.Twin() says, and the model holds both
// to the same content, capacity and allocator trace.
#ifndef VEK_TESTS_OPERATIONMODEL_H
#define VEK_TESTS_OPERATIONMODEL_H

#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "Choices.h"
#include "VekTestSupport.h"

namespace vektest {

constexpr VekSizeT kNpos = VekStringNpos;

// What the model holds a row's call to, besides the content it expects.
enum class Rule {
    kGrowth,    // in place when the result fits an owned block, else a block of
                // max(new size, 2 x capacity); a view is kept or copied as the
                // row's view_kept says
    kExact,     // the row states the trace, and the capacity unless it checks
                // the storage itself (Reallocates, InPlace, Check)
    kConstruct, // builds s.built, which then replaces x
    kQuery,     // changes nothing and calls nothing; the row checks the result
};

struct Operand {
    const char* ptr;
    VekSizeT len;
    std::string bytes; // copied before the call
};

struct Record {
    const VekString* str;
    std::string bytes;           // copied before the call
    VekSizeT pos = 0, count = 0; // a span of it, sometimes beyond its end
};

// Blocks is the trace of taking a block of capacity c and releasing one of
// capacity old (0: none); Join joins two traces.
std::string Blocks(VekSizeT c, VekSizeT old);
std::string Join(const std::string& a, const std::string& b);

class Model;

// Step is one call: the string it edits, the choices that draw its operands,
// and what the row expects of it.
class Step {
public:
    Step(Model& model, int slot);

    VekString* const x;
    const std::string m; // x's content before the call
    VekString built{};   // the string kConstruct rows build
    Choices& in;

    // Expectations, set by the row before its call.
    std::optional<std::string> expect; // x's content after; nullopt: the call
                                       // fails at once (a position beyond the end)
    bool must_fail = false;            // fails whatever the allocator does,
                                       // leaving x's block and `expect`
    std::optional<VekSizeT> capacity;  // after success (kExact, kConstruct)
    std::optional<std::string> trace;  // after success, or after must_fail
    VekSizeT keeps_head = kNpos;       // a failure keeps the fields and only
                                       // the bytes before this offset
    std::optional<bool> view_kept;     // whether a view the result is a prefix
                                       // of stays one (nullopt: either way)
    VekAllocator* a;                   // the strings' allocator

    // Operands and arguments.
    // Pos is a position into a string of size bytes (by default x), sometimes
    // beyond its end; Count a count into it, sometimes VekStringNpos.
    VekSizeT Pos(VekSizeT size);
    VekSizeT Pos() { return Pos(m.size()); }
    VekSizeT Count(VekSizeT size) { return in.OneIn(5) ? kNpos - in.Below(2) : in.Below(size + 3); }
    VekSizeT Count() { return Count(m.size()); }
    char Char() { return static_cast<char>(in.Below(256)); }
    bool Twin() { return in.OneIn(2); }
    VekString* Slot() { return &slots_[in.Below(3)]; } // one of the live strings, x included
    Operand Slice(); // bytes of x, of another string or from outside
    Operand CStr();  // NUL-terminated, maybe a suffix of x's own block
    Operand Byte();  // one byte, often one of x's
    Record Str();    // x, another string, a view, a temporary, the empty string
    // Keep makes outside bytes that live through the step; Block hands out a
    // block of x's allocator for the row to give away.
    const char* Keep(std::string bytes) { return outside_.emplace_back(std::move(bytes)).c_str(); }
    char* Block(VekSizeT size) { return static_cast<char*>(alloc_.Block(size)); }
    // Guarded is p, or an address that cannot be read when the call must fail
    // at once: a refused position must be refused before the operand is read.
    const char* Guarded(const char* p);

    // Expectation helpers.
    void Splice(VekSizeT pos, VekSizeT n, const std::optional<std::string>& with);
    // Reallocates: a fresh block of exactly c (0: released); InPlace: the same
    // block, and no allocator call.
    void Reallocates(VekSizeT c) { capacity = c, trace = Blocks(c, constructs_ ? 0 : x->capacity); }
    void InPlace() { capacity = constructs_ ? 0 : x->capacity, trace = ""; }
    void Grows(VekSizeT size); // the growth rule for a result of size bytes
    // Formatted sets what a formatted edit of the span (pos, n) by fmt's output
    // (nullopt: the formatter fails) must do.
    void Formatted(VekSizeT pos, VekSizeT n, const std::optional<std::string>& out);
    void SetModel(const VekString* s, std::string content)
    {
        models_[s - slots_] = std::move(content);
    }
    // Check notes a finding unless ok; Same checks a query's result.
    void Check(bool ok, const std::string& what) { ok ? void() : findings_.push_back(what); }
    template <class T, class U> void Same(T got, U want)
    {
        // std::string's npos is narrower than the library's on 32-bit targets.
        T wanted = static_cast<T>(want);
        if constexpr (std::is_same_v<U, std::size_t>)
            wanted = static_cast<T>(vektest::StdPos(want));
        if (got != wanted)
            Check(false, "got " + std::to_string(got) + ", want " + std::to_string(wanted));
    }

private:
    friend class Model;
    VekString* const slots_;
    std::string* const models_;
    RecordingAllocator& alloc_;
    RecordingAllocator& other_;
    std::vector<std::string> findings_;
    std::deque<std::string> outside_;
    std::deque<VekString> temps_;
    bool constructs_ = false;
};

inline bool Ok(const void* result)
{
    return result != nullptr;
}

inline bool Ok(VekBool result)
{
    return result != 0;
}

std::optional<std::string> Sub(const std::string& s, VekSizeT pos, VekSizeT n);

struct Row {
    const char* name;
    Rule rule;
    bool (*call)(Step& s); // true when the call reported success
};

// The table, one row per public function (twins such as a variadic form and
// its va_list form, or a function and its inline fast path, share a row).
std::span<const Row> Rows();

// How the allocator misbehaves during one call.
struct Refusal {
    std::size_t nth = 0; // refuse the nth allocate (0: none)
    bool and_after = false;
    VekSizeT max_size = static_cast<VekSizeT>(PTRDIFF_MAX);
};

// How many steps one fuzzer input drives, here and when the corpus replays.
constexpr std::size_t kFuzzSteps = 64;

// RunOperations runs random rows on three strings until max_steps, the input
// is spent, or a finding; each finding goes to report.
void RunOperations(Choices& in, Report report, std::size_t max_steps);

// What one call of a row left, for the refusal sweep.
struct Outcome {
    bool ok;
    std::string content;
    std::string trace;
};

// RunRow runs row once on a string in buffer state `state` (0 to 4), with
// operands drawn from seed, under refusal.
Outcome RunRow(const Row& row, int state, std::uint64_t seed, const Refusal& refusal,
               Report report);

} // namespace vektest

#endif // VEK_TESTS_OPERATIONMODEL_H
