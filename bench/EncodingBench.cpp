// EncodingBench.cpp - W6: converting 1 MiB between UTF-8, UTF-16 and UCS-4.
// Measurement only for now.
//
// Two texts: the usual ASCII words, and the same words with every seventh
// character replaced in turn by a 2-, 3- or 4-byte character (e, euro sign,
// a CJK ideograph, an emoji, Greek alpha), so every branch of a codec runs.
// Into UTF-8 the library makes a string (construct, convert, destroy) while
// ICU and iconv write into a block the run allocates; out of UTF-8 everyone
// writes into one block allocated beforehand.
#include "Peers.h"

#include <cstdlib>
#include <cstring>
#include <vector>

#ifdef VEK_BENCH_HAVE_ICU
#include <unicode/ustring.h>
#endif
#if defined(__GLIBC__)
#include <iconv.h>
#define VEK_BENCH_HAVE_ICONV 1
#endif

namespace vekbench {
namespace {

struct Texts {
    std::string utf8;
    std::vector<VekUint16> utf16;  // zero-terminated
    std::vector<VekWideChar> ucs4; // zero-terminated
};

void AppendUtf8(std::string& out, VekWideChar c)
{
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

void AppendUtf16(std::vector<VekUint16>& out, VekWideChar c)
{
    if (c < 0x10000) {
        out.push_back(static_cast<VekUint16>(c));
    } else {
        out.push_back(static_cast<VekUint16>(0xD800 + ((c - 0x10000) >> 10)));
        out.push_back(static_cast<VekUint16>(0xDC00 + ((c - 0x10000) & 0x3FF)));
    }
}

// MakeTexts builds the three forms of 1 MiB of UTF-8.
Texts MakeTexts(bool mixed)
{
    static const VekWideChar wide[] = {0xE9, 0x20AC, 0x4E2D, 0x1F600, 0x3B1};
    const std::string& words = Text(kMiB);
    Texts t;
    for (std::size_t i = 0; t.utf8.size() < kMiB - 4; ++i) {
        const VekWideChar c = mixed && i % 7 == 6 ? wide[(i / 7) % std::size(wide)]
                                                  : static_cast<unsigned char>(words[i]);
        AppendUtf8(t.utf8, c);
        AppendUtf16(t.utf16, c);
        t.ucs4.push_back(c);
    }
    t.utf16.push_back(0);
    t.ucs4.push_back(0);
    return t;
}

const Texts& TextsOf(bool mixed)
{
    static const Texts ascii = MakeTexts(false);
    static const Texts mixed_text = MakeTexts(true);
    return mixed ? mixed_text : ascii;
}

const char* Kind(bool mixed)
{
    return mixed ? "mixed text" : "ASCII";
}

// IntoUtf8 runs a converter that writes into a block of the largest size the
// output can have, allocated by the run.
template <class Convert> std::uint64_t IntoUtf8(std::size_t max_bytes, Convert convert)
{
    char* out = static_cast<char*>(std::malloc(max_bytes));
    const std::uint64_t digest = Mix(out, convert(out));
    std::free(out);
    return digest;
}

// IntoVekString makes a string of wide text with assign, as a caller would.
template <class Unit>
std::uint64_t IntoVekString(VekString* (*assign)(VekString*, const Unit*), const Unit* text)
{
    VekBuilder b;
    assign(b.get(), text);
    return b.Digest();
}

// CopyUtf8 is the bound of the rows into UTF-8: the UTF-8 bytes copied once.
std::uint64_t CopyUtf8(const Texts& t)
{
    static std::string target(kMiB, '\0');
    std::memcpy(target.data(), t.utf8.data(), t.utf8.size());
    return Mix(target.data(), t.utf8.size());
}

#ifdef VEK_BENCH_HAVE_ICONV
// Iconv converts with glibc's iconv, the descriptor opened once per row.
struct Iconv {
    iconv_t cd;
    Iconv(const char* to, const char* from) : cd(iconv_open(to, from)) {}
    ~Iconv() { iconv_close(cd); }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;
    std::size_t Convert(const void* in, std::size_t in_bytes, char* out, std::size_t out_bytes)
    {
        char* src = static_cast<char*>(const_cast<void*>(in));
        char* dst = out;
        iconv(cd, nullptr, nullptr, nullptr, nullptr);
        iconv(cd, &src, &in_bytes, &dst, &out_bytes);
        return static_cast<std::size_t>(dst - out);
    }
};
#endif

void W6_Utf16ToUtf8(benchmark::State& state, bool mixed)
{
    const Texts& t = TextsOf(mixed);
    Row row(state, std::string("UTF-16 to UTF-8, ") + Kind(mixed), t.utf8.size());
    row.Library("VekString", [&] { return IntoVekString(VekStringAssignUtf16, t.utf16.data()); });
#ifdef VEK_BENCH_HAVE_ICU
    const std::size_t units = t.utf16.size() - 1;
    row.Peer("ICU u_strToUTF8", [&] {
        return IntoUtf8(3 * units + 1, [&](char* out) {
            int32_t len = 0;
            UErrorCode error = U_ZERO_ERROR;
            u_strToUTF8(out, static_cast<int32_t>(3 * units + 1), &len,
                        reinterpret_cast<const UChar*>(t.utf16.data()), static_cast<int32_t>(units),
                        &error);
            return static_cast<std::size_t>(len);
        });
    });
#endif
    row.Bound("memcpy", [&] { return CopyUtf8(t); });
    row.Run();
}

void W6_Utf8ToUtf16(benchmark::State& state, bool mixed)
{
    const Texts& t = TextsOf(mixed);
    const std::size_t units = t.utf16.size() - 1;
    VekString source;
    VekStringConstructCStrLen(&source, t.utf8.data(), t.utf8.size(), VekAllocatorGetDefault());
    std::vector<VekUint16> out(units + 1);
    auto digest = [&](std::size_t len) {
        return Mix(reinterpret_cast<const char*>(out.data()), 2 * len);
    };
    Row row(state, std::string("UTF-8 to UTF-16, ") + Kind(mixed), t.utf8.size());
    row.Library("VekString", [&] {
        VekSizeT len = 0;
        VekStringWriteUtf16(&source, out.data(), out.size(), &len);
        return digest(len);
    });
#ifdef VEK_BENCH_HAVE_ICU
    row.Peer("ICU u_strFromUTF8", [&] {
        int32_t len = 0;
        UErrorCode error = U_ZERO_ERROR;
        u_strFromUTF8(reinterpret_cast<UChar*>(out.data()), static_cast<int32_t>(out.size()), &len,
                      t.utf8.data(), static_cast<int32_t>(t.utf8.size()), &error);
        return digest(static_cast<std::size_t>(len));
    });
#endif
    std::vector<VekUint16> target(units);
    row.Bound("memcpy", [&] {
        std::memcpy(target.data(), t.utf16.data(), 2 * units);
        return Mix(reinterpret_cast<const char*>(target.data()), 2 * units);
    });
    row.Run();
    VekStringDestruct(&source);
}

void W6_Ucs4ToUtf8(benchmark::State& state, bool mixed)
{
    const Texts& t = TextsOf(mixed);
    Row row(state, std::string("UCS-4 to UTF-8, ") + Kind(mixed), t.utf8.size());
    row.Library("VekString", [&] { return IntoVekString(VekStringAssignUcs4, t.ucs4.data()); });
#ifdef VEK_BENCH_HAVE_ICONV
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    Iconv iconv_ucs4("UTF-8", "UTF-32BE");
#else
    Iconv iconv_ucs4("UTF-8", "UTF-32LE");
#endif
    const std::size_t in_bytes = 4 * (t.ucs4.size() - 1);
    row.Peer("glibc iconv", [&] {
        return IntoUtf8(in_bytes, [&](char* out) {
            return iconv_ucs4.Convert(t.ucs4.data(), in_bytes, out, in_bytes);
        });
    });
#endif
    row.Bound("memcpy", [&] { return CopyUtf8(t); });
    row.Run();
}

VEK_BENCH_CASE(W6_Utf16ToUtf8, Ascii, false);
VEK_BENCH_CASE(W6_Utf16ToUtf8, Mixed, true);
VEK_BENCH_CASE(W6_Utf8ToUtf16, Ascii, false);
VEK_BENCH_CASE(W6_Utf8ToUtf16, Mixed, true);
VEK_BENCH_CASE(W6_Ucs4ToUtf8, Ascii, false);
VEK_BENCH_CASE(W6_Ucs4ToUtf8, Mixed, true);

} // namespace
} // namespace vekbench
