#pragma once

#include <cstdint>
#include <memory>

#include "Networking/ClassicReassembly.h"
#include "Networking/Layer.h"
#include "Networking/PFTSender.h"

constexpr uint32_t PFT_MAX_SUPPORTED_ERRORS = 7;
constexpr uint32_t PFT_SPREAD_TIME = 200;  // milliseconds over which a packet's fragments are spread

enum PFTMode : uint32_t {
    PFT_MODE_NONE = 0,      // packets pass unchanged
    PFT_MODE_FRAGMENT = 2,  // fragments without parity
    PFT_MODE_FEC = 3        // fragments of a packet protected by Reed-Solomon parity
};

// Protection, Fragmentation and Transport (ETSI TS 102 821): sends each AF packet as PF fragments, spread over about
// 200 ms, with Reed-Solomon parity or without (PFTSender), and puts received fragments together again (Reassembly).
// Used in one direction.
class PFTLayer : public Layer {
public:
    // Reads the registry's "PftSupportedErrors".
    PFTLayer();

    // To be called once each on a new layer, after SetLowerLayer and in this order.
    void SetAddressing(uint32_t aOn);  // 1: fragments carry ciwSource and ciwDestination
    void SetMode(uint32_t aMode);

    // 1 when the whole packet went down.  0 with LAYER_TAG_NOT_REGISTERED, PACKET_READ_OVERFLOW (an empty packet, or
    // one that claims more bytes than it has), PACKET_WRITE_OVERFLOW (the layer below has no room for payload; there is
    // no encoder), LAYER_PACKET_TOO_BIG (above ciMaxPacketSize, with parity) or the code of the layer below; PSeq then
    // stays, the fragments sent stay sent.
    uint32_t Send(Packet* apPacket) override;

    // 1 a packet; 2 the layer below timed out; 0 a packet was lost, without a code.  Does not return while it waits
    // for a first fragment, at the start and after 0 and 2, unless the layer below is at its end (2).  What fails
    // meanwhile is traced as the assertion "0".
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    // Both halves.
    uint16_t ciwPSeq = 0;                     // sending: of the next packet; receiving: expected
    uint32_t cidwFIDXIndex = 0;               // Findex being sent or expected
    uint32_t cidwFCount = PFT_UNKNOWN_COUNT;  // Fcount of the packet in hand

    // The sending half.
    uint32_t ciMode = PFT_MODE_NONE;
    uint32_t ciAddressing = 0;
    uint16_t ciwSource = 0;
    uint16_t ciwDestination = 0;
    uint32_t ciSupportedErrors;  // lost fragments per packet that protection is sized for, 1 to 7
    const RSCodec* cpcEncoder;   // never freed; null when there is no memory for one

    // The receiving half.
    uint32_t ciRxState = RX_WAIT_FIRST;

    const CRC16* cpcCRC;  // never freed: other layers' fragments use it too

private:
    PFTSender cSender;
    std::unique_ptr<Reassembly> cReassembly;
};
