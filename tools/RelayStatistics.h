#pragma once

#include <cstdint>
#include <string>

#include "tools/ReceptionStatistics.h"

// Counts what a relay has done since its start, and how fast it has been since the last line of statistics.
class RelayStatistics {
public:
    RelayStatistics();

    void Received() { ++cReceived; }
    void Sent(uint32_t aBytes);
    void Lost(uint64_t aUnits) { cLost += aUnits; }

    uint64_t GetReceived() const { return cReceived; }
    uint64_t GetSent() const { return cSent; }
    uint64_t GetLost() const { return cLost; }

    // Milliseconds since the start.  To be called at least once in 49 days, because the tick count wraps then.
    uint64_t Elapsed();

    // A line of text or of JSON.  Its rate is that since the previous Line, or since the start with aFinal.
    std::string Line(bool aJson, bool aFinal, const ReceptionStatistics* apReception);
    std::string Short() const;  // the numbers of units, for the line of progress

private:
    uint64_t cReceived = 0;
    uint64_t cSent = 0;
    uint64_t cLost = 0;
    uint64_t cBytes = 0;
    uint64_t cMilliseconds = 0;  // from the start to cTick
    uint32_t cTick;
    uint64_t cTimeBefore = 0;  // cMilliseconds at the previous Line
    uint64_t cBytesBefore = 0;
};
