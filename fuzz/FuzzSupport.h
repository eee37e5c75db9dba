// FuzzSupport.h - what the fuzz targets share: the Report that hands a shared
// model's finding (tests/support) to libFuzzer, which must see a crash to
// keep the input.
#ifndef VEK_FUZZ_FUZZSUPPORT_H
#define VEK_FUZZ_FUZZSUPPORT_H

#include <cstdio>
#include <cstdlib>
#include <string>

namespace vekfuzz {

[[noreturn]] inline void Abort(const std::string& finding)
{
    std::fprintf(stderr, "fuzz finding: %s\n", finding.c_str());
    std::abort();
}

} // namespace vekfuzz

#endif // VEK_FUZZ_FUZZSUPPORT_H
