#include "tools/UnitSource.h"

#include "platform/Interrupt.h"
#include "tools/CommandLine.h"
#include "tools/Text.h"

namespace {

constexpr uint32_t WAIT = 100;     // milliseconds; so soon the wish to end is seen
constexpr uint32_t TAG_INDEX = 0;  // of the only protocol

}  // namespace

int UnitSource::Open(const std::string& aAddress, Protocol aProtocol, uint32_t aLocalInterface, std::string* apError) {
    const int lStatus = OpenEndpoint(cEndpoint, aAddress, aProtocol, aLocalInterface, apError);
    if (lStatus == STATUS_DONE && cEndpoint.ciFileLayer != nullptr) {
        cEndpoint.ciFileLayer->ciOnePass = true;
        cTap = std::make_unique<RecordTap>(cEndpoint.ciFileLayer.get());
        cEndpoint.ciPFTLayer->SetLowerLayer(cTap.get());
        cUnit.cPayloadProtocol = cProtocol;
    }
    return lStatus;
}

void UnitSource::Start() {
    if (!IsFile()) {
        cEndpoint.Start();
    }
}

UnitSource::Result UnitSource::Receive(Packet* apOut) {
    cFindings.clear();
    if (MustEnd()) {
        return Result::END;
    }
    if (IsFile()) {
        return ReceiveFromFile(apOut);
    }
    uint32_t lTimeOut = WAIT;
    return cEndpoint.Receive(apOut, &lTimeOut, TAG_INDEX) == 1 ? Result::UNIT : Result::NOTHING;
}

// Counts what waits when the wish to end is first seen, so that a sender that goes on cannot hold the program.
bool UnitSource::MustEnd() {
    if (!platform::Interrupted()) {
        return false;
    }
    if (!cDraining) {
        cDraining = true;
        cLeft = IsFile() ? 0 : cEndpoint.GetQueueCount(TAG_INDEX);
    }
    if (cLeft == 0) {
        return true;
    }
    --cLeft;
    return false;
}

UnitSource::Result UnitSource::ReceiveFromFile(Packet* apOut) {
    uint32_t lTimeOut = 0;
    const uint32_t lResult = cEndpoint.ciLowerLayer->Receive(&cUnit, &lTimeOut, 0);
    NoteRecords();
    if (lResult == 2) {
        NoteEnd();
        return Result::END;
    }
    ++cPackets;
    if (lResult != 1) {
        // The AF layer has bytes in hand when it refused them, none when the layer below gave up.
        const bool lRefused = cEndpoint.ciAFLayer->ciPacket->cData != nullptr;
        return Lose(lRefused ? FAULT_AF_PACKET : FAULT_FRAGMENTS_MISSING);
    }
    if (cUnit.Parse() != 1) {
        return Lose(FAULT_TAG_ITEMS);
    }
    if (!cEndpoint.IsThisTagRegistered(cProtocol)) {
        return Lose(FAULT_PROTOCOL, "protocol '" + Printable(cProtocol) + "'");
    }
    apOut->Share(&cUnit);
    return Result::UNIT;
}

UnitSource::Result UnitSource::Lose(Fault aFault, const std::string& aDetail) {
    const std::string lRecord = "record " + std::to_string(cTap->GetRecord());
    cFindings.push_back({aFault, aDetail.empty() ? lRecord : aDetail + ", " + lRecord});
    return Result::LOST;
}

void UnitSource::NoteRecords() {
    const std::string lPlace = "up to record " + std::to_string(cTap->GetRecord());
    const uint32_t lSkipped = cEndpoint.ciFileLayer->ciSkippedRecords;
    NoteNew(FAULT_RECORD_SKIPPED, lSkipped, &cSkippedRecords, lPlace);
    NoteNew(FAULT_PFT_HEADER, cTap->GetDamagedFragments(), &cDamagedFragments, lPlace);
}

void UnitSource::NoteEnd() {
    if (cEndpoint.ciFileLayer->ciCutOff) {
        cFindings.push_back({FAULT_RECORD_CUT_OFF, "behind record " + std::to_string(cTap->GetRecord())});
    }
    NoteNew(FAULT_PACKET_LEFT_OUT, cTap->GetPackets(), &cPackets, "somewhere before the end");
    if (!cTap->IsSeamless()) {
        cFindings.push_back({FAULT_SEAM, "the fragments' numbers do not go on there"});
    }
}

// Notes that a count has grown beyond what is known of it.
void UnitSource::NoteNew(Fault aFault, uint32_t aCount, uint32_t* apKnown, const std::string& aPlace) {
    if (aCount > *apKnown) {
        cFindings.push_back({aFault, aPlace, aCount - *apKnown});
        *apKnown = aCount;
    }
}
