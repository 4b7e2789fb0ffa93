#include "Networking/PFTPacket.h"

#include "Networking/ByteOrder.h"

std::atomic<const CRC16*> PFTPacket::spcCRCEngine{nullptr};

const CRC16* PFTPacket::SharedEngine() {
    static const CRC16* const spcEngine = new CRC16(CRC16_POLYNOMIAL, true);
    return spcEngine;
}

const CRC16* PFTPacket::Engine() {
    const CRC16* lpcEngine = spcCRCEngine.load();
    return lpcEngine != nullptr ? lpcEngine : SharedEngine();
}

PFTPacket::PFTPacket(uint32_t aCapacity) : Packet(aCapacity) {
    const CRC16* lpcEngine = spcCRCEngine.load();
    if (lpcEngine == nullptr)
        spcCRCEngine.compare_exchange_strong(lpcEngine, SharedEngine());
    cSize = PFT_HEADER_SIZE;
    cProtocol = "PF";
    MovePayload(PFT_HEADER_SIZE);
}

void PFTPacket::SetRSParameters(uint8_t aRSk, uint8_t aRSz) {
    Reserve(&ciFEC, PFT_RS_SIZE);
    cHeader.mRSk = aRSk;
    cHeader.mRSz = aRSz;
}

void PFTPacket::SetAddresses(uint16_t aSource, uint16_t aDestination) {
    Reserve(&ciAddressing, PFT_ADDRESS_SIZE);
    cHeader.mSource = aSource;
    cHeader.mDestination = aDestination;
}

void PFTPacket::Reserve(bool* apField, uint32_t aSize) {
    if (*apField)
        return;
    *apField = true;
    cSize += aSize;
    cHeader.mFEC = ciFEC;
    cHeader.mAddressing = ciAddressing;
    MovePayload(cHeader.GetSize());
}

uint32_t PFTPacket::SetHeader(uint16_t aPSeq, uint32_t aFindex, uint32_t aFcount) {
    cHeader.mPSeq = aPSeq;
    cHeader.mFindex = aFindex;
    cHeader.mFcount = aFcount;
    cHeader.mPlen = cPayloadSize;
    unsigned char lBytes[PFT_MAX_HEADER_SIZE];
    const uint32_t lSize = WritePFTHeader(cHeader, lBytes);
    if (WriteAt(0, lSize, lBytes) == 0)
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
    PFTHeader lHeader;
    const PFTCheck lCheck = ParsePFTFragment(cData, ValidBytes(), *Engine(), &lHeader);
    if (lCheck == PFTCheck::HEADER_CUT_SHORT)
        cError = PACKET_READ_OVERFLOW;
    if (lCheck != PFTCheck::VALID)
        return 0;
    cHeader = lHeader;
    cProtocol = "PF";
    ciFEC = lHeader.mFEC;
    ciAddressing = lHeader.mAddressing;
    MovePayload(lHeader.GetSize());
    cPayloadSize = lHeader.mPlen;
    cReadPosition = cPayload;
    return 1;
}
