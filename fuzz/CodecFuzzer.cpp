// CodecFuzzer.cpp - the input read three ways, as zero-terminated UTF-8
// bytes, UTF-16 units and UCS-4 units, and fed to the codec's three
// conversions through the public functions and every kernel this build has
// and this processor runs, with the input at a shifting alignment. ICU is the oracle for the
// verdict and the output.
//
// For every conversion: a refused input leaves *outputLen unset at every
// output size; an accepted one reports the whole length at every output size
// and writes exactly the longest whole-character prefix that fits, then a
// terminator, and nothing behind the output (the output is a heap block of
// exactly its size, so the address sanitizer sees any overrun). Valid input
// must round-trip through the other direction. Finally the string functions
// convert the same input into and onto strings of every buffer state, under
// allocation refusals.
#include "FuzzSupport.h"

#include <memory>
#include <optional>
#include <vector>

#include "Vek/Utils/VekUtf8Encoding.h"
#include "codec/VekUtf8Kernels.h"

#define UCHAR_TYPE uint16_t
#include <unicode/ustring.h>

namespace {

using vekfuzz::Pick;
using vektest::Content;
using vektest::HasInvariants;
using vektest::RecordingAllocator;
using vektest::Snapshot;

template <class In, class Out>
using Codec = VekBool (*)(const In*, Out*, VekSizeT, VekSizeT*) noexcept;

template <class Out> using Oracle = std::optional<std::vector<Out>>;

constexpr VekSizeT kUnset = 0xDEADBEEF;
constexpr std::size_t kShiftUnits = 16;

// Icu runs one ICU conversion into a buffer large enough for any result;
// nullopt when ICU refuses the input.
template <class Out, class Call> Oracle<Out> Icu(std::size_t max_len, Call call)
{
    std::vector<Out> out(max_len + 1);
    int32_t len = 0;
    UErrorCode err = U_ZERO_ERROR;
    call(out.data(), static_cast<int32_t>(out.size()), &len, &err);
    if (U_FAILURE(err))
        return std::nullopt;
    out.resize(static_cast<std::size_t>(len));
    return out;
}

Oracle<VekUint16> IcuDecode(const std::vector<char>& in)
{
    return Icu<VekUint16>(in.size(), [&](VekUint16* d, int32_t cap, int32_t* len, UErrorCode* e) {
        u_strFromUTF8(d, cap, len, in.data(), static_cast<int32_t>(in.size()), e);
    });
}

Oracle<char> IcuEncodeUtf16(const std::vector<VekUint16>& in)
{
    return Icu<char>(3 * in.size(), [&](char* d, int32_t cap, int32_t* len, UErrorCode* e) {
        u_strToUTF8(d, cap, len, in.data(), static_cast<int32_t>(in.size()), e);
    });
}

Oracle<char> IcuEncode(const std::vector<VekWideChar>& in)
{
    const Oracle<VekUint16> utf16 =
        Icu<VekUint16>(2 * in.size(), [&](VekUint16* d, int32_t cap, int32_t* len, UErrorCode* e) {
            const auto* units = reinterpret_cast<const UChar32*>(in.data());
            u_strFromUTF32(d, cap, len, units, static_cast<int32_t>(in.size()), e);
        });
    return utf16 ? IcuEncodeUtf16(*utf16) : std::nullopt;
}

// A character's units: a UTF-8 lead byte says how many; a high surrogate
// takes its low one along.
std::size_t CharUnits(const std::vector<char>& s, std::size_t i)
{
    const unsigned char b = static_cast<unsigned char>(s[i]);
    return b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
}

std::size_t CharUnits(const std::vector<VekUint16>& s, std::size_t i)
{
    return (s[i] & 0xFC00) == 0xD800 ? 2 : 1;
}

// LongestPrefix is what must land in an output of size units: whole
// characters while they fit in size - 1 units.
template <class Out> std::size_t LongestPrefix(const std::vector<Out>& full, std::size_t size)
{
    std::size_t n = 0;
    while (n < full.size() && n + CharUnits(full, n) <= size - 1)
        n += CharUnits(full, n);
    return n;
}

// Placed holds an input at a chosen alignment, zero-terminated, with a block
// of padding behind it for the reads the codec's ASCII path makes past the
// terminator.
template <class In> struct Placed {
    Placed(const std::vector<In>& units, std::size_t shift)
        : buffer(shift + units.size() + 1 + kShiftUnits, static_cast<In>('A'))
    {
        std::copy(units.begin(), units.end(), buffer.begin() + static_cast<std::ptrdiff_t>(shift));
        buffer[shift + units.size()] = 0;
        data = buffer.data() + shift;
    }
    std::vector<In> buffer;
    const In* data;
};

template <class In, class Out>
void CheckAtSize(Codec<In, Out> codec, const In* input, const Oracle<Out>& oracle, std::size_t size,
                 const char* name)
{
    std::unique_ptr<Out[]> out(size == 0 ? nullptr : new Out[size]);
    VekSizeT len = kUnset;
    const bool ok = codec(input, out.get(), size, &len);
    FUZZ_CHECK(ok == oracle.has_value(), name << " at output size " << size);
    if (!ok) {
        FUZZ_CHECK(len == kUnset, name << ": a refusal set the length");
        return;
    }
    FUZZ_CHECK(len == oracle->size(), name << " at output size " << size << ": length " << len
                                           << ", expected " << oracle->size());
    if (size == 0)
        return;
    const std::size_t n = LongestPrefix(*oracle, size);
    FUZZ_CHECK(
        std::equal(oracle->begin(), oracle->begin() + static_cast<std::ptrdiff_t>(n), out.get()) &&
            out[n] == 0,
        name << " at output size " << size << ": not the prefix of " << n << " units");
}

// Codecs is the public function and the same conversion of every usable kernel.
template <class In, class Out>
std::vector<Codec<In, Out>> Codecs(Codec<In, Out> public_fn,
                                   Codec<In, Out> VekUtf8::Utf8Kernels::*conversion)
{
    std::vector<Codec<In, Out>> codecs{public_fn};
    for (const VekUtf8::Utf8Kernels& kernels : VekUtf8::Utf8KernelTable()) {
        if (kernels.usable())
            codecs.push_back(kernels.*conversion);
    }
    return codecs;
}

// Check holds one conversion against the oracle at every output size up to
// one beyond the whole result (sampled for long results), through every codec.
template <class In, class Out>
void Check(FuzzedDataProvider& in, const std::vector<Codec<In, Out>>& codecs,
           const Placed<In>& input, const Oracle<Out>& oracle, const char* name)
{
    const std::size_t full = oracle ? oracle->size() : 8;
    std::vector<std::size_t> sizes;
    for (std::size_t size = 0; size <= full + 1; ++size) {
        if (full <= 64 || size < 4 || size + 4 > full || Pick(in, 16) == 0)
            sizes.push_back(size);
    }
    for (std::size_t size : sizes) {
        for (Codec<In, Out> codec : codecs)
            CheckAtSize(codec, input.data, oracle, size, name);
    }
}

// Converts the whole of a valid input with the codec itself.
template <class In, class Out> std::vector<Out> Convert(Codec<In, Out> codec, const In* input)
{
    VekSizeT len = 0;
    codec(input, nullptr, 0, &len);
    std::vector<Out> out(len + 1);
    codec(input, out.data(), out.size(), &len);
    out.pop_back();
    return out;
}

// CodePoints joins the surrogate pairs of valid UTF-16.
std::vector<VekWideChar> CodePoints(const std::vector<VekUint16>& utf16)
{
    std::vector<VekWideChar> out;
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        VekWideChar cp = utf16[i];
        if ((cp & 0xFC00) == 0xD800 && i + 1 < utf16.size())
            cp = 0x10000 + ((cp - 0xD800) << 10) + (utf16[++i] - 0xDC00u);
        out.push_back(cp);
    }
    return out;
}

template <class Unit> using StringCall = VekString* (*)(VekString*, const Unit*) noexcept;

// CheckStrings converts a valid or invalid input into and onto a string in
// some buffer state, under a refusal drawn from the input. expected is the
// UTF-8 form, or nullopt when the codec must refuse.
template <class Unit>
void CheckStrings(FuzzedDataProvider& in, StringCall<Unit> assign, StringCall<Unit> append,
                  const Unit* input, const Oracle<char>& expected)
{
    RecordingAllocator alloc;
    const std::string text = vekfuzz::Text(in, 24);
    VekString x;
    vektest::MakeOwned(&x, text, text.size() + Pick(in, 24), alloc);
    if (Pick(in, 3) == 0)
        VekStringClear(&x);
    const bool appending = Pick(in, 2) == 0;
    const std::string before = Content(x);
    const Snapshot snapshot = Snapshot::Of(x);
    vekfuzz::DrawRefusals(in, alloc);
    const bool ok = (appending ? append : assign)(&x, input) != nullptr;
    const bool refusals = vekfuzz::RefusalsActive(alloc);
    FUZZ_CHECK_RESULT(HasInvariants(x), "string conversion");
    const std::string utf8 = expected ? std::string(expected->begin(), expected->end()) : "";
    if (ok) {
        FUZZ_CHECK(expected.has_value(), "a string conversion accepted invalid input");
        FUZZ_CHECK(Content(x) == (appending ? before + utf8 : utf8), "string conversion result");
    } else if (!expected) {
        FUZZ_CHECK(Content(x) == (appending ? before : ""), "refused input: wrong content kept");
    } else {
        FUZZ_CHECK(refusals, "a string conversion failed without a refusal");
        const Snapshot after = Snapshot::Of(x);
        FUZZ_CHECK(after.buf == snapshot.buf && after.size == snapshot.size &&
                       after.capacity == snapshot.capacity && (!appending || after == snapshot),
                   "a refused growth changed the string");
    }
    VekStringDestruct(&x);
    FUZZ_CHECK_RESULT(alloc.IsClean(), "string conversion");
}

template <class Unit> std::vector<Unit> Units(FuzzedDataProvider& in, std::size_t max_units)
{
    std::vector<Unit> units;
    const std::size_t count = Pick(in, max_units + 1);
    for (std::size_t i = 0; i < count && in.remaining_bytes() > 0; ++i) {
        Unit u = in.ConsumeIntegral<Unit>();
        if (u == 0)
            break;
        units.push_back(u);
    }
    return units;
}

// UCS-4 units: mostly below U+200000, so that valid ones are common, with
// the odd value that has high bits set.
std::vector<VekWideChar> Ucs4(FuzzedDataProvider& in)
{
    std::vector<VekWideChar> units = Units<VekWideChar>(in, 96);
    for (VekWideChar& u : units) {
        if ((u >> 24) != 0xFF)
            u &= 0x1FFFFF;
        if (u == 0)
            u = 'A';
    }
    return units;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    const std::size_t shift = Pick(in, kShiftUnits);

    std::vector<char> bytes;
    for (char c : vekfuzz::Text(in, 256)) {
        if (c == '\0')
            break;
        bytes.push_back(c);
    }
    const Placed<char> utf8(bytes, shift);
    const Oracle<VekUint16> decoded = IcuDecode(bytes);
    static const auto kDecoders = Codecs(VekUtf8DecodeUtf16, &VekUtf8::Utf8Kernels::decode_utf16);
    static const auto kEncoders16 = Codecs(VekUtf8EncodeUtf16, &VekUtf8::Utf8Kernels::encode_utf16);
    static const auto kEncoders = Codecs(VekUtf8Encode, &VekUtf8::Utf8Kernels::encode);
    Check(in, kDecoders, utf8, decoded, "UTF-8 to UTF-16");
    if (decoded) {
        const Placed<VekUint16> back(*decoded, shift);
        FUZZ_CHECK(Convert(VekUtf8EncodeUtf16, back.data) == bytes, "UTF-8 round trip");
    }

    const std::vector<VekUint16> units16 = Units<VekUint16>(in, 128);
    const Placed<VekUint16> utf16(units16, shift);
    const Oracle<char> encoded16 = IcuEncodeUtf16(units16);
    Check(in, kEncoders16, utf16, encoded16, "UTF-16 to UTF-8");
    if (encoded16) {
        const Placed<char> back(*encoded16, shift);
        FUZZ_CHECK(Convert(VekUtf8DecodeUtf16, back.data) == units16, "UTF-16 round trip");
    }
    CheckStrings<VekUint16>(in, VekStringAssignUtf16, VekStringAppendUtf16, utf16.data, encoded16);

    const std::vector<VekWideChar> units32 = Ucs4(in);
    const Placed<VekWideChar> ucs4(units32, shift);
    const Oracle<char> encoded32 = IcuEncode(units32);
    Check(in, kEncoders, ucs4, encoded32, "UCS-4 to UTF-8");
    if (encoded32) {
        const Placed<char> back(*encoded32, shift);
        FUZZ_CHECK(CodePoints(Convert(VekUtf8DecodeUtf16, back.data)) == units32,
                   "UCS-4 round trip");
    }
    CheckStrings<VekWideChar>(in, VekStringAssignUcs4, VekStringAppendUcs4, ucs4.data, encoded32);
    return 0;
}
