#pragma once

#include <pthread.h>
#include <setjmp.h>
#include <signal.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

#include "platform/Thread.h"

// How threads are stopped from outside on a system that offers no such thing.
//
// A thread is in one of four stages.  RUNNING: computing.  AT_CALL: inside a StoppableCall, the bracket around every
// blocking platform call, which it does not leave while a stop is wanted; so it counts as stopped.  STOPPED: waiting in
// the handler of the stop signal, or at the end of a guard that the signal met.  FINISHED.  Whoever wants a stop raises
// the suspend count (or sets cEnding) and waits for the stage to leave RUNNING, first without and then with the signal.
//
// AT_CALL and RUNNING change under cMutex, which both sides hold to compare them with the wish.  The handler may take
// no lock: there both sides first write their own word and then read the other's (sequentially consistent), so that at
// least one of them sees the other.
//
// A thread that is ended jumps from one of three places to its start routine, which then returns: from the bracket's
// ends, where it holds no lock and is inside no wait, from the handler, and from its own End.
namespace platform {

class ThreadState {
public:
    enum Stage { RUNNING, AT_CALL, STOPPED, FINISHED };

    ~ThreadState();

    // Null when the system gives no thread or handle.
    static std::shared_ptr<ThreadState> Start(void (*aEntry)(void*), void* aArgument);
    static ThreadState* Current() { return sCurrent; }  // null on a thread that Start did not make

    bool IsRunning() const { return cStage != FINISHED; }

    // Thread's operations.  Suspend and End wait, so the caller is inside a StoppableCall.
    bool Suspend(uint32_t* aOldCount);
    bool Resume(uint32_t* aOldCount);
    void End();
    [[noreturn]] void CutOff() { siglongjmp(cBase, 1); }  // on its own thread: goes to its end at once

    ThreadPriority GetPriority() const { return static_cast<ThreadPriority>(cPriority.load()); }
    bool SetPriority(ThreadPriority aPriority);

    // For the calling thread's own state.
    void RaiseGuard();
    void LowerGuard();
    bool IsGuarded() const { return cGuardDepth.load(std::memory_order_relaxed) > 0; }
    bool IsStopWanted() const { return cStopWanted; }
    bool IsEnding() const { return cEnding; }
    int GetWakeHandle() const { return cWakeHandle; }
    void ClearWake();

    // The bracket's two ends.  Both wait while the thread is suspended and do not return when it is ended.  apMutex and
    // apCondition, which may be null, are what the thread is going to wait with: End notifies them.
    void EnterCall(std::mutex* apMutex, std::condition_variable* apCondition);
    void PauseCall();  // waits like them in between
    void LeaveCall();

private:
    static void* Run(void* aState);
    static void OnStopSignal(int aSignal, siginfo_t* aInformation, void* aContext);
    static bool InstallStopSignal();

    void RunEntry();
    void StopHere();
    void Park(std::unique_lock<std::mutex>& aLock);
    bool WaitUntilStill();
    void Wake();

    static thread_local ThreadState* sCurrent;

    void (*cEntry)(void*) = nullptr;
    void* cArgument = nullptr;
    pthread_t cHandle{};
    int cWakeHandle = -1;  // an eventfd: ends the wait of a poll or of the stop signal's handler
    sigjmp_buf cBase{};    // in the start routine: where an ended thread goes

    std::mutex cMutex;
    std::condition_variable cChanged;  // the stage or a wish changed
    uint32_t cSuspendCount = 0;        // under cMutex
    std::mutex* cWaitMutex = nullptr;  // under cMutex
    std::condition_variable* cWaitCondition = nullptr;

    std::atomic<uint32_t> cId = 0;
    std::atomic<int> cStage = RUNNING;
    std::atomic<bool> cStopWanted = false;  // suspended or ending
    std::atomic<bool> cEnding = false;
    std::atomic<bool> cSignalSent = false;  // and nothing has come of it yet: no second one is needed
    std::atomic<int> cGuardDepth = 1;       // of its own thread only; 1 while cBase is not set
    std::atomic<bool> cStopMissed = false;  // of its own thread only: the stop signal came under a guard
    int cTimesInLibrary = 0;                // of the handler only: that it came in vain, in a row
    std::atomic<int> cPriority = PRIORITY_NORMAL;
};

// The bracket around a blocking call.  Does nothing on a foreign thread and under a StopGuard: such a thread is not
// stoppable there.  Between its ends the thread is never cut off, so what it takes after the first end (memory, a share
// of an object) and gives back before the second is not lost.
class StoppableCall {
public:
    StoppableCall(std::mutex* apMutex, std::condition_variable* apCondition) : cState(ThreadState::Current()) {
        if (cState != nullptr && cState->IsGuarded())
            cState = nullptr;
        if (cState != nullptr)
            cState->EnterCall(apMutex, apCondition);
    }
    StoppableCall(const StoppableCall&) = delete;
    StoppableCall& operator=(const StoppableCall&) = delete;

    // For a wait that must not take anything while a stop is wanted.
    void Pause() {
        if (cState != nullptr)
            cState->PauseCall();
    }

    // To be called at the end, without a lock: not a destructor's work, since it may not return.
    void Leave() {
        if (cState != nullptr)
            cState->LeaveCall();
    }

    bool IsStopWanted() const { return cState != nullptr && cState->IsStopWanted(); }
    bool IsEnding() const { return cState != nullptr && cState->IsEnding(); }
    ThreadState* GetState() const { return cState; }

private:
    ThreadState* cState;
};

}  // namespace platform
