#pragma once

#include <cstdint>
#include <string>

#include "tools/Fault.h"
#include "tools/IntervalHistogram.h"
#include "tools/Progress.h"
#include "tools/ReceptionStatistics.h"
#include "tools/UnitCheck.h"

// What mdi-dump writes: a line for each unit and each loss, and the summary; as text or as one JSON object a line.
class DumpReport {
public:
    struct Form {
        bool mJson = false;
        bool mVerbose = false;  // shows the items of each unit
        bool mTimes = false;    // shows when units arrived, which says nothing about a recording
    };

    explicit DumpReport(const Form& aForm) : cForm(aForm) {}

    void Unit(const UnitFacts& aFacts);
    // Writes findings that belong to no unit, if there are any.
    void Other(const Findings& aFindings);
    // With aVerdict, for a recording that was read to its end, the summary says whether it is sound.
    // apReception, which may be null, tells how a network was received.
    void Summary(const UnitCheck& aCheck, bool aVerdict, const ReceptionStatistics* apReception);

    uint64_t GetUnits() const { return cUnits; }
    bool IsSound() const { return !cFaults.HasLoss(); }

private:
    struct Arrival;

    Arrival NoteArrival();
    void PrintJson(const UnitFacts& aFacts, const Arrival& aArrival) const;
    void PrintText(const UnitFacts& aFacts, const Arrival& aArrival) const;
    void PrintJsonSummary(const UnitCheck& aCheck, bool aVerdict, const ReceptionStatistics* apReception) const;
    void PrintTextSummary(const UnitCheck& aCheck, bool aVerdict, const ReceptionStatistics* apReception) const;
    void ShowProgress();

    const Form cForm;
    Progress cProgress;
    uint64_t cUnits = 0;
    uint64_t cBytes = 0;
    uint32_t cLastTick = 0;
    IntervalHistogram cIntervals;
    FaultCounts cFaults;
};
