/*
 * tour.c - a walk through the string module on real text, in C.
 *
 *     tour [FILE]       (without FILE: the bundled sample.txt)
 *
 * Each step prints what it does and what came of it. `cmake --workflow
 * --preset tour` builds this and the C++ tour and runs both.
 */
#include <Vek/Utils/VekString.h>

#include "load_file.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Show prints a label, the content (up to 48 bytes of its first line), its
 * size and capacity. */
static void Show(const char* label, const VekString* s)
{
    VekSizeT line_end = VekStringFindFirstOfChar(s, 0, '\n');
    int shown = (int)(line_end < VekStringSize(s) ? line_end : VekStringSize(s));
    shown = shown > 48 ? 48 : shown;
    printf("  %-30s \"%.*s%s\" (size %llu, capacity %llu)\n", label, shown, VekStringData(s),
           shown < (int)VekStringSize(s) ? "..." : "", (unsigned long long)VekStringSize(s),
           (unsigned long long)VekStringCapacity(s));
}

/* View makes a read-only view of a C string: no copy, nothing to destroy. */
static VekString View(const char* text, VekAllocator* a)
{
    VekString view;
    view.allocator = a;
    view.buf = (char*)text;
    view.size = strlen(text);
    view.capacity = 0;
    return view;
}

/* Count returns how often word occurs in text. */
static VekSizeT Count(const VekString* text, const char* word)
{
    VekSizeT n = 0;
    VekSizeT pos = VekStringFindCStr(text, word);
    for (; pos != VekStringNpos; pos = VekStringFindFromPosCStr(text, pos + 1, word))
        ++n;
    return n;
}

/* LineAt copies the line that holds byte pos. */
static VekString* LineAt(VekString* line, const VekString* text, VekSizeT pos, VekAllocator* a)
{
    VekSizeT begin = pos == 0 ? VekStringNpos : VekStringFindLastOfChar(text, pos - 1, '\n');
    VekSizeT end = VekStringFindFirstOfChar(text, pos, '\n');
    begin = begin == VekStringNpos ? 0 : begin + 1;
    return VekStringConstructSubstring(line, text, begin, end - begin, a);
}

static void SearchAndReplace(VekString* text, VekAllocator* a)
{
    VekString find = View("the keeper", a);
    VekString by = View("old Tom", a);
    VekString line;
    VekSizeT at = VekStringFindCStr(text, "Zürich");

    puts("Searching and replacing");
    printf("  \"keeper\" occurs %llu times\n", (unsigned long long)Count(text, "keeper"));
    if (at == VekStringNpos)
        puts("  \"Zürich\" is not found (the search gives VekStringNpos)");
    else
        printf("  the first \"Zürich\" is at byte %llu\n", (unsigned long long)at);
    if (at != VekStringNpos && LineAt(&line, text, at, a) != NULL) {
        Show("its line:", &line);
        VekStringDestruct(&line);
    }
    if (VekStringFindAndReplace(text, &find, &by) != NULL)
        printf("  replaced \"the keeper\" by \"old Tom\": \"keeper\" now occurs %llu times\n",
               (unsigned long long)Count(text, "keeper"));
}

static void Report(const VekString* text, VekAllocator* a)
{
    static const char* const words[] = {"bell", "boat", "storm", "gulls", "paraffin", "Tom"};
    VekString report;
    size_t i;

    puts("A report built with formatted appends");
    VekStringConstructFormatted(&report, a, "%-8s %s\n", "word", "count");
    for (i = 0; i < sizeof words / sizeof words[0]; ++i)
        VekStringAppendFormatted(&report, "%-8s %5llu\n", words[i],
                                 (unsigned long long)Count(text, words[i]));
    fputs(VekStringData(&report), stdout);
    Show("the report itself:", &report);
    printf("  its hash: %llu\n", (unsigned long long)VekStringHash(&report));
    VekStringDestruct(&report);
}

static void CompareAndHash(const VekString* text, VekAllocator* a)
{
    VekString first;
    VekString again;

    puts("Comparing and hashing");
    LineAt(&first, text, 0, a);
    LineAt(&again, text, 0, a);
    Show("the first line:", &first);
    printf("  equal to a second copy: %d, same hash: %d\n", VekStringEqual(&first, &again),
           VekStringHash(&first) == VekStringHash(&again));
    printf("  starts with \"The keeper's log\": %d\n",
           VekStringEqualSubstringCStr(&first, 0, 16, "The keeper's log"));
    printf("  orders before \"The lamp\": %d\n", VekStringCompareCStr(&first, "The lamp") < 0);
    VekStringDestruct(&again);
    VekStringDestruct(&first);
}

static void Utf16RoundTrip(const VekString* text, VekAllocator* a)
{
    VekString line;
    VekString back;
    VekUint16 units[256];
    VekSizeT count = 0;
    VekSizeT at;

    puts("UTF-8 to UTF-16 and back");
    at = VekStringFindCStr(text, "Grüße");
    LineAt(&line, text, at == VekStringNpos ? 0 : at, a);
    if (VekStringWriteUtf16(&line, units, 256, &count) && count < 256 &&
        VekStringConstructUtf16(&back, units, a) != NULL) {
        printf("  a line of %llu UTF-8 bytes is %llu UTF-16 units\n",
               (unsigned long long)VekStringSize(&line), (unsigned long long)count);
        printf("  converted back, it is the same: %d\n", VekStringEqual(&line, &back));
        VekStringDestruct(&back);
    }
    VekStringDestruct(&line);
}

static void CoreFoundationBridge(VekAllocator* a)
{
    CFStringRef cf =
        CFStringCreateWithCString(kCFAllocatorDefault, "na\xC3\xAFve", kCFStringEncodingUTF8);
    VekString s;

    puts("From a CoreFoundation string");
    VekStringConstructDefault(&s, a);
    if (cf != NULL && VekStringAssignFromCFString(&s, cf) != NULL)
        Show("assigned:", &s);
    if (cf != NULL)
        CFRelease(cf);
    VekStringDestruct(&s);
}

static void Editing(VekAllocator* a)
{
    VekString s;

    puts("Editing with the string's own bytes as operands");
    VekStringConstructCStr(&s, "brown fox", a);
    VekStringInsertCStr(&s, 0, "the quick ");
    Show("inserted at the front:", &s);
    VekStringAppendSubstring(&s, &s, 3, 6);
    Show("appended its own \" quick\":", &s);
    VekStringReplaceSubstring(&s, 0, 3, &s, 10, 5);
    Show("\"the\" replaced by its \"brown\":", &s);
    VekStringEraseSubstring(&s, 5, 6);
    Show("erased 6 bytes at 5:", &s);
    VekStringAssignSubstring(&s, &s, 12, 3);
    Show("assigned its own \"fox\":", &s);
    VekStringDestruct(&s);
}

/* A malloc allocator that grants at most 63 content bytes to a string. */
static VekVoidPtr SmallAllocate(VekAllocator* a, VekSizeT size)
{
    (void)a;
    return malloc((size_t)size);
}

static void SmallDeallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size)
{
    (void)a;
    (void)size;
    free(p);
}

static void Refusal(void)
{
    VekAllocator small = {SmallAllocate, SmallDeallocate, 64, NULL};
    VekString s;
    int appends = 0;

    puts("An allocator that refuses");
    VekStringConstructCStr(&s, "log:", &small);
    while (VekStringAppendCStr(&s, " west") != NULL)
        ++appends;
    printf("  %d appends succeeded; the next needed a capacity of 64 or more and was refused\n",
           appends);
    Show("the string is as it was:", &s);
    VekStringDestruct(&s);
}

int main(int argc, char** argv)
{
    VekAllocator* a = VekAllocatorGetDefault();
    const char* path = argc > 1 ? argv[1] : "sample.txt";
    VekString text;

    printf("Reading %s\n", path);
    if (!LoadFile(&text, path, a)) {
        fprintf(stderr, "tour: cannot read %s\n", path);
        return 1;
    }
    Show("adopted, not copied:", &text);
    SearchAndReplace(&text, a);
    Report(&text, a);
    CompareAndHash(&text, a);
    Utf16RoundTrip(&text, a);
    CoreFoundationBridge(a);
    Editing(a);
    Refusal();
    VekStringDestruct(&text);
    return 0;
}
