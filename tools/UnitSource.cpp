#include "tools/UnitSource.h"

#include <memory>
#include <string_view>
#include <utility>

#include "Networking/FacFields.h"
#include "Networking/SuperFrameOrder.h"
#include "platform/Interrupt.h"
#include "tools/CommandLine.h"
#include "tools/StatusText.h"

namespace {

constexpr uint32_t WAIT = 100;     // milliseconds; so soon the wish to end is seen
constexpr uint32_t TAG_INDEX = 0;  // of the only protocol

std::string_view BytesOf(const Packet& aUnit) {
    return {reinterpret_cast<const char*>(aUnit.cData), aUnit.ValidBytes()};
}

bool OpensSuperFrame(MDIUnit& aUnit) {
    aUnit.Parse();
    unsigned char lFac[MDI_FAC_SIZE];
    return aUnit.GetFac(lFac) == 1 && SuperFrameOrder().Accept(ParseFac(lFac).mIdentity);
}

}  // namespace

int UnitSource::Open(const std::string& aAddress, Protocol aProtocol, const ReceivingOptions& aOptions,
                     std::string* apError) {
    if (CaptureAddress::Is(aAddress))
        return OpenCapture(aAddress, aProtocol, apError);
    DCPAddress lParts;
    const bool lIsFile = lParts.Parse(aAddress.c_str()) == 0 && lParts.mTransport == TRANSPORT_FILE;
    if (lIsFile) {
        cEndpoint.ciObserver = &cRecords;
        cEndpoint.ciSettings.mOnePass = true;
        cEndpoint.ciSettings.mFileSizeLimit = UINT64_MAX;
    } else {
        cEndpoint.ciObserver = &cReception;
        cEndpoint.ciSettings.mLive = true;
    }
    cAddress = aAddress;
    cProtocol = aProtocol;
    uint32_t lLocalInterface = 0;
    const int lStatus = ApplyOptions(aOptions, aAddress, cEndpoint, &lLocalInterface, apError);
    return lStatus == STATUS_DONE ? OpenEndpoint(cEndpoint, aAddress, aProtocol, lLocalInterface, apError) : lStatus;
}

int UnitSource::OpenCapture(const std::string& aAddress, Protocol aProtocol, std::string* apError) {
    auto lCapture = std::make_unique<CaptureTransport>();
    if (const int lStatus = lCapture->Open(aAddress, apError); lStatus != STATUS_DONE)
        return lStatus;
    cpCapture = lCapture.get();
    cEndpoint.ciObserver = &cReception;
    cEndpoint.ciSettings.mLive = true;
    DCPAddress lParts;
    lParts.mPFT = true;
    if (cEndpoint.Open(std::move(lCapture), lParts) == 1 && Enable(cEndpoint, aProtocol) == 1)
        return STATUS_DONE;
    *apError = aAddress + ": " + StatusText(cEndpoint.GetError());
    return STATUS_FAILED;
}

// Where the pass before began the next one does too, without a search, when the same unit is still there.
int UnitSource::OpenAgain(std::string* apError) {
    if (const int lStatus = Reopen(apError); lStatus != STATUS_DONE || cFirst.empty())
        return lStatus;
    cEndpoint.ciFileLayer->ciReadOffset = cSkipped;
    Packet lUnit(0);
    cFound = Receive(&lUnit) == Result::UNIT && BytesOf(lUnit) == cFirst;
    return cFound ? STATUS_DONE : Reopen(apError);
}

int UnitSource::Reopen(std::string* apError) {
    cEndpoint.AllowOpen();
    cUnits = 0;
    cAtEnd = false;
    return OpenEndpoint(cEndpoint, cAddress, cProtocol, 0, apError);
}

bool UnitSource::Skip(uint32_t aUnit) {
    while (!cFound) {
        cSkipped = cEndpoint.ciFileLayer->ciReadOffset;
        MDIUnit lUnit(0, 0, 0);
        const Result lResult = Receive(&lUnit);
        if (lResult == Result::END)
            return false;
        cFound = lResult == Result::UNIT && cUnits >= aUnit && (cProtocol != Protocol::MDI || OpensSuperFrame(lUnit));
        if (cFound)
            cFirst = BytesOf(lUnit);
    }
    return true;
}

double UnitSource::GetShare() const {
    if (!IsFile())
        return 0;
    const FileLayer& lFile = *cEndpoint.ciFileLayer;
    return static_cast<double>(lFile.ciReadOffset - cSkipped) / static_cast<double>(lFile.ciFileSize - cSkipped);
}

void UnitSource::Start() {
    if (!IsRead())
        cEndpoint.Start();
}

std::string UnitSource::GetCaptureCounts() const {
    return cpCapture != nullptr ? CountsText(cpCapture->GetSource().GetCounts()) : "";
}

UnitSource::Result UnitSource::Receive(Packet* apOut) {
    cFindings.clear();
    if (MustEnd())
        return Result::END;
    if (std::exchange(cFound, false)) {
        apOut->Share(cpUnit);
        return Result::UNIT;
    }
    if (IsRead())
        return Pull(apOut);
    uint32_t lTimeOut = WAIT;
    return cEndpoint.Receive(apOut, &lTimeOut, TAG_INDEX) == 1 ? Result::UNIT : Result::NOTHING;
}

// Counts what waits when the wish to end is first seen, so that a sender that goes on cannot hold the program.
bool UnitSource::MustEnd() {
    if (!platform::Interrupted())
        return false;
    if (!cDraining) {
        cDraining = true;
        cLeft = IsRead() ? 0 : cEndpoint.GetQueueCount(TAG_INDEX);
    }
    if (cLeft == 0)
        return true;
    --cLeft;
    return false;
}

UnitSource::Result UnitSource::Pull(Packet* apOut) {
    uint32_t lTimeOut = 0;
    const uint32_t lResult = cEndpoint.PullUnit(&lTimeOut, &cpUnit);
    cFindings = cRecords.Take();
    if (lResult == 1) {
        ++cUnits;
        apOut->Share(cpUnit);
        return Result::UNIT;
    }
    cAtEnd = lResult == 2;
    return cAtEnd ? Result::END : Result::LOST;
}
