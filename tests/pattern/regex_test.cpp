// Regular expressions: the programs the compiler emits (unit for unit and as dumps) and its errors, then
// the matcher through its search driver in both character widths: match tables, search ranges, very
// long expressions and the expressions that make plain backtracking exponential.
#include "pattern/pattern_template.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace scrivix::test {
namespace {

using namespace std::string_view_literals;

template <typename T>
std::unique_ptr<DPatternTemplate<T>> Compiled(std::string_view pattern) {
    auto program = std::make_unique<DPatternTemplate<T>>();
    EXPECT_EQ(program->Compile(Widen<T>(pattern)), peNone) << pattern;
    return program;
}

// The compiler.

TEST(RegexCompiler, Dumps) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        // Closures go in front of the last item.
        {"ab*c", "'a' opStar 'b' 'c'"}, {".*", "opStar opAnyChar"}, {"[ab]+x", "opPlus opClass[61-62] 'x'"},
        // Anchors only at the start or the end (or before a line feed); elsewhere they are literals.
        {"^a.+$", "opLineStart 'a' opPlus opAnyChar opLineEnd"}, {"~a#", "opLineBreakStart 'a' opLineBreakEnd"},
        {"$*", "opStar '$'"}, {"a$b", "'a' '$' 'b'"}, {"a$\nb", "'a' opLineEnd '\\x0A' 'b'"},
        {"a#\n", "'a' opLineBreakEnd '\\x0A'"}, {"a#b", "'a' '#' 'b'"}, {"a^~", "'a' '^' '~'"},
        {"^^", "opLineStart '^'"}, {"a]-", "'a' ']' '-'"},
        // Classes.
        {"x[0-9]?", "'x' opOptional opClass[30-39]"}, {"[^a-c]", "opClass[00-60,64-7F]"}, {"[-a]", "opClass[2D,61]"},
        {"[a-]", "opClass[2D,61]"}, {"[^-]", "opClass[00-2C,2E-7F]"}, {"[a-z]", "opClass[61-7A]"},
        {"[z-a]", "opClass[62-7A]"}, {"[a-c-e]", "opClass[61-65]"}, {"[]", "opClass[]"}, {"[^]", "opClass[00-7F]"},
        {"[]]", "opClass[] ']'"}, {"[\\]\\n\\t]", "opClass[09-0A,5D]"}, {"[\\\\]", "opClass[5C]"},
        {"[\\x41-C]", "opClass[32-43]"},  // the range starts at "1", the last character of "\x41"
        // Escapes are plain literals.
        {"\\.\\*\\[\\#\\\\", "'.' '*' '[' '#' '\\x5C'"}, {"\\", "'\\x5C'"},
        // 8-bit range bounds are signed: 0xF0 is below 0x05, so the range wraps through the codes 0x80 and
        // above; a range of more codes than a class tells apart sets every bit once.
        {"[\xF0-\x05]", "opClass[00-05,70-7F]"}, {"[\x80-\x7F]", "opClass[00-7F]"},
    };
    for (const auto& [pattern, dump] : cases) EXPECT_EQ(Compiled<char>(pattern)->Dump(), dump) << pattern;
    // 16-bit programs; their range bounds are unsigned.
    EXPECT_EQ(Compiled<char16_t>("~\\x41#")->Dump(), "opLineBreakStart 'A' opLineBreakEnd");
    EXPECT_EQ(Compiled<char16_t>("[^b-a]")->Dump(), "opClass[0000-0061,0063-FFFF]");
    EXPECT_EQ(Compiled<char16_t>("\\x263*")->Dump(), "opStar '\\x0263'");
    EXPECT_EQ(Compiled<char16_t>("[\xF0-\x05]")->Dump(), "opClass[0006-00F0]");
    DPatternTemplate<char16_t> wide;
    ASSERT_EQ(wide.Compile(u"[\x0001-\xFFFF]"), peNone);
    EXPECT_EQ(wide.Dump(), "opClass[0000-7FFF]");
}

// Units followed by a class bitmap of the given length, with the given units set at their index.
std::vector<unsigned> WithClass(std::vector<unsigned> units, std::size_t length,
                                std::vector<std::pair<std::size_t, unsigned>> set) {
    const std::size_t bitmap = units.size();
    units.resize(bitmap + length, 0);
    for (const auto& [index, value] : set) units[bitmap + index] = value;
    return units;
}

template <typename T>
std::vector<unsigned> Units(std::string_view pattern) {
    const auto program = Compiled<T>(pattern);
    EXPECT_EQ(*program->ProgramEnd(), T(0)) << "a program ends in 0";
    std::vector<unsigned> units;
    for (const T unit : program->Program()) units.push_back(typename RegexCodes<T>::Unit(unit));
    return units;
}

// The units of worked examples and of escapes, which are plain literals.
TEST(RegexCompiler, Units) {
    struct Case {
        std::string_view pattern;
        std::vector<unsigned> narrow, wide = {};  // wide: empty when the same as narrow
    };
    const Case cases[] = {
        {"ab*c", {0x61, 0xAA, 0x62, 0x63}, {0x61, 0x802A, 0x62, 0x63}},
        {"^a.+$", {0xDE, 0x61, 0xAB, 0xAE, 0xA4}, {0x805E, 0x61, 0x802B, 0x802E, 0x8024}},
        {"~a#", {0xFE, 0x61, 0xA3}, {0x807E, 0x61, 0x8023}},
        {"x[0-9]?", WithClass({0x78, 0xBF, 0xDB}, 16, {{6, 0xFF}, {7, 0x03}}),
         WithClass({0x78, 0x803F, 0x805B}, 4096, {{3, 0x03FF}})},
        {"\\x41", {0x41}}, {"\\101", {0x41}}, {"\\x", {0x00}}, {"\\x4G", {0x04, 'G'}}, {"\\xfFf", {0xFF}, {0x0FFF}},
        {"\\x263", {0x63}, {0x0263}}, {"\\12a", {0x0A, 'a'}}, {"\\777", {0xFF}, {0x01FF}}, {"\\8", {'8'}},
        {"\\^J\\^a\\^[", {0x0A, 0x01, 0x1B}}, {"\\^ ", {0xE0}, {0xFFE0}},
        {"\\^", {0xC0}, {0xFFC0}},  // the character after "^" is the end of the text, read as 0
        {"\\b\\E\\f\\N\\r\\S\\t", {8, 27, 12, 10, 13, 32, 9}}, {"\\q\\Q\\*", {'q', 'Q', '*'}}, {"a\\", {'a', '\\'}},
        {"\\\x01", {0x01}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Units<char>(c.pattern), c.narrow) << c.pattern;
        EXPECT_EQ(Units<char16_t>(c.pattern), c.wide.empty() ? c.narrow : c.wide) << c.pattern;
    }
}

TEST(RegexCompiler, Errors) {
    const std::pair<std::string_view, PatternError> cases[] = {
        {"", peIllegalExpression}, {"*a", peIllegalExpression}, {"+a", peIllegalExpression}, {"?a", peIllegalExpression},
        {"a**", peImproperPattern}, {"a+?", peImproperPattern}, {"^*", peImproperPattern}, {"~?", peImproperPattern},
        {"[abc", peImproperClosure}, {"x[", peImproperClosure}, {"[a-", peImproperClosure}, {"[\\", peImproperClosure},
        {"[^", peImproperClosure}, {"[a\0]"sv, peImproperClosure}, {"[a-\0]"sv, peImproperClosure},  // 0 ends a class
        {"$*", peNone}, {"a#*b", peNone}, {"a\\**", peNone}, {"[]*", peNone},
    };
    DPatternTemplate<char> narrow;
    DPatternTemplate<char16_t> wide;
    for (const auto& [pattern, error] : cases) {
        EXPECT_EQ(narrow.Compile(pattern), error) << pattern;
        EXPECT_EQ(wide.Compile(Widen<char16_t>(pattern)), error) << pattern;
    }
    // Closure checks look at units: a literal whose code is a closure or an anchor code is refused too.
    EXPECT_EQ(narrow.Compile("a\\xAA*"), peImproperPattern);
    EXPECT_EQ(narrow.Compile("\\xDE+"), peImproperPattern);
    EXPECT_EQ(wide.Compile(u"a\x802A*"), peImproperPattern);
    EXPECT_EQ(wide.Compile(u"a\\xAA*"), peNone);
    // A failure leaves no program.
    ASSERT_EQ(narrow.Compile("a+"), peNone);
    ASSERT_EQ(narrow.Compile("[a"), peImproperClosure);
    EXPECT_TRUE(narrow.Program().empty());
    EXPECT_EQ(narrow.Dump(), "");
    EXPECT_EQ(Find(narrow, std::string("aaa"), true, 0, 3), kNone);
}

// The matcher. Each expected occurrence is marked in its text. Searched forwards over the whole text unless
// a range is given: forwards the occurrence must begin in [from, to); backwards it is searched for down
// from `to` to `from`.

enum Widths { kBoth = 3, k8 = 1, k16 = 2 };
enum Direction { kForward, kBackward };
struct FindCase {
    std::string_view pattern, text;
    Widths widths = kBoth;
    Direction direction = kForward;
    long from = 0, to = -1;  // -1: the text's length
};

const FindCase kFinds[] = {
    // Items.
    {"b.d", "a<bcd>"}, {".", "\n"}, {".", "<\r>"}, {"a.b", "<a\rb>"}, {"a[0-9]+z", "<a12z>"}, {"a[0-9]+z", "az"},
    {"a+", "x<aaa>y"}, {"a\nb", "x<a\nb>"}, {"\\x", "a<\0>"sv},
    // Anchors.
    {"^b", "a\n<b>"}, {"^b", "ab"}, {"^", "<>x"},
    {"^b", "a\rb"},       // a lone carriage return starts no line
    {"^$", "ab<>\n\ncd"},  // before every line feed: the end of each line, not only empty lines
    {"~b", "<b>"}, {"~b", "a<\nb>"}, {"~b", "a<\r\nb>"}, {"~b", "a<\n\rb>"}, {"~b", "a\n<\nb>"},
    {"~b", "\r<\nb>"},  // at the buffer start "~" takes nothing, so the pair is not taken there
    {"c$", "ab<c>\n"}, {"c$", "ab<c>"}, {"c$", "abcd"}, {"c$", "ab<c>\0d"sv},
    {"$", "ab"},  // the end of the buffer is no candidate
    {"$", "a<>\r"}, {"a$\nb", "<a\nb>"},
    // Line ends: "#" takes a line break of one or two characters; 0 ends a line and is not taken.
    {"c#", "ab<c\r\n>d"}, {"c#", "ab<c\n\r>d"}, {"c#", "ab<c\n>\nd"}, {"c#", "ab<c\r>d"}, {"c#", "ab<c>"},
    {"c#", "ab<c>\0\n"sv}, {"#", "ab<\r\n>"}, {"#", "<\n>"}, {"c#", "ab<c\r>"},
    // Closures give back.
    {"a*a", "<a>"}, {"a+a", "<aa>"}, {"a+a", "a"}, {"a*ab", "<aab>"}, {".*b", "<abab>"}, {".*b", "<abab>\nb"},
    {"[ab]*b", "<abb>a"}, {".+.", "<ab>"}, {"a+a+", "<aaa>"}, {"x*", "<>abc"}, {"b*", "<>abc"}, {"ab+", "<abbb>c"},
    {"a+b", "aac"},
    // A rest at the end of the buffer.
    {"a*b*", "<aa>a"},  // "b*" could match empty at the end, but a rest there fails
    {"a*a*", "<aaa>"},  // ...while the last closure takes all it can
    {"a*$", "<aaa>"}, {"a*#", "<aaa>"}, {"a*#", "<aa\r\n>"}, {"a*$\nb", "<aa\nb>"},
    {"a*$\nb", "aaa"},  // the rest is accepted at the end, then fails: no further give-back
    {"a*.", "<aaa>"}, {"x*$", "ab"},
    // An optional item never comes back.
    {"a?a", "<aa>"}, {"a?a", "a"}, {"a?b", "<b>"}, {"a?b", "<ab>"}, {"a?a?a", "aa"}, {"x?", "<>abc"},
    {"[ab]?c", "<bc>"},
    // Classes, which look a character up by its low 7 (8-bit) or 15 (16-bit) bits.
    {"[abc]+", "x<cab>z"}, {"[^abc]", "abc<d>"}, {"[^a]", "a<b>"}, {"[^a]", "a"}, {"[a-c]*", "<abc>d"}, {"[z-a]", "a"},
    {"[z-a]", "<z>"}, {"[-a]+", "x<-a->"}, {"[]", "abc"}, {"[^]", "<\n>"}, {"[\\]]", "a<]>"}, {"[\\n]", "a<\n>"},
    {"[a]", "<\xE1>", k8}, {"[^a]", "\xE1", k8}, {"[a]", "\xE1", k16},
    // The format has no escape: a literal equal to an operation code is that operation.
    {"\\xAE", "\n<x>", k8},          // opAnyChar
    {"\\xAAz", "<zz>c", k8},         // opStar over "z"
    {"\\xAA", "<\0\0>x"sv, k8},      // opStar over the terminating 0
    {"\\xDB", "\0a"sv, k8},         // opClass whose bitmap the program does not hold: all zero
    {"\\xAA\\xA4", "<>\n", k8},      // opStar over opLineEnd stops at once
    {"\\xAA\\xA4x", "<x>", k8},
    {"\\xAB\\xA4x", "\nx", k8},     // opPlus over opLineEnd, then "x"
    {"a*\\x", "<aaa>", k8},          // a 0 unit after a closure ends the run
    {"a\\x", "<a\0>"sv, k8},         // ...elsewhere it is the character 0
    {"\\xAE", "\nx", k16}, {"\\xAAz", "<\xAAz>z", k16},
    // Search ranges.
    {"a+", "xa<aa>y", kBoth, kForward, 2, 5}, {"a+", "xaaay", kBoth, kForward, 0, 1},
    {"a+", "x<aaa>y", kBoth, kForward, 0, 2},  // the match runs past the limit
    {"a+", "xaaay", kBoth, kForward, 4, 4}, {"a+", "xaa<a>y", kBoth, kBackward, 0, 5},
    {"a+", "x<aaa>y", kBoth, kBackward, 0, 2}, {"a+", "xaaay", kBoth, kBackward, 4, 5},
    {"ab", "ab-<ab>", kBoth, kBackward, 0, 5}, {"ab", "<ab>-ab", kBoth, kBackward, 0, 3},
    {"ab", "ab-<ab>", kBoth, kBackward, 0, 4},  // a candidate below the end may match past it
    {"ab", "ab-ab", kBoth, kBackward, 1, 3}, {"^", "a\n<>b", kBoth, kBackward, 0, 3},
};

template <typename T>
void ExpectFinds(const FindCase& c) {
    const auto [text, expected] = Unmark(c.text);
    const long to = c.to < 0 ? long(text.size()) : c.to;
    EXPECT_EQ(Find(*Compiled<T>(c.pattern), Widen<T>(text), c.direction == kForward, c.from, to), expected)
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

std::string Repeat(std::string_view piece, int count) {
    std::string out;
    while (count-- > 0) out += piece;
    return out;
}

// Patterns of many closures over one repeated character, in both widths, searched both ways.
template <typename T>
void ExpectLongPattern(const std::string& pattern, const std::string& text, Span forward, Span backward) {
    const auto program = Compiled<T>(pattern);
    const std::basic_string<T> wide = Widen<T>(text);
    for (const bool way : {true, false}) {
        EXPECT_EQ(Find(*program, wide, way, 0, long(wide.size())), way ? forward : backward)
            << pattern.substr(0, 20) << " on " << text.size() << (way ? " forward" : " backward");
    }
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
