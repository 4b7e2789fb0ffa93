#include "tools/RecordTap.h"

#include <cstring>

#include "Networking/PFTPacket.h"

namespace {

constexpr int FAR_BEHIND = 20;  // packets; so far back, the numbering began anew

}  // namespace

RecordTap::RecordTap(FileLayer* apFile) : cpFile(apFile) {
    SetLowerLayer(apFile);
}

uint32_t RecordTap::Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) {
    const uint32_t lSkippedBefore = cpFile->ciSkippedRecords;
    const uint32_t lResult = cpFile->Receive(apOut, apTimeOut, aTagIndex);
    ciAtEnd = cpFile->ciAtEnd;
    cRecords += cpFile->ciSkippedRecords - lSkippedBefore;
    if (lResult != 1) {
        return lResult == 2 ? 2 : FailAsBelow();
    }
    ++cRecords;
    Inspect(*apOut);
    return 1;
}

void RecordTap::Inspect(const Packet& aPacket) {
    if (std::strcmp(aPacket.cProtocol, "PF") != 0) {
        ++cPackets;
        return;
    }
    PFTPacket lFragment(0);
    lFragment.Share(&aPacket);
    if (lFragment.Parse() != 1) {
        ++cDamagedFragments;
        return;
    }
    const auto lAhead = static_cast<int16_t>(lFragment.GetPSeq() - cSequence);
    if (cHasSequence && lAhead <= 0 && lAhead > -FAR_BEHIND) {
        return;
    }
    ++cPackets;
    if (!cHasSequence) {
        cFirstSequence = lFragment.GetPSeq();
    }
    cHasSequence = true;
    cSequence = lFragment.GetPSeq();
}
