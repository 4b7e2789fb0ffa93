#include "Networking/Receiver/PlayerReports.h"

#include "Networking/Receiver/ServiceReports.h"
#include "platform/Interrupt.h"
#include "platform/ServiceManager.h"

PlayerReports::PlayerReports(const PlayerSettings& aSettings)
    : cWritesMetrics(!aSettings.mMetricsFile.empty()),
      cMetrics(aSettings.mDrmOutputAddress + ":" + std::to_string(aSettings.mDrmOutputPort)),
      cObserver(cMetrics),
      cWriter(cMetrics, aSettings.mMetricsFile) {}

void PlayerReports::Start() {
    if (cWritesMetrics || platform::HasServiceManager())
        platform::CatchInterrupts();
    if (cWritesMetrics)
        cWriter.Start();
    StartServiceReports(cMetrics);
}

void PlayerReports::Finish() {
    platform::NotifyStopping();
    if (cWritesMetrics)
        cWriter.Finish();
}
