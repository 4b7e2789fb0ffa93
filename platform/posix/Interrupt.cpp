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
    lAction.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
    for (const int lSignal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(lSignal, &lAction, nullptr);
}

bool Interrupted() {
    return sInterrupted;
}

void IgnoreBrokenPipes() {
    signal(SIGPIPE, SIG_IGN);
}

}  // namespace platform
