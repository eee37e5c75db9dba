// What "searches like std::string" means: on random content over a small
// alphabet (so that matches are frequent, NUL included), short and long, and
// on long runs of one byte each, every search form gives std::string's answer
// at every position, the end, beyond it and VekStringNpos included.
// Find-and-replace gives a reference replace-all and makes exactly the
// allocator calls of the one-at-a-time loop it replaces, also when an
// allocation is refused, which leaves the string as it was. Strings and
// operands sit in read-only pages that end where their bytes end, so writing
// through them or reading one byte too far crashes. Set VEK_TEST_SEED to
// replay a failure.
#include "VekTestSupport.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <random>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;
using vektest::StdPos;

// Random content, seeded from VEK_TEST_SEED when it is set.
struct Random {
    const char* env = std::getenv("VEK_TEST_SEED");
    unsigned long long seed = env != nullptr ? std::strtoull(env, nullptr, 10) : 20240611ULL;
    std::mt19937_64 rng{seed};

    std::size_t Below(std::size_t n)
    {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng);
    }
    // Bytes over "ab\0c\xff", half the time over "ab" alone.
    std::string Bytes(std::size_t max_len)
    {
        static constexpr char kAlphabet[] = {'a', 'b', '\0', 'c', '\xff'};
        std::string s(Below(max_len + 1), 'a');
        for (char& b : s)
            b = kAlphabet[Below(Below(2) == 0 ? 2 : sizeof kAlphabet)];
        return s;
    }
    // Runs of one byte each, up to max_len bytes in all: long stretches that a
    // set search or a repeated needle has to cross.
    std::string Runs(std::size_t max_len)
    {
        static constexpr char kAlphabet[] = {'a', 'b', '\0'};
        std::string s;
        for (std::size_t len = Below(max_len + 1); s.size() < len;)
            s.append(Below(len - s.size()) + 1, kAlphabet[Below(sizeof kAlphabet)]);
        return s;
    }
    // 'a' with the odd 'b', and a needle of a's around one 'b'.
    std::string MostlyA(std::size_t max_len)
    {
        std::string s(Below(max_len + 1), 'a');
        for (char& b : s)
            b = Below(16) == 0 ? 'b' : 'a';
        return s;
    }
    std::string AroundB()
    {
        return std::string(Below(4) + 1, 'a') + 'b' + std::string(Below(4) + 1, 'a');
    }
    // Often a piece of of, so that it is found.
    std::string PieceOr(const std::string& of)
    {
        if (of.empty() || Below(2) == 0)
            return Bytes(4);
        const std::size_t pos = Below(of.size());
        return of.substr(pos, Below(of.size() - pos + 1));
    }
};

// Every search form on x (content h) with the operand y (also as the record
// yv, whose bytes are in read-only pages) and the byte c. The C-string forms
// get y's bytes up to the first NUL, as std::string's const char* forms do.
void CheckSearches(const VekString* x, const std::string& h, VekSizeT pos, const VekString* yv,
                   const std::string& y, char c)
{
    const char* p = yv->buf;
    const VekSizeT n = yv->size;
    const char* s = y.c_str();
    // std::string counts positions in std::size_t; any wider one is past its end.
    const auto at = static_cast<std::size_t>(std::min<VekSizeT>(pos, std::string::npos));
    EXPECT_EQ(VekStringFindFromPosCStrLen(x, pos, p, n), StdPos(h.find(y, at)));
    EXPECT_EQ(VekStringFindFromPosCStr(x, pos, s), StdPos(h.find(s, at)));
    EXPECT_EQ(VekStringFindFromPos(x, pos, yv), StdPos(h.find(y, at)));
    EXPECT_EQ(VekStringFindCStrLen(x, p, n), StdPos(h.find(y)));
    EXPECT_EQ(VekStringFindCStr(x, s), StdPos(h.find(s)));
    EXPECT_EQ(VekStringFind(x, yv), StdPos(h.find(y)));
    EXPECT_EQ(VekStringRFindFromPosCStrLen(x, pos, p, n), StdPos(h.rfind(y, at)));
    EXPECT_EQ(VekStringRFindFromPosCStr(x, pos, s), StdPos(h.rfind(s, at)));
    EXPECT_EQ(VekStringRFindFromPos(x, pos, yv), StdPos(h.rfind(y, at)));
    EXPECT_EQ(VekStringRFindCStrLen(x, p, n), StdPos(h.rfind(y)));
    EXPECT_EQ(VekStringRFindCStr(x, s), StdPos(h.rfind(s)));
    EXPECT_EQ(VekStringRFind(x, yv), StdPos(h.rfind(y)));
    EXPECT_EQ(VekStringFindFirstOf(x, pos, yv), StdPos(h.find_first_of(y, at)));
    EXPECT_EQ(VekStringFindFirstOfCStrLen(x, pos, p, n), StdPos(h.find_first_of(y, at)));
    EXPECT_EQ(VekStringFindFirstOfChar(x, pos, c), StdPos(h.find_first_of(c, at)));
    EXPECT_EQ(VekStringFindFirstOfCStr(x, pos, s), StdPos(h.find_first_of(s, at)));
    EXPECT_EQ(VekStringFindFirstNotOf(x, pos, yv), StdPos(h.find_first_not_of(y, at)));
    EXPECT_EQ(VekStringFindFirstNotOfCStrLen(x, pos, p, n), StdPos(h.find_first_not_of(y, at)));
    EXPECT_EQ(VekStringFindFirstNotOfChar(x, pos, c), StdPos(h.find_first_not_of(c, at)));
    EXPECT_EQ(VekStringFindFirstNotOfCStr(x, pos, s), StdPos(h.find_first_not_of(s, at)));
    EXPECT_EQ(VekStringFindLastOfCStrLen(x, pos, p, n), StdPos(h.find_last_of(y, at)));
    EXPECT_EQ(VekStringFindLastOfChar(x, pos, c), StdPos(h.find_last_of(c, at)));
    EXPECT_EQ(VekStringFindLastNotOfCStrLen(x, pos, p, n), StdPos(h.find_last_not_of(y, at)));
    EXPECT_EQ(VekStringFindLastNotOfChar(x, pos, c), StdPos(h.find_last_not_of(c, at)));
}

TEST(SearchDifferential, EveryFormAgreesWithStdString)
{
    Random random;
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << random.seed);
    RecordingAllocator alloc;
    for (int round = 0; round < 300 && !HasFailure(); ++round) {
        // Long content lets the block loops run, with matches at block edges.
        const std::string h = round % 3 == 0   ? random.Bytes(24)
                              : round % 3 == 1 ? random.Bytes(150)
                                               : random.Runs(150);
        const std::string y = random.PieceOr(h);
        ReadOnlyBytes h_bytes(h);
        ReadOnlyBytes y_bytes(y);
        const VekString x = MakeView(h_bytes, alloc);
        const VekString yv = MakeView(y_bytes, alloc);
        // 2^32 + 1 is past the end, but 1 if narrowed to a 32-bit size.
        const VekSizeT ends[] = {h.size() + 1, h.size() + 2, (VekSizeT{1} << 32) + 1,
                                 VekStringNpos - 1, VekStringNpos};
        for (VekSizeT pos = 0; pos < h.size() + 1 + std::size(ends) && !HasFailure(); ++pos) {
            const VekSizeT at = pos <= h.size() ? pos : ends[pos - h.size() - 1];
            SCOPED_TRACE(testing::Message() << '"' << h << "\" pos " << at << " y \"" << y << '"');
            CheckSearches(&x, h, at, &yv, y, y.empty() ? 'a' : y[0]);
            CheckSearches(&x, h, at, &x, h, h.empty() ? 'b' : h[h.size() - 1]);
        }
    }
    EXPECT_EQ(alloc.Trace(), "");
}

// The reference: the occurrences of find in the original s, left to right
// and not overlapping, each replaced by by. An empty find replaces nothing.
std::string ReplaceAll(const std::string& s, const std::string& find, const std::string& by)
{
    if (find.empty())
        return s;
    std::string out;
    std::size_t done = 0;
    for (std::size_t hit; (hit = s.find(find, done)) != std::string::npos; done = hit + find.size())
        out.append(s, done, hit - done).append(by);
    return out.append(s, done);
}

// The one-at-a-time loop that defines every observable of find-and-replace:
// copy x, replace each match in the copy and search again behind the inserted
// text, swap the copy in on success, destroy what is left.
VekString* OneAtATimeFindAndReplace(VekString* x, const VekString* find, const VekString* replace)
{
    if (find->size == 0)
        return x;
    VekString copy;
    if (VekStringConstructCopy(&copy, x) == nullptr)
        return nullptr;
    VekString* r = x;
    for (VekSizeT pos = VekStringFind(&copy, find); pos != VekStringNpos;
         pos = VekStringFindFromPos(&copy, pos + replace->size, find)) {
        if (VekStringReplaceString(&copy, pos, find->size, replace) == nullptr) {
            r = nullptr;
            break;
        }
    }
    if (r != nullptr)
        VekStringSwap(x, &copy);
    VekStringDestruct(&copy);
    return r;
}

// One find-and-replace problem: x's content and buffer state, the operands
// (each may be x itself, replace may be find) and the allocator's limit.
struct ReplaceProblem {
    const ReadOnlyBytes* content;
    bool view;         // x views the content; otherwise it owns a copy
    VekSizeT capacity; // of that copy, at least the content's size
    const ReadOnlyBytes* find;
    const ReadOnlyBytes* replace;
    bool find_is_x;
    bool replace_is_x;
    bool replace_is_find;
    VekSizeT max_size;
};

// ReplaceRun gives one implementation the problem on a fresh allocator and x,
// with one refusal pattern (refuse_nth 0: none).
struct ReplaceRun {
    RecordingAllocator alloc;
    VekString x;
    VekString* result;
    Snapshot before;

    template <typename FindAndReplace>
    ReplaceRun(const ReplaceProblem& p, std::size_t refuse_nth, bool and_after,
               FindAndReplace find_and_replace)
    {
        const std::string_view content(p.content->data(), p.content->size());
        if (p.view)
            x = MakeView(*p.content, alloc);
        else
            MakeOwned(&x, content, p.capacity, alloc);
        const VekString find_view = MakeView(*p.find, alloc);
        const VekString replace_view = MakeView(*p.replace, alloc);
        const VekString* find = p.find_is_x ? &x : &find_view;
        const VekString* replace = p.replace_is_x ? &x : p.replace_is_find ? find : &replace_view;
        alloc.SetMaxSize(p.max_size);
        alloc.RefuseNth(refuse_nth, and_after);
        alloc.ClearEvents();
        before = Snapshot::Of(x);
        result = find_and_replace(&x, find, replace);
    }
    ~ReplaceRun()
    {
        VekStringDestruct(&x);
        EXPECT_TRUE(alloc.IsClean());
    }
    std::size_t Allocations() const
    {
        std::size_t n = 0;
        for (const vektest::AllocatorEvent& e : alloc.events())
            n += e.kind == vektest::AllocatorEvent::kAllocate ? 1 : 0;
        return n;
    }
};

// Find-and-replace builds its result in one pass; the one-at-a-time loop is
// the oracle. On the same problem, with the same refusal (every single
// allocate in turn, and every one from there on) or the same small limit,
// both return the same, leave the same content and capacity and make the same
// allocator calls with the same byte counts in the same order. Content over a
// small alphabet makes matches frequent; long runs make many of them.
TEST(SearchDifferential, FindAndReplaceKeepsEveryObservableOfTheOneAtATimeLoop)
{
    Random random;
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << random.seed);
    for (int round = 0; round < 600 && !HasFailure(); ++round) {
        // Runs make long stretches of matches; in "aaa...b...aaa" a needle
        // like "aabaa" has the text's bytes at both ends almost everywhere
        // and differs only inside.
        const std::size_t kind = random.Below(6);
        const std::string h = kind == 0   ? random.Runs(48)
                              : kind == 1 ? random.MostlyA(64)
                                          : random.Bytes(24);
        const std::string find = kind == 1              ? random.AroundB()
                                 : random.Below(4) == 0 ? random.Runs(3)
                                                        : random.PieceOr(h);
        const std::string replace = random.Bytes(random.Below(2) == 0 ? 4 : 12);
        ReadOnlyBytes h_bytes(h);
        ReadOnlyBytes find_bytes(find);
        ReadOnlyBytes replace_bytes(replace);
        ReplaceProblem p{&h_bytes,
                         !h.empty() && random.Below(4) == 0,
                         h.size() + (random.Below(2) == 0 ? 0 : random.Below(4)),
                         &find_bytes,
                         &replace_bytes,
                         random.Below(8) == 0,
                         random.Below(8) == 0,
                         random.Below(8) == 0,
                         VekStringNpos};
        if (random.Below(3) == 0)
            p.max_size = random.Below(4 * h.size() + 8);
        const std::string& find_text = p.find_is_x ? h : find;
        const std::string& replace_text = p.replace_is_x      ? h
                                          : p.replace_is_find ? find_text
                                                              : replace;
        const std::string expected = ReplaceAll(h, find_text, replace_text);
        std::size_t allocations = 0;
        for (std::size_t k = 0; k <= allocations && !HasFailure(); ++k) {
            for (const bool and_after : {false, true}) {
                if (k == 0 && and_after)
                    continue;
                SCOPED_TRACE(testing::Message()
                             << '"' << h << "\" / \"" << find << "\" / \"" << replace << "\" view "
                             << p.view << " capacity " << p.capacity << " find_is_x " << p.find_is_x
                             << " replace_is_x " << p.replace_is_x << " replace_is_find "
                             << p.replace_is_find << " maxSize " << p.max_size << " refusing " << k
                             << (and_after ? "+" : ""));
                const ReplaceRun fast(p, k, and_after, VekStringFindAndReplace);
                const ReplaceRun slow(p, k, and_after, OneAtATimeFindAndReplace);
                if (k == 0)
                    allocations = slow.Allocations();
                EXPECT_EQ(fast.result == &fast.x, slow.result == &slow.x);
                EXPECT_TRUE(fast.result == &fast.x || fast.result == nullptr);
                EXPECT_EQ(Content(fast.x), Content(slow.x));
                EXPECT_EQ(fast.x.capacity, slow.x.capacity);
                EXPECT_EQ(fast.alloc.Trace(), slow.alloc.Trace());
                EXPECT_TRUE(HasInvariants(fast.x));
                if (fast.result == nullptr)
                    EXPECT_EQ(Snapshot::Of(fast.x), fast.before);
                else
                    EXPECT_EQ(Content(fast.x), expected);
            }
        }
    }
}

} // namespace
