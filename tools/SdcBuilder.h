#pragma once

#include <vector>

#include "tools/Multiplex.h"

using SdcBlock = std::vector<unsigned char>;

// The service description channel (ETSI ES 201 980) as the "sdc_" item holds it: four 0 bits and the AFS index, the
// data field, the CRC.  It describes the multiplex and announces each stream as an audio service.  What does not fit
// into one block goes into the next; super frame n carries block n modulo their number, and the AFS index says so.
// Empty when a block is too short for the multiplex description.
std::vector<SdcBlock> BuildSdcBlocks(const DrmMode& aMode, const Multiplex& aMultiplex);
