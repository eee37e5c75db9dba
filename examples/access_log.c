/*
 * access_log.c - a summary of a web server's access log in the Common Log
 * Format: requests per status, and the busiest paths.
 *
 *     access_log [FILE]      (without FILE: the bundled access.log)
 *
 * The file is read into one block that a string adopts; every line, field
 * and path is then a view of that block (log_summary.c), so reading a log
 * copies nothing but the paths the table keeps.
 */
#include "log_summary.h"

#include <stdio.h>
#include <stdlib.h>

/* LoadFile reads a whole file into a block from the allocator and lets text
 * adopt it: the bytes are read once and never copied. */
static int LoadFile(VekString* text, const char* path, VekAllocator* a)
{
    FILE* f = fopen(path, "rb");
    long length;
    char* block;
    if (f == NULL || fseek(f, 0, SEEK_END) != 0 || (length = ftell(f)) < 0 ||
        fseek(f, 0, SEEK_SET) != 0) {
        if (f != NULL)
            fclose(f);
        return 0;
    }
    block = (char*)VekAllocatorAllocate(a, (VekSizeT)length + 1);
    if (block == NULL || fread(block, 1, (size_t)length, f) != (size_t)length) {
        if (block != NULL)
            VekAllocatorDeallocate(a, block, (VekSizeT)length + 1);
        fclose(f);
        return 0;
    }
    fclose(f);
    VekStringConstructWithExternalBuffer(text, block, (VekSizeT)length, (VekSizeT)length + 1, a);
    return 1;
}

static void PrintReport(LogSummary* summary)
{
    const LogPath* paths;
    VekSizeT requests = 0;
    VekSizeT i;
    int status;

    for (status = 100; status < 600; ++status)
        requests += summary->statuses[status];
    printf("%llu lines, %llu requests, %llu malformed, %llu bytes sent, %llu paths\n",
           (unsigned long long)summary->lines, (unsigned long long)requests,
           (unsigned long long)summary->malformed, (unsigned long long)summary->bytes,
           (unsigned long long)summary->path_count);

    puts("\nstatus  requests");
    for (status = 100; status < 600; ++status) {
        if (summary->statuses[status] != 0)
            printf("%6d  %8llu\n", status, (unsigned long long)summary->statuses[status]);
    }

    puts("\nrequests     bytes  errors  path");
    paths = LogSummaryBusiest(summary);
    for (i = 0; i < summary->path_count && i < 10; ++i) {
        const VekString* path = &paths[i].path;
        printf("%8llu  %8llu  %6llu  %.*s\n", (unsigned long long)paths[i].requests,
               (unsigned long long)paths[i].bytes, (unsigned long long)paths[i].errors,
               (int)VekStringSize(path), VekStringData(path));
    }
}

int main(int argc, char** argv)
{
    VekAllocator* a = VekAllocatorGetDefault();
    const char* file = argc > 1 ? argv[1] : "access.log";
    VekString text;
    LogSummary summary;
    int ok;

    if (!LoadFile(&text, file, a)) {
        fprintf(stderr, "access_log: cannot read %s\n", file);
        return 1;
    }
    printf("Summary of %s\n", file);
    LogSummaryInit(&summary, a);
    ok = LogSummaryAddText(&summary, &text);
    if (ok)
        PrintReport(&summary);
    else
        fputs("access_log: out of memory\n", stderr);
    LogSummaryDestroy(&summary);
    VekStringDestruct(&text);
    return ok ? 0 : 1;
}
