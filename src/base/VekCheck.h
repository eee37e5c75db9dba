// VekCheck.h - the checks of the checked build, shared by every subsystem.
//
// Checked builds (VEK_CHECKED) stop at the first broken rule with one line on
// stderr that names the function, then abort:
//   VEK_REQUIRE checks a caller obligation that release builds take on trust
//     (an iterator outside the content, a reversed range, an operand in the
//     spare capacity, ...); broken, it would read or write outside a buffer.
//     Public functions check their obligations in their first lines.
//   VEK_ASSERT checks an invariant or a stated precondition of the library's
//     own code, such as how many units a kernel needs in front of it.
// Otherwise both compile to nothing: the condition sits in an unevaluated
// sizeof, which keeps the names it uses "used" without running any code.
//
// This header includes nothing of the library, so that every folder under
// src/ may include it. Never installed.
#ifndef VEK_SRC_BASE_VEKCHECK_H
#define VEK_SRC_BASE_VEKCHECK_H

#if defined(VEK_CHECKED) && VEK_CHECKED
#include <cstdio>
#include <cstdlib>

[[noreturn]] static inline void VekCheckFailed(const char* function, const char* kind,
                                               const char* what)
{
    static_cast<void>(std::fprintf(stderr, "%s: %s%s\n", function, kind, what));
    std::abort();
}

#define VEK_REQUIRE(condition, obligation)                                                         \
    do {                                                                                           \
        if (!(condition))                                                                          \
            VekCheckFailed(__func__, "", obligation);                                              \
    } while (0)
#define VEK_ASSERT(condition, message)                                                             \
    do {                                                                                           \
        if (!(condition))                                                                          \
            VekCheckFailed(__func__, "internal error: ", message);                                 \
    } while (0)
#else
#define VEK_REQUIRE(condition, obligation) static_cast<void>(sizeof((condition) ? 1 : 0))
#define VEK_ASSERT(condition, message) static_cast<void>(sizeof((condition) ? 1 : 0))
#endif

#endif // VEK_SRC_BASE_VEKCHECK_H
