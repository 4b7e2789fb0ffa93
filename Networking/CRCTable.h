#pragma once

#include <array>
#include <cstdint>

// The tables of a CRC that goes most significant bit first, and the way of bytes through its register, which is as wide
// as Register: one or two bytes.  The first table serves a byte at a time.  The others let eight bytes go at once
// ("slicing"), which is faster because none of the eight look-ups waits for another.
template <typename Register>
class CRCTable {
public:
    explicit CRCTable(uint32_t aPolynomial) {
        for (uint32_t lByte = 0; lByte < 256; ++lByte) {
            uint32_t lRegister = lByte << (WIDTH - 8);
            for (int lBit = 0; lBit < 8; ++lBit)
                lRegister = (lRegister << 1) ^ ((lRegister >> (WIDTH - 1) & 1) != 0 ? aPolynomial : 0);
            cTables[0][lByte] = static_cast<Register>(lRegister);
        }
        for (uint32_t lZeros = 1; lZeros < SLICES; ++lZeros)
            for (uint32_t lByte = 0; lByte < 256; ++lByte)
                cTables[lZeros][lByte] = Step(cTables[lZeros - 1][lByte], 0);
    }

    // The register after aLength bytes from aRegister.
    Register Run(Register aRegister, const unsigned char* apData, int32_t aLength) const {
        for (; aLength >= SLICES; aLength -= SLICES, apData += SLICES)
            aRegister = StepSlices(aRegister, apData);
        for (; aLength > 0; --aLength, ++apData)
            aRegister = Step(aRegister, *apData);
        return aRegister;
    }

private:
    static constexpr uint32_t WIDTH = 8 * sizeof(Register);
    static constexpr int32_t SLICES = 8;

    Register Step(Register aRegister, unsigned char aByte) const {
        return static_cast<Register>((aRegister << 8) ^ cTables[0][(aRegister >> (WIDTH - 8)) ^ aByte]);
    }

    // The register is added to as many bytes as it is wide.
    Register StepSlices(Register aRegister, const unsigned char* apData) const {
        const uint32_t lSecond = WIDTH > 8 ? aRegister & 0xFF : 0;
        return static_cast<Register>(cTables[7][apData[0] ^ (aRegister >> (WIDTH - 8))] ^
                                     cTables[6][apData[1] ^ lSecond] ^ cTables[5][apData[2]] ^ cTables[4][apData[3]] ^
                                     cTables[3][apData[4]] ^ cTables[2][apData[5]] ^ cTables[1][apData[6]] ^
                                     cTables[0][apData[7]]);
    }

    std::array<std::array<Register, 256>, SLICES> cTables;  // [n]: the register after the byte and n bytes of 0
};
