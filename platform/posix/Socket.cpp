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

int SetOption(int aHandle, int aLevel, int aOption, const auto& aValue) {
    return setsockopt(aHandle, aLevel, aOption, &aValue, sizeof aValue);
}

int SetTimeout(int aHandle, int aOption, uint32_t aMilliseconds) {
    timeval lTimeout = {};
    lTimeout.tv_sec = static_cast<time_t>(aMilliseconds / 1000);
    lTimeout.tv_usec = static_cast<suseconds_t>(aMilliseconds % 1000 * 1000);
    return SetOption(aHandle, SOL_SOCKET, aOption, lTimeout);
}

ip_mreqn ToMembership(uint32_t aGroup, const NetworkInterface& aInterface) {
    ip_mreqn lMembership = {};
    lMembership.imr_multiaddr.s_addr = htonl(aGroup);
    lMembership.imr_address.s_addr = htonl(aInterface.mAddress);
    lMembership.imr_ifindex = static_cast<int>(aInterface.mIndex);
    return lMembership;
}

uint32_t AddressOf(const ifreq& aEntry) {
    return ntohl(reinterpret_cast<const sockaddr_in&>(aEntry.ifr_addr).sin_addr.s_addr);
}

// How often a datagram is sent again after this error.  An ICMP report about an earlier datagram makes the next send
// fail and is cleared by that.  A refused port is always such a report, and each try may cause another one.  The other
// errors may also concern this very datagram; then they come again.
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

// The milliseconds until aDeadline, at most as many as an int holds.
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

// Uses the old request SIOCGIFCONF, which takes 5 us; getifaddrs takes 50.
std::optional<AddressList> InterfaceAddresses() {
    const StopGuard lGuard;  // a thread that is ended here would leave the socket open
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
    std::transform(lEntries, lEntries + lAddresses.mCount, lAddresses.mAddresses, AddressOf);
    return lAddresses;
}

std::optional<NetworkInterface> FindInterface(const char* aName) {
    const StopGuard lGuard;  // a thread that is ended here would leave the socket open
    ifreq lRequest = {};
    if (std::snprintf(lRequest.ifr_name, sizeof lRequest.ifr_name, "%s", aName) >= static_cast<int>(IFNAMSIZ))
        return std::nullopt;
    NetworkInterface lInterface;
    lInterface.mIndex = if_nametoindex(aName);
    if (lInterface.mIndex == 0)
        return std::nullopt;
    const int lHandle = MakeSocket();
    if (ioctl(lHandle, SIOCGIFADDR, &lRequest) == 0)
        lInterface.mAddress = AddressOf(lRequest);
    if (lHandle != -1)
        close(lHandle);
    return lInterface;
}

struct UdpSocket::State {
    bool Check(int aResult);
    bool Set(int aLevel, int aOption, const auto& aValue) { return Check(SetOption(mHandle, aLevel, aOption, aValue)); }

    int mHandle = -1;
    int mError = 0;                // of the last operation that failed
    uint32_t mReceiveTimeout = 0;  // milliseconds, 0 for no limit
};

bool UdpSocket::State::Check(int aResult) {
    mError = aResult == -1 ? errno : 0;
    return aResult != -1;
}

UdpSocket::UdpSocket() : cState(std::make_unique<State>()) {}

UdpSocket::~UdpSocket() {
    Close();
}

bool UdpSocket::Create() {
    Close();
    cState->mReceiveTimeout = 0;
    cState->mHandle = MakeSocket();
    return cState->Check(cState->mHandle);
}

void UdpSocket::Close() {
    if (cState->mHandle != -1)
        close(cState->mHandle);
    cState->mHandle = -1;
}

bool UdpSocket::SetMulticastInterface(const NetworkInterface& aInterface) {
    return cState->Set(IPPROTO_IP, IP_MULTICAST_IF, ToMembership(0, aInterface));
}

bool UdpSocket::SetTimeToLive(uint32_t aHops) {
    const auto lHops = static_cast<int>(aHops);
    return cState->Set(IPPROTO_IP, IP_TTL, lHops) && cState->Set(IPPROTO_IP, IP_MULTICAST_TTL, lHops);
}

bool UdpSocket::SetDSCP(uint32_t aDSCP) {
    return cState->Set(IPPROTO_IP, IP_TOS, static_cast<int>(aDSCP << 2));
}

bool UdpSocket::Connect(uint32_t aAddress, uint16_t aPort) {
    const sockaddr_in lAddress = ToSystemAddress(aAddress, aPort);
    return cState->Check(connect(cState->mHandle, reinterpret_cast<const sockaddr*>(&lAddress), sizeof lAddress));
}

bool UdpSocket::Bind(uint32_t aAddress, uint16_t aPort) {
    const sockaddr_in lAddress = ToSystemAddress(aAddress, aPort);
    return cState->Check(bind(cState->mHandle, reinterpret_cast<const sockaddr*>(&lAddress), sizeof lAddress));
}

bool UdpSocket::BindToGroup(uint32_t aGroup, uint16_t aPort) {
    // The address keeps unicast datagrams and other groups out.  The second option keeps out the group's datagrams by
    // other interfaces, which the system would take for a socket as soon as any socket of the host has joined there.
    return cState->Set(SOL_SOCKET, SO_REUSEADDR, 1) && cState->Set(IPPROTO_IP, IP_MULTICAST_ALL, 0) &&
           Bind(aGroup, aPort);
}

bool UdpSocket::JoinGroup(uint32_t aGroup, const NetworkInterface& aInterface, uint32_t aSource) {
    if (aSource == 0)
        return cState->Set(IPPROTO_IP, IP_ADD_MEMBERSHIP, ToMembership(aGroup, aInterface));
    if (aInterface.mIndex == 0) {
        ip_mreq_source lMembership = {};
        lMembership.imr_multiaddr.s_addr = htonl(aGroup);
        lMembership.imr_interface.s_addr = htonl(aInterface.mAddress);
        lMembership.imr_sourceaddr.s_addr = htonl(aSource);
        return cState->Set(IPPROTO_IP, IP_ADD_SOURCE_MEMBERSHIP, lMembership);
    }
    group_source_req lMembership = {};
    lMembership.gsr_interface = aInterface.mIndex;
    reinterpret_cast<sockaddr_in&>(lMembership.gsr_group) = ToSystemAddress(aGroup, 0);
    reinterpret_cast<sockaddr_in&>(lMembership.gsr_source) = ToSystemAddress(aSource, 0);
    return cState->Set(IPPROTO_IP, MCAST_JOIN_SOURCE_GROUP, lMembership);
}

bool UdpSocket::SetSendTimeout(uint32_t aMilliseconds) {
    return cState->Check(SetTimeout(cState->mHandle, SO_SNDTIMEO, aMilliseconds));
}

bool UdpSocket::SetReceiveTimeout(uint32_t aMilliseconds) {
    // Receive measures the time itself.  The system's option is set to learn whether the socket is usable.
    cState->mReceiveTimeout = aMilliseconds;
    return cState->Check(SetTimeout(cState->mHandle, SO_RCVTIMEO, aMilliseconds));
}

bool UdpSocket::Send(const unsigned char* aData, size_t aSize) {
    const StopGuard lGuard;  // otherwise whoever ends this thread could free the bytes that are being sent
    ssize_t lSent = 0;
    int lRetries = 0;
    do {
        lSent = send(cState->mHandle, aData, aSize, 0);
    } while (lSent == -1 && (errno == EINTR || lRetries++ < RetriesAfter(errno)));
    if (lSent != -1 && static_cast<size_t>(lSent) != aSize) {
        cState->mError = EMSGSIZE;
        return false;
    }
    return cState->Check(lSent == -1 ? -1 : 0);
}

UdpSocket::ReceiveResult UdpSocket::Receive(unsigned char* aBuffer, size_t aCapacity, size_t* aSize,
                                            UdpAddress* apSource) {
    State& lState = *cState;
    if (lState.mHandle == -1) {
        lState.mError = EBADF;
        return ReceiveResult::FAILED;
    }
    const auto lDeadline = SteadyClock::now() + std::chrono::milliseconds(lState.mReceiveTimeout);
    for (;;) {
        // A thread that is ended does not return from the wait.  What follows never blocks.
        if (!posix::WaitReadable(lState.mHandle, lState.mReceiveTimeout == 0 ? -1 : RemainingMilliseconds(lDeadline)))
            return ReceiveResult::TIMED_OUT;
        sockaddr_in lSource = {};
        iovec lPart = {aBuffer, aCapacity};
        msghdr lMessage = {};
        lMessage.msg_name = &lSource;
        lMessage.msg_namelen = sizeof lSource;
        lMessage.msg_iov = &lPart;
        lMessage.msg_iovlen = 1;
        const ssize_t lCount = recvmsg(lState.mHandle, &lMessage, MSG_DONTWAIT);
        if (lCount == -1 && (errno == EAGAIN || errno == EINTR))
            continue;  // the system dropped the datagram for a wrong checksum
        const bool lCut = lCount != -1 && (lMessage.msg_flags & MSG_TRUNC) != 0;
        if (lCount == -1 || lCut) {
            lState.mError = lCut ? EMSGSIZE : errno;
            return ReceiveResult::FAILED;
        }
        *aSize = static_cast<size_t>(lCount);
        if (apSource != nullptr)
            *apSource = {ntohl(lSource.sin_addr.s_addr), ntohs(lSource.sin_port)};
        return ReceiveResult::DATAGRAM;
    }
}

SocketError UdpSocket::GetError() const {
    switch (cState->mError) {
        case 0:
            return SocketError::NONE;
        case EMSGSIZE:
            return SocketError::TOO_LONG;
        case EADDRINUSE:
            return SocketError::ADDRESS_IN_USE;
        default:
            return SocketError::OTHER;
    }
}

int UdpSocket::GetSystemError() const {
    return cState->mError;
}

}  // namespace platform
