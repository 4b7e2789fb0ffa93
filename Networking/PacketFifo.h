#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "Networking/Packet.h"
#include "runtime/rtemsSemaphore.h"

constexpr uint32_t FIFO_NO_WAIT = 0xFFFFFFFF;  // despite its name a wait without limit, as 0 is

// A bounded first-in first-out list of packet copies that passes packets between an endpoint's task and the
// application.  Put and Get may run on different threads.  A thread that is suspended or ended inside an operation
// holds nothing that the other thread waits for.
class PacketFifo {
public:
    // aCapacity is in packets; 0 sets no limit, but the semaphore counts at most 1000 packets, and Get finds no more.
    explicit PacketFifo(uint32_t aCapacity);
    PacketFifo(const PacketFifo&) = delete;
    PacketFifo& operator=(const PacketFifo&) = delete;

    // Queues a copy of the valid bytes and of both protocol names.  Returns 1; 0, with nothing queued, when the fifo is
    // full.
    uint32_t Put(const Packet* apPacket);

    // Waits at most aTimeOut milliseconds for a packet; 0 and FIFO_NO_WAIT mean without limit, others are at most
    // 4,294,967.  Returns 1 with the oldest packet in *appOut, or with null there after a fault of the semaphore; 2,
    // with a line on the console, when no packet came in time.  The caller owns the packet, which owns its names.
    uint32_t Get(Packet** appOut, uint32_t aTimeOut);
    // The same, but the packet has an owner, *apOut, before the task can be ended, so that no packet leaks.
    uint32_t Get(std::unique_ptr<Packet>* apOut, uint32_t aTimeOut);

    uint32_t GetCount();
    bool IsEmpty() { return GetCount() == 0; }
    bool IsFull() { return cCapacity != 0 && GetCount() >= cCapacity; }

    std::unique_ptr<rtemsSemaphore> ciSemaphore;        // counts the packets
    std::unique_ptr<rtemsSemaphore> ciAccessSemaphore;  // guards the list; never held while waiting for ciSemaphore

private:
    class Access;

    bool WaitForPacket(uint32_t aTimeOut);
    std::unique_ptr<Packet> TakeFirst();

    const uint32_t cCapacity;
    std::deque<std::unique_ptr<Packet>> cList;
};
