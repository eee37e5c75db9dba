// Sizes at the top of the 64-bit range, under an allocator whose maxSize is
// the largest value there is: a size that would not fit 64 bits must be
// refused like any request beyond the allocator's limit, never wrap into a
// small size that is then granted. Each row starts from an owned
// "0123456789" of capacity 16 and states the allocator trace (the operation
// model covers positions and counts of VekStringNpos). Every allocation is
// refused, so that no huge block is ever really requested from the system.
#include "VekTestSupport.h"

namespace {

constexpr VekSizeT kNpos = VekStringNpos;
const char* const kStart = "0123456789/16";
// The refused request for the largest capacity below the limit.
const std::string kLargest = "+" + std::to_string(kNpos) + "!";

bool Done(const void* result)
{
    return result != nullptr;
}

TEST(Overflow, SizesBeyond64BitsAreRefusedNeverWrapped)
{
    // clang-format off
    vektest::CheckFacts({
        {"AppendN", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 9, 'x')); }, std::nullopt, 0, "", kNpos, true},
        {"AppendNToJustBelowNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 11, 'x')); }, std::nullopt, 0, kLargest.c_str(), kNpos, true},
        {"AppendCStrLen", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAppendCStrLen(x, "abc", kNpos)); }, std::nullopt, 0, "", kNpos, true},
        {"InsertCStrLen", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringInsertCStrLen(x, 3, "abc", kNpos - 9)); }, std::nullopt, 0, "", kNpos, true},
        {"ReplaceToJustBelowNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceCStrLen(x, 0, kNpos, "abc", kNpos - 1)); }, std::nullopt, 0, kLargest.c_str(), kNpos, true},
        {"Resize", kStart, [](VekString* x, VekAllocator*) { return VekStringResize(x, kNpos, "x") != 0; }, std::nullopt, 0, "", kNpos, true},
        {"ConstructCStrLen", kStart, [](VekString*, VekAllocator* a) { VekString y; const bool ok = Done(VekStringConstructCStrLen(&y, "abc", kNpos, a)); VekStringDestruct(&y); return ok; }, std::nullopt, 0, "", kNpos, true},
    });
    // clang-format on
}

// Doubling a capacity of 2^63 or more would wrap; it saturates instead, so
// the limit refuses it. Records this large cannot be real, so the rows use
// records whose fields claim it over a small block that is never read: a
// refused growth reads nothing.
TEST(Overflow, DoublingAHugeCapacitySaturates)
{
    constexpr VekSizeT kHalf = VekSizeT{1} << 63;
    vektest::RecordingAllocator alloc(kNpos);
    char block[16] = "0123456789";
    const std::pair<VekSizeT, std::string> cases[] = {
        {kHalf + 5, ""}, {kHalf, ""}, {kHalf / 2, "+" + std::to_string(kHalf + 1) + "!"}};
    for (const auto& [capacity, trace] : cases) {
        SCOPED_TRACE(capacity);
        VekString x{alloc, block, capacity, capacity};
        alloc.RefuseAll();
        alloc.ClearEvents();
        EXPECT_EQ(VekStringAppendChar(&x, 'x'), nullptr);
        EXPECT_EQ(VekStringInsertChar(&x, 0, 'x'), nullptr);
        EXPECT_EQ(alloc.Trace(), trace.empty() ? "" : trace + " " + trace);
        EXPECT_EQ(x.buf, block);
    }
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
