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
// The refused request for the largest capacity below the limit.
const std::string kLargest = "+" + std::to_string(kNpos) + "!";

TEST(Overflow, SizesBeyond64BitsAreRefusedNeverWrapped)
{
    const struct {
        const char* name;
        bool (*edit)(VekString* x);
        std::string trace;
    } kFacts[] = {
        // clang-format off
        {"AppendN", [](VekString* x) { return VekStringAppendN(x, kNpos - 9, 'x') != nullptr; }, ""},
        {"AppendNToJustBelowNpos", [](VekString* x) { return VekStringAppendN(x, kNpos - 11, 'x') != nullptr; }, kLargest},
        {"AppendCStrLen", [](VekString* x) { return VekStringAppendCStrLen(x, "abc", kNpos) != nullptr; }, ""},
        {"InsertCStrLen", [](VekString* x) { return VekStringInsertCStrLen(x, 3, "abc", kNpos - 9) != nullptr; }, ""},
        {"ReplaceToJustBelowNpos", [](VekString* x) { return VekStringReplaceCStrLen(x, 0, kNpos, "abc", kNpos - 1) != nullptr; }, kLargest},
        {"Resize", [](VekString* x) { return VekStringResize(x, kNpos, "x") != 0; }, ""},
        {"ConstructCStrLen", [](VekString* x) { VekString y; const bool ok = VekStringConstructCStrLen(&y, "abc", kNpos, x->allocator); VekStringDestruct(&y); return ok; }, ""},
        // clang-format on
    };
    for (const auto& fact : kFacts) {
        SCOPED_TRACE(fact.name);
        vektest::RecordingAllocator alloc(kNpos);
        VekString x;
        vektest::MakeOwned(&x, "0123456789", 16, alloc);
        const vektest::Snapshot before = vektest::Snapshot::Of(x);
        alloc.RefuseAll();
        alloc.ClearEvents();
        EXPECT_FALSE(fact.edit(&x));
        EXPECT_EQ(alloc.Trace(), fact.trace);
        EXPECT_EQ(vektest::Snapshot::Of(x), before);
        alloc.AllowAll();
        VekStringDestruct(&x);
        EXPECT_TRUE(alloc.IsClean());
    }
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
