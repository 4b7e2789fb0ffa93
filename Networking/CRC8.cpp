#include "Networking/CRC8.h"

CRC8::CRC8(uint32_t aPolynomial, bool aInvert) : cInvert(aInvert), cTable(aPolynomial) {}

uint8_t CRC8::Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const {
    return static_cast<uint8_t>(~cTable.Run(static_cast<uint8_t>(aInit), apData, aLength));
}

uint8_t CRC8::Compute(const unsigned char* apData, int32_t aLength) const {
    const uint8_t lResult = Update(0xFF, apData, aLength);
    return cInvert ? static_cast<uint8_t>(~lResult) : lResult;
}
