// VekStringFmt.hpp - formats vek::String with the fmt library.
//
// Kept apart from VekString.hpp so that only code that formats with fmt pulls
// fmt in. A String formats as its bytes, NULs included, with every option a
// string_view takes (width, fill, alignment, precision):
//
//     fmt::format("[{:>8}]", vek::String("right"));   // "[   right]"
#ifndef VEK_UTILS_VEKSTRINGFMT_HPP
#define VEK_UTILS_VEKSTRINGFMT_HPP

#include <fmt/format.h>

#include "VekString.hpp"

template <> struct fmt::formatter<vek::String> : fmt::formatter<fmt::string_view> {
    template <typename Context> auto format(const vek::String& s, Context& ctx) const
    {
        return fmt::formatter<fmt::string_view>::format(fmt::string_view(s.data(), s.size()), ctx);
    }
};

#endif // VEK_UTILS_VEKSTRINGFMT_HPP
