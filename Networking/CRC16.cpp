#include "Networking/CRC16.h"

#include "Networking/CRCTable.h"

CRC16::CRC16(uint32_t aPolynomial, bool aInvert) : cInvert(aInvert) {
    for (uint32_t lIndex = 0; lIndex < cTable.size(); ++lIndex)
        cTable[lIndex] = MsbFirstTableEntry<uint16_t>(lIndex, aPolynomial);
}

uint16_t CRC16::Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const {
    uint16_t lRegister = static_cast<uint16_t>(aInit);
    for (int32_t lIndex = 0; lIndex < aLength; ++lIndex)
        lRegister = static_cast<uint16_t>((lRegister << 8) ^ cTable[(lRegister >> 8) ^ apData[lIndex]]);
    return lRegister;
}

uint16_t CRC16::Compute(const unsigned char* apData, int32_t aLength) const {
    const uint16_t lResult = Update(0xFFFF, apData, aLength);
    return cInvert ? static_cast<uint16_t>(~lResult) : lResult;
}
