/* Compiled as strict C99: the public header must be plain C, and a C caller
 * must be able to use the module through it alone. */
#include <Vek/Utils/VekString.h>

#include <stdio.h>

static int failures = 0;

static void Check(int ok, const char* what)
{
    if (!ok) {
        fprintf(stderr, "C99 header test failed: %s\n", what);
        ++failures;
    }
}

int main(void)
{
    VekString s;
    VekString t;
    VekAllocator* a = VekAllocatorGetDefault();

    Check(VekStringConstructCStr(&s, "abc", a) == &s, "construct");
    Check(VekStringLength(&s) == 3 && VekStringCapacity(&s) == 3, "length and capacity");
    Check(VekStringHash(&s) == 108966u, "hash of abc");
    Check(VekStringConstructCopy(&t, &s) == &t && VekStringEqual(&s, &t), "copy is equal");
    Check(VekStringCompareCStr(&s, "abd") < 0, "ordering");
    Check(VekStringReserve(&s, 64) && VekStringCapacity(&s) == 64, "reserve");
    Check(VekStringData(&s)[3] == '\0', "terminated");
    Check(VekStringNpos == (VekSizeT)-1, "npos");
    VekStringDestruct(&t);
    VekStringDestruct(&s);
    return failures == 0 ? 0 : 1;
}
