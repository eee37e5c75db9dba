// CodecFuzzer.cpp - the codec's contract (tests/support/CodecModel.h) on
// texts drawn from the input.
#include "CodecModel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vektest::ByteChoices in(data, size);
    vektest::CheckCodec(in, vektest::AbortReport);
    return 0;
}
