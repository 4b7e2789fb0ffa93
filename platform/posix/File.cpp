#include "platform/File.h"

#include <unistd.h>

namespace platform {

bool SyncFile(std::FILE* aFile) {
    return std::fflush(aFile) == 0 && fsync(fileno(aFile)) == 0;
}

}  // namespace platform
