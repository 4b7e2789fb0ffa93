#pragma once

#include "Networking/DRMNetworkInterface.h"
#include "Networking/Receiver/PlayerSettings.h"

struct PlayerEndpoints {
    DRMNetworkInterface* mReceiver = nullptr;  // the recording
    DRMNetworkInterface* mSender = nullptr;    // the UDP output
};

// Makes, opens, enables and starts both endpoints, which are never deleted.  False after a failure, reported on the
// console; apEndpoints then holds those that were made.
bool StartEndpoints(const PlayerSettings& aSettings, StackObserver& aObserver, PlayerEndpoints* apEndpoints);
