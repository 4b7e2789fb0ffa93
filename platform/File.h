#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>

namespace platform {

struct FileCloser {
    void operator()(std::FILE* aFile) const { std::fclose(aFile); }
};
using FilePointer = std::unique_ptr<std::FILE, FileCloser>;

// The length of an open file at this moment, in bytes.  Nothing for what has no length: a pipe, a directory.
std::optional<uint64_t> FileLength(std::FILE* aFile);

// Reads up to aCount bytes from aOffset on, without the stream's buffer.  Returns how many could be read: fewer at the
// end of the file and after an error.
size_t ReadFileAt(std::FILE* aFile, uint64_t aOffset, unsigned char* aBytes, size_t aCount);

// Moves what was written to aFile from the process and the system's caches to the storage device.  False on failure.
bool SyncFile(std::FILE* aFile);

// Cuts a file that is written without a buffer to so many bytes, and goes on there.  False on failure.  errno stays as
// it was, so that it still tells why the file had to be cut.
bool CutFile(std::FILE* aFile, uint64_t aSize);

}  // namespace platform
