// VekString.hpp - vek::String, the C++ face of VekString.
//
// vek::String owns one VekString record and forwards to the C API: the same
// storage (an allocator you choose, exact byte counts, binary content with a
// terminating NUL), the same aliasing guarantees (an operand may be the
// string's own bytes), the same growth. What it adds is what C++ users expect:
// RAII, std::string_view interop, std::string-like names, and exceptions.
//
//     vek::String s("hello");
//     s += ", world";
//     s.replace(0, 5, "goodbye");
//     s.append(std::string_view(s).substr(0, 7));     // its own bytes: fine
//     std::u16string wide = s.to_utf16();
//     auto report = vek::String::format("%d items", 3);
//
// Failures throw and leave the string unchanged: std::bad_alloc when the
// allocator refuses (its limit or a NULL from allocate), std::out_of_range for
// a position beyond the end, std::range_error for text that is not valid
// Unicode. The C functions underneath never throw, so no exception ever
// crosses into C code.
//
// Needs C++17.
#ifndef VEK_UTILS_VEKSTRING_HPP
#define VEK_UTILS_VEKSTRING_HPP

#include <cstdarg>
#include <cstddef>
#include <cstring>
#include <functional>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "VekString.h"
#include "VekUtf8Encoding.h"

namespace vek {

class String {
public:
    using value_type = char;
    using size_type = VekSizeT;
    using iterator = char*;
    using const_iterator = const char*;
    static constexpr size_type npos = VekStringNpos;

    // ---- Construction; every constructor takes an optional allocator ------

    explicit String(VekAllocator* a = VekAllocatorGetDefault()) noexcept
    {
        VekStringConstructDefault(&s_, a);
    }
    String(const char* text, VekAllocator* a = VekAllocatorGetDefault())
        : String(std::string_view(text), a)
    {
    }
    explicit String(std::string_view text, VekAllocator* a = VekAllocatorGetDefault())
    {
        ThrowIfNull(VekStringConstructCStrLen(&s_, text.data(), text.size(), a));
    }
    // From UTF-16 or UCS-4 text, which may hold zero units (they become NUL
    // bytes). Invalid text throws std::range_error.
    explicit String(std::u16string_view utf16, VekAllocator* a = VekAllocatorGetDefault())
        : String(a)
    {
        AppendWide(utf16, &VekUtf8EncodeUtf16);
    }
    explicit String(std::u32string_view ucs4, VekAllocator* a = VekAllocatorGetDefault())
        : String(a)
    {
        AppendWide(ucs4, &VekUtf8Encode);
    }

    // format builds a string from a printf-style format, with the default
    // allocator or the one given.
    static String format(const char* fmt, ...) VEK_PRINTF_FORMAT(1, 2)
    {
        va_list args;
        va_start(args, fmt);
        String s = vformat(VekAllocatorGetDefault(), fmt, args);
        va_end(args);
        return s;
    }
    static String format(VekAllocator* a, const char* fmt, ...) VEK_PRINTF_FORMAT(2, 3)
    {
        va_list args;
        va_start(args, fmt);
        String s = vformat(a, fmt, args);
        va_end(args);
        return s;
    }
    static String vformat(VekAllocator* a, const char* fmt, va_list args)
    {
        String s(a);
        if (VekStringConstructVFormatted(&s.s_, fmt, args, a) == nullptr)
            throw std::bad_alloc();
        return s;
    }

    // A copy uses the source's allocator; copy assignment keeps this string's
    // own allocator (and its block, when the content fits). Moves carry the
    // allocator along with the buffer and never allocate.
    String(const String& other) { ThrowIfNull(VekStringConstructCopy(&s_, &other.s_)); }
    String(String&& other) noexcept { VekStringConstructMove(&s_, &other.s_); }
    String& operator=(const String& other) { return Check(VekStringAssign(&s_, &other.s_)); }
    String& operator=(String&& other) noexcept
    {
        VekStringMove(&s_, &other.s_);
        return *this;
    }
    String& operator=(std::string_view text) { return assign(text); }
    ~String() { VekStringDestruct(&s_); }

    void swap(String& other) noexcept { VekStringSwap(&s_, &other.s_); }

    // ---- Access ------------------------------------------------------------

    size_type size() const noexcept { return VekStringSize(&s_); }
    size_type length() const noexcept { return VekStringLength(&s_); }
    bool empty() const noexcept { return size() == 0; }
    size_type capacity() const noexcept { return VekStringCapacity(&s_); }
    VekAllocator* allocator() const noexcept { return VekStringGetAllocator(&s_); }
    // data() and c_str() are always NUL-terminated; data()[size()] must not
    // be written (an empty string may point at shared read-only storage).
    const char* data() const noexcept { return VekStringData(&s_); }
    char* data() noexcept { return s_.buf; }
    const char* c_str() const noexcept { return data(); }
    char operator[](size_type i) const noexcept { return data()[i]; }
    char& operator[](size_type i) noexcept { return s_.buf[i]; }
    iterator begin() noexcept { return s_.buf; }
    iterator end() noexcept { return s_.buf + s_.size; }
    const_iterator begin() const noexcept { return data(); }
    const_iterator end() const noexcept { return data() + size(); }
    // The content is in memory, so its size fits std::size_t even where
    // VekSizeT is the wider type (32-bit targets).
    operator std::string_view() const noexcept
    {
        return {data(), static_cast<std::size_t>(size())};
    }

    // The record, for calling the C API directly. It must stay a string that
    // owns its buffer or is empty: this class never holds a read-only view.
    VekString* get() noexcept { return &s_; }
    const VekString* get() const noexcept { return &s_; }

    // ---- Capacity ----------------------------------------------------------

    // reserve reallocates to exactly max(n, size()), as VekStringReserve does:
    // unlike std::string it also shrinks, and it always takes a fresh block.
    void reserve(size_type n) { ThrowIfFalse(VekStringReserve(&s_, n)); }
    void shrink_to_fit() { reserve(0); }
    void clear() noexcept { VekStringClear(&s_); }
    void resize(size_type n, char c = '\0') { ThrowIfFalse(VekStringResize(&s_, n, &c)); }

    // ---- Editing -------------------------------------------------------------
    // Operands may point into this string.

    String& assign(std::string_view text)
    {
        return Check(VekStringAssignCStrLen(&s_, text.data(), text.size()));
    }
    String& assign(const String& other) { return Check(VekStringAssign(&s_, &other.s_)); }
    String& assign(const char* text) { return assign(std::string_view(text)); }

    String& append(std::string_view text)
    {
        return Check(VekStringAppendCStrLen(&s_, text.data(), text.size()));
    }
    String& append(const String& other) { return Check(VekStringAppend(&s_, &other.s_)); }
    String& append(const char* text) { return append(std::string_view(text)); }
    String& append(size_type n, char c) { return Check(VekStringAppendN(&s_, n, c)); }
    String& appendf(const char* fmt, ...) VEK_PRINTF_FORMAT(2, 3)
    {
        va_list args;
        va_start(args, fmt);
        VekString* r = VekStringAppendVFormatted(&s_, fmt, args);
        va_end(args);
        return Check(r);
    }
    void push_back(char c) { Check(VekStringAppendChar(&s_, c)); }
    String& operator+=(std::string_view text) { return append(text); }
    String& operator+=(const String& other) { return append(other); }
    String& operator+=(const char* text) { return append(std::string_view(text)); }
    String& operator+=(char c)
    {
        push_back(c);
        return *this;
    }

    String& insert(size_type pos, std::string_view text)
    {
        CheckPos(pos);
        return Check(VekStringInsertCStrLen(&s_, pos, text.data(), text.size()));
    }
    String& insert(size_type pos, const String& other)
    {
        CheckPos(pos);
        return Check(VekStringInsertString(&s_, pos, &other.s_));
    }
    String& insert(size_type pos, const char* text) { return insert(pos, std::string_view(text)); }
    iterator insert(const_iterator p, char c)
    {
        const iterator it = VekStringInsert(&s_, begin() + (p - begin()), &c);
        ThrowIfNull(it);
        return it;
    }

    // replace replaces at most n bytes at pos (clamped to the content).
    String& replace(size_type pos, size_type n, std::string_view text)
    {
        CheckPos(pos);
        return Check(VekStringReplaceCStrLen(&s_, pos, n, text.data(), text.size()));
    }
    String& replace(size_type pos, size_type n, const String& other)
    {
        CheckPos(pos);
        return Check(VekStringReplaceString(&s_, pos, n, &other.s_));
    }
    String& replace(size_type pos, size_type n, const char* text)
    {
        return replace(pos, n, std::string_view(text));
    }
    // replace_all replaces every occurrence of what, left to right, all or
    // nothing. An empty what changes nothing.
    String& replace_all(std::string_view what, std::string_view with)
    {
        const VekString what_view = View(what), with_view = View(with);
        return Check(VekStringFindAndReplace(&s_, &what_view, &with_view));
    }

    String& erase(size_type pos = 0, size_type n = npos)
    {
        CheckPos(pos);
        return Check(VekStringEraseSubstring(&s_, pos, n));
    }
    iterator erase(const_iterator p)
    {
        const iterator it = VekStringErase(&s_, begin() + (p - begin()));
        ThrowIfNull(it);
        return it;
    }
    iterator erase(const_iterator first, const_iterator last)
    {
        const iterator it =
            VekStringEraseRange(&s_, begin() + (first - begin()), begin() + (last - begin()));
        ThrowIfNull(it);
        return it;
    }

    // ---- Searching: positions, or npos ---------------------------------------

    size_type find(std::string_view needle, size_type pos = 0) const noexcept
    {
        return VekStringFindFromPosCStrLen(&s_, pos, needle.data(), needle.size());
    }
    size_type find(char c, size_type pos = 0) const noexcept
    {
        return VekStringFindFirstOfChar(&s_, pos, c);
    }
    size_type rfind(std::string_view needle, size_type pos = npos) const noexcept
    {
        return VekStringRFindFromPosCStrLen(&s_, pos, needle.data(), needle.size());
    }
    size_type rfind(char c, size_type pos = npos) const noexcept
    {
        return VekStringFindLastOfChar(&s_, pos, c);
    }
    size_type find_first_of(std::string_view set, size_type pos = 0) const noexcept
    {
        return VekStringFindFirstOfCStrLen(&s_, pos, set.data(), set.size());
    }
    size_type find_first_of(char c, size_type pos = 0) const noexcept { return find(c, pos); }
    size_type find_first_not_of(std::string_view set, size_type pos = 0) const noexcept
    {
        return VekStringFindFirstNotOfCStrLen(&s_, pos, set.data(), set.size());
    }
    size_type find_first_not_of(char c, size_type pos = 0) const noexcept
    {
        return VekStringFindFirstNotOfChar(&s_, pos, c);
    }
    size_type find_last_of(std::string_view set, size_type pos = npos) const noexcept
    {
        return VekStringFindLastOfCStrLen(&s_, pos, set.data(), set.size());
    }
    size_type find_last_of(char c, size_type pos = npos) const noexcept { return rfind(c, pos); }
    size_type find_last_not_of(std::string_view set, size_type pos = npos) const noexcept
    {
        return VekStringFindLastNotOfCStrLen(&s_, pos, set.data(), set.size());
    }
    size_type find_last_not_of(char c, size_type pos = npos) const noexcept
    {
        return VekStringFindLastNotOfChar(&s_, pos, c);
    }
    bool starts_with(std::string_view prefix) const noexcept
    {
        return VekStringEqualSubstringCStrLen(&s_, 0, prefix.size(), prefix.data(),
                                              prefix.size()) != 0;
    }
    bool ends_with(std::string_view suffix) const noexcept
    {
        return size() >= suffix.size() &&
               VekStringEqualSubstringCStrLen(&s_, size() - suffix.size(), npos, suffix.data(),
                                              suffix.size()) != 0;
    }

    // ---- Comparison, hashing, conversion -------------------------------------

    // compare orders bytes as unsigned values, then by length; only the sign
    // of the result means anything.
    int compare(std::string_view other) const noexcept
    {
        return VekStringCompareCStrLen(&s_, other.data(), other.size());
    }
    int compare(const String& other) const noexcept { return VekStringCompare(&s_, &other.s_); }
    // hash is the module's own content hash, equal for equal content.
    size_type hash() const noexcept { return VekStringHash(&s_); }

    // to_utf16 decodes the UTF-8 content; NUL bytes become zero units.
    // Content that is not valid UTF-8 throws std::range_error.
    std::u16string to_utf16() const
    {
        std::u16string out;
        const char* segment = data();
        for (;;) {
            VekSizeT units = 0;
            if (!VekUtf8DecodeUtf16(segment, nullptr, 0, &units))
                throw std::range_error("vek::String: content is not valid UTF-8");
            const std::size_t at = out.size();
            out.resize(at + units + 1);
            VekUtf8DecodeUtf16(segment, reinterpret_cast<VekUint16*>(&out[at]), units + 1, &units);
            out.resize(at + units);
            segment += std::strlen(segment);
            if (segment == end())
                return out;
            out.push_back(u'\0');
            ++segment;
        }
    }

    friend bool operator==(const String& a, const String& b) noexcept
    {
        return VekStringEqual(&a.s_, &b.s_) != 0;
    }
    friend bool operator==(const String& a, std::string_view b) noexcept
    {
        return VekStringEqualCStrLen(&a.s_, b.data(), b.size()) != 0;
    }
    friend bool operator==(const String& a, const char* b) noexcept
    {
        return VekStringEqualCStr(&a.s_, b) != 0;
    }
    friend bool operator==(std::string_view a, const String& b) noexcept { return b == a; }
    friend bool operator==(const char* a, const String& b) noexcept { return b == a; }
    friend bool operator!=(const String& a, const String& b) noexcept { return !(a == b); }
    friend bool operator!=(const String& a, std::string_view b) noexcept { return !(a == b); }
    friend bool operator!=(const String& a, const char* b) noexcept { return !(a == b); }
    friend bool operator!=(std::string_view a, const String& b) noexcept { return !(b == a); }
    friend bool operator!=(const char* a, const String& b) noexcept { return !(b == a); }
    friend bool operator<(const String& a, const String& b) noexcept { return a.compare(b) < 0; }
    friend bool operator<=(const String& a, const String& b) noexcept { return a.compare(b) <= 0; }
    friend bool operator>(const String& a, const String& b) noexcept { return a.compare(b) > 0; }
    friend bool operator>=(const String& a, const String& b) noexcept { return a.compare(b) >= 0; }

private:
    static void ThrowIfNull(const void* result)
    {
        if (result == nullptr)
            throw std::bad_alloc();
    }
    static void ThrowIfFalse(VekBool result)
    {
        if (!result)
            throw std::bad_alloc();
    }
    String& Check(const VekString* result)
    {
        ThrowIfNull(result);
        return *this;
    }
    // Positions are checked here so that a refusal of the C call can only
    // mean the allocator refused.
    void CheckPos(size_type pos) const
    {
        if (pos > size())
            throw std::out_of_range("vek::String: position beyond the end");
    }
    // View makes a read-only view record over caller bytes: no copy.
    VekString View(std::string_view bytes) const noexcept
    {
        char* buf = bytes.empty() ? vekStringEmpty_ : const_cast<char*>(bytes.data());
        return VekString{s_.allocator, buf, bytes.size(), 0};
    }

    // AppendWide appends UTF-16 or UCS-4 text, which may hold zero units that
    // the C functions (reading zero-terminated input) cannot see. The text is
    // taken in zero-terminated chunks on the stack: first measured, so that
    // invalid text throws before anything changes and the string grows once,
    // exactly; then converted straight into the room reserved.
    template <typename Unit, typename Wide>
    void AppendWide(std::basic_string_view<Unit> text,
                    VekBool (*encode)(const Wide*, char*, VekSizeT, VekSizeT*) VEK_NOEXCEPT)
    {
        VekSizeT total = 0;
        ForEachChunk<Wide>(text, [&](const Wide* chunk, bool zero_unit) {
            VekSizeT len = 0;
            if (!encode(chunk, nullptr, 0, &len))
                throw std::range_error("vek::String: text is not valid Unicode");
            total += len + (zero_unit ? 1 : 0);
        });
        if (total > capacity() - size())
            reserve(size() + total);
        ForEachChunk<Wide>(text, [&](const Wide* chunk, bool zero_unit) {
            VekSizeT len = 0;
            encode(chunk, VekStringGetBuffer(&s_), capacity() - size() + 1, &len);
            VekStringReleaseBuffer(&s_, len);
            if (zero_unit)
                VekStringAppendChar(&s_, '\0'); // fits: reserved above
        });
    }

    // ForEachChunk hands visit each run of text up to a zero unit, copied and
    // zero-terminated, and whether a zero unit ends it. A run longer than the
    // chunk is split, never between the two halves of a surrogate pair.
    template <typename Wide, typename Unit, typename Visit>
    static void ForEachChunk(std::basic_string_view<Unit> text, Visit visit)
    {
        constexpr std::size_t kChunk = 256;
        Wide chunk[kChunk + 1];
        std::size_t i = 0;
        while (i < text.size()) {
            std::size_t n = 0;
            while (i + n < text.size() && n < kChunk && text[i + n] != 0)
                ++n;
            if (sizeof(Unit) == 2 && n == kChunk && (text[i + n - 1] & 0xFC00) == 0xD800)
                --n;
            const bool zero_unit = i + n < text.size() && text[i + n] == 0;
            for (std::size_t k = 0; k < n; ++k)
                chunk[k] = static_cast<Wide>(text[i + k]);
            chunk[n] = 0;
            visit(chunk, zero_unit);
            i += n + (zero_unit ? 1 : 0);
        }
    }

    VekString s_;
};

inline void swap(String& a, String& b) noexcept
{
    a.swap(b);
}

} // namespace vek

template <> struct std::hash<vek::String> {
    std::size_t operator()(const vek::String& s) const noexcept
    {
        return static_cast<std::size_t>(s.hash());
    }
};

#endif // VEK_UTILS_VEKSTRING_HPP
