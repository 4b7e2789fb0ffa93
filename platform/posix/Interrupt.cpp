#include "platform/Interrupt.h"

#include <signal.h>
#include <time.h>

#include <atomic>
#include <cstdint>

namespace platform {
namespace {

constexpr int64_t IGNORED_TIME = 2000;  // milliseconds after the first signal

std::atomic<int64_t> sFirstSignal = 0;  // its time in milliseconds; 0 before
static_assert(std::atomic<int64_t>::is_always_lock_free, "a signal handler sets it");

int64_t Now() {
    timespec lTime = {};
    clock_gettime(CLOCK_MONOTONIC, &lTime);
    return int64_t{lTime.tv_sec} * 1000 + lTime.tv_nsec / 1000000;
}

void Remember(int aSignal) {
    const int64_t lNow = Now();
    int64_t lFirst = 0;
    if (!sFirstSignal.compare_exchange_strong(lFirst, lNow) && lNow - lFirst > IGNORED_TIME) {
        signal(aSignal, SIG_DFL);
        raise(aSignal);  // is delivered when this handler returns
    }
}

}  // namespace

void CatchInterrupts() {
    struct sigaction lAction = {};
    lAction.sa_handler = Remember;
    lAction.sa_flags = SA_RESTART;
    for (const int lSignal : {SIGINT, SIGTERM, SIGHUP})
        sigaction(lSignal, &lAction, nullptr);
}

bool Interrupted() {
    return sFirstSignal != 0;
}

void IgnoreBrokenPipes() {
    signal(SIGPIPE, SIG_IGN);
}

}  // namespace platform
