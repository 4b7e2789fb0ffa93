#include "Networking/PFTLayer.h"

#include <algorithm>

#include "Networking/LiveReassembly.h"
#include "platform/Settings.h"
#include "runtime/Trace.h"

namespace {

uint32_t ReadSupportedErrors() {
    const auto lValue = platform::ReadRegistryNumber("SOFTWARE\\VESTRAL\\Drm\\Settings", "PftSupportedErrors");
    return std::clamp<uint32_t>(lValue.value_or(1), 1, PFT_MAX_SUPPORTED_ERRORS);
}

}  // namespace

PFTLayer::PFTLayer()
    : ciSupportedErrors(ReadSupportedErrors()),
      cpcEncoder(SharedRSCodec()),
      cpcCRC(PFTPacket::SharedEngine()),
      cSender(*this),
      cReassembly(std::make_unique<ClassicReassembly>(*this)) {
    CHECK_INVARIANT_AS(cpcEncoder != nullptr, "0");
    PFTPacket::spcCRCEngine = cpcCRC;
    ciOverhead = PFT_HEADER_SIZE;
}

void PFTLayer::SetAddressing(uint32_t aOn) {
    if (aOn == 1 && ciAddressing != 1)
        ciOverhead += PFT_ADDRESS_SIZE;
    ciAddressing = aOn;
    if (ciMaxPacketSize != LAYER_FIXED_MAX_PACKET_SIZE)
        DeriveMaxPacketSize();
}

void PFTLayer::SetMode(uint32_t aMode) {
    if (aMode == PFT_MODE_FEC && ciMode != PFT_MODE_FEC)
        ciOverhead += PFT_RS_SIZE;
    ciMode = aMode;
    if (aMode == PFT_MODE_FRAGMENT || aMode == PFT_MODE_FEC) {
        ciMaxPacketSize = LAYER_FIXED_MAX_PACKET_SIZE;
    } else {
        cidwFIDXIndex = 0;
        cidwFCount = 1;
        DeriveMaxPacketSize();
    }
}

uint32_t PFTLayer::Send(Packet* apPacket) {
    if (!IsThisTagRegistered(apPacket->cProtocol))
        return Fail(LAYER_TAG_NOT_REGISTERED);
    if (ciMode != PFT_MODE_FRAGMENT && ciMode != PFT_MODE_FEC)
        return ciLowerLayer->Send(apPacket) == 1 ? 1 : FailAsBelow();
    const uint32_t lCode = cSender.Send(*apPacket);
    return lCode == 0 ? 1 : Fail(lCode);
}

uint32_t PFTLayer::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t /*aTagIndex*/) {
    return cReassembly->Receive(apOut, apTimeOut);
}

void PFTLayer::SetLive(bool aPacesItself) {
    cReassembly = std::make_unique<LiveReassembly>(*this, aPacesItself);
}
