#include "Networking/PacketQueue.h"

#include <algorithm>
#include <utility>

#include "Networking/NamedPacket.h"

namespace {

constexpr uint32_t HALF_RANGE = 0x7FFF;

}  // namespace

PacketQueue::PacketQueue(uint32_t aCapacity) : cSlots(aCapacity) {
    cOrder.reserve(aCapacity);
}

bool PacketQueue::GoesBefore(const Slot& aNew, const Slot& aOld) {
    if (aOld.mSequence == aNew.mSequence)
        return aOld.mIndex >= aNew.mIndex;
    // An old number that is larger by more than half the range comes from before the wrap and stays in front.
    return aOld.mSequence > aNew.mSequence && aOld.mSequence - aNew.mSequence <= HALF_RANGE;
}

uint32_t PacketQueue::Insert(const Packet* apPacket, uint32_t aSequence, uint32_t aIndex, uint32_t aExtra) {
    const auto lFree = std::find_if(cSlots.begin(), cSlots.end(), [](const Slot& aSlot) { return !aSlot.mUsed; });
    if (lFree == cSlots.end()) {
        cError = QUEUE_FULL;
        return 0;
    }
    *lFree = {std::make_unique<NamedPacket>(*apPacket, apPacket->cPayloadProtocol, nullptr), aSequence, aIndex, aExtra,
              true};
    const auto lBehind =
        std::find_if(cOrder.begin(), cOrder.end(), [&](uint16_t aSlot) { return GoesBefore(*lFree, cSlots[aSlot]); });
    cOrder.insert(lBehind, static_cast<uint16_t>(lFree - cSlots.begin()));
    return 1;
}

uint32_t PacketQueue::GetFirst(Packet** appOut, uint32_t* apSequence, uint32_t* apIndex, uint32_t* apExtra) {
    if (cOrder.empty()) {
        cError = QUEUE_EMPTY;
        return 0;
    }
    Slot& lSlot = cSlots[cOrder.front()];
    cOrder.erase(cOrder.begin());
    lSlot.mUsed = false;
    *appOut = lSlot.mPacket.get();
    *apSequence = lSlot.mSequence;
    *apIndex = lSlot.mIndex;
    *apExtra = lSlot.mExtra;
    return 1;
}

void PacketQueue::Clear() {
    cOrder.clear();
    for (Slot& lSlot : cSlots)
        lSlot = Slot();
    cError = 0;
}

uint32_t PacketQueue::GetError() {
    return std::exchange(cError, 0);
}
