// Facts about the UTF-8 codec. Every conversion runs through the public
// functions and the scalar code alone (the kernel-table test holds the other
// kernels to the scalar code), at shifting alignments, and at each output
// size the contract is checked: a true result
// always carries the complete length, nothing lands beyond the output size,
// and what lands is the whole conversion or its longest whole-character
// prefix, terminated. Where ICU is installed it is the oracle for verdicts
// and output on random text across all planes, every surrogate form and
// malformed UTF-8 of every kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "Vek/Utils/VekUtf8Encoding.h"
#include "codec/VekUtf8Kernels.h"

#if defined(VEK_TEST_HAVE_ICU)
#define UCHAR_TYPE uint16_t
#include <unicode/ustring.h>
#endif

namespace {

template <class In, class Out>
using CodecFn = VekBool (*)(const In*, Out*, VekSizeT, VekSizeT*) noexcept;

// The outcome of a conversion: its whole output, or nullopt when refused.
template <class Out> using Converted = std::optional<std::vector<Out>>;

using Utf8 = std::vector<char>;
using Utf16 = std::vector<VekUint16>;
using Ucs4 = std::vector<VekWideChar>;

template <class In, class Out> struct Paths {
    CodecFn<In, Out> public_fn, scalar;
};

const VekUtf8::Utf8Kernels& kScalar = VekUtf8::Utf8KernelTable()[0];
const Paths<VekWideChar, char> kEncode{VekUtf8Encode, kScalar.encode};
const Paths<VekUint16, char> kEncodeUtf16{VekUtf8EncodeUtf16, kScalar.encode_utf16};
const Paths<char, VekUint16> kDecode{VekUtf8DecodeUtf16, kScalar.decode_utf16};

constexpr unsigned char kFill = 0xA5;
constexpr std::size_t kGuard = 8;

std::size_t CharLength(const Utf8& s, std::size_t i)
{
    const unsigned char b = static_cast<unsigned char>(s[i]);
    return b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
}

std::size_t CharLength(const Utf16& s, std::size_t i)
{
    return (s[i] & 0xFC00) == 0xD800 ? 2 : 1;
}

// CheckAtSize converts into an output of the given size, guarded behind it.
template <class In, class Out>
void CheckAtSize(CodecFn<In, Out> fn, const In* in, const std::vector<Out>& full, std::size_t size)
{
    SCOPED_TRACE(testing::Message() << "output size " << size);
    std::vector<Out> out(size + kGuard, static_cast<Out>(kFill));
    VekSizeT len = 0;
    ASSERT_TRUE(fn(in, size == 0 ? nullptr : out.data(), size, &len));
    EXPECT_EQ(len, full.size());
    for (std::size_t k = size; k < out.size(); ++k)
        ASSERT_EQ(out[k], static_cast<Out>(kFill)) << "written beyond the output at " << k;
    if (size == 0)
        return;
    std::size_t written = 0;
    while (written < size - 1 && out[written] != 0)
        ++written;
    ASSERT_EQ(out[written], 0) << "no terminator";
    EXPECT_TRUE(std::equal(out.begin(), out.begin() + written, full.begin()));
    if (written < full.size()) {
        EXPECT_GT(written + CharLength(full, written), size - 1) << "prefix not the longest";
    }
}

// ConvertChecked converts input placed shift units past a 64-byte boundary and
// checks the contract at output sizes around the result's length.
template <class In, class Out>
Converted<Out> ConvertChecked(CodecFn<In, Out> fn, const std::vector<In>& input, std::size_t shift)
{
    std::vector<In> buffer(64 + shift + input.size() + 1 + 64, static_cast<In>(0x41));
    const auto misaligned = reinterpret_cast<std::uintptr_t>(buffer.data()) % 64 / sizeof(In);
    In* const in = buffer.data() + (64 / sizeof(In) - misaligned) + shift;
    std::copy(input.begin(), input.end(), in);
    in[input.size()] = 0;
    VekSizeT len = 0;
    if (!fn(in, nullptr, 0, &len)) {
        std::vector<Out> out(2 * input.size() + 8);
        EXPECT_FALSE(fn(in, out.data(), out.size(), &len)) << "verdict depends on the output";
        return std::nullopt;
    }
    std::vector<Out> full(len + 1);
    EXPECT_TRUE(fn(in, full.data(), full.size(), &len));
    full.pop_back();
    const std::size_t n = full.size();
    for (std::size_t size : {std::size_t{0}, std::size_t{1}, n / 2, n / 2 + 1, n, n + 1, n + 9})
        CheckAtSize(fn, in, full, size);
    for (std::size_t size = 2; n < 24 && size < n; ++size)
        CheckAtSize(fn, in, full, size);
    return full;
}

// Both must give the expected outcome.
template <class In, class Out>
void ExpectConverts(const Paths<In, Out>& paths, const std::vector<In>& input,
                    const Converted<Out>& expected, std::size_t shift = 0)
{
    EXPECT_EQ(ConvertChecked(paths.public_fn, input, shift), expected) << "public function";
    EXPECT_EQ(ConvertChecked(paths.scalar, input, shift), expected) << "scalar code";
}

Utf8 Bytes(const char* s)
{
    return Utf8(s, s + std::char_traits<char>::length(s));
}

// The limits of every length class, a fact that holds without any oracle.
TEST(Utf8Codec, EncodesEachLengthClassAndItsLimits)
{
    const Ucs4 text = {0x41, 0x7F, 0x80, 0x7FF, 0x800, 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x10FFFF};
    const Utf8 utf8 = Bytes("A\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
                            "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
    const Utf16 utf16 = {0x41,   0x7F,   0x80,   0x7FF,  0x800,  0xD7FF,
                         0xE000, 0xFFFF, 0xD800, 0xDC00, 0xDBFF, 0xDFFF};
    ExpectConverts(kEncode, text, Converted<char>(utf8));
    ExpectConverts(kEncodeUtf16, utf16, Converted<char>(utf8));
    ExpectConverts(kDecode, utf8, Converted<VekUint16>(utf16));
    ExpectConverts(kEncode, {}, Converted<char>(Utf8{}));
}

// A unit that is no character refuses the text wherever it stands, the
// boundary values included, also deep inside text that vectors take; so
// does a surrogate half without its partner.
TEST(Utf8Codec, RefusesEveryUnitThatIsNoCharacter)
{
    for (VekWideChar bad : {0xD800u, 0xDFFFu, 0x110000u, 0x11FFFFu, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        for (std::size_t at : {0, 15, 16, 40, 63}) {
            SCOPED_TRACE(testing::Message() << std::hex << bad << " at " << std::dec << at);
            Ucs4 text(64, 0x20AC);
            text[at] = bad;
            ExpectConverts(kEncode, text, Converted<char>(), at % 5);
        }
    }
    // A high surrogate whose low half comes only after whole blocks of
    // ASCII is unpaired, wherever the blocks begin.
    Utf16 split(7, 'a');
    split.push_back(0xD800);
    split.insert(split.end(), 32, 'a');
    split.push_back(0xDC00);
    split.insert(split.end(), 16, 'a');
    for (std::size_t shift = 0; shift < 16; ++shift)
        ExpectConverts(kEncodeUtf16, split, Converted<char>(), shift);
}

#if defined(VEK_TEST_HAVE_ICU)

// IcuConvert runs an ICU conversion twice, measuring first.
template <class Out, class Call> Converted<Out> IcuConvert(Call call)
{
    UErrorCode err = U_ZERO_ERROR;
    int32_t len = 0;
    call(nullptr, 0, &len, &err);
    if (err != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(err))
        return std::nullopt;
    std::vector<Out> out(static_cast<std::size_t>(len) + 1);
    err = U_ZERO_ERROR;
    call(out.data(), len + 1, &len, &err);
    if (U_FAILURE(err))
        return std::nullopt;
    out.resize(static_cast<std::size_t>(len));
    return out;
}

Converted<char> IcuEncodeUtf16(const Utf16& in)
{
    return IcuConvert<char>([&](char* d, int32_t cap, int32_t* len, UErrorCode* err) {
        u_strToUTF8(d, cap, len, in.data(), static_cast<int32_t>(in.size()), err);
    });
}

Converted<VekUint16> IcuFromUcs4(const Ucs4& in)
{
    return IcuConvert<VekUint16>([&](VekUint16* d, int32_t cap, int32_t* len, UErrorCode* err) {
        const auto* units = reinterpret_cast<const UChar32*>(in.data());
        u_strFromUTF32(d, cap, len, units, static_cast<int32_t>(in.size()), err);
    });
}

Converted<char> IcuEncode(const Ucs4& in)
{
    const Converted<VekUint16> utf16 = IcuFromUcs4(in);
    return utf16 ? IcuEncodeUtf16(*utf16) : std::nullopt;
}

Converted<VekUint16> IcuDecode(const Utf8& in)
{
    return IcuConvert<VekUint16>([&](VekUint16* d, int32_t cap, int32_t* len, UErrorCode* err) {
        u_strFromUTF8(d, cap, len, in.data(), static_cast<int32_t>(in.size()), err);
    });
}

// Random text has characters of every UTF-8 length, alone and in runs, and
// ASCII runs long enough for whole blocks; then one defect anywhere must
// refuse all of it.
TEST(Utf8CodecOracle, RandomTextAgreesWithIcu)
{
    std::mt19937 rng(20240611);
    auto below = [&](std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng);
    };
    auto spoil = [&](auto* text, auto bad) {
        text->insert(text->begin() + below(text->size() + 1), bad);
    };
    static const VekWideChar kFirst[] = {0x01, 0x80, 0x800, 0xE000, 0x10000};
    static const VekWideChar kLast[] = {0x7F, 0x7FF, 0xD7FF, 0xFFFF, 0x10FFFF};
    for (int round = 0; round < 3000; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        auto character = [&](std::size_t cls) {
            return std::uniform_int_distribution<VekWideChar>(kFirst[cls], kLast[cls])(rng);
        };
        Ucs4 ucs4;
        for (std::size_t n = below(12); n > 0; --n) {
            const std::size_t cls = below(7);
            if (cls == 5)
                ucs4.insert(ucs4.end(), below(50), static_cast<VekWideChar>(0x20 + below(0x5F)));
            else if (cls == 6)
                std::generate_n(std::back_inserter(ucs4), below(40),
                                [&] { return character(1 + below(4)); });
            else
                ucs4.push_back(character(cls));
        }
        Utf16 utf16 = *IcuFromUcs4(ucs4);
        Utf8 utf8 = *IcuEncode(ucs4);
        for (int spoilt = 0; spoilt < 2; ++spoilt) {
            const std::size_t shift = below(16);
            ExpectConverts(kEncode, ucs4, IcuEncode(ucs4), shift);
            ExpectConverts(kEncodeUtf16, utf16, IcuEncodeUtf16(utf16), shift);
            ExpectConverts(kDecode, utf8, IcuDecode(utf8), shift);
            const VekWideChar surrogate = static_cast<VekWideChar>(0xD800 + below(0x800));
            spoil(&ucs4, below(2) ? surrogate : 0x110000u + VekWideChar(below(0xFFEF0000u)));
            spoil(&utf16, static_cast<VekUint16>(surrogate));
            spoil(&utf8, static_cast<char>(0x80 + below(0x80)));
        }
        utf8.resize(below(utf8.size()));
        ExpectConverts(kDecode, utf8, IcuDecode(utf8));
    }
}

// Every surrogate code unit alone, before, behind and paired with another.
TEST(Utf8CodecOracle, EverySurrogateFormAgreesWithIcu)
{
    for (VekWideChar s = 0xD800; s <= 0xDFFF; ++s) {
        ExpectConverts(kEncode, {0x61, s}, IcuEncode({0x61, s}));
        const VekUint16 u = static_cast<VekUint16>(s);
        for (const Utf16& text : {Utf16{u}, Utf16{u, 0x61}, Utf16{0x61, u}, Utf16{u, 0xD800},
                                  Utf16{u, 0xDC00}, Utf16{0xDBFF, u}})
            ExpectConverts(kEncodeUtf16, text, IcuEncodeUtf16(text));
    }
}

// Every lead byte that is not ASCII, followed by up to three bytes from each
// side of every boundary a continuation byte can have (and the terminator).
TEST(Utf8CodecOracle, MalformedUtf8AgreesWithIcu)
{
    const char kTrail[] = {'\0', '\x7F', '\x80', '\x8F', '\x90', '\x9F', '\xA0', '\xBF', '\xC0'};
    for (int lead = 0x80; lead <= 0xFF; ++lead) {
        for (char b1 : kTrail) {
            for (char b2 : kTrail) {
                for (char b3 : kTrail) {
                    Utf8 text = {static_cast<char>(lead), b1, b2, b3};
                    const auto end = std::find(text.begin(), text.end(), '\0');
                    if (std::any_of(end, text.end(), [](char b) { return b != '\0'; }))
                        continue; // the same text as one already tried
                    text.erase(end, text.end());
                    const Converted<VekUint16> expected = IcuDecode(text);
                    ASSERT_EQ(ConvertChecked(kDecode.public_fn, text, 0), expected);
                    ASSERT_EQ(ConvertChecked(kDecode.scalar, text, 0), expected);
                }
            }
        }
    }
}

#endif // VEK_TEST_HAVE_ICU

} // namespace
