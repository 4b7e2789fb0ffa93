#pragma once

#include <cstdint>
#include <vector>

#include "Networking/Packet.h"
#include "Networking/RSCodec.h"

// Repairs packets that were sent as Reed-Solomon blocks, interleaved over their fragments (ETSI TS 102 821, PFT layer;
// FECProtector.h has the layout).
class FECProcessor {
public:
    FECProcessor();  // without a codec, and with a line in the trace file, when there is no memory for one
    virtual ~FECProcessor() = default;

    // apcPacket holds the payloads of ainFragmentsNumber fragments of one size, in order, with anything in the place of
    // those whose aMissingCount indexes apMissing lists in ascending order.  Leaves the packet that was sent in it and
    // returns true; ciRSk and ciRSz are to be set before.
    //
    // False, with the packet as it was, when ciRSk is 0 or above ciMaxData, the packet is not made of so many equal
    // fragments, they hold no byte of data, or some are missing and there is no codec.  False, with the packet cut to
    // the data as far as they could be repaired, when a block lacks more than its parity bytes can restore.
    //
    // The parity serves for lost fragments only: with none missing, damaged bytes stay as they are.
    bool Correct(Packet* apcPacket, uint32_t ainFragmentsNumber, const uint32_t* apMissing, uint32_t aMissingCount);

    uint32_t ciRSk = RS_DATA_SIZE;             // data bytes of a block
    uint32_t ciRSz = 0;                        // zero bytes at the end of the last block's data
    const uint32_t ciMaxData = RS_DATA_SIZE;   // of a message of the code
    const uint32_t ciParity = RS_PARITY_SIZE;  // bytes of a block
    const RSCodec* const cpcCodec;             // never freed

private:
    bool CorrectBlock(unsigned char* apBlock, uint32_t aStart, const std::vector<bool>& aMissing) const;
};
