#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

// Threads that others can suspend, resume and end, as Windows has them.
//
// Where a thread stops.  A thread that is inside a blocking platform call (Sleep, Semaphore::Wait, UdpSocket::Receive,
// ProbeSocket::WaitForReceive, Print, PrintError, Thread::Suspend, Thread::End) counts as stopped at once: it does not
// come out of the call before it is resumed.  A computing thread stops at its next blocking platform call; one that
// reaches none within a short grace (GRACE_MILLISECONDS of its processor time) is stopped by a signal, wherever it is,
// but never while it holds a StopGuard or Lock, and not inside a shared library, which may hold a lock there (that of
// the C library's allocator, for example): it is let out of the library first.  A stopped thread keeps such a lock only
// if it was inside libraries for about a second without a break, or if the program is linked statically with them.
//
// Ending.  A thread that is ended does no further work, wherever it is: it does not return to its caller, and its stack
// is not unwound, so that no destructor runs and no exception is caught.  What a thread that others may end keeps
// across a platform call therefore belongs to an object that somebody else deletes, never only to the thread's stack.
// The thread itself and its stack are given back to the system.
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

// A handle to one thread at a time.  The thread goes on when the handle is destroyed.  Any thread may use a handle,
// several at once, as long as the handle exists.
class Thread {
public:
    // Starts a thread that runs aEntry(aArgument) and then ends.  False when the handle's thread has not ended yet or
    // the system gives no thread.
    bool Start(void (*aEntry)(void*), void* aArgument);

    bool IsRunning() const;  // whether a thread was started and has not ended
    bool IsCurrent() const;  // whether the caller runs on this thread

    // Adds one to the suspend count; the thread runs only while it is 0.  When Suspend returns the thread does no
    // further work until it is resumed; a thread that suspends itself returns after that.  The count as it was goes
    // to *aOldCount.  False, with the count unchanged, when no thread runs or it stays under a guard for seconds.
    bool Suspend(uint32_t* aOldCount);

    // Takes one from the suspend count, if it is not 0.  The count as it was goes to *aOldCount.
    // False when no thread runs.
    bool Resume(uint32_t* aOldCount);

    // Ends the thread where it stands: when End returns it does no further work.  Does not return when the thread is
    // the caller's, which must hold no lock then.  No effect when no thread runs.
    void End();

    // The level in force, PRIORITY_NORMAL when no thread runs; setting it fails where the system does not grant it.
    ThreadPriority GetPriority() const;
    bool SetPriority(ThreadPriority aPriority);

private:
    std::shared_ptr<ThreadState> GetState() const;

    mutable std::mutex cMutex;
    std::shared_ptr<ThreadState> cState;  // under cMutex; null before the first start
};

// While one lives, its thread is neither stopped nor ended by others: their suspend or end waits for it.  Nests.  Hold
// one only over short work that always comes to its end.
class StopGuard {
public:
    StopGuard();
    ~StopGuard();
    StopGuard(const StopGuard&) = delete;
    StopGuard& operator=(const StopGuard&) = delete;
};

}  // namespace platform
