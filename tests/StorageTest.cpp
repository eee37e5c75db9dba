// Facts about storage that the operation model does not see: destruction,
// and the adoption of a block whose terminator is already in place.
#include "VekTestSupport.h"

namespace {

using vektest::RecordingAllocator;

TEST(Storage, DestructReleasesOnceAndZeroesTheRecord)
{
    RecordingAllocator alloc;
    VekString s;
    vektest::MakeOwned(&s, "abc", 10, alloc);
    alloc.ClearEvents();
    VekStringDestruct(&s);
    VekStringDestruct(&s);
    EXPECT_EQ(alloc.Trace(), "-11");
    EXPECT_TRUE(s.allocator == nullptr && s.buf == nullptr && s.size == 0 && s.capacity == 0);
    EXPECT_TRUE(alloc.IsClean());
}

// A terminator already in place is not rewritten, so the block may be
// read-only as long as nothing else needs writing.
TEST(Storage, AnAdoptedTerminatorIsNotRewritten)
{
    vektest::ReadOnlyBytes frozen(std::string("abc\0efghij", 10));
    VekString s;
    VekStringConstructWithExternalBuffer(&s, const_cast<char*>(frozen.data()), 3, 10,
                                         vektest::Keeper());
    EXPECT_EQ(vektest::Content(s), "abc");
    EXPECT_EQ(s.capacity, 9u);
    VekStringDestruct(&s);
}

} // namespace
