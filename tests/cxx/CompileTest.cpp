// Compiled once as C++17 and once as C++20, with every warning an error. The
// differential test instantiates every member as C++20; this instantiates the
// templates as C++17 too, and pins the calls whose overloads could collide
// (a literal 0 as position or count, braces, mixed iterator types).
#include <Vek/Utils/VekString.hpp>

#include <algorithm>
#include <functional>
#include <iterator>
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
    const std::size_t erased = erase(s, 'c') + erase_if(t, [](char c) { return c == 'a'; });
    // Each comparison, either way round, on a shorter, an equal and a greater
    // text: as C++17 these are the six operators, not <=>.
    int wrong = 0;
    for (const char* text : {"br", "bra", "brb"}) {
        const std::string_view a(s), b(text);
        const vek::String y(text);
        const bool got[] = {s == y, s != text, s < b, s <= std::string(text), s > y, s >= text,
                            y == s, text != s, b < s, std::string(text) <= s, y > s, text >= s};
        const bool want[] = {a == b, a != b, a < b, a <= b, a > b, a >= b,
                             b == a, b != a, b < a, b <= a, b > a, b >= a};
        wrong += !std::equal(std::begin(got), std::end(got), std::begin(want));
    }
    return wrong == 0 && erased == 1 && s == "bra" && t == " line" && s.find("a", 0, 1) == 2 ? 0 : 1;
}
