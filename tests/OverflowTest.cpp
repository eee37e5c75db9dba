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

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr VekSizeT kNpos = VekStringNpos;
constexpr VekSizeT kHalf = VekSizeT{1} << 63;
const char* const kOutside = "abc";

struct OverflowCase {
    const char* name;
    std::function<bool(VekString* x, VekAllocator* a)> call;
    bool refuse_all;
    const char* content; // nullptr: the call fails and x is unchanged
    std::string trace;
};

std::ostream& operator<<(std::ostream& out, const OverflowCase& c)
{
    return out << c.name;
}

class Overflow : public testing::TestWithParam<OverflowCase> {};

TEST_P(Overflow, IsRefusedOrClampedNeverWrapped)
{
    const OverflowCase& c = GetParam();
    RecordingAllocator alloc(kNpos);
    VekString x;
    MakeOwned(&x, "0123456789", 16, alloc);
    const Snapshot before = Snapshot::Of(x);
    alloc.ClearEvents();
    if (c.refuse_all)
        alloc.RefuseAll();
    const bool ok = c.call(&x, alloc);
    EXPECT_EQ(alloc.Trace(), c.trace);
    EXPECT_TRUE(HasInvariants(x));
    if (c.content == nullptr) {
        EXPECT_FALSE(ok);
        EXPECT_EQ(Snapshot::Of(x), before);
    } else {
        EXPECT_TRUE(ok);
        EXPECT_EQ(Content(x), c.content);
    }
    VekStringDestruct(&x);
    EXPECT_TRUE(alloc.IsClean());
}

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

// clang-format off
INSTANTIATE_TEST_SUITE_P(Table, Overflow, testing::Values(
    // Sizes: a sum beyond 64 bits, a sum of exactly VekStringNpos (never a
    // capacity below the limit), and one just below it (granted by the limit,
    // refused by allocate).
    OverflowCase{"AppendNWrapping",          [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 9, 'x')); }, false, nullptr, ""},
    OverflowCase{"AppendNToNpos",            [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 10, 'x')); }, false, nullptr, ""},
    OverflowCase{"AppendNBelowNpos",         [](VekString* x, VekAllocator*) { return Done(VekStringAppendN(x, kNpos - 11, 'x')); }, true, nullptr, kLargest},
    OverflowCase{"AppendCStrLenWrapping",    [](VekString* x, VekAllocator*) { return Done(VekStringAppendCStrLen(x, kOutside, kNpos)); }, false, nullptr, ""},
    OverflowCase{"InsertCStrLenWrapping",    [](VekString* x, VekAllocator*) { return Done(VekStringInsertCStrLen(x, 3, kOutside, kNpos - 9)); }, false, nullptr, ""},
    OverflowCase{"ReplaceWholeByNpos",       [](VekString* x, VekAllocator*) { return Done(VekStringReplaceCStrLen(x, 0, kNpos, kOutside, kNpos)); }, false, nullptr, ""},
    OverflowCase{"ReplaceWholeBelowNpos",    [](VekString* x, VekAllocator*) { return Done(VekStringReplaceCStrLen(x, 0, kNpos, kOutside, kNpos - 1)); }, true, nullptr, kLargest},
    OverflowCase{"AssignNpos",               [](VekString* x, VekAllocator*) { return Done(VekStringAssignCStrLen(x, kOutside, kNpos)); }, false, nullptr, ""},
    OverflowCase{"ResizeToNpos",             [](VekString* x, VekAllocator*) { return VekStringResize(x, kNpos, "x"); }, false, nullptr, ""},
    OverflowCase{"ReserveNpos",              [](VekString* x, VekAllocator*) { return VekStringReserve(x, kNpos); }, false, nullptr, ""},
    OverflowCase{"ReserveBelowNpos",         [](VekString* x, VekAllocator*) { return VekStringReserve(x, kNpos - 1); }, true, nullptr, kLargest},
    OverflowCase{"ConstructNpos",            [](VekString*, VekAllocator* a) { VekString y; return Construct(&y, VekStringConstructCStrLen(&y, kOutside, kNpos, a), a); }, false, nullptr, ""},
    OverflowCase{"ConstructBelowNpos",       [](VekString*, VekAllocator* a) { VekString y; return Construct(&y, VekStringConstructCStrLen(&y, kOutside, kNpos - 1, a), a); }, true, nullptr, kLargest},
    // Positions near VekStringNpos fail before anything is read or called.
    OverflowCase{"AssignSubstringAtNpos",    [](VekString* x, VekAllocator*) { return Done(VekStringAssignSubstring(x, x, kNpos, kNpos)); }, false, nullptr, ""},
    OverflowCase{"ReplaceAtNpos",            [](VekString* x, VekAllocator*) { return Done(VekStringReplaceSubstring(x, kNpos, 1, x, 0, kNpos)); }, false, nullptr, ""},
    OverflowCase{"ReplaceFromNpos",          [](VekString* x, VekAllocator*) { return Done(VekStringReplaceSubstring(x, 0, 1, x, kNpos - 1, 1)); }, false, nullptr, ""},
    OverflowCase{"InsertCharAtNpos",         [](VekString* x, VekAllocator*) { return Done(VekStringInsertChar(x, kNpos, 'x')); }, false, nullptr, ""},
    OverflowCase{"EraseAtNpos",              [](VekString* x, VekAllocator*) { return Done(VekStringEraseSubstring(x, kNpos, kNpos)); }, false, nullptr, ""},
    OverflowCase{"ReplaceFormattedAtNpos",   [](VekString* x, VekAllocator*) { return Done(VekStringReplaceFormatted(x, kNpos, 0, "%d", 1)); }, false, nullptr, ""},
    OverflowCase{"ConstructSubstringAtNpos", [](VekString* x, VekAllocator* a) { VekString y; return Construct(&y, VekStringConstructSubstring(&y, x, kNpos, 1, a), a); }, false, nullptr, ""},
    // Counts near VekStringNpos into a string are clamped to what remains.
    OverflowCase{"EraseNpos",                [](VekString* x, VekAllocator*) { return Done(VekStringEraseSubstring(x, 3, kNpos)); }, false, "012", ""},
    OverflowCase{"AssignSubstringNpos",      [](VekString* x, VekAllocator*) { return Done(VekStringAssignSubstring(x, x, 2, kNpos - 1)); }, false, "23456789", ""},
    OverflowCase{"ReplaceNposByNpos",        [](VekString* x, VekAllocator*) { return Done(VekStringReplaceSubstring(x, 8, kNpos, x, 0, kNpos - 1)); }, false, "012345670123456789", "+33 -17"},
    OverflowCase{"ReplaceFormattedNpos",     [](VekString* x, VekAllocator*) { return Done(VekStringReplaceFormatted(x, 4, kNpos, "%d", 7)); }, false, "01237", ""},
    OverflowCase{"ExternalLengthNpos",       [](VekString* x, VekAllocator* a) {
                     VekString y;
                     char* block = static_cast<char*>(VekAllocatorAllocate(a, 8));
                     VekStringConstructWithExternalBuffer(&y, block, kNpos, 8, a);
                     const bool ok = y.size == 7 && y.capacity == 7 && HasInvariants(y);
                     VekStringDestruct(&y);
                     return ok ? Done(VekStringAppendChar(x, 'x')) : false; }, false, "0123456789x", "+8 -8"},
    // Searches and span comparisons take any position.
    OverflowCase{"SearchesFromNpos",         [](VekString* x, VekAllocator*) {
                     return VekStringFindFromPosCStrLen(x, kNpos, "", 0) == kNpos &&
                            VekStringRFindFromPosCStr(x, kNpos, "89") == 8 &&
                            VekStringRFindFromPosCStr(x, kNpos - 1, "") == 10 &&
                            VekStringFindFirstOfCStr(x, kNpos, "0") == kNpos &&
                            VekStringFindLastOfChar(x, kNpos, '0') == 0 &&
                            VekStringFindLastNotOfCStrLen(x, kNpos, "9", 1) == 8 &&
                            VekStringEqualSubstringCStr(x, kNpos, kNpos, "") &&
                            VekStringEqualSubstringCStr(x, 7, kNpos, "789"); }, false, "0123456789", ""}),
    [](const auto& info) { return info.param.name; });
// clang-format on

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
