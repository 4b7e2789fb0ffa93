#include "platform/File.h"

#include <unistd.h>

namespace platform {

bool SyncFile(std::FILE* aFile) {
    return std::fflush(aFile) == 0 && fsync(fileno(aFile)) == 0;
}

bool CutFile(std::FILE* aFile, long aSize) {
    return ftruncate(fileno(aFile), aSize) == 0 && std::fseek(aFile, aSize, SEEK_SET) == 0;
}

}  // namespace platform
