// The regular-expression compiler: the programs it emits, unit for unit and as dumps, and its errors.
#include "pattern/pattern_template.h"
#include "pattern_test_support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace scrivix::test {
namespace {

using namespace std::string_view_literals;

template <typename T>
std::vector<unsigned> Units(std::string_view pattern) {
    DPatternTemplate<T> program;
    EXPECT_EQ(program.Compile(Widen<T>(pattern)), peNone) << pattern;
    std::vector<unsigned> units;
    for (const T unit : program.Program()) units.push_back(typename RegexCodes<T>::Unit(unit));
    EXPECT_EQ(*program.ProgramEnd(), T(0));
    return units;
}

template <typename T>
std::string DumpOf(std::string_view pattern) {
    DPatternTemplate<T> program;
    EXPECT_EQ(program.Compile(Widen<T>(pattern)), peNone) << pattern;
    return program.Dump();
}

// Units followed by a class bitmap of the given length, with the given units set at their index.
std::vector<unsigned> WithClass(std::vector<unsigned> units, std::size_t length,
                                std::vector<std::pair<std::size_t, unsigned>> set) {
    const std::size_t bitmap = units.size();
    units.resize(bitmap + length, 0);
    for (const auto& [index, value] : set) units[bitmap + index] = value;
    return units;
}

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
    };
    for (const auto& [pattern, dump] : cases) EXPECT_EQ(DumpOf<char>(pattern), dump) << pattern;
    // 16-bit programs.
    EXPECT_EQ(DumpOf<char16_t>("~\\x41#"), "opLineBreakStart 'A' opLineBreakEnd");
    EXPECT_EQ(DumpOf<char16_t>("[^b-a]"), "opClass[0000-0061,0063-FFFF]");
    EXPECT_EQ(DumpOf<char16_t>("\\x263*"), "opStar '\\x0263'");
    // Ranges compare as written; 8-bit bounds are signed: 0xF0 is below 0x05, so the range wraps through the codes 0x80 and above.
    EXPECT_EQ(DumpOf<char>("[\xF0-\x05]"), "opClass[00-05,70-7F]");
    EXPECT_EQ(DumpOf<char16_t>("[\xF0-\x05]"), "opClass[0006-00F0]");
    // A range of more codes than a class tells apart sets every bit once.
    EXPECT_EQ(DumpOf<char>("[\x80-\x7F]"), "opClass[00-7F]");
    DPatternTemplate<char16_t> wide;
    ASSERT_EQ(wide.Compile(u"[\x0001-\xFFFF]"), peNone);
    EXPECT_EQ(wide.Dump(), "opClass[0000-7FFF]");
}

// The units of worked examples and of escapes, which are plain literals.
TEST(RegexCompiler, Units) {
    struct Case {
        std::string_view pattern;
        std::vector<unsigned> narrow;
        std::vector<unsigned> wide = {};  // empty when the same as narrow
    };
    const Case cases[] = {
        {"ab*c", {0x61, 0xAA, 0x62, 0x63}, {0x61, 0x802A, 0x62, 0x63}},
        {"^a.+$", {0xDE, 0x61, 0xAB, 0xAE, 0xA4}, {0x805E, 0x61, 0x802B, 0x802E, 0x8024}},
        {"~a#", {0xFE, 0x61, 0xA3}, {0x807E, 0x61, 0x8023}},
        {"x[0-9]?", WithClass({0x78, 0xBF, 0xDB}, 16, {{6, 0xFF}, {7, 0x03}}), WithClass({0x78, 0x803F, 0x805B}, 4096, {{3, 0x03FF}})},
        {"\\x41", {0x41}}, {"\\101", {0x41}}, {"\\x", {0x00}}, {"\\x4G", {0x04, 'G'}}, {"\\xfFf", {0xFF}, {0x0FFF}},
        {"\\x263", {0x63}, {0x0263}}, {"\\12a", {0x0A, 'a'}}, {"\\777", {0xFF}, {0x01FF}}, {"\\8", {'8'}},
        {"\\^J\\^a\\^[", {0x0A, 0x01, 0x1B}}, {"\\^ ", {0xE0}, {0xFFE0}},
        {"\\^", {0xC0}, {0xFFC0}},  // the character after "^" is the end of the text, read as 0
        {"\\b\\E\\f\\N\\r\\S\\t", {8, 27, 12, 10, 13, 32, 9}}, {"\\q\\Q\\*", {'q', 'Q', '*'}},
        {"a\\", {'a', '\\'}}, {"\\\x01", {0x01}},
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
        {"[^", peImproperClosure},
        {"[a\0]"sv, peImproperClosure},  // a 0 character ends a class like the end of the text
        {"[a-\0]"sv, peImproperClosure},
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
}

TEST(RegexCompiler, FailureLeavesNoProgram) {
    DPatternTemplate<char> program;
    ASSERT_EQ(program.Compile("a+"), peNone);
    ASSERT_EQ(program.Compile("[a"), peImproperClosure);
    EXPECT_TRUE(program.Program().empty());
    EXPECT_EQ(program.Dump(), "");
    EXPECT_EQ(Find(program, std::string("aaa"), true, 0, 3), kNone);
}

}  // namespace
}  // namespace scrivix::test
