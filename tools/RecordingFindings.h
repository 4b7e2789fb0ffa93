#pragma once

#include <cstdint>
#include <optional>

#include "Networking/StackObserver.h"
#include "tools/Fault.h"

// Turns what a stack reports while it reads a recording once into findings.  One thread.
class RecordingFindings : public StackObserver {
public:
    void Observe(const StackReport& aReport) override;

    // The findings since the last Take.
    Findings Take();

private:
    void Add(Fault aFault, const StackReport& aReport, const std::string& aDetail = "");
    void NoteNumber(uint32_t aNumber);
    void EndPass();

    Findings cFindings;
    std::optional<uint16_t> cFirstNumber;  // PSeq of the first packet that was made of fragments
    uint16_t cLastNumber = 0;
};
