// VekBench.h - side-by-side rows for the benchmark program.
//
// A row is one workload (say, appending 16-byte pieces until 1 MiB) run by
// several contenders on the same input: the library, its peers, the physical
// bound of the work (memcpy or memchr of the same bytes) and, set aside from
// the comparison, variants worth showing beside it. Every iteration of the
// row runs each contender once, in a freshly shuffled order, and keeps each
// run's time in the contender's own account. Contenders timed seconds apart
// on a shared machine can drift by half again; timed in turn within one
// iteration they see the same machine, so their ratio holds even when the
// absolute figures do not.
//
// Each account becomes a counter named "role:contender": the median of its
// runs, in seconds. Not their mean: a preemption or an interrupt adds to one
// run of whichever contender happened to be running, and for a run of a few
// microseconds that is more than a thousand runs take. Google Benchmark
// writes the counters to its JSON output with every repetition;
// bench/report.py turns those into medians and ratios. Page
// faults per run are counted the same way ("faults:contender") for rows that
// ask, and a row's goals travel as counters too ("goal:peer", the largest
// ratio of the library's time to that peer's that meets the goal). Each
// contender returns a digest of its result; peers that compute the same thing
// must agree with the library, or the row fails.
#ifndef VEK_BENCH_VEKBENCH_H
#define VEK_BENCH_VEKBENCH_H

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vekbench {

constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * 1024;

// One run of a workload; returns a digest of what it produced.
using Workload = std::function<std::uint64_t()>;

enum class Role {
    kLibrary, // the one the row is about
    kPeer,    // compared with: the ratio to the fastest peer is the row's verdict
    kBound,   // what the hardware allows: the same bytes copied or scanned once
    kAside,   // shown beside the row, not compared with
};

// Whether a contender's digest must equal the library's.
enum class Digest { kSame, kOwn };

class Row {
public:
    // title says in words what one run does; bytes is how many bytes one run
    // processes (0 when a throughput means nothing), for the report's GB/s.
    Row(benchmark::State& state, std::string title, std::size_t bytes);

    Row& Library(std::string name, Workload run);
    Row& Peer(std::string name, Workload run, Digest digest = Digest::kSame);
    Row& Bound(std::string name, Workload run);
    Row& Aside(std::string name, Workload run, Digest digest = Digest::kSame);
    // CountFaults adds each contender's page faults per run to the counters.
    Row& CountFaults();

    // Goal states the most the library's time may be, as a multiple of a
    // peer's (kFastestPeer: of whichever peer is fastest); FaultGoal the same
    // for page faults. The report checks them against the measured medians.
    static constexpr const char* kFastestPeer = "fastest peer";
    Row& Goal(std::string peer, double max_ratio);
    Row& FaultGoal(std::string peer, double max_ratio);

    // Run drives the benchmark loop and sets the counters.
    void Run();

private:
    struct Contender {
        Role role;
        std::string name;
        Workload run;
        Digest digest;
        std::vector<double> runs; // each run's seconds
        double faults = 0;
    };

    Row& Add(Role role, std::string name, Workload run, Digest digest);
    bool DigestsAgree();

    benchmark::State& state_;
    std::vector<Contender> contenders_;
    std::vector<std::pair<std::string, double>> goals_; // counter name, ratio
    bool count_faults_ = false;
};

// AnyRowDisagreed tells whether some row's contenders computed different
// results.
bool AnyRowDisagreed();

// Text returns n bytes of words and spaces, the same on every call: the
// input of most rows.
const std::string& Text(std::size_t n);

// Mix folds a size and a few bytes of a result into a digest: enough to tell
// a wrong result from a right one without a pass over the whole result.
// Inline, so that a row over short strings does not time a call per string.
inline std::uint64_t Mix(const char* data, std::size_t size)
{
    std::uint64_t digest = size;
    if (size != 0) {
        digest = digest * 31 + static_cast<unsigned char>(data[0]);
        digest = digest * 31 + static_cast<unsigned char>(data[size / 2]);
        digest = digest * 31 + static_cast<unsigned char>(data[size - 1]);
    }
    return digest;
}

inline std::uint64_t Mix(std::string_view s)
{
    return Mix(s.data(), s.size());
}

} // namespace vekbench

// VEK_BENCH_ROW registers a row function under its own name. The time a
// repetition reports is the sum over contenders; the counters carry the rest.
#define VEK_BENCH_ROW(function) BENCHMARK(function)->UseManualTime()->Unit(benchmark::kMillisecond)

// VEK_BENCH_CASE registers one case of a row function that takes arguments
// after the state, under the name function/case_name.
#define VEK_BENCH_CASE(function, case_name, ...)                                                   \
    BENCHMARK_CAPTURE(function, case_name, __VA_ARGS__)                                            \
        ->UseManualTime()                                                                          \
        ->Unit(benchmark::kMillisecond)

#endif // VEK_BENCH_VEKBENCH_H
