#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/HostLookup.h"

namespace platform {

// A socket that sends ICMP echo requests over IPv4 (RFC 792) and receives what comes back.  It is a raw socket where
// the process may have one; a raw socket receives every ICMP message that reaches this host.  Else it is the kernel's
// ICMP datagram socket (sysctl net.ipv4.ping_group_range), which puts its own identifier into the request and receives
// only the replies to it.  One thread at a time.  Operations answer true for success; after a false, GetSystemError is
// the system's error number of that operation.
//
// A receive is posted first and completes later.  Its buffer and its source must live until it has completed or the
// socket is destroyed.  Only one receive is posted at a time.
class ProbeSocket {
public:
    ProbeSocket();
    ~ProbeSocket();
    ProbeSocket(const ProbeSocket&) = delete;
    ProbeSocket& operator=(const ProbeSocket&) = delete;

    bool Open();  // to be called once, before all others
    bool SetTimeToLive(int aTimeToLive);
    bool Bind(const SocketAddress& aAddress);

    // Makes the object that signals the completion of a receive.  True also on systems that need no such object.
    bool CreateEvent();

    // Posts a receive, which will put the next message into aBuffer, aSize bytes at most, and its sender into
    // *apSource.
    bool PostReceive(unsigned char* aBuffer, size_t aSize, SocketAddress* apSource);
    bool Send(const unsigned char* aData, size_t aSize, const SocketAddress& aTo);

    enum class WaitResult { COMPLETED, TIMED_OUT, FAILED };
    // Waits at most aMilliseconds for the posted receive to complete; if none is posted, waits until the time is over.
    WaitResult WaitForReceive(uint32_t aMilliseconds);

    // Whether the completed receive brought a message.
    bool GetReceiveResult();

    int GetSystemError() const;

private:
    struct State;
    const std::unique_ptr<State> cState;
};

}  // namespace platform
