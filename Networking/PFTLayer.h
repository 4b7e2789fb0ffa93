#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "Networking/Layer.h"
#include "Networking/PFTPacket.h"
#include "Networking/PacketQueue.h"
#include "Networking/RetryBrake.h"

constexpr uint32_t PFT_MAX_SUB_PACKETS = 80;  // fragments of one packet that reassembly takes
constexpr uint32_t PFT_QUEUE_SIZE = 20;       // fragments ahead of their turn
constexpr uint32_t PFT_QUEUE_PATIENCE = 3;    // so many ahead of their turn, and the expected one counts as lost
constexpr uint32_t PFT_MAX_DISTANCE = 10;     // in fragments; farther ones mean that the position is lost
constexpr uint32_t PFT_MAX_MISSING = 20;      // lost fragments of one packet that are listed
constexpr uint32_t PFT_TEMP_PACKET_SIZE = 10012;
constexpr uint32_t PFT_SPREAD_TIME = 200;  // milliseconds over which a packet's fragments are spread
constexpr uint32_t PFT_UNKNOWN_COUNT = 0xFFFFFFFF;

enum PFTMode : uint32_t {
    PFT_MODE_NONE = 0,     // packets pass unchanged
    PFT_MODE_FRAGMENT = 2  // fragments without parity
};

// Protection, Fragmentation and Transport (ETSI TS 102 821), without the Reed-Solomon protection: sends each AF packet
// as PF fragments, spread over about 200 ms, and puts received fragments together again.  Used in one direction.
//
// Receiving, the layer follows an expected position (PSeq and Findex).  Fragments ahead of it wait in a queue of 20
// copies, in order; a fragment more than ten away, a time-out in mid-packet and a packet that cannot be put together
// cost the packet in hand and the queue, and the layer waits for the next fragment with Findex 0.  A packet of the
// layer's own registered protocol ("AF", sent without PFT) is passed up whole.  Packets of more than 80 fragments, and
// packets with parity that lack a fragment or not, are lost.
class PFTLayer : public Layer {
public:
    // Reads the registry's "PftSupportedErrors".
    PFTLayer();

    // To be called once each on a new layer, after SetLowerLayer and in this order.
    void SetAddressing(uint32_t aOn);  // 1: fragments carry ciwSource and ciwDestination
    void SetMode(uint32_t aMode);

    // 1 when the whole packet went down.  0 with LAYER_TAG_NOT_REGISTERED, PACKET_WRITE_OVERFLOW, PACKET_READ_OVERFLOW
    // (an empty packet) or the code of the layer below; PSeq then stays, the fragments sent stay sent.
    uint32_t Send(Packet* apPacket) override;

    // 1 a packet; 2 the layer below timed out in mid-packet; 0 a packet was lost, without a code.  Does not return
    // while it waits for a first fragment.  What fails meanwhile is traced as the assertion "0".
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    enum RxState : uint32_t { RX_RESET = 0, RX_WAIT_FIRST = 1, RX_COMPLETE = 2, RX_WAIT_NEXT = 3, RX_GAP = 4 };

    uint32_t cSubPacketCurrent = 0;  // entries filled, lost fragments included
    int32_t cSubPacketTotal = -1;    // Fcount of the packet in hand, -1 before its first fragment
    int32_t cSubPacketSize = -1;     // Plen of its first fragment
    std::array<std::unique_ptr<Packet>, PFT_MAX_SUB_PACKETS> cSubPacketList;  // in Findex order; null is lost
    uint32_t ciRxState = RX_WAIT_FIRST;
    uint32_t ciMode = PFT_MODE_NONE;
    uint32_t ciAddressing = 0;
    uint16_t ciwPSeq = 0;                     // sending: of the next packet; receiving: expected
    uint32_t cidwFIDXIndex = 0;               // Findex being sent or expected
    uint32_t cidwFCount = PFT_UNKNOWN_COUNT;  // Fcount of the packet in hand
    uint16_t ciwSource = 0;
    uint16_t ciwDestination = 0;
    char ciReassembledTag[3] = "";
    uint32_t ciSupportedErrors = 1;  // lost fragments per packet that protection is sized for, 1 to 7
    std::unique_ptr<PFTPacket> cpcFragment;
    PacketQueue cpcQueue;
    Packet cpcTempPacket;
    const CRC16* cpcCRC;  // never freed: other layers' fragments use it too

private:
    enum class Step { TIMED_OUT, NOT_FIRST, FIRST, FAILED, STORED, EARLY, FAR };
    enum class Outcome { GO_ON, TIMED_OUT, LOST };

    uint32_t SendFragments(Packet* apPacket);
    uint32_t SendFragment(Packet* apPacket, uint32_t aSize);

    Step ReceiveFirst(uint32_t* apTimeOut);
    Step ReceiveNext(uint32_t* apTimeOut);
    bool CheckQueue();
    Outcome WaitFirst(uint32_t* apTimeOut);
    Outcome WaitNext(uint32_t* apTimeOut);
    void LeaveGap();
    void QueueFragment(uint32_t* apTimeOut);
    bool StoreFragment();
    bool IsFar(uint32_t aPSeq, uint32_t aFindex) const;
    bool IsWholePacket() const { return IsThisTagRegistered(cpcFragment->cProtocol); }
    void AdvancePosition();
    bool AddSubPacket(const PFTPacket* apFragment);
    uint32_t AssembleSubPackets(Packet* apTemp);
    void ResetSubPackets();
    uint32_t Deliver(Packet* apOut);

    bool cPacketHasParity = false;  // the FEC flag of the fragment last noted
    RetryBrake cBrake;
};
