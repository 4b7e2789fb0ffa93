#pragma once

#include <cstdint>

constexpr uint32_t RETRY_DELAY = 800;  // milliseconds before a transport that fails at once is asked again

// Keeps a loop that asks its lower layer again after each useless unit from spinning over a file, which answers at once
// and for ever.  Each useless unit adds its weight; when the load is full the next request waits.  A few useless units
// between good ones therefore cost no time.
class RetryBrake {
public:
    static constexpr uint32_t SILENT = 1;     // weight of a unit that is skipped without a word
    static constexpr uint32_t REPORTED = 20;  // of one that leaves a line on the console or in the trace file

    void Useful() { cLoad = 0; }

    // A network transport keeps its time-out in *apTimeOut, a file has set it to 0: only a file is made to wait.
    void Useless(uint32_t aWeight, uint32_t* apTimeOut) {
        cLoad += aWeight;
        if (cLoad < FULL_LOAD)
            return;
        cLoad = 0;
        if (*apTimeOut == 0)
            *apTimeOut = RETRY_DELAY;
    }

private:
    static constexpr uint32_t FULL_LOAD = 80;

    uint32_t cLoad = 0;
};
