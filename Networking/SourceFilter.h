#pragma once

#include <cstdint>

#include "Networking/StackObserver.h"

constexpr uint64_t LIVE_SOURCE_SILENCE = 800'000;  // microseconds, two frames: then another sender may take over

// Follows one sender (address and port) among those that send to one port, so that the packets of two senders do not
// mix.
class SourceFilter {
public:
    enum class Verdict { FOLLOWED, TAKES_OVER, FOREIGN };

    // Judges the sender of a datagram that the stack can use.  A sender takes over when none is followed yet, or when
    // the followed one has been silent for LIVE_SOURCE_SILENCE.
    Verdict Judge(const InputPlace& aInput) {
        const bool lIsSame = cHasSource && aInput.mAddress == cAddress && aInput.mPort == cPort;
        if (!lIsSame && cHasSource && aInput.mTime < cLastTime + LIVE_SOURCE_SILENCE)
            return Verdict::FOREIGN;
        cLastTime = aInput.mTime;
        if (lIsSame)
            return Verdict::FOLLOWED;
        cHasSource = true;
        cAddress = aInput.mAddress;
        cPort = aInput.mPort;
        return Verdict::TAKES_OVER;
    }

private:
    bool cHasSource = false;
    uint32_t cAddress = 0;
    uint16_t cPort = 0;
    uint64_t cLastTime = 0;
};
