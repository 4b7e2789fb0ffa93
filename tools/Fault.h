#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// What may be wrong with a stream of MDI units or with its recording.
enum Fault : unsigned {
    FAULT_RECORD_SKIPPED,
    FAULT_RECORD_CUT_OFF,
    FAULT_UNREADABLE,
    FAULT_PFT_HEADER,
    FAULT_FRAGMENTS_MISSING,
    FAULT_AF_PACKET,
    FAULT_TAG_ITEMS,
    FAULT_PROTOCOL,
    FAULT_NO_UNIT,
    FAULT_ITEM_MISSING,
    FAULT_ITEM_LENGTH,
    FAULT_FAC_CRC,
    FAULT_ORDER,
    FAULT_PARTIAL_END,
    FAULT_UNITS_LOST,
    FAULT_DLFC_JUMP,
    FAULT_MODE_CHANGE,
    FAULT_SEAM,
    FAULT_COUNT
};

const char* FaultName(Fault aFault);

// Whether a recording with this fault is not fit to go on air: something in it is damaged or missing, or the player
// leaves it out.  The other ones are worth a look.
bool IsLoss(Fault aFault);

// A fault that was found, and where or how.
struct Finding {
    Fault mFault;
    std::string mDetail;
    uint64_t mCount = 1;
};
using Findings = std::vector<Finding>;

std::string FindingText(const Finding& aFinding);

// How often each fault was found.
class FaultCounts {
public:
    void Add(const Findings& aFindings);
    uint64_t Get(Fault aFault) const { return cCounts[aFault]; }
    bool HasLoss() const;
    std::vector<Fault> GetFound() const;

private:
    std::array<uint64_t, FAULT_COUNT> cCounts{};
};
