#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/BitWriter.h"
#include "tools/DrmModes.h"

constexpr uint32_t MAX_STREAM_SIZE = 4095;  // its field has 12 bits

// The streams of a channel, equally protected, and how strongly.
struct Multiplex {
    std::vector<uint32_t> mStreams;  // bytes per frame of 400 ms; 1 to MDI_STREAMS of them
    bool mHierarchical = false;
    unsigned mHierarchicalLevel = 0;  // of stream 0, in the hierarchical modes
    unsigned mLevel = 0;              // of all other streams
};

// Chooses the strongest protection that carries streams of these sizes; two streams that the strongest level carries
// when aStreams is empty.  False, and the reason in *apError, when they do not fit.
bool MakeMultiplex(const DrmMode& aMode, const std::vector<uint32_t>& aStreams, Multiplex* apMultiplex,
                   std::string* apError);

// Appends protection levels and stream lengths, 4 + 24 bits a stream, as the "sdci" item and the multiplex description
// in the SDC hold them (ETSI ES 201 980, data entity type 0).
void PutMultiplexDescription(const Multiplex& aMultiplex, BitWriter* apWriter);
