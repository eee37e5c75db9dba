// A fact about ordering that the operation model does not reach: a length
// difference beyond 32 bits.
#include "VekTestSupport.h"

namespace {

TEST(Compare, HugeLengthDifferenceKeepsItsSign)
{
    // The long operand's size is faked: the common prefix is empty, so none
    // of its bytes is read.
    const VekString longer{nullptr, vekStringEmpty_, (VekSizeT{1} << 32) + 1, 0};
    const VekString empty{nullptr, vekStringEmpty_, 0, 0};
    EXPECT_GT(VekStringCompare(&longer, &empty), 0);
    EXPECT_LT(VekStringCompare(&empty, &longer), 0);
    EXPECT_GT(VekStringCompareIgnoringCaseAscii(&longer, &empty), 0);
    EXPECT_LT(VekStringCompareIgnoringCaseAscii(&empty, &longer), 0);
}

} // namespace
