#include "Networking/CRC8.h"

#include "Networking/CRCTable.h"

CRC8::CRC8(uint32_t aPolynomial, bool aInvert) : cInvert(aInvert) {
    for (uint32_t lIndex = 0; lIndex < cTable.size(); ++lIndex)
        cTable[lIndex] = MsbFirstTableEntry<uint8_t>(lIndex, aPolynomial);
}

uint8_t CRC8::Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const {
    uint8_t lRegister = static_cast<uint8_t>(aInit);
    for (int32_t lIndex = 0; lIndex < aLength; ++lIndex)
        lRegister = cTable[lRegister ^ apData[lIndex]];
    return static_cast<uint8_t>(~lRegister);
}

uint8_t CRC8::Compute(const unsigned char* apData, int32_t aLength) const {
    const uint8_t lResult = Update(0xFF, apData, aLength);
    return cInvert ? static_cast<uint8_t>(~lResult) : lResult;
}
