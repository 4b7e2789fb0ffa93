#include "platform/Clock.h"

#include <sched.h>
#include <sys/prctl.h>

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>

#include "platform/posix/ThreadState.h"

namespace platform {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// The beginning of the current tick.
steady_clock::time_point CurrentTick() {
    return std::chrono::floor<milliseconds>(steady_clock::now());
}

// By default the kernel may wake a sleeper 50 us late to save energy: far more than the rest of a wake-up takes.
void MinimiseTimerSlack() {
    static thread_local const int lDone = prctl(PR_SET_TIMERSLACK, 1UL);
    static_cast<void>(lDone);
}

}  // namespace

uint32_t TickCount() {
    return static_cast<uint32_t>(std::chrono::duration_cast<milliseconds>(CurrentTick().time_since_epoch()).count());
}

void Sleep(uint32_t aMilliseconds) {
    const auto lDeadline = CurrentTick() + milliseconds(aMilliseconds);
    MinimiseTimerSlack();
    std::mutex lMutex;
    std::condition_variable lEnded;
    StoppableCall lCall(&lMutex, &lEnded);
    if (aMilliseconds == 0) {
        sched_yield();
    } else {
        std::unique_lock lLock(lMutex);
        lEnded.wait_until(lLock, lDeadline, [&lCall] { return lCall.IsEnding(); });
    }
    lCall.Leave();
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
