// scrivix find: output and files, pattern options, exit statuses and messages, the command line, JSON and
// colour, ignore patterns and spans, and the language presets.
#include "tool_runner.h"

#include <sys/stat.h>
#include <unistd.h>

namespace scrivix_tool_test {
namespace {

using Find = ToolTest;
using namespace std::string_literals;

TEST_F(Find, OutputAndFiles) {
    Check({
        // Path, line, column and line for every occurrence.
        {{{"a.txt", "one foo\nno\nfoo and foo\n"}}, {"find", "foo", "a.txt"},
         "a.txt:1:5:one foo\na.txt:3:1:foo and foo\na.txt:3:9:foo and foo\n"},
        // Directories are searched recursively, in name order.
        {{{"b/z.txt", "foo\n"}, {"b/a.txt", "foo\n"}, {"a.txt", "foo\n"}}, {"find", "foo"},
         "a.txt:1:1:foo\nb/a.txt:1:1:foo\nb/z.txt:1:1:foo\n"},
        {{}, {"find", "foo", "b"}, "b/a.txt:1:1:foo\nb/z.txt:1:1:foo\n"},
        // Counts for the files with occurrences; nothing found exits with 1.
        {{{"a.txt", "foo foo\n"}, {"b.txt", "bar\n"}}, {"find", "-c", "foo"}, "a.txt:2\n"},
        {{}, {"find", "baz"}, "", 1},
        {{{"dos.txt", "foo\r\nbar\r\n"}}, {"find", "bar", "dos.txt"}, "dos.txt:2:1:bar\n"},
        // Binary files are skipped, and said so only when verbose.
        {{{"data.bin", "foo\0foo"s}}, {"find", "foo"}, "", 1},
        {{}, {"find", "-v", "foo"}, "", 1, "scrivix: data.bin: binary file skipped\n"},
        // Files with the mark FF FE are UTF-16 (these end with the euro sign).
        {{{"wide.txt", Utf16File("x\nthe foo\n") + "\xAC\x20"}, {"euro.txt", Utf16File("price 5") + "\xAC\x20"}},
         {"find", "foo", "wide.txt"}, "wide.txt:2:5:the foo\n"},
        {{}, {"find", "5\xE2\x82\xAC", "euro.txt"}, "euro.txt:1:7:price 5\xE2\x82\xAC\n"},
        // A missing file is named and the run goes on.
        {{{"a.txt", "foo\n"}}, {"find", "foo", "missing.txt", "a.txt"}, "a.txt:1:1:foo\n", 2,
         "scrivix: missing.txt: No such file or directory\n"},
    });
}

TEST_F(Find, PatternOptions) {
    Check({
        {{{"t.txt", "Foo foo\nfoobar\nfoo\tbar\n"}}, {"find", "foo", "t.txt"},
         "t.txt:1:5:Foo foo\nt.txt:2:1:foobar\nt.txt:3:1:foo\tbar\n"},
        {{}, {"find", "-i", "FOO", "t.txt"}, "t.txt:1:1:Foo foo\nt.txt:1:5:Foo foo\nt.txt:2:1:foobar\nt.txt:3:1:foo\tbar\n"},
        // Whole words are bounded by white space.
        {{}, {"find", "-w", "foo", "t.txt"}, "t.txt:1:5:Foo foo\nt.txt:3:1:foo\tbar\n"},
        {{}, {"find", "-wi", "FOO", "t.txt"}, "t.txt:1:1:Foo foo\nt.txt:1:5:Foo foo\nt.txt:3:1:foo\tbar\n"},
        // A space of the pattern stands for any one character that is no white space (or for a run of other
        // white space together with the character after it).
        {{}, {"find", "-s", "fo bar", "t.txt"}, "t.txt:2:1:foobar\n"},
        {{}, {"find", "-e", "f[o]+b", "t.txt"}, "t.txt:2:1:foobar\n"},
        {{}, {"find", "-e", "^foo", "t.txt"}, "t.txt:2:1:foobar\nt.txt:3:1:foo\tbar\n"},
        // Empty matches are not reported.
        {{}, {"find", "-e", "x*", "t.txt"}, "", 1},
        // A malformed expression gets the library's message.
        {{}, {"find", "-e", "a**"}, "", 2, "scrivix: pattern 'a**': Improper pattern in Regular Expression.\n"},
        {{}, {"find", "-e", "*a"}, "", 2, "scrivix: pattern '*a': Illegal Regular Expression.\n"},
        {{}, {"find", "-e", "[ab"}, "", 2, "scrivix: pattern '[ab': Improper closure of Regular Expression.\n"},
    });
}

TEST_F(Find, NamesAnUnreadableFile) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads every file";
    Write("locked.txt", "foo\n");
    chmod(Path("locked.txt").c_str(), 0);
    Check({{{}, {"find", "foo", "locked.txt"}, "", 2, "scrivix: locked.txt: Permission denied\n"}});
}

// Bad command lines point at the help, which the tool and every command give.
TEST_F(Find, CommandLines) {
    for (const Args& args : std::vector<Args>{{}, {"look"}, {"find"}, {"find", "--nope", "x"},
                                              {"find", "--color=sometimes", "x"}, {"find", "--lang", "cobol", "x"}}) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.status, 2) << ::testing::PrintToString(args);
        EXPECT_NE(result.err.find("Try 'scrivix --help'"), std::string::npos) << result.err;
    }
    for (const Args& args : std::vector<Args>{{"--help"}, {"find", "--help"}, {"spans", "-h"}, {"replace", "--help"}}) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.status, 0) << ::testing::PrintToString(args);
        EXPECT_EQ(result.out.rfind("usage: scrivix", 0), 0u) << result.out;
    }
}

TEST_F(Find, JsonColourAndIgnoring) {
    Check({
        // One JSON object a line.
        {{{"a.txt", "say \"foo\"\n"}, {"b.txt", "bar\n"}}, {"find", "--json", "foo", "a.txt", "b.txt", "none.txt"},
         "{\"type\":\"match\",\"path\":\"a.txt\",\"line\":1,\"column\":6,\"start\":5,\"end\":8,"
         "\"text\":\"foo\",\"lines\":\"say \\\"foo\\\"\"}\n"
         "{\"type\":\"error\",\"path\":\"none.txt\",\"message\":\"No such file or directory\"}\n"
         "{\"type\":\"summary\",\"files\":2,\"matched_files\":1,\"matches\":1,\"errors\":1}\n",
         2, std::nullopt},
        {{}, {"find", "--json", "-c", "foo", "a.txt"},
         "{\"type\":\"count\",\"path\":\"a.txt\",\"count\":1}\n"
         "{\"type\":\"summary\",\"files\":1,\"matched_files\":1,\"matches\":1,\"errors\":0}\n"},
        // Colour only when asked for (or on a terminal).
        {{{"a.txt", "a foo b\n"}}, {"find", "--color=always", "foo", "a.txt"},
         "\x1b[35ma.txt\x1b[0m\x1b[36m:\x1b[0m\x1b[32m1\x1b[0m\x1b[36m:\x1b[0m\x1b[32m3\x1b[0m\x1b[36m:\x1b[0m"
         "a \x1b[1;31mfoo\x1b[0m b\n"},
        {{}, {"find", "foo", "a.txt"}, "a.txt:1:3:a foo b\n"},
        // Ignore patterns and ignore spans are stepped over.
        {{{"a.txt", "foo <foo> [foo] foo\n"}}, {"find", "foo", "--ignore", "<foo>", "a.txt"},
         "a.txt:1:1:foo <foo> [foo] foo\na.txt:1:12:foo <foo> [foo] foo\na.txt:1:17:foo <foo> [foo] foo\n"},
        {{}, {"find", "foo", "--ignore-regex", "[<[][a-z]+[>\\]]", "a.txt"},
         "a.txt:1:1:foo <foo> [foo] foo\na.txt:1:17:foo <foo> [foo] foo\n"},
        {{}, {"find", "foo", "--ignore-span", "[", "]", "--ignore-span", "<", ">", "a.txt"},
         "a.txt:1:1:foo <foo> [foo] foo\na.txt:1:17:foo <foo> [foo] foo\n"},
    });
}

TEST_F(Find, LanguagePresetsStepOverCommentsAndStrings) {
    const struct {
        const char *language, *file, *text, *lines;  // the lines (numbers) where "call(" is found
    } cases[] = {
        {"c", "x.c", "call(1); /* call( \n call( */\n// call(\nputs(\"call(\\\"call(\"); call(2);\nc = '\"'; call(3);\n"
                     "s = \"\"; call(4); t = \"\\\\\"; call(5);\n", "1|4|5|6|6"},
        {"cpp", "x.cpp", "auto s = R\"(call()\"; call(1); // call(\n", "1"},
        {"python", "x.py", "call(1)  # call(\n'''call(\ncall(''' \"call(\" call(2)\n", "1|3"},
        {"shell", "x.sh", "echo $# call(1) # call(\necho 'call(' \"call(\" call(2)\n", "1|2"},
        {"json", "x.json", "{\"call(\": [\"call(\"], \"n\": call(1)}\n", "1"},
    };
    for (const auto& c : cases) {
        Write(c.file, c.text);
        const ToolResult result = Run({"find", "--json", "--lang", c.language, "call(", c.file});
        EXPECT_EQ(JsonValues(result.out, "line"), c.lines) << c.language << "\n" << result.out << result.err;
    }
}

// The bundled example: what scripts/run shows.
TEST_F(Find, TheExampleTreeHasSixCallsOutsideCommentsAndStrings) {
    std::filesystem::copy(SCRIVIX_EXAMPLE_TREE, root_ / "tree", std::filesystem::copy_options::recursive);
    Check({{{}, {"find", "-c", "log_message(", "tree"},
            "tree/src/config.c:4\ntree/src/log.c:2\ntree/src/log.h:2\ntree/src/main.c:8\n"},
           {{}, {"find", "-c", "--lang", "c", "--ignore", "void log_message(", "log_message(", "tree"},
            "tree/src/config.c:2\ntree/src/main.c:4\n"}});
}

}  // namespace
}  // namespace scrivix_tool_test
