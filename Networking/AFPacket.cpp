#include "Networking/AFPacket.h"

#include "Networking/ByteOrder.h"

namespace {

constexpr uint32_t LENGTH_OFFSET = 2;
constexpr uint32_t SEQUENCE_OFFSET = 6;
constexpr uint32_t AR_OFFSET = 8;
constexpr uint32_t PT_OFFSET = 9;
constexpr uint8_t AR_CRC_FLAG = 0x80;

}  // namespace

AFPacket::AFPacket(uint32_t aCapacity, uint8_t aMajorVersion, uint8_t aMinorVersion)
    : Packet(aCapacity),
      cHeader(),
      cMajorVersion(aMajorVersion & 7),
      cMinorVersion(aMinorVersion & 15),
      cpcEngine(nullptr) {
    cSize = AF_OVERHEAD;
    cProtocol = "AF";
    MovePayload(AF_HEADER_SIZE);
}

uint32_t AFPacket::WritePayload(uint32_t aLength, const unsigned char* apBytes) {
    if (aLength > AF_MAX_SIZE - AF_OVERHEAD) {
        cError = PACKET_WRITE_OVERFLOW;
        return 0;
    }
    return Packet::WritePayload(aLength, apBytes);
}

uint32_t AFPacket::SetHeader(uint16_t aSequence, bool aCRCFlag) {
    cHeader[0] = 'A';
    cHeader[1] = 'F';
    WriteU32(cHeader + LENGTH_OFFSET, cPayloadSize);
    WriteU16(cHeader + SEQUENCE_OFFSET, aSequence);
    cHeader[AR_OFFSET] =
        static_cast<unsigned char>((aCRCFlag ? AR_CRC_FLAG : 0) | (cMajorVersion << 4) | cMinorVersion);
    cHeader[PT_OFFSET] = static_cast<unsigned char>(cPayloadProtocol != nullptr ? cPayloadProtocol[0] : 0);
    cWritePosition = cData;
    return WriteAt(0, AF_HEADER_SIZE, cHeader);
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
    cReadPosition = cData;
    if (Read(AF_HEADER_SIZE, cHeader) == 0)
        return 0;
    const uint8_t lAR = cHeader[AR_OFFSET];
    if (cHeader[0] != 'A' || cHeader[1] != 'F' || ((lAR >> 4) & 7) != cMajorVersion)
        return 0;
    const uint32_t lLength = ReadU32(cHeader + LENGTH_OFFSET);
    if (lLength > AF_MAX_SIZE - AF_OVERHEAD)
        return 0;
    if (lLength + AF_OVERHEAD > ValidBytes()) {
        cError = PACKET_READ_OVERFLOW;
        return 0;
    }
    const uint32_t lCovered = AF_HEADER_SIZE + lLength;
    uint32_t lCRC = 0;
    if ((lAR & AR_CRC_FLAG) != 0) {
        if (cpcEngine == nullptr)
            return 0;
        lCRC = cpcEngine->Compute(cData, static_cast<int32_t>(lCovered));
    }
    if (ReadU16(cData + lCovered) != lCRC)
        return 0;
    if (cPayloadProtocol != nullptr)
        cPayloadProtocol[0] = static_cast<char>(cHeader[PT_OFFSET]);
    MovePayload(AF_HEADER_SIZE);
    cPayloadSize = lLength;
    cSize = lLength + AF_OVERHEAD;
    cReadPosition = cData + cSize;
    return 1;
}

uint16_t AFPacket::GetSequence() const {
    return ReadU16(cHeader + SEQUENCE_OFFSET);
}
