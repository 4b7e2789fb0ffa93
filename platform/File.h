#pragma once

#include <cstdio>

namespace platform {

// Moves what was written to aFile from the process and the system's caches to the storage device.  False on failure.
bool SyncFile(std::FILE* aFile);

// Cuts a file that is written without a buffer to so many bytes, and goes on there.  False on failure.  errno stays as
// it was, so that it still tells why the file had to be cut.
bool CutFile(std::FILE* aFile, long aSize);

}  // namespace platform
