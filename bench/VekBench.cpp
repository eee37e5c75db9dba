// VekBench.cpp - the side-by-side row machinery and the program's main.
//
// Rows live in one file per workload family (AppendBench.cpp, ...); this file
// only times them. See VekBench.h for what a row measures and reports.
#include "VekBench.h"

#include "LibcxxPeers.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <random>

namespace vekbench {

namespace {

const char* RoleName(Role role)
{
    switch (role) {
    case Role::kLibrary:
        return "lib";
    case Role::kPeer:
        return "peer";
    case Role::kBound:
        return "bound";
    case Role::kAside:
        return "aside";
    }
    return "?";
}

double PageFaults()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_minflt + usage.ru_majflt);
}

using Clock = std::chrono::steady_clock;

// Set when a row's contenders disagree; the program then exits with failure.
bool disagreement = false;

} // namespace

bool AnyRowDisagreed()
{
    return disagreement;
}

Row::Row(benchmark::State& state, std::string title, std::size_t bytes) : state_(state)
{
    state_.SetLabel(title);
    state_.counters["bytes"] = static_cast<double>(bytes);
}

Row& Row::Add(Role role, std::string name, Workload run, Digest digest)
{
    contenders_.push_back(Contender{role, std::move(name), std::move(run), digest, {}, 0});
    return *this;
}

Row& Row::Library(std::string name, Workload run)
{
    return Add(Role::kLibrary, std::move(name), std::move(run), Digest::kSame);
}

Row& Row::Peer(std::string name, Workload run, Digest digest)
{
    return Add(Role::kPeer, std::move(name), std::move(run), digest);
}

Row& Row::Bound(std::string name, Workload run)
{
    return Add(Role::kBound, std::move(name), std::move(run), Digest::kOwn);
}

Row& Row::Aside(std::string name, Workload run, Digest digest)
{
    return Add(Role::kAside, std::move(name), std::move(run), digest);
}

Row& Row::CountFaults()
{
    count_faults_ = true;
    return *this;
}

Row& Row::Goal(std::string peer, double max_ratio)
{
    goals_.emplace_back("goal:" + std::move(peer), max_ratio);
    return *this;
}

Row& Row::FaultGoal(std::string peer, double max_ratio)
{
    goals_.emplace_back("faultgoal:" + std::move(peer), max_ratio);
    return *this;
}

// DigestsAgree runs every contender once, untimed, which also warms caches
// and allocators for all of them alike, and checks that those computing the
// library's result got it.
bool Row::DigestsAgree()
{
    const std::uint64_t expected = contenders_.front().run();
    for (Contender& c : contenders_) {
        if (&c == &contenders_.front() || c.digest == Digest::kOwn)
            continue;
        if (c.run() != expected) {
            disagreement = true;
            state_.SkipWithError((c.name + " disagrees with " + contenders_.front().name).c_str());
            return false;
        }
    }
    return true;
}

void Row::Run()
{
    // The library first, whatever order the row was written in: its digest is
    // the reference.
    std::stable_partition(contenders_.begin(), contenders_.end(),
                          [](const Contender& c) { return c.role == Role::kLibrary; });
    if (!DigestsAgree())
        return;
    std::vector<Contender*> order;
    for (Contender& c : contenders_)
        order.push_back(&c);
    std::mt19937 rng(20240607);
    for (auto _ : state_) {
        std::shuffle(order.begin(), order.end(), rng);
        double iteration = 0;
        for (Contender* c : order) {
            const double faults_before = count_faults_ ? PageFaults() : 0;
            const Clock::time_point start = Clock::now();
            benchmark::DoNotOptimize(c->run());
            const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
            if (count_faults_)
                c->faults += PageFaults() - faults_before;
            c->runs.push_back(seconds);
            iteration += seconds;
        }
        state_.SetIterationTime(iteration);
    }
    for (Contender& c : contenders_) {
        if (c.runs.empty())
            continue;
        const auto middle = c.runs.begin() + static_cast<std::ptrdiff_t>(c.runs.size() / 2);
        std::nth_element(c.runs.begin(), middle, c.runs.end());
        state_.counters[std::string(RoleName(c.role)) + ":" + c.name] = *middle;
        if (count_faults_)
            state_.counters["faults:" + c.name] =
                benchmark::Counter(c.faults, benchmark::Counter::kAvgIterations);
    }
    for (const auto& [name, ratio] : goals_)
        state_.counters[name] = ratio;
}

const std::string& Text(std::size_t n)
{
    static std::map<std::size_t, std::string> texts;
    std::string& text = texts[n];
    if (!text.empty() || n == 0)
        return text;
    static const char* const words[] = {"the", "quick", "brown", "fox", "jumps", "over",
                                        "a",   "lazy",  "dog",   "and", "runs",  "away"};
    std::mt19937 rng(7);
    while (text.size() < n) {
        text += words[rng() % std::size(words)];
        text += ' ';
    }
    text.resize(n);
    return text;
}

} // namespace vekbench

// The digest for contenders built apart, behind a C interface.
uint64_t VekBenchMix(const char* data, size_t size)
{
    return vekbench::Mix(data, size);
}

namespace {

// glibc serves large blocks with mmap until one is freed, then raises its
// thresholds to that block's size. Freeing one large block first puts every
// row on the same side of that switch, so a row's page faults do not depend
// on which rows ran before it.
void SettleAllocatorThresholds()
{
    constexpr std::size_t kLargeBlock = 31 * vekbench::kMiB;
    void* block = std::malloc(kLargeBlock);
    benchmark::DoNotOptimize(block);
    std::free(block);
}

std::string CompilerName()
{
#if defined(__clang__)
    return "clang " __clang_version__;
#elif defined(__GNUC__)
    return "g++ " __VERSION__;
#else
    return "unknown";
#endif
}

} // namespace

int main(int argc, char** argv)
{
    SettleAllocatorThresholds();
    benchmark::AddCustomContext("compiler", CompilerName());
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return vekbench::AnyRowDisagreed() ? 1 : 0;
}
