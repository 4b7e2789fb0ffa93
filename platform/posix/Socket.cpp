#include "platform/Socket.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>

#include "platform/Thread.h"
#include "platform/posix/StoppableWait.h"

namespace platform {

namespace {

using SteadyClock = std::chrono::steady_clock;

int MakeSocket() {
    return socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
}

sockaddr_in ToSystemAddress(uint32_t aAddress, uint16_t aPort) {
    sockaddr_in lAddress = {};
    lAddress.sin_family = AF_INET;
    lAddress.sin_port = htons(aPort);
    lAddress.sin_addr.s_addr = htonl(aAddress);
    return lAddress;
}

int SetTimeout(int aHandle, int aOption, uint32_t aMilliseconds) {
    timeval lTimeout = {};
    lTimeout.tv_sec = static_cast<time_t>(aMilliseconds / 1000);
    lTimeout.tv_usec = static_cast<suseconds_t>(aMilliseconds % 1000 * 1000);
    return setsockopt(aHandle, SOL_SOCKET, aOption, &lTimeout, sizeof(lTimeout));
}

// How often a datagram is sent again after this error.  An ICMP report about an earlier datagram is an error of the
// next send and is cleared by it.  A refused port can only be such a report, and each try may draw another; the other
// errors can also be this datagram's own, and then they come again.
int RetriesAfter(int aError) {
    switch (aError) {
        case ECONNREFUSED:
            return 8;
        case EHOSTUNREACH:
        case ENETUNREACH:
        case EHOSTDOWN:
        case ENONET:
        case ENOPROTOOPT:
        case EPROTO:
        case EMSGSIZE:
            return 1;
        default:
            return 0;
    }
}

// Milliseconds until aDeadline for a wait, at most what an int holds.
int RemainingMilliseconds(SteadyClock::time_point aDeadline) {
    const auto lLeft = std::chrono::ceil<std::chrono::milliseconds>(aDeadline - SteadyClock::now()).count();
    return static_cast<int>(std::clamp<decltype(lLeft)>(lLeft, 0, INT_MAX));
}

}  // namespace

bool StartSockets(int* apError) {
    const int lHandle = MakeSocket();
    if (lHandle == -1 && apError != nullptr)
        *apError = errno;
    return lHandle != -1 && close(lHandle) == 0;
}

uint32_t ParseAddress(const char* aText) {
    return ntohl(inet_addr(aText));
}

void FormatAddress(uint32_t aAddress, char* aText) {
    std::snprintf(aText, 16, "%u.%u.%u.%u", aAddress >> 24, aAddress >> 16 & 0xFF, aAddress >> 8 & 0xFF,
                  aAddress & 0xFF);
}

// By the old request, which takes 5 us where getifaddrs takes 50.
std::optional<AddressList> InterfaceAddresses() {
    const StopGuard lGuard;  // whoever is ended would leave the socket open
    const int lHandle = MakeSocket();
    if (lHandle == -1)
        return std::nullopt;
    ifreq lEntries[MAX_INTERFACES];
    ifconf lList = {};
    lList.ifc_len = sizeof lEntries;
    lList.ifc_req = lEntries;
    const bool lListed = ioctl(lHandle, SIOCGIFCONF, &lList) == 0;
    close(lHandle);
    AddressList lAddresses;
    lAddresses.mCount = lListed ? static_cast<size_t>(lList.ifc_len) / sizeof(ifreq) : 0;
    std::transform(lEntries, lEntries + lAddresses.mCount, lAddresses.mAddresses, [](const ifreq& aEntry) {
        return ntohl(reinterpret_cast<const sockaddr_in&>(aEntry.ifr_addr).sin_addr.s_addr);
    });
    return lAddresses;
}

UdpSocket::~UdpSocket() {
    Close();
}

bool UdpSocket::Create() {
    Close();
    cReceiveTimeout = 0;
    cHandle = MakeSocket();
    return Check(cHandle);
}

void UdpSocket::Close() {
    if (cHandle != -1)
        close(cHandle);
    cHandle = -1;
}

bool UdpSocket::Connect(uint32_t aAddress, uint16_t aPort) {
    const sockaddr_in lAddress = ToSystemAddress(aAddress, aPort);
    return Check(connect(cHandle, reinterpret_cast<const sockaddr*>(&lAddress), sizeof(lAddress)));
}

bool UdpSocket::Bind(uint32_t aAddress, uint16_t aPort) {
    const sockaddr_in lAddress = ToSystemAddress(aAddress, aPort);
    return Check(bind(cHandle, reinterpret_cast<const sockaddr*>(&lAddress), sizeof(lAddress)));
}

bool UdpSocket::JoinGroup(uint32_t aGroup, uint32_t aInterface) {
    ip_mreq lMembership = {};
    lMembership.imr_multiaddr.s_addr = htonl(aGroup);
    lMembership.imr_interface.s_addr = htonl(aInterface);
    return Check(setsockopt(cHandle, IPPROTO_IP, IP_ADD_MEMBERSHIP, &lMembership, sizeof(lMembership)));
}

bool UdpSocket::SetSendTimeout(uint32_t aMilliseconds) {
    return Check(SetTimeout(cHandle, SO_SNDTIMEO, aMilliseconds));
}

bool UdpSocket::SetReceiveTimeout(uint32_t aMilliseconds) {
    // Receive keeps the time itself; the system's option tells whether the socket is usable.
    cReceiveTimeout = aMilliseconds;
    return Check(SetTimeout(cHandle, SO_RCVTIMEO, aMilliseconds));
}

bool UdpSocket::Send(const unsigned char* aData, size_t aSize) {
    const StopGuard lGuard;  // whoever ends this thread frees the datagram's bytes next
    ssize_t lSent = 0;
    int lRetries = 0;
    do {
        lSent = send(cHandle, aData, aSize, 0);
    } while (lSent == -1 && (errno == EINTR || lRetries++ < RetriesAfter(errno)));
    if (lSent != -1 && static_cast<size_t>(lSent) != aSize) {
        cLastError = EMSGSIZE;
        return false;
    }
    return Check(lSent == -1 ? -1 : 0);
}

UdpSocket::ReceiveResult UdpSocket::Receive(unsigned char* aBuffer, size_t aCapacity, size_t* aSize) {
    if (cHandle == -1) {
        cLastError = EBADF;
        return ReceiveResult::FAILED;
    }
    const auto lDeadline = SteadyClock::now() + std::chrono::milliseconds(cReceiveTimeout);
    for (;;) {
        // A thread that is ended does not return from the wait.  What follows never blocks.
        if (!posix::WaitReadable(cHandle, cReceiveTimeout == 0 ? -1 : RemainingMilliseconds(lDeadline)))
            return ReceiveResult::TIMED_OUT;
        iovec lPart = {aBuffer, aCapacity};
        msghdr lMessage = {};
        lMessage.msg_iov = &lPart;
        lMessage.msg_iovlen = 1;
        const ssize_t lCount = recvmsg(cHandle, &lMessage, MSG_DONTWAIT);
        if (lCount == -1 && (errno == EAGAIN || errno == EINTR))
            continue;  // the datagram was dropped for its checksum
        const bool lCut = lCount != -1 && (lMessage.msg_flags & MSG_TRUNC) != 0;
        if (lCount == -1 || lCut) {
            cLastError = lCut ? EMSGSIZE : errno;
            return ReceiveResult::FAILED;
        }
        *aSize = static_cast<size_t>(lCount);
        return ReceiveResult::DATAGRAM;
    }
}

bool UdpSocket::Check(int aResult) {
    cLastError = aResult == -1 ? errno : 0;
    return aResult != -1;
}

}  // namespace platform
