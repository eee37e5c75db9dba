// FormatFuzzer.cpp - the formatter held to vsnprintf (tests/support/
// FormatModel.h) on formats drawn from the input.
#include "FormatModel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vektest::ByteChoices in(data, size);
    vektest::CheckFormatter(vektest::DrawFormat(in), vektest::AbortReport);
    return 0;
}
