#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Networking/FECProtector.h"
#include "Networking/PFTPacket.h"

class PFTLayer;

// The sending half of a PFT layer: cuts packets into fragments, with parity or without, and paces them.  What it
// needs from one fragment to the next is kept in members, because the task may be ended while it sleeps.
class PFTSender {
public:
    explicit PFTSender(PFTLayer& aLayer) : cLayer(aLayer) {}

    // Sends one packet as fragments with the layer's next PSeq.  Returns 0, or a code as PFTLayer::Send gives it.
    uint32_t Send(const Packet& aPacket);

private:
    uint32_t SendFragments(const unsigned char* apBytes, uint32_t aSize, uint32_t aFragmentSize,
                           const FECLayout* apLayout);
    uint32_t SendFragment(const unsigned char* apPayload, uint32_t aSize, const FECLayout* apLayout);

    PFTLayer& cLayer;
    std::vector<unsigned char> cProtected;  // the payloads of all fragments of a packet with parity
    std::unique_ptr<PFTPacket> cFragment;
};
