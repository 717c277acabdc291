// Behaviour of the literal search, both directions and both character widths, as tables grouped by
// option. Each result is checked with the plain and the jumping scan; "none" means not found.
#include "pattern/literal_search.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace scrivix {
namespace {

// One character per byte; in 16-bit text the bytes 0x80 to 0xFF give U+0080 to U+00FF.
template <typename T>
std::basic_string<T> Chars(std::string_view bytes) {
    std::basic_string<T> chars;
    for (const char byte : bytes) {
        if constexpr (sizeof(T) == 1) chars += byte;
        else chars += static_cast<char16_t>(static_cast<unsigned char>(byte));
    }
    return chars;
}

template <typename T>
std::string Describe(bool hit, const typename LiteralSearch<T>::Occurrence& found, const T* base) {
    if (!hit) return "none";
    return std::to_string(found.begin - base) + "-" + std::to_string(found.end - base);
}

// Find and FindReverse as the pattern object calls them, with positions and a look-ahead.
template <typename T>
std::string Find(bool forward, std::string_view pattern, LONG options, std::string_view text, LONG start, LONG end,
                 LONG look_ahead) {
    const LiteralSearch<T> search(Chars<T>(pattern), options);
    const std::basic_string<T> chars = Chars<T>(text);
    const T* b = chars.data();
    const LONG n = static_cast<LONG>(chars.size());
    typename LiteralSearch<T>::Occurrence plain, jump;
    std::string plain_result, jump_result;
    if (forward) {
        const T* limit = b + PatternSearchLimit(start, end, look_ahead, n);
        plain_result = Describe(search.template FindForward<CandidateScan::plain>(b, b + n, b + start, limit, plain), plain, b);
        jump_result = Describe(search.template FindForward<CandidateScan::jump>(b, b + n, b + start, limit, jump), jump, b);
    } else {
        const T* lower = b + PatternLowerLimit(start, end, look_ahead);
        plain_result = Describe(search.template FindBackward<CandidateScan::plain>(b, b + n, b + end, lower, plain), plain, b);
        jump_result = Describe(search.template FindBackward<CandidateScan::jump>(b, b + n, b + end, lower, jump), jump, b);
    }
    EXPECT_EQ(plain_result, jump_result) << "the scans disagree";
    return plain_result;
}

struct Case {
    const char* pattern;
    LONG options;
    const char* text;
    LONG start;
    LONG end;  // -1: the text's length
    LONG look_ahead;
    const char* expected;
};

constexpr LONG kAll = -1;
constexpr LONG kFar = 2048;

template <typename T>
void Check(bool forward, const Case& c) {
    const LONG end = c.end == kAll ? static_cast<LONG>(std::string_view(c.text).size()) : c.end;
    EXPECT_EQ(Find<T>(forward, c.pattern, c.options, c.text, c.start, end, c.look_ahead), c.expected)
        << (forward ? "forward" : "backward") << " '" << c.pattern << "' options " << c.options << " in '" << c.text
        << "' [" << c.start << ", " << end << ") look-ahead " << c.look_ahead;
}

const Case kForward[] = {
    // Plain.
    {"abc", 0, "xxabcxx", 0, kAll, kFar, "2-5"},
    {"c", 0, "abc", 0, kAll, kFar, "2-3"},
    {"ab", 0, "abab", 1, kAll, kFar, "2-4"},
    {"abcd", 0, "abc", 0, kAll, kFar, "none"},
    {"a", 0, "", 0, 0, kFar, "none"},
    {"a", 0, "a", 0, 0, kFar, "none"},
    // Limits: the occurrence must begin below the limit, but may run on to the buffer's end.
    {"abc", 0, "xxabcxx", 0, 3, kFar, "2-5"},
    {"abc", 0, "xxabcxx", 0, 2, kFar, "none"},
    {"abc", 0, "xxabcxx", 0, kAll, 2, "none"},
    {"abc", 0, "xxabcxx", 0, kAll, 3, "2-5"},
    {"abc", 0, "xxabcxx", 0, kAll, 0, "none"},
    {"abc", 0, "xxabcxx", 0, kAll, -4, "none"},
    {"abc", 0, "xabc", 1, 2, kFar, "1-4"},
    {"abc", 0, "xab", 0, kAll, kFar, "none"},
    // No backing up: the character that failed is not tried again as the first one.
    {"aab", 0, "aaab", 0, kAll, kFar, "none"},
    {"aab", 0, "xaab", 0, kAll, kFar, "1-4"},
    {"ab", 0, "aab", 0, kAll, kFar, "none"},
    {"ab", 0, "aab", 1, kAll, kFar, "1-3"},
    // Whole word: white space or the buffer's edge on both sides, punctuation is no boundary.
    {"cat", poWholeWord, "a cat sat", 0, kAll, kFar, "2-5"},
    {"cat", poWholeWord, "cat sat", 0, kAll, kFar, "0-3"},
    {"cat", poWholeWord, "a cat", 0, kAll, kFar, "2-5"},
    {"cat", poWholeWord, "a cat.", 0, kAll, kFar, "none"},
    {"cat", poWholeWord, "concat x", 0, kAll, kFar, "none"},
    {"cat", poWholeWord, "a\tcat\n", 0, kAll, kFar, "2-5"},
    {"cat", poWholeWord, "xcat", 1, kAll, kFar, "none"},
    {"cat", poWholeWord, " cat", 1, kAll, kFar, "1-4"},
    {"cat", poWholeWord, "a cats", 0, 5, kFar, "none"},
    {"cat", poWholeWord, "cat\xA0x", 0, kAll, kFar, "none"},
    // A rejected occurrence is a mismatch at the character after it, which cannot begin the next one.
    {"ab", poWholeWord, "xabab ab", 0, kAll, kFar, "6-8"},
    {"a ", poWholeWord, "xa a ", 0, kAll, kFar, "none"},
    {"a ", poWholeWord, "xa  a ", 0, kAll, kFar, "4-6"},
    // Ignore case: only 'A' to 'Z' fold.
    {"ABC", poIgnoreCase, "abc", 0, kAll, kFar, "0-3"},
    {"ABC", poIgnoreCase, "xaBc", 0, kAll, kFar, "1-4"},
    {"abc", poIgnoreCase, "ABC", 0, kAll, kFar, "0-3"},
    {"ABC", 0, "abc", 0, kAll, kFar, "none"},
    {"\xC9", poIgnoreCase, "\xE9", 0, kAll, kFar, "none"},
    {"[", poIgnoreCase, "{", 0, kAll, kFar, "none"},
    {"@", poIgnoreCase, "`", 0, kAll, kFar, "none"},
    {"Ab", poIgnoreCase, "xxaBxx", 0, kAll, kFar, "2-4"},
    {"Ab", poIgnoreCase | poWholeWord, "xab Ab", 0, kAll, kFar, "4-6"},
    // Skip spaces, equal white space: that one character.
    {"a b", poSkipSpaces, "a b", 0, kAll, kFar, "0-3"},
    {"a b", poSkipSpaces, "a  b", 0, kAll, kFar, "none"},
    {"a\t b", poSkipSpaces, "a\t b", 0, kAll, kFar, "0-4"},
    // Skip spaces, no white space in the text: any one character.
    {"a b", poSkipSpaces, "axb", 0, kAll, kFar, "0-3"},
    {"a b", poSkipSpaces, "ab", 0, kAll, kFar, "none"},
    {" x", poSkipSpaces, "ax", 0, kAll, kFar, "0-2"},
    {"a  b", poSkipSpaces, "axyb", 0, kAll, kFar, "0-4"},
    {"a b", poSkipSpaces, "a\xA0" "b", 0, kAll, kFar, "0-3"},
    // Skip spaces, other white space: the run from there and the character after it.
    {"a b", poSkipSpaces, "a\tzb", 0, kAll, kFar, "0-4"},
    {"a b", poSkipSpaces, "a\t\n\rzb", 0, kAll, kFar, "0-6"},
    {"a b", poSkipSpaces, "a\tb", 0, kAll, kFar, "none"},
    {"a b", poSkipSpaces, "a\t bb", 0, kAll, kFar, "0-5"},
    {"a  b", poSkipSpaces, "a \tzb", 0, kAll, kFar, "0-5"},
    {" x", poSkipSpaces, "\n\nax", 0, kAll, kFar, "0-4"},
    {"x ", poSkipSpaces, "x\t\ty", 0, kAll, kFar, "0-4"},
    {"A B", poSkipSpaces | poIgnoreCase, "a\tXb", 0, kAll, kFar, "0-4"},
    // Skip spaces, a run to the buffer's end: the occurrence ends there, or the attempt fails.
    {"x ", poSkipSpaces, "x\t\t", 0, kAll, kFar, "0-3"},
    {"x b", poSkipSpaces, "x\t\t", 0, kAll, kFar, "none"},
    // Skip spaces with whole word: the boundary lies after the run and its step.
    {"a b", poSkipSpaces | poWholeWord, "x a\t\tbb y", 0, kAll, kFar, "2-7"},
    {"a b", poSkipSpaces | poWholeWord, "x a\tbbc y", 0, kAll, kFar, "none"},
    {"a ", poSkipSpaces | poWholeWord, "x a\t\t", 0, kAll, kFar, "2-5"},
    {"a ", poSkipSpaces | poWholeWord, "a\tb c", 0, kAll, kFar, "0-3"},
    // Skip spaces with limits: a run carries the attempt past the limit; white space begins anywhere.
    {"a b", poSkipSpaces, "a\t\t\t\tbb", 0, 1, kFar, "0-7"},
    {"a b", poSkipSpaces, "a\t\t\t\tbb", 0, kAll, 1, "0-7"},
    {" b", poSkipSpaces, "x\t\tyb", 0, 2, kFar, "none"},
    {" b", poSkipSpaces, "x\t\tyb", 0, 3, kFar, "2-5"},
};

const Case kBackward[] = {
    // Plain.
    {"ab", 0, "ab-ab", 0, kAll, kFar, "3-5"},
    {"ab", 0, "ab-ab", 0, 4, kFar, "0-2"},
    {"abc", 0, "abcabc", 0, 5, kFar, "0-3"},
    {"a", 0, "", 0, 0, kFar, "none"},
    {"a", 0, "a", 1, 1, kFar, "none"},
    // Limits: the last character must lie at or above the lower limit; the occurrence may begin below.
    {"ab", 0, "ab-ab", 4, 5, kFar, "3-5"},
    {"ab", 0, "ab-ab", 0, 5, 1, "3-5"},
    {"ab", 0, "ab-ab", 0, 4, 1, "none"},
    {"ab", 0, "ab-ab", 0, 4, 0, "none"},
    {"abc", 0, "abcx", 0, 3, 1, "0-3"},
    {"abc", 0, "bcx", 0, 2, kFar, "none"},
    // No backing up, mirrored.
    {"abb", 0, "abbb", 0, kAll, kFar, "none"},
    {"abb", 0, "abbx", 0, kAll, kFar, "0-3"},
    {"ab", 0, "abb", 0, kAll, kFar, "none"},
    // Whole word.
    {"cat", poWholeWord, "a cat sat", 0, kAll, kFar, "2-5"},
    {"cat", poWholeWord, "concat x", 0, kAll, kFar, "none"},
    {"cat", poWholeWord, "a cats", 0, 5, kFar, "none"},
    {"cat", poWholeWord, "cat", 0, kAll, kFar, "0-3"},
    {" a", poWholeWord, " a ax", 0, kAll, kFar, "none"},
    {" a", poWholeWord, " a  ax", 0, kAll, kFar, "0-2"},
    // Ignore case.
    {"ABC", poIgnoreCase, "xabcx", 0, kAll, kFar, "1-4"},
    {"\xC9", poIgnoreCase, "\xE9", 0, kAll, kFar, "none"},
    {"bA", poIgnoreCase, "xxBaxx", 0, kAll, kFar, "2-4"},
    // Skip spaces, mirrored: the run extends down and the step passes the character below it. Where
    // white space meets other white space the directions disagree ('a\tzb', 'x\t\t' forwards).
    {"a b", poSkipSpaces, "a b", 0, kAll, kFar, "0-3"},
    {"a b", poSkipSpaces, "a  b", 0, kAll, kFar, "none"},
    {"a b", poSkipSpaces, "axb", 0, kAll, kFar, "0-3"},
    {"a b", poSkipSpaces, "az\tb", 0, kAll, kFar, "0-4"},
    {"a b", poSkipSpaces, "a\tzb", 0, kAll, kFar, "none"},
    {"a b", poSkipSpaces, "a\tb", 0, kAll, kFar, "none"},
    {"x ", poSkipSpaces, "x\t\t", 0, kAll, kFar, "none"},
    {" x", poSkipSpaces, "\t\tx", 0, kAll, kFar, "0-3"},
    {"x b", poSkipSpaces, "\t\tb", 0, kAll, kFar, "none"},
    {"a b", poSkipSpaces | poWholeWord, "y aa\t\tb x", 0, kAll, kFar, "2-7"},
    {"a b", poSkipSpaces, "aa\t\t\t\tb", 6, 7, kFar, "0-7"},
};

template <typename T>
class LiteralSearchTest : public ::testing::Test {};
using CharacterTypes = ::testing::Types<char, char16_t>;
TYPED_TEST_SUITE(LiteralSearchTest, CharacterTypes);

TYPED_TEST(LiteralSearchTest, Forward) {
    for (const Case& c : kForward) Check<TypeParam>(true, c);
}

TYPED_TEST(LiteralSearchTest, Backward) {
    for (const Case& c : kBackward) Check<TypeParam>(false, c);
}

// A limit beyond the buffer counts as its edge; a starting point outside the buffer finds nothing.
// The buffer is the middle of a larger string, so that positions outside it still point into memory.
TYPED_TEST(LiteralSearchTest, RangesAtAndBeyondTheBuffer) {
    using T = TypeParam;
    const LiteralSearch<T> search(Chars<T>("ab"), poNone);
    const std::basic_string<T> memory = Chars<T>("ab..xabx..ab");
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
}

TYPED_TEST(LiteralSearchTest, EmptyTextFindsNothing) {
    using T = TypeParam;
    const LiteralSearch<T> search(std::basic_string<T>(), poNone);
    const std::basic_string<T> text = Chars<T>("abc");
    typename LiteralSearch<T>::Occurrence found;
    EXPECT_TRUE(search.Empty());
    EXPECT_FALSE(search.FindForward(text.data(), text.data() + 3, text.data(), text.data() + 3, found));
    EXPECT_FALSE(search.FindBackward(text.data(), text.data() + 3, text.data() + 3, text.data(), found));
    EXPECT_TRUE(LiteralSearch<T>().Empty());
    EXPECT_FALSE(LiteralSearch<T>(Chars<T>("a"), poNone).Empty());
}

// Characters.
TYPED_TEST(LiteralSearchTest, WhiteSpaceIsTheClassicSixBelow256) {
    using T = TypeParam;
    for (int code = 0; code < 256; ++code) {
        const bool expected = code == 0x20 || (code >= 0x09 && code <= 0x0D);
        EXPECT_EQ(LiteralSearch<T>::IsWhiteSpace(static_cast<T>(code)), expected) << code;
    }
}

TYPED_TEST(LiteralSearchTest, OnlyAsciiLettersFold) {
    using T = TypeParam;
    for (int code = 0; code < 256; ++code) {
        const int expected = code >= 'A' && code <= 'Z' ? code + 32 : code;
        EXPECT_EQ(LiteralSearch<T>::ToLower(static_cast<T>(code)), static_cast<T>(expected)) << code;
    }
}

TEST(LiteralSearchConversion, EightBitKeepsTheLowByteAndWidensBySignExtension) {
    EXPECT_EQ(LiteralSearch<char>::FromOleText(u"\u00E9A\u0141"), std::string("\xE9" "AA"));
    EXPECT_EQ(LiteralSearch<char>::ToOleText("\xE9" "A"), u"\uFFE9A");
    EXPECT_EQ(LiteralSearch<char16_t>::FromOleText(u"\u00E9\u0141"), u"\u00E9\u0141");
    EXPECT_EQ(LiteralSearch<char16_t>::ToOleText(u"\uFFE9"), u"\uFFE9");
}

TEST(LiteralSearchLimits, ForwardLimitIsTheLeastOfEndReachAndLength) {
    EXPECT_EQ(PatternSearchLimit(0, 7, 2048, 7), 7);
    EXPECT_EQ(PatternSearchLimit(0, 7, 2, 7), 2);
    EXPECT_EQ(PatternSearchLimit(0, 9, 2048, 7), 7);
    EXPECT_EQ(PatternSearchLimit(3, 7, -5, 7), 3);
    EXPECT_EQ(PatternSearchLimit(2147483600, 2147483640, 2147483647, 2147483647), 2147483640);
}

TEST(LiteralSearchLimits, LowerLimitIsTheGreatestOfStartReachAndZero) {
    EXPECT_EQ(PatternLowerLimit(0, 7, 2048), 0);
    EXPECT_EQ(PatternLowerLimit(0, 7, 2), 5);
    EXPECT_EQ(PatternLowerLimit(3, 7, 2048), 3);
    EXPECT_EQ(PatternLowerLimit(0, 7, -5), 7);
    EXPECT_EQ(PatternLowerLimit(0, -2147483647 - 1, 2147483647), -2147483647 - 1);
}

}  // namespace
}  // namespace scrivix
