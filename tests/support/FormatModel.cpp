// FormatModel.cpp - drawing formats and holding the formatter to vsnprintf.
#include "FormatModel.h"

#include <cstdarg>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "Vek/Utils/VekStdCLib.h"
#include "VekTestSupport.h"

namespace vektest {

namespace {

// The ends of every integer type, and digits that carry.
constexpr std::uint64_t kNumbers[] = {
    0,    1,          9,          10,         99,         100,        0x7F,          0x80,
    0xFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 1ULL << 32, ~0ULL >> 1, ~(~0ULL >> 1), ~0ULL};
// Wide characters for %lc: ASCII, NUL, and ones the C locale cannot encode.
constexpr std::uint64_t kWideChars[] = {'A', 0, 0xE9, 0x141, 0x20AC, 0xD800, 0xFFFFFFFF};
const wchar_t* const kWideStrings[] = {L"wide", L"", L"caf\u00e9", L"a\xD800"};

std::uint64_t Number(Choices& in)
{
    return in.OneIn(2) ? kNumbers[in.Below(std::size(kNumbers))] : in.Below(~0ULL);
}

// AddConversion appends one conversion and the words it reads, at most three.
void AddConversion(Choices& in, Format* f, int* used)
{
    static constexpr std::string_view kConversions = "diuxXcsop";
    static const char* const kLengths[] = {"", "l", "ll", "z", "h", "hh", "j", "t"};
    const char conversion = kConversions[in.Below(kConversions.size())];
    std::string directive = "%";
    if (in.OneIn(2)) {
        for (const char flag : std::string_view("-+ #0")) {
            if (in.OneIn(5))
                directive += flag;
        }
        if (in.OneIn(2))
            directive += std::to_string(in.Below(40));
        else if (in.OneIn(2)) {
            directive += '*';
            f->words[(*used)++] = in.Below(81) - 40;
        }
        if (in.OneIn(3))
            directive += "." + std::to_string(in.Below(40));
        else if (in.OneIn(3)) {
            directive += ".*";
            f->words[(*used)++] = in.Below(44) - 3;
        }
    }
    const bool wide = (conversion == 'c' || conversion == 's') && in.OneIn(3);
    if (wide)
        directive += 'l';
    else if (conversion != 'c' && conversion != 's' && conversion != 'p')
        directive += kLengths[in.Below(std::size(kLengths))];
    f->text += directive + conversion;
    FormatWord& word = f->words[(*used)++];
    if (conversion == 's' && wide) {
        word = reinterpret_cast<std::uintptr_t>(
            f->wide.emplace_back(kWideStrings[in.Below(std::size(kWideStrings))]).c_str());
    } else if (conversion == 's') {
        std::string text = in.Bytes(16);
        std::erase(text, '\0');
        word = in.OneIn(8)
                   ? 0
                   : reinterpret_cast<std::uintptr_t>(f->strings.emplace_back(text).c_str());
    } else if (wide) {
        word = static_cast<FormatWord>(kWideChars[in.Below(std::size(kWideChars))]);
    } else {
        const std::uint64_t number = Number(in);
        word = static_cast<FormatWord>(number);
        const std::string_view length(directive);
        if (kWordsPer64Bits == 2 && (length.ends_with("ll") || length.ends_with("j")))
            f->words[(*used)++] = static_cast<FormatWord>(number >> 32);
    }
}

VekSizeT SNPrintf(char* buf, VekSizeT size, const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const VekSizeT r = VekVSNPrintf(buf, size, fmt, args);
    va_end(args);
    return r;
}

} // namespace

Format DrawFormat(Choices& in)
{
    Format f;
    int used = 0;
    for (std::uint64_t pieces = in.Below(7); pieces > 0; --pieces) {
        switch (in.Below(5)) {
        case 0: { // text, often letters a conversion could swallow
            static constexpr std::string_view kText = "dilxXzcs.*-+ #09ab\xff";
            for (std::uint64_t n = 1 + in.Below(5); n > 0; --n)
                f.text += kText[in.Below(kText.size())];
            break;
        }
        case 1:
            f.text += "%%";
            break;
        default:
            if (used + 3 * kWordsPer64Bits <= kFormatWords)
                AddConversion(in, &f, &used);
        }
    }
    return f;
}

std::optional<std::string> Oracle(const Format& f)
{
    const int length = std::snprintf(nullptr, 0, VEK_FORMAT_ARGS(f));
    if (length < 0)
        return std::nullopt;
    std::string out(static_cast<std::size_t>(length) + 1, '\0');
    std::snprintf(out.data(), out.size(), VEK_FORMAT_ARGS(f));
    out.pop_back();
    return out;
}

void CheckFormatter(const Format& f, Report report)
{
    const std::optional<std::string> want = Oracle(f);
    const VekSizeT length = want ? want->size() : 0;
    const VekSizeT result = want ? length : VekStringNpos;
    if (SNPrintf(nullptr, 0, VEK_FORMAT_ARGS(f)) != result)
        return report("measuring " + Quote(f.text) + " gave a wrong length");
    // Every room up to 16 and around the output's length.
    for (VekSizeT room = 0; room <= length + 2;
         room = room < 16 || room + 3 > length ? room + 1 : length - 2) {
        std::string got(room + 8, '#'), ref = got;
        const VekSizeT r = SNPrintf(got.data(), room, VEK_FORMAT_ARGS(f));
        bool same = r == result;
        if (want) {
            std::snprintf(ref.data(), room, VEK_FORMAT_ARGS(f));
            same = same && got == ref;
        } else { // the C library failed: only the first byte is promised
            same = same && (room == 0 || got[0] == '\0') && got.compare(room, 8, ref, room, 8) == 0;
        }
        if (!same)
            return report("VekVSNPrintf with room " + std::to_string(room) + " for " +
                          Quote(f.text) + " gave " + std::to_string(r) + " and " + Quote(got) +
                          ", want " + std::to_string(result) + " and " + Quote(ref));
    }
}

} // namespace vektest
