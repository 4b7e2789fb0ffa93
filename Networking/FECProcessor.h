#pragma once

#include <cstdint>
#include <vector>

#include "Networking/Packet.h"
#include "Networking/RSCodec.h"

// Repairs packets that were sent as Reed-Solomon blocks interleaved over their fragments (ETSI TS 102 821, PFT layer).
// FECProtector.h describes the layout.
class FECProcessor {
public:
    FECProcessor();  // leaves cpcCodec null, with a line in the trace file, when there is no memory for a codec
    virtual ~FECProcessor() = default;

    // Turns the payloads of ainFragmentsNumber fragments of one size, which apcPacket holds in order, into the packet
    // that was sent.  apMissing lists the aMissingCount indexes of the missing fragments in ascending order; any bytes
    // may stand in their places.  ciRSk and ciRSz must be set before.
    //
    // Returns true; false, with the packet unchanged, when ciRSk is 0 or above ciMaxData, when the packet is not made
    // of so many equal fragments, when the fragments hold no byte of data, or when some are missing and there is no
    // codec; false, with the data as far as they could be repaired in the packet, when a block lacks more bytes than
    // its parity can restore.
    //
    // The parity serves for lost fragments only: when none is missing, damaged bytes stay as they are.
    bool Correct(Packet* apcPacket, uint32_t ainFragmentsNumber, const uint32_t* apMissing, uint32_t aMissingCount);

    uint32_t ciRSk = RS_DATA_SIZE;             // data bytes of a block
    uint32_t ciRSz = 0;                        // zero bytes at the end of the last block's data
    const uint32_t ciMaxData = RS_DATA_SIZE;   // the most data bytes that a block can have
    const uint32_t ciParity = RS_PARITY_SIZE;  // parity bytes of a block
    const RSCodec* const cpcCodec;             // never freed; null when there was no memory

private:
    bool CorrectBlock(unsigned char* apBlock, uint32_t aStart, const std::vector<bool>& aMissing) const;
};
