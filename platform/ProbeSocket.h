#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/HostLookup.h"

namespace platform {

// A socket that sends ICMP echo requests over IPv4 (RFC 792) and receives what comes back.  It is a raw socket where
// the process may have one: it receives every ICMP message that reaches this host.  Else it is the kernel's ICMP
// datagram socket (sysctl net.ipv4.ping_group_range): it puts its own identifier into the request and receives only
// the replies to it.  One thread at a time.  Operations answer true for success; after a false, GetLastError is the
// system's error number (errno) of that operation.
//
// One receive at a time is posted, and completes later; what it needs stays alive until it has completed or the socket
// is closed.
class ProbeSocket {
public:
    ProbeSocket() = default;
    ~ProbeSocket();
    ProbeSocket(const ProbeSocket&) = delete;
    ProbeSocket& operator=(const ProbeSocket&) = delete;

    bool Open();  // once
    bool SetTimeToLive(int aTimeToLive);
    bool Bind(const SocketAddress& aAddress);

    // Makes what completes a receive, where the system needs such a thing (the others answer true).
    bool CreateEvent();

    // Posts a receive: of the next message into aBuffer, at most aSize bytes, and of its sender into *apSource.
    bool PostReceive(unsigned char* aBuffer, size_t aSize, SocketAddress* apSource);
    bool Send(const unsigned char* aData, size_t aSize, const SocketAddress& aTo);

    enum class WaitResult { COMPLETED, TIMED_OUT, FAILED };
    // Waits at most aMilliseconds for the posted receive, all of them when none is posted.
    WaitResult WaitForReceive(uint32_t aMilliseconds);

    // Whether the completed receive brought a message.
    bool GetReceiveResult();

    int GetLastError() const { return cLastError; }

private:
    enum class Receive { NONE, PENDING, COMPLETED };

    bool Check(int64_t aResult);
    void TryReceive();

    int cHandle = -1;
    int cLastError = 0;
    Receive cReceive = Receive::NONE;
    int cReceiveError = 0;  // of the completed one
    unsigned char* cBuffer = nullptr;
    size_t cBufferSize = 0;
    SocketAddress* cSource = nullptr;
};

}  // namespace platform
