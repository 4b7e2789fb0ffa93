#include "Networking/Receiver/Player.h"

#include "DrmUtil/CNameResolutionDaemon.h"
#include "Networking/Receiver/PlayerEndpoints.h"
#include "Networking/Receiver/PlayerSettings.h"
#include "Networking/Receiver/PlayingLoop.h"
#include "platform/Console.h"
#include "platform/Socket.h"

void RunPlayer() {
    platform::Print(
        "******************************************\n"
        "** Starting MDI File Player application **\n"
        "**       VESTRAL Tessavox player        **\n"
        "******************************************\n\n");
    PlayerSettings lSettings;
    if (!ReadPlayerSettings(&lSettings))
        return;
    if (lSettings.mQuietConsole)
        platform::QuietConsole();
    CNameResolutionDaemon::cProbeTries = lSettings.mProbeTries;
    if (!platform::StartSockets()) {
        platform::Print("WSAStartup KO");
        return;
    }
    // The endpoints are never deleted: their tasks use them until the process is gone.
    static PlayerEndpoints slEndpoints;
    if (!StartEndpoints(lSettings, &slEndpoints))
        return;
    platform::Print("\nStarting DRM player application. PRESS 'q' to quit.\n");
    PlayingLoop(lSettings, *slEndpoints.mReceiver, *slEndpoints.mSender).Run();
}
