// ReplaceBench.cpp - W4: replacing every occurrence of a pattern in 1 MiB of
// text.
//
// The text is the usual words (which never spell "ab", "needle" or "zebra")
// with "ab" written over it every 100 bytes and "needle" every 1000. Each run
// copies the text into the contender's own string and replaces in that, so
// every contender pays for one copy of the input, as an in-place edit of a
// live string would.
#include "Peers.h"

#include <cstring>

#ifdef VEK_BENCH_HAVE_ABSL
#include <absl/strings/str_replace.h>
#endif

namespace vekbench {
namespace {

const std::string& ReplaceText()
{
    static const std::string text = [] {
        std::string t = Text(kMiB);
        for (std::size_t at = 37; at + 2 <= t.size(); at += 100)
            t.replace(at, 2, "ab");
        for (std::size_t at = 3; at + 6 <= t.size(); at += 1000)
            t.replace(at, 6, "needle");
        return t;
    }();
    return text;
}

// StdReplaceAll is the loop a std::string user writes: find, append the text
// before the match and the replacement, go on behind the match.
std::string StdReplaceAll(const std::string& text, const std::string& find,
                          const std::string& replace)
{
    std::string out;
    std::size_t from = 0;
    for (std::size_t at; (at = text.find(find, from)) != std::string::npos; from = at + find.size())
        out.append(text, from, at - from).append(replace);
    out.append(text, from, std::string::npos);
    return out;
}

void W4_Replace(benchmark::State& state, const std::string& find, const std::string& replace)
{
    const std::string& text = ReplaceText();
    VekString vek_find;
    VekString vek_replace;
    VekStringConstructCStrLen(&vek_find, find.data(), find.size(), VekAllocatorGetDefault());
    VekStringConstructCStrLen(&vek_replace, replace.data(), replace.size(),
                              VekAllocatorGetDefault());
    Row row(state, "replace \"" + find + "\" by \"" + replace + "\" in 1 MiB", kMiB);
    row.Library("VekString", [&] {
        VekBuilder b;
        VekStringAppendCStrLen(b.get(), text.data(), text.size());
        VekStringFindAndReplace(b.get(), &vek_find, &vek_replace);
        return b.Digest();
    });
    row.Peer("std::string find/append loop",
             [&] { return Mix(StdReplaceAll(text, find, replace)); });
#ifdef VEK_BENCH_HAVE_ABSL
    row.Peer("absl::StrReplaceAll", [&] {
        std::string s = text;
        absl::StrReplaceAll({{find, replace}}, &s);
        return Mix(s);
    });
#endif
#ifdef VEK_BENCH_HAVE_GLIB
    row.Peer("GString", [&] {
        GString* s = g_string_new_len(text.data(), static_cast<gssize>(text.size()));
        g_string_replace(s, find.c_str(), replace.c_str(), 0);
        const std::uint64_t digest = Mix(s->str, s->len);
        g_string_free(s, TRUE);
        return digest;
    });
#endif
    static std::string target(kMiB, '\0');
    row.Bound("memcpy", [&] {
        std::memcpy(target.data(), text.data(), text.size());
        return Mix(target);
    });
#ifdef VEK_BENCH_HAVE_ABSL
    row.Goal("absl::StrReplaceAll", 1.0);
#endif
    row.Run();
    VekStringDestruct(&vek_find);
    VekStringDestruct(&vek_replace);
}

VEK_BENCH_CASE(W4_Replace, AbByXyz, "ab", "xyz");
VEK_BENCH_CASE(W4_Replace, NeedleByNothing, "needle", "");
VEK_BENCH_CASE(W4_Replace, AbsentPattern, "zebra", "horse");

} // namespace
} // namespace vekbench
