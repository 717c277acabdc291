// The literal search against a plain reference: each direction written out step by step with integer
// positions, as the algorithm reads, kept here as the gold standard. Tens of thousands of random
// patterns, texts, options, ranges and look-aheads (fixed seed) must give the same results from the
// reference, the plain scan and the jumping scan, and the two directions must agree on occurrences
// wherever skip spaces leaves them the same rule (see the test).
#include "pattern/literal_search.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace scrivix::test {
namespace {

template <typename T>
struct Reference {
    const std::basic_string<T>& s;  // the buffer
    const std::basic_string<T>& p;  // the pattern text
    LONG options;

    static bool Space(T c) { return LiteralSearch<T>::IsWhiteSpace(c); }
    T Fold(T c) const { return options & poIgnoreCase ? LiteralSearch<T>::ToLower(c) : c; }
    bool Ws(LONG i) const { return Space(s[i]); }

    Span Forward(LONG Start, LONG End, LONG LookAhead) const {
        const LONG n = static_cast<LONG>(s.size()), m = static_cast<LONG>(p.size());
        const int64_t L = std::min({int64_t{End}, int64_t{Start} + LookAhead, int64_t{n}});
        LONG t = Start, k = 0, q = Start - 1;
        for (;;) {
            if (t >= L && (k == 0 || t >= n)) return kNone;
            if (Fold(p[k]) == Fold(s[t])) {
                ++k;
            } else if (options & poSkipSpaces && Space(p[k])) {
                // Pattern white space that differs from s[t] counts as matched. If s[t] is white space,
                // t moves over the run of white space that begins there; the step below then passes
                // over the character after the run too.
                ++k;
                while (t < n && Ws(t)) ++t;
            } else {
                k = 0;
                q = t;
            }
            t = std::min(t + 1, n);  // the step, which stops at the end of the buffer
            if (k < m) continue;
            if (!(options & poWholeWord) || ((q + 1 == 0 || Ws(q)) && (t == n || Ws(t)))) return {q + 1, t};
            if (t >= n) return kNone;
            q = t;
            k = 0;
            ++t;
        }
    }

    Span Backward(LONG Start, LONG End, LONG LookAhead) const {
        const LONG n = static_cast<LONG>(s.size()), m = static_cast<LONG>(p.size());
        const int64_t L = std::max({int64_t{Start}, int64_t{End} - LookAhead, int64_t{0}});
        LONG t = End - 1, k = m - 1, r = End;
        for (;;) {
            if (t < L && (k == m - 1 || t < 0)) return kNone;
            if (Fold(p[k]) == Fold(s[t])) {
                --k;
            } else if (options & poSkipSpaces && Space(p[k])) {
                // The same towards position 0: down over the run, then the step over one more.
                --k;
                while (t >= 0 && Ws(t)) --t;
            } else {
                k = m - 1;
                r = t;
            }
            t = std::max(t - 1, LONG{-1});  // the step, which stops at the start of the buffer
            if (k >= 0) continue;
            if (!(options & poWholeWord) || ((t + 1 == 0 || Ws(t)) && (r == n || Ws(r)))) return {t + 1, r};
            if (t < 0) return kNone;
            r = t;
            k = m - 1;
            --t;
        }
    }
};

// Characters that make the interesting cases frequent: both cases of letters, every kind of white
// space, look-alikes under a careless fold, and codes whose 8-bit and 16-bit readings differ.
template <typename T>
std::vector<T> CharacterPool() {
    std::vector<T> pool = {'a', 'b', 'A', 'B', 'z', ' ', '\t', '\n', '\r', '\v', '\f', '.', '@', '`', '[', '{'};
    for (int code : {0xC9, 0xE9, 0xA0, 0x85, 0xFF}) pool.push_back(static_cast<T>(code));
    if constexpr (sizeof(T) == 2) {
        for (int code : {0x100, 0x161, 0x3000, 0x2028, 0xFF41, 0xFFE9}) pool.push_back(static_cast<T>(code));
    }
    return pool;
}

template <typename T>
class LiteralSearchRandomTest : public ::testing::Test {
protected:
    using Text = std::basic_string<T>;
    int Below(int bound) { return static_cast<int>(random_() % static_cast<unsigned>(bound)); }

    // A few characters per trial; long texts now and then, mostly of one filler, to make the jumping scan
    // cross whole words and change its stride. The pattern is often taken from the text, its letters
    // sometimes raised to capitals.
    std::pair<Text, Text> Characters() {
        std::vector<T> alphabet(2 + Below(4));
        for (T& c : alphabet) c = pool_[Below(static_cast<int>(pool_.size()))];
        const int length = Below(10) == 0 ? 200 + Below(800) : Below(40);
        Text text, pattern;
        for (int i = 0; i < length; ++i) text += Below(4) == 0 || length < 200 ? alphabet[Below(alphabet.size())] : alphabet[0];
        const int m = 1 + Below(5);
        if (length >= m && Below(2) == 0) {
            pattern = text.substr(Below(length - m + 1), m);
            if (Below(3) == 0) std::ranges::transform(pattern, pattern.begin(), [](T c) {
                return c >= 'a' && c <= 'z' ? static_cast<T>(c - 32) : c;
            });
        } else {
            for (int i = 0; i < m; ++i) pattern += alphabet[Below(alphabet.size())];
        }
        return {text, pattern};
    }

    // Long texts of words, where the jumping search scans for a rare character of the pattern, compares far
    // candidates with the pattern and takes up the plain search after characters that end attempts.
    std::pair<Text, Text> Words() {
        static const char* const words[] = {"the", "there", "therex", "x", "xx", "tree", "Rex", "ex", "THEREX", "a", "zz"};
        const auto append = [](Text& text, const char* word) { for (; *word; ++word) text += static_cast<T>(*word); };
        Text text, pattern;
        const int length = 50 + Below(3000);
        const int rare_word = Below(4) == 0 ? 0 : 2 + Below(60);  // one word in this many may hold an x
        while (static_cast<int>(text.size()) < length) {
            append(text, rare_word && Below(rare_word) == 0 ? words[2 + Below(9)] : words[Below(rare_word ? 3 : 11)]);
            text += static_cast<T>(" \n\t."[Below(Below(3) == 0 ? 4 : 1)]);
        }
        append(pattern, words[2 + Below(3)]);
        if (Below(2) == 0) pattern = text.substr(Below(static_cast<int>(text.size()) - 3), 1 + Below(3) + Below(5));
        return {text, pattern};
    }

    std::mt19937 random_{20240917};
    const std::vector<T> pool_ = CharacterPool<T>();
};
using CharacterTypes = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(LiteralSearchRandomTest, CharacterTypes);

TYPED_TEST(LiteralSearchRandomTest, MatchesTheReferenceAndBothDirectionsAgree) {
    using T = TypeParam;
    constexpr int kTrials = 43000;
    int found_forward = 0, found_backward = 0, found_skipping_spaces = 0, agreements_skipping_spaces = 0;
    for (int trial = 0; trial < kTrials; ++trial) {
        const bool words = trial % 14 == 0;
        const auto sample = words ? this->Words() : this->Characters();
        const auto &text = sample.first, &pattern = sample.second;
        const LONG options = this->Below(16);
        const LONG n = static_cast<LONG>(text.size());
        const LONG start = words && this->Below(4) != 0 ? 0 : this->Below(n + 1);
        const LONG end = words && this->Below(4) != 0 ? n : start + this->Below(n - start + 1);
        const LONG look_ahead = words ? n : this->Below(4) == 0 ? 2048 : this->Below(n + 4) - 2;
        const LiteralSearch<T> search(pattern, options);
        const Reference<T> reference{text, pattern, options};
        SCOPED_TRACE(testing::Message() << "trial " << trial << " options " << options << " range [" << start << ", "
                                        << end << ") look-ahead " << look_ahead << " length " << n);
        // Both directions, by both scans, must give the reference's results.
        const Span forward = reference.Forward(start, end, look_ahead), backward = reference.Backward(start, end, look_ahead);
        const LONG limit = PatternSearchLimit(start, end, look_ahead, n), lower = PatternLowerLimit(start, end, look_ahead);
        ASSERT_EQ((Find<CandidateScan::plain>(search, true, text, start, limit)), forward) << "forward, plain";
        ASSERT_EQ((Find<CandidateScan::jump>(search, true, text, start, limit)), forward) << "forward, jump";
        ASSERT_EQ((Find<CandidateScan::plain>(search, false, text, end, lower)), backward) << "backward, plain";
        ASSERT_EQ((Find<CandidateScan::jump>(search, false, text, end, lower)), backward) << "backward, jump";
        found_forward += forward != kNone;
        found_backward += backward != kNone;
        found_skipping_spaces += forward != kNone && options & poSkipSpaces;

        // An occurrence found one way is found the other way by a single attempt from its far end.
        // Not under skip spaces when white space of the pattern can meet other white space of the
        // text: a run of white space is taken together with the character after it in search order,
        // which is a different character in each direction, so the directions may disagree there.
        auto is_space = [](T c) { return LiteralSearch<T>::IsWhiteSpace(c); };
        auto meets_other = [&](T w) {
            return is_space(w) && std::ranges::any_of(text, [&](T c) { return is_space(c) && c != w; });
        };
        if (options & poSkipSpaces && std::ranges::any_of(pattern, meets_other)) continue;
        agreements_skipping_spaces += (forward != kNone || backward != kNone) && options & poSkipSpaces;
        if (forward != kNone) {
            ASSERT_EQ((Find<CandidateScan::jump>(search, false, text, forward.end, forward.end - 1)), forward);
        }
        if (backward != kNone) {
            ASSERT_EQ((Find<CandidateScan::jump>(search, true, text, backward.start, backward.start + 1)), backward);
        }
    }
    // The trials must really find things, in both directions, and check agreement under skip spaces.
    EXPECT_GT(found_forward, kTrials / 8);
    EXPECT_GT(found_backward, kTrials / 8);
    EXPECT_GT(found_skipping_spaces, kTrials / 20);
    EXPECT_GT(agreements_skipping_spaces, kTrials / 40);
}

// The scanners of the jumping search against a plain loop, at every alignment and length.
TYPED_TEST(LiteralSearchRandomTest, ScannersFindTheNearestCandidate) {
    using T = TypeParam;
    for (int trial = 0; trial < 20000; ++trial) {
        std::basic_string<T> text(this->Below(70), T{});
        for (T& c : text) c = this->Below(8) == 0 ? this->pool_[this->Below(this->pool_.size())] : T{'x'};
        const T a = this->pool_[this->Below(this->pool_.size())];
        const T b = this->Below(2) ? a : this->pool_[this->Below(this->pool_.size())];
        const T* first = text.data() + this->Below(text.size() + 1);
        const T* last = first + this->Below(text.data() + text.size() - first + 1);
        auto is_candidate = [&](T c) { return c == a || c == b; };
        EXPECT_EQ(literal_search_detail::ScanForward(first, last, a, b), std::find_if(first, last, is_candidate));
        // Backwards: just after the nearest candidate below `last`, or `first` when there is none.
        const auto before = std::find_if(std::make_reverse_iterator(last), std::make_reverse_iterator(first), is_candidate);
        EXPECT_EQ(literal_search_detail::ScanBackward(first, last, a, b), before.base());
    }
}

}  // namespace
}  // namespace scrivix::test
