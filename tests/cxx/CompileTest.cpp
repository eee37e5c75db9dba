// Compiled once as C++17 and once as C++20, with every warning an error: each
// member of vek::String is used here, so every template is instantiated.
#include <Vek/Utils/VekString.hpp>

#include <cstdio>
#include <functional>
#include <utility>

int main()
{
    vek::String s("compile", VekAllocatorGetDefault());
    vek::String t(std::string_view("test"));
    vek::String w(std::u16string_view(u"\u00e9"));
    vek::String u(std::u32string_view(U"\U0001F600"));
    vek::String f = vek::String::format("%d", 1);
    s += ' ';
    s += t;
    s += "!";
    s.append(2, '.').appendf("%s", "x").insert(0, ">").insert(0, t).replace(0, 1, "T");
    s.insert(s.begin(), '<');
    s.erase(s.begin());
    s.erase(s.begin(), s.begin() + 1);
    s.erase(0, 1).replace(0, 0, t).replace_all("t", "T");
    s.push_back('?');
    s.resize(s.size() + 1, '-');
    s.reserve(64);
    s.shrink_to_fit();
    vek::String moved(std::move(t));
    t = std::move(moved);
    t = s;
    t = std::string_view("again");
    swap(s, t);
    const bool found = s.find("a") + s.rfind('a') + s.find_first_of("ab") +
                           s.find_first_not_of('x') + s.find_last_of('a') +
                           s.find_last_not_of("xy") !=
                       0;
    const bool order = (s < t) != (s >= t) && (s <= t) != (s > t) && (s != "x") && ("x" != s);
    const std::size_t h = std::hash<vek::String>{}(s) + s.hash();
    const std::u16string back = w.to_utf16();
    std::printf("%s %s %zu %d %d %zu %zu %zu\n", s.c_str(), u.data(),
                static_cast<std::size_t>(f.length()), found, order, h % 2, back.size(),
                static_cast<std::size_t>(s.end() - s.begin()));
    s.clear();
    return s.empty() && s.starts_with("") && !s.ends_with("x") && s.compare(t) < 0 ? 0 : 1;
}
