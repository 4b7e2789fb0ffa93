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

// How threads are stopped from outside on a system that offers no such operation.
//
// A thread is in one of four stages:
// - RUNNING: it computes.
// - AT_CALL: it is inside a StoppableCall, the bracket around every blocking platform call.  It does not leave the
//   bracket while somebody wants it to stop, so it counts as stopped.
// - STOPPED: it waits in the handler of the stop signal, or at the end of a guard during which the signal came.
// - FINISHED: it has ended.
// Whoever wants a stop raises the suspend count (or sets cEnding), then waits for the thread to leave RUNNING, and
// after the grace sends the signal.
//
// The thread changes between RUNNING and AT_CALL under cMutex, and whoever wants a stop holds cMutex too.  The signal's
// handler may take no lock.  So the handler first writes the stage and then reads the wish, and whoever changes the
// wish first writes it and then reads the stage (sequentially consistent): at least one of the two sees the other.
//
// A thread that is ended jumps to its start routine, which then returns.  It jumps from one of three places: from an
// end of the bracket, where it holds no lock and is inside no wait, from the signal's handler, and from its own End.
namespace platform {

// What a thread waits with inside a bracket.  It must exist until the thread has left the bracket or has ended.
struct WaitPoint {
    std::mutex mMutex;
    std::condition_variable mChanged;
};

class ThreadState {
public:
    enum Stage { RUNNING, AT_CALL, STOPPED, FINISHED };

    ~ThreadState();

    // Null when the system gives no thread or no handle.
    static std::shared_ptr<ThreadState> Start(void (*aEntry)(void*), void* aArgument);
    static ThreadState* Current() { return sCurrent; }  // null on a thread that Start did not make

    bool IsRunning() const { return cStage != FINISHED; }

    // Thread's operations.  Suspend and End wait, so the caller is inside a StoppableCall.
    bool Suspend(uint32_t* aOldCount);
    bool Resume(uint32_t* aOldCount);
    void End();
    [[noreturn]] void CutOff() { siglongjmp(cBase, 1); }  // ends the calling thread, whose state this must be

    ThreadPriority GetPriority() const { return static_cast<ThreadPriority>(cPriority.load()); }
    bool SetPriority(ThreadPriority aPriority);

    // To be called on the thread itself.
    void RaiseGuard();
    void LowerGuard();
    bool IsGuarded() const { return cGuardDepth.load(std::memory_order_relaxed) > 0; }
    bool IsStopWanted() const { return cStopWanted; }
    bool IsEnding() const { return cEnding; }
    int GetWakeHandle() const { return cWakeHandle; }
    void ClearWake();

    // The bracket's two ends.  Both wait while the thread is suspended and do not return when it is ended.  End
    // notifies apWaitPoint, unless it is null.
    void EnterCall(WaitPoint* apWaitPoint);
    void PauseCall();  // waits in the same way, inside the bracket
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
    int cWakeHandle = -1;  // an eventfd, which ends the wait of a poll or of the stop signal's handler
    sigjmp_buf cBase{};    // in the start routine: where an ended thread goes

    std::mutex cMutex;
    std::condition_variable cChanged;  // the stage or a wish changed
    uint32_t cSuspendCount = 0;        // under cMutex
    WaitPoint* cWaitPoint = nullptr;   // under cMutex

    std::atomic<uint32_t> cId = 0;
    std::atomic<int> cStage = RUNNING;
    std::atomic<bool> cStopWanted = false;  // suspended or ending
    std::atomic<bool> cEnding = false;
    std::atomic<bool> cSignalSent = false;  // a signal is on its way, or came under a guard: no second one is needed
    std::atomic<int> cPriority = PRIORITY_NORMAL;

    // Used by the thread itself and its signal handler only.
    std::atomic<int> cGuardDepth = 1;       // above 0 as long as cBase is not valid
    std::atomic<bool> cStopMissed = false;  // the stop signal came under a guard
    int cTimesInLibrary = 0;                // signals in a row that found the thread inside a library
};

// The bracket around a blocking call.  It does nothing on a thread that Start did not make and under a StopGuard: such
// a thread is not stoppable there.  A thread is ended only at the two ends of the bracket, not in between; so what it
// takes after the first (memory, a share of an object) and gives back before the second is not lost.
class StoppableCall {
public:
    explicit StoppableCall(WaitPoint* apWaitPoint = nullptr) : cState(ThreadState::Current()) {
        if (cState != nullptr && cState->IsGuarded())
            cState = nullptr;
        if (cState != nullptr)
            cState->EnterCall(apWaitPoint);
    }
    StoppableCall(const StoppableCall&) = delete;
    StoppableCall& operator=(const StoppableCall&) = delete;

    // Waits until the thread may go on.  For a call that must not take anything while the thread is suspended.
    void Pause() {
        if (cState != nullptr)
            cState->PauseCall();
    }

    // To be called at the end, without a lock held.  Not left to the destructor, because it does not always return.
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
