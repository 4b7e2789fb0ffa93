#pragma once

#include <cstdint>

#include "Networking/FrameTime.h"
#include "platform/Clock.h"

// The pace of one unit per frame of 400 ms, without drift: unit n is due n frames after the first one.
class FramePacer {
public:
    // Waits until the next unit is due; the first unit is due at once.  After a delay of more than two frames the pace
    // begins anew, so that the units that were delayed do not go out in a burst.
    void Wait() {
        if (!cStarted) {
            cStarted = true;
            platform::Sleep(1);  // until a tick begins, because all later units go out when one begins
            cDue = platform::TickCount();
            return;
        }
        cDue += DRM_FRAME_TIME;
        const auto lWait = static_cast<int32_t>(cDue - platform::TickCount());
        if (lWait > 0)
            platform::Sleep(static_cast<uint32_t>(lWait));
        else if (lWait < -2 * static_cast<int32_t>(DRM_FRAME_TIME))
            cDue -= static_cast<uint32_t>(lWait);
    }

private:
    bool cStarted = false;
    uint32_t cDue = 0;  // tick
};
