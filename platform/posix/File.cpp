#include "platform/File.h"

#include <unistd.h>

#include <cerrno>

namespace platform {

bool SyncFile(std::FILE* aFile) {
    return std::fflush(aFile) == 0 && fsync(fileno(aFile)) == 0;
}

bool CutFile(std::FILE* aFile, long aSize) {
    const int lErrorBefore = errno;
    const bool lCut = ftruncate(fileno(aFile), aSize) == 0 && std::fseek(aFile, aSize, SEEK_SET) == 0;
    errno = lErrorBefore;
    return lCut;
}

}  // namespace platform
