// The literal search in both directions and both character widths: behaviour tables grouped by option,
// ranges at the buffer's edges, the character rules, and tens of thousands of random searches (fixed seed)
// held to a plain reference. Every search runs with the plain and the jumping scan, which must agree.
#include "pattern/literal_search.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <span>
#include <string>
#include <vector>

namespace scrivix::test {
namespace {

template <typename T>
using Text = std::basic_string<T>;

// A search forwards from `from` below `limit`, or backwards from `from` down to `limit`, by one scan.
template <CandidateScan kScan, typename T>
Span Find(const LiteralSearch<T>& search, bool forward, const Text<T>& text, LONG from, LONG limit) {
    const T *b = text.data(), *z = b + text.size();
    typename LiteralSearch<T>::Occurrence found;
    const bool hit = forward ? search.template FindForward<kScan>(b, z, b + from, b + limit, found)
                             : search.template FindBackward<kScan>(b, z, b + from, b + limit, found);
    return hit ? Span{found.begin - b, found.end - b} : kNone;
}

// Find or FindReverse as the pattern object calls them: [start, end) with a look-ahead, by both scans.
template <typename T>
Span Search(const LiteralSearch<T>& search, bool forward, const Text<T>& text, LONG start, LONG end, LONG look_ahead) {
    const LONG from = forward ? start : end;
    const LONG limit = forward ? PatternSearchLimit(start, end, look_ahead, LONG(text.size()))
                               : PatternLowerLimit(start, end, look_ahead);
    const Span found = Find<CandidateScan::plain>(search, forward, text, from, limit);
    EXPECT_EQ((Find<CandidateScan::jump>(search, forward, text, from, limit)), found) << "the scans disagree";
    return found;
}

template <typename T>
class LiteralSearchTest : public ::testing::Test {
protected:
    int Below(std::size_t bound) { return static_cast<int>(random_() % bound); }
    T Any() { return pool_[Below(pool_.size())]; }

    // Characters that make the interesting cases frequent: both cases of letters, every kind of white
    // space, look-alikes under a careless fold, and codes whose 8-bit and 16-bit readings differ.
    static std::vector<T> Pool() {
        std::vector<T> pool = {'a', 'b', 'A', 'B', 'z', ' ', '\t', '\n', '\r', '\v', '\f', '.', '@', '`', '[', '{'};
        for (int code : {0xC9, 0xE9, 0xA0, 0x85, 0xFF}) pool.push_back(T(code));
        if (sizeof(T) == 2) for (int code : {0x100, 0x161, 0x3000, 0x2028, 0xFF41, 0xFFE9}) pool.push_back(T(code));
        return pool;
    }

    // A few characters per trial; long texts now and then, mostly of one filler, to make the jumping scan
    // cross whole words and change its stride. The pattern is often taken from the text, its letters
    // sometimes raised to capitals.
    std::pair<Text<T>, Text<T>> Characters() {
        std::vector<T> alphabet(2 + Below(4));
        for (T& c : alphabet) c = Any();
        const int length = Below(10) == 0 ? 200 + Below(800) : Below(40);
        Text<T> text, pattern;
        for (int i = 0; i < length; ++i) text += Below(4) == 0 || length < 200 ? alphabet[Below(alphabet.size())] : alphabet[0];
        const int m = 1 + Below(5);
        if (length >= m && Below(2) == 0) {
            pattern = text.substr(Below(length - m + 1), m);
            if (Below(3) == 0) for (T& c : pattern) c = c >= 'a' && c <= 'z' ? T(c - 32) : c;
        } else {
            for (int i = 0; i < m; ++i) pattern += alphabet[Below(alphabet.size())];
        }
        return {text, pattern};
    }

    // Long texts of words, where the jumping search scans for a rare character of the pattern, compares far
    // candidates with the pattern and takes up the plain search after characters that end attempts.
    std::pair<Text<T>, Text<T>> Words() {
        static const char* const words[] = {"the", "there", "therex", "x", "xx", "tree", "Rex", "ex", "THEREX", "a", "zz"};
        Text<T> text;
        const int length = 50 + Below(3000);
        const int rare_word = Below(4) == 0 ? 0 : 2 + Below(60);  // one word in this many may hold an x
        while (int(text.size()) < length) {
            text += Widen<T>(rare_word && Below(rare_word) == 0 ? words[2 + Below(9)] : words[Below(rare_word ? 3 : 11)]);
            text += T(" \n\t."[Below(Below(3) == 0 ? 4 : 1)]);
        }
        Text<T> pattern = Widen<T>(words[2 + Below(3)]);
        if (Below(2) == 0) pattern = text.substr(Below(text.size() - 3), 1 + Below(3) + Below(5));
        return {text, pattern};
    }

    std::mt19937 random_{20240917};
    const std::vector<T> pool_ = Pool();
};
using CharacterTypes = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(LiteralSearchTest, CharacterTypes);

// Tables: each expected occurrence is marked in its text; kAll is the text's length.

constexpr LONG kAll = -1;

struct Case {
    const char* pattern;
    LONG options;
    const char* text;
    LONG start = 0, end = kAll, look_ahead = 2048;
};

const Case kForward[] = {
    // Plain.
    {"abc", 0, "xx<abc>xx"}, {"c", 0, "ab<c>"}, {"ab", 0, "ab<ab>", 1}, {"abcd", 0, "abc"}, {"a", 0, "", 0, 0},
    {"a", 0, "a", 0, 0},
    // Limits: the occurrence must begin below the limit, but may run on to the buffer's end.
    {"abc", 0, "xx<abc>xx", 0, 3}, {"abc", 0, "xxabcxx", 0, 2}, {"abc", 0, "xxabcxx", 0, kAll, 2},
    {"abc", 0, "xx<abc>xx", 0, kAll, 3}, {"abc", 0, "xxabcxx", 0, kAll, 0}, {"abc", 0, "xxabcxx", 0, kAll, -4},
    {"abc", 0, "x<abc>", 1, 2}, {"abc", 0, "xab"},
    // No backing up: the character that failed is not tried again as the first one.
    {"aab", 0, "aaab"}, {"aab", 0, "x<aab>"}, {"ab", 0, "aab"}, {"ab", 0, "a<ab>", 1},
    // Whole word: white space or the buffer's edge on both sides, punctuation is no boundary.
    {"cat", poWholeWord, "a <cat> sat"}, {"cat", poWholeWord, "<cat> sat"}, {"cat", poWholeWord, "a <cat>"},
    {"cat", poWholeWord, "a cat."}, {"cat", poWholeWord, "concat x"}, {"cat", poWholeWord, "a\t<cat>\n"},
    {"cat", poWholeWord, "xcat", 1}, {"cat", poWholeWord, " <cat>", 1}, {"cat", poWholeWord, "a cats", 0, 5},
    {"cat", poWholeWord, "cat\xA0x"},
    // A rejected occurrence is a mismatch at the character after it, which cannot begin the next one.
    {"ab", poWholeWord, "xabab <ab>"}, {"a ", poWholeWord, "xa a "}, {"a ", poWholeWord, "xa  <a >"},
    // Ignore case: only 'A' to 'Z' fold.
    {"ABC", poIgnoreCase, "<abc>"}, {"ABC", poIgnoreCase, "x<aBc>"}, {"abc", poIgnoreCase, "<ABC>"}, {"ABC", 0, "abc"},
    {"\xC9", poIgnoreCase, "\xE9"}, {"[", poIgnoreCase, "{"}, {"@", poIgnoreCase, "`"},
    {"Ab", poIgnoreCase, "xx<aB>xx"}, {"Ab", poIgnoreCase | poWholeWord, "xab <Ab>"},
    // Skip spaces, equal white space: that one character.
    {"a b", poSkipSpaces, "<a b>"}, {"a b", poSkipSpaces, "a  b"}, {"a\t b", poSkipSpaces, "<a\t b>"},
    // Skip spaces, no white space in the text: any one character.
    {"a b", poSkipSpaces, "<axb>"}, {"a b", poSkipSpaces, "ab"}, {" x", poSkipSpaces, "<ax>"},
    {"a  b", poSkipSpaces, "<axyb>"}, {"a b", poSkipSpaces, "<a\xA0" "b>"},
    // Skip spaces, other white space: the run from there and the character after it.
    {"a b", poSkipSpaces, "<a\tzb>"}, {"a b", poSkipSpaces, "<a\t\n\rzb>"}, {"a b", poSkipSpaces, "a\tb"},
    {"a b", poSkipSpaces, "<a\t bb>"}, {"a  b", poSkipSpaces, "<a \tzb>"}, {" x", poSkipSpaces, "<\n\nax>"},
    {"x ", poSkipSpaces, "<x\t\ty>"}, {"A B", poSkipSpaces | poIgnoreCase, "<a\tXb>"},
    // Skip spaces, a run to the buffer's end: the occurrence ends there, or the attempt fails.
    {"x ", poSkipSpaces, "<x\t\t>"}, {"x b", poSkipSpaces, "x\t\t"},
    // Skip spaces with whole word: the boundary lies after the run and its step.
    {"a b", poSkipSpaces | poWholeWord, "x <a\t\tbb> y"}, {"a b", poSkipSpaces | poWholeWord, "x a\tbbc y"},
    {"a ", poSkipSpaces | poWholeWord, "x <a\t\t>"}, {"a ", poSkipSpaces | poWholeWord, "<a\tb> c"},
    // Skip spaces with limits: a run carries the attempt past the limit; white space begins anywhere.
    {"a b", poSkipSpaces, "<a\t\t\t\tbb>", 0, 1}, {"a b", poSkipSpaces, "<a\t\t\t\tbb>", 0, kAll, 1},
    {" b", poSkipSpaces, "x\t\tyb", 0, 2}, {" b", poSkipSpaces, "x\t<\tyb>", 0, 3},
};

const Case kBackward[] = {
    // Plain.
    {"ab", 0, "ab-<ab>"}, {"ab", 0, "<ab>-ab", 0, 4}, {"abc", 0, "<abc>abc", 0, 5}, {"a", 0, "", 0, 0},
    {"a", 0, "a", 1, 1},
    // Limits: the last character must lie at or above the lower limit; the occurrence may begin below.
    {"ab", 0, "ab-<ab>", 4, 5}, {"ab", 0, "ab-<ab>", 0, 5, 1}, {"ab", 0, "ab-ab", 0, 4, 1}, {"ab", 0, "ab-ab", 0, 4, 0},
    {"abc", 0, "<abc>x", 0, 3, 1}, {"abc", 0, "bcx", 0, 2},
    // No backing up, mirrored.
    {"abb", 0, "abbb"}, {"abb", 0, "<abb>x"}, {"ab", 0, "abb"},
    // Whole word.
    {"cat", poWholeWord, "a <cat> sat"}, {"cat", poWholeWord, "concat x"}, {"cat", poWholeWord, "a cats", 0, 5},
    {"cat", poWholeWord, "<cat>"}, {" a", poWholeWord, " a ax"}, {" a", poWholeWord, "< a>  ax"},
    // Ignore case.
    {"ABC", poIgnoreCase, "x<abc>x"}, {"\xC9", poIgnoreCase, "\xE9"}, {"bA", poIgnoreCase, "xx<Ba>xx"},
    // Skip spaces, mirrored: the run extends down and the step passes the character below it. Where
    // white space meets other white space the directions disagree ('a\tzb', 'x\t\t' forwards).
    {"a b", poSkipSpaces, "<a b>"}, {"a b", poSkipSpaces, "a  b"}, {"a b", poSkipSpaces, "<axb>"},
    {"a b", poSkipSpaces, "<az\tb>"}, {"a b", poSkipSpaces, "a\tzb"}, {"a b", poSkipSpaces, "a\tb"},
    {"x ", poSkipSpaces, "x\t\t"}, {" x", poSkipSpaces, "<\t\tx>"}, {"x b", poSkipSpaces, "\t\tb"},
    {"a b", poSkipSpaces | poWholeWord, "y <aa\t\tb> x"}, {"a b", poSkipSpaces, "<aa\t\t\t\tb>", 6, 7},
};

TYPED_TEST(LiteralSearchTest, Tables) {
    for (const bool forward : {true, false}) {
        for (const Case& c : forward ? std::span<const Case>(kForward) : std::span<const Case>(kBackward)) {
            const auto [text, expected] = Unmark(c.text);
            const LONG end = c.end == kAll ? LONG(text.size()) : c.end;
            SCOPED_TRACE(testing::Message() << (forward ? "forward" : "backward") << " '" << c.pattern << "' options "
                                            << c.options << " in '" << c.text << "' [" << c.start << ", " << end
                                            << ") look-ahead " << c.look_ahead);
            const LiteralSearch<TypeParam> search(Widen<TypeParam>(c.pattern), c.options);
            EXPECT_EQ(Search(search, forward, Widen<TypeParam>(text), c.start, end, c.look_ahead), expected);
        }
    }
}

// A limit beyond the buffer counts as its edge; a starting point outside the buffer finds nothing. The
// buffer is the middle of a larger string, so that positions outside it still point into memory.
TYPED_TEST(LiteralSearchTest, RangesAtAndBeyondTheBuffer) {
    using T = TypeParam;
    const LiteralSearch<T> search(Widen<T>("ab"), poNone), empty(Text<T>(), poNone);
    const Text<T> memory = Widen<T>("ab..xabx..ab");
    const T *b = memory.data() + 4, *e = b + 4;
    typename LiteralSearch<T>::Occurrence found;
    EXPECT_TRUE(search.FindForward(b, e, b, e + 4, found));
    EXPECT_EQ(found.begin, b + 1);
    EXPECT_TRUE(search.FindBackward(b, e, b + 3, b - 4, found));
    EXPECT_EQ(found.end, b + 3);
    EXPECT_FALSE(search.FindForward(b, e, e + 2, e + 4, found) || search.FindForward(b, e, b - 4, e, found) ||
                 search.FindForward(b, e, b + 3, b + 1, found) || search.FindBackward(b, e, e + 4, b, found) ||
                 search.FindBackward(b, e, b - 1, b - 4, found));
    // An empty pattern finds nothing.
    EXPECT_TRUE(empty.Empty() && LiteralSearch<T>().Empty() && !search.Empty());
    EXPECT_FALSE(empty.FindForward(b, e, b, e, found) || empty.FindBackward(b, e, e, b, found));
}

// Characters: white space is the classic six below 256, and only 'A' to 'Z' fold.
TYPED_TEST(LiteralSearchTest, Characters) {
    using T = TypeParam;
    for (int code = 0; code < 256; ++code) {
        EXPECT_EQ(LiteralSearch<T>::IsWhiteSpace(T(code)), code == 0x20 || (code >= 0x09 && code <= 0x0D)) << code;
        EXPECT_EQ(LiteralSearch<T>::ToLower(T(code)), T(code >= 'A' && code <= 'Z' ? code + 32 : code)) << code;
    }
}

TEST(LiteralSearchConversion, EightBitKeepsTheLowByteAndWidensBySignExtension) {
    EXPECT_EQ(LiteralSearch<char>::FromOleText(u"\u00E9A\u0141"), std::string("\xE9" "AA"));
    EXPECT_EQ(LiteralSearch<char>::ToOleText("\xE9" "A"), u"\uFFE9A");
    EXPECT_EQ(LiteralSearch<char16_t>::FromOleText(u"\u00E9\u0141"), u"\u00E9\u0141");
    EXPECT_EQ(LiteralSearch<char16_t>::ToOleText(u"\uFFE9"), u"\uFFE9");
}

// The forward limit is the least of End, the reach of the look-ahead and the length; the lower limit the
// greatest of Start, the reach and 0 (both no further than the other end of the range).
TEST(LiteralSearchLimits, ReachOfTheLookAhead) {
    EXPECT_EQ(PatternSearchLimit(0, 7, 2048, 7), 7);
    EXPECT_EQ(PatternSearchLimit(0, 7, 2, 7), 2);
    EXPECT_EQ(PatternSearchLimit(0, 9, 2048, 7), 7);
    EXPECT_EQ(PatternSearchLimit(3, 7, -5, 7), 3);
    EXPECT_EQ(PatternSearchLimit(2147483600, 2147483640, 2147483647, 2147483647), 2147483640);
    EXPECT_EQ(PatternLowerLimit(0, 7, 2048), 0);
    EXPECT_EQ(PatternLowerLimit(0, 7, 2), 5);
    EXPECT_EQ(PatternLowerLimit(3, 7, 2048), 3);
    EXPECT_EQ(PatternLowerLimit(0, 7, -5), 7);
    EXPECT_EQ(PatternLowerLimit(0, -2147483647 - 1, 2147483647), -2147483647 - 1);
}

// Random searches.

// The reference: the forward search step by step with integer positions, as the algorithm reads.
template <typename T>
Span ReferenceForward(const Text<T>& s, const Text<T>& p, LONG options, LONG Start, LONG End, LONG LookAhead) {
    const auto space = [&](LONG i) { return LiteralSearch<T>::IsWhiteSpace(s[i]); };
    const auto fold = [&](T c) { return options & poIgnoreCase ? LiteralSearch<T>::ToLower(c) : c; };
    const LONG n = LONG(s.size()), m = LONG(p.size());
    const int64_t L = std::min({int64_t{End}, int64_t{Start} + LookAhead, int64_t{n}});
    for (LONG t = Start, k = 0, q = Start - 1;;) {
        if (t >= L && (k == 0 || t >= n)) return kNone;
        if (fold(p[k]) == fold(s[t])) {
            ++k;
        } else if (options & poSkipSpaces && LiteralSearch<T>::IsWhiteSpace(p[k])) {
            // Pattern white space that differs from s[t] counts as matched. If s[t] is white space, t moves
            // over the run of white space that begins there; the step below then passes the character after it.
            ++k;
            while (t < n && space(t)) ++t;
        } else {
            k = 0;
            q = t;
        }
        t = std::min(t + 1, n);  // the step, which stops at the end of the buffer
        if (k < m) continue;
        if (!(options & poWholeWord) || ((q + 1 == 0 || space(q)) && (t == n || space(t)))) return {q + 1, t};
        if (t >= n) return kNone;
        q = t;
        k = 0;
        ++t;
    }
}

// Backwards is the same search in the mirrored text and pattern, over the mirrored range.
template <typename T>
Span Reference(bool forward, const Text<T>& s, const Text<T>& p, LONG options, LONG start, LONG end, LONG look_ahead) {
    if (forward) return ReferenceForward(s, p, options, start, end, look_ahead);
    const LONG n = LONG(s.size());
    const Span found = ReferenceForward(Text<T>(s.rbegin(), s.rend()), Text<T>(p.rbegin(), p.rend()), options,
                                        n - end, n - start, look_ahead);
    return found == kNone ? kNone : Span{n - found.end, n - found.start};
}

// Both directions must give the reference's results, and agree on occurrences wherever skip spaces
// leaves them the same rule.
TYPED_TEST(LiteralSearchTest, RandomSearchesMatchTheReferenceAndBothDirectionsAgree) {
    using T = TypeParam;
    constexpr int kTrials = 43000;
    int found_forward = 0, found_backward = 0, found_skipping_spaces = 0, agreements_skipping_spaces = 0;
    for (int trial = 0; trial < kTrials && !this->HasFailure(); ++trial) {
        const bool words = trial % 14 == 0;
        const auto sample = words ? this->Words() : this->Characters();
        const Text<T>& text = sample.first;
        const Text<T>& pattern = sample.second;
        const LONG options = this->Below(16), n = LONG(text.size());
        const LONG start = words && this->Below(4) != 0 ? 0 : this->Below(n + 1);
        const LONG end = words && this->Below(4) != 0 ? n : start + this->Below(n - start + 1);
        const LONG look_ahead = words ? n : this->Below(4) == 0 ? 2048 : this->Below(n + 4) - 2;
        const LiteralSearch<T> search(pattern, options);
        SCOPED_TRACE(testing::Message() << "trial " << trial << " options " << options << " range [" << start << ", "
                                        << end << ") look-ahead " << look_ahead << " length " << n);
        Span found[2];
        for (const bool forward : {true, false}) {
            found[forward] = Search(search, forward, text, start, end, look_ahead);
            ASSERT_EQ(found[forward], Reference(forward, text, pattern, options, start, end, look_ahead)) << forward;
        }
        const Span forward = found[true], backward = found[false];
        found_forward += forward != kNone;
        found_backward += backward != kNone;
        found_skipping_spaces += forward != kNone && options & poSkipSpaces;

        // An occurrence found one way is found the other way by a single attempt from its far end. Not under
        // skip spaces when white space of the pattern can meet other white space of the text: a run of white
        // space is taken together with the character after it in search order, which is a different
        // character in each direction, so the directions may disagree there.
        const auto is_space = LiteralSearch<T>::IsWhiteSpace;
        const auto meets_other = [&](T w) {
            return is_space(w) && std::ranges::any_of(text, [&](T c) { return is_space(c) && c != w; });
        };
        if (options & poSkipSpaces && std::ranges::any_of(pattern, meets_other)) continue;
        agreements_skipping_spaces += (forward != kNone || backward != kNone) && options & poSkipSpaces;
        if (forward != kNone) {
            EXPECT_EQ((Find<CandidateScan::jump>(search, false, text, forward.end, forward.end - 1)), forward);
        }
        if (backward != kNone) {
            EXPECT_EQ((Find<CandidateScan::jump>(search, true, text, backward.start, backward.start + 1)), backward);
        }
    }
    // The trials must really find things, in both directions, and check agreement under skip spaces.
    EXPECT_GT(found_forward, kTrials / 8);
    EXPECT_GT(found_backward, kTrials / 8);
    EXPECT_GT(found_skipping_spaces, kTrials / 20);
    EXPECT_GT(agreements_skipping_spaces, kTrials / 40);
}

// The scanners of the jumping search against a plain loop, at every alignment and length.
TYPED_TEST(LiteralSearchTest, ScannersFindTheNearestCandidate) {
    using T = TypeParam;
    for (int trial = 0; trial < 20000; ++trial) {
        Text<T> text(this->Below(70), T{});
        for (T& c : text) c = this->Below(8) == 0 ? this->Any() : T{'x'};
        const T a = this->Any(), b = this->Below(2) ? a : this->Any();
        const T* first = text.data() + this->Below(text.size() + 1);
        const T* last = first + this->Below(text.data() + text.size() - first + 1);
        const auto is_candidate = [&](T c) { return c == a || c == b; };
        EXPECT_EQ(literal_search_detail::ScanForward(first, last, a, b), std::find_if(first, last, is_candidate));
        // Backwards: just after the nearest candidate below `last`, or `first` when there is none.
        const auto before = std::find_if(std::make_reverse_iterator(last), std::make_reverse_iterator(first), is_candidate);
        EXPECT_EQ(literal_search_detail::ScanBackward(first, last, a, b), before.base());
    }
}

}  // namespace
}  // namespace scrivix::test
