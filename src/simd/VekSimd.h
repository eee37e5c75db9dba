// VekSimd.h - the one place that decides which instruction sets a build has.
//
// Every vector path of the library is chosen by these macros and no others:
//   VEK_SIMD_SSE2    x86-64, where SSE2 is baseline: the 16-byte kernels.
//   VEK_SIMD_NEON    little-endian AArch64, where NEON is baseline: the same
//                    kernels over NEON.
//   VEK_SIMD_VECTOR  one of the two: the build has 16-byte kernels.
//   VEK_SIMD_AVX512  the AVX-512 kernels are compiled in (x86-64, GCC or
//                    clang); they are not baseline, so they are called only
//                    where a check at run time finds the processor has them.
// VEK_PORTABLE turns all of them off, so the portable build runs the plain
// C++ paths that any other architecture gets.
#ifndef VEK_SRC_SIMD_VEKSIMD_H
#define VEK_SRC_SIMD_VEKSIMD_H

#if !defined(VEK_PORTABLE) && defined(__x86_64__) && defined(__SSE2__)
#define VEK_SIMD_SSE2 1
#else
#define VEK_SIMD_SSE2 0
#endif

#if !defined(VEK_PORTABLE) && defined(__aarch64__) && defined(__ARM_NEON) &&                       \
    defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define VEK_SIMD_NEON 1
#else
#define VEK_SIMD_NEON 0
#endif

#define VEK_SIMD_VECTOR (VEK_SIMD_SSE2 || VEK_SIMD_NEON)

#if !defined(VEK_PORTABLE) && defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#define VEK_SIMD_AVX512 1
#else
#define VEK_SIMD_AVX512 0
#endif

// Kernels that read an aligned block holding the end of their input (a block
// never crosses a page, so this cannot fault) are hidden from the address
// sanitizer, which cannot know that the bytes read there never matter.
#if defined(__GNUC__) || defined(__clang__)
#define VEK_NO_SANITIZE_ADDRESS __attribute__((no_sanitize_address))
#else
#define VEK_NO_SANITIZE_ADDRESS
#endif

#endif // VEK_SRC_SIMD_VEKSIMD_H
