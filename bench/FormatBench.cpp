// FormatBench.cpp - W7: formatted appends, "%d:%s;" a hundred thousand times
// onto one string. Measurement only for now.
//
// Every contender appends the same output: a counter and a word from the
// usual vocabulary. The snprintf row is what C code without a string library
// does: format into a stack buffer, then append the bytes.
#include "Peers.h"

#include <cstdio>
#include <iterator>

#ifdef VEK_BENCH_HAVE_FMT
#include <fmt/format.h>
#endif
#ifdef VEK_BENCH_HAVE_ABSL
#include <absl/strings/str_format.h>
#endif

namespace vekbench {
namespace {

constexpr int kAppends = 100000;
const char* const kWords[] = {"alpha", "beta", "gamma", "delta", "epsilon", "zeta", "eta"};

const char* WordOf(int i)
{
    return kWords[i % std::size(kWords)];
}

// FormatAll appends every piece through append(builder, i, word).
template <class Builder, class Append> std::uint64_t FormatAll(Append append)
{
    Builder b;
    for (int i = 0; i < kAppends; ++i)
        append(b, i, WordOf(i));
    return b.Digest();
}

void W7_FormattedAppends(benchmark::State& state)
{
    Row row(state, "append \"%d:%s;\" 100,000 times", 0);
    row.Library("VekString", [] {
        return FormatAll<VekBuilder>([](VekBuilder& b, int i, const char* word) {
            VekStringAppendFormatted(b.get(), "%d:%s;", i, word);
        });
    });
#ifdef VEK_BENCH_HAVE_FMT
    row.Peer("fmt::format_to", [] {
        return FormatAll<StdBuilder>([](StdBuilder& b, int i, const char* word) {
            fmt::format_to(std::back_inserter(*b.get()), "{}:{};", i, word);
        });
    });
#endif
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrAppendFormat", [] {
        return FormatAll<StdBuilder>([](StdBuilder& b, int i, const char* word) {
            absl::StrAppendFormat(b.get(), "%d:%s;", i, word);
        });
    });
#endif
#ifdef VEK_BENCH_HAVE_GLIB
    row.Peer("GString", [] {
        return FormatAll<GStringBuilder>([](GStringBuilder& b, int i, const char* word) {
            g_string_append_printf(b.get(), "%d:%s;", i, word);
        });
    });
#endif
    row.Peer("snprintf + std::string", [] {
        return FormatAll<StdBuilder>([](StdBuilder& b, int i, const char* word) {
            char piece[64];
            const int n = std::snprintf(piece, sizeof piece, "%d:%s;", i, word);
            b.Append(piece, static_cast<std::size_t>(n));
        });
    });
#ifdef VEK_BENCH_HAVE_FMT
    row.Goal("fmt::format_to", 1.3);
#endif
    row.Run();
}
VEK_BENCH_ROW(W7_FormattedAppends);

} // namespace
} // namespace vekbench
