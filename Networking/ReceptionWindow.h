#pragma once

#include <array>
#include <cstdint>

#include "Networking/FECProcessor.h"
#include "Networking/Layer.h"
#include "Networking/PacketParts.h"

// What decides that the rest of a packet is lost.
constexpr uint32_t LIVE_PATIENCE = 4;              // datagrams of later packets
constexpr uint64_t LIVE_QUIET_TIME = 600'000;      // microseconds: a frame of 400 ms and the sender's spread of 200 ms
constexpr uint64_t LIVE_GIVE_UP_TIME = 2'000'000;  // microseconds

// A received fragment.  An AF packet that was sent without PFT counts as the only fragment of its packet, with its SEQ
// in mHeader.mPSeq.
struct ReceivedPart {
    bool mIsWholePacket = false;
    PFTHeader mHeader;
    const unsigned char* mPayload = nullptr;  // mHeader.mPlen bytes; not owned
};

// Puts the packets of one numbering into the order of their numbers (PSeq of fragments, SEQ of AF packets that were
// sent without PFT; 16 bits, circular).  It holds the packet that is to leave next and SIZE - 1 packets behind it. When
// a packet's turn comes it leaves as soon as it is whole, or when its rest counts as lost: then it is rebuilt from its
// parity or given up.
//
// The rest of a packet counts as lost when
// - LIVE_PATIENCE datagrams of later packets have come since the packet's last one,
// - none of the packet has come for LIVE_QUIET_TIME, and the parity suffices,
// - or the packet has held up later ones, or no datagram at all has come, for LIVE_GIVE_UP_TIME.
// So a loss adds at most 2 seconds of latency, or 0.6 when the parity suffices.  As long as only one of several
// fragments of a packet has come, it does not count as a later datagram, because it may be stray or forged.
//
// Memory: SIZE packets with two PacketParts each, below 7 MB.  Only one thread may use a window.  It reads no clock.
class ReceptionWindow {
public:
    static constexpr int32_t SIZE = 16;  // packets

    // Losses and completions are reported on behalf of aLayer.
    explicit ReceptionWindow(Layer& aLayer) : cLayer(aLayer) {}

    bool IsActive() const { return cActive; }
    void Stop();  // forgets everything, without a report

    // Begins a numbering at the number of aPart, which is to be put next.
    void Start(const ReceivedPart& aPart);

    // Returns how many packets lie between the next one to leave and that of aPart, 0 to SIZE - 1; NO_PLACE when it is
    // outside the window or aPart is not of the window's kind (fragment or whole packet).  A numbering that has just
    // begun is moved back a little for packets that were overtaken.
    int32_t PlaceOf(const ReceivedPart& aPart);
    static constexpr int32_t NO_PLACE = -1;

    // Stores a part at its place.  aNow is in microseconds, like all times of this class.
    PacketParts::Added Put(const ReceivedPart& aPart, int32_t aPlace, uint64_t aNow);

    // Writes the next packet that can leave to *apPacket, which has room for LIVE_MAX_PACKET_SIZE bytes; false when
    // there is none yet.  Time counts up to aQuietUntil, the last time at which no datagram was waiting to be read.
    // With aFlush nothing more is waited for.
    bool TakeNext(uint64_t aQuietUntil, bool aFlush, FECProcessor& aFEC, Packet* apPacket);

    // Whether aPart is all of the next packet to leave and sound, so that it may go up without a copy.  SkipNext is
    // then to be called in place of Put and TakeNext.
    bool IsNextAlone(const ReceivedPart& aPart, int32_t aPlace) const;
    void SkipNext();

    // Returns the time from which on TakeNext may have a packet although no datagram came; NEVER when there is none.
    uint64_t GetDeadline() const;
    static constexpr uint64_t NEVER = UINT64_MAX;

    uint32_t GetHeard() const { return cHeard; }          // packets of which something is here
    uint64_t GetDatagrams() const { return cDatagrams; }  // put since Start
    uint16_t GetNext() const { return cNext; }            // the number of the next packet to leave
    uint16_t GetHighest() const { return cHighest; }

private:
    struct Slot {
        // mParts[1] serves when fragments contradict those in mParts[0], so that neither a stray nor a damaged fragment
        // keeps a packet from coming out.  It holds fragments of another format; or a copy of mParts[0] with a later
        // fragment in the place of one that has the same index and other bytes.
        PacketParts mParts[2];
        bool mAreTwins = false;        // mParts[1] is such a copy
        bool mIsUnsound = false;       // all fragments are there, but they make no sound packet
        bool mWasTooLittle = false;    // the parity did not suffice after LIVE_QUIET_TIME
        uint64_t mLastNews = 0;        // when the last datagram of the packet came
        uint32_t mUncounted = 0;       // datagrams of the packet that earlier packets have not counted as later ones
        bool mHasLater = false;        // later datagrams have been counted
        uint64_t mFirstLater = 0;      // when the first of them was counted
        uint32_t mLaterDatagrams = 0;  // how many were counted since mLastNews

        bool IsHeard() const { return !mParts[0].IsEmpty() || !mParts[1].IsEmpty(); }
        const PacketParts& GetMost() const;  // of both, the one that lacks the fewest fragments
        PacketParts::Added Add(const ReceivedPart& aPart);
        PacketParts::Added AddToOtherFormat(const ReceivedPart& aPart);
        void Clear();
    };

    Slot& At(int32_t aPlace) { return cSlots[(cFirst + static_cast<uint32_t>(aPlace)) % SIZE]; }
    const Slot& At(int32_t aPlace) const { return cSlots[(cFirst + static_cast<uint32_t>(aPlace)) % SIZE]; }
    void CountAgainstEarlier(const ReceivedPart& aPart, int32_t aPlace, uint64_t aNow);
    uint64_t DeadlineOf(const Slot& aSlot) const;
    static bool Join(const Slot& aSlot, FECProcessor& aFEC, Packet* apPacket);

    Layer& cLayer;
    bool cActive = false;
    bool cFresh = false;  // no packet has left yet
    bool cIsWholePackets = false;
    uint16_t cNext = 0;
    uint16_t cHighest = 0;
    uint32_t cHeard = 0;
    uint64_t cDatagrams = 0;
    uint64_t cLastNews = 0;
    uint32_t cFirst = 0;  // the slot of the next packet
    std::array<Slot, SIZE> cSlots;
};
