#include "Networking/CRC32.h"

namespace {

uint32_t Reflect(uint32_t aValue) {
    uint32_t lResult = 0;
    for (int lBit = 0; lBit < 32; ++lBit)
        lResult |= ((aValue >> lBit) & 1) << (31 - lBit);
    return lResult;
}

}  // namespace

CRC32::CRC32(uint32_t aPolynomial, bool aInvert) : cInvert(aInvert) {
    const uint32_t lReflected = Reflect(aPolynomial);
    for (uint32_t lIndex = 0; lIndex < cTable.size(); ++lIndex) {
        uint32_t lRegister = lIndex;
        for (int lBit = 0; lBit < 8; ++lBit)
            lRegister = (lRegister >> 1) ^ ((lRegister & 1) != 0 ? lReflected : 0);
        cTable[lIndex] = lRegister;
    }
}

uint32_t CRC32::Update(uint32_t aInit, const unsigned char* apData, int32_t aLength) const {
    uint32_t lRegister = aInit;
    for (int32_t lIndex = 0; lIndex < aLength; ++lIndex)
        lRegister = (lRegister >> 8) ^ cTable[(lRegister ^ apData[lIndex]) & 0xFF];
    return lRegister;
}

uint32_t CRC32::Compute(const unsigned char* apData, int32_t aLength) const {
    const uint32_t lResult = Update(0xFFFFFFFF, apData, aLength);
    return cInvert ? ~lResult : lResult;
}
