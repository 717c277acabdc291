// Runs the scrivix tool as a child process in a temporary tree, as a user would, and checks what it writes
// and the files it leaves.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace scrivix_tool_test {

using Args = std::vector<std::string>;
using Files = std::vector<std::pair<std::string, std::string>>;  // names and contents

struct ToolResult {
    int status;
    std::string out, err;
};

// One run: the tree to write first (a row without files runs in the tree of the row before), the
// arguments, what must come out, and files as they must be afterwards.
struct Row {
    Files files;
    Args args;
    std::string out;
    int status = 0;
    std::optional<std::string> err = "";  // std::nullopt: not checked
    Files after = {};
};

inline std::string Slurp(const std::filesystem::path& path) {
    std::stringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

// A word for the shell: in single quotes, with each quote in it written as '\''.
inline std::string Quoted(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// The values of the JSON fields `name` in a stream of objects (strings without escapes), joined with "|".
inline std::string JsonValues(const std::string& json, const std::string& name) {
    std::string values;
    const std::string key = "\"" + name + "\":";
    for (size_t at = json.find(key); at != std::string::npos; at = json.find(key, at + 1)) {
        const bool text = json[at + key.size()] == '"';
        const size_t from = at + key.size() + text, end = json.find_first_of(text ? "\"" : ",}", from);
        values += (values.empty() ? "" : "|") + json.substr(from, end - from);
    }
    return values;
}

// Text as a file of UTF-16 units with the mark FF FE (ASCII text only).
inline std::string Utf16File(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (char c : ascii) bytes += {c, '\0'};
    return bytes;
}

// A fresh directory, removed at the end of the test; the tool runs inside it.
class ToolTest : public ::testing::Test {
   protected:
    void SetUp() override {
        char pattern[] = "/tmp/scrivix-tool-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    std::string Path(const std::string& name) const { return (root_ / name).string(); }
    std::string Read(const std::string& name) const { return Slurp(root_ / name); }
    void Write(const std::string& name, const std::string& content) const {
        std::filesystem::create_directories((root_ / name).parent_path());
        std::ofstream(root_ / name, std::ios::binary) << content;
    }
    // Empties the tree and writes `files` into it.
    void Tree(const Files& files) const {
        for (const auto& entry : std::filesystem::directory_iterator(root_)) std::filesystem::remove_all(entry);
        for (const auto& [name, content] : files) Write(name, content);
    }

    // Runs scrivix in the tree; its output goes to files beside the tree, which holds only what the test put.
    ToolResult Run(const Args& args) const {
        const std::string out = root_.string() + ".out", err = root_.string() + ".err";
        std::string command = "cd " + Quoted(root_) + " && " + Quoted(SCRIVIX_TOOL_PATH);
        for (const std::string& arg : args) command += " " + Quoted(arg);
        const int status = std::system((command + " </dev/null >" + out + " 2>" + err).c_str());
        const ToolResult result{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), Slurp(out), Slurp(err)};
        std::filesystem::remove(out);
        std::filesystem::remove(err);
        return result;
    }

    void Check(const std::vector<Row>& rows) const {
        for (const Row& row : rows) {
            SCOPED_TRACE(::testing::PrintToString(row.args));
            if (!row.files.empty()) Tree(row.files);
            const ToolResult result = Run(row.args);
            EXPECT_EQ(result.out, row.out);
            EXPECT_EQ(result.status, row.status);
            if (row.err) { EXPECT_EQ(result.err, *row.err); }
            for (const auto& [name, content] : row.after) EXPECT_EQ(Read(name), content) << name;
        }
    }

    std::filesystem::path root_;
};

}  // namespace scrivix_tool_test
