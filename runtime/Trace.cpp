#include "runtime/Trace.h"

#include <cstdio>
#include <cstring>

#include "platform/Clock.h"
#include "platform/Semaphore.h"
#include "platform/Thread.h"

namespace {

constexpr size_t TRACE_BUFFER_SIZE = 300;
constexpr int MAX_MESSAGE_LENGTH = 272;  // the buffer without time stamp, line end and NUL

// Never destroyed, because tasks write traces until the process is gone.
platform::Semaphore& TraceLock() {
    static platform::Semaphore* const slpLock = new platform::Semaphore(1, 1000);
    return *slpLock;
}

// Makes the lock before main begins, and so before any task can need it.
[[maybe_unused]] const platform::Semaphore* const sTraceLockMade = &TraceLock();

void AppendLine(const char* apMessage) {
    std::FILE* const lpFile = std::fopen("ERR_SYS.tra", "a");
    if (lpFile == nullptr)
        return;
    const platform::LocalTime lTime = platform::ToLocalTime(platform::CalendarNow().mSeconds);
    char lLine[TRACE_BUFFER_SIZE];
    std::snprintf(lLine, sizeof lLine, "(at %.2d/%.2d/%.4d, %.2d:%.2d:%.2d) %.*s\n", lTime.mDay, lTime.mMonth,
                  lTime.mYear, lTime.mHour, lTime.mMinute, lTime.mSecond, MAX_MESSAGE_LENGTH, apMessage);
    std::fwrite(lLine, 1, std::strlen(lLine), lpFile);
    std::fclose(lpFile);
}

}  // namespace

void WriteTrace(const char* apMessage) {
    const platform::StopGuard lGuard;
    TraceLock().Wait(platform::Semaphore::NO_TIME_LIMIT);
    AppendLine(apMessage);
    TraceLock().Release();
}

void AssertFailed(const char* apCondition, const char* apFile, int aLine) {
    char lMessage[TRACE_BUFFER_SIZE];
    std::snprintf(lMessage, sizeof lMessage, "Assertion (%s) in file \"%s\" at line %d", apCondition, apFile, aLine);
    WriteTrace(lMessage);
}
