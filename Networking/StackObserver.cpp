#include "Networking/StackObserver.h"

#include "platform/Thread.h"

void StackReporter::Report(StackEvent aEvent, uint64_t aCount, uint32_t aNumber) {
    switch (aEvent) {
        case StackEvent::UNIT_FILED:
        case StackEvent::UNIT_OVERFLOWED:
            ++cUsefulUnits;
            break;
        case StackEvent::FRAGMENT_DAMAGED:
        case StackEvent::PACKET_DAMAGED:
        case StackEvent::PACKET_FOREIGN:
        case StackEvent::UNIT_DAMAGED:
        case StackEvent::UNIT_FOREIGN:
            ++cComplaints;
            break;
        default:
            break;
    }
    if (cpObserver == nullptr || aCount == 0)
        return;
    const platform::StopGuard lGuard;
    cpObserver->Observe({aEvent, aCount, aNumber, cInput});
}
