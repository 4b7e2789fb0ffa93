#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Networking/MDIUnit.h"
#include "Networking/SuperFrameOrder.h"
#include "tools/DlfcWatch.h"
#include "tools/Fault.h"

// An item of a unit; views the unit's bytes.
struct ItemView {
    std::string_view mName;
    uint32_t mBits;
    std::string_view mValue;
};

// What one unit tells.
struct UnitFacts {
    uint32_t mBytes = 0;
    std::optional<uint32_t> mDlfc;
    std::optional<int> mIdentity;
    std::vector<ItemView> mItems;
    Findings mFindings;
};

// Checks MDI units one after the other, as the player will and a little more: items, frame counters, the CRC of the
// fast access channel (ETSI ES 201 980), the order of the super frame, the DRM mode.
class UnitCheck {
public:
    // A recording is checked as the player goes through it: its first unit opens a super frame, and all that follows a
    // break is out of order until the place of the break comes again.  A network is met anywhere, and a break is one.
    explicit UnitCheck(bool aRecording) : cRecording(aRecording) {}

    // aUnit is new and views bytes that form a TAG packet; the facts hold as long as these.
    UnitFacts Check(MDIUnit& aUnit);

    const std::string& GetMode() const { return cMode; }  // of the last unit, in words; empty before
    const DlfcWatch& GetCounters() const { return cCounters; }
    bool AtBoundary() const { return cOrder.AtBoundary(); }  // of a super frame

private:
    void CheckCounter(uint32_t aDlfc, Findings* apFindings);
    void CheckFac(const unsigned char (&aFac)[MDI_FAC_SIZE], UnitFacts* apFacts);
    void CheckOrder(int aIdentity, Findings* apFindings);
    void CheckMode(const std::string& aMode, Findings* apFindings);

    const bool cRecording;
    DlfcWatch cCounters;
    SuperFrameOrder cOrder;
    bool cOrderStarted = false;
    std::string cMode;
};
