#include "platform/Interrupt.h"

#include <signal.h>

#include <atomic>

namespace platform {
namespace {

std::atomic<bool> sInterrupted = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

void Remember(int) {
    sInterrupted = true;
}

}  // namespace

void CatchInterrupts() {
    struct sigaction lAction = {};
    lAction.sa_handler = Remember;
    lAction.sa_flags = SA_RESTART;
    sigaction(SIGINT, &lAction, nullptr);
    sigaction(SIGTERM, &lAction, nullptr);
}

bool Interrupted() {
    return sInterrupted;
}

}  // namespace platform
