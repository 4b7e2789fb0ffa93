#pragma once

#include <cstdint>

#include "Networking/Packet.h"

// The receiving half of a PFT layer: pulls datagrams or records from the layer below and hands up whole packets.
// One thread.
class Reassembly {
public:
    virtual ~Reassembly() = default;

    // As PFTLayer::Receive.  apOut views a packet whose protocol name is its first two bytes; the view lasts until the
    // next Receive.
    virtual uint32_t Receive(Packet* apOut, uint32_t* apTimeOut) = 0;
};
