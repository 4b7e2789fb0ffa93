#include "tools/UnitSink.h"

#include <cerrno>
#include <cstdio>

#include "tools/CommandLine.h"

int UnitSink::Open(const std::string& aAddress, Protocol aProtocol, const SendingOptions& aOptions,
                   std::string* apError) {
    DCPAddress lParts;
    if (lParts.Parse(aAddress.c_str()) == 0 && lParts.mTransport == TRANSPORT_FILE && lParts.mNumber == 0) {
        *apError = aAddress + ": the first number is the limit of the recording in units, for example 9999";
        return STATUS_USAGE;
    }
    const int lStatus = ApplyOptions(aOptions, cEndpoint, apError);
    return lStatus == STATUS_DONE
               ? OpenEndpoint(cEndpoint, WithProtection(aAddress, aOptions.mProtection), aProtocol, 0, apError)
               : lStatus;
}

UnitSink::Result UnitSink::Send(Packet* apUnit) {
    errno = 0;
    if (cEndpoint.PushUnit(apUnit) == 1)
        return Result::SENT;
    cSystemError = cEndpoint.ciUDPIPLayer != nullptr ? cEndpoint.ciUDPIPLayer->ciSocket.GetSystemError() : errno;
    cCode = cEndpoint.GetError();
    return cCode == FILE_END ? Result::FULL : cCode == FILE_WRITE_FAILED ? Result::FAILED : Result::LOST;
}

bool UnitSink::IsFull() const {
    // FileLayer counts changes of the sequence number from 0 on, which the first packet of an endpoint has: n units
    // make n - 1 changes.
    const FileLayer* const lpFile = cEndpoint.ciFileLayer;
    return lpFile != nullptr && lpFile->ciRecordCount + 1 >= lpFile->ciRecordLimit;
}

uint64_t UnitSink::GetRecordedBytes() const {
    const FileLayer* const lpFile = cEndpoint.ciFileLayer;
    const long lSize = lpFile != nullptr && lpFile->ciFile != nullptr ? std::ftell(lpFile->ciFile) : 0;
    return lSize > 0 ? static_cast<uint64_t>(lSize) : 0;
}
