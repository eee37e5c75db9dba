/* Builds, runs and exits 0 when the library is usable from C. */
#include <Vek/Utils/VekString.h>

int main(void)
{
    VekString s;
    int ok;
    if (!VekStringConstructCStr(&s, "consumer", VekAllocatorGetDefault()))
        return 1;
    ok = VekStringAppendCStr(&s, " in C") != NULL && VekStringEqualCStr(&s, "consumer in C");
    VekStringDestruct(&s);
    return ok ? 0 : 1;
}
