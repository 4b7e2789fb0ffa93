#pragma once

constexpr int SUPER_FRAME_FRAMES = 3;

// Keeps units in the order of the DRM super frame: its first frame has identity 0 or 3, then come 1 and 2.
class SuperFrameOrder {
public:
    explicit SuperFrameOrder(int aFirstIdentity = 0) : cPosition(aFirstIdentity % SUPER_FRAME_FRAMES) {}

    // Whether a frame of this identity (0 to 3) is the one expected; then the next one is.
    bool Accept(int aIdentity) {
        if (aIdentity % SUPER_FRAME_FRAMES != cPosition)
            return false;
        cPosition = (cPosition + 1) % SUPER_FRAME_FRAMES;
        return true;
    }

    // Whether a first frame is expected, at the start and after each whole super frame.
    bool AtBoundary() const { return cPosition == 0; }

private:
    int cPosition;
};
