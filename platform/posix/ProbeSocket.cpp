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

enum class Receive { NONE, PENDING, COMPLETED };

}  // namespace

struct ProbeSocket::State {
    bool Check(int64_t aResult);
    void TryReceive();

    int mHandle = -1;
    int mError = 0;  // of the last operation that failed
    Receive mReceive = Receive::NONE;
    int mReceiveError = 0;  // of the completed receive; 0 when it brought a message
    unsigned char* mBuffer = nullptr;
    size_t mBufferSize = 0;
    SocketAddress* mSource = nullptr;
};

ProbeSocket::ProbeSocket() : cState(std::make_unique<State>()) {}

ProbeSocket::~ProbeSocket() {
    if (cState->mHandle != -1)
        close(cState->mHandle);
}

bool ProbeSocket::Open() {
    cState->mHandle = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    if (cState->mHandle == -1)
        cState->mHandle = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_ICMP);
    return cState->Check(cState->mHandle);
}

bool ProbeSocket::SetTimeToLive(int aTimeToLive) {
    return cState->Check(setsockopt(cState->mHandle, IPPROTO_IP, IP_TTL, &aTimeToLive, sizeof aTimeToLive));
}

bool ProbeSocket::Bind(const SocketAddress& aAddress) {
    return cState->Check(bind(cState->mHandle, ToSystem(aAddress), aAddress.mLength));
}

bool ProbeSocket::CreateEvent() {
    return true;
}

bool ProbeSocket::PostReceive(unsigned char* aBuffer, size_t aSize, SocketAddress* apSource) {
    cState->mBuffer = aBuffer;
    cState->mBufferSize = aSize;
    cState->mSource = apSource;
    cState->TryReceive();
    if (cState->mReceive != Receive::COMPLETED || cState->mReceiveError == 0)
        return true;
    cState->mReceive = Receive::NONE;
    cState->mError = cState->mReceiveError;
    return false;
}

bool ProbeSocket::Send(const unsigned char* aData, size_t aSize, const SocketAddress& aTo) {
    return cState->Check(sendto(cState->mHandle, aData, aSize, 0, ToSystem(aTo), aTo.mLength));
}

ProbeSocket::WaitResult ProbeSocket::WaitForReceive(uint32_t aMilliseconds) {
    const uint32_t lStart = TickCount();
    while (cState->mReceive == Receive::PENDING) {
        const uint32_t lElapsed = TickCount() - lStart;
        const uint32_t lLeft = aMilliseconds > lElapsed ? aMilliseconds - lElapsed : 0;
        if (!posix::WaitReadable(cState->mHandle, static_cast<int>(lLeft)))
            return WaitResult::TIMED_OUT;
        cState->TryReceive();  // stays pending if the system dropped the message for a wrong checksum
    }
    if (cState->mReceive == Receive::COMPLETED)
        return WaitResult::COMPLETED;
    Sleep(aMilliseconds);
    return WaitResult::TIMED_OUT;
}

bool ProbeSocket::GetReceiveResult() {
    cState->mReceive = Receive::NONE;
    cState->mError = cState->mReceiveError;
    return cState->mReceiveError == 0;
}

int ProbeSocket::GetSystemError() const {
    return cState->mError;
}

bool ProbeSocket::State::Check(int64_t aResult) {
    if (aResult == -1)
        mError = errno;
    return aResult != -1;
}

void ProbeSocket::State::TryReceive() {
    socklen_t lLength = sizeof mSource->mBytes;
    const ssize_t lCount =
        recvfrom(mHandle, mBuffer, mBufferSize, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(mSource->mBytes), &lLength);
    if (lCount == -1 && (errno == EAGAIN || errno == EINTR)) {
        mReceive = Receive::PENDING;
        return;
    }
    mReceive = Receive::COMPLETED;
    mReceiveError = lCount == -1 ? errno : 0;
    if (lCount != -1) {
        mSource->mFamily = FAMILY_IPV4;
        mSource->mLength = lLength;
    }
}

}  // namespace platform
