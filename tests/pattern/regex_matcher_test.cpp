// The regular-expression matcher through its search driver: match tables for both character widths,
// search ranges, very long expressions and the expressions that make plain backtracking exponential.
#include "pattern/pattern_template.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace scrivix::test {
namespace {

using namespace std::string_view_literals;

enum Widths { kBoth = 3, k8 = 1, k16 = 2 };

// Searched forwards over the whole text unless a range is given: forwards the occurrence must begin in
// [from, to); backwards it is searched for down from `to` to `from`.
enum Direction { kForward, kBackward };
struct FindCase {
    std::string_view pattern;
    std::string_view text;
    Span found;
    Widths widths = kBoth;
    Direction direction = kForward;
    long from = 0, to = -1;  // -1: the text's length
};

const FindCase kFinds[] = {
    // Items.
    {"b.d", "abcd", {1, 4}}, {".", "\n", kNone}, {".", "\r", {0, 1}}, {"a.b", "a\rb", {0, 3}},
    {"a[0-9]+z", "a12z", {0, 4}}, {"a[0-9]+z", "az", kNone}, {"a+", "xaaay", {1, 4}}, {"a\nb", "xa\nb", {1, 4}},
    {"\\x", "a\0"sv, {1, 2}},
    // Anchors.
    {"^b", "a\nb", {2, 3}}, {"^b", "ab", kNone}, {"^", "x", {0, 0}},
    {"^b", "a\rb", kNone},       // a lone carriage return starts no line
    {"^$", "ab\n\ncd", {2, 2}},  // before every line feed: the end of each line, not only empty lines
    {"~b", "b", {0, 1}}, {"~b", "a\nb", {1, 3}}, {"~b", "a\r\nb", {1, 4}}, {"~b", "a\n\rb", {1, 4}}, {"~b", "a\n\nb", {2, 4}},
    {"~b", "\r\nb", {1, 3}},  // at the buffer start "~" takes nothing, so the pair is not taken there
    {"c$", "abc\n", {2, 3}}, {"c$", "abc", {2, 3}}, {"c$", "abcd", kNone}, {"c$", "abc\0d"sv, {2, 3}},
    {"$", "ab", kNone},  // the end of the buffer is no candidate
    {"$", "a\r", {1, 1}}, {"a$\nb", "a\nb", {0, 3}},
    // Line ends: "#" takes a line break of one or two characters; 0 ends a line and is not taken.
    {"c#", "abc\r\nd", {2, 5}}, {"c#", "abc\n\rd", {2, 5}}, {"c#", "abc\n\nd", {2, 4}}, {"c#", "abc\rd", {2, 4}},
    {"c#", "abc", {2, 3}}, {"c#", "abc\0\n"sv, {2, 3}}, {"#", "ab\r\n", {2, 4}}, {"#", "\n", {0, 1}}, {"c#", "abc\r", {2, 4}},
    // Closures give back.
    {"a*a", "a", {0, 1}}, {"a+a", "aa", {0, 2}}, {"a+a", "a", kNone}, {"a*ab", "aab", {0, 3}}, {".*b", "abab", {0, 4}},
    {".*b", "abab\nb", {0, 4}}, {"[ab]*b", "abba", {0, 3}}, {".+.", "ab", {0, 2}}, {"a+a+", "aaa", {0, 3}},
    {"x*", "abc", {0, 0}}, {"b*", "abc", {0, 0}}, {"ab+", "abbbc", {0, 4}}, {"a+b", "aac", kNone},
    // A rest at the end of the buffer.
    {"a*b*", "aaa", {0, 2}},  // "b*" could match empty at the end, but a rest there fails
    {"a*a*", "aaa", {0, 3}},  // ...while the last closure takes all it can
    {"a*$", "aaa", {0, 3}}, {"a*#", "aaa", {0, 3}}, {"a*#", "aa\r\n", {0, 4}}, {"a*$\nb", "aa\nb", {0, 4}},
    {"a*$\nb", "aaa", kNone},  // the rest is accepted at the end, then fails: no further give-back
    {"a*.", "aaa", {0, 3}}, {"x*$", "ab", kNone},
    // An optional item never comes back.
    {"a?a", "aa", {0, 2}}, {"a?a", "a", kNone}, {"a?b", "b", {0, 1}}, {"a?b", "ab", {0, 2}}, {"a?a?a", "aa", kNone},
    {"x?", "abc", {0, 0}}, {"[ab]?c", "bc", {0, 2}},
    // Classes, which look a character up by its low 7 (8-bit) or 15 (16-bit) bits.
    {"[abc]+", "xcabz", {1, 4}}, {"[^abc]", "abcd", {3, 4}}, {"[^a]", "ab", {1, 2}}, {"[^a]", "a", kNone},
    {"[a-c]*", "abcd", {0, 3}}, {"[z-a]", "a", kNone}, {"[z-a]", "z", {0, 1}}, {"[-a]+", "x-a-", {1, 4}},
    {"[]", "abc", kNone}, {"[^]", "\n", {0, 1}}, {"[\\]]", "a]", {1, 2}}, {"[\\n]", "a\n", {1, 2}},
    {"[a]", "\xE1", {0, 1}, k8}, {"[^a]", "\xE1", kNone, k8}, {"[a]", "\xE1", kNone, k16},
    // The format has no escape: a literal equal to an operation code is that operation.
    {"\\xAE", "\nx", {1, 2}, k8},          // opAnyChar
    {"\\xAAz", "zzc", {0, 2}, k8},         // opStar over "z"
    {"\\xAA", "\0\0x"sv, {0, 2}, k8},      // opStar over the terminating 0
    {"\\xDB", "\0a"sv, kNone, k8},         // opClass whose bitmap the program does not hold: all zero
    {"\\xAA\\xA4", "\n", {0, 0}, k8},      // opStar over opLineEnd stops at once
    {"\\xAA\\xA4x", "x", {0, 1}, k8},
    {"\\xAB\\xA4x", "\nx", kNone, k8},     // opPlus over opLineEnd, then "x"
    {"a*\\x", "aaa", {0, 3}, k8},          // a 0 unit after a closure ends the run
    {"a\\x", "a\0"sv, {0, 2}, k8},         // ...elsewhere it is the character 0
    {"\\xAE", "\nx", kNone, k16}, {"\\xAAz", "\xAA" "zz", {0, 2}, k16},
    // Search ranges.
    {"a+", "xaaay", {2, 4}, kBoth, kForward, 2, 5}, {"a+", "xaaay", kNone, kBoth, kForward, 0, 1},
    {"a+", "xaaay", {1, 4}, kBoth, kForward, 0, 2},  // the match runs past the limit
    {"a+", "xaaay", kNone, kBoth, kForward, 4, 4}, {"a+", "xaaay", {3, 4}, kBoth, kBackward, 0, 5},
    {"a+", "xaaay", {1, 4}, kBoth, kBackward, 0, 2}, {"a+", "xaaay", kNone, kBoth, kBackward, 4, 5},
    {"ab", "ab-ab", {3, 5}, kBoth, kBackward, 0, 5}, {"ab", "ab-ab", {0, 2}, kBoth, kBackward, 0, 3},
    {"ab", "ab-ab", {3, 5}, kBoth, kBackward, 0, 4},  // a candidate below the end may match past it
    {"ab", "ab-ab", kNone, kBoth, kBackward, 1, 3}, {"^", "a\nb", {2, 2}, kBoth, kBackward, 0, 3},
};

template <typename T>
void ExpectFinds(const FindCase& c) {
    DPatternTemplate<T> program;
    ASSERT_EQ(program.Compile(Widen<T>(c.pattern)), peNone) << c.pattern;
    const std::basic_string<T> text = Widen<T>(c.text);
    EXPECT_EQ(Find(program, text, c.direction == kForward, c.from, c.to < 0 ? long(text.size()) : c.to), c.found)
        << (sizeof(T) * 8) << "-bit '" << c.pattern << "' on '" << c.text << "' from " << c.from;
}

TEST(RegexMatcher, Finds) {
    for (const FindCase& c : kFinds) {
        if (c.widths & k8) ExpectFinds<char>(c);
        if (c.widths & k16) ExpectFinds<char16_t>(c);
    }
    // 16-bit codes that only the wide program holds: the class bit of "a", and opStar.
    DPatternTemplate<char16_t> wide;
    ASSERT_EQ(wide.Compile(u"[a]"), peNone);
    EXPECT_EQ(Find(wide, std::u16string(u"x\x8061"), true, 0, 2), (Span{1, 2}));
    ASSERT_EQ(wide.Compile(u"\x802A" u"b"), peNone);
    EXPECT_EQ(Find(wide, std::u16string(u"bbc"), true, 0, 3), (Span{0, 2}));
}

// Patterns of many closures over one repeated character, in both widths, searched both ways.
template <typename T>
void ExpectLongPattern(const std::string& pattern, const std::string& text, Span forward, Span backward) {
    DPatternTemplate<T> program;
    ASSERT_EQ(program.Compile(Widen<T>(pattern)), peNone);
    const std::basic_string<T> wide = Widen<T>(text);
    const long n = long(wide.size());
    EXPECT_EQ(Find(program, wide, true, 0, n), forward) << pattern.substr(0, 20) << " on " << text.size();
    EXPECT_EQ(Find(program, wide, false, 0, n), backward) << pattern.substr(0, 20) << " on " << text.size();
}

std::string Repeat(std::string_view piece, int count) {
    std::string out;
    for (int k = 0; k < count; ++k) out += piece;
    return out;
}

TEST(RegexMatcher, LongAndPathologicalPatterns) {
    for (auto check : {ExpectLongPattern<char>, ExpectLongPattern<char16_t>}) {
        // Tens of thousands of closures.
        const std::string stars = Repeat("a*", 30000);
        check(stars + "b", "aaab", {0, 4}, {3, 4});
        check(stars + "b", "aaaa", kNone, kNone);
        check(stars + "$", "aa\naa", {0, 2}, {4, 5});
        check(Repeat("a?", 30000) + "b", "aab", {0, 3}, {2, 3});
        check(Repeat(".+", 1000), Repeat("a", 1000), {0, 1000}, {0, 1000});
        check(Repeat(".+", 1000), Repeat("a", 999), kNone, kNone);
        check(Repeat("[ab]*", 2000) + "$", "abab\nab", {0, 4}, {6, 7});  // 8 MB of 16-bit classes
        // Exponential for plain backtracking.
        const std::string as = Repeat("a", 5000);
        check(Repeat("a*", 10) + "b", as, kNone, kNone);
        check(Repeat("a*", 10) + "b", as + "b", {0, 5001}, {5000, 5001});
        check(Repeat("a+", 10) + "b", as, kNone, kNone);
        check(Repeat(".*", 10) + "b", as + "\n" + as, kNone, kNone);
        check(Repeat("[ab]*a*", 8) + "c", as + "b" + as, kNone, kNone);
        check(Repeat("a*", 10) + "$\nb", as, kNone, kNone);
        check("x" + Repeat("a*", 12) + "$", "x" + as, {0, 5001}, {0, 5001});
    }
}

}  // namespace
}  // namespace scrivix::test
