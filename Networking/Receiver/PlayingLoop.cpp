#include "Networking/Receiver/PlayingLoop.h"

#include <chrono>
#include <cstdlib>

#include "Networking/FrameTime.h"
#include "Networking/Receiver/ModeReport.h"
#include "platform/Clock.h"
#include "platform/Console.h"
#include "platform/Interrupt.h"

namespace {

// A recording without any unit that fits the order would keep this loop and the receiver's task spinning.
constexpr uint32_t DROPPED_BEFORE_PAUSE = 256;

constexpr uint64_t TICK = 1'000'000;  // nanoseconds

bool QuitKeyPressed() {
    return platform::KeyWaiting() && platform::ReadKey() == 'q';
}

}  // namespace

void PlayingLoop::Run() {
    while (!platform::Interrupted() && !QuitKeyPressed() && PlayUnit() == Pass::GO_ON) {
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
        platform::ReadKey();
        return Pass::END;
    }
    lUnit.SetDlfc(cFrameCounter, true);
    unsigned char lFac[MDI_FAC_SIZE] = {};
    lUnit.GetFac(lFac);
    const FacFields lFields = ParseFac(lFac);
    if (!cOrder.Accept(lFields.mIdentity)) {
        DropOutOfOrder();
        return Pass::GO_ON;
    }
    return Forward(lUnit, lFields);
}

void PlayingLoop::DropOutOfOrder() {
    cMetrics.UnitDropped(DropReason::ORDER);
    if (++cDropped % DROPPED_BEFORE_PAUSE == 0)
        platform::Sleep(DRM_FRAME_TIME);
}

PlayingLoop::Pass PlayingLoop::Forward(MDIUnit& aUnit, const FacFields& aFac) {
    if (cFrameCounter == 0)
        ReportMode(aUnit, aFac);
    AwaitTurn();
    HandOver(aUnit);
    if (HandleSenderCode(cSender.GetError()) == Pass::END)
        return Pass::END;
    platform::PrintProgress("\t\t*** %c ***\r", "|/-\\"[cFrameCounter % 4]);
    ++cFrameCounter;
    cDropped = 0;
    AwaitNextPass();
    return Pass::GO_ON;
}

// By the absolute pace a unit is made ready before the wait, so that the time that this takes does not count.
void PlayingLoop::AwaitTurn() {
    if (cSettings.mAbsolutePacing) {
        cDue = cGrid.NextDue();
        platform::SleepUntil(cDue);
        if (!cGrid.TakePlace(platform::MonotonicTime()) && cDue != 0)
            cMetrics.NewGrid();
    } else if (cFrameCounter == 0) {
        // Later units go out at the beginning of a tick: so does this one, or the first interval would be too short.
        platform::Sleep(1);
    }
}

void PlayingLoop::HandOver(MDIUnit& aUnit) {
    if (cDue != 0)
        cMetrics.PacingDeviation(std::chrono::nanoseconds(platform::MonotonicTime() - cDue));
    const uint32_t lWaiting = cSender.ciSendQueue->GetCount();
    cSender.Send(&aUnit);
    cMetrics.UnitHanded();
    if (lWaiting >= DCP_FIFO_CAPACITY)
        cMetrics.UnitDropped(DropReason::SEND_QUEUE);
    cMetrics.QueueLength(PlayerQueue::SEND, lWaiting);
    cMetrics.QueueLength(PlayerQueue::RECEIVE, cReceiver.GetQueueCount(cReceiver.ciMDIIndex));
}

void PlayingLoop::AwaitNextPass() {
    if (cSettings.mAbsolutePacing)
        return;
    const uint32_t lWait = cPacer.NextWait(platform::TickCount());
    cDue = (platform::MonotonicTime() / TICK + lWait) * TICK;
    platform::Sleep(lWait);
}

void PlayingLoop::ReportMode(const MDIUnit& aUnit, const FacFields& aFac) {
    unsigned char lRobustness = 0;
    if (aUnit.GetRobm(&lRobustness) != 1) {
        platform::Print("\nMDI INPUT FILE IS CORRUPTED!!!\n");
        platform::ReadKey();
        std::exit(0);
    }
    platform::Print("%s", ModeReport(aFac, lRobustness).c_str());
}

PlayingLoop::Pass PlayingLoop::HandleSenderCode(uint32_t aCode) {
    if (cSettings.mContinueAfterErrors)
        cSenderCodes.Note(aCode);
    if (cSettings.mContinueAfterErrors || aCode == 0)
        return Pass::GO_ON;
    platform::Print("DRM Sender Error %d\n", static_cast<int>(aCode));
    platform::ReadKey();
    return Pass::END;
}
