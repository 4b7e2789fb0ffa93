#include "Networking/Receiver/Pacer.h"

#include "Networking/FrameTime.h"

uint32_t Pacer::NextWait(uint32_t aNow) {
    const uint32_t lElapsed = cStarted ? aNow - cLastTick : DRM_FRAME_TIME;
    cStarted = true;
    cLastTick = aNow;
    if (lElapsed <= 2 * DRM_FRAME_TIME)
        return 2 * DRM_FRAME_TIME - lElapsed;
    // As if this unit had gone out a frame ago, or the next wait would be of 800 ms, the one after it 0, and so on.
    cLastTick -= DRM_FRAME_TIME;
    return 0;
}
