// A fact about storage that the operation model does not see: the adoption
// of a block whose terminator is already in place.
#include "VekTestSupport.h"

namespace {

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
