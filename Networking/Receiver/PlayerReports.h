#pragma once

#include "Networking/Receiver/MetricsWriter.h"
#include "Networking/Receiver/PlayerMetrics.h"
#include "Networking/Receiver/PlayerSettings.h"
#include "Networking/Receiver/StackMetrics.h"

// What the player tells those who supervise it: metrics in a file, where the settings name one, and messages to the
// service manager, where there is one.  Must stay until the process is gone.
class PlayerReports {
public:
    explicit PlayerReports(const PlayerSettings& aSettings);

    // Starts what is wanted.  If anything is, the first signal that asks the process to end is left to the playing loop
    // (platform/Interrupt.h), so that Finish is reached.
    void Start();

    // Reports the end.
    void Finish();

    PlayerMetrics& GetMetrics() { return cMetrics; }
    StackObserver& GetObserver() { return cObserver; }  // for both endpoints

private:
    const bool cWritesMetrics;
    PlayerMetrics cMetrics;
    StackMetrics cObserver;
    MetricsWriter cWriter;
};
