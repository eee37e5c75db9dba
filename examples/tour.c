/*
 * tour.c - a walk through the string module with the default allocator.
 *
 * Each step prints what it does and what came of it. Build and run it with
 * `cmake --workflow --preset tour` from the repository's root.
 */
#include <Vek/Utils/VekString.h>

#include <stdio.h>

/* Show prints a string's content with its size and capacity. */
static void Show(const char* label, const VekString* s)
{
    printf("  %-34s \"%s\" (size %llu, capacity %llu)\n", label, VekStringData(s),
           (unsigned long long)VekStringSize(s), (unsigned long long)VekStringCapacity(s));
}

static void ConstructionAndCapacity(VekAllocator* a)
{
    VekString s;
    VekString copy;

    puts("Construction and capacity");
    VekStringConstructDefault(&s, a);
    Show("an empty string owns nothing:", &s);
    VekStringConstructCStr(&s, "hello", a);
    Show("constructed from a C string:", &s);
    VekStringReserve(&s, 64);
    Show("reserved room for 64 bytes:", &s);
    VekStringReserve(&s, 0);
    Show("reserve(0) fits the block again:", &s);
    VekStringConstructCopy(&copy, &s);
    Show("a copy gets exactly its size:", &copy);
    VekStringClear(&copy);
    Show("cleared, the block is kept:", &copy);
    VekStringDestruct(&copy);
    VekStringDestruct(&s);
}

static void ComparisonAndHashing(VekAllocator* a)
{
    VekString abc;
    VekString abd;

    puts("Comparison and hashing");
    VekStringConstructCStr(&abc, "abc", a);
    VekStringConstructCStrLen(&abd, "abd\0tail", 8, a);
    printf("  \"abc\" equals \"abc\": %d\n", VekStringEqualCStr(&abc, "abc"));
    printf("  8 bytes with a NUL equal \"abd\": %d (sizes differ)\n",
           VekStringEqualCStr(&abd, "abd"));
    printf("  their first 3 bytes equal \"abd\": %d\n",
           VekStringEqualSubstringCStr(&abd, 0, 3, "abd"));
    printf("  compare(\"abc\", \"abd\") is negative: %d\n", VekStringCompare(&abc, &abd) < 0);
    printf("  hash(\"abc\") = %llu\n", (unsigned long long)VekStringHash(&abc));
    VekStringDestruct(&abd);
    VekStringDestruct(&abc);
}

static void Editing(VekAllocator* a)
{
    VekString s;

    puts("Editing (operands may come from the string itself)");
    VekStringConstructCStr(&s, "brown fox", a);
    VekStringInsertCStr(&s, 0, "the quick ");
    Show("inserted at the front:", &s);
    VekStringAppendCStr(&s, " jumps");
    Show("appended (capacity doubles):", &s);
    VekStringReplaceCStr(&s, 4, 5, "slow");
    Show("replaced \"quick\" by \"slow\":", &s);
    VekStringAppendSubstring(&s, &s, 3, 9);
    Show("appended its own bytes 3..12:", &s);
    VekStringReplaceSubstring(&s, 0, 3, &s, 9, 5);
    Show("replaced \"the\" by its own \"brown\":", &s);
    VekStringEraseSubstring(&s, 5, 5);
    Show("erased 5 bytes at 5:", &s);
    VekStringAssignSubstring(&s, &s, 0, 5);
    Show("assigned its own first 5 bytes:", &s);
    VekStringDestruct(&s);
}

static void SearchAndReplace(VekAllocator* a)
{
    VekString path;
    VekString find;
    VekString by;
    VekSizeT slash;

    puts("Searching and find-and-replace");
    VekStringConstructCStr(&path, "/usr/local/lib/libvek.a", a);
    slash = VekStringFindLastOfChar(&path, VekStringNpos, '/');
    printf("  last '/' at %llu, file name \"%s\"\n", (unsigned long long)slash,
           VekStringData(&path) + slash + 1);
    printf("  \"local\" found at %llu; \"opt\" gives npos: %d\n",
           (unsigned long long)VekStringFindCStr(&path, "local"),
           VekStringFindCStr(&path, "opt") == VekStringNpos);
    VekStringConstructCStr(&find, "/", a);
    VekStringConstructCStr(&by, "::", a);
    if (VekStringFindAndReplace(&path, &find, &by) != NULL)
        Show("every \"/\" replaced by \"::\":", &path);
    VekStringDestruct(&by);
    VekStringDestruct(&find);
    VekStringDestruct(&path);
}

static void Formatting(VekAllocator* a)
{
    VekString f;

    puts("Formatted construction and editing");
    if (VekStringConstructFormatted(&f, a, "%s=%d", "width", 80) != NULL) {
        Show("constructed from \"%s=%d\":", &f);
        VekStringAppendFormatted(&f, "%s", "px");
        Show("appended straight into place:", &f);
        VekStringInsertFormatted(&f, 0, "[%d] ", 1);
        Show("inserted at the front:", &f);
        VekStringReplaceFormatted(&f, 4, 5, "%.*s", 1, "wide");
        Show("replaced 5 bytes at 4:", &f);
    }
    VekStringDestruct(&f); /* fine even after a refused construction */
}

int main(void)
{
    VekAllocator* a = VekAllocatorGetDefault();
    ConstructionAndCapacity(a);
    ComparisonAndHashing(a);
    Editing(a);
    SearchAndReplace(a);
    Formatting(a);
    return 0;
}
