#pragma once

#include <cstdint>
#include <string>

#include "Networking/DRMNetworkInterface.h"

enum class Protocol : uint32_t { MDI, MCI, SDI };

constexpr uint32_t RECEIVING = 0;
constexpr uint32_t SENDING = 1;

constexpr uint32_t TOOL_FIFO_CAPACITY = 250;  // units: 100 s of a transmission

// An endpoint whose layers a tool may call on its own thread, in place of starting the endpoint's task.
class ToolEndpoint : public DRMNetworkInterface {
public:
    ToolEndpoint(uint32_t aDirection, uint32_t aMaxNetworkDelay) : DRMNetworkInterface(aDirection, aMaxNetworkDelay) {
        ciFifoCapacity = TOOL_FIFO_CAPACITY;
    }
    ~ToolEndpoint() override {
        if (ciState == STATE_OPEN)
            AllowOpen();
        CloseIfOpen();
    }

    // Lets an endpoint that is open and not started be opened anew.  In place of Close, which would trace that there is
    // no task to suspend; the layers stay until new ones replace them.
    void AllowOpen() { ciState = STATE_CLOSED; }
};

// Opens a new endpoint on an address, for one protocol.  STATUS_DONE, or the exit status of the tool with a reason of
// one line in *apError.
int OpenEndpoint(ToolEndpoint& aEndpoint, const std::string& aAddress, Protocol aProtocol, uint32_t aLocalInterface,
                 std::string* apError);

// Enables the protocol on an open endpoint; the endpoint's result.
uint32_t Enable(ToolEndpoint& aEndpoint, Protocol aProtocol);
