#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Networking/FacFields.h"
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

// What a unit holds, and what is wrong with it.
struct UnitFacts {
    uint32_t mBytes = 0;
    std::optional<uint32_t> mDlfc;
    std::optional<int> mIdentity;
    std::vector<ItemView> mItems;
    Findings mFindings;
};

// Checks the MDI units of a stream one after the other: what the player checks (items, order of the super frame), and
// frame counters, the CRC of the fast access channel (ETSI ES 201 980) and changes of the DRM mode.
class UnitCheck {
public:
    // A recording is checked as the player goes through it: its first unit must open a super frame, and after a break
    // in the order each unit is out of order until the one comes that was expected at the break.  A network may be
    // joined at any frame; each break in the order is reported once.
    explicit UnitCheck(bool aRecording) : cRecording(aRecording) {}

    // aUnit is not parsed yet and views bytes that form a TAG packet.  The facts view these bytes too.
    UnitFacts Check(MDIUnit& aUnit);

    const std::string& GetMode() const { return cMode; }  // of the last unit, in words; empty before
    const DlfcWatch& GetCounters() const { return cCounters; }
    bool AtBoundary() const { return cOrder.AtBoundary(); }  // of a super frame

private:
    void CheckCounter(uint32_t aDlfc, Findings* apFindings);
    void CheckFac(const unsigned char (&aFac)[MDI_FAC_SIZE], UnitFacts* apFacts);
    void CheckOrder(int aIdentity, Findings* apFindings);
    void CheckMode(const FacFields& aFac, unsigned char aRobustness, Findings* apFindings);

    const bool cRecording;
    DlfcWatch cCounters;
    SuperFrameOrder cOrder;
    bool cOrderStarted = false;
    std::optional<uint32_t> cModeFields;  // the fields of the last unit's mode in one number
    std::string cMode;
};
