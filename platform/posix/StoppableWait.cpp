#include "platform/posix/StoppableWait.h"

#include <poll.h>

#include <chrono>

#include "platform/posix/ThreadState.h"

namespace platform::posix {
namespace {

using Clock = std::chrono::steady_clock;

// The rest is rounded up, so that a wait does not end before its time.
int MillisecondsUntil(Clock::time_point aDeadline) {
    const auto lLeft = std::chrono::ceil<std::chrono::milliseconds>(aDeadline - Clock::now());
    return lLeft.count() > 0 ? static_cast<int>(lLeft.count()) : 0;
}

bool WaitFor(short aEvent, int aHandle, int aMilliseconds) {
    const auto lDeadline = Clock::now() + std::chrono::milliseconds(aMilliseconds);
    StoppableCall lCall;
    pollfd lHandles[2] = {{aHandle, aEvent, 0}, {-1, POLLIN, 0}};
    if (lCall.GetState() != nullptr)
        lHandles[1].fd = lCall.GetState()->GetWakeHandle();
    bool lReady = false;
    for (int lLeft = aMilliseconds; !lReady && !lCall.IsEnding();) {
        const int lCount = poll(lHandles, 2, lLeft);
        if (lCount > 0 && lHandles[1].revents != 0)
            lCall.GetState()->ClearWake();
        lReady = lCount > 0 && lHandles[0].revents != 0;
        if (aMilliseconds == NO_WAIT_LIMIT)
            continue;
        lLeft = MillisecondsUntil(lDeadline);
        if (lLeft == 0)
            break;
    }
    lCall.Leave();
    return lReady;
}

}  // namespace

bool WaitReadable(int aHandle, int aMilliseconds) {
    return WaitFor(POLLIN, aHandle, aMilliseconds);
}

bool WaitWritable(int aHandle, int aMilliseconds) {
    return WaitFor(POLLOUT, aHandle, aMilliseconds);
}

}  // namespace platform::posix
