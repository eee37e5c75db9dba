/*
 * log_summary.c - parsing access-log lines into views, and the table of
 * paths they add up in. See log_summary.h.
 */
#include "log_summary.h"

#include <stdlib.h>
#include <string.h>

/* ParseCount reads the decimal digits of field; - (nothing sent) is 0, and
 * anything else not a number is -1. */
static long long ParseCount(const VekString* field)
{
    const char* p = VekStringData(field);
    VekSizeT n = VekStringSize(field);
    long long value = 0;
    VekSizeT i;
    if (VekStringEqualCStr(field, "-"))
        return 0;
    if (n == 0 || n > 15)
        return -1;
    for (i = 0; i < n; ++i) {
        if (p[i] < '0' || p[i] > '9')
            return -1;
        value = value * 10 + (p[i] - '0');
    }
    return value;
}

int LogParseLine(const VekString* line, LogEntry* entry)
{
    VekString rest, request, status, size;
    long long code, bytes;

    /* host ident user [time] "request" status size ... */
    VekStringConstructViewSubstring(&rest, line, 0, VekStringNpos);
    if (!VekStringCutChar(&rest, ' ', &entry->host, &rest) ||
        !VekStringCutChar(&rest, ' ', NULL, &rest) || !VekStringCutChar(&rest, ' ', NULL, &rest) ||
        !VekStringStartsWithChar(&rest, '[') ||
        !VekStringCutCStr(&rest, "] \"", &entry->time, &rest) ||
        !VekStringCutCStr(&rest, "\" ", &request, &rest))
        return 0;
    VekStringTrimLeftChar(&entry->time, '[');
    VekStringCutChar(&rest, ' ', &status, &rest);
    VekStringCutChar(&rest, ' ', &size, NULL);

    /* The request line: method, target and protocol; the path is the target
     * up to its query string. */
    if (!VekStringCutChar(&request, ' ', &entry->method, &request))
        return 0;
    VekStringCutChar(&request, ' ', &request, NULL);
    VekStringCutChar(&request, '?', &entry->path, NULL);

    code = ParseCount(&status);
    bytes = ParseCount(&size);
    if (code < 100 || code > 599 || bytes < 0)
        return 0;
    entry->status = (int)code;
    entry->bytes = (VekSizeT)bytes;
    return 1;
}

void LogSummaryInit(LogSummary* summary, VekAllocator* a)
{
    memset(summary, 0, sizeof *summary);
    summary->allocator = a;
}

/* Slot returns the entry of the table for path: its own, or the free one
 * where it would go. */
static LogPath* Slot(LogPath* paths, VekSizeT capacity, const VekString* path)
{
    VekSizeT i = VekStringHash(path) & (capacity - 1);
    while (VekStringSize(&paths[i].path) != 0 && !VekStringEqual(&paths[i].path, path))
        i = (i + 1) & (capacity - 1);
    return &paths[i];
}

/* Grow doubles the table (16 entries to begin with), moving every entry. */
static int Grow(LogSummary* summary)
{
    VekSizeT capacity = summary->path_capacity == 0 ? 16 : 2 * summary->path_capacity;
    LogPath* paths = (LogPath*)calloc((size_t)capacity, sizeof *paths);
    VekSizeT i;
    if (paths == NULL)
        return 0;
    for (i = 0; i < summary->path_capacity; ++i) {
        LogPath* old = &summary->paths[i];
        if (VekStringSize(&old->path) != 0)
            *Slot(paths, capacity, &old->path) = *old;
    }
    free(summary->paths);
    summary->paths = paths;
    summary->path_capacity = capacity;
    return 1;
}

/* Find returns path's entry, made on first sight with a copy of the path;
 * NULL when memory ran out. The empty path is never a key. */
static LogPath* Find(LogSummary* summary, const VekString* path)
{
    LogPath* entry;
    if (4 * (summary->path_count + 1) > 3 * summary->path_capacity && !Grow(summary))
        return NULL;
    entry = Slot(summary->paths, summary->path_capacity, path);
    if (VekStringSize(&entry->path) == 0) {
        if (VekStringConstructCopy(&entry->path, path) == NULL)
            return NULL;
        ++summary->path_count;
    }
    return entry;
}

static int Add(LogSummary* summary, const LogEntry* entry)
{
    LogPath* path = NULL;
    if (VekStringSize(&entry->path) != 0 && (path = Find(summary, &entry->path)) == NULL)
        return 0;
    ++summary->statuses[entry->status];
    summary->bytes += entry->bytes;
    if (path != NULL) {
        ++path->requests;
        path->bytes += entry->bytes;
        path->errors += entry->status >= 400;
    }
    return 1;
}

int LogSummaryAddText(LogSummary* summary, const VekString* text)
{
    VekSizeT pos = 0;
    VekString line;
    LogEntry entry;
    while (VekStringNextFieldChar(text, &pos, '\n', &line)) {
        VekStringTrimRightChar(&line, '\r');
        if (VekStringSize(&line) == 0)
            continue;
        ++summary->lines;
        if (!LogParseLine(&line, &entry))
            ++summary->malformed;
        else if (!Add(summary, &entry))
            return 0;
    }
    return 1;
}

static int MoreRequests(const void* a, const void* b)
{
    const LogPath* x = (const LogPath*)a;
    const LogPath* y = (const LogPath*)b;
    if (x->requests != y->requests)
        return x->requests > y->requests ? -1 : 1;
    return VekStringCompare(&x->path, &y->path);
}

LogPath* LogSummaryBusiest(LogSummary* summary)
{
    VekSizeT kept = 0;
    VekSizeT i;
    for (i = 0; i < summary->path_capacity; ++i) {
        LogPath moved = summary->paths[i];
        if (VekStringSize(&moved.path) == 0)
            continue;
        memset(&summary->paths[i], 0, sizeof moved); /* a record has one owner */
        summary->paths[kept++] = moved;
    }
    if (kept != 0)
        qsort(summary->paths, (size_t)kept, sizeof *summary->paths, MoreRequests);
    return summary->paths;
}

void LogSummaryDestroy(LogSummary* summary)
{
    VekSizeT i;
    for (i = 0; i < summary->path_capacity; ++i) {
        if (VekStringSize(&summary->paths[i].path) != 0)
            VekStringDestruct(&summary->paths[i].path);
    }
    free(summary->paths);
    memset(summary, 0, sizeof *summary);
}
