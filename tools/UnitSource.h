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
// recording.  Captures are read once and recordings pass by pass, as fast as the calling thread asks.  Networks and
// captures are received live.  One thread.
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

    // Opens the recording anew, for another pass; with what was appended meanwhile.  As Open.  Skip must follow when it
    // came before the first pass.
    int OpenAgain(std::string* apError);

    // Leaves out the beginning of a recording: of MDI all before the first super frame that begins at unit aUnit or
    // later, of MCI and SDI all before unit aUnit.  Units count from 1.  False when nothing is left, or the process is
    // to end.
    bool Skip(uint32_t aUnit);

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

    uint64_t GetUnits() const { return cUnits; }  // of a recording or capture, so far in this pass
    // Which part of a recording (0 to 1), without what Skip left out, was read in this pass; 0 for other sources.
    double GetShare() const;
    bool IsLongerThanDefault() const { return IsFile() && cEndpoint.ciFileLayer->ciFileSize > FILE_MAX_SIZE; }

    // Why the rest of a capture could not be read, and what of it came to nothing; empty for other sources.
    std::string GetCaptureDamage() const { return cpCapture != nullptr ? cpCapture->GetSource().GetDamage() : ""; }
    std::string GetCaptureCounts() const;

private:
    int OpenCapture(const std::string& aAddress, Protocol aProtocol, std::string* apError);
    int Reopen(std::string* apError);
    bool MustEnd();
    Result Pull(Packet* apOut);

    std::string cAddress;
    Protocol cProtocol = Protocol::MDI;
    RecordingFindings cRecords;  // these two before the endpoint, which they outlive
    ReceptionStatistics cReception;
    ToolEndpoint cEndpoint{RECEIVING, DCP_NETWORK_TIMEOUT};
    const CaptureTransport* cpCapture = nullptr;  // the endpoint's transport
    Findings cFindings;
    uint64_t cUnits = 0;
    uint64_t cSkipped = 0;              // bytes that Skip left out
    std::string cFirst;                 // bytes of the unit that Skip found there
    const TAGPacket* cpUnit = nullptr;  // of the last Pull
    bool cFound = false;                // Skip found its unit, which the next Receive gives
    bool cAtEnd = false;
    bool cDraining = false;
    uint32_t cLeft = 0;  // units to hand out yet, while draining
};
