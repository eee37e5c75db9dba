// FuzzSupport.h - what the fuzz targets share: a check that reports a finding
// and stops the run, and the pick helpers that turn input bytes into choices.
//
// A finding must stop libFuzzer with a crash so that it saves the input; so
// FUZZ_CHECK prints what broke, with the values that matter, and aborts. The
// targets reuse the tests' recording allocator, read-only views and invariant
// checks (tests/support), which report through gtest's AssertionResult.
#ifndef VEK_FUZZ_FUZZSUPPORT_H
#define VEK_FUZZ_FUZZSUPPORT_H

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "VekTestSupport.h"

namespace vekfuzz {

[[noreturn]] inline void Fail(const char* file, int line, const std::string& what)
{
    std::fprintf(stderr, "%s:%d: fuzz check failed: %s\n", file, line, what.c_str());
    std::abort();
}

// Abort is the fuzzers' Report for the shared models (tests/support).
[[noreturn]] inline void Abort(const std::string& finding)
{
    std::fprintf(stderr, "fuzz finding: %s\n", finding.c_str());
    std::abort();
}

// FUZZ_CHECK(condition, message stream): message is built only on failure,
// e.g. FUZZ_CHECK(a == b, "step " << i << ": " << a << " != " << b).
#define FUZZ_CHECK(condition, what)                                                                \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            std::ostringstream fuzz_message_;                                                      \
            fuzz_message_ << #condition << ": " << what;                                           \
            vekfuzz::Fail(__FILE__, __LINE__, fuzz_message_.str());                                \
        }                                                                                          \
    } while (0)

// FUZZ_CHECK_RESULT checks a gtest AssertionResult, reporting its message.
#define FUZZ_CHECK_RESULT(result, what)                                                            \
    do {                                                                                           \
        const testing::AssertionResult fuzz_result_ = (result);                                    \
        FUZZ_CHECK(fuzz_result_, fuzz_result_.message() << "; " << what);                          \
    } while (0)

// Pick returns a value in [0, n), consuming input; 0 once the input is spent.
inline std::size_t Pick(FuzzedDataProvider& in, std::size_t n)
{
    return in.ConsumeIntegralInRange<std::size_t>(0, n - 1);
}

// Text returns up to max_len input bytes; without_nul drops NUL bytes, for
// operands read as C strings.
inline std::string Text(FuzzedDataProvider& in, std::size_t max_len, bool without_nul = false)
{
    std::string text = in.ConsumeBytesAsString(Pick(in, max_len + 1));
    if (without_nul)
        std::erase(text, '\0');
    return text;
}

// DrawRefusals opens the window of one call: it clears the allocator's log
// and draws how the allocator misbehaves: not at all most of the time, else
// the k-th allocation refused (alone or with all after it), or a small
// maxSize.
inline void DrawRefusals(FuzzedDataProvider& in, vektest::RecordingAllocator& alloc)
{
    alloc.ClearEvents();
    const std::size_t choice = Pick(in, 8);
    if (choice == 1 || choice == 2)
        alloc.RefuseNth(1 + Pick(in, 4), choice == 2);
    if (choice == 3)
        alloc.SetMaxSize(Pick(in, 64));
}

// RefusalsActive tells whether a failure can be blamed on the allocator.
inline bool RefusalsActive(vektest::RecordingAllocator& alloc)
{
    return alloc.get()->maxSize < 64 || alloc.Trace().find('!') != std::string::npos;
}

inline void AllowAll(vektest::RecordingAllocator& alloc)
{
    alloc.AllowAll();
    alloc.SetMaxSize(static_cast<VekSizeT>(PTRDIFF_MAX));
    alloc.ClearEvents();
}

} // namespace vekfuzz

#endif // VEK_FUZZ_FUZZSUPPORT_H
