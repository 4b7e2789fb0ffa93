#pragma once

#include <cstdint>
#include <string>

// What a relay has done since its start, and how fast of late.
class RelayStatistics {
public:
    RelayStatistics();

    void Received() { ++cReceived; }
    void Sent(uint32_t aBytes);
    void Lost(uint64_t aUnits) { cLost += aUnits; }

    uint64_t GetReceived() const { return cReceived; }
    uint64_t GetSent() const { return cSent; }

    // Milliseconds since the start; to be asked once in 49 days at least, when the tick count wraps.
    uint64_t Elapsed();

    // Text, or a JSON object; the rate is that since the last Line, or since the start when aFinal is set.
    std::string Line(bool aJson, bool aFinal);
    std::string Short() const;  // for people who wait

private:
    uint64_t cReceived = 0;
    uint64_t cSent = 0;
    uint64_t cLost = 0;
    uint64_t cBytes = 0;
    uint64_t cMilliseconds = 0;  // from the start to cTick
    uint32_t cTick;
    uint64_t cTimeBefore = 0;  // at the last Line
    uint64_t cBytesBefore = 0;
};
