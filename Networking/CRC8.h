#pragma once

#include <cstdint>

#include "Networking/CRCTable.h"

// As CRC16 (Networking/CRC16.h), but what Update gives is the complement of the register; Compute with invert set
// complements that again and gives the register itself.  Over "123456789": polynomial 0x9B with invert 0xDA
// (CRC-8/CDMA2000), polynomial 0x1D without 0x4B (CRC-8/SAE-J1850).
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
