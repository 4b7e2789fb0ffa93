#pragma once

#include <cstdint>

#include "Networking/Packet.h"

constexpr uint32_t MAX_COUNTED_LOSS = 1000;  // packets; a longer gap in the numbering is a new start

// The receiving half of a PFT layer: pulls datagrams or records from the layer below and hands up whole packets.  Only
// one thread may use an object.
class Reassembly {
public:
    virtual ~Reassembly() = default;

    // Arguments and results are those of Layer::Receive; each way of receiving says when it returns what.  apOut views
    // a packet whose protocol name is its first two bytes.
    virtual uint32_t Receive(Packet* apOut, uint32_t* apTimeOut) = 0;
};
