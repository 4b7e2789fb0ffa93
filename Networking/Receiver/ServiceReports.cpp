#include "Networking/Receiver/ServiceReports.h"

#include "platform/Clock.h"
#include "platform/ServiceManager.h"
#include "platform/Thread.h"

namespace {

constexpr uint32_t START_PERIOD = 100;    // milliseconds between two looks for the first unit
constexpr uint32_t REPORT_PERIOD = 5000;  // milliseconds

const PlayerMetrics* spMetrics = nullptr;

void Report(void* /*apArgument*/) {
    while (spMetrics->GetUnitsHanded() == 0 || !platform::NotifyReady())
        platform::Sleep(START_PERIOD);
    for (uint64_t lReported = 0;;) {
        const uint64_t lFinished = spMetrics->GetUnitsFinished();
        if (lFinished != lReported)
            platform::NotifyAlive();
        lReported = lFinished;
        platform::NotifyStatus(spMetrics->StatusLine());
        platform::Sleep(REPORT_PERIOD);
    }
}

}  // namespace

void StartServiceReports(const PlayerMetrics& aMetrics) {
    if (!platform::HasServiceManager())
        return;
    spMetrics = &aMetrics;
    platform::Thread().Start(Report, nullptr);
}
