#pragma once

#include <array>
#include <cstdint>

#include "Networking/FECProcessor.h"
#include "Networking/Layer.h"
#include "Networking/PacketParts.h"

// What decides that the rest of a packet is lost.
constexpr uint32_t LIVE_PATIENCE = 4;          // datagrams of later packets since the packet's last one
constexpr uint64_t LIVE_QUIET_TIME = 600'000;  // microseconds without news: a frame of 400 ms and the spread of 200 ms
constexpr uint64_t LIVE_GIVE_UP_TIME = 2'000'000;  // microseconds that a packet may hold up later ones

// A fragment, or an AF packet that came whole: then mHeader.mPSeq is its SEQ and it is its own only fragment.
struct ReceivedPart {
    bool mIsWholePacket = false;
    PFTHeader mHeader;
    const unsigned char* mPayload = nullptr;  // mHeader.mPlen bytes; not owned
};

// The packets of one numbering that are on their way: so many, in the order of their numbers (PSeq of fragments, SEQ of
// whole AF packets; 16 bits, circular).  A packet leaves at its turn: as soon as it is whole, or rebuilt from its
// parity once the rest counts as lost, or given up.
//
// The rest of a packet counts as lost when LIVE_PATIENCE datagrams of later packets have come since its last one, when
// a packet has been quiet for LIVE_QUIET_TIME and its parity suffices, or when a packet has held up later ones, or
// everything has been quiet, for LIVE_GIVE_UP_TIME.  So a loss adds at most 2 seconds of latency, with parity 0.6.
// A packet of which only one of several fragments has come is no sign of loss for the packets before it, so that stray
// and forged fragments take nothing from them.
//
// Memory is bounded by SIZE packets with two PacketParts each, below 8 MB.  One thread; reads no clock.
class ReceptionWindow {
public:
    static constexpr int32_t SIZE = 16;  // packets

    // Losses and completions are reported on behalf of aLayer.
    explicit ReceptionWindow(Layer& aLayer) : cLayer(aLayer) {}

    bool IsActive() const { return cActive; }
    void Stop();  // forgets everything, without a report

    // Begins a numbering at the number of aPart, which is to be put next.
    void Start(const ReceivedPart& aPart);

    // How far the packet of aPart is ahead of the next one to leave; a number outside 0 to SIZE - 1 when it has no
    // place in the window.  A numbering that has just begun moves back a little for packets that were overtaken.
    int32_t PlaceOf(const ReceivedPart& aPart);
    static constexpr int32_t NO_PLACE = -65536;  // of a part of the other kind

    // Stores a part at its place.
    PacketParts::Added Put(const ReceivedPart& aPart, int32_t aPlace, uint64_t aNow);

    // The next packet whose turn has come, into *apPacket (room for LIVE_MAX_PACKET_SIZE bytes); false when there is
    // none yet.  Gives up what counts as lost at aQuietUntil, the last time at which no datagram was waiting to be
    // read. With aFlush nothing more is waited for.
    bool TakeNext(uint64_t aQuietUntil, bool aFlush, FECProcessor& aFEC, Packet* apPacket);

    // Whether the next packet to leave is this one and needs nothing else: then it may go up without a copy.
    bool IsNextAlone(const ReceivedPart& aPart, int32_t aPlace) const;
    // Whether bytes are a sound AF packet: what is damaged holds no place that its sound double would need.
    static bool IsSound(const unsigned char* apBytes, size_t aSize);
    void SkipNext();  // it went up

    // When time alone will change something, in microseconds; NEVER when it will not.
    uint64_t GetDeadline() const;
    static constexpr uint64_t NEVER = UINT64_MAX;

    uint32_t GetHeard() const;                            // packets of which something is here
    uint64_t GetDatagrams() const { return cDatagrams; }  // put since Start
    uint16_t GetNext() const { return cNext; }            // the number of the next packet to leave
    uint16_t GetHighest() const { return cHighest; }

private:
    struct Slot {
        // The second holds what does not fit the first: fragments of another format, or the whole again with the later
        // one of two fragments that differ.  So neither a stray nor a damaged fragment keeps a packet from coming out.
        PacketParts mParts[2];
        bool mAreTwins = false;      // the second is of the first one's format
        bool mIsUnsound = false;     // whole, but no sound packet came of it
        bool mWasTooLittle = false;  // for the parity, when the packet had been quiet for LIVE_QUIET_TIME
        uint64_t mLastNews = 0;
        uint32_t mUncounted = 0;       // datagrams that are no sign of loss for earlier packets yet
        uint64_t mFirstLater = 0;      // when a later packet became a sign of loss
        uint32_t mLaterDatagrams = 0;  // since the last news
        bool mHasLater = false;

        bool IsHeard() const { return !mParts[0].IsEmpty() || !mParts[1].IsEmpty(); }
        const PacketParts& GetMost() const;
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
    uint64_t cDatagrams = 0;
    uint64_t cLastNews = 0;
    uint32_t cFirst = 0;  // the slot of the next packet
    std::array<Slot, SIZE> cSlots;
};
