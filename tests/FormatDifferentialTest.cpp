// The formatter against the C library's vsnprintf, at every room from none
// to more than enough: random formats (support/FormatModel.h) and every input
// of the format fuzzer's committed corpus.
#include "FormatModel.h"
#include "VekTestSupport.h"

namespace {

using namespace vektest;

TEST(FormatDifferential, FormatsLikeVsnprintf)
{
    for (std::uint64_t seed = 1; seed <= 4000 && !HasFailure(); ++seed) {
        SeededChoices in(seed);
        CheckFormatter(DrawFormat(in), AddFailure);
    }
}

TEST(FormatDifferential, TheFuzzCorpusReplays)
{
    for (const std::string& input : ReadCorpus("format")) {
        ByteChoices in(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        CheckFormatter(DrawFormat(in), AddFailure);
    }
}

} // namespace
