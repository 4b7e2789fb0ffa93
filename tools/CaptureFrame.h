#pragma once

#include <cstdint>
#include <span>

// What the frames of a capture hold, by functions without state.  They take any bytes, read nothing behind them and
// believe no length that the bytes do not bear out.  Checksums are not judged: where a network card computes them, a
// capture on the sending host holds what was there before.

using ByteView = std::span<const unsigned char>;

// How a frame begins.
enum class LinkType {
    ETHERNET,
    LINUX_COOKED,    // all interfaces of Linux at once (-i any), the older form
    LINUX_COOKED_2,  // and the newer one
    RAW_IP,
    BSD_LOOPBACK  // the address family in either byte order, then the packet
};

enum class FrameContent {
    UDP,      // a piece of UDP over IPv4, or all of it
    SHORT,    // the same or what may be, but the frame ends before the length that its headers tell
    DAMAGED,  // IPv4 with a header that contradicts itself
    IPV6,
    OTHER  // another protocol
};

constexpr uint32_t IPV4_MAX_PAYLOAD = 65515;  // bytes behind a header without options
constexpr uint32_t IPV4_BLOCK = 8;            // bytes; fragments begin at multiples of it

// An IPv4 packet of UDP (RFC 791), whole or a fragment of one.  Addresses are in host byte order.
struct IPv4Packet {
    bool IsFragment() const { return mMore || mOffset != 0; }

    uint32_t mSource = 0;
    uint32_t mDestination = 0;
    uint16_t mId = 0;
    bool mMore = false;    // more fragments follow
    uint32_t mOffset = 0;  // of the payload's first byte in the packet's
    ByteView mPayload;     // in the frame
};

// Looks behind the link header and any VLAN tags (IEEE 802.1Q, 802.1ad).  *apPacket is set for UDP; for SHORT too, with
// the bytes that are there, once the header was whole: mSource is 0 otherwise.
FrameContent ParseFrame(ByteView aFrame, LinkType aLinkType, IPv4Packet* apPacket);

// A UDP datagram (RFC 768).
struct UdpDatagram {
    uint16_t mSourcePort = 0;
    uint16_t mDestinationPort = 0;
    ByteView mData;
};

// False for bytes that are no whole datagram.  The ports are set whenever they are there.
bool ParseUdp(ByteView aBytes, UdpDatagram* apDatagram);
