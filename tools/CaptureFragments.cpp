#include "tools/CaptureFragments.h"

#include <algorithm>
#include <utility>

std::optional<ByteView> CaptureFragments::Add(const IPv4Packet& aFragment, uint64_t aTime) {
    Slot* lpSlot = Find(aFragment, aTime);
    if (lpSlot == nullptr) {
        lpSlot = MakeRoom(aTime);
        Begin(lpSlot, aFragment, aTime);
    } else if (!lpSlot->Fits(aFragment)) {
        Begin(lpSlot, aFragment, aTime);
    } else if (!lpSlot->IsWaiting()) {
        return std::nullopt;
    }
    lpSlot->Put(aFragment);
    if (lpSlot->IsWaiting())
        return std::nullopt;
    lpSlot->mTime = aTime;
    return ByteView(lpSlot->mBytes).first(lpSlot->mSize);
}

uint64_t CaptureFragments::GetUnfinished() const {
    const auto lWaiting =
        std::count_if(cSlots.begin(), cSlots.end(), [](const Slot& aSlot) { return aSlot.IsWaiting(); });
    return cGivenUp + static_cast<uint64_t>(lWaiting);
}

CaptureFragments::Slot* CaptureFragments::Find(const IPv4Packet& aFragment, uint64_t aTime) {
    for (Slot& lSlot : cSlots) {
        if (lSlot.IsOf(aFragment)) {
            if (lSlot.IsExpired(aTime))
                Begin(&lSlot, aFragment, aTime);
            return &lSlot;
        }
    }
    return nullptr;
}

// A new place, or else the oldest of those that nothing is expected in, or else the oldest.
CaptureFragments::Slot* CaptureFragments::MakeRoom(uint64_t aTime) {
    if (cSlots.size() < MAX_FRAGMENTED_PACKETS)
        return &cSlots.emplace_back();
    const auto Worth = [&](const Slot& aSlot) {
        return std::make_pair(aSlot.IsWaiting() && !aSlot.IsExpired(aTime), aSlot.mNumber);
    };
    return &*std::min_element(cSlots.begin(), cSlots.end(),
                              [&](const Slot& aLeft, const Slot& aRight) { return Worth(aLeft) < Worth(aRight); });
}

void CaptureFragments::Begin(Slot* apSlot, const IPv4Packet& aFragment, uint64_t aTime) {
    if (apSlot->IsWaiting())
        ++cGivenUp;
    std::vector<unsigned char> lBytes = std::move(apSlot->mBytes);
    *apSlot = {};
    apSlot->mBytes = std::move(lBytes);
    apSlot->mUsed = true;
    apSlot->mNumber = ++cBegun;
    apSlot->mTime = aTime;
    apSlot->mSource = aFragment.mSource;
    apSlot->mDestination = aFragment.mDestination;
    apSlot->mId = aFragment.mId;
}

bool CaptureFragments::Slot::IsOf(const IPv4Packet& aFragment) const {
    return mUsed && mSource == aFragment.mSource && mDestination == aFragment.mDestination && mId == aFragment.mId;
}

bool CaptureFragments::Slot::IsExpired(uint64_t aTime) const {
    return aTime > mTime && aTime - mTime > (IsWaiting() ? FRAGMENT_PATIENCE : DUPLICATE_PATIENCE);
}

// Whether a fragment may be of this packet: it keeps to the packet's end, and where bytes came before they are the
// same.
bool CaptureFragments::Slot::Fits(const IPv4Packet& aFragment) const {
    const size_t lSize = aFragment.mPayload.size();
    const size_t lEnd = aFragment.mOffset + lSize;
    if (aFragment.mMore ? lEnd > mEnd : lEnd < mReached || (mEnd <= IPV4_MAX_PAYLOAD && lEnd != mEnd))
        return false;
    for (size_t lStart = 0; lStart < lSize; lStart += IPV4_BLOCK) {
        const size_t lPlace = aFragment.mOffset + lStart;
        const ByteView lBlock = aFragment.mPayload.subspan(lStart, std::min<size_t>(IPV4_BLOCK, lSize - lStart));
        if (mBlocks[lPlace / IPV4_BLOCK] && !std::equal(lBlock.begin(), lBlock.end(), mBytes.data() + lPlace))
            return false;
    }
    return true;
}

void CaptureFragments::Slot::Put(const IPv4Packet& aFragment) {
    const size_t lSize = aFragment.mPayload.size();
    const size_t lEnd = aFragment.mOffset + lSize;
    mReached = std::max(mReached, lEnd);
    mBytes.resize(std::max(mBytes.size(), lEnd));
    if (!aFragment.mMore)
        mEnd = lEnd;
    std::copy(aFragment.mPayload.begin(), aFragment.mPayload.end(), mBytes.data() + aFragment.mOffset);
    for (size_t lStart = 0; lStart < lSize; lStart += IPV4_BLOCK) {
        const size_t lBlock = (aFragment.mOffset + lStart) / IPV4_BLOCK;
        if (!mBlocks[lBlock]) {
            mBlocks.set(lBlock);
            mSize += std::min<size_t>(IPV4_BLOCK, lSize - lStart);
        }
    }
}
