#pragma once

#include <mutex>

#include "platform/Thread.h"

namespace platform {

// Locks a mutex for a scope and keeps the holder from being stopped meanwhile, so that nobody waits for a lock whose
// holder is suspended.  Every mutex that tasks share is taken through it.
class Lock {
public:
    explicit Lock(std::mutex& aMutex) : cLock(aMutex) {}

private:
    StopGuard cGuard;  // before the lock: taken earlier and given back later
    std::lock_guard<std::mutex> cLock;
};

}  // namespace platform
