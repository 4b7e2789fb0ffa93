#include "Networking/PFTPacket.h"

#include "Networking/ByteOrder.h"

namespace {

constexpr uint32_t PSEQ_OFFSET = 2;
constexpr uint32_t FINDEX_OFFSET = 4;
constexpr uint32_t FCOUNT_OFFSET = 7;
constexpr uint32_t PLEN_OFFSET = 10;
constexpr uint32_t RS_OFFSET = PFT_FIXED_SIZE;
constexpr uint32_t ADDRESS_OFFSET = RS_OFFSET + PFT_RS_SIZE;
constexpr uint32_t FEC_FLAG = 0x8000;
constexpr uint32_t ADDRESS_FLAG = 0x4000;

uint32_t ReadU24(const unsigned char* apBytes) {
    return (static_cast<uint32_t>(apBytes[0]) << 16) | ReadU16(apBytes + 1);
}

void WriteU24(unsigned char* apBytes, uint32_t aValue) {
    apBytes[0] = static_cast<unsigned char>(aValue >> 16);
    WriteU16(apBytes + 1, aValue);
}

}  // namespace

std::atomic<const CRC16*> PFTPacket::spcCRCEngine{nullptr};

const CRC16* PFTPacket::SharedEngine() {
    static const CRC16* const spcEngine = new CRC16(CRC16_POLYNOMIAL, true);
    return spcEngine;
}

const CRC16* PFTPacket::Engine() {
    const CRC16* lpcEngine = spcCRCEngine.load();
    return lpcEngine != nullptr ? lpcEngine : SharedEngine();
}

PFTPacket::PFTPacket(uint32_t aCapacity) : Packet(aCapacity), ciFEC(false), ciAddressing(false), cHeader() {
    const CRC16* lpcEngine = spcCRCEngine.load();
    if (lpcEngine == nullptr)
        spcCRCEngine.compare_exchange_strong(lpcEngine, SharedEngine());
    cSize = PFT_HEADER_SIZE;
    cProtocol = "PF";
    MovePayload(HeaderSize());
}

void PFTPacket::SetRSParameters(uint8_t aRSk, uint8_t aRSz) {
    if (!ciFEC) {
        ciFEC = true;
        cSize += PFT_RS_SIZE;
        MovePayload(HeaderSize());
    }
    cHeader[RS_OFFSET] = aRSk;
    cHeader[RS_OFFSET + 1] = aRSz;
}

void PFTPacket::SetAddresses(uint16_t aSource, uint16_t aDestination) {
    if (!ciAddressing) {
        ciAddressing = true;
        cSize += PFT_ADDRESS_SIZE;
        MovePayload(HeaderSize());
    }
    WriteU16(cHeader + ADDRESS_OFFSET, aSource);
    WriteU16(cHeader + ADDRESS_OFFSET + 2, aDestination);
}

uint32_t PFTPacket::SetHeader(uint16_t aPSeq, uint32_t aFindex, uint32_t aFcount) {
    cHeader[0] = 'P';
    cHeader[1] = 'F';
    WriteU16(cHeader + PSEQ_OFFSET, aPSeq);
    WriteU24(cHeader + FINDEX_OFFSET, aFindex);
    WriteU24(cHeader + FCOUNT_OFFSET, aFcount);
    WriteU16(cHeader + PLEN_OFFSET,
             (ciFEC ? FEC_FLAG : 0) | (ciAddressing ? ADDRESS_FLAG : 0) | (cPayloadSize & PFT_MAX_PAYLOAD));
    uint32_t lSize = PFT_FIXED_SIZE;
    uint32_t lFits = WriteAt(0, PFT_FIXED_SIZE, cHeader);
    if (ciFEC) {
        lFits &= WriteAt(lSize, PFT_RS_SIZE, cHeader + RS_OFFSET);
        lSize += PFT_RS_SIZE;
    }
    if (ciAddressing) {
        lFits &= WriteAt(lSize, PFT_ADDRESS_SIZE, cHeader + ADDRESS_OFFSET);
        lSize += PFT_ADDRESS_SIZE;
    }
    if (lFits == 0)
        return 0;
    cWritePosition = cData + lSize;
    return SetCRC();
}

uint32_t PFTPacket::SetCRC() {
    const uint32_t lSize = OffsetOf(cWritePosition);
    unsigned char lBytes[PFT_CRC_SIZE];
    WriteU16(lBytes, Engine()->Compute(cData, static_cast<int32_t>(lSize)));
    if (WriteAt(lSize, PFT_CRC_SIZE, lBytes) == 0)
        return 0;
    cWritePosition += PFT_CRC_SIZE;
    return 1;
}

uint32_t PFTPacket::Parse() {
    cReadPosition = cData;
    if (Read(PFT_FIXED_SIZE, cHeader) == 0 || cHeader[0] != 'P' || cHeader[1] != 'F')
        return 0;
    cProtocol = "PF";
    if (GetFindex() >= GetFcount())  // a count of 0 too
        return 0;
    const uint32_t lFlags = ReadU16(cHeader + PLEN_OFFSET);
    ciFEC = (lFlags & FEC_FLAG) != 0;
    ciAddressing = (lFlags & ADDRESS_FLAG) != 0;
    if (ciFEC && (Read(PFT_RS_SIZE, cHeader + RS_OFFSET) == 0 || GetRSk() > PFT_MAX_RSK))
        return 0;
    if (ciAddressing && Read(PFT_ADDRESS_SIZE, cHeader + ADDRESS_OFFSET) == 0)
        return 0;
    const uint32_t lHeaderSize = HeaderSize();
    unsigned char lCRC[PFT_CRC_SIZE];
    if (Read(PFT_CRC_SIZE, lCRC) == 0 ||
        ReadU16(lCRC) != Engine()->Compute(cData, static_cast<int32_t>(lHeaderSize - PFT_CRC_SIZE)))
        return 0;
    const uint32_t lPayloadSize = lFlags & PFT_MAX_PAYLOAD;
    if (lPayloadSize > ValidBytes() - lHeaderSize)
        return 0;
    MovePayload(lHeaderSize);
    cPayloadSize = lPayloadSize;
    return 1;
}

uint16_t PFTPacket::GetPSeq() const {
    return ReadU16(cHeader + PSEQ_OFFSET);
}

uint32_t PFTPacket::GetFindex() const {
    return ReadU24(cHeader + FINDEX_OFFSET);
}

uint32_t PFTPacket::GetFcount() const {
    return ReadU24(cHeader + FCOUNT_OFFSET);
}

uint16_t PFTPacket::GetSource() const {
    return ciAddressing ? ReadU16(cHeader + ADDRESS_OFFSET) : uint16_t{0};
}

uint16_t PFTPacket::GetDestination() const {
    return ciAddressing ? ReadU16(cHeader + ADDRESS_OFFSET + 2) : uint16_t{0};
}

uint32_t PFTPacket::HeaderSize() const {
    return PFT_HEADER_SIZE + (ciFEC ? PFT_RS_SIZE : 0) + (ciAddressing ? PFT_ADDRESS_SIZE : 0);
}
