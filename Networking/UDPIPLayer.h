#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Networking/Outage.h"
#include "Networking/Transport.h"
#include "platform/Socket.h"

constexpr uint32_t UDP_MAX_PACKET_SIZE = 1472;  // what fits an Ethernet frame
constexpr uint32_t UDP_LONGEST_PACKET = 65507;  // what an IPv4 datagram holds; taken by live stacks
constexpr uint32_t UDP_SEND_TIMEOUT = 10;       // milliseconds
constexpr uint32_t UDP_FIRST_PORT = 1024;
constexpr uint32_t UDP_MAX_ADDRESS_LENGTH = 15;

// The transport over UDP and IPv4: one DCP packet per datagram, whose first two bytes name its protocol.  Used by one
// thread at a time.  Error numbers in its messages are the system's (errno).
class UDPIPLayer : public Transport {
public:
    UDPIPLayer();
    ~UDPIPLayer() override { CloseSocket(); }

    // Direction 1 connects the socket to the address, to send; any other binds it, to receive.  apAddress is a dotted
    // address, "any" or null.  A receiver (direction 0) of a multicast group binds to any address and joins the group
    // on the interface of number aLocalInterface (GetInterfaceAddress), or on the system's default one when there is
    // no such interface.  Closes first when open.
    // 1, or 0 with UDP_INVALID_PORT, UDP_INVALID_ADDRESS or UDP_SOCKET_FAILED (with a line on the console).  A sender
    // that is to open its socket anew (TransportSettings) gives 1 in the last case, and Send tries again.
    uint32_t OpenSocket(uint32_t aDirection, uint32_t aPort, const char* apAddress, uint32_t aLocalInterface);
    void CloseSocket();

    // Sends one datagram, waiting at most 10 ms.  1, or 0 with LAYER_TAG_NOT_REGISTERED, LAYER_PACKET_TOO_BIG or
    // UDP_SEND_FAILED: with a line in the trace file, or without one when the destination is known to be unreachable
    // (CNameResolutionDaemon).
    // A sender that is to open its socket anew does so when the socket fails, at most once a second, and sends the
    // datagram again; 0 with UDP_SOCKET_FAILED while it cannot be opened.  All failures in a row then leave one line in
    // the trace file, and the end of them another.
    uint32_t Send(Packet* apPacket) override;

    // Waits at most *apTimeOut milliseconds (0: without limit) for a datagram.  1, apOut views it; 2 when none came or
    // its protocol is not registered; 0 with UDP_RECEIVE_FAILED, also for a datagram that is too long.  Each but the
    // first leaves a line on the console; for a live stack (TransportSettings) only a failure of the socket does, which
    // takes 800 ms, so that a caller who asks again does not spin.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    // Bytes since the last question.
    uint32_t GetBytesReceived();
    uint32_t GetBytesSent();

    // The aIndex-th IPv4 address of the host's interfaces, those of 127.0.0.1 left out, as text (16 characters at
    // most, with the NUL).  0, or -1 when there is none.
    static int32_t GetInterfaceAddress(uint32_t aIndex, char* apOut);

    std::unique_ptr<Packet> cpcReceivePacket;
    char ciReceivedTag[3] = "";
    uint32_t ciBytesReceived = 0;
    uint32_t ciBytesSent = 0;
    uint32_t ciPort = 0;
    char ciAddress[UDP_MAX_ADDRESS_LENGTH + 1] = "";
    platform::UdpSocket ciSocket;

private:
    enum class Sent { DONE, UNREACHABLE, SOCKET_FAILED };

    bool OpenAndConnect();
    bool MendSocket();
    Sent SendDatagram(const Packet& aPacket);
    void ReportUnsent(Sent aResult);
    uint32_t FailToReceive(const char* apFormat, bool aTakesNoTime);
    void NoteFailure(const char* apFormat);
    bool ConnectOrBind();
    std::optional<platform::NetworkInterface> NamedInterface() const;
    bool SetSenderOptions();
    bool BindAndJoin(uint16_t aPort);

    // What OpenSocket was asked for.
    uint32_t cDirection = 0;
    uint32_t cHost = 0;  // IPv4 address
    uint32_t cLocalInterface = 0;

    char cFailure[64] = "";  // of the last operation on the socket, as a line of text
    Outage cOutage;          // of a sender that opens its socket anew
};
