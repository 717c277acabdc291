// The recursive walk over directories, with readdir and lstat so that each entry costs what it must.
#include "file_walker.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace scrivix_tool {
namespace {

std::string Join(const std::string& directory, const char* name) {
    if (directory.empty()) return name;
    if (directory.back() == '/') return directory + name;
    return directory + "/" + name;
}

void WalkDirectory(const std::string& shown, const std::string& opened, const FileWalkEvents& events);

// path is named as shown; opened is what the system is given ("." for the implicit current directory).
void WalkEntry(const std::string& shown, const std::string& opened, bool named_by_user, const FileWalkEvents& events) {
    struct stat info {};
    const int result = named_by_user ? stat(opened.c_str(), &info) : lstat(opened.c_str(), &info);
    if (result != 0) {
        events.failure(shown, std::strerror(errno));
        return;
    }
    if (S_ISDIR(info.st_mode)) {
        WalkDirectory(shown, opened, events);
    } else if (S_ISREG(info.st_mode)) {
        events.file(shown);
    } else if (S_ISLNK(info.st_mode)) {
        events.skipped(shown, "symbolic link not followed");
    } else {
        events.skipped(shown, "not a regular file");
    }
}

void WalkDirectory(const std::string& shown, const std::string& opened, const FileWalkEvents& events) {
    DIR* directory = opendir(opened.c_str());
    if (!directory) {
        events.failure(shown.empty() ? "." : shown, std::strerror(errno));
        return;
    }
    std::vector<std::string> names;
    while (const dirent* entry = readdir(directory)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) names.emplace_back(entry->d_name);
    }
    closedir(directory);
    std::sort(names.begin(), names.end());
    for (const std::string& name : names)
        WalkEntry(Join(shown, name.c_str()), Join(opened, name.c_str()), false, events);
}

}  // namespace

void WalkFiles(const std::vector<std::string>& paths, const FileWalkEvents& events) {
    if (paths.empty()) {
        WalkDirectory("", ".", events);
        return;
    }
    for (const std::string& path : paths) WalkEntry(path, path, true, events);
}

}  // namespace scrivix_tool
