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
// A layer is used in one direction.
class PFTLayer : public Layer {
public:
    // Takes ciSupportedErrors from the registry's "PftSupportedErrors".
    PFTLayer();

    // Each must be called once on a new layer, after SetLowerLayer and in this order.
    void SetAddressing(uint32_t aOn);  // 1: fragments carry ciwSource and ciwDestination
    void SetMode(uint32_t aMode);

    // Returns 1 when the whole packet went down; 0 with LAYER_TAG_NOT_REGISTERED; 0 with PACKET_READ_OVERFLOW when the
    // packet is empty or claims more bytes than it has; 0 with PACKET_WRITE_OVERFLOW when the layer below has no room
    // for payload or there is no encoder; 0 with LAYER_PACKET_TOO_BIG when the packet is to have parity and is larger
    // than ciMaxPacketSize; 0 with the code of the layer below.  A failure uses up no PSeq, although some fragments may
    // have been sent.
    uint32_t Send(Packet* apPacket) override;

    // After SetLive the results are those of LiveReassembly.  Otherwise returns 1 with a packet; 2 when the layer below
    // timed out; 0 without a code when a packet was lost.  At the start and after 0 and 2 it waits for a first
    // fragment; until one comes it returns only when the layer below is at its end (2).  A failure of the layer below
    // and a damaged fragment are only traced, as the assertion "0".
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    // Receives live from now on (LiveReassembly).  aPacesItself is as in the transport's traits.
    void SetLive(bool aPacesItself);

    // Of both halves.
    uint16_t ciwPSeq = 0;                     // PSeq of the next packet to be sent, or the expected one
    uint32_t cidwFIDXIndex = 0;               // Findex that is being sent, or the expected one
    uint32_t cidwFCount = PFT_UNKNOWN_COUNT;  // Fcount of the packet in hand

    // Of the sending half.
    uint32_t ciMode = PFT_MODE_NONE;
    uint32_t ciAddressing = 0;
    uint16_t ciwSource = 0;
    uint16_t ciwDestination = 0;
    uint32_t ciSupportedErrors;  // how many lost fragments of a packet its parity can replace, 1 to 7
    const RSCodec* cpcEncoder;   // never freed; null when there was no memory for it

    // Of the receiving half.
    uint32_t ciRxState = RX_WAIT_FIRST;

    const CRC16* cpcCRC;  // never freed, because fragments of other layers use it too

private:
    PFTSender cSender;
    std::unique_ptr<Reassembly> cReassembly;
};
