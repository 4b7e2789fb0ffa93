#include "platform/posix/ThreadState.h"

#include <errno.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "platform/posix/LibraryCode.h"

namespace platform {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds GRACE_CHECK(2);                   // between two looks whether the grace is over
constexpr milliseconds GRACE_LIMIT(1000);                // of real time, for a thread that gets no processor
constexpr std::chrono::microseconds SIGNAL_PERIOD(100);  // between two stop signals to a thread that cannot stop yet
constexpr int MOST_TIMES_IN_LIBRARY = 5000;              // signals that a thread inside a library passes over
constexpr milliseconds STOP_LIMIT(10000);                // after that the thread counts as not stoppable

int StopSignal() {
    return SIGRTMIN;
}

// Linux keeps a nice value for each thread; the levels count from the process's own, in steps of 5.
bool SetNice(uint32_t aThreadId, ThreadPriority aPriority) {
    const int lOfProcess = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    const int lOfLevel = std::clamp(-5 * aPriority, -20, 19);
    return setpriority(PRIO_PROCESS, aThreadId, std::clamp(lOfProcess + lOfLevel, -20, 19)) == 0;
}

// A thread inherits the blocked signals of its creator, who may have blocked this one.
void UnblockStopSignal() {
    sigset_t lSignals;
    sigemptyset(&lSignals);
    sigaddset(&lSignals, StopSignal());
    pthread_sigmask(SIG_UNBLOCK, &lSignals, nullptr);
}

std::chrono::nanoseconds ProcessorTime(pthread_t aThread) {
    clockid_t lClock;
    timespec lTime{};
    if (pthread_getcpuclockid(aThread, &lClock) == 0)
        clock_gettime(lClock, &lTime);
    return std::chrono::seconds(lTime.tv_sec) + std::chrono::nanoseconds(lTime.tv_nsec);
}

}  // namespace

thread_local ThreadState* ThreadState::sCurrent = nullptr;

ThreadState::~ThreadState() {
    if (cWakeHandle >= 0)
        close(cWakeHandle);
}

bool ThreadState::InstallStopSignal() {
    static const bool lInstalled = [] {
        posix::FindLibraryCode();
        struct sigaction lAction {};
        lAction.sa_sigaction = OnStopSignal;
        lAction.sa_flags = SA_RESTART | SA_SIGINFO;
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
    auto lShare = std::make_unique<std::shared_ptr<ThreadState>>(lState);  // the share that the new thread holds
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
    UnblockStopSignal();
    SetNice(static_cast<uint32_t>(syscall(SYS_gettid)), PRIORITY_NORMAL);  // otherwise it would have its creator's
    {
        const std::lock_guard lLock(lpState->cMutex);
        lpState->cId = static_cast<uint32_t>(syscall(SYS_gettid));
        lpState->cChanged.notify_all();
    }
    lpState->RunEntry();
    {
        const std::lock_guard lLock(lpState->cMutex);
        lpState->cStage = FINISHED;
        lpState->cChanged.notify_all();
    }
    sCurrent = nullptr;
    return nullptr;
}

// A function of its own, so that the jump does not cross any local of Run.  The thread is guarded before and after it,
// because cBase is valid only inside.
void ThreadState::RunEntry() {
    if (sigsetjmp(cBase, 1) == 0) {
        LowerGuard();
        cEntry(cArgument);
    }
    RaiseGuard();
}

void ThreadState::RaiseGuard() {
    cGuardDepth.fetch_add(1, std::memory_order_relaxed);
    std::atomic_signal_fence(std::memory_order_seq_cst);
}

void ThreadState::LowerGuard() {
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (cGuardDepth.fetch_sub(1, std::memory_order_relaxed) == 1 && cStopMissed) {
        cStopMissed = false;
        StopHere();
    }
}

void ThreadState::OnStopSignal(int, siginfo_t*, void* aContext) {
    ThreadState* const lpState = sCurrent;
    if (lpState == nullptr)
        return;
    const int lErrno = errno;
    if (lpState->IsGuarded())
        lpState->cStopMissed = true;  // the guard's end will stop the thread
    else if (posix::IsInLibraryCode(aContext) && ++lpState->cTimesInLibrary <= MOST_TIMES_IN_LIBRARY)
        lpState->cSignalSent = false;  // so that another signal is sent soon
    else
        lpState->StopHere();
    errno = lErrno;
}

// Called in the signal's handler and at the end of a guard.
void ThreadState::StopHere() {
    cSignalSent = false;
    cTimesInLibrary = 0;
    while (cStopWanted && cStage == RUNNING && !IsGuarded()) {
        cStage = STOPPED;
        while (cStopWanted && !cEnding)
            ClearWake();
        if (cEnding)
            CutOff();
        cStage = RUNNING;  // check again: another Suspend may have seen STOPPED and counted on it
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
        cWaitPoint = nullptr;
        aLock.unlock();
        CutOff();
    }
}

void ThreadState::EnterCall(WaitPoint* apWaitPoint) {
    StopGuard lGuard;
    std::unique_lock lLock(cMutex);
    cWaitPoint = apWaitPoint;
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
    cWaitPoint = nullptr;
    cStage = RUNNING;
}

// Waits until the thread stands still: until it is at a call or stopped, or has finished when it is to end, or until
// nobody wants it to stop any more.  False when STOP_LIMIT has passed, or when the calling thread is to end itself and
// the other one comes to its end without more help: two threads that end each other must not wait for each other.
bool ThreadState::WaitUntilStill() {
    const ThreadState* const lpCaller = sCurrent != nullptr && !sCurrent->IsGuarded() ? sCurrent : nullptr;
    const auto lIsStill = [this] { return cStage == FINISHED || !cStopWanted || (cStage != RUNNING && !cEnding); };
    StopGuard lGuard;
    std::unique_lock lLock(cMutex);
    if (lIsStill())
        return true;
    const auto lStart = std::chrono::steady_clock::now();
    const auto lProcessorStart = ProcessorTime(cHandle);
    std::chrono::microseconds lPeriod = GRACE_CHECK;
    while (!cChanged.wait_for(lLock, lPeriod, lIsStill)) {
        const auto lElapsed = std::chrono::steady_clock::now() - lStart;
        if (lElapsed >= STOP_LIMIT || (cStage != RUNNING && lpCaller != nullptr && lpCaller->cEnding))
            return false;
        if (lElapsed >= GRACE_LIMIT || ProcessorTime(cHandle) - lProcessorStart >= milliseconds(GRACE_MILLISECONDS))
            lPeriod = SIGNAL_PERIOD;
        if (lPeriod == SIGNAL_PERIOD && cStage == RUNNING && !cSignalSent.exchange(true))
            pthread_kill(cHandle, StopSignal());
    }
    return true;
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
        cStopMissed = true;  // it stops at the end of its bracket or guard
        return true;
    }
    if (WaitUntilStill())
        return cStage != FINISHED;
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
        if (cWaitPoint != nullptr) {
            const std::lock_guard lWaitLock(cWaitPoint->mMutex);
            cWaitPoint->mChanged.notify_all();
        }
    }
    WaitUntilStill();
}

bool ThreadState::SetPriority(ThreadPriority aPriority) {
    StopGuard lGuard;
    const std::lock_guard lLock(cMutex);
    if (cStage == FINISHED || !SetNice(cId, aPriority))  // another thread may have the id of a finished one
        return false;
    cPriority = aPriority;
    return true;
}

}  // namespace platform
