// Facts about conversion that the operation model does not reach: UTF-16
// output, and what the CoreFoundation stand-in does with a loss byte and a
// buffer that ends inside a character.
#include "VekTestSupport.h"

#include <string>

namespace {

using vektest::RecordingAllocator;

TEST(WriteUtf16, PassesTheDecoderThroughUpToTheFirstNul)
{
    RecordingAllocator alloc;
    VekString s;
    VekStringConstructCStrLen(&s, "\xC3\xA9\0b", 4, alloc);
    VekUint16 out[4] = {9, 9, 9, 9};
    VekSizeT len = 0;
    ASSERT_TRUE(VekStringWriteUtf16(&s, out, 4, &len));
    EXPECT_EQ(len, 1u);
    EXPECT_EQ(out[0], 0xE9);
    EXPECT_EQ(out[1], 0);
    VekStringDestruct(&s);
    EXPECT_TRUE(alloc.IsClean());
}

// ------------------------------------------------------- CoreFoundation

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

#endif // !__APPLE__

} // namespace
