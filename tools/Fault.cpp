#include "tools/Fault.h"

#include <algorithm>
#include <iterator>

namespace {

struct Description {
    const char* mName;
    bool mLoss;
};

constexpr Description DESCRIPTIONS[] = {{"record skipped", true},
                                        {"record cut off", true},
                                        {"rest cannot be read", true},
                                        {"PFT header damaged", true},
                                        {"fragments missing", true},
                                        {"AF packet damaged", true},
                                        {"TAG items damaged", true},
                                        {"not an MDI unit", true},
                                        {"no unit", true},
                                        {"item missing", true},
                                        {"item length wrong", true},
                                        {"FAC CRC wrong", true},
                                        {"out of super-frame order", true},
                                        {"ends inside a super frame", true},
                                        {"units lost", true},
                                        {"dlfc jumps", false},
                                        {"DRM mode changes", false},
                                        {"first super frame left out at each repetition", false}};
static_assert(std::size(DESCRIPTIONS) == FAULT_COUNT, "one for each");

}  // namespace

const char* FaultName(Fault aFault) {
    return DESCRIPTIONS[aFault].mName;
}

bool IsLoss(Fault aFault) {
    return DESCRIPTIONS[aFault].mLoss;
}

std::string FindingText(const Finding& aFinding) {
    return (aFinding.mCount > 1 ? std::to_string(aFinding.mCount) + " x " : "") + FaultName(aFinding.mFault) +
           (aFinding.mDetail.empty() ? "" : " (" + aFinding.mDetail + ")");
}

void FaultCounts::Add(const Findings& aFindings) {
    for (const Finding& lFinding : aFindings)
        cCounts[lFinding.mFault] += lFinding.mCount;
}

bool FaultCounts::HasLoss() const {
    const std::vector<Fault> lFound = GetFound();
    return std::any_of(lFound.begin(), lFound.end(), IsLoss);
}

std::vector<Fault> FaultCounts::GetFound() const {
    std::vector<Fault> lFound;
    for (unsigned lFault = 0; lFault < FAULT_COUNT; ++lFault)
        if (cCounts[lFault] > 0)
            lFound.push_back(static_cast<Fault>(lFault));
    return lFound;
}
