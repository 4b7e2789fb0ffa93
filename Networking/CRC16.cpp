#include "Networking/CRC16.h"

CRC16::CRC16(uint32_t aPolynomial, bool aInvert) : cInvert(aInvert), cTable(aPolynomial) {}

uint16_t CRC16::Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const {
    return cTable.Run(static_cast<uint16_t>(aInit), apData, aLength);
}

uint16_t CRC16::Compute(const unsigned char* apData, int32_t aLength) const {
    const uint16_t lResult = Update(0xFFFF, apData, aLength);
    return cInvert ? static_cast<uint16_t>(~lResult) : lResult;
}
