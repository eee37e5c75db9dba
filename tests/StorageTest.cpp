// Facts about construction, destruction, moves, swaps and capacity: results,
// fields, buffer identity and the exact allocator trace.
#include "VekTestSupport.h"

#include <cstring>

namespace {

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

struct ConstructCase {
    const char* name;
    std::string content;
    VekSizeT max_size;
    bool refuse_allocate;
    bool succeeds;
    const char* trace;
};

std::ostream& operator<<(std::ostream& out, const ConstructCase& c)
{
    return out << c.name;
}

class ConstructCStrLen : public testing::TestWithParam<ConstructCase> {};

TEST_P(ConstructCStrLen, GivesExactCapacityOrAValidEmptyString)
{
    const ConstructCase& c = GetParam();
    RecordingAllocator alloc(c.max_size);
    if (c.refuse_allocate)
        alloc.RefuseAll();
    VekString s;
    const char* src = c.content.empty() ? nullptr : c.content.data();
    VekString* r = VekStringConstructCStrLen(&s, src, c.content.size(), alloc);
    EXPECT_EQ(alloc.Trace(), c.trace);
    if (c.succeeds) {
        EXPECT_EQ(r, &s);
        EXPECT_EQ(Content(s), c.content);
        EXPECT_EQ(s.capacity, c.content.size());
        EXPECT_TRUE(HasInvariants(s));
        if (c.content.empty()) {
            EXPECT_TRUE(IsEmptyUnowned(s, alloc));
        }
    } else {
        EXPECT_EQ(r, nullptr);
        EXPECT_TRUE(IsEmptyUnowned(s, alloc));
    }
    alloc.ClearEvents();
    VekStringDestruct(&s);
    const bool owned = c.succeeds && !c.content.empty();
    EXPECT_EQ(alloc.Trace(), owned ? std::string("-") + std::to_string(c.content.size() + 1) : "");
    EXPECT_TRUE(alloc.IsClean());
}

INSTANTIATE_TEST_SUITE_P(
    Table, ConstructCStrLen,
    testing::Values(ConstructCase{"EmptyFromNull", "", 100, false, true, ""},
                    ConstructCase{"EmbeddedNul", std::string("a\0b", 3), 100, false, true, "+4"},
                    ConstructCase{"JustBelowLimit", std::string(31, 'x'), 32, false, true, "+32"},
                    ConstructCase{"AtLimit", std::string(32, 'x'), 32, false, false, ""},
                    ConstructCase{"LimitZeroEmpty", "", 0, false, true, ""},
                    ConstructCase{"LimitZero", "a", 0, false, false, ""},
                    ConstructCase{"LimitOne", "a", 1, false, false, ""},
                    ConstructCase{"AllocateRefuses", "abc", 100, true, false, "+4!"}),
    [](const auto& info) { return info.param.name; });

TEST(Construct, CStrStopsAtTheFirstNul)
{
    RecordingAllocator alloc;
    VekString s;
    ASSERT_EQ(VekStringConstructCStr(&s, "a\0b", alloc), &s);
    EXPECT_EQ(Content(s), "a");
    EXPECT_EQ(alloc.Trace(), "+2");
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Destruct, ReleasesOnceAndZeroesTheRecord)
{
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "abc", 10, alloc);
    const char* block = s.buf;
    alloc.ClearEvents();
    VekStringDestruct(&s);
    ASSERT_EQ(alloc.events().size(), 1u);
    EXPECT_EQ(alloc.events()[0].block, block);
    EXPECT_EQ(alloc.Trace(), "-11");
    EXPECT_EQ(s.allocator, nullptr);
    EXPECT_EQ(s.buf, nullptr);
    EXPECT_EQ(s.size, 0u);
    EXPECT_EQ(s.capacity, 0u);
    VekStringDestruct(&s);
    EXPECT_EQ(alloc.Trace(), "-11");
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Accessors, ReportTheRecord)
{
    RecordingAllocator alloc(77);
    VekString s;
    VekStringConstructDefault(&s, alloc);
    EXPECT_EQ(VekStringMaxSize(&s), 77u);
    EXPECT_EQ(VekStringGetAllocator(&s), alloc.get());
    EXPECT_EQ(VekStringGetBuffer(&s), vekStringEmpty_);
    EXPECT_EQ(VekStringData(&s), vekStringEmpty_);
    VekStringConstructCStr(&s, "hey", alloc);
    EXPECT_EQ(VekStringLength(&s), 3u);
    EXPECT_EQ(VekStringSize(&s), 3u);
    EXPECT_EQ(VekStringCapacity(&s), 3u);
    EXPECT_EQ(VekStringGetBuffer(&s), s.buf + 3);
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

TEST(CopyConstruct, UsesTheSourceAllocatorAndFitsTheContent)
{
    RecordingAllocator source_alloc, other;
    VekString src, copy;
    MakeOwned(&src, "abc", 100, source_alloc);
    source_alloc.ClearEvents();
    ASSERT_EQ(VekStringConstructCopy(&copy, &src), &copy);
    EXPECT_EQ(copy.allocator, source_alloc.get());
    EXPECT_EQ(copy.capacity, 3u);
    EXPECT_EQ(Content(copy), "abc");
    EXPECT_EQ(source_alloc.Trace(), "+4");
    VekStringDestruct(&copy);

    VekString empty;
    VekStringConstructDefault(&empty, other);
    source_alloc.ClearEvents();
    ASSERT_EQ(VekStringConstructCopy(&copy, &empty), &copy);
    EXPECT_TRUE(IsEmptyUnowned(copy, other));
    EXPECT_EQ(other.Trace(), "");

    ReadOnlyBytes bytes("view");
    VekString view = MakeView(bytes, other);
    ASSERT_EQ(VekStringConstructCopy(&copy, &view), &copy);
    EXPECT_EQ(Content(copy), "view");
    EXPECT_EQ(copy.capacity, 4u);
    VekStringDestruct(&copy);
    VekStringDestruct(&src);
    EXPECT_TRUE(source_alloc.IsClean());
    EXPECT_TRUE(other.IsClean());
}

struct SubstringCase {
    VekSizeT pos;
    VekSizeT n;
    bool succeeds;
    std::string expected;
};

TEST(SubstringConstruct, ChecksThePositionAndClampsTheCount)
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
        VekString* r = VekStringConstructSubstring(&s, &src, c.pos, c.n, alloc);
        EXPECT_EQ(r, c.succeeds ? &s : nullptr);
        EXPECT_EQ(Content(s), c.expected);
        EXPECT_EQ(s.allocator, alloc.get());
        EXPECT_EQ(s.capacity, c.expected.size());
        VekStringDestruct(&s);
    }
    VekStringDestruct(&src);
    EXPECT_TRUE(alloc.IsClean());
    EXPECT_TRUE(src_alloc.IsClean());
}

TEST(RangeConstruct, CopiesTheRange)
{
    RecordingAllocator alloc;
    const char text[] = "range";
    VekString s;
    ASSERT_EQ(VekStringConstructRange(&s, text + 1, text + 4, alloc), &s);
    EXPECT_EQ(Content(s), "ang");
    EXPECT_EQ(alloc.Trace(), "+4");
    VekStringDestruct(&s);
    ASSERT_EQ(VekStringConstructRange(&s, text, text, alloc), &s);
    EXPECT_TRUE(IsEmptyUnowned(s, alloc));
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Move, TakesEverythingAndLeavesTheSourceEmptyWithItsAllocator)
{
    RecordingAllocator a1, a2;
    VekString src, dst;
    MakeOwned(&src, "payload", 16, a1);
    const Snapshot before = Snapshot::Of(src);
    a1.ClearEvents();

    ASSERT_EQ(VekStringConstructMove(&dst, &src), &dst);
    EXPECT_EQ(Snapshot::Of(dst), before);
    EXPECT_TRUE(IsEmptyUnowned(src, a1));
    EXPECT_EQ(a1.Trace(), "");

    // Moving back onto an owned destination releases the destination's block
    // to the destination's own allocator, even though the source uses another.
    VekString other;
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

    VekStringDestruct(&src);
    VekStringDestruct(&dst);
    VekStringDestruct(&other);
    EXPECT_EQ(a1.Trace(), "-17");
    EXPECT_TRUE(a1.IsClean());
    EXPECT_TRUE(a2.IsClean());
}

TEST(Swap, ExchangesAllFourFields)
{
    RecordingAllocator a1, a2;
    VekString x, y;
    MakeOwned(&x, "first", 8, a1);
    VekStringConstructCStr(&y, "second", a2);
    const Snapshot sx = Snapshot::Of(x), sy = Snapshot::Of(y);
    EXPECT_TRUE(VekStringSwap(&x, &y));
    EXPECT_EQ(Snapshot::Of(x), sy);
    EXPECT_EQ(Snapshot::Of(y), sx);
    EXPECT_TRUE(VekStringSwap(&x, &x));
    EXPECT_EQ(Snapshot::Of(x), sy);
    VekStringDestruct(&x);
    VekStringDestruct(&y);
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

TEST(ExternalBuffer, AdoptsBlocksOfTwoOrMoreBytes)
{
    RecordingAllocator alloc;
    VekString s;

    VekStringConstructWithExternalBuffer(&s, nullptr, 5, 0, alloc);
    EXPECT_TRUE(IsEmptyUnowned(s, alloc));
    EXPECT_EQ(alloc.Trace(), "");

    char* one = static_cast<char*>(VekAllocatorAllocate(alloc, 1));
    alloc.ClearEvents();
    VekStringConstructWithExternalBuffer(&s, one, 5, 1, alloc);
    EXPECT_TRUE(IsEmptyUnowned(s, alloc));
    EXPECT_EQ(alloc.Trace(), "-1");

    char* ten = static_cast<char*>(VekAllocatorAllocate(alloc, 10));
    std::memcpy(ten, "0123456789", 10);
    alloc.ClearEvents();
    ASSERT_EQ(VekStringConstructWithExternalBuffer(&s, ten, 20, 10, alloc), &s);
    EXPECT_EQ(s.buf, ten);
    EXPECT_EQ(s.size, 9u);
    EXPECT_EQ(s.capacity, 9u);
    EXPECT_EQ(Content(s), "012345678");
    EXPECT_TRUE(HasInvariants(s));
    VekStringDestruct(&s);
    EXPECT_EQ(alloc.Trace(), "-10");
    EXPECT_TRUE(alloc.IsClean());

    // A terminator already in place is not rewritten: the block may be
    // read-only memory as long as nothing else needs writing.
    ReadOnlyBytes frozen(std::string("abc\0efghij", 10));
    VekAllocator keeper = {NoAllocate, NoRelease, 100, nullptr};
    VekStringConstructWithExternalBuffer(&s, const_cast<char*>(frozen.data()), 3, 10, &keeper);
    EXPECT_EQ(Content(s), "abc");
    EXPECT_EQ(s.capacity, 9u);
    VekStringDestruct(&s);
}

struct ReserveCase {
    const char* name;
    std::string content;
    VekSizeT capacity; // 0: construct without reserving
    VekSizeT request;
    VekSizeT max_size;
    bool succeeds;
    VekSizeT new_capacity;
    const char* trace;
};

std::ostream& operator<<(std::ostream& out, const ReserveCase& c)
{
    return out << c.name;
}

class Reserve : public testing::TestWithParam<ReserveCase> {};

TEST_P(Reserve, ReallocatesToExactlyTheLargerOfRequestAndSize)
{
    const ReserveCase& c = GetParam();
    RecordingAllocator alloc;
    VekString s;
    if (c.capacity != 0)
        MakeOwned(&s, c.content, c.capacity, alloc);
    else
        VekStringConstructCStrLen(&s, c.content.data(), c.content.size(), alloc);
    alloc.SetMaxSize(c.max_size);
    alloc.ClearEvents();
    const Snapshot before = Snapshot::Of(s);

    EXPECT_EQ(VekStringReserve(&s, c.request), c.succeeds);
    EXPECT_EQ(alloc.Trace(), c.trace);
    if (c.succeeds) {
        EXPECT_EQ(s.capacity, c.new_capacity);
        EXPECT_EQ(Content(s), c.content);
        EXPECT_TRUE(HasInvariants(s));
        if (c.new_capacity == 0) {
            EXPECT_TRUE(IsEmptyUnowned(s, alloc));
        }
    } else {
        EXPECT_EQ(Snapshot::Of(s), before);
    }
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

INSTANTIATE_TEST_SUITE_P(
    Table, Reserve,
    testing::Values(ReserveCase{"ReleasesAnEmptyBlock", "", 8, 0, 100, true, 0, "-9"},
                    ReserveCase{"ShrinksToTheSize", "abc", 50, 0, 100, true, 3, "+4 -51"},
                    ReserveCase{"SameCapacityStillReallocates", "abc", 8, 8, 100, true, 8, "+9 -9"},
                    ReserveCase{"Grows", "abc", 0, 40, 100, true, 40, "+41 -4"},
                    ReserveCase{"OnTheSharedByte", "", 0, 5, 100, true, 5, "+6"},
                    ReserveCase{"NothingOnNothing", "", 0, 0, 100, true, 0, ""},
                    ReserveCase{"JustBelowLimit", "abc", 0, 31, 32, true, 31, "+32 -4"},
                    ReserveCase{"AtLimit", "abc", 0, 32, 32, false, 0, ""},
                    ReserveCase{"Npos", "abc", 0, kNpos, kNpos, false, 0, ""}),
    [](const auto& info) { return info.param.name; });

TEST(Reserve, RefusedAllocationChangesNothing)
{
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "abc", 5, alloc);
    const Snapshot before = Snapshot::Of(s);
    alloc.RefuseAll();
    alloc.ClearEvents();
    EXPECT_FALSE(VekStringReserve(&s, 10));
    EXPECT_EQ(alloc.Trace(), "+11!");
    EXPECT_EQ(Snapshot::Of(s), before);
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Reserve, TurnsAViewIntoAnOwnedCopy)
{
    RecordingAllocator alloc;
    ReadOnlyBytes bytes("viewed");
    VekString s = MakeView(bytes, alloc);
    EXPECT_TRUE(VekStringReserve(&s, 2));
    EXPECT_EQ(alloc.Trace(), "+7");
    EXPECT_EQ(s.capacity, 6u);
    EXPECT_EQ(Content(s), "viewed");
    EXPECT_TRUE(HasInvariants(s));
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

TEST(Clear, KeepsAnOwnedBlockAndLetsAViewGo)
{
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "abc", 10, alloc);
    const char* block = s.buf;
    alloc.ClearEvents();
    VekStringClear(&s);
    EXPECT_EQ(s.buf, block);
    EXPECT_EQ(s.size, 0u);
    EXPECT_EQ(s.capacity, 10u);
    EXPECT_EQ(s.buf[0], '\0');
    VekStringDestruct(&s);

    ReadOnlyBytes bytes("viewed");
    VekString view = MakeView(bytes, alloc);
    VekStringClear(&view);
    EXPECT_TRUE(IsEmptyUnowned(view, alloc));
    VekStringClear(&view);
    EXPECT_TRUE(IsEmptyUnowned(view, alloc));
    EXPECT_EQ(alloc.Trace(), "-11");
    EXPECT_TRUE(alloc.IsClean());
}

TEST(ReleaseBuffer, AddsToTheSizeAndTerminates)
{
    RecordingAllocator alloc;
    VekString s;
    MakeOwned(&s, "ab", 8, alloc);
    s.buf[2] = 'X';
    VekStringReleaseBuffer(&s, 0);
    EXPECT_EQ(s.buf[2], '\0');
    std::memcpy(VekStringGetBuffer(&s), "cdef", 4);
    VekStringReleaseBuffer(&s, 4);
    EXPECT_EQ(Content(s), "abcdef");
    EXPECT_TRUE(HasInvariants(s));
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
