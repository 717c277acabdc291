// A temporary directory for tests that use real files: made with mkdtemp, removed with everything in it
// at the end of the test.
#pragma once

#include <gtest/gtest.h>

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace scrivix::test {

class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "scrivix-test-XXXXXX").string();
        if (mkdtemp(pattern.data())) root_ = pattern;
        EXPECT_FALSE(root_.empty()) << "no temporary directory";
    }
    ~TempDir() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string Path(const std::string& name) const { return root_ + "/" + name; }
    // The path as a 16-bit string, as the interfaces take it (the test names are ASCII).
    std::u16string Name(const std::string& name) const {
        const std::string path = Path(name);
        return std::u16string(path.begin(), path.end());
    }

private:
    std::string root_;
};

inline std::string ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

inline void WriteBytes(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

}  // namespace scrivix::test
