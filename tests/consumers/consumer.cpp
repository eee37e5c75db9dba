// Builds, runs and exits 0 when the library and its C++ face are usable
// from C++17.
#include <Vek/Utils/VekString.hpp>

int main()
{
    vek::String s("consumer");
    s += " in C++";
    s.replace_all("C++", "C++17");
    return s == "consumer in C++17" && s.find("17") == 15 ? 0 : 1;
}
