#include "platform/File.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace platform {

static_assert(sizeof(off_t) == sizeof(uint64_t), "recordings are longer than 2 GiB");

std::optional<uint64_t> FileLength(std::FILE* aFile) {
    struct stat lStatus = {};
    // A directory can be opened, and the system gives it a length that means nothing.
    if (fstat(fileno(aFile), &lStatus) != 0 || S_ISDIR(lStatus.st_mode))
        return std::nullopt;
    const off_t lEnd = lseek(fileno(aFile), 0, SEEK_END);  // also of a block device
    if (lEnd < 0)
        return std::nullopt;
    return static_cast<uint64_t>(lEnd);
}

size_t ReadFileAt(std::FILE* aFile, uint64_t aOffset, unsigned char* aBytes, size_t aCount) {
    size_t lDone = 0;
    while (lDone < aCount) {
        const ssize_t lRead = pread(fileno(aFile), aBytes + lDone, aCount - lDone, static_cast<off_t>(aOffset + lDone));
        if (lRead < 0 && errno == EINTR)
            continue;
        if (lRead <= 0)
            break;
        lDone += static_cast<size_t>(lRead);
    }
    return lDone;
}

bool SyncFile(std::FILE* aFile) {
    return std::fflush(aFile) == 0 && fsync(fileno(aFile)) == 0;
}

bool CutFile(std::FILE* aFile, uint64_t aSize) {
    const int lErrorBefore = errno;
    const off_t lSize = static_cast<off_t>(aSize);
    const bool lCut = ftruncate(fileno(aFile), lSize) == 0 && fseeko(aFile, lSize, SEEK_SET) == 0;
    errno = lErrorBefore;
    return lCut;
}

}  // namespace platform
