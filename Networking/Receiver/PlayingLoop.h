#pragma once

#include <cstdint>

#include "Networking/DRMNetworkInterface.h"
#include "Networking/FacFields.h"
#include "Networking/MDIUnit.h"
#include "Networking/SuperFrameOrder.h"

// The pace of one unit per 400 ms: two consecutive intervals add up to 800 ms, so that a late pass is made good by the
// next.
class Pacer {
public:
    // The milliseconds to wait after a unit that was forwarded at tick aNow.  Not at all when more than 800 ms have
    // passed since the one before; the pace is even again after that.
    uint32_t NextWait(uint32_t aNow);

private:
    bool cStarted = false;
    uint32_t cLastTick = 0;
};

// Forwards units from the receiver to the sender, renumbered, until the key q or an error.
class PlayingLoop {
public:
    PlayingLoop(DRMNetworkInterface& aReceiver, DRMNetworkInterface& aSender)
        : cReceiver(aReceiver), cSender(aSender) {}

    void Run();

private:
    enum class Pass { GO_ON, END };

    Pass PlayUnit();
    Pass Forward(MDIUnit& aUnit, const FacFields& aFac);
    void Drop();

    DRMNetworkInterface& cReceiver;
    DRMNetworkInterface& cSender;
    uint32_t cFrameCounter = 0;  // units forwarded
    uint32_t cDropped = 0;       // units dropped since
    SuperFrameOrder cOrder;
    Pacer cPacer;
};
