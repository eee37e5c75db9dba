// The operation model (support/OperationModel.h) run three ways: seeded
// sequences of random steps; every input of the operations fuzzer's committed
// corpus; and the refusal sweep, which gives every row, on a string in each
// buffer state, each of its allocations refused in turn, alone and with all
// after it. A refused run must fail as the model says (which the model checks
// itself); one refused past the last allocation must succeed exactly as the
// unrefused run did.
#include <algorithm>

#include "OperationModel.h"

namespace vektest {

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

namespace {

TEST(Operations, SeededSequencesBehaveLikeStdString)
{
    for (std::uint64_t seed = 1; seed <= 60 && !HasFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        SeededChoices in(seed);
        RunOperations(in, AddFailure, 2000);
    }
}

TEST(Operations, TheFuzzCorpusReplays)
{
    for (const std::string& input : ReadCorpus("operations")) {
        ByteChoices in(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
        RunOperations(in, AddFailure, kFuzzSteps);
    }
}

class RefusalSweep : public testing::TestWithParam<Row> {};

TEST_P(RefusalSweep, EachAllocationRefusedInTurnFailsCleanly)
{
    const Row& row = GetParam();
    for (int state = 0; state < 5; ++state) {
        for (std::uint64_t seed = 1; seed <= 6 && !HasFailure(); ++seed) {
            SCOPED_TRACE(testing::Message() << "state " << state << ", seed " << seed);
            const Outcome unrefused = RunRow(row, state, seed, {}, AddFailure);
            const auto allocations = static_cast<std::size_t>(
                std::count(unrefused.trace.begin(), unrefused.trace.end(), '+'));
            for (std::size_t k = 1; k <= allocations + 1; ++k) {
                for (const bool and_after : {false, true}) {
                    const Outcome o = RunRow(row, state, seed, {k, and_after}, AddFailure);
                    EXPECT_EQ(o.ok, k > allocations && unrefused.ok) << "refusing " << k;
                    if (k > allocations) {
                        EXPECT_EQ(o.content, unrefused.content);
                        EXPECT_EQ(o.trace, unrefused.trace);
                    }
                }
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(EveryRow, RefusalSweep, testing::ValuesIn(Rows().begin(), Rows().end()),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace

} // namespace vektest
