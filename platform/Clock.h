#pragma once

#include <cstdint>

// The system's clocks: a millisecond tick that never jumps, and the calendar.  Any thread.
namespace platform {

// Milliseconds of the monotonic clock, wrapping at 2^32.
uint32_t TickCount();

// Sleeps until the tick count has grown by aMilliseconds: a call at tick t returns when the tick t + aMilliseconds
// begins, so that a loop which sleeps in whole ticks does not drift against the clock.  0 gives up the rest of the
// time slice.  A thread that is suspended while it sleeps stays in here until it is resumed (Thread.h).
void Sleep(uint32_t aMilliseconds);

// Nanoseconds of the monotonic clock.
uint64_t MonotonicTime();

// Sleeps until MonotonicTime() has reached aTime; when it has already, gives up the rest of the time slice as Sleep(0).
void SleepUntil(uint64_t aTime);

// Calendar time (UTC), for what is shown to people only.
struct CalendarTime {
    int64_t mSeconds;        // since 1970-01-01 00:00:00 UTC
    uint32_t mMilliseconds;  // within the second
};
CalendarTime CalendarNow();

struct LocalTime {
    int mYear;    // four digits
    int mMonth;   // 1 to 12
    int mDay;     // 1 to 31
    int mHour;    // 0 to 23
    int mMinute;  // 0 to 59
    int mSecond;  // 0 to 60
};
LocalTime ToLocalTime(int64_t aCalendarSeconds);

// The inverse; daylight saving as the platform's calendar determines it.
int64_t ToCalendarSeconds(const LocalTime& aLocalTime);

}  // namespace platform
