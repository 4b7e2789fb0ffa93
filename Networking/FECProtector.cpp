#include "Networking/FECProtector.h"

#include <algorithm>
#include <cstring>

namespace {

uint32_t DivideUp(uint32_t aDividend, uint32_t aDivisor) {
    return (aDividend + aDivisor - 1) / aDivisor;
}

}  // namespace

FECLayout::FECLayout(uint32_t aSize, uint32_t aErrors, uint32_t aMaxPayload)
    : mBlocks(DivideUp(aSize, RS_DATA_SIZE)), mRSk(DivideUp(aSize, mBlocks)), mRSz(mBlocks * mRSk - aSize) {
    const uint32_t lLargest = std::min(RS_PARITY_SIZE / (aErrors + 1) * mBlocks, aMaxPayload);
    const uint32_t lProtectedSize = mBlocks * (mRSk + RS_PARITY_SIZE);
    mFragments = DivideUp(lProtectedSize, lLargest);
    mFragmentSize = DivideUp(lProtectedSize, mFragments);
}

std::vector<unsigned char> ProtectPacket(const RSCodec& aCodec, const FECLayout& aLayout,
                                         const unsigned char* apPacket) {
    const size_t lSize = size_t{aLayout.mFragments} * aLayout.mFragmentSize;
    std::vector<unsigned char> lFragments(lSize);
    uint32_t lFragment = 0;
    uint32_t lRow = 0;
    const auto Append = [&](const unsigned char* apBytes, uint32_t aCount) {
        for (uint32_t lIndex = 0; lIndex < aCount; ++lIndex) {
            lFragments[size_t{lFragment} * aLayout.mFragmentSize + lRow] = apBytes[lIndex];
            if (++lFragment == aLayout.mFragments) {
                lFragment = 0;
                ++lRow;
            }
        }
    };
    unsigned char lMessage[RS_DATA_SIZE] = {};
    unsigned char lParity[RS_PARITY_SIZE];
    for (uint32_t lBlock = 0; lBlock < aLayout.mBlocks; ++lBlock) {
        const bool lLast = lBlock + 1 == aLayout.mBlocks;
        const uint32_t lDataSize = lLast ? aLayout.mRSk - aLayout.mRSz : aLayout.mRSk;
        std::memcpy(lMessage, apPacket + lBlock * aLayout.mRSk, lDataSize);
        std::fill_n(lMessage + lDataSize, aLayout.mRSk - lDataSize, uint8_t{0});
        EncodeRS(&aCodec, lMessage, lParity);
        Append(lMessage, aLayout.mRSk);
        Append(lParity, RS_PARITY_SIZE);
    }
    return lFragments;
}
