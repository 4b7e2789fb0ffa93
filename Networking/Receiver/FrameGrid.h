#pragma once

#include <cstdint>

#include "Networking/FrameTime.h"

// The times at which units are due: every 400 ms of the monotonic clock from the first unit on.  A late unit does not
// move those that follow, but one that is more than 400 ms late begins a new grid.  Times are in nanoseconds.
class FrameGrid {
public:
    // When the next unit is due; 0, which is past, for the first one.
    uint64_t NextDue() const { return cStarted ? cDue + FRAME : 0; }

    // Gives the next place on the grid to a unit that goes out at aNow.  Whether it keeps to the grid that there is.
    bool TakePlace(uint64_t aNow) {
        const uint64_t lDue = NextDue();
        const bool lKept = cStarted && aNow <= lDue + FRAME;
        cDue = lKept ? lDue : aNow;
        cStarted = true;
        return lKept;
    }

private:
    static constexpr uint64_t FRAME = uint64_t{DRM_FRAME_TIME} * 1'000'000;

    bool cStarted = false;
    uint64_t cDue = 0;  // of the last unit
};
