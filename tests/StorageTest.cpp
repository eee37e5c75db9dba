// Facts about construction, destruction, moves, swaps and capacity: results,
// fields, buffer identity and the exact allocator trace.
#include "VekTestSupport.h"

#include <cstring>

namespace {

using vektest::CheckFacts;
using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr VekSizeT kNpos = VekStringNpos;

// A string that owns nothing: shared empty byte, no capacity.
testing::AssertionResult IsEmptyUnowned(const VekString& s, VekAllocator* a)
{
    if (s.buf == vekStringEmpty_ && s.size == 0 && s.capacity == 0 && s.allocator == a)
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << Snapshot::Of(s);
}

// Constructs a second string from the fact's string and checks it.
bool CopyHas(const VekString* src, const char* content, VekSizeT capacity)
{
    VekString copy;
    const bool ok = VekStringConstructCopy(&copy, src) != nullptr && Content(copy) == content &&
                    copy.capacity == capacity && copy.allocator == src->allocator;
    VekStringDestruct(&copy);
    return ok;
}

TEST(Storage, Facts)
{
    const std::string x31(31, 'x'), x32(32, 'x');
    // clang-format off
    CheckFacts({
        // Construction (over an empty record, which constructing does not read).
        {"EmptyNeedsNoBlock", "", [](auto s, auto a) { return VekStringConstructCStrLen(s, nullptr, 0, a); }, "", 0, ""},
        {"EmbeddedNul", "", [](auto s, auto a) { return VekStringConstructCStrLen(s, "a\0b", 3, a); }, std::string("a\0b", 3), 3, "+4"},
        {"CStrStopsAtNul", "", [](auto s, auto a) { return VekStringConstructCStr(s, "a\0b", a); }, "a", 1, "+2"},
        {"JustBelowLimit", "", [&](auto s, auto a) { return VekStringConstructCStr(s, x31.c_str(), a); }, x31, 31, "+32", 32},
        {"AtLimit", "", [&](auto s, auto a) { return VekStringConstructCStr(s, x32.c_str(), a); }, std::nullopt, 0, "", 32},
        {"LimitZero", "", [](auto s, auto a) { return VekStringConstructCStr(s, "a", a); }, std::nullopt, 0, "", 0},
        {"Refused", "", [](auto s, auto a) { return VekStringConstructCStr(s, "abc", a); }, std::nullopt, 0, "+4!", kNpos, true},
        {"Range", "", [](auto s, auto a) { const char t[] = "range"; return VekStringConstructRange(s, t + 1, t + 4, a); }, "ang", 3, "+4"},
        // Copies fit the content and use the source's allocator.
        {"CopyFitsTheContent", "abc/100", [](auto s, auto) { return CopyHas(s, "abc", 3); }, "abc", 100, "+4 -4"},
        {"CopyOfEmptyAllocatesNothing", "", [](auto s, auto) { return CopyHas(s, "", 0); }, "", 0, ""},
        {"CopyOfViewIsOwned", "view:view", [](auto s, auto) { return CopyHas(s, "view", 4); }, "view", 0, "+5 -5"},
        // Reserve reallocates to exactly max(size, request), even to the same capacity.
        {"ReserveReleasesAnEmptyBlock", "/8", [](auto s, auto) { return VekStringReserve(s, 0); }, "", 0, "-9"},
        {"ReserveShrinksToTheSize", "abc/50", [](auto s, auto) { return VekStringReserve(s, 0); }, "abc", 3, "+4 -51"},
        {"ReserveSameCapacity", "abc/8", [](auto s, auto) { return VekStringReserve(s, 8); }, "abc", 8, "+9 -9"},
        {"ReserveGrows", "abc", [](auto s, auto) { return VekStringReserve(s, 40); }, "abc", 40, "+41 -4"},
        {"ReserveOnTheSharedByte", "", [](auto s, auto) { return VekStringReserve(s, 5); }, "", 5, "+6"},
        {"ReserveNothingOnNothing", "", [](auto s, auto) { return VekStringReserve(s, 0); }, "", 0, ""},
        {"ReserveJustBelowLimit", "abc", [](auto s, auto) { return VekStringReserve(s, 31); }, "abc", 31, "+32 -4", 32},
        {"ReserveAtLimit", "abc", [](auto s, auto) { return VekStringReserve(s, 32); }, std::nullopt, 0, "", 32},
        {"ReserveNpos", "abc", [](auto s, auto) { return VekStringReserve(s, kNpos); }, std::nullopt, 0, "", kNpos},
        {"ReserveRefused", "abc/5", [](auto s, auto) { return VekStringReserve(s, 10); }, std::nullopt, 0, "+11!", kNpos, true},
        {"ReserveCopiesAView", "view:viewed", [](auto s, auto) { return VekStringReserve(s, 2); }, "viewed", 6, "+7"},
        // Clear keeps an owned block; ReleaseBuffer adds to the size.
        {"ClearKeepsTheBlock", "abc/10", [](auto s, auto) { VekStringClear(s); return true; }, "", 10, ""},
        {"ClearLetsAViewGo", "view:viewed", [](auto s, auto) { VekStringClear(s); return s->buf == vekStringEmpty_; }, "", 0, ""},
        {"ReleaseBufferAdds", "ab/8", [](auto s, auto) { std::memcpy(VekStringGetBuffer(s), "cdef", 4); VekStringReleaseBuffer(s, 4); return true; }, "abcdef", 8, ""},
        {"ReleaseBufferTerminates", "ab/8", [](auto s, auto) { s->buf[2] = 'X'; VekStringReleaseBuffer(s, 0); return true; }, "ab", 8, ""},
    });
    // clang-format on
}

struct SubstringCase {
    VekSizeT pos;
    VekSizeT n;
    bool succeeds;
    std::string expected;
};

TEST(Storage, SubstringConstructionChecksThePositionAndClampsTheCount)
{
    const SubstringCase cases[] = {
        {0, kNpos, true, "hello"}, {1, kNpos, true, "ello"}, {1, 2, true, "el"},
        {5, 3, true, ""},          {6, 0, false, ""},        {kNpos, 0, false, ""},
    };
    RecordingAllocator src_alloc, alloc;
    VekString src;
    VekStringConstructCStr(&src, "hello", src_alloc);
    for (const SubstringCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "pos " << c.pos << " n " << c.n);
        VekString s;
        EXPECT_EQ(VekStringConstructSubstring(&s, &src, c.pos, c.n, alloc),
                  c.succeeds ? &s : nullptr);
        EXPECT_EQ(Content(s), c.expected);
        EXPECT_EQ(s.allocator, alloc.get());
        EXPECT_EQ(s.capacity, c.expected.size());
        VekStringDestruct(&s);
    }
    VekStringDestruct(&src);
    EXPECT_TRUE(alloc.IsClean());
    EXPECT_TRUE(src_alloc.IsClean());
}

TEST(Storage, RefusedConstructionLeavesAValidEmptyString)
{
    RecordingAllocator alloc(2);
    VekString s;
    EXPECT_EQ(VekStringConstructCStr(&s, "too long", alloc), nullptr);
    EXPECT_TRUE(IsEmptyUnowned(s, alloc));
    EXPECT_EQ(VekStringMaxSize(&s), 2u);
    VekStringDestruct(&s);
    EXPECT_EQ(alloc.Trace(), "");
}

TEST(Storage, DestructReleasesOnceAndZeroesTheRecord)
{
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "abc", 10, alloc);
    const char* block = s.buf;
    alloc.ClearEvents();
    VekStringDestruct(&s);
    ASSERT_EQ(alloc.Trace(), "-11");
    EXPECT_EQ(alloc.events()[0].block, block);
    EXPECT_EQ(Snapshot::Of(s), (Snapshot{nullptr, nullptr, 0, 0, ""}));
    VekStringDestruct(&s);
    EXPECT_EQ(alloc.Trace(), "-11");
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Storage, MovesTakeEverythingAndLeaveTheSourceEmptyWithItsAllocator)
{
    RecordingAllocator a1, a2;
    VekString src, dst, other;
    MakeOwned(&src, "payload", 16, a1);
    const Snapshot before = Snapshot::Of(src);
    a1.ClearEvents();
    ASSERT_EQ(VekStringConstructMove(&dst, &src), &dst);
    EXPECT_EQ(Snapshot::Of(dst), before);
    EXPECT_TRUE(IsEmptyUnowned(src, a1));

    // Moving onto an owned destination releases its block to its own
    // allocator, although the source uses another.
    MakeOwned(&other, "xy", 4, a2);
    const char* other_block = other.buf;
    a2.ClearEvents();
    ASSERT_EQ(VekStringMove(&other, &dst), &other);
    EXPECT_EQ(a2.Trace(), "-5");
    EXPECT_EQ(a2.events()[0].block, other_block);
    EXPECT_EQ(a1.Trace(), "");
    EXPECT_EQ(Snapshot::Of(other), before);
    EXPECT_TRUE(IsEmptyUnowned(dst, a1));
    ASSERT_EQ(VekStringMove(&other, &other), &other);
    EXPECT_EQ(Snapshot::Of(other), before);

    // Swap exchanges all four fields; with itself it changes nothing.
    VekStringConstructCStr(&dst, "swapped", a2);
    const Snapshot sd = Snapshot::Of(dst);
    EXPECT_TRUE(VekStringSwap(&other, &dst));
    EXPECT_EQ(Snapshot::Of(other), sd);
    EXPECT_EQ(Snapshot::Of(dst), before);
    EXPECT_TRUE(VekStringSwap(&dst, &dst));
    EXPECT_EQ(Snapshot::Of(dst), before);
    for (VekString* s : {&src, &dst, &other})
        VekStringDestruct(s);
    EXPECT_TRUE(a1.IsClean());
    EXPECT_TRUE(a2.IsClean());
}

// An allocator whose releases do nothing, for blocks that are not its own.
VekVoidPtr NoAllocate(VekAllocator*, VekSizeT)
{
    return nullptr;
}
void NoRelease(VekAllocator*, VekVoidPtr, VekSizeT)
{
}

TEST(Storage, ExternalBuffersOfTwoOrMoreBytesAreAdopted)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructWithExternalBuffer(&s, nullptr, 5, 0, alloc);
    EXPECT_TRUE(IsEmptyUnowned(s, alloc));

    char* one = static_cast<char*>(VekAllocatorAllocate(alloc, 1));
    alloc.ClearEvents();
    VekStringConstructWithExternalBuffer(&s, one, 5, 1, alloc);
    EXPECT_TRUE(IsEmptyUnowned(s, alloc));
    EXPECT_EQ(alloc.Trace(), "-1");

    char* ten = static_cast<char*>(VekAllocatorAllocate(alloc, 10));
    std::memcpy(ten, "0123456789", 10);
    ASSERT_EQ(VekStringConstructWithExternalBuffer(&s, ten, 20, 10, alloc), &s);
    EXPECT_EQ(s.buf, ten);
    EXPECT_EQ(s.capacity, 9u);
    EXPECT_EQ(Content(s), "012345678");
    EXPECT_TRUE(HasInvariants(s));
    alloc.ClearEvents();
    VekStringDestruct(&s);
    EXPECT_EQ(alloc.Trace(), "-10");
    EXPECT_TRUE(alloc.IsClean());

    // A terminator already in place is not rewritten: the block may be
    // read-only as long as nothing else needs writing.
    ReadOnlyBytes frozen(std::string("abc\0efghij", 10));
    VekAllocator keeper = {NoAllocate, NoRelease, 100, nullptr};
    VekStringConstructWithExternalBuffer(&s, const_cast<char*>(frozen.data()), 3, 10, &keeper);
    EXPECT_EQ(Content(s), "abc");
    EXPECT_EQ(s.capacity, 9u);
    VekStringDestruct(&s);
}

TEST(Storage, AccessorsReportTheRecord)
{
    RecordingAllocator alloc(77);
    ReadOnlyBytes bytes("hey");
    VekString s = MakeView(bytes, alloc);
    EXPECT_EQ(VekStringMaxSize(&s), 77u);
    EXPECT_EQ(VekStringGetAllocator(&s), alloc.get());
    EXPECT_EQ(VekStringLength(&s), 3u);
    EXPECT_EQ(VekStringSize(&s), 3u);
    EXPECT_EQ(VekStringCapacity(&s), 0u);
    EXPECT_EQ(VekStringData(&s), bytes.data());
    EXPECT_EQ(VekStringGetBuffer(&s), bytes.data() + 3);
}

} // namespace
