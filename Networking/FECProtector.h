#pragma once

#include <cstdint>
#include <vector>

#include "Networking/RSCodec.h"

// How a packet is protected (ETSI TS 102 821, PFT layer).  The packet is cut into equal blocks of at most 207 data
// bytes, the last one filled up with zeros.  Each block is followed by its 48 parity bytes, which are computed as if
// zeros filled its data up to 207 bytes.  All of it, filled up with zeros again, is written as rows of a table and sent
// as its columns, each of which is a fragment.  So a lost fragment costs each block only a few bytes.
struct FECLayout {
    uint32_t mBlocks = 0;
    uint32_t mRSk = 0;  // data bytes of a block
    uint32_t mRSz = 0;  // zeros at the end of the last block's data
    uint32_t mFragments = 0;
    uint32_t mFragmentSize = 0;

    // Lays out a packet of aSize bytes (at least 1) so that any aErrors of its fragments (at most 47) may be lost.  A
    // fragment has at most aMaxPayload bytes (at least 1).
    FECLayout(uint32_t aSize, uint32_t aErrors, uint32_t aMaxPayload);
};

// Returns the payloads of the fragments, one behind the other.  apPacket holds the packet that aLayout was made for.
std::vector<unsigned char> ProtectPacket(const RSCodec& aCodec, const FECLayout& aLayout,
                                         const unsigned char* apPacket);
