#pragma once

#include <cstdint>

#include "Networking/DRMNetworkInterface.h"
#include "Networking/FacFields.h"
#include "Networking/MDIUnit.h"
#include "Networking/Receiver/FrameGrid.h"
#include "Networking/Receiver/Pacer.h"
#include "Networking/Receiver/PlayerMetrics.h"
#include "Networking/Receiver/PlayerSettings.h"
#include "Networking/Receiver/SenderCodes.h"
#include "Networking/SuperFrameOrder.h"

// Forwards units from the receiver to the sender, renumbered and in the order of the super frame, until the key q or an
// error.  What it is given outlives it.
class PlayingLoop {
public:
    PlayingLoop(const PlayerSettings& aSettings, DRMNetworkInterface& aReceiver, DRMNetworkInterface& aSender,
                PlayerMetrics& aMetrics)
        : cSettings(aSettings), cReceiver(aReceiver), cSender(aSender), cMetrics(aMetrics) {}

    void Run();

private:
    enum class Pass { GO_ON, END };

    Pass PlayUnit();
    void DropOutOfOrder();
    Pass Forward(MDIUnit& aUnit, const FacFields& aFac);
    void AwaitTurn();
    void HandOver(MDIUnit& aUnit);
    void AwaitNextPass();
    static void ReportMode(const MDIUnit& aUnit, const FacFields& aFac);
    Pass HandleSenderCode(uint32_t aCode);

    const PlayerSettings& cSettings;
    DRMNetworkInterface& cReceiver;
    DRMNetworkInterface& cSender;
    PlayerMetrics& cMetrics;
    uint32_t cFrameCounter = 0;  // units forwarded
    uint32_t cDropped = 0;       // units dropped since the last one that was forwarded
    SuperFrameOrder cOrder;
    SenderCodes cSenderCodes;
    Pacer cPacer;
    FrameGrid cGrid;    // in the place of cPacer, by the settings
    uint64_t cDue = 0;  // of the next unit by the pace in force, in nanoseconds of MonotonicTime; 0 for the first one
};
