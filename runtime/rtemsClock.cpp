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
    // Each field is limited to a million, which keeps the sums below from overflowing; larger dates mean nothing.
    const auto lField = [](uint32_t aValue) { return static_cast<int>(std::min<uint32_t>(aValue, 1000000)); };
    const int64_t lTarget = platform::ToCalendarSeconds({lField(apTimeOfDay->year), lField(apTimeOfDay->month),
                                                         lField(apTimeOfDay->day), lField(apTimeOfDay->hour),
                                                         lField(apTimeOfDay->minute), lField(apTimeOfDay->second)});
    const int64_t lDelay = (lTarget - lNow.mSeconds) * 1000 + apTimeOfDay->ticks / 1000 - lNow.mMilliseconds;
    if (lDelay >= 0)
        platform::Sleep(static_cast<uint32_t>(std::min<int64_t>(lDelay, std::numeric_limits<uint32_t>::max())));
    return RTEMS_SUCCESSFUL;
}
