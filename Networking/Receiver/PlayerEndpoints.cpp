#include "Networking/Receiver/PlayerEndpoints.h"

#include <string>

#include "platform/Console.h"

namespace {

constexpr uint32_t RECEIVING = 0;
constexpr uint32_t SENDING = 1;
constexpr uint32_t MAX_NETWORK_DELAY = 6000;  // milliseconds

bool OpenForMDI(DRMNetworkInterface& aEndpoint, const std::string& aAddress, uint32_t aLocalInterface) {
    if (aEndpoint.Open(aAddress.c_str(), aLocalInterface) != 1) {
        platform::Print("\nUnable to open port \"%s\" : Error %d", aAddress.c_str(),
                        static_cast<int>(aEndpoint.GetError()));
        platform::ReadKey();
        return false;
    }
    if (aEndpoint.EnableMDI() != 1) {
        platform::Print("\nUnable to enable MDI \"%s\" : Error %d", aAddress.c_str(),
                        static_cast<int>(aEndpoint.GetError()));
        return false;
    }
    return true;
}

bool OpenReceiver(const PlayerSettings& aSettings, DRMNetworkInterface& aReceiver) {
    aReceiver.ciSettings.mFileSizeLimit = aSettings.mFileSizeLimit;
    return OpenForMDI(aReceiver, "dcp.file.pft:" + aSettings.mInputFileName + ":0:0", 0);
}

bool OpenSender(const PlayerSettings& aSettings, DRMNetworkInterface& aSender) {
    aSender.ciSettings.mInterface = aSettings.mInterface;
    aSender.ciSettings.mTimeToLive = aSettings.mTimeToLive;
    aSender.ciSettings.mDSCP = aSettings.mDSCP;
    aSender.ciSettings.mProbeTries = aSettings.mProbeTries;
    aSender.ciSettings.mReopen = aSettings.mContinueAfterErrors;
    aSender.ciSupportedErrors = aSettings.mProtection;
    const char* const lpParity = aSettings.mProtection > 0 ? "?fec=1" : "";
    return OpenForMDI(
        aSender,
        "dcp.udp.pft://" + aSettings.mDrmOutputAddress + ":" + std::to_string(aSettings.mDrmOutputPort) + lpParity, 1);
}

bool StartEndpoint(DRMNetworkInterface& aEndpoint, const char* aRole) {
    if (aEndpoint.Start() == 1)
        return true;
    platform::Print("\nUnable to start DRM %s: Error %d", aRole, static_cast<int>(aEndpoint.GetError()));
    return false;
}

}  // namespace

bool StartEndpoints(const PlayerSettings& aSettings, StackObserver& aObserver, PlayerEndpoints* apEndpoints) {
    apEndpoints->mReceiver = new DRMNetworkInterface(RECEIVING, MAX_NETWORK_DELAY);
    apEndpoints->mReceiver->ciObserver = &aObserver;
    if (!OpenReceiver(aSettings, *apEndpoints->mReceiver))
        return false;
    apEndpoints->mSender = new DRMNetworkInterface(SENDING, 0);
    apEndpoints->mSender->ciObserver = &aObserver;
    if (!OpenSender(aSettings, *apEndpoints->mSender))
        return false;
    return StartEndpoint(*apEndpoints->mReceiver, "receiver") && StartEndpoint(*apEndpoints->mSender, "sender");
}
