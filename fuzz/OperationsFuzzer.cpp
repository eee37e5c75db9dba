// OperationsFuzzer.cpp - the operation model (tests/support/OperationModel.h)
// with its choices taken from the input: each input is a sequence of steps.
#include "OperationModel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vektest::ByteChoices in(data, size);
    vektest::RunOperations(in, vektest::AbortReport, vektest::kFuzzSteps);
    return 0;
}
