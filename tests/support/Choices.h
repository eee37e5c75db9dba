// Choices.h - where the models' random decisions come from: a seeded generator
// for the tests, the input bytes for the fuzzers and for replaying their
// corpus, and how a model reports what it found.
#ifndef VEK_TESTS_CHOICES_H
#define VEK_TESTS_CHOICES_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

namespace vektest {

class Choices {
public:
    virtual ~Choices() = default;
    // Below returns a value in [0, n), n >= 1.
    virtual std::uint64_t Below(std::uint64_t n) = 0;
    // Spent tells when a fuzzer's input has run out; a seeded run never does.
    virtual bool Spent() const { return false; }

    bool OneIn(std::uint64_t n) { return Below(n) == 0; }

    // Bytes returns up to max_len bytes, mostly from a small alphabet (so that
    // searches match often), NUL and 0xFF included, sometimes in long runs of
    // one byte (which block-wise searches must cross).
    std::string Bytes(std::size_t max_len)
    {
        static constexpr char kAlphabet[] = {'a', 'b', '\0', 'c', '\xff'};
        std::string out;
        const std::size_t len = Below(max_len + 1);
        const bool runs = OneIn(4);
        while (out.size() < len) {
            const char c =
                OneIn(8) ? static_cast<char>(Below(256)) : kAlphabet[Below(runs ? 3 : 5)];
            out.append(runs ? Below(len - out.size()) + 1 : 1, c);
        }
        return out;
    }
};

class SeededChoices : public Choices {
public:
    explicit SeededChoices(std::uint64_t seed) : rng_(seed) {}
    std::uint64_t Below(std::uint64_t n) override { return rng_() % n; }

private:
    std::mt19937_64 rng_;
};

// ByteChoices takes each choice from the next input bytes, as few as the
// range needs; once they are spent every choice is 0.
class ByteChoices : public Choices {
public:
    ByteChoices(const std::uint8_t* data, std::size_t size) : data_(data), end_(data + size) {}
    std::uint64_t Below(std::uint64_t n) override
    {
        std::uint64_t v = 0;
        for (std::uint64_t range = n - 1; range != 0 && data_ != end_; range >>= 8)
            v = (v << 8) | *data_++;
        return v % n;
    }
    bool Spent() const override { return data_ == end_; }

private:
    const std::uint8_t* data_;
    const std::uint8_t* end_;
};

// A model hands each finding to a Report: a gtest failure, or for a fuzzer
// AbortReport, a message and an abort, so that libFuzzer keeps the input.
using Report = void (*)(const std::string& finding);

[[noreturn]] inline void AbortReport(const std::string& finding)
{
    std::fprintf(stderr, "fuzz finding: %s\n", finding.c_str());
    std::abort();
}

} // namespace vektest

#endif // VEK_TESTS_CHOICES_H
