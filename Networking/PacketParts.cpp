#include "Networking/PacketParts.h"

#include <algorithm>

void PacketParts::Clear() {
    cCount = 0;
    cSize = 0;
    cParts.clear();
    cBytes.clear();
}

bool PacketParts::Fits(const PFTHeader& aHeader) const {
    if (aHeader.mFcount > LIVE_MAX_FRAGMENTS || cBytes.size() + aHeader.mPlen > LIVE_MAX_PACKET_SIZE)
        return false;
    if (aHeader.mFEC && uint64_t{aHeader.mFcount} * aHeader.mPlen > LIVE_MAX_PACKET_SIZE)
        return false;
    if (IsEmpty())
        return true;
    if (aHeader.mFcount != cFormat.mFcount || aHeader.mFEC != cFormat.mFEC)
        return false;
    if (aHeader.mFEC)
        return aHeader.mPlen == cFormat.mPlen && aHeader.mRSk == cFormat.mRSk && aHeader.mRSz == cFormat.mRSz;
    if (aHeader.mFindex + 1 == aHeader.mFcount)
        return cSize == 0 || aHeader.mPlen <= cSize;
    return cSize == 0 ? aHeader.mPlen >= cFormat.mPlen : aHeader.mPlen == cSize;
}

PacketParts::Added PacketParts::Add(const PFTHeader& aHeader, const unsigned char* apPayload) {
    if (!Fits(aHeader))
        return Added::REFUSED;
    if (IsEmpty()) {
        cFormat = aHeader;
        cParts.assign(aHeader.mFcount, Part());
    }
    Part& lPart = cParts[aHeader.mFindex];
    if (lPart.mOffset != NOT_HERE)
        return Added::DOUBLE;
    if (aHeader.mFindex + 1 != aHeader.mFcount)
        cSize = aHeader.mPlen;
    lPart = {static_cast<uint32_t>(cBytes.size()), aHeader.mPlen};
    cBytes.insert(cBytes.end(), apPayload, apPayload + aHeader.mPlen);
    ++cCount;
    return Added::NEW;
}

bool PacketParts::Differs(const PFTHeader& aHeader, const unsigned char* apPayload) const {
    const Part& lPart = cParts[aHeader.mFindex];
    return lPart.mSize != aHeader.mPlen ||
           !std::equal(apPayload, apPayload + aHeader.mPlen, cBytes.begin() + lPart.mOffset);
}

void PacketParts::Replace(const PFTHeader& aHeader, const unsigned char* apPayload) {
    if (cBytes.size() + aHeader.mPlen > LIVE_MAX_PACKET_SIZE)
        return;
    cParts[aHeader.mFindex] = {static_cast<uint32_t>(cBytes.size()), aHeader.mPlen};
    cBytes.insert(cBytes.end(), apPayload, apPayload + aHeader.mPlen);
}

bool PacketParts::Join(FECProcessor& aFEC, Packet* apPacket) const {
    if (IsEmpty() || (!IsWhole() && !cFormat.mFEC))
        return false;
    apPacket->Rewind();
    apPacket->SetSize(0);
    std::vector<uint32_t> lMissing;
    const std::vector<unsigned char> lFiller(IsWhole() ? 0 : cFormat.mPlen);
    for (uint32_t lIndex = 0; lIndex < cFormat.mFcount; ++lIndex) {
        const Part& lPart = cParts[lIndex];
        if (lPart.mOffset != NOT_HERE) {
            apPacket->Write(lPart.mSize, cBytes.data() + lPart.mOffset);
        } else {
            apPacket->Write(cFormat.mPlen, lFiller.data());
            lMissing.push_back(lIndex);
        }
    }
    if (!cFormat.mFEC)
        return true;
    aFEC.ciRSk = cFormat.mRSk;
    aFEC.ciRSz = cFormat.mRSz;
    return aFEC.Correct(apPacket, cFormat.mFcount, lMissing.data(), static_cast<uint32_t>(lMissing.size()));
}
