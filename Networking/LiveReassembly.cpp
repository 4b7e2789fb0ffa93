#include "Networking/LiveReassembly.h"

#include <algorithm>
#include <cstring>

#include "Networking/AFFormat.h"
#include "Networking/PFTLayer.h"

namespace {

constexpr uint32_t MOST_STRAYS = 2;  // so many in a row end the candidate

}  // namespace

LiveReassembly::LiveReassembly(PFTLayer& aLayer, bool aPacesItself)
    : cLayer(aLayer), cPacesItself(aPacesItself), cWindows{ReceptionWindow(aLayer), ReceptionWindow(aLayer)} {
    cJoined.cProtocol = cTag;
    cInput.cPayloadProtocol = cTag;
}

const InputPlace& LiveReassembly::Place() const {
    static const InputPlace NOWHERE;
    return cLayer.ciReporter != nullptr ? cLayer.ciReporter->cInput : NOWHERE;
}

// The time stamps of a capture may go back a little, but cTime never does.
uint64_t LiveReassembly::UpdateTime() {
    cTime = std::max(cTime, Place().mTime);
    return cTime;
}

uint32_t LiveReassembly::Receive(Packet* apOut, uint32_t* apTimeOut) {
    const uint64_t lLimit = uint64_t{1000} * *apTimeOut;
    uint64_t lStart = cTime;
    while (!TakeReady()) {
        if (cEnding != Ending::NONE) {
            FinishEnding();
            continue;
        }
        if (cHasPart) {
            if (TakePart())
                break;
            continue;
        }
        const uint32_t lResult = WaitBelow(lStart, apTimeOut);
        const uint64_t lNow = UpdateTime();
        lStart = lStart == 0 ? lNow : lStart;
        if (lResult == 0) {
            cLayer.ciError = cLayer.ciLowerLayer->GetError();
            return 0;
        }
        cQuietUntil = lResult == 2 ? lNow : cQuietUntil;
        if (lResult == 1) {
            TakeInput();
        } else if (cLayer.ciLowerLayer->ciAtEnd) {
            if (!cpCurrent->IsActive())
                return 2;
            EndNumbering();
        } else if (cPacesItself || lNow - lStart >= lLimit) {
            return 2;
        }
    }
    Layer::SetTag(cTag, cReassembled);
    cReassembled.cProtocol = cTag;
    apOut->Share(&cReassembled);
    return 1;
}

// Waits for the next datagram, at most until the deadline of a packet.
uint32_t LiveReassembly::WaitBelow(uint64_t aStart, uint32_t* apTimeOut) {
    if (cPacesItself)
        return cLayer.ciLowerLayer->Receive(&cInput, apTimeOut, 0);
    uint64_t lWait = *apTimeOut;
    if (lWait != 0 && cTime == 0) {
        lWait = 1;  // the first wait tells what time it is
    } else if (lWait != 0) {
        const uint64_t lPassed = (cTime - aStart) / 1000;
        lWait = lWait > lPassed ? lWait - lPassed : 1;
    }
    if (const uint64_t lDeadline = cpCurrent->GetDeadline(); lDeadline != ReceptionWindow::NEVER) {
        const uint64_t lUntil = lDeadline > cTime ? (lDeadline - cTime) / 1000 + 1 : 1;
        lWait = lWait == 0 ? lUntil : std::min(lWait, lUntil);
    }
    auto lTimeOut = static_cast<uint32_t>(lWait);
    return cLayer.ciLowerLayer->Receive(&cInput, &lTimeOut, 0);
}

// Puts the next packet that can leave the window into cReassembled.  Returns whether there is one.
bool LiveReassembly::TakeReady() {
    if (!cpCurrent->TakeNext(cQuietUntil, cEnding != Ending::NONE, cFEC, &cJoined))
        return false;
    cReassembled.Share(&cJoined);
    return true;
}

void LiveReassembly::TakeInput() {
    if (!ParseInput())
        return;
    const InputPlace& lPlace = Place();
    const SourceFilter::Verdict lVerdict = cSources.Judge(lPlace);
    if (lVerdict == SourceFilter::Verdict::FOREIGN) {
        cLayer.Report(StackEvent::SOURCE_FOREIGN);
        return;
    }
    cHasPart = true;
    const bool lIsNewPass = lPlace.mRecord != 0 && lPlace.mRecord <= cLastRecord;
    cLastRecord = lPlace.mRecord;
    if (lVerdict == SourceFilter::Verdict::TAKES_OVER)
        cLayer.Report(StackEvent::SOURCE_FOLLOWED);
    if (lIsNewPass || lVerdict == SourceFilter::Verdict::TAKES_OVER) {
        cpCandidate->Stop();
        cFingerprints.fill(0);
        cEnding = Ending::TO_NOTHING;
    }
}

bool LiveReassembly::ParseInput() {
    const size_t lSize = cInput.ValidBytes();
    if (cLayer.IsThisTagRegistered(cInput.cProtocol)) {
        AFHeader lHeader;
        if (ParseAFPacket(cInput.cData, lSize, AF_MAJOR_VERSION, cLayer.cpcCRC, &lHeader) != AFCheck::VALID) {
            cLayer.Report(StackEvent::PACKET_DAMAGED);
            return false;
        }
        cPart = {true, PFTHeader(), cInput.cData};
        cPart.mHeader.mPSeq = lHeader.mSequence;
        cPart.mHeader.mFcount = 1;
        cPart.mHeader.mPlen = AF_OVERHEAD + lHeader.mLength;
        return true;
    }
    PFTHeader lHeader;
    if (ParsePFTFragment(cInput.cData, lSize, *cLayer.cpcCRC, &lHeader) != PFTCheck::VALID) {
        cLayer.Report(StackEvent::FRAGMENT_DAMAGED);
        return false;
    }
    cPart = {false, lHeader, cInput.cData + lHeader.GetSize()};
    return true;
}

// Takes the part in hand.  Returns whether it is a whole packet whose turn it is, which then is in cReassembled.
bool LiveReassembly::TakePart() {
    cHasPart = false;
    if (!cpCurrent->IsActive())
        cpCurrent->Start(cPart);
    const int32_t lPlace = cpCurrent->PlaceOf(cPart);
    if (lPlace != ReceptionWindow::NO_PLACE && !ContinuesCandidate())
        return TakeInCurrent(lPlace);
    if (IsRemembered())
        ReportPart(StackEvent::FRAGMENT_DOUBLE, StackEvent::PACKET_DOUBLE);
    else
        PutAside();
    return false;
}

bool LiveReassembly::TakeInCurrent(int32_t aPlace) {
    const bool lAlone = cpCurrent->IsNextAlone(cPart, aPlace);
    if (!lAlone) {
        const PacketParts::Added lAdded = cpCurrent->Put(cPart, aPlace, cTime);
        if (lAdded == PacketParts::Added::DOUBLE)
            ReportPart(StackEvent::FRAGMENT_DOUBLE, StackEvent::PACKET_DOUBLE);
        if (lAdded == PacketParts::Added::REFUSED)
            ReportPart(StackEvent::FRAGMENT_DAMAGED, StackEvent::PACKET_DAMAGED);
        if (lAdded != PacketParts::Added::NEW)
            return false;
    }
    DropCandidate();
    Remember();
    if (!lAlone)
        return false;
    cInput.cPayload = const_cast<unsigned char*>(cPart.mPayload);  // only to be viewed
    cInput.cPayloadSize = cPart.mHeader.mPlen;
    cReassembled.SharePayload(&cInput);
    cLayer.Report(StackEvent::PACKET_COMPLETED, 1, cPart.mHeader.mPSeq);
    cpCurrent->SkipNext();
    return true;
}

// Whether the part in hand belongs to a numbering that has begun anew a little behind the current window, and that has
// meanwhile grown into it.
bool LiveReassembly::ContinuesCandidate() {
    if (cpCandidate->GetHeard() + 1 < LIVE_PACKETS_OF_NEW_NUMBERING)
        return false;
    const int32_t lPlace = cpCandidate->PlaceOf(cPart);
    const int32_t lHighest = static_cast<int16_t>(cpCandidate->GetHighest() - cpCandidate->GetNext());
    return lPlace != ReceptionWindow::NO_PLACE && lPlace <= lHighest + 1;
}

void LiveReassembly::PutAside() {
    int32_t lPlace = cpCandidate->PlaceOf(cPart);
    if (lPlace == ReceptionWindow::NO_PLACE) {
        // A single stray part does not displace a numbering that is about to be recognised.
        if (cpCandidate->GetDatagrams() > 1 && ++cStrays < MOST_STRAYS) {
            ReportPart(StackEvent::FRAGMENT_LATE, StackEvent::PACKET_LATE);
            return;
        }
        DropCandidate();
        cpCandidate->Start(cPart);
        lPlace = 0;
    }
    if (cpCandidate->Put(cPart, lPlace, cTime) != PacketParts::Added::NEW) {
        ReportPart(StackEvent::FRAGMENT_DOUBLE, StackEvent::PACKET_DOUBLE);
        return;
    }
    Remember();
    cStrays = 0;
    const bool lReachesCurrent = static_cast<int16_t>(cpCandidate->GetHighest() - cpCurrent->GetNext()) >= 0;
    const uint32_t lWanted =
        IsJustBehind() && !lReachesCurrent ? LIVE_PACKETS_JUST_BEHIND : LIVE_PACKETS_OF_NEW_NUMBERING;
    if (cpCandidate->GetHeard() >= lWanted)
        cEnding = Ending::TO_CANDIDATE;
}

bool LiveReassembly::IsJustBehind() const {
    const auto lAhead = static_cast<int16_t>(cpCandidate->GetNext() - cpCurrent->GetNext());
    return lAhead < 0 && lAhead >= -2 * ReceptionWindow::SIZE;
}

// Reports what was put aside as late, because the current numbering goes on.
void LiveReassembly::DropCandidate() {
    if (!cpCandidate->IsActive())
        return;
    const StackEvent lEvent = cPart.mIsWholePacket ? StackEvent::PACKET_LATE : StackEvent::FRAGMENT_LATE;
    cLayer.Report(lEvent, cpCandidate->GetDatagrams(), cpCandidate->GetNext());
    cpCandidate->Stop();
}

// At the transport's end nothing more can show whether what was put aside is a new numbering or comes late: it is taken
// for new unless its numbers are just behind.
void LiveReassembly::EndNumbering() {
    cEnding = cpCandidate->IsActive() && !IsJustBehind() ? Ending::TO_CANDIDATE : Ending::TO_NOTHING;
}

// Is called when the current window is empty.
void LiveReassembly::FinishEnding() {
    if (cEnding == Ending::TO_CANDIDATE) {
        const uint32_t lGap = static_cast<uint16_t>(cpCandidate->GetNext() - cpCurrent->GetNext());
        const bool lIsLoss = cpCurrent->IsActive() && lGap <= MAX_COUNTED_LOSS;
        cLayer.Report(lIsLoss ? StackEvent::PACKETS_LOST : StackEvent::NUMBERING_ANEW, lIsLoss ? lGap : 1,
                      cpCandidate->GetNext());
        std::swap(cpCurrent, cpCandidate);
    } else {
        cpCurrent->Stop();
    }
    cpCandidate->Stop();
    cEnding = Ending::NONE;
}

void LiveReassembly::ReportPart(StackEvent aOfFragment, StackEvent aOfPacket) {
    cLayer.Report(cPart.mIsWholePacket ? aOfPacket : aOfFragment, 1, cPart.mHeader.mPSeq);
}

// Returns a hash of the numbers, the size, and the first and last bytes of the part in hand; never 0, which stands for
// no datagram.
uint64_t LiveReassembly::Fingerprint() const {
    const size_t lSize = cPart.mHeader.mPlen;
    uint64_t lFirst = 0;
    uint64_t lLast = 0;
    const size_t lCount = std::min(lSize, sizeof lFirst);
    std::memcpy(&lFirst, cPart.mPayload, lCount);
    std::memcpy(&lLast, cPart.mPayload + lSize - lCount, lCount);
    uint64_t lFingerprint = 0xCBF29CE484222325;  // as FNV-1a, but 64 bits at a time
    for (const uint64_t lValue :
         {uint64_t{cPart.mHeader.mPSeq}, uint64_t{cPart.mHeader.mFindex}, uint64_t{lSize}, lFirst, lLast})
        lFingerprint = (lFingerprint ^ lValue) * 0x100000001B3;
    return lFingerprint | 1;
}

bool LiveReassembly::IsRemembered() const {
    return std::find(cFingerprints.begin(), cFingerprints.end(), Fingerprint()) != cFingerprints.end();
}

void LiveReassembly::Remember() {
    cFingerprints[cNextFingerprint] = Fingerprint();
    cNextFingerprint = (cNextFingerprint + 1) % REMEMBERED;
}
