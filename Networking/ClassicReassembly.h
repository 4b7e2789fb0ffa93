#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "Networking/FECProcessor.h"
#include "Networking/PFTPacket.h"
#include "Networking/PacketQueue.h"
#include "Networking/Reassembly.h"

constexpr uint32_t PFT_MAX_SUB_PACKETS = 80;  // fragments of one packet that reassembly takes
constexpr uint32_t PFT_QUEUE_SIZE = 20;       // fragments ahead of their turn
constexpr uint32_t PFT_QUEUE_PATIENCE = 3;    // so many ahead of their turn, and the expected one counts as lost
constexpr uint32_t PFT_MAX_DISTANCE = 10;     // in fragments; farther ones mean that the position is lost
constexpr uint32_t PFT_MAX_MISSING = 20;      // lost fragments of one packet that are listed
constexpr uint32_t PFT_TEMP_PACKET_SIZE = 10012;
constexpr uint32_t PFT_UNKNOWN_COUNT = 0xFFFFFFFF;

enum PFTRxState : uint32_t {
    RX_RESET = 0,       // drop the queue, then wait for a first fragment
    RX_WAIT_FIRST = 1,  // for a fragment with Findex 0 of any packet
    RX_COMPLETE = 2,    // every fragment is stored or counts as lost
    RX_WAIT_NEXT = 3,   // for the fragment at the expected position
    RX_GAP = 4          // that fragment counts as lost
};

class PFTLayer;

// The fixed way of receiving.  It follows an expected position (PSeq and Findex).  Fragments ahead of it wait in a
// queue of 20 copies, in order; when three wait, the expected fragment counts as lost: it is repaired in a packet with
// parity, and waited for in one without.  A fragment more than ten away, a time-out and a packet that cannot be put
// together cost the packet in hand and the queue, and the next fragment with Findex 0 is waited for.  A packet of the
// layer's own registered protocol ("AF", sent without PFT) is passed up whole.
//
// Lost are packets of more than 80 fragments, and packets with parity that lack more fragments than it restores or more
// than 20, that are larger than PFT_TEMP_PACKET_SIZE with it, or whose fragments differ in Fcount, Plen, RSk or RSz.
//
// The position is the layer's (ciwPSeq, cidwFIDXIndex, cidwFCount, ciRxState), and the trace names the layer.
class ClassicReassembly : public Reassembly {
public:
    explicit ClassicReassembly(PFTLayer& aLayer);  // which owns it

    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut) override;

private:
    enum class Outcome { GO_ON, TIMED_OUT, LOST };
    enum Step : uint32_t { FAILED = 0, TIMED_OUT = 1, FIRST = 3, STORED = 4, EARLY = 5, FAR = 6, NOT_FIRST = 6 };

    // What all fragments of a packet with parity have in common; of others nothing is set.
    struct Format {
        bool mFEC = false;
        uint32_t mFcount = 0;
        uint32_t mPlen = 0;
        uint32_t mRSk = 0;
        uint32_t mRSz = 0;
        bool operator==(const Format&) const = default;
    };

    Outcome WaitFirst(uint32_t* apTimeOut);
    Outcome WaitNext(uint32_t* apTimeOut);
    uint32_t ReceiveFirst(uint32_t* apTimeOut);  // FAILED, TIMED_OUT, FIRST or NOT_FIRST
    uint32_t ReceiveNext(uint32_t* apTimeOut);   // FAILED, TIMED_OUT, STORED, EARLY or FAR
    uint32_t ReceiveBelow(uint32_t* apTimeOut);  // as the layer below, whose code the layer takes over
    bool ParseFragment();
    bool CheckQueue();                                   // whether the expected fragment came from the queue
    bool QueueFragment(PFTPacket* apFragment);           // false when the queue is full
    bool IsFar(uint32_t aPSeq, uint32_t aFindex) const;  // from the expected position
    void AdvancePosition();
    void LeaveGap();
    void DropPassedFragments();

    bool IsWholePacket() const;
    bool IsOnlyFragment() const;
    bool StoreFragment();
    bool AddSubPacket(const PFTPacket* apFragment);  // null is a lost one; whether the list is complete
    uint32_t AssembleSubPackets(Packet* apTemp, uint32_t* apMissing);
    void ResetSubPackets();
    uint32_t Deliver(Packet* apOut);
    bool JoinFragments();
    bool Restore(const uint32_t* apMissing, uint32_t aMissing);

    void ReportCompleted();
    void ReportLost();
    void ReportBeginningMissed();

    PFTLayer& cLayer;
    uint32_t cSubPacketCurrent = 0;  // entries filled, lost fragments included
    int32_t cSubPacketTotal = -1;    // Fcount of the packet in hand, -1 before its first fragment
    int32_t cSubPacketSize = -1;     // Plen of its first fragment
    std::array<std::unique_ptr<PFTPacket>, PFT_MAX_SUB_PACKETS> cSubPacketList;  // in Findex order; null is lost
    char ciReassembledTag[3] = "";
    std::unique_ptr<PFTPacket> cpcFragment;
    PacketQueue cpcQueue{PFT_QUEUE_SIZE};
    Packet cpcTempPacket{PFT_TEMP_PACKET_SIZE};
    Packet cReassembled{0};  // views cpcTempPacket, or what needs no putting together where it was received
    FECProcessor cpcFEC;

    Format cFormat;             // of the fragment last stored
    bool cPartsAgree = true;    // the fragments of the packet in hand have one format
    uint16_t cPSeq = 0;         // of the packet in hand
    uint32_t cPassed = 0;       // fragments dropped from the queue, as they were passed, since the last useful one
    uint32_t cEpoch = 0x10000;  // added to PSeq in the queue, raised when ciwPSeq wraps, so that its order is circular

    bool cHasDelivered = false;
    uint16_t cNextPSeq = 0;             // behind the last packet delivered
    std::optional<uint16_t> cLostPSeq;  // of the packet last reported as lost
    uint32_t cKnownLost = 0;            // packets reported as lost since then
};
