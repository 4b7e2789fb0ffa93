#include "tools/RecordingFindings.h"

#include <algorithm>
#include <string>
#include <utility>

#include "tools/Text.h"

namespace {

std::string ProtocolText(uint32_t aNumber) {
    std::string lText;
    for (const int lShift : {24, 16, 8, 0})
        lText += static_cast<char>(aNumber >> lShift);
    return "protocol '" + Printable(lText) + "'";
}

}  // namespace

void RecordingFindings::Observe(const StackReport& aReport) {
    switch (aReport.mEvent) {
        case StackEvent::RECORD_SKIPPED:
            return Add(FAULT_RECORD_SKIPPED, aReport);
        case StackEvent::RECORDING_CUT_OFF:
            return Add(FAULT_RECORD_CUT_OFF, aReport);
        case StackEvent::RECORDING_FAILED:
            return Add(FAULT_UNREADABLE, aReport);
        case StackEvent::FRAGMENT_DAMAGED:
            return Add(FAULT_PFT_HEADER, aReport);
        case StackEvent::PACKETS_LOST:
            return Add(FAULT_FRAGMENTS_MISSING, aReport);
        case StackEvent::PACKET_DAMAGED:
            return Add(FAULT_AF_PACKET, aReport);
        case StackEvent::UNIT_DAMAGED:
            return Add(FAULT_TAG_ITEMS, aReport);
        case StackEvent::UNIT_FOREIGN:
            return Add(FAULT_PROTOCOL, aReport, ProtocolText(aReport.mNumber) + ", ");
        case StackEvent::PACKET_COMPLETED:
            return NoteNumber(aReport.mNumber);
        case StackEvent::PASS_ENDED:
            return EndPass();
        default:
            return;
    }
}

// Of several findings of one kind between two units only the last place is told.
void RecordingFindings::Add(Fault aFault, const StackReport& aReport, const std::string& aDetail) {
    const auto lSame = std::find_if(cFindings.begin(), cFindings.end(),
                                    [&](const Finding& aFinding) { return aFinding.mFault == aFault; });
    const bool lBehind = aFault == FAULT_RECORD_CUT_OFF;
    const std::string lRecord =
        (lBehind ? "behind record " : "record ") + std::to_string(aReport.mInput.mRecord - (lBehind ? 1 : 0));
    if (lSame == cFindings.end()) {
        cFindings.push_back({aFault, aDetail + lRecord, aReport.mCount});
        return;
    }
    lSame->mCount += aReport.mCount;
    lSame->mDetail = aDetail + "up to " + lRecord;
}

void RecordingFindings::NoteNumber(uint32_t aNumber) {
    if (aNumber == NO_EVENT_NUMBER)
        return;
    cLastNumber = static_cast<uint16_t>(aNumber);
    if (!cFirstNumber)
        cFirstNumber = cLastNumber;
}

// The player reads the recording again and again: fragments whose numbers do not go on from its end to its beginning
// cost it packets there.
void RecordingFindings::EndPass() {
    if (cFirstNumber && static_cast<uint16_t>(cLastNumber + 1) != *cFirstNumber)
        cFindings.push_back({FAULT_SEAM, "the fragments' numbers do not go on there"});
}

Findings RecordingFindings::Take() {
    return std::exchange(cFindings, {});
}
