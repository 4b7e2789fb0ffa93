#pragma once

#include <cstdint>
#include <memory>

// Threads that others can suspend, resume and end, as Windows has them.
//
// Where a thread stops.  A thread that is inside a blocking platform call (Sleep, Semaphore::Wait, UdpSocket::Receive,
// ProbeSocket::WaitForReceive, Print, PrintError, Thread::Suspend) counts as stopped at once: it does not come out of
// the call before it is resumed.  A computing thread stops at its next blocking platform call; one that reaches none
// within a short grace (GRACE_MILLISECONDS of its processor time) is stopped by a signal, wherever it is, but never
// while it holds a StopGuard or Lock.  Such a thread may hold a lock of the C library, the allocator's for example:
// code that is to be suspended at any moment should pass a platform call now and then.
//
// Ending.  A thread that is ended at a platform call unwinds its stack (destructors run); one that had to be stopped
// by the signal is cut off without.  Neither returns to its caller's code.  No destructor on the stack of a thread that
// others may end may use what those others free.
namespace platform {

// The seven levels of Windows' threads.
enum ThreadPriority : int {
    PRIORITY_IDLE = -15,
    PRIORITY_LOWEST = -2,
    PRIORITY_BELOW_NORMAL = -1,
    PRIORITY_NORMAL = 0,
    PRIORITY_ABOVE_NORMAL = 1,
    PRIORITY_HIGHEST = 2,
    PRIORITY_TIME_CRITICAL = 15
};

constexpr uint32_t GRACE_MILLISECONDS = 20;

uint32_t ProcessId();  // the system's number of this process

class ThreadState;

// A handle to a thread.  The thread goes on when the handle is destroyed.  Any thread may use a handle, several at
// once.
class Thread {
public:
    // Starts a thread that runs aEntry(aArgument) and then ends.  Null when the system gives no thread.
    static std::unique_ptr<Thread> Start(void (*aEntry)(void*), void* aArgument);

    uint32_t GetId() const;  // the system's number of the thread
    bool IsCurrent() const;  // whether the caller runs on this thread

    // Adds one to the suspend count; the thread runs only while it is 0.  When Suspend returns the thread does no
    // further work until it is resumed; a thread that suspends itself returns after that.  The count as it was goes
    // to *aOldCount.  False, with the count unchanged, when the thread has ended or stays under a guard for seconds.
    bool Suspend(uint32_t* aOldCount);

    // Takes one from the suspend count, if it is not 0.  The count as it was goes to *aOldCount.
    // False when the thread has ended.
    bool Resume(uint32_t* aOldCount);

    // Ends another thread where it stands: when End returns it does no further work.  No effect on one that has ended.
    void End();

    // End the calling thread, which must be one that Start made: with its stack unwound, or, for callers inside a
    // destructor (which cannot be left by unwinding), cut off as it stands.
    [[noreturn]] static void EndCurrent();
    [[noreturn]] static void EndCurrentWithoutUnwinding();

    // The level in force; setting it fails where the system does not grant it.
    ThreadPriority GetPriority() const;
    bool SetPriority(ThreadPriority aPriority);

private:
    explicit Thread(std::shared_ptr<ThreadState> aState);
    std::shared_ptr<ThreadState> cState;
};

// While one lives, its thread is neither stopped nor ended: a suspend or end by another waits for it.  Nests.  Hold
// one only over short work that always comes to its end.
class StopGuard {
public:
    StopGuard();
    ~StopGuard();
    StopGuard(const StopGuard&) = delete;
    StopGuard& operator=(const StopGuard&) = delete;
};

}  // namespace platform
