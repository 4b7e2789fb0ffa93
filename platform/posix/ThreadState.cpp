#include "platform/posix/ThreadState.h"

#include <errno.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>

namespace platform {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds SIGNAL_PERIOD(1);    // between two stop signals to a thread that is busy under a guard
constexpr milliseconds STOP_LIMIT(2000);    // then it is taken as not stoppable
constexpr milliseconds FINISH_LIMIT(1000);  // for a thread that is ended to unwind

int StopSignal() {
    return SIGRTMIN;
}

// Linux keeps a nice value for each thread.
int NiceOfPriority(ThreadPriority aPriority) {
    switch (aPriority) {
        case PRIORITY_IDLE:
            return 19;
        case PRIORITY_LOWEST:
            return 10;
        case PRIORITY_BELOW_NORMAL:
            return 5;
        case PRIORITY_NORMAL:
            return 0;
        case PRIORITY_ABOVE_NORMAL:
            return -5;
        case PRIORITY_HIGHEST:
            return -10;
        case PRIORITY_TIME_CRITICAL:
            return -20;
    }
    return 0;
}

}  // namespace

thread_local ThreadState* ThreadState::sCurrent = nullptr;

ThreadState::~ThreadState() {
    if (cWakeHandle >= 0)
        close(cWakeHandle);
}

bool ThreadState::InstallStopSignal() {
    static const bool lInstalled = [] {
        struct sigaction lAction {};
        lAction.sa_handler = OnStopSignal;
        lAction.sa_flags = SA_RESTART;
        sigemptyset(&lAction.sa_mask);
        return sigaction(StopSignal(), &lAction, nullptr) == 0;
    }();
    return lInstalled;
}

std::shared_ptr<ThreadState> ThreadState::Start(void (*aEntry)(void*), void* aArgument) {
    auto lState = std::make_shared<ThreadState>();
    lState->cEntry = aEntry;
    lState->cArgument = aArgument;
    lState->cWakeHandle = eventfd(0, EFD_CLOEXEC);
    if (lState->cWakeHandle < 0 || !InstallStopSignal())
        return nullptr;

    pthread_attr_t lAttributes;
    if (pthread_attr_init(&lAttributes) != 0)
        return nullptr;
    pthread_attr_setdetachstate(&lAttributes, PTHREAD_CREATE_DETACHED);
    auto lShare = std::make_unique<std::shared_ptr<ThreadState>>(lState);  // the thread's own
    StopGuard lGuard;
    std::unique_lock lLock(lState->cMutex);
    const int lResult = pthread_create(&lState->cHandle, &lAttributes, Run, lShare.get());
    pthread_attr_destroy(&lAttributes);
    if (lResult != 0)
        return nullptr;
    static_cast<void>(lShare.release());
    lState->cChanged.wait(lLock, [&lState] { return lState->cId != 0; });
    return lState;
}

void* ThreadState::Run(void* aState) {
    const std::unique_ptr<std::shared_ptr<ThreadState>> lShare(static_cast<std::shared_ptr<ThreadState>*>(aState));
    ThreadState* const lpState = lShare->get();
    sCurrent = lpState;
    {
        const std::lock_guard lLock(lpState->cMutex);
        lpState->cId = static_cast<uint32_t>(syscall(SYS_gettid));
        lpState->cChanged.notify_all();
    }
    lpState->RunEntry();
    lpState->RaiseGuard();
    {
        const std::lock_guard lLock(lpState->cMutex);
        lpState->cStage = FINISHED;
        lpState->cChanged.notify_all();
    }
    sCurrent = nullptr;
    return nullptr;
}

// Apart from Run, so that no local of Run lives across the jump.
void ThreadState::RunEntry() {
    if (sigsetjmp(cBase, 1) != 0)
        return;
    try {
        LowerGuard();
        cEntry(cArgument);
    } catch (const ThreadEnd&) {
    }
}

void ThreadState::RaiseGuard() {
    cGuardDepth.fetch_add(1, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

void ThreadState::LowerGuard() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    cGuardDepth.fetch_sub(1, std::memory_order_relaxed);
}

void ThreadState::OnStopSignal(int) {
    const int lErrno = errno;
    if (sCurrent != nullptr)
        sCurrent->StopInHandler();
    errno = lErrno;
}

void ThreadState::StopInHandler() {
    while (cStopWanted && cStage == RUNNING && !IsGuarded()) {
        cStage = STOPPED;
        while (cStopWanted && !cEnding)
            ClearWake();
        if (cEnding)
            siglongjmp(cBase, 1);
        cStage = RUNNING;  // then asked again: a new wish may have taken the stage for a stop
    }
}

void ThreadState::ClearWake() {
    uint64_t lCount = 0;
    static_cast<void>(!read(cWakeHandle, &lCount, sizeof lCount));
}

void ThreadState::Wake() {
    const uint64_t lOne = 1;
    static_cast<void>(!write(cWakeHandle, &lOne, sizeof lOne));
}

void ThreadState::Park(std::unique_lock<std::mutex>& aLock) {
    cChanged.wait(aLock, [this] { return cSuspendCount == 0 || cEnding; });
    if (cEnding) {
        cWaitMutex = nullptr;
        cWaitCondition = nullptr;
        cUnwinding = true;
        throw ThreadEnd();
    }
}

void ThreadState::EnterCall(std::mutex* apMutex, std::condition_variable* apCondition) {
    StopGuard lGuard;
    std::unique_lock lLock(cMutex);
    cWaitMutex = apMutex;
    cWaitCondition = apCondition;
    cStage = AT_CALL;
    cChanged.notify_all();
    Park(lLock);
}

void ThreadState::PauseCall() {
    StopGuard lGuard;
    std::unique_lock lLock(cMutex);
    Park(lLock);
}

void ThreadState::LeaveCall() {
    StopGuard lGuard;
    std::unique_lock lLock(cMutex);
    Park(lLock);
    cWaitMutex = nullptr;
    cWaitCondition = nullptr;
    cStage = RUNNING;
}

// Waits until the thread is no longer running, or nobody wants it to stop any more.  False when it cannot be stopped.
bool ThreadState::WaitUntilStopped() {
    StoppableCall lCall(nullptr, nullptr);
    bool lStopped = false;
    {
        StopGuard lGuard;
        std::unique_lock lLock(cMutex);
        const auto lIsStopped = [this] { return cStage != RUNNING || !cStopWanted; };
        lStopped = cChanged.wait_for(lLock, milliseconds(GRACE_MILLISECONDS), lIsStopped);
        const auto lLimit = std::chrono::steady_clock::now() + STOP_LIMIT;
        while (!lStopped && std::chrono::steady_clock::now() < lLimit) {
            pthread_kill(cHandle, StopSignal());
            lStopped = cChanged.wait_for(lLock, SIGNAL_PERIOD, lIsStopped);
        }
    }
    lCall.Leave();
    return lStopped;
}

bool ThreadState::Suspend(uint32_t* aOldCount) {
    {
        StopGuard lGuard;
        const std::lock_guard lLock(cMutex);
        if (cStage == FINISHED || cEnding)
            return false;
        *aOldCount = cSuspendCount++;
        cStopWanted = true;
    }
    if (this == sCurrent) {
        EnterCall(nullptr, nullptr);
        LeaveCall();
        return true;
    }
    if (WaitUntilStopped())
        return true;
    uint32_t lOldCount = 0;
    Resume(&lOldCount);
    return false;
}

bool ThreadState::Resume(uint32_t* aOldCount) {
    StopGuard lGuard;
    const std::lock_guard lLock(cMutex);
    if (cStage == FINISHED)
        return false;
    *aOldCount = cSuspendCount;
    if (cSuspendCount == 0)
        return true;
    if (--cSuspendCount == 0 && !cEnding) {
        cStopWanted = false;
        cChanged.notify_all();
        if (cStage == STOPPED)
            Wake();
    }
    return true;
}

void ThreadState::End() {
    {
        StopGuard lGuard;
        const std::lock_guard lLock(cMutex);
        if (cStage == FINISHED)
            return;
        cEnding = true;
        cStopWanted = true;
        cChanged.notify_all();
        Wake();
        if (cWaitCondition != nullptr) {
            const std::lock_guard lWaitLock(*cWaitMutex);
            cWaitCondition->notify_all();
        }
    }
    WaitUntilStopped();
    // Bounded: its destructors may wait for a lock of the caller.
    StopGuard lGuard;
    std::unique_lock lLock(cMutex);
    cChanged.wait_for(lLock, FINISH_LIMIT, [this] { return cStage == FINISHED; });
}

void ThreadState::Unwind() {
    cUnwinding = true;
    throw ThreadEnd();
}

void ThreadState::CutOff() {
    RaiseGuard();
    siglongjmp(cBase, 1);
}

bool ThreadState::SetPriority(ThreadPriority aPriority) {
    if (setpriority(PRIO_PROCESS, cId, NiceOfPriority(aPriority)) != 0)
        return false;
    cPriority = aPriority;
    return true;
}

}  // namespace platform
