#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace platform {

// A counting semaphore with a maximum.  Any thread.  Waiters wake in no particular order.  The object must outlive
// every Wait: those that return, and those of threads that are ended in there, until Thread::End has returned.
class Semaphore {
public:
    static constexpr uint32_t NO_TIME_LIMIT = 0xFFFFFFFF;
    enum class WaitResult { TAKEN, TIMED_OUT, ABANDONED };

    Semaphore(uint32_t aInitialCount, uint32_t aMaximumCount);
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    // Takes one from the count, waiting at most aMilliseconds for it (0: takes it only if it is there).  A thread that
    // is suspended while it waits takes nothing before it is resumed (Thread.h).  ABANDONED: see Abandon.
    WaitResult Wait(uint32_t aMilliseconds);

    // Adds one; false with the count unchanged when it is at its maximum.
    bool Release();

    // Ends every wait that has begun, and each that begins before the next Restart, with ABANDONED.
    void Abandon();

    // Makes an abandoned semaphore a new one with this count.  Waits from before stay abandoned.
    void Restart(uint32_t aInitialCount);

private:
    std::mutex cMutex;
    std::condition_variable cChanged;
    uint32_t cCount;
    const uint32_t cMaximumCount;
    bool cAbandoned = false;
    uint32_t cTimesAbandoned = 0;
};

}  // namespace platform
