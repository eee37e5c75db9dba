// What "formats like snprintf" means: random formatted constructions and edits
// on strings in every buffer state (owned with spare room, empty, read-only
// views), with refused allocations, allocator limits and formatter failures
// mixed in. Each step is checked against the same edit done with vsnprintf
// into a std::string, and its allocator trace against the cost rules of the
// header: in place when the output fits the first call's room, else one block
// by the growth rule (exactly the output for a construction).
#include "VekTestSupport.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <random>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;

enum Op { kConstruct, kAssign, kAppend, kInsert, kReplace };

// Each format takes a prefix of the arguments (int, const char*, int,
// unsigned, long, size_t, long long, unsigned long long, const wchar_t*),
// each in a conversion made for its type; the last argument is a lone
// surrogate, which no locale encodes. Conversions with no flag, width or
// precision are the ones the formatter formats itself, the others the C
// library formats.
const char* const kFormats[] = {"",
                                "%%",
                                "%d",
                                "%d%%",
                                "%.*s",
                                "%*s",
                                "%-*s.",
                                "%.*s:%d",
                                "%d:%s;",
                                "%i%%%s%c",
                                "%d<%s>%i%x",
                                "%d%s%d%X%li%zu",
                                "%i %s %c %u %ld %zx %lld %llx",
                                "%d%s%i%x%ld%zX%lli%llu",
                                "%d%s%02d%-4u"};
const char* const kUnencodableFormat = "%.*s%d%u%ld%zu%lld%llu%ls";
const wchar_t kUnencodable[] = {static_cast<wchar_t>(0xD800), 0};

// EditV runs op through the va_list forms, and stores in *out what vsnprintf
// makes of the same format and arguments ("" when it fails). A refused
// position must leave the list unconsumed, still giving the same output.
VekString* EditV(VekString* s, VekAllocator* a, Op op, VekSizeT pos, VekSizeT n, std::string* out,
                 const char* fmt, ...)
{
    va_list args, copy;
    va_start(args, fmt);
    va_copy(copy, args);
    char expected[1024];
    const int length = std::vsnprintf(expected, sizeof expected, fmt, copy);
    out->assign(expected, std::clamp(length, 0, 1023));
    VekString* r = op == kConstruct ? VekStringConstructVFormatted(s, fmt, args, a)
                   : op == kAssign  ? VekStringAssignVFormatted(s, fmt, args)
                   : op == kAppend  ? VekStringAppendVFormatted(s, fmt, args)
                   : op == kInsert  ? VekStringInsertVFormatted(s, pos, fmt, args)
                                    : VekStringReplaceVFormatted(s, pos, n, fmt, args);
    if (pos > s->size) {
        EXPECT_EQ(std::vsnprintf(expected, sizeof expected, fmt, args), length);
    }
    va_end(copy);
    va_end(args);
    return r;
}

TEST(FormatDifferential, MatchesVsnprintfIntoStdString)
{
    for (unsigned seed = 1; seed <= 30 && !HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        std::mt19937_64 rng(seed);
        auto below = [&](VekSizeT n) { return static_cast<VekSizeT>(rng() % n); };
        auto text = [&] {
            return std::to_string(rng()).substr(below(12)) + std::string(below(5) * below(50), '~');
        };
        RecordingAllocator alloc;
        const VekSizeT no_limit = alloc.get()->maxSize;
        std::vector<std::unique_ptr<ReadOnlyBytes>> views;
        std::string ref, out;
        VekString s;
        VekStringConstructDefault(&s, alloc);
        for (int step = 0; step < 300 && !HasFailure(); ++step) {
            const Op op = static_cast<Op>(below(5));
            if (op == kConstruct || below(8) == 0) { // restart: a view, an empty or a roomy string
                VekStringDestruct(&s);
                ref = op == kConstruct ? "" : text();
                views.push_back(std::make_unique<ReadOnlyBytes>(ref));
                if (op != kConstruct && below(2) == 0)
                    s = MakeView(*views.back(), alloc);
                else if (op != kConstruct)
                    MakeOwned(&s, ref, ref.size() + below(3) * below(20), alloc);
            }
            const VekString before = s;
            const VekSizeT pos = op <= kAssign ? 0 : op == kAppend ? s.size : below(s.size + 2);
            const VekSizeT n = below(4) == 0 ? VekStringNpos : below(s.size + 2);
            const bool bad = below(16) == 0, refuse = below(10) == 0, limited = below(10) == 0;
            const char* fmt = bad ? kUnencodableFormat : kFormats[below(std::size(kFormats))];
            SCOPED_TRACE("step " + std::to_string(step) + ": op " + std::to_string(op) + " at " +
                         std::to_string(pos) + " of " + std::to_string(s.size) + ", " + fmt);
            const VekSizeT limit = limited ? below(2 * s.size + 80) : no_limit;
            alloc.SetMaxSize(limit);
            if (refuse)
                alloc.RefuseNth(1);
            alloc.ClearEvents();
            VekString* r = EditV(
                &s, alloc, op, pos, n, &out, fmt, static_cast<int>(below(302)) - 1, text().c_str(),
                static_cast<int>(rng()), static_cast<unsigned>(rng()), static_cast<long>(rng()),
                static_cast<std::size_t>(rng() >> below(64)), static_cast<long long>(rng()),
                static_cast<unsigned long long>(rng() >> below(64)), kUnencodable);
            alloc.AllowAll();
            alloc.SetMaxSize(no_limit);

            // The block the edit must take (0: none), whether it was granted,
            // and the trace that gives.
            const bool pos_ok = pos <= before.size;
            const VekSizeT len = op == kAssign              ? before.size
                                 : op == kReplace && pos_ok ? std::min(n, before.size - pos)
                                                            : 0;
            const bool tail = pos + len != before.size, direct = !tail && before.capacity != 0;
            const bool fits = direct ? out.size() <= before.capacity - pos
                                     : out.empty() && (len == 0 || !tail || before.capacity != 0);
            const VekSizeT want =
                op == kConstruct ? out.size()
                : fits           ? 0
                                 : std::max(before.size - len + out.size(), 2 * before.capacity);
            const bool asks = pos_ok && !bad && want != 0 && want < limit;
            const bool ok = pos_ok && !bad && (want == 0 || (asks && !refuse));
            std::string trace = asks ? "+" + std::to_string(want + 1) + (refuse ? "!" : "") : "";
            if (ok && want != 0 && before.capacity != 0)
                trace += " -" + std::to_string(before.capacity + 1);

            ASSERT_EQ(r, ok ? &s : nullptr);
            EXPECT_EQ(alloc.Trace(), trace);
            ASSERT_TRUE(HasInvariants(s));
            if (ok) {
                ref = op == kConstruct ? out : ref.replace(pos, len, out);
                EXPECT_EQ(s.capacity, want != 0 ? want : before.capacity);
            } else {
                // A failure keeps the fields (a construction leaves the empty
                // string); only a direct write may have overwritten the span,
                // with the start of the output, or anything when it failed.
                EXPECT_EQ(s.capacity, before.capacity);
                EXPECT_EQ(s.buf, op == kConstruct ? vekStringEmpty_ : before.buf);
                if (direct && pos_ok)
                    ref.replace(pos, len, bad ? Content(s).substr(pos) : out.substr(0, len));
            }
            ASSERT_EQ(Content(s), ref);
        }
        VekStringDestruct(&s);
        EXPECT_TRUE(alloc.IsClean());
    }
}

} // namespace
