#pragma once

#include <mutex>

#include "platform/Thread.h"

namespace platform {

// Locks a mutex for a scope, in which the holder is not stopped: otherwise others would wait for a suspended thread.
// Every mutex that tasks share is locked in this way.
class Lock {
public:
    explicit Lock(std::mutex& aMutex) : cLock(aMutex) {}

private:
    StopGuard cGuard;  // declared first, so that it begins before the lock and ends after it
    std::lock_guard<std::mutex> cLock;
};

}  // namespace platform
