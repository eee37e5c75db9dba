// The codec's contract (support/CodecModel.h) through the public functions
// and every kernel this processor runs: on seeded texts, and on every input
// of the codec fuzzer's committed corpus.
#include "CodecModel.h"
#include "VekTestSupport.h"

namespace {

using namespace vektest;

TEST(Utf8Codec, SeededTextsKeepTheContract)
{
    for (std::uint64_t seed = 1; seed <= 3000 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        SeededChoices in(seed);
        CheckCodec(in, AddFailure);
    }
}

TEST(Utf8Codec, TheFuzzCorpusReplays)
{
    for (const std::string& input : ReadCorpus("codec")) {
        ByteChoices in(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        CheckCodec(in, AddFailure);
    }
}

} // namespace
