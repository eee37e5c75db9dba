// CodecModel.h - the codec's one contract, said once for its test and its
// fuzzer.
//
// A draw makes a text of characters of every UTF-8 length, the first and last
// value of each length class often among them, alone and in runs long enough
// for whole vector blocks; then its three forms (UCS-4, UTF-16, UTF-8), each
// now and then spoilt by a unit or a byte sequence that is no character, or
// cut. Each form is converted from a drawn alignment by the public function
// and by every kernel of the table this processor runs, into outputs of sizes
// from none to one past the whole result (all of them for short results).
//
// The contract at every size: the verdict is the oracle's; a refusal leaves
// *outputLen unset; an accepted input reports the whole length, and the
// output holds the longest whole-character prefix that fits, then a
// terminator, and nothing behind the output size. The oracle is ICU where it
// is installed, else the scalar kernel (so a cross build still holds its
// vector kernels to the scalar code).
#ifndef VEK_TESTS_CODECMODEL_H
#define VEK_TESTS_CODECMODEL_H

#include "Choices.h"

namespace vektest {

void CheckCodec(Choices& in, Report report);

} // namespace vektest

#endif // VEK_TESTS_CODECMODEL_H
