#include "Networking/Transport.h"

#include <algorithm>

#include "platform/Clock.h"

namespace {

// Loads count in packets.  They are chosen so that a recording may begin with a few useless packets of many fragments
// and that good units make up for long stretches of bad ones, but only a few lines a second appear on the console.
constexpr int32_t FULL_LOAD = 200;
constexpr int32_t COMPLAINT_LOAD = 50;
constexpr int32_t UNIT_CREDIT = 5000;

}  // namespace

void Transport::BrakeInput() {
    if (ciReporter == nullptr)
        return;
    if (ciReporter->TakeUsefulUnits() > 0)
        cLoad = std::max(cLoad - UNIT_CREDIT, -UNIT_CREDIT);
    cLoad += COMPLAINT_LOAD * static_cast<int32_t>(ciReporter->TakeComplaints());
    if (cLoad >= FULL_LOAD) {
        BrakeFailure();
        cLoad = 0;
    }
    ++cLoad;
}

void Transport::BrakeFailure() {
    platform::Sleep(RETRY_DELAY);
}
