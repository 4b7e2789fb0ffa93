#include "Networking/AFPacket.h"

#include "Networking/ByteOrder.h"

AFPacket::AFPacket(uint32_t aCapacity, uint8_t aMajorVersion, uint8_t aMinorVersion)
    : Packet(aCapacity), cMajorVersion(aMajorVersion & 7), cMinorVersion(aMinorVersion & 15) {
    cSize = AF_OVERHEAD;
    cProtocol = "AF";
    MovePayload(AF_HEADER_SIZE);
}

uint32_t AFPacket::SetHeader(uint16_t aSequence, bool aCRCFlag) {
    cHeader = {.mLength = cPayloadSize,
               .mSequence = aSequence,
               .mHasCRC = aCRCFlag,
               .mMajorVersion = cMajorVersion,
               .mMinorVersion = cMinorVersion,
               .mProtocol = cPayloadProtocol != nullptr ? cPayloadProtocol[0] : '\0'};
    unsigned char lBytes[AF_HEADER_SIZE];
    WriteAFHeader(cHeader, lBytes);
    cWritePosition = cData;
    return WriteAt(0, AF_HEADER_SIZE, lBytes);
}

uint32_t AFPacket::SetCRC(bool aCRCFlag) {
    if (cSize < AF_OVERHEAD || cSize > AF_MAX_SIZE || cSize > cCapacity) {
        cError = PACKET_WRITE_OVERFLOW;
        return 0;
    }
    uint32_t lCRC = 0;
    if (aCRCFlag) {
        if (cpcEngine == nullptr)
            return 0;
        lCRC = cpcEngine->Compute(cData, static_cast<int32_t>(cSize - AF_CRC_SIZE));
    }
    unsigned char lBytes[AF_CRC_SIZE];
    WriteU16(lBytes, lCRC);
    const uint32_t lOffset = AF_HEADER_SIZE + cPayloadSize;
    if (WriteAt(lOffset, AF_CRC_SIZE, lBytes) == 0)
        return 0;
    cWritePosition = cData + lOffset;
    return 1;
}

uint32_t AFPacket::Parse() {
    return Take(ParseAFPacket(cData, ValidBytes(), cMajorVersion, cpcEngine, &cHeader));
}

uint32_t AFPacket::ParseSound() {
    return Take(ParseAFHeader(cData, ValidBytes(), cMajorVersion, &cHeader));
}

uint32_t AFPacket::Take(AFCheck aCheck) {
    if (aCheck == AFCheck::CUT_SHORT)
        cError = PACKET_READ_OVERFLOW;
    if (aCheck != AFCheck::VALID)
        return 0;
    if (cPayloadProtocol != nullptr)
        cPayloadProtocol[0] = cHeader.mProtocol;
    MovePayload(AF_HEADER_SIZE);
    cPayloadSize = cHeader.mLength;
    cSize = cHeader.mLength + AF_OVERHEAD;
    cReadPosition = cData + cSize;
    return 1;
}
