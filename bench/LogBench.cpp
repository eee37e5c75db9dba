// LogBench.cpp - W9: parsing a real record format. The access-log summary of
// examples/ (log_summary.c: views, cuts and fields, one copy per new path)
// against the same program written with std::string_view and a
// std::unordered_map, and with GLib (g_strstr_len, a GString key, a
// GHashTable), on 1 MiB of log lines.
#include "Peers.h"

#include <Vek/Utils/VekString.h>

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

#include "log_summary.h"

namespace vekbench {
namespace {

// LogText is about 1 MiB of lines in the Common Log Format: 2000 paths, some
// with a query string, every status class, now and then a size of -, a CRLF
// ending, a blank line or a line that is not in the format.
std::string LogText()
{
    static const char* const kHosts[] = {"203.0.113.7", "198.51.100.23", "192.0.2.140"};
    static const char* const kMethods[] = {"GET", "GET", "POST", "HEAD"};
    static const int kStatuses[] = {200, 200, 200, 304, 301, 404, 500};
    std::string text;
    for (unsigned i = 0; text.size() < kMiB; ++i) {
        const unsigned path = i * 7919 % 2000;
        text += kHosts[i % 3];
        text += i % 5 == 0 ? " - alice [12/Mar/2024:09:15:" : " - - [12/Mar/2024:09:15:";
        text += std::to_string(10 + i % 50) + " +0000] \"" + kMethods[i % 4] + " /docs/" +
                std::to_string(path) + (i % 3 == 0 ? "/?page=2" : "/") + " HTTP/1.1\" " +
                std::to_string(kStatuses[i % 7]) + " " +
                (i % 11 == 0 ? std::string("-") : std::to_string(i * 37 % 9000));
        text += i % 13 == 0 ? "\r\n" : i % 97 == 0 ? "\n\nnot a log line\n" : "\n";
    }
    return text;
}

// ------------------------------------------------------------ the std program

struct StdPath {
    std::uint64_t requests = 0, bytes = 0, errors = 0;
};

// The programs differ in how they search a line and count a path: Find is
// where sep first stands in s, or npos.
struct StdProgram {
    static std::size_t Find(std::string_view s, std::string_view sep) { return s.find(sep); }
    std::unordered_map<std::string, StdPath> paths;
    StdPath& Path(std::string_view path) { return paths[std::string(path)]; }
    std::size_t Size() const { return paths.size(); }
    template <class Visit> void ForEach(Visit visit) const
    {
        for (const auto& [name, p] : paths)
            visit(p);
    }
};

template <class Program>
bool Cut(std::string_view s, std::string_view sep, std::string_view& before,
         std::string_view& after)
{
    const std::size_t at = Program::Find(s, sep);
    before = s.substr(0, at);
    after = at == std::string_view::npos ? s.substr(s.size()) : s.substr(at + sep.size());
    return at != std::string_view::npos;
}

long long ParseCount(std::string_view field)
{
    if (field == "-")
        return 0;
    if (field.empty() || field.size() > 15)
        return -1;
    long long value = 0;
    for (const char c : field) {
        if (c < '0' || c > '9')
            return -1;
        value = value * 10 + (c - '0');
    }
    return value;
}

template <class Program> std::uint64_t StdSummary(std::string_view text)
{
    Program program;
    std::array<std::uint64_t, 600> statuses{};
    std::uint64_t lines = 0, malformed = 0, bytes = 0;
    for (std::size_t pos = 0; pos <= text.size();) {
        const std::size_t nl = text.find('\n', pos);
        std::string_view line = text.substr(pos, nl == std::string_view::npos ? nl : nl - pos);
        pos = nl == std::string_view::npos ? text.size() + 1 : nl + 1;
        while (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (line.empty())
            continue;
        ++lines;
        std::string_view rest = line, host, time, request, status, size, method, path, skip;
        if (!Cut<Program>(rest, " ", host, rest) || !Cut<Program>(rest, " ", skip, rest) ||
            !Cut<Program>(rest, " ", skip, rest) || rest.substr(0, 1) != "[" ||
            !Cut<Program>(rest, "] \"", time, rest) || !Cut<Program>(rest, "\" ", request, rest) ||
            !Cut<Program>(request, " ", method, request)) {
            ++malformed;
            continue;
        }
        Cut<Program>(rest, " ", status, rest);
        Cut<Program>(rest, " ", size, skip);
        Cut<Program>(request, " ", request, skip);
        Cut<Program>(request, "?", path, skip);
        const long long code = ParseCount(status), sent = ParseCount(size);
        if (code < 100 || code > 599 || sent < 0) {
            ++malformed;
            continue;
        }
        ++statuses[static_cast<std::size_t>(code)];
        bytes += static_cast<std::uint64_t>(sent);
        if (!path.empty()) {
            StdPath& p = program.Path(path);
            ++p.requests;
            p.bytes += static_cast<std::uint64_t>(sent);
            p.errors += code >= 400;
        }
    }
    std::uint64_t digest = lines + 3 * malformed + 5 * bytes + 7 * program.Size();
    for (std::size_t i = 0; i < statuses.size(); ++i)
        digest += i * statuses[i];
    program.ForEach(
        [&](const StdPath& p) { digest += p.requests * 11 + p.bytes * 13 + p.errors * 17; });
    return digest;
}

#ifdef VEK_BENCH_HAVE_GLIB
// The GLib program: g_strstr_len searches, a GString holds the path as a
// key, a GHashTable of g_strdup'ed names counts.
class GlibProgram {
public:
    GlibProgram()
        : key_(g_string_new(nullptr)),
          paths_(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free))
    {
    }
    ~GlibProgram()
    {
        g_string_free(key_, TRUE);
        g_hash_table_destroy(paths_);
    }
    GlibProgram(const GlibProgram&) = delete;
    GlibProgram& operator=(const GlibProgram&) = delete;

    // Every separator is a string literal, so sep.data() is terminated.
    static std::size_t Find(std::string_view s, std::string_view sep)
    {
        const char* hit = g_strstr_len(s.data(), static_cast<gssize>(s.size()), sep.data());
        return hit == nullptr ? std::string_view::npos : static_cast<std::size_t>(hit - s.data());
    }
    StdPath& Path(std::string_view path)
    {
        g_string_truncate(key_, 0);
        g_string_append_len(key_, path.data(), static_cast<gssize>(path.size()));
        auto* p = static_cast<StdPath*>(g_hash_table_lookup(paths_, key_->str));
        if (p == nullptr) {
            p = g_new0(StdPath, 1);
            g_hash_table_insert(paths_, g_strndup(key_->str, key_->len), p);
        }
        return *p;
    }
    std::size_t Size() const { return g_hash_table_size(paths_); }
    template <class Visit> void ForEach(Visit visit) const
    {
        GHashTableIter it;
        gpointer name, p;
        g_hash_table_iter_init(&it, paths_);
        while (g_hash_table_iter_next(&it, &name, &p))
            visit(*static_cast<const StdPath*>(p));
    }

private:
    GString* key_;
    GHashTable* paths_;
};
#endif

// ------------------------------------------------------------ the C program

std::uint64_t VekSummary(const VekString& text)
{
    LogSummary summary;
    LogSummaryInit(&summary, VekAllocatorGetDefault());
    if (!LogSummaryAddText(&summary, &text))
        return 0;
    std::uint64_t digest =
        summary.lines + 3 * summary.malformed + 5 * summary.bytes + 7 * summary.path_count;
    for (std::size_t i = 0; i < 600; ++i)
        digest += i * summary.statuses[i];
    for (VekSizeT i = 0; i < summary.path_capacity; ++i) {
        const LogPath& p = summary.paths[i];
        digest += p.requests * 11 + p.bytes * 13 + p.errors * 17;
    }
    LogSummaryDestroy(&summary);
    return digest;
}

void W9_AccessLog(benchmark::State& state)
{
    const std::string text = LogText();
    VekString view;
    VekStringConstructViewCStrLen(&view, text.data(), text.size(), VekAllocatorGetDefault());
    Row row(state, "access-log summary: statuses, sizes, requests per path", text.size());
    row.Library("VekString (examples/log_summary.c)", [&] { return VekSummary(view); });
    row.Peer("std::string_view + std::unordered_map", [&] { return StdSummary<StdProgram>(text); });
#ifdef VEK_BENCH_HAVE_GLIB
    row.Peer("GLib: g_strstr_len, GString, GHashTable",
             [&] { return StdSummary<GlibProgram>(text); });
#endif
    row.Run();
}
VEK_BENCH_ROW(W9_AccessLog);

} // namespace
} // namespace vekbench
