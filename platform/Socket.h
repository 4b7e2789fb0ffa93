#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

// UDP over IPv4.  Addresses are numbers in host byte order: 127.0.0.1 is 0x7F000001.
namespace platform {

// Makes the socket library ready.  False when the system gives no IPv4 datagram sockets, with its error number (errno)
// in *apError if that is not null.
bool StartSockets(int* apError = nullptr);

constexpr uint32_t NO_ADDRESS = 0xFFFFFFFF;  // what text that is no dotted address reads as

// The classic dotted conversion (inet_addr); NO_ADDRESS for anything else, and for 255.255.255.255 itself.
uint32_t ParseAddress(const char* aText);

// Writes the dotted form and a NUL; aText has room for 16 characters.
void FormatAddress(uint32_t aAddress, char* aText);

constexpr size_t MAX_INTERFACES = 10;

// Without memory of its own, so that a thread that is ended while it holds one leaves nothing behind.
struct AddressList {
    const uint32_t* begin() const { return mAddresses; }
    const uint32_t* end() const { return mAddresses + mCount; }

    uint32_t mAddresses[MAX_INTERFACES] = {};
    size_t mCount = 0;
};

// The first MAX_INTERFACES IPv4 addresses of this host's interfaces, in the system's order, 127.0.0.1 included.  Empty
// when there are none or the list cannot be had; nothing when not even a socket to ask for it can be had.  Takes a few
// microseconds: senders ask for every packet.
std::optional<AddressList> InterfaceAddresses();

// One UDP socket.  Used by one thread at a time.  Operations answer true for success; after a false, GetLastError is
// the system's error number (errno) of that operation, and after a true it is 0.
class UdpSocket {
public:
    UdpSocket() = default;
    ~UdpSocket();
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    bool Create();  // closes first when open
    void Close();
    bool Connect(uint32_t aAddress, uint16_t aPort);
    bool Bind(uint32_t aAddress, uint16_t aPort);
    bool JoinGroup(uint32_t aGroup, uint32_t aInterface);  // aInterface 0: the system's default interface

    bool SetSendTimeout(uint32_t aMilliseconds);
    bool SetReceiveTimeout(uint32_t aMilliseconds);  // 0: no limit

    // Sends one datagram to the connected address, waiting at most the send time-out.  Error reports that came back
    // for earlier datagrams (a closed port there) do not count: they are dropped and this datagram is sent.
    // A datagram that the system did not take whole is a failure.
    bool Send(const unsigned char* aData, size_t aSize);

    enum class ReceiveResult { DATAGRAM, TIMED_OUT, FAILED };
    // Waits at most the receive time-out for one datagram of at most aCapacity bytes and sets *aSize to its length.
    // A longer one is dropped and FAILED, with EMSGSIZE.  A thread that is suspended or ended while it waits touches
    // neither the socket nor the buffer any more (Thread.h).
    ReceiveResult Receive(unsigned char* aBuffer, size_t aCapacity, size_t* aSize);

    int GetLastError() const { return cLastError; }

private:
    bool Check(int aResult);

    int cHandle = -1;
    int cLastError = 0;
    uint32_t cReceiveTimeout = 0;  // milliseconds, 0 for no limit
};

}  // namespace platform
