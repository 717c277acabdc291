// The temporary file, its attributes, and the rename.
#include "in_place_rewrite.h"

#include "com_ref.h"
#include "text_codec.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace scrivix_tool {
namespace {

std::string SystemError(const std::string& step) { return step + ": " + std::strerror(errno); }

// A temporary file that is removed unless it was renamed into place.
class TemporaryFile {
   public:
    explicit TemporaryFile(const std::string& beside) {
        const size_t slash = beside.rfind('/');
        const std::string directory = slash == std::string::npos ? "" : beside.substr(0, slash + 1);
        const std::string name = slash == std::string::npos ? beside : beside.substr(slash + 1);
        std::string pattern = directory + "." + name + ".scrivix-XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        const int descriptor = mkstemp(buffer.data());
        if (descriptor < 0) throw ToolError(SystemError("cannot create a temporary file beside it"));
        close(descriptor);
        path_ = buffer.data();
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!path_.empty()) unlink(path_.c_str());
    }

    const std::string& path() const { return path_; }
    void RenameTo(const std::string& target) {
        if (rename(path_.c_str(), target.c_str()) != 0) throw ToolError(SystemError("cannot replace the file"));
        path_.clear();
    }

   private:
    std::string path_;
};

void SyncToDisk(const std::string& path) {
    const int descriptor = open(path.c_str(), O_RDONLY);
    if (descriptor < 0) throw ToolError(SystemError("cannot reopen the temporary file"));
    const int result = fsync(descriptor);
    const int error = errno;
    close(descriptor);
    errno = error;
    if (result != 0) throw ToolError(SystemError("cannot flush the temporary file"));
}

}  // namespace

void RewriteInPlace(const std::string& path, ITextSegment* segment, size_t expected_bytes) {
    struct stat original {};
    if (stat(path.c_str(), &original) != 0) throw ToolError(SystemError("cannot read its attributes"));
    TemporaryFile temporary(path);

    LONG actual = 0;
    const HRESULT hr = segment->WriteFile(Bstr(Utf8ToUtf16(temporary.path())).get(), file_out | file_trunc, &actual);
    if (FAILED(hr)) {
        const std::string reason = TakeErrorDescription();
        throw ToolError("cannot write the temporary file: " + (reason.empty() ? "the library failed" : reason));
    }
    struct stat written {};
    if (stat(temporary.path().c_str(), &written) != 0) throw ToolError(SystemError("cannot check the temporary file"));
    if (static_cast<size_t>(written.st_size) != expected_bytes)
        throw ToolError("the temporary file came out with " + std::to_string(written.st_size) + " bytes instead of " +
                        std::to_string(expected_bytes));
    if (chmod(temporary.path().c_str(), original.st_mode & 07777) != 0)
        throw ToolError(SystemError("cannot give the temporary file the file's mode"));
    // Keeping the owner needs privileges that a user editing own files does not need: try, not insist.
    if (chown(temporary.path().c_str(), original.st_uid, original.st_gid) != 0) errno = 0;
    SyncToDisk(temporary.path());
    temporary.RenameTo(path);
}

}  // namespace scrivix_tool
