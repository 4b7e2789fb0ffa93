#pragma once

#include <cstdint>
#include <string>

#include "tools/CommandLine.h"
#include "tools/Endpoint.h"

// How a tool receives from a network.
struct ReceivingOptions {
    std::string mInterface;   // number (as UDPIPLayer counts), name or IPv4 address: where a group is joined
    std::string mSource;      // IPv4 address of the only sender of the group that counts; empty: any
    bool mSharePort = false;  // with other receivers of the group on this host
};

// How a tool sends to a network.
struct SendingOptions {
    std::string mInterface;    // name or IPv4 address: where multicast goes out; empty: the system's choice
    uint32_t mTimeToLive = 0;  // 0: the system's
    uint32_t mDSCP = 0;
    uint32_t mProtection = 0;  // lost fragments of a packet; above 0 means fec=1 and goes before the registry
};

void AddReceivingOptions(CommandLine* apLine, ReceivingOptions* apOptions);
void AddSendingOptions(CommandLine* apLine, SendingOptions* apOptions);

// Hand the options to an endpoint before it is opened; *apLocalInterface is for its Open.  STATUS_DONE, or STATUS_USAGE
// with a reason of one line in *apError.
int ApplyOptions(const ReceivingOptions& aOptions, const std::string& aAddress, ToolEndpoint& aEndpoint,
                 uint32_t* apLocalInterface, std::string* apError);
int ApplyOptions(const SendingOptions& aOptions, ToolEndpoint& aEndpoint, std::string* apError);

// The address with parity asked for, when aProtection is above 0; one that says "fec=0" is left as it is.
std::string WithProtection(const std::string& aAddress, uint32_t aProtection);
