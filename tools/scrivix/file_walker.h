// Finds the files to search: the paths given, with directories searched recursively in name order.
// Symbolic links are followed where they are named on the command line and passed over inside
// directories (so a link cannot make the walk loop); anything but regular files is passed over.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace scrivix_tool {

struct FileWalkEvents {
    std::function<void(const std::string& path)> file;
    // A path that cannot be searched (missing, unreadable directory): an error of the run.
    std::function<void(const std::string& path, const std::string& reason)> failure;
    // A path passed over on purpose (a device, a socket, a link inside a directory): said with --verbose.
    std::function<void(const std::string& path, const std::string& reason)> skipped;
};

// With no paths, the current directory is searched and its files are named without a "./" prefix.
void WalkFiles(const std::vector<std::string>& paths, const FileWalkEvents& events);

}  // namespace scrivix_tool
