// vek::String against std::string: the same random sequence of edits and
// queries through both, including positions beyond the end (both throw
// std::out_of_range) and allocator refusals (std::bad_alloc, string unchanged).
#include "VekTestSupport.h"

#include <Vek/Utils/VekString.hpp>

#include <random>
#include <unordered_set>

namespace {

using vektest::RecordingAllocator;
using vektest::StdPos;

class ClassFuzz {
public:
    explicit ClassFuzz(unsigned seed) : rng_(seed), s_(alloc_) {}

    void Run(int steps)
    {
        for (int step = 0; step < steps && !testing::Test::HasFatalFailure(); ++step) {
            SCOPED_TRACE(testing::Message() << "step " << step << " model \"" << model_ << '"');
            Step();
            ASSERT_EQ(std::string_view(s_), model_);
            ASSERT_EQ(s_.c_str()[s_.size()], '\0');
        }
    }

private:
    std::size_t Below(std::size_t n)
    {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng_);
    }

    std::string Text()
    {
        std::string t(Below(12), 'a');
        for (char& c : t)
            c = "ab\0z"[Below(4)];
        return t;
    }

    // Either outside text or a slice of the string itself.
    std::string_view Operand(std::string* keep)
    {
        if (Below(2) == 0 && !s_.empty()) {
            const std::size_t pos = Below(s_.size());
            return std::string_view(s_).substr(pos, Below(s_.size() - pos + 1));
        }
        *keep = Text();
        return *keep;
    }

    std::size_t Pos() { return Below(model_.size() + 3); }

    // Runs the same edit on both; both must throw, or neither.
    template <typename OnClass, typename OnModel> void Edit(OnClass on_class, OnModel on_model)
    {
        const bool refuse = Below(8) == 0;
        if (refuse)
            alloc_.RefuseAll();
        std::string expected = model_;
        bool model_threw = false;
        try {
            on_model(expected);
        } catch (const std::out_of_range&) {
            model_threw = true;
        }
        const std::string before(s_);
        try {
            on_class();
            ASSERT_FALSE(model_threw) << "vek::String accepted what std::string refused";
            model_ = expected;
        } catch (const std::out_of_range&) {
            ASSERT_TRUE(model_threw);
            ASSERT_EQ(std::string_view(s_), before);
        } catch (const std::bad_alloc&) {
            ASSERT_TRUE(refuse) << "bad_alloc without a refusing allocator";
            ASSERT_EQ(std::string_view(s_), before);
        }
        alloc_.AllowAll();
    }

    void Step()
    {
        std::string keep;
        const std::string_view t = Operand(&keep);
        const std::string text(t); // the model's copy, taken before the edit
        const std::size_t pos = Pos(), n = Below(6);
        const char c = "xy\0"[Below(3)];
        switch (Below(12)) {
        case 0:
            return Edit([&] { s_.append(t); }, [&](std::string& m) { m.append(text); });
        case 1:
            return Edit([&] { s_ += c; }, [&](std::string& m) { m += c; });
        case 2:
            return Edit([&] { s_.insert(pos, t); }, [&](std::string& m) { m.insert(pos, text); });
        case 3:
            return Edit([&] { s_.replace(pos, n, t); },
                        [&](std::string& m) { m.replace(pos, n, text); });
        case 4:
            return Edit([&] { s_.erase(pos, n); }, [&](std::string& m) { m.erase(pos, n); });
        case 5:
            return Edit([&] { s_.assign(t); }, [&](std::string& m) { m.assign(text); });
        case 6:
            return Edit([&] { s_.resize(pos, c); }, [&](std::string& m) { m.resize(pos, c); });
        case 7:
            return Edit([&] { s_.append(n, c); }, [&](std::string& m) { m.append(n, c); });
        case 8: {
            std::string keep_with;
            const std::string_view with = Operand(&keep_with);
            const std::string what(text), by(with);
            return Edit([&] { s_.replace_all(t, with); },
                        [&](std::string& m) { m = ReplaceAll(m, what, by); });
        }
        case 9:
            if (!s_.empty() && Below(2) == 0) {
                const std::size_t at = Below(s_.size());
                return Edit([&] { s_.erase(s_.begin() + at); },
                            [&](std::string& m) { m.erase(at, 1); });
            }
            return Edit([&] { s_.reserve(pos); }, [](std::string&) {});
        case 10: {
            const String copy(s_);
            ASSERT_EQ(copy, s_);
            ASSERT_EQ(copy.allocator(), s_.allocator());
            ASSERT_EQ(copy.capacity(), copy.size());
            return;
        }
        default:
            return Queries(text, pos);
        }
    }

    void Queries(const std::string& text, std::size_t pos)
    {
        const std::string_view m = model_;
        ASSERT_EQ(s_.find(text, pos), StdPos(m.find(text, pos)));
        ASSERT_EQ(s_.rfind(text, pos), StdPos(m.rfind(text, pos)));
        ASSERT_EQ(s_.find_first_of(text, pos), StdPos(m.find_first_of(text, pos)));
        ASSERT_EQ(s_.find_first_not_of(text, pos), StdPos(m.find_first_not_of(text, pos)));
        ASSERT_EQ(s_.find_last_of(text, pos), StdPos(m.find_last_of(text, pos)));
        ASSERT_EQ(s_.find_last_not_of(text, pos), StdPos(m.find_last_not_of(text, pos)));
        if (!text.empty()) {
            ASSERT_EQ(s_.find(text[0], pos), StdPos(m.find(text[0], pos)));
            ASSERT_EQ(s_.rfind(text[0], pos), StdPos(m.rfind(text[0], pos)));
        }
        ASSERT_EQ(s_.starts_with(text), m.substr(0, text.size()) == text);
        ASSERT_EQ(s_.ends_with(text),
                  m.size() >= text.size() && m.substr(m.size() - text.size()) == text);
        const int order = m.compare(text);
        ASSERT_EQ((s_.compare(text) > 0) - (s_.compare(text) < 0), (order > 0) - (order < 0));
        ASSERT_EQ(s_ == text, m == text);
    }

    static std::string ReplaceAll(const std::string& in, const std::string& what,
                                  const std::string& by)
    {
        if (what.empty())
            return in;
        std::string out;
        std::size_t from = 0;
        for (std::size_t at; (at = in.find(what, from)) != std::string::npos;
             from = at + what.size())
            out.append(in, from, at - from).append(by);
        return out.append(in, from);
    }

    using String = vek::String;
    RecordingAllocator alloc_;
    std::mt19937 rng_;
    std::string model_;
    String s_;
};

TEST(StringClass, BehavesLikeStdString)
{
    for (unsigned seed = 1; seed <= 20 && !HasFatalFailure(); ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        ClassFuzz(seed).Run(1500);
    }
}

TEST(StringClass, CopiesKeepTheSourceAllocatorAndMovesCarryIt)
{
    RecordingAllocator a1, a2;
    {
        vek::String x("from a1", a1);
        vek::String y("from a2", a2);
        vek::String copy(x);
        EXPECT_EQ(copy.allocator(), a1.get());
        y = x; // assignment keeps y's allocator
        EXPECT_EQ(y.allocator(), a2.get());
        EXPECT_EQ(y, "from a1");
        vek::String moved(std::move(x));
        EXPECT_EQ(moved.allocator(), a1.get());
        EXPECT_TRUE(x.empty());
        swap(moved, y);
        EXPECT_EQ(moved.allocator(), a2.get());
        EXPECT_EQ(y.allocator(), a1.get());
    }
    EXPECT_TRUE(a1.IsClean());
    EXPECT_TRUE(a2.IsClean());
}

TEST(StringClass, RefusalsThrowAndChangeNothing)
{
    RecordingAllocator alloc(16);
    EXPECT_THROW(vek::String(std::string(16, 'x'), alloc.get()), std::bad_alloc);
    {
        vek::String s("0123456789", alloc);
        EXPECT_THROW(s.append("0123456789"), std::bad_alloc); // doubled capacity 20 >= 16
        EXPECT_THROW(s.insert(11, "x"), std::out_of_range);
        EXPECT_THROW(vek::String::format(alloc.get(), "%s", "sixteen bytes!!!"), std::bad_alloc);
        EXPECT_EQ(s, "0123456789");
        EXPECT_EQ(vek::String::format(alloc.get(), "%d-%s", 7, "up"), "7-up");
    }
    EXPECT_TRUE(alloc.IsClean());
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
    const vek::String s(wide);
    EXPECT_EQ(s.to_utf16(), wide);
    EXPECT_EQ(s.capacity(), s.size());
    const std::u32string ucs4(U"\U0001F600 \0x", 4);
    EXPECT_EQ(vek::String(ucs4), std::string_view("\xF0\x9F\x98\x80 \0x", 7));
    EXPECT_THROW(vek::String(std::u16string_view(u"\xD800x", 2)), std::range_error);
    EXPECT_THROW(vek::String("\xC0\xAF").to_utf16(), std::range_error);
}

TEST(StringClass, HashesLikeTheModuleAndWorksInUnorderedContainers)
{
    EXPECT_EQ(vek::String("abc").hash(), 108966u);
    std::unordered_set<vek::String> set{"a", "b", "a"};
    EXPECT_EQ(set.size(), 2u);
    EXPECT_EQ(set.count("b"), 1u);
}

} // namespace
