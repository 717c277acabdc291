// Runs the scrivix tool as a child process in a temporary tree and captures what it writes.
#pragma once

#include <gtest/gtest.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace scrivix_tool_test {

struct ToolResult {
    int status = -1;
    std::string out;
    std::string err;
};

// A fresh directory with files in it, removed at the end of the test; the tool runs inside it.
class ToolTest : public ::testing::Test {
   protected:
    void SetUp() override {
        char pattern[] = "/tmp/scrivix-tool-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        root_ = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(root_); }

    std::string Path(const std::string& name) const { return (root_ / name).string(); }

    void Write(const std::string& name, const std::string& content) const {
        std::filesystem::create_directories((root_ / name).parent_path());
        std::ofstream(root_ / name, std::ios::binary) << content;
    }

    std::string Read(const std::string& name) const {
        std::ifstream file(root_ / name, std::ios::binary);
        std::stringstream content;
        content << file.rdbuf();
        return content.str();
    }

    // Runs scrivix with the arguments, standard output and error going to files, in the tree.
    ToolResult Run(const std::vector<std::string>& args) const {
        const std::string out_path = (root_.parent_path() / (root_.filename().string() + ".out")).string();
        const std::string err_path = (root_.parent_path() / (root_.filename().string() + ".err")).string();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addchdir_np(&actions, root_.c_str());
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        std::vector<char*> argv{const_cast<char*>(SCRIVIX_TOOL_PATH)};
        for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
        argv.push_back(nullptr);
        ToolResult result;
        pid_t child = 0;
        if (posix_spawn(&child, SCRIVIX_TOOL_PATH, &actions, nullptr, argv.data(), environ) == 0) {
            int status = 0;
            waitpid(child, &status, 0);
            result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        posix_spawn_file_actions_destroy(&actions);
        const auto slurp = [](const std::string& path) {
            std::ifstream file(path, std::ios::binary);
            std::stringstream content;
            content << file.rdbuf();
            std::filesystem::remove(path);
            return content.str();
        };
        result.out = slurp(out_path);
        result.err = slurp(err_path);
        return result;
    }

    std::filesystem::path root_;
};

// Text as a file of UTF-16 units with the mark FF FE (ASCII text only).
inline std::string Utf16File(const std::string& ascii) {
    std::string bytes = "\xFF\xFE";
    for (char c : ascii) {
        bytes += c;
        bytes += '\0';
    }
    return bytes;
}

}  // namespace scrivix_tool_test
