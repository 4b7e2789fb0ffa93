#include "Networking/PFTLayer.h"

#include <algorithm>
#include <vector>

#include "Networking/AFPacket.h"
#include "platform/Console.h"
#include "platform/Settings.h"
#include "runtime/Trace.h"

namespace {

uint32_t ReadSupportedErrors() {
    const auto lValue = platform::ReadRegistryNumber("SOFTWARE\\VESTRAL\\Drm\\Settings", "PftSupportedErrors");
    return std::clamp<uint32_t>(lValue.value_or(1), 1, PFT_MAX_SUPPORTED_ERRORS);
}

}  // namespace

PFTLayer::PFTLayer()
    : ciSupportedErrors(ReadSupportedErrors()),
      cpcQueue(std::make_unique<PacketQueue>(PFT_QUEUE_SIZE)),
      cpcTempPacket(std::make_unique<Packet>(PFT_TEMP_PACKET_SIZE)),
      cpcEncoder(CreateRSCodec(8, 0x11D, 1, 1, RS_PARITY_SIZE, 0)),
      cpcFEC(std::make_unique<FECProcessor>()),
      cpcCRC(PFTPacket::SharedEngine()) {
    CHECK_INVARIANT_AS(cpcEncoder != nullptr, "0");
    ciOverhead = PFT_HEADER_SIZE;
    cpcTempPacket->cProtocol = ciReassembledTag;
}

void PFTLayer::SetAddressing(uint32_t aOn) {
    if (aOn == 1 && ciAddressing != 1)
        ciOverhead += PFT_ADDRESS_SIZE;
    ciAddressing = aOn;
    if (ciMaxPacketSize != LAYER_FIXED_MAX_PACKET_SIZE)
        DeriveMaxPacketSize();
}

void PFTLayer::SetMode(uint32_t aMode) {
    if (aMode == PFT_MODE_FEC && ciMode != PFT_MODE_FEC)
        ciOverhead += PFT_RS_SIZE;
    ciMode = aMode;
    if (aMode == PFT_MODE_FRAGMENT || aMode == PFT_MODE_FEC) {
        ciMaxPacketSize = LAYER_FIXED_MAX_PACKET_SIZE;
    } else {
        cidwFIDXIndex = 0;
        cidwFCount = 1;
        DeriveMaxPacketSize();
    }
}

uint32_t PFTLayer::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t /*aTagIndex*/) {
    cpcFragment = std::make_unique<PFTPacket>(0);
    cpcFragment->cPayloadProtocol = ciReassembledTag;
    PFTPacket::spcCRCEngine = cpcCRC;
    cpcTempPacket->Rewind();
    cpcTempPacket->SetSize(0);
    ResetSubPackets();

    Outcome lOutcome = Outcome::GO_ON;
    while (ciRxState != RX_COMPLETE && lOutcome == Outcome::GO_ON) {
        switch (ciRxState) {
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
                CHECK_INVARIANT_AS(ciRxState == RX_RESET, "0");
                cpcQueue->Clear();
                cPassed = 0;
                ResetSubPackets();  // of a packet of which nothing but gaps was there
                ciRxState = RX_WAIT_FIRST;
                break;
        }
    }
    if (lOutcome != Outcome::GO_ON) {
        ciRxState = RX_RESET;
        return lOutcome == Outcome::TIMED_OUT ? 2 : 0;
    }
    return Deliver(apOut);
}

uint32_t PFTLayer::Deliver(Packet* apOut) {
    uint32_t lMissingIndexes[PFT_MAX_MISSING];
    const uint32_t lMissing = AssembleSubPackets(cpcTempPacket.get(), lMissingIndexes);
    CHECK_INVARIANT_AS(cpcTempPacket->GetSize() != 0, "cpcTempPacket->GetSize()!=0");
    if (!Restore(lMissingIndexes, lMissing)) {
        ciRxState = RX_RESET;
        return 0;
    }
    const bool lHasTag = cpcTempPacket->GetSize() >= 2;
    ciReassembledTag[0] = lHasTag ? static_cast<char>(cpcTempPacket->cData[0]) : '\0';
    ciReassembledTag[1] = lHasTag ? static_cast<char>(cpcTempPacket->cData[1]) : '\0';
    apOut->Share(cpcTempPacket.get());
    ciRxState = RX_WAIT_NEXT;
    return 1;
}

// Turns what was put together into the packet that was sent; false when it cannot be.
bool PFTLayer::Restore(const uint32_t* apMissing, uint32_t aMissing) {
    if (!cPartsAgree)
        return false;
    if (!cFormat.mFEC)
        return aMissing == 0;
    const uint64_t lWholeSize = uint64_t{cFormat.mFcount} * cFormat.mPlen;
    if (aMissing > PFT_MAX_MISSING || cpcTempPacket->GetSize() != lWholeSize)
        return false;  // a packet that does not fit was cut
    cpcFEC->ciRSk = cFormat.mRSk;
    cpcFEC->ciRSz = cFormat.mRSz;
    return cpcFEC->Correct(cpcTempPacket.get(), cFormat.mFcount, apMissing, aMissing);
}

PFTLayer::Outcome PFTLayer::WaitFirst(uint32_t* apTimeOut) {
    switch (ReceiveFirst(apTimeOut)) {
        case FIRST:
            cBrake.Useful();
            ciRxState = StoreFragment() ? RX_COMPLETE : RX_WAIT_NEXT;
            break;
        case NOT_FIRST:
            cBrake.Useless(RetryBrake::SILENT, apTimeOut);
            break;
        case FAILED:
            CHECK_INVARIANT_AS(false, "0");
            cBrake.Useless(RetryBrake::REPORTED, apTimeOut);
            break;
        default:  // a time-out
            return ciLowerLayer->ciAtEnd ? Outcome::TIMED_OUT : Outcome::GO_ON;
    }
    return Outcome::GO_ON;
}

PFTLayer::Outcome PFTLayer::WaitNext(uint32_t* apTimeOut) {
    switch (ReceiveNext(apTimeOut)) {
        case STORED:
            cBrake.Useful();
            cPassed = 0;
            if (StoreFragment())
                ciRxState = RX_COMPLETE;
            else if (cidwFIDXIndex == 0)
                return Outcome::LOST;  // the packet's last fragment has passed: it never gets complete
            break;
        case EARLY:
            cBrake.Useless(QueueFragment(cpcFragment.get()) ? RetryBrake::SILENT : RetryBrake::REPORTED, apTimeOut);
            if (cpcQueue->GetCount() + cPassed >= PFT_QUEUE_PATIENCE)
                ciRxState = RX_GAP;
            break;
        case FAILED:
            CHECK_INVARIANT_AS(false, "0");
            cBrake.Useless(RetryBrake::REPORTED, apTimeOut);
            break;
        case TIMED_OUT:
            return Outcome::TIMED_OUT;
        default:  // far away
            return Outcome::LOST;
    }
    return Outcome::GO_ON;
}

// The expected fragment is lost.  Where there is parity it leaves a gap to be repaired, else it is waited for.
void PFTLayer::LeaveGap() {
    if (cpcFragment->GetFEC()) {
        AddSubPacket(nullptr);
        if (cidwFCount == PFT_UNKNOWN_COUNT) {
            CHECK_INVARIANT_AS(cidwFIDXIndex == 0, "cidwFIDXIndex==0");
            ++cidwFIDXIndex;
        } else {
            AdvancePosition();
        }
    }
    if (cidwFIDXIndex != 0)
        ciRxState = RX_WAIT_NEXT;
    else
        ciRxState = cSubPacketTotal > 0 && cSubPacketSize > 0 ? RX_COMPLETE : RX_RESET;
}

uint32_t PFTLayer::ReceiveFirst(uint32_t* apTimeOut) {
    const uint32_t lResult = ciLowerLayer->Receive(cpcFragment.get(), apTimeOut, 0);
    if (lResult == 0)
        FailAsBelow();
    if (lResult != 1)
        return lResult == 2 ? TIMED_OUT : FAILED;
    if (IsWholePacket())
        return FIRST;
    if (cpcFragment->Parse() != 1)
        return FAILED;
    if (cpcFragment->GetFindex() != 0)
        return NOT_FIRST;
    ciwPSeq = cpcFragment->GetPSeq();
    cidwFCount = cpcFragment->GetFcount();
    cidwFIDXIndex = 0;
    AdvancePosition();
    return FIRST;
}

uint32_t PFTLayer::ReceiveNext(uint32_t* apTimeOut) {
    if (CheckQueue())
        return STORED;
    const uint32_t lResult = ciLowerLayer->Receive(cpcFragment.get(), apTimeOut, 0);
    if (lResult == 0)
        FailAsBelow();
    if (lResult != 1)
        return lResult == 2 ? TIMED_OUT : FAILED;
    if (IsWholePacket()) {
        // It is a packet of its own; what was collected of another one is given up.
        ResetSubPackets();
        cidwFIDXIndex = 0;
        return STORED;
    }
    if (cpcFragment->Parse() != 1)
        return FAILED;
    if (cpcFragment->GetFindex() == cidwFIDXIndex && cpcFragment->GetPSeq() == ciwPSeq) {
        cidwFCount = cpcFragment->GetFcount();
        AdvancePosition();
        return STORED;
    }
    return IsFar(cpcFragment->GetPSeq(), cpcFragment->GetFindex()) ? FAR : EARLY;
}

// Takes the fragment at the expected position from the queue.  A far one at its front is dropped.
bool PFTLayer::CheckQueue() {
    DropPassedFragments();
    if (cpcQueue->IsEmpty())
        return false;
    const auto lPSeq = static_cast<uint16_t>(cpcQueue->PeekSequence());
    const uint32_t lFindex = cpcQueue->PeekIndex();
    const bool lExpected = lPSeq == ciwPSeq && lFindex == cidwFIDXIndex;
    if (!lExpected && !IsFar(lPSeq, lFindex))
        return false;
    Packet* lpStored = nullptr;
    uint32_t lSequence = 0;
    uint32_t lIndex = 0;
    uint32_t lFcount = 0;
    cpcQueue->GetFirst(&lpStored, &lSequence, &lIndex, &lFcount);
    if (!lExpected)
        return false;
    cidwFCount = lFcount;
    cpcFragment->Rewind();
    cpcFragment->SetSize(0);
    cpcFragment->Share(lpStored);
    cpcFragment->Parse();
    AdvancePosition();
    return true;
}

// Late and repeated fragments of packets that are over: nothing takes them any more, and what is behind them would
// wait. They still count as waiting, so that a numbering that begins anew a little behind is noticed.
void PFTLayer::DropPassedFragments() {
    while (!cpcQueue->IsEmpty() && static_cast<int16_t>(cpcQueue->PeekSequence() - ciwPSeq) < 0) {
        Packet* lpStored = nullptr;
        uint32_t lIgnored = 0;
        cpcQueue->GetFirst(&lpStored, &lIgnored, &lIgnored, &lIgnored);
        ++cPassed;
    }
}

bool PFTLayer::QueueFragment(PFTPacket* apFragment) {
    apFragment->Rewind();
    const auto lAhead = static_cast<int16_t>(apFragment->GetPSeq() - ciwPSeq);
    const uint32_t lSequence = cEpoch + ciwPSeq + static_cast<uint32_t>(lAhead);
    const bool lStored = cpcQueue->Insert(apFragment, lSequence, apFragment->GetFindex(), apFragment->GetFcount()) == 1;
    CHECK_INVARIANT_AS(lStored, "res==SUCCESSFUL");
    return lStored;
}

// The distance is counted in fragments, as if every packet between had cidwFCount of them; 32 bits, wrapping.
bool PFTLayer::IsFar(uint32_t aPSeq, uint32_t aFindex) const {
    const auto lAhead = static_cast<uint16_t>(aPSeq - ciwPSeq);
    const auto lBehind = static_cast<uint16_t>(ciwPSeq - aPSeq);
    if (lAhead == 0)
        return aFindex - cidwFIDXIndex > PFT_MAX_DISTANCE;
    if (lAhead < 0x8000)
        return cidwFCount * lAhead - cidwFIDXIndex + aFindex > PFT_MAX_DISTANCE;
    return cidwFCount * lBehind + cidwFIDXIndex - aFindex > PFT_MAX_DISTANCE;
}

void PFTLayer::AdvancePosition() {
    cidwFIDXIndex = (cidwFIDXIndex + 1) % cidwFCount;
    if (cidwFIDXIndex == 0 && ++ciwPSeq == 0)
        cEpoch += 0x10000;
}

// Puts the fragment or whole packet in hand into the list; whether the packet is complete now.
bool PFTLayer::StoreFragment() {
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
    return AddSubPacket(cpcFragment.get());
}

bool PFTLayer::AddSubPacket(const PFTPacket* apFragment) {
    if (cSubPacketCurrent >= PFT_MAX_SUB_PACKETS)
        return false;
    auto& lEntry = cSubPacketList[cSubPacketCurrent];
    if (apFragment != nullptr && IsWholePacket()) {
        auto lWhole = std::make_unique<AFPacket>(apFragment->GetSize(), uint8_t{1}, uint8_t{0});
        lWhole->SetCRCEngine(cpcCRC);
        lWhole->SetSize(0);
        lWhole->Write(apFragment->GetSize(), apFragment->cData);
        lEntry = std::move(lWhole);
        cSubPacketTotal = 1;
        return true;
    }
    if (apFragment == nullptr) {
        lEntry = nullptr;
    } else {
        auto lCopy = std::make_unique<PFTPacket>(apFragment->GetSize());
        lCopy->SetSize(0);
        lCopy->Write(apFragment->GetSize(), apFragment->cData);
        CHECK_INVARIANT_AS(lCopy->Parse() == 1, "cSubPacketList[cSubPacketCurrent]->Parse()==SUCCESSFUL");
        if (cSubPacketTotal == -1) {
            cSubPacketTotal = static_cast<int32_t>(lCopy->GetFcount());
            if (cSubPacketTotal <= 0)
                platform::Print("508:cSubPacketTotal<=0");
        }
        if (cSubPacketSize == -1) {
            cSubPacketSize = static_cast<int32_t>(lCopy->cPayloadSize);
            CHECK_INVARIANT_AS(cSubPacketSize > 0, "cSubPacketSize>0");
        }
        lEntry = std::move(lCopy);
    }
    ++cSubPacketCurrent;
    if (static_cast<int64_t>(cSubPacketCurrent) != cSubPacketTotal)
        return false;
    CHECK_INVARIANT_AS(cSubPacketTotal > 0, "cSubPacketTotal>0");
    return true;
}

uint32_t PFTLayer::AssembleSubPackets(Packet* apTemp, uint32_t* apMissing) {
    uint32_t lMissing = 0;
    if (IsWholePacket()) {
        const Packet* const lpWhole = cSubPacketList[0].get();
        if (lpWhole == nullptr)
            return 1;
        CHECK_INVARIANT_AS(apTemp->Write(lpWhole->GetSize(), lpWhole->cData) == 1, "0");
    } else if (cSubPacketTotal > 0 && cSubPacketSize > 0) {
        const std::vector<unsigned char> lFiller(static_cast<size_t>(cSubPacketSize));
        const auto lTotal = std::min(static_cast<uint32_t>(cSubPacketTotal), PFT_MAX_SUB_PACKETS);
        bool lFits = true;  // one line in the trace file for a packet that does not
        for (uint32_t lIndex = 0; lIndex < lTotal; ++lIndex) {
            const Packet* const lpFragment = cSubPacketList[lIndex].get();
            if (lFits) {
                lFits = lpFragment != nullptr
                            ? apTemp->Write(lpFragment->cPayloadSize, lpFragment->cPayload) == 1
                            : apTemp->Write(static_cast<uint32_t>(lFiller.size()), lFiller.data()) == 1;
                CHECK_INVARIANT_AS(lFits, "0");
            }
            if (lpFragment == nullptr && lMissing++ < PFT_MAX_MISSING)
                apMissing[lMissing - 1] = lIndex;
        }
        lMissing += static_cast<uint32_t>(cSubPacketTotal) - lTotal;
    }
    ResetSubPackets();
    return lMissing;
}

void PFTLayer::ResetSubPackets() {
    for (auto& lEntry : cSubPacketList)
        lEntry = nullptr;
    cSubPacketCurrent = 0;
    cSubPacketTotal = -1;
    cSubPacketSize = -1;
}
