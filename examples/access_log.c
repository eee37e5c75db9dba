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
#include "load_file.h"
#include "log_summary.h"

#include <stdio.h>
#include <stdlib.h>

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
