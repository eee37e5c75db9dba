// VekVectorSse2.h - the vector facade over SSE2. Included by VekVector.h.
#ifndef VEK_SRC_SIMD_VEKVECTORSSE2_H
#define VEK_SRC_SIMD_VEKVECTORSSE2_H

#include <emmintrin.h>

namespace VekVector {

constexpr char kName[] = "SSE2";

using Bytes = __m128i;
using Marks = MarksIn<0>;

inline Bytes Load(const void* p)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
}

VEK_NO_SANITIZE_ADDRESS inline Bytes LoadAligned(const void* p)
{
    return _mm_load_si128(static_cast<const __m128i*>(p));
}

inline void Store(void* p, Bytes v)
{
    _mm_storeu_si128(static_cast<__m128i*>(p), v);
}

inline Bytes Splat(char c)
{
    return _mm_set1_epi8(c);
}

inline Bytes Equal(Bytes a, Bytes b)
{
    return _mm_cmpeq_epi8(a, b);
}

inline Bytes And(Bytes a, Bytes b)
{
    return _mm_and_si128(a, b);
}

inline Bytes Or(Bytes a, Bytes b)
{
    return _mm_or_si128(a, b);
}

inline Marks MarksOf(Bytes marks)
{
    return {static_cast<unsigned>(_mm_movemask_epi8(marks))};
}

inline Marks UnmarkedOf(Bytes marks)
{
    return {~static_cast<unsigned>(_mm_movemask_epi8(marks)) & 0xFFFFu};
}

inline bool AnyMarked(Bytes marks)
{
    return _mm_movemask_epi8(marks) != 0;
}

} // namespace VekVector

#endif // VEK_SRC_SIMD_VEKVECTORSSE2_H
