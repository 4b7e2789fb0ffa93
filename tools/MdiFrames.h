#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "Networking/MDIUnit.h"
#include "tools/DrmModes.h"
#include "tools/Multiplex.h"
#include "tools/SdcBuilder.h"

// The bytes of a stream in one frame: they count up, from a start that differs by frame and stream and in steps of 1,
// 3, 5 and so on that grow every 256 frames.
std::vector<unsigned char> TestPattern(uint32_t aFrame, uint32_t aStream, uint32_t aSize);

// The frames of a synthetic DRM transmission, one MDI unit each, counted from 0.
class MdiFrames {
public:
    // aSdcBlocks is not empty; the first frame has the identity aFirstIdentity (0 to 3, where 3 stands for 0 in
    // a super frame whose AFS index is not valid).
    MdiFrames(const DrmMode& aMode, const Multiplex& aMultiplex, const std::vector<SdcBlock>& aSdcBlocks,
              unsigned aFirstIdentity);

    std::unique_ptr<MDIUnit> Next();

private:
    const DrmMode cMode;
    const Multiplex cMultiplex;
    const std::vector<SdcBlock> cSdcBlocks;
    const unsigned cFirstIdentity;
    BitWriter cSdci;
    uint32_t cFrame = 0;
};
