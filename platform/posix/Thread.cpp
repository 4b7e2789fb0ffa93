#include "platform/Thread.h"

#include <unistd.h>

#include "platform/Lock.h"
#include "platform/posix/ThreadState.h"

namespace platform {

uint32_t ProcessId() {
    return static_cast<uint32_t>(getpid());
}

std::shared_ptr<ThreadState> Thread::GetState() const {
    const Lock lLock(cMutex);
    return cState;
}

bool Thread::Start(void (*aEntry)(void*), void* aArgument) {
    const Lock lLock(cMutex);
    if (cState != nullptr && cState->IsRunning())
        return false;
    cState = ThreadState::Start(aEntry, aArgument);
    return cState != nullptr;
}

bool Thread::IsRunning() const {
    const StopGuard lGuard;
    const auto lState = GetState();
    return lState != nullptr && lState->IsRunning();
}

bool Thread::IsCurrent() const {
    const Lock lLock(cMutex);
    return cState != nullptr && cState.get() == ThreadState::Current();
}

bool Thread::Suspend(uint32_t* aOldCount) {
    // The caller holds its share of the state only inside the bracket, where it is not ended itself.
    StoppableCall lCall;
    auto lState = GetState();
    const bool lSuspended = lState != nullptr && lState->Suspend(aOldCount);
    lState = nullptr;
    lCall.Leave();
    return lSuspended;
}

bool Thread::Resume(uint32_t* aOldCount) {
    const StopGuard lGuard;
    const auto lState = GetState();
    return lState != nullptr && lState->Resume(aOldCount);
}

void Thread::End() {
    if (IsCurrent())
        ThreadState::Current()->CutOff();
    StoppableCall lCall;
    if (const auto lState = GetState(); lState != nullptr)
        lState->End();
    lCall.Leave();
}

ThreadPriority Thread::GetPriority() const {
    const StopGuard lGuard;
    const auto lState = GetState();
    return lState != nullptr && lState->IsRunning() ? lState->GetPriority() : PRIORITY_NORMAL;
}

bool Thread::SetPriority(ThreadPriority aPriority) {
    const StopGuard lGuard;
    const auto lState = GetState();
    return lState != nullptr && lState->SetPriority(aPriority);
}

StopGuard::StopGuard() {
    if (ThreadState::Current() != nullptr)
        ThreadState::Current()->RaiseGuard();
}

StopGuard::~StopGuard() {
    if (ThreadState::Current() != nullptr)
        ThreadState::Current()->LowerGuard();
}

}  // namespace platform
