#pragma once

#include <cstdint>

// Follows the logical frame counters of a stream of MDI units, which count up by one, wrapping at 2^32.
class DlfcWatch {
public:
    enum class Step {
        NEXT,  // the expected counter, or the first of all
        GAP,   // a counter further on: the units between are lost
        BACK,  // a counter of a few units before: a late or repeated unit
        JUMP   // the numbering began anew
    };

    Step Follow(uint32_t aDlfc) {
        const uint32_t lAhead = aDlfc - cExpected;
        const bool lFollows = !cStarted || lAhead == 0 || aDlfc == cLast + 1;
        cStarted = true;
        cLast = aDlfc;
        if (!lFollows && lAhead > UINT32_MAX - MAX_BACK) {
            ++cBack;
            return Step::BACK;  // the expected counter stays, because the stream goes on from there
        }
        const bool lGap = !lFollows && lAhead <= MAX_GAP;
        if (lGap)
            cLost += lAhead;
        cExpected = aDlfc + 1;
        return lFollows ? Step::NEXT : lGap ? Step::GAP : Step::JUMP;
    }

    uint32_t GetExpected() const { return cExpected; }
    uint64_t GetLost() const { return cLost; }
    uint64_t GetBack() const { return cBack; }

private:
    static constexpr uint32_t MAX_GAP = 1500;  // units: ten minutes
    static constexpr uint32_t MAX_BACK = 10;   // units: as many as a receiver puts in order

    bool cStarted = false;
    uint32_t cExpected = 0;
    uint32_t cLast = 0;
    uint64_t cLost = 0;
    uint64_t cBack = 0;
};
