#include "platform/ProbeSocket.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Clock.h"
#include "platform/posix/StoppableWait.h"

namespace platform {

namespace {

const sockaddr* ToSystem(const SocketAddress& aAddress) {
    return reinterpret_cast<const sockaddr*>(aAddress.mBytes);
}

}  // namespace

ProbeSocket::~ProbeSocket() {
    if (cHandle != -1)
        close(cHandle);
}

bool ProbeSocket::Open() {
    cHandle = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (cHandle == -1)
        cHandle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP);
    return Check(cHandle);
}

bool ProbeSocket::SetTimeToLive(int aTimeToLive) {
    return Check(setsockopt(cHandle, IPPROTO_IP, IP_TTL, &aTimeToLive, sizeof aTimeToLive));
}

bool ProbeSocket::Bind(const SocketAddress& aAddress) {
    return Check(bind(cHandle, ToSystem(aAddress), aAddress.mLength));
}

bool ProbeSocket::CreateEvent() {
    return true;
}

bool ProbeSocket::PostReceive(unsigned char* aBuffer, size_t aSize, SocketAddress* apSource) {
    cBuffer = aBuffer;
    cBufferSize = aSize;
    cSource = apSource;
    TryReceive();
    if (cReceive != Receive::COMPLETED || cReceiveError == 0)
        return true;
    cReceive = Receive::NONE;
    cLastError = cReceiveError;
    return false;
}

bool ProbeSocket::Send(const unsigned char* aData, size_t aSize, const SocketAddress& aTo) {
    return Check(sendto(cHandle, aData, aSize, 0, ToSystem(aTo), aTo.mLength));
}

ProbeSocket::WaitResult ProbeSocket::WaitForReceive(uint32_t aMilliseconds) {
    const uint32_t lStart = TickCount();
    while (cReceive == Receive::PENDING) {
        const uint32_t lElapsed = TickCount() - lStart;
        const uint32_t lLeft = aMilliseconds > lElapsed ? aMilliseconds - lElapsed : 0;
        if (!posix::WaitReadable(cHandle, static_cast<int>(lLeft)))
            return WaitResult::TIMED_OUT;
        TryReceive();  // nothing yet when the message was dropped for its checksum
    }
    if (cReceive == Receive::COMPLETED)
        return WaitResult::COMPLETED;
    Sleep(aMilliseconds);
    return WaitResult::TIMED_OUT;
}

bool ProbeSocket::GetReceiveResult() {
    cReceive = Receive::NONE;
    cLastError = cReceiveError;
    return cReceiveError == 0;
}

bool ProbeSocket::Check(int64_t aResult) {
    if (aResult == -1)
        cLastError = errno;
    return aResult != -1;
}

void ProbeSocket::TryReceive() {
    socklen_t lLength = sizeof cSource->mBytes;
    const ssize_t lCount =
        recvfrom(cHandle, cBuffer, cBufferSize, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(cSource->mBytes), &lLength);
    if (lCount == -1 && (errno == EAGAIN || errno == EINTR)) {
        cReceive = Receive::PENDING;
        return;
    }
    cReceive = Receive::COMPLETED;
    cReceiveError = lCount == -1 ? errno : 0;
    if (lCount != -1) {
        cSource->mFamily = FAMILY_IPV4;
        cSource->mLength = lLength;
    }
}

}  // namespace platform
