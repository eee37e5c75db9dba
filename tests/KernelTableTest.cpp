// Every kernel this build compiles in, held to plain code. The string
// module's rows (hash, substring and set searches) must give the results of
// the hash's definition and of std::string_view on random bytes over small
// alphabets, where matches, near misses and periodic runs are common. The
// codec's rows must give the scalar row's verdict, length and output on
// random text of every character class, now and then spoilt by a unit that
// is no character, at every alignment within a block and at output sizes
// around the result's. Inputs and outputs sit in heap blocks of their exact
// size (a codec input with the rest of its last 64-byte block, which the
// codec may read), so the sanitizers see any access beyond them.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "VekTestSupport.h"
#include "codec/VekUtf8Kernels.h"
#include "string/VekStringKernels.h"

namespace {

std::mt19937_64 rng(14);

std::size_t Below(std::size_t n)
{
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng);
}

// Bytes over one of a few alphabets; the extreme bytes 0x7f and 0x80 make
// the largest and smallest partial sums of the hash kernels.
std::string Bytes(std::size_t len)
{
    static const std::string_view kAlphabets[] = {
        "a", "ab", "abc", {"\x7f\x80\0\xff", 4}, "the quick brown fox"};
    const std::string_view alphabet = kAlphabets[Below(std::size(kAlphabets))];
    std::string s(len, ' ');
    for (char& c : s)
        c = alphabet[Below(alphabet.size())];
    return s;
}

VekSizeT HashDefinition(std::string_view s)
{
    VekSizeT hash = 0;
    for (char b : s)
        hash = hash * 33 + static_cast<VekSizeT>(static_cast<signed char>(b));
    return hash;
}

TEST(KernelTable, EveryStringKernelGivesTheDefinitionsResults)
{
    for (int round = 0; round < 3000; ++round) {
        std::string text = Bytes(Below(8) == 0 ? Below(3000) : Below(160));
        // A needle from the text, often with one byte changed into a near
        // miss, now and then planted again further on.
        std::string needle = Bytes(1 + Below(20));
        if (!text.empty() && Below(4) != 0) {
            const std::size_t at = Below(text.size());
            needle = text.substr(at, 1 + Below(std::min<std::size_t>(70, text.size() - at)));
        }
        if (Below(2) == 0)
            needle[Below(needle.size())] = 'b';
        if (needle.size() <= text.size() && Below(4) == 0)
            text.replace(text.size() - needle.size() - Below(text.size() - needle.size() + 1),
                         needle.size(), needle);
        const std::string set = Bytes(Below(7));
        const std::vector<char> block(text.begin(), text.end());
        const char* buf = block.data();
        const VekSizeT len = block.size();
        const std::string_view view(buf, len);
        SCOPED_TRACE(testing::Message() << "round " << round << ", text of " << len << " bytes");
        for (const StringKernels& k : kStringKernels) {
            if (!k.usable())
                continue;
            SCOPED_TRACE(k.name);
            EXPECT_EQ(k.hash(buf, len), HashDefinition(view));
            if (len == 0)
                continue;
            const VekSizeT from = Below(2) == 0 ? 0 : Below(len);
            const VekSizeT start = Below(2) == 0 ? len - 1 : Below(len);
            EXPECT_EQ(k.find(buf, len, from, needle.data(), needle.size()),
                      vektest::StdPos(view.find(needle, from)));
            if (needle.size() >= 2 && needle.size() <= len) {
                const VekSizeT r = std::min(start, len - needle.size());
                EXPECT_EQ(k.rfind(buf, r, needle.data(), needle.size()),
                          vektest::StdPos(view.rfind(needle, r)));
            }
            EXPECT_EQ(k.first_of(buf, len, from, set.data(), set.size()),
                      vektest::StdPos(view.find_first_of(set, from)));
            EXPECT_EQ(k.first_not_of(buf, len, from, set.data(), set.size()),
                      vektest::StdPos(view.find_first_not_of(set, from)));
            EXPECT_EQ(k.last_of(buf, start, set.data(), set.size()),
                      vektest::StdPos(view.find_last_of(set, start)));
            EXPECT_EQ(k.last_not_of(buf, start, set.data(), set.size()),
                      vektest::StdPos(view.find_last_not_of(set, start)));
        }
    }
}

// Code points in runs: ASCII, then characters of the other length classes,
// so that blocks, windows, runs encoded in registers and surrogate pairs
// across block boundaries all occur.
std::vector<VekWideChar> CodePoints(std::size_t runs)
{
    static const VekWideChar kFirst[] = {0x01, 0x80, 0x800, 0xE000, 0x10000};
    static const VekWideChar kLast[] = {0x7F, 0x7FF, 0xD7FF, 0xFFFF, 0x10FFFF};
    std::vector<VekWideChar> text;
    for (; runs > 0; --runs) {
        const std::size_t cls = Below(2) == 0 ? 0 : Below(5);
        for (std::size_t n = Below(40); n > 0; --n)
            text.push_back(
                std::uniform_int_distribution<VekWideChar>(kFirst[cls], kLast[cls])(rng));
    }
    return text;
}

template <class In, class Out>
using Conversion = VekBool (*)(const In*, Out*, VekSizeT, VekSizeT*) noexcept;

// Outcome is what a conversion gives: nullopt when refused, else the length
// and the text written up to its terminator.
template <class Out> using Outcome = std::optional<std::pair<VekSizeT, std::vector<Out>>>;

template <class In, class Out>
Outcome<Out> Run(Conversion<In, Out> convert, const In* input, std::size_t size)
{
    std::vector<Out> out(size);
    VekSizeT len = 0;
    if (!convert(input, size == 0 ? nullptr : out.data(), size, &len))
        return std::nullopt;
    out.resize(std::find(out.begin(), out.end(), Out{0}) - out.begin());
    return std::make_pair(len, out);
}

// HoldToScalar converts units placed `shift` units past an aligned block,
// through every usable row, at output sizes around the whole result's.
template <class In, class Out>
void HoldToScalar(const std::vector<In>& units, std::size_t shift,
                  Conversion<In, Out> VekUtf8::Utf8Kernels::*conversion)
{
    const auto rows = VekUtf8::Utf8KernelTable();
    constexpr std::size_t kBlock = 64 / sizeof(In);
    std::vector<In> buffer(kBlock + shift + units.size() + 1 + kBlock, In{'A'});
    const std::size_t skew = (64 - reinterpret_cast<std::uintptr_t>(buffer.data()) % 64) % 64;
    In* const input = buffer.data() + skew / sizeof(In) + shift;
    std::copy(units.begin(), units.end(), input);
    input[units.size()] = 0;
    const Outcome<Out> whole = Run(rows[0].*conversion, input, 0);
    const std::size_t full = whole ? whole->first : 8;
    for (std::size_t size :
         {std::size_t{0}, std::size_t{1}, full / 2, full, full + 1, Below(full + 2)}) {
        const Outcome<Out> expected = Run(rows[0].*conversion, input, size);
        for (const VekUtf8::Utf8Kernels& row : rows.subspan(1)) {
            if (row.usable()) {
                EXPECT_EQ(Run(row.*conversion, input, size), expected)
                    << row.name << " at output size " << size;
            }
        }
    }
}

TEST(KernelTable, EveryCodecKernelGivesTheScalarResults)
{
    for (int round = 0; round < 1500; ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        std::vector<VekWideChar> ucs4 = CodePoints(Below(8));
        std::vector<VekUint16> utf16;
        std::vector<char> utf8;
        for (VekWideChar c : ucs4) {
            char bytes[5];
            VekUint16 units[3];
            VekSizeT n = 0;
            const VekWideChar one[] = {c, 0};
            VekUtf8::Utf8KernelTable()[0].encode(one, bytes, sizeof bytes, &n);
            utf8.insert(utf8.end(), bytes, bytes + n);
            VekUtf8::Utf8KernelTable()[0].decode_utf16(bytes, units, 3, &n);
            utf16.insert(utf16.end(), units, units + n);
        }
        if (Below(4) == 0) {
            ucs4.insert(ucs4.begin() + Below(ucs4.size() + 1), Below(2) ? 0xDC00 : 0x110000);
            utf16.insert(utf16.begin() + Below(utf16.size() + 1), 0xD800 + Below(0x800));
            utf8.insert(utf8.begin() + Below(utf8.size() + 1),
                        static_cast<char>(0x80 + Below(0x80)));
        }
        const std::size_t shift = Below(16);
        HoldToScalar(ucs4, shift, &VekUtf8::Utf8Kernels::encode);
        HoldToScalar(utf16, shift, &VekUtf8::Utf8Kernels::encode_utf16);
        HoldToScalar(utf8, shift, &VekUtf8::Utf8Kernels::decode_utf16);
    }
}

} // namespace
