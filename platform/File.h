#pragma once

#include <cstdio>

namespace platform {

// Moves what was written to aFile from the process and the system's caches to the storage device.  False on failure.
bool SyncFile(std::FILE* aFile);

}  // namespace platform
