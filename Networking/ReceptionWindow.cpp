#include "Networking/ReceptionWindow.h"

#include <algorithm>

#include "Networking/AFFormat.h"
#include "Networking/PFTPacket.h"

namespace {

constexpr int32_t MOST_OVERTAKEN = 3;  // packets before the first one that was heard

// What is damaged must not take the place of a sound double that may come yet.
bool IsSound(const unsigned char* apBytes, size_t aSize) {
    AFHeader lHeader;
    return ParseAFPacket(apBytes, aSize, AF_MAJOR_VERSION, PFTPacket::SharedEngine(), &lHeader) == AFCheck::VALID;
}

}  // namespace

const PacketParts& ReceptionWindow::Slot::GetMost() const {
    for (const PacketParts& lParts : mParts)
        if (lParts.IsWhole())
            return lParts;
    return mParts[1].IsEmpty() || mParts[0].GetMissing() <= mParts[1].GetMissing() ? mParts[0] : mParts[1];
}

PacketParts::Added ReceptionWindow::Slot::Add(const ReceivedPart& aPart) {
    auto& [lFirst, lSecond] = mParts;
    mIsUnsound = false;
    const PacketParts::Added lAdded = lFirst.Add(aPart.mHeader, aPart.mPayload);
    if (lAdded == PacketParts::Added::REFUSED)
        return mAreTwins ? lAdded : AddToOtherFormat(aPart);
    if (lAdded == PacketParts::Added::NEW && !lSecond.IsEmpty())
        lSecond.Add(aPart.mHeader, aPart.mPayload);  // a short last fragment can fit both
    if (lAdded == PacketParts::Added::DOUBLE && lFirst.Differs(aPart.mHeader, aPart.mPayload)) {
        if (lSecond.IsEmpty()) {
            lSecond = lFirst;
            mAreTwins = true;
        }
        if (mAreTwins)
            lSecond.Replace(aPart.mHeader, aPart.mPayload);
        else
            lSecond.Add(aPart.mHeader, aPart.mPayload);
    }
    return lAdded;
}

// Of three formats the one with the fewest fragments is dropped.
PacketParts::Added ReceptionWindow::Slot::AddToOtherFormat(const ReceivedPart& aPart) {
    auto& [lFirst, lSecond] = mParts;
    const PacketParts::Added lAdded = lSecond.Add(aPart.mHeader, aPart.mPayload);
    if (lAdded != PacketParts::Added::REFUSED || lSecond.IsEmpty())
        return lAdded;
    PacketParts& lFewer = lSecond.GetCount() <= lFirst.GetCount() ? lSecond : lFirst;
    lFewer.Clear();
    return lFewer.Add(aPart.mHeader, aPart.mPayload);
}

void ReceptionWindow::Slot::Clear() {
    for (PacketParts& lParts : mParts)
        lParts.Clear();
    mAreTwins = false;
    mIsUnsound = false;
    mWasTooLittle = false;
    mUncounted = 0;
    mLaterDatagrams = 0;
    mHasLater = false;
}

void ReceptionWindow::Stop() {
    for (Slot& lSlot : cSlots)
        lSlot.Clear();
    cActive = false;
    cHeard = 0;
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
        return lPlace >= 0 && lPlace < SIZE ? lPlace : NO_PLACE;
    cNext = aPart.mHeader.mPSeq;
    cFirst = (cFirst + static_cast<uint32_t>(SIZE + lPlace)) % SIZE;
    return 0;
}

PacketParts::Added ReceptionWindow::Put(const ReceivedPart& aPart, int32_t aPlace, uint64_t aNow) {
    Slot& lSlot = At(aPlace);
    const bool lWasHeard = lSlot.IsHeard();
    const PacketParts::Added lAdded = lSlot.Add(aPart);
    if (lAdded != PacketParts::Added::NEW)
        return lAdded;
    cHeard += lWasHeard ? 0 : 1;
    ++cDatagrams;
    ++lSlot.mUncounted;
    lSlot.mLastNews = aNow;
    lSlot.mLaterDatagrams = 0;
    lSlot.mWasTooLittle = false;
    cLastNews = aNow;
    cHighest = static_cast<int16_t>(aPart.mHeader.mPSeq - cHighest) > 0 ? aPart.mHeader.mPSeq : cHighest;
    CountAgainstEarlier(aPart, aPlace, aNow);
    return lAdded;
}

void ReceptionWindow::CountAgainstEarlier(const ReceivedPart& aPart, int32_t aPlace, uint64_t aNow) {
    Slot& lSlot = At(aPlace);
    const bool lIsSoundAlone = aPart.mHeader.mFcount == 1 && (aPart.mIsWholePacket || aPart.mHeader.mFEC ||
                                                              IsSound(aPart.mPayload, aPart.mHeader.mPlen));
    if (aPlace == 0 || (!lIsSoundAlone && lSlot.GetMost().GetCount() < 2))
        return;
    for (int32_t lEarlier = 0; lEarlier < aPlace; ++lEarlier) {
        Slot& lWaiting = At(lEarlier);
        lWaiting.mFirstLater = lWaiting.mHasLater ? lWaiting.mFirstLater : aNow;
        lWaiting.mHasLater = true;
        lWaiting.mLaterDatagrams += lSlot.mUncounted;
    }
    lSlot.mUncounted = 0;
}

bool ReceptionWindow::IsNextAlone(const ReceivedPart& aPart, int32_t aPlace) const {
    return aPlace == 0 && aPart.mHeader.mFcount == 1 && !aPart.mHeader.mFEC && !At(0).IsHeard() &&
           (aPart.mIsWholePacket || IsSound(aPart.mPayload, aPart.mHeader.mPlen));
}

void ReceptionWindow::SkipNext() {
    cHeard -= At(0).IsHeard() ? 1 : 0;
    At(0).Clear();
    cFirst = (cFirst + 1) % SIZE;
    if (cHighest == cNext)
        ++cHighest;
    ++cNext;
    cFresh = false;
}

uint64_t ReceptionWindow::DeadlineOf(const Slot& aSlot) const {
    uint64_t lDeadline = GetHeard() > 0 ? cLastNews + LIVE_GIVE_UP_TIME : NEVER;
    if (aSlot.mHasLater)
        lDeadline = std::min(lDeadline, aSlot.mFirstLater + LIVE_GIVE_UP_TIME);
    if (aSlot.GetMost().HasParity() && !aSlot.mWasTooLittle)
        lDeadline = std::min(lDeadline, aSlot.mLastNews + LIVE_QUIET_TIME);
    return lDeadline;
}

uint64_t ReceptionWindow::GetDeadline() const {
    return cActive ? DeadlineOf(At(0)) : NEVER;
}

bool ReceptionWindow::Join(const Slot& aSlot, FECProcessor& aFEC, Packet* apPacket) {
    const PacketParts& lMost = aSlot.GetMost();
    const PacketParts& lOther = &lMost == &aSlot.mParts[0] ? aSlot.mParts[1] : aSlot.mParts[0];
    return (lMost.Join(aFEC, apPacket) && IsSound(apPacket->cData, apPacket->GetSize())) ||
           (lOther.Join(aFEC, apPacket) && IsSound(apPacket->cData, apPacket->GetSize()));
}

bool ReceptionWindow::TakeNext(uint64_t aQuietUntil, bool aFlush, FECProcessor& aFEC, Packet* apPacket) {
    while (cActive) {
        Slot& lSlot = At(0);
        const bool lIsWhole = lSlot.GetMost().IsWhole() && !lSlot.mIsUnsound;
        const bool lRestIsLost = lSlot.mLaterDatagrams >= LIVE_PATIENCE || (aFlush && GetHeard() > 0);
        const bool lIsQuiet = aQuietUntil >= DeadlineOf(lSlot);
        if (!lIsWhole && !lRestIsLost && !lIsQuiet)
            return false;
        const bool lJoined = Join(lSlot, aFEC, apPacket);
        if (!lJoined && !lIsWhole && !lRestIsLost && lSlot.GetMost().HasParity() && !lSlot.mWasTooLittle) {
            lSlot.mWasTooLittle = true;  // the packet waits on for the rest
            continue;
        }
        if (lIsWhole && !lJoined) {
            cLayer.Report(StackEvent::PACKET_DAMAGED, 1, cNext);
            lSlot.mIsUnsound = true;  // a sound double may come yet
            continue;
        }
        cLayer.Report(StackEvent::FRAGMENTS_LOST, lSlot.GetMost().GetMissing(), cNext);
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
