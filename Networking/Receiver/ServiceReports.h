#pragma once

#include "Networking/Receiver/PlayerMetrics.h"

// Reports to the service manager (platform/ServiceManager.h), if there is one, from a thread of its own: that the
// player is ready, once a unit was handed to the sender, whatever the network does with it; then every 5 s a line of
// counts, and that it is alive if the sender's task has finished units meanwhile.  The metrics must stay until the
// process is gone.
void StartServiceReports(const PlayerMetrics& aMetrics);
