// Builds, runs and exits 0 when the library is usable from C++17.
#include <Vek/Utils/VekString.h>

#include <string_view>

int main()
{
    VekString s;
    if (!VekStringConstructCStr(&s, "consumer", VekAllocatorGetDefault()))
        return 1;
    const bool ok = VekStringAppendCStr(&s, " in C++") != nullptr &&
                    std::string_view(VekStringData(&s), VekStringSize(&s)) == "consumer in C++";
    VekStringDestruct(&s);
    return ok ? 0 : 1;
}
