// What "searches like std::string" means: on random content over a small
// alphabet (so that matches are frequent, NUL included), every search form
// gives std::string's answer at every position, beyond the end and
// VekStringNpos included, and find-and-replace gives a reference replace-all
// or, when an allocation is refused, leaves the string exactly as it was.
// The strings searched and the operands sit in read-only pages that end where
// the bytes end, so writing through them or reading one byte too far crashes.
// Set VEK_TEST_SEED to replay a failure.
#include "VekTestSupport.h"

#include <cstdlib>
#include <random>
#include <string>
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

unsigned long long Seed()
{
    const char* env = std::getenv("VEK_TEST_SEED");
    return env != nullptr ? std::strtoull(env, nullptr, 10) : 20240611ULL;
}

// Random strings over "ab\0c\xff", and needles that are often pieces of a
// given string so that they are found.
class RandomContent {
  public:
    explicit RandomContent(unsigned long long seed) : rng_(seed)
    {
    }

    std::size_t Below(std::size_t n)
    {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng_);
    }

    std::string Random(std::size_t max_len)
    {
        static constexpr char kAlphabet[] = {'a', 'b', '\0', 'c', '\xff'};
        std::string s(Below(max_len + 1), 'a');
        for (char& b : s)
            b = kAlphabet[Below(Below(2) == 0 ? 2 : sizeof kAlphabet)];
        return s;
    }

    std::string PieceOrRandom(const std::string& of)
    {
        if (Below(2) == 0 || of.empty())
            return Random(4);
        const std::size_t pos = Below(of.size());
        return of.substr(pos, Below(of.size() - pos + 1));
    }

  private:
    std::mt19937_64 rng_;
};

// A search operand as the library sees it (a string, its bytes, the same
// bytes as a C string up to the first NUL, and its first byte or 'a') and as
// std::string sees it.
struct Operand {
    const VekString* s;
    std::string bytes;
    char c;
};

// One search form against its std::string counterpart; the forms without a
// position are checked at every position against the same whole-string call.
struct Form {
    const char* name;
    VekSizeT (*vek)(const VekString* x, VekSizeT pos, const Operand& y);
    std::size_t (*ref)(const std::string& h, std::size_t pos, const Operand& y);
};

#define VEK_FORM(name, vek_call, ref_call)                                                         \
    Form                                                                                           \
    {                                                                                              \
#name, []([[maybe_unused]] const VekString* x, [[maybe_unused]] VekSizeT pos,              \
                  const Operand& y)                                                                \
                    -> VekSizeT { return vek_call; }, []([[maybe_unused]] const std::string& h,    \
                                                         [[maybe_unused]] std::size_t pos,         \
                                                         const Operand& y)                         \
                                                           -> std::size_t { return ref_call; }     \
    }

const Form kForms[] = {
    VEK_FORM(FindFromPosCStrLen, VekStringFindFromPosCStrLen(x, pos, y.s->buf, y.s->size),
             h.find(y.bytes, pos)),
    VEK_FORM(FindFromPosCStr, VekStringFindFromPosCStr(x, pos, y.bytes.c_str()),
             h.find(y.bytes.c_str(), pos)),
    VEK_FORM(FindFromPos, VekStringFindFromPos(x, pos, y.s), h.find(y.bytes, pos)),
    VEK_FORM(FindCStrLen, VekStringFindCStrLen(x, y.s->buf, y.s->size), h.find(y.bytes)),
    VEK_FORM(FindCStr, VekStringFindCStr(x, y.bytes.c_str()), h.find(y.bytes.c_str())),
    VEK_FORM(Find, VekStringFind(x, y.s), h.find(y.bytes)),
    VEK_FORM(RFindFromPosCStrLen, VekStringRFindFromPosCStrLen(x, pos, y.s->buf, y.s->size),
             h.rfind(y.bytes, pos)),
    VEK_FORM(RFindFromPosCStr, VekStringRFindFromPosCStr(x, pos, y.bytes.c_str()),
             h.rfind(y.bytes.c_str(), pos)),
    VEK_FORM(RFindFromPos, VekStringRFindFromPos(x, pos, y.s), h.rfind(y.bytes, pos)),
    VEK_FORM(RFindCStrLen, VekStringRFindCStrLen(x, y.s->buf, y.s->size), h.rfind(y.bytes)),
    VEK_FORM(RFindCStr, VekStringRFindCStr(x, y.bytes.c_str()), h.rfind(y.bytes.c_str())),
    VEK_FORM(RFind, VekStringRFind(x, y.s), h.rfind(y.bytes)),
    VEK_FORM(FindFirstOf, VekStringFindFirstOf(x, pos, y.s), h.find_first_of(y.bytes, pos)),
    VEK_FORM(FindFirstOfCStrLen, VekStringFindFirstOfCStrLen(x, pos, y.s->buf, y.s->size),
             h.find_first_of(y.bytes, pos)),
    VEK_FORM(FindFirstOfCStr, VekStringFindFirstOfCStr(x, pos, y.bytes.c_str()),
             h.find_first_of(y.bytes.c_str(), pos)),
    VEK_FORM(FindFirstOfChar, VekStringFindFirstOfChar(x, pos, y.c), h.find_first_of(y.c, pos)),
    VEK_FORM(FindFirstNotOf, VekStringFindFirstNotOf(x, pos, y.s),
             h.find_first_not_of(y.bytes, pos)),
    VEK_FORM(FindFirstNotOfCStrLen, VekStringFindFirstNotOfCStrLen(x, pos, y.s->buf, y.s->size),
             h.find_first_not_of(y.bytes, pos)),
    VEK_FORM(FindFirstNotOfCStr, VekStringFindFirstNotOfCStr(x, pos, y.bytes.c_str()),
             h.find_first_not_of(y.bytes.c_str(), pos)),
    VEK_FORM(FindFirstNotOfChar, VekStringFindFirstNotOfChar(x, pos, y.c),
             h.find_first_not_of(y.c, pos)),
    VEK_FORM(FindLastOfCStrLen, VekStringFindLastOfCStrLen(x, pos, y.s->buf, y.s->size),
             h.find_last_of(y.bytes, pos)),
    VEK_FORM(FindLastOfChar, VekStringFindLastOfChar(x, pos, y.c), h.find_last_of(y.c, pos)),
    VEK_FORM(FindLastNotOfCStrLen, VekStringFindLastNotOfCStrLen(x, pos, y.s->buf, y.s->size),
             h.find_last_not_of(y.bytes, pos)),
    VEK_FORM(FindLastNotOfChar, VekStringFindLastNotOfChar(x, pos, y.c),
             h.find_last_not_of(y.c, pos)),
};

#undef VEK_FORM

// Every position of the content, the end, beyond it and the largest ones.
std::vector<VekSizeT> Positions(std::size_t size)
{
    std::vector<VekSizeT> positions;
    for (VekSizeT pos = 0; pos <= size + 2; ++pos)
        positions.push_back(pos);
    positions.push_back(kNpos - 1);
    positions.push_back(kNpos);
    return positions;
}

TEST(SearchDifferential, AgreesWithStdString)
{
    const unsigned long long seed = Seed();
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << seed);
    RandomContent content(seed);
    RecordingAllocator alloc;
    for (int round = 0; round < 300; ++round) {
        const std::string h = content.Random(24);
        const std::string y = content.PieceOrRandom(h);
        ReadOnlyBytes h_bytes(h);
        ReadOnlyBytes y_bytes(y);
        const VekString x = MakeView(h_bytes, alloc);
        const VekString y_view = MakeView(y_bytes, alloc);
        // The haystack as its own operand, too.
        const Operand operands[] = {{&y_view, y, y.empty() ? 'a' : y[0]},
                                    {&x, h, h.empty() ? 'a' : h[0]}};
        for (const Operand& operand : operands) {
            for (VekSizeT pos : Positions(h.size())) {
                for (const Form& form : kForms) {
                    ASSERT_EQ(form.vek(&x, pos, operand), form.ref(h, pos, operand))
                        << form.name << " in \"" << h << "\" (" << h.size() << " bytes) pos " << pos
                        << " y \"" << operand.bytes << "\"";
                }
            }
        }
    }
    EXPECT_EQ(alloc.Trace(), "");
}

// The reference: the occurrences of find in the original s, taken left to
// right without overlapping, each replaced by by. An empty find replaces
// nothing.
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

// x in one of its buffer states: owned with or without spare capacity, a
// read-only view, or empty on the shared byte.
void MakeAnyState(VekString* x, const ReadOnlyBytes& bytes, RandomContent& content, VekAllocator* a)
{
    const std::string_view h(bytes.data(), bytes.size());
    if (h.empty() && content.Below(2) == 0)
        VekStringConstructDefault(x, a);
    else if (!h.empty() && content.Below(3) == 0)
        *x = MakeView(bytes, a);
    else
        MakeOwned(x, h, h.size() + content.Below(4), a);
}

TEST(SearchDifferential, FindAndReplaceAgreesWithAReferenceReplaceAll)
{
    const unsigned long long seed = Seed();
    SCOPED_TRACE(testing::Message() << "VEK_TEST_SEED=" << seed);
    RandomContent content(seed);
    RecordingAllocator alloc;
    for (int round = 0; round < 2000 && !HasFailure(); ++round) {
        const std::string h = content.Random(24);
        ReadOnlyBytes h_bytes(h);
        ReadOnlyBytes find_bytes(content.PieceOrRandom(h));
        ReadOnlyBytes replace_bytes(content.Random(5));
        VekString x;
        MakeAnyState(&x, h_bytes, content, alloc);
        VekString find = MakeView(find_bytes, alloc);
        VekString replace = MakeView(replace_bytes, alloc);
        const VekString* find_operand = content.Below(6) == 0 ? &x : &find;
        const VekString* replace_operand = content.Below(6) == 0 ? &x : &replace;
        const std::string expected =
            ReplaceAll(h, Content(*find_operand), Content(*replace_operand));
        const bool refusing = content.Below(3) == 0;
        if (refusing)
            alloc.RefuseNth(1 + content.Below(3));
        const Snapshot before = Snapshot::Of(x);
        const std::size_t outstanding = alloc.outstanding();
        VekString* r = VekStringFindAndReplace(&x, find_operand, replace_operand);
        SCOPED_TRACE(testing::Message()
                     << "round " << round << " x \"" << h << "\" expected \"" << expected << '"');
        if (r == nullptr) {
            EXPECT_TRUE(refusing);
            EXPECT_EQ(Snapshot::Of(x), before);
            EXPECT_EQ(alloc.outstanding(), outstanding);
        } else {
            EXPECT_EQ(r, &x);
            EXPECT_EQ(Content(x), expected);
            EXPECT_TRUE(HasInvariants(x));
            EXPECT_EQ(alloc.outstanding(), x.capacity != 0 ? 1u : 0u);
        }
        alloc.AllowAll();
        VekStringDestruct(&x);
    }
    EXPECT_TRUE(alloc.IsClean());
}

} // namespace
