// Compiled once as C++17 and once as C++20, with every warning an error. The
// differential test instantiates every member as C++20; this instantiates the
// templates as C++17 too, and pins the calls whose overloads could collide
// (a literal 0 as position or count, braces, mixed iterator types).
#include <Vek/Utils/VekString.hpp>

#include <functional>
#include <istream>
#include <list>
#include <ostream>
#include <sstream>
#include <type_traits>

static_assert(!std::is_invocable_v<std::equal_to<>, const vek::String&, int>,
              "a String compares only with text");

int main()
{
    vek::String s("compile"), t = {};
    std::list<char> chars{'a', 'b'};
    s.insert(0, 3, 'x').erase(0).assign("abc").insert(0, "x").erase(0, 0).replace(0, 0, 0, 'x');
    s.replace(s.begin(), s.cend(), 0, 'x').append(chars.begin(), chars.end());
    s.insert(s.cbegin(), s.rbegin(), s.rend());
    s.replace(s.begin(), s.begin() + 1, chars.begin(), chars.end())
        .assign(chars.begin(), chars.end());
    s.insert(s.begin(), 2, 'y');
    s.insert(s.begin(), {'i', 'l'});
    s.erase(s.begin(), s.cbegin() + 1);
    s = {'b', 'r'};
    s += {'a', 'c'};
    s.resize_and_overwrite(4, [](char*, std::size_t n) { return n; });
    t = vek::String(s.begin(), s.end()) + "x" + 'y' + s;
    t = "a" + std::move(t);
    std::stringstream io("word line\n");
    io >> t;
    getline(io, t);
    io << t << s;
    const bool order = s == "x" || "x" != s || s < t || std::string("y") <= s || s > t || s >= "z";
    const std::size_t erased = erase(s, 'c') + erase_if(t, [](char c) { return c == 'a'; });
    return order && erased == 1 && s == "bra" && t == " line" && s.find("a", 0, 1) == 2 ? 0 : 1;
}
