// LogBench.cpp - W9: parsing a real record format. The access-log summary of
// examples/ (log_summary.c: views, cuts and fields, one copy per new path)
// against the same program written with std::string_view and a
// std::unordered_map, on 1 MiB of log lines.
#include "VekBench.h"

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

bool Cut(std::string_view s, std::string_view sep, std::string_view& before,
         std::string_view& after)
{
    const std::size_t at = s.find(sep);
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

std::uint64_t StdSummary(std::string_view text)
{
    std::unordered_map<std::string, StdPath> paths;
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
        if (!Cut(rest, " ", host, rest) || !Cut(rest, " ", skip, rest) ||
            !Cut(rest, " ", skip, rest) || rest.substr(0, 1) != "[" ||
            !Cut(rest, "] \"", time, rest) || !Cut(rest, "\" ", request, rest) ||
            !Cut(request, " ", method, request)) {
            ++malformed;
            continue;
        }
        Cut(rest, " ", status, rest);
        Cut(rest, " ", size, skip);
        Cut(request, " ", request, skip);
        Cut(request, "?", path, skip);
        const long long code = ParseCount(status), sent = ParseCount(size);
        if (code < 100 || code > 599 || sent < 0) {
            ++malformed;
            continue;
        }
        ++statuses[static_cast<std::size_t>(code)];
        bytes += static_cast<std::uint64_t>(sent);
        if (!path.empty()) {
            StdPath& p = paths[std::string(path)];
            ++p.requests;
            p.bytes += static_cast<std::uint64_t>(sent);
            p.errors += code >= 400;
        }
    }
    std::uint64_t digest = lines + 3 * malformed + 5 * bytes + 7 * paths.size();
    for (std::size_t i = 0; i < statuses.size(); ++i)
        digest += i * statuses[i];
    for (const auto& [name, p] : paths)
        digest += p.requests * 11 + p.bytes * 13 + p.errors * 17;
    return digest;
}

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
    row.Peer("std::string_view + std::unordered_map", [&] { return StdSummary(text); });
    row.Run();
}
VEK_BENCH_ROW(W9_AccessLog);

} // namespace
} // namespace vekbench
