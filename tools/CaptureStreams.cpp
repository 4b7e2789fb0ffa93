#include "tools/CaptureStreams.h"

#include <algorithm>

#include "tools/CaptureAddress.h"
#include "tools/Text.h"

namespace {

const char* ProtocolsOf(const CaptureStream& aStream) {
    if (aStream.mAF > 0 && aStream.mPF > 0) {
        return "AF+PF";
    }
    return aStream.mAF > 0 ? "AF" : "PF";
}

}  // namespace

CaptureStreams::CaptureStreams() : cCRC(CRC16_POLYNOMIAL, true), cDatagram(IPV4_MAX_PAYLOAD), cAF(0, 1, 0), cPF(0) {
    cAF.SetCRCEngine(&cCRC);
}

void CaptureStreams::Add(const CaptureDatagram& aDatagram) {
    const bool lIsAF = IsSound(&cAF, aDatagram.mData);
    if (!lIsAF && !IsSound(&cPF, aDatagram.mData)) {
        return;
    }
    if (CaptureStream* const lpStream = Find(aDatagram); lpStream != nullptr) {
        ++(lIsAF ? lpStream->mAF : lpStream->mPF);
    }
}

bool CaptureStreams::IsSound(Packet* apPacket, ByteView aData) {
    cDatagram.Rewind();
    cDatagram.SetSize(0);
    cDatagram.Write(static_cast<uint32_t>(aData.size()), aData.data());
    apPacket->Share(&cDatagram);
    return apPacket->Parse() == 1;
}

CaptureStream* CaptureStreams::Find(const CaptureDatagram& aDatagram) {
    const auto lStream = std::find_if(cStreams.begin(), cStreams.end(), [&](const CaptureStream& aStream) {
        return aStream.mAddress == aDatagram.mDestination && aStream.mPort == aDatagram.mDestinationPort;
    });
    if (lStream != cStreams.end()) {
        return &*lStream;
    }
    if (cStreams.size() == MAX_CAPTURE_STREAMS) {
        return nullptr;
    }
    return &cStreams.emplace_back(CaptureStream{aDatagram.mDestination, aDatagram.mDestinationPort});
}

std::string CaptureStreams::GetText() const {
    std::string lText;
    for (const CaptureStream& lStream : cStreams) {
        lText += "\n  " + HostText(lStream.mAddress) + ":" + std::to_string(lStream.mPort) + "  " +
                 ProtocolsOf(lStream) + "  " + Count(lStream.mAF + lStream.mPF, "datagram");
    }
    return lText;
}
