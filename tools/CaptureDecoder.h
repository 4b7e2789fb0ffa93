#pragma once

#include <cstdint>
#include <optional>

#include "tools/CaptureFragments.h"
#include "tools/CaptureFrame.h"

// A frame as it stands in a capture.
struct CaptureFrame {
    ByteView mBytes;
    uint32_t mWireSize = 0;  // bytes that it had on the network; a capture may keep fewer
    uint64_t mTime = 0;      // microseconds since the beginning of 1970, UTC
    uint64_t mNumber = 0;    // in the capture, from 1, as capture programs count
};

// A UDP datagram of a capture.  Time and number are those of its frame, or of the fragment with which it was whole.
// Addresses are in host byte order.
struct CaptureDatagram {
    ByteView mData;
    uint64_t mTime = 0;
    uint64_t mFrame = 0;
    uint32_t mSource = 0;
    uint32_t mDestination = 0;
    uint16_t mSourcePort = 0;
    uint16_t mDestinationPort = 0;
};

// Which datagrams are of interest, by their destination.
struct CaptureFilter {
    bool IsHost(uint32_t aHost) const { return !mHost || *mHost == aHost; }
    bool IsPort(uint16_t aPort) const { return !mPort || *mPort == aPort; }

    std::optional<uint32_t> mHost;
    std::optional<uint16_t> mPort;
};

// What became of the frames of a capture.
struct CaptureCounts {
    uint64_t mFrames = 0;
    uint64_t mDatagrams = 0;          // handed out
    uint64_t mOtherDestinations = 0;  // datagrams, and fragments to other hosts, that the filter leaves out
    uint64_t mCut = 0;                // frames of which the capture kept too little (its snapshot length)
    uint64_t mDamaged = 0;            // frames whose lengths contradict each other
    uint64_t mIPv6 = 0;               // frames
    uint64_t mOtherProtocols = 0;     // frames without UDP over IP
    uint64_t mUnfinished = 0;         // fragmented packets that never got whole, to any port
};

// Gets the UDP datagrams out of frames, one frame at a time, fragments put together.
class CaptureDecoder {
public:
    CaptureDecoder(LinkType aLinkType, const CaptureFilter& aFilter) : cLinkType(aLinkType), cFilter(aFilter) {}

    // True when the frame completes a datagram that passes the filter: *apDatagram is set, and its data is valid until
    // the next call and no longer than the frame's bytes.
    bool Take(const CaptureFrame& aFrame, CaptureDatagram* apDatagram);

    CaptureCounts GetCounts() const;

private:
    void CountShort(const CaptureFrame& aFrame, const IPv4Packet& aPacket);
    bool TakePacket(const CaptureFrame& aFrame, const IPv4Packet& aPacket, CaptureDatagram* apDatagram);

    const LinkType cLinkType;
    const CaptureFilter cFilter;
    CaptureFragments cFragments;
    CaptureCounts cCounts;
};
