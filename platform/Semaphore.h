#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace platform {

// A counting semaphore with a maximum.  Any thread.  Waiters wake in no particular order.
// Whoever waits must keep the object alive (hold a shared_ptr) until Wait has returned or its thread has ended.
class Semaphore {
public:
    static constexpr uint32_t NO_TIME_LIMIT = 0xFFFFFFFF;
    enum class WaitResult { TAKEN, TIMED_OUT, ABANDONED };

    Semaphore(uint32_t aInitialCount, uint32_t aMaximumCount);
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    // Takes one from the count, waiting at most aMilliseconds for it (0: takes it only if it is there).  A thread that
    // is suspended while it waits takes nothing before it is resumed (Thread.h).
    WaitResult Wait(uint32_t aMilliseconds);

    // Adds one; false with the count unchanged when it is at its maximum.
    bool Release();

    // Ends every wait, now and later, with ABANDONED.
    void Abandon();

private:
    std::mutex cMutex;
    std::condition_variable cChanged;
    uint32_t cCount;
    const uint32_t cMaximumCount;
    bool cAbandoned = false;
};

}  // namespace platform
