#include "runtime/rtemsClock.h"

#include <algorithm>
#include <limits>

#include "platform/Clock.h"

rtems_interval MicrosecondsToTicks(uint32_t aMicroseconds) {
    if (aMicroseconds == 0)
        return 0;
    return std::max<uint32_t>(aMicroseconds, 1000) / 1000;
}

rtems_status_code rtems_task_wake_after(rtems_interval aTicks) {
    platform::Sleep(aTicks);
    return RTEMS_SUCCESSFUL;
}

rtems_status_code rtems_task_wake_when(const rtems_time_of_day* apTimeOfDay) {
    const platform::CalendarTime lNow = platform::CalendarNow();
    const int64_t lTarget =
        platform::ToCalendarSeconds({static_cast<int>(apTimeOfDay->year), static_cast<int>(apTimeOfDay->month),
                                     static_cast<int>(apTimeOfDay->day), static_cast<int>(apTimeOfDay->hour),
                                     static_cast<int>(apTimeOfDay->minute), static_cast<int>(apTimeOfDay->second)});
    const int64_t lDelay = (lTarget - lNow.mSeconds) * 1000 + apTimeOfDay->ticks / 1000 - lNow.mMilliseconds;
    if (lDelay >= 0)
        platform::Sleep(static_cast<uint32_t>(std::min<int64_t>(lDelay, std::numeric_limits<uint32_t>::max())));
    return RTEMS_SUCCESSFUL;
}
