#include "Networking/FECProcessor.h"

#include <cstring>

#include "runtime/Trace.h"

FECProcessor::FECProcessor() : cpcCodec(SharedRSCodec()) {
    CHECK_INVARIANT_AS(cpcCodec != nullptr, "0");
}

bool FECProcessor::Correct(Packet* apcPacket, uint32_t ainFragmentsNumber, const uint32_t* apMissing,
                           uint32_t aMissingCount) {
    const uint32_t lSize = apcPacket->GetSize();
    if ((cpcCodec == nullptr && aMissingCount > 0) || ciRSk == 0 || ciRSk > ciMaxData || ainFragmentsNumber == 0 ||
        lSize % ainFragmentsNumber != 0 || lSize > apcPacket->ValidBytes())
        return false;
    const uint32_t linFragmentsSize = lSize / ainFragmentsNumber;
    CHECK_INVARIANT_AS(linFragmentsSize * ainFragmentsNumber == lSize,
                       "linFragmentsSize*ainFragmentsNumber == apcPacket->GetSize()");
    const uint32_t lBlockSize = ciRSk + ciParity;
    const uint32_t lDataSize = lSize / lBlockSize * ciRSk;
    if (lDataSize <= ciRSz)
        return false;

    std::vector<unsigned char> lStream(lSize);
    for (uint32_t lFragment = 0; lFragment < ainFragmentsNumber; ++lFragment) {
        const unsigned char* const lpBytes = apcPacket->cData + lFragment * linFragmentsSize;
        for (uint32_t lRow = 0; lRow < linFragmentsSize; ++lRow)
            lStream[lRow * ainFragmentsNumber + lFragment] = lpBytes[lRow];
    }
    std::vector<bool> lMissing(ainFragmentsNumber, false);
    for (uint32_t lIndex = 0; lIndex < aMissingCount; ++lIndex)
        if (apMissing[lIndex] < ainFragmentsNumber)
            lMissing[apMissing[lIndex]] = true;

    bool lCorrected = true;
    unsigned char* lpOut = lStream.data();  // where the next block's data go, so that no parity is left between data
    for (uint32_t lStart = 0; lStart + lBlockSize <= lSize; lStart += lBlockSize, lpOut += ciRSk) {
        unsigned char* const lpBlock = lStream.data() + lStart;
        if (aMissingCount > 0 && !CorrectBlock(lpBlock, lStart, lMissing))
            lCorrected = false;
        std::memmove(lpOut, lpBlock, ciRSk);
    }
    std::memcpy(apcPacket->cData, lStream.data(), lDataSize - ciRSz);
    apcPacket->SetSize(lDataSize - ciRSz);
    return lCorrected;
}

// aStart is the block's offset in the stream, to which the fragments give one byte each in turn.
bool FECProcessor::CorrectBlock(unsigned char* apBlock, uint32_t aStart, const std::vector<bool>& aMissing) const {
    int32_t lErased[RS_CODEWORD_SIZE];
    int32_t lErasedCount = 0;
    for (uint32_t lOffset = 0; lOffset < ciRSk + ciParity; ++lOffset)
        if (aMissing[(aStart + lOffset) % aMissing.size()])
            lErased[lErasedCount++] = static_cast<int32_t>(lOffset < ciRSk ? lOffset : lOffset + ciMaxData - ciRSk);
    unsigned char lCodeword[RS_CODEWORD_SIZE] = {};
    std::memcpy(lCodeword, apBlock, ciRSk);
    std::memcpy(lCodeword + ciMaxData, apBlock + ciRSk, ciParity);
    if (DecodeRS(cpcCodec, lCodeword, lErased, lErasedCount) < 0)
        return false;
    std::memcpy(apBlock, lCodeword, ciRSk);
    return true;
}
