#pragma once

#include <cstdint>

// The pace of one unit per 400 ms: two consecutive intervals add up to 800 ms, so that a late pass of the loop is made
// good by the next one.
class Pacer {
public:
    // The milliseconds to wait after a unit that was forwarded at tick aNow: 400 after the first one.  0 when more than
    // 800 ms have passed since the one before; the pace is even again after that.
    uint32_t NextWait(uint32_t aNow);

private:
    bool cStarted = false;
    uint32_t cLastTick = 0;
};
