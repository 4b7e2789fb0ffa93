#pragma once

#include <cstdint>
#include <string>

#include "tools/Endpoint.h"
#include "tools/Fault.h"
#include "tools/RecordingFindings.h"

// Where a tool takes units of one protocol from: a network, through the task of its endpoint, or a recording, which is
// read once, as fast as it is asked for, by the calling thread.  One thread.
class UnitSource {
public:
    enum class Result {
        UNIT,
        NOTHING,  // a network was silent for 100 ms
        LOST,     // a packet of a recording gave no unit: see the findings
        END       // of the recording; or the process is to end, and what had arrived was handed out
    };

    // A reason goes to *apError, as in OpenEndpoint.
    int Open(const std::string& aAddress, Protocol aProtocol, uint32_t aLocalInterface, std::string* apError);

    // From now on what arrives over a network is kept for Receive, TOOL_FIFO_CAPACITY units at most.
    void Start();

    // With UNIT apOut, a packet of capacity 0, views the unit until the next Receive.
    Result Receive(Packet* apOut);

    // What is wrong with the records that the last Receive read.
    const Findings& GetFindings() const { return cFindings; }

    bool IsFile() const { return cEndpoint.ciFileLayer != nullptr; }
    bool AtEnd() const { return cAtEnd; }  // the whole recording was read

private:
    bool MustEnd();
    Result ReceiveFromFile(Packet* apOut);

    RecordingFindings cObserver;  // before the endpoint, which it outlives
    ToolEndpoint cEndpoint{RECEIVING, DCP_NETWORK_TIMEOUT};
    Findings cFindings;
    bool cAtEnd = false;
    bool cDraining = false;
    uint32_t cLeft = 0;  // units to hand out yet, while draining
};
