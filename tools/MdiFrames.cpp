#include "tools/MdiFrames.h"

#include "Networking/SuperFrameOrder.h"
#include "tools/FacBuilder.h"

namespace {

constexpr uint32_t UNIT_CAPACITY = 4968;  // the frames of the widest channel stay below 4000 bytes

}  // namespace

std::vector<unsigned char> TestPattern(uint32_t aFrame, uint32_t aStream, uint32_t aSize) {
    const uint32_t lStep = 1 + 2 * (aFrame >> 8);
    uint32_t lValue = aFrame + 64 * aStream;
    std::vector<unsigned char> lBytes(aSize);
    for (unsigned char& lByte : lBytes) {
        lByte = static_cast<unsigned char>(lValue);
        lValue += lStep;
    }
    return lBytes;
}

MdiFrames::MdiFrames(const DrmMode& aMode, const Multiplex& aMultiplex, const std::vector<SdcBlock>& aSdcBlocks,
                     unsigned aFirstIdentity)
    : cMode(aMode), cMultiplex(aMultiplex), cSdcBlocks(aSdcBlocks), cFirstIdentity(aFirstIdentity) {
    cSdci.Put(0, 4);
    PutMultiplexDescription(cMultiplex, &cSdci);
}

std::unique_ptr<MDIUnit> MdiFrames::Next() {
    const uint32_t lPosition = cFirstIdentity % SUPER_FRAME_FRAMES + cFrame;
    const unsigned lIdentity = cFrame == 0 ? cFirstIdentity : lPosition % SUPER_FRAME_FRAMES;
    const size_t lServices = cMultiplex.mStreams.size();
    const Fac lFac = BuildFac(cMode, lIdentity, lServices, cFrame % lServices);

    auto lpUnit = std::make_unique<MDIUnit>(UNIT_CAPACITY, uint16_t{0}, uint16_t{0});
    lpUnit->SetDlfc(cFrame, false);
    lpUnit->SetFac(lFac.data());
    if (lPosition % SUPER_FRAME_FRAMES == 0) {
        const SdcBlock& lBlock = cSdcBlocks[lPosition / SUPER_FRAME_FRAMES % cSdcBlocks.size()];
        lpUnit->SetSdc(static_cast<uint32_t>(8 * lBlock.size()), lBlock.data());
    }
    lpUnit->SetSdci(static_cast<uint32_t>(cSdci.GetBitCount()), cSdci.GetBytes().data());
    lpUnit->SetRobm(static_cast<unsigned char>(cMode.mRobustness));
    for (uint16_t lStream = 0; lStream < lServices; ++lStream) {
        const uint32_t lSize = cMultiplex.mStreams[lStream];
        lpUnit->SetStream(lStream, 8 * lSize, TestPattern(cFrame, lStream, lSize).data());
    }
    ++cFrame;
    return lpUnit;
}
