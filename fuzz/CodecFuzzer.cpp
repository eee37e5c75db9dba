// CodecFuzzer.cpp - the codec's contract (tests/support/CodecModel.h) on
// texts drawn from the input.
#include "CodecModel.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vektest::ByteChoices in(data, size);
    vektest::CheckCodec(in, vekfuzz::Abort);
    return 0;
}
