// Facts about find-and-replace that a comparison with std::string cannot
// show: the capacity of the result and the exact allocator trace, on success
// and under every kind of refusal. The searches themselves are pinned down by
// SearchDifferentialTest.cpp.
#include "VekTestSupport.h"

namespace {

using vektest::Content;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

struct ReplaceCase {
    std::string x;
    VekSizeT x_capacity;
    std::string find;
    std::string replace;
    std::size_t refuse_nth; // 0: refuse no allocate call
    VekSizeT max_size;      // set once x is built
    const char* result;     // nullptr: the call fails and x stays as it was
    VekSizeT capacity;
    const char* trace;
};

constexpr VekSizeT kNpos = VekStringNpos;
const std::string k20(20, '=');

TEST(FindAndReplace, ResultCapacityAndAllocatorTrace)
{
    const ReplaceCase cases[] = {
        // The copy fits the content; it grows by doubling; x's old block goes last.
        {"aaa", 3, "aa", "b", 0, kNpos, "ba", 3, "+4 -4"},
        {"abab", 4, "ab", "abab", 0, kNpos, "abababab", 8, "+5 +9 -5 -5"},
        {"a.b.c", 5, ".", "", 0, kNpos, "abc", 5, "+6 -6"},
        {"hello", 20, "xyz", "q", 0, kNpos, "hello", 5, "+6 -21"},
        {"", 8, "a", "b", 0, kNpos, "", 0, "-9"},
        {"abc", 10, "", "zz", 0, kNpos, "abc", 10, ""},
        // Three growths by 20 bytes would take 8, 27 and 53 bytes.
        {"a.b.c.d", 7, ".", k20, 1, kNpos, nullptr, 7, "+8!"},
        {"a.b.c.d", 7, ".", k20, 3, kNpos, nullptr, 7, "+8 +27 -8 +53! -27"},
        {"a.b.c.d", 7, ".", k20, 0, 52, nullptr, 7, "+8 +27 -8 -27"},
        // No occurrence after a refused one is tried.
        {"a.b.c", 5, ".", "==", 2, kNpos, nullptr, 5, "+6 +11! -6"},
    };
    for (const ReplaceCase& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.x << "\" / \"" << c.find << "\" / \""
                                        << c.replace << "\" refusing " << c.refuse_nth);
        RecordingAllocator alloc;
        VekString x;
        MakeOwned(&x, c.x, c.x_capacity, alloc);
        ReadOnlyBytes find_bytes(c.find);
        ReadOnlyBytes replace_bytes(c.replace);
        const VekString find = MakeView(find_bytes, alloc);
        const VekString replace = MakeView(replace_bytes, alloc);
        alloc.SetMaxSize(c.max_size);
        alloc.RefuseNth(c.refuse_nth);
        alloc.ClearEvents();
        const Snapshot before = Snapshot::Of(x);
        VekString* r = VekStringFindAndReplace(&x, &find, &replace);
        EXPECT_EQ(r, c.result != nullptr ? &x : nullptr);
        EXPECT_EQ(Content(x), c.result != nullptr ? c.result : c.x);
        EXPECT_EQ(x.capacity, c.capacity);
        EXPECT_EQ(alloc.Trace(), c.trace);
        if (r == nullptr || c.find.empty()) {
            EXPECT_EQ(Snapshot::Of(x), before);
        }
        VekStringDestruct(&x);
        EXPECT_TRUE(alloc.IsClean());
    }
}

} // namespace
