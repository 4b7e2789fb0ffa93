#pragma once

#include <cstdint>

#include "Networking/DCPInterface.h"

constexpr uint32_t MCI_TIMEOUT = 100;  // milliseconds

// A DCP endpoint for the three DRM distribution protocols that travel as TAG packets: MDI ("DMDI"), MCI ("DMCI") and
// SDI ("DSDI").  One endpoint takes two of them at most.
//
// Construct it, call Open, enable the protocols, call Start, and then use the receive operations or Send.
class DRMNetworkInterface : public DCPInterface {
public:
    // ainMaxNetworkDelay is the longest wait of a receiving endpoint (direction 0) for an MDI unit, in milliseconds;
    // other directions ignore it.
    DRMNetworkInterface(uint32_t aDirection, uint32_t ainMaxNetworkDelay);
    ~DRMNetworkInterface() override { CloseIfOpen(); }

    // The delay should be two frames (800 ms) at least; a shorter one is stored too, with a line in the trace file.
    void SetMaxNetworkDelay(uint32_t ainMaxNetworkDelay);
    uint32_t GetMaxNetworkDelay() const { return ciMaxNetworkDelay; }

    // Return 1, also when the protocol is enabled already; 0 with DCP_NOT_OPEN before Open and after Start; 0 with
    // LAYER_TOO_MANY_TAGS for a third protocol.
    uint32_t EnableMDI();
    uint32_t EnableMCI();
    uint32_t EnableSDI();

    // Wait for the next unit: MDI at most the maximum network delay, MCI 100 ms, SDI 6000 ms.  Return 1 with apOut, a
    // packet of capacity 0, viewing the unit until the next receive on this endpoint; 2 when no unit came in time; 0
    // with LAYER_TAG_NOT_REGISTERED when the protocol is not enabled.
    uint32_t ReceiveMDI(Packet* apOut);
    uint32_t ReceiveMCI(Packet* apOut);
    uint32_t ReceiveSDI(Packet* apOut);

    void FlushMDI();  // discards the MDI units that wait

    uint32_t ciMDIIndex = 0;
    uint32_t ciMCIIndex = 0;
    uint32_t ciSDIIndex = 0;
    bool ciMDIEnabled = false;
    bool ciMCIEnabled = false;
    bool ciSDIEnabled = false;
    uint32_t ciMaxNetworkDelay = 0;

private:
    uint32_t Enable(const char* apTag, uint32_t* apIndex, bool* apEnabled);
    uint32_t ReceiveUnit(Packet* apOut, bool aEnabled, uint32_t aTimeOut, uint32_t aIndex);
};
