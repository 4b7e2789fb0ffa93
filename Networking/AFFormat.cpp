#include "Networking/AFFormat.h"

#include "Networking/ByteOrder.h"

namespace {

constexpr uint32_t LENGTH_OFFSET = 2;
constexpr uint32_t AR_OFFSET = 8;
constexpr uint32_t PT_OFFSET = 9;
constexpr uint8_t AR_CRC_FLAG = 0x80;

}  // namespace

AFCheck ParseAFHeader(const unsigned char* apBytes, size_t aSize, uint8_t aMajorVersion, AFHeader* apHeader) {
    if (aSize < AF_HEADER_SIZE)
        return AFCheck::CUT_SHORT;
    const uint8_t lAR = apBytes[AR_OFFSET];
    apHeader->mLength = ReadU32(apBytes + LENGTH_OFFSET);
    apHeader->mSequence = ReadU16(apBytes + AF_SEQUENCE_OFFSET);
    apHeader->mHasCRC = (lAR & AR_CRC_FLAG) != 0;
    apHeader->mMajorVersion = lAR >> 4 & 7;
    apHeader->mMinorVersion = lAR & 15;
    apHeader->mProtocol = static_cast<char>(apBytes[PT_OFFSET]);
    if (apBytes[0] != 'A' || apBytes[1] != 'F' || apHeader->mMajorVersion != aMajorVersion ||
        apHeader->mLength > AF_MAX_SIZE - AF_OVERHEAD)
        return AFCheck::INVALID;
    if (apHeader->mLength > aSize || aSize - apHeader->mLength < AF_OVERHEAD)
        return AFCheck::CUT_SHORT;
    return AFCheck::VALID;
}

AFCheck ParseAFPacket(const unsigned char* apBytes, size_t aSize, uint8_t aMajorVersion, const CRC16* apEngine,
                      AFHeader* apHeader) {
    if (const AFCheck lCheck = ParseAFHeader(apBytes, aSize, aMajorVersion, apHeader); lCheck != AFCheck::VALID)
        return lCheck;
    if (apHeader->mHasCRC && apEngine == nullptr)
        return AFCheck::INVALID;
    const uint32_t lCovered = AF_HEADER_SIZE + apHeader->mLength;
    const uint32_t lCRC = apHeader->mHasCRC ? apEngine->Compute(apBytes, static_cast<int32_t>(lCovered)) : 0u;
    return ReadU16(apBytes + lCovered) == lCRC ? AFCheck::VALID : AFCheck::INVALID;
}

void WriteAFHeader(const AFHeader& aHeader, unsigned char* apBytes) {
    apBytes[0] = 'A';
    apBytes[1] = 'F';
    WriteU32(apBytes + LENGTH_OFFSET, aHeader.mLength);
    WriteU16(apBytes + AF_SEQUENCE_OFFSET, aHeader.mSequence);
    apBytes[AR_OFFSET] = static_cast<unsigned char>((aHeader.mHasCRC ? AR_CRC_FLAG : 0) | aHeader.mMajorVersion << 4 |
                                                    aHeader.mMinorVersion);
    apBytes[PT_OFFSET] = static_cast<unsigned char>(aHeader.mProtocol);
}
