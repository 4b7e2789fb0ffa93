#pragma once

#include <cstdint>
#include <string>

#include "tools/CaptureTransport.h"
#include "tools/Endpoint.h"
#include "tools/Fault.h"
#include "tools/NetworkOptions.h"
#include "tools/ReceptionStatistics.h"
#include "tools/RecordingFindings.h"

// Where a tool takes units of one protocol from: a network, through the task of its endpoint; a capture of one; or a
// recording.  Captures and recordings are read once, as fast as the calling thread asks.  Networks and captures are
// received live.  One thread.
class UnitSource {
public:
    enum class Result {
        UNIT,
        NOTHING,  // a network was silent for 100 ms
        LOST,     // a packet of a recording gave no unit: see the findings
        END       // of the recording or capture; or the process is to end, and what had arrived was handed out
    };

    // As OpenEndpoint, with a reason in *apError; also for the address of a capture (CaptureAddress.h).
    int Open(const std::string& aAddress, Protocol aProtocol, const ReceivingOptions& aOptions, std::string* apError);

    // Starts to keep what arrives over a network for Receive, at most TOOL_FIFO_CAPACITY units.
    void Start();

    // With UNIT apOut, a packet of capacity 0, views the unit until the next Receive.
    Result Receive(Packet* apOut);

    // What is wrong with the records that the last Receive read.
    const Findings& GetFindings() const { return cFindings; }

    // Of a network or capture; null for a recording.
    const ReceptionStatistics* GetReception() const { return IsFile() ? nullptr : &cReception; }

    bool IsFile() const { return cEndpoint.ciFileLayer != nullptr; }
    bool IsRead() const { return IsFile() || cpCapture != nullptr; }  // at the caller's pace, not the network's
    bool AtEnd() const { return cAtEnd; }                             // the whole recording or capture was read

    // Why the rest of a capture could not be read, and what of it came to nothing; empty for other sources.
    std::string GetCaptureDamage() const { return cpCapture != nullptr ? cpCapture->GetSource().GetDamage() : ""; }
    std::string GetCaptureCounts() const;

private:
    int OpenCapture(const std::string& aAddress, Protocol aProtocol, std::string* apError);
    bool MustEnd();
    Result Pull(Packet* apOut);

    RecordingFindings cRecords;  // these two before the endpoint, which they outlive
    ReceptionStatistics cReception;
    ToolEndpoint cEndpoint{RECEIVING, DCP_NETWORK_TIMEOUT};
    const CaptureTransport* cpCapture = nullptr;  // the endpoint's transport
    Findings cFindings;
    bool cAtEnd = false;
    bool cDraining = false;
    uint32_t cLeft = 0;  // units to hand out yet, while draining
};
