// Peers.h - the string types the rows compare, behind one small interface.
//
// Each builder starts empty with its type's everyday defaults (VekString on
// the default allocator, std::string, GString from g_string_new, abseil's
// StrAppend onto a std::string) and offers the same calls, so a workload is
// written once as a template and instantiated per contender. The calls are
// the ones a user of each type would write; nothing is reserved in advance.
#ifndef VEK_BENCH_PEERS_H
#define VEK_BENCH_PEERS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Vek/Utils/VekString.h"
#include "VekBench.h"

#ifdef VEK_BENCH_HAVE_GLIB
#include <glib.h>
#endif
#ifdef VEK_BENCH_HAVE_ABSL
#include <absl/strings/str_cat.h>
#endif
#ifdef VEK_BENCH_HAVE_LIBCXX
#include "LibcxxPeers.h"
#endif

namespace vekbench {

class VekBuilder {
public:
    explicit VekBuilder(VekAllocator* a = VekAllocatorGetDefault())
    {
        VekStringConstructDefault(&s_, a);
    }
    ~VekBuilder() { VekStringDestruct(&s_); }
    VekBuilder(const VekBuilder&) = delete;
    VekBuilder& operator=(const VekBuilder&) = delete;

    void Append(const char* p, std::size_t n) { VekStringAppendCStrLen(&s_, p, n); }
    void Push(char c) { VekStringAppendChar(&s_, c); }
    std::uint64_t Digest() const { return Mix(VekStringData(&s_), VekStringSize(&s_)); }
    VekString* get() { return &s_; }

private:
    VekString s_;
};

class StdBuilder {
public:
    void Append(const char* p, std::size_t n) { s_.append(p, n); }
    void Push(char c) { s_.push_back(c); }
    std::uint64_t Digest() const { return Mix(s_); }
    std::string* get() { return &s_; }

private:
    std::string s_;
};

#ifdef VEK_BENCH_HAVE_GLIB
class GStringBuilder {
public:
    GStringBuilder() : s_(g_string_new(nullptr)) {}
    ~GStringBuilder() { g_string_free(s_, TRUE); }
    GStringBuilder(const GStringBuilder&) = delete;
    GStringBuilder& operator=(const GStringBuilder&) = delete;

    void Append(const char* p, std::size_t n)
    {
        g_string_append_len(s_, p, static_cast<gssize>(n));
    }
    void Push(char c) { g_string_append_c(s_, c); }
    std::uint64_t Digest() const { return Mix(s_->str, s_->len); }
    GString* get() { return s_; }

private:
    GString* s_;
};
#endif

#ifdef VEK_BENCH_HAVE_ABSL
class AbslBuilder {
public:
    void Append(const char* p, std::size_t n) { absl::StrAppend(&s_, absl::string_view(p, n)); }
    std::uint64_t Digest() const { return Mix(s_); }
    std::string* get() { return &s_; }

private:
    std::string s_;
};
#endif

#ifdef VEK_BENCH_HAVE_LIBCXX
// LibcxxString holds a copy of some bytes in a libc++ std::string.
class LibcxxString {
public:
    explicit LibcxxString(const std::string& bytes)
        : s_(LibcxxStringNew(bytes.data(), bytes.size()))
    {
    }
    ~LibcxxString() { LibcxxStringFree(s_); }
    LibcxxString(const LibcxxString&) = delete;
    LibcxxString& operator=(const LibcxxString&) = delete;
    const void* get() const { return s_; }

private:
    void* s_;
};
#endif

} // namespace vekbench

#endif // VEK_BENCH_PEERS_H
