#pragma once

#include <array>
#include <cstdint>

// As CRC16 (Networking/CRC16.h), but least significant bit first; the polynomial is given unreflected.  Over
// "123456789": polynomial 0x04C11DB7 with invert 0xCBF43926 (the CRC-32 of IEEE 802.3).
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
