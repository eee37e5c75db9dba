// Sizes at the top of the 64-bit range, under an allocator whose maxSize is
// the largest value there is: counts and positions near VekStringNpos must
// be refused like any request beyond the allocator's limit (or clamped, for
// counts into a string), never wrap into a small size that is then granted.
// Each row starts from an owned "0123456789" of capacity 16 and states the
// content afterwards (nullptr: refused, string untouched) and the exact
// allocator trace. Rows whose capacity passes the limit run under an
// allocator that refuses every allocation, so that no huge block is ever
// really requested from the system.
#include "VekTestSupport.h"

#include <functional>

namespace {

using vektest::CheckFacts;
using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr VekSizeT kNpos = VekStringNpos;
constexpr VekSizeT kHalf = VekSizeT{1} << 63;
// Past any end, but 1 if narrowed to a 32-bit size_t.
constexpr VekSizeT kPast32Bits = (VekSizeT{1} << 32) + 1;
const char* const kOutside = "abc";
const char* const kStart = "0123456789/16";

// The refused request for the largest capacity below the limit.
const std::string kLargest = "+" + std::to_string(kNpos) + "!";

bool Done(const void* result)
{
    return result != nullptr;
}

// A second string made by a row, which must come out a valid empty string
// when refused; ok tells whether the construction succeeded.
bool Construct(VekString* y, VekString* r, VekAllocator* a)
{
    const bool ok = r != nullptr;
    EXPECT_TRUE(HasInvariants(*y));
    if (!ok) {
        EXPECT_EQ(y->buf, vekStringEmpty_);
        EXPECT_EQ(y->allocator, a);
    }
    VekStringDestruct(y);
    return ok;
}

TEST(Overflow, IsRefusedOrClampedNeverWrapped)
{
    // clang-format off
    CheckFacts({
    // Sizes: a sum beyond 64 bits, a sum of exactly VekStringNpos (never a
    // capacity below the limit), and one just below it (granted by the limit,
    // refused by allocate).
        {"AppendNWrapping", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 9, 'x')); }, std::nullopt, 0, "", kNpos, false},
        {"AppendNToNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 10, 'x')); }, std::nullopt, 0, "", kNpos, false},
        {"AppendNBelowNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 11, 'x')); }, std::nullopt, 0, kLargest.c_str(), kNpos, true},
        {"AppendCStrLenWrapping", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAppendCStrLen(x, kOutside, kNpos)); }, std::nullopt, 0, "", kNpos, false},
        {"InsertCStrLenWrapping", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringInsertCStrLen(x, 3, kOutside, kNpos - 9)); }, std::nullopt, 0, "", kNpos, false},
        {"ReplaceWholeByNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceCStrLen(x, 0, kNpos, kOutside, kNpos)); }, std::nullopt, 0, "", kNpos, false},
        {"ReplaceWholeBelowNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceCStrLen(x, 0, kNpos, kOutside, kNpos - 1)); }, std::nullopt, 0, kLargest.c_str(), kNpos, true},
        {"AssignNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAssignCStrLen(x, kOutside, kNpos)); }, std::nullopt, 0, "", kNpos, false},
        {"ResizeToNpos", kStart, [](VekString* x, VekAllocator*) { return VekStringResize(x, kNpos, "x"); }, std::nullopt, 0, "", kNpos, false},
        {"ReserveNpos", kStart, [](VekString* x, VekAllocator*) { return VekStringReserve(x, kNpos); }, std::nullopt, 0, "", kNpos, false},
        {"ReserveBelowNpos", kStart, [](VekString* x, VekAllocator*) { return VekStringReserve(x, kNpos - 1); }, std::nullopt, 0, kLargest.c_str(), kNpos, true},
        {"ConstructNpos", kStart, [](VekString*, VekAllocator* a) { VekString y; return Construct(&y, VekStringConstructCStrLen(&y, kOutside, kNpos, a), a); }, std::nullopt, 0, "", kNpos, false},
        {"ConstructBelowNpos", kStart, [](VekString*, VekAllocator* a) { VekString y; return Construct(&y, VekStringConstructCStrLen(&y, kOutside, kNpos - 1, a), a); }, std::nullopt, 0, kLargest.c_str(), kNpos, true},
    // Positions near VekStringNpos or past 32 bits fail before anything is read or called.
        {"AssignSubstringAtNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAssignSubstring(x, x, kNpos, kNpos)); }, std::nullopt, 0, "", kNpos, false},
        {"ReplaceAtNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceSubstring(x, kNpos, 1, x, 0, kNpos)); }, std::nullopt, 0, "", kNpos, false},
        {"ReplaceFromNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceSubstring(x, 0, 1, x, kNpos - 1, 1)); }, std::nullopt, 0, "", kNpos, false},
        {"InsertCharAtNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringInsertChar(x, kNpos, 'x')); }, std::nullopt, 0, "", kNpos, false},
        {"InsertCharPast32Bits", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringInsertChar(x, kPast32Bits, 'x')); }, std::nullopt, 0, "", kNpos, false},
        {"AssignSubstringPast32Bits", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAssignSubstring(x, x, kPast32Bits, 1)); }, std::nullopt, 0, "", kNpos, false},
        {"EraseAtNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringEraseSubstring(x, kNpos, kNpos)); }, std::nullopt, 0, "", kNpos, false},
        {"ReplaceFormattedAtNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceFormatted(x, kNpos, 0, "%d", 1)); }, std::nullopt, 0, "", kNpos, false},
        {"ConstructSubstringAtNpos", kStart, [](VekString* x, VekAllocator* a) { VekString y; return Construct(&y, VekStringConstructSubstring(&y, x, kNpos, 1, a), a); }, std::nullopt, 0, "", kNpos, false},
    // Counts near VekStringNpos into a string are clamped to what remains.
        {"EraseNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringEraseSubstring(x, 3, kNpos)); }, "012", 16, "", kNpos, false},
        {"AssignSubstringNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringAssignSubstring(x, x, 2, kNpos - 1)); }, "23456789", 16, "", kNpos, false},
        {"ReplaceNposByNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceSubstring(x, 8, kNpos, x, 0, kNpos - 1)); }, "012345670123456789", 32, "+33 -17", kNpos, false},
        {"ReplaceFormattedNpos", kStart, [](VekString* x, VekAllocator*) { return Done(VekStringReplaceFormatted(x, 4, kNpos, "%d", 7)); }, "01237", 16, "", kNpos, false},
        {"ExternalLengthNpos", kStart, [](VekString* x, VekAllocator* a) {
                     VekString y;
                     char* block = static_cast<char*>(VekAllocatorAllocate(a, 8));
                     VekStringConstructWithExternalBuffer(&y, block, kNpos, 8, a);
                     const bool ok = y.size == 7 && y.capacity == 7 && HasInvariants(y);
                     VekStringDestruct(&y);
                     return ok ? Done(VekStringAppendChar(x, 'x')) : false; }, "0123456789x", 16, "+8 -8", kNpos, false},
    // Searches and span comparisons take any position.
    {"SearchesFromNpos", kStart, [](VekString* x, VekAllocator*) {
                     return VekStringFindFromPosCStrLen(x, kNpos, "", 0) == kNpos &&
                            VekStringRFindFromPosCStr(x, kNpos, "89") == 8 &&
                            VekStringRFindFromPosCStr(x, kNpos - 1, "") == 10 &&
                            VekStringFindFirstOfCStr(x, kNpos, "0") == kNpos &&
                            VekStringFindLastOfChar(x, kNpos, '0') == 0 &&
                            VekStringFindLastNotOfCStrLen(x, kNpos, "9", 1) == 8 &&
                            VekStringEqualSubstringCStr(x, kNpos, kNpos, "") &&
                            VekStringEqualSubstringCStr(x, 7, kNpos, "789"); }, "0123456789", 16, "", kNpos, false},
    });
    // clang-format on
}

// Doubling a capacity of 2^63 or more would wrap; it saturates instead, so
// the limit refuses it. Records this large cannot be real, so the rows use
// records whose fields claim it over a small block that is never read: a
// refused growth reads nothing.
TEST(Overflow, DoublingAHugeCapacitySaturates)
{
    RecordingAllocator alloc(kNpos);
    char block[16] = "0123456789";
    struct {
        VekSizeT capacity;
        std::string trace;
    } cases[] = {{kHalf + 5, ""}, {kHalf, ""}, {kHalf / 2, "+" + std::to_string(kHalf + 1) + "!"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.capacity);
        VekString x{alloc, block, c.capacity, c.capacity};
        alloc.RefuseAll();
        alloc.ClearEvents();
        EXPECT_EQ(VekStringAppendChar(&x, 'x'), nullptr);
        EXPECT_EQ(VekStringInsertChar(&x, 0, 'x'), nullptr);
        EXPECT_EQ(alloc.Trace(), c.trace.empty() ? "" : c.trace + " " + c.trace);
        EXPECT_EQ(x.capacity, c.capacity);
        EXPECT_EQ(x.buf, block);
    }
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
