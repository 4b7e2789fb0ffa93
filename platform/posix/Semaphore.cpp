#include "platform/Semaphore.h"

#include <chrono>

#include "platform/Lock.h"
#include "platform/posix/ThreadState.h"

namespace platform {

struct Semaphore::State : WaitPoint {
    State(uint32_t aInitialCount, uint32_t aMaximumCount) : mCount(aInitialCount), mMaximumCount(aMaximumCount) {}

    uint32_t mCount;
    const uint32_t mMaximumCount;
    bool mAbandoned = false;
    uint32_t mTimesAbandoned = 0;
};

Semaphore::Semaphore(uint32_t aInitialCount, uint32_t aMaximumCount)
    : cState(std::make_unique<State>(aInitialCount, aMaximumCount)) {}

Semaphore::~Semaphore() = default;

Semaphore::WaitResult Semaphore::Wait(uint32_t aMilliseconds) {
    const auto lDeadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(aMilliseconds);
    StoppableCall lCall(cState.get());
    WaitResult lResult = WaitResult::TIMED_OUT;
    {
        StopGuard lGuard;
        std::unique_lock lLock(cState->mMutex);
        const uint32_t lTimesAbandoned = cState->mTimesAbandoned;
        for (bool lInTime = true;;) {
            if (lCall.IsStopWanted()) {
                // A suspended thread takes nothing.  The release that woke it has woken all other waiters too.
                lLock.unlock();
                lCall.Pause();
                lLock.lock();
            } else if (cState->mAbandoned || cState->mTimesAbandoned != lTimesAbandoned) {
                lResult = WaitResult::ABANDONED;
                break;
            } else if (cState->mCount > 0) {
                --cState->mCount;
                lResult = WaitResult::TAKEN;
                break;
            } else if (!lInTime) {
                break;
            } else if (aMilliseconds == NO_TIME_LIMIT) {
                cState->mChanged.wait(lLock);
            } else {
                lInTime = cState->mChanged.wait_until(lLock, lDeadline) == std::cv_status::no_timeout;
            }
        }
    }
    lCall.Leave();
    return lResult;
}

bool Semaphore::Release() {
    const StopGuard lGuard;  // a releaser that is stopped before the notification would leave a waiter asleep
    {
        const std::lock_guard lLock(cState->mMutex);
        if (cState->mCount >= cState->mMaximumCount)
            return false;
        ++cState->mCount;
    }
    cState->mChanged.notify_all();  // after the unlocking, since the woken thread needs the mutex at once
    return true;
}

void Semaphore::Abandon() {
    const Lock lLock(cState->mMutex);
    cState->mAbandoned = true;
    ++cState->mTimesAbandoned;
    cState->mChanged.notify_all();
}

void Semaphore::Restart(uint32_t aInitialCount) {
    const Lock lLock(cState->mMutex);
    cState->mAbandoned = false;
    cState->mCount = aInitialCount;
}

}  // namespace platform
