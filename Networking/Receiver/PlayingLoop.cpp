#include "Networking/Receiver/PlayingLoop.h"

#include <cstdlib>

#include "Networking/Receiver/ModeReport.h"
#include "Networking/Receiver/Player.h"
#include "platform/Clock.h"
#include "platform/Console.h"

namespace {

constexpr uint32_t FRAME_TIME = 400;  // milliseconds

// A recording without one frame that fits the order would keep the loop and the receiver's task spinning.
constexpr uint32_t DROPPED_BEFORE_PAUSE = 256;

bool QuitKeyPressed() {
    return platform::KeyWaiting() && platform::ReadKey() == 'q';
}

}  // namespace

uint32_t Pacer::NextWait(uint32_t aNow) {
    const auto lWait = static_cast<int32_t>(cStarted ? cLastTick + 2 * FRAME_TIME - aNow : FRAME_TIME);
    cStarted = true;
    cLastTick = aNow;
    if (lWait >= 0)
        return static_cast<uint32_t>(lWait);
    cLastTick -= FRAME_TIME;  // or waits of nothing and of two frames would alternate for ever
    return 0;
}

void PlayingLoop::Run() {
    while (!QuitKeyPressed() && PlayUnit() == Pass::GO_ON) {
    }
}

PlayingLoop::Pass PlayingLoop::PlayUnit() {
    MDIUnit lUnit(0, 0, 0);
    const uint32_t lResult = cReceiver.ReceiveMDI(&lUnit);
    if (lResult == 2) {
        platform::Print("\nTimeOutMDI");
        return Pass::GO_ON;
    }
    if (lResult != 1) {
        platform::Print("\nMDIRcvError %d", static_cast<int>(cReceiver.GetError()));
        return Pass::END;
    }
    if (lUnit.Parse() != 1) {
        platform::Print("\nMDI Parse Error %d", static_cast<int>(lUnit.GetError()));
        AwaitKey();
        return Pass::END;
    }
    lUnit.SetDlfc(cFrameCounter, true);
    unsigned char lFac[MDI_FAC_SIZE] = {};
    lUnit.GetFac(lFac);
    const FacFields lFields = ParseFac(lFac);
    if (!cOrder.Accept(lFields.mIdentity)) {
        Drop();
        return Pass::GO_ON;
    }
    return Forward(lUnit, lFields);
}

void PlayingLoop::Drop() {
    if (++cDropped % DROPPED_BEFORE_PAUSE == 0)
        platform::Sleep(FRAME_TIME);
}

PlayingLoop::Pass PlayingLoop::Forward(MDIUnit& aUnit, const FacFields& aFac) {
    if (cFrameCounter == 0) {
        unsigned char lRobustnessMode = 0;
        if (aUnit.GetRobm(&lRobustnessMode) != 1) {
            platform::Print("\nMDI INPUT FILE IS CORRUPTED!!!\n");
            AwaitKey();
            std::exit(0);
        }
        platform::Print("%s", ModeReport(aFac, lRobustnessMode).c_str());
        platform::Sleep(1);  // to the beginning of a tick, where every later unit goes out: the first interval is whole
    }
    cSender.Send(&aUnit);
    if (const uint32_t lCode = cSender.GetError(); lCode != 0) {
        platform::Print("DRM Sender Error %d\n", static_cast<int>(lCode));
        AwaitKey();
        return Pass::END;
    }
    platform::Print("\t\t*** %c ***\r", "|/-\\"[cFrameCounter % 4]);
    ++cFrameCounter;
    cDropped = 0;
    platform::Sleep(cPacer.NextWait(platform::TickCount()));
    return Pass::GO_ON;
}
