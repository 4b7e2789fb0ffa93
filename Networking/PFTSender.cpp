// The sending side of PFTLayer.

#include <algorithm>

#include "Networking/FECProtector.h"
#include "Networking/PFTLayer.h"
#include "platform/Clock.h"

uint32_t PFTLayer::Send(Packet* apPacket) {
    if (!IsThisTagRegistered(apPacket->cProtocol))
        return Fail(LAYER_TAG_NOT_REGISTERED);
    PFTPacket::spcCRCEngine = cpcCRC;
    if (ciMode != PFT_MODE_FRAGMENT && ciMode != PFT_MODE_FEC)
        return ciLowerLayer->Send(apPacket) == 1 ? 1 : FailAsBelow();
    const uint32_t lSize = apPacket->GetSize();
    if (lSize == 0 || lSize > apPacket->ValidBytes())
        return Fail(PACKET_READ_OVERFLOW);
    if (ciLowerLayer->ciMaxPacketSize <= ciOverhead)
        return Fail(PACKET_WRITE_OVERFLOW);
    const uint32_t lMaxPayload = ciLowerLayer->ciMaxPacketSize - ciOverhead;
    if (ciMode == PFT_MODE_FRAGMENT)
        return SendFragments(apPacket->cData, lSize, lMaxPayload, nullptr);
    if (lSize > ciMaxPacketSize)
        return Fail(LAYER_PACKET_TOO_BIG);  // RSz has one byte
    if (cpcEncoder == nullptr)
        return Fail(PACKET_WRITE_OVERFLOW);
    const uint32_t lErrors = std::clamp<uint32_t>(ciSupportedErrors, 1, PFT_MAX_SUPPORTED_ERRORS);
    const FECLayout lLayout(lSize, lErrors, lMaxPayload);
    const auto lFragments = ProtectPacket(*cpcEncoder, lLayout, apPacket->cData);
    return SendFragments(lFragments.data(), static_cast<uint32_t>(lFragments.size()), lLayout.mFragmentSize, &lLayout);
}

uint32_t PFTLayer::SendFragments(const unsigned char* apBytes, uint32_t aSize, uint32_t aFragmentSize,
                                 const FECLayout* apLayout) {
    cidwFCount = (aSize + aFragmentSize - 1) / aFragmentSize;
    const auto lPause = static_cast<uint32_t>(static_cast<double>(PFT_SPREAD_TIME) / cidwFCount);
    for (cidwFIDXIndex = 0; cidwFIDXIndex < cidwFCount; ++cidwFIDXIndex) {
        const uint32_t lOffset = cidwFIDXIndex * aFragmentSize;
        if (SendFragment(apBytes + lOffset, std::min(aFragmentSize, aSize - lOffset), apLayout) != 1)
            return 0;
        const bool lIsLast = cidwFIDXIndex + 1 == cidwFCount;
        if (lPause > 0 && (apLayout != nullptr || !lIsLast))
            platform::Sleep(lPause);
    }
    ++ciwPSeq;
    return 1;
}

uint32_t PFTLayer::SendFragment(const unsigned char* apPayload, uint32_t aSize, const FECLayout* apLayout) {
    PFTPacket lFragment(ciOverhead + aSize);
    if (apLayout != nullptr)
        lFragment.SetRSParameters(static_cast<uint8_t>(apLayout->mRSk), static_cast<uint8_t>(apLayout->mRSz));
    if (ciAddressing == 1)
        lFragment.SetAddresses(ciwSource, ciwDestination);
    if (lFragment.WritePayload(aSize, apPayload) != 1 || lFragment.SetHeader(ciwPSeq, cidwFIDXIndex, cidwFCount) != 1)
        return Fail(lFragment.GetError());
    return ciLowerLayer->Send(&lFragment) == 1 ? 1 : FailAsBelow();
}
