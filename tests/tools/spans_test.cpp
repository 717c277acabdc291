// scrivix spans: flat and nested spans, the parts reported, spans over several lines, and spans with the
// ignore flags and presets.
#include "tool_runner.h"

namespace scrivix_tool_test {
namespace {

using Spans = ToolTest;

TEST_F(Spans, ReportedTexts) {
    const struct {
        Files files;
        Args args;  // after "spans --json"
        const char* texts;
    } cases[] = {
        // Without counting, a span closes at the first closing; spans inside spans are reported too.
        {{{"n.txt", "((a)b)c (x)\n"}}, {"(", ")", "n.txt"}, "((a)|(a)|(x)"},
        {{}, {"--nested", "(", ")", "n.txt"}, "((a)b)|(a)|(x)"},
        {{}, {"--nested", "--what", "body", "(", ")", "n.txt"}, "(a)b|a|x"},
        {{}, {"--nested", "--what", "opening", "(", ")", "n.txt"}, "(|(|("},
        {{}, {"--nested", "--what=closing", "(", ")", "n.txt"}, ")|)|)"},
        {{}, {"--nested", "--what", "whole", "(", ")", "n.txt"}, "((a)b)|(a)|(x)"},
        // Openings and closings as expressions.
        {{{"t.html", "<b>bold</b> <i>it</i>\n"}}, {"-e", "<[a-z]>", "</[a-z]>", "t.html"}, "<b>bold</b>|<i>it</i>"},
        // Openings in ignored spans are stepped over.
        {{{"x.c", "f(a); /* (x) */ s = \"(y)\"; g(b);\n"}}, {"--lang", "c", "(", ")", "x.c"}, "(a)|(b)"},
        {{}, {"--ignore-span", "\"", "\"", "(", ")", "x.c"}, "(a)|(x)|(b)"},
    };
    for (const auto& c : cases) {
        if (!c.files.empty()) Tree(c.files);
        Args args{"spans", "--json"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        EXPECT_EQ(JsonValues(Run(args).out, "text"), c.texts) << ::testing::PrintToString(args);
    }
}

TEST_F(Spans, LinesCountsAndExitStatuses) {
    Check({
        // Every line a span covers is printed.
        {{{"f.c", "int f() {\n  return 1;\n}\n"}}, {"spans", "{", "}", "f.c"}, "f.c:1:9:int f() {\nf.c-2-  return 1;\nf.c-3-}\n"},
        {{{"a.txt", "[1] [2]\n"}, {"b.txt", "none\n"}}, {"spans", "-c", "[", "]"}, "a.txt:2\n"},
        {{}, {"spans", "<", ">"}, "", 1},
        {{}, {"spans", "<", ""}, "", 2, std::nullopt},
    });
}

}  // namespace
}  // namespace scrivix_tool_test
