#include "Networking/ClassicReassembly.h"

#include <algorithm>
#include <vector>

#include "Networking/PFTLayer.h"
#include "platform/Console.h"
#include "runtime/Trace.h"

namespace {

// Failed checks appear in the trace file as those of PFTLayer, whatever class makes them.
void Check(bool aCondition, const char* apText, int aLine = __builtin_LINE()) {
    if (!aCondition)
        AssertFailed(apText, "Networking/PFTLayer.cpp", aLine);
}

}  // namespace

ClassicReassembly::ClassicReassembly(PFTLayer& aLayer) : cLayer(aLayer) {}

uint32_t ClassicReassembly::Receive(Packet* apOut, uint32_t* apTimeOut) {
    cpcFragment = std::make_unique<PFTPacket>(0);
    cpcFragment->cPayloadProtocol = ciReassembledTag;
    cpcTempPacket.Rewind();
    cpcTempPacket.SetSize(0);
    ResetSubPackets();

    Outcome lOutcome = Outcome::GO_ON;
    while (cLayer.ciRxState != RX_COMPLETE && lOutcome == Outcome::GO_ON) {
        switch (cLayer.ciRxState) {
            case RX_WAIT_FIRST:
                lOutcome = WaitFirst(apTimeOut);
                break;
            case RX_WAIT_NEXT:
                lOutcome = WaitNext(apTimeOut);
                break;
            case RX_GAP:
                LeaveGap();
                break;
            default:
                Check(cLayer.ciRxState == RX_RESET, "0");
                cpcQueue.Clear();
                cPassed = 0;
                ResetSubPackets();  // a packet of which only gaps came may have left entries
                cLayer.ciRxState = RX_WAIT_FIRST;
                break;
        }
    }
    if (lOutcome == Outcome::GO_ON)
        return Deliver(apOut);
    if (cSubPacketCurrent > 0)
        ReportLost();
    cLayer.ciRxState = RX_RESET;
    return lOutcome == Outcome::TIMED_OUT ? 2 : 0;
}

ClassicReassembly::Outcome ClassicReassembly::WaitFirst(uint32_t* apTimeOut) {
    switch (ReceiveFirst(apTimeOut)) {
        case FIRST:
            cLayer.ciRxState = StoreFragment() ? RX_COMPLETE : RX_WAIT_NEXT;
            break;
        case NOT_FIRST:
            break;
        case FAILED:
            Check(false, "0");
            break;
        default:  // TIMED_OUT
            return cLayer.ciLowerLayer->ciAtEnd ? Outcome::TIMED_OUT : Outcome::GO_ON;
    }
    return Outcome::GO_ON;
}

ClassicReassembly::Outcome ClassicReassembly::WaitNext(uint32_t* apTimeOut) {
    switch (ReceiveNext(apTimeOut)) {
        case STORED:
            cPassed = 0;
            if (StoreFragment())
                cLayer.ciRxState = RX_COMPLETE;
            else if (cLayer.cidwFIDXIndex == 0)
                return Outcome::LOST;  // the packet's end has passed, so it never gets complete
            break;
        case EARLY:
            QueueFragment(cpcFragment.get());
            if (cpcQueue.GetCount() + cPassed >= PFT_QUEUE_PATIENCE)
                cLayer.ciRxState = RX_GAP;
            break;
        case FAILED:
            Check(false, "0");
            break;
        case TIMED_OUT:
            return Outcome::TIMED_OUT;
        default:  // FAR
            return Outcome::LOST;
    }
    return Outcome::GO_ON;
}

// The expected fragment counts as lost.  With parity it leaves a gap to be repaired; without parity it is waited for.
void ClassicReassembly::LeaveGap() {
    if (cpcFragment->GetFEC()) {
        AddSubPacket(nullptr);
        if (cLayer.cidwFCount == PFT_UNKNOWN_COUNT) {
            Check(cLayer.cidwFIDXIndex == 0, "cidwFIDXIndex==0");
            ++cLayer.cidwFIDXIndex;
        } else {
            AdvancePosition();
        }
    }
    if (cLayer.cidwFIDXIndex != 0)
        cLayer.ciRxState = RX_WAIT_NEXT;
    else
        cLayer.ciRxState = cSubPacketTotal > 0 && cSubPacketSize > 0 ? RX_COMPLETE : RX_RESET;
}

uint32_t ClassicReassembly::ReceiveBelow(uint32_t* apTimeOut) {
    const uint32_t lResult = cLayer.ciLowerLayer->Receive(cpcFragment.get(), apTimeOut, 0);
    if (lResult == 0)
        cLayer.ciError = cLayer.ciLowerLayer->GetError();
    return lResult;
}

bool ClassicReassembly::ParseFragment() {
    if (cpcFragment->Parse() == 1)
        return true;
    cLayer.Report(StackEvent::FRAGMENT_DAMAGED);
    return false;
}

ClassicReassembly::Step ClassicReassembly::ReceiveFirst(uint32_t* apTimeOut) {
    const uint32_t lResult = ReceiveBelow(apTimeOut);
    if (lResult != 1)
        return lResult == 2 ? TIMED_OUT : FAILED;
    if (IsWholePacket())
        return FIRST;
    if (!ParseFragment())
        return FAILED;
    if (cpcFragment->GetFindex() != 0) {
        ReportBeginningMissed();
        return NOT_FIRST;
    }
    cLayer.ciwPSeq = cpcFragment->GetPSeq();
    cLayer.cidwFCount = cpcFragment->GetFcount();
    cLayer.cidwFIDXIndex = 0;
    AdvancePosition();
    return FIRST;
}

ClassicReassembly::Step ClassicReassembly::ReceiveNext(uint32_t* apTimeOut) {
    if (CheckQueue())
        return STORED;
    const uint32_t lResult = ReceiveBelow(apTimeOut);
    if (lResult != 1)
        return lResult == 2 ? TIMED_OUT : FAILED;
    if (IsWholePacket()) {
        // The packet in hand is given up, because the whole packet ends it.
        if (cSubPacketCurrent > 0)
            ReportLost();
        ResetSubPackets();
        cLayer.cidwFIDXIndex = 0;
        return STORED;
    }
    if (!ParseFragment())
        return FAILED;
    if (cpcFragment->GetFindex() == cLayer.cidwFIDXIndex && cpcFragment->GetPSeq() == cLayer.ciwPSeq) {
        cLayer.cidwFCount = cpcFragment->GetFcount();
        AdvancePosition();
        return STORED;
    }
    return IsFar(cpcFragment->GetPSeq(), cpcFragment->GetFindex()) ? FAR : EARLY;
}

// Takes the fragment at the expected position from the front of the queue.  A far fragment there is dropped.
bool ClassicReassembly::CheckQueue() {
    DropPassedFragments();
    if (cpcQueue.IsEmpty())
        return false;
    const auto lPSeq = static_cast<uint16_t>(cpcQueue.PeekSequence());
    const uint32_t lFindex = cpcQueue.PeekIndex();
    const bool lExpected = lPSeq == cLayer.ciwPSeq && lFindex == cLayer.cidwFIDXIndex;
    if (!lExpected && !IsFar(lPSeq, lFindex))
        return false;
    Packet* lpStored = nullptr;
    uint32_t lSequence = 0;
    uint32_t lIndex = 0;
    uint32_t lFcount = 0;
    cpcQueue.GetFirst(&lpStored, &lSequence, &lIndex, &lFcount);
    if (!lExpected)
        return false;
    cLayer.cidwFCount = lFcount;
    cpcFragment->Rewind();
    cpcFragment->SetSize(0);
    cpcFragment->Share(lpStored);
    cpcFragment->Parse();
    AdvancePosition();
    return true;
}

// Drops late and repeated fragments of packets that are over, because nothing would ever take them and the fragments
// behind them would wait.  The dropped ones still count as waiting, because otherwise a numbering that begins anew a
// little behind the position would not be noticed.
void ClassicReassembly::DropPassedFragments() {
    while (!cpcQueue.IsEmpty() && static_cast<int16_t>(cpcQueue.PeekSequence() - cLayer.ciwPSeq) < 0) {
        Packet* lpStored = nullptr;
        uint32_t lSequence = 0;
        uint32_t lIgnored = 0;
        cpcQueue.GetFirst(&lpStored, &lSequence, &lIgnored, &lIgnored);
        cLayer.Report(StackEvent::FRAGMENT_LATE, 1, lSequence & 0xFFFF);
        ++cPassed;
    }
}

void ClassicReassembly::QueueFragment(PFTPacket* apFragment) {
    apFragment->Rewind();
    const auto lAhead = static_cast<int16_t>(apFragment->GetPSeq() - cLayer.ciwPSeq);
    const uint32_t lSequence = cEpoch + cLayer.ciwPSeq + static_cast<uint32_t>(lAhead);
    const bool lStored = cpcQueue.Insert(apFragment, lSequence, apFragment->GetFindex(), apFragment->GetFcount()) == 1;
    Check(lStored, "res==SUCCESSFUL");
}

// The distance is counted in fragments, as if every packet in between had cidwFCount of them.  It wraps in 32 bits, so
// a fragment of the expected packet that is behind the position is far.
bool ClassicReassembly::IsFar(uint32_t aPSeq, uint32_t aFindex) const {
    const auto lAhead = static_cast<uint16_t>(aPSeq - cLayer.ciwPSeq);
    const auto lBehind = static_cast<uint16_t>(cLayer.ciwPSeq - aPSeq);
    const uint32_t lFindex = cLayer.cidwFIDXIndex;
    if (lAhead == 0)
        return aFindex - lFindex > PFT_MAX_DISTANCE;
    if (lAhead < 0x8000)
        return cLayer.cidwFCount * lAhead - lFindex + aFindex > PFT_MAX_DISTANCE;
    return cLayer.cidwFCount * lBehind + lFindex - aFindex > PFT_MAX_DISTANCE;
}

void ClassicReassembly::AdvancePosition() {
    cLayer.cidwFIDXIndex = (cLayer.cidwFIDXIndex + 1) % cLayer.cidwFCount;
    if (cLayer.cidwFIDXIndex == 0 && ++cLayer.ciwPSeq == 0)
        cEpoch += 0x10000;
}

bool ClassicReassembly::IsWholePacket() const {
    return cLayer.IsThisTagRegistered(cpcFragment->cProtocol);
}

// Returns whether the packet has one fragment and no parity, so that it is that fragment's payload.
bool ClassicReassembly::IsOnlyFragment() const {
    return cSubPacketTotal == 1 && !cFormat.mFEC;
}

// Puts the fragment or whole packet in hand into the list.  Returns whether the packet is complete now.
bool ClassicReassembly::StoreFragment() {
    Format lFormat;
    lFormat.mFEC = !IsWholePacket() && cpcFragment->GetFEC();
    if (lFormat.mFEC) {
        lFormat.mFcount = cpcFragment->GetFcount();
        lFormat.mPlen = cpcFragment->cPayloadSize;
        lFormat.mRSk = cpcFragment->GetRSk();
        lFormat.mRSz = cpcFragment->GetRSz();
    }
    const bool lIsFirst = cSubPacketTotal == -1;
    cPartsAgree = lIsFirst || (cPartsAgree && lFormat == cFormat);
    cFormat = lFormat;
    if (!IsWholePacket())
        cPSeq = cpcFragment->GetPSeq();
    return AddSubPacket(cpcFragment.get());
}

// A whole packet and the only fragment of a packet are not copied but stay where they were received.
bool ClassicReassembly::AddSubPacket(const PFTPacket* apFragment) {
    if (cSubPacketCurrent >= PFT_MAX_SUB_PACKETS)
        return false;
    if (apFragment != nullptr && IsWholePacket()) {
        cSubPacketTotal = 1;
        return true;
    }
    if (apFragment != nullptr) {
        if (cSubPacketTotal == -1) {
            cSubPacketTotal = static_cast<int32_t>(apFragment->GetFcount());
            if (cSubPacketTotal <= 0)
                platform::Print("508:cSubPacketTotal<=0");
        }
        if (cSubPacketSize == -1) {
            cSubPacketSize = static_cast<int32_t>(apFragment->cPayloadSize);
            Check(cSubPacketSize > 0, "cSubPacketSize>0");
        }
        if (!IsOnlyFragment()) {
            auto lCopy = std::make_unique<PFTPacket>(apFragment->GetSize());
            lCopy->SetSize(0);
            lCopy->Write(apFragment->GetSize(), apFragment->cData);
            Check(lCopy->Parse() == 1, "cSubPacketList[cSubPacketCurrent]->Parse()==SUCCESSFUL");
            cSubPacketList[cSubPacketCurrent] = std::move(lCopy);
        }
    }
    ++cSubPacketCurrent;
    if (static_cast<int64_t>(cSubPacketCurrent) != cSubPacketTotal)
        return false;
    Check(cSubPacketTotal > 0, "cSubPacketTotal>0");
    return true;
}

uint32_t ClassicReassembly::Deliver(Packet* apOut) {
    if (IsWholePacket()) {
        cReassembled.Share(cpcFragment.get());
        cReassembled.cProtocol = ciReassembledTag;
    } else if (IsOnlyFragment()) {
        cReassembled.SharePayload(cpcFragment.get());
        Check(cReassembled.GetSize() != 0, "cpcTempPacket->GetSize()!=0");
    } else if (!JoinFragments()) {
        ReportLost();
        cLayer.ciRxState = RX_RESET;
        return 0;
    }
    ReportCompleted();
    Layer::SetTag(ciReassembledTag, cReassembled);
    apOut->Share(&cReassembled);
    cLayer.ciRxState = RX_WAIT_NEXT;
    return 1;
}

// Puts the packet together from its fragments.  Returns false when that cannot be done.
bool ClassicReassembly::JoinFragments() {
    uint32_t lMissingIndexes[PFT_MAX_MISSING];
    const uint32_t lMissing = AssembleSubPackets(&cpcTempPacket, lMissingIndexes);
    Check(cpcTempPacket.GetSize() != 0, "cpcTempPacket->GetSize()!=0");
    cLayer.Report(StackEvent::FRAGMENTS_LOST, lMissing, cPSeq);
    if (!Restore(lMissingIndexes, lMissing))
        return false;
    cLayer.Report(StackEvent::PACKET_REBUILT, lMissing > 0 ? 1 : 0, cPSeq);
    cReassembled.Share(&cpcTempPacket);
    cReassembled.cProtocol = ciReassembledTag;
    return true;
}

// Turns the joined payloads into the packet that was sent.  Returns false when that cannot be done.
bool ClassicReassembly::Restore(const uint32_t* apMissing, uint32_t aMissing) {
    if (!cPartsAgree)
        return false;
    if (!cFormat.mFEC)
        return aMissing == 0;
    const uint64_t lWholeSize = uint64_t{cFormat.mFcount} * cFormat.mPlen;
    if (aMissing > PFT_MAX_MISSING || cpcTempPacket.GetSize() != lWholeSize)
        return false;  // the payloads did not all fit into cpcTempPacket
    cpcFEC.ciRSk = cFormat.mRSk;
    cpcFEC.ciRSz = cFormat.mRSz;
    return cpcFEC.Correct(&cpcTempPacket, cFormat.mFcount, apMissing, aMissing);
}

// Joins the payloads in the list, with zeros in place of missing ones, and returns how many fragments are missing.
// Their indexes go to apMissing, PFT_MAX_MISSING at most.
uint32_t ClassicReassembly::AssembleSubPackets(Packet* apTemp, uint32_t* apMissing) {
    uint32_t lMissing = 0;
    if (cSubPacketTotal > 0 && cSubPacketSize > 0) {
        const std::vector<unsigned char> lFiller(static_cast<size_t>(cSubPacketSize));
        const auto lTotal = std::min(static_cast<uint32_t>(cSubPacketTotal), PFT_MAX_SUB_PACKETS);
        bool lFits = true;  // a packet that does not fit leaves one line in the trace file
        for (uint32_t lIndex = 0; lIndex < lTotal; ++lIndex) {
            const PFTPacket* const lpFragment = cSubPacketList[lIndex].get();
            if (lFits) {
                lFits = lpFragment != nullptr
                            ? apTemp->Write(lpFragment->cPayloadSize, lpFragment->cPayload) == 1
                            : apTemp->Write(static_cast<uint32_t>(lFiller.size()), lFiller.data()) == 1;
                Check(lFits, "0");
            }
            if (lpFragment == nullptr && lMissing++ < PFT_MAX_MISSING)
                apMissing[lMissing - 1] = lIndex;
        }
        lMissing += static_cast<uint32_t>(cSubPacketTotal) - lTotal;
    }
    ResetSubPackets();
    return lMissing;
}

void ClassicReassembly::ResetSubPackets() {
    for (auto& lEntry : cSubPacketList)
        lEntry = nullptr;
    cSubPacketCurrent = 0;
    cSubPacketTotal = -1;
    cSubPacketSize = -1;
}

void ClassicReassembly::ReportLost() {
    cLayer.Report(StackEvent::PACKETS_LOST, 1, cPSeq);
    ++cKnownLost;
    cLostPSeq = cPSeq;
}

// Reports a packet whose first fragment has not come as lost, once for all of its fragments.
void ClassicReassembly::ReportBeginningMissed() {
    cPSeq = cpcFragment->GetPSeq();
    if (cLostPSeq != cPSeq)
        ReportLost();
}

// Reports a packet, and before it the packets that a gap in the numbering shows to be lost and that have not been
// reported yet.
void ClassicReassembly::ReportCompleted() {
    if (IsWholePacket()) {
        cLayer.Report(StackEvent::PACKET_COMPLETED);
        return;
    }
    const uint32_t lGap = static_cast<uint16_t>(cPSeq - cNextPSeq);
    if (cHasDelivered && lGap > MAX_COUNTED_LOSS)
        cLayer.Report(StackEvent::NUMBERING_ANEW, 1, cPSeq);
    else if (cHasDelivered && lGap > cKnownLost)
        cLayer.Report(StackEvent::PACKETS_LOST, lGap - cKnownLost, cNextPSeq);
    cLayer.Report(StackEvent::PACKET_COMPLETED, 1, cPSeq);
    cHasDelivered = true;
    cNextPSeq = static_cast<uint16_t>(cPSeq + 1);
    cKnownLost = 0;
}
