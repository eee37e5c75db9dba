// VekCoreFoundation.cpp - the stand-in for CoreFoundation strings off Apple.
//
// A string is one block from the layer's default allocator: a small header,
// then the text and a zero unit. Text made from an all-ASCII C string is kept
// as those bytes, so that CFStringGetCStringPtr can hand them out; all other
// text is kept as UTF-16 units, which need not be valid UTF-16 (unpaired
// surrogates are kept as given). Conversion back to UTF-8 goes one character
// at a time through the layer's codec, which is what lets CFStringGetBytes
// stop cleanly before a character it cannot convert or that does not fit.
#include "Vek/Utils/SysDep/VekCoreFoundation.h"

#include "Vek/Utils/VekAllocator.h"
#include "Vek/Utils/VekStdCLib.h"
#include "Vek/Utils/VekUtf8Encoding.h"

struct VekCFStringS_ {
    CFIndex length;     // UTF-16 units; for 8-bit text also its bytes
    VekSizeT blockSize; // the block's byte count, for its release
    bool is8Bit;        // text is ASCII bytes rather than UTF-16 units
};

const CFAllocatorRef kCFAllocatorDefault = nullptr;

namespace {

// The longest UTF-8 form of one character; buffers for one add the codec's NUL.
constexpr VekSizeT kMaxCharacterBytes = 4;

VekCFStringS_* MutableString(CFStringRef s)
{
    return const_cast<VekCFStringS_*>(s);
}

char* Bytes(CFStringRef s)
{
    return reinterpret_cast<char*>(MutableString(s) + 1);
}

UniChar* Units(CFStringRef s)
{
    return reinterpret_cast<UniChar*>(MutableString(s) + 1);
}

UniChar UnitAt(CFStringRef s, CFIndex i)
{
    return s->is8Bit ? static_cast<unsigned char>(Bytes(s)[i]) : Units(s)[i];
}

// NewString allocates a string of length units of the given width, with room
// for a zero unit behind them.
VekCFStringS_* NewString(CFIndex length, bool is8Bit)
{
    const VekSizeT unit_size = is8Bit ? 1 : sizeof(UniChar);
    // A length whose block size would not fit the default allocator's limit
    // is refused before the size is computed, so the size cannot wrap.
    const VekSizeT max_units =
        (VekAllocatorGetDefault()->maxSize - sizeof(VekCFStringS_)) / unit_size;
    if (static_cast<VekSizeT>(length) >= max_units)
        return nullptr;
    const VekSizeT block_size =
        sizeof(VekCFStringS_) + (static_cast<VekSizeT>(length) + 1) * unit_size;
    void* block = VekAllocatorAllocate(VekAllocatorGetDefault(), block_size);
    if (block == nullptr)
        return nullptr;
    VekCFStringS_* s = static_cast<VekCFStringS_*>(block);
    *s = VekCFStringS_{length, block_size, is8Bit};
    return s;
}

// CharacterToUtf8 converts the character at unit i (a surrogate pair when
// both halves lie before end) into out and returns the units it took, or 0
// for an unpaired surrogate. U+0000 is a character here, though not to the
// codec, whose input it would end.
CFIndex CharacterToUtf8(CFStringRef s, CFIndex i, CFIndex end, char* out, VekSizeT* len)
{
    VekUint16 character[3] = {UnitAt(s, i), 0, 0};
    if (character[0] == 0) {
        out[0] = '\0';
        *len = 1;
        return 1;
    }
    const bool high_surrogate = (character[0] & 0xFC00u) == 0xD800u;
    if (high_surrogate && i + 1 < end)
        character[1] = UnitAt(s, i + 1);
    if (!VekUtf8EncodeUtf16(character, out, kMaxCharacterBytes + 1, len))
        return 0;
    return high_surrogate ? 2 : 1;
}

} // namespace

CFStringRef CFStringCreateWithCString(CFAllocatorRef /*alloc*/, const char* cStr,
                                      CFStringEncoding encoding)
{
    VekSizeT units = 0;
    if (encoding != kCFStringEncodingUTF8 || !VekUtf8DecodeUtf16(cStr, nullptr, 0, &units))
        return nullptr;
    // Every non-ASCII character takes more UTF-8 bytes than UTF-16 units.
    const VekSizeT byte_len = VekStrLen(cStr);
    const bool is8Bit = units == byte_len;
    VekCFStringS_* s = NewString(static_cast<CFIndex>(units), is8Bit);
    if (s == nullptr)
        return nullptr;
    if (is8Bit)
        VekMemCpy(Bytes(s), cStr, byte_len + 1);
    else
        VekUtf8DecodeUtf16(cStr, Units(s), units + 1, &units);
    return s;
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef /*alloc*/, const UniChar* chars,
                                         CFIndex numChars)
{
    if (numChars < 0)
        return nullptr;
    VekCFStringS_* s = NewString(numChars, false);
    if (s == nullptr)
        return nullptr;
    if (numChars != 0)
        VekMemCpy(Units(s), chars, static_cast<VekSizeT>(numChars) * sizeof(UniChar));
    Units(s)[numChars] = 0;
    return s;
}

void CFRelease(CFTypeRef cf)
{
    if (cf == nullptr)
        return;
    VekCFStringS_* s = MutableString(static_cast<CFStringRef>(cf));
    VekAllocatorDeallocate(VekAllocatorGetDefault(), s, s->blockSize);
}

CFIndex CFStringGetLength(CFStringRef theString)
{
    return theString->length;
}

const char* CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding)
{
    if (encoding != kCFStringEncodingUTF8 || !theString->is8Bit)
        return nullptr;
    return Bytes(theString);
}

CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean /*isExternalRepresentation*/, UInt8* buffer,
                         CFIndex maxBufLen, CFIndex* usedBufLen)
{
    const CFIndex end = range.location + range.length;
    CFIndex i = range.location;
    CFIndex used = 0;
    while (encoding == kCFStringEncodingUTF8 && i < end) {
        char bytes[kMaxCharacterBytes + 1];
        VekSizeT len = 0;
        CFIndex units = CharacterToUtf8(theString, i, end, bytes, &len);
        if (units == 0 && lossByte == 0)
            break;
        if (units == 0) {
            bytes[0] = static_cast<char>(lossByte);
            len = 1;
            units = 1;
        }
        if (buffer != nullptr && maxBufLen - used < static_cast<CFIndex>(len))
            break;
        if (buffer != nullptr)
            VekMemCpy(buffer + used, bytes, len);
        used += static_cast<CFIndex>(len);
        i += units;
    }
    if (usedBufLen != nullptr)
        *usedBufLen = used;
    return i - range.location;
}

Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding)
{
    if (encoding != kCFStringEncodingUTF8 || bufferSize <= 0)
        return false;
    CFIndex used = 0;
    const CFIndex converted =
        CFStringGetBytes(theString, CFRangeMake(0, theString->length), encoding, 0, false,
                         reinterpret_cast<UInt8*>(buffer), bufferSize - 1, &used);
    if (converted != theString->length)
        return false;
    buffer[used] = '\0';
    return true;
}
