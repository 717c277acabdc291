// scrivix replace: the diff of a dry run, rewrites in place (content, mode, untouched files, no temporary
// files left), both widths, spans, and failures that must leave the file as it was.
#include "tool_runner.h"

#include <sys/stat.h>

namespace scrivix_tool_test {
namespace {

using Replace = ToolTest;

struct stat Stat(const std::string& path) {
    struct stat info {};
    stat(path.c_str(), &info);
    return info;
}

TEST_F(Replace, PrintsAUnifiedDiffAndLeavesTheFile) {
    const std::string text = "a\nb\nfoo\nc\nd\ne\nf\ng\nh\ni\nfoo foo\nj";
    Write("d.txt", text);
    const ToolResult result = Run({"replace", "foo", "BAR", "d.txt"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "--- a/d.txt\n+++ b/d.txt\n"
              "@@ -1,6 +1,6 @@\n a\n b\n-foo\n+BAR\n c\n d\n e\n"
              "@@ -8,5 +8,5 @@\n g\n h\n i\n-foo foo\n+BAR BAR\n j\n\\ No newline at end of file\n");
    EXPECT_EQ(Read("d.txt"), text);
}

TEST_F(Replace, DiffsOfLinesThatAppearAndDisappear) {
    Write("a.txt", "x\nfoo\ny\n");
    EXPECT_EQ(Run({"replace", "-e", "foo#", "", "a.txt"}).out, "--- a/a.txt\n+++ b/a.txt\n@@ -1,3 +1,2 @@\n x\n-foo\n y\n");
    EXPECT_EQ(Run({"replace", "foo", "1\n2", "a.txt"}).out,
              "--- a/a.txt\n+++ b/a.txt\n@@ -1,3 +1,4 @@\n x\n-foo\n+1\n+2\n y\n");
}

TEST_F(Replace, NothingToReplaceExitsWithOne) {
    Write("a.txt", "bar\n");
    const ToolResult result = Run({"replace", "foo", "x"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
}

TEST_F(Replace, RewritesInPlaceKeepingTheModeAndLeavingOtherFiles) {
    Write("a.txt", "foo(1); /* foo( */\n");
    Write("b.txt", "nothing\n");
    chmod(Path("a.txt").c_str(), 0640);
    const struct stat untouched = Stat(Path("b.txt"));
    const ToolResult result = Run({"replace", "--lang", "c", "foo(", "bar(", "--in-place"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(Read("a.txt"), "bar(1); /* foo( */\n");
    EXPECT_EQ(Stat(Path("a.txt")).st_mode & 07777, 0640u);
    EXPECT_EQ(Stat(Path("b.txt")).st_ino, untouched.st_ino);
    EXPECT_EQ(Stat(Path("b.txt")).st_mtim.tv_nsec, untouched.st_mtim.tv_nsec);
    size_t entries = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(root_)) ++entries;
    EXPECT_EQ(entries, 2u);  // no temporary file left
}

TEST_F(Replace, KeepsTheBytesOfBothWidths) {
    Write("narrow.txt", "caf\xC3\xA9 foo\n");
    Write("wide.txt", Utf16File("say foo\n"));
    EXPECT_EQ(Run({"replace", "foo", "b\xC3\xA4r \xE2\x82\xAC", "--in-place"}).status, 0);
    EXPECT_EQ(Read("narrow.txt"), "caf\xC3\xA9 b\xC3\xA4r \xE2\x82\xAC\n");
    EXPECT_EQ(Read("wide.txt"), Utf16File("say b") + std::string("\xE4\0r\0 \0\xAC\x20\n\0", 10));
}

TEST_F(Replace, ReplacesSpansOrTheirParts) {
    Write("a.txt", "keep (a (b) c) (d)\n");
    Run({"replace", "--span", "(", ")", "--nested", "()", "--in-place", "a.txt"});
    EXPECT_EQ(Read("a.txt"), "keep () ()\n");
    Write("b.txt", "x = [1, 2];\n");
    Run({"replace", "--span", "[", "]", "--what", "body", "...", "--in-place", "b.txt"});
    EXPECT_EQ(Read("b.txt"), "x = [...];\n");
}

TEST_F(Replace, AFailedRewriteLeavesTheFileAsItWas) {
    // The temporary file's name (".<name>.scrivix-XXXXXX") is too long for the file system.
    const std::string name(240, 'n');
    Write(name, "foo\n");
    Write("z.txt", "foo\n");
    const ToolResult result = Run({"replace", "foo", "bar", "--in-place"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.err, "scrivix: " + name + ": cannot create a temporary file beside it: File name too long\n");
    EXPECT_EQ(Read(name), "foo\n");
    EXPECT_EQ(Read("z.txt"), "bar\n");  // the run goes on with the other files
}

TEST_F(Replace, JsonCarriesTheDiff) {
    Write("a.txt", "foo\n");
    EXPECT_EQ(Run({"replace", "--json", "foo", "bar", "a.txt"}).out,
              "{\"type\":\"diff\",\"path\":\"a.txt\",\"replacements\":1,"
              "\"diff\":\"--- a/a.txt\\n+++ b/a.txt\\n@@ -1 +1 @@\\n-foo\\n+bar\\n\"}\n"
              "{\"type\":\"summary\",\"files\":1,\"matched_files\":1,\"matches\":1,\"errors\":0}\n");
}

}  // namespace
}  // namespace scrivix_tool_test
