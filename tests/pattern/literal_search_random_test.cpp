// The literal search against a plain reference: each direction written out step by step with integer
// positions, as the algorithm reads, kept here as the gold standard. Tens of thousands of random
// patterns, texts, options, ranges and look-aheads (fixed seed) must give the same results from the
// reference, the plain scan and the jumping scan, and the two directions must agree on occurrences
// wherever skip spaces leaves them the same rule (see the test).
#include "pattern/literal_search.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace scrivix {
namespace {

struct Result {
    bool found = false;
    LONG start = 0;
    LONG end = 0;
    bool operator==(const Result&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Result& r) {
    return r.found ? out << r.start << "-" << r.end : out << "none";
}

template <typename T>
struct Reference {
    const std::basic_string<T>& s;  // the buffer
    const std::basic_string<T>& p;  // the pattern text
    LONG options;

    static bool Space(T c) { return LiteralSearch<T>::IsWhiteSpace(c); }
    T Fold(T c) const { return options & poIgnoreCase ? LiteralSearch<T>::ToLower(c) : c; }
    bool Ws(LONG i) const { return Space(s[i]); }

    Result Forward(LONG Start, LONG End, LONG LookAhead) const {
        const LONG n = static_cast<LONG>(s.size()), m = static_cast<LONG>(p.size());
        const int64_t L = std::min({int64_t{End}, int64_t{Start} + LookAhead, int64_t{n}});
        LONG t = Start, k = 0, q = Start - 1;
        for (;;) {
            if (t >= L && (k == 0 || t >= n)) return {};
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
            if (!(options & poWholeWord) || ((q + 1 == 0 || Ws(q)) && (t == n || Ws(t)))) return {true, q + 1, t};
            if (t >= n) return {};
            q = t;
            k = 0;
            ++t;
        }
    }

    Result Backward(LONG Start, LONG End, LONG LookAhead) const {
        const LONG n = static_cast<LONG>(s.size()), m = static_cast<LONG>(p.size());
        const int64_t L = std::max({int64_t{Start}, int64_t{End} - LookAhead, int64_t{0}});
        LONG t = End - 1, k = m - 1, r = End;
        for (;;) {
            if (t < L && (k == m - 1 || t < 0)) return {};
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
            if (!(options & poWholeWord) || ((t + 1 == 0 || Ws(t)) && (r == n || Ws(r)))) return {true, t + 1, r};
            if (t < 0) return {};
            r = t;
            k = m - 1;
            --t;
        }
    }
};

template <typename T>
Result ToResult(bool hit, const typename LiteralSearch<T>::Occurrence& found, const T* base) {
    if (!hit) return {};
    return {true, static_cast<LONG>(found.begin - base), static_cast<LONG>(found.end - base)};
}

template <typename T, CandidateScan kScan>
Result Forward(const LiteralSearch<T>& search, const std::basic_string<T>& s, LONG start, LONG limit) {
    typename LiteralSearch<T>::Occurrence found;
    const T* b = s.data();
    return ToResult(search.template FindForward<kScan>(b, b + s.size(), b + start, b + limit, found), found, b);
}

template <typename T, CandidateScan kScan>
Result Backward(const LiteralSearch<T>& search, const std::basic_string<T>& s, LONG end, LONG lower) {
    typename LiteralSearch<T>::Occurrence found;
    const T* b = s.data();
    return ToResult(search.template FindBackward<kScan>(b, b + s.size(), b + end, b + lower, found), found, b);
}

// Characters that make the interesting cases frequent: both cases of letters, every kind of white
// space, look-alikes under a careless fold, and codes whose 8-bit and 16-bit readings differ.
template <typename T>
std::vector<T> CharacterPool() {
    std::vector<T> pool = {'a', 'b', 'A', 'B', 'z', ' ', '\t', '\n', '\r', '\v', '\f', '.', '@', '`', '[', '{'};
    if constexpr (sizeof(T) == 1) {
        for (int code : {0xC9, 0xE9, 0xA0, 0x85, 0xFF}) pool.push_back(static_cast<T>(code));
    } else {
        for (int code : {0xC9, 0xE9, 0xA0, 0x85, 0x100, 0x161, 0x3000, 0x2028, 0xFF41, 0xFFE9}) {
            pool.push_back(static_cast<T>(code));
        }
    }
    return pool;
}

template <typename T>
class LiteralSearchRandomTest : public ::testing::Test {};
using CharacterTypes = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(LiteralSearchRandomTest, CharacterTypes);

TYPED_TEST(LiteralSearchRandomTest, MatchesTheReferenceAndBothDirectionsAgree) {
    using T = TypeParam;
    constexpr int kTrials = 40000;
    std::mt19937 random(20240917);
    const std::vector<T> pool = CharacterPool<T>();
    auto below = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
    int found_forward = 0, found_backward = 0, found_skipping_spaces = 0, agreements_skipping_spaces = 0;

    for (int trial = 0; trial < kTrials; ++trial) {
        // A few characters per trial; long texts now and then, mostly of one filler, to make the
        // jumping scan cross whole words and change its stride.
        std::vector<T> alphabet(2 + below(4));
        for (T& c : alphabet) c = pool[below(static_cast<int>(pool.size()))];
        const int length = below(10) == 0 ? 200 + below(800) : below(40);
        std::basic_string<T> text;
        for (int i = 0; i < length; ++i) text += below(4) == 0 || length < 200 ? alphabet[below(alphabet.size())] : alphabet[0];

        std::basic_string<T> pattern;
        const int m = 1 + below(5);
        if (length >= m && below(2) == 0) {
            pattern = text.substr(below(length - m + 1), m);
            if (below(3) == 0) std::ranges::transform(pattern, pattern.begin(), [](T c) {
                return c >= 'a' && c <= 'z' ? static_cast<T>(c - 32) : c;
            });
        } else {
            for (int i = 0; i < m; ++i) pattern += alphabet[below(alphabet.size())];
        }

        const LONG options = below(16);
        const LONG n = length;
        const LONG start = below(n + 1);
        const LONG end = start + below(n - start + 1);
        const LONG look_ahead = below(4) == 0 ? 2048 : below(n + 4) - 2;
        const LiteralSearch<T> search(pattern, options);
        const Reference<T> reference{text, pattern, options};
        SCOPED_TRACE(testing::Message() << "trial " << trial << " options " << options << " range [" << start << ", "
                                        << end << ") look-ahead " << look_ahead << " length " << n << " m " << m);

        const LONG limit = PatternSearchLimit(start, end, look_ahead, n);
        const Result forward = reference.Forward(start, end, look_ahead);
        ASSERT_EQ((Forward<T, CandidateScan::plain>(search, text, start, limit)), forward);
        ASSERT_EQ((Forward<T, CandidateScan::jump>(search, text, start, limit)), forward);

        const LONG lower = PatternLowerLimit(start, end, look_ahead);
        const Result backward = reference.Backward(start, end, look_ahead);
        ASSERT_EQ((Backward<T, CandidateScan::plain>(search, text, end, lower)), backward);
        ASSERT_EQ((Backward<T, CandidateScan::jump>(search, text, end, lower)), backward);

        found_forward += forward.found;
        found_backward += backward.found;
        found_skipping_spaces += forward.found && options & poSkipSpaces;

        // An occurrence found one way is found the other way by a single attempt from its far end.
        // Not under skip spaces when white space of the pattern can meet other white space of the
        // text: a run of white space is taken together with the character after it in search order,
        // which is a different character in each direction, so the directions may disagree there.
        auto is_space = [](T c) { return LiteralSearch<T>::IsWhiteSpace(c); };
        auto meets_other = [&](T w) {
            return is_space(w) && std::ranges::any_of(text, [&](T c) { return is_space(c) && c != w; });
        };
        if (options & poSkipSpaces && std::ranges::any_of(pattern, meets_other)) continue;
        agreements_skipping_spaces += (forward.found || backward.found) && options & poSkipSpaces;
        if (forward.found) {
            ASSERT_EQ((Backward<T, CandidateScan::jump>(search, text, forward.end, forward.end - 1)), forward);
        }
        if (backward.found) {
            ASSERT_EQ((Forward<T, CandidateScan::jump>(search, text, backward.start, backward.start + 1)), backward);
        }
    }
    // The trials must really find things, in both directions, and check agreement under skip spaces.
    EXPECT_GT(found_forward, kTrials / 8);
    EXPECT_GT(found_backward, kTrials / 8);
    EXPECT_GT(found_skipping_spaces, kTrials / 20);
    EXPECT_GT(agreements_skipping_spaces, kTrials / 40);
}

// Long texts of words, where the jumping search scans for a rare character of the pattern, compares far
// candidates with the pattern and takes up the plain search after characters that end attempts.
TYPED_TEST(LiteralSearchRandomTest, LongTextsOfWordsMatchTheReference) {
    using T = TypeParam;
    std::mt19937 random(1891);
    auto below = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
    const char* const words[] = {"the", "there", "therex", "x", "xx", "tree", "Rex", "ex", "THEREX", "a", "zz"};
    const char separators[] = {' ', ' ', '\n', '\t', '.'};
    int found = 0;
    for (int trial = 0; trial < 3000; ++trial) {
        std::basic_string<T> text;
        const int length = 50 + below(3000);
        const int rare_word = below(4) == 0 ? 0 : 2 + below(60);  // one word in this many may hold an x
        while (static_cast<int>(text.size()) < length) {
            const char* word = words[below(rare_word ? 3 : 11)];
            if (rare_word && below(rare_word) == 0) word = words[2 + below(9)];
            for (const char* c = word; *c; ++c) text += static_cast<T>(*c);
            text += static_cast<T>(separators[below(below(3) == 0 ? 5 : 1)]);
        }
        std::basic_string<T> pattern;
        for (const char* c = words[2 + below(3)]; *c; ++c) pattern += static_cast<T>(*c);
        if (below(2) == 0) pattern = text.substr(below(static_cast<int>(text.size()) - 3), 1 + below(3) + below(5));
        const LONG options = below(16);
        const LONG n = static_cast<LONG>(text.size());
        const LONG start = below(4) == 0 ? below(n) : 0;
        const LiteralSearch<T> search(pattern, options);
        const Reference<T> reference{text, pattern, options};
        SCOPED_TRACE(testing::Message() << "trial " << trial << " options " << options << " start " << start);
        const Result forward = reference.Forward(start, n, n);
        ASSERT_EQ((Forward<T, CandidateScan::plain>(search, text, start, n)), forward);
        ASSERT_EQ((Forward<T, CandidateScan::jump>(search, text, start, n)), forward);
        const Result backward = reference.Backward(0, n - start, n);
        ASSERT_EQ((Backward<T, CandidateScan::plain>(search, text, n - start, 0)), backward);
        ASSERT_EQ((Backward<T, CandidateScan::jump>(search, text, n - start, 0)), backward);
        found += forward.found + backward.found;
    }
    EXPECT_GT(found, 2000);
}

// The scanners of the jumping search against a plain loop, at every alignment and length.
TYPED_TEST(LiteralSearchRandomTest, ScannersFindTheNearestCandidate) {
    using T = TypeParam;
    std::mt19937 random(7);
    const std::vector<T> pool = CharacterPool<T>();
    for (int trial = 0; trial < 20000; ++trial) {
        std::basic_string<T> text(random() % 70, T{});
        for (T& c : text) c = random() % 8 == 0 ? pool[random() % pool.size()] : T{'x'};
        const T a = pool[random() % pool.size()];
        const T b = random() % 2 ? a : pool[random() % pool.size()];
        const size_t first = random() % (text.size() + 1);
        const size_t last = first + random() % (text.size() - first + 1);
        const T* s = text.data();
        auto is_candidate = [&](T c) { return c == a || c == b; };
        const T* expected_forward = std::find_if(s + first, s + last, is_candidate);
        EXPECT_EQ(literal_search_detail::ScanForward(s + first, s + last, a, b), expected_forward);
        const T* expected_backward = s + first;
        for (const T* p = s + last; p != s + first; --p) {
            if (is_candidate(p[-1])) {
                expected_backward = p;
                break;
            }
        }
        EXPECT_EQ(literal_search_detail::ScanBackward(s + first, s + last, a, b), expected_backward);
    }
}

}  // namespace
}  // namespace scrivix
