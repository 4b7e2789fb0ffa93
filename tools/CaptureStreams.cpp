#include "tools/CaptureStreams.h"

#include <algorithm>

#include "Networking/AFFormat.h"
#include "Networking/PFTFormat.h"
#include "tools/CaptureAddress.h"
#include "tools/Text.h"

namespace {

const char* ProtocolsOf(const CaptureStream& aStream) {
    if (aStream.mAF > 0 && aStream.mPF > 0)
        return "AF+PF";
    return aStream.mAF > 0 ? "AF" : "PF";
}

}  // namespace

void CaptureStreams::Add(const CaptureDatagram& aDatagram) {
    const ByteView lData = aDatagram.mData;
    AFHeader lAF;
    PFTHeader lPFT;
    const bool lIsAF = ParseAFPacket(lData.data(), lData.size(), AF_MAJOR_VERSION, &cCRC, &lAF) == AFCheck::VALID;
    if (!lIsAF && ParsePFTFragment(lData.data(), lData.size(), cCRC, &lPFT) != PFTCheck::VALID)
        return;
    if (CaptureStream* const lpStream = Find(aDatagram); lpStream != nullptr)
        ++(lIsAF ? lpStream->mAF : lpStream->mPF);
}

CaptureStream* CaptureStreams::Find(const CaptureDatagram& aDatagram) {
    const auto lStream = std::find_if(cStreams.begin(), cStreams.end(), [&](const CaptureStream& aStream) {
        return aStream.mAddress == aDatagram.mDestination && aStream.mPort == aDatagram.mDestinationPort;
    });
    if (lStream != cStreams.end())
        return &*lStream;
    if (cStreams.size() == MAX_CAPTURE_STREAMS)
        return nullptr;
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
