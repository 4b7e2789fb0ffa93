#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Networking/Transport.h"
#include "tools/CaptureSource.h"

// The transport over a capture: hands up its datagrams as the network brought them, each with its time and its sender.
// For an endpoint that its caller works himself (DCPInterface::PullUnit), not for a task: a read from a pipe that gives
// nothing cannot be stopped.
class CaptureTransport : public Transport {
public:
    CaptureTransport();

    // As CaptureSource::Open.
    int Open(const std::string& aAddress, std::string* apError) { return cSource.Open(aAddress, apError); }

    // A capture takes nothing: 0 with LAYER_TAG_NOT_REGISTERED.
    uint32_t Send(Packet* apPacket) override;

    // Does not wait, whatever *apTimeOut is.  1, apOut views the next datagram of a registered protocol; 2 with
    // FILE_END at the end of the capture or of what can be read of it, and the transport is at its end; 2 without a
    // code when the process is to end.
    //
    // The reports' times are the capture's stamps, but never go back: a stamp that does counts as the latest one before
    // it.  Their records are the frames' numbers.
    uint32_t Receive(Packet* apOut, uint32_t* apTimeOut, uint32_t aTagIndex) override;

    const CaptureSource& GetSource() const { return cSource; }

private:
    void Take(const CaptureDatagram& aDatagram);
    uint32_t End();

    CaptureSource cSource;
    Packet cPacket;
    char cProtocol[3] = "";
};
