#include "platform/posix/QuietOutput.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace platform::posix {
namespace {

// Opens the stream a second time, with writes that do not wait: the stream itself is shared with other processes, which
// may need theirs to wait.  A file's writes never wait, and it has to keep its one position.  -1 for a socket, and
// where this is not allowed.
int OpenAgain(int aHandle) {
    struct stat lState;
    if (fstat(aHandle, &lState) == 0 && S_ISREG(lState.st_mode))
        return aHandle;
    char lPath[32];
    std::snprintf(lPath, sizeof lPath, "/proc/self/fd/%d", aHandle);
    return open(lPath, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

}  // namespace

QuietOutput::QuietOutput(int aHandle) : cHandle(aHandle), cOwnHandle(OpenAgain(aHandle)) {}

bool QuietOutput::Write(const std::string& aText) {
    if (cOwnHandle != -1)
        return write(cOwnHandle, aText.data(), aText.size()) > 0;
    const ssize_t lCount = send(cHandle, aText.data(), aText.size(), MSG_DONTWAIT);
    if (lCount != -1 || errno != ENOTSOCK)
        return lCount > 0;
    pollfd lOutput = {cHandle, POLLOUT, 0};
    return poll(&lOutput, 1, 0) == 1 && write(cHandle, aText.data(), aText.size()) > 0;
}

}  // namespace platform::posix
