// Facts about substring search, character-set search and find-and-replace.
// Each search row is run through every operand form of its search (VekString,
// pointer and count, C string where the operand has no NUL, single byte where
// it is one byte); all forms must give the row's result. Find-and-replace rows
// give the result with its capacity and the exact allocator trace.
#include "VekTestSupport.h"

#include <deque>
#include <vector>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

constexpr VekSizeT kNpos = VekStringNpos;

// Strings over a recording allocator, destroyed (and checked) at scope end.
class Strings {
  public:
    VekString* Make(std::string_view content)
    {
        strings_.emplace_back();
        VekStringConstructCStrLen(&strings_.back(), content.data(), content.size(), alloc_);
        return &strings_.back();
    }
    ~Strings()
    {
        for (VekString& s : strings_)
            VekStringDestruct(&s);
        EXPECT_TRUE(alloc_.IsClean());
    }

  private:
    RecordingAllocator alloc_;
    std::deque<VekString> strings_;
};

bool HasNul(const std::string& s)
{
    return s.find('\0') != std::string::npos;
}

struct SubstringCase {
    std::string x;
    VekSizeT pos;
    std::string y;
    VekSizeT find;  // forward from pos
    VekSizeT rfind; // backward from pos
};

// The six forms of one search direction. The forms without a position stand
// for the position whole_pos.
struct SubstringForms {
    VekSizeT (*from_pos_cstrlen)(const VekString*, VekSizeT, const char*, VekSizeT);
    VekSizeT (*from_pos)(const VekString*, VekSizeT, const VekString*);
    VekSizeT (*from_pos_cstr)(const VekString*, VekSizeT, const char*);
    VekSizeT (*cstrlen)(const VekString*, const char*, VekSizeT);
    VekSizeT (*string)(const VekString*, const VekString*);
    VekSizeT (*cstr)(const VekString*, const char*);
    VekSizeT whole_pos;
};

const SubstringForms kFind = {VekStringFindFromPosCStrLen,
                              VekStringFindFromPos,
                              VekStringFindFromPosCStr,
                              VekStringFindCStrLen,
                              VekStringFind,
                              VekStringFindCStr,
                              0};
const SubstringForms kRFind = {VekStringRFindFromPosCStrLen,
                               VekStringRFindFromPos,
                               VekStringRFindFromPosCStr,
                               VekStringRFindCStrLen,
                               VekStringRFind,
                               VekStringRFindCStr,
                               kNpos};

// The results of every form that applies to the case.
std::vector<VekSizeT> AllForms(const SubstringForms& f, Strings& strings, const SubstringCase& c)
{
    const VekString* x = strings.Make(c.x);
    const VekString* y = strings.Make(c.y);
    std::vector<VekSizeT> r = {f.from_pos_cstrlen(x, c.pos, c.y.data(), c.y.size()),
                               f.from_pos(x, c.pos, y)};
    if (!HasNul(c.y))
        r.push_back(f.from_pos_cstr(x, c.pos, c.y.c_str()));
    if (c.pos == f.whole_pos) {
        r.push_back(f.cstrlen(x, c.y.data(), c.y.size()));
        r.push_back(f.string(x, y));
        if (!HasNul(c.y))
            r.push_back(f.cstr(x, c.y.c_str()));
    }
    return r;
}

TEST(SubstringSearch, FindsTheNearestWholeMatch)
{
    const SubstringCase cases[] = {
        // The empty needle stands everywhere up to the end.
        {"hello", 0, "", 0, 0},
        {"hello", 3, "", 3, 3},
        {"hello", 5, "", 5, 5},
        {"hello", 6, "", kNpos, 5},
        {"hello", kNpos, "", kNpos, 5},
        {"", 0, "", 0, 0},
        {"", kNpos, "", kNpos, 0},
        // At the end: forward finds nothing non-empty, backward fits the needle.
        {"hello", 5, "o", kNpos, 4},
        {"hello", 4, "o", 4, 4},
        {"hello", 4, "lo", kNpos, 3},
        {"hello", 3, "lo", 3, 3},
        {"hello", 0, "lo", 3, kNpos},
        {"", 0, "a", kNpos, kNpos},
        // Needles longer than the rest or the whole string.
        {"abc", 0, "abcd", kNpos, kNpos},
        {"abc", kNpos, "abcd", kNpos, kNpos},
        {"abc", 1, "abc", kNpos, 0},
        {"abc", kNpos, "abc", kNpos, 0},
        {"abc", 0, "abc", 0, 0},
        // Offset 0 is a candidate both ways.
        {"abc", 0, "a", 0, 0},
        {"abc", kNpos, "a", kNpos, 0},
        {"abcabc", 0, "abc", 0, 0},
        {"abcabc", 2, "abc", 3, 0},
        {"abcabc", 3, "abc", 3, 3},
        {"abcabc", 100, "abc", kNpos, 3},
        {"abcabc", kNpos, "abc", kNpos, 3},
        {"aaaa", 1, "aa", 1, 1},
        {"aaab", 0, "aab", 1, kNpos},
        // NUL and high bytes are ordinary bytes.
        {std::string("a\0b\0b", 5), 0, std::string("\0b", 2), 1, kNpos},
        {std::string("a\0b\0b", 5), 2, std::string("\0b", 2), 3, 1},
        {std::string("a\0b\0b", 5), kNpos, std::string("\0b", 2), kNpos, 3},
        {"\xff\x01\xff", 0, "\x01\xff", 1, kNpos},
    };
    for (const SubstringCase& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << '"' << c.x << "\" pos " << c.pos << " y \"" << c.y << '"');
        Strings strings;
        for (VekSizeT r : AllForms(kFind, strings, c))
            EXPECT_EQ(r, c.find);
        for (VekSizeT r : AllForms(kRFind, strings, c))
            EXPECT_EQ(r, c.rfind);
    }
}

TEST(SubstringSearch, CStrNeedlesEndAtTheirFirstNul)
{
    Strings strings;
    const VekString* x = strings.Make(std::string("ab\0cb", 5));
    EXPECT_EQ(VekStringFindCStr(x, "b\0c"), 1u);
    EXPECT_EQ(VekStringRFindCStr(x, "b\0c"), 4u);
    EXPECT_EQ(VekStringFindFromPosCStr(x, 2, "\0c"), 2u);
    EXPECT_EQ(VekStringRFindFromPosCStr(x, 9, "\0c"), 5u);
}

// The forms of one set search; the backward searches have no VekString or
// C-string form.
struct SetForms {
    const char* name;
    VekSizeT (*cstrlen)(const VekString*, VekSizeT, const char*, VekSizeT);
    VekSizeT (*ch)(const VekString*, VekSizeT, char);
    VekSizeT (*string)(const VekString*, VekSizeT, const VekString*);
    VekSizeT (*cstr)(const VekString*, VekSizeT, const char*);
};

const SetForms kFirstOf = {"FirstOf", VekStringFindFirstOfCStrLen, VekStringFindFirstOfChar,
                           VekStringFindFirstOf, VekStringFindFirstOfCStr};
const SetForms kFirstNotOf = {"FirstNotOf", VekStringFindFirstNotOfCStrLen,
                              VekStringFindFirstNotOfChar, VekStringFindFirstNotOf,
                              VekStringFindFirstNotOfCStr};
const SetForms kLastOf = {"LastOf", VekStringFindLastOfCStrLen, VekStringFindLastOfChar, nullptr,
                          nullptr};
const SetForms kLastNotOf = {"LastNotOf", VekStringFindLastNotOfCStrLen, VekStringFindLastNotOfChar,
                             nullptr, nullptr};

struct SetCase {
    std::string x;
    const SetForms& search;
    VekSizeT pos;
    std::string set;
    VekSizeT expected;
};

// The results of every form of the case's search that applies to its set.
std::vector<VekSizeT> AllForms(Strings& strings, const SetCase& c)
{
    const SetForms& f = c.search;
    const VekString* x = strings.Make(c.x);
    std::vector<VekSizeT> r = {f.cstrlen(x, c.pos, c.set.data(), c.set.size())};
    if (c.set.size() == 1)
        r.push_back(f.ch(x, c.pos, c.set[0]));
    if (f.string != nullptr)
        r.push_back(f.string(x, c.pos, strings.Make(c.set)));
    if (f.cstr != nullptr && !HasNul(c.set))
        r.push_back(f.cstr(x, c.pos, c.set.c_str()));
    return r;
}

TEST(SetSearch, FindsTheNearestQualifyingByte)
{
    const std::string anb("a\0b", 3);
    const SetCase cases[] = {
        {"hello world", kFirstOf, 0, " o", 4},
        {"hello world", kFirstOf, 5, "o ", 5},
        {"abc", kFirstOf, 0, "cba", 0},
        {"abc", kLastOf, kNpos, "ab", 1},
        {"abcabc", kLastOf, 3, "a", 3},
        {"hello", kFirstNotOf, 2, "lo", kNpos},
        {"   abc", kFirstNotOf, 0, " ", 3},
        {"abc  ", kLastNotOf, kNpos, " ", 2},
        {"xxab", kLastNotOf, kNpos, "ab", 1},
        // The end asymmetry: forward from pos >= size finds nothing, backward
        // starts at the last byte.
        {"   abc", kFirstNotOf, 6, " ", kNpos},
        {"abc", kFirstOf, kNpos, "c", kNpos},
        {"a/b/c", kLastOf, kNpos, "/", 3},
        {"a/b/c", kLastOf, 10, "/", 3},
        {"a/b/c", kLastOf, 3, "/", 3},
        {"a/b/c", kLastOf, 2, "/", 1},
        {"a/b/c", kLastOf, 0, "/", kNpos},
        {"abc", kLastNotOf, 5, "x", 2},
        // The empty set holds nothing; every byte is outside it.
        {"hello", kFirstOf, 0, "", kNpos},
        {"hello", kLastOf, kNpos, "", kNpos},
        {"hello", kFirstNotOf, 3, "", 3},
        {"hello", kFirstNotOf, 5, "", kNpos},
        {"abc", kLastNotOf, kNpos, "", 2},
        {"abc", kLastNotOf, 1, "", 1},
        {"abc", kLastNotOf, 0, "", 0},
        // An empty string has nothing to find in either direction.
        {"", kFirstOf, 0, "a", kNpos},
        {"", kFirstNotOf, 0, "", kNpos},
        {"", kLastOf, kNpos, "a", kNpos},
        {"", kLastNotOf, kNpos, "", kNpos},
        {"", kLastNotOf, 0, "a", kNpos},
        // NUL and high bytes are ordinary bytes of content and set.
        {anb, kFirstOf, 0, std::string("\0", 1), 1},
        {anb, kLastOf, kNpos, std::string("\0", 1), 1},
        {anb, kFirstNotOf, 0, std::string("a\0", 2), 2},
        {anb, kLastNotOf, kNpos, std::string("\0b", 2), 0},
        {anb, kFirstNotOf, 1, "b", 1},
        {"a\xff", kFirstOf, 0, "\xff", 1},
        {"\xff\x7f", kLastNotOf, kNpos, "\x7f", 0},
    };
    for (const SetCase& c : cases) {
        SCOPED_TRACE(testing::Message() << '"' << c.x << "\" " << c.search.name << " pos " << c.pos
                                        << " set \"" << c.set << '"');
        Strings strings;
        for (VekSizeT r : AllForms(strings, c))
            EXPECT_EQ(r, c.expected);
    }
}

TEST(SetSearch, CStrSetsCannotHoldNul)
{
    Strings strings;
    const VekString* x = strings.Make(std::string("a\0b", 3));
    EXPECT_EQ(VekStringFindFirstOfCStr(x, 0, "\0a"), kNpos);
    EXPECT_EQ(VekStringFindFirstOfCStr(x, 0, "b\0a"), 2u);
    EXPECT_EQ(VekStringFindFirstNotOfCStr(x, 0, "a\0"), 1u);
}

struct ReplaceCase {
    std::string x;
    VekSizeT x_capacity;
    std::string find;
    std::string replace;
    std::string result;
    VekSizeT capacity;
    const char* trace;
};

TEST(FindAndReplace, ReplacesOriginalOccurrencesLeftToRightOnACopy)
{
    const ReplaceCase cases[] = {
        {"aaa", 3, "aa", "b", "ba", 3, "+4 -4"},
        // The inserted "abab" is not searched again; the copy doubles once.
        {"abab", 4, "ab", "abab", "abababab", 8, "+5 +9 -5 -5"},
        {"a.b.c", 5, ".", "", "abc", 5, "+6 -6"},
        {"xaxbx", 5, "x", "yy", "yyayybyy", 10, "+6 +11 -6 -6"},
        {"abc", 3, "abc", "", "", 3, "+4 -4"},
        {std::string("a\0b\0", 4), 4, std::string("\0", 1), "--", "a--b--", 8, "+5 +9 -5 -5"},
        // Nothing found still installs a fitted copy; spare capacity is gone.
        {"hello", 20, "xyz", "q", "hello", 5, "+6 -21"},
        {"ab", 2, "abc", "q", "ab", 2, "+3 -3"},
        {"", 0, "a", "b", "", 0, ""},
        {"", 8, "a", "b", "", 0, "-9"},
        // An empty find changes nothing and calls nothing.
        {"abc", 10, "", "zz", "abc", 10, ""},
        {"", 0, "", "zz", "", 0, ""},
    };
    for (const ReplaceCase& c : cases) {
        SCOPED_TRACE(testing::Message()
                     << '"' << c.x << "\" find \"" << c.find << "\" by \"" << c.replace << '"');
        RecordingAllocator alloc;
        VekString x;
        MakeOwned(&x, c.x, c.x_capacity, alloc);
        VekString find;
        VekString replace;
        VekStringConstructCStrLen(&find, c.find.data(), c.find.size(), VekAllocatorGetDefault());
        VekStringConstructCStrLen(&replace, c.replace.data(), c.replace.size(),
                                  VekAllocatorGetDefault());
        const Snapshot before = Snapshot::Of(x);
        alloc.ClearEvents();
        EXPECT_EQ(VekStringFindAndReplace(&x, &find, &replace), &x);
        EXPECT_EQ(Content(x), c.result);
        EXPECT_EQ(x.capacity, c.capacity);
        EXPECT_TRUE(HasInvariants(x));
        EXPECT_EQ(alloc.Trace(), c.trace);
        if (c.find.empty()) {
            EXPECT_EQ(Snapshot::Of(x), before);
        }
        VekStringDestruct(&x);
        VekStringDestruct(&find);
        VekStringDestruct(&replace);
        EXPECT_TRUE(alloc.IsClean());
    }
}

TEST(FindAndReplace, FindAndReplaceMayBeTheStringItself)
{
    Strings strings;
    const VekString* xy = strings.Make("XY");
    const VekString* b = strings.Make("b");
    VekString* x = strings.Make("abc");
    EXPECT_EQ(VekStringFindAndReplace(x, x, xy), x);
    EXPECT_EQ(Content(*x), "XY");
    x = strings.Make("ab");
    EXPECT_EQ(VekStringFindAndReplace(x, b, x), x);
    EXPECT_EQ(Content(*x), "aab");
    x = strings.Make("abc");
    EXPECT_EQ(VekStringFindAndReplace(x, x, x), x);
    EXPECT_EQ(Content(*x), "abc");
}

TEST(FindAndReplace, AViewComesOutOwnedAndItsBytesUntouched)
{
    RecordingAllocator alloc;
    ReadOnlyBytes bytes("a-b-c");
    VekString x = MakeView(bytes, alloc);
    Strings strings;
    EXPECT_EQ(VekStringFindAndReplace(&x, strings.Make("-"), strings.Make("+")), &x);
    EXPECT_EQ(Content(x), "a+b+c");
    EXPECT_EQ(x.capacity, 5u);
    EXPECT_EQ(alloc.Trace(), "+6");
    EXPECT_EQ(std::string_view(bytes.data(), bytes.size()), "a-b-c");
    VekStringDestruct(&x);
    EXPECT_TRUE(alloc.IsClean());
}

struct RefusalCase {
    const char* name;
    std::string x; // owned, capacity fitted; every "." is replaced
    std::string replace;
    std::size_t refuse_nth; // 0: refuse no allocate call
    VekSizeT max_size;
    const char* trace;
};

TEST(FindAndReplace, AnyRefusalLeavesTheStringAsItWasAndReturnsEveryBlock)
{
    // Three replacements by 20 bytes: the copy takes 8 bytes, the first
    // growth 27 (capacity 26), the second would take 53 (capacity 52).
    const std::string twenty(20, '=');
    const RefusalCase cases[] = {
        {"copy refused", "a.b.c.d", twenty, 1, kNpos, "+8!"},
        {"copy beyond the limit", "a.b.c.d", twenty, 0, 7, ""},
        {"first growth refused", "a.b.c.d", twenty, 2, kNpos, "+8 +27! -8"},
        {"second of three refused", "a.b.c.d", twenty, 3, kNpos, "+8 +27 -8 +53! -27"},
        {"second beyond the limit", "a.b.c.d", twenty, 0, 52, "+8 +27 -8 -27"},
        // More occurrences follow the refused one: none is tried.
        {"stops at the refusal", "a.b.c", "==", 2, kNpos, "+6 +11! -6"},
    };
    for (const RefusalCase& c : cases) {
        SCOPED_TRACE(c.name);
        RecordingAllocator alloc;
        Strings strings;
        VekString x;
        MakeOwned(&x, c.x, c.x.size(), alloc);
        alloc.SetMaxSize(c.max_size);
        if (c.refuse_nth != 0)
            alloc.RefuseNth(c.refuse_nth);
        alloc.ClearEvents();
        const Snapshot before = Snapshot::Of(x);
        EXPECT_EQ(VekStringFindAndReplace(&x, strings.Make("."), strings.Make(c.replace)), nullptr);
        EXPECT_EQ(Snapshot::Of(x), before);
        EXPECT_EQ(alloc.Trace(), c.trace);
        EXPECT_EQ(alloc.outstanding(), 1u);
        VekStringDestruct(&x);
        EXPECT_TRUE(alloc.IsClean());
    }
}

} // namespace
