#include "CodecModel.h"

#include <algorithm>
#include <optional>
#include <sstream>
#include <vector>

#include "codec/VekUtf8Kernels.h"

#if defined(VEK_TEST_HAVE_ICU)
#define UCHAR_TYPE uint16_t
#include <unicode/ustring.h>
#endif

namespace vektest {

namespace {

template <class In, class Out>
using Codec = VekBool (*)(const In*, Out*, VekSizeT, VekSizeT*) noexcept;
template <class In, class Out> using Kernel = Codec<In, Out> VekUtf8::Utf8Kernels::*;

// A conversion's whole output, or nullopt when the input is refused.
template <class Out> using Converted = std::optional<std::vector<Out>>;

using Ucs4 = std::vector<VekWideChar>;
using Utf16 = std::vector<VekUint16>;
using Utf8 = std::vector<char>;

constexpr VekSizeT kUnset = 0xDEADBEEF;
constexpr char kFill = '\xA5';
constexpr std::size_t kGuard = 4;

// Placed holds units zero-terminated at a drawn offset into a 64-byte block,
// with a block of padding behind for the reads the codec makes past the
// terminator, up to the end of its aligned block.
template <class In> class Placed {
public:
    Placed(const std::vector<In>& units, std::size_t shift)
        : buffer_(2 * kBlock + units.size() + 1 + kBlock, In{'A'})
    {
        const std::size_t skew = reinterpret_cast<std::uintptr_t>(buffer_.data()) % 64;
        data_ = buffer_.data() + (64 - skew) / sizeof(In) + shift % kBlock;
        std::copy(units.begin(), units.end(), data_);
        data_[units.size()] = 0;
    }
    const In* data() const { return data_; }

private:
    static constexpr std::size_t kBlock = 64 / sizeof(In);
    std::vector<In> buffer_;
    In* data_;
};

const VekUtf8::Utf8Kernels& Scalar()
{
    return VekUtf8::Utf8KernelTable()[0];
}

template <class In, class Out> Converted<Out> Whole(Codec<In, Out> codec, const std::vector<In>& in)
{
    const Placed<In> input(in, 0);
    VekSizeT len = 0;
    if (!codec(input.data(), nullptr, 0, &len))
        return std::nullopt;
    std::vector<Out> out(len + 1);
    codec(input.data(), out.data(), out.size(), &len);
    out.pop_back();
    return out;
}

#if defined(VEK_TEST_HAVE_ICU)

// Icu runs one ICU conversion into room for any result of in's length.
template <class Out, class In, class Call>
Converted<Out> Icu(const std::vector<In>& in, std::size_t units_each, Call call)
{
    std::vector<Out> out(units_each * in.size() + 1);
    int32_t len = 0;
    UErrorCode err = U_ZERO_ERROR;
    call(out.data(), static_cast<int32_t>(out.size()), &len, in.data(),
         static_cast<int32_t>(in.size()), &err);
    if (U_FAILURE(err))
        return std::nullopt;
    out.resize(static_cast<std::size_t>(len));
    return out;
}

Converted<char> Expected(const Utf16& in)
{
    return Icu<char>(in, 3, u_strToUTF8);
}

Converted<VekUint16> Expected(const Utf8& in)
{
    return Icu<VekUint16>(in, 1, u_strFromUTF8);
}

Converted<char> Expected(const Ucs4& in)
{
    const auto* units = reinterpret_cast<const UChar32*>(in.data());
    const std::vector<UChar32> utf32(units, units + in.size());
    const Converted<VekUint16> utf16 = Icu<VekUint16>(utf32, 2, u_strFromUTF32);
    return utf16 ? Expected(*utf16) : std::nullopt;
}

#else

Converted<char> Expected(const Utf16& in)
{
    return Whole(Scalar().encode_utf16, in);
}

Converted<VekUint16> Expected(const Utf8& in)
{
    return Whole(Scalar().decode_utf16, in);
}

Converted<char> Expected(const Ucs4& in)
{
    return Whole(Scalar().encode, in);
}

#endif // VEK_TEST_HAVE_ICU

// Units of the character that starts at full[i]: a UTF-8 lead byte says how
// many; a high surrogate takes its low one along.
std::size_t CharUnits(const Utf8& full, std::size_t i)
{
    const auto b = static_cast<unsigned char>(full[i]);
    return b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
}

std::size_t CharUnits(const Utf16& full, std::size_t i)
{
    return (full[i] & 0xFC00) == 0xD800 ? 2 : 1;
}

// LongestPrefix is what must land in an output of size units: whole
// characters while they fit in size - 1 units.
template <class Out> std::size_t LongestPrefix(const std::vector<Out>& full, std::size_t size)
{
    std::size_t n = 0;
    while (n < full.size() && n + CharUnits(full, n) < size)
        n += CharUnits(full, n);
    return n;
}

// Finding is where a check failed: the conversion, the codec and the size.
struct Finding {
    const char* conversion;
    const char* codec;
    std::size_t size;

    void operator()(Report report, const char* what) const
    {
        std::ostringstream out;
        out << conversion << " by " << codec << " at output size " << size << ": " << what;
        report(out.str());
    }
};

template <class In, class Out>
void CheckAtSize(Codec<In, Out> codec, const In* input, const Converted<Out>& expected,
                 const Finding& at, Report report)
{
    std::vector<Out> out(at.size + kGuard, static_cast<Out>(kFill));
    VekSizeT len = kUnset;
    const bool ok = codec(input, at.size == 0 ? nullptr : out.data(), at.size, &len);
    if (std::any_of(out.begin() + at.size, out.end(), [](Out u) { return u != Out(kFill); }))
        return at(report, "written beyond the output");
    if (ok != expected.has_value())
        return at(report,
                  ok ? "accepted what the oracle refuses" : "refused what the oracle takes");
    if (!ok)
        return len == kUnset ? void() : at(report, "a refusal set the length");
    if (len != expected->size())
        return at(report, "not the whole length");
    const std::size_t n = LongestPrefix(*expected, at.size);
    if (at.size != 0 && (!std::equal(out.begin(), out.begin() + n, expected->begin()) || out[n]))
        at(report, "not the longest whole-character prefix, terminated");
}

// Sizes are every output size from none to one past the whole result for a
// short one; for a long one the ends of that range and a few between.
std::vector<std::size_t> Sizes(Choices& in, std::size_t full)
{
    std::vector<std::size_t> sizes;
    for (std::size_t size = 0; size <= full + 1; ++size) {
        if (full <= 24 || size < 4 || size + 3 > full)
            sizes.push_back(size);
    }
    for (int n = full > 24 ? 8 : 0; n > 0; --n)
        sizes.push_back(4 + in.Below(full - 6));
    return sizes;
}

template <class In, class Out>
void CheckConversion(Choices& in, Report report, const char* conversion,
                     const std::vector<In>& units, Codec<In, Out> public_fn, Kernel<In, Out> kernel)
{
    const Converted<Out> expected = Expected(units);
    const Placed<In> input(units, in.Below(64));
    // A refused input gets outputs large enough for any conversion of it too,
    // so that the defect is met while converting as well as while measuring.
    for (const std::size_t size : Sizes(in, expected ? expected->size() : 4 * units.size())) {
        CheckAtSize(public_fn, input.data(), expected, {conversion, "the public function", size},
                    report);
        for (const VekUtf8::Utf8Kernels& row : VekUtf8::Utf8KernelTable()) {
            if (row.usable())
                CheckAtSize(row.*kernel, input.data(), expected, {conversion, row.name, size},
                            report);
        }
    }
}

// A character of one length class, often the class's first or last value.
VekWideChar Character(Choices& in, std::size_t cls)
{
    static constexpr VekWideChar kFirst[] = {0x01, 0x80, 0x800, 0xE000, 0x10000};
    static constexpr VekWideChar kLast[] = {0x7F, 0x7FF, 0xD7FF, 0xFFFF, 0x10FFFF};
    switch (in.Below(4)) {
    case 0:
        return kFirst[cls];
    case 1:
        return kLast[cls];
    default:
        return kFirst[cls] + static_cast<VekWideChar>(in.Below(kLast[cls] - kFirst[cls] + 1));
    }
}

// Text is runs of characters: of one class, ASCII half the time, or mixed;
// now and then a run long enough for the vector kernels' longest count of
// blocks.
Ucs4 DrawText(Choices& in)
{
    Ucs4 text;
    for (std::uint64_t runs = in.Below(8); runs > 0; --runs) {
        const bool mixed = in.OneIn(4);
        const std::size_t cls = in.OneIn(2) ? 0 : in.Below(5);
        for (std::uint64_t n = in.OneIn(64) ? 2100 + in.Below(400) : in.Below(40); n > 0; --n)
            text.push_back(Character(in, mixed ? in.Below(5) : cls));
    }
    return text;
}

template <class Unit>
void Insert(Choices& in, std::vector<Unit>* text, const std::vector<Unit>& bad)
{
    text->insert(text->begin() + static_cast<std::ptrdiff_t>(in.Below(text->size() + 1)),
                 bad.begin(), bad.end());
}

template <class Unit> Unit Pick(Choices& in, std::initializer_list<Unit> units)
{
    return units.begin()[in.Below(units.size())];
}

// The spoilers put a defect into one form, half the time at most one: the
// edge values of what is no character, or any such value.
void Spoil(Choices& in, Ucs4* text)
{
    const VekWideChar bad = in.OneIn(2) ? Pick<VekWideChar>(in, {0xD800, 0xDBFF, 0xDC00, 0xDFFF,
                                                                 0x110000, 0x7FFFFFFF, 0xFFFFFFFF})
                            : in.OneIn(2)
                                ? static_cast<VekWideChar>(0xD800 + in.Below(0x800))
                                : static_cast<VekWideChar>(0x110000 + in.Below(0xFFEF0000));
    Insert(in, text, {bad});
}

// A UTF-16 defect is a lone surrogate put in, or a unit taken out, which may
// split a pair.
void Spoil(Choices& in, Utf16* text)
{
    if (!text->empty() && in.OneIn(2))
        text->erase(text->begin() + static_cast<std::ptrdiff_t>(in.Below(text->size())));
    else
        Insert(in, text, {Pick<VekUint16>(in, {0xD800, 0xDBFF, 0xDC00, 0xDFFF})});
}

// A UTF-8 defect is a sequence of a lead byte and up to three bytes from
// either side of every bound a following byte has, or the text cut short.
void Spoil(Choices& in, Utf8* text)
{
    if (!text->empty() && in.OneIn(4))
        return text->resize(in.Below(text->size()));
    Utf8 bad = {in.OneIn(2)
                    ? Pick<char>(in, {'\x80', '\xBF', '\xC0', '\xC1', '\xC2', '\xDF', '\xE0',
                                      '\xED', '\xEF', '\xF0', '\xF4', '\xF5', '\xFF'})
                    : static_cast<char>(0x80 + in.Below(0x80))};
    for (std::uint64_t n = in.Below(4); n > 0; --n)
        bad.push_back(
            Pick<char>(in, {'\x7F', '\x80', '\x8F', '\x90', '\x9F', '\xA0', '\xBF', '\xC0'}));
    Insert(in, text, bad);
}

template <class Unit> std::vector<Unit> MaybeSpoilt(Choices& in, std::vector<Unit> text)
{
    if (in.OneIn(2))
        Spoil(in, &text);
    return text;
}

} // namespace

void CheckCodec(Choices& in, Report report)
{
    const VekUtf8::Utf8Kernels& scalar = Scalar();
    // Rows the processor cannot run are skipped, so a row that wrongly says
    // so would go untested; the scalar row runs everywhere.
    if (!scalar.usable())
        report("the scalar kernel says it cannot run");
    const Ucs4 text = DrawText(in);
    const Utf8 utf8 = Whole(scalar.encode, text).value_or(Utf8{});
    const Utf16 utf16 = Whole(scalar.decode_utf16, utf8).value_or(Utf16{});
    CheckConversion(in, report, "UCS-4 to UTF-8", MaybeSpoilt(in, text), VekUtf8Encode,
                    &VekUtf8::Utf8Kernels::encode);
    CheckConversion(in, report, "UTF-16 to UTF-8", MaybeSpoilt(in, utf16), VekUtf8EncodeUtf16,
                    &VekUtf8::Utf8Kernels::encode_utf16);
    CheckConversion(in, report, "UTF-8 to UTF-16", MaybeSpoilt(in, utf8), VekUtf8DecodeUtf16,
                    &VekUtf8::Utf8Kernels::decode_utf16);
}

} // namespace vektest
