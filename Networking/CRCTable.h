#pragma once

#include <cstdint>

// The register of a CRC that goes most significant bit first, as wide as Register, after the byte aIndex alone.
template <typename Register>
Register MsbFirstTableEntry(uint32_t aIndex, uint32_t aPolynomial) {
    constexpr uint32_t WIDTH = 8 * sizeof(Register);
    uint32_t lRegister = aIndex << (WIDTH - 8);
    for (int lBit = 0; lBit < 8; ++lBit)
        lRegister = (lRegister << 1) ^ ((lRegister >> (WIDTH - 1) & 1) != 0 ? aPolynomial : 0);
    return static_cast<Register>(lRegister);
}
