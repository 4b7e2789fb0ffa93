#include "Networking/PFTSender.h"

#include <algorithm>

#include "Networking/PFTLayer.h"
#include "platform/Clock.h"

uint32_t PFTSender::Send(const Packet& aPacket) {
    const uint32_t lSize = aPacket.GetSize();
    if (lSize == 0 || lSize > aPacket.ValidBytes())
        return PACKET_READ_OVERFLOW;
    if (cLayer.ciLowerLayer->ciMaxPacketSize <= cLayer.ciOverhead)
        return PACKET_WRITE_OVERFLOW;
    const uint32_t lMaxPayload = cLayer.ciLowerLayer->ciMaxPacketSize - cLayer.ciOverhead;
    if (cLayer.ciMode == PFT_MODE_FRAGMENT)
        return SendFragments(aPacket.cData, lSize, lMaxPayload, nullptr);
    if (lSize > cLayer.ciMaxPacketSize)
        return LAYER_PACKET_TOO_BIG;  // RSz has only one byte
    if (cLayer.cpcEncoder == nullptr)
        return PACKET_WRITE_OVERFLOW;
    const uint32_t lErrors = std::clamp<uint32_t>(cLayer.ciSupportedErrors, 1, PFT_MAX_SUPPORTED_ERRORS);
    const FECLayout lLayout(lSize, lErrors, lMaxPayload);
    cProtected = ProtectPacket(*cLayer.cpcEncoder, lLayout, aPacket.cData);
    return SendFragments(cProtected.data(), static_cast<uint32_t>(cProtected.size()), lLayout.mFragmentSize, &lLayout);
}

// apLayout is null for a packet without parity: its last fragment may be shorter, and no pause follows it.
uint32_t PFTSender::SendFragments(const unsigned char* apBytes, uint32_t aSize, uint32_t aFragmentSize,
                                  const FECLayout* apLayout) {
    uint32_t& lFindex = cLayer.cidwFIDXIndex;
    const uint32_t lFcount = (aSize + aFragmentSize - 1) / aFragmentSize;
    cLayer.cidwFCount = lFcount;
    const auto lPause = static_cast<uint32_t>(static_cast<double>(PFT_SPREAD_TIME) / lFcount);
    for (lFindex = 0; lFindex < lFcount; ++lFindex) {
        const uint32_t lOffset = lFindex * aFragmentSize;
        const uint32_t lCode = SendFragment(apBytes + lOffset, std::min(aFragmentSize, aSize - lOffset), apLayout);
        if (lCode != 0)
            return lCode;
        const bool lIsLast = lFindex + 1 == lFcount;
        if (lPause > 0 && (apLayout != nullptr || !lIsLast))
            platform::Sleep(lPause);
    }
    ++cLayer.ciwPSeq;
    return 0;
}

uint32_t PFTSender::SendFragment(const unsigned char* apPayload, uint32_t aSize, const FECLayout* apLayout) {
    cFragment = std::make_unique<PFTPacket>(cLayer.ciOverhead + aSize);
    if (apLayout != nullptr)
        cFragment->SetRSParameters(static_cast<uint8_t>(apLayout->mRSk), static_cast<uint8_t>(apLayout->mRSz));
    if (cLayer.ciAddressing == 1)
        cFragment->SetAddresses(cLayer.ciwSource, cLayer.ciwDestination);
    if (cFragment->WritePayload(aSize, apPayload) != 1 ||
        cFragment->SetHeader(cLayer.ciwPSeq, cLayer.cidwFIDXIndex, cLayer.cidwFCount) != 1)
        return cFragment->GetError();
    return cLayer.ciLowerLayer->Send(cFragment.get()) == 1 ? 0u : cLayer.ciLowerLayer->GetError();
}
