#include "platform/Semaphore.h"

#include <chrono>

#include "platform/Lock.h"
#include "platform/posix/ThreadState.h"

namespace platform {

Semaphore::Semaphore(uint32_t aInitialCount, uint32_t aMaximumCount)
    : cCount(aInitialCount), cMaximumCount(aMaximumCount) {}

Semaphore::WaitResult Semaphore::Wait(uint32_t aMilliseconds) {
    const auto lDeadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(aMilliseconds);
    StoppableCall lCall(&cMutex, &cChanged);
    WaitResult lResult = WaitResult::TIMED_OUT;
    {
        StopGuard lGuard;
        std::unique_lock lLock(cMutex);
        const uint32_t lTimesAbandoned = cTimesAbandoned;
        for (bool lInTime = true;;) {
            if (lCall.IsStopWanted()) {
                // Takes nothing now.  What woke it up has woken all others too.
                lLock.unlock();
                lCall.Pause();
                lLock.lock();
            } else if (cAbandoned || cTimesAbandoned != lTimesAbandoned) {
                lResult = WaitResult::ABANDONED;
                break;
            } else if (cCount > 0) {
                --cCount;
                lResult = WaitResult::TAKEN;
                break;
            } else if (!lInTime) {
                break;
            } else if (aMilliseconds == NO_TIME_LIMIT) {
                cChanged.wait(lLock);
            } else {
                lInTime = cChanged.wait_until(lLock, lDeadline) == std::cv_status::no_timeout;
            }
        }
    }
    lCall.Leave();
    return lResult;
}

bool Semaphore::Release() {
    const StopGuard lGuard;  // a releaser that is stopped before the notification would leave a waiter asleep
    {
        const std::lock_guard lLock(cMutex);
        if (cCount >= cMaximumCount)
            return false;
        ++cCount;
    }
    cChanged.notify_all();  // without the lock, which the woken thread wants at once
    return true;
}

void Semaphore::Abandon() {
    const Lock lLock(cMutex);
    cAbandoned = true;
    ++cTimesAbandoned;
    cChanged.notify_all();
}

void Semaphore::Restart(uint32_t aInitialCount) {
    const Lock lLock(cMutex);
    cAbandoned = false;
    cCount = aInitialCount;
}

}  // namespace platform
