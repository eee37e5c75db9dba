// Views, fields and cuts, trimming, prefixes and occurrences, ASCII case and
// find-and-replace with literals, held to what std::string code gives.
//
// Content is random over bytes that make every family's cases frequent:
// whitespace, separators, letters of both cases, NUL, and bytes above 0x7F
// whose low seven bits are letters (which have no case). It sits in read-only
// pages that end with it, so a write through a view or a read one byte too
// far crashes. Operands are pieces of the content itself, x itself, empty,
// or from outside. Set VEK_TEST_SEED to replay a failure.
#include "VekTestSupport.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;
using vektest::StdPos;

using Fields = std::vector<std::string>;

const std::string kSpaces = " \t\n\v\f\r";

struct Random {
    const char* env = std::getenv("VEK_TEST_SEED");
    unsigned long long seed = env != nullptr ? std::strtoull(env, nullptr, 10) : 20241125ULL;
    std::mt19937_64 rng{seed};

    std::size_t Below(std::size_t n)
    {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng);
    }
    // Mostly the first four bytes, which make fields and words frequent.
    char Byte()
    {
        static constexpr char kAlphabet[] = {'a',  'A', ' ',  ',',    'b',
                                             '\t', 'Z', '\0', '\xC1', '\xFA'};
        return kAlphabet[Below(Below(3) == 0 ? 4 : sizeof kAlphabet)];
    }
    std::string Bytes(std::size_t max_len)
    {
        std::string s(Below(max_len + 1), 'a');
        for (char& b : s)
            b = Byte();
        return s;
    }
    // Runs of one byte each, long enough that scans must cross whole blocks.
    std::string Runs(std::size_t max_len)
    {
        std::string s;
        for (std::size_t len = Below(max_len + 1); s.size() < len;)
            s.append(Below(40) + 1, Byte());
        return s;
    }
    std::string PieceOr(const std::string& of)
    {
        if (of.empty() || Below(2) == 0)
            return Bytes(3);
        const std::size_t pos = Below(of.size());
        return of.substr(pos, Below(std::min<std::size_t>(of.size() - pos, 4) + 1));
    }
};

// ---------------------------------------------------------------- the models

std::string Lower(std::string s)
{
    for (char& c : s)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return s;
}

std::string Upper(std::string s)
{
    for (char& c : s)
        c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    return s;
}

// A field is where it stands in x: offset and length.
using Spans = std::vector<std::pair<std::size_t, std::size_t>>;

// Split cuts h at each separator, which next(from) finds (npos: none); len
// is a separator's length.
template <typename Next> Spans Split(const std::string& h, std::size_t len, Next next)
{
    Spans out;
    std::size_t start = 0;
    for (std::size_t at; (at = next(start)) != std::string::npos; start = at + len)
        out.emplace_back(start, at - start);
    out.emplace_back(start, h.size() - start);
    return out;
}

// An empty separator string stands between every two bytes.
Spans SplitBy(const std::string& h, const std::string& sep)
{
    if (sep.empty())
        return Split(h, 0, [&](std::size_t from) {
            return from + 1 < h.size() ? from + 1 : std::string::npos;
        });
    return Split(h, sep.size(), [&](std::size_t from) { return h.find(sep, from); });
}

Spans SplitByAnyOf(const std::string& h, const std::string& set)
{
    return Split(h, 1, [&](std::size_t from) { return h.find_first_of(set, from); });
}

Spans Words(const std::string& h)
{
    Spans out;
    for (std::size_t at = 0; (at = h.find_first_not_of(kSpaces, at)) != std::string::npos;) {
        const std::size_t end = std::min(h.find_first_of(kSpaces, at), h.size());
        out.emplace_back(at, end - at);
        at = end;
    }
    return out;
}

std::size_t Count(const std::string& h, const std::string& y)
{
    if (y.empty())
        return h.size() + 1;
    std::size_t n = 0;
    for (std::size_t at = 0; (at = h.find(y, at)) != std::string::npos; at += y.size())
        ++n;
    return n;
}

int Sign(long long v)
{
    return (v > 0) - (v < 0);
}

// -------------------------------------------------------------- the queries

// IsViewOf: v reads x's bytes, owning nothing, with x's allocator.
testing::AssertionResult IsViewOf(const VekString& v, const VekString& x)
{
    if (v.capacity != 0 || v.allocator != x.allocator || v.buf < x.buf ||
        v.buf + v.size > x.buf + x.size)
        return testing::AssertionFailure() << "not a view of x's bytes";
    return testing::AssertionSuccess();
}

// Collect takes the spans of every field next(pos, field) yields from x. A
// call that yields nothing changes nothing.
template <typename Next> Spans Collect(const VekString& x, Next next)
{
    Spans got;
    VekSizeT pos = 0;
    VekString field;
    while (next(&pos, &field) && got.size() <= x.size + 1) {
        EXPECT_TRUE(IsViewOf(field, x));
        got.emplace_back(field.buf - x.buf, field.size);
    }
    const VekSizeT done = pos;
    const VekString before = field;
    EXPECT_FALSE(next(&pos, &field));
    EXPECT_TRUE(pos == done && std::memcmp(&before, &field, sizeof field) == 0);
    return got;
}

// CheckCut holds cut(before, after) to the model's first field and what
// follows its separator of len bytes, and lets either output be NULL or x.
template <typename Cut>
void CheckCut(const VekString& x, const Spans& fields, std::size_t len, Cut cut)
{
    const bool found = fields.size() > 1;
    const std::size_t rest = found ? fields[0].second + len : x.size;
    VekString before, after, self = x;
    EXPECT_EQ(cut(&x, &before, &after), found);
    EXPECT_TRUE(IsViewOf(before, x) && IsViewOf(after, x));
    EXPECT_EQ(Spans({{before.buf - x.buf, before.size}, {after.buf - x.buf, after.size}}),
              Spans({fields[0], {rest, x.size - rest}}));
    EXPECT_EQ(cut(&self, nullptr, &self), found);
    EXPECT_TRUE(self.buf == after.buf && self.size == after.size);
    EXPECT_EQ(cut(&x, nullptr, nullptr), found);
}

// CheckQueries holds every query of these families on x to the model, with
// the operand yv (also as a C string, cut at its first NUL, and as a pointer
// and length) and the byte c.
void CheckQueries(const VekString& x, const VekString& yv, char c)
{
    const std::string h = Content(x), y = Content(yv), cy = y.c_str();
    const char *p = yv.buf, *s = cy.c_str();
    const VekSizeT n = yv.size;
    EXPECT_EQ(VekStringStartsWith(&x, &yv), h.starts_with(y));
    EXPECT_EQ(VekStringStartsWithCStr(&x, s), h.starts_with(cy));
    EXPECT_EQ(VekStringStartsWithCStrLen(&x, p, n), h.starts_with(y));
    EXPECT_EQ(VekStringStartsWithChar(&x, c), h.starts_with(c));
    EXPECT_EQ(VekStringEndsWith(&x, &yv), h.ends_with(y));
    EXPECT_EQ(VekStringEndsWithCStr(&x, s), h.ends_with(cy));
    EXPECT_EQ(VekStringEndsWithCStrLen(&x, p, n), h.ends_with(y));
    EXPECT_EQ(VekStringEndsWithChar(&x, c), h.ends_with(c));
    EXPECT_EQ(VekStringContains(&x, &yv), h.find(y) != std::string::npos);
    EXPECT_EQ(VekStringContainsCStr(&x, s), h.find(cy) != std::string::npos);
    EXPECT_EQ(VekStringContainsCStrLen(&x, p, n), h.find(y) != std::string::npos);
    EXPECT_EQ(VekStringContainsChar(&x, c), h.find(c) != std::string::npos);
    EXPECT_EQ(VekStringCount(&x, &yv), Count(h, y));
    EXPECT_EQ(VekStringCountCStr(&x, s), Count(h, cy));
    EXPECT_EQ(VekStringCountCStrLen(&x, p, n), Count(h, y));
    EXPECT_EQ(VekStringCountChar(&x, c), static_cast<VekSizeT>(std::count(h.begin(), h.end(), c)));
    EXPECT_EQ(VekStringFindChar(&x, c), StdPos(h.find(c)));
    EXPECT_EQ(VekStringRFindChar(&x, c), StdPos(h.rfind(c)));
    for (const VekSizeT pos : {VekSizeT{0}, n, VekSizeT{h.size()}, VekSizeT{h.size() + 1},
                               (VekSizeT{1} << 32) + 1, VekStringNpos}) {
        const auto at = static_cast<std::size_t>(std::min<VekSizeT>(pos, std::string::npos));
        EXPECT_EQ(VekStringFindFromPosChar(&x, pos, c), StdPos(h.find(c, at))) << pos;
        EXPECT_EQ(VekStringRFindFromPosChar(&x, pos, c), StdPos(h.rfind(c, at))) << pos;
    }

    const int order = Sign(Lower(h).compare(Lower(y)));
    EXPECT_EQ(VekStringEqualIgnoringCaseAscii(&x, &yv), Lower(h) == Lower(y));
    EXPECT_EQ(VekStringEqualIgnoringCaseAsciiCStr(&x, s), Lower(h) == Lower(cy));
    EXPECT_EQ(VekStringEqualIgnoringCaseAsciiCStrLen(&x, p, n), Lower(h) == Lower(y));
    EXPECT_EQ(Sign(VekStringCompareIgnoringCaseAscii(&x, &yv)), order);
    EXPECT_EQ(Sign(VekStringCompareIgnoringCaseAsciiCStr(&x, s)),
              Sign(Lower(h).compare(Lower(cy))));
    EXPECT_EQ(Sign(VekStringCompareIgnoringCaseAsciiCStrLen(&x, p, n)), order);

    const VekString* v = &x;
    EXPECT_EQ(
        Collect(x, [&](VekSizeT* pos, VekString* f) { return VekStringNextField(v, pos, &yv, f); }),
        SplitBy(h, y));
    EXPECT_EQ(Collect(x, [&](VekSizeT* pos,
                             VekString* f) { return VekStringNextFieldCStr(v, pos, s, f); }),
              SplitBy(h, cy));
    EXPECT_EQ(Collect(x, [&](VekSizeT* pos,
                             VekString* f) { return VekStringNextFieldCStrLen(v, pos, p, n, f); }),
              SplitBy(h, y));
    EXPECT_EQ(Collect(x, [&](VekSizeT* pos,
                             VekString* f) { return VekStringNextFieldChar(v, pos, c, f); }),
              SplitBy(h, std::string(1, c)));
    EXPECT_EQ(Collect(x, [&](VekSizeT* pos,
                             VekString* f) { return VekStringNextFieldAnyOfCStr(v, pos, s, f); }),
              SplitByAnyOf(h, cy));
    EXPECT_EQ(
        Collect(x, [&](VekSizeT* pos,
                       VekString* f) { return VekStringNextFieldAnyOfCStrLen(v, pos, p, n, f); }),
        SplitByAnyOf(h, y));
    EXPECT_EQ(Collect(x, [&](VekSizeT* pos, VekString* f) { return VekStringNextWord(v, pos, f); }),
              Words(h));
    if (!y.empty()) // the empty separator occurs at 0 and cuts nothing off
        CheckCut(x, SplitBy(h, y), n, [&](const VekString* in, VekString* b, VekString* a) {
            return VekStringCut(in, &yv, b, a);
        });
    if (!cy.empty())
        CheckCut(x, SplitBy(h, cy), cy.size(),
                 [&](const VekString* in, VekString* b, VekString* a) {
                     return VekStringCutCStr(in, s, b, a);
                 });
    if (n != 0)
        CheckCut(x, SplitBy(h, y), n, [&](const VekString* in, VekString* b, VekString* a) {
            return VekStringCutCStrLen(in, p, n, b, a);
        });
    CheckCut(x, SplitBy(h, std::string(1, c)), 1,
             [&](const VekString* in, VekString* b, VekString* a) {
                 return VekStringCutChar(in, c, b, a);
             });
}

TEST(Text, QueriesAgreeWithStdString)
{
    Random random;
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << random.seed);
    RecordingAllocator alloc;
    for (int round = 0; round < 3000 && !HasFailure(); ++round) {
        const std::string h = round % 4 == 0   ? random.Bytes(80)
                              : round % 4 == 1 ? random.Runs(120)
                                               : random.Bytes(12);
        std::string y = random.PieceOr(h);
        if (random.Below(4) == 0)
            y = random.Below(2) == 0 ? Upper(y) : Lower(h);
        ReadOnlyBytes h_bytes(h), y_bytes(y);
        const VekString x = MakeView(h_bytes, alloc), yv = MakeView(y_bytes, alloc);
        const char c = y.empty() ? ',' : y[0];
        SCOPED_TRACE(testing::Message() << '"' << h << "\" y \"" << y << '"');
        CheckQueries(x, yv, c);
        VekString inside; // an operand among x's own bytes
        VekStringConstructViewSubstring(&inside, &x, random.Below(h.size() + 1), random.Below(4));
        CheckQueries(x, inside, c);
    }
    EXPECT_EQ(alloc.Trace(), "");
}

// ---------------------------------------------------------------- the edits

enum Ends { kLeft = 1, kRight = 2, kBoth = 3 };
enum SetForm { kWhitespace, kCStr, kCStrLen, kChar };

struct Trim {
    const char* name;
    Ends ends;
    SetForm form;
    VekString* (*call)(VekString* x, const char* y, VekSizeT n, char c);
};

// clang-format off
const Trim kTrims[] = {
    {"Trim", kBoth, kWhitespace, [](VekString* x, const char*, VekSizeT, char) { return VekStringTrim(x); }},
    {"TrimCStr", kBoth, kCStr, [](VekString* x, const char* y, VekSizeT, char) { return VekStringTrimCStr(x, y); }},
    {"TrimCStrLen", kBoth, kCStrLen, [](VekString* x, const char* y, VekSizeT n, char) { return VekStringTrimCStrLen(x, y, n); }},
    {"TrimChar", kBoth, kChar, [](VekString* x, const char*, VekSizeT, char c) { return VekStringTrimChar(x, c); }},
    {"TrimLeft", kLeft, kWhitespace, [](VekString* x, const char*, VekSizeT, char) { return VekStringTrimLeft(x); }},
    {"TrimLeftCStr", kLeft, kCStr, [](VekString* x, const char* y, VekSizeT, char) { return VekStringTrimLeftCStr(x, y); }},
    {"TrimLeftCStrLen", kLeft, kCStrLen, [](VekString* x, const char* y, VekSizeT n, char) { return VekStringTrimLeftCStrLen(x, y, n); }},
    {"TrimLeftChar", kLeft, kChar, [](VekString* x, const char*, VekSizeT, char c) { return VekStringTrimLeftChar(x, c); }},
    {"TrimRight", kRight, kWhitespace, [](VekString* x, const char*, VekSizeT, char) { return VekStringTrimRight(x); }},
    {"TrimRightCStr", kRight, kCStr, [](VekString* x, const char* y, VekSizeT, char) { return VekStringTrimRightCStr(x, y); }},
    {"TrimRightCStrLen", kRight, kCStrLen, [](VekString* x, const char* y, VekSizeT n, char) { return VekStringTrimRightCStrLen(x, y, n); }},
    {"TrimRightChar", kRight, kChar, [](VekString* x, const char*, VekSizeT, char c) { return VekStringTrimRightChar(x, c); }},
};
// clang-format on

// Trimmed is the span of h that trimming the set off the given ends keeps;
// trimmed to nothing, it is empty where the trimming ended.
std::pair<std::size_t, std::size_t> Trimmed(const std::string& h, const std::string& set, Ends ends)
{
    const std::size_t start = ends & kLeft ? std::min(h.find_first_not_of(set), h.size()) : 0;
    const std::size_t last = h.find_last_not_of(set);
    const std::size_t end = ends & kRight ? (last == std::string::npos ? 0 : last + 1) : h.size();
    return {start, std::max(start, end) - start};
}

// MakeString gives x the content h in one of three states, each with its
// allocator: a view of read-only bytes, an owned block with room to spare,
// and an owned block that the content fills.
void MakeString(VekString* x, const ReadOnlyBytes& h, int state, RecordingAllocator& alloc)
{
    const std::string_view content(h.data(), h.size());
    if (state == 0)
        *x = MakeView(h, alloc);
    else
        MakeOwned(x, content, content.size() + (state == 1 ? 5 : 0), alloc);
    alloc.ClearEvents();
}

// Trimming keeps an owned block and its capacity, moving what remains to its
// front, and narrows a view in place; neither calls the allocator. The set
// may be the string's own bytes.
TEST(Text, TrimmingNarrowsAViewAndKeepsAnOwnedBlock)
{
    Random random;
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << random.seed);
    RecordingAllocator alloc;
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        const std::string h = round % 4 == 0   ? random.Bytes(70)
                              : round % 4 == 1 ? random.Runs(120)
                                               : random.Bytes(10);
        const std::string y = random.PieceOr(h);
        ReadOnlyBytes h_bytes(h), y_bytes(y);
        for (const Trim& trim : kTrims) {
            for (int state = 0; state < 3; ++state) {
                VekString x;
                MakeString(&x, h_bytes, state, alloc);
                // The set: outside, or the same bytes inside x's content. A C
                // string there runs to x's terminator, which a view lacks.
                const std::size_t at = h.find(y);
                const bool inside = at != std::string::npos && random.Below(2) == 0 &&
                                    (trim.form != kCStr || state != 0);
                const char* p = inside               ? x.buf + at
                                : trim.form == kCStr ? y.c_str()
                                                     : y_bytes.data();
                const char c = y.empty() ? ' ' : y[0];
                const std::string set = trim.form == kWhitespace ? kSpaces
                                        : trim.form == kCStr     ? std::string(p)
                                        : trim.form == kCStrLen  ? y
                                                                 : std::string(1, c);
                SCOPED_TRACE(testing::Message() << trim.name << " \"" << h << "\" state " << state
                                                << " set \"" << set << '"');
                const auto [start, len] = Trimmed(h, set, trim.ends);
                const Snapshot before = Snapshot::Of(x);
                EXPECT_EQ(trim.call(&x, p, y.size(), c), &x);
                EXPECT_EQ(Content(x), h.substr(start, len));
                EXPECT_EQ(x.buf, state == 0 ? before.buf + start : before.buf);
                EXPECT_EQ(x.capacity, before.capacity);
                EXPECT_TRUE(HasInvariants(x));
                EXPECT_EQ(alloc.Trace(), "");
                VekStringDestruct(&x);
            }
        }
        EXPECT_TRUE(alloc.IsClean());
    }
}

// Case conversion writes in place; a view is first copied into a block of
// exactly its size, and when that is refused nothing changes.
TEST(Text, CaseConversionCopiesAViewFirst)
{
    Random random;
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << random.seed);
    RecordingAllocator alloc;
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        const std::string h = round % 4 == 0   ? random.Bytes(70)
                              : round % 4 == 1 ? random.Runs(120)
                                               : random.Bytes(10);
        ReadOnlyBytes h_bytes(h);
        for (const bool lower : {true, false}) {
            for (int state = 0; state < 4; ++state) {
                VekString x;
                MakeString(&x, h_bytes, state % 3, alloc);
                const bool refused = state == 3 && !h.empty();
                if (refused)
                    alloc.RefuseAll();
                SCOPED_TRACE(testing::Message()
                             << '"' << h << "\" lower " << lower << " state " << state);
                const Snapshot before = Snapshot::Of(x);
                VekString* r = lower ? VekStringToLowerAscii(&x) : VekStringToUpperAscii(&x);
                const std::string copy = "+" + std::to_string(h.size() + 1);
                if (refused) {
                    EXPECT_EQ(r, nullptr);
                    EXPECT_EQ(Snapshot::Of(x), before);
                    EXPECT_EQ(alloc.Trace(), copy + "!");
                } else {
                    EXPECT_EQ(r, &x);
                    EXPECT_EQ(Content(x), lower ? Lower(h) : Upper(h));
                    EXPECT_TRUE(HasInvariants(x));
                    const bool copied = state % 3 == 0 && !h.empty();
                    EXPECT_EQ(x.capacity, copied ? h.size() : before.capacity);
                    EXPECT_EQ(alloc.Trace(), copied ? copy : "");
                }
                alloc.AllowAll();
                VekStringDestruct(&x);
            }
        }
        EXPECT_TRUE(alloc.IsClean());
    }
}

// The literal forms of find-and-replace are the record form with a count: on
// the same string, with operands outside or inside it, under every single
// refusal, they leave what it leaves and make the calls it makes, and count
// the occurrences replaced; a failure writes no count.
TEST(Text, LiteralFindAndReplaceIsTheRecordFormWithACount)
{
    Random random;
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << random.seed);
    for (int round = 0; round < 400 && !HasFailure(); ++round) {
        const std::string h = random.Bytes(round % 4 == 0 ? 40 : 10);
        const std::string find = random.PieceOr(h), with = random.Bytes(6);
        ReadOnlyBytes h_bytes(h), find_bytes(find), with_bytes(with);
        const int state = static_cast<int>(random.Below(3));
        const std::size_t inside = h.find(find);
        const bool find_inside = inside != std::string::npos && random.Below(2) == 0;
        const bool c_strings = find.find('\0') == std::string::npos &&
                               with.find('\0') == std::string::npos && random.Below(2) == 0;
        for (std::size_t refuse = 0; refuse < 4 && !HasFailure(); ++refuse) {
            SCOPED_TRACE(testing::Message()
                         << '"' << h << "\" / \"" << find << "\" / \"" << with << "\" state "
                         << state << " inside " << find_inside << " refusing " << refuse);
            RecordingAllocator record_alloc, literal_alloc;
            VekString by_record, by_literal;
            MakeString(&by_record, h_bytes, state, record_alloc);
            MakeString(&by_literal, h_bytes, state, literal_alloc);
            const VekString find_view = MakeView(find_bytes, record_alloc);
            const VekString with_view = MakeView(with_bytes, record_alloc);
            const char* f = find_inside ? by_literal.buf + inside : find_bytes.data();
            const std::string c_find(f, find.size()); // terminated, for the CStr form
            record_alloc.RefuseNth(refuse);
            literal_alloc.RefuseNth(refuse);
            const Snapshot before = Snapshot::Of(by_literal);
            VekSizeT count = 12345;
            VekString* r =
                c_strings
                    ? VekStringFindAndReplaceCStr(&by_literal, c_find.c_str(), with.c_str(), &count)
                    : VekStringFindAndReplaceCStrLen(&by_literal, f, find.size(), with_bytes.data(),
                                                     with.size(), &count);
            VekString* want = VekStringFindAndReplace(&by_record, &find_view, &with_view);
            EXPECT_EQ(r == nullptr, want == nullptr);
            EXPECT_EQ(Content(by_literal), Content(by_record));
            EXPECT_EQ(by_literal.capacity, by_record.capacity);
            EXPECT_EQ(literal_alloc.Trace(), record_alloc.Trace());
            EXPECT_EQ(count, r == nullptr ? 12345 : find.empty() ? 0 : Count(h, find));
            if (r == nullptr) {
                EXPECT_EQ(Snapshot::Of(by_literal), before);
            }
            VekStringDestruct(&by_record);
            VekStringDestruct(&by_literal);
            EXPECT_TRUE(record_alloc.IsClean() && literal_alloc.IsClean());
        }
    }
}

} // namespace
