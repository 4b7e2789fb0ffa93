#pragma once

#include <cstdint>
#include <memory>

namespace platform {

// A counting semaphore with a maximum.  Any thread.  Waiters wake in no particular order.  The object must outlive
// every Wait: those that return, and those of threads that are ended in there, until Thread::End has returned.
class Semaphore {
public:
    static constexpr uint32_t NO_TIME_LIMIT = 0xFFFFFFFF;
    enum class WaitResult { TAKEN, TIMED_OUT, ABANDONED };

    Semaphore(uint32_t aInitialCount, uint32_t aMaximumCount);
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    // Takes one from the count, waiting at most aMilliseconds until it is above 0; with 0 it does not wait.  A thread
    // that is suspended while it waits takes nothing before it is resumed (Thread.h).  Abandon says what ABANDONED is.
    WaitResult Wait(uint32_t aMilliseconds);

    // Adds one to the count.  False, with the count unchanged, when it is at its maximum.
    bool Release();

    // Ends every wait that has begun, and each that begins before the next Restart, with ABANDONED.
    void Abandon();

    // Makes an abandoned semaphore a new one with this count.  Waits from before stay abandoned.
    void Restart(uint32_t aInitialCount);

private:
    struct State;
    const std::unique_ptr<State> cState;
};

}  // namespace platform
