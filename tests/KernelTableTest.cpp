// Every string kernel this build compiles in (hash, substring and set
// searches) must give the results of the hash's definition and of
// std::string_view on random bytes over small alphabets, where matches, near
// misses and periodic runs are common. The text sits in a heap block of its
// exact size, so the sanitizers see any read beyond it. The codec's kernels
// are held to their contract by the codec's model (support/CodecModel.h).
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "VekTestSupport.h"
#include "string/VekStringKernels.h"

namespace {

std::mt19937_64 rng(14);

std::size_t Below(std::size_t n)
{
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng);
}

// Bytes over one of a few alphabets; the extreme bytes 0x7f and 0x80 make
// the largest and smallest partial sums of the hash kernels.
std::string Bytes(std::size_t len)
{
    static const std::string_view kAlphabets[] = {
        "a", "ab", "abc", {"\x7f\x80\0\xff", 4}, "the quick brown fox"};
    const std::string_view alphabet = kAlphabets[Below(std::size(kAlphabets))];
    std::string s(len, ' ');
    for (char& c : s)
        c = alphabet[Below(alphabet.size())];
    return s;
}

TEST(KernelTable, EveryStringKernelGivesTheDefinitionsResults)
{
    for (int round = 0; round < 3000; ++round) {
        std::string text = Bytes(Below(8) == 0 ? Below(3000) : Below(160));
        // A needle from the text, often with one byte changed into a near
        // miss, now and then planted again further on.
        std::string needle = Bytes(1 + Below(20));
        if (!text.empty() && Below(4) != 0) {
            const std::size_t at = Below(text.size());
            needle = text.substr(at, 1 + Below(std::min<std::size_t>(70, text.size() - at)));
        }
        if (Below(2) == 0)
            needle[Below(needle.size())] = 'b';
        if (needle.size() <= text.size() && Below(4) == 0)
            text.replace(text.size() - needle.size() - Below(text.size() - needle.size() + 1),
                         needle.size(), needle);
        const std::string set = Bytes(Below(7));
        const std::vector<char> block(text.begin(), text.end());
        const char* buf = block.data();
        const VekSizeT len = block.size();
        const std::string_view view(buf, len);
        SCOPED_TRACE(testing::Message() << "round " << round << ", text of " << len << " bytes");
        for (const StringKernels& k : StringKernelTable()) {
            if (!k.usable())
                continue;
            SCOPED_TRACE(k.name);
            EXPECT_EQ(k.hash(buf, len), vektest::HashDefinition(view));
            if (len == 0)
                continue;
            const VekSizeT from = Below(2) == 0 ? 0 : Below(len);
            const VekSizeT start = Below(2) == 0 ? len - 1 : Below(len);
            EXPECT_EQ(k.find(buf, len, from, needle.data(), needle.size()),
                      vektest::StdPos(view.find(needle, from)));
            if (needle.size() >= 2 && needle.size() <= len) {
                const VekSizeT r = std::min(start, len - needle.size());
                EXPECT_EQ(k.rfind(buf, r, needle.data(), needle.size()),
                          vektest::StdPos(view.rfind(needle, r)));
            }
            EXPECT_EQ(k.first_of(buf, len, from, set.data(), set.size()),
                      vektest::StdPos(view.find_first_of(set, from)));
            EXPECT_EQ(k.first_not_of(buf, len, from, set.data(), set.size()),
                      vektest::StdPos(view.find_first_not_of(set, from)));
            EXPECT_EQ(k.last_of(buf, start, set.data(), set.size()),
                      vektest::StdPos(view.find_last_of(set, start)));
            EXPECT_EQ(k.last_not_of(buf, start, set.data(), set.size()),
                      vektest::StdPos(view.find_last_not_of(set, start)));
        }
    }
}

} // namespace
