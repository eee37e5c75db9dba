// tour.cpp - the same walk in C++, through vek::String.
//
//     tour_cxx [FILE]   (without FILE: the bundled sample.txt)
#include <Vek/Utils/VekString.hpp>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <new>
#include <string>
#include <unordered_map>

namespace {

void Show(const char* label, const vek::String& s)
{
    const auto line_end = s.find('\n');
    const int shown = static_cast<int>(std::min<std::size_t>({48, line_end, s.size()}));
    std::printf("  %-30s \"%.*s%s\" (size %llu, capacity %llu)\n", label, shown, s.data(),
                shown < static_cast<int>(s.size()) ? "..." : "",
                static_cast<unsigned long long>(s.size()),
                static_cast<unsigned long long>(s.capacity()));
}

std::size_t Count(const vek::String& text, std::string_view word)
{
    std::size_t n = 0;
    for (auto pos = text.find(word); pos != vek::String::npos; pos = text.find(word, pos + 1))
        ++n;
    return n;
}

std::string_view LineAt(const vek::String& text, std::size_t pos)
{
    const auto newline = pos == 0 ? vek::String::npos : text.rfind('\n', pos - 1);
    const auto begin = newline == vek::String::npos ? 0 : newline + 1;
    return std::string_view(text).substr(begin, text.find('\n', pos) - begin);
}

// Counts the words of a text in a hash map keyed by vek::String.
void WordCounts(const vek::String& text)
{
    std::unordered_map<vek::String, int> counts;
    for (std::size_t pos = text.find_first_not_of(" \n.,;:'"); pos != vek::String::npos;) {
        const auto end = text.find_first_of(" \n.,;:'", pos);
        ++counts[vek::String(std::string_view(text).substr(pos, end - pos))];
        pos = text.find_first_not_of(" \n.,;:'", end);
    }
    std::printf("  %zu distinct words; \"keeper\" %d times, \"the\" %d times\n", counts.size(),
                counts[vek::String("keeper")], counts[vek::String("the")]);
}

// Grants at most 63 content bytes to a string.
VekVoidPtr SmallAllocate(VekAllocator*, VekSizeT size)
{
    return std::malloc(size);
}

void SmallDeallocate(VekAllocator*, VekVoidPtr p, VekSizeT)
{
    std::free(p);
}

} // namespace

int main(int argc, char** argv)
{
    const char* path = argc > 1 ? argv[1] : "sample.txt";
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "tour_cxx: cannot read %s\n", path);
        return 1;
    }
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    vek::String text(bytes);
    std::printf("Reading %s in C++\n", path);
    Show("copied into a vek::String:", text);

    std::puts("Searching, counting and replacing");
    WordCounts(text);
    text.replace_all("the keeper", "old Tom");
    std::printf("  after replace_all: \"keeper\" occurs %zu times\n", Count(text, "keeper"));

    std::puts("A report built with formatted appends");
    auto report = vek::String::format("%-8s %s\n", "word", "count");
    for (const char* word : {"bell", "storm", "gulls", "Tom"})
        report.appendf("%-8s %5zu\n", word, Count(text, word));
    std::fputs(report.c_str(), stdout);

    std::puts("UTF-16 and back");
    const auto at = text.find("Grüße");
    const vek::String line(LineAt(text, at == vek::String::npos ? 0 : at));
    const std::u16string wide = line.to_utf16();
    std::printf("  %zu UTF-8 bytes, %zu UTF-16 units, back the same: %d\n",
                static_cast<std::size_t>(line.size()), wide.size(), vek::String(wide) == line);

    std::puts("An allocator that refuses: std::bad_alloc, string unchanged");
    VekAllocator small = {SmallAllocate, SmallDeallocate, 64, nullptr};
    vek::String log("log:", &small);
    try {
        for (;;)
            log += " west";
    } catch (const std::bad_alloc&) {
        Show("caught bad_alloc; still:", log);
    }
    return 0;
}
