#pragma once

#include <cstdint>

#include "Networking/CRCTable.h"

// A table-driven cyclic redundancy check, most significant bit first.  The engine builds its tables when it is
// constructed and only reads them afterwards, so any number of threads may share one.  apData is not read, and may be
// null, when aLength is below 1.
//
// Compute is Update from an initial value of all ones, then the complement of the register when invert is set.  Over
// "123456789": polynomial 0x1021 with invert 0xD64E (CRC-16/GENIBUS, the CRC of ETSI TS 102 821), without 0x29B1
// (CRC-16/IBM-3740).
class CRC16 {
public:
    CRC16(uint32_t aPolynomial, bool aInvert);
    // The register after aLength bytes from the low 16 bits of aInit.
    uint16_t Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const;
    uint16_t Compute(const unsigned char* apData, int32_t aLength) const;

private:
    bool cInvert;
    CRCTable<uint16_t> cTable;
};

// What AF packets and PFT headers are protected with: CRC16(CRC16_POLYNOMIAL, true).
constexpr uint32_t CRC16_POLYNOMIAL = 0x1021;
