// scrivix find: output, pattern options, files and directories, exit statuses, JSON, colour, UTF-16,
// ignore patterns and spans, and the language presets.
#include "tool_runner.h"

namespace scrivix_tool_test {
namespace {

using Find = ToolTest;

// Output and files.

TEST_F(Find, PrintsPathLineColumnAndLineForEveryOccurrence) {
    Write("a.txt", "one foo\nno\nfoo and foo\n");
    const ToolResult result = Run({"find", "foo", "a.txt"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "a.txt:1:5:one foo\na.txt:3:1:foo and foo\na.txt:3:9:foo and foo\n");
    EXPECT_EQ(result.err, "");
}

TEST_F(Find, SearchesDirectoriesRecursivelyInNameOrder) {
    Write("b/z.txt", "foo\n");
    Write("b/a.txt", "foo\n");
    Write("a.txt", "foo\n");
    EXPECT_EQ(Run({"find", "foo"}).out, "a.txt:1:1:foo\nb/a.txt:1:1:foo\nb/z.txt:1:1:foo\n");
    EXPECT_EQ(Run({"find", "foo", "b"}).out, "b/a.txt:1:1:foo\nb/z.txt:1:1:foo\n");
}

TEST_F(Find, CountsPerFileWithOccurrences) {
    Write("a.txt", "foo foo\n");
    Write("b.txt", "bar\n");
    EXPECT_EQ(Run({"find", "-c", "foo"}).out, "a.txt:2\n");
}

TEST_F(Find, StripsTheCarriageReturnOfALine) {
    Write("dos.txt", "foo\r\nbar\r\n");
    EXPECT_EQ(Run({"find", "bar", "dos.txt"}).out, "dos.txt:2:1:bar\n");
}

TEST_F(Find, SkipsBinaryFilesAndSaysSoWhenVerbose) {
    Write("data.bin", std::string("foo\0foo", 7));
    const ToolResult quiet = Run({"find", "foo"});
    EXPECT_EQ(quiet.status, 1);
    EXPECT_EQ(quiet.err, "");
    EXPECT_EQ(Run({"find", "-v", "foo"}).err, "scrivix: data.bin: binary file skipped\n");
}

TEST_F(Find, ReadsFilesWithTheMarkFFFEAsUtf16) {
    Write("wide.txt", Utf16File("x\nthe foo\n") + std::string("\xAC\x20", 2));  // ends with the euro sign
    EXPECT_EQ(Run({"find", "foo", "wide.txt"}).out, "wide.txt:2:5:the foo\n");
    Write("euro.txt", Utf16File("price 5") + std::string("\xAC\x20", 2));
    EXPECT_EQ(Run({"find", "5\xE2\x82\xAC", "euro.txt"}).out, "euro.txt:1:7:price 5\xE2\x82\xAC\n");
}

// Pattern options.

struct OptionCase {
    std::vector<std::string> flags;
    std::string pattern;
    std::string expected;
};

TEST_F(Find, PatternOptions) {
    Write("t.txt", "Foo foo\nfoobar\nfoo\tbar\n");
    const OptionCase cases[] = {
        {{}, "foo", "t.txt:1:5:Foo foo\nt.txt:2:1:foobar\nt.txt:3:1:foo\tbar\n"},
        {{"-i"}, "FOO", "t.txt:1:1:Foo foo\nt.txt:1:5:Foo foo\nt.txt:2:1:foobar\nt.txt:3:1:foo\tbar\n"},
        // Whole words are bounded by white space.
        {{"-w"}, "foo", "t.txt:1:5:Foo foo\nt.txt:3:1:foo\tbar\n"},
        // A space of the pattern stands for any one character that is no white space (or for a run of other
        // white space together with the character after it).
        {{"-s"}, "fo bar", "t.txt:2:1:foobar\n"},
        {{"-e"}, "f[o]+b", "t.txt:2:1:foobar\n"},
        {{"-e"}, "^foo", "t.txt:2:1:foobar\nt.txt:3:1:foo\tbar\n"},
        {{"-wi"}, "FOO", "t.txt:1:1:Foo foo\nt.txt:1:5:Foo foo\nt.txt:3:1:foo\tbar\n"},
    };
    for (const OptionCase& c : cases) {
        std::vector<std::string> args{"find"};
        args.insert(args.end(), c.flags.begin(), c.flags.end());
        args.insert(args.end(), {c.pattern, "t.txt"});
        EXPECT_EQ(Run(args).out, c.expected) << c.pattern;
    }
}

TEST_F(Find, EmptyMatchesAreNotReported) {
    Write("t.txt", "abc\n");
    const ToolResult result = Run({"find", "-e", "x*", "t.txt"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
}

// Exit statuses and failures.

TEST_F(Find, ExitsWithOneWhenNothingIsFound) {
    Write("a.txt", "bar\n");
    const ToolResult result = Run({"find", "foo"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
}

TEST_F(Find, NamesAMissingFileAndGoesOn) {
    Write("a.txt", "foo\n");
    const ToolResult result = Run({"find", "foo", "missing.txt", "a.txt"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.out, "a.txt:1:1:foo\n");
    EXPECT_EQ(result.err, "scrivix: missing.txt: No such file or directory\n");
}

TEST_F(Find, NamesAnUnreadableFile) {
    if (geteuid() == 0) GTEST_SKIP() << "root reads every file";
    Write("locked.txt", "foo\n");
    chmod(Path("locked.txt").c_str(), 0);
    const ToolResult result = Run({"find", "foo", "locked.txt"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "scrivix: locked.txt: Permission denied\n");
}

TEST_F(Find, GivesTheLibraryMessageForAMalformedExpression) {
    Write("a.txt", "foo\n");
    const struct {
        const char* expression;
        const char* message;
    } cases[] = {
        {"a**", "scrivix: pattern 'a**': Improper pattern in Regular Expression.\n"},
        {"*a", "scrivix: pattern '*a': Illegal Regular Expression.\n"},
        {"[ab", "scrivix: pattern '[ab': Improper closure of Regular Expression.\n"},
    };
    for (const auto& c : cases) {
        const ToolResult result = Run({"find", "-e", c.expression});
        EXPECT_EQ(result.status, 2);
        EXPECT_EQ(result.err, c.message);
        EXPECT_EQ(result.out, "");
    }
}

TEST_F(Find, RefusesBadCommandLines) {
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {}, {"look"}, {"find"}, {"find", "--nope", "x"}, {"find", "--color=sometimes", "x"}, {"find", "--lang", "cobol", "x"}}) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.err.find("Try 'scrivix --help'"), std::string::npos) << result.err;
    }
}

TEST_F(Find, HelpForTheToolAndEveryCommand) {
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {"--help"}, {"find", "--help"}, {"spans", "-h"}, {"replace", "--help"}}) {
        const ToolResult result = Run(args);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.out.rfind("usage: scrivix", 0), 0u) << result.out;
    }
}

// JSON and colour.

TEST_F(Find, WritesOneJsonObjectPerLine) {
    Write("a.txt", "say \"foo\"\n");
    Write("b.txt", "bar\n");
    EXPECT_EQ(Run({"find", "--json", "foo", "a.txt", "b.txt", "none.txt"}).out,
              "{\"type\":\"match\",\"path\":\"a.txt\",\"line\":1,\"column\":6,\"start\":5,\"end\":8,"
              "\"text\":\"foo\",\"lines\":\"say \\\"foo\\\"\"}\n"
              "{\"type\":\"error\",\"path\":\"none.txt\",\"message\":\"No such file or directory\"}\n"
              "{\"type\":\"summary\",\"files\":2,\"matched_files\":1,\"matches\":1,\"errors\":1}\n");
    EXPECT_EQ(Run({"find", "--json", "-c", "foo", "a.txt"}).out,
              "{\"type\":\"count\",\"path\":\"a.txt\",\"count\":1}\n"
              "{\"type\":\"summary\",\"files\":1,\"matched_files\":1,\"matches\":1,\"errors\":0}\n");
}

TEST_F(Find, HighlightsOnlyWhenAskedOrOnATerminal) {
    Write("a.txt", "a foo b\n");
    EXPECT_EQ(Run({"find", "--color=always", "foo", "a.txt"}).out,
              "\x1b[35ma.txt\x1b[0m\x1b[36m:\x1b[0m\x1b[32m1\x1b[0m\x1b[36m:\x1b[0m\x1b[32m3\x1b[0m\x1b[36m:\x1b[0m"
              "a \x1b[1;31mfoo\x1b[0m b\n");
    EXPECT_EQ(Run({"find", "foo", "a.txt"}).out, "a.txt:1:3:a foo b\n");
}

// Ignore patterns, ignore spans and presets.

TEST_F(Find, StepsOverIgnorePatternsAndSpans) {
    Write("a.txt", "foo <foo> [foo] foo\n");
    EXPECT_EQ(Run({"find", "foo", "--ignore", "<foo>", "a.txt"}).out,
              "a.txt:1:1:foo <foo> [foo] foo\na.txt:1:12:foo <foo> [foo] foo\na.txt:1:17:foo <foo> [foo] foo\n");
    EXPECT_EQ(Run({"find", "foo", "--ignore-regex", "[<[][a-z]+[>\\]]", "a.txt"}).out,
              "a.txt:1:1:foo <foo> [foo] foo\na.txt:1:17:foo <foo> [foo] foo\n");
    EXPECT_EQ(Run({"find", "foo", "--ignore-span", "[", "]", "--ignore-span", "<", ">", "a.txt"}).out,
              "a.txt:1:1:foo <foo> [foo] foo\na.txt:1:17:foo <foo> [foo] foo\n");
}

struct PresetCase {
    const char* language;
    const char* file;
    const char* text;
    const char* expected;  // the lines (numbers) where "call(" is found
};

TEST_F(Find, LanguagePresetsStepOverCommentsAndStrings) {
    const PresetCase cases[] = {
        {"c", "x.c", "call(1); /* call( \n call( */\n// call(\nputs(\"call(\\\"call(\"); call(2);\nc = '\"'; call(3);\n"
                     "s = \"\"; call(4); t = \"\\\\\"; call(5);\n", "1,4,5,6,6"},
        {"cpp", "x.cpp", "auto s = R\"(call()\"; call(1); // call(\n", "1"},
        {"python", "x.py", "call(1)  # call(\n'''call(\ncall(''' \"call(\" call(2)\n", "1,3"},
        {"shell", "x.sh", "echo $# call(1) # call(\necho 'call(' \"call(\" call(2)\n", "1,2"},
        {"json", "x.json", "{\"call(\": [\"call(\"], \"n\": call(1)}\n", "1"},
    };
    for (const PresetCase& c : cases) {
        Write(c.file, c.text);
        const ToolResult result = Run({"find", "--json", "--lang", c.language, "call(", c.file});
        std::string lines;
        for (size_t at = result.out.find("\"line\":"); at != std::string::npos; at = result.out.find("\"line\":", at + 1)) {
            if (!lines.empty()) lines += ",";
            lines += result.out.substr(at + 7, result.out.find(',', at) - at - 7);
        }
        EXPECT_EQ(lines, c.expected) << c.language << "\n" << result.out << result.err;
    }
}

// The bundled example: what scripts/run shows.
TEST_F(Find, TheExampleTreeHasSixCallsOutsideCommentsAndStrings) {
    std::filesystem::copy(SCRIVIX_EXAMPLE_TREE, root_ / "tree", std::filesystem::copy_options::recursive);
    const ToolResult all = Run({"find", "-c", "log_message(", "tree"});
    EXPECT_EQ(all.out, "tree/src/config.c:4\ntree/src/log.c:2\ntree/src/log.h:2\ntree/src/main.c:8\n");
    const ToolResult calls = Run({"find", "-c", "--lang", "c", "--ignore", "void log_message(", "log_message(", "tree"});
    EXPECT_EQ(calls.out, "tree/src/config.c:2\ntree/src/main.c:4\n");
}

}  // namespace
}  // namespace scrivix_tool_test
