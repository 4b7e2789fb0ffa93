#pragma once

#include <cstdint>
#include <deque>
#include <memory>

#include "Networking/Packet.h"
#include "runtime/rtemsSemaphore.h"

constexpr uint32_t FIFO_NO_WAIT = 0xFFFFFFFF;  // in fact a wait without limit, as 0 is

// A bounded first-in first-out list of packet copies between an endpoint's task and the application.  Put and Get may
// run on different threads.  Whoever is suspended or ended in here holds nothing that the other side waits for.
class PacketFifo {
public:
    // 0: no limit but that of the counting semaphore: packets beyond the 1000th are not counted.
    explicit PacketFifo(uint32_t aCapacity);
    PacketFifo(const PacketFifo&) = delete;
    PacketFifo& operator=(const PacketFifo&) = delete;

    // Queues a copy of the bytes and of both protocol names; 0 with nothing queued when the fifo is full.
    uint32_t Put(const Packet* apPacket);

    // Waits at most aTimeOut milliseconds (0 and FIFO_NO_WAIT: without limit; up to 4,294,967) for a packet.  1 with
    // the oldest one in *appOut, which the caller owns now: deleting it frees its names too.  Null there after a fault
    // of the semaphore. 2 on time-out, with a line on the console.
    uint32_t Get(Packet** appOut, uint32_t aTimeOut);
    // The same into an owner, which stands for null while nothing is there; for a task that may be ended at any moment.
    uint32_t Get(std::unique_ptr<Packet>* apOut, uint32_t aTimeOut);

    uint32_t GetCount();
    bool IsEmpty() { return GetCount() == 0; }
    bool IsFull() { return cCapacity != 0 && GetCount() >= cCapacity; }

    std::unique_ptr<rtemsSemaphore> ciSemaphore;        // counts the packets
    std::unique_ptr<rtemsSemaphore> ciAccessSemaphore;  // guards the list; taken after ciSemaphore

private:
    class Access;

    bool WaitForPacket(uint32_t aTimeOut);
    std::unique_ptr<Packet> TakeFirst();

    const uint32_t cCapacity;
    std::deque<std::unique_ptr<Packet>> cList;
};
