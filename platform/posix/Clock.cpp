#include "platform/Clock.h"

#include <sched.h>
#include <sys/prctl.h>

#include <chrono>
#include <ctime>

#include "platform/posix/ThreadState.h"

namespace platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// The beginning of the current tick.
steady_clock::time_point CurrentTick() {
    return std::chrono::floor<milliseconds>(steady_clock::now());
}

// The kernel may wake a sleeper 50 us late by default, to save energy.  The rest of a wake-up takes far less time.
void MinimiseTimerSlack() {
    static thread_local const int lDone = prctl(PR_SET_TIMERSLACK, 1UL);
    static_cast<void>(lDone);
}

// A thread that is suspended while it waits stays in here until it is resumed.
void WaitUntil(steady_clock::time_point aDeadline) {
    MinimiseTimerSlack();
    WaitPoint lWaitPoint;
    StoppableCall lCall(&lWaitPoint);
    if (aDeadline <= steady_clock::now()) {
        sched_yield();
    } else {
        std::unique_lock lLock(lWaitPoint.mMutex);
        lWaitPoint.mChanged.wait_until(lLock, aDeadline, [&lCall] { return lCall.IsEnding(); });
    }
    lCall.Leave();
}

}  // namespace

uint32_t TickCount() {
    return static_cast<uint32_t>(std::chrono::duration_cast<milliseconds>(CurrentTick().time_since_epoch()).count());
}

void Sleep(uint32_t aMilliseconds) {
    WaitUntil(CurrentTick() + milliseconds(aMilliseconds));
}

uint64_t MonotonicTime() {
    return static_cast<uint64_t>(std::chrono::nanoseconds(steady_clock::now().time_since_epoch()).count());
}

void SleepUntil(uint64_t aTime) {
    WaitUntil(steady_clock::time_point(std::chrono::nanoseconds(aTime)));
}

CalendarTime CalendarNow() {
    const auto lNow = std::chrono::system_clock::now().time_since_epoch();
    const auto lSeconds = std::chrono::floor<std::chrono::seconds>(lNow);
    return {lSeconds.count(), static_cast<uint32_t>(std::chrono::duration_cast<milliseconds>(lNow - lSeconds).count())};
}

LocalTime ToLocalTime(int64_t aCalendarSeconds) {
    const std::time_t lSeconds = aCalendarSeconds;
    std::tm lTime{};
    localtime_r(&lSeconds, &lTime);
    return {lTime.tm_year + 1900, lTime.tm_mon + 1, lTime.tm_mday, lTime.tm_hour, lTime.tm_min, lTime.tm_sec};
}

int64_t ToCalendarSeconds(const LocalTime& aLocalTime) {
    std::tm lTime{};
    lTime.tm_year = aLocalTime.mYear - 1900;
    lTime.tm_mon = aLocalTime.mMonth - 1;
    lTime.tm_mday = aLocalTime.mDay;
    lTime.tm_hour = aLocalTime.mHour;
    lTime.tm_min = aLocalTime.mMinute;
    lTime.tm_sec = aLocalTime.mSecond;
    lTime.tm_isdst = -1;
    return std::mktime(&lTime);
}

}  // namespace platform
