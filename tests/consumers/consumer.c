/* Builds, runs and exits 0 when the library is usable from C. The suite also
 * compiles it as strict C99 with every pedantic warning an error, so it keeps
 * the public headers plain C on every target, the inline bodies included. */
#include <Vek/Utils/VekString.h>

int main(void)
{
    VekString s, t;
    int ok;
    if (!VekStringConstructCStr(&s, "consumer", VekAllocatorGetDefault()))
        return 1;
    ok = VekStringAppendCStr(&s, " in C") != NULL && VekStringEqualCStr(&s, "consumer in C");
    ok =
        ok && VekStringConstructCopy(&t, &s) == &t && VekStringCompareCStr(&t, "consumer in D") < 0;
    ok = ok && VekStringHash(&t) == VekStringHash(&s) && VekStringReserve(&t, 64) &&
         VekStringCapacity(&t) == 64 && VekStringData(&t)[13] == '\0';
    VekStringDestruct(&t);
    VekStringDestruct(&s);
    return ok && VekStringNpos == (VekSizeT)-1 ? 0 : 1;
}
