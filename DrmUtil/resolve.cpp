#include "DrmUtil/resolve.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Socket.h"
#include "platform/Thread.h"

namespace {

constexpr int PROBE_FAILED = -1;
constexpr int PRINTED_SIZE = PROBE_DATA_SIZE;
constexpr size_t HOST_TEXT_SIZE = 1025;

// These three belong to the one thread that probes.
int sFamily = platform::FAMILY_ANY;  // of the last destination
unsigned char sReceived[PROBE_RECEIVE_BUFFER];
bool sSocketRefused = false;

// Prints "aWhat failed: " and the number to the error stream.  Returns PROBE_FAILED, which the caller may return too.
int Failed(const char* aWhat, int aError) {
    platform::PrintError("%s failed: %d\n", aWhat, aError);
    return PROBE_FAILED;
}

// Writes the numeric text of the host to aText.  0, or the error, which is also printed.
int HostText(const void* aAddress, size_t aLength, char (&aText)[HOST_TEXT_SIZE]) {
    const int lError = platform::TranslateAddress(aAddress, aLength, aText, sizeof aText);
    if (lError != 0)
        platform::PrintError("%s: getnameinfo failed: %d\n", __FILE__, lError);
    return lError;
}

void PrintReply(const platform::SocketAddress& aSource, uint32_t aElapsed) {
    platform::PrintProgress("Reply from ");
    PrintAddress(aSource.mBytes, aSource.mLength);
    if (aElapsed == 0)
        platform::PrintProgress(": bytes=%d time<1ms TTL=%d\n", PRINTED_SIZE, PROBE_TTL);
    else
        platform::PrintProgress(": bytes=%d time=%dms TTL=%d\n", PRINTED_SIZE, static_cast<int>(aElapsed), PROBE_TTL);
}

// Waits for a reply to the request that went out at the tick aSent.  The first receive is posted already.
int AwaitReply(platform::ProbeSocket& aSocket, platform::SocketAddress* apSource, const char* aDestination,
               uint32_t aSent, uint32_t aLimit) {
    for (uint32_t lExamined = 0; lExamined < PROBE_MAX_RECEIVES; ++lExamined) {
        const uint32_t lElapsed = platform::TickCount() - aSent;
        const uint32_t lLeft = aLimit > lElapsed ? aLimit - lElapsed : 0;
        switch (aSocket.WaitForReceive(std::min(PROBE_WAIT_MS, lLeft))) {
            case platform::ProbeSocket::WaitResult::COMPLETED:
                break;
            case platform::ProbeSocket::WaitResult::TIMED_OUT:
                platform::PrintProgress("Request timed out.\n");
                return 0;
            case platform::ProbeSocket::WaitResult::FAILED:
                return Failed("WaitForSingleObject", aSocket.GetSystemError());
        }
        if (!aSocket.GetReceiveResult())
            Failed("WSAGetOverlappedResult", aSocket.GetSystemError());
        PrintReply(*apSource, platform::TickCount() - aSent);
        if (IsSameAddress(apSource->mBytes, apSource->mLength, aDestination))
            return 1;
        if (lExamined < PROBE_MAX_RECEIVES - 1)
            PostRecvFrom(aSocket, sReceived, sizeof sReceived, apSource);
    }
    return 0;
}

// Probes one address from another.
int Probe(const char* aDestination, const platform::SocketAddress& aTo, const platform::SocketAddress& aFrom,
          uint32_t aLimit) {
    platform::SocketAddress lSource;  // declared before the socket, which may write to it
    platform::ProbeSocket lSocket;
    sSocketRefused = !lSocket.Open();
    if (sSocketRefused) {
        platform::Print("socket failed: %d\n", lSocket.GetSystemError());
        return PROBE_FAILED;
    }
    SetTtl(lSocket, PROBE_TTL);
    const std::unique_ptr<unsigned char[]> lRequest(new (std::nothrow) unsigned char[ECHO_REQUEST_SIZE]());
    if (lRequest == nullptr)
        return Failed("HeapAlloc", errno);
    FillEchoRequest(lRequest.get(), static_cast<uint16_t>(platform::ProcessId()));
    if (!lSocket.Bind(aFrom))
        return Failed("bind", lSocket.GetSystemError());
    if (!lSocket.CreateEvent())
        return Failed("WSACreateEvent", lSocket.GetSystemError());
    PostRecvFrom(lSocket, sReceived, sizeof sReceived, &lSource);
    platform::PrintProgress("\nPinging ");
    PrintAddress(aTo.mBytes, aTo.mLength);
    platform::PrintProgress(" with %d bytes of data\n\n", PRINTED_SIZE);
    CompleteEchoRequest(lRequest.get(), static_cast<uint16_t>(platform::TickCount()));
    const uint32_t lSent = platform::TickCount();
    if (!lSocket.Send(lRequest.get(), ECHO_REQUEST_SIZE, aTo))
        return Failed("sendto", lSocket.GetSystemError());
    return AwaitReply(lSocket, &lSource, aDestination, lSent, aLimit);
}

}  // namespace

int Ping(const char* aDestination, uint32_t aLimit) {
    sSocketRefused = false;
    int lError = 0;
    if (!platform::StartSockets(&lError)) {
        platform::Print("WSAStartup() failed: %d\n", lError);
        return PROBE_FAILED;
    }
    const auto lDestination = ResolveAddress(aDestination, "0", sFamily, 0, 0);
    if (lDestination.empty() || lDestination[0].mFamily != platform::FAMILY_IPV4) {
        platform::Print("bad name %s\n", aDestination);
        return PROBE_FAILED;
    }
    sFamily = lDestination[0].mFamily;
    const auto lWildcard = ResolveAddress(nullptr, "0", sFamily, 0, 0);
    if (lWildcard.empty()) {
        platform::Print("Unable to obtain the bind address!\n");
        return PROBE_FAILED;
    }
    return Probe(aDestination, lDestination[0], lWildcard[0], aLimit);
}

bool ProbeSocketRefused() {
    return sSocketRefused;
}

std::vector<platform::SocketAddress> ResolveAddress(const char* aHost, const char* aPort, int aFamily, int aSocketType,
                                                    int aProtocol) {
    std::vector<platform::SocketAddress> lAddresses;
    if (const int lError = platform::TranslateText(aHost, aPort, aFamily, aSocketType, aProtocol, &lAddresses))
        platform::PrintError("Invalid address %s, getaddrinfo failed: %d\n", aHost != nullptr ? aHost : "(null)",
                             lError);
    return lAddresses;
}

int PrintAddress(const void* aAddress, size_t aLength) {
    char lText[HOST_TEXT_SIZE];
    const int lError = HostText(aAddress, aLength, lText);
    if (lError == 0)
        platform::PrintProgress("%s", lText);
    return lError;
}

bool IsSameAddress(const void* aAddress, size_t aLength, const char* aText) {
    char lText[HOST_TEXT_SIZE];
    return HostText(aAddress, aLength, lText) != 0 || std::strcmp(lText, aText) == 0;
}

void SetTtl(platform::ProbeSocket& aSocket, int aTimeToLive) {
    if (!aSocket.SetTimeToLive(aTimeToLive))
        Failed("SetTtl: setsockopt", aSocket.GetSystemError());
}

void PostRecvFrom(platform::ProbeSocket& aSocket, unsigned char* aBuffer, size_t aSize,
                  platform::SocketAddress* apSource) {
    if (!aSocket.PostReceive(aBuffer, aSize, apSource))
        Failed("WSARecvFrom", aSocket.GetSystemError());
}
