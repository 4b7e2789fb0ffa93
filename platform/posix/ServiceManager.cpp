#include "platform/ServiceManager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "platform/Thread.h"

namespace platform {
namespace {

constexpr timeval SEND_LIMIT = {1, 0};

const char* SocketName() {
    const char* const lpName = std::getenv("NOTIFY_SOCKET");
    return lpName != nullptr ? lpName : "";
}

// The name is a path, or '@' and a name of the abstract name space.  0 for anything else and what is too long.
socklen_t MakeAddress(const char* aName, sockaddr_un* aAddress) {
    const size_t lLength = std::strlen(aName);
    if ((aName[0] != '/' && aName[0] != '@') || lLength < 2 || lLength > sizeof aAddress->sun_path)
        return 0;
    *aAddress = {};
    aAddress->sun_family = AF_UNIX;
    std::memcpy(aAddress->sun_path, aName, lLength);
    if (aName[0] == '@')
        aAddress->sun_path[0] = '\0';
    return static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + lLength);
}

bool Notify(const std::string& aMessage) {
    sockaddr_un lAddress;
    const socklen_t lSize = MakeAddress(SocketName(), &lAddress);
    if (lSize == 0)
        return false;
    const StopGuard lGuard;  // whoever is ended would leave the socket open
    const int lHandle = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (lHandle == -1)
        return false;
    setsockopt(lHandle, SOL_SOCKET, SO_SNDTIMEO, &SEND_LIMIT, sizeof SEND_LIMIT);
    const ssize_t lSent = sendto(lHandle, aMessage.data(), aMessage.size(), MSG_NOSIGNAL,
                                 reinterpret_cast<const sockaddr*>(&lAddress), lSize);
    close(lHandle);
    return lSent == static_cast<ssize_t>(aMessage.size());
}

}  // namespace

bool HasServiceManager() {
    return SocketName()[0] != '\0';
}

bool NotifyReady() {
    return Notify("READY=1");
}

bool NotifyAlive() {
    return Notify("WATCHDOG=1");
}

bool NotifyStopping() {
    return Notify("STOPPING=1");
}

bool NotifyStatus(const std::string& aLine) {
    return Notify("STATUS=" + aLine);
}

}  // namespace platform
