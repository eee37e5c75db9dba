// vek::String against std::string: every overload runs on the same rows through
// both, with operands from outside and from the string's own bytes, and must
// give the same result, content and exception. On the rows where the allocator
// refuses, it may instead throw std::bad_alloc, leaving the string exactly as
// it was.
#include "VekTestSupport.h"

#include <Vek/Utils/VekString.hpp>

#include <iomanip>
#include <map>
#include <sstream>
#include <typeinfo>
#include <unordered_set>
#include <utility>

#if VEK_TEST_HAVE_FMT
#include <Vek/Utils/VekStringFmt.hpp>
#endif

namespace {

using vektest::RecordingAllocator;

static_assert(std::is_same_v<vek::String::size_type, std::string::size_type> &&
                  vek::String::npos == std::string::npos,
              "code comparing with std::string::npos must keep working");

// A row: the string an operation starts from (with room to spare, or none) and
// the arguments it takes. Operands 0 to 3 are outside text, 4 and 5 the
// string's own bytes (all of them, or all but the first). On every fifth row
// the allocator refuses whatever the operation asks for.
struct Row {
    std::string start;
    std::size_t room, pos, n, pos2;
    int operand;
    char c;
    bool refuse;
};

std::vector<Row> Rows()
{
    std::vector<Row> rows;
    std::size_t k = 0;
    for (const std::string& start : {std::string(), std::string("abcab"), std::string("a\0cb", 4)})
        for (std::size_t pos : {std::size_t{0}, std::size_t{1}, start.size() - !start.empty(),
                                start.size(), start.size() + 1, std::string::npos})
            for (std::size_t n : {std::size_t{0}, std::size_t{2}, std::string::npos})
                for (int operand = 0; operand < 6; ++operand, ++k)
                    rows.push_back({start, k % 7 < 3 ? 8u : 0u, pos, n, k % 4, operand,
                                    "a\0zb"[k / 4 % 4], k % 5 == 0});
    return rows;
}

const std::string kOutside[] = {"", "bc", std::string("x\0y", 3), "cabcabcabcabcabcabca"};

template <typename S> std::string_view Text(const S& s, const Row& r)
{
    const std::string_view own(s.data(), s.size());
    return r.operand < 4 ? std::string_view(kOutside[r.operand])
                         : own.substr(r.operand == 5 && !own.empty());
}
template <typename S> const char* CStr(const S& s, const Row& r)
{
    return r.operand < 4 ? kOutside[r.operand].c_str() : s.c_str() + (r.operand == 5 && !s.empty());
}
// The iterator at pos, and the span of at most n bytes from it.
template <typename S> auto At(S& s, const Row& r)
{
    return s.begin() + static_cast<std::ptrdiff_t>(std::min(r.pos, s.size()));
}
template <typename S> auto Span(S& s, const Row& r)
{
    const auto first = At(s, r);
    return std::pair(first, first + static_cast<std::ptrdiff_t>(std::min<std::size_t>(
                                        r.n, static_cast<std::size_t>(s.end() - first))));
}
std::allocator<char> Alloc(const std::string&)
{
    return {};
}
VekAllocator* Alloc(const vek::String& s)
{
    return s.allocator();
}
// Make builds another string of the same kind with s's allocator.
template <typename S, typename... Args> S Make(const S& s, Args&&... args)
{
    return S(std::forward<Args>(args)..., Alloc(s));
}
// Show renders what an operation returned so that the two kinds compare.
template <typename S, typename V> std::string Show(const S& s, const V& v)
{
    if constexpr (std::is_same_v<V, typename S::iterator>)
        return "at " + std::to_string(v - s.begin());
    else if constexpr (std::is_convertible_v<V, std::string_view>)
        return ::testing::PrintToString(std::string(std::string_view(v)));
    else if constexpr (std::is_same_v<V, int> || std::is_same_v<V, std::strong_ordering>)
        return "sign " + std::to_string((v > 0) - (v < 0));
    else
        return std::to_string(v);
}

template <typename S, typename F> std::string Run(S& s, const Row& r, const F& f)
{
    using R = decltype(f(s, r));
    if constexpr (std::is_void_v<R>) {
        f(s, r);
        return "";
    } else if constexpr (std::is_same_v<R, S&>) {
        return &f(s, r) == &s ? "*this" : "another string";
    } else {
        return Show(s, static_cast<std::decay_t<R>>(f(s, r)));
    }
}

struct Op {
    const char* name;
    std::function<std::string(std::string&, const Row&)> model;
    std::function<std::string(vek::String&, const Row&)> tested;
};
template <typename F> Op Both(const char* name, F f)
{
    return {name, [f](std::string& s, const Row& r) { return Run(s, r, f); },
            [f](vek::String& s, const Row& r) { return Run(s, r, f); }};
}

// An operation is one expression over s (either kind, S its type) and the row r.
#define VEK_OP(expression)                                                                         \
    Both(#expression, [](auto& s, [[maybe_unused]] const Row& r) -> decltype(auto) {               \
        using S [[maybe_unused]] = std::decay_t<decltype(s)>;                                      \
        return expression;                                                                         \
    })
#define VEK_SEARCH(f)                                                                              \
    VEK_OP(s.f(Text(s, r), r.pos)), VEK_OP(s.f(CStr(s, r), r.pos)),                                \
        VEK_OP(s.f(Text(s, r).data(), r.pos, Text(s, r).size())), VEK_OP(s.f(r.c, r.pos))
// f called with the text, as a C string, and as bytes and a length, after
// the leading arguments (which end in a comma).
#define VEK_TEXTS(f, ...)                                                                          \
    VEK_OP(f(__VA_ARGS__ Text(s, r))), VEK_OP(f(__VA_ARGS__ CStr(s, r))),                          \
        VEK_OP(f(__VA_ARGS__ Text(s, r).data(), Text(s, r).size()))
#define VEK_PREDICATE(f) VEK_OP(s.f(Text(s, r))), VEK_OP(s.f(CStr(s, r))), VEK_OP(s.f(r.c))

// clang-format off
const std::vector<Op>& Ops()
{
    static const std::vector<Op> ops = {
        // Construction, copies, assignment.
        VEK_TEXTS(Make, s,),
        VEK_OP(Make(s, r.n, r.c)),
        VEK_OP(Make(s, S(Text(s, r)), r.pos)),
        VEK_OP(Make(s, Text(s, r), r.pos, r.n)),
        VEK_OP(Make(s, Text(s, r).begin(), Text(s, r).end())),
        VEK_OP(Make(s, s.crbegin(), s.crend())),
        VEK_OP([&] { std::istringstream in{std::string(Text(s, r))}; return Make(s, std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()); }()),
        VEK_OP(S({r.c, 'b'}, Alloc(s))),
        VEK_OP(S(s)),
        VEK_OP(s = S(Text(s, r))),
        VEK_OP(s = std::as_const(s)),
        VEK_OP(s = Text(s, r)),
        VEK_OP(s = CStr(s, r)),
        VEK_OP(s = r.c),
        VEK_OP((s = {r.c, 'b'})),
        VEK_TEXTS(s.assign,),
        VEK_OP(s.assign(Text(s, r), r.pos, r.n)),
        VEK_OP(s.assign(r.n, r.c)),
        VEK_OP(s.assign(Text(s, r).begin(), Text(s, r).end())),
        VEK_OP(s.assign(s.rbegin(), s.rend())),
        VEK_OP(s.assign({r.c, 'b'})),
        VEK_OP(s.assign(S(Text(s, r)))),
        VEK_OP([&] { S other(Text(s, r)); s.swap(other); return other; }()),
        VEK_OP([&] { S other(Text(s, r)); swap(s, other); return other; }()),
        // Appending.
        VEK_TEXTS(s.append,),
        VEK_OP(s.append(Text(s, r), r.pos, r.n)),
        VEK_OP(s.append(r.n, r.c)),
        VEK_OP(s.append(Text(s, r).begin(), Text(s, r).end())),
        VEK_OP(s.append(s.cbegin(), s.cend())),
        VEK_OP(s.append(s.rbegin(), s.rend())),
        VEK_OP([&] { std::istringstream in{std::string(Text(s, r))}; return s.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()).size(); }()),
        VEK_OP(s.append({r.c, 'b'})),
        VEK_OP(s += Text(s, r)),
        VEK_OP(s += CStr(s, r)),
        VEK_OP(s += r.c),
        VEK_OP((s += {r.c, 'b'})),
        VEK_OP(s.push_back(r.c)),
        VEK_OP(s.empty() ? void() : s.pop_back()),
        // Insertion.
        VEK_TEXTS(s.insert, r.pos,),
        VEK_OP(s.insert(r.pos, Text(s, r), r.pos2, r.n)),
        VEK_OP(s.insert(r.pos, r.n, r.c)),
        VEK_OP(s.insert(At(s, r), r.c)),
        VEK_OP(s.insert(At(s, r), r.n, r.c)),
        VEK_OP(s.insert(At(s, r), Text(s, r).begin(), Text(s, r).end())),
        VEK_OP(s.insert(At(s, r), s.begin(), s.end())),
        VEK_OP(s.insert(At(s, r), s.rbegin(), s.rend())),
        VEK_OP(s.insert(At(s, r), {r.c, 'b'})),
        // Replacement.
        VEK_TEXTS(s.replace, r.pos, r.n,),
        VEK_OP(s.replace(r.pos, r.n, Text(s, r), r.pos2, r.n)),
        VEK_OP(s.replace(r.pos, r.n, r.pos2 * 30, r.c)),
        VEK_OP(s.replace(Span(s, r).first, Span(s, r).second, Text(s, r))),
        VEK_OP(s.replace(Span(s, r).first, Span(s, r).second, CStr(s, r))),
        VEK_OP(s.replace(Span(s, r).first, Span(s, r).second, Text(s, r).data(), std::min(r.pos2, Text(s, r).size()))),
        VEK_OP(s.replace(Span(s, r).first, Span(s, r).second, r.pos2, r.c)),
        VEK_OP(s.replace(Span(s, r).first, Span(s, r).second, s.rbegin(), s.rend())),
        VEK_OP(s.replace(Span(s, r).first, Span(s, r).second, {r.c, 'b'})),
        // Erasure and capacity.
        VEK_OP(s.erase(r.pos, r.n)),
        VEK_OP(s.erase(r.pos)),
        VEK_OP(s.empty() ? s.end() : s.erase(s.begin() + std::min(r.pos, s.size() - 1))),
        VEK_OP(s.erase(Span(s, r).first, Span(s, r).second)),
        VEK_OP(erase(s, r.c)),
        VEK_OP(erase_if(s, [&](char x) { return x == r.c || x == 'b'; })),
        VEK_OP(s.clear()),
        VEK_OP(s.resize(r.pos)),
        VEK_OP(s.resize(r.n, r.c)),
        VEK_OP([&] { auto had = s.capacity(); s.reserve(r.pos); return s.capacity() >= std::max(had, r.pos); }()),
        VEK_OP([&] { s.shrink_to_fit(); return s.capacity() >= s.size(); }()),
        VEK_OP(s.size() + s.length() + s.empty()),
        // Access.
        VEK_OP(s.at(r.pos)),
        VEK_OP(std::as_const(s).at(r.pos)),
        VEK_OP(std::as_const(s)[std::min(r.pos, s.size())]),
        VEK_OP(s.empty() ? '-' : char(s.front() + s.back() + std::as_const(s).front() + std::as_const(s).back())),
        VEK_OP(s.substr(r.pos, r.n)),
        VEK_OP(s.substr(r.pos)),
        VEK_OP([&] { char out[8]; return std::string(out, s.copy(out, r.n, r.pos)); }()),
        VEK_OP(std::string(s.c_str()) + std::string(std::as_const(s).data(), s.size())),
        VEK_OP(std::string_view(s)),
        VEK_OP(std::string(s.crbegin(), s.crend()) + std::string(s.cbegin(), s.cend())),
        VEK_OP(std::string(std::as_const(s).rbegin(), std::as_const(s).rend())),
        // Searches and comparison.
        VEK_SEARCH(find), VEK_SEARCH(rfind),
        VEK_SEARCH(find_first_of), VEK_SEARCH(find_first_not_of),
        VEK_SEARCH(find_last_of), VEK_SEARCH(find_last_not_of),
        VEK_OP(s.find(Text(s, r)) + s.rfind(Text(s, r))),
        VEK_PREDICATE(starts_with), VEK_PREDICATE(ends_with),
        VEK_OP(s.compare(Text(s, r))),
        VEK_OP(s.compare(CStr(s, r))),
        // std::string's string_view forms wrongly promise not to throw.
        VEK_OP(s.compare(r.pos, r.n, std::string(Text(s, r)))),
        VEK_OP(s.compare(r.pos, r.n, CStr(s, r))),
        VEK_OP(s.compare(r.pos, r.n, std::string(Text(s, r)), r.pos2, r.n)),
        VEK_OP(s.compare(r.pos, r.n, Text(s, r).data(), Text(s, r).size())),
        VEK_OP(s == S(Text(s, r))),
        VEK_OP(s == Text(s, r)),
        VEK_OP(Text(s, r) == s),
        VEK_OP(s == CStr(s, r)),
        VEK_OP(CStr(s, r) == s),
        VEK_OP(s != CStr(s, r)),
        VEK_OP(s < S(Text(s, r))),
        VEK_OP(s <= Text(s, r)),
        VEK_OP(CStr(s, r) > s),
        VEK_OP(s >= std::string(Text(s, r))),
        VEK_OP(s <=> Text(s, r)),
        VEK_OP(CStr(s, r) <=> s),
        // Concatenation and streams.
        VEK_OP(s + s),
        VEK_OP(s + CStr(s, r)),
        VEK_OP(s + r.c),
        VEK_OP(CStr(s, r) + s),
        VEK_OP(r.c + s),
        VEK_OP(S(s) + S(Text(s, r))),
        VEK_OP(S(s) + s),
        VEK_OP(s + S(Text(s, r))),
        VEK_OP(S(s) + CStr(s, r)),
        VEK_OP(S(s) + r.c),
        VEK_OP(CStr(s, r) + S(s)),
        VEK_OP(r.c + S(s)),
        VEK_OP([&] { std::ostringstream out; out << std::setw(7) << std::left << s << '|'; return out.str(); }()),
        VEK_OP([&] { std::istringstream in(" " + std::string(Text(s, r)) + " z"); in >> s; return in.rdstate(); }()),
        VEK_OP([&] { std::istringstream in{std::string(Text(s, r))}; getline(in, s, r.c); getline(in, s, r.c); return in.rdstate(); }()),
        VEK_OP(getline(std::istringstream(std::string(Text(s, r))), s).rdstate()),
    };
    return ops;
}
// clang-format on

std::string Describe(const Row& r)
{
    return ::testing::PrintToString(
        std::make_tuple(r.start, r.room, r.pos, r.n, r.pos2, r.operand, r.c, r.refuse));
}

// Outcome runs one operation: what it returned or threw, and the content after.
template <typename S, typename F> std::string Outcome(S& s, const Row& r, const F& f)
{
    std::string result;
    try {
        result = f(s, r);
    } catch (const std::exception& e) {
        result = std::string("threw ") + typeid(e).name();
    }
    return result + ", content " + ::testing::PrintToString(std::string(s.data(), s.size()));
}

TEST(StringClass, EveryOverloadBehavesLikeStdStringAndRefusalsChangeNothing)
{
    const std::string refused = std::string("threw ") + typeid(std::bad_alloc).name();
    int failures = 0;
    for (const Row& r : Rows())
        for (const Op& op : Ops()) {
            std::string model(r.start);
            model.reserve(r.start.size() + r.room);
            RecordingAllocator alloc;
            {
                vek::String s(r.start, alloc);
                s.reserve(r.start.size() + r.room);
                const auto before = vektest::Snapshot::Of(*s.get());
                if (r.refuse)
                    alloc.RefuseAll();
                const std::string want = Outcome(model, r, op.model);
                const std::string got = Outcome(s, r, op.tested);
                if (r.refuse && got.rfind(refused, 0) == 0)
                    EXPECT_EQ(vektest::Snapshot::Of(*s.get()), before)
                        << op.name << " on " << Describe(r);
                else
                    EXPECT_EQ(got, want) << op.name << " on " << Describe(r);
                EXPECT_TRUE(vektest::HasInvariants(*s.get())) << op.name;
            }
            EXPECT_TRUE(alloc.IsClean()) << op.name << " on " << Describe(r);
            if (HasFailure() && ++failures > 20)
                FAIL() << "stopping after the first failures";
        }
}

// What std::string cannot be held against: allocators, capacities, hashing,
// formatting and the module's own additions.

TEST(StringClass, AllocatorsFollowCopiesAndMovesAndBoundTheSize)
{
    RecordingAllocator a1, a2(12);
    {
        vek::String x("from a1", a1), y("a2", a2);
        EXPECT_EQ(vek::String(x).allocator(), a1.get());
        EXPECT_EQ(x.substr(1).allocator(), a1.get());
        EXPECT_EQ(("<" + x).allocator(), a1.get());
        y = x; // keeps its own allocator
        EXPECT_EQ(y.allocator(), a2.get());
        vek::String moved(std::move(x));
        EXPECT_EQ(moved.allocator(), a1.get());
        swap(moved, y);
        EXPECT_EQ(moved.allocator(), a2.get());
        // a2 grants capacities below 12.
        EXPECT_EQ(moved.max_size(), 11u);
        EXPECT_THROW(moved.append(5, 'x'), std::length_error);
        EXPECT_THROW(moved.append(1, 'x'), std::bad_alloc); // doubling to 14 is refused
        EXPECT_EQ(moved, "from a1");
        moved.reserve(10);
        a2.ClearEvents();
        moved.reserve(10); // exactly, and never shrinking: no new block
        moved.reserve(8);
        EXPECT_EQ(moved.capacity(), 10u);
        moved.shrink_to_fit();
        EXPECT_EQ(moved.capacity(), 7u);
        moved.shrink_to_fit(); // already fits: no new block
        EXPECT_EQ(a2.Trace(), "+8 -11");
        EXPECT_EQ(vek::String(std::string_view(), a2).max_size(), 11u);
        // Beyond std::size_t on a 32-bit target, yet below its npos.
        RecordingAllocator unbounded(VekStringNpos);
        EXPECT_LT(vek::String(std::string_view(), unbounded).max_size(), vek::String::npos);
    }
    EXPECT_TRUE(a1.IsClean());
    EXPECT_TRUE(a2.IsClean());
}

// Balance passes allocations on to another resource and counts the bytes out;
// they come to zero only if every block came back with its own byte count.
struct Balance : std::pmr::memory_resource {
    explicit Balance(std::pmr::memory_resource* to) : upstream(to) {}
    void* do_allocate(std::size_t n, std::size_t align) override
    {
        void* p = upstream->allocate(n, align);
        bytes += n;
        return p;
    }
    void do_deallocate(void* p, std::size_t n, std::size_t align) override
    {
        bytes -= n;
        upstream->deallocate(p, n, align);
    }
    bool do_is_equal(const memory_resource& other) const noexcept override
    {
        return this == &other;
    }
    std::pmr::memory_resource* upstream;
    std::size_t bytes = 0;
};

TEST(StringClass, DrawsFromMemoryResources)
{
    char few[64];
    std::pmr::monotonic_buffer_resource arena,
        refusing(few, sizeof few, std::pmr::null_memory_resource());
    std::pmr::unsynchronized_pool_resource pool;
    for (std::pmr::memory_resource* upstream :
         std::initializer_list<std::pmr::memory_resource*>{&arena, &pool, &refusing}) {
        Balance balance(upstream);
        {
            vek::String s("pooled", &balance);
            vek::ResourceAllocator own(&balance);
            vek::String t(s, own);
            EXPECT_EQ(s.allocator(), vek::ResourceAllocator::For(&balance));
            try {
                while (s.size() < 300)
                    s += t;
            } catch (const std::bad_alloc&) {
            }
            EXPECT_EQ(s.size() >= 300, upstream != &refusing);
            EXPECT_EQ(s.size() % 6, 0u);
            EXPECT_EQ(t, "pooled");
        }
        EXPECT_EQ(balance.bytes, 0u);
    }
}

TEST(StringClass, WideTextRoundTripsWithZeroUnitsAndLongRuns)
{
    // Long enough to be taken in several chunks, with a surrogate pair that
    // straddles a chunk boundary and zero units inside.
    std::u16string wide(255, u'a');
    wide += u"\U0001D11E";
    wide += std::u16string(300, u'\u00e9');
    wide += u'\0';
    wide += u"end\0";
    const std::vector<char16_t> exact(wide.begin(), wide.end()); // nothing to read beyond
    const vek::String s(std::u16string_view(exact.data(), exact.size()));
    EXPECT_EQ(s.to_utf16(), wide);
    EXPECT_EQ(s.capacity(), s.size());
    const std::u32string ucs4(U"\U0001F600 \0x", 4);
    EXPECT_EQ(vek::String(ucs4), std::string_view("\xF0\x9F\x98\x80 \0x", 7));
    EXPECT_THROW(vek::String(std::u16string_view(u"\xD800x", 2)), std::range_error);
    EXPECT_THROW(vek::String("\xC0\xAF").to_utf16(), std::range_error);
    // The C API's UTF-16 output passes the decoder through, up to the first NUL.
    VekUint16 out[4] = {9, 9, 9, 9};
    VekSizeT len = 0;
    EXPECT_TRUE(VekStringWriteUtf16(vek::String("\xC3\xA9\0b", 4).get(), out, 4, &len));
    EXPECT_TRUE(len == 1 && out[0] == 0xE9 && out[1] == 0);
}

std::string Bracketed(const vek::Fields& fields)
{
    std::string out; // postfix ++ on purpose: it must hand back the field it leaves
    for (auto it = fields.begin(); it != fields.end();)
        out.append("[").append(*it++).append("]");
    return out;
}

// The module's own additions: containment, find-and-replace, formatting,
// overwriting, hashing and lookup by any text, trimming, case, counts, fields and cuts, none of
// them allocating where it need not.
TEST(StringClass, ModuleAdditions)
{
    RecordingAllocator alloc;
    {
        vek::String r("a-b-c", alloc);
        EXPECT_TRUE(r.contains("-b") && r.contains('c') && !r.contains("x"));
        EXPECT_EQ(r.replace_all("-", "--"), 2u);
        r.resize_and_overwrite(10, [](char* p, std::size_t n) {
            std::memcpy(p + 7, "xyz", 3);
            return n - 1;
        });
        EXPECT_EQ(r, "a--b--cxy");
        r.resize_and_overwrite(4, [](char*, std::size_t n) { return n - 1; });
        EXPECT_EQ(r, "a--");
        EXPECT_EQ(vek::String::format(alloc, "%d-%s", 7, "up").appendf("%c", '!'), "7-up!");
        using namespace vek::literals;
        EXPECT_EQ(vek::String("abc").hash(), 108966u);
        EXPECT_EQ(std::hash<vek::String>()("a\0b"_vs),
                  vek::StringHash()(std::string_view("a\0b", 3)));
        std::unordered_set<vek::String, vek::StringHash, vek::StringEqual> set{"a", "b", "a"};
        EXPECT_EQ(set.size(), 2u);
        EXPECT_EQ(set.count(std::string_view("b")), 1u);
        EXPECT_EQ(set.count("c"), 0u);
        vek::String s(" \tKey: a,,b \r\n", alloc);
        EXPECT_EQ(s.trim(), "Key: a,,b");
        std::string_view key, value;
        EXPECT_TRUE(s.cut(": ", key, value) && key == "Key" && value == "a,,b");
        EXPECT_FALSE(s.cut("=", key, value) || key != s || !value.empty());
        EXPECT_EQ(Bracketed(s.fields(',')), "[Key: a][][b]");
        const vek::Fields commas = s.fields(',');
        EXPECT_TRUE(commas.begin() == commas.begin() && !(++commas.begin() == commas.begin()));
        EXPECT_EQ(Bracketed(s.fields(": ")), "[Key][a,,b]");
        EXPECT_EQ(Bracketed(s.fields_any_of(":,")), "[Key][ a][][b]");
        EXPECT_EQ(Bracketed(vek::String(" a \n b ").words()), "[a][b]");
        EXPECT_EQ(Bracketed(vek::String().fields(',')), "[]");
        EXPECT_EQ(s.count(','), 2u);
        EXPECT_EQ(s.count(""), s.size() + 1);
        EXPECT_EQ(s.replace_all(",", ";"), 2u);
        EXPECT_TRUE(s.iequals("KEY: A;;B") && s.icompare("key: a;;c") < 0);
        EXPECT_EQ(s.to_upper(), "KEY: A;;B");
        EXPECT_EQ(s.to_lower().trim_left("ke").trim_right(";b"), "y: a");
        EXPECT_EQ(s.trim("a :y"), "");
        s = "z";
        alloc.RefuseAll();
        EXPECT_THROW(s.replace_all("z", "zz"), std::bad_alloc);
        EXPECT_THROW(r.appendf("%s", "long enough to grow"), std::bad_alloc);
        EXPECT_THROW(vek::String::format(alloc, "%d", 1), std::bad_alloc);
        EXPECT_TRUE(s == "z" && r == "a--");
        // Up to 64 copies of a byte are made on the stack, never allocated.
        alloc.AllowAll();
        r.reserve(70);
        alloc.RefuseAll();
        EXPECT_EQ(r.replace(0, 1, 64, 'x').size(), 66u);
    }
    EXPECT_TRUE(alloc.IsClean());
}

#if VEK_TEST_HAVE_FMT
TEST(StringClass, FormatsThroughFmt)
{
    EXPECT_EQ(fmt::format("[{:>5}|{}]", vek::String("ab"), vek::String("c\0d", 3)),
              std::string("[   ab|c\0d]", 11));
}
#endif

} // namespace
