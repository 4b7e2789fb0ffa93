#include "tools/UnitCheck.h"

#include <utility>

#include "Networking/TagItems.h"

namespace {

std::vector<ItemView> ItemsOf(const Packet& aUnit) {
    const auto lText = [](const unsigned char* apBytes, size_t aSize) {
        return std::string_view(reinterpret_cast<const char*>(apBytes), aSize);
    };
    std::vector<ItemView> lItems;
    TagItemView lItem;
    for (size_t lOffset = 0; ParseTagItem(aUnit.cData + lOffset, aUnit.ValidBytes() - lOffset, &lItem);
         lOffset += lItem.GetSize())
        lItems.push_back({lText(lItem.mName, TAG_NAME_SIZE), lItem.mBits, lText(lItem.mValue, lItem.mValueSize)});
    return lItems;
}

std::string ModeText(const FacFields& aFac, unsigned char aRobustness) {
    const std::string lOccupancy = aFac.mOccupancy < KNOWN_OCCUPANCIES
                                       ? OccupancyName(aFac.mOccupancy).mInSentence
                                       : "unknown occupancy " + std::to_string(aFac.mOccupancy);
    const std::string lRobustness = aRobustness < KNOWN_ROBUSTNESS_MODES
                                        ? RobustnessName(aRobustness)
                                        : "unknown robustness " + std::to_string(aRobustness);
    return lRobustness + ", " + lOccupancy + ", SDC " + SdcName(aFac.mSdcIs4Qam).mInSentence + ", MSC " +
           MscName(aFac.mMscMode).mInSentence + ", " + InterleavingName(aFac.mShortInterleaving).mInSentence +
           " interleaving";
}

}  // namespace

UnitFacts UnitCheck::Check(MDIUnit& aUnit) {
    UnitFacts lFacts;
    lFacts.mBytes = aUnit.GetSize();
    lFacts.mItems = ItemsOf(aUnit);
    if (aUnit.Parse() != 1) {
        const bool lMissing = aUnit.GetError() == MDI_ITEM_MISSING;
        lFacts.mFindings.push_back({lMissing ? FAULT_ITEM_MISSING : FAULT_ITEM_LENGTH, aUnit.GetFaultyItem()});
    }
    uint32_t lDlfc = 0;
    if (aUnit.GetDlfc(&lDlfc) == 1) {
        lFacts.mDlfc = lDlfc;
        CheckCounter(lDlfc, &lFacts.mFindings);
    }
    unsigned char lFac[MDI_FAC_SIZE];
    if (aUnit.GetFac(lFac) == 1) {
        CheckFac(lFac, &lFacts);
        unsigned char lRobustness = 0;
        if (aUnit.GetRobm(&lRobustness) == 1)
            CheckMode(ParseFac(lFac), lRobustness, &lFacts.mFindings);
    }
    return lFacts;
}

void UnitCheck::CheckCounter(uint32_t aDlfc, Findings* apFindings) {
    const uint32_t lExpected = cCounters.GetExpected();
    const uint64_t lLostBefore = cCounters.GetLost();
    switch (cCounters.Follow(aDlfc)) {
        case DlfcWatch::Step::NEXT:
            break;
        case DlfcWatch::Step::GAP:
            apFindings->push_back({FAULT_UNITS_LOST, "from dlfc " + std::to_string(lExpected) + " on",
                                   cCounters.GetLost() - lLostBefore});
            break;
        case DlfcWatch::Step::BACK:
        case DlfcWatch::Step::JUMP:
            apFindings->push_back({FAULT_DLFC_JUMP, std::to_string(aDlfc) + ", not " + std::to_string(lExpected)});
            break;
    }
}

void UnitCheck::CheckFac(const unsigned char (&aFac)[MDI_FAC_SIZE], UnitFacts* apFacts) {
    if (ComputeFacCRC(aFac) != aFac[MDI_FAC_SIZE - 1])
        apFacts->mFindings.push_back({FAULT_FAC_CRC, ""});
    apFacts->mIdentity = ParseFac(aFac).mIdentity;
    CheckOrder(*apFacts->mIdentity, &apFacts->mFindings);
}

void UnitCheck::CheckOrder(int aIdentity, Findings* apFindings) {
    const bool lStarted = std::exchange(cOrderStarted, true);
    if (cOrder.Accept(aIdentity))
        return;
    if (cRecording) {
        apFindings->push_back({FAULT_ORDER, "the player leaves it out"});
        return;
    }
    if (lStarted)
        apFindings->push_back({FAULT_ORDER, ""});
    cOrder = SuperFrameOrder(aIdentity + 1);
}

void UnitCheck::CheckMode(const FacFields& aFac, unsigned char aRobustness, Findings* apFindings) {
    const uint32_t lFields = uint32_t{aRobustness} << 8 | aFac.mOccupancy << 4 | aFac.mMscMode << 2 |
                             uint32_t{aFac.mSdcIs4Qam} << 1 | uint32_t{aFac.mShortInterleaving};
    if (cModeFields == lFields)
        return;
    cMode = ModeText(aFac, aRobustness);
    if (cModeFields)
        apFindings->push_back({FAULT_MODE_CHANGE, cMode});
    cModeFields = lFields;
}
