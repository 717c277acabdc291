// scrivix replace: the diff of a dry run, rewrites in place (content, mode, untouched files, no temporary
// files left), both widths, spans, and failures that must leave the file as it was.
#include "tool_runner.h"

#include <sys/stat.h>

namespace scrivix_tool_test {
namespace {

using Replace = ToolTest;

TEST_F(Replace, DiffsAndRewrites) {
    const std::string text = "a\nb\nfoo\nc\nd\ne\nf\ng\nh\ni\nfoo foo\nj";
    // The temporary file's name (".<name>.scrivix-XXXXXX") is too long for the file system.
    const std::string too_long(240, 'n');
    Check({
        // A dry run prints a unified diff and leaves the file.
        {{{"d.txt", text}}, {"replace", "foo", "BAR", "d.txt"},
         "--- a/d.txt\n+++ b/d.txt\n"
         "@@ -1,6 +1,6 @@\n a\n b\n-foo\n+BAR\n c\n d\n e\n"
         "@@ -8,5 +8,5 @@\n g\n h\n i\n-foo foo\n+BAR BAR\n j\n\\ No newline at end of file\n",
         0, "", {{"d.txt", text}}},
        // Lines that disappear and appear.
        {{{"a.txt", "x\nfoo\ny\n"}}, {"replace", "-e", "foo#", "", "a.txt"},
         "--- a/a.txt\n+++ b/a.txt\n@@ -1,3 +1,2 @@\n x\n-foo\n y\n"},
        {{}, {"replace", "foo", "1\n2", "a.txt"}, "--- a/a.txt\n+++ b/a.txt\n@@ -1,3 +1,4 @@\n x\n-foo\n+1\n+2\n y\n"},
        {{{"a.txt", "foo\n"}}, {"replace", "--json", "foo", "bar", "a.txt"},
         "{\"type\":\"diff\",\"path\":\"a.txt\",\"replacements\":1,"
         "\"diff\":\"--- a/a.txt\\n+++ b/a.txt\\n@@ -1 +1 @@\\n-foo\\n+bar\\n\"}\n"
         "{\"type\":\"summary\",\"files\":1,\"matched_files\":1,\"matches\":1,\"errors\":0}\n"},
        {{}, {"replace", "zzz", "x"}, "", 1},
        // The bytes of both widths.
        {{{"narrow.txt", "caf\xC3\xA9 foo\n"}, {"wide.txt", Utf16File("say foo\n")}},
         {"replace", "foo", "b\xC3\xA4r \xE2\x82\xAC", "--in-place"}, "", 0, "",
         {{"narrow.txt", "caf\xC3\xA9 b\xC3\xA4r \xE2\x82\xAC\n"},
          {"wide.txt", Utf16File("say b") + std::string("\xE4\0r\0 \0\xAC\x20\n\0", 10)}}},
        // Spans, or a part of them.
        {{{"a.txt", "keep (a (b) c) (d)\n"}}, {"replace", "--span", "(", ")", "--nested", "()", "--in-place", "a.txt"},
         "", 0, "", {{"a.txt", "keep () ()\n"}}},
        {{{"b.txt", "x = [1, 2];\n"}}, {"replace", "--span", "[", "]", "--what", "body", "...", "--in-place", "b.txt"},
         "", 0, "", {{"b.txt", "x = [...];\n"}}},
        // A failed rewrite leaves the file as it was, and the run goes on with the other files.
        {{{too_long, "foo\n"}, {"z.txt", "foo\n"}}, {"replace", "foo", "bar", "--in-place"}, "", 2,
         "scrivix: " + too_long + ": cannot create a temporary file beside it: File name too long\n",
         {{too_long, "foo\n"}, {"z.txt", "bar\n"}}},
    });
}

TEST_F(Replace, RewritesInPlaceKeepingTheModeAndLeavingOtherFiles) {
    const auto info = [this](const char* name) {
        struct stat info {};
        stat(Path(name).c_str(), &info);
        return info;
    };
    Write("a.txt", "foo(1); /* foo( */\n");
    Write("b.txt", "nothing\n");
    chmod(Path("a.txt").c_str(), 0640);
    const struct stat untouched = info("b.txt");
    Check({{{}, {"replace", "--lang", "c", "foo(", "bar(", "--in-place"}, "", 0, "", {{"a.txt", "bar(1); /* foo( */\n"}}}});
    EXPECT_EQ(info("a.txt").st_mode & 07777, 0640u);
    EXPECT_EQ(info("b.txt").st_ino, untouched.st_ino);
    EXPECT_EQ(info("b.txt").st_mtim.tv_nsec, untouched.st_mtim.tv_nsec);
    const auto entries = std::distance(std::filesystem::directory_iterator(root_), {});
    EXPECT_EQ(entries, 2) << "no temporary file is left";
}

}  // namespace
}  // namespace scrivix_tool_test
