// scrivix spans: flat and nested spans, the parts reported, spans over several lines, and spans with the
// ignore flags and presets.
#include "tool_runner.h"

namespace scrivix_tool_test {
namespace {

using Spans = ToolTest;

// The "text" fields of a JSON stream, joined with "|".
std::string Texts(const std::string& json) {
    std::string texts;
    for (size_t at = json.find("\"text\":\""); at != std::string::npos; at = json.find("\"text\":\"", at + 1)) {
        const size_t from = at + 8;
        if (!texts.empty()) texts += "|";
        texts += json.substr(from, json.find("\",\"lines\"", from) - from);
    }
    return texts;
}

TEST_F(Spans, FlatAndNestedSpansWithEachPart) {
    Write("n.txt", "((a)b)c (x)\n");
    const struct {
        std::vector<std::string> flags;
        const char* expected;
    } cases[] = {
        // Without counting, a span closes at the first closing; spans inside spans are reported too.
        {{}, "((a)|(a)|(x)"},
        {{"--nested"}, "((a)b)|(a)|(x)"},
        {{"--nested", "--what", "body"}, "(a)b|a|x"},
        {{"--nested", "--what", "opening"}, "(|(|("},
        {{"--nested", "--what=closing"}, ")|)|)"},
        {{"--nested", "--what", "whole"}, "((a)b)|(a)|(x)"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"spans", "--json"};
        args.insert(args.end(), c.flags.begin(), c.flags.end());
        args.insert(args.end(), {"(", ")", "n.txt"});
        EXPECT_EQ(Texts(Run(args).out), c.expected);
    }
}

TEST_F(Spans, PrintsEveryLineASpanCovers) {
    Write("f.c", "int f() {\n  return 1;\n}\n");
    const ToolResult result = Run({"spans", "{", "}", "f.c"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "f.c:1:9:int f() {\nf.c-2-  return 1;\nf.c-3-}\n");
}

TEST_F(Spans, OpeningAndClosingAsExpressions) {
    Write("t.html", "<b>bold</b> <i>it</i>\n");
    EXPECT_EQ(Texts(Run({"spans", "--json", "-e", "<[a-z]>", "</[a-z]>", "t.html"}).out), "<b>bold</b>|<i>it</i>");
}

TEST_F(Spans, StepOverOpeningsInIgnoredSpansAndPresets) {
    Write("x.c", "f(a); /* (x) */ s = \"(y)\"; g(b);\n");
    EXPECT_EQ(Texts(Run({"spans", "--json", "--lang", "c", "(", ")", "x.c"}).out), "(a)|(b)");
    EXPECT_EQ(Texts(Run({"spans", "--json", "--ignore-span", "\"", "\"", "(", ")", "x.c"}).out), "(a)|(x)|(b)");
}

TEST_F(Spans, CountsAndExitStatus) {
    Write("a.txt", "[1] [2]\n");
    Write("b.txt", "none\n");
    EXPECT_EQ(Run({"spans", "-c", "[", "]"}).out, "a.txt:2\n");
    EXPECT_EQ(Run({"spans", "<", ">"}).status, 1);
    EXPECT_EQ(Run({"spans", "<", ""}).status, 2);
}

}  // namespace
}  // namespace scrivix_tool_test
