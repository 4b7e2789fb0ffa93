#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "Networking/FECProcessor.h"
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
constexpr uint32_t PFT_MAX_SUPPORTED_ERRORS = 7;
constexpr uint32_t PFT_SPREAD_TIME = 200;  // milliseconds over which a packet's fragments are spread
constexpr uint32_t PFT_UNKNOWN_COUNT = 0xFFFFFFFF;

struct FECLayout;

enum PFTMode : uint32_t {
    PFT_MODE_NONE = 0,      // packets pass unchanged
    PFT_MODE_FRAGMENT = 2,  // fragments without parity
    PFT_MODE_FEC = 3        // fragments of a packet protected by Reed-Solomon parity
};

enum PFTRxState : uint32_t {
    RX_RESET = 0,       // drop the queue, then wait for a first fragment
    RX_WAIT_FIRST = 1,  // for a fragment with Findex 0 of any packet
    RX_COMPLETE = 2,    // every fragment is stored or counts as lost
    RX_WAIT_NEXT = 3,   // for the fragment at the expected position
    RX_GAP = 4          // that fragment counts as lost
};

// Protection, Fragmentation and Transport (ETSI TS 102 821): sends each AF packet as PF fragments, spread over about
// 200 ms, with Reed-Solomon parity or without, and puts received fragments together again.  Used in one direction.
//
// Receiving, the layer follows an expected position (PSeq and Findex).  Fragments ahead of it wait in a queue of 20
// copies, in order; when three wait, the expected fragment counts as lost: it is repaired in a packet with parity, and
// waited for in one without.  A fragment more than ten away, a time-out and a packet that cannot be put together cost
// the packet in hand and the queue, and the layer waits for the next fragment with Findex 0.  A packet of the layer's
// own registered protocol ("AF", sent without PFT) is passed up whole.
//
// Lost are packets of more than 80 fragments, and packets with parity that lack more fragments than it restores or more
// than 20, that are larger than PFT_TEMP_PACKET_SIZE with it, or whose fragments differ in Fcount, Plen, RSk or RSz.
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

    // The steps of Receive.
    enum Step : uint32_t { FAILED = 0, TIMED_OUT = 1, FIRST = 3, STORED = 4, EARLY = 5, FAR = 6, NOT_FIRST = 6 };
    uint32_t ReceiveFirst(uint32_t* apTimeOut);          // FAILED, TIMED_OUT, FIRST or NOT_FIRST
    uint32_t ReceiveNext(uint32_t* apTimeOut);           // FAILED, TIMED_OUT, STORED, EARLY or FAR
    bool CheckQueue();                                   // whether the expected fragment came from the queue
    bool QueueFragment(PFTPacket* apFragment);           // false when the queue is full
    bool IsFar(uint32_t aPSeq, uint32_t aFindex) const;  // from the expected position
    bool AddSubPacket(const PFTPacket* apFragment);      // null is a lost one; whether the list is complete
    // Joins the list's payloads, with placeholders for what is missing; returns how many fragments are.  Their indexes,
    // PFT_MAX_MISSING at most, go to apMissing.
    uint32_t AssembleSubPackets(Packet* apTemp, uint32_t* apMissing);
    void ResetSubPackets();

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
    std::unique_ptr<PacketQueue> cpcQueue;
    std::unique_ptr<Packet> cpcTempPacket;
    std::unique_ptr<const RSCodec> cpcEncoder;
    std::unique_ptr<FECProcessor> cpcFEC;
    const CRC16* cpcCRC;  // never freed: other layers' fragments use it too

private:
    enum class Outcome { GO_ON, TIMED_OUT, LOST };

    // What all fragments of a packet with parity have in common; of others nothing is set.
    struct Format {
        bool mFEC = false;
        uint32_t mFcount = 0;
        uint32_t mPlen = 0;
        uint32_t mRSk = 0;
        uint32_t mRSz = 0;
        bool operator==(const Format&) const = default;
    };

    // Without a layout the last fragment may be shorter and has no pause behind it.
    uint32_t SendFragments(const unsigned char* apBytes, uint32_t aSize, uint32_t aFragmentSize,
                           const FECLayout* apLayout);
    uint32_t SendFragment(const unsigned char* apPayload, uint32_t aSize, const FECLayout* apLayout);

    Outcome WaitFirst(uint32_t* apTimeOut);
    Outcome WaitNext(uint32_t* apTimeOut);
    void LeaveGap();
    bool StoreFragment();
    bool IsWholePacket() const { return IsThisTagRegistered(cpcFragment->cProtocol); }
    void AdvancePosition();
    void DropPassedFragments();
    uint32_t Deliver(Packet* apOut);
    bool Restore(const uint32_t* apMissing, uint32_t aMissing);

    Format cFormat;             // of the fragment last stored
    bool cPartsAgree = true;    // the fragments of the packet in hand have one format
    uint32_t cPassed = 0;       // fragments dropped from the queue, as they were passed, since the last useful one
    uint32_t cEpoch = 0x10000;  // added to PSeq in the queue, raised when ciwPSeq wraps, so that its order is circular
    RetryBrake cBrake{RetryBrake::SMALL_CREDIT};
};
