#pragma once

#include <cstdint>

#include "Networking/DCPInterface.h"

constexpr uint32_t MCI_TIMEOUT = 100;  // milliseconds

// A DCP endpoint for the three DRM distribution protocols that travel as TAG packets: MDI ("DMDI"), MCI ("DMCI") and
// SDI ("DSDI"), of which it takes two at most.
//
// Construct, Open, enable protocols, Start; then the receive operations, or Send.
class DRMNetworkInterface : public DCPInterface {
public:
    // Of direction 0 with the longest wait for an MDI unit in milliseconds; other directions ignore it (0).
    DRMNetworkInterface(uint32_t aDirection, uint32_t ainMaxNetworkDelay);
    ~DRMNetworkInterface() override { CloseIfOpen(); }

    // Two frames at least; less is stored too, with a line in the trace file.
    void SetMaxNetworkDelay(uint32_t ainMaxNetworkDelay);
    uint32_t GetMaxNetworkDelay() const { return ciMaxNetworkDelay; }

    // 1, also when it is enabled already.  0 with DCP_NOT_OPEN before Open and after Start, with LAYER_TOO_MANY_TAGS
    // for a third protocol.
    uint32_t EnableMDI();
    uint32_t EnableMCI();
    uint32_t EnableSDI();

    // Wait for the next unit: at most the maximum network delay, 100 ms, and 6000 ms.  1 apOut, a packet of capacity 0,
    // views it until the next receive on this endpoint; 2 time-out; 0 with LAYER_TAG_NOT_REGISTERED when the protocol
    // is not enabled.
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
