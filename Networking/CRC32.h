#pragma once

#include <array>
#include <cstdint>

// A table-driven cyclic redundancy check, one look-up per byte.  The engine builds its table when it is constructed and
// only reads it afterwards, so any number of threads may share one.  Compute is Update from an initial value of all
// ones, then the final step.  apData is not read, and may be null, when aLength is below 1.
//
// Least significant bit first; the polynomial is given unreflected.  Compute complements the register when invert is
// set.  Over "123456789": polynomial 0x04C11DB7 with invert 0xCBF43926 (the CRC-32 of IEEE 802.3).
class CRC32 {
public:
    CRC32(uint32_t aPolynomial, bool aInvert);
    // The register after aLength bytes from aInit.
    uint32_t Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const;
    uint32_t Compute(const unsigned char* apData, int32_t aLength) const;

private:
    bool cInvert;
    std::array<uint32_t, 256> cTable;
};
