#pragma once

#include <cstdint>

// The system's clocks: a millisecond tick that never jumps, and the calendar.  Any thread.
namespace platform {

// Milliseconds of the monotonic clock, wrapping at 2^32.
uint32_t TickCount();

// Sleeps until the tick count has grown by aMilliseconds: a call at tick t returns when the tick t + aMilliseconds
// begins, so that a loop which sleeps in whole ticks does not drift against the clock.  With 0 the thread only gives up
// the rest of its time slice.  A thread that is suspended while it sleeps does not return before it is resumed
// (Thread.h).
void Sleep(uint32_t aMilliseconds);

// Nanoseconds of the monotonic clock.
uint64_t MonotonicTime();

// Sleeps until MonotonicTime() is at least aTime.  If it is already, the thread only gives up the rest of its time
// slice.
void SleepUntil(uint64_t aTime);

// Calendar time (UTC).  It may jump, so it serves only to be shown to people.
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

// The seconds since 1970 of a local time; the system's calendar tells whether daylight saving is in force then.
int64_t ToCalendarSeconds(const LocalTime& aLocalTime);

}  // namespace platform
