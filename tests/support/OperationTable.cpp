// OperationTable.cpp - one row per public function of the C API that builds,
// edits or queries a string: how to call it, what std::string gives, and the
// rule that holds its storage (OperationModel.h). Twins share a row and are
// picked at random: a variadic form and its va_list form, a function and its
// inline fast path in the header.
#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <vector>

#include "FormatModel.h"
#include "OperationModel.h"

namespace vektest {

namespace {

using R = Rule;

// ------------------------------------------------------------ formatted edits

enum Verb { kConstruct, kAssign, kAppend, kInsert, kReplace };

VekString* ViaVaList(Verb verb, VekString* x, VekAllocator* a, VekSizeT pos, VekSizeT n,
                     const char* fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    VekString* r = verb == kConstruct ? VekStringConstructVFormatted(x, fmt, args, a)
                   : verb == kAssign  ? VekStringAssignVFormatted(x, fmt, args)
                   : verb == kAppend  ? VekStringAppendVFormatted(x, fmt, args)
                   : verb == kInsert  ? VekStringInsertVFormatted(x, pos, fmt, args)
                                      : VekStringReplaceVFormatted(x, pos, n, fmt, args);
    va_end(args);
    return r;
}

// Formatted is a format drawn for an edit, with the oracle's output.
struct Formatted {
    Format f;
    std::optional<std::string> out;
};

Formatted DrawFormatted(Choices& in)
{
    // Now and then nothing at all, whose empty output leaves a gap a view
    // cannot close in place.
    Formatted r{in.OneIn(8) ? Format{} : DrawFormat(in), std::nullopt};
    r.out = Oracle(r.f);
    return r;
}

// ---------------------------------------------------------- Unicode and CF

// Text is the input of a conversion in both wide forms, zero-terminated and
// padded to whole blocks of 16 units (which the codec may read), and what it
// gives: its UTF-8 form up to the first character the codec refuses
// (prefix), and whether there is none (whole).
struct Text {
    std::vector<VekWideChar> ucs4;
    std::vector<VekUint16> utf16;
    std::string prefix;
    bool whole = true;
    std::optional<std::string> Utf8() const { return whole ? std::optional(prefix) : std::nullopt; }
};

// DrawText strings together characters of every UTF-8 length, now and then
// one the codec refuses (a surrogate alone; in UCS-4 also a value beyond
// U+10FFFF). The codec's own contract is held to ICU elsewhere; here only the
// string's side of a conversion matters.
Text DrawText(Choices& in, bool zero_padded = true)
{
    static const struct {
        VekWideChar ucs4;
        VekUint16 utf16[2];
        const char* utf8; // nullptr: refused
    } kCharacters[] = {{'a', {'a'}, "a"},
                       {0x7F, {0x7F}, "\x7F"},
                       {0xE9, {0xE9}, "\xC3\xA9"},
                       {0x7FF, {0x7FF}, "\xDF\xBF"},
                       {0x800, {0x800}, "\xE0\xA0\x80"},
                       {0xFFFF, {0xFFFF}, "\xEF\xBF\xBF"},
                       {0x1D11E, {0xD834, 0xDD1E}, "\xF0\x9D\x84\x9E"},
                       {0x10FFFF, {0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"},
                       {0xD800, {0xD800, 'x'}, nullptr}, // a high surrogate alone
                       {0x110000, {0xDC00}, nullptr}};   // a low surrogate alone
    Text t;
    for (std::uint64_t n = in.Below(24); n > 0; --n) {
        const auto& c = kCharacters[in.Below(in.OneIn(8) ? std::size(kCharacters) : 8)];
        t.ucs4.push_back(c.ucs4);
        t.utf16.insert(t.utf16.end(), c.utf16, c.utf16 + (c.utf16[1] != 0 ? 2 : 1));
        t.whole = t.whole && c.utf8 != nullptr;
        if (t.whole)
            t.prefix += c.utf8;
    }
    if (zero_padded) {
        t.ucs4.resize(t.ucs4.size() / 16 * 16 + 16);
        t.utf16.resize(t.utf16.size() / 16 * 16 + 16);
    }
    return t;
}

// Encoded states what converting text into x (or the string built) does:
// the text goes into the room there is, and only text that does not fit
// makes the string grow, exactly, through VekStringReserve (which keeps a
// view's bytes).
void Encoded(Step& s, const std::optional<std::string>& text, Verb verb)
{
    const bool appends = verb == kAppend;
    const VekSizeT size = verb == kConstruct ? 0 : s.m.size();
    const VekSizeT capacity = verb == kConstruct ? 0 : s.x->capacity;
    s.expect = appends ? s.m : "";
    if (!text) {
        s.must_fail = true;
        s.trace = "";
        return;
    }
    *s.expect += *text;
    if (!appends)
        s.keeps_head = 0; // a refused growth leaves part of the text over the content
    const VekSizeT room = appends && capacity != 0 ? capacity - size : capacity;
    if (text->size() <= room)
        s.InPlace();
    else
        s.Reallocates(std::max<VekSizeT>(s.expect->size(), size));
}

// FromCFString assigns a CoreFoundation string, made from ASCII bytes or from
// UTF-16 units. When the framework offers its UTF-8 text the assignment is
// that of a C string; otherwise the measured text (up to the first unpaired
// surrogate) is converted into a block grown exactly to it, and the whole
// string must convert or the assignment fails, leaving x empty.
bool FromCFString(Step& s)
{
    const Text t = DrawText(s.in, false);
    std::string ascii = s.in.Bytes(24);
    for (char& c : ascii)
        c = static_cast<char>(c & 0x7F);
    std::erase(ascii, '\0');
    CFStringRef cf = s.Twin()
                         ? CFStringCreateWithCString(nullptr, ascii.c_str(), kCFStringEncodingUTF8)
                         : CFStringCreateWithCharacters(nullptr, t.utf16.data(),
                                                        static_cast<CFIndex>(t.utf16.size()));
    if (const char* direct = CFStringGetCStringPtr(cf, kCFStringEncodingUTF8)) {
        s.expect = direct;
        s.Grows(s.expect->size());
    } else if (t.prefix.empty()) {
        s.must_fail = true;
        s.expect = s.m;
        s.trace = "";
    } else {
        s.expect = t.whole ? t.prefix : "";
        s.must_fail = !t.whole;
        if (t.prefix.size() > s.x->capacity) // through VekStringReserve, which keeps the content
            s.Reallocates(std::max<VekSizeT>(t.prefix.size(), s.m.size()));
        else
            s.InPlace();
    }
    const bool ok = Ok(VekStringAssignFromCFString(s.x, cf));
    CFRelease(cf);
    return ok;
}

// ------------------------------------------------------------------ queries

// Signed is got when it has want's sign, which is all a comparison promises,
// and otherwise a value that differs from got.
VekInt Signed(VekInt got, long long want)
{
    return Sign(got) == Sign(want) ? got : Sign(want);
}

// Compared is what a comparison that returned got must return: the sign of
// the first differing byte, else exactly the length difference (saturated).
VekInt Compared(VekInt got, const std::string& a, const std::string& b)
{
    const int c = std::memcmp(a.data(), b.data(), std::min(a.size(), b.size()));
    if (c == 0)
        return static_cast<VekInt>(std::clamp<long long>(
            static_cast<long long>(a.size()) - static_cast<long long>(b.size()), INT_MIN, INT_MAX));
    return Signed(got, c);
}

// The span EqualSubstring compares: a position beyond the end is the end.
std::string Span(const std::string& m, VekSizeT pos, VekSizeT n)
{
    return m.substr(std::min<VekSizeT>(pos, m.size()), n);
}

// FindAndReplace's result, and the cost of making it: a copy of x's size,
// grown by the growth rule as the replacements need, then x's old block let go.
void ReplaceAll(Step& s, const std::string& find, const std::string& with)
{
    if (find.empty()) {
        s.expect = s.m;
        s.InPlace();
        return;
    }
    std::string out;
    VekSizeT capacity = s.m.size(), size = capacity;
    std::string trace = Blocks(capacity, 0);
    std::size_t done = 0;
    for (std::size_t hit = s.m.find(find); hit != std::string::npos; hit = s.m.find(find, done)) {
        out.append(s.m, done, hit - done).append(with);
        done = hit + find.size();
        size = size - find.size() + with.size();
        if (size > capacity) {
            const VekSizeT grown = std::max(size, 2 * capacity);
            trace = Join(trace, Blocks(grown, capacity));
            capacity = grown;
        }
    }
    s.expect = out.append(s.m, done);
    s.capacity = capacity;
    s.trace = Join(trace, Blocks(0, s.x->capacity));
}

// ------------------------------------------------------------ text families

std::string Upper(std::string t)
{
    for (char& c : t)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    return t;
}

// Occurrences counts the needles that do not overlap, left to right; the
// empty needle stands at every position, the end included.
std::size_t Occurrences(const std::string& m, const std::string& y)
{
    if (y.empty())
        return m.size() + 1;
    std::size_t n = 0;
    for (std::size_t at = m.find(y); at != std::string::npos; at = m.find(y, at + y.size()))
        ++n;
    return n;
}

// A field or a cut is where it stands in x: offset and length.
using Spans = std::vector<std::pair<VekSizeT, VekSizeT>>;

// Splits cuts m, from start, at each separator next(from) finds (npos: no
// more), each len bytes long: every separator ends one field and begins the
// next. A start beyond the end gives nothing.
template <class Next> Spans Splits(const std::string& m, VekSizeT start, std::size_t len, Next next)
{
    Spans out;
    if (start > m.size())
        return out;
    std::size_t from = static_cast<std::size_t>(start);
    for (std::size_t at; (at = next(from)) != std::string::npos; from = at + len)
        out.emplace_back(from, at - from);
    out.emplace_back(from, m.size() - from);
    return out;
}

// SplitBy splits at a separator string; the empty one stands between every
// two bytes.
Spans SplitBy(const std::string& m, VekSizeT start, const std::string& sep)
{
    if (sep.empty())
        return Splits(m, start, 0, [&](std::size_t from) {
            return from + 1 < m.size() ? from + 1 : std::string::npos;
        });
    return Splits(m, start, sep.size(), [&](std::size_t from) { return m.find(sep, from); });
}

Spans SplitByAnyOf(const std::string& m, VekSizeT start, const std::string& set)
{
    return Splits(m, start, 1, [&](std::size_t from) { return m.find_first_of(set, from); });
}

const std::string kSpaces = " \t\n\v\f\r";

Spans Words(const std::string& m, VekSizeT start)
{
    Spans out;
    for (std::size_t at = static_cast<std::size_t>(std::min<VekSizeT>(start, m.size()));
         (at = m.find_first_not_of(kSpaces, at)) != std::string::npos;) {
        const std::size_t end = std::min(m.find_first_of(kSpaces, at), m.size());
        out.emplace_back(at, end - at);
        at = end;
    }
    return out;
}

// SpanIn is where view v stands in x, or (npos, 0) when it is no view of x's
// bytes with x's allocator.
std::pair<VekSizeT, VekSizeT> SpanIn(const VekString& v, const VekString& x)
{
    if (v.capacity != 0 || v.allocator != x.allocator || v.buf < x.buf ||
        v.buf + v.size > x.buf + x.size)
        return {kNpos, 0};
    return {static_cast<VekSizeT>(v.buf - x.buf), v.size};
}

std::string Describe(const Spans& spans)
{
    std::string out;
    for (const auto& [at, len] : spans)
        out.append(" ").append(std::to_string(at)).append("+").append(std::to_string(len));
    return out;
}

// Yields checks the fields next(&pos, &field) gives from start: views of x's
// bytes, as want says, and once they are spent a call that changes nothing.
// The loop is bounded, so a cursor that stops moving is a finding, not a hang.
template <class Next> bool Yields(Step& s, VekSizeT start, const Spans& want, Next next)
{
    Spans got;
    VekSizeT pos = start;
    VekString field{};
    while (got.size() <= s.m.size() + 1 && next(&pos, &field))
        got.push_back(SpanIn(field, *s.x));
    const VekString last = field;
    const VekSizeT end = pos;
    s.Check(got == want, "fields" + Describe(got) + ", want" + Describe(want));
    s.Check(!next(&pos, &field) && pos == end && field.buf == last.buf && field.size == last.size,
            "a call after the last field must change nothing");
    s.expect = s.m;
    return true;
}

// Cuts checks cut(in, before, after) against a separator of len bytes at
// `at` (npos: none), then with no outputs, and with a record viewing x's
// bytes as its own output.
template <class Cut> bool Cuts(Step& s, std::size_t at, std::size_t len, Cut cut)
{
    const bool found = at != std::string::npos;
    const VekSizeT size = s.m.size(), end = found ? at : size, rest = found ? at + len : size;
    VekString before{}, after{}, self = *s.x;
    self.capacity = 0;
    s.Check(cut(s.x, &before, &after) == found, found ? "must find" : "must not find");
    const Spans got{SpanIn(before, *s.x), SpanIn(after, *s.x)}, want{{0, end}, {rest, size - rest}};
    s.Check(got == want, "cut" + Describe(got) + ", want" + Describe(want));
    s.Check(cut(&self, nullptr, &self) == found && self.buf == after.buf && self.size == after.size,
            "cutting a view into itself must leave the rest");
    s.Check(cut(s.x, nullptr, nullptr) == found, "the outputs may be NULL");
    s.expect = s.m;
    return true;
}

// Viewed checks a view v of bytes at p made with allocator a; a view of no
// bytes is the empty string on the shared byte.
bool Viewed(Step& s, const VekString* r, const VekString& v, const char* p,
            const std::string& bytes)
{
    s.Check(r == &v && v.capacity == 0 && v.allocator == s.a && Content(v) == bytes &&
                v.buf == (bytes.empty() ? vekStringEmpty_ : p),
            "a view of the bytes");
    s.expect = s.m;
    return true;
}

// ViewsSpan makes a view of a span of y, then narrows x to the span (p, n)
// of itself when x owns no block.
bool ViewsSpan(Step& s, const Record& y, VekSizeT p, VekSizeT n)
{
    VekString v{};
    const std::optional<std::string> want = Sub(y.bytes, y.pos, y.count);
    const VekString* r = s.Twin() ? VekStringConstructViewSubstring(&v, y.str, y.pos, y.count)
                                  : (VekStringConstructViewSubstring)(&v, y.str, y.pos, y.count);
    s.Check(want ? r == &v && v.buf == y.str->buf + y.pos && Content(v) == *want
                 : r == nullptr && v.buf == vekStringEmpty_ && v.size == 0,
            "a view of the span, or the empty string when it starts beyond the end");
    s.Check(v.capacity == 0 && v.allocator == y.str->allocator, "a view with str's allocator");
    s.expect = s.m;
    s.InPlace();
    if (s.x->capacity != 0 || p > s.m.size())
        return true;
    const char* at = s.x->buf + p;
    s.expect = s.m.substr(p, StdAt(n));
    const bool ok = Ok(VekStringConstructViewSubstring(s.x, s.x, p, n));
    s.Check(s.x->buf == at, "narrowing in place");
    return ok;
}

enum Ends { kLeft = 1, kRight = 2, kBoth = 3 };

// Trimmed states what trimming the set off the given ends leaves, with no
// allocator call, and returns where the kept bytes start; trimmed to
// nothing, they are empty where the trimming ended.
VekSizeT Trimmed(Step& s, const std::string& set, int ends)
{
    const std::string& m = s.m;
    const std::size_t start = ends & kLeft ? std::min(m.find_first_not_of(set), m.size()) : 0;
    const std::size_t last = m.find_last_not_of(set);
    const std::size_t end = ends & kRight ? (last == std::string::npos ? 0 : last + 1) : m.size();
    s.expect = m.substr(start, std::max(start, end) - start);
    s.InPlace();
    return start;
}

// Narrowed checks that trimming kept an owned block where it was and moved a
// view's start to the kept bytes.
bool Narrowed(Step& s, const VekString* r, const char* was, VekSizeT start)
{
    s.Check(r == s.x && s.x->buf == (s.x->capacity != 0 ? was : was + start),
            "an owned block stays, a view narrows");
    return true;
}

// Cased: converting an owned string writes in place; a view is copied into a
// block of exactly its size first.
void Cased(Step& s, std::string content)
{
    s.expect = std::move(content);
    if (s.x->capacity == 0 && !s.m.empty())
        s.Reallocates(s.m.size());
    else
        s.InPlace();
}

// Counted runs a literal find-and-replace whose result ReplaceAll stated,
// with or without a count, which must hold the occurrences replaced after a
// success and be left alone by a failure.
template <class Call> bool Counted(Step& s, const std::string& find, Call call)
{
    if (s.expect->size() > 4096) { // too long to build
        s.expect = s.m;
        s.InPlace();
        return true;
    }
    VekSizeT count = kNpos;
    const bool counts = !s.in.OneIn(4);
    const bool ok = Ok(call(counts ? &count : nullptr));
    s.Check(count == (ok && counts ? (find.empty() ? 0 : Occurrences(s.m, find)) : kNpos),
            "the count of replacements");
    return ok;
}

// Iterates checks the iterator an edit returned: at offset `at` of the
// buffer that holds the content afterwards, or NULL on failure.
bool Iterates(Step& s, VekStringIterator it, VekSizeT at)
{
    s.Check(it == nullptr || it == s.x->buf + at,
            "the iterator must be at offset " + std::to_string(at));
    return it != nullptr;
}

// A row's body sees the operand y that maker (an expression) drew; p and n,
// a position into x (sometimes beyond its end) and a count (sometimes
// VekStringNpos); and q and k, a span within x's content for the iterator
// forms.
// clang-format off
#define VEK_ROW(name, rule, maker, ...)                                                          \
    {#name, rule, [](Step& s) {                                                                  \
         [[maybe_unused]] const auto y = maker;                                                  \
         [[maybe_unused]] const VekSizeT p = s.Pos(), n = s.Count(),                             \
                                         q = s.in.Below(s.m.size() + 1),                         \
                                         k = s.in.Below(s.m.size() - q + 1);                     \
         [[maybe_unused]] const std::size_t sp = vektest::StdAt(p);                              \
         __VA_ARGS__ }}
// An edit under the growth rule: what std::string gives, then the call.
#define VEK_EDIT(name, maker, expectation, call)                                                 \
    VEK_ROW(name, R::kGrowth, maker, expectation; return Ok(call);)
// A query: the call and what std::string gives.
#define VEK_QUERY(name, maker, call, want)                                                       \
    VEK_ROW(name, R::kQuery, maker, s.expect = s.m; const auto got = call; s.Same(got, want); return true;)

// A function with an inline fast path, called as one or the other.
#define VEK_TWIN(f, ...) (s.Twin() ? f(__VA_ARGS__) : (f)(__VA_ARGS__))
#define VEK_TRIM(name, maker, set, ends, call)                                                   \
    VEK_ROW(name, R::kExact, maker, const char* was = s.x->buf;                                 \
            const VekSizeT start = Trimmed(s, set, ends); return Narrowed(s, call, was, start);)
#define VEK_TRIMS(F, ends)                                                                         \
    VEK_TRIM(F, s.Byte(), kSpaces, ends, VEK_TWIN(VekString##F, s.x)),                             \
    VEK_TRIM(F##CStr, s.CStr(), y.bytes, ends, VEK_TWIN(VekString##F##CStr, s.x, y.ptr)),          \
    VEK_TRIM(F##CStrLen, s.Slice(), y.bytes, ends, VEK_TWIN(VekString##F##CStrLen, s.x, y.ptr, y.len)), \
    VEK_TRIM(F##Char, s.Byte(), y.bytes, ends, VEK_TWIN(VekString##F##Char, s.x, *y.ptr))

// A family is one function taking its operand as a record, a C string, bytes
// and a length, and (FORMS4) one byte: M(name, maker, (operand), ...) makes
// each row. What a row expects is said in y.bytes, which holds the operand in
// every form. The leading arguments of a query end in a comma: (s.x, p,).
#define VEK_ID(...) __VA_ARGS__
#define VEK_FORMS3(M, F, ...)                                                                      \
    M(F, s.Str(), (y.str), __VA_ARGS__), M(F##CStr, s.CStr(), (y.ptr), __VA_ARGS__),               \
    M(F##CStrLen, s.Slice(), (y.ptr, y.len), __VA_ARGS__)
#define VEK_FORMS4(M, F, ...) VEK_FORMS3(M, F, __VA_ARGS__), M(F##Char, s.Byte(), (*y.ptr), __VA_ARGS__)
#define VEK_EDITS(name, maker, operand, expectation, ...)                                         \
    VEK_EDIT(name, maker, expectation, VEK_TWIN(VekString##name, __VA_ARGS__ VEK_ID operand))
// A query; want may use got, what the call returned.
#define VEK_ASKS(name, maker, operand, want, ...)                                                 \
    VEK_QUERY(name, maker, VEK_TWIN(VekString##name, __VA_ARGS__ VEK_ID operand), want)
#define VEK_SPLITS(name, maker, operand, spans)                                                    \
    VEK_ROW(name, R::kQuery, maker, return Yields(s, p, spans, [&](VekSizeT* at, VekString* f) {   \
        return VEK_TWIN(VekString##name, s.x, at, VEK_ID operand, f); });)
#define VEK_CUTS(name, maker, operand, at, len)                                                    \
    VEK_ROW(name, R::kQuery, maker, return Cuts(s, at, len, [&](const VekString* x, VekString* b, VekString* a) { \
        return VEK_TWIN(VekString##name, x, VEK_ID operand, b, a); });)

const Row kRows[] = {
    // Construction, moves and capacity
    VEK_ROW(ConstructCStrLen, R::kConstruct, s.Slice(), s.expect = y.bytes; s.Reallocates(y.len); return Ok(VekStringConstructCStrLen(&s.built, y.ptr, y.len, s.a));),
    VEK_ROW(ConstructCStr, R::kConstruct, s.CStr(), s.expect = y.bytes; s.Reallocates(y.len); return Ok(VekStringConstructCStr(&s.built, y.ptr, s.a));),
    VEK_ROW(ConstructRange, R::kConstruct, s.Slice(), s.expect = y.bytes; s.Reallocates(y.len); return Ok(VekStringConstructRange(&s.built, y.ptr, y.ptr + y.len, s.a));),
    VEK_ROW(ConstructCopy, R::kConstruct, s.Slot(), s.expect = Content(*y); s.Reallocates(y->size); return Ok(VekStringConstructCopy(&s.built, y));),
    VEK_ROW(ConstructSubstring, R::kConstruct, s.Str(), s.expect = Sub(y.bytes, y.pos, y.count); s.Reallocates(s.expect.value_or("").size());
            return Ok(VekStringConstructSubstring(&s.built, y.str, y.pos, y.count, s.a));),
    VEK_ROW(ConstructMove, R::kConstruct, s.Slot(), const VekString was = *y; s.expect = Content(was); s.capacity = was.capacity; s.trace = ""; s.SetModel(y, "");
            VekStringConstructMove(&s.built, y);
            s.Check(s.built.buf == was.buf && y->buf == vekStringEmpty_ && y->size == 0 && y->capacity == 0 && y->allocator == was.allocator,
                    "the source's block moves, leaving it empty with its allocator");
            return true;),
    VEK_ROW(ConstructWithExternalBuffer, R::kConstruct, s.Slice(), const VekSizeT length = s.in.Below(y.len + 3); char* block = length == 0 ? nullptr : s.Block(length);
            if (block != nullptr) std::memcpy(block, y.ptr, std::min(y.len, length));
            s.expect = length < 2 ? "" : y.bytes.substr(0, length - 1); s.capacity = length < 2 ? 0 : length - 1; s.trace = length == 1 ? "-1" : "";
            return Ok(VekStringConstructWithExternalBuffer(&s.built, block, y.len, length, s.a));),
    VEK_ROW(Move, R::kExact, s.Slot(), const VekString was = *y; s.expect = Content(was); s.trace = y == s.x ? "" : Blocks(0, s.x->capacity);
            if (y != s.x) s.SetModel(y, "");
            s.Check(VekStringMove(s.x, y) == s.x && s.x->buf == was.buf && s.x->capacity == was.capacity && s.x->allocator == was.allocator &&
                    (y == s.x || (y->buf == vekStringEmpty_ && y->capacity == 0 && y->allocator == was.allocator)), "x takes all of the source");
            return true;),
    VEK_ROW(Swap, R::kExact, s.Slot(), const VekString mine = *s.x, theirs = *y; s.expect = Content(theirs); s.SetModel(y, s.m); s.trace = "";
            s.Check(VekStringSwap(s.x, y) == 1 && s.x->buf == theirs.buf && s.x->capacity == theirs.capacity && y->buf == mine.buf && y->capacity == mine.capacity,
                    "the records are exchanged");
            return true;),
    VEK_ROW(Reserve, R::kExact, s.Byte(), const VekSizeT r = s.in.OneIn(16) ? kNpos - s.in.Below(2) : s.in.Below(s.m.size() + 24);
            s.expect = s.m; s.Reallocates(std::max<VekSizeT>(s.m.size(), r));
            if (r >= PTRDIFF_MAX) { s.must_fail = true; s.InPlace(); }
            return Ok(VekStringReserve(s.x, r));),
    VEK_EDIT(Clear, s.Byte(), s.expect = "", (VekStringClear(s.x), s.x)),
    VEK_ROW(ReleaseBuffer, R::kExact, s.Byte(), const std::string text = s.in.Bytes(s.x->capacity == 0 ? 0 : s.x->capacity - s.x->size);
            s.expect = s.m + text; s.InPlace(); std::memcpy(VekStringGetBuffer(s.x), text.data(), text.size());
            VekStringReleaseBuffer(s.x, text.size()); return true;),
    // Assignment
    VEK_FORMS4(VEK_EDITS, Assign, s.expect = y.bytes, s.x,),
    VEK_EDIT(AssignSubstring, s.Str(), s.expect = Sub(y.bytes, y.pos, y.count), VekStringAssignSubstring(s.x, y.str, y.pos, y.count)),
    VEK_EDIT(AssignRange, s.Slice(), s.expect = y.bytes, VekStringAssignRange(s.x, y.ptr, y.ptr + y.len)),
    // Appending and resizing
    VEK_FORMS4(VEK_EDITS, Append, s.expect = s.m + y.bytes, s.x,),
    VEK_EDIT(AppendSubstring, s.Str(), s.Splice(s.m.size(), 0, Sub(y.bytes, y.pos, y.count)), VekStringAppendSubstring(s.x, y.str, y.pos, y.count)),
    VEK_EDIT(AppendRange, s.Slice(), s.expect = s.m + y.bytes, VekStringAppendRange(s.x, y.ptr, y.ptr + y.len)),
    VEK_EDIT(AppendN, s.Byte(), const VekSizeT count = s.in.Below(40); s.expect = s.m + std::string(count, *y.ptr); s.view_kept = false, VekStringAppendN(s.x, count, *y.ptr)),
    VEK_EDIT(Resize, s.Byte(), const VekSizeT size = s.in.Below(s.m.size() + 24); s.expect = s.m; s.expect->resize(size, *y.ptr); if (size <= s.m.size()) s.view_kept = true,
             VekStringResize(s.x, size, size > s.m.size() || s.Twin() ? y.ptr : nullptr)),
    // Replacement and insertion
    VEK_EDIT(ReplaceSubstring, s.Str(), s.Splice(p, n, Sub(y.bytes, y.pos, y.count)), VekStringReplaceSubstring(s.x, p, n, y.str, y.pos, y.count)),
    VEK_EDIT(ReplaceString, s.Str(), s.Splice(p, n, y.bytes), VekStringReplaceString(s.x, p, n, y.str)),
    VEK_EDIT(ReplaceChar, s.Byte(), s.Splice(p, n, y.bytes), VekStringReplaceChar(s.x, p, n, *y.ptr)),
    VEK_EDIT(ReplaceCStr, s.CStr(), s.Splice(p, n, y.bytes), VekStringReplaceCStr(s.x, p, n, s.Guarded(y.ptr))),
    VEK_EDIT(ReplaceCStrLen, s.Slice(), s.Splice(p, n, y.bytes), VekStringReplaceCStrLen(s.x, p, n, s.Guarded(y.ptr), y.len)),
    VEK_EDIT(ReplaceRange, s.Slice(), s.Splice(q, k, y.bytes), VekStringReplaceRange(s.x, s.x->buf + q, s.x->buf + q + k, y.ptr, y.ptr + y.len)),
    VEK_ROW(Insert, R::kGrowth, s.Slice(), const char* c = y.len != 0 ? y.ptr : s.Keep(std::string(1, s.Char())); s.Splice(q, 0, std::string(1, *c));
            return Iterates(s, VekStringInsert(s.x, s.x->buf + q, c), q);),
    VEK_EDIT(InsertRange, s.Slice(), s.Splice(q, 0, y.bytes); s.view_kept = false, VekStringInsertRange(s.x, s.x->buf + q, y.ptr, y.ptr + y.len)),
    VEK_EDIT(InsertSubstring, s.Str(), s.Splice(p, 0, Sub(y.bytes, y.pos, y.count)); s.view_kept = false, VekStringInsertSubstring(s.x, p, y.str, y.pos, y.count)),
    VEK_EDIT(InsertString, s.Str(), s.Splice(p, 0, y.bytes); s.view_kept = false, VekStringInsertString(s.x, p, y.str)),
    VEK_EDIT(InsertCStr, s.CStr(), s.Splice(p, 0, y.bytes); s.view_kept = false, VekStringInsertCStr(s.x, p, s.Guarded(y.ptr))),
    VEK_EDIT(InsertCStrLen, s.Slice(), s.Splice(p, 0, y.bytes); s.view_kept = false, VekStringInsertCStrLen(s.x, p, s.Guarded(y.ptr), y.len)),
    VEK_EDIT(InsertChar, s.Byte(), s.Splice(p, 0, y.bytes), VekStringInsertChar(s.x, p, *y.ptr)),
    // Erasure
    VEK_ROW(Erase, R::kGrowth, s.Byte(), s.expect = s.m; if (s.m.empty()) return true;
            const VekSizeT at = s.in.Below(s.m.size()); if (at + 1 == s.m.size()) s.view_kept = true; s.Splice(at, 1, ""); return Iterates(s, VekStringErase(s.x, s.x->buf + at), at);),
    VEK_EDIT(EraseSubstring, s.Byte(), s.Splice(p, n, ""); if (n == 0 || n >= s.m.size() - p) s.view_kept = true, VekStringEraseSubstring(s.x, p, n)),
    VEK_ROW(EraseRange, R::kGrowth, s.Byte(), s.Splice(q, k, ""); if (k == 0 || q + k == s.m.size()) s.view_kept = true; return Iterates(s, VekStringEraseRange(s.x, s.x->buf + q, s.x->buf + q + k), q);),
    // Formatted construction and editing, each with its va_list twin
    VEK_ROW(ConstructFormatted, R::kConstruct, DrawFormatted(s.in), s.Formatted(0, 0, y.out);
            return Ok(s.Twin() ? VekStringConstructFormatted(&s.built, s.a, VEK_FORMAT_ARGS(y.f)) : ViaVaList(kConstruct, &s.built, s.a, 0, 0, VEK_FORMAT_ARGS(y.f)));),
    VEK_ROW(AssignFormatted, R::kExact, DrawFormatted(s.in), s.Formatted(0, s.m.size(), y.out);
            return Ok(s.Twin() ? VekStringAssignFormatted(s.x, VEK_FORMAT_ARGS(y.f)) : ViaVaList(kAssign, s.x, s.a, 0, 0, VEK_FORMAT_ARGS(y.f)));),
    VEK_ROW(AppendFormatted, R::kExact, DrawFormatted(s.in), s.Formatted(s.m.size(), 0, y.out);
            return Ok(s.Twin() ? VekStringAppendFormatted(s.x, VEK_FORMAT_ARGS(y.f)) : ViaVaList(kAppend, s.x, s.a, 0, 0, VEK_FORMAT_ARGS(y.f)));),
    VEK_ROW(InsertFormatted, R::kExact, DrawFormatted(s.in), s.Formatted(p, 0, y.out);
            const char* fmt = s.Guarded(y.f.text.c_str());
            return Ok(s.Twin() ? VekStringInsertFormatted(s.x, p, fmt, VEK_FORMAT_WORDS(y.f)) : ViaVaList(kInsert, s.x, s.a, p, 0, fmt, VEK_FORMAT_WORDS(y.f)));),
    VEK_ROW(ReplaceFormatted, R::kExact, DrawFormatted(s.in), s.Formatted(p, n, y.out);
            const char* fmt = s.Guarded(y.f.text.c_str());
            return Ok(s.Twin() ? VekStringReplaceFormatted(s.x, p, n, fmt, VEK_FORMAT_WORDS(y.f)) : ViaVaList(kReplace, s.x, s.a, p, n, fmt, VEK_FORMAT_WORDS(y.f)));),
    // Unicode and CoreFoundation conversion
    VEK_ROW(ConstructUcs4, R::kConstruct, DrawText(s.in), Encoded(s, y.Utf8(), kConstruct); return Ok(VekStringConstructUcs4(&s.built, y.ucs4.data(), s.a));),
    VEK_ROW(ConstructUtf16, R::kConstruct, DrawText(s.in), Encoded(s, y.Utf8(), kConstruct); return Ok(VekStringConstructUtf16(&s.built, y.utf16.data(), s.a));),
    VEK_ROW(AssignUcs4, R::kExact, DrawText(s.in), Encoded(s, y.Utf8(), kAssign); return Ok(VekStringAssignUcs4(s.x, y.ucs4.data()));),
    VEK_ROW(AssignUtf16, R::kExact, DrawText(s.in), Encoded(s, y.Utf8(), kAssign); return Ok(VekStringAssignUtf16(s.x, y.utf16.data()));),
    VEK_ROW(AppendUcs4, R::kExact, DrawText(s.in), Encoded(s, y.Utf8(), kAppend); return Ok(VekStringAppendUcs4(s.x, y.ucs4.data()));),
    VEK_ROW(AppendUtf16, R::kExact, DrawText(s.in), Encoded(s, y.Utf8(), kAppend); return Ok(VekStringAppendUtf16(s.x, y.utf16.data()));),
    {"AssignFromCFString", R::kExact, FromCFString},
    // Comparison and hashing
    VEK_FORMS3(VEK_ASKS, Equal, s.m == y.bytes, s.x,),
    VEK_FORMS3(VEK_ASKS, EqualSubstring, Span(s.m, p, n) == y.bytes, s.x, p, n,),
    VEK_FORMS3(VEK_ASKS, Compare, Compared(got, s.m, y.bytes), s.x,),
    VEK_QUERY(Hash, s.Byte(), VEK_TWIN(VekStringHash, s.x), HashDefinition(s.m)),
    // Character-set search
    VEK_FORMS4(VEK_ASKS, FindFirstOf, s.m.find_first_of(y.bytes, sp), s.x, p,),
    VEK_FORMS4(VEK_ASKS, FindFirstNotOf, s.m.find_first_not_of(y.bytes, sp), s.x, p,),
    VEK_QUERY(FindLastOfCStrLen, s.Slice(), VekStringFindLastOfCStrLen(s.x, p, y.ptr, y.len), s.m.find_last_of(y.bytes, sp)),
    VEK_QUERY(FindLastOfChar, s.Byte(), VekStringFindLastOfChar(s.x, p, *y.ptr), s.m.find_last_of(y.bytes, sp)),
    VEK_QUERY(FindLastNotOfCStrLen, s.Slice(), VekStringFindLastNotOfCStrLen(s.x, p, y.ptr, y.len), s.m.find_last_not_of(y.bytes, sp)),
    VEK_QUERY(FindLastNotOfChar, s.Byte(), VekStringFindLastNotOfChar(s.x, p, *y.ptr), s.m.find_last_not_of(y.bytes, sp)),
    // Substring search and find-and-replace
    VEK_FORMS4(VEK_ASKS, FindFromPos, s.m.find(y.bytes, sp), s.x, p,),
    VEK_FORMS4(VEK_ASKS, Find, s.m.find(y.bytes), s.x,),
    VEK_FORMS4(VEK_ASKS, RFindFromPos, s.m.rfind(y.bytes, sp), s.x, p,),
    VEK_FORMS4(VEK_ASKS, RFind, s.m.rfind(y.bytes), s.x,),
    VEK_ROW(FindAndReplace, R::kExact, s.Str(), const Record with = s.Str(); ReplaceAll(s, y.bytes, with.bytes);
            if (s.expect->size() > 4096) { s.expect = s.m; s.InPlace(); return true; } // too long to build
            return Ok(VekStringFindAndReplace(s.x, y.str, with.str));),
    // Views, fields and cuts
    VEK_ROW(ConstructViewCStrLen, R::kQuery, s.Slice(), VekString v{};
            return Viewed(s, VEK_TWIN(VekStringConstructViewCStrLen, &v, y.ptr, y.len, s.a), v, y.ptr, y.bytes);),
    VEK_ROW(ConstructViewCStr, R::kQuery, s.CStr(), VekString v{};
            return Viewed(s, VEK_TWIN(VekStringConstructViewCStr, &v, y.ptr, s.a), v, y.ptr, y.bytes);),
    VEK_ROW(ConstructViewSubstring, R::kExact, s.Str(), return ViewsSpan(s, y, p, n);),
    VEK_FORMS4(VEK_SPLITS, NextField, SplitBy(s.m, p, y.bytes)),
    VEK_SPLITS(NextFieldAnyOfCStr, s.CStr(), (y.ptr), SplitByAnyOf(s.m, p, y.bytes)),
    VEK_SPLITS(NextFieldAnyOfCStrLen, s.Slice(), (y.ptr, y.len), SplitByAnyOf(s.m, p, y.bytes)),
    VEK_ROW(NextWord, R::kQuery, s.Byte(), return Yields(s, p, Words(s.m, p), [&](VekSizeT* at, VekString* f) { return VEK_TWIN(VekStringNextWord, s.x, at, f); });),
    VEK_FORMS4(VEK_CUTS, Cut, y.bytes.empty() ? 0 : s.m.find(y.bytes), y.bytes.size()),
    // Trimming
    VEK_TRIMS(Trim, kBoth), VEK_TRIMS(TrimLeft, kLeft), VEK_TRIMS(TrimRight, kRight),
    // ASCII case
    VEK_ROW(ToLowerAscii, R::kExact, s.Byte(), Cased(s, Lower(s.m)); return Ok(VEK_TWIN(VekStringToLowerAscii, s.x));),
    VEK_ROW(ToUpperAscii, R::kExact, s.Byte(), Cased(s, Upper(s.m)); return Ok(VEK_TWIN(VekStringToUpperAscii, s.x));),
    VEK_FORMS3(VEK_ASKS, EqualIgnoringCaseAscii, Lower(s.m) == Lower(y.bytes), s.x,),
    VEK_FORMS3(VEK_ASKS, CompareIgnoringCaseAscii, Signed(got, Lower(s.m).compare(Lower(y.bytes))), s.x,),
    // Prefixes, suffixes and occurrences
    VEK_FORMS4(VEK_ASKS, StartsWith, s.m.starts_with(y.bytes), s.x,),
    VEK_FORMS4(VEK_ASKS, EndsWith, s.m.ends_with(y.bytes), s.x,),
    VEK_FORMS4(VEK_ASKS, Contains, s.m.find(y.bytes) != std::string::npos, s.x,),
    VEK_FORMS4(VEK_ASKS, Count, Occurrences(s.m, y.bytes), s.x,),
    // Find-and-replace with literals and a count
    VEK_ROW(FindAndReplaceCStr, R::kExact, s.CStr(), const Operand with = s.CStr(); ReplaceAll(s, y.bytes, with.bytes);
            return Counted(s, y.bytes, [&](VekSizeT* count) { return VekStringFindAndReplaceCStr(s.x, y.ptr, with.ptr, count); });),
    VEK_ROW(FindAndReplaceCStrLen, R::kExact, s.Slice(), const Operand with = s.Slice(); ReplaceAll(s, y.bytes, with.bytes);
            return Counted(s, y.bytes, [&](VekSizeT* count) { return VekStringFindAndReplaceCStrLen(s.x, y.ptr, y.len, with.ptr, with.len, count); });),
};
// clang-format on

} // namespace

std::span<const Row> Rows()
{
    return kRows;
}

} // namespace vektest
