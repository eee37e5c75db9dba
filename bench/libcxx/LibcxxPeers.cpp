// LibcxxPeers.cpp - the std::string workloads, compiled against libc++.
//
// The same calls as the libstdc++ contenders in AppendBench.cpp,
// ConstructBench.cpp and SearchBench.cpp make, so the two libraries' rows
// differ only in the library. Built by bench/CMakeLists.txt with clang++
// -stdlib=libc++; see LibcxxPeers.h.
#include "LibcxxPeers.h"

#include <string>

namespace {

// Opaque hides a value from the optimiser as Google Benchmark's
// DoNotOptimize does; its header is not included here, being built for the
// other C++ library.
template <class T> inline void Opaque(T& value)
{
    asm volatile("" : "+r,m"(value) : : "memory");
}

const std::string& Of(const void* s)
{
    return *static_cast<const std::string*>(s);
}

uint64_t Position(size_t at)
{
    return at == std::string::npos ? ~uint64_t{0} : at;
}

} // namespace

uint64_t LibcxxAppend16BytePieces(const char* source, size_t source_size, size_t total)
{
    std::string s;
    const char* p = source;
    for (size_t done = 0; done < total; done += 16) {
        s.append(p, 16);
        p += 16;
        if (p == source + source_size)
            p = source;
    }
    return VekBenchMix(s.data(), s.size());
}

uint64_t LibcxxAppendCharacters(const char* source, size_t size)
{
    std::string s;
    for (size_t i = 0; i < size; ++i)
        s.push_back(source[i]);
    return VekBenchMix(s.data(), s.size());
}

uint64_t LibcxxMakeAndDrop(const char* str, int count)
{
    uint64_t digest = 0;
    for (int i = 0; i < count; ++i) {
        Opaque(str);
        std::string x(str);
        Opaque(x);
        digest += x.size();
    }
    return digest;
}

void* LibcxxStringNew(const char* data, size_t size)
{
    return new std::string(data, size);
}

void LibcxxStringFree(void* s)
{
    delete static_cast<std::string*>(s);
}

uint64_t LibcxxFind(const void* s, const char* needle, size_t size)
{
    return Position(Of(s).find(needle, 0, size));
}

uint64_t LibcxxRFind(const void* s, const char* needle, size_t size)
{
    return Position(Of(s).rfind(needle, std::string::npos, size));
}

uint64_t LibcxxFindFirstOf(const void* s, const char* set)
{
    return Position(Of(s).find_first_of(set));
}

uint64_t LibcxxFindFirstNotOf(const void* s, char c)
{
    return Position(Of(s).find_first_not_of(c));
}
