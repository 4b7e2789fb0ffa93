#pragma once

#include "runtime/rtemsStatusCode.h"

// The runtime's clock: one tick is one millisecond.

// A date and time in local time.
struct rtems_time_of_day {
    uint32_t year;    // the full year
    uint32_t month;   // 1 to 12
    uint32_t day;     // 1 to 31
    uint32_t hour;    // 0 to 23
    uint32_t minute;  // 0 to 59
    uint32_t second;  // 0 to 59
    uint32_t ticks;   // microseconds within the second
};

// Converts a time in microseconds to ticks.  It is rounded down, but 1 to 999 microseconds become one tick.
rtems_interval MicrosecondsToTicks(uint32_t aMicroseconds);

// The calling thread sleeps for aTicks; with 0 it gives up the rest of its time slice.  Always RTEMS_SUCCESSFUL.
rtems_status_code rtems_task_wake_after(rtems_interval aTicks);

// The calling thread sleeps until the time of day, or not at all if that has passed.  Always RTEMS_SUCCESSFUL.
rtems_status_code rtems_task_wake_when(const rtems_time_of_day* apTimeOfDay);
