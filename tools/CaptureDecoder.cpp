#include "tools/CaptureDecoder.h"

bool CaptureDecoder::Take(const CaptureFrame& aFrame, CaptureDatagram* apDatagram) {
    ++cCounts.mFrames;
    IPv4Packet lPacket;
    switch (ParseFrame(aFrame.mBytes, cLinkType, &lPacket)) {
        case FrameContent::UDP:
            return TakePacket(aFrame, lPacket, apDatagram);
        case FrameContent::SHORT:
            CountShort(aFrame, lPacket);
            break;
        case FrameContent::DAMAGED:
            ++cCounts.mDamaged;
            break;
        case FrameContent::IPV6:
            ++cCounts.mIPv6;
            break;
        case FrameContent::OTHER:
            ++cCounts.mOtherProtocols;
            break;
    }
    return false;
}

CaptureCounts CaptureDecoder::GetCounts() const {
    CaptureCounts lCounts = cCounts;
    lCounts.mUnfinished = cFragments.GetUnfinished();
    return lCounts;
}

// A frame that lacks bytes counts as cut only when it may have been wanted: nobody misses other traffic.
void CaptureDecoder::CountShort(const CaptureFrame& aFrame, const IPv4Packet& aPacket) {
    UdpDatagram lUdp;
    if (!aPacket.mPayload.empty() && aPacket.mOffset == 0)
        ParseUdp(aPacket.mPayload, &lUdp);
    const bool lOtherHost = aPacket.mSource != 0 && !cFilter.IsHost(aPacket.mDestination);
    const bool lOtherPort = lUdp.mDestinationPort != 0 && !cFilter.IsPort(lUdp.mDestinationPort);
    if (lOtherHost || lOtherPort)
        ++cCounts.mOtherDestinations;
    else if (aFrame.mBytes.size() < aFrame.mWireSize)
        ++cCounts.mCut;
    else
        ++cCounts.mDamaged;
}

bool CaptureDecoder::TakePacket(const CaptureFrame& aFrame, const IPv4Packet& aPacket, CaptureDatagram* apDatagram) {
    if (!cFilter.IsHost(aPacket.mDestination)) {
        ++cCounts.mOtherDestinations;
        return false;
    }
    ByteView lPayload = aPacket.mPayload;
    if (aPacket.IsFragment()) {
        const auto lWhole = cFragments.Add(aPacket, aFrame.mTime);
        if (!lWhole)
            return false;
        lPayload = *lWhole;
    }
    UdpDatagram lUdp;
    if (!ParseUdp(lPayload, &lUdp)) {
        ++cCounts.mDamaged;
        return false;
    }
    if (!cFilter.IsPort(lUdp.mDestinationPort)) {
        ++cCounts.mOtherDestinations;
        return false;
    }
    ++cCounts.mDatagrams;
    *apDatagram = {lUdp.mData,           aFrame.mTime,     aFrame.mNumber,       aPacket.mSource,
                   aPacket.mDestination, lUdp.mSourcePort, lUdp.mDestinationPort};
    return true;
}
