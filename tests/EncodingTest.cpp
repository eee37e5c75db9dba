// Facts about conversion that the operation model does not reach: what the
// CoreFoundation stand-in does with a loss byte and a buffer that ends inside
// a character.
#include "VekTestSupport.h"

#include <climits>
#include <string>

namespace {

#if !defined(__APPLE__)

constexpr CFStringEncoding kUtf8 = kCFStringEncodingUTF8;

TEST(CoreFoundationStandIn, ConvertsWholeCharactersOnly)
{
    CFStringRef ascii = CFStringCreateWithCString(kCFAllocatorDefault, "abc", kUtf8);
    EXPECT_STREQ(CFStringGetCStringPtr(ascii, kUtf8), "abc");
    char text[4];
    EXPECT_FALSE(CFStringGetCString(ascii, text, 3, kUtf8)); // no room for the NUL
    ASSERT_TRUE(CFStringGetCString(ascii, text, 4, kUtf8));
    EXPECT_STREQ(text, "abc");
    EXPECT_EQ(CFStringCreateWithCString(kCFAllocatorDefault, "\xC3", kUtf8), nullptr);
    const UniChar units[] = {'a', 0xE9, 0xD800, 'b'};
    CFStringRef cf = CFStringCreateWithCharacters(kCFAllocatorDefault, units, 4);
    struct Case {
        UInt8 loss_byte;
        CFIndex max_len; // -1: no buffer, only measure
        CFIndex converted;
        std::string bytes;
    };
    for (const Case& c : {Case{0, -1, 2, "a\xC3\xA9"}, Case{'?', -1, 4, "a\xC3\xA9?b"},
                          Case{'?', 2, 1, "a"}, Case{'?', 9, 4, "a\xC3\xA9?b"}}) {
        UInt8 out[9] = {};
        CFIndex used = -1;
        UInt8* buffer = c.max_len < 0 ? nullptr : out;
        EXPECT_EQ(CFStringGetBytes(cf, CFRangeMake(0, 4), kUtf8, c.loss_byte, false, buffer,
                                   c.max_len, &used),
                  c.converted);
        EXPECT_EQ(used, static_cast<CFIndex>(c.bytes.size()));
        EXPECT_EQ(std::string(reinterpret_cast<char*>(out), buffer ? c.bytes.size() : 0),
                  buffer ? c.bytes : "");
    }
    CFRelease(cf);
    CFRelease(ascii);
}

// What the stand-in refuses or treats apart: another encoding, a length
// below zero or beyond any block, U+0000 (a character to it), a high
// surrogate that ends the range, no room for even the NUL, and callers that
// want no length back.
TEST(CoreFoundationStandIn, RefusalsAndEdges)
{
    constexpr CFStringEncoding kOther = 0;
    const UniChar units[] = {'a', 0, 0xD83D, 0xDE00};
    char text[8] = {};
    UInt8 out[8] = {};
    EXPECT_EQ(CFStringCreateWithCString(kCFAllocatorDefault, "abc", kOther), nullptr);
    EXPECT_EQ(CFStringCreateWithCharacters(kCFAllocatorDefault, units, -1), nullptr);
    EXPECT_EQ(CFStringCreateWithCharacters(kCFAllocatorDefault, units, LONG_MAX), nullptr);
    CFRelease(nullptr);
    CFStringRef wide = CFStringCreateWithCString(kCFAllocatorDefault, "\xC3\xA9", kUtf8);
    EXPECT_EQ(CFStringGetCStringPtr(wide, kUtf8), nullptr);
    EXPECT_TRUE(CFStringGetCString(wide, text, 3, kUtf8));
    EXPECT_STREQ(text, "\xC3\xA9");
    EXPECT_EQ(CFStringGetCStringPtr(wide, kOther), nullptr);
    EXPECT_FALSE(CFStringGetCString(wide, text, 8, kOther));
    EXPECT_FALSE(CFStringGetCString(wide, text, 0, kUtf8));
    CFRelease(wide);
    CFStringRef cf = CFStringCreateWithCharacters(kCFAllocatorDefault, units, 4);
    EXPECT_EQ(CFStringGetBytes(cf, CFRangeMake(0, 4), kOther, 0, false, out, 8, nullptr), 0);
    EXPECT_EQ(CFStringGetBytes(cf, CFRangeMake(0, 3), kUtf8, '?', false, out, 8, nullptr), 3);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 3), std::string("a\0?", 3));
    CFRelease(cf);
}

#endif // !__APPLE__

} // namespace
