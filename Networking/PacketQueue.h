#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Networking/Packet.h"

// A fixed number of packet copies in the order of a sequence number and, within one number, of an index.  A new number
// goes before a larger one that is at most 32767 larger, so before the wrap of a 16-bit number 65535 stays before 0. Of
// two entries with equal keys the newer comes out first.  One thread.
class PacketQueue {
public:
    explicit PacketQueue(uint32_t aCapacity);
    PacketQueue(const PacketQueue&) = delete;
    PacketQueue& operator=(const PacketQueue&) = delete;
    virtual ~PacketQueue() = default;

    // Stores a copy of the packet's bytes, named by its cPayloadProtocol.  1, or 0 with QUEUE_FULL.  aExtra is carried
    // along.
    uint32_t Insert(const Packet* apPacket, uint32_t aSequence, uint32_t aIndex, uint32_t aExtra);

    // Takes the first entry: 1, or 0 with QUEUE_EMPTY.  The queue keeps the packet alive until the next Insert or
    // Clear.
    uint32_t GetFirst(Packet** appOut, uint32_t* apSequence, uint32_t* apIndex, uint32_t* apExtra);

    // The keys of the first entry; 0 when there is none.
    uint32_t PeekSequence() const { return cOrder.empty() ? 0 : cSlots[cOrder.front()].mSequence; }
    uint32_t PeekIndex() const { return cOrder.empty() ? 0 : cSlots[cOrder.front()].mIndex; }

    bool IsEmpty() const { return cOrder.empty(); }
    uint32_t GetCount() const { return static_cast<uint32_t>(cOrder.size()); }
    void Clear();  // deletes the packets, those that GetFirst handed out included
    uint32_t GetError();

    uint32_t cError = 0;

private:
    struct Slot {
        std::unique_ptr<Packet> mPacket;  // stays after GetFirst until the slot is used again
        uint32_t mSequence = 0;
        uint32_t mIndex = 0;
        uint32_t mExtra = 0;
        bool mUsed = false;
    };

    static bool GoesBefore(const Slot& aNew, const Slot& aOld);

    std::vector<Slot> cSlots;
    std::vector<uint16_t> cOrder;  // the used slots, first to deliver first
};
