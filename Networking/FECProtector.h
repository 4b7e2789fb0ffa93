#pragma once

#include <cstdint>
#include <vector>

#include "Networking/RSCodec.h"

// How a packet is protected (ETSI TS 102 821, PFT layer): cut into equal blocks of at most 207 data bytes, the last one
// filled up with zeros; each block followed by its 48 parity bytes, as of a message with zeros up to 207; all of it,
// filled up with zeros again, written as rows and sent as columns, each of which is a fragment.  So a lost fragment
// costs each block only a few bytes.
struct FECLayout {
    uint32_t mBlocks = 0;
    uint32_t mRSk = 0;  // data bytes of a block
    uint32_t mRSz = 0;  // zeros in the last block
    uint32_t mFragments = 0;
    uint32_t mFragmentSize = 0;

    // Of a packet of aSize bytes, at least 1, of which any aErrors fragments may be lost, up to 47, with at most
    // aMaxPayload bytes, at least 1, in a fragment.
    FECLayout(uint32_t aSize, uint32_t aErrors, uint32_t aMaxPayload);
};

// The payloads of the fragments, one behind the other.  apPacket holds the packet that aLayout was made for.
std::vector<unsigned char> ProtectPacket(const RSCodec& aCodec, const FECLayout& aLayout,
                                         const unsigned char* apPacket);
