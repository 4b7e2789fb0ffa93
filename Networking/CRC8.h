#pragma once

#include <cstdint>

#include "Networking/CRCTable.h"

// A table-driven cyclic redundancy check, one look-up per byte.  The engine builds its tables when it is constructed
// and only reads them afterwards, so any number of threads may share one.  Compute is Update from an initial value of
// all ones, then the final step.  apData is not read, and may be null, when aLength is below 1.
//
// Most significant bit first.  What Update gives is the complement of the register; Compute with invert set complements
// that again and gives the register itself.  Over "123456789": polynomial 0x9B with invert 0xDA (CRC-8/CDMA2000),
// polynomial 0x1D without 0x4B (CRC-8/SAE-J1850).
class CRC8 {
public:
    CRC8(uint32_t aPolynomial, bool aInvert);
    // The complement of the register after aLength bytes from the register value aInit.
    uint8_t Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const;
    uint8_t Compute(const unsigned char* apData, int32_t aLength) const;

private:
    bool cInvert;
    CRCTable<uint8_t> cTable;
};
