// FormatFuzzer.cpp - formats built from the input out of the conversions that
// are defined for every argument value: %d, %i, %u, %x and %X on int and,
// with ll, on long long, %c and %s, with and without flags, widths and
// precisions (written in the format or passed as * arguments), %% and plain
// text, with the strings and numbers taken from the input. Conversions with
// no flag, width or precision, which the formatter formats itself, are half
// of them. Each format runs through formatted construction, assignment,
// appending, insertion and replacement on a string in some buffer state
// (empty, owned with or without room, a read-only view), under an allocator
// that may refuse, and the result is held against snprintf's output spliced
// into a std::string.
//
// A failed construction must leave an empty string naming its allocator; a
// failed edit must keep the fields and the bytes before its span, and keep
// everything when the formatter did not write into the block first (a tail
// behind the span, or no owned block) or when it appended.
#include "FuzzSupport.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using vekfuzz::Pick;
using vektest::Content;
using vektest::HasInvariants;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr std::size_t kMaxArgs = 6;
constexpr VekSizeT kNpos = VekStringNpos;

struct Arg {
    enum Kind { kInt, kLongLong, kString } kind;
    long long number;
    const char* text;
};

struct Format {
    std::string text;
    std::vector<Arg> args;
    std::vector<std::unique_ptr<std::string>> strings;
};

// Call hands the arguments to f as a real argument list. Their count and
// types are known only at run time, so each sequence of types has its own
// instantiation. A trailing 0 always follows: a format may leave arguments
// unused, and f is then never called with the format alone.
template <std::size_t Depth = 0, class F, class... Packed>
void Call(const std::vector<Arg>& args, const F& f, Packed... packed)
{
    if constexpr (Depth == kMaxArgs) {
        f(packed..., 0);
    } else {
        if (Depth == args.size())
            f(packed..., 0);
        else if (args[Depth].kind == Arg::kString)
            Call<Depth + 1>(args, f, packed..., args[Depth].text);
        else if (args[Depth].kind == Arg::kLongLong)
            Call<Depth + 1>(args, f, packed..., args[Depth].number);
        else
            Call<Depth + 1>(args, f, packed..., static_cast<int>(args[Depth].number));
    }
}

void AddNumber(Format* format, int number)
{
    format->args.push_back({Arg::kInt, number, nullptr});
}

// What a conversion reads, and the flags that are defined for it.
struct Conversion {
    const char* letters;
    const char* flags;
    bool takes_precision;
};

const Conversion kConversions[] = {
    {"di", "-+ 0", true}, {"uxX", "-0", true}, {"c", "-", false}, {"s", "-", true}};

// AddConversion appends one conversion and its arguments: half of them
// plain, the others with flags, a width or a precision drawn from the input.
void AddConversion(FuzzedDataProvider& in, Format* format)
{
    const Conversion& conversion = kConversions[Pick(in, std::size(kConversions))];
    const std::string_view letters = conversion.letters;
    const bool is_string = letters == "s";
    const bool wide = !is_string && letters != "c" && Pick(in, 3) == 0;
    std::string directive = "%";
    if (Pick(in, 2) == 0) {
        for (const char flag : std::string_view(conversion.flags)) {
            if (Pick(in, 4) == 0)
                directive += flag;
        }
        switch (Pick(in, 3)) {
        case 1:
            directive += std::to_string(Pick(in, 120));
            break;
        case 2:
            directive += '*';
            AddNumber(format, static_cast<int>(Pick(in, 241)) - 120);
            break;
        }
        switch (conversion.takes_precision ? Pick(in, 3) : 0) {
        case 1:
            directive += "." + std::to_string(Pick(in, 120));
            break;
        case 2:
            directive += ".*";
            AddNumber(format, static_cast<int>(Pick(in, 130)) - 5);
            break;
        }
    }
    if (wide)
        directive += "ll";
    directive += letters[Pick(in, letters.size())];
    format->text += directive;
    if (is_string) {
        format->strings.push_back(std::make_unique<std::string>(vekfuzz::Text(in, 64, true)));
        format->args.push_back({Arg::kString, 0, format->strings.back()->c_str()});
        return;
    }
    // An unsigned conversion reads its signed argument as unsigned, which C
    // defines for the values both types hold.
    const bool is_unsigned = letters == "uxX";
    const long long number = wide ? in.ConsumeIntegral<long long>() : in.ConsumeIntegral<int>();
    format->args.push_back({wide ? Arg::kLongLong : Arg::kInt,
                            is_unsigned && number < 0 ? -(number + 1) : number, nullptr});
}

Format Build(FuzzedDataProvider& in)
{
    Format format;
    for (std::size_t pieces = Pick(in, 9); pieces > 0; --pieces) {
        switch (Pick(in, 4)) {
        case 0: {
            std::string text = vekfuzz::Text(in, 16, true);
            std::erase(text, '%');
            format.text += text;
            break;
        }
        case 1:
            format.text += "%%";
            break;
        default:
            if (format.args.size() + 3 <= kMaxArgs)
                AddConversion(in, &format);
        }
    }
    return format;
}

std::string Expected(const Format& format)
{
    std::string out;
    Call(format.args, [&](auto... args) {
        const int length = std::snprintf(nullptr, 0, format.text.c_str(), args...);
        FUZZ_CHECK(length >= 0, "snprintf refused \"" << format.text << '"');
        std::vector<char> buffer(static_cast<std::size_t>(length) + 1);
        std::snprintf(buffer.data(), buffer.size(), format.text.c_str(), args...);
        out.assign(buffer.data(), static_cast<std::size_t>(length));
    });
    return out;
}

enum Op { kConstruct, kAssign, kAppend, kInsert, kReplace };

// Edit runs op with the format's arguments and returns whether it succeeded.
bool Edit(Op op, VekString* x, VekAllocator* a, VekSizeT pos, VekSizeT n, const Format& format)
{
    VekString* r = nullptr;
    const char* fmt = format.text.c_str();
    Call(format.args, [&](auto... args) {
        switch (op) {
        case kConstruct:
            r = VekStringConstructFormatted(x, a, fmt, args...);
            break;
        case kAssign:
            r = VekStringAssignFormatted(x, fmt, args...);
            break;
        case kAppend:
            r = VekStringAppendFormatted(x, fmt, args...);
            break;
        case kInsert:
            r = VekStringInsertFormatted(x, pos, fmt, args...);
            break;
        case kReplace:
            r = VekStringReplaceFormatted(x, pos, n, fmt, args...);
            break;
        }
    });
    return r != nullptr;
}

// Start gives x a buffer state drawn from the input.
void Start(FuzzedDataProvider& in, VekString* x, RecordingAllocator& alloc,
           std::unique_ptr<ReadOnlyBytes>* view)
{
    const std::string text = vekfuzz::Text(in, 48);
    switch (Pick(in, 4)) {
    case 0:
        VekStringConstructDefault(x, alloc);
        break;
    case 1:
        if (!text.empty()) {
            *view = std::make_unique<ReadOnlyBytes>(text);
            *x = vektest::MakeView(**view, alloc);
            break;
        }
        [[fallthrough]];
    default:
        vektest::MakeOwned(x, text, text.size() + Pick(in, 48), alloc);
    }
}

void CheckFailure(Op op, const VekString& x, const Snapshot& before, VekSizeT pos, VekSizeT len,
                  const std::string& where)
{
    const Snapshot after = Snapshot::Of(x);
    FUZZ_CHECK(after.buf == before.buf && after.size == before.size &&
                   after.capacity == before.capacity && after.allocator == before.allocator,
               where << ": a failed edit changed the fields");
    FUZZ_CHECK(after.bytes.compare(0, pos, before.bytes, 0, pos) == 0,
               where << ": a failed edit changed the bytes before its span");
    const bool wrote_first = before.capacity != 0 && pos + len == before.size;
    const bool appended = op == kAppend || (op == kInsert && pos == before.size);
    if (!wrote_first || appended) {
        FUZZ_CHECK(after == before, where << ": a failed edit changed the string");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const Format format = Build(in);
    const std::string out = Expected(format);
    RecordingAllocator alloc;
    std::unique_ptr<ReadOnlyBytes> view;
    VekString x;
    VekStringConstructDefault(&x, alloc);
    const Op op = static_cast<Op>(Pick(in, 5));
    if (op != kConstruct)
        Start(in, &x, alloc, &view);
    const std::string m = op == kConstruct ? "" : Content(x);
    VekSizeT pos = op == kAppend ? m.size() : 0;
    VekSizeT n = op == kAssign ? m.size() : 0;
    if (op == kInsert || op == kReplace) {
        pos = Pick(in, 12) == 0 ? m.size() + 1 : Pick(in, m.size() + 1);
        n = op == kReplace ? (Pick(in, 4) == 0 ? kNpos : Pick(in, m.size() + 2)) : 0;
    }
    const Snapshot before = Snapshot::Of(x);
    vekfuzz::DrawRefusals(in, alloc);
    const bool ok = Edit(op, &x, alloc, pos, n, format);
    const bool refusals = vekfuzz::RefusalsActive(alloc);
    const std::string trace = alloc.Trace();
    const std::string where = "\"" + format.text + "\" on \"" + m + "\", op " + std::to_string(op) +
                              ", trace \"" + trace + "\"";
    FUZZ_CHECK_RESULT(HasInvariants(x), where);
    if (pos > m.size()) {
        FUZZ_CHECK(!ok && trace.empty() && Snapshot::Of(x) == before,
                   where << ": a position beyond the end");
    } else if (ok) {
        const VekSizeT len = std::min<VekSizeT>(n, m.size() - pos);
        const std::string expected = std::string(m).replace(pos, len, out);
        FUZZ_CHECK(Content(x) == expected,
                   where << ": gave \"" << Content(x) << "\", expected \"" << expected << '"');
        if (op == kConstruct) {
            FUZZ_CHECK(x.capacity == out.size(), where << ": construction is not exact");
        }
    } else {
        FUZZ_CHECK(refusals, where << ": failed without a refusal");
        if (op == kConstruct) {
            FUZZ_CHECK(x.buf == vekStringEmpty_ && x.size == 0 && x.capacity == 0 &&
                           x.allocator == alloc.get(),
                       where << ": a failed construction is not a valid empty string");
        } else {
            CheckFailure(op, x, before, pos, std::min<VekSizeT>(n, m.size() - pos), where);
        }
    }
    VekStringDestruct(&x);
    FUZZ_CHECK_RESULT(alloc.IsClean(), where);
    return 0;
}
