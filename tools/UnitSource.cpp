#include "tools/UnitSource.h"

#include "platform/Interrupt.h"
#include "tools/CommandLine.h"

namespace {

constexpr uint32_t WAIT = 100;     // milliseconds; so soon the wish to end is seen
constexpr uint32_t TAG_INDEX = 0;  // of the only protocol

}  // namespace

int UnitSource::Open(const std::string& aAddress, Protocol aProtocol, uint32_t aLocalInterface, std::string* apError) {
    DCPAddress lParts;
    if (lParts.Parse(aAddress.c_str()) == 0 && lParts.mTransport == TRANSPORT_FILE)
        cEndpoint.ciObserver = &cObserver;
    cEndpoint.ciSettings.mOnePass = true;
    return OpenEndpoint(cEndpoint, aAddress, aProtocol, aLocalInterface, apError);
}

void UnitSource::Start() {
    if (!IsFile()) {
        cEndpoint.Start();
    }
}

UnitSource::Result UnitSource::Receive(Packet* apOut) {
    cFindings.clear();
    if (MustEnd()) {
        return Result::END;
    }
    if (IsFile()) {
        return ReceiveFromFile(apOut);
    }
    uint32_t lTimeOut = WAIT;
    return cEndpoint.Receive(apOut, &lTimeOut, TAG_INDEX) == 1 ? Result::UNIT : Result::NOTHING;
}

// Counts what waits when the wish to end is first seen, so that a sender that goes on cannot hold the program.
bool UnitSource::MustEnd() {
    if (!platform::Interrupted()) {
        return false;
    }
    if (!cDraining) {
        cDraining = true;
        cLeft = IsFile() ? 0 : cEndpoint.GetQueueCount(TAG_INDEX);
    }
    if (cLeft == 0) {
        return true;
    }
    --cLeft;
    return false;
}

UnitSource::Result UnitSource::ReceiveFromFile(Packet* apOut) {
    uint32_t lTimeOut = 0;
    const TAGPacket* lpUnit = nullptr;
    const uint32_t lResult = cEndpoint.PullUnit(&lTimeOut, &lpUnit);
    cFindings = cObserver.Take();
    if (lResult == 1) {
        apOut->Share(lpUnit);
        return Result::UNIT;
    }
    cAtEnd = lResult == 2;
    return cAtEnd ? Result::END : Result::LOST;
}
