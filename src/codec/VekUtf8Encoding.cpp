// VekUtf8Encoding.cpp - the layer's UTF-8 codec: its entry points and the
// one algorithm behind all three.
//
// The three conversions are one algorithm, Transcode, instantiated for each
// pair of input and output encodings and for each kernel. It runs in two
// phases. While the output has room it converts into it, whole characters
// only; the first character that does not fit (or an output of size 0) ends
// that phase, and from there on the rest of the input is only measured, still
// checked, so that a true result always carries the length of the complete
// conversion. Either phase stops at the zero unit or at the first unit
// sequence that is not a character, which refuses the whole input.
//
// Each phase takes turns between a kernel and the scalar loop of
// VekUtf8Scalar.h: the kernel takes what it can (ASCII blocks, windows,
// counted blocks) and the scalar loop goes on from where it stopped, one
// character at a time, until the kernel can take over again. The kernels:
//   ScalarKernel     takes nothing; the scalar loop does all of it.
//   VectorKernel     the windows of VekUtf8Windows.h and the counting of
//                    VekUtf8Measure.h over SSE2 (VekUtf8Sse2.h) or NEON
//                    (VekUtf8Neon.h), whichever the build has.
//   Avx512Kernel     the SSE2 kernel, with UCS-4 first through the AVX-512
//                    blocks of VekUtf8Avx512.cpp; chosen at run time.
//
// The input carries no length, so a register may extend past the zero unit
// that ends it. Registers that may do so are read only from addresses aligned
// to 16 bytes (64 for AVX-512): such a block never crosses a page boundary and
// cannot fault, and the units behind the terminator never influence the
// result.
#include <iterator>

#include "codec/VekUtf8Avx512.h"
#include "codec/VekUtf8Kernels.h"
#include "codec/VekUtf8Measure.h"
#include "codec/VekUtf8Neon.h"
#include "codec/VekUtf8Scalar.h"
#include "codec/VekUtf8Sse2.h"
#include "codec/VekUtf8Windows.h"

namespace VekUtf8 {
namespace {

// TakeByKernel takes turns between the kernel and the scalar loop until the
// input ends, the room is full or the input is refused; without kStore it
// only measures (out is then not used).
template <class Kernel, bool kStore, class Output, class In>
Stop TakeByKernel(const In*& p, typename Output::Unit* out, VekSizeT room, VekSizeT& len)
{
    const In* reach = nullptr;
    Stop stop = Stop::kResume;
    while (stop == Stop::kResume) {
        const bool resume = Kernel::template TakeWindows<kStore>(p, out, room, len, reach);
        stop = TakeCharacters<kStore, Kernel::kPlainAsciiBlocks, Output>(p, out, room, len, resume);
    }
    return stop;
}

// MeasureByKernel measures with TakeByKernel.
template <class Kernel, class Output, class In> bool MeasureByKernel(const In* p, VekSizeT* len)
{
    using Unit = typename Output::Unit;
    VekSizeT n = *len;
    const Stop stop =
        TakeByKernel<Kernel, false, Output>(p, static_cast<Unit*>(nullptr), kUnlimited, n);
    *len = n;
    return stop == Stop::kEnd;
}

// NoBulk is a kernel without a first pass by whole blocks before the rest
// (only AVX-512 has one, for UCS-4).
struct NoBulk {
    template <class In, class Out>
    static void TakeBulk(const In*& /*p*/, Out* /*out*/, VekSizeT /*room*/, VekSizeT& /*len*/)
    {
    }
    template <class In> static void MeasureBulk(const In*& /*p*/, VekSizeT& /*len*/) {}
};

// ScalarKernel leaves everything to the scalar loop, which then takes
// aligned ASCII blocks itself.
struct ScalarKernel : NoBulk {
    static constexpr const char* kName = "scalar";
    static constexpr bool kPlainAsciiBlocks = true;

    template <bool kStore, class In, class Out>
    static bool TakeWindows(const In*& /*p*/, Out* /*out*/, VekSizeT /*room*/, VekSizeT& /*len*/,
                            const In*& /*reach*/)
    {
        return false;
    }

    template <class Output, class In> static bool Measure(const In* p, VekSizeT* len)
    {
        return MeasureByKernel<ScalarKernel, Output>(p, len);
    }
};

// VectorKernel runs the windows and the block counting over Isa's registers.
template <class Isa> struct VectorKernel : NoBulk {
    static constexpr const char* kName = Isa::kName;
    static constexpr bool kPlainAsciiBlocks = false;

    template <bool kStore, class In, class Out>
    static bool TakeWindows(const In*& p, Out* out, VekSizeT room, VekSizeT& len, const In*& reach)
    {
        return VekUtf8::TakeWindows<Isa, kStore>(p, out, room, len, reach);
    }

    template <class Output, class In> static bool Measure(const In* p, VekSizeT* len)
    {
        if constexpr (sizeof(In) == 1)
            return MeasureByKernel<VectorKernel, Output>(p, len);
        else
            return MeasureByBlocks<Isa>(p, len);
    }
};

#if VEK_SIMD_SSE2
using BaselineKernel = VectorKernel<Utf8Sse2>;
#elif VEK_SIMD_NEON
using BaselineKernel = VectorKernel<Utf8Neon>;
#else
using BaselineKernel = ScalarKernel;
#endif

#if VEK_SIMD_AVX512
// Avx512Kernel sends UCS-4 through the AVX-512 blocks first, which take
// whole blocks while they can, and leaves the rest to the SSE2 kernel.
struct Avx512Kernel : VectorKernel<Utf8Sse2> {
    static constexpr const char* kName = "AVX-512";

    using NoBulk::MeasureBulk;
    using NoBulk::TakeBulk;

    static void TakeBulk(const VekWideChar*& p, char* out, VekSizeT room, VekSizeT& len)
    {
        VekUtf8Avx512::TakeUcs4(p, out, room, len);
    }

    static void MeasureBulk(const VekWideChar*& p, VekSizeT& len)
    {
        VekUtf8Avx512::MeasureUcs4(p, len);
    }
};
#endif

// Convert writes whole characters from p while they fit in room units and
// reports how far it came.
template <class Kernel, class Output, class In>
Stop Convert(const In*& p, typename Output::Unit* out, VekSizeT room, VekSizeT* written)
{
    VekSizeT len = 0;
    Kernel::TakeBulk(p, out, room, len);
    const Stop stop = TakeByKernel<Kernel, true, Output>(p, out, room, len);
    *written = len;
    return stop;
}

// Measure adds to *len what the characters from p to the terminator need;
// false when one of them is refused.
template <class Kernel, class Output, class In> bool Measure(const In* p, VekSizeT* len)
{
    Kernel::MeasureBulk(p, *len);
    return Kernel::template Measure<Output>(p, len);
}

// The last output unit is kept for the terminator, which follows whatever
// was written whenever there is an output at all.
template <class Kernel, class Output, class In>
VekBool Transcode(const In* input, typename Output::Unit* output, VekSizeT outputSize,
                  VekSizeT* outputLen)
{
    const In* p = input;
    VekSizeT len = 0;
    if (outputSize != 0) {
        const Stop stop = Convert<Kernel, Output>(p, output, outputSize - 1, &len);
        output[len] = 0;
        if (stop == Stop::kRefused)
            return VEK_FALSE;
        if (stop == Stop::kEnd) {
            *outputLen = len;
            return VEK_TRUE;
        }
    }
    if (!Measure<Kernel, Output>(p, &len))
        return VEK_FALSE;
    *outputLen = len;
    return VEK_TRUE;
}

// The three conversions of one kernel, with the public functions' contract:
// the rows of the kernel table, which the entry points call. Each is kept
// out of its callers, so that it is the one caller of its conversion loop,
// which is then compiled into it with its position and length in registers.
// The decoder reads its input as bytes, whatever the signedness of char.
template <class Kernel>
[[gnu::noinline]] VekBool Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
                                 VekSizeT* outputLen) noexcept
{
    return Transcode<Kernel, Utf8Output>(input, output, outputSize, outputLen);
}

template <class Kernel>
[[gnu::noinline]] VekBool EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                                      VekSizeT* outputLen) noexcept
{
    return Transcode<Kernel, Utf8Output>(input, output, outputSize, outputLen);
}

template <class Kernel>
[[gnu::noinline]] VekBool DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                                      VekSizeT* outputLen) noexcept
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(input);
    return Transcode<Kernel, Utf16Output>(bytes, output, outputSize, outputLen);
}

bool Always() noexcept
{
    return true;
}

template <class Kernel> constexpr Utf8Kernels RowOf(bool (*usable)() noexcept)
{
    return {Kernel::kName, usable, Encode<Kernel>, EncodeUtf16<Kernel>, DecodeUtf16<Kernel>};
}

constexpr Utf8Kernels kRows[] = {
    RowOf<ScalarKernel>(Always),
#if VEK_SIMD_VECTOR
    RowOf<BaselineKernel>(Always),
#endif
#if VEK_SIMD_AVX512
    // AVX-512 changes only UCS-4; the other two are the SSE2 row's own.
    {Avx512Kernel::kName, VekUtf8Avx512::Usable, Encode<Avx512Kernel>, EncodeUtf16<BaselineKernel>,
     DecodeUtf16<BaselineKernel>},
#endif
};

} // namespace

std::span<const Utf8Kernels> Utf8KernelTable() noexcept
{
    return kRows;
}

} // namespace VekUtf8

// The entry points take the build's vector kernel, or the AVX-512 one for
// UCS-4 where the processor has it.
VekBool VekUtf8Encode(const VekWideChar* input, char* output, VekSizeT outputSize,
                      VekSizeT* outputLen) noexcept
{
#if VEK_SIMD_AVX512
    if (VekUtf8Avx512::Usable())
        return VekUtf8::Encode<VekUtf8::Avx512Kernel>(input, output, outputSize, outputLen);
#endif
    return VekUtf8::Encode<VekUtf8::BaselineKernel>(input, output, outputSize, outputLen);
}

VekBool VekUtf8EncodeUtf16(const VekUint16* input, char* output, VekSizeT outputSize,
                           VekSizeT* outputLen) noexcept
{
    return VekUtf8::EncodeUtf16<VekUtf8::BaselineKernel>(input, output, outputSize, outputLen);
}

VekBool VekUtf8DecodeUtf16(const char* input, VekUint16* output, VekSizeT outputSize,
                           VekSizeT* outputLen) noexcept
{
    return VekUtf8::DecodeUtf16<VekUtf8::BaselineKernel>(input, output, outputSize, outputLen);
}
