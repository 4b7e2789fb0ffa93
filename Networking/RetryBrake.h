#pragma once

#include <algorithm>
#include <cstdint>

constexpr uint32_t RETRY_DELAY = 800;  // milliseconds before a transport that fails at once is asked again

// Keeps a loop that asks its lower layer again after each useless unit from spinning over a file, which answers at once
// and for ever.  Each useless unit adds its weight; when the load is full the next request waits.  A useful unit takes
// the credit off, so that useless ones between useful ones cost no time.
class RetryBrake {
public:
    static constexpr int32_t SILENT = 1;     // weight of a unit that is skipped without a word
    static constexpr int32_t REPORTED = 20;  // of one that leaves a line on the console or in the trace file

    static constexpr int32_t SMALL_CREDIT = REPORTED;        // where useful only means that a unit goes on upwards
    static constexpr int32_t LARGE_CREDIT = 100 * REPORTED;  // where it has been made sure of

    explicit RetryBrake(int32_t aCredit) : cCredit(aCredit) {}

    void Useful() { cLoad = std::max(cLoad - cCredit, -cCredit); }

    // A network transport keeps its time-out, never 0, in *apTimeOut; a file has set it to 0: only a file is made to
    // wait.
    void Useless(int32_t aWeight, uint32_t* apTimeOut) {
        cLoad += aWeight;
        if (cLoad < FULL_LOAD)
            return;
        cLoad = 0;
        if (*apTimeOut == 0)
            *apTimeOut = RETRY_DELAY;
    }

private:
    static constexpr int32_t FULL_LOAD = 80;

    const int32_t cCredit;
    int32_t cLoad = 0;
};
