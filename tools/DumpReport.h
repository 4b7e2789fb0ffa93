#pragma once

#include <cstdint>

#include "tools/Fault.h"
#include "tools/IntervalHistogram.h"
#include "tools/Progress.h"
#include "tools/UnitCheck.h"
#include "tools/UnitSource.h"

// What mdi-dump writes: a line for each unit and each loss, and the summary; as text or as one JSON object a line.
class DumpReport {
public:
    struct Form {
        bool mJson = false;
        bool mVerbose = false;         // shows the items of each unit
        bool mQuiet = false;           // leaves out the units without findings
        bool mTimes = false;           // shows when units arrived, which says nothing about a recording
        uint32_t mUnits = UINT32_MAX;  // so many will come at most
    };

    DumpReport(const Form& aForm, const UnitSource& aSource);

    void Unit(const UnitFacts& aFacts);
    // Writes findings that belong to no unit, if there are any.
    void Other(const Findings& aFindings);
    // Of a recording that was read to its end the summary says whether it is sound.
    void Summary(const UnitCheck& aCheck);

    uint64_t GetUnits() const { return cUnits; }
    bool IsSound() const { return !cFaults.HasLoss(); }

private:
    struct Arrival;

    Arrival NoteArrival();
    void PrintJson(const UnitFacts& aFacts, const Arrival& aArrival) const;
    void PrintText(const UnitFacts& aFacts, const Arrival& aArrival) const;
    void PrintJsonSummary(const UnitCheck& aCheck) const;
    void PrintTextSummary(const UnitCheck& aCheck) const;
    bool HasVerdict() const { return cSource.IsFile() && cSource.AtEnd(); }
    void ShowProgress();
    void MakeRoom();

    const Form cForm;
    const UnitSource& cSource;
    const bool cOnTerminal;  // standard output is a terminal
    Progress cProgress;
    uint64_t cUnits = 0;
    uint64_t cBytes = 0;
    uint32_t cLastTick = 0;
    IntervalHistogram cIntervals;
    FaultCounts cFaults;
};
