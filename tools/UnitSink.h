#pragma once

#include <cstdint>
#include <string>

#include "tools/Endpoint.h"
#include "tools/NetworkOptions.h"

// Where a tool sends units of one protocol to, on the calling thread: no queue loses one, and each result is known at
// once.  What was recorded is on the disk when the object is gone.
class UnitSink {
public:
    enum class Result { SENT, LOST, FULL, FAILED };

    // A reason goes to *apError, as in OpenEndpoint.
    int Open(const std::string& aAddress, Protocol aProtocol, const SendingOptions& aOptions, std::string* apError);

    // Sends a TAG packet; its fragments are spread over 200 ms.  LOST: this one could not go out, the next one may.
    // FULL: the recording is at its limit, and the packet not in it.  FAILED: the recording cannot be written.
    Result Send(Packet* apUnit);

    uint32_t GetCode() const { return cCode; }           // of the last result but SENT
    int GetSystemError() const { return cSystemError; }  // errno that goes with it; 0 when there is none

    bool IsFile() const { return cEndpoint.ciFileLayer != nullptr; }
    bool IsFull() const;  // a recording has as many units as it may have
    uint64_t GetRecordedBytes() const;

private:
    ToolEndpoint cEndpoint{SENDING, 0};
    uint32_t cCode = 0;
    int cSystemError = 0;
};
