#include "Networking/PacketFifo.h"

#include <atomic>
#include <cstdio>

#include "Networking/NamedPacket.h"
#include "platform/Console.h"
#include "platform/Thread.h"
#include "runtime/Trace.h"

namespace {

std::atomic<uint32_t> sFifoCount = 0;

void CheckStatus(rtems_status_code liStatusCode) {
    CHECK_INVARIANT(liStatusCode == RTEMS_SUCCESSFUL);
}

}  // namespace

// Locks the list for a scope.  The task cannot be stopped meanwhile, because the other thread would wait for it.
class PacketFifo::Access {
public:
    explicit Access(PacketFifo& aFifo) : cFifo(aFifo) { CheckStatus(cFifo.ciAccessSemaphore->obtain(RTEMS_WAIT)); }
    ~Access() { CheckStatus(cFifo.ciAccessSemaphore->release()); }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

private:
    platform::StopGuard cGuard;
    PacketFifo& cFifo;
};

PacketFifo::PacketFifo(uint32_t aCapacity) : cCapacity(aCapacity) {
    const uint32_t lNumber = sFifoCount++;
    char lName[16] = "PFI0";
    lName[3] = static_cast<char>('0' + static_cast<int>(lNumber));
    ciSemaphore = std::make_unique<rtemsSemaphore>(lName, 0, 0, 0, 0, 0, 0, 0);
    CHECK_INVARIANT_AS(ciSemaphore != nullptr, "ciSemaphore!=0");
    CHECK_INVARIANT(ciSemaphore->successful());
    std::snprintf(lName, sizeof lName, "ASE%d", static_cast<int>(lNumber));
    ciAccessSemaphore = std::make_unique<rtemsSemaphore>(lName, 0, 1, 0, RTEMS_BINARY_SEMAPHORE, 0, 0, 0);
    CHECK_INVARIANT_AS(ciAccessSemaphore != nullptr, "ciAccessSemaphore!=0");
    CHECK_INVARIANT(ciAccessSemaphore->successful());
}

// The guard is there because a task that is ended in here would leak the copy or leave a packet uncounted in the list.
uint32_t PacketFifo::Put(const Packet* apPacket) {
    const platform::StopGuard lGuard;
    auto lCopy = std::make_unique<NamedPacket>(*apPacket, apPacket->cProtocol, apPacket->cPayloadProtocol);
    {
        const Access lAccess(*this);
        if (cCapacity != 0 && cList.size() >= cCapacity)
            return 0;
        cList.push_back(std::move(lCopy));
    }
    CheckStatus(ciSemaphore->release());
    return 1;
}

uint32_t PacketFifo::Get(Packet** appOut, uint32_t aTimeOut) {
    if (!WaitForPacket(aTimeOut))
        return 2;
    *appOut = TakeFirst().release();
    return 1;
}

uint32_t PacketFifo::Get(std::unique_ptr<Packet>* apOut, uint32_t aTimeOut) {
    if (!WaitForPacket(aTimeOut))
        return 2;
    const platform::StopGuard lGuard;
    *apOut = TakeFirst();
    return 1;
}

bool PacketFifo::WaitForPacket(uint32_t aTimeOut) {
    const rtems_status_code lStatus = aTimeOut == FIFO_NO_WAIT ? ciSemaphore->obtain(RTEMS_NO_WAIT)
                                                               : ciSemaphore->obtain(RTEMS_WAIT, aTimeOut * 1000);
    if (lStatus == RTEMS_TIMEOUT) {
        platform::Print("TIME_OUT on ciSemaphore->obtain\n");
        return false;
    }
    CheckStatus(lStatus);
    return true;
}

std::unique_ptr<Packet> PacketFifo::TakeFirst() {
    const Access lAccess(*this);
    if (cList.empty())
        return nullptr;
    std::unique_ptr<Packet> lFirst = std::move(cList.front());
    cList.pop_front();
    return lFirst;
}

uint32_t PacketFifo::GetCount() {
    const Access lAccess(*this);
    return static_cast<uint32_t>(cList.size());
}
