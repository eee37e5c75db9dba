// VekTestSupport.cpp - the recording allocator, read-only views and invariant
// checks shared by the string tests.
#include "VekTestSupport.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>

namespace vektest {

RecordingAllocator::RecordingAllocator(VekSizeT maxSize)
    : record_{&RecordingAllocator::Allocate, &RecordingAllocator::Deallocate, maxSize, this}
{
}

RecordingAllocator::~RecordingAllocator()
{
    // A test that leaked has already failed on IsClean; do not leak further.
    for (const auto& [block, size] : live_)
        std::free(const_cast<void*>(block));
}

void RecordingAllocator::RefuseNth(std::size_t k, bool and_after)
{
    calls_ = 0;
    refuse_at_ = k;
    refuse_after_ = and_after;
}

VekVoidPtr RecordingAllocator::Allocate(VekAllocator* a, VekSizeT size)
{
    auto* self = static_cast<RecordingAllocator*>(a->userData);
    if (size == 0)
        self->problems_.push_back("allocate called with 0 bytes");
    if (size > a->maxSize)
        self->problems_.push_back("allocate of " + std::to_string(size) + " bytes beyond maxSize");
    const std::size_t call = ++self->calls_;
    const bool refused =
        self->refuse_at_ != 0 &&
        (call == self->refuse_at_ || (self->refuse_after_ && call > self->refuse_at_));
    void* block = refused ? nullptr : std::malloc(static_cast<std::size_t>(size));
    if (block != nullptr) {
        std::memset(block, 0xA5, static_cast<std::size_t>(size));
        self->live_[block] = size;
    }
    self->Log('+', size, refused ? "!" : "");
    return block;
}

void* RecordingAllocator::Block(VekSizeT size)
{
    void* block = std::malloc(static_cast<std::size_t>(size));
    live_[block] = size;
    return block;
}

void RecordingAllocator::Deallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size)
{
    auto* self = static_cast<RecordingAllocator*>(a->userData);
    self->Log('-', size, "");
    auto it = self->live_.find(p);
    if (it == self->live_.end()) {
        self->problems_.push_back("release of a block that is not outstanding (" +
                                  std::to_string(size) + " bytes)");
        return;
    }
    if (it->second != size)
        self->problems_.push_back("block of " + std::to_string(it->second) +
                                  " bytes released with " + std::to_string(size));
    self->live_.erase(it);
    std::free(p);
}

void RecordingAllocator::Log(char kind, VekSizeT size, const char* suffix)
{
    trace_ += (trace_.empty() ? "" : " ") + (kind + std::to_string(size)) + suffix;
}

testing::AssertionResult RecordingAllocator::IsClean() const
{
    if (problems_.empty() && live_.empty())
        return testing::AssertionSuccess();
    auto failure = testing::AssertionFailure();
    for (const std::string& p : problems_)
        failure << p << "; ";
    if (!live_.empty())
        failure << live_.size() << " block(s) never released";
    return failure;
}

VekAllocator* Keeper()
{
    static VekAllocator keeper = {[](VekAllocator*, VekSizeT) -> VekVoidPtr { return nullptr; },
                                  [](VekAllocator*, VekVoidPtr, VekSizeT) {}, 100, nullptr};
    return &keeper;
}

ReadOnlyBytes::ReadOnlyBytes(std::string_view bytes) : size_(bytes.size())
{
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t data_pages = (bytes.size() + page - 1) / page;
    mapping_size_ = (data_pages + 1) * page;
    void* m =
        mmap(nullptr, mapping_size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (m == MAP_FAILED)
        std::abort();
    mapping_ = static_cast<char*>(m);
    char* data = mapping_ + data_pages * page - bytes.size();
    if (!bytes.empty())
        std::memcpy(data, bytes.data(), bytes.size());
    mprotect(mapping_, data_pages * page, PROT_READ);
    mprotect(mapping_ + data_pages * page, page, PROT_NONE);
    data_ = data;
}

ReadOnlyBytes::~ReadOnlyBytes()
{
    munmap(mapping_, mapping_size_);
}

testing::AssertionResult HasInvariants(const VekString& s)
{
    if (s.buf == nullptr)
        return testing::AssertionFailure() << "buf is NULL";
    if (s.capacity == 0)
        return testing::AssertionSuccess();
    if (s.size > s.capacity)
        return testing::AssertionFailure()
               << "size " << s.size << " beyond capacity " << s.capacity;
    if (s.buf == vekStringEmpty_)
        return testing::AssertionFailure() << "owns the shared empty byte";
    if (s.buf[s.size] != '\0')
        return testing::AssertionFailure() << "no NUL at buf[" << s.size << "]";
    return testing::AssertionSuccess();
}

Snapshot Snapshot::Of(const VekString& s)
{
    std::string bytes(s.buf, s.size);
    if (s.capacity != 0)
        bytes.push_back(s.buf[s.size]);
    return Snapshot{s.allocator, s.buf, s.size, s.capacity, bytes};
}

std::ostream& operator<<(std::ostream& out, const Snapshot& s)
{
    return out << "{buf " << static_cast<const void*>(s.buf) << ", size " << s.size << ", capacity "
               << s.capacity << ", bytes \"" << s.bytes << "\"}";
}

std::vector<std::string> ReadCorpus(const std::string& name)
{
    std::vector<std::string> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(VEK_CORPUS_DIR "/" + name)) {
        std::ifstream file(entry.path(), std::ios::binary);
        inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    return inputs;
}

void MakeOwned(VekString* s, std::string_view content, VekSizeT capacity, VekAllocator* a)
{
    ASSERT_GE(capacity, content.size());
    VekStringConstructCStrLen(s, content.data(), content.size(), a);
    ASSERT_TRUE(VekStringReserve(s, capacity));
    ASSERT_EQ(s->capacity, capacity);
}

} // namespace vektest
