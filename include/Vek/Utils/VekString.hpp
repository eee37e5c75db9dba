// VekString.hpp - vek::String, the C++ face of VekString.
//
// vek::String owns one VekString record and forwards every operation to the C
// API: the same storage (an allocator you choose, exact byte counts, binary
// content with a terminating NUL), the same aliasing guarantees (an operand may
// be the string's own bytes), the same growth. It offers std::string's whole
// interface, so code written for std::string compiles against it unchanged:
//
//     std::size_t CountWords(const vek::String& line)    // was const std::string&
//     {
//         std::size_t n = 0;
//         for (auto at = line.find_first_not_of(' '); at != vek::String::npos;
//              at = line.find_first_not_of(' ', line.find(' ', at)))
//             ++n;
//         return n;
//     }
//
// and adds RAII over the record, printf-style format(), replace_all() with a
// count, in-place trim() and ASCII case, count(), fields() and cut() over the
// string's own bytes, UTF-16 and UCS-4 conversion, a transparent hash for
// unordered containers, and std::pmr::memory_resource support.
//
// Exceptions are std::string's, and a string that throws is left unchanged:
// std::out_of_range for a position beyond the end, std::length_error when the
// result would exceed max_size(), std::bad_alloc when the allocator refuses (a
// NULL from allocate, or its limit refusing the capacity the growth rule asks
// for), std::range_error for text that is not valid Unicode. The C functions
// underneath never throw, so no exception ever crosses into C code.
//
// Where the class parts from std::string, by design:
//  - size_type and npos are std::string's (std::size_t), so `s.find(x) ==
//    std::string::npos` keeps working. The C API counts in 64 bits on every
//    target; positions and counts widen on the way in (the C API treats every
//    position at or beyond the end alike, so npos needs no translation), and
//    results narrow on the way out exactly: a size or position describes bytes
//    in memory and so fits std::size_t, and VekStringNpos narrows to npos.
//    max_size() is capped below npos, and a request beyond it throws
//    std::length_error before any size could be truncated.
//  - The allocator is a VekAllocator record, not a template parameter. Every
//    constructor takes one last (a vek::Allocator: a VekAllocator*, anything
//    converting to one, or a std::pmr::memory_resource*). A copy, substr() and
//    operator+ use the source string's allocator; copy assignment keeps the
//    target's own; moves and swaps carry the allocator along with the buffer
//    and never allocate.
//  - reserve(n) never shrinks and grows to exactly n; shrink_to_fit() asks for
//    exactly size() and, being a non-binding request, ignores a refusal.
//  - getline(), erase() and erase_if() are found by argument-dependent lookup:
//    call them unqualified (`getline(in, s)`), not as std::getline.
//  - An empty string that owns no block points at shared read-only storage:
//    data()[size()] must not be written, not even with a NUL.
//
// Needs C++17; uses C++20's <=>, contiguous iterators and std::format where the
// compiler and library have them.
#ifndef VEK_UTILS_VEKSTRING_HPP
#define VEK_UTILS_VEKSTRING_HPP

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#if __has_include(<version>)
#include <version>
#endif
#if defined(__cpp_impl_three_way_comparison) && __has_include(<compare>)
#include <compare>
#define VEK_STRING_THREE_WAY 1
#endif
#if __has_include(<memory_resource>)
#include <memory_resource>
#include <mutex>
#include <unordered_map>
#define VEK_STRING_MEMORY_RESOURCE 1
#endif
#if defined(__cpp_lib_format)
#include <format>
#endif

#include "VekString.h"
#include "VekUtf8Encoding.h"

namespace vek {

namespace detail {
// View makes a read-only view record over caller bytes, for the C functions
// that take a VekString operand; queries never read its allocator.
inline VekString View(std::string_view bytes) noexcept
{
    char* buf = bytes.empty() ? vekStringEmpty_ : const_cast<char*>(bytes.data());
    return VekString{nullptr, buf, bytes.size(), 0};
}

// ContiguousChars tells the iterators whose chars reach the C functions in
// place, as one pointer and a length; Address gives that pointer.
#if defined(__cpp_lib_concepts)
template <typename It>
constexpr bool kContiguousChars =
    std::contiguous_iterator<It>&& std::is_same_v<std::iter_value_t<It>, char>;
template <typename It> const char* Address(It it)
{
    return std::to_address(it);
}
#else
template <typename It>
constexpr bool kContiguousChars =
    std::is_pointer_v<It>&& std::is_same_v<std::remove_cv_t<std::remove_pointer_t<It>>, char>;
template <typename It> const char* Address(It it)
{
    return it;
}
#endif
} // namespace detail

#if VEK_STRING_MEMORY_RESOURCE
// ResourceAllocator is a VekAllocator record drawing from a
// std::pmr::memory_resource. The module returns every block with the byte
// count it was obtained with, which is just what deallocate(p, bytes) needs, so
// blocks carry no header. A resource refuses by throwing; the callback catches
// that and returns NULL, since no exception may cross into the C library, and
// the string then throws std::bad_alloc itself. The resource must outlive the
// record, and the record every string using it.
//
//     std::pmr::monotonic_buffer_resource arena;
//     vek::ResourceAllocator in_arena(&arena);
//     vek::String s("text", in_arena);
class ResourceAllocator {
public:
    explicit ResourceAllocator(std::pmr::memory_resource* resource) noexcept
        : record_{&Allocate, &Deallocate, static_cast<VekSizeT>(PTRDIFF_MAX), resource}
    {
    }
    ResourceAllocator(const ResourceAllocator&) = delete;
    ResourceAllocator& operator=(const ResourceAllocator&) = delete;

    VekAllocator* get() noexcept { return &record_; }
    operator VekAllocator*() noexcept { return &record_; }

    // For returns a record for resource that lives as long as the process: one
    // per resource address, made on first use. A record holds nothing but the
    // address, so one left by a destroyed resource serves a later resource at
    // the same address unchanged. This is what a string constructed with a
    // std::pmr::memory_resource* uses; it costs a lock and a lookup.
    static VekAllocator* For(std::pmr::memory_resource* resource)
    {
        static std::mutex lock;
        // Never destroyed: strings may outlive static destruction.
        static auto* records = new std::unordered_map<void*, ResourceAllocator>();
        const std::lock_guard<std::mutex> hold(lock);
        return records->try_emplace(resource, resource).first->second.get();
    }

private:
    static std::pmr::memory_resource* Resource(VekAllocator* a) noexcept
    {
        return static_cast<std::pmr::memory_resource*>(a->userData);
    }
    static VekVoidPtr Allocate(VekAllocator* a, VekSizeT size) noexcept
    {
        if (size > SIZE_MAX)
            return nullptr;
        try {
            return Resource(a)->allocate(static_cast<std::size_t>(size), 1);
        } catch (...) {
            return nullptr;
        }
    }
    static void Deallocate(VekAllocator* a, VekVoidPtr p, VekSizeT size) noexcept
    {
        Resource(a)->deallocate(p, static_cast<std::size_t>(size), 1);
    }

    VekAllocator record_;
};
#endif

// Allocator names the VekAllocator record a string draws from: the last
// argument of every constructor, VekAllocatorGetDefault() when left out. It
// takes a VekAllocator*, anything that converts to one, or a
// std::pmr::memory_resource* (through ResourceAllocator::For).
class Allocator {
public:
    Allocator() noexcept : record_(VekAllocatorGetDefault()) {}
    Allocator(VekAllocator* record) noexcept : record_(record) {}
    template <typename A, std::enable_if_t<std::is_convertible_v<A&, VekAllocator*>, int> = 0>
    Allocator(A& holder) : record_(holder)
    {
    }
#if VEK_STRING_MEMORY_RESOURCE
    Allocator(std::pmr::memory_resource* resource) : record_(ResourceAllocator::For(resource))
    {
    }
#endif
    VekAllocator* get() const noexcept
    {
        return record_;
    }

private:
    VekAllocator* record_;
};

// Fields is a range of std::string_view over the fields of a string's bytes
// (vek::String::fields, fields_any_of, words), read one at a time by the C
// API's cursor; it copies no bytes and allocates nothing.
class Fields {
public:
    enum class By { kChar, kString, kAnyOf, kWords };

    class iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = std::string_view;
        using difference_type = std::ptrdiff_t;
        using pointer = const std::string_view*;
        using reference = std::string_view;

        iterator() noexcept = default;
        std::string_view operator*() const noexcept
        {
            return {field_.buf, static_cast<std::size_t>(field_.size)};
        }
        iterator& operator++() noexcept
        {
            done_ = !range_->Next(&pos_, &field_);
            return *this;
        }
        iterator operator++(int) noexcept
        {
            iterator was = *this;
            ++*this;
            return was;
        }
        friend bool operator==(const iterator& a, const iterator& b) noexcept
        {
            return a.done_ == b.done_ && (a.done_ || a.field_.buf == b.field_.buf);
        }
        friend bool operator!=(const iterator& a, const iterator& b) noexcept { return !(a == b); }

    private:
        friend class Fields;
        explicit iterator(const Fields* range) noexcept : range_(range) { ++*this; }

        const Fields* range_ = nullptr;
        VekSizeT pos_ = 0;
        VekString field_{};
        bool done_ = true;
    };

    // The range reads x's bytes through a view of them, so it outlives a
    // move of the string itself, but not a change to its buffer.
    Fields(const VekString& x, By by, std::string_view sep, char c) noexcept
        : x_{x.allocator, x.buf, x.size, 0}, sep_(sep), c_(c), by_(by)
    {
    }
    iterator begin() const noexcept { return iterator(this); }
    iterator end() const noexcept { return iterator(); }

private:
    VekBool Next(VekSizeT* pos, VekString* field) const noexcept
    {
        switch (by_) {
        case By::kChar:
            return VekStringNextFieldChar(&x_, pos, c_, field);
        case By::kString:
            return VekStringNextFieldCStrLen(&x_, pos, sep_.data(), sep_.size(), field);
        case By::kAnyOf:
            return VekStringNextFieldAnyOfCStrLen(&x_, pos, sep_.data(), sep_.size(), field);
        default:
            return VekStringNextWord(&x_, pos, field);
        }
    }

    VekString x_;
    std::string_view sep_;
    char c_;
    By by_;
};

class String {
    // Iterator parameters are templates restricted to the two iterator types,
    // so that a literal 0 (`s.insert(0, 3, 'x')`, `s.erase(0)`) means a
    // position, as it does for std::string, and never a null iterator.
    template <typename P>
    using IfIterator =
        std::enable_if_t<std::is_same_v<P, char*> || std::is_same_v<P, const char*>, int>;
    template <typename It>
    using IfInputIterator =
        std::enable_if_t<std::is_convertible_v<typename std::iterator_traits<It>::iterator_category,
                                               std::input_iterator_tag>,
                         int>;
    template <typename A, typename B>
    using IfCompared =
        std::enable_if_t<std::disjunction_v<std::is_same<A, String>, std::is_same<B, String>> &&
                             std::is_convertible_v<const A&, std::string_view> &&
                             std::is_convertible_v<const B&, std::string_view>,
                         int>;

public:
    using traits_type = std::char_traits<char>;
    using value_type = char;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = char&;
    using const_reference = const char&;
    using pointer = char*;
    using const_pointer = const char*;
    using iterator = char*;
    using const_iterator = const char*;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;
    static constexpr size_type npos = std::string::npos;

    // ---- Construction -------------------------------------------------------
    // An empty result allocates nothing; any other gets a block of exactly its
    // size.

    String() noexcept : String(Allocator()) {}
    explicit String(Allocator a) noexcept { VekStringConstructDefault(&s_, a.get()); }
    String(const char* text, Allocator a = {}) : String(std::string_view(text), a) {}
    String(const char* text, size_type n, Allocator a = {}) : String(std::string_view(text, n), a)
    {
    }
    explicit String(std::string_view text, Allocator a = {})
    {
        Edited(VekStringConstructCStrLen(&s_, text.data(), text.size(), a.get()), text.size());
    }
    String(std::string_view text, size_type pos, Allocator a = {}) : String(Sub(text, pos), a) {}
    String(std::string_view text, size_type pos, size_type n, Allocator a = {})
        : String(Sub(text, pos, n), a)
    {
    }
    String(size_type n, char c, Allocator a = {}) : String(a) { append(n, c); }
    template <typename It, IfInputIterator<It> = 0>
    String(It first, It last, Allocator a = {}) : String(a)
    {
        append(first, last);
    }
    String(std::initializer_list<char> chars, Allocator a = {})
        : String(std::string_view(chars.begin(), chars.size()), a)
    {
    }
    // From UTF-16 or UCS-4 text, which may hold zero units (they become NUL
    // bytes). Invalid text throws std::range_error.
    explicit String(std::u16string_view utf16, Allocator a = {}) : String(a)
    {
        AppendWide(utf16, &VekUtf8EncodeUtf16);
    }
    explicit String(std::u32string_view ucs4, Allocator a = {}) : String(a)
    {
        AppendWide(ucs4, &VekUtf8Encode);
    }

    // format builds a string from a printf-style format, with the default
    // allocator or the one given. An output the formatter cannot produce
    // throws std::bad_alloc, as a refused allocation does.
    static String format(const char* fmt, ...) VEK_PRINTF_FORMAT(1, 2)
    {
        va_list args;
        va_start(args, fmt);
        String s = vformat(Allocator(), fmt, args);
        va_end(args);
        return s;
    }
    static String format(Allocator a, const char* fmt, ...) VEK_PRINTF_FORMAT(2, 3)
    {
        va_list args;
        va_start(args, fmt);
        String s = vformat(a, fmt, args);
        va_end(args);
        return s;
    }
    static String vformat(Allocator a, const char* fmt, va_list args)
    {
        String s(a);
        if (VekStringConstructVFormatted(&s.s_, fmt, args, a.get()) == nullptr)
            throw std::bad_alloc();
        return s;
    }

    String(const String& other) { Edited(VekStringConstructCopy(&s_, &other.s_), other.size()); }
    String(String&& other) noexcept { VekStringConstructMove(&s_, &other.s_); }
    ~String() { VekStringDestruct(&s_); }

    String& operator=(const String& other) { return assign(other); }
    String& operator=(String&& other) noexcept
    {
        VekStringMove(&s_, &other.s_);
        return *this;
    }
    String& operator=(std::string_view text) { return assign(text); }
    String& operator=(const char* text) { return assign(text); }
    String& operator=(char c) { return assign(&c, 1); }
    String& operator=(std::initializer_list<char> chars) { return assign(chars); }

    void swap(String& other) noexcept { VekStringSwap(&s_, &other.s_); }

    // ---- Access ---------------------------------------------------------------

    size_type size() const noexcept { return Narrow(VekStringSize(&s_)); }
    size_type length() const noexcept { return size(); }
    bool empty() const noexcept { return s_.size == 0; }
    size_type capacity() const noexcept { return Narrow(VekStringCapacity(&s_)); }
    // max_size is the largest size the allocator can grant (capacities stay
    // below its maxSize), capped below npos.
    size_type max_size() const noexcept
    {
        const VekSizeT limit = VekStringMaxSize(&s_);
        return limit == 0 ? 0 : Narrow(std::min<VekSizeT>(limit - 1, npos - 1));
    }
    VekAllocator* allocator() const noexcept { return VekStringGetAllocator(&s_); }

    const char* data() const noexcept { return VekStringData(&s_); }
    char* data() noexcept { return s_.buf; }
    const char* c_str() const noexcept { return data(); }
    operator std::string_view() const noexcept { return {data(), size()}; }

    const char& operator[](size_type i) const noexcept { return s_.buf[i]; }
    char& operator[](size_type i) noexcept { return s_.buf[i]; }
    const char& at(size_type i) const { return s_.buf[CheckIndex(i)]; }
    char& at(size_type i) { return s_.buf[CheckIndex(i)]; }
    const char& front() const noexcept { return s_.buf[0]; }
    char& front() noexcept { return s_.buf[0]; }
    const char& back() const noexcept { return s_.buf[s_.size - 1]; }
    char& back() noexcept { return s_.buf[s_.size - 1]; }

    iterator begin() noexcept { return s_.buf; }
    iterator end() noexcept { return s_.buf + s_.size; }
    const_iterator begin() const noexcept { return s_.buf; }
    const_iterator end() const noexcept { return s_.buf + s_.size; }
    const_iterator cbegin() const noexcept { return begin(); }
    const_iterator cend() const noexcept { return end(); }
    reverse_iterator rbegin() noexcept { return reverse_iterator(end()); }
    reverse_iterator rend() noexcept { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const noexcept { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const noexcept { return const_reverse_iterator(begin()); }
    const_reverse_iterator crbegin() const noexcept { return rbegin(); }
    const_reverse_iterator crend() const noexcept { return rend(); }

    // The record, for calling the C API directly. It must stay a string that
    // owns its buffer or is empty: this class never holds a read-only view.
    VekString* get() noexcept { return &s_; }
    const VekString* get() const noexcept { return &s_; }

    // ---- Capacity -------------------------------------------------------------

    void reserve(size_type n)
    {
        if (n > capacity())
            Edited(VekStringReserve(&s_, n), n, size());
    }
    void shrink_to_fit() noexcept
    {
        if (capacity() > size())
            static_cast<void>(VekStringReserve(&s_, s_.size));
    }
    void clear() noexcept { VekStringClear(&s_); }
    void resize(size_type n, char c = '\0') { Edited(VekStringResize(&s_, n, &c), n, size()); }

    // resize_and_overwrite makes room for n bytes and lets op(data(), n) write
    // them, keeping the first min(size(), n) as they were; op returns the new
    // size, at most n. A way to read() or format straight into the string.
    template <typename Op> void resize_and_overwrite(size_type n, Op op)
    {
        reserve(n);
        const size_type kept = size();
        const auto written = static_cast<size_type>(std::move(op)(data(), n));
        if (written >= kept)
            VekStringReleaseBuffer(&s_, written - kept);
        else
            VekStringResize(&s_, written, nullptr); // shrinking: cannot fail
    }

    // ---- Editing ----------------------------------------------------------------
    // Every operand may be the string's own content or point into it, as in
    // `s.replace(0, 1, s)` or `s.insert(s.begin(), s.begin(), s.end())`. An
    // iterator range that is not contiguous is gathered into a temporary first.

    String& assign(String&& other) noexcept { return *this = std::move(other); }
    String& assign(std::string_view text)
    {
        return Edited(VekStringAssignCStrLen(&s_, text.data(), text.size()), text.size(), size());
    }
    String& assign(std::string_view text, size_type pos, size_type n = npos)
    {
        return assign(Sub(text, pos, n));
    }
    String& assign(const char* text) { return assign(std::string_view(text)); }
    String& assign(const char* text, size_type n) { return assign(std::string_view(text, n)); }
    String& assign(size_type n, char c) { return ReplaceFill(0, npos, n, c); }
    template <typename It, IfInputIterator<It> = 0> String& assign(It first, It last)
    {
        return WithBytes(first, last, [this](std::string_view bytes) { assign(bytes); });
    }
    String& assign(std::initializer_list<char> chars)
    {
        return assign(std::string_view(chars.begin(), chars.size()));
    }

    String& append(std::string_view text)
    {
        return Edited(VekStringAppendCStrLen(&s_, text.data(), text.size()), text.size());
    }
    String& append(std::string_view text, size_type pos, size_type n = npos)
    {
        return append(Sub(text, pos, n));
    }
    String& append(const char* text, size_type n) { return append(std::string_view(text, n)); }
    String& append(size_type n, char c) { return Edited(VekStringAppendN(&s_, n, c), n); }
    template <typename It, IfInputIterator<It> = 0> String& append(It first, It last)
    {
        return WithBytes(first, last, [this](std::string_view bytes) { append(bytes); });
    }
    String& append(std::initializer_list<char> chars)
    {
        return append(std::string_view(chars.begin(), chars.size()));
    }
    String& appendf(const char* fmt, ...) VEK_PRINTF_FORMAT(2, 3)
    {
        va_list args;
        va_start(args, fmt);
        VekString* r = VekStringAppendVFormatted(&s_, fmt, args);
        va_end(args);
        return Edited(r, 0);
    }
    void push_back(char c) { Edited(VekStringAppendChar(&s_, c), 1); }
    void pop_back() { erase(size() - 1, 1); }
    String& operator+=(std::string_view text) { return append(text); }
    String& operator+=(char c)
    {
        push_back(c);
        return *this;
    }
    String& operator+=(std::initializer_list<char> chars) { return append(chars); }

    String& insert(size_type pos, std::string_view text)
    {
        return replace(pos, 0, text.data(), text.size());
    }
    String& insert(size_type pos, std::string_view text, size_type pos2, size_type n = npos)
    {
        return insert(pos, Sub(text, pos2, n));
    }
    String& insert(size_type pos, const char* text, size_type n)
    {
        return replace(pos, 0, text, n);
    }
    String& insert(size_type pos, size_type n, char c) { return ReplaceFill(pos, 0, n, c); }
    template <typename P, IfIterator<P> = 0> iterator insert(P p, char c)
    {
        return EditAt(p, [&](size_type at) { replace(at, 0, &c, 1); });
    }
    template <typename P, IfIterator<P> = 0> iterator insert(P p, size_type n, char c)
    {
        return EditAt(p, [&](size_type at) { ReplaceFill(at, 0, n, c); });
    }
    template <typename P, typename It, IfIterator<P> = 0, IfInputIterator<It> = 0>
    iterator insert(P p, It first, It last)
    {
        return EditAt(p, [&](size_type at) { ReplaceRange(at, 0, first, last); });
    }
    template <typename P, IfIterator<P> = 0> iterator insert(P p, std::initializer_list<char> chars)
    {
        return insert(p, chars.begin(), chars.end());
    }

    // replace replaces at most n bytes at pos (clamped to the content). Every
    // form comes down to the first.
    String& replace(size_type pos, size_type n, const char* text, size_type n2)
    {
        CheckPos(pos);
        return Edited(VekStringReplaceCStrLen(&s_, pos, n, text, n2), n2, Clamp(pos, n));
    }
    String& replace(size_type pos, size_type n, std::string_view text)
    {
        return replace(pos, n, text.data(), text.size());
    }
    String& replace(size_type pos, size_type n, std::string_view text, size_type pos2,
                    size_type n2 = npos)
    {
        return replace(pos, n, Sub(text, pos2, n2));
    }
    String& replace(size_type pos, size_type n, size_type n2, char c)
    {
        return ReplaceFill(pos, n, n2, c);
    }
    template <typename P, IfIterator<P> = 0>
    String& replace(P i1, const_iterator i2, std::string_view text)
    {
        return replace(Offset(i1), i2 - i1, text);
    }
    template <typename P, IfIterator<P> = 0>
    String& replace(P i1, const_iterator i2, const char* text, size_type n2)
    {
        return replace(Offset(i1), i2 - i1, text, n2);
    }
    template <typename P, IfIterator<P> = 0>
    String& replace(P i1, const_iterator i2, size_type n2, char c)
    {
        return ReplaceFill(Offset(i1), i2 - i1, n2, c);
    }
    template <typename P, typename It, IfIterator<P> = 0, IfInputIterator<It> = 0>
    String& replace(P i1, const_iterator i2, It first, It last)
    {
        return ReplaceRange(Offset(i1), i2 - i1, first, last);
    }
    template <typename P, IfIterator<P> = 0>
    String& replace(P i1, const_iterator i2, std::initializer_list<char> chars)
    {
        return replace(i1, i2, chars.begin(), chars.end());
    }
    // replace_all replaces every occurrence of what, left to right, all or
    // nothing, and returns how many it replaced. An empty what changes
    // nothing.
    size_type replace_all(std::string_view what, std::string_view with)
    {
        VekSizeT count = 0;
        Edited(VekStringFindAndReplaceCStrLen(&s_, what.data(), what.size(), with.data(),
                                              with.size(), &count),
               0);
        return Narrow(count);
    }

    // ---- Trimming and ASCII case: in place, never allocating ------------------
    // The bare forms trim ASCII whitespace (space, \t, \n, \v, \f, \r), the
    // others any byte of set. Only A-Z and a-z have a case.

    String& trim() noexcept
    {
        VekStringTrim(&s_);
        return *this;
    }
    String& trim_left() noexcept
    {
        VekStringTrimLeft(&s_);
        return *this;
    }
    String& trim_right() noexcept
    {
        VekStringTrimRight(&s_);
        return *this;
    }
    String& trim(std::string_view set) noexcept
    {
        VekStringTrimCStrLen(&s_, set.data(), set.size());
        return *this;
    }
    String& trim_left(std::string_view set) noexcept
    {
        VekStringTrimLeftCStrLen(&s_, set.data(), set.size());
        return *this;
    }
    String& trim_right(std::string_view set) noexcept
    {
        VekStringTrimRightCStrLen(&s_, set.data(), set.size());
        return *this;
    }
    String& to_lower() { return Edited(VekStringToLowerAscii(&s_), 0); }
    String& to_upper() { return Edited(VekStringToUpperAscii(&s_), 0); }
    bool iequals(std::string_view other) const noexcept
    {
        return VekStringEqualIgnoringCaseAsciiCStrLen(&s_, other.data(), other.size()) != 0;
    }
    int icompare(std::string_view other) const noexcept
    {
        return VekStringCompareIgnoringCaseAsciiCStrLen(&s_, other.data(), other.size());
    }

    // ---- Occurrences, fields and cuts ---------------------------------------
    // count counts the occurrences that do not overlap, as replace_all finds
    // them; the empty needle counts size() + 1.
    size_type count(std::string_view needle) const noexcept
    {
        return Narrow(VekStringCountCStrLen(&s_, needle.data(), needle.size()));
    }
    size_type count(char c) const noexcept { return Narrow(VekStringCountChar(&s_, c)); }
    // fields, fields_any_of and words are ranges of std::string_view over the
    // string's own bytes, valid while they are, with the separator string
    // kept by reference: `for (std::string_view f : line.fields(','))`. Each
    // separator ends one field and begins the next ("a,,b": a, "", b; the
    // empty string: one empty field); words are the runs between ASCII
    // whitespace and never empty.
    Fields fields(char sep) const noexcept { return {s_, Fields::By::kChar, {}, sep}; }
    Fields fields(std::string_view sep) const noexcept
    {
        return {s_, Fields::By::kString, sep, '\0'};
    }
    Fields fields_any_of(std::string_view set) const noexcept
    {
        return {s_, Fields::By::kAnyOf, set, '\0'};
    }
    Fields words() const noexcept { return {s_, Fields::By::kWords, {}, '\0'}; }
    // cut splits once around the first sep: true, with the bytes before and
    // after it; or false, with all of the string before and nothing after.
    bool cut(std::string_view sep, std::string_view& before, std::string_view& after) const noexcept
    {
        VekString b, a;
        const bool found = VekStringCutCStrLen(&s_, sep.data(), sep.size(), &b, &a) != 0;
        before = {b.buf, Narrow(b.size)};
        after = {a.buf, Narrow(a.size)};
        return found;
    }

    // Erasure closes the gap in place and never allocates.
    String& erase(size_type pos = 0, size_type n = npos)
    {
        CheckPos(pos);
        VekStringEraseSubstring(&s_, pos, n);
        return *this;
    }
    template <typename P, IfIterator<P> = 0> iterator erase(P p)
    {
        return VekStringErase(&s_, begin() + Offset(p));
    }
    template <typename P, IfIterator<P> = 0> iterator erase(P first, const_iterator last)
    {
        return VekStringEraseRange(&s_, begin() + Offset(first), begin() + Offset(last));
    }

    // substr and copy take at most n bytes from pos.
    String substr(size_type pos = 0, size_type n = npos) const
    {
        return String(Sub(*this, pos, n), allocator());
    }
    size_type copy(char* out, size_type n, size_type pos = 0) const
    {
        return std::string_view(*this).copy(out, n, pos);
    }

    // ---- Searching: positions, or npos ------------------------------------------

    size_type find(std::string_view needle, size_type pos = 0) const noexcept
    {
        return Narrow(VekStringFindFromPosCStrLen(&s_, pos, needle.data(), needle.size()));
    }
    size_type find(const char* needle, size_type pos, size_type n) const noexcept
    {
        return find(std::string_view(needle, n), pos);
    }
    size_type find(char c, size_type pos = 0) const noexcept
    {
        return Narrow(VekStringFindFirstOfChar(&s_, pos, c));
    }
    size_type rfind(std::string_view needle, size_type pos = npos) const noexcept
    {
        return Narrow(VekStringRFindFromPosCStrLen(&s_, pos, needle.data(), needle.size()));
    }
    size_type rfind(const char* needle, size_type pos, size_type n) const noexcept
    {
        return rfind(std::string_view(needle, n), pos);
    }
    size_type rfind(char c, size_type pos = npos) const noexcept
    {
        return Narrow(VekStringFindLastOfChar(&s_, pos, c));
    }
    size_type find_first_of(std::string_view set, size_type pos = 0) const noexcept
    {
        return Narrow(VekStringFindFirstOfCStrLen(&s_, pos, set.data(), set.size()));
    }
    size_type find_first_of(const char* set, size_type pos, size_type n) const noexcept
    {
        return find_first_of(std::string_view(set, n), pos);
    }
    size_type find_first_of(char c, size_type pos = 0) const noexcept { return find(c, pos); }
    size_type find_first_not_of(std::string_view set, size_type pos = 0) const noexcept
    {
        return Narrow(VekStringFindFirstNotOfCStrLen(&s_, pos, set.data(), set.size()));
    }
    size_type find_first_not_of(const char* set, size_type pos, size_type n) const noexcept
    {
        return find_first_not_of(std::string_view(set, n), pos);
    }
    size_type find_first_not_of(char c, size_type pos = 0) const noexcept
    {
        return Narrow(VekStringFindFirstNotOfChar(&s_, pos, c));
    }
    size_type find_last_of(std::string_view set, size_type pos = npos) const noexcept
    {
        return Narrow(VekStringFindLastOfCStrLen(&s_, pos, set.data(), set.size()));
    }
    size_type find_last_of(const char* set, size_type pos, size_type n) const noexcept
    {
        return find_last_of(std::string_view(set, n), pos);
    }
    size_type find_last_of(char c, size_type pos = npos) const noexcept { return rfind(c, pos); }
    size_type find_last_not_of(std::string_view set, size_type pos = npos) const noexcept
    {
        return Narrow(VekStringFindLastNotOfCStrLen(&s_, pos, set.data(), set.size()));
    }
    size_type find_last_not_of(const char* set, size_type pos, size_type n) const noexcept
    {
        return find_last_not_of(std::string_view(set, n), pos);
    }
    size_type find_last_not_of(char c, size_type pos = npos) const noexcept
    {
        return Narrow(VekStringFindLastNotOfChar(&s_, pos, c));
    }

    bool starts_with(std::string_view prefix) const noexcept
    {
        return VekStringEqualSubstringCStrLen(&s_, 0, prefix.size(), prefix.data(),
                                              prefix.size()) != 0;
    }
    bool starts_with(char c) const noexcept { return starts_with(std::string_view(&c, 1)); }
    bool ends_with(std::string_view suffix) const noexcept
    {
        return s_.size >= suffix.size() &&
               VekStringEqualSubstringCStrLen(&s_, s_.size - suffix.size(), suffix.size(),
                                              suffix.data(), suffix.size()) != 0;
    }
    bool ends_with(char c) const noexcept { return ends_with(std::string_view(&c, 1)); }
    bool contains(std::string_view needle) const noexcept { return find(needle) != npos; }
    bool contains(char c) const noexcept { return find(c) != npos; }

    // ---- Comparison, hashing, conversion ------------------------------------------

    // compare orders bytes as unsigned values, then by length; only the sign
    // of the result means anything. The forms with pos compare at most n bytes
    // of this string from pos.
    int compare(std::string_view other) const noexcept
    {
        return VekStringCompareCStrLen(&s_, other.data(), other.size());
    }
    int compare(size_type pos, size_type n, std::string_view other) const
    {
        const VekString part = detail::View(Sub(*this, pos, n));
        return VekStringCompareCStrLen(&part, other.data(), other.size());
    }
    int compare(size_type pos, size_type n, std::string_view other, size_type pos2,
                size_type n2 = npos) const
    {
        return compare(pos, n, Sub(other, pos2, n2));
    }
    int compare(size_type pos, size_type n, const char* other, size_type n2) const
    {
        return compare(pos, n, std::string_view(other, n2));
    }

    // hash is the module's own content hash (its low bits where std::size_t
    // is narrower), equal for equal content.
    std::size_t hash() const noexcept { return static_cast<std::size_t>(VekStringHash(&s_)); }

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
            out.resize(at + Narrow(units) + 1);
            VekUtf8DecodeUtf16(segment, reinterpret_cast<VekUint16*>(&out[at]), units + 1, &units);
            out.resize(at + Narrow(units));
            segment += std::strlen(segment);
            if (segment == end())
                return out;
            out.push_back(u'\0');
            ++segment;
        }
    }

    // Comparisons of a String with a String, a std::string_view, a
    // std::string or a C string, either way round.
    template <typename A, typename B, IfCompared<A, B> = 0>
    friend bool operator==(const A& a, const B& b)
    {
        const std::string_view y(b);
        const VekString x = detail::View(a);
        return VekStringEqualCStrLen(&x, y.data(), y.size()) != 0;
    }
#if VEK_STRING_THREE_WAY
    template <typename A, typename B, IfCompared<A, B> = 0>
    friend std::strong_ordering operator<=>(const A& a, const B& b)
    {
        return Order(a, b) <=> 0;
    }
#else
    template <typename A, typename B, IfCompared<A, B> = 0>
    friend bool operator!=(const A& a, const B& b)
    {
        return !(a == b);
    }
    template <typename A, typename B, IfCompared<A, B> = 0>
    friend bool operator<(const A& a, const B& b)
    {
        return Order(a, b) < 0;
    }
    template <typename A, typename B, IfCompared<A, B> = 0>
    friend bool operator<=(const A& a, const B& b)
    {
        return Order(a, b) <= 0;
    }
    template <typename A, typename B, IfCompared<A, B> = 0>
    friend bool operator>(const A& a, const B& b)
    {
        return Order(a, b) > 0;
    }
    template <typename A, typename B, IfCompared<A, B> = 0>
    friend bool operator>=(const A& a, const B& b)
    {
        return Order(a, b) >= 0;
    }
#endif

    // operator+ reserves the whole result once, with the allocator of the
    // String operand (the left one when both are); an rvalue String operand
    // lends its own buffer instead.
    friend String operator+(const String& a, const String& b)
    {
        return Concat(a, a, b);
    }
    friend String operator+(const String& a, const char* b)
    {
        return Concat(a, a, b);
    }
    friend String operator+(const String& a, char b)
    {
        return Concat(a, a, {&b, 1});
    }
    friend String operator+(const char* a, const String& b)
    {
        return Concat(b, a, b);
    }
    friend String operator+(char a, const String& b)
    {
        return Concat(b, {&a, 1}, b);
    }
    friend String operator+(String&& a, const String& b)
    {
        return std::move(a.append(b));
    }
    friend String operator+(String&& a, String&& b)
    {
        return std::move(a.append(b));
    }
    friend String operator+(String&& a, const char* b)
    {
        return std::move(a.append(b));
    }
    friend String operator+(String&& a, char b)
    {
        return std::move(a += b);
    }
    friend String operator+(const String& a, String&& b)
    {
        return std::move(b.insert(0, a));
    }
    friend String operator+(const char* a, String&& b)
    {
        return std::move(b.insert(0, a));
    }
    friend String operator+(char a, String&& b)
    {
        return std::move(b.insert(0, &a, 1));
    }

    // Streams use std::string's formatting and extraction rules; a line or
    // word is read whole before it replaces the content.
    template <typename Traits>
    friend std::basic_ostream<char, Traits>& operator<<(std::basic_ostream<char, Traits>& out,
                                                        const String& s)
    {
        return out << std::basic_string_view<char, Traits>(s.data(), s.size());
    }
    template <typename Traits>
    friend std::basic_istream<char, Traits>& operator>>(std::basic_istream<char, Traits>& in,
                                                        String& s)
    {
        std::basic_string<char, Traits> word;
        if (in >> word)
            s.assign(word.data(), word.size());
        return in;
    }
    // getline, like std::getline, replaces the content even when it reads
    // nothing, unless the stream had already failed.
    template <typename Traits>
    friend std::basic_istream<char, Traits>& getline(std::basic_istream<char, Traits>& in,
                                                     String& s, char delim)
    {
        std::basic_string<char, Traits> line;
        const bool reads = in.good();
        std::getline(in, line, delim);
        if (reads)
            s.assign(line.data(), line.size());
        return in;
    }
    template <typename Traits>
    friend std::basic_istream<char, Traits>& getline(std::basic_istream<char, Traits>& in,
                                                     String& s)
    {
        return getline(in, s, in.widen('\n'));
    }
    template <typename Traits>
    friend std::basic_istream<char, Traits>& getline(std::basic_istream<char, Traits>&& in,
                                                     String& s, char delim)
    {
        return getline(in, s, delim);
    }
    template <typename Traits>
    friend std::basic_istream<char, Traits>& getline(std::basic_istream<char, Traits>&& in,
                                                     String& s)
    {
        return getline(in, s);
    }

    // erase and erase_if remove every matching byte in place and return how
    // many went.
    friend size_type erase(String& s, char c)
    {
        return EraseTail(s, std::remove(s.begin(), s.end(), c));
    }
    template <typename Pred> friend size_type erase_if(String& s, Pred pred)
    {
        return EraseTail(s, std::remove_if(s.begin(), s.end(), std::move(pred)));
    }

    friend void swap(String& a, String& b) noexcept
    {
        a.swap(b);
    }

private:
    // Narrow brings a size or position of the C API into size_type. Both
    // describe bytes in memory, so they fit, and VekStringNpos keeps its low
    // bits: npos.
    static size_type Narrow(VekSizeT v) noexcept
    {
        return static_cast<size_type>(v);
    }

    // Edited returns *this after a C call that succeeded (ok is its non-null
    // or true result). A refusal comes from the allocator, positions being
    // checked beforehand, and throws as std::string would: length_error when
    // the content, with removed bytes making way for added ones, would exceed
    // max_size(); bad_alloc otherwise. The refused call left the string as it
    // was, so the sizes are still the ones the edit started from.
    template <typename Result> String& Edited(Result ok, size_type added, size_type removed = 0)
    {
        if (!ok)
            ThrowRefused(added, removed);
        return *this;
    }
    [[noreturn]] void ThrowRefused(size_type added, size_type removed) const
    {
        const size_type kept = size() - removed;
        if (added > max_size() || kept > max_size() - added)
            throw std::length_error("vek::String: result beyond max_size()");
        throw std::bad_alloc();
    }
    void CheckPos(size_type pos) const
    {
        if (pos > size())
            throw std::out_of_range("vek::String: position beyond the end");
    }
    size_type CheckIndex(size_type i) const
    {
        if (i >= size())
            throw std::out_of_range("vek::String::at: index beyond the content");
        return i;
    }
    // Clamp is how many bytes a count of n reaches from pos, pos being checked.
    size_type Clamp(size_type pos, size_type n) const noexcept
    {
        return std::min(n, size() - pos);
    }
    static std::string_view Sub(std::string_view text, size_type pos, size_type n = npos)
    {
        return text.substr(pos, n);
    }

    size_type Offset(const_iterator p) const noexcept
    {
        return Narrow(p - begin());
    }
    // EditAt runs an edit at p's offset and returns an iterator there into
    // the buffer that holds the content afterwards.
    template <typename Edit> iterator EditAt(const_iterator p, Edit edit)
    {
        const size_type at = Offset(p);
        edit(at);
        return begin() + at;
    }

    // ReplaceFill replaces at most n bytes at pos by n2 copies of c. The C API
    // fills only at the end, so the copies are made first: on the stack when
    // few, else in a string with this one's allocator.
    String& ReplaceFill(size_type pos, size_type n, size_type n2, char c)
    {
        CheckPos(pos);
        char few[64];
        if (n2 <= sizeof few) {
            std::memset(few, c, n2);
            return replace(pos, n, few, n2);
        }
        const String fill(n2, c, allocator());
        return replace(pos, n, fill);
    }

    // WithBytes hands edit the bytes of [first, last): in place when they are
    // contiguous chars (the C functions resolve an overlap with this string),
    // otherwise gathered into a temporary with this string's allocator, which
    // also covers iterators over this string's own bytes.
    template <typename It, typename Edit> String& WithBytes(It first, It last, Edit edit)
    {
        if constexpr (detail::kContiguousChars<It>) {
            edit(std::string_view(detail::Address(first), static_cast<size_type>(last - first)));
        } else {
            String gathered(allocator());
            if constexpr (std::is_convertible_v<
                              typename std::iterator_traits<It>::iterator_category,
                              std::forward_iterator_tag>)
                gathered.reserve(static_cast<size_type>(std::distance(first, last)));
            for (; first != last; ++first)
                gathered.push_back(*first);
            edit(std::string_view(gathered));
        }
        return *this;
    }
    template <typename It> String& ReplaceRange(size_type pos, size_type n, It first, It last)
    {
        return WithBytes(first, last, [&](std::string_view bytes) { replace(pos, n, bytes); });
    }

    static int Order(std::string_view a, std::string_view b) noexcept
    {
        const VekString x = detail::View(a);
        return VekStringCompareCStrLen(&x, b.data(), b.size());
    }
    static String Concat(const String& owner, std::string_view a, std::string_view b)
    {
        String s(owner.allocator());
        s.reserve(a.size() + b.size());
        s.append(a).append(b);
        return s;
    }
    static size_type EraseTail(String& s, iterator from)
    {
        const size_type removed = Narrow(s.end() - from);
        s.erase(s.Offset(from));
        return removed;
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
        reserve(size() + Narrow(total));
        ForEachChunk<Wide>(text, [&](const Wide* chunk, bool zero_unit) {
            VekSizeT len = 0;
            encode(chunk, VekStringGetBuffer(&s_), s_.capacity - s_.size + 1, &len);
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

// StringHash and StringEqual look a String up in an unordered container by
// any text, without constructing a String (C++20 heterogeneous lookup):
//
//     std::unordered_map<vek::String, int, vek::StringHash, vek::StringEqual> m;
//     m.find(std::string_view("key"));
//
// The hash is the module's, as String::hash() gives it.
struct StringHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept
    {
        const VekString view = detail::View(text);
        return static_cast<std::size_t>(VekStringHash(&view));
    }
};
using StringEqual = std::equal_to<>;

inline namespace literals {
// "text"_vs is a String with the default allocator; NUL bytes are kept.
inline String operator""_vs(const char* text, std::size_t n)
{
    return String(text, n);
}
} // namespace literals

} // namespace vek

template <> struct std::hash<vek::String> : vek::StringHash {
};

#if defined(__cpp_lib_format)
template <> struct std::formatter<vek::String> : std::formatter<std::string_view> {
    template <typename Context> auto format(const vek::String& s, Context& ctx) const
    {
        return std::formatter<std::string_view>::format(std::string_view(s), ctx);
    }
};
#endif

#endif // VEK_UTILS_VEKSTRING_HPP
