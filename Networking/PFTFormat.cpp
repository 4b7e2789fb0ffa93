#include "Networking/PFTFormat.h"

#include "Networking/ByteOrder.h"

namespace {

constexpr uint32_t FINDEX_OFFSET = 4;
constexpr uint32_t FCOUNT_OFFSET = 7;
constexpr uint32_t PLEN_OFFSET = 10;
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

PFTCheck ParsePFTFragment(const unsigned char* apBytes, size_t aSize, const CRC16& aEngine, PFTHeader* apHeader) {
    if (aSize < PFT_FIXED_SIZE)
        return PFTCheck::HEADER_CUT_SHORT;
    apHeader->mPSeq = ReadU16(apBytes + PFT_PSEQ_OFFSET);
    apHeader->mFindex = ReadU24(apBytes + FINDEX_OFFSET);
    apHeader->mFcount = ReadU24(apBytes + FCOUNT_OFFSET);
    const uint32_t lFlags = ReadU16(apBytes + PLEN_OFFSET);
    apHeader->mFEC = (lFlags & FEC_FLAG) != 0;
    apHeader->mAddressing = (lFlags & ADDRESS_FLAG) != 0;
    apHeader->mPlen = lFlags & PFT_MAX_PAYLOAD;
    if (apBytes[0] != 'P' || apBytes[1] != 'F' || apHeader->mFindex >= apHeader->mFcount)  // an Fcount of 0 too
        return PFTCheck::INVALID;
    const uint32_t lHeaderSize = apHeader->GetSize();
    if (aSize < lHeaderSize)
        return PFTCheck::HEADER_CUT_SHORT;
    const unsigned char* lpNext = apBytes + PFT_FIXED_SIZE;
    if (apHeader->mFEC) {
        apHeader->mRSk = lpNext[0];
        apHeader->mRSz = lpNext[1];
        lpNext += PFT_RS_SIZE;
    }
    if (apHeader->mAddressing) {
        apHeader->mSource = ReadU16(lpNext);
        apHeader->mDestination = ReadU16(lpNext + 2);
        lpNext += PFT_ADDRESS_SIZE;
    }
    if (apHeader->mRSk > PFT_MAX_RSK || apHeader->mPlen > aSize - lHeaderSize ||
        ReadU16(lpNext) != aEngine.Compute(apBytes, static_cast<int32_t>(lHeaderSize - PFT_CRC_SIZE)))
        return PFTCheck::INVALID;
    return PFTCheck::VALID;
}

uint32_t WritePFTHeader(const PFTHeader& aHeader, unsigned char* apBytes) {
    apBytes[0] = 'P';
    apBytes[1] = 'F';
    WriteU16(apBytes + PFT_PSEQ_OFFSET, aHeader.mPSeq);
    WriteU24(apBytes + FINDEX_OFFSET, aHeader.mFindex);
    WriteU24(apBytes + FCOUNT_OFFSET, aHeader.mFcount);
    WriteU16(apBytes + PLEN_OFFSET, (aHeader.mFEC ? FEC_FLAG : 0) | (aHeader.mAddressing ? ADDRESS_FLAG : 0) |
                                        (aHeader.mPlen & PFT_MAX_PAYLOAD));
    unsigned char* lpNext = apBytes + PFT_FIXED_SIZE;
    if (aHeader.mFEC) {
        lpNext[0] = aHeader.mRSk;
        lpNext[1] = aHeader.mRSz;
        lpNext += PFT_RS_SIZE;
    }
    if (aHeader.mAddressing) {
        WriteU16(lpNext, aHeader.mSource);
        WriteU16(lpNext + 2, aHeader.mDestination);
        lpNext += PFT_ADDRESS_SIZE;
    }
    return static_cast<uint32_t>(lpNext - apBytes);
}
