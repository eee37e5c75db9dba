// VekStringEncoding.cpp - conversion between the string's UTF-8 and UCS-4,
// UTF-16 and CoreFoundation strings.
//
// The codec measures and converts in the same call, so every conversion into
// the string first goes straight into the room the string already has. Only
// when the codec reports a longer result does the string grow, through
// VekStringReserve to exactly that length, and convert a second time into the
// new block: no scratch buffer, no separate measuring pass when the text fits,
// no doubling. The UCS-4 and UTF-16 functions share one assigning and one
// appending worker, instantiated with the codec entry point for their input.
//
// The CoreFoundation bridge takes the framework's own UTF-8 text when it is
// offered; otherwise it measures, makes room, and has the framework convert
// into the buffer.
#include <climits>

#include "Vek/Utils/VekUtf8Encoding.h"
#include "string/VekStringPrivate.h"

// The largest byte count the CoreFoundation interface can express.
static constexpr VekSizeT kMaxCFIndex = static_cast<VekSizeT>(LONG_MAX);

template <class Unit>
using Utf8Encoder = VekBool (*)(const Unit* input, char* output, VekSizeT outputSize,
                                VekSizeT* outputLen) noexcept;

// StringFailKeepingSize ends a failed conversion that keeps the size. An
// attempt may have written over the terminator, so it is written again.
static inline VekString* StringFailKeepingSize(VekString* x)
{
    StringSetSize(x, x->size);
    return nullptr;
}

// StringFailEmptied ends an assignment whose input the codec refused: the
// string is left empty, its buffer kept.
static inline VekString* StringFailEmptied(VekString* x)
{
    StringSetSize(x, 0);
    return nullptr;
}

// StringDoAssignEncoded replaces the content by the UTF-8 form of input. The
// first attempt may use the whole owned block, terminator slot included; an
// unowned buffer offers no room, so the attempt only measures.
template <class Unit, Utf8Encoder<Unit> encode>
static VekString* StringDoAssignEncoded(VekString* x, const Unit* input)
{
    const VekSizeT capacityWithNul = x->capacity != 0 ? x->capacity + 1 : 0;
    VekSizeT utf8Len = 0;
    if (!encode(input, x->buf, capacityWithNul, &utf8Len))
        return StringFailEmptied(x);
    // Converted in place; unowned, this is only the empty result.
    if (utf8Len <= x->capacity) {
        StringSetSize(x, utf8Len);
        return x;
    }
    if (!VekStringReserve(x, utf8Len))
        return StringFailKeepingSize(x);
    // The codec gives the same verdict on the same input, so a second attempt
    // after an accepted first one is never refused.
    if (!encode(input, x->buf, x->capacity + 1, &utf8Len)) // GCOVR_EXCL_BR_LINE
        return StringFailEmptied(x);
    StringSetSizeNoCheck(x, utf8Len);
    return x;
}

// StringDoAppendEncoded appends the UTF-8 form of input behind the content;
// the room of an attempt is what the block holds behind the content.
template <class Unit, Utf8Encoder<Unit> encode>
static VekString* StringDoAppendEncoded(VekString* x, const Unit* input)
{
    const VekSizeT remainingCapacity = x->capacity != 0 ? x->capacity - x->size : 0;
    const VekSizeT remainingCapacityWithNul = x->capacity != 0 ? remainingCapacity + 1 : 0;
    VekSizeT utf8Len = 0;
    if (!encode(input, VekStringGetBuffer(x), remainingCapacityWithNul, &utf8Len))
        return StringFailKeepingSize(x);
    if (utf8Len <= remainingCapacity) {
        StringSetSize(x, x->size + utf8Len);
        return x;
    }
    VekSizeT new_size = 0;
    if (!StringAddSizes(x->size, utf8Len, &new_size) || !VekStringReserve(x, new_size))
        return StringFailKeepingSize(x);
    // Never refused after an accepted first attempt, as when assigning.
    const VekSizeT room = x->capacity - x->size + 1;
    if (!encode(input, VekStringGetBuffer(x), room, &utf8Len)) // GCOVR_EXCL_BR_LINE
        return StringFailKeepingSize(x);
    StringSetSizeNoCheck(x, x->size + utf8Len);
    return x;
}

VekString* VekStringAssignUcs4(VekString* x, const VekWideChar* ucs4) noexcept
{
    return StringDoAssignEncoded<VekWideChar, VekUtf8Encode>(x, ucs4);
}

VekString* VekStringAssignUtf16(VekString* x, const VekUint16* utf16) noexcept
{
    return StringDoAssignEncoded<VekUint16, VekUtf8EncodeUtf16>(x, utf16);
}

VekString* VekStringConstructUcs4(VekString* x, const VekWideChar* ucs4, VekAllocator* a) noexcept
{
    VekStringConstructDefault(x, a);
    return VekStringAssignUcs4(x, ucs4);
}

VekString* VekStringConstructUtf16(VekString* x, const VekUint16* utf16, VekAllocator* a) noexcept
{
    VekStringConstructDefault(x, a);
    return VekStringAssignUtf16(x, utf16);
}

VekString* VekStringAppendUcs4(VekString* x, const VekWideChar* ucs4) noexcept
{
    return StringDoAppendEncoded<VekWideChar, VekUtf8Encode>(x, ucs4);
}

VekString* VekStringAppendUtf16(VekString* x, const VekUint16* utf16) noexcept
{
    return StringDoAppendEncoded<VekUint16, VekUtf8EncodeUtf16>(x, utf16);
}

// The decoder reads the content as a C string, so an embedded NUL ends it.
VekBool VekStringWriteUtf16(const VekString* x, VekUint16* output, VekSizeT outputSize,
                            VekSizeT* outputLen) noexcept
{
    return VekUtf8DecodeUtf16(x->buf, output, outputSize, outputLen);
}

// Fast road: the framework's own UTF-8 text, assigned as a C string. Slow
// road: measure the UTF-8 length of the whole string, make the capacity at
// least that (exactly that when it must grow), clear, and let the framework
// convert into the whole block. The size is the measured length; a string
// that converts nothing, the empty one included, is refused unchanged.
VekString* VekStringAssignFromCFString(VekString* x, CFStringRef cfStr) noexcept
{
    const char* content = CFStringGetCStringPtr(cfStr, kCFStringEncodingUTF8);
    if (content != nullptr)
        return VekStringAssignCStr(x, content);
    CFIndex length = 0;
    const CFRange whole = CFRangeMake(0, CFStringGetLength(cfStr));
    if (CFStringGetBytes(cfStr, whole, kCFStringEncodingUTF8, 0, false, nullptr, 0, &length) <= 0)
        return nullptr;
    const VekSizeT utf8_len = static_cast<VekSizeT>(length);
    if (VekStringCapacity(x) < utf8_len && !VekStringReserve(x, utf8_len))
        return nullptr;
    VekStringClear(x);
    // The framework counts in a signed CFIndex; a block larger than it can
    // count is offered only as far as it can count, which holds utf8_len.
    const VekSizeT room = VekMinimum__VekSizeT(VekStringCapacity(x) + 1, kMaxCFIndex);
    const CFIndex buffer_size = static_cast<CFIndex>(room);
    if (!CFStringGetCString(cfStr, VekStringGetBuffer(x), buffer_size, kCFStringEncodingUTF8)) {
        // The framework may have written into the block; the string stays empty.
        StringSetSizeNoCheck(x, 0);
        return nullptr;
    }
    VekStringReleaseBuffer(x, utf8_len);
    return x;
}
