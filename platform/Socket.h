#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

// UDP over IPv4.  Addresses are numbers in host byte order: 127.0.0.1 is 0x7F000001.
namespace platform {

// Makes the socket library ready.  False when the system gives no IPv4 datagram sockets, with the system's error number
// in *apError if that is not null.
bool StartSockets(int* apError = nullptr);

constexpr uint32_t NO_ADDRESS = 0xFFFFFFFF;  // what text that is no dotted address reads as

// The classic dotted conversion (inet_addr); NO_ADDRESS for anything else, and for 255.255.255.255 itself.
uint32_t ParseAddress(const char* aText);

// Writes the dotted form and a NUL; aText has room for 16 characters.
void FormatAddress(uint32_t aAddress, char* aText);

// Whether an address is that of a group (RFC 5771: 224.0.0.0 to 239.255.255.255).
inline bool IsMulticast(uint32_t aAddress) {
    return aAddress >> 28 == 0xE;
}

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

// One of this host's interfaces: by the system's index, or by one of its addresses when the index is 0.  With neither
// it stands for the interface that the system chooses.
struct NetworkInterface {
    uint32_t mIndex = 0;
    uint32_t mAddress = 0;
};

// The interface of a name as the system lists it ("eth0"), with its first IPv4 address, 0 when it has none.  Nothing
// when there is no such interface.
std::optional<NetworkInterface> FindInterface(const char* aName);

struct UdpAddress {
    bool operator==(const UdpAddress&) const = default;

    uint32_t mAddress = 0;
    uint16_t mPort = 0;
};

// Why an operation failed, as far as callers have to tell it apart.
enum class SocketError {
    NONE,
    TOO_LONG,        // the datagram
    ADDRESS_IN_USE,  // another socket of this host has the port
    OTHER
};

// One UDP socket.  Used by one thread at a time.  Operations answer true for success; after a false, GetError and
// GetSystemError tell about that operation; after a true they are NONE and 0.
//
// A sender: Create, then any of the three options and Bind with port 0 (its source address), then Connect.
// A receiver: Create, then Bind; for a group Bind or BindToGroup and then JoinGroup, once or more often.
class UdpSocket {
public:
    UdpSocket();
    ~UdpSocket();
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    bool Create();  // closes first when open
    void Close();

    // Options of a sender.  Without them the system chooses: multicast by its routes and with a time-to-live of 1,
    // unicast with the system's, and DSCP 0.
    bool SetMulticastInterface(const NetworkInterface& aInterface);
    bool SetTimeToLive(uint32_t aHops);  // 1 to 255, of unicast and multicast
    bool SetDSCP(uint32_t aDSCP);        // 0 to 63, the code point of RFC 2474

    bool Connect(uint32_t aAddress, uint16_t aPort);

    // Address 0: any of this host's; port 0: one that is free.
    bool Bind(uint32_t aAddress, uint16_t aPort);

    // Binds to a group's port beside other sockets of this host that do the same: each of them gets every datagram.
    // Takes only datagrams to groups that were joined by JoinGroup, to this group therefore, and only from the
    // interfaces that they were joined on; unicast datagrams to the port are left alone.
    bool BindToGroup(uint32_t aGroup, uint16_t aPort);

    // Joins a group on an interface; with a source other than 0, for the datagrams of that sender only (RFC 3376).
    bool JoinGroup(uint32_t aGroup, const NetworkInterface& aInterface, uint32_t aSource = 0);

    bool SetSendTimeout(uint32_t aMilliseconds);
    bool SetReceiveTimeout(uint32_t aMilliseconds);  // 0: no limit

    // Sends one datagram to the connected address, waiting at most the send time-out.  Error reports that came back
    // for earlier datagrams (a closed port there) do not count: they are dropped and this datagram is sent.
    // A datagram that the system did not take whole is a failure.
    bool Send(const unsigned char* aData, size_t aSize);

    enum class ReceiveResult { DATAGRAM, TIMED_OUT, FAILED };
    // Waits at most the receive time-out for one datagram of at most aCapacity bytes and sets *aSize to its length and
    // *apSource, unless that is null, to its sender.  A longer one is dropped and FAILED, with TOO_LONG; 65,507 bytes
    // are the most that UDP over IPv4 carries.  A thread that is suspended or ended while it waits touches neither the
    // socket nor the buffer any more (Thread.h).
    ReceiveResult Receive(unsigned char* aBuffer, size_t aCapacity, size_t* aSize, UdpAddress* apSource = nullptr);

    SocketError GetError() const;
    int GetSystemError() const;  // the system's own number, for messages

private:
    struct State;
    const std::unique_ptr<State> cState;
};

}  // namespace platform
