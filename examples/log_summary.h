/*
 * log_summary.h - the requests of a web server's access log, in the Common
 * Log Format, added up per status and per path.
 *
 * A line of the format holds the client's host, its identity and user (- for
 * none), the time in brackets, the request line in quotes, the status and
 * the size of the response (- when nothing was sent):
 *
 *     203.0.113.7 - alice [12/Mar/2024:09:15:02 +0000] "GET /docs/?page=2 HTTP/1.1" 200 5120
 *
 * The combined format's referrer and user agent may follow; they are not
 * read. The path is the request's target without its query string.
 *
 * Parsing only cuts views out of the line (VekString.h's Views, Fields and
 * cuts): nothing is copied until a path is seen for the first time and its
 * table entry needs a copy of its own. examples/access_log.c prints the
 * summary; the benchmark (W9) times the same code.
 */
#ifndef VEK_EXAMPLES_LOG_SUMMARY_H
#define VEK_EXAMPLES_LOG_SUMMARY_H

#include <Vek/Utils/VekString.h>

#ifdef __cplusplus
extern "C" {
#endif

/* One line of the log, as views of its bytes. */
typedef struct {
    VekString host;
    VekString time;
    VekString method;
    VekString path;
    int status;
    VekSizeT bytes;
} LogEntry;

/* What one path received. */
typedef struct {
    VekString path; /* owned */
    VekSizeT requests;
    VekSizeT bytes;
    VekSizeT errors; /* responses with a status of 400 or more */
} LogPath;

typedef struct {
    VekAllocator* allocator;
    VekSizeT lines;
    VekSizeT malformed;
    VekSizeT statuses[600]; /* requests per status, 100 to 599 */
    VekSizeT bytes;
    LogPath* paths; /* open addressing, capacity a power of two */
    VekSizeT path_count;
    VekSizeT path_capacity;
} LogSummary;

/* LogParseLine fills entry with views of line's bytes; 0 when the line is
 * not in the format. */
int LogParseLine(const VekString* line, LogEntry* entry);

void LogSummaryInit(LogSummary* summary, VekAllocator* a);
/* LogSummaryAddText adds every line of text; 0 when memory ran out. */
int LogSummaryAddText(LogSummary* summary, const VekString* text);
/* LogSummaryBusiest sorts the paths by requests, most first, and returns
 * them; the table is no longer searchable afterwards. */
LogPath* LogSummaryBusiest(LogSummary* summary);
void LogSummaryDestroy(LogSummary* summary);

#ifdef __cplusplus
}
#endif

#endif /* VEK_EXAMPLES_LOG_SUMMARY_H */
