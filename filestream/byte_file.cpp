// The byte file over a POSIX file descriptor: open modes to open(2) flags, whole transfers looped over
// the system's partial reads and writes, and the stream state they leave.
#include "filestream/byte_file.h"

#include <scrivix/scrivix.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <optional>
#include <utility>

namespace scrivix {
namespace {

// The accepted open modes (file_ate set aside) with the C file-open mode each stands for and the
// open(2) flags that mode means. There is no line-end translation here, so file_binary changes nothing.
struct ModeRow {
    int mode;
    int flags;
};
constexpr int kCreate = O_CREAT | O_TRUNC;
constexpr ModeRow kModes[] = {
    {file_in, O_RDONLY},                                                      // "r"
    {file_out, O_WRONLY | kCreate},                                           // "w"
    {file_out | file_trunc, O_WRONLY | kCreate},                              // "w"
    {file_out | file_app, O_WRONLY | O_CREAT | O_APPEND},                     // "a"
    {file_in | file_binary, O_RDONLY},                                        // "rb"
    {file_out | file_binary, O_WRONLY | kCreate},                             // "wb"
    {file_out | file_trunc | file_binary, O_WRONLY | kCreate},                // "wb"
    {file_out | file_app | file_binary, O_WRONLY | O_CREAT | O_APPEND},       // "ab"
    {file_in | file_out, O_RDWR},                                             // "r+"
    {file_in | file_out | file_trunc, O_RDWR | kCreate},                      // "w+"
    {file_in | file_out | file_app, O_RDWR | O_CREAT | O_APPEND},             // "a+"
    {file_in | file_out | file_binary, O_RDWR},                               // "r+b"
    {file_in | file_out | file_trunc | file_binary, O_RDWR | kCreate},        // "w+b"
    {file_in | file_out | file_app | file_binary, O_RDWR | O_CREAT | O_APPEND},  // "a+b"
};

std::optional<int> FlagsOfMode(int mode) {
    for (const ModeRow& row : kModes)
        if (row.mode == mode) return row.flags;
    return std::nullopt;
}

// The system moves at most this much per call.
constexpr size_t kMaxTransfer = 0x7FFFF000;

}  // namespace

ByteFile::~ByteFile() {
    if (IsOpen()) ::close(fd_);
}

bool ByteFile::Open(const std::string& path, int mode) {
    const std::optional<int> flags = FlagsOfMode(mode & ~file_ate);
    // A name with a zero character would open a shorter name than the one asked for.
    if (flags && !path.empty() && path.find('\0') == std::string::npos) {
        // Opening without blocking keeps a FIFO with no partner from holding the caller for ever; the
        // transfers then block as usual.
        const int fd = ::open(path.c_str(), *flags | O_CLOEXEC | O_NONBLOCK, 0666);
        struct stat status {};
        const bool usable = fd >= 0 && ::fstat(fd, &status) == 0 && !S_ISDIR(status.st_mode) &&
                            ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) & ~O_NONBLOCK) == 0 &&
                            (!(mode & file_ate) || ::lseek(fd, 0, SEEK_END) >= 0);
        if (usable) {
            fd_ = fd;
            return true;
        }
        if (fd >= 0) ::close(fd);
    }
    state_ |= kFail;
    return false;
}

void ByteFile::Close() {
    if (!IsOpen() || ::close(std::exchange(fd_, -1)) != 0) state_ |= kFail;
}

size_t ByteFile::Read(void* to, size_t count) {
    if (state_ != 0) {
        state_ |= kFail;
        return 0;
    }
    size_t done = 0;
    while (IsOpen() && done < count) {
        const ssize_t got = ::read(fd_, static_cast<char*>(to) + done, std::min(count - done, kMaxTransfer));
        if (got > 0) {
            done += static_cast<size_t>(got);
        } else if (got == 0 || errno != EINTR) {
            if (got < 0) state_ |= kBad;
            break;
        }
    }
    if (done < count) state_ |= kEof | kFail;
    return done;
}

void ByteFile::Write(const void* from, size_t count) {
    if (state_ != 0 || (!IsOpen() && count > 0)) {
        state_ |= kBad;
        return;
    }
    size_t done = 0;
    while (done < count) {
        const ssize_t put = ::write(fd_, static_cast<const char*>(from) + done, std::min(count - done, kMaxTransfer));
        if (put > 0) {
            done += static_cast<size_t>(put);
        } else if (put == 0 || errno != EINTR) {
            state_ |= kBad;
            return;
        }
    }
}

void ByteFile::Seek(int64_t offset, int whence) {
    if (Failed()) return;
    if (!IsOpen() || ::lseek(fd_, offset, whence) < 0) state_ |= kFail;
}

int64_t ByteFile::Position() const { return IsOpen() ? ::lseek(fd_, 0, SEEK_CUR) : -1; }

uint64_t ByteFile::Remaining() const {
    struct stat status {};
    const int64_t position = Position();
    if (position < 0 || ::fstat(fd_, &status) != 0 || status.st_size <= position) return 0;
    return static_cast<uint64_t>(status.st_size - position);
}

}  // namespace scrivix
