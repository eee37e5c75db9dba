// LibcxxPeers.h - the std::string peer once more, built against libc++.
//
// vek_bench is built against the compiler's own C++ library (libstdc++ with
// g++); LibcxxPeers.cpp is compiled by clang++ against libc++ and linked
// into the same program. The two libraries never exchange a type: this
// interface passes only bytes, sizes and an opaque handle, so each side's
// std::string stays on its own side.
#ifndef VEK_BENCH_LIBCXXPEERS_H
#define VEK_BENCH_LIBCXXPEERS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Defined by vek_bench: the digest every contender returns. */
uint64_t VekBenchMix(const char* data, size_t size);

/* Builds from empty to total bytes, appending 16-byte pieces of source
 * (cycling), or its characters one at a time. */
uint64_t LibcxxAppend16BytePieces(const char* source, size_t source_size, size_t total);
uint64_t LibcxxAppendCharacters(const char* source, size_t size);

/* Constructs a string from str and destroys it, count times; the sum of
 * the lengths. */
uint64_t LibcxxMakeAndDrop(const char* str, int count);

/* A libc++ string holding a copy of the bytes, for the searches. */
void* LibcxxStringNew(const char* data, size_t size);
void LibcxxStringFree(void* s);
uint64_t LibcxxFind(const void* s, const char* needle, size_t size);
uint64_t LibcxxRFind(const void* s, const char* needle, size_t size);
uint64_t LibcxxFindFirstOf(const void* s, const char* set);
uint64_t LibcxxFindFirstNotOf(const void* s, char c);

#ifdef __cplusplus
}
#endif

#endif /* VEK_BENCH_LIBCXXPEERS_H */
