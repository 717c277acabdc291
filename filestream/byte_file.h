// ByteFile: a named disk file read, written and positioned as a stream of bytes, with the state flags of
// a standard stream (end-of-file, fail, bad) that accumulate over its life and are never cleared.
//
// Transfers go straight to the operating system, whole: the file objects serve edit buffers that load and
// save their text in one call, so a buffer of our own in between would only add a copy of every byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace scrivix {

class ByteFile {
public:
    // Stream state flags, as a bit set; 0 is good.
    enum State : unsigned { kEof = 1, kFail = 2, kBad = 4 };

    ByteFile() = default;
    ByteFile(const ByteFile&) = delete;
    ByteFile& operator=(const ByteFile&) = delete;
    ~ByteFile();

    bool IsOpen() const { return fd_ >= 0; }
    unsigned State() const { return state_; }
    // True when fail or bad is set: positioning then does nothing.
    bool Failed() const { return (state_ & (kFail | kBad)) != 0; }

    // Opens the file at `path` (UTF-8) in `mode`, a combination of open_modes bits; after opening with
    // file_ate it moves to the end. A mode outside the accepted combinations, an empty path, a directory
    // or a file the system refuses fails and sets fail.
    bool Open(const std::string& path, int mode);
    // Closes the open file; with none open, or when closing fails, sets fail.
    void Close();

    // The standard unformatted read: with any flag set it reads nothing and sets fail; a short read sets
    // end-of-file and fail, an input error bad. Returns the number of bytes read.
    size_t Read(void* to, size_t count);
    // The standard unformatted write: with any flag set, or when the bytes cannot all be written, sets bad.
    void Write(const void* from, size_t count);
    // Moves the position by `offset` from `whence` (SEEK_SET, SEEK_CUR, SEEK_END) unless fail or bad is
    // set; a move that fails sets fail.
    void Seek(int64_t offset, int whence);
    // The current position, or -1 with no open file.
    int64_t Position() const;
    // The number of bytes from the position to the end of the file (0 with no open file).
    uint64_t Remaining() const;

private:
    int fd_ = -1;
    unsigned state_ = 0;
};

}  // namespace scrivix
