#include "Networking/ReceptionWindow.h"

#include <algorithm>

namespace {

constexpr int32_t MOST_OVERTAKEN = 3;  // packets before the first one that was heard

}  // namespace

const PacketParts& ReceptionWindow::Slot::GetMost() const {
    for (const PacketParts& lParts : mParts)
        if (lParts.IsWhole())
            return lParts;
    return mParts[1].IsEmpty() || mParts[0].GetMissing() <= mParts[1].GetMissing() ? mParts[0] : mParts[1];
}

void ReceptionWindow::Slot::Clear() {
    for (PacketParts& lParts : mParts)
        lParts.Clear();
    mLaterDatagrams = 0;
    mHasLater = false;
}

void ReceptionWindow::Stop() {
    for (Slot& lSlot : cSlots)
        lSlot.Clear();
    cActive = false;
    cDatagrams = 0;
}

void ReceptionWindow::Start(const ReceivedPart& aPart) {
    Stop();
    cActive = true;
    cFresh = true;
    cIsWholePackets = aPart.mIsWholePacket;
    cNext = aPart.mHeader.mPSeq;
    cHighest = cNext;
}

int32_t ReceptionWindow::PlaceOf(const ReceivedPart& aPart) {
    if (!cActive || aPart.mIsWholePacket != cIsWholePackets)
        return NO_PLACE;
    const int32_t lPlace = static_cast<int16_t>(aPart.mHeader.mPSeq - cNext);
    const int32_t lTop = static_cast<int16_t>(cHighest - cNext);
    if (!cFresh || lPlace >= 0 || lPlace < -MOST_OVERTAKEN || lTop - lPlace >= SIZE)
        return lPlace;
    cNext = aPart.mHeader.mPSeq;
    cFirst = (cFirst + static_cast<uint32_t>(SIZE + lPlace)) % SIZE;
    return 0;
}

PacketParts::Added ReceptionWindow::Put(const ReceivedPart& aPart, int32_t aPlace, uint64_t aNow) {
    Slot& lSlot = At(aPlace);
    PacketParts::Added lAdded = PacketParts::Added::REFUSED;
    for (PacketParts& lParts : lSlot.mParts) {
        lAdded = lParts.Add(aPart.mHeader, aPart.mPayload);
        if (lAdded != PacketParts::Added::REFUSED)
            break;
    }
    if (lAdded != PacketParts::Added::NEW)
        return lAdded;
    ++cDatagrams;
    lSlot.mLastNews = aNow;
    lSlot.mLaterDatagrams = 0;
    cHighest = static_cast<int16_t>(aPart.mHeader.mPSeq - cHighest) > 0 ? aPart.mHeader.mPSeq : cHighest;
    for (int32_t lEarlier = 0; lEarlier < aPlace; ++lEarlier) {
        Slot& lWaiting = At(lEarlier);
        lWaiting.mFirstLater = lWaiting.mHasLater ? lWaiting.mFirstLater : aNow;
        lWaiting.mHasLater = true;
        ++lWaiting.mLaterDatagrams;
    }
    return lAdded;
}

bool ReceptionWindow::IsNextAlone(const ReceivedPart& aPart, int32_t aPlace) const {
    return aPlace == 0 && aPart.mHeader.mFcount == 1 && !aPart.mHeader.mFEC && !At(0).IsHeard();
}

void ReceptionWindow::SkipNext() {
    At(0).Clear();
    cFirst = (cFirst + 1) % SIZE;
    if (cHighest == cNext)
        ++cHighest;
    ++cNext;
    cFresh = false;
}

uint64_t ReceptionWindow::DeadlineOf(const Slot& aSlot) const {
    uint64_t lDeadline = NEVER;
    if (aSlot.mHasLater)
        lDeadline = aSlot.mFirstLater + LIVE_GIVE_UP_TIME;
    if (aSlot.IsHeard())
        lDeadline =
            std::min(lDeadline, aSlot.mLastNews + (aSlot.GetMost().HasParity() ? LIVE_QUIET_TIME : LIVE_GIVE_UP_TIME));
    return lDeadline;
}

uint64_t ReceptionWindow::GetDeadline() const {
    return cActive ? DeadlineOf(At(0)) : NEVER;
}

uint32_t ReceptionWindow::GetHeard() const {
    return static_cast<uint32_t>(std::count_if(
        cSlots.begin(), cSlots.end(), [](const Slot& aSlot) { return aSlot.IsHeard(); }));
}

bool ReceptionWindow::Join(const Slot& aSlot, FECProcessor& aFEC, Packet* apPacket) const {
    const PacketParts& lMost = aSlot.GetMost();
    const PacketParts& lOther = &lMost == &aSlot.mParts[0] ? aSlot.mParts[1] : aSlot.mParts[0];
    return lMost.Join(aFEC, apPacket) || lOther.Join(aFEC, apPacket);
}

bool ReceptionWindow::TakeNext(uint64_t aNow, bool aFlush, FECProcessor& aFEC, Packet* apPacket) {
    while (cActive) {
        const Slot& lSlot = At(0);
        const bool lIsWhole = lSlot.GetMost().IsWhole();
        const bool lRestIsLost =
            lSlot.mLaterDatagrams >= LIVE_PATIENCE || aNow >= DeadlineOf(lSlot) || (aFlush && GetHeard() > 0);
        if (!lIsWhole && !lRestIsLost)
            return false;
        const uint32_t lMissing = lSlot.GetMost().GetMissing();
        const bool lJoined = Join(lSlot, aFEC, apPacket);
        cLayer.Report(StackEvent::FRAGMENTS_LOST, lMissing, cNext);
        if (lJoined) {
            cLayer.Report(StackEvent::PACKET_REBUILT, lIsWhole ? 0 : 1, cNext);
            cLayer.Report(StackEvent::PACKET_COMPLETED, 1, cNext);
        } else {
            cLayer.Report(StackEvent::PACKETS_LOST, 1, cNext);
        }
        SkipNext();
        if (lJoined)
            return true;
    }
    return false;
}
