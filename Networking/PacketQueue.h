#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Networking/Packet.h"

// Holds up to a fixed number of packet copies, ordered by a sequence number and, within one number, by an index.  A new
// entry goes before those whose number is larger by at most 32767, so a 0 that follows the wrap of a 16-bit number
// stays behind 65535.  Of two entries with equal keys the newer comes out first.  Only one thread may use a queue.
class PacketQueue {
public:
    explicit PacketQueue(uint32_t aCapacity);
    PacketQueue(const PacketQueue&) = delete;
    PacketQueue& operator=(const PacketQueue&) = delete;
    virtual ~PacketQueue() = default;

    // Stores a copy of the packet's valid bytes whose cProtocol is the packet's cPayloadProtocol.  aExtra is a number
    // that GetFirst gives back.  Returns 1; 0 with QUEUE_FULL.
    uint32_t Insert(const Packet* apPacket, uint32_t aSequence, uint32_t aIndex, uint32_t aExtra);

    // Takes the first entry.  Returns 1; 0 with QUEUE_EMPTY.  The queue owns the packet and keeps it until the next
    // Insert or Clear.
    uint32_t GetFirst(Packet** appOut, uint32_t* apSequence, uint32_t* apIndex, uint32_t* apExtra);

    // Return a key of the first entry; 0 when there is none.
    uint32_t PeekSequence() const { return cOrder.empty() ? 0 : cSlots[cOrder.front()].mSequence; }
    uint32_t PeekIndex() const { return cOrder.empty() ? 0 : cSlots[cOrder.front()].mIndex; }

    bool IsEmpty() const { return cOrder.empty(); }
    uint32_t GetCount() const { return static_cast<uint32_t>(cOrder.size()); }
    void Clear();         // deletes all packets, also those that GetFirst handed out
    uint32_t GetError();  // returns the last code and clears it

    uint32_t cError = 0;

private:
    struct Slot {
        std::unique_ptr<Packet> mPacket;  // kept after GetFirst until the slot is used again
        uint32_t mSequence = 0;
        uint32_t mIndex = 0;
        uint32_t mExtra = 0;
        bool mUsed = false;
    };

    static bool GoesBefore(const Slot& aNew, const Slot& aOld);

    std::vector<Slot> cSlots;
    std::vector<uint16_t> cOrder;  // indexes of the used slots in the order of delivery
};
