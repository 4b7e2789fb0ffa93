#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "Networking/FECProcessor.h"
#include "Networking/PFTPacket.h"
#include "Networking/PacketQueue.h"
#include "Networking/Reassembly.h"

constexpr uint32_t PFT_MAX_SUB_PACKETS = 80;  // the most fragments of a packet that can be put together
constexpr uint32_t PFT_QUEUE_SIZE = 20;       // the most fragments that wait ahead of their turn
constexpr uint32_t PFT_QUEUE_PATIENCE = 3;    // when so many fragments wait, the expected one counts as lost
constexpr uint32_t PFT_MAX_DISTANCE = 10;     // in fragments; one farther away shows that the position is wrong
constexpr uint32_t PFT_MAX_MISSING = 20;      // the most lost fragments of a packet that are listed
constexpr uint32_t PFT_TEMP_PACKET_SIZE = 10012;
constexpr uint32_t PFT_UNKNOWN_COUNT = 0xFFFFFFFF;

enum PFTRxState : uint32_t {
    RX_RESET = 0,       // drop the queue, then wait for a first fragment
    RX_WAIT_FIRST = 1,  // wait for a fragment with Findex 0 of any packet
    RX_COMPLETE = 2,    // every fragment is stored or counts as lost
    RX_WAIT_NEXT = 3,   // wait for the fragment at the expected position
    RX_GAP = 4          // the fragment at the expected position counts as lost
};

class PFTLayer;

// The fixed way of receiving.  It follows an expected position (PSeq and Findex).  Fragments ahead of the position wait
// in order in a queue of 20 copies.  When three wait, the expected fragment counts as lost: a packet with parity is
// repaired without it; a packet without parity still waits for it.  When a fragment is more than ten away, when the
// layer below times out, or when a packet cannot be put together, the packet in hand and the queue are dropped, and
// reception goes on with the next fragment whose Findex is 0.  A packet of a protocol that is registered on the layer
// ("AF", sent without PFT) is passed up whole.
//
// A packet is lost when it has more than 80 fragments.  A packet with parity is also lost when more fragments are
// missing than its parity restores, or more than 20; when it is larger than PFT_TEMP_PACKET_SIZE with its parity; or
// when its fragments differ in Fcount, Plen, RSk or RSz.
//
// The position is kept in the layer's ciwPSeq, cidwFIDXIndex, cidwFCount and ciRxState.  Failed checks appear in the
// trace file as those of PFTLayer.
class ClassicReassembly : public Reassembly {
public:
    explicit ClassicReassembly(PFTLayer& aLayer);  // the layer owns this object

    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut) override;

private:
    enum class Outcome { GO_ON, TIMED_OUT, LOST };
    enum Step { FAILED, TIMED_OUT, FIRST, NOT_FIRST, STORED, EARLY, FAR };

    // What all fragments of a packet with parity have in common.  Without parity nothing is set.
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
    Step ReceiveFirst(uint32_t* apTimeOut);      // FAILED, TIMED_OUT, FIRST or NOT_FIRST
    Step ReceiveNext(uint32_t* apTimeOut);       // FAILED, TIMED_OUT, STORED, EARLY or FAR
    uint32_t ReceiveBelow(uint32_t* apTimeOut);  // the result of the layer below; its code becomes the layer's
    bool ParseFragment();
    bool CheckQueue();  // true when the expected fragment is taken from the queue
    void QueueFragment(PFTPacket* apFragment);
    bool IsFar(uint32_t aPSeq, uint32_t aFindex) const;  // true when it is far from the expected one
    void AdvancePosition();
    void LeaveGap();
    void DropPassedFragments();

    bool IsWholePacket() const;
    bool IsOnlyFragment() const;
    bool StoreFragment();
    bool AddSubPacket(const PFTPacket* apFragment);  // null for a lost one; true when all are there
    uint32_t AssembleSubPackets(Packet* apTemp, uint32_t* apMissing);
    void ResetSubPackets();
    uint32_t Deliver(Packet* apOut);
    bool JoinFragments();
    bool Restore(const uint32_t* apMissing, uint32_t aMissing);

    void ReportCompleted();
    void ReportLost();
    void ReportBeginningMissed();

    PFTLayer& cLayer;
    uint32_t cSubPacketCurrent = 0;  // number of entries filled, lost fragments included
    int32_t cSubPacketTotal = -1;    // Fcount of the packet in hand; -1 before its first fragment
    int32_t cSubPacketSize = -1;     // Plen of the first fragment of the packet in hand; -1 before it
    std::array<std::unique_ptr<PFTPacket>, PFT_MAX_SUB_PACKETS> cSubPacketList;  // in Findex order; null for a lost one
    char ciReassembledTag[3] = "";
    std::unique_ptr<PFTPacket> cpcFragment;
    PacketQueue cpcQueue{PFT_QUEUE_SIZE};
    Packet cpcTempPacket{PFT_TEMP_PACKET_SIZE};
    Packet cReassembled{0};  // views cpcTempPacket, or a packet that was received in one piece
    FECProcessor cpcFEC;

    Format cFormat;             // format of the fragment that was stored last
    bool cPartsAgree = true;    // all fragments of the packet in hand have one format
    uint16_t cPSeq = 0;         // PSeq of the packet in hand
    uint32_t cPassed = 0;       // number of fragments that DropPassedFragments dropped since one was stored
    uint32_t cEpoch = 0x10000;  // added to PSeq in the queue and raised when ciwPSeq wraps, to keep the queue's order

    bool cHasDelivered = false;
    uint16_t cNextPSeq = 0;             // PSeq that follows the packet delivered last
    std::optional<uint16_t> cLostPSeq;  // PSeq of the packet reported as lost last
    uint32_t cKnownLost = 0;            // number of packets reported as lost since the last delivery
};
