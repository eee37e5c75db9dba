// Facts about ordering and the hash that the operation model does not reach:
// a length difference beyond 32 bits, and every hash kernel this build has.
#include "VekTestSupport.h"

#include <random>

#include "VekStringHash.h"

namespace {

TEST(Compare, HugeLengthDifferenceKeepsItsSign)
{
    // The long operand's size is faked: the common prefix is empty, so none
    // of its bytes is read.
    const VekString longer{nullptr, vekStringEmpty_, (VekSizeT{1} << 32) + 1, 0};
    const VekString empty{nullptr, vekStringEmpty_, 0, 0};
    EXPECT_GT(VekStringCompare(&longer, &empty), 0);
    EXPECT_LT(VekStringCompare(&empty, &longer), 0);
}

// The kernels take 8, 16 or 32 bytes a step; each must give the definition's
// value: every length up to four blocks (so every split into blocks, words
// and a masked last word), a few long runs, and the extreme bytes 0x7f and
// 0x80, which make the largest and smallest partial sums inside the kernels,
// each at several alignments, through every kernel this build has.
TEST(Compare, EveryHashKernelMatchesTheDefinition)
{
    std::mt19937 rng(33);
    auto random_bytes = [&rng](std::size_t len) {
        std::string out(len, '\0');
        for (char& c : out)
            c = static_cast<char>(rng());
        return out;
    };
    std::vector<std::string> inputs;
    for (std::size_t len = 0; len <= 64; ++len) {
        inputs.push_back(random_bytes(len));
        inputs.push_back(std::string(len, '\x7f'));
        inputs.push_back(std::string(len, '\x80'));
    }
    for (std::size_t len : {1000, 4099, 65536 + 13})
        inputs.push_back(random_bytes(len));

    for (const std::string& input : inputs) {
        SCOPED_TRACE(testing::Message() << "length " << input.size());
        VekSizeT expected = 0;
        for (char b : input)
            expected = expected * 33 + static_cast<VekSizeT>(static_cast<signed char>(b));
        for (std::size_t shift : {0, 1, 7, 13}) {
            const std::string padded = std::string(shift, '#') + input;
            const char* bytes = padded.data() + shift;
            EXPECT_EQ(StringHashPortable(bytes, input.size()), expected);
#ifdef VEK_HASH_HAVE_SSE2
            EXPECT_EQ(StringHashSse2(bytes, input.size()), expected);
#endif
        }
    }
}

} // namespace
