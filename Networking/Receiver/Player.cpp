#include "Networking/Receiver/Player.h"

#include "DrmUtil/CNameResolutionDaemon.h"
#include "Networking/Receiver/PlayerEndpoints.h"
#include "Networking/Receiver/PlayerReports.h"
#include "Networking/Receiver/PlayerSettings.h"
#include "Networking/Receiver/PlayingLoop.h"
#include "platform/Console.h"
#include "platform/Socket.h"

namespace {

void Play(const PlayerSettings& aSettings, PlayerReports& aReports) {
    // The endpoints are never deleted: their tasks use them until the process is gone.
    static PlayerEndpoints slEndpoints;
    if (!StartEndpoints(aSettings, aReports.GetObserver(), &slEndpoints))
        return;
    // Otherwise the first unit would make the daemon and go out later after its due time than all others.
    if (aSettings.mAbsolutePacing)
        CNameResolutionDaemon::GetInstance();
    platform::Print("\nStarting DRM player application. PRESS 'q' to quit.\n");
    PlayingLoop(aSettings, *slEndpoints.mReceiver, *slEndpoints.mSender, aReports.GetMetrics()).Run();
}

}  // namespace

void RunPlayer() {
    if (WantsQuietConsole())
        platform::QuietConsole();
    platform::Print(
        "******************************************\n"
        "** Starting MDI File Player application **\n"
        "**       VESTRAL Tessavox player        **\n"
        "******************************************\n\n");
    PlayerSettings lSettings;
    if (!ReadPlayerSettings(&lSettings))
        return;
    if (!platform::StartSockets()) {
        platform::Print("WSAStartup KO");
        return;
    }
    static PlayerReports& slReports = *new PlayerReports(lSettings);  // never deleted either
    slReports.Start();
    Play(lSettings, slReports);
    slReports.Finish();
}
