#pragma once

#include <cstdint>
#include <string>

#include "tools/Fault.h"
#include "tools/IntervalHistogram.h"
#include "tools/Progress.h"
#include "tools/UnitCheck.h"

// What mdi-dump writes: a line for each unit and each loss, and the summary; as text or as one JSON object a line.
class DumpReport {
public:
    struct Form {
        bool mJson = false;
        bool mVerbose = false;  // with the items of each unit
        bool mTimes = false;    // the times of arrival mean something
    };

    explicit DumpReport(const Form& aForm) : cForm(aForm) {}

    void Unit(const UnitFacts& aFacts);
    // Findings that belong to no unit; no line when there are none.
    void Other(const Findings& aFindings);
    // aVerdict: a whole recording was read, and it is to be said whether it is sound.
    void Summary(const UnitCheck& aCheck, bool aVerdict);

    uint64_t GetUnits() const { return cUnits; }
    bool IsSound() const { return !cFaults.HasLoss(); }

private:
    struct Arrival;

    Arrival NoteArrival();
    void PrintJson(const UnitFacts& aFacts, const Arrival& aArrival) const;
    void PrintText(const UnitFacts& aFacts, const Arrival& aArrival) const;
    void PrintJsonSummary(const UnitCheck& aCheck, bool aVerdict) const;
    void PrintTextSummary(const UnitCheck& aCheck, bool aVerdict) const;
    void ShowProgress();

    const Form cForm;
    Progress cProgress;
    uint64_t cUnits = 0;
    uint64_t cBytes = 0;
    uint32_t cLastTick = 0;
    IntervalHistogram cIntervals;
    FaultCounts cFaults;
};
