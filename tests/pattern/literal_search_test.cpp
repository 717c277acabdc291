// Behaviour of the literal search, both directions and both character widths, as tables grouped by
// option. Each result is checked with the plain and the jumping scan; kNone means not found.
#include "pattern/literal_search.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace scrivix::test {
namespace {

constexpr LONG kAll = -1;  // the text's length
constexpr LONG kFar = 2048;

struct Case {
    const char* pattern;
    LONG options;
    const char* text;
    Span expected;
    LONG start = 0;
    LONG end = kAll;
    LONG look_ahead = kFar;
};

// Find or FindReverse as the pattern object calls them, with positions and a look-ahead, by both scans.
template <typename T>
void Check(bool forward, const Case& c) {
    const LiteralSearch<T> search(Widen<T>(c.pattern), c.options);
    const std::basic_string<T> text = Widen<T>(c.text);
    const LONG n = static_cast<LONG>(text.size()), end = c.end == kAll ? n : c.end;
    const LONG from = forward ? c.start : end;
    const LONG limit = forward ? PatternSearchLimit(c.start, end, c.look_ahead, n) : PatternLowerLimit(c.start, end, c.look_ahead);
    const Span found = Find<CandidateScan::plain>(search, forward, text, from, limit);
    EXPECT_EQ(found, c.expected) << (forward ? "forward" : "backward") << " '" << c.pattern << "' options " << c.options
                                 << " in '" << c.text << "' [" << c.start << ", " << end << ") look-ahead " << c.look_ahead;
    EXPECT_EQ(Find<CandidateScan::jump>(search, forward, text, from, limit), found) << "the scans disagree";
}

const Case kForward[] = {
    // Plain.
    {"abc", 0, "xxabcxx", {2, 5}}, {"c", 0, "abc", {2, 3}}, {"ab", 0, "abab", {2, 4}, 1}, {"abcd", 0, "abc", kNone},
    {"a", 0, "", kNone, 0, 0}, {"a", 0, "a", kNone, 0, 0},
    // Limits: the occurrence must begin below the limit, but may run on to the buffer's end.
    {"abc", 0, "xxabcxx", {2, 5}, 0, 3}, {"abc", 0, "xxabcxx", kNone, 0, 2}, {"abc", 0, "xxabcxx", kNone, 0, kAll, 2},
    {"abc", 0, "xxabcxx", {2, 5}, 0, kAll, 3}, {"abc", 0, "xxabcxx", kNone, 0, kAll, 0},
    {"abc", 0, "xxabcxx", kNone, 0, kAll, -4}, {"abc", 0, "xabc", {1, 4}, 1, 2}, {"abc", 0, "xab", kNone},
    // No backing up: the character that failed is not tried again as the first one.
    {"aab", 0, "aaab", kNone}, {"aab", 0, "xaab", {1, 4}}, {"ab", 0, "aab", kNone}, {"ab", 0, "aab", {1, 3}, 1},
    // Whole word: white space or the buffer's edge on both sides, punctuation is no boundary.
    {"cat", poWholeWord, "a cat sat", {2, 5}}, {"cat", poWholeWord, "cat sat", {0, 3}},
    {"cat", poWholeWord, "a cat", {2, 5}}, {"cat", poWholeWord, "a cat.", kNone},
    {"cat", poWholeWord, "concat x", kNone}, {"cat", poWholeWord, "a\tcat\n", {2, 5}},
    {"cat", poWholeWord, "xcat", kNone, 1}, {"cat", poWholeWord, " cat", {1, 4}, 1},
    {"cat", poWholeWord, "a cats", kNone, 0, 5}, {"cat", poWholeWord, "cat\xA0x", kNone},
    // A rejected occurrence is a mismatch at the character after it, which cannot begin the next one.
    {"ab", poWholeWord, "xabab ab", {6, 8}}, {"a ", poWholeWord, "xa a ", kNone}, {"a ", poWholeWord, "xa  a ", {4, 6}},
    // Ignore case: only 'A' to 'Z' fold.
    {"ABC", poIgnoreCase, "abc", {0, 3}}, {"ABC", poIgnoreCase, "xaBc", {1, 4}}, {"abc", poIgnoreCase, "ABC", {0, 3}},
    {"ABC", 0, "abc", kNone}, {"\xC9", poIgnoreCase, "\xE9", kNone}, {"[", poIgnoreCase, "{", kNone},
    {"@", poIgnoreCase, "`", kNone}, {"Ab", poIgnoreCase, "xxaBxx", {2, 4}},
    {"Ab", poIgnoreCase | poWholeWord, "xab Ab", {4, 6}},
    // Skip spaces, equal white space: that one character.
    {"a b", poSkipSpaces, "a b", {0, 3}}, {"a b", poSkipSpaces, "a  b", kNone}, {"a\t b", poSkipSpaces, "a\t b", {0, 4}},
    // Skip spaces, no white space in the text: any one character.
    {"a b", poSkipSpaces, "axb", {0, 3}}, {"a b", poSkipSpaces, "ab", kNone}, {" x", poSkipSpaces, "ax", {0, 2}},
    {"a  b", poSkipSpaces, "axyb", {0, 4}}, {"a b", poSkipSpaces, "a\xA0" "b", {0, 3}},
    // Skip spaces, other white space: the run from there and the character after it.
    {"a b", poSkipSpaces, "a\tzb", {0, 4}}, {"a b", poSkipSpaces, "a\t\n\rzb", {0, 6}},
    {"a b", poSkipSpaces, "a\tb", kNone}, {"a b", poSkipSpaces, "a\t bb", {0, 5}},
    {"a  b", poSkipSpaces, "a \tzb", {0, 5}}, {" x", poSkipSpaces, "\n\nax", {0, 4}},
    {"x ", poSkipSpaces, "x\t\ty", {0, 4}}, {"A B", poSkipSpaces | poIgnoreCase, "a\tXb", {0, 4}},
    // Skip spaces, a run to the buffer's end: the occurrence ends there, or the attempt fails.
    {"x ", poSkipSpaces, "x\t\t", {0, 3}}, {"x b", poSkipSpaces, "x\t\t", kNone},
    // Skip spaces with whole word: the boundary lies after the run and its step.
    {"a b", poSkipSpaces | poWholeWord, "x a\t\tbb y", {2, 7}},
    {"a b", poSkipSpaces | poWholeWord, "x a\tbbc y", kNone}, {"a ", poSkipSpaces | poWholeWord, "x a\t\t", {2, 5}},
    {"a ", poSkipSpaces | poWholeWord, "a\tb c", {0, 3}},
    // Skip spaces with limits: a run carries the attempt past the limit; white space begins anywhere.
    {"a b", poSkipSpaces, "a\t\t\t\tbb", {0, 7}, 0, 1}, {"a b", poSkipSpaces, "a\t\t\t\tbb", {0, 7}, 0, kAll, 1},
    {" b", poSkipSpaces, "x\t\tyb", kNone, 0, 2}, {" b", poSkipSpaces, "x\t\tyb", {2, 5}, 0, 3},
};

const Case kBackward[] = {
    // Plain.
    {"ab", 0, "ab-ab", {3, 5}}, {"ab", 0, "ab-ab", {0, 2}, 0, 4}, {"abc", 0, "abcabc", {0, 3}, 0, 5},
    {"a", 0, "", kNone, 0, 0}, {"a", 0, "a", kNone, 1, 1},
    // Limits: the last character must lie at or above the lower limit; the occurrence may begin below.
    {"ab", 0, "ab-ab", {3, 5}, 4, 5}, {"ab", 0, "ab-ab", {3, 5}, 0, 5, 1}, {"ab", 0, "ab-ab", kNone, 0, 4, 1},
    {"ab", 0, "ab-ab", kNone, 0, 4, 0}, {"abc", 0, "abcx", {0, 3}, 0, 3, 1}, {"abc", 0, "bcx", kNone, 0, 2},
    // No backing up, mirrored.
    {"abb", 0, "abbb", kNone}, {"abb", 0, "abbx", {0, 3}}, {"ab", 0, "abb", kNone},
    // Whole word.
    {"cat", poWholeWord, "a cat sat", {2, 5}}, {"cat", poWholeWord, "concat x", kNone},
    {"cat", poWholeWord, "a cats", kNone, 0, 5}, {"cat", poWholeWord, "cat", {0, 3}},
    {" a", poWholeWord, " a ax", kNone}, {" a", poWholeWord, " a  ax", {0, 2}},
    // Ignore case.
    {"ABC", poIgnoreCase, "xabcx", {1, 4}}, {"\xC9", poIgnoreCase, "\xE9", kNone},
    {"bA", poIgnoreCase, "xxBaxx", {2, 4}},
    // Skip spaces, mirrored: the run extends down and the step passes the character below it. Where
    // white space meets other white space the directions disagree ('a\tzb', 'x\t\t' forwards).
    {"a b", poSkipSpaces, "a b", {0, 3}}, {"a b", poSkipSpaces, "a  b", kNone}, {"a b", poSkipSpaces, "axb", {0, 3}},
    {"a b", poSkipSpaces, "az\tb", {0, 4}}, {"a b", poSkipSpaces, "a\tzb", kNone},
    {"a b", poSkipSpaces, "a\tb", kNone}, {"x ", poSkipSpaces, "x\t\t", kNone}, {" x", poSkipSpaces, "\t\tx", {0, 3}},
    {"x b", poSkipSpaces, "\t\tb", kNone}, {"a b", poSkipSpaces | poWholeWord, "y aa\t\tb x", {2, 7}},
    {"a b", poSkipSpaces, "aa\t\t\t\tb", {0, 7}, 6, 7},
};

template <typename T>
class LiteralSearchTest : public ::testing::Test {};
using CharacterTypes = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(LiteralSearchTest, CharacterTypes);

TYPED_TEST(LiteralSearchTest, Tables) {
    for (const Case& c : kForward) Check<TypeParam>(true, c);
    for (const Case& c : kBackward) Check<TypeParam>(false, c);
}

// A limit beyond the buffer counts as its edge; a starting point outside the buffer finds nothing.
// The buffer is the middle of a larger string, so that positions outside it still point into memory.
TYPED_TEST(LiteralSearchTest, RangesAtAndBeyondTheBuffer) {
    using T = TypeParam;
    const LiteralSearch<T> search(Widen<T>("ab"), poNone);
    const std::basic_string<T> memory = Widen<T>("ab..xabx..ab");
    const T* b = memory.data() + 4;
    const T* e = b + 4;
    typename LiteralSearch<T>::Occurrence found;
    EXPECT_TRUE(search.FindForward(b, e, b, e + 4, found));
    EXPECT_EQ(found.begin, b + 1);
    EXPECT_FALSE(search.FindForward(b, e, e + 2, e + 4, found));
    EXPECT_FALSE(search.FindForward(b, e, b - 4, e, found));
    EXPECT_FALSE(search.FindForward(b, e, b + 3, b + 1, found));
    EXPECT_TRUE(search.FindBackward(b, e, b + 3, b - 4, found));
    EXPECT_EQ(found.end, b + 3);
    EXPECT_FALSE(search.FindBackward(b, e, e + 4, b, found));
    EXPECT_FALSE(search.FindBackward(b, e, b - 1, b - 4, found));
    // An empty pattern finds nothing.
    const LiteralSearch<T> empty(std::basic_string<T>(), poNone);
    EXPECT_TRUE(empty.Empty() && LiteralSearch<T>().Empty() && !search.Empty());
    EXPECT_FALSE(empty.FindForward(b, e, b, e, found));
    EXPECT_FALSE(empty.FindBackward(b, e, e, b, found));
}

// Characters: white space is the classic six below 256, and only 'A' to 'Z' fold.
TYPED_TEST(LiteralSearchTest, Characters) {
    using T = TypeParam;
    for (int code = 0; code < 256; ++code) {
        EXPECT_EQ(LiteralSearch<T>::IsWhiteSpace(static_cast<T>(code)), code == 0x20 || (code >= 0x09 && code <= 0x0D)) << code;
        EXPECT_EQ(LiteralSearch<T>::ToLower(static_cast<T>(code)), static_cast<T>(code >= 'A' && code <= 'Z' ? code + 32 : code)) << code;
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

}  // namespace
}  // namespace scrivix::test
