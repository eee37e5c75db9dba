// What "searches like std::string" means: on random content over a small
// alphabet (so that matches are frequent, NUL included), short and long, and
// on long runs of one byte each, every search form gives std::string's answer
// at every position, the end, beyond it and VekStringNpos included; and
// find-and-replace gives a reference replace-all or, when an allocation is
// refused, leaves the string exactly as it was. Strings and operands sit in
// read-only pages that end where their bytes end, so writing through them or
// reading one byte too far crashes. Set VEK_TEST_SEED to replay a failure.
#include "VekTestSupport.h"

#include <cstdlib>
#include <random>

namespace {

using vektest::Content;
using vektest::HasInvariants;
using vektest::MakeOwned;
using vektest::MakeView;
using vektest::ReadOnlyBytes;
using vektest::RecordingAllocator;
using vektest::Snapshot;

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
    EXPECT_EQ(VekStringFindFromPosCStrLen(x, pos, p, n), h.find(y, pos));
    EXPECT_EQ(VekStringFindFromPosCStr(x, pos, s), h.find(s, pos));
    EXPECT_EQ(VekStringFindFromPos(x, pos, yv), h.find(y, pos));
    EXPECT_EQ(VekStringFindCStrLen(x, p, n), h.find(y));
    EXPECT_EQ(VekStringFindCStr(x, s), h.find(s));
    EXPECT_EQ(VekStringFind(x, yv), h.find(y));
    EXPECT_EQ(VekStringRFindFromPosCStrLen(x, pos, p, n), h.rfind(y, pos));
    EXPECT_EQ(VekStringRFindFromPosCStr(x, pos, s), h.rfind(s, pos));
    EXPECT_EQ(VekStringRFindFromPos(x, pos, yv), h.rfind(y, pos));
    EXPECT_EQ(VekStringRFindCStrLen(x, p, n), h.rfind(y));
    EXPECT_EQ(VekStringRFindCStr(x, s), h.rfind(s));
    EXPECT_EQ(VekStringRFind(x, yv), h.rfind(y));
    EXPECT_EQ(VekStringFindFirstOf(x, pos, yv), h.find_first_of(y, pos));
    EXPECT_EQ(VekStringFindFirstOfCStrLen(x, pos, p, n), h.find_first_of(y, pos));
    EXPECT_EQ(VekStringFindFirstOfChar(x, pos, c), h.find_first_of(c, pos));
    EXPECT_EQ(VekStringFindFirstOfCStr(x, pos, s), h.find_first_of(s, pos));
    EXPECT_EQ(VekStringFindFirstNotOf(x, pos, yv), h.find_first_not_of(y, pos));
    EXPECT_EQ(VekStringFindFirstNotOfCStrLen(x, pos, p, n), h.find_first_not_of(y, pos));
    EXPECT_EQ(VekStringFindFirstNotOfChar(x, pos, c), h.find_first_not_of(c, pos));
    EXPECT_EQ(VekStringFindFirstNotOfCStr(x, pos, s), h.find_first_not_of(s, pos));
    EXPECT_EQ(VekStringFindLastOfCStrLen(x, pos, p, n), h.find_last_of(y, pos));
    EXPECT_EQ(VekStringFindLastOfChar(x, pos, c), h.find_last_of(c, pos));
    EXPECT_EQ(VekStringFindLastNotOfCStrLen(x, pos, p, n), h.find_last_not_of(y, pos));
    EXPECT_EQ(VekStringFindLastNotOfChar(x, pos, c), h.find_last_not_of(c, pos));
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
        const VekSizeT ends[] = {h.size() + 1, h.size() + 2, VekStringNpos - 1, VekStringNpos};
        for (VekSizeT pos = 0; pos <= h.size() + 4 && !HasFailure(); ++pos) {
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

TEST(SearchDifferential, FindAndReplaceAgreesWithAReferenceReplaceAll)
{
    Random random;
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << random.seed);
    RecordingAllocator alloc;
    for (int round = 0; round < 1000 && !HasFailure(); ++round) {
        const std::string h = random.Bytes(24);
        ReadOnlyBytes h_bytes(h);
        ReadOnlyBytes find_bytes(random.PieceOr(h));
        ReadOnlyBytes replace_bytes(random.Bytes(5));
        VekString x = MakeView(h_bytes, alloc); // a view, or owned with some spare room
        if (h.empty() || random.Below(3) != 0)
            MakeOwned(&x, h, h.size() + random.Below(4), alloc);
        const VekString find_view = MakeView(find_bytes, alloc);
        const VekString replace_view = MakeView(replace_bytes, alloc);
        const VekString* find = random.Below(6) == 0 ? &x : &find_view;
        const VekString* replace = random.Below(6) == 0 ? &x : &replace_view;
        const std::string expected = ReplaceAll(h, Content(*find), Content(*replace));
        const bool empty_find = find->size == 0;          // find may be x, which changes
        const std::size_t refused_call = random.Below(6); // 0: none
        alloc.RefuseNth(refused_call);
        const Snapshot before = Snapshot::Of(x);
        const std::size_t outstanding = alloc.outstanding();
        SCOPED_TRACE(testing::Message() << '"' << h << "\" / \"" << Content(*find) << "\" / \""
                                        << Content(*replace) << '"');
        VekString* r = VekStringFindAndReplace(&x, find, replace);
        if (r == nullptr) {
            EXPECT_NE(refused_call, 0u);
            EXPECT_EQ(Snapshot::Of(x), before);
            EXPECT_EQ(alloc.outstanding(), outstanding);
        } else {
            EXPECT_EQ(r, &x);
            EXPECT_EQ(Content(x), expected);
            EXPECT_TRUE(HasInvariants(x));
            EXPECT_EQ(alloc.outstanding(), x.capacity != 0 ? 1u : 0u);
            if (empty_find) {
                EXPECT_EQ(Snapshot::Of(x), before);
            } else {
                EXPECT_EQ(x.capacity != 0, !h.empty()); // a view comes out owned
            }
        }
        alloc.AllowAll();
        VekStringDestruct(&x);
    }
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
