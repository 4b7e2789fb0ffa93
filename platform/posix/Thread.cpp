#include "platform/Thread.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "platform/posix/ThreadState.h"

namespace platform {

uint32_t ProcessId() {
    return static_cast<uint32_t>(getpid());
}

Thread::Thread(std::shared_ptr<ThreadState> aState) : cState(std::move(aState)) {}

std::unique_ptr<Thread> Thread::Start(void (*aEntry)(void*), void* aArgument) {
    auto lState = ThreadState::Start(aEntry, aArgument);
    if (lState == nullptr)
        return nullptr;
    return std::unique_ptr<Thread>(new Thread(std::move(lState)));
}

uint32_t Thread::GetId() const {
    return cState->GetId();
}

bool Thread::IsCurrent() const {
    return cState.get() == ThreadState::Current();
}

bool Thread::Suspend(uint32_t* aOldCount) {
    const auto lState = cState;
    return lState->Suspend(aOldCount);
}

bool Thread::Resume(uint32_t* aOldCount) {
    return cState->Resume(aOldCount);
}

void Thread::End() {
    cState->End();
}

void Thread::EndCurrent() {
    if (ThreadState::Current() == nullptr)
        std::abort();
    ThreadState::Current()->Unwind();
}

void Thread::EndCurrentWithoutUnwinding() {
    if (ThreadState::Current() == nullptr)
        std::abort();
    ThreadState::Current()->CutOff();
}

ThreadPriority Thread::GetPriority() const {
    return cState->GetPriority();
}

bool Thread::SetPriority(ThreadPriority aPriority) {
    return cState->SetPriority(aPriority);
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
