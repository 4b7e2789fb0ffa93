#include "Networking/Receiver/StackMetrics.h"

void StackMetrics::Observe(const StackReport& aReport) {
    switch (aReport.mEvent) {
        case StackEvent::UNIT_SENT:
            cMetrics.UnitSent();
            break;
        case StackEvent::UNIT_REFUSED:
            cMetrics.UnitRefused(aReport.mNumber);
            break;
        case StackEvent::PACKET_DAMAGED:
        case StackEvent::UNIT_DAMAGED:
            cMetrics.UnitDropped(DropReason::DAMAGED);
            break;
        case StackEvent::UNIT_FOREIGN:
            cMetrics.UnitDropped(DropReason::FOREIGN);
            break;
        case StackEvent::UNIT_OVERFLOWED:
            cMetrics.UnitDropped(DropReason::RECEIVE_QUEUE);
            break;
        case StackEvent::PASS_ENDED:
            cMetrics.PassEnded();
            break;
        default:
            break;
    }
}
