#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

// The distribution of intervals in milliseconds, in constant memory.  It is exact below ten seconds; longer intervals
// count as ten seconds, except that the longest of all is known.
class IntervalHistogram {
public:
    void Add(uint32_t aMilliseconds) {
        ++cCounts[std::min<uint32_t>(aMilliseconds, LONGEST)];
        ++cTotal;
        cMaximum = std::max(cMaximum, aMilliseconds);
    }

    // The interval, in milliseconds, that aPercent percent of all intervals do not exceed; 0 when there are none.
    uint32_t Percentile(uint32_t aPercent) const {
        const uint64_t lRank = (cTotal * aPercent + 99) / 100;
        uint64_t lCount = 0;
        for (uint32_t lInterval = 0; lInterval < LONGEST; ++lInterval) {
            lCount += cCounts[lInterval];
            if (lCount >= lRank)
                return lInterval;
        }
        return LONGEST;
    }

    uint64_t GetTotal() const { return cTotal; }
    uint32_t GetMaximum() const { return cMaximum; }

private:
    static constexpr uint32_t LONGEST = 10000;

    std::array<uint64_t, LONGEST + 1> cCounts{};
    uint64_t cTotal = 0;
    uint32_t cMaximum = 0;
};
