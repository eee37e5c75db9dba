// VekTestSupport.h - what every string test needs: an allocator that records
// and can refuse, read-only views whose bytes cannot be written, and checks of
// the string invariants.
#ifndef VEK_TESTS_VEKTESTSUPPORT_H
#define VEK_TESTS_VEKTESTSUPPORT_H

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Vek/Utils/VekString.h"

namespace vektest {

// RecordingAllocator is a VekAllocator that logs every callback, checks each
// release against the block's allocation (double releases, foreign blocks,
// byte-count mismatches) and can refuse allocations on demand. Blocks come
// from malloc with exactly the requested size, so the sanitizers see any
// overrun, and are filled with a non-zero pattern so that a missing
// terminator shows.
class RecordingAllocator {
public:
    explicit RecordingAllocator(VekSizeT maxSize = static_cast<VekSizeT>(PTRDIFF_MAX));
    ~RecordingAllocator();
    RecordingAllocator(const RecordingAllocator&) = delete;
    RecordingAllocator& operator=(const RecordingAllocator&) = delete;

    VekAllocator* get() { return &record_; }
    operator VekAllocator*() { return &record_; }

    void SetMaxSize(VekSizeT maxSize) { record_.maxSize = maxSize; }
    // RefuseNth refuses the k-th allocate call from now on (k = 1 is the next
    // one); with and_after, every later call too.
    void RefuseNth(std::size_t k, bool and_after = false);
    void RefuseAll() { RefuseNth(1, true); }
    void AllowAll() { refuse_at_ = 0; }

    // Block hands out a block of this allocator without logging it or
    // refusing, for a test to give away (an external buffer to adopt).
    void* Block(VekSizeT size);

    // Trace is the log since ClearEvents: "+17" an allocate of 17 bytes,
    // "+17!" a refused one, "-9" a release of 9 bytes; "" when nothing was
    // called.
    void ClearEvents() { trace_.clear(); }
    const std::string& Trace() const { return trace_; }

    std::size_t outstanding() const { return live_.size(); }
    // IsClean holds when every block came back once with its own byte count.
    testing::AssertionResult IsClean() const;

private:
    static VekVoidPtr Allocate(VekAllocator* a, VekSizeT size);
    static void Deallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size);

    VekAllocator record_;
    void Log(char kind, VekSizeT size, const char* suffix);

    std::string trace_;
    std::map<const void*, VekSizeT> live_;
    std::vector<std::string> problems_;
    std::size_t calls_ = 0;     // allocate calls since the last RefuseNth
    std::size_t refuse_at_ = 0; // 0: refuse nothing
    bool refuse_after_ = false;
};

// Keeper is an allocator for blocks the test itself owns: it refuses every
// allocation and takes back nothing.
VekAllocator* Keeper();

// ReadOnlyBytes holds a copy of some bytes in pages that cannot be written,
// ending right before an inaccessible page: a write through a view, or a read
// beyond its end, crashes the test at once.
class ReadOnlyBytes {
public:
    explicit ReadOnlyBytes(std::string_view bytes);
    ~ReadOnlyBytes();
    ReadOnlyBytes(const ReadOnlyBytes&) = delete;
    ReadOnlyBytes& operator=(const ReadOnlyBytes&) = delete;
    const char* data() const { return data_; }
    std::size_t size() const { return size_; }

private:
    char* mapping_ = nullptr;
    std::size_t mapping_size_ = 0;
    const char* data_ = nullptr;
    std::size_t size_ = 0;
};

// MakeView fills a record as a caller holding a read-only view would.
inline VekString MakeView(const ReadOnlyBytes& bytes, VekAllocator* a)
{
    return VekString{a, const_cast<char*>(bytes.data()), bytes.size(), 0};
}

// Content returns the string's bytes.
inline std::string Content(const VekString& s)
{
    return std::string(s.buf, s.size);
}

// StdAt gives a library position as std::string takes it: one past 32 bits
// is past any end, not narrowed to a small one on a 32-bit target.
// Sign is -1, 0 or 1: all that an ordering promises.
inline int Sign(long long v)
{
    return (v > 0) - (v < 0);
}

// HashDefinition is the hash as the module defines it: h = h * 33 + b over
// the bytes taken as signed values, from 0.
inline VekSizeT HashDefinition(std::string_view bytes)
{
    VekSizeT h = 0;
    for (const char b : bytes)
        h = h * 33 + static_cast<VekSizeT>(static_cast<signed char>(b));
    return h;
}

// Lower is t with its ASCII capitals in small letters, all else as it was.
inline std::string Lower(std::string t)
{
    for (char& c : t)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return t;
}

inline std::size_t StdAt(VekSizeT pos)
{
    return pos < std::string::npos ? static_cast<std::size_t>(pos) : std::string::npos;
}

// StdPos gives a std::string search result as the library reports it: npos
// becomes VekStringNpos, which is wider where std::size_t has 32 bits.
inline VekSizeT StdPos(std::size_t pos)
{
    return pos == std::string::npos ? VekStringNpos : pos;
}

// Quote shows bytes readably, escaping all but printable ASCII.
inline std::string Quote(const std::string& bytes)
{
    return testing::PrintToString(bytes);
}

// HasInvariants checks what must hold after every successful operation.
testing::AssertionResult HasInvariants(const VekString& s);

// Snapshot captures a string's fields and, for an owned block, its content
// and terminator, so a test can assert that a failed call changed nothing.
struct Snapshot {
    VekAllocator* allocator;
    const char* buf;
    VekSizeT size;
    VekSizeT capacity;
    std::string bytes;

    static Snapshot Of(const VekString& s);
    bool operator==(const Snapshot& other) const = default;
};

std::ostream& operator<<(std::ostream& out, const Snapshot& s);

// ReadCorpus returns every input of the fuzzer's committed corpus
// fuzz/corpus/NAME, so that the tests replay them.
std::vector<std::string> ReadCorpus(const std::string& name);

// AddFailure is the tests' Report for the shared models.
inline void AddFailure(const std::string& finding)
{
    ADD_FAILURE() << finding;
}

// OwnedString builds an owned string with the given content and exactly the
// given capacity through the public API.
void MakeOwned(VekString* s, std::string_view content, VekSizeT capacity, VekAllocator* a);

} // namespace vektest

#endif // VEK_TESTS_VEKTESTSUPPORT_H
